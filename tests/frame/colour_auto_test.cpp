// SPDX-License-Identifier: Apache-2.0
// Settings that are suggested from frames whose truth is known: made of a scene of greys and colours, with a
// black level, a cast, noise, metadata rows and defects.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "frame/model.h"
#include "support/guarded_buffer.h"
#include "support/random.h"

namespace KivoTest {
namespace {

struct FreePlan {
  void operator()(kivo_plan *plan) const { kivo_plan_free(plan); }
};
using PlanOwner = std::unique_ptr<kivo_plan, FreePlan>;

constexpr std::uint32_t kWidth = 640, kHeight = 480;

// What a sensor saw.
struct Scene {
  double black = 0.016;                      // parts of full scale, as all that follows
  std::array<double, 3> cast{0.55, 1, 0.7};  // of what is grey
  double light = 0.5;                        // of the brightest grey
  double noise = 0.002;
  bool metadata = false;
  bool defects = false;
  bool lamp = false;  // a tenth of the frame is saturated
  bool painted = true;
};

struct Frame {
  const Model::Format *format = nullptr;
  std::vector<std::uint8_t> bytes;
  PlanOwner plan;
  kivo_frame view{};
  double top = 0;
};

// Tiles of 16 greys and of some paints, over the whole frame.
std::array<double, 3> Reflected(std::uint32_t y, std::uint32_t x, bool painted) {
  const std::uint32_t tile = (y / 40 * 7 + x / 40 * 5) % 16;
  static constexpr std::array<std::array<double, 3>, 6> kPaints{{{0.6, 0.2, 0.2},
                                                                 {0.2, 0.5, 0.2},
                                                                 {0.2, 0.2, 0.55},
                                                                 {0.5, 0.5, 0.1},
                                                                 {0.1, 0.4, 0.4},
                                                                 {0.5, 0.2, 0.5}}};
  if (painted && tile >= 10) return kPaints[tile - 10];
  const double grey = tile == 0 ? 0.01 : tile == 9 ? 1 : 0.1 * tile;
  return {grey, grey, grey};
}

Frame Make(std::uint32_t code, const Scene &scene, std::uint32_t flags = 0) {
  Frame frame;
  frame.format = Model::FormatOfCode(code);
  frame.top = (1 << frame.format->plain_depth()) - 1;
  frame.bytes.resize(kivo_frame_bytes(code, kWidth, kHeight));
  const Model::View view{frame.format, kWidth, kHeight, frame.bytes.data(), 0, false};
  Random random(11);
  for (std::uint32_t y = 0; y < kHeight; ++y)
    for (std::uint32_t x = 0; x < kWidth; ++x)
      for (unsigned channel = 0; channel < frame.format->channels(); ++channel) {
        unsigned colour = frame.format->blue_first ? 2 - channel : channel;
        if (frame.format->bayer()) {
          static constexpr const char *kOrders[5] = {"", "GRBG", "RGGB", "GBRG", "BGGR"};
          const char site = kOrders[frame.format->order][y % 2 * 2 + x % 2];
          colour = site == 'R' ? 0 : site == 'G' ? 1 : 2;
        }
        const bool mono = frame.format->family == KIVO_MONO;
        double value = scene.black + scene.light * Reflected(y, x, scene.painted && !mono)[colour] *
                                         (mono ? 1 : scene.cast[colour]);
        double noise = 0;
        for (unsigned i = 0; i < 4; ++i) noise += random.Below(2001) / 1000.0 - 1;
        value += scene.noise * noise;
        if (scene.lamp && x >= 448 && x < 512) value = 4092.0 / 4095;
        if (scene.defects && random.Below(2000) == 0) value = random.Below(2);
        if (scene.metadata && (y < 4 || y >= kHeight - 4)) value = random.Below(1000) / 999.0;
        const double sample = std::clamp(std::round(value * frame.top), 0.0, frame.top);
        Model::Put(view, y, x, channel, static_cast<std::uint32_t>(sample));
      }
  kivo_options options = KIVO_OPTIONS_INIT;
  options.flags = flags;
  kivo_plan *plan = nullptr;
  EXPECT_EQ(kivo_plan_make(code, kWidth, kHeight, &options, &plan), KIVO_OK);
  frame.plan.reset(plan);
  frame.view = {frame.bytes.data(), frame.bytes.size(), 0};
  return frame;
}

kivo_colour WithBlack(const Frame &frame, const Scene &scene) {
  kivo_colour colour = KIVO_COLOUR_INIT;
  for (double &black : colour.black) black = scene.black * frame.top;
  return colour;
}

constexpr std::uint32_t kBayerRG12 = 0x01100011, kBayerGB12p = 0x010C0055, kMono12 = 0x01100005,
                        kRgb16 = 0x02300033;
constexpr std::uint32_t kCodes[] = {0x01080008, 0x01080009,  0x0108000A, 0x0108000B,  // Bayer of 8 bits
                                    kBayerRG12, kBayerGB12p, 0x010C0059, 0x0110002F,  // 12, packed, 16
                                    0x02180014, 0x02180015};                          // RGB8, BGR8

const std::array<Scene, 4> &Scenes() {
  static const std::array<Scene, 4> scenes = [] {
    std::array<Scene, 4> made;
    made[1].metadata = made[1].defects = true;
    made[2].lamp = true;
    made[2].defects = true;
    made[3].cast = {1, 0.6, 0.45};
    made[3].metadata = true;
    return made;
  }();
  return scenes;
}

TEST(ColourAuto, FindsWhatIsGrey) {
  for (const std::uint32_t code : kCodes)
    for (const Scene &scene : Scenes()) {
      const Frame frame = Make(code, scene);
      const double most = *std::max_element(scene.cast.begin(), scene.cast.end());
      for (const kivo_balance balance :
           {KIVO_BALANCE_WHITE_PATCH, KIVO_BALANCE_GREY_WORLD, KIVO_BALANCE_MEDIAN}) {
        kivo_colour colour = WithBlack(frame, scene);
        ASSERT_EQ(kivo_auto_balance(frame.plan.get(), &frame.view, balance, &colour), KIVO_OK);
        for (unsigned i = 0; i < 3; ++i)
          EXPECT_NEAR(colour.gain[i] * scene.cast[i] / most, 1, 0.06)
              << frame.format->name << " balance " << balance << " colour " << i;
        EXPECT_EQ(*std::min_element(colour.gain, colour.gain + 3), 1);
      }
    }
}

// Frames of RGB16, from a function of the number of the pixel.
Frame MakeRgb16(std::uint32_t width, std::uint32_t height,
                const std::function<std::array<std::uint16_t, 3>(std::uint32_t)> &at) {
  Frame frame;
  frame.format = Model::FormatOfCode(kRgb16);
  frame.bytes.resize(kivo_frame_bytes(kRgb16, width, height));
  const Model::View view{frame.format, width, height, frame.bytes.data(), 0, false};
  for (std::uint32_t i = 0; i < width * height; ++i)
    for (unsigned k = 0; k < 3; ++k) Model::Put(view, i / width, i % width, k, at(i)[k]);
  kivo_plan *plan = nullptr;
  EXPECT_EQ(kivo_plan_make(kRgb16, width, height, nullptr, &plan), KIVO_OK);
  frame.plan.reset(plan);
  frame.view = {frame.bytes.data(), frame.bytes.size(), 0};
  return frame;
}

// Places that are almost as bright as the brightest are those of the same 4096th of it, wherever it is.
TEST(ColourAuto, FindsTheBrightestPlaceFirstAndLast) {
  for (const std::uint32_t brightest : {0u, 16u * 16 - 1}) {
    const Frame frame = MakeRgb16(16, 16, [=](std::uint32_t i) {
      using Pixel = std::array<std::uint16_t, 3>;
      return i == brightest ? Pixel{60000, 60000, 60000}
             : i % 8 == 3   ? Pixel{10000, 10000, 10000}
                            : Pixel{9000, 10495, 9995};
    });
    kivo_colour colour = KIVO_COLOUR_INIT;
    ASSERT_EQ(kivo_auto_balance(frame.plan.get(), &frame.view, KIVO_BALANCE_WHITE_PATCH, &colour), KIVO_OK);
    EXPECT_NEAR(colour.gain[0], 1.14, 0.02);
  }
}

// The brightest twentieth is enough: 13 of 256 places, the first among them.
TEST(ColourAuto, FindsNoMoreThanTheBrightestTwentieth) {
  const Frame frame = MakeRgb16(16, 16, [](std::uint32_t i) {
    using Pixel = std::array<std::uint16_t, 3>;
    return i % 20 == 0 ? Pixel{10000, 10000, 10000} : Pixel{5000, 9000, 7000};
  });
  kivo_colour colour = KIVO_COLOUR_INIT;
  ASSERT_EQ(kivo_auto_balance(frame.plan.get(), &frame.view, KIVO_BALANCE_WHITE_PATCH, &colour), KIVO_OK);
  EXPECT_NEAR(colour.gain[0], 1, 1e-6);
}

// Whichever colour it is that a sensor saturates in, a little below full scale, that is white.
TEST(ColourAuto, FindsWhereOneColourSaturates) {
  for (unsigned saturated = 0; saturated < 3; ++saturated) {
    const Frame frame = MakeRgb16(64, 64, [=](std::uint32_t) {
      std::array<std::uint16_t, 3> pixel{30000, 30000, 30000};
      pixel[saturated] = 65000;
      return pixel;
    });
    kivo_colour colour = KIVO_COLOUR_INIT;
    colour.gain[saturated] = 2;
    ASSERT_EQ(kivo_auto_range(frame.plan.get(), &frame.view, 0, 100, &colour), KIVO_OK);
    EXPECT_NEAR(colour.high, 65000, 20) << saturated;
  }
}

// The median is told apart up to 8 times green; what is more is as much.
TEST(ColourAuto, FindsMediansUpToEight) {
  for (const unsigned ratio : {2u, 7u, 9u, 20u}) {
    const Frame frame = MakeRgb16(64, 64, [=](std::uint32_t i) {
      const auto green = static_cast<std::uint16_t>(1600 + i % 7);
      return std::array<std::uint16_t, 3>{static_cast<std::uint16_t>(green * ratio), green, green};
    });
    kivo_colour colour = KIVO_COLOUR_INIT;
    ASSERT_EQ(kivo_auto_balance(frame.plan.get(), &frame.view, KIVO_BALANCE_MEDIAN, &colour), KIVO_OK);
    EXPECT_EQ(colour.gain[0], 1);
    // In the middle of a 512th.
    EXPECT_NEAR(colour.gain[1], std::min(ratio + 0.5 / 512, 8 - 0.5 / 512), 1e-4) << ratio;
  }
}

// One sample of a thousand may be darker than black, rounded up: two of the 1001 within the margins.
TEST(ColourAuto, CountsTheSamplesBelowBlack) {
  const Frame frame = MakeRgb16(97, 11, [](std::uint32_t i) {
    const auto level = static_cast<std::uint16_t>(i >= 525 && i < 530 ? 200 + 100 * (i - 525) : 3000);
    return std::array<std::uint16_t, 3>{level, level, level};
  });
  kivo_colour colour = KIVO_COLOUR_INIT;
  ASSERT_EQ(kivo_auto_black(frame.plan.get(), &frame.view, &colour), KIVO_OK);
  EXPECT_NEAR(colour.black[1], 300, 40);
}

TEST(ColourAuto, LooksAtTheFrameHoweverThePlanTurnsIt) {
  for (const std::uint32_t code : {kBayerRG12, kBayerGB12p, 0x02180014u}) {
    std::vector<kivo_colour> found;
    for (std::uint32_t flags = 0; flags < 4; ++flags) {
      const Frame frame = Make(code, Scene(), flags);
      kivo_colour colour = WithBlack(frame, Scene());
      ASSERT_EQ(kivo_auto_balance(frame.plan.get(), &frame.view, 0, &colour), KIVO_OK);
      ASSERT_EQ(kivo_auto_range(frame.plan.get(), &frame.view, 1, 99, &colour), KIVO_OK);
      found.push_back(colour);
    }
    for (const kivo_colour &other : found) {
      EXPECT_EQ(std::memcmp(other.gain, found[0].gain, sizeof other.gain), 0);
      EXPECT_EQ(other.low, found[0].low);
      EXPECT_EQ(other.high, found[0].high);
    }
  }
}

TEST(ColourAuto, SuggestsABlackLevel) {
  for (const std::uint32_t code : {kBayerRG12, kBayerGB12p, kMono12, 0x0110002Fu, 0x02180014u})
    for (const bool metadata : {false, true}) {
      Scene scene;
      scene.metadata = metadata;
      const Frame frame = Make(code, scene);
      kivo_colour colour = KIVO_COLOUR_INIT;
      ASSERT_EQ(kivo_auto_black(frame.plan.get(), &frame.view, &colour), KIVO_OK);
      EXPECT_NEAR(colour.black[0] / frame.top, scene.black, 0.006) << frame.format->name;
      for (const double black : colour.black) EXPECT_EQ(black, colour.black[0]);
      scene.black = 0.3;
      const Frame bright = Make(code, scene);
      ASSERT_EQ(kivo_auto_black(bright.plan.get(), &bright.view, &colour), KIVO_OK);
      EXPECT_EQ(colour.black[1], std::floor(frame.top / 16)) << frame.format->name;
    }
}

// The share of the gained samples that do not exceed a point.
double ShareUpTo(const Frame &frame, const kivo_colour &colour, double point) {
  const Model::View view{frame.format, kWidth, kHeight, const_cast<std::uint8_t *>(frame.bytes.data()), 0,
                         false};
  std::size_t below = 0, all = 0;
  for (std::uint32_t y = 15; y < kHeight - 15; ++y)
    for (std::uint32_t x = 20; x < kWidth - 20; ++x, ++all) {
      const bool red = y % 2 == 0 && x % 2 == 0, blue = y % 2 == 1 && x % 2 == 1;
      const double above = Model::Get(view, y, x, 0) - colour.black[0];
      below += std::max(above, 0.0) * colour.gain[red ? 0 : blue ? 2 : 1] <= point;
    }
  return static_cast<double>(below) / static_cast<double>(all);
}

TEST(ColourAuto, FindsPercentiles) {
  for (const Scene &scene : Scenes()) {
    const Frame frame = Make(kBayerRG12, scene);
    kivo_colour colour = WithBlack(frame, scene);
    colour.gain[0] = 1.8;
    colour.gain[2] = 1.4;
    ASSERT_EQ(kivo_auto_range(frame.plan.get(), &frame.view, 20, 70, &colour), KIVO_OK);
    EXPECT_GE(ShareUpTo(frame, colour, colour.low + 1), 0.19);
    EXPECT_LE(ShareUpTo(frame, colour, colour.low - 1), 0.21);
    EXPECT_GE(ShareUpTo(frame, colour, colour.high + 1), 0.69);
    EXPECT_LE(ShareUpTo(frame, colour, colour.high - 1), 0.71);
  }
}

// What is saturated in all colours gets none.
TEST(ColourAuto, LeavesSaturatedPlacesWhite) {
  for (const kivo_bayer bayer : {KIVO_BAYER_STANDARD, KIVO_BAYER_ACPI, KIVO_BAYER_HALF}) {
    Scene scene;
    scene.lamp = true;
    const Frame frame = Make(kBayerRG12, scene);
    kivo_colour colour = WithBlack(frame, scene);
    ASSERT_EQ(kivo_auto_balance(frame.plan.get(), &frame.view, 0, &colour), KIVO_OK);
    ASSERT_EQ(kivo_auto_range(frame.plan.get(), &frame.view, 0.1, 99.9, &colour), KIVO_OK);
    EXPECT_LE(colour.high, 4092 - colour.black[0] + 1e-6);
    colour.tone = KIVO_TONE_SRGB;
    kivo_options options = KIVO_OPTIONS_INIT;
    options.colour = &colour;
    options.bayer = bayer;
    kivo_plan *made = nullptr;
    ASSERT_EQ(kivo_plan_make(kBayerRG12, kWidth, kHeight, &options, &made), KIVO_OK);
    const PlanOwner plan(made);
    std::vector<std::uint8_t> out(kivo_plan_picture_bytes(made));
    const kivo_picture picture = {out.data(), out.size(), 0};
    ASSERT_EQ(kivo_run(made, &frame.view, &picture, nullptr, 0), KIVO_OK);
    const std::size_t x = kivo_plan_width(made) * 3 / 4;
    const std::uint8_t *const pixel =
        out.data() + 4 * (kivo_plan_height(made) / 2 * kivo_plan_width(made) + x);
    for (unsigned i = 0; i < 3; ++i) EXPECT_EQ(pixel[i], 255) << bayer;
  }
}

TEST(ColourAuto, HasNothingToSayOfFramesWithoutLight) {
  for (const std::uint32_t code : kCodes)
    for (const int fill : {0, 255}) {
      for (const std::uint32_t size : {1u, 2u, 3u, 40u}) {
        std::vector<std::uint8_t> bytes(kivo_frame_bytes(code, size, size), static_cast<std::uint8_t>(fill));
        kivo_plan *made = nullptr;
        ASSERT_EQ(kivo_plan_make(code, size, size, nullptr, &made), KIVO_OK);
        const PlanOwner plan(made);
        const kivo_frame view = {bytes.data(), bytes.size(), 0};
        kivo_colour colour = KIVO_COLOUR_INIT;
        for (double &gain : colour.gain) gain = 3;
        ASSERT_EQ(kivo_auto_black(made, &view, &colour), KIVO_OK);
        EXPECT_EQ(fill == 0 ? colour.black[0] : 0, 0);
        for (const std::uint32_t balance : {0u, 1u, 2u}) {
          ASSERT_EQ(kivo_auto_balance(made, &view, balance, &colour), KIVO_OK);
          for (const double gain : colour.gain) EXPECT_EQ(gain, 1);
        }
        ASSERT_EQ(kivo_auto_range(made, &view, 0, 100, &colour), KIVO_OK);
        EXPECT_EQ(colour.low, 0);
        EXPECT_EQ(colour.high, 0);
        kivo_options options = KIVO_OPTIONS_INIT;
        options.colour = &colour;
        ASSERT_EQ(kivo_plan_make(code, size, size, &options, &made), KIVO_OK);
        kivo_plan_free(made);
      }
    }
}

// Frames of every format in memory that ends where they end, at sizes around the grid.
TEST(ColourAuto, StaysWithinTheFrame) {
  Random random(5);
  for (const Model::Format &format : Model::Formats())
    for (const std::uint32_t width : {4u, 5u, 8u, 36u, 130u, 1028u})
      for (const std::uint32_t height : {1u, 2u, 7u, 70u}) {
        if (format.yuv() || width % format.group_pixels() != 0) continue;
        GuardedBuffer buffer(kivo_frame_bytes(format.code, width, height));
        for (std::size_t i = 0; i < buffer.size(); ++i)
          buffer.data()[i] = static_cast<std::uint8_t>(random.Next());
        for (const std::uint32_t pixels : {KIVO_BGRA8, KIVO_GRAY16, KIVO_SAMPLES}) {
          kivo_options options = KIVO_OPTIONS_INIT;
          options.pixels = pixels;
          options.flags = random.Below(4);
          if (pixels == KIVO_BGRA8 && random.Below(2) == 0) options.flags |= KIVO_WITH_RANGE;
          options.crop_x = random.Below(3), options.crop_width = width - options.crop_x;
          options.crop_height = height;
          kivo_plan *made = nullptr;
          ASSERT_EQ(kivo_plan_make(format.code, width, height, &options, &made), KIVO_OK) << format.name;
          const PlanOwner plan(made);
          const kivo_frame view = {buffer.read_only(), buffer.size(), 0};
          kivo_colour colour = KIVO_COLOUR_INIT;
          ASSERT_EQ(kivo_auto_black(made, &view, &colour), KIVO_OK);
          ASSERT_EQ(kivo_auto_balance(made, &view, random.Below(3), &colour), KIVO_OK);
          ASSERT_EQ(kivo_auto_range(made, &view, 1, 99, &colour), KIVO_OK);
          for (const double gain : colour.gain) ASSERT_TRUE(gain >= 1 && gain <= 8) << format.name;
          ASSERT_TRUE(colour.low == colour.high ? colour.low == 0 : colour.low < colour.high) << format.name;
        }
      }
}

// The picture of a frame of packed rows.
std::vector<std::uint8_t> Converted(std::uint32_t code, std::uint32_t width,
                                    const std::vector<std::uint16_t> &words, const kivo_colour &colour,
                                    std::uint32_t pixels) {
  kivo_options options = KIVO_OPTIONS_INIT;
  options.colour = &colour;
  options.pixels = pixels;
  kivo_plan *made = nullptr;
  EXPECT_EQ(kivo_plan_make(code, width, 1, &options, &made), KIVO_OK);
  const PlanOwner plan(made);
  std::vector<std::uint8_t> out(kivo_plan_picture_bytes(made));
  const kivo_frame frame = {words.data(), 2 * words.size(), 0};
  const kivo_picture picture = {out.data(), out.size(), 0};
  EXPECT_EQ(kivo_run(made, &frame, &picture, nullptr, 0), KIVO_OK);
  return out;
}

TEST(ColourChain, IsNearTheRealCurve) {
  std::vector<std::uint16_t> words(65536);
  for (std::size_t i = 0; i < words.size(); ++i) words[i] = static_cast<std::uint16_t>(i);
  kivo_colour colour = KIVO_COLOUR_INIT;
  colour.tone = KIVO_TONE_SRGB;
  const std::vector<std::uint8_t> out = Converted(0x01100007, 65536, words, colour, KIVO_GRAY8);
  double worst = 0;
  for (std::size_t i = 0; i < words.size(); ++i) {
    // What the picture is made of is floor(i / 4) of 16383, rounded.
    const double x = std::min(2 * std::round(static_cast<double>(i / 2) * 16383 / 32767.5), 32766.0) / 32766;
    const double real = 255 * (x <= 0.0031308 ? 12.92 * x : 1.055 * std::pow(x, 1 / 2.4) - 0.055);
    worst = std::max(worst, std::fabs(out[i] - real));
  }
  EXPECT_LE(worst, 0.8);
  EXPECT_GT(worst, 0.5);
}

TEST(ColourChain, LeavesGreyAlone) {
  Random random(3);
  std::vector<std::uint16_t> words;
  for (unsigned i = 0; i < 4096; ++i) words.insert(words.end(), 3, static_cast<std::uint16_t>(i));
  for (unsigned round = 0; round < 50; ++round) {
    kivo_colour colour = KIVO_COLOUR_INIT;
    colour.tone = round % 2 == 0 ? KIVO_TONE_SRGB : KIVO_TONE_LINEAR;
    for (unsigned row = 0; row < 3; ++row) {
      double *const k = colour.matrix + 3 * row;
      for (unsigned i = 0; i < 3; ++i) k[i] = random.Below(100001) / 100000.0 - 0.5;
      k[row] = 1 - k[(row + 1) % 3] - k[(row + 2) % 3];
    }
    kivo_colour without = colour;
    const kivo_colour none = KIVO_COLOUR_INIT;
    std::memcpy(without.matrix, none.matrix, sizeof without.matrix);
    without.gain[1] = colour.gain[1] = 1.25;
    without.gain[0] = without.gain[2] = colour.gain[0] = colour.gain[2] = 1.25;
    EXPECT_EQ(Converted(0x0230001A, 4096, words, colour, KIVO_RGB8),
              Converted(0x0230001A, 4096, words, without, KIVO_RGB8));
  }
}

struct Call {
  const kivo_plan *plan;
  const kivo_frame *frame;
  kivo_colour *colour;
  kivo_colour settings = KIVO_COLOUR_INIT;
  std::uint32_t balance = 0;
  double low = 1, high = 99;
};

TEST(ColourAuto, RefusesInOrder) {
  const Frame good = Make(kBayerRG12, Scene());
  kivo_plan *yuv = nullptr;
  ASSERT_EQ(kivo_plan_make(0x0210001F, kWidth, kHeight, nullptr, &yuv), KIVO_OK);
  const PlanOwner owner(yuv);
  kivo_frame shorter = good.view, narrow = good.view, nothing = good.view;
  --shorter.size;
  narrow.stride = 5;
  nothing.data = nullptr;
  constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
  struct Fault {
    kivo_status status;
    unsigned functions;  // 1: black, 2: balance, 4: range
    std::function<void(Call &)> spoil;
  };
  const std::vector<Fault> faults = {
      {KIVO_NULL_POINTER, 7, [](Call &c) { c.plan = nullptr; }},
      {KIVO_NULL_POINTER, 7, [](Call &c) { c.frame = nullptr; }},
      {KIVO_NULL_POINTER, 7, [](Call &c) { c.colour = nullptr; }},
      {KIVO_NULL_POINTER, 7, [&](Call &c) { c.frame = &nothing; }},
      {KIVO_BAD_STRUCT, 7, [](Call &c) { --c.settings.size; }},
      {KIVO_UNKNOWN_OPTION, 2, [](Call &c) { c.balance = 3; }},
      {KIVO_BAD_COLOUR, 7, [&](Call &c) { c.plan = yuv; }},
      {KIVO_BAD_BLACK, 6, [&](Call &c) { c.settings.black[3] = kNan; }},
      {KIVO_BAD_BLACK, 6, [](Call &c) { c.settings.black[2] = -1; }},
      {KIVO_BAD_GAIN, 4, [&](Call &c) { c.settings.gain[1] = kNan; }},
      {KIVO_BAD_GAIN, 4, [](Call &c) { c.settings.gain[2] = 2000; }},
      {KIVO_BAD_PERCENT, 4, [&](Call &c) { c.low = kNan; }},
      {KIVO_BAD_PERCENT, 4, [&](Call &c) { c.high = kNan; }},
      {KIVO_BAD_PERCENT, 4, [](Call &c) { c.low = c.high; }},
      {KIVO_BAD_PERCENT, 4, [](Call &c) { c.low = -0.5; }},
      {KIVO_BAD_PERCENT, 4, [](Call &c) { c.high = 100.5; }},
      {KIVO_SHORT_STRIDE, 7, [&](Call &c) { c.frame = &narrow; }},
      {KIVO_SHORT_BUFFER, 7, [&](Call &c) { c.frame = &shorter; }},
  };
  for (unsigned function = 0; function < 3; ++function)
    for (std::size_t first = 0; first < faults.size(); ++first)
      for (std::size_t second = first; second < faults.size(); ++second) {
        const auto listed = [&](const Fault &fault) { return (fault.functions >> function & 1) != 0; };
        if (!listed(faults[first])) continue;
        Call call{good.plan.get(), &good.view, nullptr};
        kivo_colour given = KIVO_COLOUR_INIT;
        call.colour = &given;
        // The later fault first, so that the earlier one is not undone.
        faults[second].spoil(call);
        faults[first].spoil(call);
        given = call.settings;
        const kivo_colour before = given;
        const kivo_status status =
            function == 0   ? kivo_auto_black(call.plan, call.frame, call.colour)
            : function == 1 ? kivo_auto_balance(call.plan, call.frame, call.balance, call.colour)
                            : kivo_auto_range(call.plan, call.frame, call.low, call.high, call.colour);
        EXPECT_EQ(status, faults[first].status) << function << " " << first << " " << second;
        EXPECT_EQ(std::memcmp(&before, &given, sizeof given), 0);
      }
}

}  // namespace
}  // namespace KivoTest
