// SPDX-License-Identifier: Apache-2.0
// What every demosaic shares: the mosaic and its rows, where results go, and the pixels at the border, one at
// a time.
#ifndef KIVO_KERNELS_MOSAIC_H
#define KIVO_KERNELS_MOSAIC_H

#include "simd/vec.h"

namespace Kivo::KIVO_TARGET {
namespace {

// What the cross of a red or blue site takes at the border of the image, corners left out.
enum class EdgeGreen {
  Three,  // the three neighbours inside the image
  Along,  // the two neighbours on the border itself
};

// Bytes from a pixel to the next: in pictures of the whole pixel, in planes of one word.
template <Output eOut>
constexpr size_t c_uiPixelStep = eOut == c_ePlanes ? 2 : PixelBytes(eOut);

// A channel: bytes or words of pictures, words of planes.
template <bool bByte>
struct ChannelOf {
  using Type = uint16_t;
};
template <>
struct ChannelOf<true> {
  using Type = uint8_t;
};
template <Output eOut>
using Channel = typename ChannelOf<(eOut < c_uiOutputs)>::Type;

// Means of single samples: the sum of 1 to 4 of them, divided and cut to a channel in one step.
template <class Channel>
struct ScalarMeans {
  unsigned uiShift;  // below 32; all counts are taken modulo 32

  KIVO_INLINE Channel Reduce1(uint32_t uiSum) const { return static_cast<Channel>(uiSum >> uiShift); }
  KIVO_INLINE Channel Reduce2(uint32_t uiSum) const {
    return static_cast<Channel>(uiSum >> (uiShift + 1) % 32);
  }
  KIVO_INLINE Channel Reduce3(uint32_t uiSum) const {
    return static_cast<Channel>(static_cast<int32_t>(uiSum) / static_cast<int32_t>(3u << uiShift));
  }
  KIVO_INLINE Channel Reduce4(uint32_t uiSum) const {
    return static_cast<Channel>(uiSum >> (uiShift + 2) % 32);
  }
};

// Samples of a row, one at a time.
struct ByteSample {
  KIVO_INLINE static uint32_t At(const uint8_t *pucRow, size_t x) { return pucRow[x]; }
};
struct WordSample {
  KIVO_INLINE static uint32_t At(const uint8_t *pucRow, size_t x) {
    uint16_t us;
    memcpy(&us, pucRow + 2 * x, 2);
    return us;
  }
};

// A job seen by rows and sites.
struct Mosaic : MosaicJob {
  KIVO_INLINE explicit Mosaic(const MosaicJob &sJob) : MosaicJob(sJob) {}

  KIVO_INLINE const uint8_t *Row(size_t y) const {
    return pucSrc + static_cast<ptrdiff_t>(y & uiRowMask) * iSrcPitch;
  }
  // The row above or below, or its mirror image at the edge.
  KIVO_INLINE const uint8_t *RowAbove(size_t y) const { return Row(y == 0 ? 1 : y - 1); }
  KIVO_INLINE const uint8_t *RowBelow(size_t y) const { return Row(y + 1 == uiHeight ? y - 1 : y + 1); }
  KIVO_INLINE uint8_t *Out(size_t y) const {
    return pucDst + static_cast<ptrdiff_t>(y - uiFirst) * iDstPitch;
  }
  KIVO_INLINE size_t End() const { return uiFirst + uiRows; }
  KIVO_INLINE bool IsGreen(size_t y, size_t x) const {
    return ((y + x + static_cast<unsigned>(eOrder)) & 1) != 0;
  }
  KIVO_INLINE bool IsBlueRow(size_t y) const { return ((y + (static_cast<unsigned>(eOrder) >> 1)) & 1) != 0; }
  // Whether the colour of the row's red or blue sites is stored first.
  KIVO_INLINE bool RowColourFirst(size_t y) const { return IsBlueRow(y) != bRedFirst; }
  KIVO_INLINE bool IsEdgeRow(size_t y) const { return y == 0 || y + 1 == uiHeight; }

  // Columns x to x + c_uiAhead - 1 of the rows that the uiBand rows behind those from y on will need; as many
  // columns as fill a line where samples have a byte. Inlined: a call of what only fetches has no effect that
  // a compiler would keep it for.
  static constexpr size_t c_uiAhead = 64;
  KIVO_INLINE void PrefetchAhead(size_t y, unsigned uiBand, size_t x) const {
    if (pucAhead == nullptr || uiHeight - y <= size_t{2} * uiBand) return;
    const uint8_t *p =
        pucAhead + static_cast<ptrdiff_t>(y + uiBand + 1 - uiFirst) * iAheadPitch + x * uiAheadBits / 8;
    for (unsigned i = 0; i < uiBand; ++i, p += iAheadPitch) {
      Prefetch(p);
      if (uiAheadBits > 8) Prefetch(p + c_uiLine);
    }
  }
};

// rowColour is the colour that the row's red or blue sites have, otherColour the third one.
template <Output eOut>
KIVO_INLINE void StoreSite(const Mosaic &s, size_t y, size_t x, Channel<eOut> rowColour, Channel<eOut> green,
                           Channel<eOut> otherColour) {
  uint8_t *const p = s.Out(y) + x * c_uiPixelStep<eOut>;
  const bool bRowColourFirst = s.RowColourFirst(y);
  const Channel<eOut> first = bRowColourFirst ? rowColour : otherColour;
  const Channel<eOut> last = bRowColourFirst ? otherColour : rowColour;
  if constexpr (eOut == c_ePlanes) {
    memcpy(p, &first, sizeof first);
    memcpy(p + s.iPlanePitch, &green, sizeof green);
    memcpy(p + 2 * s.iPlanePitch, &last, sizeof last);
  } else {
    const Channel<eOut> a[] = {first, green, last, static_cast<Channel<eOut>>(~0u)};
    memcpy(p, a, PixelBytes(eOut));
  }
}

// One pixel of a row, from the row, those above and below it (mirrored ones at the edge), and the columns
// beside it; cross is the green of a red or blue site.
template <Output eOut, class Means>
KIVO_INLINE void PlainPixel(const Means &sMeans, const Mosaic &s, size_t y, size_t xLeft, size_t x,
                            size_t xRight, Channel<eOut> cross) {
  const uint8_t *const pucAbove = s.RowAbove(y), *const pucRow = s.Row(y), *const pucBelow = s.RowBelow(y);
  const auto Horizontal = [&](const uint8_t *p) { return sMeans.At(p, xLeft) + sMeans.At(p, xRight); };
  const Channel<eOut> own = sMeans.Reduce1(sMeans.At(pucRow, x));
  if (s.IsGreen(y, x)) {
    const uint32_t uiVertical = sMeans.At(pucAbove, x) + sMeans.At(pucBelow, x);
    StoreSite<eOut>(s, y, x, sMeans.Reduce2(Horizontal(pucRow)), own, sMeans.Reduce2(uiVertical));
  } else {
    StoreSite<eOut>(s, y, x, own, cross, sMeans.Reduce4(Horizontal(pucAbove) + Horizontal(pucBelow)));
  }
}

// A pixel of the first or last column, xInner being the column beside it.
template <Output eOut, class Means>
[[gnu::noinline]] void ColumnPixel(const Means &sMeans, const Mosaic &s, EdgeGreen eEdge, size_t y, size_t x,
                                   size_t xInner) {
  const uint32_t uiInner = sMeans.At(s.Row(y), xInner);
  const uint32_t uiVertical = sMeans.At(s.RowAbove(y), x) + sMeans.At(s.RowBelow(y), x);
  Channel<eOut> cross;
  if (s.IsEdgeRow(y)) {
    cross = sMeans.Reduce4(2 * uiInner + uiVertical);
  } else if (eEdge == EdgeGreen::Three) {
    cross = sMeans.Reduce3(uiInner + uiVertical);
  } else {
    cross = sMeans.Reduce2(uiVertical);
  }
  PlainPixel<eOut>(sMeans, s, y, xInner, x, xInner, cross);
}

// Rows of a mosaic one pixel at a time, straight from the rule: for images of a single row or column, where a
// colour without a sample in the neighbourhood takes the pixel's own, and for shifts at which a mirrored
// sample and its pair would be cut differently.
template <Output eOut, class Means>
[[gnu::cold]] void ConvertPixelwise(const Means &sMeans, const Mosaic &s) {
  struct Neighbours {
    uint32_t uiSum = 0;
    unsigned uiCount = 0;
    void Add(uint32_t uiSample) {
      uiSum += uiSample;
      ++uiCount;
    }
  };
  // Columns of an apron are another part's.
  const size_t uiBegin = s.bLeftEdge ? 0 : c_uiBayerApron;
  const size_t uiEnd = s.uiWidth - (s.bRightEdge ? 0 : c_uiBayerApron);
  for (size_t y = s.uiFirst; y < s.End(); ++y) {
    for (size_t x = uiBegin; x < uiEnd; ++x) {
      Neighbours sHorizontal, sVertical, sCross, sDiagonal;
      for (size_t v = y == 0 ? 0 : y - 1; v <= y + 1 && v < s.uiHeight; ++v) {
        for (size_t u = x == 0 ? 0 : x - 1; u <= x + 1 && u < s.uiWidth; ++u) {
          if (v == y && u == x) continue;
          const uint32_t uiSample = sMeans.At(s.Row(v), u);
          if (v != y && u != x) {
            sDiagonal.Add(uiSample);
          } else {
            sCross.Add(uiSample);
            (v == y ? sHorizontal : sVertical).Add(uiSample);
          }
        }
      }
      const Channel<eOut> own = sMeans.Reduce1(sMeans.At(s.Row(y), x));
      const auto Mean = [&](const Neighbours &sSet) {
        switch (sSet.uiCount) {
          case 1:
            return sMeans.Reduce1(sSet.uiSum);
          case 2:
            return sMeans.Reduce2(sSet.uiSum);
          case 3:
            return sMeans.Reduce3(sSet.uiSum);
          case 4:
            return sMeans.Reduce4(sSet.uiSum);
          default:
            return own;
        }
      };
      if (s.IsGreen(y, x)) {
        StoreSite<eOut>(s, y, x, Mean(sHorizontal), own, Mean(sVertical));
      } else {
        StoreSite<eOut>(s, y, x, own, Mean(sCross), Mean(sDiagonal));
      }
    }
  }
}

}  // namespace
}  // namespace Kivo::KIVO_TARGET

#endif  // KIVO_KERNELS_MOSAIC_H
