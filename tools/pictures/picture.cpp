// SPDX-License-Identifier: Apache-2.0
#include "pictures/picture.h"

#include <array>
#include <cinttypes>
#include <filesystem>
#include <memory>
#include <new>
#include <string_view>

#include "files/output_file.h"
#include "pictures/picture_file.h"
#include "pictures/picture_tiff.h"
#include "words/failure.h"
#include "words/text.h"

namespace tool {
namespace {

constexpr std::uint64_t kMostPixels = std::uint64_t{1} << 28;
constexpr std::string_view kPng = "\x89PNG";

}  // namespace

void checkPictureSize(const std::string &path, std::uint64_t width, std::uint64_t height) {
  if (width == 0 || height == 0) throw Failure(Exit::Input, path, "is an empty picture");
  if (width > kMostPixels || height > kMostPixels || width * height > kMostPixels)
    throw Failure(Exit::Input, path,
                  printed("claims %" PRIu64 " x %" PRIu64 " pixels, more than this tool takes (%" PRIu64 ")",
                          width, height, kMostPixels));
}

PictureType pictureType(const std::string &path, const std::string &to, bool canBeGrey) {
  static const std::pair<const char *, PictureType> kTypes[] = {
      {"png", PictureType::Png}, {"ppm", PictureType::Ppm},   {"pgm", PictureType::Pgm},
      {"bmp", PictureType::Bmp}, {"tiff", PictureType::Tiff}, {"tif", PictureType::Tiff},
      {"dng", PictureType::Dng}};
  std::string name = to;
  if (name.empty()) {
    name = std::filesystem::path(path).extension().string();
    if (!name.empty()) name.erase(0, 1);
  }
  for (const auto &[extension, type] : kTypes) {
    if (!sameName(name, extension)) continue;
    if (!canBeGrey && (type == PictureType::Pgm || type == PictureType::Dng)) break;
    checkOutputName(path, type == PictureType::Tiff ? "tiff" : extension);
    if (type == PictureType::Tiff || type == PictureType::Dng) checkTiff(to.empty() ? path : "--to");
    return type;
  }
  const std::string types = canBeGrey ? "png, ppm, pgm, bmp, tiff or dng" : "png, ppm, bmp or tiff";
  if (to.empty() && path == "-") throw Failure(Exit::Usage, "standard output", "has no extension: say --to");
  if (!to.empty()) throw Failure(Exit::Usage, "--to", "'" + to + "' is not " + types);
  std::error_code failed;
  if (std::filesystem::is_directory(path, failed)) throw Failure(Exit::Output, path, "is a directory");
  throw Failure(Exit::Usage, path,
                canBeGrey ? "name it .png, .ppm, .pgm, .bmp, .tiff or .dng, or say --to"
                          : "name it .png, .ppm, .bmp or .tiff, or say --to");
}

namespace {

Picture decode(PictureFile &file, Depth depth) {
  if (file.startsWith(kPng)) return decodePng(file, depth);
  if (file.startsWith("P5") || file.startsWith("P6")) return decodePnm(file, depth);
  if (file.startsWith("BM")) return decodeBmp(file);
  throw Failure(Exit::Input, file.name(), "is not a PNG, binary PPM or PGM, or BMP picture");
}

}  // namespace

Picture loadPicture(const std::string &path, Depth depth) {
  PictureFile file(path);
  return decode(file, depth);
}

Picture loadPicture(Source &source, Depth depth) {
  PictureFile file(source);
  return decode(file, depth);
}

bool isPicture(Source &source) {
  std::array<char, 4> begin{};
  const std::string_view text(begin.data(), source.peek(begin.data(), begin.size()));
  return text == kPng || text.substr(0, 2) == "P5" || text.substr(0, 2) == "P6" || text.substr(0, 2) == "BM";
}

namespace {

// Bottom row or not, a BMP has B, G, R.
kivo::Image imageOf(const Picture &picture) {
  kivo::Image image;
  image.width = picture.width;
  image.height = picture.height;
  image.kind = kivo::Pixels::Bgr8;
  image.rowBytes = std::size_t{3} * picture.width;
  if (!image.pixels.allocate(picture.rgb.size())) throw std::bad_alloc();
  std::uint8_t *const bgr = image.pixels.data();
  for (std::size_t i = 0; i < picture.rgb.size(); i += 3) {
    bgr[i] = picture.rgb[i + 2];
    bgr[i + 1] = picture.rgb[i + 1];
    bgr[i + 2] = picture.rgb[i];
  }
  return image;
}

}  // namespace

Rows rowsOf(const Picture &picture) {
  return {picture.width, picture.height, 3, 8, 0, [&picture](std::uint32_t y, std::uint8_t *) {
            return picture.pixel(0, y);
          }};
}

void savePicture(const Picture &picture, const std::string &path, PictureType type,
                 const OutputRules &rules) {
  const std::unique_ptr<ByteSink> output = openOutput(path, rules);
  ByteSink &file = *output;
  switch (type) {
    case PictureType::Png:
      encodePng(rowsOf(picture), file);
      break;
    case PictureType::Bmp:
      encodeBmp(imageOf(picture), file);
      break;
    case PictureType::Tiff:
      encodeTiff(rowsOf(picture), file);
      break;
    default:
      encodePnm(rowsOf(picture), file);
      break;
  }
  file.commit();
}

}  // namespace tool
