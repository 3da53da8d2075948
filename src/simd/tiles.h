// SPDX-License-Identifier: Apache-2.0
// Wide mosaics in parts, side by side: what a part keeps of its rows fits the cache and the stack.
#ifndef KIVO_SIMD_TILES_H
#define KIVO_SIMD_TILES_H

#include <cstddef>

namespace Kivo {

// Columns of a part, aprons included, that most sensors' rows do not exceed.
constexpr std::size_t c_uiLargestTile = 8192;

// Columns uiFirst to uiFirst + uiWidth - 1, of which those below uiEnd and not of an earlier part are made.
struct Tile {
  std::size_t uiFirst, uiWidth;
  std::size_t uiStart, uiEnd;
  bool bLeftEdge, bRightEdge;
};

// The part that begins at column uiStart, where the one before ended, with at most uiLargest columns. All
// begin at an even column, and no part is much smaller than another.
inline Tile NextTile(std::size_t uiStart, std::size_t uiWidth, std::size_t uiApron,
                     std::size_t uiLargest) noexcept {
  Tile s = {};
  s.uiStart = uiStart;
  s.bLeftEdge = uiStart == 0;
  s.uiFirst = s.bLeftEdge ? 0 : uiStart - uiApron;
  s.bRightEdge = uiWidth - s.uiFirst <= uiLargest;
  if (s.bRightEdge) {
    s.uiEnd = uiWidth;
    s.uiWidth = uiWidth - s.uiFirst;
  } else {
    const std::size_t uiMost = uiLargest - 2 * uiApron;
    const std::size_t uiParts = (uiWidth - uiStart + uiMost - 1) / uiMost;
    s.uiEnd = uiStart + (uiWidth - uiStart) / uiParts / 2 * 2;
    s.uiWidth = s.uiEnd + uiApron - s.uiFirst;
  }
  return s;
}

}  // namespace Kivo

#endif  // KIVO_SIMD_TILES_H
