// SPDX-License-Identifier: Apache-2.0
// What the processor and the operating system offer, asked without any setting from outside.
#ifndef KIVO_SIMD_CPU_H
#define KIVO_SIMD_CPU_H

#include <cstddef>
#include <cstdint>

namespace Kivo {

// Raw answers, so that the selection made from them can be tested with invented processors.
struct CpuFeatures {
  bool bSsse3 = false;
  bool bSse41 = false;
  bool bAvx = false;
  bool bAvx2 = false;
  bool bAvx512F = false;
  bool bAvx512BW = false;
  bool bAvx512DQ = false;
  bool bAvx512VL = false;
  bool bAvx512Vbmi = false;
  bool bOsXSave = false;     // the operating system has enabled XGETBV
  std::uint64_t uiXcr0 = 0;  // the register state it saves; 0 without bOsXSave
  bool bNeon = false;
};

CpuFeatures DetectCpu() noexcept;

// Bytes of the largest data or unified cache that the processor reports, 0 if it reports none.
std::size_t LargestCacheBytes() noexcept;

}  // namespace Kivo

#endif  // KIVO_SIMD_CPU_H
