// SPDX-License-Identifier: Apache-2.0
// Standard Bayer demosaic of 8-bit samples.
#include "kernels/bayer8_means.h"

namespace Kivo::KIVO_TARGET {
namespace {

template <Output eOut>
void Bayer8(const MosaicJob &sJob) {
  const Mosaic s(sJob);
  if (s.uiWidth == 1 || s.uiHeight == 1) {
    ConvertPixelwise<eOut, ByteMeans>(ByteMeans(), s);
  } else {
    ConvertWith<eOut>(ByteMeans(), s);
  }
}

}  // namespace

const Bayer8Kernels c_sBayer8Kernels = {{Bayer8<c_eBGRA>, Bayer8<c_eBGR>}};

}  // namespace Kivo::KIVO_TARGET
