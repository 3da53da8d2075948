// SPDX-License-Identifier: Apache-2.0
#include "checkkernel/reference.h"

namespace KivoTest::Reference {

void Store(Output output, std::uint8_t *dst, std::size_t index, Pixel pixel) {
  std::uint8_t *const out = dst + index * (output == Output::kBgra ? 4 : 3);
  out[0] = pixel.blue;
  out[1] = pixel.green;
  out[2] = pixel.red;
  if (output == Output::kBgra) out[3] = 255;
}

void Convert(const Converter &converter, std::uint8_t *dst, const std::uint8_t *src, std::uint32_t width,
             std::uint32_t height, std::uint32_t shift) {
  const std::uint32_t run = width * height;  // modulo 2^32, as the converters of runs count
  const Output output = converter.output();
  switch (converter.family) {
    case Family::kMonoRgb8:
      return MonoRgb8(converter.layout, output, dst, src, run);
    case Family::kYuv8:
      return Yuv8(converter.layout, output, dst, src, run);
    case Family::kBayer8:
      return Bayer8(converter.order, output, dst, src, width, height);
    case Family::kAcpi8:
      return Acpi8(converter.order, output, dst, src, width, height);
    case Family::kMonoRgb16:
      return MonoRgb16(converter.layout, output, dst, src, run, converter.EffectiveShift(shift));
    case Family::kBayer16:
      return Bayer16(converter.order, output, dst, src, width, height, converter.EffectiveShift(shift));
  }
}

}  // namespace KivoTest::Reference
