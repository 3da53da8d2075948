// SPDX-License-Identifier: Apache-2.0
// The scale and the gain of the colour chain against KivoFrame.h: what is subtracted for all samples and
// black levels, what is multiplied for all samples, factors and gains. Compiled once per target.
#include <stdio.h>

#include "kernels/colour_kernels.cpp"

namespace Kivo::KIVO_TARGET {
namespace {

constexpr uint32_t c_uiSamples = 32768;  // behind the scale

uint16_t s_ausMade[65536], s_ausWanted[65536];

// Both arrays' first n; says where they differ.
size_t Differences(const char *pszWhat, size_t n, unsigned uiA, unsigned uiB) {
  if (memcmp(s_ausMade, s_ausWanted, 2 * n) == 0) return 0;
  size_t uiWrong = 0;
  for (size_t i = 0; i < n; ++i) {
    if (s_ausMade[i] == s_ausWanted[i]) continue;
    if (uiWrong++ == 0)
      printf("%s %u %u of %zu: %u, not %u\n", pszWhat, uiA, uiB, i, s_ausMade[i], s_ausWanted[i]);
  }
  return uiWrong;
}

// made(v) for vectors of the numbers from 0 on.
template <class Made>
void ForAll(size_t n, Made made) {
  U16 v;
  for (size_t i = 0; i < c_uiWords; ++i) v[i] = static_cast<uint16_t>(i);
  for (size_t i = 0; i < n; i += c_uiWords, v += static_cast<uint16_t>(c_uiWords))
    Store(s_ausMade + i, made(v));
}

size_t CheckScale() {
  size_t uiWrong = 0;
  for (unsigned uiDepth = 8; uiDepth <= 16; ++uiDepth) {
    for (uint32_t s = 0; s < 65536; ++s) {
      const uint32_t uiTop = (1U << uiDepth) - 1;
      s_ausWanted[s] =
          static_cast<uint16_t>(uiDepth == 16 ? s / 2 : (s < uiTop ? s : uiTop) << (15 - uiDepth));
    }
    if (uiDepth == 16) {
      ForAll(65536, Scale<true>(uiDepth));
    } else {
      ForAll(65536, Scale<false>(uiDepth));
    }
    uiWrong += Differences("scale of depth", 65536, uiDepth, 0);
  }
  return uiWrong;
}

// With a gain that changes nothing but to halve, as 16383 is the most: d / 2 rounded up.
size_t CheckBlack(uint32_t uiStep) {
  size_t uiWrong = 0;
  for (uint32_t uiBlack = 0; uiBlack < c_uiSamples; uiBlack += uiStep) {
    const GainSite sSite = {static_cast<uint16_t>(uiBlack), static_cast<uint16_t>(c_uiSamples), 1, 16384};
    const SiteVectors sites(sSite, sSite);
    for (uint32_t t = 0; t < c_uiSamples; ++t) {
      const uint32_t uiHalf = ((t > uiBlack ? t - uiBlack : 0) + 1) / 2;
      s_ausWanted[t] = static_cast<uint16_t>(uiHalf < 16383 ? uiHalf : 16383);
    }
    ForAll(c_uiSamples, [&](U16 t) { return sites.Apply<true>(t); });
    uiWrong += Differences("black level", c_uiSamples, uiBlack, 0);
  }
  return uiWrong;
}

size_t CheckProducts(uint32_t uiStep) {
  size_t uiWrong = 0;
  for (unsigned e = 0; e < 16; ++e) {
    for (uint32_t uiGain = e == 0 ? 0 : 16384; uiGain < 32768; uiGain += uiStep) {
      const GainSite sSite = {0, static_cast<uint16_t>((32767U >> e) + 1), static_cast<uint16_t>(1U << e),
                              static_cast<uint16_t>(uiGain)};
      const SiteVectors sites(sSite, sSite);
      for (uint32_t t = 0; t < c_uiSamples; ++t) {
        const uint32_t uiX = t << e < 32768 ? t << e : 32768;
        const uint32_t uiY = (uiX * uiGain + 16384) / 32768;
        s_ausWanted[t] = static_cast<uint16_t>(uiY < 16383 ? uiY : 16383);
      }
      ForAll(c_uiSamples, [&](U16 t) { return sites.Apply<true>(t); });
      uiWrong += Differences("gain", c_uiSamples, e, uiGain);
      if (e != 0) continue;
      ForAll(c_uiSamples, [&](U16 t) { return sites.Apply<false>(t); });
      uiWrong += Differences("gain without a factor", c_uiSamples, e, uiGain);
    }
  }
  return uiWrong;
}

}  // namespace

// How many results are wrong, of every uiStep-th black level and gain.
size_t CheckGain(uint32_t uiStep);
size_t CheckGain(uint32_t uiStep) {
  return CheckScale() + CheckBlack(uiStep) + CheckProducts(uiStep);
}

}  // namespace Kivo::KIVO_TARGET
