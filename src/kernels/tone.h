// SPDX-License-Identifier: Apache-2.0
// A curve of straight pieces over words, where the target looks things up: 62 pieces between knots that are
// 64 apart up to 1024, 256 up to 6144 and 1024 behind that. bUp: whether it may be one that shifts values
// first.
#ifndef KIVO_KERNELS_TONE_H
#define KIVO_KERNELS_TONE_H

#include "simd/frame_kernels.h"
#include "simd/vec_as.h"

namespace Kivo::KIVO_TARGET {
namespace {

// Whether pixels of bytes are made faster by a curve than by a look into a table, one word at a time.
#if defined(KIVO_TARGET_Avx2) || defined(KIVO_TARGET_Avx512)
constexpr bool c_bCurvesPay = true;
#else
constexpr bool c_bCurvesPay = false;
#endif

#ifdef KIVO_TARGET_Avx512

constexpr bool c_bCurvesByTwo = false;

// With w = 1024, 256 and 64 in the three ranges the product u w has in its upper word the number of the
// piece, but for what the ranges before have less or more of them, and in its lower word the way through the
// piece, in parts of 65536. Two tables of 32 are a vector each: the first 32 pieces, and the rest. Their
// number counts modulo 32; with 15 * 1024 added to u no two pieces of a table meet.
template <bool bUp>
class Curve {
 public:
  KIVO_INLINE explicit Curve(const ToneCurve &s)
      : m_factor(Load<U16>(c_sFactors.auc) << s.uiUp),
        m_added(Splat<U16>(c_iAdded >> s.uiUp)),
        m_last(Splat<I16>(c_iLast >> s.uiUp)),
        m_toThousands(Splat<U16>(64 << s.uiUp)) {
    for (unsigned i = 0; i < 2; ++i) {
      const uint16_t *const pus = i == 0 ? s.ausKnots : s.ausSteps;
      m_aaTables[i][0] = Lookup(Load<U16>(pus), c_sFirst);
      m_aaTables[i][1] = Lookup(Load<U16>(pus + 32), c_sSecond);
    }
  }

  KIVO_INLINE WordPair At(U16 low, U16 high) const { return {One(low), One(high)}; }
  KIVO_INLINE U16 One(U16 v) const {
    const auto second = IsGreater(reinterpret_cast<I16>(v), m_last);
    const U16 u = v + m_added;
    const U16 factor = Lookup(MulHigh(u, m_toThousands), m_factor);
    const U16 piece = MulHigh(u, factor);
    return Lookup(piece, m_aaTables[0], second) + MulHigh(u * factor, Lookup(piece, m_aaTables[1], second));
  }

 private:
  static constexpr int c_iAdded = 15 * 1024;
  static constexpr int c_iLast = 5119;  // of the first 32 pieces
  // By the thousand, in which 15 are added.
  static constexpr Table c_sFactors = MakeWordTable([](size_t i) -> size_t {
    const size_t uiThousand = (i + 32 - 15) % 32;
    return uiThousand < 1 ? 1024 : uiThousand < 6 ? 256 : 64;
  });
  // Where the pieces come from: 16 of the second range, then the 16 of the first; those of the third, from
  // the sixth thousand on, between which the last 4 of the second range are.
  static constexpr Table c_sFirst = MakeWordTable([](size_t i) { return i ^ 16; });
  static constexpr Table c_sSecond = MakeWordTable(
      [](size_t i) { return i >= 16 && i < 20 ? i - 16 : ((i + 32 - 15) % 32 + 32 - 6) % 32 + 4; });

  U16 m_aaTables[2][2];
  U16 m_factor, m_added;
  I16 m_last;
  U16 m_toThousands;
};

#else

constexpr bool c_bCurvesByTwo = true;  // what At() does for two vectors is half as much as One() twice

// A table of 64 bytes is four shuffles of 16, from whose numbers 0, 16, 32 and 48 are taken away: one gives 0
// below its first byte, and beyond its last one what is to be taken back by the next, see ToneCurve.
template <bool bUp>
class Curve {
 public:
  KIVO_INLINE explicit Curve(const ToneCurve &s) : m_s(s) {}

  KIVO_INLINE WordPair At(U16 low, U16 high) const {
    const U16 placeLow = Find(low), placeHigh = Find(high);
    const U8 piece = PackSatBy16(As<I16>(placeLow >> 10), As<I16>(placeHigh >> 10));
    const WordPair knots = ZipLanes(Bytes(piece, 0), Bytes(piece, 1));
    const WordPair steps = ZipLanes(Bytes(piece, 2), Bytes(piece, 3));
    return {knots.low + MulHigh(placeLow << 6, steps.low), knots.high + MulHigh(placeHigh << 6, steps.high)};
  }
  KIVO_INLINE U16 One(U16 v) const { return At(v, v).low; }

 private:
  // The number of the piece and the way through it, in 1024ths: 16 of them for each value up to 1024, 4 up to
  // 6144 and 1 behind that.
  KIVO_INLINE U16 Find(U16 v) const {
    const U16 u = bUp ? v << m_s.uiUp : v;
    const U16 both = Lesser(u, Splat<U16>(6144)) + (Lesser(u, Splat<U16>(1024)) << 2);
    return u + both + both + both;
  }
  // Byte uiByte of what is at a piece: those of the knots, then those of the steps.
  KIVO_INLINE U8 Bytes(U8 piece, unsigned uiByte) const {
    U8 v = LookupNear(piece, LoadLanes<0>(m_s.aaucBytes[uiByte]));
    for (size_t k = 1; k < 4; ++k)
      v ^= LookupNear(piece - static_cast<uint8_t>(16 * k), LoadLanes<0>(m_s.aaucBytes[uiByte] + 16 * k));
    return v;
  }

  const ToneCurve &m_s;
};

#endif

}  // namespace
}  // namespace Kivo::KIVO_TARGET

#endif  // KIVO_KERNELS_TONE_H
