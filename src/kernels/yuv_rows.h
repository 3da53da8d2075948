// SPDX-License-Identifier: Apache-2.0
// Packed YUV to B, G, R: how groups lie in memory, the matrices in exact integers, and the steps made of
// both.
//
// With u = U - 128, v = V - 128, mulhrs(a, k) = (a k + 2^14) >> 15, shifts that round down, and clamping to
// 0..255:
//
// TablesMatrix, the same bytes as the lookup tables for all 2^24 samples:
//   B = Y + u + mulhrs(u, 25297)
//   R = Y + v + mulhrs(v, 13173)
//   G = Y - floor((90179 u + 187169 v + 131086) / 2^18),   90179 = 31 * 2909,   187169 = 19 * 9851
// The constants are the ones that reproduce every rounding of the tables, the 34 odd blues at U = 3 included.
//
// FixedMatrix, in 32nds, which 16 bits hold, the luma with the half that rounds:
//   y = mulhrs(256 (Y - 128), iLuma) + iBias
//   B = (y + mulhrs(256 u, iBlue)) >> 5
//   R = (y + mulhrs(256 v, iRed)) >> 5
//   G = (y + ((256 u iGreenU + 256 v iGreenV + 2^16) >> 17)) >> 5
// with the factors of the real formula times 2^12, those of green times 2^14. No sum is off by more than 2 of
// the 32nds, so that a result differs from the real formula's, rounded and clamped, by at most 1.
#ifndef KIVO_KERNELS_YUV_ROWS_H
#define KIVO_KERNELS_YUV_ROWS_H

#include "kernels/byte_maps.h"

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

template <class Group, Output eOut>
struct GroupStep : StepDefaults {
  static constexpr size_t c_uiSrcItem = Group::c_uiBytes;
  static constexpr size_t c_uiDstItem = Group::c_uiPixels * PixelBytes(eOut);
  static constexpr size_t c_uiSrcSkip = Group::c_uiSkip;
};

struct MatrixConstants {
  int16_t iLuma, iBias, iBlue, iRed, iGreenU, iGreenV;
};

#ifdef KIVO_TARGET_Baseline

constexpr int32_t MulHighRound(int32_t a, int32_t b) {
  return (a * b + (1 << 14)) >> 15;
}

// What luma and chroma contribute to a pixel, in parts of 2^-c_iShift.
struct Terms {
  int32_t iBlue, iGreen, iRed;
};

struct TablesMatrix {
  static constexpr int c_iShift = 0;
  static constexpr int32_t Luma(int32_t y) { return y; }
  static constexpr Terms Chroma(int32_t u, int32_t v) {
    return {u + MulHighRound(u, 25297), -((90179 * u + 187169 * v + 131086) >> 18),
            v + MulHighRound(v, 13173)};
  }
};

struct FixedMatrix {
  static constexpr int c_iShift = 5;
  MatrixConstants s;

  int32_t Luma(int32_t y) const { return MulHighRound(256 * (y - 128), s.iLuma) + s.iBias; }
  Terms Chroma(int32_t u, int32_t v) const {
    return {MulHighRound(256 * u, s.iBlue), (256 * u * s.iGreenU + 256 * v * s.iGreenV + (1 << 16)) >> 17,
            MulHighRound(256 * v, s.iRed)};
  }
};

KIVO_INLINE uint8_t Clamp(int32_t i) {
  return static_cast<uint8_t>(i < 0 ? 0 : i > 255 ? 255 : i);
}

// One group at a time.
template <class Group, Output eOut, class Matrix>
struct MatrixStep : GroupStep<Group, eOut> {
  static constexpr size_t c_uiItems = 1;
  static constexpr size_t c_uiSrcReach = Group::c_uiBytes - Group::c_uiSkip;
  static constexpr size_t c_uiDstReach = Group::c_uiPixels * PixelBytes(eOut);

  Matrix sMatrix;

  template <bool bStream>
  KIVO_INLINE void Do(uint8_t *pucDst, const uint8_t *pucSrc) const {
    const Terms s = sMatrix.Chroma(pucSrc[Group::c_uiU] - 128, pucSrc[Group::c_uiV] - 128);
    for (const size_t uiOffset : Group::c_auiY) {
      const int32_t y = sMatrix.Luma(pucSrc[uiOffset]);
      pucDst[0] = Clamp((y + s.iBlue) >> Matrix::c_iShift);
      pucDst[1] = Clamp((y + s.iGreen) >> Matrix::c_iShift);
      pucDst[2] = Clamp((y + s.iRed) >> Matrix::c_iShift);
      if constexpr (eOut == c_eBGRA) pucDst[3] = 255;
      pucDst += PixelBytes(eOut);
    }
  }
};

#else

// Alternating words: even for U, odd for V.
template <class V>
KIVO_INLINE V SplatPair(int iEven, int iOdd) {
  return reinterpret_cast<V>(Splat<I32>(
      static_cast<int32_t>(static_cast<uint32_t>(iOdd) << 16 | (static_cast<uint32_t>(iEven) & 0xFFFF))));
}

// What the bytes U Y0 V Y1 of each doubleword contribute, in parts of 2^-c_iShift: luma as words Y0, Y1, blue
// and red as alternating words, green as doublewords.
struct Terms {
  I16 luma, blueRed;
  I32 green;
};

struct TablesMatrix {
  static constexpr int c_iShift = 0;

  KIVO_INLINE static Terms Of(U8 pairs) {
    const U16 words = reinterpret_cast<U16>(pairs);
    const I16 uv = reinterpret_cast<I16>(words & 0xFF) - 128;
    const I32 green = MulAddPairs(uv * SplatPair<I16>(31, 19), SplatPair<I16>(-2909, -9851));
    return {reinterpret_cast<I16>(words >> 8), uv + MulHighRound(uv, SplatPair<I16>(25297, 13173)),
            (green + ((1 << 18) - 1 - 131086)) >> 18};
  }
};

struct FixedMatrix {
  static constexpr int c_iShift = 5;
  I16 luma, bias, blueRed, green;

  KIVO_INLINE explicit FixedMatrix(const MatrixConstants &s)
      : luma(Splat<I16>(s.iLuma)),
        bias(Splat<I16>(s.iBias)),
        blueRed(SplatPair<I16>(s.iBlue, s.iRed)),
        green(SplatPair<I16>(s.iGreenU, s.iGreenV)) {}

  KIVO_INLINE Terms Of(U8 pairs) const {
    const U16 words = reinterpret_cast<U16>(pairs);
    const I16 y = reinterpret_cast<I16>((words & 0xFF00) ^ 0x8000);  // 256 (Y - 128)
    const I16 uv = reinterpret_cast<I16>((words << 8) ^ 0x8000);     // 256 u, 256 v
    return {MulHighRound(y, luma) + bias, MulHighRound(uv, blueRed),
            (MulAddPairs(uv, green) + (1 << 16)) >> 17};
  }
};

struct ChannelWords {
  I16 b, g, r;
};

// A vector of U Y0 V Y1 groups to the channels of its pixels, not yet clamped.
template <class Matrix>
KIVO_INLINE ChannelWords ConvertPairs(const Matrix &sMatrix, U8 pairs) {
  const Terms s = sMatrix.Of(pairs);
  const I16 b = reinterpret_cast<I16>(RepeatEven(reinterpret_cast<U16>(s.blueRed)));
  const I16 g = reinterpret_cast<I16>(RepeatEven(reinterpret_cast<U16>(s.green)));
  const I16 r = reinterpret_cast<I16>(RepeatOdd(reinterpret_cast<U16>(s.blueRed)));
  return {(s.luma + b) >> Matrix::c_iShift, (s.luma + g) >> Matrix::c_iShift,
          (s.luma + r) >> Matrix::c_iShift};
}

// How a layout is brought to vectors of U Y0 V Y1 groups; c_uiVectorBytes source bytes make one. A layout of
// one pixel a group has its Y in both places.
template <class Group>
struct Pairs {
  static constexpr size_t c_uiLanePixels = Group::c_uiPixels == 1 ? c_uiLane / 4 : c_uiLane / 2;
  static constexpr size_t c_uiLaneBytes = c_uiLanePixels / Group::c_uiPixels * Group::c_uiBytes;
  static constexpr size_t c_uiVectorBytes = c_uiLanes * c_uiLaneBytes;
  static constexpr size_t c_uiReach = c_uiVectorBytes - c_uiLaneBytes + c_uiLane;

  static constexpr size_t Source(size_t j) {
    const size_t uiFirst = j % c_uiLane / 4 * (Group::c_uiPixels == 1 ? 1 : 2);  // pixel of the pair
    const size_t uiPixel = uiFirst + (Group::c_uiPixels != 1 && j % 4 == 3 ? 1 : 0);
    const size_t uiByte = j % 2 == 1   ? Group::c_auiY[uiPixel % Group::c_uiPixels]
                          : j % 4 == 0 ? Group::c_uiU
                                       : Group::c_uiV;
    return uiPixel / Group::c_uiPixels * Group::c_uiBytes + uiByte;
  }

  KIVO_INLINE static U8 Fetch(const uint8_t *p) {
    static constexpr Table c_sIndex = MakeTable(Source);
    if constexpr (c_uiLaneBytes == c_uiLane) {
      return Lookup(Load<U8>(p), Load(c_sIndex));
    } else {
      return Lookup(LoadLanes<c_uiLaneBytes>(p), Load(c_sIndex));
    }
  }
};

// Lanes that draw on two loads: byte j of a lane is byte From::Source(j) of its source, which the first load
// begins with and the second, From::c_uiSecond bytes further on, ends with.
template <class From>
KIVO_INLINE U8 Gather(U8 first, U8 second) {
  constexpr auto c_isFirst = [](size_t j) { return From::Source(j % c_uiLane) < c_uiLane; };
  static constexpr Table c_sFirst =
      MakeTable([=](size_t j) { return c_isFirst(j) ? From::Source(j % c_uiLane) : 255; });
  static constexpr Table c_sSecond =
      MakeTable([=](size_t j) { return c_isFirst(j) ? 255 : From::Source(j % c_uiLane) - From::c_uiSecond; });
  static constexpr Table c_sMask = MakeTable([=](size_t j) { return c_isFirst(j) ? 255 : 0; });
  const U8 v0 = Lookup(first, Load(c_sFirst)), v1 = Lookup(second, Load(c_sSecond));
  if constexpr (c_bLookupClears) return v0 | v1;
  const U8 mask = Load(c_sMask);
  return (v0 & mask) | (v1 & ~mask);
}

template <>
struct Pairs<Group422> {
  static constexpr size_t c_uiVectorBytes = c_uiVec;
  static constexpr size_t c_uiReach = c_uiVec;
  KIVO_INLINE static U8 Fetch(const uint8_t *p) { return Load<U8>(p); }
};

// Groups of several pixels: one vector of pixels from two vectors of pairs.
template <class Group, Output eOut, class Matrix, bool bSingle = Group::c_uiPixels == 1>
struct MatrixStep : GroupStep<Group, eOut> {
  static constexpr size_t c_uiItems = c_uiVec / Group::c_uiPixels;
  static constexpr size_t c_uiSrcReach = Pairs<Group>::c_uiVectorBytes + Pairs<Group>::c_uiReach;
  static constexpr size_t c_uiDstReach = c_uiVec * PixelBytes(eOut);
  static constexpr bool c_bWholeVectors = true;

  Matrix sMatrix;

  template <bool bStream>
  KIVO_INLINE void Do(uint8_t *pucDst, const uint8_t *pucSrc) const {
    const ChannelWords s0 = ConvertPairs(sMatrix, Pairs<Group>::Fetch(pucSrc));
    const ChannelWords s1 =
        ConvertPairs(sMatrix, Pairs<Group>::Fetch(pucSrc + Pairs<Group>::c_uiVectorBytes));
    StorePixels<eOut, bStream>(pucDst, PackSat(s0.b, s1.b), PackSat(s0.g, s1.g), PackSat(s0.r, s1.r));
  }
};

// Four pixels a group, by the matrix that takes luma as it is: chroma is computed once, cut to what it adds
// and what it takes away, and meets the luma in bytes.
template <class Group, Output eOut>
requires(Group::c_uiPixels == 4) struct MatrixStep<Group, eOut, TablesMatrix, false>
    : GroupStep<Group, eOut> {
  static constexpr size_t c_uiItems = c_uiVec / 4;
  static constexpr size_t c_uiSrcReach = c_uiVec / 4 * 6;
  static constexpr size_t c_uiDstReach = c_uiVec * PixelBytes(eOut);
  static constexpr bool c_bWholeVectors = true;
  static constexpr size_t c_uiLaneBytes = c_uiLane / 4 * 6;

  struct Luma {
    static constexpr size_t c_uiSecond = c_uiLaneBytes - c_uiLane;
    static constexpr size_t Source(size_t j) { return j / 4 * 6 + Group::c_auiY[j % 4]; }
  };
  // U ? V ? of each group.
  struct Chroma {
    static constexpr size_t c_uiSecond = Luma::c_uiSecond;
    static constexpr size_t Source(size_t j) { return j / 4 * 6 + (j % 4 < 2 ? Group::c_uiU : Group::c_uiV); }
  };

  // What is in bytes uiFirst of the groups' pairs for all of their pixels; the parts to take away follow the
  // parts to add by 8.
  template <size_t uiFirst>
  KIVO_INLINE static U8 Apply(U8 luma, U8 parts) {
    static constexpr Table c_sMore = MakeTable([](size_t j) { return Index(j) + uiFirst; });
    static constexpr Table c_sLess = MakeTable([](size_t j) { return Index(j) + uiFirst + 8; });
    return SubSat(AddSat(luma, Lookup(parts, Load(c_sMore))), Lookup(parts, Load(c_sLess)));
  }
  static constexpr size_t Index(size_t j) {
    const size_t uiGroup = j % c_uiLane / 4;
    return uiGroup / 4 * 16 + uiGroup % 4 * 2;
  }

  template <bool bStream>
  KIVO_INLINE void Do(uint8_t *pucDst, const uint8_t *pucSrc) const {
    const U8 first = LoadLanes<c_uiLaneBytes>(pucSrc);
    const U8 second = LoadLanes<c_uiLaneBytes>(pucSrc + Luma::c_uiSecond);
    const U8 luma = Gather<Luma>(first, second);
    const Terms s = TablesMatrix::Of(Gather<Chroma>(first, second));
    const I16 green = reinterpret_cast<I16>(s.green), lessGreen = reinterpret_cast<I16>(-s.green);
    const U8 blueRed = PackSatBy16(s.blueRed, -s.blueRed), greens = PackSatBy16(green, lessGreen);
    StorePixels<eOut, bStream>(pucDst, Apply<0>(luma, blueRed), Apply<0>(luma, greens),
                               Apply<1>(luma, blueRed));
  }
};

// One pixel a group: one doubleword a pixel all the way, four vectors of them at a time.
template <class Group, Output eOut, class Matrix>
struct MatrixStep<Group, eOut, Matrix, true> : GroupStep<Group, eOut> {
  static constexpr size_t c_uiLaneDst = c_uiLane / 4 * PixelBytes(eOut);
  static constexpr size_t c_uiPartDst = c_uiLanes * c_uiLaneDst;
  static constexpr size_t c_uiPartSrc = Pairs<Group>::c_uiVectorBytes;
  static constexpr size_t c_uiItems = c_uiVec;
  static constexpr size_t c_uiSrcReach = 3 * c_uiPartSrc + Pairs<Group>::c_uiReach;
  static constexpr size_t c_uiDstReach = 3 * c_uiPartDst + c_uiPartDst - c_uiLaneDst + c_uiLane;
  static constexpr bool c_bWholeVectors = true;

  Matrix sMatrix;

  // Words B, R and words G, 255 of a vector of pixels.
  struct Words {
    I16 br, ga;
  };
  KIVO_INLINE Words Convert(const uint8_t *pucSrc) const {
    const Terms s = sMatrix.Of(Pairs<Group>::Fetch(pucSrc));
    const I16 g = (s.luma + reinterpret_cast<I16>(s.green)) >> Matrix::c_iShift;
    const U32 ga = (reinterpret_cast<U32>(g) & 0xFFFF) | 0x00FF0000;
    return {(s.luma + s.blueRed) >> Matrix::c_iShift, reinterpret_cast<I16>(ga)};
  }

  // Packing leaves, for each four pixels, B R B R B R B R G A G A G A G A.
  static constexpr size_t Index(size_t j) {
    constexpr size_t c_auiChannel[] = {0, 8, 1, 9};
    const size_t uiPixel = j % c_uiLane / PixelBytes(eOut) % (c_uiLane / 4);
    return uiPixel / 4 * 16 + uiPixel % 4 * 2 + c_auiChannel[j % c_uiLane % PixelBytes(eOut)];
  }

  template <bool bStream>
  KIVO_INLINE void Do(uint8_t *pucDst, const uint8_t *pucSrc) const {
    static constexpr Table c_sIndex = MakeTable(Index);
    if constexpr (bStream && eOut == c_eBGR) {
      Words as[4];
      for (size_t k = 0; k < 4; ++k) as[k] = Convert(pucSrc + k * c_uiPartSrc);
      const U16 br0 = reinterpret_cast<U16>(PackSat(as[0].br, as[1].br));
      const U16 br1 = reinterpret_cast<U16>(PackSat(as[2].br, as[3].br));
      const U16 ga0 = reinterpret_cast<U16>(PackSat(as[0].ga, as[1].ga));
      const U16 ga1 = reinterpret_cast<U16>(PackSat(as[2].ga, as[3].ga));
      StoreBGR<true>(pucDst, PackLow(br0, br1), PackLow(ga0, ga1), PackHigh(br0, br1));
    } else {
      for (size_t k = 0; k < 4; ++k) {
        const Words s = Convert(pucSrc + k * c_uiPartSrc);
        const U8 v = Lookup(PackSatBy16(s.br, s.ga), Load(c_sIndex));
        if constexpr (bStream) {
          Stream(pucDst + k * c_uiPartDst, v);
        } else {
          StoreLanes<c_uiLaneDst>(pucDst + k * c_uiPartDst, v);
        }
      }
    }
  }
};

#endif

}  // namespace
}  // namespace Kivo::KIVO_TARGET

#endif  // KIVO_KERNELS_YUV_ROWS_H
