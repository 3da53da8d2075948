// SPDX-License-Identifier: Apache-2.0
// Adaptive colour plane interpolation (Hamilton and Adams). Green at a red or blue site is taken along the
// direction in which the image changes least; red and blue then follow green as colour differences, at red
// and blue sites along the calmer diagonal. Rows and columns 0, 1 and the last two are plain means.
//
// A vector of samples is split by column parity into two vectors of lanes twice as wide, and it starts at a
// red or blue site, so that even lanes are the sites and odd lanes the greens. For the two samples a, b of a
// direction and its Laplacian L let
//
//   Y = 2 (a + b) + L
//
// All three cases of choosing a direction are then (Y1 + Y2) >> 3, with both Y from the calmer direction, or
// one from each on a tie, since 2 Y >> 3 is Y >> 2. One pass: a ring of rows holds the green plane around the
// row being made.
//
// The text is written over a Samples type:
//   Vector, Lanes                  a vector of samples, and one of lanes twice as wide
//   c_uiSampleBytes, c_uiBlock     bytes of a sample, samples of a vector
//   Take, Even, Odd                a vector of samples, and its lanes
//   Merge                          two vectors of lanes, clamped to the samples' range and interleaved
//   Eighth                         lanes over 8, of which at most two Y make the sum
//   RoundedTie                     of both Y of diagonals that tie: half up, truncated toward zero, and
//   modulo
//                                  the samples' range, so that it wraps outside of it
//   Reduce                         a vector of samples to bytes, where the result is pixels of bytes
#ifndef KIVO_KERNELS_ACPI_ROWS_H
#define KIVO_KERNELS_ACPI_ROWS_H

#include "kernels/bayer_rows.h"

namespace Kivo::KIVO_TARGET {
namespace {

// 8 times the value along the direction of the smaller gradient; along both, if they are equal.
template <class Lanes>
KIVO_INLINE Lanes Calmer(Lanes gradient1, Lanes y1, Lanes gradient2, Lanes y2) {
  return SelectGreater(gradient1, gradient2, y2, y1) + SelectGreater(gradient2, gradient1, y1, y2);
}

// One column of five rows around the one being made.
struct Column {
  const uint8_t *pucUp2, *pucUp, *pucOwn, *pucDown, *pucDown2;
};

// The greens of a vector that starts at a red or blue site, where the column is.
template <class Samples>
KIVO_INLINE typename Samples::Vector GreenBlock(const Samples &s, const Column &sAt) {
  using Lanes = typename Samples::Lanes;
  constexpr size_t c_uiTwo = 2 * Samples::c_uiSampleBytes;
  const auto centre = s.Take(sAt.pucOwn);
  const auto before = s.Take(sAt.pucOwn - c_uiTwo);
  const Lanes own2 = s.Even(centre) << 1;
  const Lanes left = s.Odd(before);
  const Lanes right = s.Odd(centre);
  const Lanes up = s.Even(s.Take(sAt.pucUp));
  const Lanes down = s.Even(s.Take(sAt.pucDown));
  const Lanes laplaceV = own2 - s.Even(s.Take(sAt.pucUp2)) - s.Even(s.Take(sAt.pucDown2));
  const Lanes laplaceH = own2 - s.Even(before) - s.Even(s.Take(sAt.pucOwn + c_uiTwo));
  const Lanes gradientV = Abs(laplaceV) + Abs(up - down);
  const Lanes gradientH = Abs(left - right) + Abs(laplaceH);
  const Lanes sumV = ((up + down) << 1) + laplaceV;
  const Lanes sumH = ((left + right) << 1) + laplaceH;
  return s.Merge(s.Eighth(Calmer(gradientV, sumV, gradientH, sumH)), right);
}

// Pointers to one column of the green rows above, of, and below the row being made.
struct GreenColumn {
  const uint8_t *pucAbove, *pucOwn, *pucBelow;
};

template <class Samples>
struct Colours {
  typename Samples::Vector row;  // the colour of the row's red or blue sites
  typename Samples::Vector green;
  typename Samples::Vector other;  // the third colour
};

// The pixels of a vector that starts at a red or blue site. bRoundTie: the rule of the RG order for its red
// sites when the diagonals tie.
template <bool bRoundTie, class Samples>
KIVO_INLINE Colours<Samples> ColourBlock(const Samples &s, const Column &sAt, const GreenColumn &sGreens) {
  using Lanes = typename Samples::Lanes;
  constexpr size_t c_uiTwo = 2 * Samples::c_uiSampleBytes;
  const auto centre = s.Take(sAt.pucOwn);
  const auto green = Samples::Load(sGreens.pucOwn);
  const auto greenRight2 = Samples::Load(sGreens.pucOwn + c_uiTwo);
  const Lanes siteGreen = s.Even(green);
  const Lanes ownGreen = s.Odd(green);

  // Odd lanes of the rows above and below are the sites' diagonal neighbours to the right, those two columns
  // before are the ones to the left; the former are also the greens' vertical neighbours.
  const Lanes ne = s.Odd(s.Take(sAt.pucUp));
  const Lanes nw = s.Odd(s.Take(sAt.pucUp - c_uiTwo));
  const Lanes se = s.Odd(s.Take(sAt.pucDown));
  const Lanes sw = s.Odd(s.Take(sAt.pucDown - c_uiTwo));
  const Lanes greenNE = s.Odd(Samples::Load(sGreens.pucAbove));
  const Lanes greenNW = s.Odd(Samples::Load(sGreens.pucAbove - c_uiTwo));
  const Lanes greenSE = s.Odd(Samples::Load(sGreens.pucBelow));
  const Lanes greenSW = s.Odd(Samples::Load(sGreens.pucBelow - c_uiTwo));

  const Lanes laplaceNE = (siteGreen << 1) - greenNE - greenSW;
  const Lanes laplaceNW = (siteGreen << 1) - greenNW - greenSE;
  const Lanes gradientNE = Abs(laplaceNE) + Abs(ne - sw);
  const Lanes gradientNW = Abs(nw - se) + Abs(laplaceNW);
  const Lanes sumNE = ((ne + sw) << 1) + laplaceNE;
  const Lanes sumNW = ((nw + se) << 1) + laplaceNW;
  Lanes diagonal = s.Eighth(Calmer(gradientNE, sumNE, gradientNW, sumNW));
  if constexpr (bRoundTie) {
    const Lanes tie = s.RoundedTie(sumNE + sumNW);
    const Lanes notGreater = SelectGreater(gradientNE, gradientNW, diagonal, tie);
    diagonal = SelectGreater(gradientNW, gradientNE, diagonal, notGreater);
  }

  const Lanes vertical = (((ne + se + ownGreen) << 1) - greenNE - greenSE) >> 2;
  const Lanes left = s.Even(centre);
  const Lanes right = s.Even(s.Take(sAt.pucOwn + c_uiTwo));
  const Lanes horizontal = (((left + right + ownGreen) << 1) - siteGreen - s.Even(greenRight2)) >> 2;
  return {s.Merge(left, horizontal), green, s.Merge(diagonal, vertical)};
}

// The interior of an adaptive job: which columns are made here, and where the greens are kept.
template <class Samples, class Means>
struct Adaptive {
  const Samples &sSamples;
  const Means &sMeans;
  const Mosaic &s;
  size_t uiFirst, uiEnd;  // columns, both even

  KIVO_INLINE Adaptive(const Samples &samples, const Means &means, const Mosaic &mosaic)
      : sSamples(samples),
        sMeans(means),
        s(mosaic),
        uiFirst(mosaic.bLeftEdge ? 2 : c_uiAcpiApron),
        uiEnd(mosaic.uiWidth - (mosaic.bRightEdge ? 2 : c_uiAcpiApron)) {}

  // Where column x of row y is in the ring of greens.
  KIVO_INLINE uint8_t *Green(size_t y, size_t x) const {
    return s.psGreens->pucRows + (y & (GreenRing::c_uiRows - 1)) * s.psGreens->uiPitch +
           (GreenRing::c_uiLead + x) * Samples::c_uiSampleBytes;
  }
  KIVO_INLINE GreenColumn Greens(size_t y, size_t x) const {
    return {Green(y - 1, x), Green(y, x), Green(y + 1, x)};
  }
  KIVO_INLINE Column At(size_t y, size_t x) const {
    const size_t i = x * Samples::c_uiSampleBytes;
    return {s.Row(y - 2) + i, s.Row(y - 1) + i, s.Row(y) + i, s.Row(y + 1) + i, s.Row(y + 2) + i};
  }
};

// A mosaic narrower than a vector is read through a copy of the rows around the one being made.
template <class Samples>
struct NarrowCopy {
  uint8_t aauc[5][(Samples::c_uiBlock + 8) * Samples::c_uiSampleBytes] = {};

  // Stands for At(y, x).
  KIVO_INLINE Column Take(const Mosaic &s, size_t y, size_t x) {
    for (size_t i = 0; i < 5; ++i) {
      memcpy(aauc[i] + 2 * Samples::c_uiSampleBytes, s.Row(y + i - 2), s.uiWidth * Samples::c_uiSampleBytes);
    }
    const size_t uiAt = (2 + x) * Samples::c_uiSampleBytes;
    return {aauc[0] + uiAt, aauc[1] + uiAt, aauc[2] + uiAt, aauc[3] + uiAt, aauc[4] + uiAt};
  }
};

// Calls work(x) for vectors of columns x to uiEnd - 1, at least one vector of them and an even number, so
// that the overlapping last vector starts at the same kind of site.
template <size_t uiBlock, class Work>
KIVO_INLINE void ForVectors(size_t x, size_t uiEnd, const Work &work) {
  for (; uiEnd - x >= uiBlock; x += uiBlock) work(x);
  if (x < uiEnd) work(uiEnd - uiBlock);
}

// Green of any pixel but those of the outermost rows and columns, as a plain mean of its neighbours.
template <class Samples, class Means>
KIVO_INLINE void PlainGreen(const Adaptive<Samples, Means> &a, size_t y, size_t x) {
  const Mosaic &s = a.s;
  const Means &sMeans = a.sMeans;
  const uint8_t *const pucRow = s.Row(y);
  const uint32_t uiGreen = s.IsGreen(y, x) ? sMeans.At(pucRow, x)
                                           : (sMeans.At(pucRow, x - 1) + sMeans.At(pucRow, x + 1) +
                                              sMeans.At(s.Row(y - 1), x) + sMeans.At(s.Row(y + 1), x)) >>
                                                 2;
  memcpy(a.Green(y, x), &uiGreen, Samples::c_uiSampleBytes);
}

// Greens of row y for all columns that the colours look at: those made here, and two more on each side.
template <class Samples, class Means>
void MakeGreens(const Adaptive<Samples, Means> &a, size_t y) {
  const Mosaic &s = a.s;
  const size_t uiFirst = s.bLeftEdge ? 1 : a.uiFirst - 2;
  const size_t uiEnd = s.bRightEdge ? s.uiWidth - 1 : a.uiEnd + 2;
  if (y == 1 || y + 2 == s.uiHeight) {
    for (size_t x = uiFirst; x < uiEnd; ++x) PlainGreen(a, y, x);
    return;
  }
  // From site to site, which may take in one column more at either end.
  const size_t uiSite = s.IsGreen(y, uiFirst) ? uiFirst - 1 : uiFirst;
  const size_t uiPairsEnd = uiEnd + ((uiEnd - uiSite) & 1);
  if (uiPairsEnd - uiSite < Samples::c_uiBlock) {
    NarrowCopy<Samples> sCopy;
    Store(a.Green(y, uiSite), GreenBlock(a.sSamples, sCopy.Take(s, y, uiSite)));
  } else {
    ForVectors<Samples::c_uiBlock>(
        uiSite, uiPairsEnd, [&](size_t x) { Store(a.Green(y, x), GreenBlock(a.sSamples, a.At(y, x))); });
  }
  if (s.bLeftEdge) PlainGreen(a, y, 1);
  if (s.bRightEdge) PlainGreen(a, y, s.uiWidth - 2);
}

template <Output eOut, bool bStream, class Samples, class Vector = typename Samples::Vector>
KIVO_INLINE void StoreMade(const Samples &s, uint8_t *p, ptrdiff_t iPlanePitch, bool bRowColourFirst,
                           Vector row, Vector green, Vector other) {
  if constexpr (eOut == c_ePlanes) {
    Store(p + (bRowColourFirst ? 0 : 2 * iPlanePitch), row);
    Store(p + iPlanePitch, green);
    Store(p + (bRowColourFirst ? 2 * iPlanePitch : 0), other);
  } else {
    const U8 rowBytes = s.Reduce(row), otherBytes = s.Reduce(other);
    StorePixels<eOut, bStream>(p, bRowColourFirst ? rowBytes : otherBytes, s.Reduce(green),
                               bRowColourFirst ? otherBytes : rowBytes);
  }
}

struct SiteRange {
  size_t uiFirst, uiEnd;
};

// From site to site: where that takes in a column on either side, another part of the row or the border gives
// it the same or the right value in the end.
KIVO_INLINE SiteRange SitesOf(const Mosaic &s, size_t y, size_t uiFirst, size_t uiEnd) {
  const size_t uiSite = s.IsGreen(y, uiFirst) ? uiFirst - 1 : uiFirst;
  return {uiSite, uiEnd + ((uiEnd - uiSite) & 1)};
}

// Stores that bypass the caches need whole lines, and lines do not start where sites do. So the colours go
// through a few planes, a round of columns at a time: small, so that computing and streaming overlap. Columns
// after the last whole line of a round are made again in the next one.
template <Output eOut, bool bRoundTie, class Samples, class Means>
KIVO_INLINE void StreamRow(const Adaptive<Samples, Means> &a, size_t y) {
  constexpr size_t c_uiPixel = c_uiPixelStep<eOut>;
  constexpr size_t c_uiRound = 16 * c_uiVec;
  constexpr size_t c_uiPlane = c_uiRound + 4 * c_uiVec;
  constexpr size_t c_uiGroup = c_uiVec * c_uiPixel % c_uiLine != 0 ? c_uiLine / c_uiVec : 1;
  uint8_t aucRow[c_uiPlane], aucOther[c_uiPlane];
  uint8_t *const pucOut = a.s.Out(y);
  const bool bRowColourFirst = a.s.RowColourFirst(y);

  size_t x = a.uiFirst;  // the next column to store
  while (x < a.uiEnd) {
    size_t uiFirst = x - (x - a.uiFirst) % 2;
    const size_t uiEnd = a.uiEnd - uiFirst < c_uiRound ? a.uiEnd : uiFirst + c_uiRound;
    if (uiEnd - uiFirst < c_uiVec) uiFirst = uiEnd - c_uiVec;
    const size_t uiPlaneStart = uiFirst - 1;
    const SiteRange sRound = SitesOf(a.s, y, uiFirst, uiEnd);
    ForVectors<c_uiVec>(sRound.uiFirst, sRound.uiEnd, [&](size_t u) {
      const auto c = ColourBlock<bRoundTie>(a.sSamples, a.At(y, u), a.Greens(y, u));
      Store(aucRow + (u - uiPlaneStart), c.row);
      Store(aucOther + (u - uiPlaneStart), c.other);
    });
    const auto StoreAt = [&]<bool bStream>(uint8_t *p, size_t u) {
      StoreMade<eOut, bStream>(a.sSamples, p, 0, bRowColourFirst, Load<U8>(aucRow + (u - uiPlaneStart)),
                               Load<U8>(a.Green(y, u)), Load<U8>(aucOther + (u - uiPlaneStart)));
    };
    const auto Ordinary = [&](size_t uiStop) {
      while (x < uiStop) {
        uint8_t auc[c_uiVec * c_uiPixel];
        StoreAt.template operator()<false>(auc, x);
        const size_t n = uiStop - x < c_uiVec ? uiStop - x : c_uiVec;
        memcpy(pucOut + x * c_uiPixel, auc, n * c_uiPixel);
        x += n;
      }
    };
    size_t uiLine = x;
    while (uiLine < uiEnd && reinterpret_cast<uintptr_t>(pucOut + uiLine * c_uiPixel) % c_uiLine != 0)
      ++uiLine;
    Ordinary(uiLine);
    while (uiEnd - x >= c_uiGroup * c_uiVec) {
      for (size_t k = 0; k < c_uiGroup; ++k, x += c_uiVec)
        StoreAt.template operator()<true>(pucOut + x * c_uiPixel, x);
    }
    if (uiEnd == a.uiEnd) Ordinary(uiEnd);
  }
}

// The interior of row y, from the green rows around it.
template <Output eOut, bool bStream, bool bRoundTie, class Samples, class Means>
KIVO_INLINE void MakeRow(const Adaptive<Samples, Means> &a, size_t y) {
  constexpr size_t c_uiPixel = c_uiPixelStep<eOut>;
  const Mosaic &s = a.s;
  const bool bRowColourFirst = s.RowColourFirst(y);
  const SiteRange sAll = SitesOf(s, y, a.uiFirst, a.uiEnd);
  if (a.uiEnd - a.uiFirst < Samples::c_uiBlock) {
    NarrowCopy<Samples> sCopy;
    const auto c =
        ColourBlock<bRoundTie>(a.sSamples, sCopy.Take(s, y, sAll.uiFirst), a.Greens(y, sAll.uiFirst));
    uint8_t *const p = s.Out(y) + sAll.uiFirst * c_uiPixel;
    if constexpr (eOut == c_ePlanes) {
      StoreMade<eOut, false>(a.sSamples, p, s.iPlanePitch, bRowColourFirst, c.row, c.green, c.other);
    } else {
      uint8_t auc[Samples::c_uiBlock * c_uiPixel];
      StoreMade<eOut, false>(a.sSamples, auc, 0, bRowColourFirst, c.row, c.green, c.other);
      memcpy(p, auc, (sAll.uiEnd - sAll.uiFirst) * c_uiPixel);
    }
  } else if constexpr (bStream) {
    StreamRow<eOut, bRoundTie>(a, y);
  } else {
    ForVectors<Samples::c_uiBlock>(sAll.uiFirst, sAll.uiEnd, [&](size_t x) {
      const auto c = ColourBlock<bRoundTie>(a.sSamples, a.At(y, x), a.Greens(y, x));
      StoreMade<eOut, false>(a.sSamples, s.Out(y) + x * c_uiPixel, s.iPlanePitch, bRowColourFirst, c.row,
                             c.green, c.other);
    });
  }
}

// The first two and last two columns of an interior row, with what some orders do differently there, as the
// interface documents it:
//   GR, RG: the blue of the red pixel in the last (GR) or first (RG) column is the mean of the samples
//           above and below it, which are greens;
//   BG:     the green of the red pixel in the last column has its left neighbour in the mean too.
template <Output eOut, class Means>
void MakeRowBorders(const Means &sMeans, const Mosaic &s, size_t y) {
  const auto Inner = [&](size_t x) {
    const uint8_t *const pucRow = s.Row(y);
    const uint32_t uiCross = sMeans.At(pucRow, x - 1) + sMeans.At(pucRow, x + 1) +
                             sMeans.At(s.Row(y - 1), x) + sMeans.At(s.Row(y + 1), x);
    PlainPixel<eOut>(sMeans, s, y, x - 1, x, x + 1, sMeans.Reduce4(uiCross));
  };
  const auto GreensAsBlue = [&](size_t x) {
    const Channel<eOut> blue = sMeans.Reduce2(sMeans.At(s.Row(y - 1), x) + sMeans.At(s.Row(y + 1), x));
    uint8_t *const p = s.Out(y) + x * c_uiPixelStep<eOut>;
    const ptrdiff_t iLast = eOut == c_ePlanes ? 2 * s.iPlanePitch : 2;
    memcpy(s.bRedFirst ? p + iLast : p, &blue, sizeof blue);
  };
  const bool bRedRow = !s.IsBlueRow(y);
  if (s.bLeftEdge) {
    Inner(1);
    ColumnPixel<eOut>(sMeans, s, EdgeGreen::Along, y, 0, 1);
    if (bRedRow && s.eOrder == BayerOrder::RG) GreensAsBlue(0);
  }
  if (s.bRightEdge) {
    const size_t uiLast = s.uiWidth - 1;
    Inner(uiLast - 1);
    ColumnPixel<eOut>(sMeans, s, s.eOrder == BayerOrder::BG ? EdgeGreen::Three : EdgeGreen::Along, y, uiLast,
                      uiLast - 1);
    if (bRedRow && s.eOrder == BayerOrder::GR) GreensAsBlue(uiLast);
  }
}

template <Output eOut, bool bStream, class Samples, class Means>
void ConvertAdaptive(const Samples &sSamples, const Means &sMeans, const Mosaic &s) {
  const Adaptive<Samples, Means> a(sSamples, sMeans, s);
  for (size_t y = s.uiFirst; y < s.End(); ++y) {
    if (s.IsEdgeRow(y)) {
      ConvertEdgeRow<eOut, bStream>(sMeans, s, EdgeGreen::Along, y);
    } else if (y == 1 || y + 2 == s.uiHeight) {
      ConvertRows<eOut, bStream, 1>(sMeans, s, EdgeGreen::Along, y);
    } else {
      for (size_t uiGreen = s.psGreens->uiMade > y - 1 ? s.psGreens->uiMade : y - 1; uiGreen <= y + 1;
           ++uiGreen)
        MakeGreens(a, uiGreen);
      s.psGreens->uiMade = y + 2;
      if (s.eOrder == BayerOrder::RG && !s.IsBlueRow(y)) {
        MakeRow<eOut, bStream, true>(a, y);
      } else {
        MakeRow<eOut, bStream, false>(a, y);
      }
      MakeRowBorders<eOut>(sMeans, s, y);
    }
  }
}

}  // namespace
}  // namespace Kivo::KIVO_TARGET

#endif  // KIVO_KERNELS_ACPI_ROWS_H
