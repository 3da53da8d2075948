// SPDX-License-Identifier: Apache-2.0
#include "frames/facts.h"

#include <cinttypes>

#include "words/text.h"

namespace tool {

FileFacts factsOf(const InputOptions &input, const RawInput &raw) {
  FileFacts facts = {inputName(input.file), raw.rwh,
                     raw.frame.format,      raw.frame.width,
                     raw.frame.height,      static_cast<std::uint64_t>(raw.frame.stride),
                     raw.fileBytes,         0};
  if (facts.rowBytes == 0) facts.rowBytes = kivo_row_bytes(raw.frame.format, raw.frame.width);
  if (facts.rwh) facts.expectedBytes = facts.fileBytes;
  return facts;
}

std::string jsonFacts(const FileFacts &facts, const kivo::Format &format, const Statistics &statistics) {
  std::string line = printed(
      "{\"file\": %s, \"kind\": \"%s\", \"format\": \"%s\", \"code\": \"0x%08" PRIX32
      "\", \"depth\": %u, \"width\": %" PRIu32 ", \"height\": %" PRIu32 ", \"row_bytes\": %" PRIu64
      ", \"file_bytes\": %" PRIu64 ", \"bin_width\": %" PRIu32 ", \"samples\": {",
      jsonString(facts.file).c_str(), facts.rwh ? "rwh" : "headerless", format.name, format.code,
      format.depth, facts.width, facts.height, facts.rowBytes, facts.fileBytes, statistics.binWidth());
  const char *separator = "";
  for (const Component &c : statistics.components) {
    line += printed("%s\"%s\": {\"min\": %" PRIu32 ", \"max\": %" PRIu32
                    ", \"mean\": %.4f, \"zero\": %.6f, \"clipped\": %.6f, \"above\": %.6f, \"histogram\": [",
                    separator, c.name, c.least, c.most, c.mean, c.zero, c.clipped, c.above);
    for (std::size_t i = 0; i < c.histogram.size(); ++i)
      line += printed("%s%" PRIu64, i == 0 ? "" : ", ", c.histogram[i]);
    line += "]}";
    separator = ", ";
  }
  return line + "}}";
}

}  // namespace tool
