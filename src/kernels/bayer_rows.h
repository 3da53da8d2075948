// SPDX-License-Identifier: Apache-2.0
// Standard Bayer demosaic, for samples of any width: every pixel keeps its own sample, and each missing
// colour is the truncated mean of the nearest samples of that colour in the 3 x 3 neighbourhood that lie
// inside the image.
//
// The text is written over a Means type that knows the samples and their arithmetic:
//   c_uiSampleBytes; c_uiBlock, the samples of a Row; Pair, what is kept of two rows added
//   LoadRow, Add, Choose
//   Own, and Mean of one and of two pairs, or still sums of them, whose results Finish turns into a channel
//   to be stored At, a single sample; Reduce1 to Reduce4, the mean of so many of them from their sum
//
// A row of the result needs, of the row itself and of the rows above and below: the samples H left and right
// of each pixel, V above and below, and the diagonals D, which are H of the two other rows. The cross is H
// and V. Rows are done four at a time, so that each row is loaded and its H formed once. A mirrored row or
// column stands in for one outside the image: that changes no mean of two or four, only the cross of three,
// which is put right afterwards.
#ifndef KIVO_KERNELS_BAYER_ROWS_H
#define KIVO_KERNELS_BAYER_ROWS_H

#include "kernels/mosaic.h"

namespace Kivo::KIVO_TARGET {
namespace {

// c_uiVec words, as two vectors.
struct WordRow {
  U16 low, high;
};
KIVO_INLINE void Store(uint8_t *p, WordRow v) {
  Store(p, v.low);
  Store(p + c_uiVec, v.high);
}

template <Output eOut, bool bStream>
KIVO_INLINE void StoreColours(uint8_t *p, ptrdiff_t, U8 first, U8 green, U8 last) {
  StorePixels<eOut, bStream>(p, first, green, last);
}
template <Output eOut, bool bStream>
KIVO_INLINE void StoreColours(uint8_t *p, ptrdiff_t iPlanePitch, WordRow first, WordRow green, WordRow last) {
  const WordRow aRows[] = {first, green, last};
  for (const WordRow &v : aRows) {
    Store(p, v);
    p += iPlanePitch;
  }
}

// Half as many pixels, of words, or of the lower bytes of words.
template <Output eOut, bool bStream>
KIVO_INLINE void StoreColours(uint8_t *p, ptrdiff_t, U16 first, U16 green, U16 last) {
  if constexpr (eOut == c_eBGRA16) {
    StoreBGRA<bStream>(p, first, green, last);
  } else if constexpr (eOut == c_eBGR16) {
    StoreBGR<bStream>(p, first, green, last);
  } else {
    StoreWordsBGRA<bStream>(p, first, green, last);
  }
}

// One block of columns in uiRows rows. apucRows holds column x of the row above, of the rows, and of the row
// below; pucDst is where column x of the first row goes. aGreen[0] marks the green lanes of the first row,
// aGreen[1] those of the second.
template <Output eOut, bool bStream, unsigned uiRows, class Means>
KIVO_INLINE void ConvertBlock(const Means &sMeans, const uint8_t *const *apucRows, size_t x, uint8_t *pucDst,
                              ptrdiff_t iDstPitch, ptrdiff_t iPlanePitch, const Parity *aGreen,
                              bool bRowColourFirst) {
  const size_t uiOffset = x * Means::c_uiSampleBytes;
  const auto Horizontal = [&](unsigned i) {
    return sMeans.Add(sMeans.LoadRow(apucRows[i] + uiOffset - Means::c_uiSampleBytes),
                      sMeans.LoadRow(apucRows[i] + uiOffset + Means::c_uiSampleBytes));
  };
  auto above = sMeans.LoadRow(apucRows[0] + uiOffset);
  auto aboveH = Horizontal(0);
  auto row = sMeans.LoadRow(apucRows[1] + uiOffset);
  auto rowH = Horizontal(1);
  for (unsigned i = 0; i < uiRows; ++i) {
    const auto below = sMeans.LoadRow(apucRows[i + 2] + uiOffset);
    const auto belowH = Horizontal(i + 2);
    const auto vertical = sMeans.Add(above, below);
    const auto own = sMeans.Own(row);
    const Parity &green = aGreen[i % 2];
    // How many samples the sums are of, as powers of two: at green pixels, and at others.
    const auto g =
        sMeans.template Finish<0, 2>(Means::Choose(green, own, sMeans.Mean(vertical, rowH)), green);
    const auto rowColour = sMeans.template Finish<1, 0>(Means::Choose(green, sMeans.Mean(rowH), own), green);
    const auto otherColour = sMeans.template Finish<1, 2>(
        Means::Choose(green, sMeans.Mean(vertical), sMeans.Mean(aboveH, belowH)), green);
    if (bRowColourFirst != (i % 2 != 0)) {
      StoreColours<eOut, bStream>(pucDst, iPlanePitch, rowColour, g, otherColour);
    } else {
      StoreColours<eOut, bStream>(pucDst, iPlanePitch, otherColour, g, rowColour);
    }
    pucDst += iDstPitch;
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

// uiRows rows from y on, which apucRows leads to as above.
template <class Means>
struct Band {
  const Means &sMeans;
  const Mosaic &s;
  size_t y;
  const uint8_t *const *apucRows;

  KIVO_INLINE GreenLanes Greens(size_t x) const { return GreenLanes(s.IsGreen(y, x)); }
};

template <Output eOut, bool bStream, unsigned uiRows, class Means>
KIVO_INLINE void BandBlock(const Band<Means> &sBand, size_t x, const GreenLanes &sGreen) {
  const Mosaic &s = sBand.s;
  ConvertBlock<eOut, bStream, uiRows>(sBand.sMeans, sBand.apucRows, x,
                                      s.Out(sBand.y) + x * c_uiPixelStep<eOut>, s.iDstPitch, s.iPlanePitch,
                                      sGreen.aRows, s.RowColourFirst(sBand.y));
}

// Columns x to uiStop - 1 and no others, by way of a buffer: vectors may take in more, up to uiEnd.
template <Output eOut, unsigned uiRows, class Means>
[[gnu::noinline]] size_t BandThroughBuffer(const Band<Means> &sBand, size_t x, size_t uiStop, size_t uiEnd) {
  constexpr size_t c_uiPixel = c_uiPixelStep<eOut>;
  const Mosaic &s = sBand.s;
  uint8_t aucDst[uiRows][Means::c_uiBlock * c_uiPixel];
  while (x < uiStop) {
    const size_t uiCount = uiStop - x < Means::c_uiBlock ? uiStop - x : Means::c_uiBlock;
    const size_t uiStart = uiEnd - x < Means::c_uiBlock ? uiEnd - Means::c_uiBlock : x;
    ConvertBlock<eOut, false, uiRows>(sBand.sMeans, sBand.apucRows, uiStart, aucDst[0], sizeof aucDst[0], 0,
                                      sBand.Greens(uiStart).aRows, s.RowColourFirst(sBand.y));
    for (unsigned i = 0; i < uiRows; ++i) {
      memcpy(s.Out(sBand.y + i) + x * c_uiPixel, aucDst[i] + (x - uiStart) * c_uiPixel, uiCount * c_uiPixel);
    }
    x += uiCount;
  }
  return x;
}

// Whole lines are streamed; the columns before the first and after the last take ordinary stores, and no byte
// is stored both ways.
template <Output eOut, unsigned uiRows, class Means>
KIVO_INLINE void StreamBand(const Band<Means> &sBand, size_t uiEnd) {
  constexpr size_t c_uiPixel = c_uiPixelStep<eOut>;
  constexpr size_t c_uiGroup = Means::c_uiBlock * c_uiPixel % c_uiLine != 0 ? c_uiLine / Means::c_uiBlock : 1;
  const Mosaic &s = sBand.s;
  // What is stored through the caches, the ends of rows, would let the streaming stores behind it wait for
  // memory.
  for (size_t i = sBand.y + uiRows; i < sBand.y + 2 * uiRows && i < s.uiHeight; ++i) {
    Prefetch(s.Out(i));
    Prefetch(s.Out(i) + s.uiWidth * c_uiPixel - 1);
  }
  const uint8_t *const pucDst = s.Out(sBand.y);
  size_t uiLine = 1;
  while (uiLine < uiEnd && reinterpret_cast<uintptr_t>(pucDst + uiLine * c_uiPixel) % c_uiLine != 0) ++uiLine;
  size_t x = BandThroughBuffer<eOut, uiRows>(sBand, 1, uiLine, uiEnd);
  const GreenLanes sGreen = sBand.Greens(x);
  size_t uiAhead = 0;
  while (uiEnd - x >= c_uiGroup * Means::c_uiBlock) {
    if (x >= uiAhead) {
      s.PrefetchAhead(sBand.y, uiRows, uiAhead);
      uiAhead += Mosaic::c_uiAhead;
    }
    for (size_t k = 0; k < c_uiGroup; ++k, x += Means::c_uiBlock)
      BandBlock<eOut, true, uiRows>(sBand, x, sGreen);
  }
  BandThroughBuffer<eOut, uiRows>(sBand, x, uiEnd, uiEnd);
}

// A row of a mosaic narrower than a vector, by way of copies. Planes have room for a whole vector.
template <Output eOut, class Means>
void ConvertNarrow(const Band<Means> &sBand, size_t uiEnd) {
  constexpr size_t c_uiBytes = Means::c_uiSampleBytes;
  constexpr size_t c_uiPixel = c_uiPixelStep<eOut>;
  const Mosaic &s = sBand.s;
  uint8_t aucRows[3][(Means::c_uiBlock + 2) * c_uiBytes] = {};
  const uint8_t *apucCopies[3];
  for (unsigned i = 0; i < 3; ++i) {
    memcpy(aucRows[i], sBand.apucRows[i], s.uiWidth * c_uiBytes);
    apucCopies[i] = aucRows[i];
  }
  const Band<Means> sCopy = {sBand.sMeans, s, sBand.y, apucCopies};
  if constexpr (eOut == c_ePlanes) {
    BandBlock<eOut, false, 1>(sCopy, 1, sBand.Greens(1));
  } else {
    uint8_t aucDst[Means::c_uiBlock * c_uiPixel];
    ConvertBlock<eOut, false, 1>(sBand.sMeans, apucCopies, 1, aucDst, 0, 0, sBand.Greens(1).aRows,
                                 s.RowColourFirst(sBand.y));
    memcpy(s.Out(sBand.y) + c_uiPixel, aucDst, (uiEnd - 1) * c_uiPixel);
  }
}

// Columns 1 to width - 2; several rows are wider than a vector.
template <Output eOut, bool bStream, unsigned uiRows, class Means>
KIVO_INLINE void ConvertInterior(const Band<Means> &sBand) {
  const size_t uiEnd = sBand.s.uiWidth - 1;
  if constexpr (uiRows == 1) {
    if (uiEnd - 1 < Means::c_uiBlock) {
      if (uiEnd > 1) ConvertNarrow<eOut>(sBand, uiEnd);
      return;
    }
  }
  if constexpr (bStream && eOut != c_ePlanes) {
    StreamBand<eOut, uiRows>(sBand, uiEnd);
  } else {
    size_t x = 1;
    const GreenLanes sGreen = sBand.Greens(x);
    for (; uiEnd - x >= Means::c_uiBlock; x += Means::c_uiBlock)
      BandBlock<eOut, false, uiRows>(sBand, x, sGreen);
    // The last vector overlaps the one before.
    if (x < uiEnd)
      BandBlock<eOut, false, uiRows>(sBand, uiEnd - Means::c_uiBlock, sBand.Greens(uiEnd - Means::c_uiBlock));
  }
}

// uiRows whole rows from y on.
template <Output eOut, bool bStream, unsigned uiRows, class Means>
void ConvertRows(const Means &sMeans, const Mosaic &s, EdgeGreen eEdge, size_t y) {
  const uint8_t *apucRows[uiRows + 2];
  apucRows[0] = s.RowAbove(y);
  for (unsigned i = 0; i < uiRows; ++i) apucRows[i + 1] = s.Row(y + i);
  apucRows[uiRows + 1] = s.RowBelow(y + uiRows - 1);
  ConvertInterior<eOut, bStream, uiRows>(Band<Means>{sMeans, s, y, apucRows});
  for (unsigned i = 0; i < uiRows; ++i) {
    if (s.bLeftEdge) ColumnPixel<eOut>(sMeans, s, eEdge, y + i, 0, 1);
    if (s.bRightEdge) ColumnPixel<eOut>(sMeans, s, eEdge, y + i, s.uiWidth - 1, s.uiWidth - 2);
  }
}

// The first or the last row, whose crosses have three samples.
template <Output eOut, bool bStream, class Means>
void ConvertEdgeRow(const Means &sMeans, const Mosaic &s, EdgeGreen eEdge, size_t y) {
  ConvertRows<eOut, bStream, 1>(sMeans, s, eEdge, y);
  const uint8_t *const pucRow = s.Row(y);
  const uint8_t *const pucInner = s.RowAbove(y);
  uint8_t *const pucGreen =
      s.Out(y) + (eOut == c_ePlanes ? s.iPlanePitch : static_cast<ptrdiff_t>(sizeof(Channel<eOut>)));
  for (size_t x = s.IsGreen(y, 1) ? 2 : 1; x + 1 < s.uiWidth; x += 2) {
    const uint32_t uiAlong = sMeans.At(pucRow, x - 1) + sMeans.At(pucRow, x + 1);
    const Channel<eOut> green = eEdge == EdgeGreen::Three ? sMeans.Reduce3(uiAlong + sMeans.At(pucInner, x))
                                                          : sMeans.Reduce2(uiAlong);
    memcpy(pucGreen + x * c_uiPixelStep<eOut>, &green, sizeof green);
  }
}

template <Output eOut, bool bStream, class Means>
void ConvertMosaic(const Means &sMeans, const Mosaic &s) {
  // Streaming, the rows of a block reach their line boundaries together or not at all.
  const bool bBlocks =
      s.uiWidth >= Means::c_uiBlock + 2 && (!bStream || s.iDstPitch % static_cast<ptrdiff_t>(c_uiLine) == 0);
  for (size_t y = s.uiFirst; y < s.End();) {
    if (s.IsEdgeRow(y)) {
      ConvertEdgeRow<eOut, bStream>(sMeans, s, EdgeGreen::Three, y);
      ++y;
    } else if (bBlocks && s.End() - y >= 4 && s.uiHeight - y > 4) {
      ConvertRows<eOut, bStream, 4>(sMeans, s, EdgeGreen::Three, y);
      y += 4;
    } else {
      ConvertRows<eOut, bStream, 1>(sMeans, s, EdgeGreen::Three, y);
      ++y;
    }
  }
}

// The rows of a job, by the arithmetic of sMeans.
template <Output eOut, class Means>
void ConvertWith(const Means &sMeans, const Mosaic &s) {
  if constexpr (eOut != c_ePlanes) {
    if (s.bStream) return ConvertMosaic<eOut, true>(sMeans, s);
  }
  ConvertMosaic<eOut, false>(sMeans, s);
}

}  // namespace
}  // namespace Kivo::KIVO_TARGET

#endif  // KIVO_KERNELS_BAYER_ROWS_H
