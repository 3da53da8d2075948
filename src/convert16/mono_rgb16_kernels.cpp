// SPDX-License-Identifier: Apache-2.0
// 16-bit samples reduced to bits uiShift..uiShift+7: no rounding and no clamping, so a sample above the
// nominal depth wraps. Colour is reduced into a buffer that stays in the first-level cache and put in order
// from there.
#include "simd/byte_maps.h"

namespace Kivo::KIVO_TARGET {
namespace {

KIVO_INLINE U8 LoadReduced(const uint8_t *pucSrc, unsigned uiShift) {
  const U16 a = Load<U16>(pucSrc);
  const U16 b = Load<U16>(pucSrc + c_uiVec);
  return PackLow(ShiftRight(a, uiShift), ShiftRight(b, uiShift));
}

// Bytes from words.
struct ReduceStep : StepDefaults {
  static constexpr size_t c_uiItems = c_uiVec;
  static constexpr size_t c_uiSrcItem = 2;
  static constexpr size_t c_uiDstItem = 1;
  static constexpr size_t c_uiSrcReach = 2 * c_uiVec;
  static constexpr size_t c_uiDstReach = c_uiVec;
  static constexpr bool c_bWholeVectors = true;
  unsigned uiShift;

  template <bool bStream>
  KIVO_INLINE void Do(uint8_t *pucDst, const uint8_t *pucSrc) const {
    const U8 v = LoadReduced(pucSrc, uiShift);
    if constexpr (bStream) {
      Stream(pucDst, v);
    } else {
      Store(pucDst, v);
    }
  }
};

template <Output eOut>
struct MonoStep : StepDefaults {
  static constexpr size_t c_uiItems = c_uiVec;
  static constexpr size_t c_uiSrcItem = 2;
  static constexpr size_t c_uiDstItem = PixelBytes(eOut);
  static constexpr size_t c_uiSrcReach = 2 * c_uiVec;
  static constexpr size_t c_uiDstReach = c_uiVec * c_uiDstItem;
  static constexpr bool c_bWholeVectors = true;
  unsigned uiShift;

  template <bool bStream>
  KIVO_INLINE void Do(uint8_t *pucDst, const uint8_t *pucSrc) const {
    StoreGrey<eOut, bStream>(pucDst, LoadReduced(pucSrc, uiShift));
  }
};

template <Output eOut>
void Mono(uint8_t *pucDst, const uint8_t *pucSrc, size_t n, unsigned uiShift, bool bStream) {
  Run(MonoStep<eOut>{{}, uiShift}, pucDst, pucSrc, n, bStream);
}

template <class Map>
void Colour(uint8_t *pucDst, const uint8_t *pucSrc, size_t n, unsigned uiShift, bool bStream) {
  Run(MapStep<Map, false, WordSamples>{{}, {uiShift}}, pucDst, pucSrc, n, bStream);
}

// Nothing to put in order: three samples are three bytes.
void ColourInOrder(uint8_t *pucDst, const uint8_t *pucSrc, size_t n, unsigned uiShift, bool bStream) {
  Run(ReduceStep{{}, uiShift}, pucDst, pucSrc, 3 * n, bStream);
}

}  // namespace

const MonoRgb16Kernels c_sMonoRgb16Kernels = {
    {Mono<c_eBGRA>, Mono<c_eBGR>},
    {Colour<MapRGBToBGRA>, Colour<MapRGBToBGR>},
    {Colour<MapBGRToBGRA>, ColourInOrder},
};

}  // namespace Kivo::KIVO_TARGET
