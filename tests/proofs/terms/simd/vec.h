// SPDX-License-Identifier: Apache-2.0
// The vocabulary of src/simd/vec.h for a target that computes nothing: its vectors are terms, its memory has
// a variable for each byte, and what is stored is kept. Kernels are compiled for it as for any other target.
#ifndef KIVO_SIMD_VEC_H
#define KIVO_SIMD_VEC_H

#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include <array>
#include <string>
#include <vector>

#include "simd/kernels.h"
#include "words.h"

#define KIVO_INLINE inline

namespace Kivo::KIVO_TARGET {
namespace {

using KivoTest::Proofs::Term;
namespace Word = KivoTest::Proofs::Word;

constexpr size_t c_uiVec = 4;
constexpr size_t c_uiLine = 64;
constexpr bool c_bWordPixels = true;

// Lanes of the width and the signedness of Lane.
template <class Lane>
struct Lanes {
  static constexpr unsigned c_uiBits = 8 * sizeof(Lane);
  static constexpr size_t c_uiCount = c_uiVec / sizeof(Lane);
  static constexpr bool c_bSigned = Lane(-1) < Lane(0);
  std::array<Term, c_uiCount> at;

  Lanes() { at.fill(Term::Of(c_uiBits, 0)); }
  Lane operator[](size_t) const;  // for sizeof alone

  template <class Operation>
  friend Lanes Each(const Lanes &a, const Lanes &b, Operation operation) {
    Lanes v;
    for (size_t i = 0; i < c_uiCount; ++i) v.at[i] = operation(a.at[i], b.at[i]);
    return v;
  }
  static Lanes All(int64_t i) {
    Lanes v;
    v.at.fill(Term::Of(c_uiBits, static_cast<uint64_t>(i)));
    return v;
  }
  friend Lanes operator+(const Lanes &a, const Lanes &b) {
    return Each(a, b, [](const Term &x, const Term &y) { return Add(x, y); });
  }
  friend Lanes operator-(const Lanes &a, const Lanes &b) {
    return Each(a, b, [](const Term &x, const Term &y) { return Sub(x, y); });
  }
  friend Lanes operator*(const Lanes &a, const Lanes &b) {
    return Each(a, b, [](const Term &x, const Term &y) { return Mul(x, y); });
  }
  friend Lanes operator&(const Lanes &a, const Lanes &b) {
    return Each(a, b, [](const Term &x, const Term &y) { return And(x, y); });
  }
  friend Lanes operator|(const Lanes &a, const Lanes &b) {
    return Each(a, b, [](const Term &x, const Term &y) { return Or(x, y); });
  }
  friend Lanes operator^(const Lanes &a, const Lanes &b) {
    return Each(a, b, [](const Term &x, const Term &y) { return Xor(x, y); });
  }
  friend Lanes operator<<(const Lanes &a, const Lanes &b) {
    return Each(a, b, [](const Term &x, const Term &y) { return ShiftLeft(x, y); });
  }
  friend Lanes operator>>(const Lanes &a, const Lanes &b) {
    return Each(a, b, [](const Term &x, const Term &y) {
      return c_bSigned ? ShiftArithmetic(x, y) : ShiftLogical(x, y);
    });
  }
  friend Lanes operator+(const Lanes &a, int b) { return a + All(b); }
  friend Lanes operator-(const Lanes &a, int b) { return a - All(b); }
  friend Lanes operator&(const Lanes &a, int b) { return a & All(b); }
  friend Lanes operator<<(const Lanes &a, int b) { return a << All(b); }
  friend Lanes operator>>(const Lanes &a, int b) { return a >> All(b); }
};

using U8 = Lanes<uint8_t>;
using U16 = Lanes<uint16_t>;
using I16 = Lanes<int16_t>;
using U32 = Lanes<uint32_t>;
using I32 = Lanes<int32_t>;

// The bytes of lanes, the first of each the lowest.
template <class Lane>
std::array<Term, c_uiVec> BytesOf(const Lanes<Lane> &v) {
  std::array<Term, c_uiVec> bytes;
  for (size_t i = 0; i < c_uiVec; ++i) {
    const unsigned uiLow = static_cast<unsigned>(8 * (i % sizeof(Lane)));
    bytes[i] = Extract(v.at[i / sizeof(Lane)], uiLow + 7, uiLow);
  }
  return bytes;
}
template <class V>
V OfBytes(const std::array<Term, c_uiVec> &bytes) {
  V v;
  constexpr size_t c_uiBytes = V::c_uiBits / 8;
  for (size_t i = 0; i < V::c_uiCount; ++i) {
    v.at[i] = bytes[i * c_uiBytes];
    for (size_t k = 1; k < c_uiBytes; ++k) v.at[i] = Concat(bytes[i * c_uiBytes + k], v.at[i]);
  }
  return v;
}

template <class V, class W>
V As(const W &v) {
  return OfBytes<V>(BytesOf(v));
}

// Memory that kernels may be led to.
struct Memory {
  static constexpr size_t c_uiBytes = 1024;
  uint8_t auc[c_uiBytes] = {};
  std::array<Term, c_uiBytes> terms;  // of the bytes that a proof has named

  const Term &At(const void *p) const {
    return terms.at(static_cast<size_t>(static_cast<const uint8_t *>(p) - auc));
  }
};
inline Memory s_memory;
// What is stored, in the order of the stores: pixels, and lanes of vectors that are stored as they are.
inline std::vector<std::array<Term, 3>> s_pixels;
inline std::vector<Term> s_words;

template <class V>
V Load(const void *p) {
  std::array<Term, c_uiVec> bytes;
  for (size_t i = 0; i < c_uiVec; ++i) bytes[i] = s_memory.At(static_cast<const uint8_t *>(p) + i);
  return OfBytes<V>(bytes);
}

template <class V>
V Pin(const V &v) {
  return v;
}
template <class V>
V Splat(int i) {
  return V::All(i);
}

template <class Lane>
Lanes<Lane> Avg(const Lanes<Lane> &a, const Lanes<Lane> &b) {
  return Each(a, b, [](const Term &x, const Term &y) { return Word::Avg(x, y); });
}
template <class Lane>
Lanes<Lane> Abs(const Lanes<Lane> &a) {
  return Each(a, a, [](const Term &x, const Term &) { return Word::Abs(x); });
}
inline U16 ShiftRight(const U16 &v, unsigned uiCount) {
  return Each(v, v, [=](const Term &x, const Term &) { return Word::ShiftRight(x, uiCount); });
}
// What was selected by, lane by lane in the order of the program: a where x > y, else b.
struct Choice {
  Term x, y, a, b;
};
inline std::vector<Choice> s_choices;
template <class Lane>
Lanes<Lane> SelectGreater(const Lanes<Lane> &x, const Lanes<Lane> &y, const Lanes<Lane> &a,
                          const Lanes<Lane> &b) {
  Lanes<Lane> v;
  for (size_t i = 0; i < v.at.size(); ++i) {
    v.at[i] = Word::SelectGreater(x.at[i], y.at[i], a.at[i], b.at[i]);
    s_choices.push_back({x.at[i], y.at[i], a.at[i], b.at[i]});
  }
  return v;
}

// Which lanes of an alternating row hold its first kind of site.
struct Parity {
  bool bEven;
};
inline Parity MakeParity(bool bEven) {
  return {bEven};
}
template <class Lane>
Lanes<Lane> Select(const Parity &s, const Lanes<Lane> &a, const Lanes<Lane> &b) {
  Lanes<Lane> v;
  for (size_t i = 0; i < v.at.size(); ++i) v.at[i] = (i % 2 == 0) == s.bEven ? a.at[i] : b.at[i];
  return v;
}

// Vectors of words in turn, for lanes that are doublewords.
struct WordPair {
  U16 low, high;
};
inline WordPair ZipLanes(const U16 &a, const U16 &b) {
  static_assert(U16::c_uiCount == 2);
  WordPair s;
  s.low.at = {a.at[0], b.at[0]};
  s.high.at = {a.at[1], b.at[1]};
  return s;
}
// What was multiplied, in the order of the program. A product is any number: what is claimed of it is that it
// is one of the right factors.
struct Product {
  Term a, b, product;
};
inline std::vector<Product> s_products;
inline I32 MulAddPairs(const I16 &a, const I16 &b) {
  I32 v;
  for (size_t i = 0; i < a.at.size(); ++i) {
    const Term product = Term::Variable("product" + std::to_string(s_products.size()), 32);
    s_products.push_back({a.at[i], b.at[i], product});
    v.at[i / 2] = i % 2 == 0 ? product : Add(v.at[i / 2], product);
  }
  return v;
}
// Doublewords clamped to words with and without a sign, in the order that ZipLanes gives.
inline I16 PackSatLanes(const I32 &low, const I32 &high) {
  static_assert(I32::c_uiCount == 1);
  I16 v;
  v.at = {Word::SaturateWord(low.at[0], true), Word::SaturateWord(high.at[0], true)};
  return v;
}
inline U16 PackWordsLanes(const I32 &low, const I32 &high) {
  U16 v;
  v.at = {Word::SaturateWord(low.at[0], false), Word::SaturateWord(high.at[0], false)};
  return v;
}
inline I16 Greater(const I16 &a, const I16 &b) {
  return Each(a, b, [](const Term &x, const Term &y) { return Word::SelectGreater(x, y, x, y); });
}

inline U8 PackLow(const U16 &a, const U16 &b) {
  U8 v;
  for (size_t i = 0; i < c_uiVec; ++i) v.at[i] = Extract((i < 2 ? a : b).at[i % 2], 7, 0);
  return v;
}
inline U8 PackHigh(const U16 &a, const U16 &b) {
  U8 v;
  for (size_t i = 0; i < c_uiVec; ++i) v.at[i] = Extract((i < 2 ? a : b).at[i % 2], 15, 8);
  return v;
}
// Two word vectors clamped to bytes and interleaved: even, odd, even, odd.
inline U8 MergeSat(const I16 &even, const I16 &odd) {
  U8 v;
  for (size_t i = 0; i < c_uiVec; ++i) v.at[i] = Word::Saturate((i % 2 == 0 ? even : odd).at[i / 2]);
  return v;
}

template <class Lane>
void Store(void *, const Lanes<Lane> &v) {
  s_words.insert(s_words.end(), v.at.begin(), v.at.end());
}
inline void Prefetch(const uint8_t *) {}
template <class V>
void KeepPixels(const V &first, const V &green, const V &last) {
  for (size_t i = 0; i < first.at.size(); ++i) s_pixels.push_back({first.at[i], green.at[i], last.at[i]});
}
template <Output, bool>
void StorePixels(uint8_t *, const U8 &first, const U8 &green, const U8 &last) {
  KeepPixels(first, green, last);
}
template <bool>
void StoreWordsBGRA(uint8_t *, const U16 &first, const U16 &green, const U16 &last) {
  KeepPixels(first, green, last);
}
template <bool>
void StoreBGRA(uint8_t *, const U16 &first, const U16 &green, const U16 &last) {
  KeepPixels(first, green, last);
}
template <bool>
void StoreBGR(uint8_t *, const U16 &first, const U16 &green, const U16 &last) {
  KeepPixels(first, green, last);
}

constexpr size_t PixelBytes(Output eOut) {
  return eOut == c_eBGRA ? 4 : 3;
}

}  // namespace
}  // namespace Kivo::KIVO_TARGET

#endif  // KIVO_SIMD_VEC_H
