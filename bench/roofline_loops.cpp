// SPDX-License-Identifier: Apache-2.0
// Compiled once per target, as kernels are, so that each machine's limit uses its widest accesses.
#include "roofline_loops.h"

#include "simd/stream_fence.h"
#include "simd/vec.h"

namespace Kivo::KIVO_TARGET {
namespace {

// A load that the compiler must perform although nothing uses its value.
KIVO_INLINE void Touch(const uint8_t *p) {
  const U8 v = Load<U8>(p);
#if defined(__aarch64__)
  asm volatile("" : : "w"(v));
#elif defined(__AVX512F__)
  asm volatile("" : : "v"(v));
#elif defined(__SSE2__)
  asm volatile("" : : "x"(v));
#else
  asm volatile("" : : "m"(v));
#endif
}

KIVO_INLINE void TouchLine(const uint8_t *p) {
  for (size_t i = 0; i < KivoBench::kLine; i += c_uiVec) Touch(p + i);
}

template <bool stream>
KIVO_INLINE void WriteLine(uint8_t *p, U8 v) {
  for (size_t i = 0; i < KivoBench::kLine; i += c_uiVec) {
    if constexpr (stream) {
      Stream(p + i, v);
    } else {
      Store(p + i, v);
    }
  }
}

template <unsigned reads, unsigned writes, bool stream>
void Loop(uint8_t *dst, const uint8_t *src, size_t steps) {
  const U8 v = Splat<U8>(0x5A);
  for (size_t i = 0; i < steps; ++i) {
    for (unsigned r = 0; r < reads; ++r) TouchLine(src + r * KivoBench::kLine);
    for (unsigned w = 0; w < writes; ++w) WriteLine<stream>(dst + w * KivoBench::kLine, v);
    src += reads * KivoBench::kLine;
    dst += writes * KivoBench::kLine;
  }
  StreamFence(stream);
}

void Read(const uint8_t *src, size_t lines) {
  for (size_t i = 0; i < lines; ++i) TouchLine(src + i * KivoBench::kLine);
}

template <unsigned reads, unsigned writes>
constexpr KivoBench::Traffic Entry() {
  return {reads, writes, Loop<reads, writes, false>, Loop<reads, writes, true>};
}

// Every ratio of source to destination bytes that a conversion, unpacking or a reversal has, in lowest terms.
constexpr KivoBench::Traffic kTable[] = {
    Entry<1, 4>(), Entry<1, 3>(), Entry<3, 4>(), Entry<1, 1>(), Entry<3, 8>(), Entry<1, 2>(),  Entry<5, 6>(),
    Entry<4, 3>(), Entry<2, 3>(), Entry<3, 2>(), Entry<2, 1>(), Entry<5, 8>(), Entry<5, 16>(),
};

}  // namespace

extern const KivoBench::RooflineLoops c_sRooflineLoops;
const KivoBench::RooflineLoops c_sRooflineLoops = {kTable, sizeof kTable / sizeof kTable[0], Read};

}  // namespace Kivo::KIVO_TARGET
