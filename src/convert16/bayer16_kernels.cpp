// SPDX-License-Identifier: Apache-2.0
// Standard Bayer demosaic of 16-bit samples, the reduction to 8 bits folded into the division of each mean:
// the sum of n samples shifted right by uiShift and log2 n, low 8 bits kept.
#include "convert8/bayer_rows.h"

namespace Kivo::KIVO_TARGET {
namespace {

struct WordRow {
  U16 low, high;
};

// What the two arithmetics below share: c_uiVec samples are two vectors of words.
struct WordMeans : ScalarMeans {
  static constexpr size_t c_uiSampleBytes = 2;
  using Row = WordRow;

  KIVO_INLINE static Row LoadRow(const uint8_t *p) {
    return {Pin(Load<U16>(p)), Pin(Load<U16>(p + c_uiVec))};
  }
  KIVO_INLINE static Row Choose(const Parity &s, Row a, Row b) {
    return {Select(s, a.low, b.low), Select(s, a.high, b.high)};
  }
};

// Shifts up to 6: of a sum of four only bits below 16 are kept, so sums may wrap. Everything is carried as
// four times the mean and multiplied in the end so that the byte wanted is the upper one of its word.
struct WrappingMeans : WordMeans {
  static constexpr unsigned c_uiLargestShift = 6;
  using Pair = WordRow;

  KIVO_INLINE Pair Add(Row a, Row b) const { return {a.low + b.low, a.high + b.high}; }
  KIVO_INLINE Row Own(Row v) const { return {v.low << 2, v.high << 2}; }
  KIVO_INLINE Row Mean(Pair s) const { return Add(s, s); }
  KIVO_INLINE Row Mean(Pair s, Pair t) const { return Add(s, t); }
  KIVO_INLINE U8 ToBytes(Row v) const {
    const U16 factor = Splat<U16>(1 << (c_uiLargestShift - uiShift));
    return PackHigh(v.low * factor, v.high * factor);
  }
};

// Shifts up to 29: the exact mean fits a word, and cutting it afterwards gives the same as one division.
struct ExactMeans : WordMeans {
  static constexpr unsigned c_uiLargestShift = 29;
  struct Pair {
    WordRow average, differing;
  };

  KIVO_INLINE Pair Add(Row a, Row b) const {
    return {{Avg(a.low, b.low), Avg(a.high, b.high)}, {a.low ^ b.low, a.high ^ b.high}};
  }
  KIVO_INLINE Row Own(Row v) const { return v; }
  KIVO_INLINE Row Mean(Pair s) const {
    return {s.average.low - (s.differing.low & 1), s.average.high - (s.differing.high & 1)};
  }
  KIVO_INLINE static U16 MeanOf4(U16 p, U16 q, U16 differing) {
    return Avg(p, q) - ((differing | (p ^ q)) & 1);
  }
  KIVO_INLINE Row Mean(Pair s, Pair t) const {
    return {MeanOf4(s.average.low, t.average.low, s.differing.low | t.differing.low),
            MeanOf4(s.average.high, t.average.high, s.differing.high | t.differing.high)};
  }
  KIVO_INLINE U8 ToBytes(Row v) const {
    return PackLow(ShiftRight(v.low, uiShift), ShiftRight(v.high, uiShift));
  }
};

template <Output eOut, class Means>
void ConvertWith(const Means &sMeans, const Mosaic &s, bool bStream) {
  if (bStream) {
    ConvertMosaic<eOut, true>(sMeans, s);
  } else {
    ConvertMosaic<eOut, false>(sMeans, s);
  }
}

template <Output eOut>
void Bayer16(uint8_t *pucDst, const uint8_t *pucSrc, size_t uiWidth, size_t uiHeight, BayerOrder eOrder,
             unsigned uiShift, bool bStream) {
  if (uiWidth == 0 || uiHeight == 0) return;
  const Mosaic s = MakeMosaic<eOut, WordMeans>(pucDst, pucSrc, uiWidth, uiHeight, eOrder);
  if (uiWidth == 1 || uiHeight == 1 || uiShift > ExactMeans::c_uiLargestShift) {
    ConvertPixelwise<eOut, WordMeans>(ScalarMeans{uiShift}, s);
  } else if (uiShift <= WrappingMeans::c_uiLargestShift) {
    ConvertWith<eOut>(WrappingMeans{{{uiShift}}}, s, bStream);
  } else {
    ConvertWith<eOut>(ExactMeans{{{uiShift}}}, s, bStream);
  }
}

}  // namespace

const Bayer16Kernels c_sBayer16Kernels = {{Bayer16<c_eBGRA>, Bayer16<c_eBGR>}};

}  // namespace Kivo::KIVO_TARGET
