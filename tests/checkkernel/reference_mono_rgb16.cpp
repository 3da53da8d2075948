// SPDX-License-Identifier: Apache-2.0
#include "checkkernel/reference.h"

namespace KivoTest::Reference {

void MonoRgb16(Layout layout, Output output, std::uint8_t *dst, const std::uint8_t *src, std::size_t pixels,
               std::uint32_t shift) {
  // Only the low byte of the argument counts, and of it the count modulo 32.
  const std::uint32_t count = (shift & 0xFF) % 32;
  const auto reduced = [&](std::size_t word) {
    const std::uint32_t sample = static_cast<std::uint32_t>(src[2 * word] + 256 * src[2 * word + 1]);
    return static_cast<std::uint8_t>((sample >> count) % 256);
  };
  for (std::size_t i = 0; i < pixels; ++i) {
    Pixel pixel{};
    if (layout == Layout::kMono) {
      pixel = {reduced(i), reduced(i), reduced(i)};
    } else if (layout == Layout::kRgb) {
      pixel = {reduced(3 * i + 2), reduced(3 * i + 1), reduced(3 * i)};
    } else {
      pixel = {reduced(3 * i), reduced(3 * i + 1), reduced(3 * i + 2)};
    }
    Store(output, dst, i, pixel);
  }
}

}  // namespace KivoTest::Reference
