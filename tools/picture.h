// SPDX-License-Identifier: Apache-2.0
// Pictures in display form: 8-bit RGB, and the file formats that the tool reads and writes.
#pragma once

#include <KivoCamUtl.hpp>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace tool {

class ByteSink;

struct Picture {
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::vector<std::uint8_t> rgb;  // width * height * 3 bytes R, G, B, top row first

  Picture() = default;
  Picture(std::uint32_t w, std::uint32_t h) : width(w), height(h), rgb(std::size_t{3} * w * h) {}

  std::uint8_t *pixel(std::uint32_t x, std::uint32_t y) noexcept {
    return rgb.data() + 3 * (std::size_t{y} * width + x);
  }
  const std::uint8_t *pixel(std::uint32_t x, std::uint32_t y) const noexcept {
    return rgb.data() + 3 * (std::size_t{y} * width + x);
  }
};

enum class PictureType { Png, Ppm, Pgm, Bmp };

// What the PNG and PNM writers write, row by row: grey or R, G, B samples of 8 bits, or of 16 with the high
// byte first.
struct Rows {
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  unsigned channels = 3;  // 1 or 3
  unsigned bits = 8;      // 8 or 16
  // Row y, either in memory of its own or in `space`, which has room for a row.
  std::function<const std::uint8_t *(std::uint32_t y, std::uint8_t *space)> row;

  std::size_t rowBytes() const noexcept { return std::size_t{width} * channels * (bits / 8); }
};

// The fastest that still compresses photographs.
inline constexpr int kPngLevel = 1;

// The type that `--to` names, or else the extension of `path`; PGM where the picture can be grey. Throws
// Failure.
PictureType pictureType(const std::string &path, const std::string &to, bool canBeGrey = false);

// Reads a PNG, binary PPM or PGM, or uncompressed BMP file, whatever it is called. Throws Failure.
Picture loadPicture(const std::string &path);

// Writes `path`, whole or not at all. Throws Failure.
void savePicture(const Picture &picture, const std::string &path, PictureType type);

// The readers get the whole file. The picture's size has been found sane by checkPictureSize().
Picture decodePng(const std::string &path, const std::vector<std::uint8_t> &file);
Picture decodePnm(const std::string &path, const std::vector<std::uint8_t> &file);
Picture decodeBmp(const std::string &path, const std::vector<std::uint8_t> &file);

// The writers leave finish() to their caller. Throw Failure.
void encodePng(const Rows &rows, ByteSink &sink, int level = kPngLevel);
void encodePnm(const Rows &rows, ByteSink &sink);
void encodeBmp(const kivo::Image &image, ByteSink &sink);

Rows rowsOf(const Picture &picture);

// Throws Failure for an empty picture and for one of more pixels than anybody's camera has.
void checkPictureSize(const std::string &path, std::uint64_t width, std::uint64_t height);

}  // namespace tool
