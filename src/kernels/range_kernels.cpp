// SPDX-License-Identifier: Apache-2.0
// The smallest and largest of many samples, and samples looked up in a table.
#include "kernels/blocks.h"

namespace Kivo::KIVO_TARGET {
namespace {

template <class V>
void Extremes(const uint8_t *pucSrc, size_t n, uint32_t *puiLeast, uint32_t *puiMost) {
  constexpr size_t c_uiBytes = sizeof V{}[0];
  V least = ~V{};
  V most{};
  uint32_t uiLeast = *puiLeast;
  uint32_t uiMost = *puiMost;
  const auto both = [&](uint32_t ui) {
    if (ui < uiLeast) uiLeast = ui;
    if (ui > uiMost) uiMost = ui;
  };
  const auto block = [&](size_t i) {
    const V v = Load<V>(pucSrc + i * c_uiBytes);
    least = v < least ? v : least;
    most = v > most ? v : most;
  };
  ForBlocks<c_uiVec / c_uiBytes>(
      n, block, [&](size_t i) { both(c_uiBytes == 1 ? pucSrc[i] : LoadWord(pucSrc + i * c_uiBytes)); });
  if (n >= c_uiVec / c_uiBytes) {
    for (size_t k = 0; k < c_uiVec / c_uiBytes; ++k) {
      both(least[k]);
      both(most[k]);
    }
  }
  *puiLeast = uiLeast;
  *puiMost = uiMost;
}

// Where one shuffle reaches 64 bytes, a table of 256 is four registers.
template <class V>
void TableBytes(uint8_t *pucDst, const uint8_t *pucSrc, size_t n, const uint8_t *pucTable) {
  const auto item = [=](size_t i) { pucDst[i] = pucTable[pucSrc[i]]; };
  if constexpr (c_uiLane == 64) {
    const V aTable[4] = {Load<V>(pucTable), Load<V>(pucTable + 64), Load<V>(pucTable + 128),
                         Load<V>(pucTable + 192)};
    ForBlocks<c_uiVec>(
        n, [&](size_t i) { Store(pucDst + i, Lookup(aTable, Load<V>(pucSrc + i))); }, item);
  } else {
    for (size_t i = 0; i < n; ++i) item(i);
  }
}

void TableWords(uint8_t *pucDst, const uint8_t *pucSrc, size_t n, const uint8_t *pucTable) {
  for (size_t i = 0; i < n; ++i) pucDst[i] = pucTable[LoadWord(pucSrc + 2 * i)];
}

}  // namespace

const RangeKernels c_sRangeKernels = {Extremes<U8>, Extremes<U16>, TableBytes<U8>, TableWords};

}  // namespace Kivo::KIVO_TARGET
