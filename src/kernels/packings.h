// SPDX-License-Identifier: Apache-2.0
// Samples that share bytes go in groups: a shuffle brings to each sample's word the bytes that hold it,
// arithmetic on words does the rest.
#ifndef KIVO_KERNELS_PACKINGS_H
#define KIVO_KERNELS_PACKINGS_H

#include "kernels/blocks.h"

namespace Kivo::KIVO_TARGET {
namespace {

// A packing names c_uiSamples and c_uiBytes of a group, and
//   One(p, s)          sample s of the group at p, from its own bytes alone
//   Unpack(lanes, uc)  a vector of samples, as many groups in each lane as it has room for, from byte uc on

template <size_t uiSamples, size_t uiBytes>
struct Group {
  static constexpr size_t c_uiSamples = uiSamples;
  static constexpr size_t c_uiBytes = uiBytes;
  static constexpr size_t c_uiLaneGroups = c_uiLane / (2 * uiSamples);
  static constexpr size_t c_uiLaneBytes = c_uiLaneGroups * uiBytes;  // of a lane's groups
  static constexpr size_t c_uiVecGroups = c_uiLanes * c_uiLaneGroups;
  static constexpr size_t c_uiReach = (c_uiLanes - 1) * c_uiLaneBytes + c_uiLane;  // bytes read for a vector

  // An index of a lane's bytes: byte(s, h) of the group for the lower (h = 0) and the upper byte of sample s.
  template <class Byte>
  static constexpr Table MakeIndex(Byte byte) {
    return MakeTable([=](size_t j) {
      const size_t uiWord = j % c_uiLane / 2;
      const size_t uiGroup = uiWord / uiSamples;
      return uiGroup < c_uiLaneGroups ? uiGroup * uiBytes + byte(uiWord % uiSamples, j % 2) : 0;
    });
  }
  // A word for each sample of a group.
  template <class Entry>
  static constexpr Table MakeWords(Entry entry) {
    return MakeWordTable([=](size_t i) { return entry(i % (c_uiLane / 2) % uiSamples); });
  }
  KIVO_INLINE static U16 Load16(const Table &s) { return reinterpret_cast<U16>(Load(s)); }
  template <class V>
  KIVO_INLINE static U16 Lookup16(V v, const Table &s, uint8_t ucFirst) {
    return reinterpret_cast<U16>(Lookup(v, Load(s) + ucFirst));
  }
};

// A stream of bits in which no sample has more than two bytes: a multiplication moves it to the top of the
// word, by as much as each needs, and one shift moves all of them down.
template <unsigned uiDepth, size_t uiSamples, size_t uiBytes>
struct BitStream : Group<uiSamples, uiBytes> {
  using Base = Group<uiSamples, uiBytes>;

  static constexpr size_t First(size_t s) { return s * uiDepth / 8; }
  static constexpr unsigned Shift(size_t s) { return static_cast<unsigned>(s * uiDepth % 8); }

  KIVO_INLINE static unsigned One(const uint8_t *p, size_t s) {
    const unsigned ui = LoadWord(p + First(s));
    return ui >> Shift(s) & ((1u << uiDepth) - 1);
  }
  template <class V>
  KIVO_INLINE static U16 Unpack(V lanes, uint8_t ucFirst) {
    static constexpr Table c_sIndex = Base::MakeIndex([](size_t s, size_t h) { return First(s) + h; });
    static constexpr Table c_sFactor =
        Base::MakeWords([](size_t s) { return size_t{1} << (16 - uiDepth - Shift(s)); });
    return Base::Lookup16(lanes, c_sIndex, ucFirst) * Base::Load16(c_sFactor) >> (16 - uiDepth);
  }
};

using P10 = BitStream<10, 4, 5>;
using P12 = BitStream<12, 2, 3>;
using P32 = BitStream<10, 3, 4>;

// The middle two of four samples have three bytes: the lower two shifted down, or the third shifted up. The
// outer ones have one part each.
struct P14 : Group<4, 7> {
  static constexpr size_t c_auiLower[] = {0, 1, 3, 5};
  static constexpr size_t c_auiUpper[] = {0, 3, 5, 0};
  static constexpr size_t c_auiLowerFactor[] = {0, 1 << 10, 1 << 12, 1 << 14};
  static constexpr size_t c_auiUpperFactor[] = {1, 1 << 10, 1 << 12, 0};

  KIVO_INLINE static unsigned One(const uint8_t *p, size_t s) {
    unsigned ui = LoadWord(p + c_auiLower[s]);
    if (s == 1 || s == 2) ui |= static_cast<unsigned>(p[c_auiLower[s] + 2]) << 16;
    return ui >> (14 * s % 8) & 0x3FFF;
  }
  template <class V>
  KIVO_INLINE static U16 Unpack(V lanes, uint8_t ucFirst) {
    static constexpr Table c_sLower = MakeIndex([](size_t s, size_t h) { return c_auiLower[s] + h; });
    static constexpr Table c_sUpper = MakeIndex([](size_t s, size_t h) { return c_auiUpper[s] + h; });
    static constexpr Table c_sLowerFactor = MakeWords([](size_t s) { return c_auiLowerFactor[s]; });
    static constexpr Table c_sUpperFactor = MakeWords([](size_t s) { return c_auiUpperFactor[s]; });
    const U16 lower = MulHigh(Lookup16(lanes, c_sLower, ucFirst), Load16(c_sLowerFactor));
    return (lower | Lookup16(lanes, c_sUpper, ucFirst) * Load16(c_sUpperFactor)) & 0x3FFF;
  }
};

// The upper 8 bits of two samples outside, their lower bits in the halves of the byte between: a word has the
// latter below the former.
template <unsigned uiDepth>
struct Packed : Group<2, 3> {
  static constexpr unsigned c_uiLow = uiDepth - 8;
  static constexpr unsigned c_uiMask = (1u << c_uiLow) - 1;

  KIVO_INLINE static unsigned One(const uint8_t *p, size_t s) {
    return static_cast<unsigned>(p[2 * s]) << c_uiLow | (p[1] >> 4 * s & c_uiMask);
  }
  template <class V>
  KIVO_INLINE static U16 Unpack(V lanes, uint8_t ucFirst) {
    static constexpr Table c_sIndex = MakeIndex([](size_t s, size_t h) { return h == 0 ? 1 : 2 * s; });
    static constexpr Table c_sFirst = MakeWords([](size_t s) { return s == 0 ? c_uiMask : 0u; });
    static constexpr Table c_sSecond = MakeWords([](size_t s) { return s == 0 ? 0u : c_uiMask; });
    const U16 v = Lookup16(lanes, c_sIndex, ucFirst);
    const U16 upper = v >> (8 - c_uiLow) & static_cast<uint16_t>(0xFF << c_uiLow);
    return upper | (v & Load16(c_sFirst)) | (v >> 4 & Load16(c_sSecond));
  }
};

}  // namespace
}  // namespace Kivo::KIVO_TARGET

#endif  // KIVO_KERNELS_PACKINGS_H
