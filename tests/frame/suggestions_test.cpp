// SPDX-License-Identifier: Apache-2.0
// What the library suggests, for frames that are always the same: settings of the colour chain, and
// descriptions of files. Whether that is good, colour_auto_test.cpp and tests/guess say; here it is the same
// as before, so that a slip in a rule of thumb that still gives good answers does not go unseen. After a
// deliberate change the program prints the new file:
//   frame_suggestions --print > expected_suggestions.txt
#include <gtest/gtest.h>

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "frame/model.h"
#include "support/random.h"

namespace KivoTest {
namespace {

using Say = std::function<void(const std::string &)>;

// Whole numbers alone, so that no compiler and no processor has a frame of its own.
struct Scene {
  const char *name;
  std::uint32_t black, light, noise;  // parts of 65535
  std::uint32_t cast[3];              // percent
  std::uint32_t defects;              // one pixel of so many, 0 for none
};

constexpr Scene kScenes[] = {
    {"day", 1000, 40000, 300, {60, 100, 70}, 0},
    {"dim", 200, 5000, 150, {100, 80, 40}, 500},
    {"glare", 3000, 90000, 2500, {80, 90, 100}, 300},
};

std::uint32_t Level(const Scene &scene, Random &random, std::uint32_t y, std::uint32_t x, unsigned colour) {
  Random patch(y / 11 * 1009 + x / 13);
  const std::uint32_t grey = 5 + patch.Below(90), tint = patch.Below(4);
  const std::uint32_t share = tint == colour ? grey / 2 + 3 : grey;
  if (scene.defects != 0 && random.Below(scene.defects) == 0) return random.Below(2) * 65535;
  const std::uint32_t slope = scene.light / 4000 * ((x + 2 * y) % 97);
  const std::uint32_t seen = scene.light / 100 * share / 100 * scene.cast[colour] + slope;
  return std::min<std::uint32_t>(scene.black + seen + random.Below(scene.noise), 65535);
}

void Draw(const Model::View &view, const Scene &scene) {
  const Model::Format &format = *view.format;
  Random random(7);
  static constexpr const char *kOrders[5] = {"", "1021", "0112", "1201", "2110"};
  for (std::uint32_t y = 0; y < view.height; ++y)
    for (std::uint32_t x = 0; x < view.width; ++x)
      for (unsigned channel = 0; channel < (format.yuv() ? 3 : format.channels()); ++channel) {
        unsigned colour = format.blue_first ? 2 - channel : channel;
        if (format.bayer()) colour = static_cast<unsigned>(kOrders[format.order][y % 2 * 2 + x % 2] - '0');
        if (format.family == KIVO_MONO) colour = 1;
        std::uint32_t level = Level(scene, random, y, x, colour);
        if (format.yuv() && channel != 1) level = 0x8000 + x / 13 % 5 * 0x400 + y / 11 % 3 * 0x300;
        Model::Put(view, y, x, channel, level >> (16 - format.plain_depth()));
      }
}

std::vector<std::uint8_t> Drawn(const Model::Format &format, const Scene &scene, std::uint32_t width,
                                std::uint32_t height, std::size_t header, std::size_t padding, bool big) {
  const auto row = static_cast<std::size_t>(Model::RowBytes(format, width)) + padding;
  std::vector<std::uint8_t> bytes(
      header +
      (padding == 0 ? static_cast<std::size_t>(Model::FrameBytes(format, width, height)) : row * height));
  Random random(3);
  for (std::size_t i = 0; i < header; ++i) bytes[i] = static_cast<std::uint8_t>(random.Below(256));
  const auto stride = static_cast<std::ptrdiff_t>(padding == 0 ? 0 : row);
  Draw({&format, width, height, bytes.data() + header, stride, big}, scene);
  return bytes;
}

std::string Text(const kivo_colour &c) {
  char text[200];
  std::snprintf(text, sizeof text, "black %.9g %.9g %.9g %.9g gain %.9g %.9g %.9g range %.9g %.9g",
                c.black[0], c.black[1], c.black[2], c.black[3], c.gain[0], c.gain[1], c.gain[2], c.low,
                c.high);
  return text;
}

const Model::Format &Named(const char *name) {
  const auto &all = Model::Formats();
  return *std::find_if(all.begin(), all.end(),
                       [&](const Model::Format &format) { return format.name == name; });
}

void Settings(const Say &say) {
  for (const char *name :
       {"Mono8", "Mono12", "BayerGR8", "BayerRG12", "BayerGB12p", "BayerBG16", "RGB8", "BGR12", "RGB10p"})
    for (const Scene &scene : kScenes)
      for (const auto &[width, height] : {std::pair{412U, 300U}, std::pair{88U, 7U}}) {
        const Model::Format &format = Named(name);
        const std::vector<std::uint8_t> bytes = Drawn(format, scene, width, height, 0, 0, false);
        kivo_plan *made = nullptr;
        EXPECT_EQ(kivo_plan_make(format.code, width, height, nullptr, &made), KIVO_OK);
        const std::unique_ptr<kivo_plan, void (*)(kivo_plan *)> plan(made, kivo_plan_free);
        const kivo_frame frame = {bytes.data(), bytes.size(), 0};
        kivo_colour black = KIVO_COLOUR_INIT;
        EXPECT_EQ(kivo_auto_black(made, &frame, &black), KIVO_OK);
        for (std::uint32_t balance = 0; balance < 3; ++balance) {
          kivo_colour colour = black;
          EXPECT_EQ(kivo_auto_balance(made, &frame, balance, &colour), KIVO_OK);
          const double percent[3][2] = {{0, 100}, {1, 99}, {20, 70}};
          EXPECT_EQ(kivo_auto_range(made, &frame, percent[balance][0], percent[balance][1], &colour),
                    KIVO_OK);
          say(format.name + " " + scene.name + " " + std::to_string(width) + " " + std::to_string(balance) +
              ": " + Text(colour));
        }
      }
}

struct File {
  const char *format;
  std::uint32_t width, height;
  std::size_t header, padding;
  bool big;
};

constexpr File kFiles[] = {
    {"BayerRG8", 120, 70, 0, 8, false},   {"Mono12", 90, 70, 512, 0, true},
    {"BGR8", 57, 60, 54, 1, false},       {"YUV411_8_UYYVYY", 96, 80, 0, 0, false},
    {"BayerGR12p", 96, 70, 16, 0, false}, {"RGBa8", 60, 60, 0, 0, false},
    {"RGB8_Planar", 80, 60, 0, 0, false},
};

void Descriptions(const Say &say) {
  for (const File &file : kFiles) {
    const std::vector<std::uint8_t> bytes =
        Drawn(Named(file.format), kScenes[0], file.width, file.height, file.header, file.padding, file.big);
    kivo_candidate found[5];
    std::size_t count = 0;
    EXPECT_EQ(kivo_guess(bytes.data(), bytes.size(), bytes.size(), found, 5, &count), KIVO_OK);
    say(std::string(file.format) + " " + std::to_string(file.width) + "x" + std::to_string(file.height) +
        ": " + std::to_string(count));
    for (std::size_t i = 0; i < count; ++i) {
      const kivo_candidate &c = found[i];
      char text[200];
      std::snprintf(
          text, sizeof text,
          "  %s %" PRIu32 "x%" PRIu32 " order %" PRIu32 " offset %" PRIu64 " stride %" PRIu64 " bits %.3f",
          kivo_format_of_code(c.code)->name, c.width, c.height, c.byte_order, c.offset, c.stride, c.bits);
      say(text);
    }
  }
}

void Compare(const char *begin, void (*suggest)(const Say &)) {
  std::ifstream file(KIVO_SUGGESTIONS);
  std::string line;
  while (std::getline(file, line) && line != begin) {
  }
  ASSERT_EQ(line, begin);
  suggest([&](const std::string &said) {
    ASSERT_TRUE(std::getline(file, line));
    EXPECT_EQ(said, line);
  });
  std::getline(file, line);
  EXPECT_EQ(line.substr(0, 1), "#");
}

TEST(Suggestions, SettingsAreTheSame) {
  Compare("# Settings", Settings);
}

TEST(Suggestions, DescriptionsAreTheSame) {
  Compare("# Descriptions", Descriptions);
}

}  // namespace
}  // namespace KivoTest

int main(int argc, char **argv) {
  if (argc == 2 && std::strcmp(argv[1], "--print") == 0) {
    const KivoTest::Say say = [](const std::string &line) { std::puts(line.c_str()); };
    say("# Settings");
    KivoTest::Settings(say);
    say("# Descriptions");
    KivoTest::Descriptions(say);
    say("# End");
    return 0;
  }
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
