// SPDX-License-Identifier: Apache-2.0
#include "bits.h"

#include <utility>

namespace KivoTest::Proofs {
namespace {

std::string s_definitions;
unsigned s_names = 0;

std::string Sort(unsigned width) {
  return "(_ BitVec " + std::to_string(width) + ")";
}

Term Define(unsigned width, const std::string &text) {
  Term term{"t" + std::to_string(s_names++), width};
  s_definitions += "(define-fun " + term.name + " () " + Sort(width) + " " + text + ")\n";
  return term;
}

Term Apply(const char *function, const Term &a, const Term &b) {
  return Define(a.width, "(" + std::string(function) + " " + a.name + " " + b.name + ")");
}

}  // namespace

Term Term::Of(unsigned width, std::uint64_t value) {
  const std::uint64_t kept = Number::Of(width, value).value;
  return {"(_ bv" + std::to_string(kept) + " " + std::to_string(width) + ")", width};
}
Term Term::Variable(const std::string &name, unsigned width) {
  s_definitions += "(declare-const " + name + " " + Sort(width) + ")\n";
  return {name, width};
}

Term Add(const Term &a, const Term &b) {
  return Apply("bvadd", a, b);
}
Term Sub(const Term &a, const Term &b) {
  return Apply("bvsub", a, b);
}
Term Mul(const Term &a, const Term &b) {
  return Apply("bvmul", a, b);
}
Term And(const Term &a, const Term &b) {
  return Apply("bvand", a, b);
}
Term Or(const Term &a, const Term &b) {
  return Apply("bvor", a, b);
}
Term Xor(const Term &a, const Term &b) {
  return Apply("bvxor", a, b);
}
Term Not(const Term &a) {
  return Define(a.width, "(bvnot " + a.name + ")");
}
Term ShiftLeft(const Term &a, const Term &n) {
  return Apply("bvshl", a, n);
}
Term ShiftLogical(const Term &a, const Term &n) {
  return Apply("bvlshr", a, n);
}
Term ShiftArithmetic(const Term &a, const Term &n) {
  return Apply("bvashr", a, n);
}
Term Divide(const Term &a, const Term &b) {
  return Apply("bvudiv", a, b);
}
Term ZeroExtend(const Term &a, unsigned width) {
  return Define(width, "((_ zero_extend " + std::to_string(width - a.width) + ") " + a.name + ")");
}
Term SignExtend(const Term &a, unsigned width) {
  return Define(width, "((_ sign_extend " + std::to_string(width - a.width) + ") " + a.name + ")");
}
Term Extract(const Term &a, unsigned high, unsigned low) {
  return Define(high - low + 1,
                "((_ extract " + std::to_string(high) + " " + std::to_string(low) + ") " + a.name + ")");
}
Term Concat(const Term &high, const Term &low) {
  return Define(high.width + low.width, "(concat " + high.name + " " + low.name + ")");
}
Truth Equal(const Term &a, const Term &b) {
  return {"(= " + a.name + " " + b.name + ")"};
}
Truth Greater(const Term &a, const Term &b) {
  return {"(bvsgt " + a.name + " " + b.name + ")"};
}
Term If(const Truth &condition, const Term &a, const Term &b) {
  return Define(a.width, "(ite " + condition.text + " " + a.name + " " + b.name + ")");
}

std::string TakeDefinitions() {
  return std::exchange(s_definitions, {});
}

}  // namespace KivoTest::Proofs
