// SPDX-License-Identifier: Apache-2.0
// What the words that kernels are written in mean, lane by lane: over numbers the measure of every target's
// own words, over terms what the proofs take them for.
#ifndef KIVO_TESTS_PROOFS_WORDS_H
#define KIVO_TESTS_PROOFS_WORDS_H

#include "bits.h"

namespace KivoTest::Proofs::Word {

template <class B>
B Avg(const B &a, const B &b) {
  const unsigned wide = a.width + 1;
  const B sum = Add(Add(ZeroExtend(a, wide), ZeroExtend(b, wide)), B::Of(wide, 1));
  return Extract(sum, a.width, 1);
}

template <class B>
B Abs(const B &a) {
  return If(Greater(B::Of(a.width, 0), a), Sub(B::Of(a.width, 0), a), a);
}

// a where x > y, else b.
template <class B>
B SelectGreater(const B &x, const B &y, const B &a, const B &b) {
  return If(Greater(x, y), a, b);
}

template <class B>
B ShiftRight(const B &a, unsigned count) {
  return ShiftLogical(a, B::Of(a.width, count > a.width ? a.width : count));
}

// A signed word clamped to a byte.
template <class B>
B Saturate(const B &a) {
  const B low = If(Greater(B::Of(a.width, 0), a), B::Of(a.width, 0), a);
  return Extract(If(Greater(low, B::Of(a.width, 255)), B::Of(a.width, 255), low), 7, 0);
}

// A signed doubleword clamped to a word, with a sign or without.
template <class B>
B SaturateWord(const B &a, bool bSigned) {
  const B least = B::Of(32, bSigned ? static_cast<std::uint64_t>(-32768) : 0),
          most = B::Of(32, bSigned ? 32767 : 65535);
  const B low = If(Greater(least, a), least, a);
  return Extract(If(Greater(low, most), most, low), 15, 0);
}

// Two products of signed words, added.
template <class B>
B MulAdd(const B &a0, const B &b0, const B &a1, const B &b1) {
  return Add(Mul(SignExtend(a0, 32), SignExtend(b0, 32)), Mul(SignExtend(a1, 32), SignExtend(b1, 32)));
}

}  // namespace KivoTest::Proofs::Word

#endif  // KIVO_TESTS_PROOFS_WORDS_H
