// SPDX-License-Identifier: Apache-2.0
// mosaic: of a picture the frame that a camera would deliver of it.
#include <filesystem>
#include <memory>

#include "commands/commands.h"
#include "files/file_list.h"
#include "files/output_file.h"
#include "files/source.h"
#include "frames/make_frame.h"
#include "frames/save_rwh.h"
#include "words/failure.h"
#include "words/text.h"

namespace tool {
namespace {

bool isRwh(const std::string &path, const std::string &to) {
  if (to == "rwh") return true;
  if (to == "raw") return false;
  if (path == "-") throw Failure(Exit::Usage, "standard output", "has no extension: say --to");
  return sameName(std::filesystem::path(path).extension().string(), ".rwh");
}

}  // namespace

void runMosaic(const MosaicOptions &options) {
  if (!options.to.empty() && options.to != "rwh" && options.to != "raw")
    throw Failure(Exit::Usage, "--to", "'" + options.to + "' is not rwh or raw");
  const kivo::Format &format = parseFormat(options.format, "--format");
  const bool rwh = isRwh(options.output, options.to);
  checkOutputName(options.output, rwh ? "rwh" : "");
  refuseSameFile(options.picture, options.output);
  const Picture picture = loadPicture(options.picture);
  const kivo::Frame frame = makeFrame(picture, format, options.exposure, inputName(options.picture));
  if (rwh) {
    saveRwh(frame.view(), options.output, options.rules);
    return;
  }
  const std::unique_ptr<ByteSink> output = openOutput(options.output, options.rules);
  output->write(frame.data.data(), frame.data.size());
  output->commit();
}

}  // namespace tool
