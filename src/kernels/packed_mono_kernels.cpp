// SPDX-License-Identifier: Apache-2.0
// Grey samples that share bytes, to pixels of bytes, with no words in memory between.
#include "kernels/packings.h"

namespace Kivo::KIVO_TARGET {
namespace {

// Samples 0 to n - 1 of a group.
template <class Packing, Output eOut>
KIVO_INLINE void StoreGroup(uint8_t *pucDst, const uint8_t *pucSrc, size_t n, unsigned uiShift) {
  for (size_t s = 0; s < n; ++s) {
    const auto uc = static_cast<uint8_t>(Packing::One(pucSrc, s) >> uiShift);
    const uint8_t auc[4] = {uc, uc, uc, 255};
    memcpy(pucDst + s * PixelBytes(eOut), auc, PixelBytes(eOut));
  }
}

template <class Packing, Output eOut, bool bLookup = c_bLookup>
struct PackedMonoStep : StepDefaults {
  // Where the second of two vectors of samples begins.
  static constexpr size_t c_uiUpper = Packing::c_uiVecGroups * Packing::c_uiBytes;

  static constexpr size_t c_uiItems = 2 * Packing::c_uiVecGroups;
  static constexpr size_t c_uiSrcItem = Packing::c_uiBytes;
  static constexpr size_t c_uiDstItem = Packing::c_uiSamples * PixelBytes(eOut);
  static constexpr size_t c_uiSrcReach = c_uiUpper + Packing::c_uiReach;
  static constexpr size_t c_uiDstReach = c_uiVec * PixelBytes(eOut);
  static constexpr bool c_bWholeVectors = true;
  unsigned uiShift;

  template <bool bStream>
  KIVO_INLINE void Do(uint8_t *pucDst, const uint8_t *pucSrc) const {
    const U16 a = Packing::Unpack(LoadLanes<Packing::c_uiLaneBytes>(pucSrc), 0);
    const U16 b = Packing::Unpack(LoadLanes<Packing::c_uiLaneBytes>(pucSrc + c_uiUpper), 0);
    StoreGrey<eOut, bStream>(pucDst, PackLow(ShiftRight(a, uiShift), ShiftRight(b, uiShift)));
  }
};

// The plain form, a group at a time.
template <class Packing, Output eOut>
struct PackedMonoStep<Packing, eOut, false> : StepDefaults {
  static constexpr size_t c_uiItems = 1;
  static constexpr size_t c_uiSrcItem = Packing::c_uiBytes;
  static constexpr size_t c_uiDstItem = Packing::c_uiSamples * PixelBytes(eOut);
  static constexpr size_t c_uiSrcReach = c_uiSrcItem;
  static constexpr size_t c_uiDstReach = c_uiDstItem;
  unsigned uiShift;

  template <bool bStream>
  KIVO_INLINE void Do(uint8_t *pucDst, const uint8_t *pucSrc) const {
    StoreGroup<Packing, eOut>(pucDst, pucSrc, Packing::c_uiSamples, uiShift);
  }
};

template <class Packing, Output eOut>
void PackedMono(const RunJob &sJob) {
  const size_t uiGroups = sJob.n / Packing::c_uiSamples;
  RunJob sGroups = sJob;
  sGroups.n = uiGroups;
  Run(PackedMonoStep<Packing, eOut>{{}, sJob.uiShift}, sGroups);
  const size_t uiLeft = sJob.n % Packing::c_uiSamples;
  if (uiLeft == 0) return;
  for (size_t y = 0; y < sJob.uiRows; ++y) {
    const auto iRow = static_cast<ptrdiff_t>(y);
    const uint8_t *const pucSrc = sJob.pucSrc + iRow * sJob.iSrcPitch + uiGroups * Packing::c_uiBytes;
    uint8_t *const pucDst =
        sJob.pucDst + iRow * sJob.iDstPitch + uiGroups * Packing::c_uiSamples * PixelBytes(eOut);
    StoreGroup<Packing, eOut>(pucDst, pucSrc, uiLeft, sJob.uiShift);
  }
}

}  // namespace

const PackedMonoKernels c_sPackedMonoKernels = {{
    {PackedMono<P10, c_eBGRA>, PackedMono<P10, c_eBGR>},
    {PackedMono<P12, c_eBGRA>, PackedMono<P12, c_eBGR>},
    {PackedMono<P14, c_eBGRA>, PackedMono<P14, c_eBGR>},
    {PackedMono<Packed<10>, c_eBGRA>, PackedMono<Packed<10>, c_eBGR>},
    {PackedMono<Packed<12>, c_eBGRA>, PackedMono<Packed<12>, c_eBGR>},
}};

}  // namespace Kivo::KIVO_TARGET
