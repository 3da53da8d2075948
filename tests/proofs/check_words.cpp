// SPDX-License-Identifier: Apache-2.0
// The words of one target against what the proofs take them for: for all values where a word has two
// arguments of 16 bits or fewer. Compiled once per target.
#include <stdio.h>

#include "simd/vec.h"
#include "words.h"

namespace Kivo::KIVO_TARGET {
namespace {

using KivoTest::Proofs::Number;
namespace Word = KivoTest::Proofs::Word;

size_t s_uiWrong = 0;

void Wrong(const char *pszWord, long a, long b) {
  if (++s_uiWrong <= 10) printf("%s of %ld and %ld is wrong\n", pszWord, a, b);
}

// Lane i is first + i.
template <class V>
V Ramp(uint32_t uiFirst) {
  V v;
  using Lane = __typeof__(V{}[0]);
  for (size_t i = 0; i < c_uiVec / sizeof(Lane); ++i) v[i] = static_cast<Lane>(uiFirst + i);
  return v;
}

// Calls compare(a, b, vector of a, vector that begins with b) for all pairs of lanes.
template <class V, class Compare>
void AllPairs(uint32_t uiStep, Compare compare) {
  constexpr uint32_t c_uiStep = sizeof(V) / sizeof(V{}[0]);
  constexpr uint32_t c_uiValues = 1U << (8 * sizeof(V{}[0]));
  for (uint32_t a = 0; a < c_uiValues; a += uiStep) {
    const V va = Splat<V>(static_cast<int>(a));
    for (uint32_t b = 0; b < c_uiValues; b += c_uiStep) compare(a, b, va, Ramp<V>(b));
  }
}

template <class V>
void CheckAvg(const char *pszWord, uint32_t uiStep) {
  AllPairs<V>(uiStep, [=](uint32_t a, uint32_t b, const V &va, const V &vb) {
    const V made = Avg(va, vb);
    constexpr unsigned c_uiBits = 8 * sizeof(V{}[0]);
    for (uint32_t i = 0; i < c_uiVec * 8 / c_uiBits; ++i)
      if (made[i] != Word::Avg(Number::Of(c_uiBits, a), Number::Of(c_uiBits, b + i)).value)
        Wrong(pszWord, a, b + i);
  });
}

void CheckSelectGreater(uint32_t uiStep) {
  const I16 ones = Splat<I16>(1), twos = Splat<I16>(2);
  AllPairs<I16>(uiStep, [=](uint32_t x, uint32_t y, const I16 &vx, const I16 &vy) {
    const I16 made = SelectGreater(vx, vy, ones, twos);
    for (uint32_t i = 0; i < c_uiVec / 2; ++i) {
      const Number wanted =
          Word::SelectGreater(Number::Of(16, x), Number::Of(16, y + i), Number::Of(16, 1), Number::Of(16, 2));
      if (static_cast<uint16_t>(made[i]) != wanted.value) Wrong("SelectGreater", x, y + i);
    }
  });
}

void CheckGreater(uint32_t uiStep) {
  AllPairs<I16>(uiStep, [=](uint32_t x, uint32_t y, const I16 &vx, const I16 &vy) {
    const I16 made = Greater(vx, vy);
    for (uint32_t i = 0; i < c_uiVec / 2; ++i) {
      const Number a = Number::Of(16, x), b = Number::Of(16, y + i);
      if (static_cast<uint16_t>(made[i]) != Word::SelectGreater(a, b, a, b).value) Wrong("Greater", x, y + i);
    }
  });
}

// Every product, as the first and as the second of two.
void CheckMulAddPairs(uint32_t uiStep) {
  AllPairs<I16>(uiStep, [=](uint32_t a, uint32_t b, const I16 &va, const I16 &vb) {
    const I32 made = MulAddPairs(va, vb);
    const Number factor = Number::Of(16, a);
    for (uint32_t i = 0; i < c_uiVec / 4; ++i) {
      const Number first = Number::Of(16, b + 2 * i), second = Number::Of(16, b + 2 * i + 1);
      if (static_cast<uint32_t>(made[i]) != Word::MulAdd(factor, first, factor, second).value)
        Wrong("MulAddPairs", a, b + 2 * i);
    }
  });
  for (uint32_t a = 0; a < 65536; a += 2) {
    const I16 va = Ramp<I16>(a), vb = Ramp<I16>(a * 40503);
    const I32 made = MulAddPairs(va, vb);
    const auto At = [](const I16 &v, uint32_t i) { return Number::Of(16, static_cast<uint16_t>(v[i])); };
    for (uint32_t i = 0; i < c_uiVec / 4; ++i)
      if (static_cast<uint32_t>(made[i]) !=
          Word::MulAdd(At(va, 2 * i), At(vb, 2 * i), At(va, 2 * i + 1), At(vb, 2 * i + 1)).value)
        Wrong("MulAddPairs of pairs", a, i);
  }
}

// What was made two vectors is one again, lane by lane.
void CheckLanes() {
  for (uint32_t a = 0; a < 65536; a += c_uiVec / 2) {
    const WordPair s = ZipLanes(Ramp<U16>(a), Splat<U16>(0));
    const I32 low = reinterpret_cast<I32>(s.low), high = reinterpret_cast<I32>(s.high);
    for (const int32_t iAdded : {0, -70000, -65536, -32768, -1, 32767, 65535, 1 << 30, -(1 << 30)}) {
      const I16 made = PackSatLanes(low + iAdded, high + iAdded);
      const U16 unsignedly = PackWordsLanes(low + iAdded, high + iAdded);
      for (uint32_t i = 0; i < c_uiVec / 2; ++i) {
        const Number at = Number::Of(32, static_cast<uint32_t>(static_cast<int32_t>(a + i) + iAdded));
        if (static_cast<uint16_t>(made[i]) != Word::SaturateWord(at, true).value)
          Wrong("PackSatLanes", static_cast<long>(a + i), iAdded);
        if (unsignedly[i] != Word::SaturateWord(at, false).value)
          Wrong("PackWordsLanes", static_cast<long>(a + i), iAdded);
      }
    }
  }
}

void CheckSingles() {
  for (uint32_t a = 0; a < 65536; a += c_uiVec / 2) {
    const I16 absolute = Abs(Ramp<I16>(a));
    const U8 merged = MergeSat(Ramp<I16>(a), Ramp<I16>(a + 7));
    const U8 low = PackLow(Ramp<U16>(a), Ramp<U16>(a + 777)),
             high = PackHigh(Ramp<U16>(a), Ramp<U16>(a + 777));
    for (uint32_t i = 0; i < c_uiVec / 2; ++i) {
      const Number at = Number::Of(16, a + i);
      if (static_cast<uint16_t>(absolute[i]) != Word::Abs(at).value) Wrong("Abs", a + i, 0);
      if (merged[2 * i] != Word::Saturate(at).value ||
          merged[2 * i + 1] != Word::Saturate(Number::Of(16, a + i + 7)).value)
        Wrong("MergeSat", a + i, a + i + 7);
      const uint32_t uiOther = (a + 777 + i) & 0xFFFF;
      if (low[i] != (at.value & 255) || low[c_uiVec / 2 + i] != (uiOther & 255))
        Wrong("PackLow", a + i, uiOther);
      if (high[i] != at.value >> 8 || high[c_uiVec / 2 + i] != uiOther >> 8)
        Wrong("PackHigh", a + i, uiOther);
    }
    for (unsigned uiCount = 0; uiCount < 40; ++uiCount) {
      const U16 shifted = ShiftRight(Ramp<U16>(a), uiCount);
      for (uint32_t i = 0; i < c_uiVec / 2; ++i)
        if (shifted[i] != Word::ShiftRight(Number::Of(16, a + i), uiCount).value)
          Wrong("ShiftRight", a + i, static_cast<long>(uiCount));
    }
  }
  for (const bool bEven : {false, true}) {
    const Parity s = MakeParity(bEven);
    const U8 bytes = Select(s, Splat<U8>(1), Splat<U8>(2));
    const U16 words = Select(s, Splat<U16>(1), Splat<U16>(2));
    for (uint32_t i = 0; i < c_uiVec; ++i) {
      const unsigned uiWanted = (i % 2 == 0) == bEven ? 1 : 2;
      if (bytes[i] != uiWanted || (i < c_uiVec / 2 && words[i] != uiWanted)) Wrong("Select", i, bEven);
    }
  }
}

// Words of 32 bits: every magnitude, and neighbours of every power of two.
void CheckDoublewords() {
  int32_t aiOdd[66];
  size_t n = 0;
  for (unsigned i = 0; i < 32; ++i) {
    aiOdd[n++] = static_cast<int32_t>((1U << i) - 1);
    aiOdd[n++] = static_cast<int32_t>(1U << i);
  }
  aiOdd[n++] = -1;
  aiOdd[n++] = -2;
  for (const int32_t x : aiOdd) {
    const I32 absolute = Abs(Splat<I32>(x));
    if (static_cast<uint32_t>(absolute[0]) != Word::Abs(Number::Of(32, static_cast<uint32_t>(x))).value)
      Wrong("Abs of doublewords", x, 0);
    for (const int32_t y : aiOdd) {
      const I32 made = SelectGreater(Splat<I32>(x), Splat<I32>(y), Splat<I32>(1), Splat<I32>(2));
      for (uint32_t i = 0; i < c_uiVec / 4; ++i)
        if (made[i] != (x > y ? 1 : 2)) Wrong("SelectGreater of doublewords", x, y);
    }
  }
}

}  // namespace

// How many results are wrong; of words of 16 bits every uiStep-th first argument is tried with every second.
size_t CheckWords(uint32_t uiStep);
size_t CheckWords(uint32_t uiStep) {
  s_uiWrong = 0;
  CheckAvg<U8>("Avg of bytes", 1);
  CheckAvg<U16>("Avg of words", uiStep);
  CheckSelectGreater(uiStep);
  CheckGreater(uiStep);
  CheckMulAddPairs(uiStep);
  CheckLanes();
  CheckSingles();
  CheckDoublewords();
  return s_uiWrong;
}

}  // namespace Kivo::KIVO_TARGET
