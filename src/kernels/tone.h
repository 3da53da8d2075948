// SPDX-License-Identifier: Apache-2.0
// A curve of straight pieces over words, where the target looks things up: 62 pieces between knots that are
// 64 apart up to 1024, 256 up to 6144 and 1024 behind that.
//
// With w = 1024, 256 and 64 in the three ranges the product u w has in its upper word the number of the
// piece, but for what the ranges before have less or more of them, and in its lower word the way through the
// piece, in parts of 65536.
#ifndef KIVO_KERNELS_TONE_H
#define KIVO_KERNELS_TONE_H

#include "simd/frame_kernels.h"
#include "simd/vec.h"

namespace Kivo::KIVO_TARGET {
namespace {

#ifdef KIVO_TARGET_Avx512

// A table of 64 words is two vectors.
class Curve {
 public:
  KIVO_INLINE explicit Curve(const ToneCurve &s)
      : m_aKnots{Load<U16>(s.ausKnots), Load<U16>(s.ausKnots + 32)},
        m_aSteps{Load<U16>(s.ausSteps), Load<U16>(s.ausSteps + 32)},
        m_factor(Load<U16>(c_sFactors.auc) << s.uiUp),
        m_offset(Load<U16>(c_sOffsets.auc)),
        m_toThousands(Splat<U16>(10 - s.uiUp)) {}

  KIVO_INLINE WordPair At(U16 low, U16 high) const { return {One(low), One(high)}; }
  KIVO_INLINE U16 One(U16 v) const {
    const U16 thousand = v >> m_toThousands;
    const U16 factor = Lookup(thousand, m_factor);
    const U16 piece = MulHigh(v, factor) + Lookup(thousand, m_offset);
    return Lookup(piece, m_aKnots) + MulHigh(v * factor, Lookup(piece, m_aSteps));
  }

 private:
  static constexpr Table c_sFactors = MakeWordTable([](size_t i) -> size_t {
    return i < 1 ? 1024 : i < 6 ? 256 : 64;
  });
  static constexpr Table c_sOffsets = MakeWordTable([](size_t i) -> size_t {
    return i < 1 ? 0 : i < 6 ? 12 : 30;
  });

  U16 m_aKnots[2], m_aSteps[2];
  U16 m_factor, m_offset;
  U16 m_toThousands;
};

#else

// A table of 64 bytes is four shuffles, of which each gives 0 where another one knows better.
class Curve {
 public:
  KIVO_INLINE explicit Curve(const ToneCurve &s) : m_s(s) {}

  KIVO_INLINE WordPair At(U16 low, U16 high) const {
    const Place sLow = Find(low), sHigh = Find(high);
    const U8 piece = PackLowLanes(sLow.piece, sHigh.piece);
    U8 aNear[4];
    for (unsigned k = 0; k < 4; ++k) aNear[k] = piece ^ static_cast<uint8_t>(16 * k);
    const WordPair knots = ZipLanes(Bytes(aNear, 0), Bytes(aNear, 1));
    const WordPair steps = ZipLanes(Bytes(aNear, 2), Bytes(aNear, 3));
    return {knots.low + MulHigh(sLow.way, steps.low), knots.high + MulHigh(sHigh.way, steps.high)};
  }
  KIVO_INLINE U16 One(U16 v) const { return At(v, v).low; }

 private:
  struct Place {
    U16 piece, way;
  };

  KIVO_INLINE Place Find(U16 v) const {
    const U16 u = v << m_s.uiUp;
    const U16 second = reinterpret_cast<U16>(reinterpret_cast<I16>(u) > 1023);
    const U16 third = reinterpret_cast<U16>(reinterpret_cast<I16>(u) > 6143);
    const U16 factor = 1024 - (second & 768) - (third & 192);
    return {MulHigh(u, factor) + (second & 12) + (third & 18), u * factor};
  }
  // Byte uiByte of what is at a piece: those of the knots, then those of the steps.
  KIVO_INLINE U8 Bytes(const U8 (&aNear)[4], unsigned uiByte) const {
    U8 v{};
    for (size_t k = 0; k < 4; ++k) v |= LookupNear(aNear[k], LoadLanes<0>(m_s.aaucBytes[uiByte] + 16 * k));
    return v;
  }

  const ToneCurve &m_s;
};

#endif

}  // namespace
}  // namespace Kivo::KIVO_TARGET

#endif  // KIVO_KERNELS_TONE_H
