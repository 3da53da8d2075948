// SPDX-License-Identifier: Apache-2.0
// Pixels of bytes in colour from the gained samples of a mosaic: demosaic, matrix and tone in one pass, in
// registers.
//
// Twice the means of samples of 14 bits are words below 32768. On its way to a pixel a channel becomes a word
// whose upper byte counts. Rows are done in pairs, the first of which has its green samples at even columns:
// so every blend is known to the compiler. Which of red and blue the first row of a pair has, and comes first
// in a pixel, is settled by exchanging both ends of the matrix and of the pixel.
#include "kernels/blocks.h"
#include "kernels/matrix.h"
#include "kernels/mosaic.h"
#include "kernels/tone.h"

namespace Kivo::KIVO_TARGET {
namespace {

constexpr size_t c_uiWords = c_uiVec / 2;

enum class ToneOf { Linear, Curve, Table };

template <ToneOf eTone>
struct ToneState {
  KIVO_INLINE explicit ToneState(const FinishJob &) {}
};
template <>
struct ToneState<ToneOf::Curve> {
  KIVO_INLINE explicit ToneState(const FinishJob &s) : curve(*s.psCurve) {}
  Curve<false> curve;
};

// What becomes of the three words of a place.
template <Output eOut, ToneOf eTone, bool bMatrix>
class Finish {
 public:
  // BGR fills vectors when there are bytes for three of them, and some curves take two of words.
  static constexpr size_t c_uiVectors =
      eOut == c_eBGRA && (eTone != ToneOf::Curve || !c_bCurvesByTwo) ? 1 : 2;
  static constexpr size_t c_uiBlock = c_uiVectors * c_uiWords;
  static constexpr size_t c_uiBlockBytes = c_uiBlock * PixelBytes(eOut);

  // Whether it takes values twice as large, whose lowest bit does not matter.
  static constexpr bool c_bTwice = eTone == ToneOf::Linear && !bMatrix;

  struct Words {
    U16 a[c_uiVectors];
  };

  KIVO_INLINE Finish(const FinishJob &s, bool bExchange)
      : m_s(s), m_bExchange(bExchange), m_tone(s), m_mixer(Ends(s, bExchange)) {}

  KIVO_INLINE void Store(uint8_t *p, bool bStream, Words first, Words green, Words last) const {
    if constexpr (bMatrix) {
      for (size_t i = 0; i < c_uiVectors; ++i) Mix(first.a[i], green.a[i], last.a[i]);
    }
    if constexpr (eTone == ToneOf::Table) {
      m_bExchange ? StoreEntries(p, bStream, last, green, first)
                  : StoreEntries(p, bStream, first, green, last);
    } else {
      first = Upper(first);
      green = Upper(green);
      last = Upper(last);
      if (bStream) {
        m_bExchange ? StoreUpper<true>(p, last, green, first) : StoreUpper<true>(p, first, green, last);
      } else {
        m_bExchange ? StoreUpper<false>(p, last, green, first) : StoreUpper<false>(p, first, green, last);
      }
    }
  }

 private:
  KIVO_INLINE static Mixer<0> Ends(const FinishJob &s, bool bExchange) {
    int16_t aas[3][3] = {};
    for (unsigned y = 0; bMatrix && y < 3; ++y)
      for (unsigned x = 0; x < 3; ++x) aas[y][x] = bExchange ? s.pasRows[2 - y][2 - x] : s.pasRows[y][x];
    return Mixer<0>(aas);
  }

  KIVO_INLINE void Mix(U16 &first, U16 &green, U16 &last) const {
    U16 *const ap[3] = {&first, &green, &last};
    if constexpr (eTone == ToneOf::Linear) {
      m_mixer.template Mix<11>(first, green, last,
                               [&](unsigned c, I32 low, I32 high) { *ap[c] = PackWordsLanes(low, high); });
    } else {
      m_mixer.template Mix<12>(first, green, last,
                               [&](unsigned c, I32 low, I32 high) { *ap[c] = PackUnits(low, high); });
    }
  }
  KIVO_INLINE Words Upper(Words s) const {
    if constexpr (eTone == ToneOf::Curve && c_uiVectors == 2) {
      const WordPair v = m_tone.curve.At(s.a[0], s.a[1]);
      return {{v.low, v.high}};
    } else if constexpr (eTone == ToneOf::Curve) {
      return {{m_tone.curve.One(s.a[0])}};
    } else {
      return s;
    }
  }

  template <bool bStream>
  KIVO_INLINE static void StoreUpper(uint8_t *p, const Words &b, const Words &g, const Words &r) {
    if constexpr (eOut == c_eBGRA) {
      for (size_t i = 0; i < c_uiVectors; ++i)
        StoreUpperBGRA<bStream>(p + i * 2 * c_uiVec, b.a[i], g.a[i], r.a[i]);
    } else {
      StoreBGR<bStream>(p, PackHigh(b.a[0], b.a[1]), PackHigh(g.a[0], g.a[1]), PackHigh(r.a[0], r.a[1]));
    }
  }

  KIVO_INLINE void StoreEntries(uint8_t *p, bool bStream, const Words &b, const Words &g,
                                const Words &r) const {
    alignas(c_uiVec) uint16_t aaus[3][c_uiBlock];
    const Words *const aps[3] = {&b, &g, &r};
    for (size_t c = 0; c < 3; ++c)
      for (size_t i = 0; i < c_uiVectors; ++i) {
        // Columns behind the last one may be anything.
        const U16 entries = aps[c]->a[i] & Splat<U16>(static_cast<int>(c_uiToneEntries) - 1);
        KIVO_TARGET::Store(aaus[c] + i * c_uiWords, entries);
      }
    const uint8_t *const puc = m_s.pucTable;
    if (!bStream) {
      Entries(p, aaus, puc);
      return;
    }
    alignas(c_uiVec) uint8_t auc[c_uiBlockBytes];
    Entries(auc, aaus, puc);
    for (size_t i = 0; i < c_uiBlockBytes; i += c_uiVec) Stream(p + i, Load<U8>(auc + i));
  }
  KIVO_INLINE static void Entries(uint8_t *p, const uint16_t (&aaus)[3][c_uiBlock], const uint8_t *puc) {
    for (size_t i = 0; i < c_uiBlock; ++i) {
      if constexpr (eOut == c_eBGRA) {
        const uint32_t ui =
            0xFF000000 | uint32_t{puc[aaus[2][i]]} << 16 | uint32_t{puc[aaus[1][i]]} << 8 | puc[aaus[0][i]];
        memcpy(p + 4 * i, &ui, 4);
      } else {
        for (size_t c = 0; c < 3; ++c) p[3 * i + c] = puc[aaus[c][i]];
      }
    }
  }

  const FinishJob &m_s;
  bool m_bExchange;
  ToneState<eTone> m_tone;
  Mixer<0> m_mixer;
};

// A row's samples, and of each the sum of those to its left and right.
template <class Words>
struct RowSums {
  Words own, h;
};
template <class Words>
KIVO_INLINE RowSums<Words> LoadRow(const uint8_t *p) {
  RowSums<Words> s;
  for (size_t i = 0; i < sizeof(Words) / c_uiVec; ++i, p += c_uiVec) {
    s.own.a[i] = Load<U16>(p);
    s.h.a[i] = Pin(Load<U16>(p - 2)) + Pin(Load<U16>(p + 2));
  }
  return s;
}

template <class F>
class Walk {
 public:
  KIVO_INLINE Walk(const Mosaic &s, const FinishJob &sFinish, bool bExchange, bool bStream)
      : m_s(s), m_sFinish(sFinish), m_f(sFinish, bExchange), m_bExchange(bExchange), m_bStream(bStream) {}

  void Make() const {
    for (size_t y = m_s.uiFirst; y < m_s.End();) {
      const bool bPairs = m_s.IsGreen(y, 0) && !m_s.IsEdgeRow(y);
      const size_t uiRows = (m_s.uiHeight - y <= m_s.End() - y ? m_s.uiHeight - 1 : m_s.End()) - y;
      if (bPairs && uiRows >= 2) {
        Pairs(y, uiRows >= 4 ? 4 : 2);
        y += uiRows >= 4 ? 4 : 2;
      } else {
        Single(y++);
      }
    }
  }

  // Pixels in front of the first line.
  KIVO_INLINE static size_t PixelsToLine(const uint8_t *p) {
    size_t n = 0;
    while (n < c_uiLine && reinterpret_cast<uintptr_t>(p + n * c_uiPixel) % c_uiLine != 0) ++n;
    return n;
  }

 private:
  using Words = typename F::Words;
  static constexpr size_t c_uiBlock = F::c_uiBlock;
  static constexpr size_t c_uiPixel = F::c_uiBlockBytes / c_uiBlock;
  static constexpr unsigned c_uiMostRows = 4;

  void Pairs(size_t y, unsigned uiRows) const {
    const uint8_t *apuc[c_uiMostRows + 2];
    for (unsigned i = 0; i < uiRows + 2; ++i) apuc[i] = m_s.Row(y + i - 1);
    uint8_t *const pucDst = m_s.Out(y);
    const size_t uiLine = m_bStream ? PixelsToLine(pucDst) : 0;
    size_t uiAhead = 0;
    for (size_t x = 0; x < m_s.uiWidth;) {
      if (x >= uiAhead) {
        m_s.PrefetchAhead(y, uiRows, uiAhead);
        uiAhead += Mosaic::c_uiAhead;
      }
      const size_t uiLeft = (x < uiLine && uiLine < m_s.uiWidth ? uiLine : m_s.uiWidth) - x;
      if (uiLeft >= c_uiBlock) {
        Block(apuc, uiRows, x, pucDst + x * c_uiPixel, m_s.iDstPitch, m_bStream && x >= uiLine);
        x += c_uiBlock;
      } else {
        uint8_t aauc[c_uiMostRows][F::c_uiBlockBytes];
        Block(apuc, uiRows, x, aauc[0], F::c_uiBlockBytes, false);
        for (unsigned i = 0; i < uiRows; ++i)
          memcpy(m_s.Out(y + i) + x * c_uiPixel, aauc[i], uiLeft * c_uiPixel);
        x += uiLeft;
      }
    }
  }

  KIVO_INLINE void Block(const uint8_t *const *apuc, unsigned uiRows, size_t x, uint8_t *pucDst,
                         ptrdiff_t iPitch, bool bStream) const {
    using Row = RowSums<Words>;
    const auto load = [&](unsigned i) { return LoadRow<Words>(apuc[i] + 2 * x); };
    Row above = load(0), row = load(1);
    for (unsigned i = 0; i < uiRows; i += 2) {
      const Row next = load(i + 2), below = load(i + 3);
      Words rowColour, green, other;
      Demosaic<true>(above, row, next, rowColour, green, other);
      m_f.Store(pucDst, bStream, rowColour, green, other);
      pucDst += iPitch;
      Demosaic<false>(row, next, below, rowColour, green, other);
      m_f.Store(pucDst, bStream, other, green, rowColour);
      pucDst += iPitch;
      above = next;
      row = below;
    }
  }

  // bGreen: even lanes are green.
  template <bool bGreen>
  KIVO_INLINE static void Demosaic(const RowSums<Words> &above, const RowSums<Words> &row,
                                   const RowSums<Words> &below, Words &rowColour, Words &green,
                                   Words &other) {
    for (size_t i = 0; i < F::c_uiVectors; ++i) {
      const U16 v = above.own.a[i] + below.own.a[i];
      const U16 own = One(row.own.a[i]);
      green.a[i] = Alternate<bGreen>(own, Four(v + row.h.a[i]));
      rowColour.a[i] = Alternate<bGreen>(Two(row.h.a[i]), own);
      other.a[i] = Alternate<bGreen>(Two(v), Four(above.h.a[i] + below.h.a[i]));
    }
  }

  // Doubled means of so many samples from their sum, or what is twice as large, but for the lowest bit.
  KIVO_INLINE static U16 One(U16 v) { return F::c_bTwice ? v << 2 : v + v; }
  KIVO_INLINE static U16 Two(U16 v) { return F::c_bTwice ? v + v : v; }
  KIVO_INLINE static U16 Four(U16 v) { return F::c_bTwice ? v : v >> 1; }

  // A row that has no other to go with, or is the first or the last.
  void Single(size_t y) const {
    const bool bFirst = m_s.RowColourFirst(y) != m_bExchange;
    const Parity parity = MakeParity(m_s.IsGreen(y, 0));
    for (size_t x = 0; x < m_s.uiWidth; x += c_uiBlock) {
      const RowSums<Words> above = LoadRow<Words>(m_s.RowAbove(y) + 2 * x);
      const RowSums<Words> row = LoadRow<Words>(m_s.Row(y) + 2 * x);
      const RowSums<Words> below = LoadRow<Words>(m_s.RowBelow(y) + 2 * x);
      Words rowColour, green, other;
      for (size_t i = 0; i < F::c_uiVectors; ++i) {
        const U16 v = above.own.a[i] + below.own.a[i];
        const U16 own = One(row.own.a[i]), h = row.h.a[i];
        const U16 cross = m_s.IsEdgeRow(y) ? EdgeCross(x + i * c_uiWords, v, h) : Four(v + h);
        green.a[i] = Select(parity, own, cross);
        rowColour.a[i] = Select(parity, Two(h), own);
        other.a[i] = Select(parity, Two(v), Four(above.h.a[i] + below.h.a[i]));
      }
      alignas(c_uiLine) uint8_t auc[F::c_uiBlockBytes];
      m_f.Store(auc, false, bFirst ? rowColour : other, green, bFirst ? other : rowColour);
      const size_t n = m_s.uiWidth - x < c_uiBlock ? m_s.uiWidth - x : c_uiBlock;
      memcpy(m_s.Out(y) + x * c_uiPixel, auc, n * c_uiPixel);
    }
  }

  // In the first and the last row, where one row stands in for two, the cross has three samples; in the
  // corners those that there are count twice.
  U16 EdgeCross(size_t x, U16 v, U16 h) const {
    const U16 two = (v + h) >> 1;
    U16 three = MulHigh(h + (v >> 1), Splat<U16>(43691));  // two thirds
    if (m_s.bLeftEdge && x == 0) three[0] = two[0];
    if (m_s.bRightEdge && m_s.uiWidth - 1 - x < c_uiWords)
      three[m_s.uiWidth - 1 - x] = two[m_s.uiWidth - 1 - x];
    return F::c_bTwice ? three + three : three;
  }

  const Mosaic &m_s;
  const FinishJob &m_sFinish;
  const F m_f;
  bool m_bExchange, m_bStream;
};

template <Output eOut, ToneOf eTone, bool bMatrix>
void MakeWith(const Mosaic &s, const FinishJob &sFinish) {
  using W = Walk<Finish<eOut, eTone, bMatrix>>;
  // Rows reach their lines together or not at all, at a column where the mosaic begins anew.
  const size_t uiLine = W::PixelsToLine(s.pucDst);
  const bool bStream = s.bStream && s.iDstPitch % static_cast<ptrdiff_t>(c_uiLine) == 0 &&
                       uiLine < c_uiLine && uiLine % 2 == 0;
  W(s, sFinish, !s.RowColourFirst(s.IsGreen(0, 0) ? 0 : 1), bStream).Make();
}

template <Output eOut, ToneOf eTone>
void MakeToned(const Mosaic &s, const FinishJob &sFinish) {
  (sFinish.pasRows != nullptr ? MakeWith<eOut, eTone, true> : MakeWith<eOut, eTone, false>)(s, sFinish);
}

template <Output eOut>
void Coloured(const MosaicJob &sJob, const FinishJob &sFinish) {
  const Mosaic s(sJob);
  if (sFinish.pucTable == nullptr) return MakeToned<eOut, ToneOf::Linear>(s, sFinish);
  if constexpr (c_bCurvesPay) {
    if (sFinish.psCurve != nullptr) return MakeToned<eOut, ToneOf::Curve>(s, sFinish);
  }
  MakeToned<eOut, ToneOf::Table>(s, sFinish);
}

}  // namespace

const ColouredMosaicKernels c_sColouredMosaicKernels = {{Coloured<c_eBGRA>, Coloured<c_eBGR>}};

}  // namespace Kivo::KIVO_TARGET
