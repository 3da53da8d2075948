// SPDX-License-Identifier: Apache-2.0
#ifndef KIVO_TESTS_SUPPORT_PINNED_KERNELS_H
#define KIVO_TESTS_SUPPORT_PINNED_KERNELS_H

#include "simd/targets.h"

namespace KivoTest {

// Conversions use these kernels, which must outlive it, for as long as it lives; then this processor's again.
class PinnedKernels {
 public:
  explicit PinnedKernels(const Kivo::Kernels &kernels) { Kivo::PinKernels(kernels); }
  ~PinnedKernels() { Kivo::PinTarget(Kivo::SelectTarget(Kivo::DetectCpu())); }
  PinnedKernels(const PinnedKernels &) = delete;
  PinnedKernels &operator=(const PinnedKernels &) = delete;
};

}  // namespace KivoTest

#endif  // KIVO_TESTS_SUPPORT_PINNED_KERNELS_H
