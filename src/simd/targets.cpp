// SPDX-License-Identifier: Apache-2.0
#include "simd/targets.h"

#include <algorithm>
#include <atomic>

namespace Kivo {

// One line for each target that CMake may build.
namespace Baseline {
extern const Kernels c_sKernels;
}
#ifdef KIVO_HAVE_SSE41
namespace Sse41 {
extern const Kernels c_sKernels;
}
#endif
#ifdef KIVO_HAVE_AVX2
namespace Avx2 {
extern const Kernels c_sKernels;
}
#endif
#ifdef KIVO_HAVE_AVX512
namespace Avx512 {
extern const Kernels c_sKernels;
}
#endif
#ifdef KIVO_HAVE_NEON
namespace Neon {
extern const Kernels c_sKernels;
}
#endif

namespace {

// And one line here, in rising order of preference.
struct TargetEntry {
  Target eTarget;
  const char *pszName;
  const Kernels *psKernels;
};

constexpr TargetEntry c_asTargets[c_uiTargets] = {
    {Target::Baseline, "Baseline", &Baseline::c_sKernels},
#ifdef KIVO_HAVE_SSE41
    {Target::Sse41, "Sse41", &Sse41::c_sKernels},
#else
    {Target::Sse41, "Sse41", nullptr},
#endif
#ifdef KIVO_HAVE_AVX2
    {Target::Avx2, "Avx2", &Avx2::c_sKernels},
#else
    {Target::Avx2, "Avx2", nullptr},
#endif
#ifdef KIVO_HAVE_AVX512
    {Target::Avx512, "Avx512", &Avx512::c_sKernels},
#else
    {Target::Avx512, "Avx512", nullptr},
#endif
#ifdef KIVO_HAVE_NEON
    {Target::Neon, "Neon", &Neon::c_sKernels},
#else
    {Target::Neon, "Neon", nullptr},
#endif
};

const TargetEntry &Entry(Target eTarget) noexcept {
  return c_asTargets[static_cast<unsigned>(eTarget)];
}

// Register state that the operating system must save before vectors of a width may be used.
constexpr std::uint64_t c_uiXcr0Ymm = 0x06;
constexpr std::uint64_t c_uiXcr0Zmm = 0xE6;

bool Saves(const CpuFeatures &sCpu, std::uint64_t uiState) noexcept {
  return sCpu.bOsXSave && (sCpu.uiXcr0 & uiState) == uiState;
}

// A conversion whose buffers fit the cache is faster with ordinary stores, and so is whoever reads the
// picture next. Past the cache, ordinary stores first read every line that they then overwrite, and push out
// of the cache what the source still had there: so what counts is both buffers together. They stop fitting
// well before the size of the cache, which other data shares and which is not replaced in perfect order.
// docs/performance.md has the measurements. One core keeps little of a very large cache, which many share,
// hence the upper bound.
constexpr std::size_t c_uiLargestCache = std::size_t{32} << 20;
constexpr std::size_t c_uiUnknownCache = std::size_t{16} << 20;
constexpr std::size_t c_uiPercentOfCache = 59;

// Null and 0 until first use. Every thread computes the same value, so relaxed ordering is enough: the tables
// they lead to are constants.
std::atomic<const Kernels *> s_psActive{nullptr};
std::atomic<std::size_t> s_uiThreshold{0};
std::atomic<bool> s_bThresholdKnown{false};

}  // namespace

const char *TargetName(Target eTarget) noexcept {
  return Entry(eTarget).pszName;
}

const Kernels *TargetKernels(Target eTarget) noexcept {
  return Entry(eTarget).psKernels;
}

bool TargetRuns(Target eTarget, const CpuFeatures &sCpu) noexcept {
  switch (eTarget) {
    case Target::Baseline:
      return true;
    case Target::Sse41:
      return sCpu.bSsse3 && sCpu.bSse41;
    case Target::Avx2:
      return sCpu.bAvx && sCpu.bAvx2 && Saves(sCpu, c_uiXcr0Ymm);
    case Target::Avx512:
      return sCpu.bAvx && sCpu.bAvx2 && sCpu.bAvx512F && sCpu.bAvx512BW && sCpu.bAvx512DQ && sCpu.bAvx512VL &&
             sCpu.bAvx512Vbmi && Saves(sCpu, c_uiXcr0Zmm);
    case Target::Neon:
      return sCpu.bNeon;
    case Target::Count:
      break;
  }
  return false;
}

Target SelectTarget(const CpuFeatures &sCpu) noexcept {
  Target eBest = Target::Baseline;
  for (const TargetEntry &s : c_asTargets) {
    if (s.psKernels != nullptr && TargetRuns(s.eTarget, sCpu)) eBest = s.eTarget;
  }
  return eBest;
}

const Kernels &ActiveKernels() noexcept {
  const Kernels *ps = s_psActive.load(std::memory_order_relaxed);
  if (ps == nullptr) {
    ps = TargetKernels(SelectTarget(DetectCpu()));
    s_psActive.store(ps, std::memory_order_relaxed);
  }
  return *ps;
}

Target ActiveTarget() noexcept {
  const Kernels *const ps = &ActiveKernels();
  for (const TargetEntry &s : c_asTargets) {
    if (s.psKernels == ps) return s.eTarget;
  }
  return Target::Baseline;
}

bool PinTarget(Target eTarget) noexcept {
  static const CpuFeatures s_sCpu = DetectCpu();  // which takes long on a virtual machine
  const Kernels *ps = TargetKernels(eTarget);
  if (ps == nullptr || !TargetRuns(eTarget, s_sCpu)) return false;
  s_psActive.store(ps, std::memory_order_relaxed);
  return true;
}

void PinKernels(const Kernels &sKernels) noexcept {
  s_psActive.store(&sKernels, std::memory_order_relaxed);
}

std::size_t StreamingThreshold(std::size_t uiCacheBytes) noexcept {
  const std::size_t uiCache = uiCacheBytes == 0 ? c_uiUnknownCache : std::min(uiCacheBytes, c_uiLargestCache);
  return uiCache / 100 * c_uiPercentOfCache;
}

bool StreamingPays(std::size_t uiBytesRead, std::size_t uiBytesWritten) noexcept {
  if (!s_bThresholdKnown.load(std::memory_order_acquire))
    PinStreamingThreshold(StreamingThreshold(LargestCacheBytes()));
  return uiBytesRead + uiBytesWritten > s_uiThreshold.load(std::memory_order_relaxed);
}

void PinStreamingThreshold(std::size_t uiBytes) noexcept {
  s_uiThreshold.store(uiBytes, std::memory_order_relaxed);
  s_bThresholdKnown.store(true, std::memory_order_release);
}

}  // namespace Kivo
