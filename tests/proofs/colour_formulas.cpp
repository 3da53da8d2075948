// SPDX-License-Identifier: Apache-2.0
// The matrix of the colour chain, for all samples and all coefficients: what kernels/matrix.h multiplies is
// what the plain formula does; and whatever the products are within their bounds, the result is the plain
// one.
#include "claims.h"
#include "kernels/matrix.h"

namespace Kivo::KIVO_TARGET {
namespace {

// Coefficients are within -4 and 4, and one of a row takes what rounding left over.
constexpr int64_t c_iLargestCoefficient = 4 * 4096 + 2;

// Of a channel, from the sum of its products: what the matrix makes of it.
Whole PlainMixed(const Whole &sum, unsigned uiUp) {
  Whole t = sum;
  for (unsigned i = 0; i < uiUp; ++i) t = Twice(t);
  t = Floor(t + 2048, 12);
  const Whole made = If(t > 32767, 32767, If(0 > t, 0, t));
  return {made.term, 0, 32767};
}

// pack is the kernel's; upperOf the bits of its words that count, of the plain ones those from uiDrop on.
template <unsigned uiUp, unsigned uiDown, class Pack>
void Matrix(const std::string &name, unsigned uiUpper, unsigned uiDrop, Pack pack, int64_t iLargestSample,
            const char *pszKind) {
  constexpr size_t c_uiWords = c_uiVec / 2;
  Whole::s_uiBits = 40;
  // Each has a number of its own, so that none stands in for another.
  const int16_t aas[3][3] = {{101, -102, 103}, {104, 105, -106}, {-107, 108, 109}};
  const Mixer<uiUp> mixer(aas);
  const Picture s("s", 0, c_uiWords, 2, 3);
  s_products.clear();
  std::array<U16, 3> made;
  mixer.template Mix<uiDown>(Load<U16>(s.At(0, 0)), Load<U16>(s.At(1, 0)), Load<U16>(s.At(2, 0)),
                             [&](unsigned c, I32 low, I32 high) { made[c] = pack(low, high); });
  const std::string definitions = Case(name + ", what is multiplied");
  // Four products for each lane of each channel, those of the lower half of the lanes first.
  const auto ProductAt = [](size_t c, size_t i, size_t k) {
    constexpr size_t c_uiHalf = c_uiWords / 2;
    const size_t uiHalf = i / c_uiHalf, uiLane = i % c_uiHalf;
    return s_products.at(((c * 2 + uiHalf) * 2 + k / 2) * c_uiWords + 2 * uiLane + k % 2);
  };
  for (size_t c = 0; c < 3; ++c)
    for (size_t i = 0; i < c_uiWords; ++i)
      for (size_t k = 0; k < 4; ++k) {
        const Product &p = ProductAt(c, i, k);
        const std::string which =
            "channel " + std::to_string(c) + " lane " + std::to_string(i) + " product " + std::to_string(k);
        const Term sample = k < 3 ? Extract(s.Sample(k, i).term, 15, 0) : Term::Of(16, 1);
        const auto uiFactor = static_cast<uint64_t>(k < 3 ? aas[c][k] : 2048 >> uiUp);
        ClaimEqual(which + ", sample", p.a, sample);
        ClaimEqual(which + ", factor", p.b, Term::Of(16, uiFactor));
      }
  const int64_t iMost = iLargestSample * c_iLargestCoefficient;
  std::string bounds;
  for (size_t c = 0; c < 3; ++c)
    for (size_t i = 0; i < c_uiWords; ++i)
      for (size_t k = 0; k < 4; ++k) {
        const Term &p = ProductAt(c, i, k).product;
        const int64_t iLow = k < 3 ? -iMost : 2048 >> uiUp, iHigh = k < 3 ? iMost : iLow;
        const auto Number = [](int64_t n) { return Term::Of(32, static_cast<uint64_t>(n)); };
        bounds +=
            "(assert (not (or " + Greater(Number(iLow), p).text + Greater(p, Number(iHigh)).text + ")))\n";
      }
  Write("case", name, definitions + TakeDefinitions() + bounds);
  for (size_t c = 0; c < 3; ++c)
    for (size_t i = 0; i < c_uiWords; ++i) {
      Whole sum = 0;
      for (size_t k = 0; k < 3; ++k)
        sum = sum + Whole(SignExtend(ProductAt(c, i, k).product, Whole::s_uiBits), -iMost, iMost);
      Claim("channel " + std::to_string(c) + " lane " + std::to_string(i),
            Extract(made[c].at[i], 15, uiUpper), Floor(PlainMixed(sum, uiUp), uiDrop), pszKind);
    }
}

}  // namespace

void ColourClaims() {
  const auto Units = [](const I32 &low, const I32 &high) { return PackUnits(low, high); };
  const auto Words = [](const I32 &low, const I32 &high) { return PackWordsLanes(low, high); };
  Matrix<0, 12>("colour matrix", 0, 0, Units, 32767, "claim");
  Matrix<1, 12>("colour matrix of halves", 0, 0, Units, 16383, "claim");
  Matrix<0, 11>("colour matrix to bytes", 8, 7, Words, 32767, "claim");
  // Sums of three such products do not fit 32 bits.
  Matrix<0, 12>("colour matrix of larger samples", 0, 0, Units, 65535, "broken");
}

}  // namespace Kivo::KIVO_TARGET
