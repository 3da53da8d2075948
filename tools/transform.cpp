// SPDX-License-Identifier: Apache-2.0
// The commands that write one frame or picture: convert, import, mosaic and scene.
#include <algorithm>
#include <array>
#include <chrono>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "commands.h"
#include "failure.h"
#include "mosaic.h"
#include "output_file.h"
#include "picture.h"
#include "scene.h"

namespace tool {
namespace {

void noteIgnored(const InputOptions &options, const RawInput &input) {
  if (input.ignoredBytes != 0)
    std::fprintf(stderr, "kivocam: %s: note: %" PRIu64 " bytes behind the frame are ignored\n",
                 oneLine(options.file).c_str(), input.ignoredBytes);
}

void saveRwhFile(const kivo::FrameView &view, const std::string &path) {
  OutputFile file(path);
  const kivo::Errc error = kivo::saveRwh(view, file.temporaryName());
  if (error != kivo::Errc::Ok) throw failureOf(error, path, Exit::Output);
  file.commit();
}

void saveBmpFile(const kivo::Image &image, const std::string &path) {
  OutputFile file(path);
  const kivo::Errc error = kivo::saveBmp(image, file.temporaryName());
  if (error != kivo::Errc::Ok) throw failureOf(error, path, Exit::Output);
  file.commit();
}

Picture toPicture(const kivo::Image &image) {
  Picture picture(image.width, image.height);
  const std::size_t step = image.channels();
  const std::uint8_t *from = image.pixels.data();
  for (std::size_t i = 0; i < picture.rgb.size(); i += 3, from += step) {
    picture.rgb[i] = from[2];
    picture.rgb[i + 1] = from[1];
    picture.rgb[i + 2] = from[0];
  }
  return picture;
}

std::string converterName(const kivo::Format &format, const ConvertOptions &options) {
  const std::string depth = std::to_string(format.depth);
  const std::string to = options.bgr ? "BGR" : "BGRA";
  const bool demosaic = options.bayer != kivo::Bayer::Off;
  switch (format.family) {
    case kivo::Family::Mono:
      return "ConvMono" + depth + "To" + to;
    case kivo::Family::Bayer:
      if (!demosaic) return "ConvMono" + depth + "To" + to;
      return std::string("ConvByr").append(format.name + 5).append("To").append(to) +
             (options.bayer == kivo::Bayer::Acpi ? "ACPI" : "");
    case kivo::Family::Rgb:
      return "Conv" + std::string(format.name, 3) + depth + "PTo" + to;
    case kivo::Family::Yuv:
      return std::string("ConvYUV") +
             (format.groupPixels == 4   ? "411"
              : format.groupPixels == 2 ? "422"
                                        : "444") +
             "PTo" + to;
  }
  return {};
}

// Repeats the conversion into the same picture, as a viewer does frame after frame, and prints the median.
void printTime(const kivo::FrameView &view, const kivo::Format &format, const kivo::ConvertOptions &how,
               kivo::Image &image, const std::string &converter) {
  std::array<double, 9> milliseconds{};
  for (double &ms : milliseconds) {
    const auto start = std::chrono::steady_clock::now();
    const kivo::Errc error =
        how.output == kivo::Output::Bgra
            ? kivo::convertTo(static_cast<std::uint32_t *>(static_cast<void *>(image.pixels.data())),
                              image.pixels.size() / 4, view, how)
            : kivo::convertTo(image.pixels.data(), image.pixels.size(), view, how);
    if (error != kivo::Errc::Ok) return;
    ms = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
  }
  std::nth_element(milliseconds.begin(), milliseconds.begin() + 4, milliseconds.end());
  std::printf("%s %" PRIu32 "x%" PRIu32 " %s %.3f\n", format.name, view.width, view.height, converter.c_str(),
              milliseconds[4]);
}

// An output that replaces its own input would lose it.
void refuseSameFile(const std::string &input, const std::string &output) {
  std::error_code ignored;
  if (std::filesystem::equivalent(input, output, ignored))
    throw Failure(Exit::Usage, output, "the output is the input itself");
}

bool isRwh(const std::string &path, const std::string &to) {
  if (to == "rwh") return true;
  if (to == "raw") return false;
  return kivo::detail::sameName(std::filesystem::path(path).extension().string(), ".rwh");
}

}  // namespace

void runConvert(const ConvertOptions &options) {
  const PictureType type = pictureType(options.output, options.to);
  refuseSameFile(options.input.file, options.output);
  RawInput input = loadInput(options.input);
  const std::string &subject = options.input.file;

  if (options.mirror || options.flip) {
    kivo::Result<kivo::Frame> turned = kivo::reverse(input.frame.view(), options.mirror, options.flip);
    if (!turned) throw failureOf(turned.error(), subject, Exit::Input);
    input.frame = *std::move(turned);
    input.format = kivo::findFormat(input.frame.format);
  }
  kivo::ConvertOptions how;
  how.bayer = options.bayer;
  how.output = options.bgr ? kivo::Output::Bgr : kivo::Output::Bgra;
  how.anyBayerSize = options.anyBayerSize;
  kivo::Result<kivo::Image> image = kivo::convert(input.frame.view(), how);
  if (!image) {
    std::string hint;
    if (image.error() == kivo::Errc::OddSize || image.error() == kivo::Errc::TooSmall)
      hint = " (or --any-size)";
    const Failure failure = failureOf(image.error(), subject, Exit::Input);
    throw Failure(failure.code(), subject,
                  format("%s; it is %" PRIu32 " x %" PRIu32 " pixels of %s%s", image.message(),
                         input.frame.width, input.frame.height, input.format->name, hint.c_str()));
  }

  if (options.time)
    printTime(input.frame.view(), *input.format, how, *image, converterName(*input.format, options));
  if (type == PictureType::Bmp)
    saveBmpFile(*image, options.output);
  else
    savePicture(toPicture(*image), options.output, type);
  noteIgnored(options.input, input);
}

void runImport(const ImportOptions &options) {
  if (!options.input.headerless())
    throw Failure(Exit::Usage, "import", "headerless data needs --format and --size");
  refuseSameFile(options.input.file, options.output);
  const RawInput input = loadInput(options.input);
  saveRwhFile(input.frame.view(), options.output);
  noteIgnored(options.input, input);
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
