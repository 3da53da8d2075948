// SPDX-License-Identifier: Apache-2.0
// Words of the AVX2 target. Included by vec.h alone.
#ifndef KIVO_SIMD_VEC_AVX2_H
#define KIVO_SIMD_VEC_AVX2_H

#include <immintrin.h>

namespace Kivo::KIVO_TARGET {
namespace {

constexpr bool c_bLookup = true;
constexpr bool c_bLookupClears = true;
constexpr size_t c_uiLane = 16;
constexpr bool c_bWordPixels = false;

template <class V>
KIVO_INLINE __m256i Raw(V v) {
  return reinterpret_cast<__m256i>(v);
}

// Keeps a loaded vector in its register: g++ would fold one unaligned load into several instructions and so
// issue it several times.
template <class V>
KIVO_INLINE V Pin(V v) {
  asm("" : "+x"(v));
  return v;
}

KIVO_INLINE void Stream(void *p, U8 v) {
  _mm256_stream_si256(static_cast<__m256i *>(p), Raw(v));
}

// Clamped sum and difference.
KIVO_INLINE U8 AddSat(U8 a, U8 b) {
  return reinterpret_cast<U8>(_mm256_adds_epu8(Raw(a), Raw(b)));
}
KIVO_INLINE U8 SubSat(U8 a, U8 b) {
  return reinterpret_cast<U8>(_mm256_subs_epu8(Raw(a), Raw(b)));
}

KIVO_INLINE U8 Avg(U8 a, U8 b) {
  return reinterpret_cast<U8>(_mm256_avg_epu8(Raw(a), Raw(b)));
}
KIVO_INLINE U16 Avg(U16 a, U16 b) {
  return reinterpret_cast<U16>(_mm256_avg_epu16(Raw(a), Raw(b)));
}
// The difference, or 0.
KIVO_INLINE U16 SubSat(U16 a, U16 b) {
  return reinterpret_cast<U16>(_mm256_subs_epu16(Raw(a), Raw(b)));
}
KIVO_INLINE U16 Lesser(U16 a, U16 b) {
  return reinterpret_cast<U16>(_mm256_min_epu16(Raw(a), Raw(b)));
}
KIVO_INLINE I16 Greater(I16 a, I16 b) {
  return reinterpret_cast<I16>(_mm256_max_epi16(Raw(a), Raw(b)));
}
KIVO_INLINE I16 Abs(I16 v) {
  return reinterpret_cast<I16>(_mm256_abs_epi16(Raw(v)));
}

KIVO_INLINE U16 ShiftRight(U16 v, unsigned uiCount) {
  return reinterpret_cast<U16>(_mm256_srl_epi16(Raw(v), _mm_cvtsi32_si128(static_cast<int>(uiCount))));
}

// Which lanes of an alternating row hold its first kind of site, for bytes and for words.
struct Parity {
  __m256i bytes, words;
};
KIVO_INLINE Parity MakeParity(bool bEven) {
  const __m256i all = _mm256_set1_epi32(bEven ? 0 : -1);
  return {_mm256_xor_si256(all, _mm256_set1_epi16(0x00FF)),
          _mm256_xor_si256(all, _mm256_set1_epi32(0x0000FFFF))};
}
KIVO_INLINE U8 Select(const Parity &s, U8 a, U8 b) {
  return reinterpret_cast<U8>(_mm256_blendv_epi8(Raw(b), Raw(a), s.bytes));
}
KIVO_INLINE U16 Select(const Parity &s, U16 a, U16 b) {
  return reinterpret_cast<U16>(_mm256_blendv_epi8(Raw(b), Raw(a), s.words));
}

// a in the even lanes, or in the odd ones, and b in the others.
template <bool bEven>
KIVO_INLINE U16 Alternate(U16 a, U16 b) {
  return reinterpret_cast<U16>(_mm256_blend_epi16(Raw(b), Raw(a), bEven ? 0x55 : 0xAA));
}

// a where x > y, else b.
KIVO_INLINE I16 SelectGreater(I16 x, I16 y, I16 a, I16 b) {
  return reinterpret_cast<I16>(_mm256_blendv_epi8(Raw(b), Raw(a), _mm256_cmpgt_epi16(Raw(x), Raw(y))));
}

// Low bytes of two word vectors, each lane of the result from that lane of a and of b.
KIVO_INLINE U8 PackLowLanes(U16 a, U16 b) {
  const __m256i low = _mm256_set1_epi16(0x00FF);
  return reinterpret_cast<U8>(
      _mm256_packus_epi16(_mm256_and_si256(Raw(a), low), _mm256_and_si256(Raw(b), low)));
}

// Low bytes of two word vectors, in order.
KIVO_INLINE U8 PackLow(U16 a, U16 b) {
  return reinterpret_cast<U8>(_mm256_permute4x64_epi64(Raw(PackLowLanes(a, b)), 0xD8));
}

// High bytes of two word vectors, in order.
KIVO_INLINE U8 PackHigh(U16 a, U16 b) {
  const __m256i v = _mm256_packus_epi16(_mm256_srli_epi16(Raw(a), 8), _mm256_srli_epi16(Raw(b), 8));
  return reinterpret_cast<U8>(_mm256_permute4x64_epi64(v, 0xD8));
}

// Two word vectors clamped to bytes, in order.
KIVO_INLINE U8 PackSat(I16 a, I16 b) {
  return reinterpret_cast<U8>(_mm256_permute4x64_epi64(_mm256_packus_epi16(Raw(a), Raw(b)), 0xD8));
}

// The same, but for each 16 bytes of the vectors on their own: 8 bytes from a, then 8 from b.
KIVO_INLINE U8 PackSatBy16(I16 a, I16 b) {
  return reinterpret_cast<U8>(_mm256_packus_epi16(Raw(a), Raw(b)));
}

// Two word vectors clamped to bytes and interleaved: even, odd, even, odd.
KIVO_INLINE U8 MergeSat(I16 even, I16 odd) {
  const __m256i v = _mm256_packus_epi16(Raw(even), Raw(odd));
  return reinterpret_cast<U8>(_mm256_shuffle_epi8(
      v, _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 8, 1, 9, 2, 10, 3, 11, 4, 12, 5, 13, 6, 14, 7, 15))));
}

// The words of each pair replaced by its first, or by its second.
KIVO_INLINE U16 RepeatEven(U16 v) {
  const __m128i table = _mm_setr_epi8(0, 1, 0, 1, 4, 5, 4, 5, 8, 9, 8, 9, 12, 13, 12, 13);
  return reinterpret_cast<U16>(_mm256_shuffle_epi8(Raw(v), _mm256_broadcastsi128_si256(table)));
}
KIVO_INLINE U16 RepeatOdd(U16 v) {
  const __m128i table = _mm_setr_epi8(2, 3, 2, 3, 6, 7, 6, 7, 10, 11, 10, 11, 14, 15, 14, 15);
  return reinterpret_cast<U16>(_mm256_shuffle_epi8(Raw(v), _mm256_broadcastsi128_si256(table)));
}

KIVO_INLINE I16 MulHighRound(I16 a, I16 b) {
  return reinterpret_cast<I16>(_mm256_mulhrs_epi16(Raw(a), Raw(b)));
}
KIVO_INLINE I32 MulAddPairs(I16 a, I16 b) {
  return reinterpret_cast<I32>(_mm256_madd_epi16(Raw(a), Raw(b)));
}

// The upper word of each product.
KIVO_INLINE U16 MulHigh(U16 a, U16 b) {
  return reinterpret_cast<U16>(_mm256_mulhi_epu16(Raw(a), Raw(b)));
}

// Low words, and high words, of two doubleword vectors, in order.
KIVO_INLINE U16 PackHighLanes(I32 a, I32 b) {
  return reinterpret_cast<U16>(
      _mm256_packs_epi32(_mm256_srai_epi32(Raw(a), 16), _mm256_srai_epi32(Raw(b), 16)));
}
KIVO_INLINE U16 PackHigh(U32 a, U32 b) {
  const U16 v = PackHighLanes(reinterpret_cast<I32>(a), reinterpret_cast<I32>(b));
  return reinterpret_cast<U16>(_mm256_permute4x64_epi64(Raw(v), 0xD8));
}
KIVO_INLINE U16 PackLow(U32 a, U32 b) {
  return PackHigh(a << 16, b << 16);
}

KIVO_INLINE WordPair Widen(U8 v) {
  return {reinterpret_cast<U16>(_mm256_cvtepu8_epi16(_mm256_castsi256_si128(Raw(v)))),
          reinterpret_cast<U16>(_mm256_cvtepu8_epi16(_mm256_extracti128_si256(Raw(v), 1)))};
}

// Words of a and b in turn, in two vectors that PackHighLanes makes one again.
KIVO_INLINE WordPair ZipLanes(U16 a, U16 b) {
  return {reinterpret_cast<U16>(_mm256_unpacklo_epi16(Raw(a), Raw(b))),
          reinterpret_cast<U16>(_mm256_unpackhi_epi16(Raw(a), Raw(b)))};
}

// Lane l from p + l * iStride.
template <ptrdiff_t iStride>
KIVO_INLINE U8 LoadLanes(const uint8_t *p) {
  const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i *>(p));
  if constexpr (iStride == 0) return reinterpret_cast<U8>(_mm256_broadcastsi128_si256(low));
  const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i *>(p + iStride));
  return reinterpret_cast<U8>(_mm256_inserti128_si256(_mm256_castsi128_si256(low), high, 1));
}

// Each lane to p + l * uiStride; what a lane holds beyond the stride may be written too.
template <size_t uiStride>
KIVO_INLINE void StoreLanes(uint8_t *p, U8 v) {
  if constexpr (uiStride == 16) {
    Store(p, v);
  } else {
    _mm_storeu_si128(reinterpret_cast<__m128i *>(p), _mm256_castsi256_si128(Raw(v)));
    _mm_storeu_si128(reinterpret_cast<__m128i *>(p + uiStride), _mm256_extracti128_si256(Raw(v), 1));
  }
}

// The same as a store that bypasses the caches, for lanes at addresses aligned to their size.
template <size_t uiStride>
KIVO_INLINE void StreamLanes(uint8_t *p, U8 v) {
  _mm_stream_si128(reinterpret_cast<__m128i *>(p), _mm256_castsi256_si128(Raw(v)));
  _mm_stream_si128(reinterpret_cast<__m128i *>(p + uiStride), _mm256_extracti128_si256(Raw(v), 1));
}

// Bytes of a lane by index below 16.
KIVO_INLINE U8 Lookup(U8 v, U8 table) {
  return reinterpret_cast<U8>(_mm256_shuffle_epi8(Raw(v), Raw(table)));
}

// a where the mask is set, else b.
KIVO_INLINE U8 Blend(U8 mask, U8 a, U8 b) {
  return reinterpret_cast<U8>(_mm256_blendv_epi8(Raw(b), Raw(a), Raw(mask)));
}

// Doublewords clamped to words; makes one again of what ZipLanes made two.
KIVO_INLINE I16 PackSatLanes(I32 a, I32 b) {
  return reinterpret_cast<I16>(_mm256_packs_epi32(Raw(a), Raw(b)));
}

// The same clamped to words without a sign.
KIVO_INLINE U16 PackWordsLanes(I32 a, I32 b) {
  return reinterpret_cast<U16>(_mm256_packus_epi32(Raw(a), Raw(b)));
}

// Bytes of a lane by the lower 4 bits of an index; 0 where its highest bit is set.
KIVO_INLINE U8 LookupNear(U8 index, U8 table) {
  return reinterpret_cast<U8>(_mm256_shuffle_epi8(Raw(table), Raw(index)));
}

// Bytes of a and b as the lower and the upper ones of words, in the order that PackLowLanes takes.
KIVO_INLINE WordPair ZipLanes(U8 a, U8 b) {
  return {reinterpret_cast<U16>(_mm256_unpacklo_epi8(Raw(a), Raw(b))),
          reinterpret_cast<U16>(_mm256_unpackhi_epi8(Raw(a), Raw(b)))};
}

// Lanes last to first.
KIVO_INLINE U8 Reverse(U8 v) {
  static constexpr Table c_s = MakeTable([](size_t j) { return 15 - j % 16; });
  return reinterpret_cast<U8>(_mm256_permute4x64_epi64(Raw(Lookup(v, Load(c_s))), 0x4E));
}
KIVO_INLINE U16 Reverse(U16 v) {
  static constexpr Table c_s = MakeTable([](size_t j) { return 14 - j % 16 / 2 * 2 + j % 2; });
  const U8 lanes = Lookup(reinterpret_cast<U8>(v), Load(c_s));
  return reinterpret_cast<U16>(_mm256_permute4x64_epi64(Raw(lanes), 0x4E));
}

template <bool bStream>
KIVO_INLINE void StoreVec(uint8_t *p, __m256i v) {
  if constexpr (bStream) {
    _mm256_stream_si256(reinterpret_cast<__m256i *>(p), v);
  } else {
    _mm256_storeu_si256(reinterpret_cast<__m256i *>(p), v);
  }
}

template <bool bStream>
KIVO_INLINE void StoreBGRA(uint8_t *p, U8 b, U8 g, U8 r) {
  // Four pixels a doubleword: sorted so that the in-lane unpacks below come out in memory order.
  const __m256i order = _mm256_setr_epi32(0, 2, 4, 6, 1, 3, 5, 7);
  const __m256i vb = _mm256_permutevar8x32_epi32(Raw(b), order);
  const __m256i vg = _mm256_permutevar8x32_epi32(Raw(g), order);
  const __m256i vr = _mm256_permutevar8x32_epi32(Raw(r), order);
  const __m256i alpha = _mm256_set1_epi8(-1);
  const __m256i bgLow = _mm256_unpacklo_epi8(vb, vg);
  const __m256i bgHigh = _mm256_unpackhi_epi8(vb, vg);
  const __m256i raLow = _mm256_unpacklo_epi8(vr, alpha);
  const __m256i raHigh = _mm256_unpackhi_epi8(vr, alpha);
  StoreVec<bStream>(p, _mm256_unpacklo_epi16(bgLow, raLow));
  StoreVec<bStream>(p + 32, _mm256_unpackhi_epi16(bgLow, raLow));
  StoreVec<bStream>(p + 64, _mm256_unpacklo_epi16(bgHigh, raHigh));
  StoreVec<bStream>(p + 96, _mm256_unpackhi_epi16(bgHigh, raHigh));
}

// Pixels from words whose upper bytes count.
template <bool bStream>
KIVO_INLINE void StoreUpperBGRA(uint8_t *p, U16 b, U16 g, U16 r) {
  const __m256i bg = Raw(b >> 8 | (g & 0xFF00));
  const __m256i ra = Raw(r >> 8 | 0xFF00);
  const __m256i low = _mm256_unpacklo_epi16(bg, ra);
  const __m256i high = _mm256_unpackhi_epi16(bg, ra);
  StoreVec<bStream>(p, _mm256_permute2x128_si256(low, high, 0x20));
  StoreVec<bStream>(p + 32, _mm256_permute2x128_si256(low, high, 0x31));
}

// The same for words.
template <bool bStream>
KIVO_INLINE void StoreBGRA(uint8_t *p, U16 b, U16 g, U16 r) {
  const __m256i order = _mm256_setr_epi32(0, 2, 4, 6, 1, 3, 5, 7);
  const __m256i vb = _mm256_permutevar8x32_epi32(Raw(b), order);
  const __m256i vg = _mm256_permutevar8x32_epi32(Raw(g), order);
  const __m256i vr = _mm256_permutevar8x32_epi32(Raw(r), order);
  const __m256i alpha = _mm256_set1_epi8(-1);
  const __m256i bgLow = _mm256_unpacklo_epi16(vb, vg);
  const __m256i bgHigh = _mm256_unpackhi_epi16(vb, vg);
  const __m256i raLow = _mm256_unpacklo_epi16(vr, alpha);
  const __m256i raHigh = _mm256_unpackhi_epi16(vr, alpha);
  StoreVec<bStream>(p, _mm256_unpacklo_epi32(bgLow, raLow));
  StoreVec<bStream>(p + 32, _mm256_unpackhi_epi32(bgLow, raLow));
  StoreVec<bStream>(p + 64, _mm256_unpacklo_epi32(bgHigh, raHigh));
  StoreVec<bStream>(p + 96, _mm256_unpackhi_epi32(bgHigh, raHigh));
}

// The 48 bytes that each lane has in three vectors, one lane behind the other.
template <bool bStream>
KIVO_INLINE void StoreTriple(uint8_t *p, __m256i v0, __m256i v1, __m256i v2) {
  StoreVec<bStream>(p, _mm256_permute2x128_si256(v0, v1, 0x20));
  StoreVec<bStream>(p + 32, _mm256_permute2x128_si256(v2, v0, 0x30));
  StoreVec<bStream>(p + 64, _mm256_permute2x128_si256(v1, v2, 0x31));
}

template <bool bStream>
KIVO_INLINE void StoreBGR(uint8_t *p, U8 b, U8 g, U8 r) {
  static constexpr Table c_sB = MakeTable([](size_t j) { return BgrSourcePixel(16, 0, j % 16); });
  static constexpr Table c_sG = MakeTable([](size_t j) { return BgrSourcePixel(16, 1, j % 16); });
  static constexpr Table c_sR = MakeTable([](size_t j) { return BgrSourcePixel(16, 2, j % 16); });
  static constexpr Table c_s1 = MakeTable([](size_t j) { return j % 16 % 3 == 1 ? 255 : 0; });
  static constexpr Table c_s2 = MakeTable([](size_t j) { return j % 16 % 3 == 2 ? 255 : 0; });
  const __m256i vb = Raw(Lookup(b, Load(c_sB)));
  const __m256i vg = Raw(Lookup(g, Load(c_sG)));
  const __m256i vr = Raw(Lookup(r, Load(c_sR)));
  const __m256i m1 = Raw(Load(c_s1));
  const __m256i m2 = Raw(Load(c_s2));
  // Vector k of the 48 bytes that each lane makes.
  const __m256i v0 = _mm256_blendv_epi8(_mm256_blendv_epi8(vb, vg, m1), vr, m2);
  const __m256i v1 = _mm256_blendv_epi8(_mm256_blendv_epi8(vg, vr, m1), vb, m2);
  StoreTriple<bStream>(p, v0, v1, _mm256_blendv_epi8(_mm256_blendv_epi8(vr, vb, m1), vg, m2));
}

// Pixels whose channels are all v.
template <bool bStream>
KIVO_INLINE void StoreGreyBGRA(uint8_t *p, U8 v) {
  StoreBGRA<bStream>(p, v, v, v);
}

template <bool bStream>
KIVO_INLINE void StoreGreyBGR(uint8_t *p, U8 v) {
  // Each half of a result vector draws on one half of v.
  static constexpr Table c_s0 = MakeTable([](size_t j) { return j / 3; });
  static constexpr Table c_s1 = MakeTable([](size_t j) { return (32 + j) / 3 % 16; });
  static constexpr Table c_s2 = MakeTable([](size_t j) { return (64 + j) / 3 % 16; });
  const U8 low = reinterpret_cast<U8>(_mm256_permute4x64_epi64(Raw(v), 0x44));
  const U8 high = reinterpret_cast<U8>(_mm256_permute4x64_epi64(Raw(v), 0xEE));
  StoreVec<bStream>(p, Raw(Lookup(low, Load(c_s0))));
  StoreVec<bStream>(p + 32, Raw(Lookup(v, Load(c_s1))));
  StoreVec<bStream>(p + 64, Raw(Lookup(high, Load(c_s2))));
}

}  // namespace
}  // namespace Kivo::KIVO_TARGET

#include "simd/vec_lanes.h"

#endif  // KIVO_SIMD_VEC_AVX2_H
