// SPDX-License-Identifier: Apache-2.0
// Formats and doubts against the model of them, and at their thresholds.
#include <gtest/gtest.h>

#include "frame/guess_frames.h"
#include "frame/guess_model.h"

namespace KivoTest {
namespace {

void ExpectFormat(const Made &made) {
  const FormatPair found = FormatsAt(made.file(), made.grid, made.place);
  const GuessModel::Formats expected = GuessModel::FormatsFor(made.file(), made.grid, made.place);
  const auto name = [](const kivo_format *format) {
    return format == nullptr ? std::string() : format->name;
  };
  EXPECT_EQ(name(found.psFirst), expected.first);
  EXPECT_EQ(name(found.psSecond), expected.second);
  EXPECT_EQ(found.uiHeight, expected.height);
}

void ExpectDoubt(const Made &made) {
  ExpectNear(DoubtOf(made.file(), made.grid, made.place),
             GuessModel::DoubtFor(made.file(), made.grid, made.place));
}

std::string FirstOf(const Made &made) {
  return FormatsAt(made.file(), made.grid, made.place).psFirst->name;
}

TEST(GuessContent, HasTheFormatThatItLooksLike) {
  for (unsigned number = 0; number < 648; ++number) {
    const Made made = Series(number, 40 + number % 5 * 20, number % 7 < 4 ? 48 : 9);
    SCOPED_TRACE(NameOf(made.grid.sLayout) + ", " + std::to_string(number));
    ExpectFormat(made);
  }
}

// Frames of a few samples, where every sample decides.
TEST(GuessContent, HasTheFormatOfItsChannels) {
  for (unsigned number = 0; number < 4000; ++number) {
    Random random(number);
    static constexpr Pattern kPatterns[] = {Pattern::Rgb,  Pattern::Rgb,    Pattern::Alpha, Pattern::Uyvy,
                                            Pattern::Yuyv, Pattern::Uyyvyy, Pattern::Yyuyyv};
    const Pattern pattern = kPatterns[number % 7];
    const std::size_t period = GuessModel::ColoursOf(pattern).size();
    unsigned means[6], amplitudes[6];
    static constexpr unsigned kMeans[] = {88, 89, 128, 167, 168}, kAmplitudes[] = {0, 0, 1, 4, 5};
    for (std::size_t k = 0; k < 6; ++k) {
      means[k] = kMeans[random.Below(5)];
      amplitudes[k] = kAmplitudes[random.Below(5)];
    }
    const bool single = random.Below(2) == 0;
    ExpectFormat(Bytes(pattern, 2 * GuessModel::PixelsOf(pattern), 2 * period, 2 + number % 3 * 2,
                       [&](std::size_t y, std::size_t x) {
                         const std::size_t k = x % period;
                         if (single) return means[k] + (y == 0 && x == k && amplitudes[k] != 0 ? 1 : 0);
                         return y % 2 == 0 ? means[k] + amplitudes[k] : means[k] - amplitudes[k];
                       }));
  }
  // There are no rows within the head.
  Made nothing =
      Bytes(Pattern::Rgb, 8, 24, 8, [](std::size_t y, std::size_t x) { return 100 * (x % 3) + y; });
  EXPECT_EQ(FirstOf(nothing), "BGR8");
  nothing.place.uiOffset = nothing.bytes.size();
  nothing.grid.uiFirstBit = 8 * nothing.place.uiOffset;
  EXPECT_EQ(FirstOf(nothing), "RGB8");
}

TEST(GuessContent, HasTheGreenThatIsEqual) {
  for (unsigned number = 0; number < 2000; ++number) {
    Random random(number);
    ExpectFormat(Bytes(Pattern::Bayer, 32, 32 + number % 2 * 32, 2 + number % 4,
                       [&](std::size_t, std::size_t) { return 7 + random.Below(2); }));
  }
}

TEST(GuessContent, HasPlanesWhereEdgesRepeatThemselves) {
  for (unsigned number = 0; number < 6000; ++number) {
    Random random(number);
    const unsigned rarity = 2 + random.Below(8), change = 2 + random.Below(30);
    std::vector<bool> plane;
    for (std::size_t i = 0; i < 18; ++i) plane.push_back(random.Below(rarity) == 0);
    const std::size_t height = 16 + number % 2;
    ExpectFormat(Bytes(Pattern::Grey, 3, 3, static_cast<std::uint32_t>(3 * height + random.Below(10) / 9),
                       [&](std::size_t y, std::size_t x) {
                         const bool edge = plane[y % height] != (random.Below(change) == 0);
                         return 50 + (x == 2 && edge ? 1 : 0);
                       }));
  }
}

// Ten edges in the upper two thirds, ten in the lower ones, one at the same place.
TEST(GuessContent, HasNoPlanesAtTheThreshold) {
  static constexpr char kEdges[] = "100100010001001001100100000011001100100010000001";
  EXPECT_EQ(
      FirstOf(Bytes(Pattern::Grey, 3, 3, 48,
                    [](std::size_t y, std::size_t x) { return 50 + (x == 2 && kEdges[y] == '1' ? 1 : 0); })),
      "Mono8");
}

// Cameras put other things than samples into a frame: one sample of 50,000 does not count.
TEST(GuessContent, HasTheDepthOfAllSamplesButAFew) {
  Random random(1);
  Made made = Make({Kind::Little, 16, Pattern::Grey}, Scene::Patches, 320, 200, 0, 0, false, 12, random);
  made.bytes[5001] |= 15;
  EXPECT_EQ(FirstOf(made), "Mono12");
  made.bytes[1001] |= 128;
  EXPECT_EQ(FirstOf(made), "Mono12");
  made.bytes[3001] |= 128;
  EXPECT_EQ(FirstOf(made), "Mono16");
}

TEST(GuessContent, IsDoubtedWhereItLooksWrong) {
  for (unsigned number = 0; number < 324; ++number) {
    const Made made = Series(number, 160 + number % 5 * 30, 9 + number % 7 * 4);
    SCOPED_TRACE(NameOf(made.grid.sLayout) + ", " + std::to_string(number));
    ExpectDoubt(made);
  }
}

// Blocks of samples that are one of two values, so that likenesses are often just at their thresholds.
TEST(GuessContent, IsDoubtedBySmallLikenesses) {
  for (unsigned number = 0; number < 6000; ++number) {
    Random random(number);
    static constexpr std::size_t kSamples[] = {48, 72, 96, 100, 147};
    static constexpr Pattern kPatterns[] = {Pattern::Grey, Pattern::Bayer, Pattern::Rgb, Pattern::Alpha};
    const Pattern pattern = kPatterns[number % 4];
    const std::size_t period = GuessModel::ColoursOf(pattern).size();
    const std::size_t pixels = kSamples[number % 5] / period;
    const unsigned rarity = 2 + random.Below(4);
    std::size_t last = 0;
    unsigned light = 0;
    const bool alternating = random.Below(2) == 0;
    ExpectDoubt(Bytes(pattern, static_cast<std::uint32_t>(pixels), pixels * period, 2 + random.Below(9),
                      [&](std::size_t y, std::size_t x) {
                        if (x % 24 == 0 || x / 24 != last) light = random.Below(rarity) == 0 ? 60 : 50;
                        last = x / 24;
                        return light + (alternating && y % 2 == 0 && x > 30 ? 10 : 0);
                      }));
  }
}

TEST(GuessContent, IsNotDoubtedAtTheThresholds) {
  // Rows 0 and 2 are alike by a tenth, their neighbours are flat.
  static constexpr unsigned kSteps[4][4] = {{0, 3, 4, 4}, {0, 0, 0, 0}, {0, 0, 1, 4}, {0, 0, 0, 0}};
  const auto steps = [](std::size_t y, std::size_t x) { return 100 + (x % 24 == 7 ? kSteps[y][x / 24] : 0); };
  EXPECT_EQ(
      DoubtOf(Bytes(Pattern::Alpha, 24, 96, 4, steps).file(), Bytes(Pattern::Alpha, 24, 96, 4, steps).grid,
              Bytes(Pattern::Alpha, 24, 96, 4, steps).place),
      1);
  const auto doubt = [](Pattern pattern, unsigned even, unsigned odd) {
    const Made made =
        Bytes(pattern, 8, 8, 6, [&](std::size_t, std::size_t x) { return x % 2 == 0 ? even : odd; });
    return DoubtOf(made.file(), made.grid, made.place);
  };
  EXPECT_EQ(doubt(Pattern::Grey, 101, 99), 1);
  EXPECT_EQ(doubt(Pattern::Grey, 102, 99), 1.03);
  EXPECT_EQ(doubt(Pattern::Bayer, 100, 100), 1.03);
  EXPECT_EQ(doubt(Pattern::Bayer, 101, 100), 1);
  // Sums of 401 and 399.
  const Made equal =
      Bytes(Pattern::Bayer, 4, 4, 2, [](std::size_t, std::size_t x) { return 201 - (x + 1) / 2; });
  EXPECT_EQ(DoubtOf(equal.file(), equal.grid, equal.place), 1);
}

// Of many rows some are looked at.
TEST(GuessContent, IsThatOfTheRowsThatAreLookedAt) {
  const Made tall = Bytes(Pattern::Grey, 8, 8, 1030,
                          [](std::size_t y, std::size_t x) { return y % 5 == 0 || x % 2 == 0 ? 100 : 150; });
  EXPECT_EQ(DoubtOf(tall.file(), tall.grid, tall.place), 1);
  for (unsigned number = 0; number < 60; ++number) {
    Random random(number);
    const auto height = static_cast<std::uint32_t>(300 + random.Below(1000));
    const auto at = [&](std::size_t y, std::size_t x) {
      return 50 + (x / 24 + y) % 2 * random.Below(9) + random.Below(3);
    };
    ExpectDoubt(Bytes(Pattern::Bayer, 48, 48, height, at));
    const auto few = [&](std::size_t, std::size_t) { return 127 + random.Below(3); };
    ExpectFormat(Bytes(Pattern::Bayer, 32, 32, height, few));
    ExpectFormat(Bytes(Pattern::Rgb, 2, 6, height, few));
    ExpectFormat(Bytes(Pattern::Grey, 3, 3, height / 3 * 3, few));
  }
}

}  // namespace
}  // namespace KivoTest
