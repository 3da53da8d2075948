// SPDX-License-Identifier: Apache-2.0
// The C++ layer: values that a wrong constant, a wrong limit or a wrong size changes.
#include <gtest/gtest.h>

#include <KivoCamUtl.hpp>
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <map>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace {

using kivo::Errc;
using kivo::FrameView;

using Buffer = std::vector<std::uint8_t>;

// A frame of words, little-endian.
struct Words {
  explicit Words(const std::vector<std::uint32_t> &samples) {
    for (const std::uint32_t sample : samples) {
      bytes.push_back(static_cast<std::uint8_t>(sample));
      bytes.push_back(static_cast<std::uint8_t>(sample >> 8));
    }
  }
  FrameView row(std::uint32_t code) const {
    return {bytes.data(), bytes.size(), code, static_cast<std::uint32_t>(bytes.size() / 2), 1};
  }
  Buffer bytes;
};

// The multiple of 1 / span nearest to a result is told apart from its neighbours only if no constant of the
// rounding is off by one: all samples, at spans that are even, odd, prime, and as wide as samples are.
TEST(HppStretch, RoundsEverySampleToNearest) {
  std::vector<std::uint32_t> all(65536);
  for (std::uint32_t s = 0; s < all.size(); ++s) all[s] = s;
  const Words words(all);
  for (const kivo::Range range : {kivo::Range{0, 65535},
                                  {0, 65534},
                                  {1, 65535},
                                  {0, 4095},
                                  {0, 1023},
                                  {0, 510},
                                  {7, 1028},
                                  {1000, 1255},
                                  {1000, 1256},
                                  {30000, 65521},
                                  {12, 13},
                                  {12, 14}}) {
    SCOPED_TRACE(std::to_string(range.low) + " to " + std::to_string(range.high));
    const auto frame = kivo::stretch(words.row(CAMUTL_PFNC_MONO16), range);
    ASSERT_TRUE(frame) << frame.message();
    const std::int64_t span = range.high - range.low;
    for (std::uint32_t s = 0; s < 65536; ++s) {
      const std::int64_t offset = std::clamp<std::int64_t>(std::int64_t{s} - range.low, 0, span);
      // How far, in 1 / span, the byte is from offset * 255 / span: at most a half, and a half only below it.
      const std::int64_t error = frame->data[s] * span - offset * 255;
      ASSERT_TRUE(2 * error > -span && 2 * error <= span) << s << " becomes " << int{frame->data[s]};
    }
  }
  Buffer bytes(256);
  for (std::size_t s = 0; s < bytes.size(); ++s) bytes[s] = static_cast<std::uint8_t>(s);
  const auto same = kivo::stretch({bytes.data(), bytes.size(), CAMUTL_PFNC_MONO8, 256, 1}, {0, 255});
  ASSERT_TRUE(same);
  EXPECT_EQ(Buffer(same->data.begin(), same->data.end()), bytes);
}

// The last sample of a frame that ends at the end of its memory, in every format of plain samples.
TEST(HppValues, TheRangeReachesFromTheFirstToTheLastSampleOfEveryFormat) {
  for (const kivo::Format &format : kivo::formats()) {
    if (format.packing != KIVO_PLAIN) continue;
    SCOPED_TRACE(format.name);
    const std::size_t wordBytes = format.depth == 8 ? 1 : 2;
    Buffer bytes(static_cast<std::size_t>(kivo_frame_bytes(format.code, 8, 3)), 0x03);
    const std::size_t samples = bytes.size() / wordBytes;
    const std::size_t least = wordBytes == 1 ? 3 : 0x303;
    for (const std::size_t at : {std::size_t{0}, samples / 2, samples - 1}) {
      Buffer frame = bytes;
      frame[at * wordBytes] = 0x7E;
      const auto range = kivo::sampleRange({frame.data(), frame.size(), format.code, 8, 3});
      ASSERT_TRUE(range) << range.message();
      EXPECT_EQ(range->low, least) << at;
      EXPECT_EQ(range->high, wordBytes == 1 ? 0x7EU : 0x37EU) << at;
      frame[at * wordBytes] = 0x01;
      const auto lower = kivo::sampleRange({frame.data(), frame.size(), format.code, 8, 3});
      ASSERT_TRUE(lower) << lower.message();
      EXPECT_EQ(lower->low, wordBytes == 1 ? 0x01U : 0x301U) << at;
      EXPECT_EQ(lower->high, least) << at;
    }
  }
}

// What has no value yet has the ones that its documentation names: nothing.
TEST(HppValues, AreNothingWhereNothingIsGiven) {
  const FrameView view;
  EXPECT_EQ(view.data, nullptr);
  const kivo::Frame frame;
  const kivo::Image image;
  const kivo::RwhInfo info;
  const kivo::Options options;
  const kivo::Range range;
  for (const std::uint64_t nothing : {std::uint64_t{view.size},
                                      std::uint64_t{view.format},
                                      std::uint64_t{view.width},
                                      std::uint64_t{view.height},
                                      std::uint64_t{frame.data.size()},
                                      std::uint64_t{frame.format},
                                      std::uint64_t{frame.width},
                                      std::uint64_t{frame.height},
                                      std::uint64_t{image.pixels.size()},
                                      std::uint64_t{image.width},
                                      std::uint64_t{image.height},
                                      std::uint64_t{image.rowBytes},
                                      std::uint64_t{info.format},
                                      std::uint64_t{info.width},
                                      std::uint64_t{info.height},
                                      std::uint64_t{info.lineBytes},
                                      info.fileBytes,
                                      std::uint64_t{options.crop.x},
                                      std::uint64_t{options.crop.y},
                                      std::uint64_t{options.crop.width},
                                      std::uint64_t{options.crop.height},
                                      std::uint64_t{range.low},
                                      std::uint64_t{range.high}})
    EXPECT_EQ(nothing, 0U);
  EXPECT_EQ(view.stride, 0);
  EXPECT_EQ(frame.stride, 0);
  EXPECT_EQ(image.kind, kivo::Pixels::Bgra8);
  EXPECT_EQ(view.byteOrder, kivo::ByteOrder::Little);
  const kivo_options given = options.c(), none = KIVO_OPTIONS_INIT;
  EXPECT_EQ(std::memcmp(&given, &none, sizeof none), 0);
}

// A frame in an RWH file has at most 2^32 - 1 bytes.
TEST(HppValues, TheLargestFileIsOneByteSmallerThanFourGibibytes) {
  const auto error = [](std::uint32_t line, std::uint32_t height) {
    return kivo::check({CAMUTL_PFNC_MONO8, 3, height, line, 16 + std::uint64_t{line} * height});
  };
  EXPECT_EQ(error(0xFFFFFFFF, 1), Errc::Ok);
  EXPECT_EQ(error(0xFFFF, 0x10001), Errc::Ok);
  EXPECT_EQ(error(0x10000, 0x10000), Errc::TooLarge);
}

// The least sizes that have an adaptive demosaic.
TEST(HppConvert, IsAdaptiveFromFourRowsAndColumnsOn) {
  const std::map<std::uint32_t, std::pair<BgrConverter, BgrConverter>> converters = {
      {CAMUTL_PFNC_BAYER_GR8, {ConvByrGR8ToBGRACPI, ConvByrGR8ToBGR}},
      {CAMUTL_PFNC_BAYER_RG8, {ConvByrRG8ToBGRACPI, ConvByrRG8ToBGR}},
      {CAMUTL_PFNC_BAYER_GB8, {ConvByrGB8ToBGRACPI, ConvByrGB8ToBGR}},
      {CAMUTL_PFNC_BAYER_BG8, {ConvByrBG8ToBGRACPI, ConvByrBG8ToBGR}},
  };
  const std::pair<std::uint32_t, std::uint32_t> sizes[] = {{4, 4}, {4, 6}, {6, 4}, {32, 4}, {4, 32}};
  for (const auto &[code, functions] : converters) {
    for (const auto &[width, height] : sizes) {
      SCOPED_TRACE(std::to_string(code) + " " + std::to_string(width) + "x" + std::to_string(height));
      std::minstd_rand generator(width * 31 + height);
      Buffer bytes(std::size_t{width} * height);
      for (std::uint8_t &byte : bytes) byte = static_cast<std::uint8_t>(generator() >> 8);
      Buffer adaptive(3 * bytes.size()), standard(3 * bytes.size());
      ASSERT_EQ(functions.first(adaptive.data(), bytes.data(), width, height), CAMUTL_STS_SUCCESS);
      ASSERT_EQ(functions.second(standard.data(), bytes.data(), width, height), CAMUTL_STS_SUCCESS);
      ASSERT_NE(adaptive, standard);
      for (const kivo::Bayer bayer : {kivo::Bayer::Acpi, kivo::Bayer::Best}) {
        Buffer pixels(3 * bytes.size());
        ASSERT_EQ(
            kivo::convertTo({pixels.data(), pixels.size(), 0},
                            {bytes.data(), bytes.size(), code, width, height}, {kivo::Pixels::Bgr8, bayer}),
            Errc::Ok);
        EXPECT_EQ(pixels, adaptive);
      }
    }
  }
}

TEST(HppBytes, HaveTheSizeThatWasAskedFor) {
  kivo::Bytes bytes;
  EXPECT_EQ(bytes.size(), 0U);
  EXPECT_EQ(bytes.data(), nullptr);
  EXPECT_EQ(bytes.begin(), bytes.end());
  ASSERT_TRUE(bytes.allocate(5));
  EXPECT_EQ(bytes.size(), 5U);
  EXPECT_EQ(bytes.end() - bytes.begin(), 5);
  // No bytes are not the same as no memory: they have an address.
  ASSERT_TRUE(bytes.allocate(0));
  EXPECT_EQ(bytes.size(), 0U);
  EXPECT_NE(bytes.data(), nullptr);
  EXPECT_EQ(bytes.begin(), bytes.end());
  ASSERT_TRUE(bytes.allocate(7));
  const std::uint8_t *const first = bytes.data();
  kivo::Bytes moved(std::move(bytes));
  EXPECT_EQ(moved.data(), first);
  EXPECT_EQ(moved.size(), 7U);
  EXPECT_EQ(bytes.size(), 0U);  // NOLINT(bugprone-use-after-move): what a move leaves behind is documented
  EXPECT_EQ(bytes.data(), nullptr);
  ASSERT_TRUE(bytes.allocate(2));
  const std::uint8_t *const second = bytes.data();
  bytes = std::move(moved);
  EXPECT_EQ(bytes.data(), first);
  EXPECT_EQ(bytes.size(), 7U);
  EXPECT_EQ(moved.data(), second);  // NOLINT(bugprone-use-after-move): as above
  EXPECT_EQ(moved.size(), 2U);
  EXPECT_FALSE(moved.allocate(static_cast<std::size_t>(-1)));
  EXPECT_EQ(moved.size(), 0U);
  EXPECT_EQ(moved.data(), nullptr);
}

}  // namespace
