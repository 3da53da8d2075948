// SPDX-License-Identifier: Apache-2.0
// What claims are made of: samples in the memory of the terms, whole numbers for what is said in plain words,
// and their texts in SMT-LIB. For solve.py:
//
//   ; case NAME            definitions follow
//   ; claim NAME           the negation follows: it must have no solution
//   ; broken NAME          the same of a formula with a mistake in it: it must have one
#ifndef KIVO_TESTS_PROOFS_CLAIMS_H
#define KIVO_TESTS_PROOFS_CLAIMS_H

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>

#include "simd/vec.h"

namespace Kivo::KIVO_TARGET {
namespace {

using KivoTest::Proofs::Equal;
using KivoTest::Proofs::Greater;
using KivoTest::Proofs::If;
using KivoTest::Proofs::TakeDefinitions;
using KivoTest::Proofs::Truth;

// A whole number between two bounds, with as many bits as it needs: it never overflows, or the program ends.
// What is said in plain words is computed in these.
struct Whole {
  static inline unsigned s_uiBits = 32;  // that are there
  Term term;
  int64_t iLow = 0, iHigh = 0;

  Whole(int64_t i) : Whole(Term::Of(s_uiBits, static_cast<uint64_t>(i)), i, i) {}
  Whole(Term t, int64_t low, int64_t high) : term(std::move(t)), iLow(low), iHigh(high) {
    const int64_t iEnd = int64_t{1} << (s_uiBits - 1);
    if (low < -iEnd || high >= iEnd) std::fprintf(stderr, "a plain number needs more bits\n"), std::abort();
  }
  // Bits that mean a number from 0 on.
  static Whole Of(const Term &t) {
    return {t.width < s_uiBits ? ZeroExtend(t, s_uiBits) : t, 0, (int64_t{1} << t.width) - 1};
  }
};
Whole operator+(const Whole &a, const Whole &b) {
  return {Add(a.term, b.term), a.iLow + b.iLow, a.iHigh + b.iHigh};
}
Whole operator-(const Whole &a, const Whole &b) {
  return {Sub(a.term, b.term), a.iLow - b.iHigh, a.iHigh - b.iLow};
}
Whole Twice(const Whole &a) {
  return {ShiftLeft(a.term, Term::Of(Whole::s_uiBits, 1)), 2 * a.iLow, 2 * a.iHigh};
}
Truth operator>(const Whole &a, const Whole &b) {
  return Greater(a.term, b.term);
}
Whole If(const Truth &condition, const Whole &a, const Whole &b) {
  return {If(condition, a.term, b.term), std::min(a.iLow, b.iLow), std::max(a.iHigh, b.iHigh)};
}
// Divided by a power of two and rounded down.
Whole Floor(const Whole &a, unsigned uiLog2) {
  return {ShiftArithmetic(a.term, Term::Of(Whole::s_uiBits, uiLog2)), a.iLow >> uiLog2, a.iHigh >> uiLog2};
}
Whole Magnitude(const Whole &a) {
  const Whole minus = 0 - a;
  return {If(0 > a, minus.term, a.term), 0, std::max(-a.iLow, a.iHigh)};
}
// The lowest bits of a number.
Whole Low(const Whole &a, unsigned uiMask) {
  return {And(a.term, Term::Of(Whole::s_uiBits, uiMask)), 0, uiMask};
}

void Write(const char *pszKind, const std::string &name, const std::string &text) {
  std::printf("; %s %s\n%s", pszKind, name.c_str(), text.c_str());
}

// Its definitions; assumptions are further lines.
std::string Case(const std::string &name, const std::string &assumptions = {}) {
  std::string definitions = TakeDefinitions();
  Write("case", name, definitions + assumptions);
  return definitions;
}
void ClaimEqual(const std::string &name, const Term &a, const Term &b, const char *pszKind = "claim",
                const Truth &where = {"true"}) {
  const std::string text = TakeDefinitions() + "(assert " + where.text + ")\n";
  Write(pszKind, name, text + "(assert (not " + Equal(a, b).text + "))\n");
}
// Claims belong to the case before and may define more.
void Claim(const std::string &name, const Term &made, const Whole &plain, const char *pszKind = "claim",
           const Truth &where = {"true"}) {
  ClaimEqual(name, Whole::Of(made).term, plain.term, pszKind, where);
}

// Rows of samples in memory. Sample x of row y is what kernels load there, and here by its place.
class Picture {
 public:
  Picture(const char *pszName, size_t uiOffset, size_t uiWidth, size_t uiSampleBytes, size_t uiRows)
      : uiOffset_(uiOffset), uiPitch_(uiWidth * uiSampleBytes), uiSampleBytes_(uiSampleBytes) {
    for (size_t i = 0; i < uiRows * uiPitch_; ++i)
      s_memory.terms.at(uiOffset + i) = Term::Variable(pszName + std::to_string(i), 8);
  }
  uint8_t *At(size_t y, size_t x) const {
    return s_memory.auc + uiOffset_ + y * uiPitch_ + x * uiSampleBytes_;
  }
  size_t pitch() const { return uiPitch_; }
  Whole Sample(size_t y, size_t x) const {
    const uint8_t *const p = At(y, x);
    return Whole::Of(uiSampleBytes_ == 1 ? s_memory.At(p) : Concat(s_memory.At(p + 1), s_memory.At(p)));
  }

 private:
  size_t uiOffset_, uiPitch_, uiSampleBytes_;
};

}  // namespace

// The colour chain's, in a file of their own.
void ColourClaims();

}  // namespace Kivo::KIVO_TARGET

#endif  // KIVO_TESTS_PROOFS_CLAIMS_H
