// SPDX-License-Identifier: Apache-2.0
// Which kernels are chosen, told with invented processors.
#include "simd/targets.h"

#include <set>
#include <string>

#include "support/unit.h"

namespace KivoTest {
namespace {

using Kivo::CpuFeatures;
using Kivo::Target;

constexpr std::uint64_t kSse = 0x02, kYmm = 0x04, kMask = 0x20, kZmmLow = 0x40, kZmmHigh = 0x80;
constexpr std::uint64_t kAllState = 0x01 | kSse | kYmm | kMask | kZmmLow | kZmmHigh;

// A processor with everything that x86-64 targets ask for, under a system that saves all of it.
CpuFeatures Everything() {
  CpuFeatures cpu;
  cpu.bSsse3 = cpu.bSse41 = cpu.bAvx = cpu.bAvx2 = true;
  cpu.bAvx512F = cpu.bAvx512BW = cpu.bAvx512DQ = cpu.bAvx512VL = cpu.bAvx512Vbmi = true;
  cpu.bOsXSave = true;
  cpu.uiXcr0 = kAllState;
  return cpu;
}

CpuFeatures Without(bool CpuFeatures::*feature) {
  CpuFeatures cpu = Everything();
  cpu.*feature = false;
  return cpu;
}

bool Built(Target target) {
  return Kivo::TargetKernels(target) != nullptr;
}

// The best built target up to one that a processor can run.
Target BestUpTo(Target highest) {
  Target best = Target::Baseline;
  for (const Target target : {Target::Sse41, Target::Avx2, Target::Avx512})
    if (Built(target) && target <= highest) best = target;
  return best;
}

void ExpectHighest(const CpuFeatures &cpu, Target highest) {
  for (const Target target : {Target::Baseline, Target::Sse41, Target::Avx2, Target::Avx512})
    EXPECT_EQ(Kivo::TargetRuns(target, cpu), target <= highest) << Kivo::TargetName(target);
  EXPECT_EQ(Kivo::SelectTarget(cpu), BestUpTo(highest));
}

TEST(Targets, NamesDiffer) {
  std::set<std::string> names;
  for (unsigned i = 0; i < Kivo::c_uiTargets; ++i) names.insert(Kivo::TargetName(static_cast<Target>(i)));
  EXPECT_EQ(names.size(), Kivo::c_uiTargets);
  EXPECT_STREQ(Kivo::TargetName(Target::Baseline), "Baseline");
}

TEST(Targets, BaselineRunsEverywhere) {
  EXPECT_TRUE(Built(Target::Baseline));
  EXPECT_TRUE(Kivo::TargetRuns(Target::Baseline, CpuFeatures{}));
  ExpectHighest(CpuFeatures{}, Target::Baseline);
}

TEST(Targets, EverythingTakesTheWidest) {
  ExpectHighest(Everything(), Target::Avx512);
}

TEST(Targets, EveryFeatureOfAvx512IsNeeded) {
  for (bool CpuFeatures::*const feature :
       {&CpuFeatures::bAvx512F, &CpuFeatures::bAvx512BW, &CpuFeatures::bAvx512DQ, &CpuFeatures::bAvx512VL,
        &CpuFeatures::bAvx512Vbmi})
    ExpectHighest(Without(feature), Target::Avx2);
}

TEST(Targets, Avx2NeedsItself) {
  EXPECT_FALSE(Kivo::TargetRuns(Target::Avx2, Without(&CpuFeatures::bAvx2)));
  EXPECT_FALSE(Kivo::TargetRuns(Target::Avx512, Without(&CpuFeatures::bAvx2)));
  EXPECT_FALSE(Kivo::TargetRuns(Target::Avx2, Without(&CpuFeatures::bAvx)));
  EXPECT_FALSE(Kivo::TargetRuns(Target::Avx512, Without(&CpuFeatures::bAvx)));
  EXPECT_EQ(Kivo::SelectTarget(Without(&CpuFeatures::bAvx2)), BestUpTo(Target::Sse41));
}

TEST(Targets, Sse41NeedsBothOfItsSets) {
  CpuFeatures cpu;
  cpu.bSsse3 = true;
  ExpectHighest(cpu, Target::Baseline);
  cpu.bSse41 = true;
  ExpectHighest(cpu, Target::Sse41);
  cpu.bSsse3 = false;
  ExpectHighest(cpu, Target::Baseline);
}

TEST(Targets, TheSystemMustSaveTheRegisters) {
  for (const std::uint64_t missing : {kMask, kZmmLow, kZmmHigh}) {
    CpuFeatures cpu = Everything();
    cpu.uiXcr0 &= ~missing;
    ExpectHighest(cpu, Target::Avx2);
  }
  for (const std::uint64_t missing : {kYmm, kSse, kYmm | kSse}) {
    CpuFeatures cpu = Everything();
    cpu.uiXcr0 &= ~missing;
    ExpectHighest(cpu, Target::Sse41);
  }
  CpuFeatures cpu = Everything();
  cpu.bOsXSave = false;
  cpu.uiXcr0 = 0;
  ExpectHighest(cpu, Target::Sse41);
  cpu.uiXcr0 = kAllState;  // never read from such a system, whatever it says
  ExpectHighest(cpu, Target::Sse41);
}

TEST(Targets, NeonIsItsOwnArchitecture) {
  EXPECT_FALSE(Kivo::TargetRuns(Target::Neon, Everything()));
  CpuFeatures cpu;
  cpu.bNeon = true;
  EXPECT_TRUE(Kivo::TargetRuns(Target::Neon, cpu));
  EXPECT_EQ(Kivo::SelectTarget(cpu), Built(Target::Neon) ? Target::Neon : Target::Baseline);
}

TEST(Targets, EveryCombinationOfFeatures) {
  // All 2^10 processors: whatever is chosen is built and runs there, and nothing better does.
  bool CpuFeatures::*const features[] = {
      &CpuFeatures::bSsse3,    &CpuFeatures::bSse41,    &CpuFeatures::bAvx,
      &CpuFeatures::bAvx2,     &CpuFeatures::bAvx512F,  &CpuFeatures::bAvx512BW,
      &CpuFeatures::bAvx512DQ, &CpuFeatures::bAvx512VL, &CpuFeatures::bAvx512Vbmi};
  for (unsigned bits = 0; bits < 1024; ++bits) {
    CpuFeatures cpu;
    for (unsigned i = 0; i < 9; ++i) cpu.*features[i] = (bits >> i & 1) != 0;
    cpu.bOsXSave = (bits >> 9 & 1) != 0;
    if (cpu.bOsXSave) cpu.uiXcr0 = kAllState;
    const bool sse = cpu.bSsse3 && cpu.bSse41;
    const bool avx2 = cpu.bAvx && cpu.bAvx2 && cpu.bOsXSave;
    const bool avx512 =
        avx2 && cpu.bAvx512F && cpu.bAvx512BW && cpu.bAvx512DQ && cpu.bAvx512VL && cpu.bAvx512Vbmi;
    ASSERT_EQ(Kivo::TargetRuns(Target::Sse41, cpu), sse) << bits;
    ASSERT_EQ(Kivo::TargetRuns(Target::Avx2, cpu), avx2) << bits;
    ASSERT_EQ(Kivo::TargetRuns(Target::Avx512, cpu), avx512) << bits;
    Target expected = Target::Baseline;
    if (sse && Built(Target::Sse41)) expected = Target::Sse41;
    if (avx2 && Built(Target::Avx2)) expected = Target::Avx2;
    if (avx512 && Built(Target::Avx512)) expected = Target::Avx512;
    ASSERT_EQ(Kivo::SelectTarget(cpu), expected) << bits;
  }
}

TEST(Targets, TablesAreWhole) {
  for (unsigned i = 0; i < Kivo::c_uiTargets; ++i) {
    const Kivo::Kernels *const kernels = Kivo::TargetKernels(static_cast<Target>(i));
    if (kernels == nullptr) continue;
    SCOPED_TRACE(Kivo::TargetName(static_cast<Target>(i)));
    for (unsigned output = 0; output < Kivo::c_uiOutputs; ++output) {
      EXPECT_NE(kernels->psMonoRgb8->apfnMono[output], nullptr);
      EXPECT_NE(kernels->psMonoRgb8->apfnRGB[output], nullptr);
      EXPECT_NE(kernels->psYuv8->apfn411[output], nullptr);
      EXPECT_NE(kernels->psYuv8->apfn422[output], nullptr);
      EXPECT_NE(kernels->psYuv8->apfn444[output], nullptr);
      EXPECT_NE(kernels->psBayer8->apfn[output], nullptr);
      EXPECT_NE(kernels->psAcpi8->apfn[output], nullptr);
      EXPECT_NE(kernels->psMonoRgb16->apfnMono[output], nullptr);
      EXPECT_NE(kernels->psMonoRgb16->apfnRGB[output], nullptr);
      EXPECT_NE(kernels->psMonoRgb16->apfnBGR[output], nullptr);
      EXPECT_NE(kernels->psBayer16->apfn[output], nullptr);
    }
    EXPECT_NE(kernels->psMonoRgb8->pfnBGRToBGRA, nullptr);
    for (const Kivo::RunKernel kernel : kernels->psReverse->apfn) EXPECT_NE(kernel, nullptr);
    EXPECT_NE(kernels->psReverse->pfnCopy, nullptr);
  }
}

TEST(Targets, TheActiveTargetIsTheSelectedOneUntilPinned) {
  const Target selected = Kivo::SelectTarget(Kivo::DetectCpu());
  EXPECT_EQ(&Kivo::ActiveKernels(), Kivo::TargetKernels(selected));
  for (unsigned i = 0; i < Kivo::c_uiTargets; ++i) {
    const Target target = static_cast<Target>(i);
    const Kivo::Kernels *const before = &Kivo::ActiveKernels();
    const bool can = Built(target) && Kivo::TargetRuns(target, Kivo::DetectCpu());
    EXPECT_EQ(Kivo::PinTarget(target), can);
    EXPECT_EQ(&Kivo::ActiveKernels(), can ? Kivo::TargetKernels(target) : before);
  }
  EXPECT_TRUE(Kivo::PinTarget(selected));
}

TEST(Targets, StreamingIsForFramesThatNoCacheHolds) {
  EXPECT_FALSE(Kivo::StreamingPays(0));
  // One core does not keep all of a very large cache, which many share.
  const std::size_t cache = std::min(Kivo::LargestCacheBytes(), std::size_t{16} << 20);
  if (cache != 0) {
    EXPECT_FALSE(Kivo::StreamingPays(cache));
  }
  EXPECT_TRUE(Kivo::StreamingPays(std::size_t{10240} * 7680 * 4));
  bool before = false;
  for (std::size_t bytes = 1; bytes < std::size_t{1} << 34; bytes += bytes / 16 + 1) {
    const bool now = Kivo::StreamingPays(bytes);
    EXPECT_TRUE(now || !before) << "streaming stops paying at " << bytes;
    before = now;
  }
}

TEST(Targets, TheStreamingThresholdCanBePinned) {
  Kivo::PinStreamingThreshold(0);
  EXPECT_TRUE(Kivo::StreamingPays(3));
  Kivo::PinStreamingThreshold(std::numeric_limits<std::size_t>::max());
  EXPECT_FALSE(Kivo::StreamingPays(std::size_t{1} << 42));
}

}  // namespace
}  // namespace KivoTest
