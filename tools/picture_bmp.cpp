// SPDX-License-Identifier: Apache-2.0
// Uncompressed BMP: 8 bits with a palette, 24 and 32 bits.
#include <cinttypes>

#include "failure.h"
#include "output_file.h"
#include "picture.h"

namespace tool {
namespace {

std::uint32_t word16(const std::uint8_t *at) {
  return at[0] | static_cast<std::uint32_t>(at[1]) << 8;
}
std::uint32_t word32(const std::uint8_t *at) {
  return word16(at) | word16(at + 2) << 16;
}

}  // namespace

Picture decodeBmp(const std::string &path, const std::vector<std::uint8_t> &file) {
  if (file.size() < 54) throw Failure(Exit::Input, path, "is a damaged BMP picture: its header is cut short");
  const std::uint64_t offset = word32(&file[10]);
  const std::uint64_t headerBytes = word32(&file[14]);
  const std::int64_t signedHeight = static_cast<std::int32_t>(word32(&file[22]));
  const std::uint64_t width = word32(&file[18]);
  const std::uint64_t height = static_cast<std::uint64_t>(signedHeight < 0 ? -signedHeight : signedHeight);
  const std::uint32_t bits = word16(&file[28]);
  if (headerBytes < 40 || (bits != 8 && bits != 24 && bits != 32) || word32(&file[30]) != 0)
    throw Failure(Exit::Input, path, "is a BMP picture of another kind than uncompressed 8, 24 or 32 bits");
  checkPictureSize(path, width, height);
  const std::uint64_t row = (width * bits + 31) / 32 * 4;
  if (offset < 54 || offset > file.size() || (file.size() - offset) / row < height)
    throw Failure(
        Exit::Input, path,
        format("is a damaged BMP picture: %zu bytes are too few for %" PRIu64 " x %" PRIu64 " pixels",
               file.size(), width, height));
  const std::uint64_t palette = 14 + headerBytes;
  if (bits == 8 && (palette > offset || offset - palette < 4 * 256))
    throw Failure(Exit::Input, path, "is a damaged BMP picture: its palette is cut short");

  Picture picture(static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height));
  for (std::uint32_t y = 0; y < picture.height; ++y) {
    const std::uint64_t line = signedHeight < 0 ? y : height - 1 - y;
    const std::uint8_t *from = file.data() + offset + line * row;
    for (std::uint32_t x = 0; x < picture.width; ++x) {
      const std::uint8_t *bgr =
          bits == 8 ? file.data() + palette + std::size_t{4} * from[x] : from + x * (bits / 8);
      std::uint8_t *to = picture.pixel(x, y);
      to[0] = bgr[2];
      to[1] = bgr[1];
      to[2] = bgr[0];
    }
  }
  return picture;
}

void encodeBmp(const Picture &picture, OutputFile &file) {
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
  const kivo::Errc error = kivo::saveBmp(image, file.temporaryName());
  if (error != kivo::Errc::Ok) throw failureOf(error, file.path(), Exit::Output);
}

}  // namespace tool
