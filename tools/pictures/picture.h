// SPDX-License-Identifier: Apache-2.0
// Pictures in display form, RGB, and the file formats that the tool reads and writes.
#pragma once

#include <KivoCamUtl.hpp>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace tool {

class ByteSink;
class PictureFile;
class Source;
struct OutputRules;

struct Picture {
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  unsigned bits = 8;              // 8, or 16 with the high byte first where loadPicture() may give that
  std::vector<std::uint8_t> rgb;  // width * height * 3 samples R, G, B, top row first

  Picture() = default;
  Picture(std::uint32_t w, std::uint32_t h, unsigned sampleBits = 8)
      : width(w), height(h), bits(sampleBits), rgb(std::size_t{3} * w * h * (sampleBits / 8)) {}

  std::uint8_t *pixel(std::uint32_t x, std::uint32_t y) noexcept { return rgb.data() + offset(x, y); }
  const std::uint8_t *pixel(std::uint32_t x, std::uint32_t y) const noexcept {
    return rgb.data() + offset(x, y);
  }

  // R, G, B, R, ... whatever the depth.
  std::size_t samples() const noexcept { return std::size_t{3} * width * height; }
  int sample(std::size_t i) const noexcept { return bits == 8 ? rgb[i] : rgb[2 * i] << 8 | rgb[2 * i + 1]; }
  void setSample(std::size_t i, std::uint64_t value) noexcept {
    if (bits == 16) {
      rgb[2 * i] = static_cast<std::uint8_t>(value >> 8);
      rgb[2 * i + 1] = static_cast<std::uint8_t>(value);
    } else {
      rgb[i] = static_cast<std::uint8_t>(value);
    }
  }

 private:
  std::size_t offset(std::uint32_t x, std::uint32_t y) const noexcept {
    return 3 * (std::size_t{y} * width + x) * (bits / 8);
  }
};

// What becomes of more than 8 bits a sample: reduced to 8, or 16 as they are.
enum class Depth { Reduced, Kept };

enum class PictureType { Png, Ppm, Pgm, Bmp, Tiff, Dng };

// What the PNG and PNM writers write, row by row: grey or R, G, B samples of 8 bits, or of 16 with the high
// byte first.
struct Rows {
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  unsigned channels = 3;  // 1 or 3
  unsigned bits = 8;      // 8 or 16
  unsigned most = 0;      // the value of white; 0: all bits set
  // Row y, either in memory of its own or in `space`, which has room for a row.
  std::function<const std::uint8_t *(std::uint32_t y, std::uint8_t *space)> row;

  std::size_t rowBytes() const noexcept { return std::size_t{width} * channels * (bits / 8); }
};

// The fastest that still compresses photographs.
inline constexpr int kPngLevel = 1;

// The type that `--to` names, or else the extension of `path`; PGM where the picture can be grey. Throws
// Failure.
PictureType pictureType(const std::string &path, const std::string &to, bool canBeGrey = false);

// Reads a PNG, binary PPM or PGM, or uncompressed BMP file, a pipe, or standard input for "-", whatever it is
// called. Throws Failure.
Picture loadPicture(const std::string &path, Depth depth = Depth::Reduced);
Picture loadPicture(Source &source, Depth depth = Depth::Reduced);
// Whether what is to be read next begins like one. Throws Failure.
bool isPicture(Source &source);

// Writes `path`, whole or not at all, or standard output for "-". Throws Failure.
void savePicture(const Picture &picture, const std::string &path, PictureType type, const OutputRules &rules);

// The readers take a file of their type from its first byte on, no further than the picture goes. No memory
// is spent on pixels before checkPictureSize() has seen how many there are.
Picture decodePng(PictureFile &file, Depth depth);
Picture decodePnm(PictureFile &file, Depth depth);
Picture decodeBmp(PictureFile &file);

// The writers leave finish() to their caller. Throw Failure.
void encodePng(const Rows &rows, ByteSink &sink, int level = kPngLevel);
void encodePnm(const Rows &rows, ByteSink &sink);
void encodeBmp(const kivo::Image &image, ByteSink &sink);

Rows rowsOf(const Picture &picture);

// Throws Failure for an empty picture and for one of more pixels than anybody's camera has.
void checkPictureSize(const std::string &path, std::uint64_t width, std::uint64_t height);

}  // namespace tool
