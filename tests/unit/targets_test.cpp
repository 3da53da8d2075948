// SPDX-License-Identifier: Apache-2.0
// Which kernels are chosen, told with invented processors.
#include "simd/targets.h"

#include <algorithm>
#include <fstream>
#include <initializer_list>
#include <set>
#include <sstream>
#include <string>

#include "support/unit.h"

#if defined(__aarch64__)
#include <sys/auxv.h>
#endif

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

#if defined(__x86_64__)

// What the system has found this processor to have, and keeps for every program; empty where it does not say.
std::set<std::string> FlagsOfThisMachine() {
  std::ifstream file("/proc/cpuinfo");
  for (std::string line; std::getline(file, line);) {
    if (line.rfind("flags", 0) != 0) continue;
    std::istringstream words(line.substr(line.find(':') + 1));
    std::set<std::string> flags;
    for (std::string word; words >> word;) flags.insert(word);
    return flags;
  }
  return {};
}

// A bit that is misread makes its target one that is neither used nor tested, and every test of it is
// skipped.
TEST(Targets, ThisMachineRunsWhatTheSystemSaysItCan) {
  const std::set<std::string> flags = FlagsOfThisMachine();
  if (flags.empty()) GTEST_SKIP() << "/proc/cpuinfo has no flags";
  const auto all = [&](std::initializer_list<const char *> names) {
    return std::all_of(names.begin(), names.end(), [&](const char *name) { return flags.count(name) != 0; });
  };
  const bool sse = all({"ssse3", "sse4_1"});
  const bool avx2 = all({"avx", "avx2"});
  const bool avx512 = avx2 && all({"avx512f", "avx512bw", "avx512dq", "avx512vl", "avx512vbmi"});
  const CpuFeatures cpu = Kivo::DetectCpu();
  EXPECT_EQ(Kivo::TargetRuns(Target::Sse41, cpu), sse);
  EXPECT_EQ(Kivo::TargetRuns(Target::Avx2, cpu), avx2);
  EXPECT_EQ(Kivo::TargetRuns(Target::Avx512, cpu), avx512);
  EXPECT_FALSE(Kivo::TargetRuns(Target::Neon, cpu));
  const Target best = BestUpTo(avx512 ? Target::Avx512
                               : avx2 ? Target::Avx2
                               : sse  ? Target::Sse41
                                      : Target::Baseline);
  EXPECT_STREQ(Kivo::TargetName(Kivo::SelectTarget(cpu)), Kivo::TargetName(best));
  EXPECT_EQ(&Kivo::ActiveKernels(), Kivo::TargetKernels(best));
}

// Bit by bit against the compiler's own detection. That answers for what can be used: a feature whose
// registers the system does not save it denies.
TEST(Targets, FeaturesAreThoseThatTheCompilerDetects) {
  __builtin_cpu_init();
  const CpuFeatures cpu = Kivo::DetectCpu();
  const bool ymm = cpu.bOsXSave && (cpu.uiXcr0 & (kSse | kYmm)) == (kSse | kYmm);
  constexpr std::uint64_t kZmm = kSse | kYmm | kMask | kZmmLow | kZmmHigh;
  const bool zmm = cpu.bOsXSave && (cpu.uiXcr0 & kZmm) == kZmm;
  EXPECT_EQ(cpu.bSsse3, __builtin_cpu_supports("ssse3") != 0);
  EXPECT_EQ(cpu.bSse41, __builtin_cpu_supports("sse4.1") != 0);
  EXPECT_EQ(cpu.bAvx && ymm, __builtin_cpu_supports("avx") != 0);
  EXPECT_EQ(cpu.bAvx2 && ymm, __builtin_cpu_supports("avx2") != 0);
  EXPECT_EQ(cpu.bAvx512F && zmm, __builtin_cpu_supports("avx512f") != 0);
  EXPECT_EQ(cpu.bAvx512BW && zmm, __builtin_cpu_supports("avx512bw") != 0);
  EXPECT_EQ(cpu.bAvx512DQ && zmm, __builtin_cpu_supports("avx512dq") != 0);
  EXPECT_EQ(cpu.bAvx512VL && zmm, __builtin_cpu_supports("avx512vl") != 0);
  EXPECT_EQ(cpu.bAvx512Vbmi && zmm, __builtin_cpu_supports("avx512vbmi") != 0);
}

#elif defined(__aarch64__)

TEST(Targets, ThisMachineRunsWhatTheSystemSaysItCan) {
  constexpr unsigned long kAdvancedSimd = 1UL << 1;
  const bool neon = (getauxval(AT_HWCAP) & kAdvancedSimd) != 0;
  EXPECT_EQ(Kivo::TargetRuns(Target::Neon, Kivo::DetectCpu()), neon);
  const Target best = neon && Built(Target::Neon) ? Target::Neon : Target::Baseline;
  EXPECT_STREQ(Kivo::TargetName(Kivo::SelectTarget(Kivo::DetectCpu())), Kivo::TargetName(best));
}

#endif

}  // namespace
}  // namespace KivoTest
