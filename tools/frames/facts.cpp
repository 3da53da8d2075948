// SPDX-License-Identifier: Apache-2.0
#include "frames/facts.h"

#include <cinttypes>
#include <filesystem>

#include "words/text.h"

namespace tool {

FileFacts factsOf(const InputOptions &input, const RawInput &raw) {
  FileFacts facts = {inputName(input.file), raw.rwh,
                     raw.frame.format,      raw.frame.width,
                     raw.frame.height,      static_cast<std::uint64_t>(raw.frame.stride),
                     raw.fileBytes,         0,
                     raw.ignoredBytes};
  if (facts.rowBytes == 0) facts.rowBytes = kivo_row_bytes(raw.frame.format, raw.frame.width);
  if (facts.rwh) facts.expectedBytes = facts.fileBytes;
  return facts;
}

std::string fullPath(const std::string &file) {
  std::error_code failed;
  if (!std::filesystem::exists(file, failed)) return {};
  const std::filesystem::path path = std::filesystem::absolute(file, failed);
  return failed ? file : path.lexically_normal().string();
}

std::string jsonFacts(const FileFacts &facts, const kivo::Format &format, const Statistics &statistics) {
  const std::string path = fullPath(facts.file);
  std::string line = printed(
      "{\"file\": %s, \"path\": %s, \"kind\": \"%s\", \"format\": \"%s\", \"code\": \"0x%08" PRIX32
      "\", \"depth\": %u, \"width\": %" PRIu32 ", \"height\": %" PRIu32 ", \"row_bytes\": %" PRIu64
      ", \"file_bytes\": %" PRIu64 ", \"unused_bytes\": %s, \"bin_width\": %" PRIu32 ", \"samples\": {",
      jsonString(facts.file).c_str(), (path.empty() ? "null" : jsonString(path)).c_str(),
      facts.rwh ? "rwh" : "headerless", format.name, format.code, format.depth, facts.width, facts.height,
      facts.rowBytes, facts.fileBytes,
      facts.unusedBytes == kUncounted ? "null" : std::to_string(facts.unusedBytes).c_str(),
      statistics.binWidth());
  const char *separator = "";
  for (const Component &c : statistics.components) {
    line += printed(
        "%s\"%s\": {\"min\": %" PRIu32 ", \"max\": %" PRIu32
        ", \"mean\": %.4f, \"zero\": %.6f, \"clipped\": %.6f, \"at_max\": %.6f, \"above\": %.6f, \"histogram\": [",
        separator, c.name, c.least, c.most, c.mean, c.zero, c.clipped, c.atMost, c.above);
    for (std::size_t i = 0; i < c.histogram.size(); ++i)
      line += printed("%s%" PRIu64, i == 0 ? "" : ", ", c.histogram[i]);
    line += "]}";
    separator = ", ";
  }
  return line + "}}";
}

}  // namespace tool
