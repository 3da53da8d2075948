// SPDX-License-Identifier: Apache-2.0
// The model of the engine against the functions of KivoCamUtl.h, where both speak of the same pictures, and
// against values worked out by hand.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "KivoCamUtl.h"
#include "frame/model.h"
#include "support/content.h"
#include "support/dispatch_table.h"
#include "support/random.h"

namespace KivoTest {
namespace {

using Bytes = std::vector<std::uint8_t>;

kivo_options Options(kivo_pixels pixels, kivo_bayer bayer = KIVO_BAYER_OFF) {
  kivo_options options = KIVO_OPTIONS_INIT;
  options.pixels = pixels;
  options.bayer = bayer;
  return options;
}

Bytes Judge(std::uint32_t code, std::uint32_t width, std::uint32_t height, const kivo_options &options,
            Bytes frame, std::ptrdiff_t stride = 0) {
  const Model::Plan plan = Model::MakePlan(code, width, height, &options);
  EXPECT_EQ(plan.status, KIVO_OK);
  const Model::View view{plan.format, width, height, frame.data(), stride, false};
  EXPECT_GE(frame.size(), static_cast<std::size_t>(Model::FrameExtent(*plan.format, width, height, stride)));
  return Model::MakeAny(plan, Model::Decode(view));
}

// The 3 bytes of a pixel lie 4 bytes apart, or the 4 bytes of a group 5, where a converter asks for it.
Bytes Spaced(const Bytes &frame, std::size_t group, std::size_t step) {
  Bytes out(frame.size() / group * step);
  for (std::size_t i = 0; i < frame.size() / group; ++i)
    std::memcpy(out.data() + i * step, frame.data() + i * group, group);
  return out;
}

struct Sizes {
  std::uint32_t width, height;
};

std::vector<Sizes> SomeSizes() {
  std::vector<Sizes> sizes{{37, 11}, {64, 24}, {40, 30}, {4, 50}, {50, 4}};
  for (std::uint32_t height = 1; height <= 9; ++height)
    for (std::uint32_t width = 1; width <= 9; ++width) sizes.push_back({width, height});
  return sizes;
}

void CompareWithConverters(const DispatchRow &row, Sizes size, kivo_bayer bayer, const Bytes &frame) {
  const bool acpi = bayer == KIVO_BAYER_BEST, grey = bayer == KIVO_BAYER_OFF;
  const BgraConverter bgra = grey ? row.grey_bgra : acpi ? row.acpi_bgra : row.standard_bgra;
  const BgrConverter bgr = grey ? row.grey_bgr : acpi ? row.acpi_bgr : row.standard_bgr;
  const std::size_t pixels = std::size_t{size.width} * size.height;
  const bool yuv444 = row.code == 0x02180020, yuv422 = row.code == 0x0210001F;
  // Converters of deeper mosaics know the standard demosaic alone.
  const Model::Format &format = *Model::FormatOfCode(row.code);
  const kivo_bayer mode = acpi && format.depth > 8 ? KIVO_BAYER_STANDARD : bayer;

  Bytes out4(pixels * 4);
  std::vector<std::uint32_t> words(pixels);
  ASSERT_EQ(bgra(words.data(), (yuv444 ? Spaced(frame, 3, 4) : frame).data(), size.width, size.height), 0);
  std::memcpy(out4.data(), words.data(), out4.size());
  Bytes judged = Judge(row.code, size.width, size.height, Options(KIVO_BGRA8, mode), frame);
  if (acpi && row.code == CAMUTL_PFNC_BAYER_BG8 && mode == KIVO_BAYER_BEST && size.width % 2 == 0 &&
      size.height % 2 == 0 && size.width >= 4 && size.height >= 4) {
    const std::size_t left_alone = (std::size_t{size.width} * 2 - 1) * 4 + 2;
    EXPECT_EQ(out4[left_alone], 0);
    out4[left_alone] = judged[left_alone];
  }
  EXPECT_EQ(judged, out4);

  Bytes out3(pixels * 3);
  const Bytes spaced = yuv444 ? Spaced(frame, 3, 4) : yuv422 ? Spaced(frame, 4, 5) : frame;
  ASSERT_EQ(bgr(out3.data(), spaced.data(), size.width, size.height), 0);
  EXPECT_EQ(Judge(row.code, size.width, size.height, Options(KIVO_BGR8, mode), frame), out3);
}

TEST(Model, GivesTheBytesOfTheConverters) {
  PrepareLUT();
  Random random(7);
  for (const DispatchRow &row : kDispatchRows) {
    const Model::Format &format = *Model::FormatOfCode(row.code);
    for (const Sizes size : SomeSizes()) {
      if (size.width % format.group_pixels() != 0) continue;
      for (unsigned content = 0; content < static_cast<unsigned>(Content::kCount); ++content) {
        const auto bytes = static_cast<std::size_t>(Model::FrameBytes(format, size.width, size.height));
        const Bytes frame = format.depth > 8
                                ? MakeSamples16(random, static_cast<Content>(content), bytes / 2, size.width)
                                : MakeSamples8(random, static_cast<Content>(content), bytes, size.width);
        SCOPED_TRACE(format.name + " " + std::to_string(size.width) + "x" + std::to_string(size.height) +
                     " " + ContentName(static_cast<Content>(content)));
        for (const kivo_bayer bayer : {KIVO_BAYER_OFF, KIVO_BAYER_STANDARD, KIVO_BAYER_BEST})
          CompareWithConverters(row, size, bayer, frame);
        if (HasFailure()) return;
      }
    }
  }
}

TEST(Model, TurnsSamplesAsReverseImgDoes) {
  Random random(8);
  for (const std::uint32_t code :
       {0x01080001u, 0x01080009u, 0x01100011u, 0x02180014u, 0x02300019u, 0x020C001Eu, 0x0210001Fu}) {
    const Model::Format &format = *Model::FormatOfCode(code);
    for (const Sizes size : SomeSizes()) {
      if (size.width % format.group_pixels() != 0) continue;
      const Bytes frame = MakeSamples8(
          random, Content::kRandom,
          static_cast<std::size_t>(Model::FrameBytes(format, size.width, size.height)), size.width);
      for (unsigned turn = 0; turn < 4; ++turn) {
        kivo_options options = Options(KIVO_SAMPLES);
        options.flags = turn;
        Bytes out(frame.size());
        ASSERT_EQ(ReverseImg(out.data(), frame.data(), code, size.width, size.height,
                             (turn & KIVO_MIRROR) != 0, (turn & KIVO_FLIP) != 0),
                  0);
        EXPECT_EQ(Judge(code, size.width, size.height, options, frame), out) << format.name << " " << turn;
      }
    }
  }
}

TEST(Model, ReadsEveryPacking) {
  const Bytes three{0x12, 0x34, 0x56};
  const kivo_options samples = Options(KIVO_SAMPLES);
  EXPECT_EQ(Judge(0x010C0047, 2, 1, samples, three), (Bytes{0x12, 0x04, 0x63, 0x05}));  // Mono12p
  EXPECT_EQ(Judge(0x010C0006, 2, 1, samples, three), (Bytes{0x24, 0x01, 0x63, 0x05}));  // Mono12Packed
  EXPECT_EQ(Judge(0x010C0004, 2, 1, samples, three), (Bytes{0x48, 0x00, 0x5B, 0x01}));  // Mono10Packed
  // The second row of 3 samples of 10 bits begins in the middle of a byte, or on the next.
  EXPECT_EQ(Judge(0x010A0046, 1, 2, samples, {0xFF, 0x03, 0x00}), (Bytes{0xFF, 0x03, 0x00, 0x00}));
  EXPECT_EQ(Judge(0x010A0046, 1, 2, samples, {0xFF, 0x03, 0x01, 0xFC}, 2), (Bytes{0xFF, 0x03, 0x01, 0x00}));
  EXPECT_EQ(Judge(0x010A0046, 1, 2, samples, {0xFF, 0x03, 0x01, 0xFC}, -2), (Bytes{0x01, 0x00, 0xFF, 0x03}));
  EXPECT_EQ(Judge(0x010E0104, 2, 1, samples, {0xFF, 0x7F, 0x00, 0x20}), (Bytes{0xFF, 0x3F, 0x01, 0x00}));
  EXPECT_EQ(Judge(0x01010037, 8, 1, samples, {0x81}), (Bytes{255, 0, 0, 0, 0, 0, 0, 255}));
  EXPECT_EQ(Judge(0x01020038, 4, 1, samples, {0xE4}), (Bytes{0, 85, 170, 255}));
  EXPECT_EQ(Judge(0x01040039, 2, 1, samples, {0x1F}), (Bytes{255, 17}));
  EXPECT_EQ(Judge(0x01080002, 3, 1, samples, {0x80, 0x00, 0x7F}), (Bytes{0, 128, 255}));
  EXPECT_EQ(Judge(0x0220001D, 1, 1, samples, {0x01, 0x08, 0x30, 0xC0}), (Bytes{1, 0, 2, 0, 3, 0}));  // p32
  EXPECT_EQ(Judge(0x02200016, 1, 1, samples, {1, 2, 3, 4}), (Bytes{1, 2, 3}));
  EXPECT_EQ(Judge(0x02180021, 2, 1, samples, {1, 2, 3, 4, 5, 6}), (Bytes{1, 3, 5, 2, 4, 6}));
  EXPECT_EQ(Judge(0x02100032, 2, 1, samples, {1, 2, 3, 4}), (Bytes{2, 1, 4, 3}));
  EXPECT_EQ(Judge(0x020C005A, 4, 1, samples, {1, 2, 3, 4, 5, 6}), (Bytes{3, 1, 2, 6, 4, 5}));
  EXPECT_EQ(Judge(0x020C001E, 4, 1, samples, {1, 2, 3, 4, 5, 6}), (Bytes{1, 2, 3, 4, 5, 6}));
}

TEST(Model, SpreadsValues) {
  kivo_options options = Options(KIVO_GRAY16);
  options.levels = KIVO_LEVELS_SPREAD;
  const auto spread = [&](std::uint32_t code, std::uint16_t value) {
    const Bytes out =
        Judge(code, 1, 1, options, {static_cast<std::uint8_t>(value), static_cast<std::uint8_t>(value >> 8)});
    std::uint16_t word = 0;
    std::memcpy(&word, out.data(), 2);
    return static_cast<unsigned>(word);
  };
  EXPECT_EQ(spread(0x01100003, 1023), 65535u);
  EXPECT_EQ(spread(0x01100003, 0x201), 0x8060u);
  EXPECT_EQ(spread(0x01100005, 0xABC), 0xABCAu);
  EXPECT_EQ(spread(0x01100025, 0x2001), 0x8006u);
  EXPECT_EQ(spread(0x01100007, 0x1234), 0x1234u);
  EXPECT_EQ(spread(0x01080001, 0x12), 0x1212u);
  EXPECT_EQ(spread(0x01100003, 1024), 0u);
}

TEST(Model, MapsRanges) {
  kivo_options options = Options(KIVO_GRAY8);
  options.flags = KIVO_WITH_RANGE;
  options.range_low = 10;
  options.range_high = 20;
  EXPECT_EQ(Judge(0x01080001, 6, 1, options, {0, 10, 11, 15, 19, 20}), (Bytes{0, 0, 26, 128, 230, 255}));
  options.range_high = 10;
  EXPECT_EQ(Judge(0x01080001, 3, 1, options, {9, 10, 11}), (Bytes{0, 0, 255}));
}

TEST(Model, FollowsTheMatrices) {
  using Model::Matrix;
  using Model::YuvColour;
  using Rgb = std::array<std::uint16_t, 3>;
  EXPECT_EQ(YuvColour(Matrix::kFull601, 76, 85, 255), (Rgb{254, 0, 0}));
  EXPECT_EQ(YuvColour(Matrix::kNarrow601, 235, 128, 128), (Rgb{255, 255, 255}));
  EXPECT_EQ(YuvColour(Matrix::kNarrow709, 16, 128, 128), (Rgb{0, 0, 0}));
  EXPECT_EQ(YuvColour(Matrix::kNarrow601, 81, 90, 240), (Rgb{254, 0, 0}));   // pure red, as it is coded
  EXPECT_EQ(YuvColour(Matrix::kNarrow709, 63, 102, 240), (Rgb{255, 1, 0}));  // the same
  EXPECT_EQ(YuvColour(Matrix::kNarrow709, 173, 42, 26), (Rgb{0, 255, 1}));   // green
}

}  // namespace
}  // namespace KivoTest
