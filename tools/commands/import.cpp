// SPDX-License-Identifier: Apache-2.0
// import: a header for a headerless frame.
#include <cstdio>

#include "commands/commands.h"
#include "files/file_list.h"
#include "frames/doubts.h"
#include "frames/save_rwh.h"
#include "words/failure.h"
#include "words/text.h"

namespace tool {

void runImport(const ImportOptions &options) {
  if (!options.input.headerless())
    throw Failure(Exit::Usage, "import", "headerless data needs --format and --size");
  checkOutputName(options.output, "rwh");
  refuseSameFile(options.input.file, options.output);
  const RawInput input = loadInput(options.input);
  if (std::uint64_t{input.frame.width} * (input.format->code >> 16 & 0xFF) % 8 != 0) {
    // The file's rows begin on a byte each.
    const kivo::Result<kivo::Frame> plain = kivo::unpack(input.view());
    if (!plain) throw failureOf(plain.error(), inputName(options.input.file), Exit::Input);
    saveRwh(plain->view(), options.output, options.rules);
  } else {
    saveRwh(input.view(), options.output, options.rules);
  }
  const std::string doubt = doubtOf(input);
  if (!doubt.empty())
    std::fprintf(stderr, "kivocam: %s: %s\n", oneLine(inputName(options.input.file)).c_str(), doubt.c_str());
  if (input.ignoredBytes != 0)
    std::fprintf(stderr, "%s\n", ignoredNote(options.input.file, input.ignoredBytes).c_str());
}

}  // namespace tool
