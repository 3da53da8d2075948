// SPDX-License-Identifier: Apache-2.0
// When conversions bypass the caches: the rule, and that every kernel is told.
#include <algorithm>
#include <fstream>
#include <limits>
#include <string>
#include <type_traits>

#include <unistd.h>

#include "support/pinned_kernels.h"
#include "support/unit.h"

namespace KivoTest {
namespace {

constexpr std::size_t kMiB = std::size_t{1} << 20;

TEST(Streaming, StartsAtAShareOfTheCache) {
  EXPECT_EQ(Kivo::StreamingThreshold(4 * kMiB), 2474637u);
  EXPECT_EQ(Kivo::StreamingThreshold(16 * kMiB), 9898548u);
  EXPECT_EQ(Kivo::StreamingThreshold(32 * kMiB), 19797096u);
}

TEST(Streaming, OneCoreHasNoMoreThanItsShareOfALargeCache) {
  EXPECT_EQ(Kivo::StreamingThreshold(33 * kMiB), Kivo::StreamingThreshold(32 * kMiB));
  EXPECT_EQ(Kivo::StreamingThreshold(1024 * kMiB), Kivo::StreamingThreshold(32 * kMiB));
}

TEST(Streaming, AnUnknownCacheIsTakenForAMiddlingOne) {
  EXPECT_EQ(Kivo::StreamingThreshold(0), Kivo::StreamingThreshold(16 * kMiB));
}

#if (defined(__x86_64__) || defined(__i386__)) && defined(_SC_LEVEL3_CACHE_SIZE)
// The C library asks the processor by itself. Where it does not know, or sees another one, there is nothing
// to compare.
TEST(Streaming, TheLargestCacheIsTheOneThatTheSystemTells) {
  std::size_t largest = 0;
  for (const int level :
       {_SC_LEVEL1_DCACHE_SIZE, _SC_LEVEL2_CACHE_SIZE, _SC_LEVEL3_CACHE_SIZE, _SC_LEVEL4_CACHE_SIZE})
    largest = std::max(largest, static_cast<std::size_t>(std::max(sysconf(level), 0L)));
  std::ifstream system("/proc/cpuinfo");
  std::string text;
  while (system >> text && text != "GenuineIntel") {
  }
  if (largest == 0 || text != "GenuineIntel")
    GTEST_SKIP() << "no processor that the C library describes alike";
  EXPECT_EQ(Kivo::LargestCacheBytes(), largest);
}
#endif

TEST(Streaming, TheRuleIsThatOfThisProcessorUntilPinned) {
  const std::size_t threshold = Kivo::StreamingThreshold(Kivo::LargestCacheBytes());
  EXPECT_FALSE(Kivo::StreamingPays(0, threshold));
  EXPECT_TRUE(Kivo::StreamingPays(0, threshold + 1));
}

TEST(Streaming, WhatIsReadAndWhatIsWrittenCountAlike) {
  Kivo::PinStreamingThreshold(100);
  EXPECT_FALSE(Kivo::StreamingPays(60, 40));
  EXPECT_TRUE(Kivo::StreamingPays(61, 40));
  EXPECT_TRUE(Kivo::StreamingPays(60, 41));
  EXPECT_FALSE(Kivo::StreamingPays(0, 0));
  Kivo::PinStreamingThreshold(0);
  EXPECT_TRUE(Kivo::StreamingPays(1, 0));
  Kivo::PinStreamingThreshold(std::numeric_limits<std::size_t>::max());
  EXPECT_FALSE(Kivo::StreamingPays(std::size_t{1} << 42, std::size_t{1} << 42));
}

// The store policies that kernels have been asked for.
std::vector<bool> g_streams;

template <typename Last>
bool Asks(const Last &last) {
  if constexpr (std::is_same_v<Last, bool>) {
    return last;
  } else {
    return last.bStream;
  }
}
template <typename First, typename... More, typename = std::enable_if_t<sizeof...(More) != 0>>
bool Asks(const First &, const More &...more) {
  return Asks(more...);
}

// Stands for a kernel of any family: what it is told comes last, or in the job that is its argument.
template <typename... Arguments>
void Note(Arguments... arguments) {
  g_streams.push_back(Asks(arguments...));
}

// Kernels that convert nothing and note what they are asked for.
class NotingKernels {
 public:
  NotingKernels() {
    for (unsigned output = 0; output < Kivo::c_uiOutputs; ++output) {
      mono_rgb8_.apfnMono[output] = mono_rgb8_.apfnRGB[output] = Note;
      yuv8_.apfn411[output] = yuv8_.apfn422[output] = yuv8_.apfn444[output] = Note;
      bayer8_.apfn[output] = Note;
      acpi8_.apfn[output] = Note;
      mono_rgb16_.apfnMono[output] = mono_rgb16_.apfnRGB[output] = mono_rgb16_.apfnBGR[output] = Note;
      bayer16_.apfn[output] = Note;
    }
    mono_rgb8_.pfnBGRToBGRA = Note;
    std::fill(std::begin(reverse_.apfn), std::end(reverse_.apfn), static_cast<Kivo::RunKernel>(Note));
    reverse_.pfnCopy = Note;
  }

 private:
  Kivo::MonoRgb8Kernels mono_rgb8_{};
  Kivo::Yuv8Kernels yuv8_{};
  Kivo::Bayer8Kernels bayer8_{};
  Kivo::Acpi8Kernels acpi8_{};
  Kivo::MonoRgb16Kernels mono_rgb16_{};
  Kivo::Bayer16Kernels bayer16_{};
  Kivo::ReverseKernels reverse_{};
  Kivo::Kernels kernels_{&mono_rgb8_, &yuv8_, &bayer8_, &acpi8_, &mono_rgb16_, &bayer16_, &reverse_};
  PinnedKernels pinned_{kernels_};
};

constexpr std::uint32_t kWidth = 64, kHeight = 6;

// Bytes that the source of a frame takes, the ones stepped over included.
std::size_t BytesRead(const Converter &converter) {
  const std::size_t pixels = std::size_t{kWidth} * kHeight, sample = converter.is_wide() ? 2 : 1;
  switch (converter.layout) {
    case Layout::kMono:
    case Layout::kBayer:
      return pixels * sample;
    case Layout::kRgb:
    case Layout::kBgr:
      return pixels * 3 * sample;
    case Layout::kYuv411:
      return pixels / 4 * 6;
    case Layout::kYuv422:
      return pixels / 2 * (converter.output() == Output::kBgra ? 4 : 5);
    case Layout::kYuv444:
      break;
  }
  return pixels * 4;
}

// The call streams above so many bytes and not below.
void ExpectChange(std::size_t bytes, const std::string &name, const std::function<CamUtlStatus()> &call) {
  for (const bool streams : {false, true}) {
    g_streams.clear();
    Kivo::PinStreamingThreshold(streams ? bytes - 1 : bytes);
    EXPECT_EQ(call(), CAMUTL_STS_SUCCESS) << name;
    EXPECT_FALSE(g_streams.empty()) << name;
    for (const bool asked : g_streams) EXPECT_EQ(asked, streams) << name << ", " << bytes << " bytes";
  }
}

TEST(Streaming, EveryConverterAsksForItAboveTheThreshold) {
  PrepareLUT();
  const NotingKernels kernels;
  const Bytes src(std::size_t{kWidth} * kHeight * 6);
  std::vector<std::uint32_t> dst(std::size_t{kWidth} * kHeight);
  for (const Converter &converter : AllConverters())
    ExpectChange(BytesRead(converter) + kWidth * kHeight * converter.pixel_bytes(), converter.name,
                 [&] { return converter(dst.data(), src.data(), kWidth, kHeight, 4); });
}

TEST(Streaming, EveryReversalAsksForItAboveTheThresholdInOneCall) {
  const NotingKernels kernels;
  for (const Reference::ReverseFormat &format : Reference::kReverseFormats) {
    const std::size_t bytes = Reference::FrameBytes(format.unit, kWidth, kHeight);
    const Bytes src(bytes);
    Bytes dst(bytes);
    for (int flags = 0; flags < 4; ++flags) {
      ExpectChange(2 * bytes, "ReverseImg " + std::to_string(format.code) + " " + std::to_string(flags), [&] {
        return ReverseImg(dst.data(), src.data(), format.code, kWidth, kHeight, (flags & 1) != 0,
                          (flags & 2) != 0);
      });
      EXPECT_EQ(g_streams.size(), 1u);
    }
  }
}

}  // namespace
}  // namespace KivoTest
