// SPDX-License-Identifier: Apache-2.0
// Bit vectors of up to 64 bits in two kinds with the same operations: numbers, and terms of SMT-LIB. What is
// written over one of them can be computed and be proved.
#ifndef KIVO_TESTS_PROOFS_BITS_H
#define KIVO_TESTS_PROOFS_BITS_H

#include <cstdint>
#include <string>

namespace KivoTest::Proofs {

// A number of `width` bits.
struct Number {
  std::uint64_t value = 0;
  unsigned width = 0;

  static Number Of(unsigned width, std::uint64_t value) {
    return {width == 64 ? value : value & ((std::uint64_t{1} << width) - 1), width};
  }
  std::int64_t Signed() const { return static_cast<std::int64_t>(value << (64 - width)) >> (64 - width); }
  Number Like(std::uint64_t v) const { return Of(width, v); }
};

inline Number Add(Number a, Number b) {
  return a.Like(a.value + b.value);
}
inline Number Sub(Number a, Number b) {
  return a.Like(a.value - b.value);
}
inline Number Mul(Number a, Number b) {
  return a.Like(a.value * b.value);
}
inline Number And(Number a, Number b) {
  return a.Like(a.value & b.value);
}
inline Number Or(Number a, Number b) {
  return a.Like(a.value | b.value);
}
inline Number Xor(Number a, Number b) {
  return a.Like(a.value ^ b.value);
}
inline Number Not(Number a) {
  return a.Like(~a.value);
}
// All bits are gone from a count of the width on; of an arithmetic shift all become the sign.
inline Number ShiftLeft(Number a, Number n) {
  return a.Like(n.value >= a.width ? 0 : a.value << n.value);
}
inline Number ShiftLogical(Number a, Number n) {
  return a.Like(n.value >= a.width ? 0 : a.value >> n.value);
}
inline Number ShiftArithmetic(Number a, Number n) {
  return a.Like(static_cast<std::uint64_t>(a.Signed() >> (n.value >= a.width ? a.width - 1 : n.value)));
}
inline Number Divide(Number a, Number b) {
  return a.Like(a.value / b.value);
}
inline Number ZeroExtend(Number a, unsigned width) {
  return Number::Of(width, a.value);
}
inline Number SignExtend(Number a, unsigned width) {
  return Number::Of(width, static_cast<std::uint64_t>(a.Signed()));
}
inline Number Extract(Number a, unsigned high, unsigned low) {
  return Number::Of(high - low + 1, a.value >> low);
}
inline Number Concat(Number high, Number low) {
  return Number::Of(high.width + low.width, high.value << low.width | low.value);
}
inline bool Equal(Number a, Number b) {
  return a.value == b.value;
}
inline bool Greater(Number a, Number b) {
  return a.Signed() > b.Signed();
}
inline Number If(bool condition, Number a, Number b) {
  return condition ? a : b;
}

// The name of a bit vector that has been defined, and of a truth value.
struct Term {
  std::string name;
  unsigned width = 0;

  static Term Of(unsigned width, std::uint64_t value);
  static Term Variable(const std::string &name, unsigned width);
};
struct Truth {
  std::string text;
};

Term Add(const Term &a, const Term &b);
Term Sub(const Term &a, const Term &b);
Term Mul(const Term &a, const Term &b);
Term And(const Term &a, const Term &b);
Term Or(const Term &a, const Term &b);
Term Xor(const Term &a, const Term &b);
Term Not(const Term &a);
Term ShiftLeft(const Term &a, const Term &n);
Term ShiftLogical(const Term &a, const Term &n);
Term ShiftArithmetic(const Term &a, const Term &n);
Term Divide(const Term &a, const Term &b);
Term ZeroExtend(const Term &a, unsigned width);
Term SignExtend(const Term &a, unsigned width);
Term Extract(const Term &a, unsigned high, unsigned low);
Term Concat(const Term &high, const Term &low);
Truth Equal(const Term &a, const Term &b);
Truth Greater(const Term &a, const Term &b);  // signed
Term If(const Truth &condition, const Term &a, const Term &b);

// What has been defined since the last call, as SMT-LIB.
std::string TakeDefinitions();

}  // namespace KivoTest::Proofs

#endif  // KIVO_TESTS_PROOFS_BITS_H
