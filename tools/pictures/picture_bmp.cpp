// SPDX-License-Identifier: Apache-2.0
// Uncompressed BMP: 8 bits with a palette, 24 and 32 bits.
#include <cinttypes>
#include <iterator>

#include "files/byte_sink.h"
#include "pictures/picture.h"
#include "pictures/picture_file.h"
#include "words/failure.h"
#include "words/text.h"

namespace tool {
namespace {

constexpr std::uint32_t kHeaderBytes = 54;
constexpr std::uint32_t kPixelsPerMetre = 16000;  // what the library writes

std::uint32_t word16(const std::uint8_t *at) {
  return at[0] | static_cast<std::uint32_t>(at[1]) << 8;
}
std::uint32_t word32(const std::uint8_t *at) {
  return word16(at) | word16(at + 2) << 16;
}

}  // namespace

Picture decodeBmp(PictureFile &file) {
  const auto damaged = [&file](const std::string &why) {
    return Failure(Exit::Input, file.name(), "is a damaged BMP picture: " + why);
  };
  std::uint8_t head[kHeaderBytes] = {};
  if (file.take(head, sizeof head) != sizeof head) throw damaged("its header is cut short");
  const std::uint64_t offset = word32(head + 10);
  const std::uint64_t headerBytes = word32(head + 14);
  const std::int64_t signedHeight = static_cast<std::int32_t>(word32(head + 22));
  const std::uint64_t width = word32(head + 18);
  const std::uint64_t height = static_cast<std::uint64_t>(signedHeight < 0 ? -signedHeight : signedHeight);
  const std::uint32_t bits = word16(head + 28);
  if (headerBytes < 40 || (bits != 8 && bits != 24 && bits != 32) || word32(head + 30) != 0)
    throw Failure(Exit::Input, file.name(),
                  "is a BMP picture of another kind than uncompressed 8, 24 or 32 bits");
  checkPictureSize(file.name(), width, height);
  const std::uint64_t row = (width * bits + 31) / 32 * 4;
  const auto tooShort = [&](std::uint64_t bytes) {
    return damaged(
        printed("%" PRIu64 " bytes are too few for %" PRIu64 " x %" PRIu64 " pixels", bytes, width, height));
  };
  if (offset < sizeof head || (file.size() != kUncounted && file.size() < offset + row * height))
    throw tooShort(file.size() == kUncounted ? file.taken() : file.size());
  std::uint8_t palette[4 * 256] = {};
  if (bits == 8) {
    if (14 + headerBytes > offset || offset - 14 - headerBytes < sizeof palette)
      throw damaged("its palette is cut short");
    file.skip(14 + headerBytes - sizeof head);
    if (file.take(palette, sizeof palette) != sizeof palette) throw damaged("its palette is cut short");
  }
  file.skip(offset - file.taken());
  const std::vector<std::uint8_t> rows = file.body(row * height);
  if (rows.size() < row * height) throw tooShort(file.taken());

  Picture picture(static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height));
  for (std::uint32_t y = 0; y < picture.height; ++y) {
    const std::uint64_t line = signedHeight < 0 ? y : height - 1 - y;
    const std::uint8_t *from = rows.data() + line * row;
    for (std::uint32_t x = 0; x < picture.width; ++x) {
      const std::uint8_t *bgr =
          bits == 8 ? palette + std::size_t{4} * from[x] : from + std::size_t{x} * (bits / 8);
      std::uint8_t *to = picture.pixel(x, y);
      to[0] = bgr[2];
      to[1] = bgr[1];
      to[2] = bgr[0];
    }
  }
  return picture;
}

// The same bytes as SaveBmpARGB() and SaveBmpRGB() write, for destinations that have no name.
void encodeBmp(const kivo::Image &image, ByteSink &sink) {
  const std::uint32_t channels = image.kind == kivo::Pixels::Bgra8 ? 4 : 3;
  const std::uint64_t pixels = std::uint64_t{image.width} * channels;
  const std::uint64_t row = (pixels + 3) / 4 * 4;
  if (image.height > INT32_MAX || image.width > INT32_MAX || row * image.height > UINT32_MAX - kHeaderBytes)
    throw Failure(Exit::Unsupported, sink.name(),
                  printed("%" PRIu32 " x %" PRIu32 " pixels are too many for a BMP picture", image.width,
                          image.height));
  const std::uint32_t bytes = static_cast<std::uint32_t>(row * image.height);
  const std::uint32_t words[] = {kHeaderBytes + bytes,
                                 0,
                                 kHeaderBytes,
                                 40,
                                 image.width,
                                 image.height,
                                 1U | (8 * channels) << 16,
                                 0,
                                 bytes,
                                 kPixelsPerMetre,
                                 kPixelsPerMetre,
                                 0,
                                 0};
  std::uint8_t header[kHeaderBytes] = {'B', 'M'};
  for (std::size_t i = 0; i < std::size(words); ++i)
    for (unsigned b = 0; b < 4; ++b) header[2 + 4 * i + b] = static_cast<std::uint8_t>(words[i] >> 8 * b);
  sink.write(header, sizeof header);
  const std::uint8_t padding[4] = {};
  for (std::uint32_t y = image.height; y-- != 0;) {
    sink.write(image.row(y), static_cast<std::size_t>(pixels));
    if (row != pixels) sink.write(padding, static_cast<std::size_t>(row - pixels));
  }
}

}  // namespace tool
