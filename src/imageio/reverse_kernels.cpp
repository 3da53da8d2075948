// SPDX-License-Identifier: Apache-2.0
// Runs of units written last unit first, and runs of bytes copied.
#include "simd/byte_maps.h"

namespace Kivo::KIVO_TARGET {
namespace {

template <size_t uiBytes>
struct MapWhole;

template <>
struct MapWhole<1> {
  static constexpr size_t c_uiSrc = 1, c_uiDst = 1;
  static constexpr uint8_t c_auc[] = {0};
};
template <>
struct MapWhole<2> {
  static constexpr size_t c_uiSrc = 2, c_uiDst = 2;
  static constexpr uint8_t c_auc[] = {0, 1};
};
template <>
struct MapWhole<3> {
  static constexpr size_t c_uiSrc = 3, c_uiDst = 3;
  static constexpr uint8_t c_auc[] = {0, 1, 2};
};
template <>
struct MapWhole<6> {
  static constexpr size_t c_uiSrc = 6, c_uiDst = 6;
  static constexpr uint8_t c_auc[] = {0, 1, 2, 3, 4, 5};
};

// U Y0 V Y1 becomes U Y1 V Y0.
struct MapYuv422 {
  static constexpr size_t c_uiSrc = 4, c_uiDst = 4;
  static constexpr uint8_t c_auc[] = {0, 3, 2, 1};
};

// U Y0 Y1 V Y2 Y3 becomes U Y3 Y2 V Y1 Y0.
struct MapYuv411 {
  static constexpr size_t c_uiSrc = 6, c_uiDst = 6;
  static constexpr uint8_t c_auc[] = {0, 5, 4, 3, 2, 1};
};

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
void Copy(uint8_t *pucDst, const uint8_t *pucSrc, size_t n, bool bStream) {
  if (bStream) {
    Run(CopyStep{}, pucDst, pucSrc, n, true);
  } else if (n != 0) {
    memcpy(pucDst, pucSrc, n);
  }
}

template <class Map>
constexpr RunKernel c_pfnReverse = RunKernelOf<ByteStep<Map, true>>;

}  // namespace

const ReverseKernels c_sReverseKernels = {
    {c_pfnReverse<MapWhole<1>>, c_pfnReverse<MapWhole<2>>, c_pfnReverse<MapWhole<3>>,
     c_pfnReverse<MapWhole<6>>, c_pfnReverse<MapYuv422>, c_pfnReverse<MapYuv411>},
    Copy,
};

}  // namespace Kivo::KIVO_TARGET
