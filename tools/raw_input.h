// SPDX-License-Identifier: Apache-2.0
// Raw frames from files: RWH, or headerless data described on the command line.
#pragma once

#include <KivoCamUtl.hpp>
#include <string>

namespace tool {

struct InputOptions {
  std::string file;
  std::string format;  // empty for RWH
  std::string size;    // empty for RWH
  std::string stride;  // empty for packed rows
  std::string offset;  // bytes in front of the frame; empty for none

  bool headerless() const noexcept {
    return !format.empty() || !size.empty() || !stride.empty() || !offset.empty();
  }
};

struct Size {
  std::uint32_t width = 0;
  std::uint32_t height = 0;
};

struct RawInput {
  kivo::Frame frame;
  const kivo::Format *format = nullptr;
  std::uint64_t fileBytes = 0;
  std::uint64_t ignoredBytes = 0;  // behind a headerless frame
};

// "640x480"; `option` names the option in the message. Throws Failure.
Size parseSize(const std::string &text, const std::string &option);
// A decimal number. Throws Failure.
std::uint64_t parseNumber(const std::string &text, const std::string &option);
// A format by name or 0xCODE. Throws Failure.
const kivo::Format &parseFormat(const std::string &text, const std::string &option);

// Reads the frame that the options describe. Throws Failure.
RawInput loadInput(const InputOptions &options);

// Header of an RWH file. Throws Failure when there is none.
kivo::RwhInfo loadHeader(const std::string &file);
// Throws Failure unless header and file length agree and the format is known.
void checkHeader(const std::string &file, const kivo::RwhInfo &info);

}  // namespace tool
