// SPDX-License-Identifier: Apache-2.0
// The vocabulary that every kernel text is written in, for the target that this object is compiled for.
//
// Vectors are compiler vector types of c_uiVec bytes: + - & | ^ << >> and comparisons are plain operators on
// them. What the operators cannot say, or what a compiler turns into slow code, is a word of the target's
// header: the only files that name an instruction. Everything lives in the target's own namespace and has
// internal linkage, so that no copy compiled for one processor can be linked into the code of another.
#ifndef KIVO_SIMD_VEC_H
#define KIVO_SIMD_VEC_H

#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include "simd/kernels.h"

#ifndef KIVO_TARGET
#error "compile kernels once per target, with KIVO_TARGET set to its name"
#endif

#define KIVO_INLINE [[gnu::always_inline]] inline

namespace Kivo::KIVO_TARGET {
namespace {

#if defined(KIVO_TARGET_Avx512)
constexpr size_t c_uiVec = 64;
#elif defined(KIVO_TARGET_Avx2)
constexpr size_t c_uiVec = 32;
#else
constexpr size_t c_uiVec = 16;
#endif

using U8 [[gnu::vector_size(c_uiVec)]] = uint8_t;
using U16 [[gnu::vector_size(c_uiVec)]] = uint16_t;
using I16 [[gnu::vector_size(c_uiVec)]] = int16_t;
using U32 [[gnu::vector_size(c_uiVec)]] = uint32_t;
using I32 [[gnu::vector_size(c_uiVec)]] = int32_t;

// Stores that bypass the caches are made in whole lines of this size, at addresses aligned to it.
constexpr size_t c_uiLine = 64;

constexpr size_t PixelBytes(Output eOut) {
  constexpr size_t c_auiBytes[] = {4, 3, 0, 8, 6};
  return c_auiBytes[eOut];
}

template <class V>
KIVO_INLINE V Load(const void *p) {
  V v;
  memcpy(&v, p, sizeof v);
  return v;
}

template <class V>
KIVO_INLINE void Store(void *p, V v) {
  memcpy(p, &v, sizeof v);
}

// The line at p will be needed soon; it may be anywhere.
KIVO_INLINE void Prefetch(const uint8_t *p) {
  __builtin_prefetch(p);
}

template <class V>
KIVO_INLINE V Splat(int i) {
  using Lane = __typeof__(V{}[0]);
  return V{} + static_cast<Lane>(i);
}

// One vector of table bytes, entry(i) for i from 0 to c_uiVec - 1, computed by the compiler.
struct Table {
  alignas(c_uiVec) uint8_t auc[c_uiVec];
};

template <class Entry>
constexpr Table MakeTable(Entry entry) {
  Table s{};
  for (size_t i = 0; i < c_uiVec; ++i) s.auc[i] = static_cast<uint8_t>(entry(i));
  return s;
}

// The same of words, low byte first.
template <class Entry>
constexpr Table MakeWordTable(Entry entry) {
  return MakeTable([=](size_t j) { return j % 2 == 0 ? entry(j / 2) % 256 : entry(j / 2) / 256; });
}

KIVO_INLINE U8 Load(const Table &s) {
  return Load<U8>(s.auc);
}

// Interleaving three planes to 3-byte pixels, in blocks of B pixels (B = 1 modulo 3) that make three vectors
// of B bytes. Byte j of vector k belongs to pixel (B k + j) / 3 and colour (k + j) modulo 3. For one colour
// the three vectors claim disjoint positions j, so a single shuffle of the plane serves all three, and blends
// do the rest.
constexpr size_t BgrSourcePixel(size_t uiBlock, size_t uiColour, size_t j) {
  const size_t k = (uiColour + 3 * uiBlock - j) % 3;
  return (uiBlock * k + j) / 3;
}

// The same for any B that is no multiple of 3: which of the three vectors has the colour at position j.
constexpr size_t TripleVector(size_t uiBlock, size_t uiColour, size_t j) {
  size_t k = 0;
  while ((uiBlock * k + j) % 3 != uiColour) ++k;
  return k;
}
constexpr size_t TriplePixel(size_t uiBlock, size_t uiColour, size_t j) {
  return (uiBlock * TripleVector(uiBlock, uiColour, j) + j) / 3;
}

// Words made of bytes or of doublewords, in order.
struct WordPair {
  U16 low, high;
};

}  // namespace
}  // namespace Kivo::KIVO_TARGET

// A target's header defines, beside the words themselves:
//   c_bLookup   whether byte shuffles are fast; without them kernels take their plain form
//   c_bLookupClears  whether Lookup() gives 0 for an index of 255
//   c_uiLane    bytes that one shuffle can reach: 16, or the whole vector
//   c_bWordPixels  whether words shift each by a count of its own at once, and make pixels without being
//                  narrowed: StoreWordsBGRA
#if defined(KIVO_TARGET_Avx512)
#include "simd/vec_avx512.h"
#elif defined(KIVO_TARGET_Avx2)
#include "simd/vec_avx2.h"
#elif defined(__SSE2__)
#include "simd/vec_sse.h"
#elif defined(KIVO_TARGET_Neon)
#include "simd/vec_neon.h"
#else
#include "simd/vec_base.h"
#endif

namespace Kivo::KIVO_TARGET {
namespace {

constexpr size_t c_uiLanes = c_uiVec / c_uiLane;

KIVO_INLINE I32 Abs(I32 v) {
  const I32 sign = v >> 31;
  return (v ^ sign) - sign;
}

// a where x > y, else b.
KIVO_INLINE I32 SelectGreater(I32 x, I32 y, I32 a, I32 b) {
  const I32 greater = x > y;
  return (greater & a) | (~greater & b);
}

template <Output eOut, bool bStream>
KIVO_INLINE void StorePixels(uint8_t *pucDst, U8 b, U8 g, U8 r) {
  if constexpr (eOut == c_eBGRA) {
    StoreBGRA<bStream>(pucDst, b, g, r);
  } else {
    StoreBGR<bStream>(pucDst, b, g, r);
  }
}

template <Output eOut, bool bStream>
KIVO_INLINE void StoreGrey(uint8_t *pucDst, U8 v) {
  if constexpr (eOut == c_eBGRA) {
    StoreGreyBGRA<bStream>(pucDst, v);
  } else {
    StoreGreyBGR<bStream>(pucDst, v);
  }
}

}  // namespace
}  // namespace Kivo::KIVO_TARGET

#endif  // KIVO_SIMD_VEC_H
