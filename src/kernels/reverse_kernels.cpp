// SPDX-License-Identifier: Apache-2.0
// Rows of units written last unit first, and rows of bytes copied.
#include "kernels/byte_maps.h"

namespace Kivo::KIVO_TARGET {
namespace {

// Byte k of a unit after is byte auc[k] of it before.
template <uint8_t... auc>
struct MapUnit {
  static constexpr size_t c_uiSrc = sizeof...(auc), c_uiDst = sizeof...(auc);
  static constexpr uint8_t c_auc[c_uiDst] = {auc...};
};

using MapByte1 = MapUnit<0>;
using MapByte2 = MapUnit<0, 1>;
using MapByte3 = MapUnit<0, 1, 2>;
using MapByte4 = MapUnit<0, 1, 2, 3>;
using MapByte6 = MapUnit<0, 1, 2, 3, 4, 5>;
using MapByte8 = MapUnit<0, 1, 2, 3, 4, 5, 6, 7>;
using MapYuv422 = MapUnit<0, 3, 2, 1>;        // U Y0 V Y1 becomes U Y1 V Y0
using MapYuv411 = MapUnit<0, 5, 4, 3, 2, 1>;  // U Y0 Y1 V Y2 Y3 becomes U Y3 Y2 V Y1 Y0

struct CopyStep : StepDefaults {
  static constexpr size_t c_uiItems = c_uiLine;
  static constexpr size_t c_uiSrcItem = 1;
  static constexpr size_t c_uiDstItem = 1;
  static constexpr size_t c_uiSrcReach = c_uiLine;
  static constexpr size_t c_uiDstReach = c_uiLine;
  static constexpr bool c_bWholeVectors = true;

  template <bool bStream>
  KIVO_INLINE void Do(uint8_t *pucDst, const uint8_t *pucSrc) const {
    for (size_t k = 0; k < c_uiLine; k += c_uiVec) {
      const U8 v = Load<U8>(pucSrc + k);
      if constexpr (bStream) {
        Stream(pucDst + k, v);
      } else {
        Store(pucDst + k, v);
      }
    }
  }
};

// The C library's copy is the fastest there is as long as the bytes stay in the cache.
void Copy(const RunJob &sJob) {
  if (sJob.bStream || sJob.uiRows > 1) return Run(CopyStep{}, sJob);
  if (sJob.n == 0) return;
  for (size_t y = 0; y < sJob.uiRows; ++y) {
    const ptrdiff_t i = static_cast<ptrdiff_t>(y);
    memcpy(sJob.pucDst + i * sJob.iDstPitch, sJob.pucSrc + i * sJob.iSrcPitch, sJob.n);
  }
}

template <class Map>
constexpr RunKernel c_pfnReverse = RunKernelOf<ByteStep<Map, true>>;

}  // namespace

const ReverseKernels c_sReverseKernels = {
    {c_pfnReverse<MapByte1>, c_pfnReverse<MapByte2>, c_pfnReverse<MapByte3>, c_pfnReverse<MapByte4>,
     c_pfnReverse<MapByte6>, c_pfnReverse<MapByte8>, c_pfnReverse<MapYuv422>, c_pfnReverse<MapYuv411>},
    Copy,
};

}  // namespace Kivo::KIVO_TARGET
