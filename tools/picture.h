// SPDX-License-Identifier: Apache-2.0
// Pictures in display form: 8-bit RGB, and the three file formats that the tool reads and writes.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tool {

class OutputFile;

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

enum class PictureType { Png, Ppm, Bmp };

// The type that `--to` names, or else the extension of `path`. Throws Failure.
PictureType pictureType(const std::string &path, const std::string &to);

// Reads a PNG, binary PPM or PGM, or uncompressed BMP file, whatever it is called. Throws Failure.
Picture loadPicture(const std::string &path);

// Writes `path`, whole or not at all. Throws Failure.
void savePicture(const Picture &picture, const std::string &path, PictureType type);

// The readers get the whole file. The picture's size has been found sane by checkPictureSize().
Picture decodePng(const std::string &path, const std::vector<std::uint8_t> &file);
Picture decodePnm(const std::string &path, const std::vector<std::uint8_t> &file);
Picture decodeBmp(const std::string &path, const std::vector<std::uint8_t> &file);

void encodePng(const Picture &picture, OutputFile &file);
void encodePpm(const Picture &picture, OutputFile &file);
void encodeBmp(const Picture &picture, OutputFile &file);

// Throws Failure for an empty picture and for one of more pixels than anybody's camera has.
void checkPictureSize(const std::string &path, std::uint64_t width, std::uint64_t height);

}  // namespace tool
