// SPDX-License-Identifier: Apache-2.0
// Means of 8-bit samples in byte lanes, without widening: the rounding-up average less what it rounded. With
// p = avg(a, b) and q = avg(c, d):
//   floor((a + b) / 2)         = p - ((a ^ b) & 1)
//   floor((a + b + c + d) / 4) = avg(p, q) - (((a ^ b) | (c ^ d) | (p ^ q)) & 1)
#ifndef KIVO_KERNELS_BAYER8_MEANS_H
#define KIVO_KERNELS_BAYER8_MEANS_H

#include "kernels/bayer_rows.h"

namespace Kivo::KIVO_TARGET {
namespace {

struct ByteMeans : ScalarMeans<uint8_t>, ByteSample {
  static constexpr size_t c_uiSampleBytes = 1;
  static constexpr size_t c_uiBlock = c_uiVec;
  using Row = U8;
  struct Pair {
    U8 average, differing;
  };

  constexpr ByteMeans() : ScalarMeans<uint8_t>{0}, ByteSample{} {}

  KIVO_INLINE static Row LoadRow(const uint8_t *p) { return Pin(Load<U8>(p)); }
  KIVO_INLINE Pair Add(Row a, Row b) const { return {Avg(a, b), a ^ b}; }
  KIVO_INLINE Row Own(Row v) const { return v; }
  KIVO_INLINE Row Mean(Pair s) const { return s.average - (s.differing & 1); }
  KIVO_INLINE Row Mean(Pair s, Pair t) const {
    return Avg(s.average, t.average) - ((s.differing | t.differing | (s.average ^ t.average)) & 1);
  }
  KIVO_INLINE static Row Choose(const Parity &s, Row a, Row b) { return Select(s, a, b); }
  template <unsigned, unsigned>
  KIVO_INLINE U8 Finish(Row v, const Parity &) const {
    return v;
  }
};

}  // namespace
}  // namespace Kivo::KIVO_TARGET

#endif  // KIVO_KERNELS_BAYER8_MEANS_H
