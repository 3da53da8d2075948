// SPDX-License-Identifier: Apache-2.0
// TIFF and DNG: uncompressed, one strip, everything that describes the samples in front of them. The files
// are big-endian, as the samples of Rows are.
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "pictures/picture.h"

namespace tool {

// What a raw converter has to know of a mosaic, or of grey samples, besides their number.
struct DngFacts {
  std::string order;  // "RGGB" and the like, row by row; empty for grey
  std::uint32_t black = 0;
  std::uint32_t white = 0;
  // R, G and B of something grey, the largest of them 1. Not for grey samples.
  std::array<double, 3> neutral = {1, 1, 1};
  // From XYZ to the colours of the camera, row by row; sRGB's where nobody knows better.
  std::array<double, 9> matrix = {3.2406, -1.5372, -0.4986, -0.9689, 1.8758, 0.0415, 0.0557, -0.2040, 1.0570};
};

// The writers leave finish() to their caller. Throw Failure.
void encodeTiff(const Rows &rows, ByteSink &sink);
// Rows have one channel: the samples as they are.
void encodeDng(const Rows &rows, const DngFacts &facts, ByteSink &sink);

// Whether a file that begins like that, with so many bytes in all, is one that was written whole here. 512
// bytes suffice.
bool isWholeTiff(const std::uint8_t *head, std::size_t size, std::uint64_t bytes);
}  // namespace tool
