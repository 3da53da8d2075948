// SPDX-License-Identifier: Apache-2.0
// Pictures made smaller.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "pictures/picture.h"

namespace tool {

// A picture of width x height pixels shrunk to fit into a cell, in proportion, but never enlarged; each pixel
// is the mean of what it covers, rounded to nearest. `at(x, y, c)` gives channel c of a pixel in the order R,
// G, B.
template <class At>
Picture shrunk(std::uint32_t width, std::uint32_t height, std::uint32_t cellWidth, std::uint32_t cellHeight,
               At at) {
  std::uint64_t w = width, h = height;
  if (w > cellWidth) {
    h = std::max<std::uint64_t>(1, h * cellWidth / w);
    w = cellWidth;
  }
  if (h > cellHeight) {
    w = std::max<std::uint64_t>(1, w * cellHeight / h);
    h = cellHeight;
  }
  Picture small(static_cast<std::uint32_t>(w), static_cast<std::uint32_t>(h));
  // Where pixel i of `to` begins among `from`.
  const auto edge = [](std::uint64_t i, std::uint32_t from, std::uint32_t to) {
    return static_cast<std::uint32_t>(i * from / to);
  };
  for (std::uint32_t y = 0; y < small.height; ++y) {
    const std::uint32_t top = edge(y, height, small.height);
    const std::uint32_t bottom = std::max(top + 1, edge(y + 1ULL, height, small.height));
    for (std::uint32_t x = 0; x < small.width; ++x) {
      const std::uint32_t left = edge(x, width, small.width);
      const std::uint32_t right = std::max(left + 1, edge(x + 1ULL, width, small.width));
      std::uint64_t sums[3] = {0, 0, 0};
      for (std::uint32_t v = top; v < bottom; ++v)
        for (std::uint32_t u = left; u < right; ++u)
          for (std::size_t c = 0; c < 3; ++c) sums[c] += at(u, v, c);
      const std::uint64_t covered = std::uint64_t{bottom - top} * (right - left);
      for (std::size_t c = 0; c < 3; ++c)
        small.pixel(x, y)[c] = static_cast<std::uint8_t>((sums[c] + covered / 2) / covered);
    }
  }
  return small;
}

}  // namespace tool
