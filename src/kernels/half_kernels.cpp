// SPDX-License-Identifier: Apache-2.0
// A mosaic at half its size: one pixel from each 2 x 2 samples.
#include "kernels/blocks.h"

namespace Kivo::KIVO_TARGET {
namespace {

// Samples of the even and of the odd columns of a row.
struct Columns {
  U16 even, odd;
};

struct ByteSquares {
  static constexpr size_t c_uiBytes = 1;

  KIVO_INLINE static Columns Split(const uint8_t *p) {
    const U16 v = Load<U16>(p);
    return {v & 0xFF, v >> 8};
  }
  KIVO_INLINE static U16 Mean(U16 a, U16 b) { return (a + b) >> 1; }
  KIVO_INLINE static unsigned At(const uint8_t *p, size_t i) { return p[i]; }
};

struct WordSquares {
  static constexpr size_t c_uiBytes = 2;

  KIVO_INLINE static Columns Split(const uint8_t *p) {
    const U32 low = Load<U32>(p);
    const U32 high = Load<U32>(p + c_uiVec);
    return {PackLow(low, high), PackHigh(low, high)};
  }
  KIVO_INLINE static U16 Mean(U16 a, U16 b) { return Avg(a, b) - ((a ^ b) & 1); }
  KIVO_INLINE static unsigned At(const uint8_t *p, size_t i) { return LoadWord(p + 2 * i); }
};

// Greens lie from the upper right to the lower left, or the other way; of the other two samples the upper one
// is of the colour of its row.
template <class Squares, bool bGreenFirst>
void Half(uint16_t *pusUpper, uint16_t *pusGreen, uint16_t *pusLower, const uint8_t *pucRow0,
          const uint8_t *pucRow1, size_t n) {
  const auto block = [=](size_t i) {
    const Columns s0 = Squares::Split(pucRow0 + 2 * i * Squares::c_uiBytes);
    const Columns s1 = Squares::Split(pucRow1 + 2 * i * Squares::c_uiBytes);
    Store(pusUpper + i, bGreenFirst ? s0.odd : s0.even);
    Store(pusGreen + i, bGreenFirst ? Squares::Mean(s0.even, s1.odd) : Squares::Mean(s0.odd, s1.even));
    Store(pusLower + i, bGreenFirst ? s1.even : s1.odd);
  };
  const auto item = [=](size_t i) {
    constexpr size_t c_uiGreen0 = bGreenFirst ? 0 : 1;
    const unsigned uiSum =
        Squares::At(pucRow0, 2 * i + c_uiGreen0) + Squares::At(pucRow1, 2 * i + 1 - c_uiGreen0);
    pusUpper[i] = static_cast<uint16_t>(Squares::At(pucRow0, 2 * i + 1 - c_uiGreen0));
    pusGreen[i] = static_cast<uint16_t>(uiSum >> 1);
    pusLower[i] = static_cast<uint16_t>(Squares::At(pucRow1, 2 * i + c_uiGreen0));
  };
  ForBlocks<c_uiVec / 2>(n, block, item);
}

template <class Squares>
void HalfRow(uint16_t *const *apusPlanes, const uint8_t *pucRow0, const uint8_t *pucRow1, size_t n,
             BayerOrder eOrder) {
  const bool bGreenFirst = eOrder == BayerOrder::GR || eOrder == BayerOrder::GB;
  const bool bBlueFirst = eOrder == BayerOrder::BG || eOrder == BayerOrder::GB;
  uint16_t *const pusUpper = apusPlanes[bBlueFirst ? 0 : 2];
  uint16_t *const pusLower = apusPlanes[bBlueFirst ? 2 : 0];
  const auto pfn = bGreenFirst ? Half<Squares, true> : Half<Squares, false>;
  pfn(pusUpper, apusPlanes[1], pusLower, pucRow0, pucRow1, n);
}

}  // namespace

const HalfKernels c_sHalfKernels = {HalfRow<ByteSquares>, HalfRow<WordSquares>};

}  // namespace Kivo::KIVO_TARGET
