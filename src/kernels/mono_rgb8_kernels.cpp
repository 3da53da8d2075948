// SPDX-License-Identifier: Apache-2.0
// Mono8: B = G = R = the sample. Packed RGB and BGR: the bytes of each pixel put in order.
#include "kernels/byte_maps.h"

namespace Kivo::KIVO_TARGET {
namespace {

template <Output eOut>
struct MonoStep : StepDefaults {
  static constexpr size_t c_uiItems = c_uiVec;
  static constexpr size_t c_uiSrcItem = 1;
  static constexpr size_t c_uiDstItem = PixelBytes(eOut);
  static constexpr size_t c_uiSrcReach = c_uiVec;
  static constexpr size_t c_uiDstReach = c_uiVec * c_uiDstItem;
  static constexpr bool c_bWholeVectors = true;

  template <bool bStream>
  KIVO_INLINE void Do(uint8_t *pucDst, const uint8_t *pucSrc) const {
    StoreGrey<eOut, bStream>(pucDst, Load<U8>(pucSrc));
  }
};

}  // namespace

const MonoRgb8Kernels c_sMonoRgb8Kernels = {
    {RunKernelOf<MonoStep<c_eBGRA>>, RunKernelOf<MonoStep<c_eBGR>>},
    {RunKernelOf<ByteStep<MapRGBToBGRA>>, RunKernelOf<ByteStep<MapRGBToBGR>>},
    RunKernelOf<ByteStep<MapBGRToBGRA>>,
};

}  // namespace Kivo::KIVO_TARGET
