// SPDX-License-Identifier: Apache-2.0
#include "frames/save_rwh.h"

#include <memory>

#include "words/failure.h"

namespace tool {

void saveRwh(const kivo::FrameView &view, const std::string &path, const OutputRules &rules) {
  const std::unique_ptr<ByteSink> output = openOutput(path, rules);
  const kivo::Result<kivo::Frame> frame = kivo::compact(view);
  if (!frame) throw failureOf(frame.error(), output->name(), Exit::Output);
  const std::size_t bytes = frame->data.size();
  // The header's arithmetic has 32 bits.
  if (bytes > UINT32_MAX) throw failureOf(kivo::Errc::TooLarge, output->name(), Exit::Output);
  const std::uint32_t words[4] = {view.format, view.width, view.height,
                                  static_cast<std::uint32_t>(bytes / view.height)};
  for (const std::uint32_t word : words) {
    const std::uint8_t header[4] = {static_cast<std::uint8_t>(word), static_cast<std::uint8_t>(word >> 8),
                                    static_cast<std::uint8_t>(word >> 16),
                                    static_cast<std::uint8_t>(word >> 24)};
    output->write(header, sizeof header);
  }
  output->write(frame->data.data(), bytes);
  output->commit();
}

}  // namespace tool
