// SPDX-License-Identifier: Apache-2.0
// The engine's own kernels of the target that simd/targets.h has chosen.
#ifndef KIVO_FRAME_FRAME_TARGETS_H
#define KIVO_FRAME_FRAME_TARGETS_H

#include "simd/frame_kernels.h"
#include "simd/targets.h"

namespace Kivo {

// The engine's kernels of a target; null if this build does not contain it.
const FrameKernels *TargetFrameKernels(Target eTarget) noexcept;

// Those of the target that ActiveKernels() are of.
const FrameKernels &ActiveFrameKernels() noexcept;

}  // namespace Kivo

#endif  // KIVO_FRAME_FRAME_TARGETS_H
