// SPDX-License-Identifier: Apache-2.0
// Options of headerless files as users type them, and a file that they do or do not describe.
#include "frames/raw_input.h"
#include "harness.h"
#include "words/failure.h"

namespace KivoFuzz {
namespace {

void Run(Input &input) {
  static const MemoryFile file;
  tool::InputOptions options;
  options.file = file.name();
  options.swapBytes = input.Flag();
  options.format = input.Line();
  options.size = input.Line();
  options.stride = input.Line();
  options.offset = input.Line();
  const Bytes bytes = input.Rest();
  file.Hold(bytes.data(), bytes.size());
  bool good = true;
  try {
    tool::checkInputOptions(options);
  } catch (const tool::Failure &failure) {
    good = false;
    Require(failure.what()[0] != '\0', "a failure says why");
  }
  try {
    const tool::RawInput frame = tool::loadInput(options);
    Require(good, "options that are refused without a file are refused with one");
    Require(frame.format != nullptr && frame.frame.width != 0 && frame.frame.height != 0,
            "what is loaded is a frame");
    Require(frame.frame.data.size() <= 2 * bytes.size(), "a frame has no bytes that the file has not");
    // 16-bit words are swapped into a frame of their own.
    if (!options.swapBytes && options.headerless())
      Require(frame.frame.data.size() + frame.ignoredBytes <= bytes.size(), "bytes count once");
  } catch (const tool::Failure &failure) {
    Require(failure.what()[0] != '\0', "a failure says why");
  }
}

}  // namespace
}  // namespace KivoFuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  KivoFuzz::Input input(data, size);
  KivoFuzz::Run(input);
  return 0;
}
