// SPDX-License-Identifier: Apache-2.0
// The engine's own kernels are those of the target that the others are of.
#include <gtest/gtest.h>

#include <set>

#include "frame/frame_targets.h"

namespace KivoTest {
namespace {

TEST(FrameTargets, ExistWhereTheOthersDo) {
  std::set<const Kivo::FrameKernels *> tables;
  for (unsigned i = 0; i < Kivo::c_uiTargets; ++i) {
    const auto target = static_cast<Kivo::Target>(i);
    const Kivo::FrameKernels *const kernels = Kivo::TargetFrameKernels(target);
    EXPECT_EQ(kernels != nullptr, Kivo::TargetKernels(target) != nullptr) << Kivo::TargetName(target);
    if (kernels != nullptr) {
      EXPECT_TRUE(tables.insert(kernels).second) << Kivo::TargetName(target);
    }
  }
  EXPECT_NE(Kivo::TargetFrameKernels(Kivo::Target::Baseline), nullptr);
}

TEST(FrameTargets, FollowTheTargetInUse) {
  EXPECT_EQ(Kivo::ActiveTarget(), Kivo::SelectTarget(Kivo::DetectCpu()));
  for (unsigned i = 0; i < Kivo::c_uiTargets; ++i) {
    const auto target = static_cast<Kivo::Target>(i);
    if (!Kivo::PinTarget(target)) continue;
    EXPECT_EQ(Kivo::ActiveTarget(), target);
    EXPECT_EQ(&Kivo::ActiveKernels(), Kivo::TargetKernels(target)) << Kivo::TargetName(target);
    EXPECT_EQ(&Kivo::ActiveFrameKernels(), Kivo::TargetFrameKernels(target)) << Kivo::TargetName(target);
  }
}

}  // namespace
}  // namespace KivoTest
