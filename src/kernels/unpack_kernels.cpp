// SPDX-License-Identifier: Apache-2.0
// From the samples of a frame to plain ones.
#include "kernels/byte_maps.h"
#include "kernels/packings.h"

namespace Kivo::KIVO_TARGET {
namespace {

template <class Packing, bool bLookup = c_bLookup>
struct UnpackStep : StepDefaults {
  static constexpr size_t c_uiLaneSrc = Packing::c_uiLaneBytes;
  static constexpr size_t c_uiLaneDst = Packing::c_uiLaneGroups * Packing::c_uiSamples * 2;

  static constexpr size_t c_uiItems = Packing::c_uiVecGroups;
  static constexpr size_t c_uiSrcItem = Packing::c_uiBytes;
  static constexpr size_t c_uiDstItem = 2 * Packing::c_uiSamples;
  static constexpr size_t c_uiSrcReach = Packing::c_uiReach;
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
