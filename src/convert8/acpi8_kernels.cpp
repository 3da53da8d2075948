// SPDX-License-Identifier: Apache-2.0
// Adaptive colour plane interpolation of 8-bit mosaics (Hamilton and Adams). Green at a red or blue site is
// taken along the direction in which the image changes least; red and blue then follow green as colour
// differences, at red and blue sites along the calmer diagonal. Rows and columns 0, 1 and the last two are
// plain means.
//
// All sums fit signed 16-bit lanes. A vector of bytes is split by column parity into two vectors of words,
// and it starts at a red or blue site, so that even lanes are the sites and odd lanes the greens. For the two
// samples a, b of a direction and its Laplacian L let
//
//   Y = 2 (a + b) + L
//
// All three cases of choosing a direction are then (Y1 + Y2) >> 3, with both Y from the calmer direction, or
// one from each on a tie, since 2 Y >> 3 is Y >> 2. One pass: a ring of three rows holds the green plane
// around the row being made.
#include "convert8/bayer8_means.h"

namespace Kivo::KIVO_TARGET {
namespace {

KIVO_INLINE I16 EvenLanes(U8 v) {
  return reinterpret_cast<I16>(reinterpret_cast<U16>(v) & 0xFF);
}
KIVO_INLINE I16 OddLanes(U8 v) {
  return reinterpret_cast<I16>(reinterpret_cast<U16>(v) >> 8);
}

// 8 times the value along the direction of the smaller gradient; along both, if they are equal.
KIVO_INLINE I16 Calmer(I16 gradient1, I16 y1, I16 gradient2, I16 y2) {
  return SelectGreater(gradient1, gradient2, y2, y1) + SelectGreater(gradient2, gradient1, y1, y2);
}

// The greens of a vector that starts at a red or blue site; p points there, iPitch is a source row.
KIVO_INLINE U8 GreenBlock(const uint8_t *p, ptrdiff_t iPitch) {
  const U8 centre = Load<U8>(p);
  const I16 own2 = EvenLanes(centre) << 1;
  const I16 left = OddLanes(Load<U8>(p - 2));
  const I16 right = OddLanes(centre);
  const I16 up = EvenLanes(Load<U8>(p - iPitch));
  const I16 down = EvenLanes(Load<U8>(p + iPitch));
  const I16 laplaceV = own2 - EvenLanes(Load<U8>(p - 2 * iPitch)) - EvenLanes(Load<U8>(p + 2 * iPitch));
  const I16 laplaceH = own2 - EvenLanes(Load<U8>(p - 2)) - EvenLanes(Load<U8>(p + 2));
  const I16 gradientV = Abs(laplaceV) + Abs(up - down);
  const I16 gradientH = Abs(left - right) + Abs(laplaceH);
  const I16 sumV = ((up + down) << 1) + laplaceV;
  const I16 sumH = ((left + right) << 1) + laplaceH;
  return MergeSat(Calmer(gradientV, sumV, gradientH, sumH) >> 3, right);
}

// Pointers to one column of the green rows above, of, and below the row being made.
struct GreenRows {
  const uint8_t *pucAbove, *pucOwn, *pucBelow;
};

struct Colours {
  U8 row;  // the colour of the row's red or blue sites
  U8 green;
  U8 other;  // the third colour
};

// The pixels of a vector that starts at a red or blue site. bRoundTie: the rule of the RG order for its red
// sites when the diagonals tie.
template <bool bRoundTie>
KIVO_INLINE Colours ColourBlock(const uint8_t *p, ptrdiff_t iPitch, const GreenRows &s) {
  const U8 centre = Load<U8>(p);
  const U8 green = Load<U8>(s.pucOwn);
  const U8 greenRight2 = Load<U8>(s.pucOwn + 2);
  const I16 siteGreen = EvenLanes(green);
  const I16 ownGreen = OddLanes(green);

  // Odd lanes of the rows above and below are the sites' diagonal neighbours to the right, those two columns
  // before are the ones to the left; the former are also the greens' vertical neighbours.
  const I16 ne = OddLanes(Load<U8>(p - iPitch));
  const I16 nw = OddLanes(Load<U8>(p - iPitch - 2));
  const I16 se = OddLanes(Load<U8>(p + iPitch));
  const I16 sw = OddLanes(Load<U8>(p + iPitch - 2));
  const I16 greenNE = OddLanes(Load<U8>(s.pucAbove));
  const I16 greenNW = OddLanes(Load<U8>(s.pucAbove - 2));
  const I16 greenSE = OddLanes(Load<U8>(s.pucBelow));
  const I16 greenSW = OddLanes(Load<U8>(s.pucBelow - 2));

  const I16 laplaceNE = (siteGreen << 1) - greenNE - greenSW;
  const I16 laplaceNW = (siteGreen << 1) - greenNW - greenSE;
  const I16 gradientNE = Abs(laplaceNE) + Abs(ne - sw);
  const I16 gradientNW = Abs(nw - se) + Abs(laplaceNW);
  const I16 sumNE = ((ne + sw) << 1) + laplaceNE;
  const I16 sumNW = ((nw + se) << 1) + laplaceNW;
  I16 diagonal = Calmer(gradientNE, sumNE, gradientNW, sumNW) >> 3;
  if constexpr (bRoundTie) {
    // Half up, truncated toward zero, low byte kept: a tie outside 0..255 wraps.
    const I16 sum = sumNE + sumNW + 4;
    const I16 tie = ((sum + ((sum >> 15) & 7)) >> 3) & 0xFF;
    const I16 notGreater = SelectGreater(gradientNE, gradientNW, diagonal, tie);
    diagonal = SelectGreater(gradientNW, gradientNE, diagonal, notGreater);
  }

  const I16 vertical = (((ne + se + ownGreen) << 1) - greenNE - greenSE) >> 2;
  const I16 left = EvenLanes(centre);
  const I16 right = EvenLanes(Load<U8>(p + 2));
  const I16 horizontal = (((left + right + ownGreen) << 1) - siteGreen - EvenLanes(greenRight2)) >> 2;
  return {MergeSat(left, horizontal), green, MergeSat(diagonal, vertical)};
}

// Interior columns are done in strips whose green rows fit the first-level cache. Even, to keep the column
// parity.
constexpr size_t c_uiStrip = 8192;
// A green row starts this many columns before its strip, and may be stored one vector past it.
constexpr size_t c_uiLead = 4;
constexpr size_t c_uiGreenRow = c_uiLead + c_uiStrip + 4 + c_uiVec;

// A mosaic narrower than a vector is read through a copy of the rows around the one being made.
constexpr size_t c_uiCopyPitch = c_uiVec + 8;
struct NarrowCopy {
  uint8_t auc[5][c_uiCopyPitch];

  // Stands for p: where column x of row y is in the copy.
  KIVO_INLINE const uint8_t *Take(const Mosaic &s, size_t y, size_t x) {
    memset(auc, 0, sizeof auc);
    for (size_t i = 0; i < 5; ++i) memcpy(auc[i] + 2, s.Row(y + i - 2), s.uiWidth);
    return auc[2] + 2 + x;
  }
};

// Columns uiFirst to uiEnd - 1 of the interior, both even.
struct Strip {
  size_t uiFirst, uiEnd;

  // Where column x is in a green row of this strip.
  KIVO_INLINE uint8_t *Green(uint8_t *pucGreenRow, size_t x) const {
    return pucGreenRow + (c_uiLead + x - uiFirst);
  }
};

// Calls work(x) for vectors that cover columns x to uiEnd - 1, at least one vector of them and an even
// number, so that the overlapping last vector starts at the same kind of site.
template <class Work>
KIVO_INLINE void ForVectors(size_t x, size_t uiEnd, const Work &work) {
  for (; uiEnd - x >= c_uiVec; x += c_uiVec) work(x);
  if (x < uiEnd) work(uiEnd - c_uiVec);
}

constexpr ByteMeans c_sMeans;

// Green of any pixel but those of the outermost rows and columns, as a plain mean of its neighbours.
KIVO_INLINE uint8_t PlainGreen(const Mosaic &s, size_t y, size_t x) {
  const uint8_t *const p = s.Row(y) + x;
  return s.IsGreen(y, x) ? *p
                         : c_sMeans.Reduce4(uint32_t{p[-1]} + p[1] + *(p - s.uiSrcPitch) + p[s.uiSrcPitch]);
}

// Greens of row y for all columns that the strip looks at: its own, and two more on each side inside the
// mosaic.
void MakeGreens(const Mosaic &s, const Strip &sStrip, size_t y, uint8_t *pucGreenRow) {
  const bool bLeft = sStrip.uiFirst == 2;
  const bool bRight = sStrip.uiEnd + 2 == s.uiWidth;
  const size_t uiFirst = bLeft ? 1 : sStrip.uiFirst - 2;
  const size_t uiEnd = bRight ? s.uiWidth - 1 : sStrip.uiEnd + 2;
  if (y == 1 || y + 2 == s.uiHeight) {
    for (size_t x = uiFirst; x < uiEnd; ++x) *sStrip.Green(pucGreenRow, x) = PlainGreen(s, y, x);
    return;
  }
  // From site to site, which may take in one column more at either end.
  const size_t uiSite = s.IsGreen(y, uiFirst) ? uiFirst - 1 : uiFirst;
  const size_t uiPairsEnd = uiEnd + ((uiEnd - uiSite) & 1);
  if (uiPairsEnd - uiSite < c_uiVec) {
    NarrowCopy sCopy;
    Store(sStrip.Green(pucGreenRow, uiSite), GreenBlock(sCopy.Take(s, y, uiSite), c_uiCopyPitch));
  } else {
    const auto iPitch = static_cast<ptrdiff_t>(s.uiSrcPitch);
    ForVectors(uiSite, uiPairsEnd,
               [&](size_t x) { Store(sStrip.Green(pucGreenRow, x), GreenBlock(s.Row(y) + x, iPitch)); });
  }
  if (bLeft) *sStrip.Green(pucGreenRow, 1) = PlainGreen(s, y, 1);
  if (bRight) *sStrip.Green(pucGreenRow, s.uiWidth - 2) = PlainGreen(s, y, s.uiWidth - 2);
}

template <Output eOut, bool bStream>
KIVO_INLINE void StoreColours(uint8_t *p, bool bBlueRow, const Colours &c) {
  if (bBlueRow) {
    StorePixels<eOut, bStream>(p, c.row, c.green, c.other);
  } else {
    StorePixels<eOut, bStream>(p, c.other, c.green, c.row);
  }
}

// The interior of row y within the strip, from the green rows around it.
template <Output eOut, bool bStream, bool bRoundTie>
class RowMaker {
 public:
  KIVO_INLINE RowMaker(const Mosaic &s, const Strip &sStrip, size_t y, uint8_t *const *apucGreen)
      : m_s(s),
        m_sStrip(sStrip),
        m_y(y),
        m_apucGreen(apucGreen),
        m_bBlueRow(s.IsBlueRow(y)),
        m_pucOut(s.Out(y)) {}

  KIVO_INLINE void Make() const {
    const Range sAll = SiteRange(m_sStrip.uiFirst, m_sStrip.uiEnd);
    if (m_sStrip.uiEnd - m_sStrip.uiFirst < c_uiVec) {
      MakeNarrow(sAll);
    } else if constexpr (bStream) {
      MakeStreaming();
    } else {
      ForVectors(sAll.uiFirst, sAll.uiEnd, [&](size_t x) {
        StoreColours<eOut, false>(m_pucOut + x * c_uiPixel, m_bBlueRow, Block(x));
      });
    }
  }

 private:
  struct Range {
    size_t uiFirst, uiEnd;
  };
  static constexpr size_t c_uiPixel = PixelBytes(eOut);

  // From site to site: where that takes in a column on either side, another strip or the border gives it the
  // same or the right value in the end.
  KIVO_INLINE Range SiteRange(size_t uiFirst, size_t uiEnd) const {
    const size_t uiSite = m_s.IsGreen(m_y, uiFirst) ? uiFirst - 1 : uiFirst;
    return {uiSite, uiEnd + ((uiEnd - uiSite) & 1)};
  }

  KIVO_INLINE GreenRows Greens(size_t x) const {
    return {m_sStrip.Green(m_apucGreen[0], x), m_sStrip.Green(m_apucGreen[1], x),
            m_sStrip.Green(m_apucGreen[2], x)};
  }

  KIVO_INLINE Colours Block(size_t x) const {
    return ColourBlock<bRoundTie>(m_s.Row(m_y) + x, static_cast<ptrdiff_t>(m_s.uiSrcPitch), Greens(x));
  }

  void MakeNarrow(const Range &sAll) const {
    NarrowCopy sCopy;
    uint8_t auc[c_uiVec * c_uiPixel];
    StoreColours<eOut, false>(
        auc, m_bBlueRow,
        ColourBlock<bRoundTie>(sCopy.Take(m_s, m_y, sAll.uiFirst), c_uiCopyPitch, Greens(sAll.uiFirst)));
    memcpy(m_pucOut + sAll.uiFirst * c_uiPixel, auc, (sAll.uiEnd - sAll.uiFirst) * c_uiPixel);
  }

  // Stores that bypass the caches need whole lines, and lines do not start where sites do. So the colours go
  // through a few planes, a round of columns at a time: small, so that computing and streaming overlap.
  // Columns after the last whole line of a round are made again in the next one.
  KIVO_INLINE void MakeStreaming() const {
    constexpr size_t c_uiRound = 16 * c_uiVec;
    constexpr size_t c_uiPlane = c_uiRound + 4 * c_uiVec;
    constexpr size_t c_uiGroup = c_uiVec * c_uiPixel % c_uiLine != 0 ? c_uiLine / c_uiVec : 1;
    uint8_t aucRow[c_uiPlane], aucOther[c_uiPlane];

    size_t x = m_sStrip.uiFirst;  // the next column to store
    while (x < m_sStrip.uiEnd) {
      size_t uiFirst = x - (x - m_sStrip.uiFirst) % 2;
      const size_t uiEnd = m_sStrip.uiEnd - uiFirst < c_uiRound ? m_sStrip.uiEnd : uiFirst + c_uiRound;
      if (uiEnd - uiFirst < c_uiVec) uiFirst = uiEnd - c_uiVec;
      const size_t uiPlaneStart = uiFirst - 1;
      const Range sRound = SiteRange(uiFirst, uiEnd);
      ForVectors(sRound.uiFirst, sRound.uiEnd, [&](size_t u) {
        const Colours c = Block(u);
        Store(aucRow + (u - uiPlaneStart), c.row);
        Store(aucOther + (u - uiPlaneStart), c.other);
      });
      const auto At = [&](size_t u) {
        return Colours{Load<U8>(aucRow + (u - uiPlaneStart)), Load<U8>(m_sStrip.Green(m_apucGreen[1], u)),
                       Load<U8>(aucOther + (u - uiPlaneStart))};
      };
      const auto Ordinary = [&](size_t uiStop) {
        while (x < uiStop) {
          uint8_t auc[c_uiVec * c_uiPixel];
          StoreColours<eOut, false>(auc, m_bBlueRow, At(x));
          const size_t n = uiStop - x < c_uiVec ? uiStop - x : c_uiVec;
          memcpy(m_pucOut + x * c_uiPixel, auc, n * c_uiPixel);
          x += n;
        }
      };
      size_t uiLine = x;
      while (uiLine < uiEnd && reinterpret_cast<uintptr_t>(m_pucOut + uiLine * c_uiPixel) % c_uiLine != 0)
        ++uiLine;
      Ordinary(uiLine);
      while (uiEnd - x >= c_uiGroup * c_uiVec) {
        for (size_t k = 0; k < c_uiGroup; ++k, x += c_uiVec) {
          StoreColours<eOut, true>(m_pucOut + x * c_uiPixel, m_bBlueRow, At(x));
        }
      }
      if (uiEnd == m_sStrip.uiEnd) Ordinary(uiEnd);
    }
  }

  const Mosaic &m_s;
  const Strip &m_sStrip;
  const size_t m_y;
  uint8_t *const *const m_apucGreen;
  const bool m_bBlueRow;
  uint8_t *const m_pucOut;
};

template <Output eOut, bool bStream>
void MakeStrip(const Mosaic &s, const Strip &sStrip) {
  uint8_t aucRing[3][c_uiGreenRow] = {};
  uint8_t *apucGreen[3] = {aucRing[0], aucRing[1], aucRing[2]};
  MakeGreens(s, sStrip, 1, apucGreen[0]);
  MakeGreens(s, sStrip, 2, apucGreen[1]);
  for (size_t y = 2; y + 2 < s.uiHeight; ++y) {
    MakeGreens(s, sStrip, y + 1, apucGreen[2]);
    if (s.eOrder == BayerOrder::RG && !s.IsBlueRow(y)) {
      RowMaker<eOut, bStream, true>(s, sStrip, y, apucGreen).Make();
    } else {
      RowMaker<eOut, bStream, false>(s, sStrip, y, apucGreen).Make();
    }
    uint8_t *const pucOldest = apucGreen[0];
    apucGreen[0] = apucGreen[1];
    apucGreen[1] = apucGreen[2];
    apucGreen[2] = pucOldest;
  }
}

// The first two and last two columns of an interior row, with what the members do differently there, kept as
// decisions of this library:
//   GR, RG: the blue of the red pixel in the last (GR) or first (RG) column is the mean of the samples
//           above and below it, which are greens;
//   BG:     the green of the red pixel in the last column has its left neighbour in the mean too.
template <Output eOut>
void MakeRowBorders(const Mosaic &s, size_t y) {
  const uint8_t *const apucRows[3] = {s.Row(y - 1), s.Row(y), s.Row(y + 1)};
  const size_t uiLast = s.uiWidth - 1;
  const bool bBlueRow = s.IsBlueRow(y);
  const size_t auiInner[] = {1, uiLast - 1};
  for (const size_t x : auiInner) {
    PlainPixel<eOut>(c_sMeans, s.Out(y) + x * PixelBytes(eOut), s.IsGreen(y, x), bBlueRow, apucRows, x - 1, x,
                     x + 1, PlainGreen(s, y, x));
  }
  const EdgeGreen eLastGreen = s.eOrder == BayerOrder::BG ? EdgeGreen::Three : EdgeGreen::Along;
  ColumnPixel<eOut>(c_sMeans, s, EdgeGreen::Along, y, apucRows, 0, 1);
  ColumnPixel<eOut>(c_sMeans, s, eLastGreen, y, apucRows, uiLast, uiLast - 1);
  if (!bBlueRow && (s.eOrder == BayerOrder::GR || s.eOrder == BayerOrder::RG)) {
    const size_t x = s.eOrder == BayerOrder::GR ? uiLast : 0;
    s.Out(y)[x * PixelBytes(eOut)] = c_sMeans.Reduce2(uint32_t{apucRows[0][x]} + apucRows[2][x]);
  }
}

template <Output eOut, bool bStream>
void ConvertAdaptive(const Mosaic &s) {
  // The BG member to BGRA leaves the red byte of pixel (1, width - 1) as the caller had it: a decision of
  // this library.
  uint8_t *const pucKept = s.Out(1) + (s.uiWidth - 1) * PixelBytes(eOut) + 2;
  const uint8_t ucKept = *pucKept;
  ConvertEdgeRow<eOut, bStream>(c_sMeans, s, EdgeGreen::Along, 0);
  ConvertRows<eOut, bStream, 1>(c_sMeans, s, EdgeGreen::Along, 1);
  ConvertRows<eOut, bStream, 1>(c_sMeans, s, EdgeGreen::Along, s.uiHeight - 2);
  ConvertEdgeRow<eOut, bStream>(c_sMeans, s, EdgeGreen::Along, s.uiHeight - 1);
  if (eOut == c_eBGRA && s.eOrder == BayerOrder::BG) *pucKept = ucKept;

  const size_t uiInteriorEnd = s.uiWidth - 2;
  for (size_t x = 2; x < uiInteriorEnd; x += c_uiStrip) {
    Strip sStrip = {x, uiInteriorEnd - x < c_uiStrip ? uiInteriorEnd : x + c_uiStrip};
    // A last strip below one vector starts earlier; what it repeats comes out the same.
    if (x != 2 && sStrip.uiEnd - x < c_uiVec) sStrip.uiFirst = sStrip.uiEnd - c_uiVec;
    MakeStrip<eOut, bStream>(s, sStrip);
  }
  for (size_t y = 2; y + 2 < s.uiHeight; ++y) MakeRowBorders<eOut>(s, y);
  if constexpr (bStream) StreamFence();
}

template <Output eOut>
void Acpi8(uint8_t *pucDst, const uint8_t *pucSrc, size_t uiWidth, size_t uiHeight, BayerOrder eOrder,
           bool bStream) {
  const Mosaic s = MakeMosaic<eOut, ByteMeans>(pucDst, pucSrc, uiWidth, uiHeight, eOrder);
  if (bStream) {
    ConvertAdaptive<eOut, true>(s);
  } else {
    ConvertAdaptive<eOut, false>(s);
  }
}

}  // namespace

const Acpi8Kernels c_sAcpi8Kernels = {{Acpi8<c_eBGRA>, Acpi8<c_eBGR>}};

}  // namespace Kivo::KIVO_TARGET
