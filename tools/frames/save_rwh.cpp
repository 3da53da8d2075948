// SPDX-License-Identifier: Apache-2.0
#include "frames/save_rwh.h"

#include <memory>

#include "words/failure.h"

namespace tool {

void saveRwh(const kivo::FrameView &view, const std::string &path, const OutputRules &rules) {
  const std::unique_ptr<ByteSink> output = openOutput(path, rules);
  const std::uint64_t rowBits = std::uint64_t{view.width} * kivo::findFormat(view.format)->bitsPerPixel();
  const std::uint64_t row = rowBits / 8;
  if (rowBits % 8 != 0) throw failureOf(kivo::Errc::PartialByte, output->name(), Exit::Output);
  // The header's arithmetic has 32 bits.
  if (row * view.height > UINT32_MAX) throw failureOf(kivo::Errc::TooLarge, output->name(), Exit::Output);
  const std::uint32_t words[4] = {view.format, view.width, view.height, static_cast<std::uint32_t>(row)};
  for (const std::uint32_t word : words) {
    const std::uint8_t bytes[4] = {static_cast<std::uint8_t>(word), static_cast<std::uint8_t>(word >> 8),
                                   static_cast<std::uint8_t>(word >> 16),
                                   static_cast<std::uint8_t>(word >> 24)};
    output->write(bytes, sizeof bytes);
  }
  const std::size_t stride = view.stride == 0 ? static_cast<std::size_t>(row) : view.stride;
  for (std::size_t y = 0; y < view.height; ++y)
    output->write(view.data + y * stride, static_cast<std::size_t>(row));
  output->commit();
}

}  // namespace tool
