// SPDX-License-Identifier: Apache-2.0
// Pixels of three samples to planes of words, planes to pixels of three samples, and bytes to words.
#include "kernels/blocks.h"

namespace Kivo::KIVO_TARGET {
namespace {

void BytesToPlanes(uint16_t *const *apusPlanes, const uint8_t *pucSrc, size_t n) {
  const auto block = [=](size_t i) {
    U8 a[3];
    LoadBGR(pucSrc + 3 * i, a[0], a[1], a[2]);
    for (size_t c = 0; c < 3; ++c) {
      const WordPair s = Widen(a[c]);
      Store(apusPlanes[c] + i, s.low);
      Store(apusPlanes[c] + i + c_uiVec / 2, s.high);
    }
  };
  const auto item = [=](size_t i) {
    for (size_t c = 0; c < 3; ++c) apusPlanes[c][i] = pucSrc[3 * i + c];
  };
  ForBlocks<c_uiVec>(n, block, item);
}

void WordsToPlanes(uint16_t *const *apusPlanes, const uint8_t *pucSrc, size_t n) {
  const auto block = [=](size_t i) {
    U16 a[3];
    LoadBGR(pucSrc + 6 * i, a[0], a[1], a[2]);
    for (size_t c = 0; c < 3; ++c) Store(apusPlanes[c] + i, a[c]);
  };
  const auto item = [=](size_t i) {
    for (size_t c = 0; c < 3; ++c) apusPlanes[c][i] = LoadWord(pucSrc + 6 * i + 2 * c);
  };
  ForBlocks<c_uiVec / 2>(n, block, item);
}

template <class V>
void PlanesToPixels(uint8_t *pucDst, const uint8_t *const *apucPlanes, size_t n) {
  constexpr size_t c_uiBytes = sizeof V{}[0];
  const auto block = [=](size_t i) {
    const size_t uiByte = i * c_uiBytes;
    StoreBGR<false>(pucDst + 3 * uiByte, Load<V>(apucPlanes[0] + uiByte), Load<V>(apucPlanes[1] + uiByte),
                    Load<V>(apucPlanes[2] + uiByte));
  };
  const auto item = [=](size_t i) {
    for (size_t c = 0; c < 3; ++c)
      memcpy(pucDst + (3 * i + c) * c_uiBytes, apucPlanes[c] + i * c_uiBytes, c_uiBytes);
  };
  ForBlocks<c_uiVec / c_uiBytes>(n, block, item);
}

void WidenBytes(uint16_t *pusDst, const uint8_t *pucSrc, size_t n) {
  const auto block = [=](size_t i) {
    const WordPair s = Widen(Load<U8>(pucSrc + i));
    Store(pusDst + i, s.low);
    Store(pusDst + i + c_uiVec / 2, s.high);
  };
  ForBlocks<c_uiVec>(n, block, [=](size_t i) { pusDst[i] = pucSrc[i]; });
}

}  // namespace

const PlanesKernels c_sPlanesKernels = {BytesToPlanes, WordsToPlanes, PlanesToPixels<U8>, PlanesToPixels<U16>,
                                        WidenBytes};

}  // namespace Kivo::KIVO_TARGET
