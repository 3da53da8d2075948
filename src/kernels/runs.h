// SPDX-License-Identifier: Apache-2.0
// Drivers for kernels that treat each row of a frame as one run of items: pixels, groups of pixels, or bytes.
//
// A Step converts c_uiItems items at a time and says how far it reaches:
//   c_uiSrcItem, c_uiDstItem    bytes of one item
//   c_uiSrcReach, c_uiDstReach  bytes that a step touches, at least those of its items
//   c_uiSrcSkip                 bytes at the end of the last item that are never read
//   c_bBackward                 whether the source is walked from its end; a step's source pointer then is
//   the
//                               end of its items, and its reach counts from there down
//   c_bWholeVectors             whether it stores its items as whole vectors; only then are they streamed
//   template <bool bStream> void Do(uint8_t *pucDst, const uint8_t *pucSrc) const
#ifndef KIVO_KERNELS_RUNS_H
#define KIVO_KERNELS_RUNS_H

#include "simd/vec.h"

namespace Kivo::KIVO_TARGET {
namespace {

constexpr size_t Larger(size_t a, size_t b) {
  return a > b ? a : b;
}
constexpr size_t CeilDiv(size_t a, size_t b) {
  return (a + b - 1) / b;
}

struct StepDefaults {
  static constexpr size_t c_uiSrcSkip = 0;
  static constexpr bool c_bBackward = false;
  static constexpr bool c_bWholeVectors = false;
};

// Where the step for items i.. of a run of n finds its source.
template <class Step>
KIVO_INLINE const uint8_t *StepSource(const uint8_t *pucSrc, size_t n, size_t i) {
  return pucSrc + (Step::c_bBackward ? n - i : i) * Step::c_uiSrcItem;
}

// One step for m of its items, m <= c_uiItems, through buffers of its own: touches nothing but those items.
// Inlined, it would stand in every kernel several times.
template <class Step>
[[gnu::noinline]] void BufferedStep(Step step, uint8_t *pucDst, const uint8_t *pucSrc, size_t m) {
  if (m == 0) return;
  uint8_t aucSrc[Step::c_uiSrcReach] = {};
  uint8_t aucDst[Step::c_uiDstReach];
  const size_t uiBytes = m * Step::c_uiSrcItem - Step::c_uiSrcSkip;
  if constexpr (Step::c_bBackward) {
    uint8_t *const pucEnd = aucSrc + sizeof aucSrc;
    memcpy(pucEnd - uiBytes, pucSrc - uiBytes, uiBytes);
    step.template Do<false>(aucDst, pucEnd);
  } else {
    memcpy(aucSrc, pucSrc, uiBytes);
    step.template Do<false>(aucDst, aucSrc);
  }
  memcpy(pucDst, aucDst, m * Step::c_uiDstItem);
}

// Items that must be left for a step to stay inside both buffers.
template <class Step>
constexpr size_t c_uiItemsNeeded =
    Larger(Step::c_uiItems, Larger(CeilDiv(Step::c_uiSrcReach + Step::c_uiSrcSkip, Step::c_uiSrcItem),
                                   CeilDiv(Step::c_uiDstReach, Step::c_uiDstItem)));

template <class Step>
KIVO_INLINE void RunOrdinary(const Step &step, uint8_t *pucDst, const uint8_t *pucSrc, size_t n) {
  size_t i = 0;
  for (; n - i >= c_uiItemsNeeded<Step>; i += Step::c_uiItems) {
    step.template Do<false>(pucDst + i * Step::c_uiDstItem, StepSource<Step>(pucSrc, n, i));
  }
  if (i == n) return;
  if (n < Step::c_uiItems) {
    BufferedStep(step, pucDst, StepSource<Step>(pucSrc, n, 0), n);
    return;
  }
  for (; n - i > Step::c_uiItems; i += Step::c_uiItems) {
    BufferedStep(step, pucDst + i * Step::c_uiDstItem, StepSource<Step>(pucSrc, n, i), Step::c_uiItems);
  }
  // The last whole step overlaps the one before and repeats some of its items.
  i = n - Step::c_uiItems;
  BufferedStep(step, pucDst + i * Step::c_uiDstItem, StepSource<Step>(pucSrc, n, i), Step::c_uiItems);
}

// Items that bring the destination to the start of a line; n if none of the first items does.
template <class Step>
size_t ItemsToLine(const uint8_t *pucDst, size_t n) {
  uintptr_t uiAddress = reinterpret_cast<uintptr_t>(pucDst);
  for (size_t i = 0; i < c_uiLine && i < n; ++i, uiAddress += Step::c_uiDstItem) {
    if (uiAddress % c_uiLine == 0) return i;
  }
  return n;
}

// What a step reads half a page behind the one at p.
template <class Step>
KIVO_INLINE void PrefetchAhead(const uint8_t *p) {
  constexpr size_t c_uiAhead = 2048;
  for (size_t i = 0; i < Step::c_uiItems * Step::c_uiSrcItem; i += c_uiLine)
    Prefetch(Step::c_bBackward ? p - c_uiAhead - i : p + c_uiAhead + i);
}

// For steps that store whole vectors: streams every line but those that the run shares with its surroundings.
// Streaming stores hold up what a processor reads ahead by itself.
template <class Step>
void RunStreaming(const Step &step, uint8_t *pucDst, const uint8_t *pucSrc, size_t n) {
  // The step streams whole lines only from steps that together fill them.
  constexpr size_t c_uiBlock = Step::c_uiItems * Step::c_uiDstItem % c_uiLine == 0 ? 1 : c_uiLine / c_uiVec;
  constexpr size_t c_uiBlockItems = c_uiBlock * Step::c_uiItems;
  size_t i = ItemsToLine<Step>(pucDst, n);
  RunOrdinary(step, pucDst, StepSource<Step>(pucSrc, n, 0) - (Step::c_bBackward ? i * Step::c_uiSrcItem : 0),
              i);
  for (; n - i >= c_uiItemsNeeded<Step> + c_uiBlockItems - Step::c_uiItems;) {
    for (size_t k = 0; k < c_uiBlock; ++k, i += Step::c_uiItems) {
      const uint8_t *const p = StepSource<Step>(pucSrc, n, i);
      PrefetchAhead<Step>(p);
      step.template Do<true>(pucDst + i * Step::c_uiDstItem, p);
    }
  }
  for (; i < n; i += Step::c_uiItems) {
    const size_t m = n - i < Step::c_uiItems ? n - i : Step::c_uiItems;
    BufferedStep(step, pucDst + i * Step::c_uiDstItem, StepSource<Step>(pucSrc, n, i), m);
  }
}

// All rows of a job, one after the other, each as a run of its own: no row is touched beyond its ends.
template <class Step>
KIVO_INLINE void Run(const Step &step, const RunJob &sJob) {
  if (sJob.n == 0) return;  // there may be 2^32 rows of nothing
  for (size_t y = 0; y < sJob.uiRows; ++y) {
    uint8_t *const pucDst = sJob.pucDst + static_cast<ptrdiff_t>(y) * sJob.iDstPitch;
    const uint8_t *const pucSrc = sJob.pucSrc + static_cast<ptrdiff_t>(y) * sJob.iSrcPitch;
    if constexpr (Step::c_bWholeVectors) {
      if (sJob.bStream) {
        RunStreaming(step, pucDst, pucSrc, sJob.n);
        continue;
      }
    }
    RunOrdinary(step, pucDst, pucSrc, sJob.n);
  }
}

// A kernel from a step that needs no parameter.
template <class Step>
void RunKernelOf(const RunJob &sJob) {
  Run(Step{}, sJob);
}

}  // namespace
}  // namespace Kivo::KIVO_TARGET

#endif  // KIVO_KERNELS_RUNS_H
