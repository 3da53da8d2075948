// SPDX-License-Identifier: Apache-2.0
// Words of the NEON target, which every 64-bit ARM processor has. Included by vec.h alone.
#ifndef KIVO_SIMD_VEC_NEON_H
#define KIVO_SIMD_VEC_NEON_H

#include <arm_neon.h>

namespace Kivo::KIVO_TARGET {
namespace {

constexpr bool c_bLookup = true;
constexpr bool c_bLookupClears = true;
constexpr size_t c_uiLane = 16;
constexpr bool c_bWordPixels = false;

template <class V>
KIVO_INLINE V Pin(V v) {
  return v;
}

KIVO_INLINE uint8x16_t Raw(U8 v) {
  return reinterpret_cast<uint8x16_t>(v);
}
KIVO_INLINE uint16x8_t Raw(U16 v) {
  return reinterpret_cast<uint16x8_t>(v);
}
KIVO_INLINE int16x8_t Raw(I16 v) {
  return reinterpret_cast<int16x8_t>(v);
}

// The architecture offers no portable line-wide store that bypasses the caches; the fence has nothing to
// order.
KIVO_INLINE void Stream(void *p, U8 v) {
  Store(p, v);
}

// Clamped sum and difference.
KIVO_INLINE U8 AddSat(U8 a, U8 b) {
  return reinterpret_cast<U8>(vqaddq_u8(Raw(a), Raw(b)));
}
KIVO_INLINE U8 SubSat(U8 a, U8 b) {
  return reinterpret_cast<U8>(vqsubq_u8(Raw(a), Raw(b)));
}

KIVO_INLINE U8 Avg(U8 a, U8 b) {
  return reinterpret_cast<U8>(vrhaddq_u8(Raw(a), Raw(b)));
}
KIVO_INLINE U16 Avg(U16 a, U16 b) {
  return reinterpret_cast<U16>(vrhaddq_u16(Raw(a), Raw(b)));
}
// The difference, or 0.
KIVO_INLINE U16 SubSat(U16 a, U16 b) {
  return reinterpret_cast<U16>(vqsubq_u16(Raw(a), Raw(b)));
}
KIVO_INLINE U16 Lesser(U16 a, U16 b) {
  return reinterpret_cast<U16>(vminq_u16(Raw(a), Raw(b)));
}
KIVO_INLINE I16 Greater(I16 a, I16 b) {
  return reinterpret_cast<I16>(vmaxq_s16(Raw(a), Raw(b)));
}
KIVO_INLINE I16 Abs(I16 v) {
  return reinterpret_cast<I16>(vabsq_s16(Raw(v)));
}

KIVO_INLINE U16 ShiftRight(U16 v, unsigned uiCount) {
  return reinterpret_cast<U16>(
      vshlq_u16(Raw(v), vdupq_n_s16(static_cast<int16_t>(-static_cast<int>(uiCount)))));
}

// Which lanes of an alternating row hold its first kind of site, for bytes and for words.
struct Parity {
  uint8x16_t bytes;
  uint16x8_t words;
};
KIVO_INLINE Parity MakeParity(bool bEven) {
  return {vreinterpretq_u8_u16(vdupq_n_u16(bEven ? 0x00FF : 0xFF00)),
          vreinterpretq_u16_u32(vdupq_n_u32(bEven ? 0x0000FFFFu : 0xFFFF0000u))};
}
KIVO_INLINE U8 Select(const Parity &s, U8 a, U8 b) {
  return reinterpret_cast<U8>(vbslq_u8(s.bytes, Raw(a), Raw(b)));
}
KIVO_INLINE U16 Select(const Parity &s, U16 a, U16 b) {
  return reinterpret_cast<U16>(vbslq_u16(s.words, Raw(a), Raw(b)));
}

// a in the even lanes, or in the odd ones, and b in the others.
template <bool bEven>
KIVO_INLINE U16 Alternate(U16 a, U16 b) {
  return Select(MakeParity(bEven), a, b);
}

// a where x > y, else b.
KIVO_INLINE I16 SelectGreater(I16 x, I16 y, I16 a, I16 b) {
  return reinterpret_cast<I16>(vbslq_s16(vcgtq_s16(Raw(x), Raw(y)), Raw(a), Raw(b)));
}

// Low bytes of two word vectors, in order.
KIVO_INLINE U8 PackLow(U16 a, U16 b) {
  return reinterpret_cast<U8>(vuzp1q_u8(vreinterpretq_u8_u16(Raw(a)), vreinterpretq_u8_u16(Raw(b))));
}

// High bytes of two word vectors, in order.
KIVO_INLINE U8 PackHigh(U16 a, U16 b) {
  return reinterpret_cast<U8>(vuzp2q_u8(vreinterpretq_u8_u16(Raw(a)), vreinterpretq_u8_u16(Raw(b))));
}

// Each lane of the result from that lane of a and of b; a lane is the whole vector here.
KIVO_INLINE U8 PackLowLanes(U16 a, U16 b) {
  return PackLow(a, b);
}

// Two word vectors clamped to bytes, in order.
KIVO_INLINE U8 PackSat(I16 a, I16 b) {
  return reinterpret_cast<U8>(vcombine_u8(vqmovun_s16(Raw(a)), vqmovun_s16(Raw(b))));
}

// The same for each 16 bytes of the vectors on their own, which here is the whole vector.
KIVO_INLINE U8 PackSatBy16(I16 a, I16 b) {
  return PackSat(a, b);
}

// Two word vectors clamped to bytes and interleaved: even, odd, even, odd.
KIVO_INLINE U8 MergeSat(I16 even, I16 odd) {
  const uint8x16_t e = vcombine_u8(vqmovun_s16(Raw(even)), vdup_n_u8(0));
  const uint8x16_t o = vcombine_u8(vqmovun_s16(Raw(odd)), vdup_n_u8(0));
  return reinterpret_cast<U8>(vzip1q_u8(e, o));
}

// The words of each pair replaced by its first, or by its second.
KIVO_INLINE U16 RepeatEven(U16 v) {
  return reinterpret_cast<U16>(vtrn1q_u16(Raw(v), Raw(v)));
}
KIVO_INLINE U16 RepeatOdd(U16 v) {
  return reinterpret_cast<U16>(vtrn2q_u16(Raw(v), Raw(v)));
}

KIVO_INLINE I16 MulHighRound(I16 a, I16 b) {
  return reinterpret_cast<I16>(vqrdmulhq_s16(Raw(a), Raw(b)));
}
KIVO_INLINE I32 MulAddPairs(I16 a, I16 b) {
  const int32x4_t low = vmull_s16(vget_low_s16(Raw(a)), vget_low_s16(Raw(b)));
  const int32x4_t high = vmull_high_s16(Raw(a), Raw(b));
  return reinterpret_cast<I32>(vpaddq_s32(low, high));
}

// The upper word of each product.
KIVO_INLINE U16 MulHigh(U16 a, U16 b) {
  const uint32x4_t low = vmull_u16(vget_low_u16(Raw(a)), vget_low_u16(Raw(b)));
  const uint32x4_t high = vmull_high_u16(Raw(a), Raw(b));
  return reinterpret_cast<U16>(vuzp2q_u16(vreinterpretq_u16_u32(low), vreinterpretq_u16_u32(high)));
}

// Low words, and high words, of two doubleword vectors, in order.
KIVO_INLINE U16 PackLow(U32 a, U32 b) {
  return reinterpret_cast<U16>(vuzp1q_u16(reinterpret_cast<uint16x8_t>(a), reinterpret_cast<uint16x8_t>(b)));
}
KIVO_INLINE U16 PackHigh(U32 a, U32 b) {
  return reinterpret_cast<U16>(vuzp2q_u16(reinterpret_cast<uint16x8_t>(a), reinterpret_cast<uint16x8_t>(b)));
}

KIVO_INLINE WordPair Widen(U8 v) {
  return {reinterpret_cast<U16>(vmovl_u8(vget_low_u8(Raw(v)))), reinterpret_cast<U16>(vmovl_high_u8(Raw(v)))};
}

// Words of a and b in turn, in two vectors that PackHighLanes makes one again.
KIVO_INLINE WordPair ZipLanes(U16 a, U16 b) {
  return {reinterpret_cast<U16>(vzip1q_u16(Raw(a), Raw(b))),
          reinterpret_cast<U16>(vzip2q_u16(Raw(a), Raw(b)))};
}
KIVO_INLINE U16 PackHighLanes(I32 a, I32 b) {
  return PackHigh(reinterpret_cast<U32>(a), reinterpret_cast<U32>(b));
}

// Doublewords clamped to words; makes one again of what ZipLanes made two.
KIVO_INLINE I16 PackSatLanes(I32 a, I32 b) {
  return reinterpret_cast<I16>(
      vcombine_s16(vqmovn_s32(reinterpret_cast<int32x4_t>(a)), vqmovn_s32(reinterpret_cast<int32x4_t>(b))));
}

// The same clamped to words without a sign.
KIVO_INLINE U16 PackWordsLanes(I32 a, I32 b) {
  return reinterpret_cast<U16>(
      vcombine_u16(vqmovun_s32(reinterpret_cast<int32x4_t>(a)), vqmovun_s32(reinterpret_cast<int32x4_t>(b))));
}

// Bytes of a lane by the lower 4 bits of an index; 0 where its highest bit is set.
KIVO_INLINE U8 LookupNear(U8 index, U8 table) {
  return reinterpret_cast<U8>(vqtbl1q_u8(Raw(table), Raw(index & 0x8F)));
}

// Bytes of a and b as the lower and the upper ones of words, in the order that PackLowLanes takes.
KIVO_INLINE WordPair ZipLanes(U8 a, U8 b) {
  return {reinterpret_cast<U16>(vzip1q_u8(Raw(a), Raw(b))), reinterpret_cast<U16>(vzip2q_u8(Raw(a), Raw(b)))};
}

// Lanes last to first.
KIVO_INLINE U8 Reverse(U8 v) {
  const uint8x16_t halves = vrev64q_u8(Raw(v));
  return reinterpret_cast<U8>(vextq_u8(halves, halves, 8));
}
KIVO_INLINE U16 Reverse(U16 v) {
  const uint16x8_t halves = vrev64q_u16(Raw(v));
  return reinterpret_cast<U16>(vextq_u16(halves, halves, 4));
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

// Bytes of the lane by index below 16.
KIVO_INLINE U8 Lookup(U8 v, U8 table) {
  return reinterpret_cast<U8>(vqtbl1q_u8(Raw(v), Raw(table)));
}

template <bool bStream>
KIVO_INLINE void StoreBGRA(uint8_t *p, U8 b, U8 g, U8 r) {
  vst4q_u8(p, uint8x16x4_t{{Raw(b), Raw(g), Raw(r), vdupq_n_u8(255)}});
}

template <bool bStream>
KIVO_INLINE void StoreBGR(uint8_t *p, U8 b, U8 g, U8 r) {
  vst3q_u8(p, uint8x16x3_t{{Raw(b), Raw(g), Raw(r)}});
}

// Pixels from words whose upper bytes count.
template <bool bStream>
KIVO_INLINE void StoreUpperBGRA(uint8_t *p, U16 b, U16 g, U16 r) {
  const WordPair s = ZipLanes(b >> 8 | (g & 0xFF00), r >> 8 | 0xFF00);
  Store(p, s.low);
  Store(p + 16, s.high);
}

// The same for words.
template <bool bStream>
KIVO_INLINE void StoreBGRA(uint8_t *p, U16 b, U16 g, U16 r) {
  vst4q_u16(reinterpret_cast<uint16_t *>(p), uint16x8x4_t{{Raw(b), Raw(g), Raw(r), vdupq_n_u16(0xFFFF)}});
}

template <bool bStream>
KIVO_INLINE void StoreBGR(uint8_t *p, U16 b, U16 g, U16 r) {
  vst3q_u16(reinterpret_cast<uint16_t *>(p), uint16x8x3_t{{Raw(b), Raw(g), Raw(r)}});
}

// Pixels of three bytes, or of three words, to planes.
KIVO_INLINE void LoadBGR(const uint8_t *p, U8 &b, U8 &g, U8 &r) {
  const uint8x16x3_t v = vld3q_u8(p);
  b = reinterpret_cast<U8>(v.val[0]);
  g = reinterpret_cast<U8>(v.val[1]);
  r = reinterpret_cast<U8>(v.val[2]);
}
KIVO_INLINE void LoadBGR(const uint8_t *p, U16 &b, U16 &g, U16 &r) {
  const uint16x8x3_t v = vld3q_u16(reinterpret_cast<const uint16_t *>(p));
  b = reinterpret_cast<U16>(v.val[0]);
  g = reinterpret_cast<U16>(v.val[1]);
  r = reinterpret_cast<U16>(v.val[2]);
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

#endif  // KIVO_SIMD_VEC_NEON_H
