// SPDX-License-Identifier: Apache-2.0
// Stores that bypass the caches are seen by other threads in any order. Whoever lets kernels make them ends
// with a fence, once for all kernels of a picture: it waits until they have left the processor.
#ifndef KIVO_SIMD_STREAM_FENCE_H
#define KIVO_SIMD_STREAM_FENCE_H

#ifdef __SSE__
#include <xmmintrin.h>
#endif

namespace Kivo {

inline void StreamFence(bool bStreamed) noexcept {
#ifdef __SSE__
  if (bStreamed) _mm_sfence();
#else
  static_cast<void>(bStreamed);  // no target of such a processor streams
#endif
}

}  // namespace Kivo

#endif  // KIVO_SIMD_STREAM_FENCE_H
