// SPDX-License-Identifier: Apache-2.0
// Raw frames from files and standard input: RWH, or headerless data described on the command line.
#pragma once

#include <KivoCamUtl.hpp>
#include <string>

#include "files/source.h"

namespace tool {

struct InputOptions {
  std::string file;        // "-" is standard input
  bool named = false;      // by the user: what is found in a folder has to be a regular file
  std::string format;      // empty for RWH
  std::string size;        // empty for RWH
  std::string stride;      // empty for packed rows
  std::string offset;      // bytes in front of the frame; empty for none
  bool swapBytes = false;  // 16-bit samples arrive high byte first

  bool headerless() const noexcept {
    return !format.empty() || !size.empty() || !stride.empty() || !offset.empty();
  }
};

struct RawInput {
  kivo::Frame frame;  // its data as they were read
  kivo::ByteOrder byteOrder = kivo::ByteOrder::Little;
  const kivo::Format *format = nullptr;
  bool rwh = false;                // from a file with a header
  std::uint64_t fileBytes = 0;     // of standard input: the bytes that were read
  std::uint64_t ignoredBytes = 0;  // behind a headerless frame; may be kUncounted

  kivo::FrameView view() const noexcept {
    kivo::FrameView all = frame.view();
    all.byteOrder = byteOrder;
    return all;
  }
};

// A format by a name that any system has for it, or 0xCODE. Throws Failure.
const kivo::Format &parseFormat(const std::string &text, const std::string &option);

// Whether the options make sense, whatever the file holds. Throws Failure.
void checkInputOptions(const InputOptions &options);

// Whether the file is standard input, or a pipe that the user has named: it can be read once, from the start.
bool isStream(const InputOptions &options);

// Reads the frame that the options describe. A whole RWH file is one, whatever they say: its header counts,
// and a description that differs from it is refused. Throws Failure.
RawInput loadInput(const InputOptions &options);
// The same from a source that nothing was read of.
RawInput loadInput(Source &source, const InputOptions &options);

// The line that says that so many bytes behind the frame are ignored.
std::string ignoredNote(const std::string &file, std::uint64_t ignoredBytes);

// Header of an RWH file. Throws Failure when there is none.
kivo::RwhInfo loadHeader(const std::string &file);
// Throws Failure unless header and file length agree and the format is known.
void checkHeader(const std::string &file, const kivo::RwhInfo &info);

}  // namespace tool
