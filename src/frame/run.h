// SPDX-License-Identifier: Apache-2.0
// Making rows of a picture, once everything is checked.
#ifndef KIVO_FRAME_RUN_H
#define KIVO_FRAME_RUN_H

#include "frame/plan.h"

namespace Kivo {

// Rows uiFirst to uiFirst + uiRows - 1 of the picture. pucScratch has as many bytes as the plan's layout.
void MakeRows(const kivo_plan &sPlan, const kivo_frame &sFrame, const kivo_picture &sPicture,
              std::size_t uiFirst, std::size_t uiRows, std::uint8_t *pucScratch) noexcept;

// Whether a frame is as large as the plan's; uiBytes: what it takes of its buffer.
kivo_status CheckFrame(const kivo_plan &s, const kivo_frame &sFrame, std::size_t &uiBytes) noexcept;
inline kivo_status CheckFrame(const kivo_plan &s, const kivo_frame &sFrame) noexcept {
  std::size_t uiBytes;
  return CheckFrame(s, sFrame, uiBytes);
}

// With memory of the thread's stack. A function of its own, so that no other caller's frame grows.
template <class Work>
[[gnu::noinline]] void WithScratch(const kivo_plan &s, const Work &work) noexcept {
  work(static_cast<std::uint8_t *>(__builtin_alloca(s.sScratch.uiTotal)));
}

}  // namespace Kivo

#endif  // KIVO_FRAME_RUN_H
