// SPDX-License-Identifier: Apache-2.0
// 16-bit samples reduced to bits uiShift..uiShift+7: no rounding and no clamping, so a sample above the
// nominal depth wraps.
#include "kernels/byte_maps.h"

namespace Kivo::KIVO_TARGET {
namespace {

// Bytes from words.
struct ReduceStep : StepDefaults {
  static constexpr size_t c_uiItems = c_uiVec;
  static constexpr size_t c_uiSrcItem = 2;
  static constexpr size_t c_uiDstItem = 1;
  static constexpr size_t c_uiSrcReach = 2 * c_uiVec;
  static constexpr size_t c_uiDstReach = c_uiVec;
  static constexpr bool c_bWholeVectors = true;
  WordSamples sSamples;

  template <bool bStream>
  KIVO_INLINE void Do(uint8_t *pucDst, const uint8_t *pucSrc) const {
    const U8 v = sSamples.Vector(pucSrc);
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
  WordSamples sSamples;

  template <bool bStream>
  KIVO_INLINE void Do(uint8_t *pucDst, const uint8_t *pucSrc) const {
    StoreGrey<eOut, bStream>(pucDst, sSamples.Vector(pucSrc));
  }
};

template <Output eOut>
void Mono(const RunJob &sJob) {
  Run(MonoStep<eOut>{{}, {sJob.uiShift}}, sJob);
}

template <class Map>
void Colour(const RunJob &sJob) {
  Run(SampleStep<Map, false, WordSamples>{{}, {sJob.uiShift}}, sJob);
}

// Nothing to put in order: three samples are three bytes.
void ColourInOrder(const RunJob &sJob) {
  RunJob sSamples = sJob;
  sSamples.n *= 3;
  Run(ReduceStep{{}, {sJob.uiShift}}, sSamples);
}

}  // namespace

const MonoRgb16Kernels c_sMonoRgb16Kernels = {
    {Mono<c_eBGRA>, Mono<c_eBGR>},
    {Colour<MapRGBToBGRA>, Colour<MapRGBToBGR>},
    {Colour<MapBGRToBGRA>, ColourInOrder},
};

}  // namespace Kivo::KIVO_TARGET
