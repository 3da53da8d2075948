// SPDX-License-Identifier: Apache-2.0
#include "simd/cpu.h"

#include <initializer_list>

#if defined(__x86_64__)
#include <cpuid.h>
#endif

namespace Kivo {

#if defined(__x86_64__)

namespace {

struct Registers {
  unsigned uiEax = 0, uiEbx = 0, uiEcx = 0, uiEdx = 0;
};

Registers Cpuid(unsigned uiLeaf, unsigned uiSubleaf = 0) noexcept {
  Registers s;
  if (!__get_cpuid_count(uiLeaf, uiSubleaf, &s.uiEax, &s.uiEbx, &s.uiEcx, &s.uiEdx)) return {};
  return s;
}

bool Bit(unsigned uiWord, unsigned uiBit) noexcept {
  return (uiWord >> uiBit & 1) != 0;
}

// The register state that the operating system saves on a context switch.
std::uint64_t Xgetbv0() noexcept {
  unsigned uiLow, uiHigh;
  asm volatile("xgetbv" : "=a"(uiLow), "=d"(uiHigh) : "c"(0));
  return std::uint64_t{uiHigh} << 32 | uiLow;
}

}  // namespace

CpuFeatures DetectCpu() noexcept {
  CpuFeatures s;
  const Registers s1 = Cpuid(1);
  s.bSsse3 = Bit(s1.uiEcx, 9);
  s.bSse41 = Bit(s1.uiEcx, 19);
  s.bOsXSave = Bit(s1.uiEcx, 27);
  s.bAvx = Bit(s1.uiEcx, 28);
  if (s.bOsXSave) s.uiXcr0 = Xgetbv0();
  const Registers s7 = Cpuid(7);
  s.bAvx2 = Bit(s7.uiEbx, 5);
  s.bAvx512F = Bit(s7.uiEbx, 16);
  s.bAvx512DQ = Bit(s7.uiEbx, 17);
  s.bAvx512BW = Bit(s7.uiEbx, 30);
  s.bAvx512VL = Bit(s7.uiEbx, 31);
  s.bAvx512Vbmi = Bit(s7.uiEcx, 1);
  return s;
}

std::size_t LargestCacheBytes() noexcept {
  // Deterministic cache parameters: leaf 4 where it is filled, else AMD's leaf of the same layout.
  for (const unsigned uiLeaf : {4u, 0x8000001Du}) {
    std::size_t uiLargest = 0;
    for (unsigned i = 0; i < 16; ++i) {
      const Registers s = Cpuid(uiLeaf, i);
      const unsigned uiType = s.uiEax & 31;  // 1 data, 2 instructions, 3 unified
      if (uiType == 0) break;
      if (uiType == 2) continue;
      const std::size_t uiWays = (s.uiEbx >> 22) + 1;
      const std::size_t uiPartitions = (s.uiEbx >> 12 & 0x3FF) + 1;
      const std::size_t uiLine = (s.uiEbx & 0xFFF) + 1;
      const std::size_t uiSets = std::size_t{s.uiEcx} + 1;
      const std::size_t uiBytes = uiWays * uiPartitions * uiLine * uiSets;
      if (uiBytes > uiLargest) uiLargest = uiBytes;
    }
    if (uiLargest != 0) return uiLargest;
  }
  return 0;
}

#else

CpuFeatures DetectCpu() noexcept {
  CpuFeatures s;
#if defined(__aarch64__)
  s.bNeon = true;  // part of the architecture
#endif
  return s;
}

std::size_t LargestCacheBytes() noexcept {
  return 0;
}

#endif

}  // namespace Kivo
