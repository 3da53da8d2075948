// SPDX-License-Identifier: Apache-2.0
// From the samples of a frame to plain ones. Samples that share bytes go in groups: a shuffle brings to each
// sample's word the bytes that hold it, arithmetic on words does the rest.
#include "kernels/blocks.h"
#include "kernels/byte_maps.h"

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

template <class Packing, bool bLookup = c_bLookup>
struct UnpackStep : StepDefaults {
  static constexpr size_t c_uiLaneSrc = Packing::c_uiLaneGroups * Packing::c_uiBytes;
  static constexpr size_t c_uiLaneDst = Packing::c_uiLaneGroups * Packing::c_uiSamples * 2;

  static constexpr size_t c_uiItems = c_uiLanes * Packing::c_uiLaneGroups;
  static constexpr size_t c_uiSrcItem = Packing::c_uiBytes;
  static constexpr size_t c_uiDstItem = 2 * Packing::c_uiSamples;
  static constexpr size_t c_uiSrcReach = (c_uiLanes - 1) * c_uiLaneSrc + c_uiLane;
  static constexpr size_t c_uiDstReach = (c_uiLanes - 1) * c_uiLaneDst + c_uiLane;

  template <size_t uiLate>
  KIVO_INLINE static void DoLate(uint8_t *pucDst, const uint8_t *pucSrc) {
    const U8 lanes = LoadLanes<c_uiLaneSrc>(pucSrc - uiLate);
    StoreLanes<c_uiLaneDst>(pucDst, reinterpret_cast<U8>(Packing::Unpack(lanes, uiLate)));
  }
  template <bool bStream>
  KIVO_INLINE void Do(uint8_t *pucDst, const uint8_t *pucSrc) const {
    DoLate<0>(pucDst, pucSrc);
  }
};

// The plain form, a group at a time.
template <class Packing>
struct UnpackStep<Packing, false> : StepDefaults {
  static constexpr size_t c_uiItems = 1;
  static constexpr size_t c_uiSrcItem = Packing::c_uiBytes;
  static constexpr size_t c_uiDstItem = 2 * Packing::c_uiSamples;
  static constexpr size_t c_uiSrcReach = c_uiSrcItem;
  static constexpr size_t c_uiDstReach = c_uiDstItem;

  template <bool bStream>
  KIVO_INLINE void Do(uint8_t *pucDst, const uint8_t *pucSrc) const {
    for (size_t s = 0; s < Packing::c_uiSamples; ++s) {
      Store(pucDst + 2 * s, static_cast<uint16_t>(Packing::One(pucSrc, s)));
    }
  }
};

// A step reads whole lanes, more than its items have. At the end of a run it reads lanes that end with the
// items instead of beginning with them.
template <class Step>
KIVO_INLINE void RunToEnd(uint8_t *pucDst, const uint8_t *pucSrc, size_t n) {
  size_t i = 0;
  if constexpr (Step::c_uiItems > 1 && Step::c_uiDstReach == Step::c_uiItems * Step::c_uiDstItem) {
    constexpr size_t c_uiLate = c_uiLane - Step::c_uiLaneSrc;
    for (; n - i >= c_uiItemsNeeded<Step>; i += Step::c_uiItems) {
      Step::template DoLate<0>(pucDst + i * Step::c_uiDstItem, pucSrc + i * Step::c_uiSrcItem);
    }
    if (i == n) return;
    // After one step the run is long enough for the last one to reach back; the next may not be far enough
    // in.
    if (i != 0 && i * Step::c_uiSrcItem >= c_uiLate) {
      const size_t uiLast = n - Step::c_uiItems;
      for (; i < uiLast; i += Step::c_uiItems) {
        Step::template DoLate<c_uiLate>(pucDst + i * Step::c_uiDstItem, pucSrc + i * Step::c_uiSrcItem);
      }
      Step::template DoLate<c_uiLate>(pucDst + uiLast * Step::c_uiDstItem,
                                      pucSrc + uiLast * Step::c_uiSrcItem);
      return;
    }
  }
  RunOrdinary(Step{}, pucDst + i * Step::c_uiDstItem, pucSrc + i * Step::c_uiSrcItem, n - i);
}

template <class Packing>
void UnpackGroups(uint8_t *pucDst, const uint8_t *pucSrc, size_t n) {
  const size_t uiGroups = n / Packing::c_uiSamples;
  RunToEnd<UnpackStep<Packing>>(pucDst, pucSrc, uiGroups);
  for (size_t s = 0, i = uiGroups * Packing::c_uiSamples; i < n; ++s, ++i) {
    Store(pucDst + 2 * i, static_cast<uint16_t>(Packing::One(pucSrc + uiGroups * Packing::c_uiBytes, s)));
  }
}

// Samples of 1, 2 and 4 bits, 8 / uiBits of them in a byte: a lane of results repeats each byte as often as
// it has samples. A result has its sample again and again, so each bit of the sample gives every uiBits-th.
template <unsigned uiBits, bool bLookup = c_bLookup>
struct BitsStep : StepDefaults {
  static constexpr size_t c_uiSamples = 8 / uiBits;
  static constexpr size_t c_uiLaneSrc = c_uiLane / c_uiSamples;

  static constexpr size_t c_uiItems = c_uiVec / c_uiSamples;
  static constexpr size_t c_uiSrcItem = 1;
  static constexpr size_t c_uiDstItem = c_uiSamples;
  static constexpr size_t c_uiSrcReach = (c_uiLanes - 1) * c_uiLaneSrc + c_uiLane;
  static constexpr size_t c_uiDstReach = c_uiVec;

  template <unsigned uiBit>
  KIVO_INLINE static U8 Repeat(U8 v) {
    static constexpr Table c_sBit =
        MakeTable([](size_t j) { return 1u << (j % c_uiSamples * uiBits + uiBit); });
    const U8 bit = Load(c_sBit);
    return reinterpret_cast<U8>((v & bit) == bit) & static_cast<uint8_t>(255 / ((1 << uiBits) - 1) << uiBit);
  }

  template <size_t uiLate>
  KIVO_INLINE static void DoLate(uint8_t *pucDst, const uint8_t *pucSrc) {
    static constexpr Table c_sIndex = MakeTable([](size_t j) { return uiLate + j % c_uiLane / c_uiSamples; });
    const U8 v = Lookup(LoadLanes<c_uiLaneSrc>(pucSrc - uiLate), Load(c_sIndex));
    U8 result = Repeat<0>(v);
    if constexpr (uiBits > 1) result |= Repeat<1>(v);
    if constexpr (uiBits > 2) result |= Repeat<2>(v) | Repeat<3>(v);
    Store(pucDst, result);
  }
  template <bool bStream>
  KIVO_INLINE void Do(uint8_t *pucDst, const uint8_t *pucSrc) const {
    DoLate<0>(pucDst, pucSrc);
  }
};

template <unsigned uiBits>
struct BitsStep<uiBits, false> : StepDefaults {
  static constexpr size_t c_uiSamples = 8 / uiBits;
  static constexpr size_t c_uiItems = 1;
  static constexpr size_t c_uiSrcItem = 1;
  static constexpr size_t c_uiDstItem = c_uiSamples;
  static constexpr size_t c_uiSrcReach = 1;
  static constexpr size_t c_uiDstReach = c_uiSamples;

  template <bool bStream>
  KIVO_INLINE void Do(uint8_t *pucDst, const uint8_t *pucSrc) const {
    constexpr unsigned uiMask = (1u << uiBits) - 1;
    for (size_t s = 0; s < c_uiSamples; ++s) {
      pucDst[s] = static_cast<uint8_t>((*pucSrc >> s * uiBits & uiMask) * (255 / uiMask));
    }
  }
};

template <unsigned uiBits>
void SpreadBits(uint8_t *pucDst, const uint8_t *pucSrc, size_t n) {
  constexpr size_t c_uiSamples = BitsStep<uiBits>::c_uiSamples;
  const size_t uiBytes = n / c_uiSamples;
  RunToEnd<BitsStep<uiBits>>(pucDst, pucSrc, uiBytes);
  if (n % c_uiSamples == 0) return;
  uint8_t auc[c_uiSamples];
  BitsStep<uiBits, false>{}.template Do<false>(auc, pucSrc + uiBytes);
  memcpy(pucDst + uiBytes * c_uiSamples, auc, n % c_uiSamples);
}

struct SignedStep : StepDefaults {
  static constexpr size_t c_uiItems = c_uiVec;
  static constexpr size_t c_uiSrcItem = 1;
  static constexpr size_t c_uiDstItem = 1;
  static constexpr size_t c_uiSrcReach = c_uiVec;
  static constexpr size_t c_uiDstReach = c_uiVec;

  template <bool bStream>
  KIVO_INLINE void Do(uint8_t *pucDst, const uint8_t *pucSrc) const {
    Store(pucDst, Load<U8>(pucSrc) ^ 0x80);
  }
};

struct SwapStep : StepDefaults {
  static constexpr size_t c_uiItems = c_uiVec / 2;
  static constexpr size_t c_uiSrcItem = 2;
  static constexpr size_t c_uiDstItem = 2;
  static constexpr size_t c_uiSrcReach = c_uiVec;
  static constexpr size_t c_uiDstReach = c_uiVec;

  template <bool bStream>
  KIVO_INLINE void Do(uint8_t *pucDst, const uint8_t *pucSrc) const {
    const U16 v = Load<U16>(pucSrc);
    Store(pucDst, v << 8 | v >> 8);
  }
};

struct MapDropAlpha {
  static constexpr size_t c_uiSrc = 4, c_uiDst = 3;
  static constexpr uint8_t c_auc[] = {0, 1, 2};
};
struct MapYuyv {
  static constexpr size_t c_uiSrc = 4, c_uiDst = 4;
  static constexpr uint8_t c_auc[] = {1, 0, 3, 2};
};
struct MapYyuyyv {
  static constexpr size_t c_uiSrc = 6, c_uiDst = 6;
  static constexpr uint8_t c_auc[] = {2, 0, 1, 5, 3, 4};
};

template <class Step>
void UnpackRun(uint8_t *pucDst, const uint8_t *pucSrc, size_t n) {
  RunOrdinary(Step{}, pucDst, pucSrc, n);
}

}  // namespace

const UnpackKernels c_sUnpackKernels = {{
    UnpackGroups<P10>,
    UnpackGroups<P12>,
    UnpackGroups<P14>,
    UnpackGroups<Packed<10>>,
    UnpackGroups<Packed<12>>,
    UnpackGroups<P32>,
    UnpackRun<SwapStep>,
    SpreadBits<1>,
    SpreadBits<2>,
    SpreadBits<4>,
    UnpackRun<SignedStep>,
    UnpackRun<ByteStep<MapDropAlpha>>,
    UnpackRun<ByteStep<MapYuyv>>,
    UnpackRun<ByteStep<MapYyuyyv>>,
}};

}  // namespace Kivo::KIVO_TARGET
