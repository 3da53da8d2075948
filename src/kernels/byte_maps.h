// SPDX-License-Identifier: Apache-2.0
// Steps that rearrange the bytes of each item by one fixed map.
//
// A Map names c_uiSrc and c_uiDst, the bytes of an item before and after, and c_auc, which gives for each
// byte after the byte before, or c_ucAlpha.
#ifndef KIVO_KERNELS_BYTE_MAPS_H
#define KIVO_KERNELS_BYTE_MAPS_H

#include "kernels/runs.h"

namespace Kivo::KIVO_TARGET {
namespace {

constexpr uint8_t c_ucAlpha = 255;

struct MapRGBToBGRA {
  static constexpr size_t c_uiSrc = 3, c_uiDst = 4;
  static constexpr uint8_t c_auc[] = {2, 1, 0, c_ucAlpha};
};
struct MapBGRToBGRA {
  static constexpr size_t c_uiSrc = 3, c_uiDst = 4;
  static constexpr uint8_t c_auc[] = {0, 1, 2, c_ucAlpha};
};
struct MapRGBToBGR {
  static constexpr size_t c_uiSrc = 3, c_uiDst = 3;
  static constexpr uint8_t c_auc[] = {2, 1, 0};
};

// Where byte j of a lane of uiItems items comes from. Walking backward, a lane is loaded so that its items
// end where the lane ends.
template <class Map>
constexpr size_t MapIndex(size_t j, size_t uiItems, bool bBackward) {
  const size_t uiItem = j / Map::c_uiDst;
  const uint8_t uc = Map::c_auc[j % Map::c_uiDst];
  if (uiItem >= uiItems || uc == c_ucAlpha) return 0;
  return bBackward ? c_uiLane - (uiItem + 1) * Map::c_uiSrc + uc : uiItem * Map::c_uiSrc + uc;
}

// How a step gets its samples: as bytes, or cut from 16-bit words to bits uiShift..uiShift+7.
struct ByteSamples {
  static constexpr size_t c_uiBytes = 1;

  template <ptrdiff_t iStride>
  KIVO_INLINE U8 Lanes(const uint8_t *p) const {
    return LoadLanes<iStride>(p);
  }
  KIVO_INLINE U8 Vector(const uint8_t *p) const { return Load<U8>(p); }
  KIVO_INLINE uint8_t At(const uint8_t *p, size_t i) const { return p[i]; }
};

struct WordSamples {
  static constexpr size_t c_uiBytes = 2;
  unsigned uiShift;

  template <ptrdiff_t iStride>
  KIVO_INLINE U8 Lanes(const uint8_t *p) const {
    const U16 a = reinterpret_cast<U16>(LoadLanes<2 * iStride>(p));
    const U16 b = reinterpret_cast<U16>(LoadLanes<2 * iStride>(p + c_uiLane));
    return PackLowLanes(ShiftRight(a, uiShift), ShiftRight(b, uiShift));
  }
  KIVO_INLINE U8 Vector(const uint8_t *p) const {
    const U16 a = Load<U16>(p);
    const U16 b = Load<U16>(p + c_uiVec);
    return PackLow(ShiftRight(a, uiShift), ShiftRight(b, uiShift));
  }
  KIVO_INLINE uint8_t At(const uint8_t *p, size_t i) const {
    uint16_t us;
    memcpy(&us, p + 2 * i, 2);
    return static_cast<uint8_t>(us >> uiShift);
  }
};

template <class Map, bool bBackward = false, class Samples = ByteSamples, bool bLookup = c_bLookup>
struct MapStep : StepDefaults {
  static constexpr size_t c_uiLaneItems = c_uiLane / Larger(Map::c_uiSrc, Map::c_uiDst);
  static constexpr size_t c_uiLaneSrc = c_uiLaneItems * Map::c_uiSrc;
  static constexpr size_t c_uiLaneDst = c_uiLaneItems * Map::c_uiDst;

  static constexpr size_t c_uiItems = c_uiLanes * c_uiLaneItems;
  static constexpr size_t c_uiSrcItem = Map::c_uiSrc * Samples::c_uiBytes;
  static constexpr size_t c_uiDstItem = Map::c_uiDst;
  static constexpr size_t c_uiSrcReach = ((c_uiLanes - 1) * c_uiLaneSrc + c_uiLane) * Samples::c_uiBytes;
  static constexpr size_t c_uiDstReach = (c_uiLanes - 1) * c_uiLaneDst + c_uiLane;
  static constexpr bool c_bBackward = bBackward;
  static constexpr bool c_bWholeVectors = c_uiLaneDst == c_uiLane;

  static constexpr Table c_sIndex =
      MakeTable([](size_t j) { return MapIndex<Map>(j % c_uiLane, c_uiLaneItems, bBackward); });
  static constexpr Table c_sAlpha =
      MakeTable([](size_t j) { return Map::c_auc[j % c_uiLane % Map::c_uiDst] == c_ucAlpha ? 255 : 0; });

  Samples sSamples = {};

  template <bool bStream>
  KIVO_INLINE void Do(uint8_t *pucDst, const uint8_t *pucSrc) const {
    constexpr ptrdiff_t c_iStride = bBackward ? -ptrdiff_t{c_uiLaneSrc} : ptrdiff_t{c_uiLaneSrc};
    const uint8_t *const pucLane = bBackward ? pucSrc - c_uiLane : pucSrc;
    U8 v = Lookup(sSamples.template Lanes<c_iStride>(pucLane), Load(c_sIndex));
    if constexpr (Map::c_auc[Map::c_uiDst - 1] == c_ucAlpha) v |= Load(c_sAlpha);
    if constexpr (bStream && c_bWholeVectors) {
      Stream(pucDst, v);
    } else {
      StoreLanes<c_uiLaneDst>(pucDst, v);
    }
  }
};

// Items that do not fill a lane: three lanes at a time, which items of 3 and of 6 bytes fill, so that every
// load and store is of whole lanes. Each result draws on up to three. A vector of several lanes holds as many
// blocks.
template <class Map, bool bBackward, class Samples>
struct BlockMapStep : StepDefaults {
  static constexpr size_t c_uiBlock = 3 * c_uiLane;
  static constexpr size_t c_uiBlockItems = c_uiBlock / Map::c_uiSrc;
  static constexpr size_t c_uiItems = c_uiLanes * c_uiBlockItems;
  static constexpr size_t c_uiSrcItem = Map::c_uiSrc * Samples::c_uiBytes;
  static constexpr size_t c_uiDstItem = Map::c_uiSrc;
  static constexpr size_t c_uiSrcReach = c_uiItems * c_uiSrcItem;
  static constexpr size_t c_uiDstReach = c_uiItems * c_uiDstItem;
  static constexpr bool c_bBackward = bBackward;
  static constexpr bool c_bWholeVectors = true;

  Samples sSamples = {};

  // The source sample of byte j of the block.
  static constexpr size_t Source(size_t j) {
    const size_t uiItem = j / Map::c_uiSrc;
    return (bBackward ? c_uiBlockItems - 1 - uiItem : uiItem) * Map::c_uiSrc + Map::c_auc[j % Map::c_uiSrc];
  }
  static constexpr bool IsFrom(size_t uiResult, size_t uiFrom, size_t j) {
    return Source(uiResult * c_uiLane + j % c_uiLane) / c_uiLane == uiFrom;
  }
  static constexpr bool Draws(size_t uiResult, size_t uiFrom) {
    for (size_t j = 0; j < c_uiLane; ++j) {
      if (IsFrom(uiResult, uiFrom, j)) return true;
    }
    return false;
  }

  // The bytes of result uiResult that lie in source lane uiFrom put over those in v, which are 0 there.
  template <size_t uiResult, size_t uiFrom, class V>
  KIVO_INLINE static V Gather(V v, V from) {
    static constexpr Table c_sIndex = MakeTable([](size_t j) {
      return IsFrom(uiResult, uiFrom, j) ? Source(uiResult * c_uiLane + j % c_uiLane) % c_uiLane : 255;
    });
    static constexpr Table c_sMask =
        MakeTable([](size_t j) { return IsFrom(uiResult, uiFrom, j) ? 255 : 0; });
    if constexpr (!Draws(uiResult, uiFrom)) {
      return v;
    } else if constexpr (c_bLookupClears) {
      return v | Lookup(from, Load(c_sIndex));
    } else {
      const V mask = Load(c_sMask);
      return (Lookup(from, Load(c_sIndex)) & mask) | (v & ~mask);
    }
  }

  template <bool bStream, size_t uiResult, class V>
  KIVO_INLINE static void Result(uint8_t *pucDst, const V (&a)[3]) {
    const V v = Gather<uiResult, 2>(Gather<uiResult, 1>(Gather<uiResult, 0>(V{}, a[0]), a[1]), a[2]);
    if constexpr (bStream) {
      StreamLanes<c_uiBlock>(pucDst + uiResult * c_uiLane, v);
    } else {
      StoreLanes<c_uiBlock>(pucDst + uiResult * c_uiLane, v);
    }
  }

  template <bool bStream>
  KIVO_INLINE void Do(uint8_t *pucDst, const uint8_t *pucSrc) const {
    constexpr size_t c_uiLaneSrc = c_uiLane * Samples::c_uiBytes;
    constexpr ptrdiff_t c_iStride = bBackward ? -ptrdiff_t{c_uiBlock} : ptrdiff_t{c_uiBlock};
    const uint8_t *const p = bBackward ? pucSrc - 3 * c_uiLaneSrc : pucSrc;
    const U8 a[3] = {sSamples.template Lanes<c_iStride>(p),
                     sSamples.template Lanes<c_iStride>(p + c_uiLaneSrc),
                     sSamples.template Lanes<c_iStride>(p + 2 * c_uiLaneSrc)};
    Result<bStream, 0>(pucDst, a);
    Result<bStream, 1>(pucDst, a);
    Result<bStream, 2>(pucDst, a);
  }
};

// The plain form: one item at a time.
template <class Map, bool bBackward, class Samples>
struct MapStep<Map, bBackward, Samples, false> : StepDefaults {
  static constexpr size_t c_uiItems = 1;
  static constexpr size_t c_uiSrcItem = Map::c_uiSrc * Samples::c_uiBytes;
  static constexpr size_t c_uiDstItem = Map::c_uiDst;
  static constexpr size_t c_uiSrcReach = c_uiSrcItem;
  static constexpr size_t c_uiDstReach = c_uiDstItem;
  static constexpr bool c_bBackward = bBackward;

  Samples sSamples = {};

  template <bool bStream>
  KIVO_INLINE void Do(uint8_t *pucDst, const uint8_t *pucSrc) const {
    const uint8_t *const pucItem = bBackward ? pucSrc - c_uiSrcItem : pucSrc;
    for (size_t j = 0; j < Map::c_uiDst; ++j) {
      pucDst[j] = Map::c_auc[j] == c_ucAlpha ? uint8_t{255} : sSamples.At(pucItem, Map::c_auc[j]);
    }
  }
};

template <bool bBlock, class Map, bool bBackward, class Samples>
struct ChooseSampleStep {
  using Step = MapStep<Map, bBackward, Samples>;
};
template <class Map, bool bBackward, class Samples>
struct ChooseSampleStep<true, Map, bBackward, Samples> {
  using Step = BlockMapStep<Map, bBackward, Samples>;
};

// Items that would leave a lane unfilled go in blocks.
template <class Map>
constexpr bool c_bInBlocks = c_bLookup &&Map::c_uiSrc == Map::c_uiDst &&c_uiLane % Map::c_uiSrc != 0;

// The step that serves a map best.
template <class Map, bool bBackward, class Samples>
using SampleStep = typename ChooseSampleStep<c_bInBlocks<Map>, Map, bBackward, Samples>::Step;
template <class Map, bool bBackward = false>
using ByteStep = SampleStep<Map, bBackward, ByteSamples>;

}  // namespace
}  // namespace Kivo::KIVO_TARGET

#endif  // KIVO_KERNELS_BYTE_MAPS_H
