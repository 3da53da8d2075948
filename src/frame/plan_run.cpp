// SPDX-License-Identifier: Apache-2.0
// Running a plan: the checks of what a call brings, in the order that the interface promises, then the rows.
#include <algorithm>
#include <cstring>

#include "frame/frame_targets.h"
#include "frame/run.h"
#include "frame/source.h"

namespace Kivo {
namespace {

// Bytes that a buffer takes from its lowest address on; false if they do not fit its size. Rows do not exceed
// the stride, whose sign plays no part.
bool Fits(std::size_t uiRow, std::size_t uiRows, std::size_t uiPacked, std::ptrdiff_t iStride,
          std::size_t uiSize, std::size_t &uiBytes) noexcept {
  uiBytes = uiPacked;
  if (iStride != 0) {
    const std::size_t uiStride =
        iStride < 0 ? 0 - static_cast<std::size_t>(iStride) : static_cast<std::size_t>(iStride);
    if (uiSize < uiRow || (uiSize - uiRow) / uiStride < uiRows - 1) return false;
    uiBytes = (uiRows - 1) * uiStride + uiRow;
  }
  return uiBytes <= uiSize;
}

bool IsShort(std::ptrdiff_t iStride, std::size_t uiRow) noexcept {
  const std::size_t uiStride =
      iStride < 0 ? 0 - static_cast<std::size_t>(iStride) : static_cast<std::size_t>(iStride);
  return iStride != 0 && uiStride < uiRow;
}

}  // namespace

kivo_status CheckFrame(const kivo_plan &s, const kivo_frame &sFrame, std::size_t &uiBytes) noexcept {
  if (IsShort(sFrame.stride, s.uiFrameRow)) return KIVO_SHORT_STRIDE;
  const std::size_t uiRows = std::size_t{s.uiFrameHeight} * Planes(*s.psFormat);
  return Fits(s.uiFrameRow, uiRows, s.uiFrameBytes, sFrame.stride, sFrame.size, uiBytes) ? KIVO_OK
                                                                                         : KIVO_SHORT_BUFFER;
}

namespace {

bool Overlap(const void *p, std::size_t uiP, const void *q, std::size_t uiQ) noexcept {
  const auto uiFirst = reinterpret_cast<std::uintptr_t>(p);
  const auto uiSecond = reinterpret_cast<std::uintptr_t>(q);
  return uiFirst < uiSecond ? uiSecond - uiFirst < uiP : uiFirst - uiSecond < uiQ;
}

kivo_status Check(const kivo_plan *plan, const kivo_frame *frame, const kivo_picture *picture) noexcept {
  if (plan == nullptr || frame == nullptr || picture == nullptr || frame->data == nullptr ||
      picture->data == nullptr)
    return KIVO_NULL_POINTER;
  std::size_t uiFrame, uiPicture;
  const kivo_status eStatus = CheckFrame(*plan, *frame, uiFrame);
  if (eStatus != KIVO_OK) return eStatus;
  if (IsShort(picture->stride, plan->uiPictureRow)) return KIVO_SHORT_PICTURE_STRIDE;
  if (!Fits(plan->uiPictureRow, plan->uiPictureHeight, plan->uiPictureBytes, picture->stride, picture->size,
            uiPicture))
    return KIVO_SHORT_PICTURE;
  return Overlap(frame->data, uiFrame, picture->data, uiPicture) ? KIVO_OVERLAP : KIVO_OK;
}

// Rows that a job of kivo_run_on() makes: enough that what a slice reads beyond its own rows counts for
// little, and few enough that the threads end together.
std::size_t JobRows(const kivo_plan &s) noexcept {
  constexpr std::size_t c_uiLeastRows = 32;
  constexpr std::size_t c_uiLeastPixels = std::size_t{1} << 17;
  return std::max(c_uiLeastRows, (c_uiLeastPixels / s.uiPictureWidth + 3) / 4 * 4);
}

struct Slices {
  const kivo_plan &s;
  const kivo_frame &sFrame;
  const kivo_picture &sPicture;
  std::size_t uiRows;

  static void Run(void *context, std::size_t index) noexcept {
    const Slices &c = *static_cast<const Slices *>(context);
    const std::size_t uiFirst = index * c.uiRows;
    const std::size_t uiRows = std::min<std::size_t>(c.uiRows, c.s.uiPictureHeight - uiFirst);
    WithScratch(c.s, [&](std::uint8_t *puc) { MakeRows(c.s, c.sFrame, c.sPicture, uiFirst, uiRows, puc); });
  }
};

}  // namespace
}  // namespace Kivo

using namespace Kivo;

kivo_status kivo_run(const kivo_plan *plan, const kivo_frame *frame, const kivo_picture *picture,
                     void *scratch, size_t scratch_size) KIVO_NOEXCEPT {
  return kivo_run_rows(plan, frame, picture, 0, kivo_plan_height(plan), scratch, scratch_size);
}

kivo_status kivo_run_rows(const kivo_plan *plan, const kivo_frame *frame, const kivo_picture *picture,
                          uint32_t first, uint32_t count, void *scratch, size_t scratch_size) KIVO_NOEXCEPT {
  const kivo_status eStatus = Check(plan, frame, picture);
  if (eStatus != KIVO_OK) return eStatus;
  if (first > plan->uiPictureHeight || count > plan->uiPictureHeight - first) return KIVO_ROWS_OUTSIDE;
  if (scratch != nullptr && scratch_size < plan->sScratch.uiTotal) return KIVO_SHORT_SCRATCH;
  const auto Make = [&](std::uint8_t *puc) { MakeRows(*plan, *frame, *picture, first, count, puc); };
  if (scratch != nullptr) {
    Make(static_cast<std::uint8_t *>(scratch));
  } else {
    WithScratch(*plan, Make);
  }
  return KIVO_OK;
}

kivo_status kivo_run_on(const kivo_plan *plan, const kivo_frame *frame, const kivo_picture *picture,
                        kivo_scheduler scheduler, void *self) KIVO_NOEXCEPT {
  if (scheduler == nullptr) return KIVO_NULL_POINTER;
  const kivo_status eStatus = Check(plan, frame, picture);
  if (eStatus != KIVO_OK) return eStatus;
  Slices sSlices = {*plan, *frame, *picture, JobRows(*plan)};
  const std::size_t uiJobs = (plan->uiPictureHeight + sSlices.uiRows - 1) / sSlices.uiRows;
  return scheduler(self, Slices::Run, &sSlices, uiJobs) == 0 ? KIVO_OK : KIVO_SCHEDULER_FAILED;
}

kivo_status kivo_sample_range(const kivo_plan *plan, const kivo_frame *frame, uint32_t *least,
                              uint32_t *most) KIVO_NOEXCEPT {
  if (plan == nullptr || frame == nullptr || frame->data == nullptr || least == nullptr || most == nullptr)
    return KIVO_NULL_POINTER;
  std::size_t uiBytes;
  const kivo_status eStatus = CheckFrame(*plan, *frame, uiBytes);
  if (eStatus != KIVO_OK) return eStatus;
  const kivo_format &sPlain = PlainFormat(*plan->psFormat);
  const RangeKernels &k = *ActiveFrameKernels().psRange;
  const ExtremesKernel pfn = sPlain.plain_bytes == 2 ? k.pfnExtremeWords : k.pfnExtremeBytes;
  uint32_t uiLeast = 0xFFFF, uiMost = 0;
  WithScratch(*plan, [&](std::uint8_t *puc) {
    // The offsets of the layout begin at an aligned address.
    puc -= reinterpret_cast<std::uintptr_t>(puc) % 64;
    const ScratchLayout &l = plan->sScratch;
    const Source sSource(*plan, *frame);
    const bool bDirect = plan->uiStagesToPlain == 0;
    const std::size_t uiPiece = bDirect ? plan->uiWidth : l.uiPiece;
    for (std::size_t y = 0; y < plan->uiHeight; ++y) {
      for (std::size_t x = 0; x < plan->uiWidth; x += uiPiece) {
        const std::size_t n = std::min(plan->uiWidth - x, uiPiece);
        std::uint8_t *const pucSamples = puc + l.uiSamples;
        if (!bDirect)
          sSource.Bring(y, x, n, pucSamples, {{puc + l.auiSpaces[0], puc + l.auiSpaces[1]}},
                        plan->uiStagesToPlain);
        pfn(bDirect ? sSource.Row(y) : pucSamples, PlainBytes(sPlain, n) / sPlain.plain_bytes, &uiLeast,
            &uiMost);
      }
    }
  });
  *least = uiLeast;
  *most = uiMost;
  return KIVO_OK;
}
