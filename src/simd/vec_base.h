// SPDX-License-Identifier: Apache-2.0
// Words of the Baseline target on processors without a header of their own: the language alone, no
// instruction named. Included by vec.h alone.
#ifndef KIVO_SIMD_VEC_BASE_H
#define KIVO_SIMD_VEC_BASE_H

namespace Kivo::KIVO_TARGET {
namespace {

constexpr bool c_bLookup = false;
constexpr size_t c_uiLane = 16;

template <class V>
KIVO_INLINE V Pin(V v) {
  return v;
}

KIVO_INLINE void Stream(void *p, U8 v) {
  Store(p, v);
}
KIVO_INLINE void StreamFence() {}

KIVO_INLINE U8 Avg(U8 a, U8 b) {
  return (a | b) - (((a ^ b) >> 1) & 0x7F);
}
KIVO_INLINE U16 Avg(U16 a, U16 b) {
  return (a | b) - (((a ^ b) >> 1) & 0x7FFF);
}

KIVO_INLINE U16 ShiftRight(U16 v, unsigned uiCount) {
  return uiCount > 15 ? U16{} : v >> static_cast<uint16_t>(uiCount);
}

// a where the mask is set, else b.
template <class V>
KIVO_INLINE V SelectBits(V mask, V a, V b) {
  return (mask & a) | (~mask & b);
}

KIVO_INLINE I16 Abs(I16 v) {
  const I16 sign = v >> 15;
  return (v ^ sign) - sign;
}

// Which lanes of an alternating row hold its first kind of site, for bytes and for words.
struct Parity {
  U8 bytes;
  U16 words;
};
KIVO_INLINE Parity MakeParity(bool bEven) {
  Parity s{};
  for (size_t i = bEven ? 0 : 1; i < c_uiVec; i += 2) s.bytes[i] = 0xFF;
  for (size_t i = bEven ? 0 : 1; i < c_uiVec / 2; i += 2) s.words[i] = 0xFFFF;
  return s;
}
KIVO_INLINE U8 Select(const Parity &s, U8 a, U8 b) {
  return SelectBits(s.bytes, a, b);
}
KIVO_INLINE U16 Select(const Parity &s, U16 a, U16 b) {
  return SelectBits(s.words, a, b);
}

// a where x > y, else b.
KIVO_INLINE I16 SelectGreater(I16 x, I16 y, I16 a, I16 b) {
  return SelectBits(reinterpret_cast<I16>(x > y), a, b);
}

// Low bytes of two word vectors, in order.
KIVO_INLINE U8 PackLow(U16 a, U16 b) {
  U8 v;
  for (size_t i = 0; i < c_uiVec / 2; ++i) {
    v[i] = static_cast<uint8_t>(a[i]);
    v[c_uiVec / 2 + i] = static_cast<uint8_t>(b[i]);
  }
  return v;
}

// High bytes of two word vectors, in order.
KIVO_INLINE U8 PackHigh(U16 a, U16 b) {
  return PackLow(a >> 8, b >> 8);
}

// The low bytes again, for each lane on its own, which here is the whole vector.
KIVO_INLINE U8 PackLowLanes(U16 a, U16 b) {
  return PackLow(a, b);
}

// Two word vectors clamped to bytes and interleaved: even, odd, even, odd.
KIVO_INLINE U8 MergeSat(I16 even, I16 odd) {
  const I16 top = Splat<I16>(255);
  const I16 e = SelectGreater(even, top, top, SelectGreater(I16{}, even, I16{}, even));
  const I16 o = SelectGreater(odd, top, top, SelectGreater(I16{}, odd, I16{}, odd));
  U8 v;
  for (size_t i = 0; i < c_uiVec / 2; ++i) {
    v[2 * i] = static_cast<uint8_t>(e[i]);
    v[2 * i + 1] = static_cast<uint8_t>(o[i]);
  }
  return v;
}

// The one lane from p.
template <ptrdiff_t iStride>
KIVO_INLINE U8 LoadLanes(const uint8_t *p) {
  return Load<U8>(p);
}

template <bool bStream>
KIVO_INLINE void StoreBGRA(uint8_t *p, U8 b, U8 g, U8 r) {
  for (size_t i = 0; i < c_uiVec; ++i) {
    p[4 * i] = b[i];
    p[4 * i + 1] = g[i];
    p[4 * i + 2] = r[i];
    p[4 * i + 3] = 255;
  }
}

template <bool bStream>
KIVO_INLINE void StoreBGR(uint8_t *p, U8 b, U8 g, U8 r) {
  for (size_t i = 0; i < c_uiVec; ++i) {
    p[3 * i] = b[i];
    p[3 * i + 1] = g[i];
    p[3 * i + 2] = r[i];
  }
}

// Pixels whose channels are all v.
template <bool bStream>
KIVO_INLINE void StoreGreyBGRA(uint8_t *p, U8 v) {
  StoreBGRA<bStream>(p, v, v, v);
}

template <bool bStream>
KIVO_INLINE void StoreGreyBGR(uint8_t *p, U8 v) {
  StoreBGR<bStream>(p, v, v, v);
}

}  // namespace
}  // namespace Kivo::KIVO_TARGET

#endif  // KIVO_SIMD_VEC_BASE_H
