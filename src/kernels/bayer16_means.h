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

// Two words added, of any bits.
struct ExactSum {
  U16 average, differing;

  KIVO_INLINE static ExactSum Of(U16 a, U16 b) { return {Avg(a, b), a ^ b}; }
  KIVO_INLINE U16 Mean() const { return average - (differing & 1); }
  KIVO_INLINE U16 Mean(const ExactSum &s) const {
    return Avg(average, s.average) - ((differing | s.differing | (average ^ s.average)) & 1);
  }
};

// Shifts up to 29: the exact mean fits a word, and cutting it afterwards gives the same as one division.
template <class Channel>
struct ExactMeans : WordMeans<Channel> {
  using Row = WordRow;
  static constexpr unsigned c_uiLargestShift = 29;
  struct Pair {
    ExactSum low, high;
  };

  KIVO_INLINE Pair Add(Row a, Row b) const {
    return {ExactSum::Of(a.low, b.low), ExactSum::Of(a.high, b.high)};
  }
  KIVO_INLINE Row Own(Row v) const { return v; }
  KIVO_INLINE Row Mean(Pair s) const { return {s.low.Mean(), s.high.Mean()}; }
  KIVO_INLINE Row Mean(Pair s, Pair t) const { return {s.low.Mean(t.low), s.high.Mean(t.high)}; }
  template <unsigned, unsigned>
  KIVO_INLINE auto Finish(Row v, const Parity &) const {
    if constexpr (sizeof(Channel) == 1) {
      return PackLow(ShiftRight(v.low, this->uiShift), ShiftRight(v.high, this->uiShift));
    } else {
      return Row{ShiftRight(v.low, this->uiShift), ShiftRight(v.high, this->uiShift)};
    }
  }
};

// The same for pixels of words, one vector at a time: of each mean the lowest uiDepth bits fill the word,
// repeated where they are fewer than 16.
struct SpreadMeans : WordSample {
  static constexpr size_t c_uiSampleBytes = 2;
  static constexpr size_t c_uiBlock = c_uiVec / 2;
  using Row = U16;
  using Pair = ExactSum;

  unsigned uiDepth;
  U16 factor;

  KIVO_INLINE explicit SpreadMeans(unsigned ui) : uiDepth(ui), factor(Splat<U16>(1 << (16 - ui))) {}

  KIVO_INLINE uint16_t Reduce1(uint32_t ui) const {
    const uint32_t uiTop = ui << (16 - uiDepth) & 0xFFFF;
    return static_cast<uint16_t>(uiTop | uiTop >> uiDepth);
  }
  KIVO_INLINE uint16_t Reduce2(uint32_t uiSum) const { return Reduce1(uiSum / 2); }
  KIVO_INLINE uint16_t Reduce3(uint32_t uiSum) const { return Reduce1(uiSum / 3); }
  KIVO_INLINE uint16_t Reduce4(uint32_t uiSum) const { return Reduce1(uiSum / 4); }

  KIVO_INLINE static Row LoadRow(const uint8_t *p) { return Pin(Load<U16>(p)); }
  KIVO_INLINE static Row Choose(const Parity &s, Row a, Row b) { return Select(s, a, b); }
  KIVO_INLINE static Pair Add(Row a, Row b) { return ExactSum::Of(a, b); }
  KIVO_INLINE static Row Own(Row v) { return v; }
  KIVO_INLINE static Row Mean(const Pair &s) { return s.Mean(); }
  KIVO_INLINE static Row Mean(const Pair &s, const Pair &t) { return s.Mean(t); }
  template <unsigned, unsigned>
  KIVO_INLINE Row Finish(Row v, const Parity &) const {
    const U16 top = v * factor;
    return top | ShiftRight(top, uiDepth);
  }
};

}  // namespace
}  // namespace Kivo::KIVO_TARGET

#endif  // KIVO_KERNELS_BAYER16_MEANS_H
