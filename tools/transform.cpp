// SPDX-License-Identifier: Apache-2.0
// The commands that make one frame or picture: import, mosaic and scene.
#include <cstdio>
#include <filesystem>
#include <memory>

#include "commands.h"
#include "failure.h"
#include "file_list.h"
#include "mosaic.h"
#include "output_file.h"
#include "picture.h"
#include "scene.h"
#include "text.h"

namespace tool {
namespace {

// The same bytes as kivo::saveRwh() writes, for destinations that have no name: little-endian words, packed
// rows.
void saveRwh(const kivo::FrameView &view, const std::string &path) {
  const std::unique_ptr<ByteSink> output = openOutput(path);
  const std::uint64_t rowBits = std::uint64_t{view.width} * kivo::findFormat(view.format)->bitsPerPixel();
  const std::uint64_t row = rowBits / 8;
  if (rowBits % 8 != 0) throw failureOf(kivo::Errc::PartialByte, output->name(), Exit::Output);
  // The header's arithmetic has 32 bits.
  if (row * view.height > UINT32_MAX) throw failureOf(kivo::Errc::TooLarge, output->name(), Exit::Output);
  const std::uint32_t words[4] = {view.format, view.width, view.height, static_cast<std::uint32_t>(row)};
  for (const std::uint32_t word : words) {
    const std::uint8_t bytes[4] = {static_cast<std::uint8_t>(word), static_cast<std::uint8_t>(word >> 8),
                                   static_cast<std::uint8_t>(word >> 16),
                                   static_cast<std::uint8_t>(word >> 24)};
    output->write(bytes, sizeof bytes);
  }
  const std::size_t stride = view.stride == 0 ? static_cast<std::size_t>(row) : view.stride;
  for (std::size_t y = 0; y < view.height; ++y)
    output->write(view.data + y * stride, static_cast<std::size_t>(row));
  output->commit();
}

bool isRwh(const std::string &path, const std::string &to) {
  if (to == "rwh") return true;
  if (to == "raw") return false;
  if (path == "-") throw Failure(Exit::Usage, "standard output", "has no extension: say --to");
  return kivo::detail::sameName(std::filesystem::path(path).extension().string(), ".rwh");
}

}  // namespace

void runImport(const ImportOptions &options) {
  if (!options.input.headerless())
    throw Failure(Exit::Usage, "import", "headerless data needs --format and --size");
  refuseSameFile(options.input.file, options.output);
  const RawInput input = loadInput(options.input);
  if (input.format->packing != kivo::Packing::None &&
      std::uint64_t{input.frame.width} * input.format->bitsPerPixel() % 8 != 0) {
    // The file's rows begin on a byte each.
    const kivo::Result<kivo::Frame> plain = kivo::unpack(input.frame.view());
    if (!plain) throw failureOf(plain.error(), inputName(options.input.file), Exit::Input);
    saveRwh(plain->view(), options.output);
  } else {
    saveRwh(input.frame.view(), options.output);
  }
  if (input.ignoredBytes != 0)
    std::fprintf(stderr, "%s\n", ignoredNote(options.input.file, input.ignoredBytes).c_str());
}

void runMosaic(const MosaicOptions &options) {
  if (!options.to.empty() && options.to != "rwh" && options.to != "raw")
    throw Failure(Exit::Usage, "--to", "'" + options.to + "' is not rwh or raw");
  const kivo::Format &format = parseFormat(options.format, "--format");
  const bool rwh = isRwh(options.output, options.to);
  refuseSameFile(options.picture, options.output);
  const Picture picture = loadPicture(options.picture);
  const kivo::Frame frame = makeFrame(picture, format, options.picture);
  if (rwh) {
    saveRwh(frame.view(), options.output);
    return;
  }
  const std::unique_ptr<ByteSink> output = openOutput(options.output);
  output->write(frame.data.data(), frame.data.size());
  output->commit();
}

void runScene(const SceneOptions &options) {
  const PictureType type = pictureType(options.output, options.to);
  const Size size = parseSize(options.size, "--size");
  if (size.width < kSmallestScene || size.height < kSmallestScene || size.width > kLargestScene ||
      size.height > kLargestScene)
    throw Failure(Exit::Usage, "--size",
                  printed("the scene can be drawn from %ux%u to %ux%u pixels", kSmallestScene, kSmallestScene,
                          kLargestScene, kLargestScene));
  savePicture(drawScene(size.width, size.height), options.output, type);
}

}  // namespace tool
