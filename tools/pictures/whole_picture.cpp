// SPDX-License-Identifier: Apache-2.0
#include "pictures/whole_picture.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <tuple>

#include "pictures/picture_tiff.h"

namespace tool {
namespace {

constexpr std::size_t kLook = kTiffHead;

bool isWholeBmp(const unsigned char *head, std::size_t size, std::uint64_t bytes) {
  if (size < 54 || head[0] != 'B' || head[1] != 'M') return false;
  const std::uint64_t told =
      head[2] | std::uint64_t{head[3]} << 8 | std::uint64_t{head[4]} << 16 | std::uint64_t{head[5]} << 24;
  return told == bytes;
}

// Only what the tool writes: no comments.
bool isWholePnm(const char *head, std::size_t size, std::uint64_t bytes, char kind) {
  unsigned width = 0, height = 0, most = 0;
  int length = 0;
  char text[kLook + 1] = {};
  std::memcpy(text, head, size);
  if (text[0] != 'P' || text[1] != kind) return false;
  if (std::sscanf(text + 2, "%9u %9u %5u%n", &width, &height, &most, &length) != 3 || most == 0) return false;
  const std::uint64_t channels = kind == '6' ? 3 : 1;
  const std::uint64_t samples = channels * width * height;
  return bytes == 3 + static_cast<unsigned>(length) + samples * (most > 255 ? 2 : 1);
}

bool isWholePng(const char *head, std::size_t size, int file, std::uint64_t bytes) {
  static const char begin[] = "\x89PNG\r\n\x1a\n";
  static const char end[] = "\0\0\0\0IEND\xae\x42\x60\x82";
  char tail[12] = {};
  return size >= 8 && bytes > 45 && std::memcmp(head, begin, 8) == 0 &&
         ::pread(file, tail, sizeof tail, static_cast<off_t>(bytes - sizeof tail)) == sizeof tail &&
         std::memcmp(tail, end, sizeof tail) == 0;
}

bool isWhole(int file, std::uint64_t bytes, PictureType type) {
  char head[kLook] = {};
  const ssize_t got = ::pread(file, head, sizeof head, 0);
  if (got <= 0) return false;
  const std::size_t size = static_cast<std::size_t>(got);
  switch (type) {
    case PictureType::Bmp:
      return isWholeBmp(reinterpret_cast<const unsigned char *>(head), size, bytes);
    case PictureType::Ppm:
      return isWholePnm(head, size, bytes, '6');
    case PictureType::Pgm:
      return isWholePnm(head, size, bytes, '5');
    case PictureType::Tiff:
    case PictureType::Dng:
      return isWholeTiff(reinterpret_cast<const unsigned char *>(head), size, bytes);
    case PictureType::Png:
      return isWholePng(head, size, file, bytes);
  }
  return false;
}

}  // namespace

bool isDone(const std::string &input, const std::string &output, PictureType type) {
  struct stat from = {}, to = {};
  const int file = ::open(output.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (file < 0) return false;
  const bool known = ::stat(input.c_str(), &from) == 0 && ::fstat(file, &to) == 0 && S_ISREG(to.st_mode);
  const bool older =
      std::tie(to.st_mtim.tv_sec, to.st_mtim.tv_nsec) < std::tie(from.st_mtim.tv_sec, from.st_mtim.tv_nsec);
  const bool done = known && !older && isWhole(file, static_cast<std::uint64_t>(to.st_size), type);
  ::close(file);
  return done;
}

}  // namespace tool
