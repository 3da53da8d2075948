// SPDX-License-Identifier: Apache-2.0
// Words of the AVX-512 target: F, BW, DQ, VL and VBMI. Included by vec.h alone.
#ifndef KIVO_SIMD_VEC_AVX512_H
#define KIVO_SIMD_VEC_AVX512_H

#include <immintrin.h>

namespace Kivo::KIVO_TARGET {
namespace {

constexpr bool c_bLookup = true;
constexpr bool c_bLookupClears = false;
constexpr size_t c_uiLane = 64;
constexpr bool c_bWordPixels = true;

template <class V>
KIVO_INLINE __m512i Raw(V v) {
  return reinterpret_cast<__m512i>(v);
}

// Keeps a loaded vector in its register: g++ would fold one unaligned load into several instructions and so
// issue it several times.
template <class V>
KIVO_INLINE V Pin(V v) {
  asm("" : "+v"(v));
  return v;
}

KIVO_INLINE void Stream(void *p, U8 v) {
  _mm512_stream_si512(static_cast<__m512i *>(p), Raw(v));
}

// Clamped sum and difference.
KIVO_INLINE U8 AddSat(U8 a, U8 b) {
  return reinterpret_cast<U8>(_mm512_adds_epu8(Raw(a), Raw(b)));
}
KIVO_INLINE U8 SubSat(U8 a, U8 b) {
  return reinterpret_cast<U8>(_mm512_subs_epu8(Raw(a), Raw(b)));
}

KIVO_INLINE U8 Avg(U8 a, U8 b) {
  return reinterpret_cast<U8>(_mm512_avg_epu8(Raw(a), Raw(b)));
}
KIVO_INLINE U16 Avg(U16 a, U16 b) {
  return reinterpret_cast<U16>(_mm512_avg_epu16(Raw(a), Raw(b)));
}
// The difference, or 0.
KIVO_INLINE U16 SubSat(U16 a, U16 b) {
  return reinterpret_cast<U16>(_mm512_subs_epu16(Raw(a), Raw(b)));
}
KIVO_INLINE U16 Lesser(U16 a, U16 b) {
  return reinterpret_cast<U16>(_mm512_min_epu16(Raw(a), Raw(b)));
}
KIVO_INLINE I16 Greater(I16 a, I16 b) {
  return reinterpret_cast<I16>(_mm512_max_epi16(Raw(a), Raw(b)));
}
KIVO_INLINE I16 Abs(I16 v) {
  return reinterpret_cast<I16>(_mm512_abs_epi16(Raw(v)));
}

KIVO_INLINE U16 ShiftRight(U16 v, unsigned uiCount) {
  return reinterpret_cast<U16>(_mm512_srlv_epi16(Raw(v), _mm512_set1_epi16(static_cast<int16_t>(uiCount))));
}

// Which lanes of an alternating row hold its first kind of site; the same for bytes and for words.
struct Parity {
  __mmask64 mEven;
};
KIVO_INLINE Parity MakeParity(bool bEven) {
  return {bEven ? 0x5555555555555555u : 0xAAAAAAAAAAAAAAAAu};
}
KIVO_INLINE U8 Select(Parity s, U8 a, U8 b) {
  return reinterpret_cast<U8>(_mm512_mask_blend_epi8(s.mEven, Raw(b), Raw(a)));
}
KIVO_INLINE U16 Select(Parity s, U16 a, U16 b) {
  return reinterpret_cast<U16>(_mm512_mask_blend_epi16(static_cast<__mmask32>(s.mEven), Raw(b), Raw(a)));
}

// a in the even lanes, or in the odd ones, and b in the others.
template <bool bEven>
KIVO_INLINE U16 Alternate(U16 a, U16 b) {
  return reinterpret_cast<U16>(_mm512_mask_blend_epi16(bEven ? 0x55555555u : 0xAAAAAAAAu, Raw(b), Raw(a)));
}

// a where x > y, else b.
KIVO_INLINE I16 SelectGreater(I16 x, I16 y, I16 a, I16 b) {
  return reinterpret_cast<I16>(
      _mm512_mask_blend_epi16(_mm512_cmpgt_epi16_mask(Raw(x), Raw(y)), Raw(b), Raw(a)));
}

KIVO_INLINE __mmask32 IsGreater(I16 x, I16 y) {
  return _mm512_cmpgt_epi16_mask(Raw(x), Raw(y));
}

// a where x = y, else b.
KIVO_INLINE I16 SelectEqual(I16 x, I16 y, I16 a, I16 b) {
  return reinterpret_cast<I16>(
      _mm512_mask_blend_epi16(_mm512_cmpeq_epi16_mask(Raw(x), Raw(y)), Raw(b), Raw(a)));
}

// a in the lanes of the bits that are set, else b.
KIVO_INLINE I16 SelectLanes(uint32_t uiBits, I16 a, I16 b) {
  return reinterpret_cast<I16>(_mm512_mask_blend_epi16(uiBits, Raw(b), Raw(a)));
}

// The bytes of the bits that are set; no other is touched, and each gives 0.
KIVO_INLINE U8 LoadSome(const uint8_t *p, uint64_t uiBits) {
  return reinterpret_cast<U8>(_mm512_maskz_loadu_epi8(uiBits, p));
}

KIVO_INLINE U16 LoadSomeWords(const uint8_t *p, uint32_t uiBits) {
  return reinterpret_cast<U16>(_mm512_maskz_loadu_epi16(uiBits, p));
}

// Low bytes of two word vectors, in order.
KIVO_INLINE U8 PackLow(U16 a, U16 b) {
  static constexpr Table c_sLow = MakeTable([](size_t i) { return 2 * i; });
  return reinterpret_cast<U8>(_mm512_permutex2var_epi8(Raw(a), Raw(Load(c_sLow)), Raw(b)));
}

// High bytes of two word vectors, in order.
KIVO_INLINE U8 PackHigh(U16 a, U16 b) {
  static constexpr Table c_sHigh = MakeTable([](size_t i) { return 2 * i + 1; });
  return reinterpret_cast<U8>(_mm512_permutex2var_epi8(Raw(a), Raw(Load(c_sHigh)), Raw(b)));
}

// Each lane of the result from that lane of a and of b; a lane is the whole vector here.
KIVO_INLINE U8 PackLowLanes(U16 a, U16 b) {
  return PackLow(a, b);
}

// Two word vectors clamped to bytes, in order.
KIVO_INLINE U8 PackSat(I16 a, I16 b) {
  const __m512i v = _mm512_packus_epi16(Raw(a), Raw(b));
  return reinterpret_cast<U8>(_mm512_permutexvar_epi64(_mm512_setr_epi64(0, 2, 4, 6, 1, 3, 5, 7), v));
}

// The same, but for each 16 bytes of the vectors on their own: 8 bytes from a, then 8 from b.
KIVO_INLINE U8 PackSatBy16(I16 a, I16 b) {
  return reinterpret_cast<U8>(_mm512_packus_epi16(Raw(a), Raw(b)));
}

// Of each 16 bytes the first 8 to words.
KIVO_INLINE U16 WidenLowBy16(U8 v) {
  return reinterpret_cast<U16>(_mm512_unpacklo_epi8(Raw(v), __m512i{}));
}

// Two word vectors clamped to bytes and interleaved: even, odd, even, odd.
KIVO_INLINE U8 MergeSat(I16 even, I16 odd) {
  const __m512i v = _mm512_packus_epi16(Raw(even), Raw(odd));
  return reinterpret_cast<U8>(
      _mm512_shuffle_epi8(v, _mm512_set4_epi32(0x0F070E06, 0x0D050C04, 0x0B030A02, 0x09010800)));
}

// The words of each pair replaced by its first, or by its second.
KIVO_INLINE U16 RepeatEven(U16 v) {
  return reinterpret_cast<U16>(_mm512_mask_blend_epi16(0x55555555u, _mm512_slli_epi32(Raw(v), 16), Raw(v)));
}
KIVO_INLINE U16 RepeatOdd(U16 v) {
  return reinterpret_cast<U16>(_mm512_mask_blend_epi16(0xAAAAAAAAu, _mm512_srli_epi32(Raw(v), 16), Raw(v)));
}

KIVO_INLINE I16 MulHighRound(I16 a, I16 b) {
  return reinterpret_cast<I16>(_mm512_mulhrs_epi16(Raw(a), Raw(b)));
}
KIVO_INLINE I32 MulAddPairs(I16 a, I16 b) {
  return reinterpret_cast<I32>(_mm512_madd_epi16(Raw(a), Raw(b)));
}

// The upper word of each product.
KIVO_INLINE U16 MulHigh(U16 a, U16 b) {
  return reinterpret_cast<U16>(_mm512_mulhi_epu16(Raw(a), Raw(b)));
}

// Words by index.
KIVO_INLINE U16 Lookup(U16 v, const Table &sIndex) {
  return reinterpret_cast<U16>(_mm512_permutexvar_epi16(Raw(Load(sIndex)), Raw(v)));
}

// The words of three vectors by index; an index counts through all of them. Only those of the mask come from
// the third.
KIVO_INLINE U16 Lookup(U16 v0, U16 v1, U16 v2, const Table &sIndex, __mmask32 mThird) {
  const __m512i index = Raw(Load(sIndex));
  const __m512i v = _mm512_permutex2var_epi16(Raw(v0), index, Raw(v1));
  return reinterpret_cast<U16>(_mm512_mask_permutexvar_epi16(v, mThird, index, Raw(v2)));
}

// Low words, and high words, of two doubleword vectors, in order.
KIVO_INLINE U16 PackLow(U32 a, U32 b) {
  static constexpr Table c_s = MakeWordTable([](size_t i) { return 2 * i; });
  return reinterpret_cast<U16>(_mm512_permutex2var_epi16(Raw(a), Raw(Load(c_s)), Raw(b)));
}
KIVO_INLINE U16 PackHigh(U32 a, U32 b) {
  static constexpr Table c_s = MakeWordTable([](size_t i) { return 2 * i + 1; });
  return reinterpret_cast<U16>(_mm512_permutex2var_epi16(Raw(a), Raw(Load(c_s)), Raw(b)));
}

KIVO_INLINE WordPair Widen(U8 v) {
  return {reinterpret_cast<U16>(_mm512_cvtepu8_epi16(_mm512_castsi512_si256(Raw(v)))),
          reinterpret_cast<U16>(_mm512_cvtepu8_epi16(_mm512_extracti64x4_epi64(Raw(v), 1)))};
}

// Words of a and b in turn, in two vectors that PackHighLanes makes one again.
KIVO_INLINE WordPair ZipLanes(U16 a, U16 b) {
  return {reinterpret_cast<U16>(_mm512_unpacklo_epi16(Raw(a), Raw(b))),
          reinterpret_cast<U16>(_mm512_unpackhi_epi16(Raw(a), Raw(b)))};
}
KIVO_INLINE U16 PackHighLanes(I32 a, I32 b) {
  return reinterpret_cast<U16>(
      _mm512_packs_epi32(_mm512_srai_epi32(Raw(a), 16), _mm512_srai_epi32(Raw(b), 16)));
}

// Lane l from p + l * iStride.
template <ptrdiff_t iStride>
KIVO_INLINE U8 LoadLanes(const uint8_t *p) {
  return Load<U8>(p);
}

// Each lane to p + l * uiStride; what a lane holds beyond the stride may be written too.
template <size_t uiStride>
KIVO_INLINE void StoreLanes(uint8_t *p, U8 v) {
  Store(p, v);
}

// The same as a store that bypasses the caches, for lanes at addresses aligned to their size.
template <size_t uiStride>
KIVO_INLINE void StreamLanes(uint8_t *p, U8 v) {
  Stream(p, v);
}

// Bytes of a lane by index. An index outside the lane gives an unspecified byte.
KIVO_INLINE U8 Lookup(U8 v, U8 table) {
  return reinterpret_cast<U8>(_mm512_permutexvar_epi8(Raw(table), Raw(v)));
}

// Bytes of a table of 256, in four vectors, by index.
KIVO_INLINE U8 Lookup(const U8 (&aTable)[4], U8 index) {
  const __m512i i = Raw(index);
  const __m512i low = _mm512_permutex2var_epi8(Raw(aTable[0]), i, Raw(aTable[1]));
  const __m512i high = _mm512_permutex2var_epi8(Raw(aTable[2]), i, Raw(aTable[3]));
  return reinterpret_cast<U8>(_mm512_mask_blend_epi8(_mm512_movepi8_mask(i), low, high));
}

// Doublewords clamped to words; makes one again of what ZipLanes made two.
KIVO_INLINE I16 PackSatLanes(I32 a, I32 b) {
  return reinterpret_cast<I16>(_mm512_packs_epi32(Raw(a), Raw(b)));
}

// The same clamped to words without a sign.
KIVO_INLINE U16 PackWordsLanes(I32 a, I32 b) {
  return reinterpret_cast<U16>(_mm512_packus_epi32(Raw(a), Raw(b)));
}

// Words of a table of 32 by index, and of one of two, the second in the lanes of the mask. Of an index only
// the lower 5 bits count.
KIVO_INLINE U16 Lookup(U16 index, U16 table) {
  return reinterpret_cast<U16>(_mm512_permutexvar_epi16(Raw(index), Raw(table)));
}
KIVO_INLINE U16 Lookup(U16 index, const U16 (&aTables)[2], __mmask32 mSecond) {
  return reinterpret_cast<U16>(
      _mm512_mask_permutexvar_epi16(Raw(Lookup(index, aTables[0])), mSecond, Raw(index), Raw(aTables[1])));
}

// Lanes last to first.
KIVO_INLINE U8 Reverse(U8 v) {
  static constexpr Table c_s = MakeTable([](size_t j) { return 63 - j; });
  return Lookup(v, Load(c_s));
}
KIVO_INLINE U16 Reverse(U16 v) {
  static constexpr Table c_s = MakeWordTable([](size_t i) { return 31 - i; });
  return reinterpret_cast<U16>(_mm512_permutexvar_epi16(Raw(Load(c_s)), Raw(v)));
}

// Where channel uiChannel of pixel i lies in pixels of three samples.
template <size_t uiChannel>
constexpr size_t TripleIndex(size_t i) {
  return 3 * i + uiChannel;
}

// Pixels of three bytes, or of three words, to planes.
template <size_t uiChannel>
KIVO_INLINE U8 PlaneOf(U8 v0, U8 v1, U8 v2) {
  static constexpr Table c_s = MakeTable([](size_t j) { return TripleIndex<uiChannel>(j) % 128; });
  constexpr __mmask64 mThird = ~__mmask64{0} << (128 + 2 - uiChannel) / 3;
  const __m512i index = Raw(Load(c_s));
  const __m512i v = _mm512_permutex2var_epi8(Raw(v0), index, Raw(v1));
  return reinterpret_cast<U8>(_mm512_mask_permutexvar_epi8(v, mThird, index, Raw(v2)));
}
template <size_t uiChannel>
KIVO_INLINE U16 PlaneOf(U16 v0, U16 v1, U16 v2) {
  static constexpr Table c_s = MakeWordTable(TripleIndex<uiChannel>);
  return Lookup(v0, v1, v2, c_s, ~__mmask32{0} << (64 + 2 - uiChannel) / 3);
}
template <class V>
KIVO_INLINE void LoadBGR(const uint8_t *p, V &b, V &g, V &r) {
  const V v0 = Load<V>(p);
  const V v1 = Load<V>(p + c_uiVec);
  const V v2 = Load<V>(p + 2 * c_uiVec);
  b = PlaneOf<0>(v0, v1, v2);
  g = PlaneOf<1>(v0, v1, v2);
  r = PlaneOf<2>(v0, v1, v2);
}

template <bool bStream>
KIVO_INLINE void StoreVec(uint8_t *p, __m512i v) {
  if constexpr (bStream) {
    _mm512_stream_si512(reinterpret_cast<__m512i *>(p), v);
  } else {
    _mm512_storeu_si512(p, v);
  }
}

// Which byte of its plane a pixel is.
struct InOrder {
  static constexpr size_t Byte(size_t uiPixel) { return uiPixel; }
};

// A vector of pixels of uiPixelBytes bytes.
template <size_t uiPixelBytes>
struct Joined {
  U8 av[uiPixelBytes];
};

template <class Place = InOrder>
KIVO_INLINE Joined<4> JoinBGRA(U8 b, U8 g, U8 r) {
  // Four pixels a doubleword: sorted so that the in-lane unpacks below come out in memory order.
  static constexpr Table c_s =
      MakeTable([](size_t j) { return Place::Byte(j / 4 % 4 * 16 + j / 16 * 4 + j % 4); });
  const __m512i vb = Raw(Lookup(b, Load(c_s)));
  const __m512i vg = Raw(Lookup(g, Load(c_s)));
  const __m512i vr = Raw(Lookup(r, Load(c_s)));
  const __m512i alpha = _mm512_set1_epi8(-1);
  const __m512i bgLow = _mm512_unpacklo_epi8(vb, vg);
  const __m512i bgHigh = _mm512_unpackhi_epi8(vb, vg);
  const __m512i raLow = _mm512_unpacklo_epi8(vr, alpha);
  const __m512i raHigh = _mm512_unpackhi_epi8(vr, alpha);
  return {{reinterpret_cast<U8>(_mm512_unpacklo_epi16(bgLow, raLow)),
           reinterpret_cast<U8>(_mm512_unpackhi_epi16(bgLow, raLow)),
           reinterpret_cast<U8>(_mm512_unpacklo_epi16(bgHigh, raHigh)),
           reinterpret_cast<U8>(_mm512_unpackhi_epi16(bgHigh, raHigh))}};
}

template <class Place = InOrder>
KIVO_INLINE Joined<3> JoinBGR(U8 b, U8 g, U8 r) {
  static constexpr Table c_sB = MakeTable([](size_t j) { return Place::Byte(BgrSourcePixel(64, 0, j)); });
  static constexpr Table c_sG = MakeTable([](size_t j) { return Place::Byte(BgrSourcePixel(64, 1, j)); });
  static constexpr Table c_sR = MakeTable([](size_t j) { return Place::Byte(BgrSourcePixel(64, 2, j)); });
  constexpr __mmask64 m1 = 0x2492492492492492u;  // j = 1 modulo 3
  constexpr __mmask64 m2 = 0x4924924924924924u;  // j = 2 modulo 3
  const __m512i vb = Raw(Lookup(b, Load(c_sB)));
  const __m512i vg = Raw(Lookup(g, Load(c_sG)));
  const __m512i vr = Raw(Lookup(r, Load(c_sR)));
  const auto mix = [](__m512i v0, __m512i v1, __m512i v2) {
    return reinterpret_cast<U8>(_mm512_mask_mov_epi8(_mm512_mask_mov_epi8(v0, m1, v1), m2, v2));
  };
  return {{mix(vb, vg, vr), mix(vg, vr, vb), mix(vr, vb, vg)}};
}

template <bool bStream, size_t uiPixelBytes>
KIVO_INLINE void StoreJoined(uint8_t *p, const Joined<uiPixelBytes> &s) {
  for (size_t k = 0; k < uiPixelBytes; ++k) StoreVec<bStream>(p + k * c_uiVec, Raw(s.av[k]));
}

// The first uiBytes bytes of them.
template <size_t uiPixelBytes>
KIVO_INLINE void StoreSome(uint8_t *p, const Joined<uiPixelBytes> &s, size_t uiBytes) {
  for (size_t k = 0; k < uiPixelBytes; ++k) {
    const size_t n = uiBytes < k * c_uiVec ? 0 : uiBytes - k * c_uiVec;
    const __mmask64 m = n < c_uiVec ? (__mmask64{1} << n) - 1 : ~__mmask64{0};
    _mm512_mask_storeu_epi8(p + k * c_uiVec, m, Raw(s.av[k]));
  }
}

template <bool bStream>
KIVO_INLINE void StoreBGRA(uint8_t *p, U8 b, U8 g, U8 r) {
  StoreJoined<bStream>(p, JoinBGRA(b, g, r));
}
template <bool bStream>
KIVO_INLINE void StoreBGR(uint8_t *p, U8 b, U8 g, U8 r) {
  StoreJoined<bStream>(p, JoinBGR(b, g, r));
}

// The same for words.
template <bool bStream>
KIVO_INLINE void StoreBGRA(uint8_t *p, U16 b, U16 g, U16 r) {
  const __m512i order = _mm512_setr_epi32(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15);
  const __m512i vb = _mm512_permutexvar_epi32(order, Raw(b));
  const __m512i vg = _mm512_permutexvar_epi32(order, Raw(g));
  const __m512i vr = _mm512_permutexvar_epi32(order, Raw(r));
  const __m512i alpha = _mm512_set1_epi8(-1);
  const __m512i bgLow = _mm512_unpacklo_epi16(vb, vg);
  const __m512i bgHigh = _mm512_unpackhi_epi16(vb, vg);
  const __m512i raLow = _mm512_unpacklo_epi16(vr, alpha);
  const __m512i raHigh = _mm512_unpackhi_epi16(vr, alpha);
  StoreVec<bStream>(p, _mm512_unpacklo_epi32(bgLow, raLow));
  StoreVec<bStream>(p + 64, _mm512_unpackhi_epi32(bgLow, raLow));
  StoreVec<bStream>(p + 128, _mm512_unpacklo_epi32(bgHigh, raHigh));
  StoreVec<bStream>(p + 192, _mm512_unpackhi_epi32(bgHigh, raHigh));
}

template <bool bStream>
KIVO_INLINE void StoreBGR(uint8_t *p, U16 b, U16 g, U16 r) {
  static constexpr Table c_sB = MakeWordTable([](size_t i) { return TriplePixel(32, 0, i); });
  static constexpr Table c_sG = MakeWordTable([](size_t i) { return TriplePixel(32, 1, i); });
  static constexpr Table c_sR = MakeWordTable([](size_t i) { return TriplePixel(32, 2, i); });
  constexpr __mmask32 m1 = 0x92492492u;  // word 1 modulo 3
  constexpr __mmask32 m2 = 0x24924924u;  // word 2 modulo 3
  const __m512i vb = _mm512_permutexvar_epi16(Raw(Load(c_sB)), Raw(b));
  const __m512i vg = _mm512_permutexvar_epi16(Raw(Load(c_sG)), Raw(g));
  const __m512i vr = _mm512_permutexvar_epi16(Raw(Load(c_sR)), Raw(r));
  StoreVec<bStream>(p, _mm512_mask_mov_epi16(_mm512_mask_mov_epi16(vb, m1, vg), m2, vr));
  StoreVec<bStream>(p + 64, _mm512_mask_mov_epi16(_mm512_mask_mov_epi16(vr, m1, vb), m2, vg));
  StoreVec<bStream>(p + 128, _mm512_mask_mov_epi16(_mm512_mask_mov_epi16(vg, m1, vr), m2, vb));
}

// Pixels from words of blue and green, and of red and alpha.
template <bool bStream>
KIVO_INLINE void StoreHalves(uint8_t *p, __m512i bg, __m512i ra) {
  static constexpr Table c_sLow =
      MakeTable([](size_t j) { return j % 2 == 1 ? 0 : j / 4 + (j % 4 == 2 ? 32 : 0); });
  static constexpr Table c_sHigh =
      MakeTable([](size_t j) { return j % 2 == 1 ? 0 : 16 + j / 4 + (j % 4 == 2 ? 32 : 0); });
  StoreVec<bStream>(p, _mm512_permutex2var_epi16(bg, Raw(Load(c_sLow)), ra));
  StoreVec<bStream>(p + 64, _mm512_permutex2var_epi16(bg, Raw(Load(c_sHigh)), ra));
}

// Pixels from words whose lower bytes count, and whose upper bytes do.
template <bool bStream>
KIVO_INLINE void StoreWordsBGRA(uint8_t *p, U16 b, U16 g, U16 r) {
  StoreHalves<bStream>(p, Raw((b & 0xFF) | g << 8), Raw((r & 0xFF) | 0xFF00));
}
template <bool bStream>
KIVO_INLINE void StoreUpperBGRA(uint8_t *p, U16 b, U16 g, U16 r) {
  constexpr __mmask64 mUpper = 0xAAAAAAAAAAAAAAAAu;
  StoreHalves<bStream>(p, _mm512_mask_blend_epi8(mUpper, Raw(b >> 8), Raw(g)), Raw(r >> 8 | 0xFF00));
}

constexpr Table c_sGreyBGRA = MakeTable([](size_t j) { return j / 4; });

// Pixels whose channels are all v.
template <bool bStream>
KIVO_INLINE void StoreGreyBGRA(uint8_t *p, U8 v) {
  constexpr __mmask64 mColour = 0x7777777777777777u;
  for (size_t k = 0; k < 4; ++k) {
    const __m512i index =
        _mm512_add_epi8(Raw(Load(c_sGreyBGRA)), _mm512_set1_epi8(static_cast<int8_t>(16 * k)));
    StoreVec<bStream>(p + 64 * k, _mm512_mask_permutexvar_epi8(_mm512_set1_epi8(-1), mColour, index, Raw(v)));
  }
}

template <bool bStream>
KIVO_INLINE void StoreGreyBGR(uint8_t *p, U8 v) {
  static constexpr Table c_s0 = MakeTable([](size_t j) { return j / 3; });
  static constexpr Table c_s1 = MakeTable([](size_t j) { return (64 + j) / 3; });
  static constexpr Table c_s2 = MakeTable([](size_t j) { return (128 + j) / 3; });
  StoreVec<bStream>(p, Raw(Lookup(v, Load(c_s0))));
  StoreVec<bStream>(p + 64, Raw(Lookup(v, Load(c_s1))));
  StoreVec<bStream>(p + 128, Raw(Lookup(v, Load(c_s2))));
}

}  // namespace
}  // namespace Kivo::KIVO_TARGET

#endif  // KIVO_SIMD_VEC_AVX512_H
