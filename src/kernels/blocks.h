// SPDX-License-Identifier: Apache-2.0
// A driver for kernels over several arrays at once.
#ifndef KIVO_KERNELS_BLOCKS_H
#define KIVO_KERNELS_BLOCKS_H

#include "kernels/runs.h"
#include "simd/frame_kernels.h"

namespace Kivo::KIVO_TARGET {
namespace {

// Items 0 to n - 1: block(i) does items i to i + uiBlock - 1, item(i) the one. The last block overlaps the
// one before and does some items again.
template <size_t uiBlock, class Block, class Item>
KIVO_INLINE void ForBlocks(size_t n, Block block, Item item) {
  if (n < uiBlock) {
    for (size_t i = 0; i < n; ++i) item(i);
    return;
  }
  for (size_t i = 0;;) {
    block(i);
    if (i == n - uiBlock) return;
    i = n - i < 2 * uiBlock ? n - uiBlock : i + uiBlock;
  }
}

KIVO_INLINE uint16_t LoadWord(const uint8_t *p) {
  uint16_t us;
  memcpy(&us, p, 2);
  return us;
}

}  // namespace
}  // namespace Kivo::KIVO_TARGET

#endif  // KIVO_KERNELS_BLOCKS_H
