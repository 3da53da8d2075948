// SPDX-License-Identifier: Apache-2.0
// What info and report tell of a file.
#pragma once

#include <cstdint>
#include <string>

#include "frames/raw_input.h"
#include "frames/statistics.h"

namespace tool {

// What is known of a file without a look at its samples.
struct FileFacts {
  std::string file;
  bool rwh = false;
  std::uint32_t code = 0;
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::uint64_t rowBytes = 0;
  std::uint64_t fileBytes = 0;
  std::uint64_t expectedBytes = 0;  // by the header
  std::uint64_t unusedBytes = 0;    // behind a headerless frame; may be kUncounted
};

// Of a frame that was loaded.
FileFacts factsOf(const InputOptions &input, const RawInput &raw);

// From the root on; empty where there is no such file, as for standard input.
std::string fullPath(const std::string &file);

// All facts as one JSON object, without a newline.
std::string jsonFacts(const FileFacts &facts, const kivo::Format &format, const Statistics &statistics);

}  // namespace tool
