// SPDX-License-Identifier: Apache-2.0
// The parts of wide mosaics: whatever is kept of a part has room for so many columns and no more.
#include "simd/tiles.h"

#include <algorithm>

#include "support/unit.h"

namespace KivoTest {
namespace {

TEST(Tiles, CoverTheRowAndFitTheRoom) {
  for (const std::size_t largest : {64u, 128u, 1024u})
    for (const std::size_t apron : {2u, 4u, 6u})
      for (std::size_t width = 2; width < 5 * largest; width += width < 200 ? 1 : 7) {
        std::size_t end = 0, smallest = width, parts = 0;
        while (end < width) {
          const Kivo::Tile tile = Kivo::NextTile(end, width, apron, largest);
          ASSERT_LE(tile.uiWidth, largest) << width;
          ASSERT_EQ(tile.uiStart, end);
          ASSERT_EQ(tile.bLeftEdge, end == 0);
          ASSERT_EQ(tile.uiFirst, end == 0 ? 0 : end - apron);
          ASSERT_GT(tile.uiEnd, tile.uiStart);
          ASSERT_EQ(tile.bRightEdge, tile.uiEnd == width);
          ASSERT_EQ(tile.uiFirst + tile.uiWidth, tile.bRightEdge ? width : tile.uiEnd + apron);
          ASSERT_TRUE(tile.bRightEdge || tile.uiEnd % 2 == 0);
          smallest = std::min(smallest, tile.uiWidth);
          end = tile.uiEnd;
          ++parts;
        }
        ASSERT_LE(parts, width / (largest - 2 * apron) + 2) << width;
        ASSERT_GE(smallest, parts == 1 ? width : largest / 2 - apron) << width;
      }
}

}  // namespace
}  // namespace KivoTest
