// SPDX-License-Identifier: Apache-2.0
// Rows are like their neighbours, so the bytes of a frame correlate with those one row on, and two, and
// three, whatever their format is. The correlation at all distances at once is the transform of the
// spectrum's power.
#include "guess/row_period.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <complex>
#include <numbers>

namespace Kivo::Guess {
namespace {

// Bytes that are looked at: a few rows of the widest frame, some hundred of a usual one.
constexpr std::size_t c_uiWindow = std::size_t{1} << 19;
constexpr std::size_t c_uiShortest = 16;

using Complex = std::complex<float>;

// In place, of a power of two of values.
void Transform(std::vector<Complex> &as) {
  const std::size_t n = as.size();
  for (std::size_t i = 1, j = 0; i < n; ++i) {
    std::size_t uiBit = n >> 1;
    for (; (j & uiBit) != 0; uiBit >>= 1) j ^= uiBit;
    j ^= uiBit;
    if (i < j) std::swap(as[i], as[j]);
  }
  std::vector<Complex> asTurns(n / 2);
  for (std::size_t i = 0; i < n / 2; ++i) {
    const double d = -2 * std::numbers::pi * static_cast<double>(i) / static_cast<double>(n);
    asTurns[i] = {static_cast<float>(std::cos(d)), static_cast<float>(std::sin(d))};
  }
  for (std::size_t uiHalf = 1; uiHalf < n; uiHalf *= 2) {
    const std::size_t uiStep = n / (2 * uiHalf);
    for (std::size_t i = 0; i < n; i += 2 * uiHalf) {
      for (std::size_t k = 0; k < uiHalf; ++k) {
        const Complex a = as[i + k], b = as[i + k + uiHalf], t = asTurns[k * uiStep];
        const Complex c = {b.real() * t.real() - b.imag() * t.imag(),
                           b.real() * t.imag() + b.imag() * t.real()};
        as[i + k] = a + c;
        as[i + k + uiHalf] = a - c;
      }
    }
  }
}

// Bytes minus those of the same colour and place in a group a few pixels before: 12 bytes for groups of 1, 2,
// 3, 4 and 6 bytes, 35 for those of 5 and 7. Both in one transform, as real and imaginary part.
std::vector<float> Correlations(const File &sFile) {
  const std::size_t n = std::min(sFile.uiHead, c_uiWindow);
  const std::uint8_t *const puc = sFile.puc + (sFile.uiHead - n) / 2;
  std::vector<Complex> as(std::bit_ceil(2 * n));
  for (std::size_t i = 35; i < n; ++i)
    as[i] = {static_cast<float>(puc[i] - puc[i - 12]), static_cast<float>(puc[i] - puc[i - 35])};
  Transform(as);
  for (Complex &s : as) s = std::norm(s);
  Transform(as);  // of a real and even sequence: forth is back
  std::vector<float> af(n / 2);
  const float fAll = as[0].real();
  for (std::size_t i = 0; i < af.size() && fAll > 0; ++i)
    af[i] = as[i].real() / fAll * static_cast<float>(n) / static_cast<float>(n - i);
  return af;
}

}  // namespace

std::vector<std::uint64_t> RowPeriods(const File &sFile, std::size_t uiMost) {
  const std::vector<float> af = Correlations(sFile);
  const std::size_t n = af.size();
  constexpr std::size_t c_uiAround = 24;
  if (n < c_uiShortest + 2 * c_uiAround) return {};
  // A row and two rows together; what the surroundings have too is not due to rows.
  std::vector<float> afBoth(n);
  for (std::size_t i = 0; i < n; ++i) afBoth[i] = af[i] + (2 * i < n ? af[2 * i] : 0);
  struct Peak {
    float fHeight;
    std::uint64_t uiAt;
  };
  std::vector<Peak> asPeaks;
  for (std::size_t i = c_uiShortest; i + 2 < n; ++i) {
    const float f = afBoth[i];
    if (f < afBoth[i - 1] || f < afBoth[i - 2] || f <= afBoth[i + 1] || f <= afBoth[i + 2] || f <= 0)
      continue;
    const std::size_t uiFrom = i - std::min(i, c_uiAround), uiTo = std::min(n, i + c_uiAround + 1);
    float fSum = 0;
    for (std::size_t k = uiFrom; k < uiTo; ++k) fSum += afBoth[k];
    asPeaks.push_back({f - fSum / static_cast<float>(uiTo - uiFrom), i});
  }
  std::sort(asPeaks.begin(), asPeaks.end(),
            [](const Peak &a, const Peak &b) { return a.fHeight > b.fHeight; });
  if (asPeaks.size() > uiMost) asPeaks.resize(uiMost);
  std::vector<std::uint64_t> aui;
  aui.reserve(asPeaks.size());
  for (const Peak &s : asPeaks) aui.push_back(s.uiAt);
  return aui;
}

}  // namespace Kivo::Guess
