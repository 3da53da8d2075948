// SPDX-License-Identifier: Apache-2.0
#include "picture.h"

#include <sys/stat.h>

#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <new>

#include "failure.h"
#include "output_file.h"
#include "text.h"

namespace tool {
namespace {

constexpr std::uint64_t kMostPixels = std::uint64_t{1} << 28;
// A picture of that many pixels at 16 bits and four channels, uncompressed, and then some.
constexpr std::uint64_t kMostFileBytes = kMostPixels * 9;

std::vector<std::uint8_t> readPipe(const std::string &path, std::FILE *pipe) {
  std::vector<std::uint8_t> bytes(std::size_t{1} << 20);
  std::size_t done = 0;
  while (const std::size_t got = std::fread(bytes.data() + done, 1, bytes.size() - done, pipe)) {
    done += got;
    if (done > kMostFileBytes) throw Failure(Exit::Input, path, "is too large to be a picture");
    if (done == bytes.size()) bytes.resize(2 * done);
  }
  if (std::ferror(pipe) != 0) throw Failure(Exit::Input, path, withErrno("cannot be read", errno));
  bytes.resize(done);
  return bytes;
}

std::vector<std::uint8_t> readFile(const std::string &path) {
  struct Close {
    void operator()(std::FILE *file) const noexcept { std::fclose(file); }
  };
  const std::unique_ptr<std::FILE, Close> file(std::fopen(path.c_str(), "rb"));
  if (!file) throw Failure(Exit::Input, path, withErrno("cannot be opened", errno));
  struct stat info = {};
  if (::fstat(::fileno(file.get()), &info) != 0 || (!S_ISREG(info.st_mode) && !S_ISFIFO(info.st_mode)))
    throw Failure(Exit::Input, path, S_ISDIR(info.st_mode) ? "is a directory" : "is not a regular file");
  if (S_ISFIFO(info.st_mode)) return readPipe(path, file.get());
  const std::uint64_t size = static_cast<std::uint64_t>(info.st_size);
  if (size > kMostFileBytes) throw Failure(Exit::Input, path, "is too large to be a picture");
  std::vector<std::uint8_t> bytes(static_cast<std::size_t>(size));
  if (std::fread(bytes.data(), 1, bytes.size(), file.get()) != bytes.size())
    throw Failure(Exit::Input, path, "cannot be read completely");
  return bytes;
}

bool startsWith(const std::vector<std::uint8_t> &file, const char *magic, std::size_t size) {
  return file.size() >= size && std::memcmp(file.data(), magic, size) == 0;
}

}  // namespace

void checkPictureSize(const std::string &path, std::uint64_t width, std::uint64_t height) {
  if (width == 0 || height == 0) throw Failure(Exit::Input, path, "is an empty picture");
  if (width > kMostPixels || height > kMostPixels || width * height > kMostPixels)
    throw Failure(Exit::Input, path,
                  printed("claims %" PRIu64 " x %" PRIu64 " pixels, more than this tool takes (%" PRIu64 ")",
                          width, height, kMostPixels));
}

PictureType pictureType(const std::string &path, const std::string &to, bool canBeGrey) {
  std::string name = to;
  if (name.empty()) {
    name = std::filesystem::path(path).extension().string();
    if (!name.empty()) name.erase(0, 1);
  }
  if (kivo::detail::sameName(name, "png")) return PictureType::Png;
  if (kivo::detail::sameName(name, "ppm")) return PictureType::Ppm;
  if (canBeGrey && kivo::detail::sameName(name, "pgm")) return PictureType::Pgm;
  if (kivo::detail::sameName(name, "bmp")) return PictureType::Bmp;
  const std::string pgm = canBeGrey ? ", pgm" : "";
  if (to.empty() && path == "-") throw Failure(Exit::Usage, "standard output", "has no extension: say --to");
  if (!to.empty()) throw Failure(Exit::Usage, "--to", "'" + to + "' is not png, ppm" + pgm + " or bmp");
  std::error_code failed;
  if (std::filesystem::is_directory(path, failed)) throw Failure(Exit::Output, path, "is a directory");
  throw Failure(Exit::Usage, path,
                "name it .png, .ppm" + std::string(canBeGrey ? ", .pgm" : "") + " or .bmp, or say --to");
}

Picture loadPicture(const std::string &path, Depth depth) {
  const std::vector<std::uint8_t> file = readFile(path);
  if (startsWith(file, "\x89PNG", 4)) return decodePng(path, file, depth);
  if (startsWith(file, "P5", 2) || startsWith(file, "P6", 2)) return decodePnm(path, file, depth);
  if (startsWith(file, "BM", 2)) return decodeBmp(path, file);
  throw Failure(Exit::Input, path, "is not a PNG, binary PPM or PGM, or BMP picture");
}

namespace {

// Bottom row or not, a BMP has B, G, R.
kivo::Image imageOf(const Picture &picture) {
  kivo::Image image;
  image.width = picture.width;
  image.height = picture.height;
  image.kind = kivo::Output::Bgr;
  if (!image.pixels.allocate(picture.rgb.size())) throw std::bad_alloc();
  for (std::size_t i = 0; i < picture.rgb.size(); i += 3) {
    image.pixels[i] = picture.rgb[i + 2];
    image.pixels[i + 1] = picture.rgb[i + 1];
    image.pixels[i + 2] = picture.rgb[i];
  }
  return image;
}

}  // namespace

Rows rowsOf(const Picture &picture) {
  return {picture.width, picture.height, 3, 8,
          [&picture](std::uint32_t y, std::uint8_t *) { return picture.pixel(0, y); }};
}

void savePicture(const Picture &picture, const std::string &path, PictureType type) {
  const std::unique_ptr<ByteSink> output = openOutput(path);
  ByteSink &file = *output;
  switch (type) {
    case PictureType::Png:
      encodePng(rowsOf(picture), file);
      break;
    case PictureType::Bmp:
      encodeBmp(imageOf(picture), file);
      break;
    default:
      encodePnm(rowsOf(picture), file);
      break;
  }
  file.commit();
}

}  // namespace tool
