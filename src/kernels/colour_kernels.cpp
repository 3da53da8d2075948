// SPDX-License-Identifier: Apache-2.0
// The links of the colour chain: black level and gain of samples, a matrix over three planes, and tone.
#include "kernels/blocks.h"
#include "kernels/matrix.h"

namespace Kivo::KIVO_TARGET {
namespace {

constexpr size_t c_uiWords = c_uiVec / 2;

// Samples to 15 bits. Those of 16 bits lose one.
template <bool bSixteen>
struct Scale {
  KIVO_INLINE explicit Scale(unsigned uiDepth)
      : usTop(static_cast<uint16_t>((1U << uiDepth) - 1)),
        top(Splat<U16>(usTop)),
        factor(Splat<U16>(bSixteen ? 1 : 1 << (15 - uiDepth))) {}

  KIVO_INLINE U16 operator()(U16 v) const {
    if constexpr (bSixteen) return v >> 1;
    return Lesser(v, top) * factor;
  }
  KIVO_INLINE uint32_t operator()(uint32_t ui) const {
    if constexpr (bSixteen) return ui >> 1;
    return (ui < usTop ? ui : usTop) * factor[0];
  }

  uint16_t usTop;
  U16 top, factor;
};

// The sites of a vector of words, the first lane being sample i.
struct SiteVectors {
  U16 black, most, factor, gain;

  // Two in turn.
  KIVO_INLINE SiteVectors(const GainSite &s0, const GainSite &s1)
      : black(InTurn(s0.usBlack, s1.usBlack)),
        most(InTurn(s0.usMost, s1.usMost)),
        factor(InTurn(s0.usFactor, s1.usFactor)),
        gain(InTurn(s0.usGain, s1.usGain)) {}
  KIVO_INLINE static U16 InTurn(uint16_t us0, uint16_t us1) {
    return reinterpret_cast<U16>(U32{} + (uint32_t{us1} << 16 | us0));
  }

  // Any number in turn.
  SiteVectors(const GainJob &s, size_t i) {
    uint16_t aaus[4][c_uiWords];
    size_t uiSite = i % s.uiSites;
    for (size_t k = 0; k < c_uiWords; ++k) {
      const GainSite &sSite = s.asSites[uiSite];
      aaus[0][k] = sSite.usBlack;
      aaus[1][k] = sSite.usMost;
      aaus[2][k] = sSite.usFactor;
      aaus[3][k] = sSite.usGain;
      uiSite = uiSite + 1 == s.uiSites ? 0 : uiSite + 1;
    }
    black = Load<U16>(aaus[0]);
    most = Load<U16>(aaus[1]);
    factor = Load<U16>(aaus[2]);
    gain = Load<U16>(aaus[3]);
  }

  // Without factors, only the gain takes part: t is below 32768. The multiplication is of signed words. What
  // has reached 32768 gives minus the gain, which without a sign is above what a sample may become.
  template <bool bFactors>
  KIVO_INLINE U16 Apply(U16 t) const {
    const U16 d = SubSat(t, black);
    const U16 x = bFactors ? Lesser(d, most) * factor : d;
    const U16 y = reinterpret_cast<U16>(MulHighRound(reinterpret_cast<I16>(x), reinterpret_cast<I16>(gain)));
    return Lesser(y, Splat<U16>(16383));
  }
};

KIVO_INLINE uint16_t ApplyOne(const GainSite &s, uint32_t uiT) {
  const uint32_t uiD = uiT > s.usBlack ? uiT - s.usBlack : 0;
  const uint32_t uiX = (uiD < s.usMost ? uiD : s.usMost) * s.usFactor;
  const uint32_t uiY = (uiX * s.usGain + 16384) >> 15;
  return static_cast<uint16_t>(uiY < 16383 ? uiY : 16383);
}

template <bool bSixteen, bool bFactors>
void GainWords(const GainJob &s) {
  const Scale<bSixteen> scale(s.uiDepth);
  if (s.n < c_uiWords) {
    for (size_t i = 0; i < s.n; ++i)
      s.pusDst[i] = ApplyOne(s.asSites[i % s.uiSites], scale(uint32_t{LoadWord(s.pucSrc + 2 * i)}));
    return;
  }
  const auto block = [&](const SiteVectors &sites, size_t i) {
    Store(s.pusDst + i, sites.template Apply<bFactors>(scale(Load<U16>(s.pucSrc + 2 * i))));
  };
  size_t i = 0;
  // The last vector overlaps the one before.
  const size_t uiLast = s.n - c_uiWords;
  if (s.uiSites == 2) {
    const SiteVectors sites(s.asSites[0], s.asSites[1]);
    for (; s.n - i >= c_uiWords; i += c_uiWords) block(sites, i);
    if (i < s.n) block({s.asSites[uiLast % 2], s.asSites[1 - uiLast % 2]}, uiLast);
  } else {
    const SiteVectors aSites[3] = {{s, 0}, {s, c_uiWords}, {s, 2 * c_uiWords}};
    for (unsigned k = 0; s.n - i >= c_uiWords; i += c_uiWords, k = k == 2 ? 0 : k + 1) block(aSites[k], i);
    if (i < s.n) block({s, uiLast}, uiLast);
  }
}

void GainBytes(const GainJob &s) {
  const Scale<false> scale(s.uiDepth);
  if (s.n < c_uiVec) {
    for (size_t i = 0; i < s.n; ++i)
      s.pusDst[i] = ApplyOne(s.asSites[i % s.uiSites], scale(uint32_t{s.pucSrc[i]}));
    return;
  }
  const auto block = [&](const SiteVectors &low, const SiteVectors &high, size_t i) {
    const WordPair v = Widen(Load<U8>(s.pucSrc + i));
    Store(s.pusDst + i, low.Apply<true>(scale(v.low)));
    Store(s.pusDst + i + c_uiWords, high.Apply<true>(scale(v.high)));
  };
  size_t i = 0;
  const size_t uiLast = s.n - c_uiVec;
  if (s.uiSites == 2) {
    const SiteVectors sites(s.asSites[0], s.asSites[1]);
    for (; s.n - i >= c_uiVec; i += c_uiVec) block(sites, sites, i);
    const SiteVectors last(s.asSites[uiLast % 2], s.asSites[1 - uiLast % 2]);
    if (i < s.n) block(last, last, uiLast);
  } else {
    const SiteVectors aSites[3] = {{s, 0}, {s, c_uiWords}, {s, 2 * c_uiWords}};
    for (unsigned k = 0; s.n - i >= c_uiVec; i += c_uiVec, k = k == 0 ? 2 : k - 1)
      block(aSites[k], aSites[k == 2 ? 0 : k + 1], i);
    if (i < s.n) block({s, uiLast}, {s, uiLast + c_uiWords}, uiLast);
  }
}

void GainOfWords(const GainJob &s) {
  bool bFactors = false;
  for (unsigned i = 0; i < s.uiSites; ++i) bFactors = bFactors || s.asSites[i].usFactor != 1;
  if (s.uiDepth == 16) return GainWords<true, true>(s);
  (bFactors ? GainWords<false, true> : GainWords<false, false>)(s);
}

template <unsigned uiUp>
void Mix(const MatrixJob &s) {
  const Mixer<uiUp> mixer(s.aasRows);
  for (size_t i = 0; i < s.n; i += c_uiWords) {
    mixer.template Mix<12>(
        Load<U16>(s.apusSrc[0] + i), Load<U16>(s.apusSrc[1] + i), Load<U16>(s.apusSrc[2] + i),
        [&](unsigned c, I32 low, I32 high) { Store(s.apusDst[c] + i, PackUnits(low, high)); });
  }
}

void Matrix(const MatrixJob &s) {
  (s.uiUp == 0 ? Mix<0> : Mix<1>)(s);
}

void Tone(const ToneJob &s) {
  if (s.pucBytes != nullptr) {
    for (size_t i = 0; i < s.n; ++i) s.pusDst[i] = s.pucBytes[s.pusSrc[i] << s.uiUp];
  } else if (s.pusWords != nullptr) {
    for (size_t i = 0; i < s.n; ++i) s.pusDst[i] = s.pusWords[s.pusSrc[i] << s.uiUp];
  } else {
    for (size_t i = 0; i < s.n; ++i) {
      const uint32_t uiU = uint32_t{s.pusSrc[i]} << s.uiUp;
      const uint32_t uiV = 2 * uiU + (uiU >> 13);
      s.pusDst[i] = static_cast<uint16_t>((uiV < 65535 ? uiV : 65535) >> s.uiDown);
    }
  }
}

}  // namespace

const ColourKernels c_sColourKernels = {GainBytes, GainOfWords, Matrix, Tone};

}  // namespace Kivo::KIVO_TARGET
