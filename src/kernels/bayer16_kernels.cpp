// SPDX-License-Identifier: Apache-2.0
// Standard Bayer demosaic of 16-bit samples, the reduction to 8 bits folded into the division of each mean:
// the sum of n samples shifted right by uiShift and log2 n, low 8 bits kept.
#include "kernels/bayer16_means.h"

namespace Kivo::KIVO_TARGET {
namespace {

template <Output eOut>
void ConvertWrapping(const Mosaic &s) {
  // Blocks of half a vector fill lines with pixels of 4 bytes only.
  if constexpr (c_bWordPixels && eOut == c_eBGRA) return ConvertWith<eOut>(SlimMeans{{s.uiShift}, {}}, s);
  ConvertWith<eOut>(WrappingMeans{{{s.uiShift}, {}}}, s);
}

template <Output eOut>
void Bayer16(const MosaicJob &sJob) {
  const Mosaic s(sJob);
  if (s.uiWidth == 1 || s.uiHeight == 1 || s.uiShift > ExactMeans<uint8_t>::c_uiLargestShift) {
    ConvertPixelwise<eOut>(WordMeans<uint8_t>{{s.uiShift}, {}}, s);
  } else if (s.uiShift <= WrappingMeans::c_uiLargestShift) {
    ConvertWrapping<eOut>(s);
  } else {
    ConvertWith<eOut>(ExactMeans<uint8_t>{{{s.uiShift}, {}}}, s);
  }
}

}  // namespace

const Bayer16Kernels c_sBayer16Kernels = {{Bayer16<c_eBGRA>, Bayer16<c_eBGR>}};

}  // namespace Kivo::KIVO_TARGET
