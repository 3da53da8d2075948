// SPDX-License-Identifier: Apache-2.0
// Gathers the engine's own tables of one target; compiled once per target, with no instructions of it.
#include "simd/frame_kernels.h"

namespace Kivo::KIVO_TARGET {

extern const FrameKernels c_sFrameKernels;
const FrameKernels c_sFrameKernels = {&c_sMosaicPlanesKernels,  &c_sUnpackKernels,   &c_sPackedMonoKernels,
                                      &c_sPlanesKernels,        &c_sHalfKernels,     &c_sPictureKernels,
                                      &c_sRangeKernels,         &c_sYuvFrameKernels, &c_sColourKernels,
                                      &c_sColouredMosaicKernels};

}  // namespace Kivo::KIVO_TARGET
