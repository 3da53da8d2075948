// SPDX-License-Identifier: Apache-2.0
// Gathers the tables of one target; compiled once per target, with no instructions of it.
#include "simd/kernels.h"

namespace Kivo::KIVO_TARGET {

extern const Kernels c_sKernels;
const Kernels c_sKernels = {&c_sMonoRgb8Kernels,  &c_sYuv8Kernels,    &c_sBayer8Kernels, &c_sAcpi8Kernels,
                            &c_sMonoRgb16Kernels, &c_sBayer16Kernels, &c_sReverseKernels};

}  // namespace Kivo::KIVO_TARGET
