// SPDX-License-Identifier: Apache-2.0
// Steps that rearrange the bytes of each item by one fixed map.
//
// A Map names c_uiSrc and c_uiDst, the bytes of an item before and after, and c_auc, which gives for each
// byte after the byte before, or c_ucAlpha.
#ifndef KIVO_SIMD_BYTE_MAPS_H
#define KIVO_SIMD_BYTE_MAPS_H

#include "simd/runs.h"

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

// Items that do not fill a lane, where a lane is a whole vector: three vectors at a time, which items of 3
// and of 6 bytes fill, so that every load and store is of whole vectors. Each result vector gathers from up
// to three.
template <class Map, bool bBackward>
struct BlockMapStep : StepDefaults {
  static constexpr size_t c_uiBlock = 3 * c_uiVec;
  static constexpr size_t c_uiItems = c_uiBlock / Map::c_uiSrc;
  static constexpr size_t c_uiSrcItem = Map::c_uiSrc;
  static constexpr size_t c_uiDstItem = Map::c_uiSrc;
  static constexpr size_t c_uiSrcReach = c_uiBlock;
  static constexpr size_t c_uiDstReach = c_uiBlock;
  static constexpr bool c_bBackward = bBackward;
  static constexpr bool c_bWholeVectors = true;

  // The source byte of byte j of the block.
  static constexpr size_t Source(size_t j) {
    const size_t uiItem = j / Map::c_uiSrc;
    return (bBackward ? c_uiItems - 1 - uiItem : uiItem) * Map::c_uiSrc + Map::c_auc[j % Map::c_uiSrc];
  }
  static constexpr bool Draws(size_t uiResult, size_t uiFrom) {
    for (size_t j = 0; j < c_uiVec; ++j) {
      if (Source(uiResult * c_uiVec + j) / c_uiVec == uiFrom) return true;
    }
    return false;
  }

  // The bytes of result vector uiResult that lie in source vector uiFrom put over those in v.
  template <size_t uiResult, size_t uiFrom, class V>
  KIVO_INLINE static V Gather(V v, V from) {
    static constexpr Table c_sIndex =
        MakeTable([](size_t j) { return Source(uiResult * c_uiVec + j) % c_uiVec; });
    static constexpr Table c_sMask =
        MakeTable([](size_t j) { return Source(uiResult * c_uiVec + j) / c_uiVec == uiFrom ? 255 : 0; });
    if constexpr (Draws(uiResult, uiFrom)) {
      const V mask = Load(c_sMask);
      return (Lookup(from, Load(c_sIndex)) & mask) | (v & ~mask);
    } else {
      return v;
    }
  }

  template <bool bStream, size_t uiResult>
  KIVO_INLINE static void Result(uint8_t *pucDst, const U8 (&a)[3]) {
    const U8 v = Gather<uiResult, 2>(Gather<uiResult, 1>(Gather<uiResult, 0>(U8{}, a[0]), a[1]), a[2]);
    if constexpr (bStream) {
      Stream(pucDst + uiResult * c_uiVec, v);
    } else {
      Store(pucDst + uiResult * c_uiVec, v);
    }
  }

  template <bool bStream>
  KIVO_INLINE void Do(uint8_t *pucDst, const uint8_t *pucSrc) const {
    const uint8_t *const p = bBackward ? pucSrc - c_uiBlock : pucSrc;
    const U8 a[3] = {Load<U8>(p), Load<U8>(p + c_uiVec), Load<U8>(p + 2 * c_uiVec)};
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

template <bool bBlock, class Map, bool bBackward>
struct ChooseByteStep {
  using Step = MapStep<Map, bBackward>;
};
template <class Map, bool bBackward>
struct ChooseByteStep<true, Map, bBackward> {
  using Step = BlockMapStep<Map, bBackward>;
};

// Where one shuffle reaches a wide vector, items that would leave a lane unfilled go in blocks.
template <class Map>
constexpr bool c_bInBlocks = c_bLookup &&
                             (c_uiLane > 16) && Map::c_uiSrc == Map::c_uiDst &&c_uiLane % Map::c_uiSrc != 0;

// The step that serves a map of bytes best.
template <class Map, bool bBackward = false>
using ByteStep = typename ChooseByteStep<c_bInBlocks<Map>, Map, bBackward>::Step;

}  // namespace
}  // namespace Kivo::KIVO_TARGET

#endif  // KIVO_SIMD_BYTE_MAPS_H
