// SPDX-License-Identifier: Apache-2.0
// Packed YUV to B, G, R, full range (JFIF), in exact integer arithmetic: the same bytes as the lookup tables,
// for all 2^24 samples. With u = U - 128, v = V - 128 and mulhrs(a, k) = (a k + 2^14) >> 15:
//
//   B = clamp(Y + u + mulhrs(u, 25297))
//   R = clamp(Y + v + mulhrs(v, 13173))
//   G = clamp(Y - floor((90179 u + 187169 v + 131086) / 2^18)),   90179 = 31 * 2909,   187169 = 19 * 9851
//
// The constants are the ones that reproduce every rounding of the tables, the 34 odd blues at U = 3 included.
// Chroma is computed once for each pair of pixels. Without byte shuffles the tables are read instead.
#include "simd/byte_maps.h"
#ifdef KIVO_TARGET_Baseline
#include "catalogue/luts.h"
#endif

namespace Kivo::KIVO_TARGET {
namespace {

// A source layout: groups of one U and one V with the Y samples that share them, at these byte offsets, and
// bytes at the end of a group that are stepped over.
template <size_t uiBytes, size_t uiSkip, size_t uiU, size_t uiV, size_t... uiY>
struct Layout {
  static constexpr size_t c_uiBytes = uiBytes;
  static constexpr size_t c_uiSkip = uiSkip;
  static constexpr size_t c_uiPixels = sizeof...(uiY);
  static constexpr size_t c_uiU = uiU;
  static constexpr size_t c_uiV = uiV;
  static constexpr size_t c_auiY[c_uiPixels] = {uiY...};
};

using Group411 = Layout<6, 0, 0, 3, 1, 2, 4, 5>;
using Group422 = Layout<4, 0, 0, 2, 1, 3>;
// The BGR converter of 4:2:2 steps over a byte after each pair, and both 4:4:4 converters step over one after
// each pixel: decisions of this library.
using Group422Wide = Layout<5, 1, 0, 2, 1, 3>;
using Group444 = Layout<4, 1, 0, 2, 1>;

template <class Group, Output eOut>
struct GroupStep : StepDefaults {
  static constexpr size_t c_uiSrcItem = Group::c_uiBytes;
  static constexpr size_t c_uiDstItem = Group::c_uiPixels * PixelBytes(eOut);
  static constexpr size_t c_uiSrcSkip = Group::c_uiSkip;
};

#ifdef KIVO_TARGET_Baseline

template <class Group, Output eOut>
struct TableStep : GroupStep<Group, eOut> {
  static constexpr size_t c_uiItems = 1;
  static constexpr size_t c_uiSrcReach = Group::c_uiBytes - Group::c_uiSkip;
  static constexpr size_t c_uiDstReach = Group::c_uiPixels * PixelBytes(eOut);

  template <bool bStream>
  KIVO_INLINE void Do(uint8_t *pucDst, const uint8_t *pucSrc) const {
    const unsigned u = pucSrc[Group::c_uiU];
    const unsigned v = pucSrc[Group::c_uiV];
    const uint32_t k = auiYUVC_UV[u][v];
    for (const size_t uiOffset : Group::c_auiY) {
      const unsigned y = pucSrc[uiOffset];
      if constexpr (eOut == c_eBGRA) {
        Store(pucDst, auiYUV2G[k][y] + auiYV2R[v][y] + aucYU2B[u][y]);
      } else {
        pucDst[0] = aucYU2B[u][y];
        pucDst[1] = aucYUV2G[k][y];
        pucDst[2] = aucYV2R[v][y];
      }
      pucDst += PixelBytes(eOut);
    }
  }
};

template <Output eOut>
using Step411 = TableStep<Group411, eOut>;
template <Output eOut>
using Step422 = TableStep<Group422, eOut>;
using Step422Wide = TableStep<Group422Wide, c_eBGR>;
template <Output eOut>
using Step444 = TableStep<Group444, eOut>;

#else

// Alternating words: even for U, odd for V.
template <class V>
KIVO_INLINE V SplatPair(int iEven, int iOdd) {
  return reinterpret_cast<V>(Splat<I32>(
      static_cast<int32_t>(static_cast<uint32_t>(iOdd) << 16 | (static_cast<uint32_t>(iEven) & 0xFFFF))));
}

// What chroma adds to luma, from the words u, v of each pair: blue and red as alternating words, green as
// doublewords.
struct Corrections {
  I16 blueRed;
  I32 green;
};

KIVO_INLINE Corrections Correct(U8 pairs) {
  const I16 uv = reinterpret_cast<I16>(reinterpret_cast<U16>(pairs) & 0xFF) - 128;
  const I32 green = MulAddPairs(uv * SplatPair<I16>(31, 19), SplatPair<I16>(-2909, -9851));
  return {uv + MulHighRound(uv, SplatPair<I16>(25297, 13173)), (green + ((1 << 18) - 1 - 131086)) >> 18};
}

struct ChannelWords {
  I16 b, g, r;
};

// A vector of U Y0 V Y1 groups to the channels of its pixels, not yet clamped.
KIVO_INLINE ChannelWords ConvertPairs(U8 pairs) {
  const I16 y = reinterpret_cast<I16>(reinterpret_cast<U16>(pairs) >> 8);
  const Corrections s = Correct(pairs);
  const U16 b2 = RepeatEven(reinterpret_cast<U16>(s.blueRed));
  const U16 g2 = RepeatEven(reinterpret_cast<U16>(s.green));
  const U16 r2 = RepeatOdd(reinterpret_cast<U16>(s.blueRed));
  return {y + reinterpret_cast<I16>(b2), y + reinterpret_cast<I16>(g2), y + reinterpret_cast<I16>(r2)};
}

// How a layout is brought to vectors of U Y0 V Y1 groups; c_uiVectorBytes source bytes make one.
template <class Group>
struct Pairs;

template <>
struct Pairs<Group422> {
  static constexpr size_t c_uiVectorBytes = c_uiVec;
  static constexpr size_t c_uiReach = c_uiVec;
  KIVO_INLINE static U8 Fetch(const uint8_t *p) { return Load<U8>(p); }
};

template <>
struct Pairs<Group411> {
  static constexpr size_t c_uiLaneBytes = c_uiLane / 4 * 3;
  static constexpr size_t c_uiVectorBytes = c_uiLanes * c_uiLaneBytes;
  static constexpr size_t c_uiReach = (c_uiLanes - 1) * c_uiLaneBytes + c_uiLane;
  KIVO_INLINE static U8 Fetch(const uint8_t *p) {
    static constexpr Table c_sIndex = MakeTable([](size_t j) {
      const size_t uiGroup = j % c_uiLane / 8 * Group411::c_uiBytes;
      if (j % 2 == 1) return uiGroup + Group411::c_auiY[j % 8 / 2];
      return uiGroup + (j % 4 == 0 ? Group411::c_uiU : Group411::c_uiV);
    });
    return Lookup(LoadLanes<c_uiLaneBytes>(p), Load(c_sIndex));
  }
};

// A lane of groups is wider than one load: its last groups come from a second load that ends with the last
// group's last used byte.
template <>
struct Pairs<Group422Wide> {
  static constexpr size_t c_uiLaneBytes = c_uiLane / 4 * 5;
  static constexpr size_t c_uiSecond = c_uiLaneBytes - 1 - c_uiLane;
  static constexpr size_t c_uiVectorBytes = c_uiLanes * c_uiLaneBytes;
  static constexpr size_t c_uiReach = c_uiVectorBytes - 1;

  static constexpr size_t Source(size_t j) { return j % c_uiLane / 4 * 5 + j % 4; }
  static constexpr bool IsFirst(size_t j) { return j % c_uiLane / 4 * 5 + 3 < c_uiLane; }

  KIVO_INLINE static U8 Fetch(const uint8_t *p) {
    static constexpr Table c_sFirst = MakeTable([](size_t j) { return IsFirst(j) ? Source(j) : 0; });
    static constexpr Table c_sLast =
        MakeTable([](size_t j) { return IsFirst(j) ? 0 : Source(j) - c_uiSecond; });
    static constexpr Table c_sMask = MakeTable([](size_t j) { return IsFirst(j) ? 255 : 0; });
    const U8 first = Lookup(LoadLanes<c_uiLaneBytes>(p), Load(c_sFirst));
    const U8 last = Lookup(LoadLanes<c_uiLaneBytes>(p + c_uiSecond), Load(c_sLast));
    const U8 mask = Load(c_sMask);
    return (first & mask) | (last & ~mask);
  }
};

// One vector of pixels from two vectors of pairs.
template <class Group, Output eOut>
struct PairStep : GroupStep<Group, eOut> {
  static constexpr size_t c_uiItems = c_uiVec / Group::c_uiPixels;
  static constexpr size_t c_uiSrcReach = Pairs<Group>::c_uiVectorBytes + Pairs<Group>::c_uiReach;
  static constexpr size_t c_uiDstReach = c_uiVec * PixelBytes(eOut);
  static constexpr bool c_bWholeVectors = true;

  template <bool bStream>
  KIVO_INLINE void Do(uint8_t *pucDst, const uint8_t *pucSrc) const {
    const ChannelWords s0 = ConvertPairs(Pairs<Group>::Fetch(pucSrc));
    const ChannelWords s1 = ConvertPairs(Pairs<Group>::Fetch(pucSrc + Pairs<Group>::c_uiVectorBytes));
    StorePixels<eOut, bStream>(pucDst, PackSat(s0.b, s1.b), PackSat(s0.g, s1.g), PackSat(s0.r, s1.r));
  }
};

// One doubleword a pixel all the way.
template <Output eOut>
struct Step444 : GroupStep<Group444, eOut> {
  static constexpr size_t c_uiLaneDst = c_uiLane / 4 * PixelBytes(eOut);
  static constexpr size_t c_uiItems = c_uiVec / 4;
  static constexpr size_t c_uiSrcReach = c_uiVec;
  static constexpr size_t c_uiDstReach = (c_uiLanes - 1) * c_uiLaneDst + c_uiLane;
  static constexpr bool c_bWholeVectors = eOut == c_eBGRA;

  // Packing leaves, for each four pixels, B R B R B R B R G A G A G A G A.
  static constexpr size_t Index(size_t j) {
    constexpr size_t c_auiChannel[] = {0, 8, 1, 9};
    const size_t uiPixel = j % c_uiLane / PixelBytes(eOut) % (c_uiLane / 4);
    return uiPixel / 4 * 16 + uiPixel % 4 * 2 + c_auiChannel[j % c_uiLane % PixelBytes(eOut)];
  }

  template <bool bStream>
  KIVO_INLINE void Do(uint8_t *pucDst, const uint8_t *pucSrc) const {
    static constexpr Table c_sIndex = MakeTable(Index);
    const U8 pixels = Load<U8>(pucSrc);
    const U32 y = reinterpret_cast<U32>(pixels) >> 8 & 0xFF;
    const Corrections s = Correct(pixels);
    const I16 br = reinterpret_cast<I16>(y | y << 16) + s.blueRed;
    const U32 ga = ((y + reinterpret_cast<U32>(s.green)) & 0xFFFF) | 0x00FF0000;
    const U8 v = Lookup(PackSatBy16(br, reinterpret_cast<I16>(ga)), Load(c_sIndex));
    if constexpr (bStream && c_bWholeVectors) {
      Stream(pucDst, v);
    } else {
      StoreLanes<c_uiLaneDst>(pucDst, v);
    }
  }
};

template <Output eOut>
using Step411 = PairStep<Group411, eOut>;
template <Output eOut>
using Step422 = PairStep<Group422, eOut>;
using Step422Wide = PairStep<Group422Wide, c_eBGR>;

#endif

}  // namespace

const Yuv8Kernels c_sYuv8Kernels = {
    {RunKernelOf<Step411<c_eBGRA>>, RunKernelOf<Step411<c_eBGR>>},
    {RunKernelOf<Step422<c_eBGRA>>, RunKernelOf<Step422Wide>},
    {RunKernelOf<Step444<c_eBGRA>>, RunKernelOf<Step444<c_eBGR>>},
};

}  // namespace Kivo::KIVO_TARGET
