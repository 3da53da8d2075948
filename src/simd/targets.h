// SPDX-License-Identifier: Apache-2.0
// Which kernels run: chosen once from the processor, on first use.
#ifndef KIVO_SIMD_TARGETS_H
#define KIVO_SIMD_TARGETS_H

#include <cstddef>

#include "simd/cpu.h"
#include "simd/kernels.h"

namespace Kivo {

// In rising order of preference on one architecture.
enum class Target : unsigned { Baseline, Sse41, Avx2, Avx512, Neon, Count };

constexpr unsigned c_uiTargets = static_cast<unsigned>(Target::Count);

const char *TargetName(Target eTarget) noexcept;

// The kernels of a target; null if this build does not contain it.
const Kernels *TargetKernels(Target eTarget) noexcept;

// Whether a processor with these features can run a target's instructions.
bool TargetRuns(Target eTarget, const CpuFeatures &sCpu) noexcept;

// The best target that this build contains and that such a processor runs.
Target SelectTarget(const CpuFeatures &sCpu) noexcept;

// The kernels in use. One atomic load; the first call asks the processor, and threads that race there store
// the same answer twice.
const Kernels &ActiveKernels() noexcept;

// The target that they are of.
Target ActiveTarget() noexcept;

// For tests and benchmarks: converts with one target from now on. False, changing nothing, if the build lacks
// it or the processor cannot run it. Not to be called while a conversion runs.
bool PinTarget(Target eTarget) noexcept;

// For tests: converts with these kernels from now on, which must outlive their use; PinTarget() ends it.
void PinKernels(const Kernels &sKernels) noexcept;

// Whether a conversion that reads and writes so many bytes gains from stores that bypass the caches.
bool StreamingPays(std::size_t uiBytesRead, std::size_t uiBytesWritten) noexcept;

// The bytes, read and written together, above which it does, beside a last-level cache of this size; 0 where
// the size is not known.
std::size_t StreamingThreshold(std::size_t uiCacheBytes) noexcept;

// For tests and benchmarks: streams above so many bytes. Not to be called while a conversion runs.
void PinStreamingThreshold(std::size_t uiBytes) noexcept;

}  // namespace Kivo

#endif  // KIVO_SIMD_TARGETS_H
