// SPDX-License-Identifier: Apache-2.0
// Means of 16-bit samples: the sum of n samples shifted right by uiShift and log2 n, and cut to a channel.
#ifndef KIVO_KERNELS_BAYER16_MEANS_H
#define KIVO_KERNELS_BAYER16_MEANS_H

#include "kernels/bayer_rows.h"

namespace Kivo::KIVO_TARGET {
namespace {

// What the arithmetics below share: c_uiVec samples are two vectors of words.
template <class Channel>
struct WordMeans : ScalarMeans<Channel>, WordSample {
  static constexpr size_t c_uiSampleBytes = 2;
  static constexpr size_t c_uiBlock = c_uiVec;
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
struct WrappingMeans : WordMeans<uint8_t> {
  static constexpr unsigned c_uiLargestShift = 6;
  using Pair = WordRow;

  KIVO_INLINE Pair Add(Row a, Row b) const { return {a.low + b.low, a.high + b.high}; }
  KIVO_INLINE Row Own(Row v) const { return {v.low << 2, v.high << 2}; }
  KIVO_INLINE Row Mean(Pair s) const { return Add(s, s); }
  KIVO_INLINE Row Mean(Pair s, Pair t) const { return Add(s, t); }
  template <unsigned, unsigned>
  KIVO_INLINE U8 Finish(Row v, const Parity &) const {
    const U16 factor = Splat<U16>(1 << (c_uiLargestShift - uiShift));
    return PackHigh(v.low * factor, v.high * factor);
  }
};

// The same shifts where words can be stored as they are: one vector of words at a time, which needs half the
// registers, and a shift by lanes instead of multiplications.
struct SlimMeans : ScalarMeans<uint8_t>, WordSample {
  static constexpr size_t c_uiSampleBytes = 2;
  static constexpr size_t c_uiBlock = c_uiVec / 2;
  using Row = U16;
  using Pair = U16;

  KIVO_INLINE static Row LoadRow(const uint8_t *p) { return Pin(Load<U16>(p)); }
  KIVO_INLINE static Row Choose(const Parity &s, Row a, Row b) { return Select(s, a, b); }
  KIVO_INLINE Pair Add(Row a, Row b) const { return a + b; }
  KIVO_INLINE Row Own(Row v) const { return v; }
  KIVO_INLINE Row Mean(Pair s) const { return s; }
  KIVO_INLINE Row Mean(Pair s, Pair t) const { return s + t; }
  template <unsigned uiGreen, unsigned uiElsewhere>
  KIVO_INLINE Row Finish(Row v, const Parity &green) const {
    const auto Count = [this](unsigned uiLog2) { return Splat<U16>(static_cast<int>(uiShift + uiLog2)); };
    return v >> Select(green, Count(uiGreen), Count(uiElsewhere));
  }
};

// Shifts up to 29: the exact mean fits a word, and cutting it afterwards gives the same as one division.
template <class Channel>
struct ExactMeans : WordMeans<Channel> {
  using Row = WordRow;
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
  template <unsigned, unsigned>
  KIVO_INLINE auto Finish(Row v, const Parity &) const {
    if constexpr (sizeof(Channel) == 1) {
      return PackLow(ShiftRight(v.low, this->uiShift), ShiftRight(v.high, this->uiShift));
    } else {
      return Row{ShiftRight(v.low, this->uiShift), ShiftRight(v.high, this->uiShift)};
    }
  }
};

}  // namespace
}  // namespace Kivo::KIVO_TARGET

#endif  // KIVO_KERNELS_BAYER16_MEANS_H
