// SPDX-License-Identifier: Apache-2.0
// A matrix of 4096ths over three words of a place.
#ifndef KIVO_KERNELS_MATRIX_H
#define KIVO_KERNELS_MATRIX_H

#include "simd/vec_as.h"

namespace Kivo::KIVO_TARGET {
namespace {

// Words are multiplied in pairs: the first two planes are one, the third is paired with ones, whose factor is
// what is added before the shift. Words are shifted left by uiUp first, in effect.
template <unsigned uiUp>
class Mixer {
 public:
  KIVO_INLINE explicit Mixer(const int16_t (&aasRows)[3][3]) {
    for (unsigned c = 0; c < 3; ++c) {
      m_aaFactors[c][0] = Pairs(aasRows[c][0], aasRows[c][1]);
      m_aaFactors[c][1] = Pairs(aasRows[c][2], 2048 >> uiUp);
    }
  }

  // Hands each channel's sums, in 4096ths, to pack: shifted right by uiDown and by what makes the words
  // whole, in two vectors.
  template <unsigned uiDown, class Pack>
  KIVO_INLINE void Mix(U16 first, U16 second, U16 third, Pack pack) const {
    const WordPair firsts = ZipLanes(first, second);
    const WordPair thirds = ZipLanes(third, Splat<U16>(1));
    for (unsigned c = 0; c < 3; ++c) {
      const I32 low = Sum(c, firsts.low, thirds.low), high = Sum(c, firsts.high, thirds.high);
      pack(c, low >> static_cast<int>(uiDown - uiUp), high >> static_cast<int>(uiDown - uiUp));
    }
  }

 private:
  // Two factors for each pair of words.
  KIVO_INLINE static I16 Pairs(int iFirst, int iSecond) {
    return As<I16>(Splat<I32>(
        static_cast<int>(static_cast<unsigned>(iSecond) << 16 | (static_cast<unsigned>(iFirst) & 0xFFFF))));
  }
  KIVO_INLINE I32 Sum(unsigned c, U16 firsts, U16 thirds) const {
    const I32 two = MulAddPairs(As<I16>(firsts), m_aaFactors[c][0]);
    return two + MulAddPairs(As<I16>(thirds), m_aaFactors[c][1]);
  }

  I16 m_aaFactors[3][2];
};

// Sums shifted by 12 to 0 to 32767.
KIVO_INLINE U16 PackUnits(I32 low, I32 high) {
  return As<U16>(Greater(PackSatLanes(low, high), I16{}));
}

}  // namespace
}  // namespace Kivo::KIVO_TARGET

#endif  // KIVO_KERNELS_MATRIX_H
