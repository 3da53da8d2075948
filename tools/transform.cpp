// SPDX-License-Identifier: Apache-2.0
// The commands that make one frame or picture: import, mosaic and scene.
#include <filesystem>

#include "commands.h"
#include "failure.h"
#include "file_list.h"
#include "mosaic.h"
#include "output_file.h"
#include "picture.h"
#include "scene.h"

namespace tool {
namespace {

void saveRwhFile(const kivo::FrameView &view, const std::string &path) {
  OutputFile file(path);
  const kivo::Errc error = kivo::saveRwh(view, file.temporaryName());
  if (error != kivo::Errc::Ok) throw failureOf(error, path, Exit::Output);
  file.commit();
}

bool isRwh(const std::string &path, const std::string &to) {
  if (to == "rwh") return true;
  if (to == "raw") return false;
  return kivo::detail::sameName(std::filesystem::path(path).extension().string(), ".rwh");
}

}  // namespace

void runImport(const ImportOptions &options) {
  if (!options.input.headerless())
    throw Failure(Exit::Usage, "import", "headerless data needs --format and --size");
  if (options.input.file != "-") refuseSameFile(options.input.file, options.output);
  const RawInput input = loadInput(options.input);
  if (input.format->packing != kivo::Packing::None &&
      std::uint64_t{input.frame.width} * input.format->bitsPerPixel() % 8 != 0) {
    // The file's rows begin on a byte each.
    const kivo::Result<kivo::Frame> plain = kivo::unpack(input.frame.view());
    if (!plain) throw failureOf(plain.error(), inputName(options.input.file), Exit::Input);
    saveRwhFile(plain->view(), options.output);
  } else {
    saveRwhFile(input.frame.view(), options.output);
  }
  noteIgnored(options.input, input.ignoredBytes);
}

void runMosaic(const MosaicOptions &options) {
  if (!options.to.empty() && options.to != "rwh" && options.to != "raw")
    throw Failure(Exit::Usage, "--to", "'" + options.to + "' is not rwh or raw");
  const kivo::Format &format = parseFormat(options.format, "--format");
  refuseSameFile(options.picture, options.output);
  const Picture picture = loadPicture(options.picture);
  const kivo::Frame frame = makeFrame(picture, format, options.picture);
  if (isRwh(options.output, options.to)) {
    saveRwhFile(frame.view(), options.output);
    return;
  }
  OutputFile file(options.output);
  file.write(frame.data.data(), frame.data.size());
  file.commit();
}

void runScene(const SceneOptions &options) {
  const PictureType type = pictureType(options.output, options.to);
  const Size size = parseSize(options.size, "--size");
  if (size.width < kSmallestScene || size.height < kSmallestScene || size.width > kLargestScene ||
      size.height > kLargestScene)
    throw Failure(Exit::Usage, "--size",
                  format("the scene can be drawn from %ux%u to %ux%u pixels", kSmallestScene, kSmallestScene,
                         kLargestScene, kLargestScene));
  savePicture(drawScene(size.width, size.height), options.output, type);
}

}  // namespace tool
