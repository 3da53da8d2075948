// SPDX-License-Identifier: Apache-2.0
// TIFF and DNG, through libtiff: uncompressed, one strip, everything that describes the samples in front of
// them, so that the files go through pipes, too. They are big-endian, as the samples of Rows are.
#pragma once

#include <array>
#include <cstddef>
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
  std::array<float, 3> neutral = {1, 1, 1};
  // From XYZ to the colours of the camera, row by row; sRGB's where nobody knows better.
  std::array<float, 9> matrix = {3.2406F, -1.5372F, -0.4986F, -0.9689F, 1.8758F,
                                 0.0415F, 0.0557F,  -0.2040F, 1.0570F};
};

// Throws Failure, about `subject`, in a build without libtiff; such a build writes none of them.
void checkTiff(const std::string &subject);

// The writers leave finish() to their caller. Throw Failure.
void encodeTiff(const Rows &rows, ByteSink &sink);
// Rows have one channel: the samples as they are.
void encodeDng(const Rows &rows, const DngFacts &facts, ByteSink &sink);

// Where the samples begin.
inline constexpr std::size_t kTiffHead = 1024;

// Whether a file that begins like that, with so many bytes in all, is one that was written whole here. `size`
// is kTiffHead, or less where the file ends before.
bool isWholeTiff(const std::uint8_t *head, std::size_t size, std::uint64_t bytes);

}  // namespace tool
