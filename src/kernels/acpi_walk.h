// SPDX-License-Identifier: Apache-2.0
// The adaptive demosaic where there are registers enough: blocks of columns walk down the image, and what a
// row needs of the rows around it stays in registers. The rules are those of acpi_rows.h.
//
// A block has c_uiVec columns from an even one on, as a vector of lanes for the sites of a row and one for
// its greens; rows of one kind have their sites at the block's even columns, those of the other kind at its
// odd ones. With Q = 2 site - green, a direction's sum is Y = 2 g + Q1 + Q2 and a mean of two differences is
// (2 g + Q1 + Q2) >> 2. Both neighbours of a row, above and below, see its sites at the very lane and one
// further on, or one before: so each row keeps its values moved by a lane the one way or the other.
//
// The first and the last column of a block lack a neighbour. So blocks overlap by two columns: the step is
// that much smaller, and each block stores from its second column on: two pixels too many, which the next one
// or the border puts right. Stores bypass no cache: to fetch the lines early that they go to gains as much.
//
// The text is written over a Samples type:
//   c_uiSampleBytes, Split         bytes of a sample; a block of a row as lanes
//   Lane                           which lane has columns 2 k and 2 k + 1
//   Eighth, Clamp                  greens of sites from twice a direction's sum; clamped, and packed with the
//                                  row's other greens
//   Own, Quarter, Diagonal, Tie    what is stored of a sample, of two means' sum, and of the sums of
//   diagonals Pack                           these for sites and for greens to bytes, clamped
#ifndef KIVO_KERNELS_ACPI_WALK_H
#define KIVO_KERNELS_ACPI_WALK_H

#include "kernels/acpi_rows.h"

namespace Kivo::KIVO_TARGET {
namespace {

// Samples of a row of a block at its even and at its odd columns.
struct Halves {
  I16 even, odd;
};

// Which columns of a block are inside the mosaic, and for which of its lanes greens are plain means.
struct BlockEdges {
  size_t x, uiWidth;
  uint32_t uiPlainEven, uiPlainOdd;  // rows with sites at even columns, at odd columns

  // The columns from x + iOffset on, as bits.
  KIVO_INLINE uint64_t Inside(int iOffset) const {
    const ptrdiff_t iFirst = static_cast<ptrdiff_t>(x) + iOffset;
    const ptrdiff_t iLeft = static_cast<ptrdiff_t>(uiWidth) - iFirst;
    const uint64_t uiBelowEnd = iLeft >= 64 ? ~uint64_t{0} : iLeft <= 0 ? 0 : (uint64_t{1} << iLeft) - 1;
    return iFirst < 0 ? uiBelowEnd & ~uint64_t{0} << -iFirst : uiBelowEnd;
  }
};

struct WalkRow {
  I16 site, other;
  I16 green, q;                          // at sites
  I16 siteBeside, greenBeside, qBeside;  // of the site after, in rows with sites at odd columns before
  U8 greens;                             // of the whole row
};

// Where the bytes of columns are that Pack made of sites and greens, counted from the block's second column.
template <class Samples, bool bOdd>
struct PackedAt {
  static constexpr size_t Byte(size_t uiPixel) {
    const size_t uiColumn = (uiPixel + 1) % c_uiVec;
    const size_t uiLane = Samples::Lane(uiColumn / 2);
    return uiLane / 8 * 16 + uiLane % 8 + ((uiColumn % 2 != 0) == bOdd ? 0 : 8);
  }
};

// Rows that blocks walk down before the next columns are begun, and how far ahead in them memory is asked
// for, which is a new line in every row of a walk. Few enough rows that those lines wait in the first-level
// cache.
constexpr size_t c_uiWalkRows = 32;
constexpr size_t c_uiAhead = 128;

// bEvenFirst: rows with sites at even columns have the colour that is stored first. bRoundTie: they have
// those red sites that the RG order rounds differently.
template <Output eOut, bool bEvenFirst, bool bRoundTie, class Samples>
struct Walk {
  static constexpr size_t c_uiPixel = PixelBytes(eOut);
  static constexpr size_t c_uiStep = c_uiVec - 2;

  const Samples &sSamples;
  const Mosaic &s;

  template <bool bEdge>
  KIVO_INLINE Halves Take(const BlockEdges &e, size_t y, int iOffset) const {
    const uint8_t *const p =
        s.Row(y) + (static_cast<ptrdiff_t>(e.x) + iOffset) * static_cast<ptrdiff_t>(Samples::c_uiSampleBytes);
    if constexpr (bEdge) return sSamples.Split(p, e.Inside(iOffset));
    return sSamples.Split(p);
  }

  // A row as far as its own samples tell.
  template <bool bOdd, bool bEdge>
  KIVO_INLINE void Read(const BlockEdges &e, size_t y, WalkRow &sRow) const {
    const Halves v = Take<bEdge>(e, y < s.uiHeight ? y : y - 2, 0);
    sRow.site = bOdd ? v.odd : v.even;
    sRow.other = bOdd ? v.even : v.odd;
  }

  // Its greens, from the greens above and below and the sites two rows off.
  template <bool bOdd, bool bEdge>
  KIVO_INLINE void AddGreens(const BlockEdges &e, size_t y, WalkRow &sRow, const WalkRow &sUp2,
                             const WalkRow &sUp, const WalkRow &sDown, const WalkRow &sDown2) const {
    const Halves before = Take<bEdge>(e, y, -2), after = Take<bEdge>(e, y, 2);
    const I16 siteLeft = bOdd ? before.odd : before.even, siteRight = bOdd ? after.odd : after.even;
    const I16 left = bOdd ? sRow.other : before.odd, right = bOdd ? after.even : sRow.other;
    const I16 twice = sRow.site + sRow.site;
    const I16 laplaceV = twice - sUp2.site - sDown2.site;
    const I16 laplaceH = twice - siteLeft - siteRight;
    const I16 vertical = sUp.other + sDown.other, horizontal = left + right;
    const I16 gradientV = Abs(laplaceV) + Abs(sUp.other - sDown.other);
    const I16 gradientH = Abs(laplaceH) + Abs(left - right);
    I16 green = sSamples.Eighth(
        Calmer(gradientV, vertical + vertical + laplaceV, gradientH, horizontal + horizontal + laplaceH));
    const bool bPlainRow = y == 1 || y + 2 == s.uiHeight;
    const uint32_t uiPlain = bPlainRow ? ~uint32_t{0} : bOdd ? e.uiPlainOdd : e.uiPlainEven;
    if (bPlainRow || bEdge) green = SelectLanes(uiPlain, (vertical + horizontal) >> 2, green);
    sRow.green = green;
    sRow.greens = sSamples.Clamp(sRow.green, sRow.other);
    sRow.q = twice - sRow.green;
    sRow.siteBeside = bOdd ? siteLeft : siteRight;
    sRow.greenBeside = Beside<bOdd>(sRow.green);
    sRow.qBeside = Beside<bOdd>(sRow.q);
  }

  template <bool bOdd>
  KIVO_INLINE static I16 Beside(I16 v) {
    static constexpr Table c_s = MakeWordTable([](size_t uiLane) {
      size_t k = 0;
      while (Samples::Lane(k) != uiLane) ++k;
      return Samples::Lane((k + (bOdd ? c_uiVec / 2 - 1 : 1)) % (c_uiVec / 2));
    });
    return reinterpret_cast<I16>(Lookup(reinterpret_cast<U16>(v), c_s));
  }

  template <bool bOdd>
  KIVO_INLINE Joined<c_uiPixel> Pixels(const WalkRow &sRow, const WalkRow &sAbove,
                                       const WalkRow &sBelow) const {
    const I16 twice = sRow.green + sRow.green;
    const I16 laplace1 = twice - sAbove.green - sBelow.greenBeside;
    const I16 laplace2 = twice - sAbove.greenBeside - sBelow.green;
    const I16 gradient1 = Abs(laplace1) + Abs(sAbove.site - sBelow.siteBeside);
    const I16 gradient2 = Abs(laplace2) + Abs(sAbove.siteBeside - sBelow.site);
    const I16 sum1 = twice + sAbove.q + sBelow.qBeside;
    const I16 sum2 = twice + sAbove.qBeside + sBelow.q;
    I16 diagonal = sSamples.Diagonal(Calmer(gradient1, sum1, gradient2, sum2));
    if constexpr (bRoundTie && !bOdd)
      diagonal = SelectEqual(gradient1, gradient2, sSamples.Tie(sum1 + sum2), diagonal);
    const I16 own = sRow.other + sRow.other;
    const U8 rowColour =
        sSamples.Pack(sSamples.Own(sRow.site), sSamples.Quarter(own + sRow.q + sRow.qBeside));
    const U8 otherColour = sSamples.Pack(diagonal, sSamples.Quarter(own + sAbove.q + sBelow.q));
    const U8 first = bEvenFirst != bOdd ? rowColour : otherColour;
    const U8 last = bEvenFirst != bOdd ? otherColour : rowColour;
    using Place = PackedAt<Samples, bOdd>;
    if constexpr (eOut == c_eBGRA) {
      return JoinBGRA<Place>(first, sRow.greens, last);
    } else {
      return JoinBGR<Place>(first, sRow.greens, last);
    }
  }

  // Rows y - 1 to y + 2 around the row y that is made next; row y + 3 is read for it.
  struct State {
    WalkRow sAbove, sRow, sBelow, sBelow2;
  };

  template <bool bOdd, bool bEdge>
  KIVO_INLINE void Step(const BlockEdges &e, size_t y, State &v, uint8_t *pucDst) const {
    WalkRow sBelow3;
    Read<!bOdd, bEdge>(e, y + 3, sBelow3);
    AddGreens<!bOdd, bEdge>(e, y + 1, v.sBelow, v.sAbove, v.sRow, v.sBelow2, sBelow3);
    uint8_t *const p = pucDst + (e.x + 1) * c_uiPixel;
    const uint8_t *const pucAhead = s.Row(y + 3) + (e.x + c_uiAhead) * Samples::c_uiSampleBytes;
    for (size_t k = 0; k < Samples::c_uiSampleBytes; ++k) Prefetch(pucAhead + k * c_uiLine);
    for (size_t k = 0; k < c_uiPixel; ++k) Prefetch(p + c_uiAhead * c_uiPixel + k * c_uiLine);
    const Joined<c_uiPixel> sPixels = Pixels<bOdd>(v.sRow, v.sAbove, v.sBelow);
    if constexpr (bEdge) {
      StoreSome(p, sPixels, (e.uiWidth - e.x - 1) * c_uiPixel);
    } else {
      StoreJoined<false>(p, sPixels);
    }
    v = {v.sRow, v.sBelow, v.sBelow2, sBelow3};
  }

  template <bool bOdd, bool bEdge>
  KIVO_INLINE void Start(const BlockEdges &e, size_t y, State &v) const {
    WalkRow sAbove3, sAbove2;
    Read<!bOdd, bEdge>(e, y == 2 ? 1 : y - 3, sAbove3);
    Read<bOdd, bEdge>(e, y - 2, sAbove2);
    Read<!bOdd, bEdge>(e, y - 1, v.sAbove);
    Read<bOdd, bEdge>(e, y, v.sRow);
    Read<!bOdd, bEdge>(e, y + 1, v.sBelow);
    Read<bOdd, bEdge>(e, y + 2, v.sBelow2);
    AddGreens<!bOdd, bEdge>(e, y - 1, v.sAbove, sAbove3, sAbove2, v.sRow, v.sBelow);
    AddGreens<bOdd, bEdge>(e, y, v.sRow, sAbove2, v.sAbove, v.sBelow, v.sBelow2);
  }

  // Rows y to uiEnd - 1 of one block.
  template <bool bEdge>
  void Block(const BlockEdges &e, size_t y, size_t uiEnd, uint8_t *pucDst, ptrdiff_t iPitch) const {
    State v;
    bool bOdd = s.IsGreen(y, 0);
    if (bOdd) {
      Start<true, bEdge>(e, y, v);
    } else {
      Start<false, bEdge>(e, y, v);
    }
    while (true) {
      if (!bOdd) {
        Step<false, bEdge>(e, y, v, pucDst);
        pucDst += iPitch;
        if (++y == uiEnd) return;
      }
      bOdd = false;
      Step<true, bEdge>(e, y, v, pucDst);
      pucDst += iPitch;
      if (++y == uiEnd) return;
    }
  }

  void BlockAt(size_t x, size_t y, size_t uiEnd, uint8_t *pucDst, ptrdiff_t iPitch) const {
    BlockEdges e = {x, s.uiWidth, 0, 0};
    if (x >= 2 && x + c_uiVec + 2 <= s.uiWidth) return Block<false>(e, y, uiEnd, pucDst, iPitch);
    if (s.bLeftEdge && x == 0) e.uiPlainOdd = uint32_t{1} << Samples::Lane(0);
    const size_t uiLast = s.uiWidth - 2 - x;
    if (s.bRightEdge && uiLast < c_uiVec) e.uiPlainEven = uint32_t{1} << Samples::Lane(uiLast / 2);
    Block<true>(e, y, uiEnd, pucDst, iPitch);
  }

  // Rows y to uiEnd - 1 of the interior.
  void Rows(size_t y, size_t uiEnd) const {
    // The first column that is made is the second of a block, and the last is the last but one of another.
    const size_t uiFirst = s.bLeftEdge ? 0 : c_uiAcpiApron - 2;
    const size_t uiSecondLast = s.uiWidth - (s.bRightEdge ? 2 : c_uiAcpiApron);
    const size_t uiLast = uiSecondLast < uiFirst + c_uiStep ? uiFirst : uiSecondLast - c_uiStep;
    for (size_t x = uiFirst;;) {
      BlockAt(x, y, uiEnd, s.Out(y), s.iDstPitch);
      if (x == uiLast) return;
      x = uiLast - x < c_uiStep ? uiLast : x + c_uiStep;
    }
  }
};

template <Output eOut, bool bEvenFirst, bool bRoundTie, class Samples>
void WalkRows(const Samples &sSamples, const Mosaic &s, size_t y, size_t uiEnd) {
  const Walk<eOut, bEvenFirst, bRoundTie, Samples> sWalk = {sSamples, s};
  while (y < uiEnd) {
    const size_t uiNext = uiEnd - y < c_uiWalkRows ? uiEnd : y + c_uiWalkRows;
    sWalk.Rows(y, uiNext);
    y = uiNext;
  }
}

// The whole job.
template <Output eOut, class Samples, class Means>
void ConvertWalking(const Samples &sSamples, const Means &sMeans, const Mosaic &s) {
  const size_t uiFirst = s.uiFirst < 2 ? 2 : s.uiFirst;
  const size_t uiEnd = s.End() + 2 > s.uiHeight ? s.uiHeight - 2 : s.End();
  if (uiFirst < uiEnd) {
    const bool bEvenFirst = s.RowColourFirst(s.IsGreen(0, 0) ? 1 : 0);
    if (s.eOrder == BayerOrder::RG) {
      (bEvenFirst ? WalkRows<eOut, true, true, Samples>
                  : WalkRows<eOut, false, true, Samples>)(sSamples, s, uiFirst, uiEnd);
    } else {
      (bEvenFirst ? WalkRows<eOut, true, false, Samples>
                  : WalkRows<eOut, false, false, Samples>)(sSamples, s, uiFirst, uiEnd);
    }
  }
  for (size_t y = s.uiFirst; y < s.End(); ++y) {
    if (s.IsEdgeRow(y)) {
      ConvertEdgeRow<eOut, false>(sMeans, s, EdgeGreen::Along, y);
    } else if (y == 1 || y + 2 == s.uiHeight) {
      ConvertRows<eOut, false, 1>(sMeans, s, EdgeGreen::Along, y);
    } else {
      MakeRowBorders<eOut>(sMeans, s, y);
    }
  }
}

}  // namespace
}  // namespace Kivo::KIVO_TARGET

#endif  // KIVO_KERNELS_ACPI_WALK_H
