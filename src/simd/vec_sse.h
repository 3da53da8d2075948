// SPDX-License-Identifier: Apache-2.0
// Words of the 16-byte x86 targets: Baseline with the SSE2 that every x86-64 processor has, and Sse41 with
// SSSE3 and SSE4.1. Included by vec.h alone.
#ifndef KIVO_SIMD_VEC_SSE_H
#define KIVO_SIMD_VEC_SSE_H

#ifdef __SSE4_1__
#include <smmintrin.h>
#else
#include <emmintrin.h>
#endif

namespace Kivo::KIVO_TARGET {
namespace {

#ifdef __SSE4_1__
constexpr bool c_bLookup = true;
#else
constexpr bool c_bLookup = false;
#endif
constexpr bool c_bLookupClears = c_bLookup;
constexpr size_t c_uiLane = 16;
constexpr bool c_bWordPixels = false;

template <class V>
KIVO_INLINE __m128i Raw(V v) {
  return reinterpret_cast<__m128i>(v);
}

// Without VEX encoding an unaligned load is always an instruction of its own.
template <class V>
KIVO_INLINE V Pin(V v) {
  return v;
}

KIVO_INLINE void Stream(void *p, U8 v) {
  _mm_stream_si128(static_cast<__m128i *>(p), Raw(v));
}

// Clamped sum and difference.
KIVO_INLINE U8 AddSat(U8 a, U8 b) {
  return reinterpret_cast<U8>(_mm_adds_epu8(Raw(a), Raw(b)));
}
KIVO_INLINE U8 SubSat(U8 a, U8 b) {
  return reinterpret_cast<U8>(_mm_subs_epu8(Raw(a), Raw(b)));
}

KIVO_INLINE U8 Avg(U8 a, U8 b) {
  return reinterpret_cast<U8>(_mm_avg_epu8(Raw(a), Raw(b)));
}
KIVO_INLINE U16 Avg(U16 a, U16 b) {
  return reinterpret_cast<U16>(_mm_avg_epu16(Raw(a), Raw(b)));
}
// The difference, or 0.
KIVO_INLINE U16 SubSat(U16 a, U16 b) {
  return reinterpret_cast<U16>(_mm_subs_epu16(Raw(a), Raw(b)));
}
KIVO_INLINE U16 Lesser(U16 a, U16 b) {
#ifdef __SSE4_1__
  return reinterpret_cast<U16>(_mm_min_epu16(Raw(a), Raw(b)));
#else
  return a - SubSat(a, b);
#endif
}
KIVO_INLINE I16 Greater(I16 a, I16 b) {
  return reinterpret_cast<I16>(_mm_max_epi16(Raw(a), Raw(b)));
}
KIVO_INLINE I16 Abs(I16 v) {
  return reinterpret_cast<I16>(_mm_max_epi16(Raw(v), _mm_sub_epi16(_mm_setzero_si128(), Raw(v))));
}

KIVO_INLINE U16 ShiftRight(U16 v, unsigned uiCount) {
  return reinterpret_cast<U16>(_mm_srl_epi16(Raw(v), _mm_cvtsi32_si128(static_cast<int>(uiCount))));
}

// a where the mask is set, else b.
KIVO_INLINE __m128i SelectBytes(__m128i mask, __m128i a, __m128i b) {
#ifdef __SSE4_1__
  return _mm_blendv_epi8(b, a, mask);
#else
  return _mm_or_si128(_mm_and_si128(mask, a), _mm_andnot_si128(mask, b));
#endif
}

// Which lanes of an alternating row hold its first kind of site, for bytes and for words.
struct Parity {
  __m128i bytes, words;
};
KIVO_INLINE Parity MakeParity(bool bEven) {
  const __m128i all = _mm_set1_epi32(bEven ? 0 : -1);
  return {_mm_xor_si128(all, _mm_set1_epi16(0x00FF)), _mm_xor_si128(all, _mm_set1_epi32(0x0000FFFF))};
}
KIVO_INLINE U8 Select(const Parity &s, U8 a, U8 b) {
  return reinterpret_cast<U8>(SelectBytes(s.bytes, Raw(a), Raw(b)));
}
KIVO_INLINE U16 Select(const Parity &s, U16 a, U16 b) {
  return reinterpret_cast<U16>(SelectBytes(s.words, Raw(a), Raw(b)));
}

// a in the even lanes, or in the odd ones, and b in the others.
template <bool bEven>
KIVO_INLINE U16 Alternate(U16 a, U16 b) {
#ifdef __SSE4_1__
  return reinterpret_cast<U16>(_mm_blend_epi16(Raw(b), Raw(a), bEven ? 0x55 : 0xAA));
#else
  return reinterpret_cast<U16>(SelectBytes(_mm_set1_epi32(bEven ? 0x0000FFFF : -0x10000), Raw(a), Raw(b)));
#endif
}

// a where x > y, else b.
KIVO_INLINE I16 SelectGreater(I16 x, I16 y, I16 a, I16 b) {
  return reinterpret_cast<I16>(SelectBytes(_mm_cmpgt_epi16(Raw(x), Raw(y)), Raw(a), Raw(b)));
}

// Low bytes of two word vectors, in order.
KIVO_INLINE U8 PackLow(U16 a, U16 b) {
  const __m128i low = _mm_set1_epi16(0x00FF);
  return reinterpret_cast<U8>(_mm_packus_epi16(_mm_and_si128(Raw(a), low), _mm_and_si128(Raw(b), low)));
}

// High bytes of two word vectors, in order.
KIVO_INLINE U8 PackHigh(U16 a, U16 b) {
  return reinterpret_cast<U8>(_mm_packus_epi16(_mm_srli_epi16(Raw(a), 8), _mm_srli_epi16(Raw(b), 8)));
}

// Each lane of the result from that lane of a and of b; a lane is the whole vector here.
KIVO_INLINE U8 PackLowLanes(U16 a, U16 b) {
  return PackLow(a, b);
}

// Two word vectors clamped to bytes, in order.
KIVO_INLINE U8 PackSat(I16 a, I16 b) {
  return reinterpret_cast<U8>(_mm_packus_epi16(Raw(a), Raw(b)));
}

// The same for each 16 bytes of the vectors on their own, which here is the whole vector.
KIVO_INLINE U8 PackSatBy16(I16 a, I16 b) {
  return PackSat(a, b);
}

// Two word vectors clamped to bytes and interleaved: even, odd, even, odd.
KIVO_INLINE U8 MergeSat(I16 even, I16 odd) {
  const __m128i v = _mm_packus_epi16(Raw(even), Raw(odd));
  return reinterpret_cast<U8>(_mm_unpacklo_epi8(v, _mm_unpackhi_epi64(v, v)));
}

KIVO_INLINE I32 MulAddPairs(I16 a, I16 b) {
  return reinterpret_cast<I32>(_mm_madd_epi16(Raw(a), Raw(b)));
}

// The upper word of each product.
KIVO_INLINE U16 MulHigh(U16 a, U16 b) {
  return reinterpret_cast<U16>(_mm_mulhi_epu16(Raw(a), Raw(b)));
}

// Low words, and high words, of two doubleword vectors, in order.
KIVO_INLINE U16 PackHigh(U32 a, U32 b) {
  return reinterpret_cast<U16>(_mm_packs_epi32(_mm_srai_epi32(Raw(a), 16), _mm_srai_epi32(Raw(b), 16)));
}
KIVO_INLINE U16 PackLow(U32 a, U32 b) {
  return PackHigh(a << 16, b << 16);
}

KIVO_INLINE WordPair Widen(U8 v) {
  const __m128i zero = _mm_setzero_si128();
  return {reinterpret_cast<U16>(_mm_unpacklo_epi8(Raw(v), zero)),
          reinterpret_cast<U16>(_mm_unpackhi_epi8(Raw(v), zero))};
}

// Words of a and b in turn, in two vectors that PackHighLanes makes one again.
KIVO_INLINE WordPair ZipLanes(U16 a, U16 b) {
  return {reinterpret_cast<U16>(_mm_unpacklo_epi16(Raw(a), Raw(b))),
          reinterpret_cast<U16>(_mm_unpackhi_epi16(Raw(a), Raw(b)))};
}
// Bytes of a and b as the lower and the upper ones of words, in the order that PackLowLanes takes.
KIVO_INLINE WordPair ZipLanes(U8 a, U8 b) {
  return {reinterpret_cast<U16>(_mm_unpacklo_epi8(Raw(a), Raw(b))),
          reinterpret_cast<U16>(_mm_unpackhi_epi8(Raw(a), Raw(b)))};
}
KIVO_INLINE U16 PackHighLanes(I32 a, I32 b) {
  return PackHigh(reinterpret_cast<U32>(a), reinterpret_cast<U32>(b));
}

// Doublewords clamped to words; makes one again of what ZipLanes made two.
KIVO_INLINE I16 PackSatLanes(I32 a, I32 b) {
  return reinterpret_cast<I16>(_mm_packs_epi32(Raw(a), Raw(b)));
}

// The same clamped to words without a sign.
KIVO_INLINE U16 PackWordsLanes(I32 a, I32 b) {
#ifdef __SSE4_1__
  return reinterpret_cast<U16>(_mm_packus_epi32(Raw(a), Raw(b)));
#else
  // Around zero, and back.
  return reinterpret_cast<U16>(PackSatLanes(a - 0x8000, b - 0x8000)) ^ 0x8000;
#endif
}

// Lanes last to first.
KIVO_INLINE U16 Reverse(U16 v) {
  const __m128i halves = _mm_shufflehi_epi16(_mm_shufflelo_epi16(Raw(v), 0x1B), 0x1B);
  return reinterpret_cast<U16>(_mm_shuffle_epi32(halves, 0x4E));
}
KIVO_INLINE U8 Reverse(U8 v) {
  const U16 words = Reverse(reinterpret_cast<U16>(v));
  return reinterpret_cast<U8>(words << 8 | words >> 8);
}

// The one lane from p.
template <ptrdiff_t iStride>
KIVO_INLINE U8 LoadLanes(const uint8_t *p) {
  return Load<U8>(p);
}

// The one lane to p, all 16 bytes of it.
template <size_t uiStride>
KIVO_INLINE void StoreLanes(uint8_t *p, U8 v) {
  Store(p, v);
}

// The same as a store that bypasses the caches, for lanes at addresses aligned to their size.
template <size_t uiStride>
KIVO_INLINE void StreamLanes(uint8_t *p, U8 v) {
  Stream(p, v);
}

template <bool bStream>
KIVO_INLINE void StoreVec(uint8_t *p, __m128i v) {
  if constexpr (bStream) {
    _mm_stream_si128(reinterpret_cast<__m128i *>(p), v);
  } else {
    _mm_storeu_si128(reinterpret_cast<__m128i *>(p), v);
  }
}

// Three vectors of one lane each, one behind the other.
template <bool bStream>
KIVO_INLINE void StoreTriple(uint8_t *p, __m128i v0, __m128i v1, __m128i v2) {
  StoreVec<bStream>(p, v0);
  StoreVec<bStream>(p + 16, v1);
  StoreVec<bStream>(p + 32, v2);
}

// Pixels from words whose upper bytes count.
template <bool bStream>
KIVO_INLINE void StoreUpperBGRA(uint8_t *p, U16 b, U16 g, U16 r) {
  const __m128i bg = Raw(b >> 8 | (g & 0xFF00));
  const __m128i ra = Raw(r >> 8 | 0xFF00);
  StoreVec<bStream>(p, _mm_unpacklo_epi16(bg, ra));
  StoreVec<bStream>(p + 16, _mm_unpackhi_epi16(bg, ra));
}

// The same for words.
template <bool bStream>
KIVO_INLINE void StoreBGRA(uint8_t *p, U16 b, U16 g, U16 r) {
  const __m128i alpha = _mm_set1_epi8(-1);
  const __m128i bgLow = _mm_unpacklo_epi16(Raw(b), Raw(g));
  const __m128i bgHigh = _mm_unpackhi_epi16(Raw(b), Raw(g));
  const __m128i raLow = _mm_unpacklo_epi16(Raw(r), alpha);
  const __m128i raHigh = _mm_unpackhi_epi16(Raw(r), alpha);
  StoreVec<bStream>(p, _mm_unpacklo_epi32(bgLow, raLow));
  StoreVec<bStream>(p + 16, _mm_unpackhi_epi32(bgLow, raLow));
  StoreVec<bStream>(p + 32, _mm_unpacklo_epi32(bgHigh, raHigh));
  StoreVec<bStream>(p + 48, _mm_unpackhi_epi32(bgHigh, raHigh));
}

template <bool bStream>
KIVO_INLINE void StoreBGRA(uint8_t *p, U8 b, U8 g, U8 r) {
  const __m128i alpha = _mm_set1_epi8(-1);
  const __m128i bgLow = _mm_unpacklo_epi8(Raw(b), Raw(g));
  const __m128i bgHigh = _mm_unpackhi_epi8(Raw(b), Raw(g));
  const __m128i raLow = _mm_unpacklo_epi8(Raw(r), alpha);
  const __m128i raHigh = _mm_unpackhi_epi8(Raw(r), alpha);
  StoreVec<bStream>(p, _mm_unpacklo_epi16(bgLow, raLow));
  StoreVec<bStream>(p + 16, _mm_unpackhi_epi16(bgLow, raLow));
  StoreVec<bStream>(p + 32, _mm_unpacklo_epi16(bgHigh, raHigh));
  StoreVec<bStream>(p + 48, _mm_unpackhi_epi16(bgHigh, raHigh));
}

#ifdef __SSE4_1__

// The words of each pair replaced by its first, or by its second.
KIVO_INLINE U16 RepeatEven(U16 v) {
  const __m128i table = _mm_setr_epi8(0, 1, 0, 1, 4, 5, 4, 5, 8, 9, 8, 9, 12, 13, 12, 13);
  return reinterpret_cast<U16>(_mm_shuffle_epi8(Raw(v), table));
}
KIVO_INLINE U16 RepeatOdd(U16 v) {
  const __m128i table = _mm_setr_epi8(2, 3, 2, 3, 6, 7, 6, 7, 10, 11, 10, 11, 14, 15, 14, 15);
  return reinterpret_cast<U16>(_mm_shuffle_epi8(Raw(v), table));
}

// Bytes of a lane by the lower 4 bits of an index; 0 where its highest bit is set.
KIVO_INLINE U8 LookupNear(U8 index, U8 table) {
  return reinterpret_cast<U8>(_mm_shuffle_epi8(Raw(table), Raw(index)));
}

KIVO_INLINE I16 MulHighRound(I16 a, I16 b) {
  return reinterpret_cast<I16>(_mm_mulhrs_epi16(Raw(a), Raw(b)));
}

// a where the mask is set, else b.
KIVO_INLINE U8 Blend(U8 mask, U8 a, U8 b) {
  return reinterpret_cast<U8>(SelectBytes(Raw(mask), Raw(a), Raw(b)));
}

// Bytes of the lane by index below 16.
KIVO_INLINE U8 Lookup(U8 v, U8 table) {
  return reinterpret_cast<U8>(_mm_shuffle_epi8(Raw(v), Raw(table)));
}

template <bool bStream>
KIVO_INLINE void StoreBGR(uint8_t *p, U8 b, U8 g, U8 r) {
  static constexpr Table c_sB = MakeTable([](size_t j) { return BgrSourcePixel(16, 0, j); });
  static constexpr Table c_sG = MakeTable([](size_t j) { return BgrSourcePixel(16, 1, j); });
  static constexpr Table c_sR = MakeTable([](size_t j) { return BgrSourcePixel(16, 2, j); });
  static constexpr Table c_s1 = MakeTable([](size_t j) { return j % 3 == 1 ? 255 : 0; });
  static constexpr Table c_s2 = MakeTable([](size_t j) { return j % 3 == 2 ? 255 : 0; });
  const __m128i vb = Raw(Lookup(b, Load(c_sB)));
  const __m128i vg = Raw(Lookup(g, Load(c_sG)));
  const __m128i vr = Raw(Lookup(r, Load(c_sR)));
  const __m128i m1 = Raw(Load(c_s1));
  const __m128i m2 = Raw(Load(c_s2));
  StoreVec<bStream>(p, _mm_blendv_epi8(_mm_blendv_epi8(vb, vg, m1), vr, m2));
  StoreVec<bStream>(p + 16, _mm_blendv_epi8(_mm_blendv_epi8(vg, vr, m1), vb, m2));
  StoreVec<bStream>(p + 32, _mm_blendv_epi8(_mm_blendv_epi8(vr, vb, m1), vg, m2));
}

template <bool bStream>
KIVO_INLINE void StoreGreyBGR(uint8_t *p, U8 v) {
  static constexpr Table c_s0 = MakeTable([](size_t j) { return j / 3; });
  static constexpr Table c_s1 = MakeTable([](size_t j) { return (16 + j) / 3; });
  static constexpr Table c_s2 = MakeTable([](size_t j) { return (32 + j) / 3; });
  StoreVec<bStream>(p, Raw(Lookup(v, Load(c_s0))));
  StoreVec<bStream>(p + 16, Raw(Lookup(v, Load(c_s1))));
  StoreVec<bStream>(p + 32, Raw(Lookup(v, Load(c_s2))));
}

#else

// Bytes of a lane by the lower 4 bits of an index; 0 where its highest bit is set.
KIVO_INLINE U8 LookupNear(U8 index, U8 table) {
  U8 v;
  for (size_t i = 0; i < c_uiVec; ++i) v[i] = index[i] < 128 ? table[index[i] % 16] : 0;
  return v;
}

// The product in its two halves, the lower one rounded to the bit that joins the upper.
KIVO_INLINE I16 MulHighRound(I16 a, I16 b) {
  const U16 low = reinterpret_cast<U16>(_mm_mullo_epi16(Raw(a), Raw(b)));
  const U16 high = reinterpret_cast<U16>(_mm_mulhi_epi16(Raw(a), Raw(b)));
  return reinterpret_cast<I16>((high << 1) + (((low >> 14) + 1) >> 1));
}

// Four BGR0 words to 12 bytes at the bottom of a vector.
KIVO_INLINE __m128i CloseGaps(__m128i v) {
  const __m128i first = _mm_and_si128(v, _mm_set1_epi64x(0x0000000000FFFFFF));
  const __m128i second = _mm_and_si128(_mm_srli_epi64(v, 8), _mm_set1_epi64x(0x0000FFFFFF000000));
  const __m128i six = _mm_or_si128(first, second);  // 6 bytes at the bottom of each half
  return _mm_or_si128(_mm_move_epi64(six), _mm_srli_si128(_mm_andnot_si128(_mm_set_epi64x(0, -1), six), 2));
}

template <bool bStream>
KIVO_INLINE void StoreBGR(uint8_t *p, U8 b, U8 g, U8 r) {
  const __m128i zero = _mm_setzero_si128();
  const __m128i bgLow = _mm_unpacklo_epi8(Raw(b), Raw(g));
  const __m128i bgHigh = _mm_unpackhi_epi8(Raw(b), Raw(g));
  const __m128i rLow = _mm_unpacklo_epi8(Raw(r), zero);
  const __m128i rHigh = _mm_unpackhi_epi8(Raw(r), zero);
  const __m128i v0 = CloseGaps(_mm_unpacklo_epi16(bgLow, rLow));
  const __m128i v1 = CloseGaps(_mm_unpackhi_epi16(bgLow, rLow));
  const __m128i v2 = CloseGaps(_mm_unpacklo_epi16(bgHigh, rHigh));
  const __m128i v3 = CloseGaps(_mm_unpackhi_epi16(bgHigh, rHigh));
  StoreVec<bStream>(p, _mm_or_si128(v0, _mm_slli_si128(v1, 12)));
  StoreVec<bStream>(p + 16, _mm_or_si128(_mm_srli_si128(v1, 4), _mm_slli_si128(v2, 8)));
  StoreVec<bStream>(p + 32, _mm_or_si128(_mm_srli_si128(v2, 8), _mm_slli_si128(v3, 4)));
}

template <bool bStream>
KIVO_INLINE void StoreGreyBGR(uint8_t *p, U8 v) {
  StoreBGR<bStream>(p, v, v, v);
}

// Pixels of three words, and of three bytes or words to planes, one at a time.
template <bool bStream>
KIVO_INLINE void StoreBGR(uint8_t *p, U16 b, U16 g, U16 r) {
  uint16_t aus[3 * c_uiVec / 2];
  for (size_t i = 0; i < c_uiVec / 2; ++i) {
    aus[3 * i] = b[i];
    aus[3 * i + 1] = g[i];
    aus[3 * i + 2] = r[i];
  }
  const uint8_t *const puc = reinterpret_cast<const uint8_t *>(aus);
  StoreTriple<bStream>(p, Raw(Load<U8>(puc)), Raw(Load<U8>(puc + 16)), Raw(Load<U8>(puc + 32)));
}

template <class Lane, class V>
KIVO_INLINE void LoadTriples(const uint8_t *p, V &b, V &g, V &r) {
  constexpr size_t c_uiPixels = c_uiVec / sizeof(Lane);
  Lane at[3 * c_uiPixels];
  Lane atPlanes[3][c_uiPixels];
  memcpy(at, p, sizeof at);
  for (size_t i = 0; i < 3 * c_uiPixels; ++i) atPlanes[i % 3][i / 3] = at[i];
  b = Load<V>(atPlanes[0]);
  g = Load<V>(atPlanes[1]);
  r = Load<V>(atPlanes[2]);
}
KIVO_INLINE void LoadBGR(const uint8_t *p, U8 &b, U8 &g, U8 &r) {
  LoadTriples<uint8_t>(p, b, g, r);
}
KIVO_INLINE void LoadBGR(const uint8_t *p, U16 &b, U16 &g, U16 &r) {
  LoadTriples<uint16_t>(p, b, g, r);
}

#endif

// Pixels whose channels are all v; StoreGreyBGR above is its sibling.
template <bool bStream>
KIVO_INLINE void StoreGreyBGRA(uint8_t *p, U8 v) {
  StoreBGRA<bStream>(p, v, v, v);
}

}  // namespace
}  // namespace Kivo::KIVO_TARGET

#ifdef __SSE4_1__
#include "simd/vec_lanes.h"
#endif

#endif  // KIVO_SIMD_VEC_SSE_H
