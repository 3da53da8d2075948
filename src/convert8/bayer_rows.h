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

// One vector of columns from x on, in uiRows rows; apucRows holds the row above, the rows, the row below, and
// pucDst is where column x of the first row goes. aGreen[0] marks the green lanes of the first row, aGreen[1]
// those of the second.
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
    uint8_t *const p = pucDst + i * uiDstPitch;
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

// The green lanes of two rows, the first of which has a green sample in lane 0 or not.
struct GreenLanes {
  Parity aRows[2];
  KIVO_INLINE explicit GreenLanes(bool bFirst) : aRows{MakeParity(bFirst), MakeParity(!bFirst)} {}
};

// Columns 1 to width - 2 of uiRows rows from y on, from apucRows as above.
template <Output eOut, bool bStream, unsigned uiRows, class Means>
class Interior {
 public:
  KIVO_INLINE Interior(const Means &sMeans, const Mosaic &s, size_t y, const uint8_t *const *apucRows)
      : m_sMeans(sMeans),
        m_s(s),
        m_y(y),
        m_apucRows(apucRows),
        m_pucDst(s.Out(y)),
        m_bBlueRow(s.IsBlueRow(y)),
        m_uiEnd(s.uiWidth - 1) {}

  KIVO_INLINE void Convert() const {
    if (m_uiEnd - 1 < c_uiVec) {
      Narrow();
    } else if constexpr (bStream) {
      Streaming();
    } else {
      size_t x = 1;
      const GreenLanes sGreen(m_s.IsGreen(m_y, x));
      for (; m_uiEnd - x >= c_uiVec; x += c_uiVec) Block<false>(x, sGreen);
      // The last vector overlaps the one before.
      if (x < m_uiEnd) Block<false>(m_uiEnd - c_uiVec, GreenLanes(m_s.IsGreen(m_y, m_uiEnd - c_uiVec)));
    }
  }

 private:
  static constexpr size_t c_uiPixel = PixelBytes(eOut);

  template <bool bStreamBlock>
  KIVO_INLINE void Block(size_t x, const GreenLanes &sGreen) const {
    ConvertBlock<eOut, bStreamBlock, uiRows>(m_sMeans, m_apucRows, m_pucDst + x * c_uiPixel, m_s.uiDstPitch,
                                             x, sGreen.aRows, m_bBlueRow);
  }

  // Whole lines are streamed; the columns before the first and after the last take ordinary stores, and no
  // byte is stored both ways.
  KIVO_INLINE void Streaming() const {
    constexpr size_t c_uiGroup = c_uiVec * c_uiPixel % c_uiLine != 0 ? c_uiLine / c_uiVec : 1;
    size_t uiLine = 1;
    while (uiLine < m_uiEnd && reinterpret_cast<uintptr_t>(m_pucDst + uiLine * c_uiPixel) % c_uiLine != 0)
      ++uiLine;
    size_t x = 1;
    x = Ordinary(x, uiLine);
    const GreenLanes sGreen(m_s.IsGreen(m_y, x));
    while (m_uiEnd - x >= c_uiGroup * c_uiVec) {
      for (size_t k = 0; k < c_uiGroup; ++k, x += c_uiVec) Block<true>(x, sGreen);
    }
    Ordinary(x, m_uiEnd);
  }

  // Columns x to uiStop - 1 and no others: vectors that may take in more, by way of a buffer.
  size_t Ordinary(size_t x, size_t uiStop) const {
    uint8_t aucDst[uiRows][c_uiVec * c_uiPixel];
    while (x < uiStop) {
      const size_t uiCount = uiStop - x < c_uiVec ? uiStop - x : c_uiVec;
      const size_t uiStart = m_uiEnd - x < c_uiVec ? m_uiEnd - c_uiVec : x;
      const GreenLanes sGreen(m_s.IsGreen(m_y, uiStart));
      ConvertBlock<eOut, false, uiRows>(m_sMeans, m_apucRows, aucDst[0], sizeof aucDst[0], uiStart,
                                        sGreen.aRows, m_bBlueRow);
      for (unsigned i = 0; i < uiRows; ++i) {
        memcpy(m_pucDst + i * m_s.uiDstPitch + x * c_uiPixel, aucDst[i] + (x - uiStart) * c_uiPixel,
               uiCount * c_uiPixel);
      }
      x += uiCount;
    }
    return x;
  }

  // A mosaic narrower than a vector, by way of copies of its rows.
  void Narrow() const {
    constexpr size_t c_uiBytes = Means::c_uiSampleBytes;
    uint8_t aucRows[uiRows + 2][(c_uiVec + 2) * c_uiBytes] = {};
    uint8_t aucDst[uiRows][c_uiVec * c_uiPixel];
    const uint8_t *apucCopies[uiRows + 2];
    for (unsigned i = 0; i < uiRows + 2; ++i) {
      memcpy(aucRows[i], m_apucRows[i], m_s.uiWidth * c_uiBytes);
      apucCopies[i] = aucRows[i];
    }
    const GreenLanes sGreen(m_s.IsGreen(m_y, 1));
    ConvertBlock<eOut, false, uiRows>(m_sMeans, apucCopies, aucDst[0], sizeof aucDst[0], 1, sGreen.aRows,
                                      m_bBlueRow);
    for (unsigned i = 0; i < uiRows; ++i) {
      memcpy(m_pucDst + i * m_s.uiDstPitch + c_uiPixel, aucDst[i], (m_uiEnd - 1) * c_uiPixel);
    }
  }

  const Means &m_sMeans;
  const Mosaic &m_s;
  const size_t m_y;
  const uint8_t *const *const m_apucRows;
  uint8_t *const m_pucDst;
  const bool m_bBlueRow;
  const size_t m_uiEnd;
};

// uiRows whole rows from y on.
template <Output eOut, bool bStream, unsigned uiRows, class Means>
void ConvertRows(const Means &sMeans, const Mosaic &s, EdgeGreen eEdge, size_t y) {
  const uint8_t *apucRows[uiRows + 2];
  for (unsigned i = 0; i < uiRows + 2; ++i) apucRows[i] = s.Row(y + i - 1);
  if (y == 0) apucRows[0] = s.Row(1);
  if (y + uiRows == s.uiHeight) apucRows[uiRows + 1] = s.Row(s.uiHeight - 2);
  Interior<eOut, bStream, uiRows, Means>(sMeans, s, y, apucRows).Convert();
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
