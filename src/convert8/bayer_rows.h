// SPDX-License-Identifier: Apache-2.0
// Standard Bayer demosaic, for samples of any width: every pixel keeps its own sample, and each missing
// colour is the truncated mean of the nearest samples of that colour in the 3 x 3 neighbourhood that lie
// inside the image.
//
// The text is written over a Means type that knows the samples and their arithmetic:
//   c_uiSampleBytes; Row, c_uiVec samples; Pair, what is kept of two rows added
//   LoadRow, Add, Choose
//   Own, and Mean of one and of two pairs, whose results ToBytes turns into a channel
//   Reduce1 to Reduce4, the mean of so many single samples from their sum
//
// A row of the result needs, of the row itself and of the rows above and below: the samples H left and right
// of each pixel, V above and below, and the diagonals D, which are H of the two other rows. The cross is H
// and V. Rows are done four at a time, so that each row is loaded and its H formed once. A mirrored row or
// column stands in for one outside the image: that changes no mean of two or four, only the cross of three,
// which is put right afterwards.
#ifndef KIVO_CONVERT8_BAYER_ROWS_H
#define KIVO_CONVERT8_BAYER_ROWS_H

#include "simd/runs.h"

namespace Kivo::KIVO_TARGET {
namespace {

// What the cross of a red or blue site takes at the border of the image, corners left out.
enum class EdgeGreen {
  Three,  // the three neighbours inside the image
  Along,  // the two neighbours on the border itself
};

// Scalar means: the sum of 1 to 4 samples, divided and cut to 8 bits in one step.
struct ScalarMeans {
  unsigned uiShift;  // below 32; all counts are taken modulo 32

  KIVO_INLINE uint8_t Reduce1(uint32_t uiSum) const { return static_cast<uint8_t>(uiSum >> uiShift); }
  KIVO_INLINE uint8_t Reduce2(uint32_t uiSum) const {
    return static_cast<uint8_t>(uiSum >> (uiShift + 1) % 32);
  }
  KIVO_INLINE uint8_t Reduce3(uint32_t uiSum) const {
    return static_cast<uint8_t>(static_cast<int32_t>(uiSum) / static_cast<int32_t>(3u << uiShift));
  }
  KIVO_INLINE uint8_t Reduce4(uint32_t uiSum) const {
    return static_cast<uint8_t>(uiSum >> (uiShift + 2) % 32);
  }
};

template <class Means>
KIVO_INLINE uint32_t Sample(const uint8_t *pucRow, size_t x) {
  if constexpr (Means::c_uiSampleBytes == 1) {
    return pucRow[x];
  } else {
    uint16_t us;
    memcpy(&us, pucRow + 2 * x, 2);
    return us;
  }
}

struct Mosaic {
  const uint8_t *pucSrc;
  uint8_t *pucDst;
  size_t uiWidth, uiHeight;
  size_t uiSrcPitch, uiDstPitch;
  BayerOrder eOrder;

  const uint8_t *Row(size_t y) const { return pucSrc + y * uiSrcPitch; }
  uint8_t *Out(size_t y) const { return pucDst + y * uiDstPitch; }
  bool IsGreen(size_t y, size_t x) const { return ((y + x + static_cast<unsigned>(eOrder)) & 1) != 0; }
  bool IsBlueRow(size_t y) const { return ((y + (static_cast<unsigned>(eOrder) >> 1)) & 1) != 0; }
};

template <Output eOut, class Means>
KIVO_INLINE Mosaic MakeMosaic(uint8_t *pucDst, const uint8_t *pucSrc, size_t uiWidth, size_t uiHeight,
                              BayerOrder eOrder) {
  return {pucSrc, pucDst, uiWidth, uiHeight, uiWidth * Means::c_uiSampleBytes, uiWidth * PixelBytes(eOut),
          eOrder};
}

template <Output eOut>
KIVO_INLINE void StorePixel(uint8_t *p, uint8_t b, uint8_t g, uint8_t r) {
  p[0] = b;
  p[1] = g;
  p[2] = r;
  if constexpr (eOut == c_eBGRA) p[3] = 255;
}

// rowColour is the colour that the row's red or blue sites have, otherColour the third one.
template <Output eOut>
KIVO_INLINE void StoreSite(uint8_t *p, bool bBlueRow, uint8_t rowColour, uint8_t green, uint8_t otherColour) {
  StorePixel<eOut>(p, bBlueRow ? rowColour : otherColour, green, bBlueRow ? otherColour : rowColour);
}

// One pixel from explicit neighbours, mirrored ones included; uiCross is the green of a red or blue site.
template <Output eOut, class Means>
KIVO_INLINE void PlainPixel(const Means &sMeans, uint8_t *p, bool bGreen, bool bBlueRow,
                            const uint8_t *const *apucRows, size_t xLeft, size_t x, size_t xRight,
                            uint8_t ucCross) {
  const auto Horizontal = [&](int i) {
    return Sample<Means>(apucRows[i], xLeft) + Sample<Means>(apucRows[i], xRight);
  };
  const uint8_t ucOwn = sMeans.Reduce1(Sample<Means>(apucRows[1], x));
  if (bGreen) {
    const uint32_t uiVertical = Sample<Means>(apucRows[0], x) + Sample<Means>(apucRows[2], x);
    StoreSite<eOut>(p, bBlueRow, sMeans.Reduce2(Horizontal(1)), ucOwn, sMeans.Reduce2(uiVertical));
  } else {
    StoreSite<eOut>(p, bBlueRow, ucOwn, ucCross, sMeans.Reduce4(Horizontal(0) + Horizontal(2)));
  }
}

// A pixel of the first or last column, xInner being the column beside it. Rows are mirrored already.
template <Output eOut, class Means>
KIVO_INLINE void ColumnPixel(const Means &sMeans, const Mosaic &s, EdgeGreen eEdge, size_t y,
                             const uint8_t *const *apucRows, size_t x, size_t xInner) {
  const uint32_t uiInner = Sample<Means>(apucRows[1], xInner);
  const uint32_t uiVertical = Sample<Means>(apucRows[0], x) + Sample<Means>(apucRows[2], x);
  uint8_t ucCross;
  if (y == 0 || y + 1 == s.uiHeight) {
    ucCross = sMeans.Reduce4(2 * uiInner + uiVertical);
  } else if (eEdge == EdgeGreen::Three) {
    ucCross = sMeans.Reduce3(uiInner + uiVertical);
  } else {
    ucCross = sMeans.Reduce2(uiVertical);
  }
  PlainPixel<eOut>(sMeans, s.Out(y) + x * PixelBytes(eOut), s.IsGreen(y, x), s.IsBlueRow(y), apucRows, xInner,
                   x, xInner, ucCross);
}

// One vector of columns from x on, in uiRows rows; apucRows holds the row above, the rows, the row below.
// aGreen[0] marks the green lanes of the first row, aGreen[1] those of the second.
template <Output eOut, bool bStream, unsigned uiRows, class Means>
KIVO_INLINE void ConvertBlock(const Means &sMeans, const uint8_t *const *apucRows, uint8_t *pucDst,
                              size_t uiDstPitch, size_t x, const Parity *aGreen, bool bBlueRow) {
  const size_t uiOffset = x * Means::c_uiSampleBytes;
  const auto Horizontal = [&](unsigned i) {
    return sMeans.Add(Means::LoadRow(apucRows[i] + uiOffset - Means::c_uiSampleBytes),
                      Means::LoadRow(apucRows[i] + uiOffset + Means::c_uiSampleBytes));
  };
  auto above = Means::LoadRow(apucRows[0] + uiOffset);
  auto aboveH = Horizontal(0);
  auto row = Means::LoadRow(apucRows[1] + uiOffset);
  auto rowH = Horizontal(1);
  for (unsigned i = 0; i < uiRows; ++i) {
    const auto below = Means::LoadRow(apucRows[i + 2] + uiOffset);
    const auto belowH = Horizontal(i + 2);
    const auto vertical = sMeans.Add(above, below);
    const auto own = sMeans.Own(row);
    const Parity &green = aGreen[i % 2];
    const U8 g = sMeans.ToBytes(Means::Choose(green, own, sMeans.Mean(vertical, rowH)));
    const U8 rowColour = sMeans.ToBytes(Means::Choose(green, sMeans.Mean(rowH), own));
    const U8 otherColour =
        sMeans.ToBytes(Means::Choose(green, sMeans.Mean(vertical), sMeans.Mean(aboveH, belowH)));
    uint8_t *const p = pucDst + i * uiDstPitch + x * PixelBytes(eOut);
    if (bBlueRow != (i % 2 != 0)) {
      StorePixels<eOut, bStream>(p, rowColour, g, otherColour);
    } else {
      StorePixels<eOut, bStream>(p, otherColour, g, rowColour);
    }
    above = row;
    aboveH = rowH;
    row = below;
    rowH = belowH;
  }
}

// The same for uiCount columns, at most a vector, touching no others: through buffers.
template <Output eOut, unsigned uiRows, class Means>
void ConvertColumns(const Means &sMeans, const uint8_t *const *apucRows, uint8_t *pucDst, size_t uiDstPitch,
                    size_t x, size_t uiCount, bool bFirstGreen, bool bBlueRow) {
  constexpr size_t c_uiBytes = Means::c_uiSampleBytes;
  uint8_t aucRows[uiRows + 2][(c_uiVec + 2) * c_uiBytes] = {};
  uint8_t aucDst[uiRows][(c_uiVec + 1) * PixelBytes(eOut)];
  const uint8_t *apucBuffered[uiRows + 2];
  for (unsigned i = 0; i < uiRows + 2; ++i) {
    memcpy(aucRows[i], apucRows[i] + (x - 1) * c_uiBytes, (uiCount + 2) * c_uiBytes);
    apucBuffered[i] = aucRows[i];
  }
  const Parity aGreen[2] = {MakeParity(bFirstGreen), MakeParity(!bFirstGreen)};
  ConvertBlock<eOut, false, uiRows>(sMeans, apucBuffered, aucDst[0], sizeof aucDst[0], 1, aGreen, bBlueRow);
  for (unsigned i = 0; i < uiRows; ++i) {
    memcpy(pucDst + i * uiDstPitch + x * PixelBytes(eOut), aucDst[i] + PixelBytes(eOut),
           uiCount * PixelBytes(eOut));
  }
}

// Columns 1 to width - 2 of uiRows rows from y on, from apucRows as above.
template <Output eOut, bool bStream, unsigned uiRows, class Means>
KIVO_INLINE void ConvertInterior(const Means &sMeans, const Mosaic &s, size_t y,
                                 const uint8_t *const *apucRows) {
  uint8_t *const pucDst = s.Out(y);
  const bool bBlueRow = s.IsBlueRow(y);
  const size_t uiEnd = s.uiWidth - 1;
  size_t x = 1;
  const auto Columns = [&](size_t uiCount) {
    ConvertColumns<eOut, uiRows>(sMeans, apucRows, pucDst, s.uiDstPitch, x, uiCount, s.IsGreen(y, x),
                                 bBlueRow);
    x += uiCount;
  };
  // Vectors that together fill whole lines.
  constexpr size_t c_uiGroup = bStream && c_uiVec * PixelBytes(eOut) % c_uiLine != 0 ? c_uiLine / c_uiVec : 1;
  if constexpr (bStream) {
    size_t uiFirst = x;
    while (reinterpret_cast<uintptr_t>(pucDst + uiFirst * PixelBytes(eOut)) % c_uiLine != 0 &&
           uiFirst < uiEnd)
      ++uiFirst;
    while (x < uiFirst) Columns(uiFirst - x < c_uiVec ? uiFirst - x : c_uiVec);
  }
  const bool bFirstGreen = s.IsGreen(y, x);
  const Parity aGreen[2] = {MakeParity(bFirstGreen), MakeParity(!bFirstGreen)};
  while (uiEnd - x >= c_uiGroup * c_uiVec) {
    for (size_t k = 0; k < c_uiGroup; ++k, x += c_uiVec) {
      ConvertBlock<eOut, bStream, uiRows>(sMeans, apucRows, pucDst, s.uiDstPitch, x, aGreen, bBlueRow);
    }
  }
  if (!bStream && x < uiEnd && uiEnd > c_uiVec) {
    // The last vector overlaps the one before.
    x = uiEnd - c_uiVec;
    const bool bGreen = s.IsGreen(y, x);
    const Parity aLast[2] = {MakeParity(bGreen), MakeParity(!bGreen)};
    ConvertBlock<eOut, false, uiRows>(sMeans, apucRows, pucDst, s.uiDstPitch, x, aLast, bBlueRow);
    return;
  }
  while (x < uiEnd) Columns(uiEnd - x < c_uiVec ? uiEnd - x : c_uiVec);
}

// uiRows whole rows from y on.
template <Output eOut, bool bStream, unsigned uiRows, class Means>
void ConvertRows(const Means &sMeans, const Mosaic &s, EdgeGreen eEdge, size_t y) {
  const uint8_t *apucRows[uiRows + 2];
  for (unsigned i = 0; i < uiRows + 2; ++i) apucRows[i] = s.Row(y + i - 1);
  if (y == 0) apucRows[0] = s.Row(1);
  if (y + uiRows == s.uiHeight) apucRows[uiRows + 1] = s.Row(s.uiHeight - 2);
  ConvertInterior<eOut, bStream, uiRows>(sMeans, s, y, apucRows);
  for (unsigned i = 0; i < uiRows; ++i) {
    ColumnPixel<eOut>(sMeans, s, eEdge, y + i, apucRows + i, 0, 1);
    ColumnPixel<eOut>(sMeans, s, eEdge, y + i, apucRows + i, s.uiWidth - 1, s.uiWidth - 2);
  }
}

// The first or the last row, whose crosses have three samples.
template <Output eOut, bool bStream, class Means>
void ConvertEdgeRow(const Means &sMeans, const Mosaic &s, EdgeGreen eEdge, size_t y) {
  ConvertRows<eOut, bStream, 1>(sMeans, s, eEdge, y);
  const uint8_t *const pucRow = s.Row(y);
  const uint8_t *const pucInner = s.Row(y == 0 ? 1 : y - 1);
  uint8_t *const pucGreen = s.Out(y) + 1;
  for (size_t x = s.IsGreen(y, 1) ? 2 : 1; x + 1 < s.uiWidth; x += 2) {
    const uint32_t uiAlong = Sample<Means>(pucRow, x - 1) + Sample<Means>(pucRow, x + 1);
    pucGreen[x * PixelBytes(eOut)] = eEdge == EdgeGreen::Three
                                         ? sMeans.Reduce3(uiAlong + Sample<Means>(pucInner, x))
                                         : sMeans.Reduce2(uiAlong);
  }
}

// Any mosaic, one pixel at a time, straight from the rule: for images of a single row or column, where a
// colour without a sample in the neighbourhood takes the pixel's own, and for shifts at which a mirrored
// sample and its pair would be cut differently.
template <Output eOut, class Means>
void ConvertPixelwise(const ScalarMeans &sMeans, const Mosaic &s) {
  struct Neighbours {
    uint32_t uiSum = 0;
    unsigned uiCount = 0;
    void Add(uint32_t uiSample) {
      uiSum += uiSample;
      ++uiCount;
    }
  };
  for (size_t y = 0; y < s.uiHeight; ++y) {
    for (size_t x = 0; x < s.uiWidth; ++x) {
      Neighbours sHorizontal, sVertical, sCross, sDiagonal;
      for (size_t v = y == 0 ? 0 : y - 1; v <= y + 1 && v < s.uiHeight; ++v) {
        for (size_t u = x == 0 ? 0 : x - 1; u <= x + 1 && u < s.uiWidth; ++u) {
          if (v == y && u == x) continue;
          const uint32_t uiSample = Sample<Means>(s.Row(v), u);
          if (v != y && u != x) {
            sDiagonal.Add(uiSample);
          } else {
            sCross.Add(uiSample);
            (v == y ? sHorizontal : sVertical).Add(uiSample);
          }
        }
      }
      const uint8_t ucOwn = sMeans.Reduce1(Sample<Means>(s.Row(y), x));
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
            return ucOwn;
        }
      };
      uint8_t *const p = s.Out(y) + x * PixelBytes(eOut);
      if (s.IsGreen(y, x)) {
        StoreSite<eOut>(p, s.IsBlueRow(y), Mean(sHorizontal), ucOwn, Mean(sVertical));
      } else {
        StoreSite<eOut>(p, s.IsBlueRow(y), ucOwn, Mean(sCross), Mean(sDiagonal));
      }
    }
  }
}

template <Output eOut, bool bStream, class Means>
void ConvertMosaic(const Means &sMeans, const Mosaic &s) {
  ConvertEdgeRow<eOut, bStream>(sMeans, s, EdgeGreen::Three, 0);
  size_t y = 1;
  // Streaming, the rows of a block reach their line boundaries together or not at all.
  if (!bStream || s.uiDstPitch % c_uiLine == 0) {
    for (; y + 4 < s.uiHeight; y += 4) ConvertRows<eOut, bStream, 4>(sMeans, s, EdgeGreen::Three, y);
  }
  for (; y + 1 < s.uiHeight; ++y) ConvertRows<eOut, bStream, 1>(sMeans, s, EdgeGreen::Three, y);
  ConvertEdgeRow<eOut, bStream>(sMeans, s, EdgeGreen::Three, s.uiHeight - 1);
  if constexpr (bStream) StreamFence();
}

}  // namespace
}  // namespace Kivo::KIVO_TARGET

#endif  // KIVO_CONVERT8_BAYER_ROWS_H
