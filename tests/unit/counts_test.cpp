// SPDX-License-Identifier: Apache-2.0
// How many pixels kernels are told of where a count of bytes passes 32 bits, as the header of each function
// states it.
#include <cstdint>

#include "KivoCamUtl.h"
#include "support/pinned_kernels.h"
#include "support/unit.h"

namespace KivoTest {
namespace {

std::size_t g_items;
void NoteItems(const Kivo::RunJob &job) {
  g_items = job.n;
}

TEST(Counts, OfGreyPixelsAreNotThoseOfTheirBytesInThePicture) {
  Kivo::MonoRgb8Kernels mono_rgb8{};
  for (unsigned output = 0; output < Kivo::c_uiOutputs; ++output)
    mono_rgb8.apfnMono[output] = mono_rgb8.apfnRGB[output] = NoteItems;
  Kivo::Kernels kernels = *Kivo::TargetKernels(Kivo::Target::Baseline);
  kernels.psMonoRgb8 = &mono_rgb8;
  const PinnedKernels pinned(kernels);
  PrepareLUT();
  const std::uint8_t source = 0;
  std::uint8_t picture[4] = {};
  std::uint32_t pixel = 0;
  constexpr std::uint32_t kWidth = 65535, kHeight = 40000;  // three times as many are more than 2^32
  ASSERT_EQ(ConvMono8ToBGR(picture, &source, kWidth, kHeight), CAMUTL_STS_SUCCESS);
  EXPECT_EQ(g_items, std::size_t{kWidth} * kHeight);
  ASSERT_EQ(ConvMono8ToBGRA(&pixel, &source, kWidth, kHeight), CAMUTL_STS_SUCCESS);
  EXPECT_EQ(g_items, std::size_t{kWidth} * kHeight);
  // Those of colour are counted in bytes, modulo 2^32.
  const std::uint32_t bytes = 3U * (kWidth * kHeight);
  ASSERT_EQ(ConvRGB8PToBGR(picture, &source, kWidth, kHeight), CAMUTL_STS_SUCCESS);
  EXPECT_EQ(g_items, (std::size_t{bytes} + 2) / 3);
  // Of both products only the lower 32 bits count.
  ASSERT_EQ(ConvMono8ToBGR(picture, &source, 65536, 65537), CAMUTL_STS_SUCCESS);
  EXPECT_EQ(g_items, 65536U);
}

}  // namespace
}  // namespace KivoTest
