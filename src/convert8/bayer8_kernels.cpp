// SPDX-License-Identifier: Apache-2.0
// Standard Bayer demosaic of 8-bit samples.
#include "convert8/bayer8_means.h"

namespace Kivo::KIVO_TARGET {
namespace {

template <Output eOut>
void Bayer8(uint8_t *pucDst, const uint8_t *pucSrc, size_t uiWidth, size_t uiHeight, BayerOrder eOrder,
            bool bStream) {
  if (uiWidth == 0 || uiHeight == 0) return;
  const Mosaic s = MakeMosaic<eOut, ByteMeans>(pucDst, pucSrc, uiWidth, uiHeight, eOrder);
  if (uiWidth == 1 || uiHeight == 1) {
    ConvertPixelwise<eOut, ByteMeans>(ByteMeans(), s);
  } else if (bStream) {
    ConvertMosaic<eOut, true>(ByteMeans(), s);
  } else {
    ConvertMosaic<eOut, false>(ByteMeans(), s);
  }
}

}  // namespace

const Bayer8Kernels c_sBayer8Kernels = {{Bayer8<c_eBGRA>, Bayer8<c_eBGR>}};

}  // namespace Kivo::KIVO_TARGET
