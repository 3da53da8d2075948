// SPDX-License-Identifier: Apache-2.0
// A word that is the same on every target whose vectors are the compiler's own.
#ifndef KIVO_SIMD_VEC_AS_H
#define KIVO_SIMD_VEC_AS_H

#include "simd/vec.h"

namespace Kivo::KIVO_TARGET {
namespace {

// The bytes of a vector as lanes of another kind.
template <class V, class W>
KIVO_INLINE V As(W v) {
  return reinterpret_cast<V>(v);
}

}  // namespace
}  // namespace Kivo::KIVO_TARGET

#endif  // KIVO_SIMD_VEC_AS_H
