// SPDX-License-Identifier: Apache-2.0
#include "support/content.h"

#include <algorithm>
#include <array>

namespace KivoTest {
namespace {

// One sample between 0 and top.
class Generator {
 public:
  Generator(Random &random, Content content, std::uint32_t top)
      : random_(random), content_(content), top_(top), base_(random.Below(top + 1)) {
    // Frames of 16-bit words seldom use all 16 bits: scenes have a nominal depth.
    const std::array<std::uint32_t, 4> depths{8, 10, 12, 16};
    scene_top_ = top == 255 ? 255 : (1u << depths[random.Below(4)]) - 1;
    slope_x_ = random.Below(5);
    slope_y_ = random.Below(5);
    edge_ = 2 + random.Below(40);
  }

  std::uint32_t At(std::size_t y, std::size_t x) {
    switch (content_) {
      case Content::kExtremes: {
        const std::array<std::uint32_t, 8> wide{0, top_, 0, top_, 1, 1023, 1024, 4095};
        const std::array<std::uint32_t, 8> byte{0, 255, 0, 255, 0, 255, 1, 254};
        return (top_ == 255 ? byte : wide)[random_.Below(8)];
      }
      case Content::kTies:
        return std::min(top_, base_ + random_.Below(3) * (random_.Below(8) == 0 ? 7 : 1));
      case Content::kNatural: {
        const std::uint32_t shade =
            static_cast<std::uint32_t>(x) * slope_x_ + static_cast<std::uint32_t>(y) * slope_y_;
        const std::uint32_t bright = (x / edge_ + y / edge_) % 2 == 0 ? scene_top_ : scene_top_ / 3;
        const std::uint32_t noise = random_.Below(scene_top_ / 64 + 2);
        return std::min(scene_top_, bright * (shade % 97) / 97 + noise);
      }
      case Content::kDark:
        return random_.Below(2) * (1 + base_ % 9);
      case Content::kRandom:
      case Content::kCount:
        break;
    }
    return random_.Below(top_ + 1);
  }

 private:
  Random &random_;
  Content content_;
  std::uint32_t top_;
  std::uint32_t base_;
  std::uint32_t scene_top_;
  std::uint32_t slope_x_;
  std::uint32_t slope_y_;
  std::size_t edge_;
};

}  // namespace

const char *ContentName(Content content) {
  switch (content) {
    case Content::kRandom:
      return "random";
    case Content::kExtremes:
      return "extremes";
    case Content::kTies:
      return "ties";
    case Content::kNatural:
      return "natural";
    case Content::kDark:
      return "dark";
    case Content::kCount:
      break;
  }
  return "?";
}

std::vector<std::uint8_t> MakeSamples8(Random &random, Content content, std::size_t count,
                                       std::size_t row_length) {
  std::vector<std::uint8_t> bytes(count);
  Generator generator(random, content, 255);
  for (std::size_t i = 0; i < count; ++i)
    bytes[i] = static_cast<std::uint8_t>(generator.At(i / row_length, i % row_length));
  return bytes;
}

std::vector<std::uint8_t> MakeSamples16(Random &random, Content content, std::size_t count,
                                        std::size_t row_length) {
  std::vector<std::uint8_t> bytes(2 * count);
  Generator generator(random, content, 65535);
  for (std::size_t i = 0; i < count; ++i) {
    const std::uint32_t sample = generator.At(i / row_length, i % row_length);
    bytes[2 * i] = static_cast<std::uint8_t>(sample & 0xFF);
    bytes[2 * i + 1] = static_cast<std::uint8_t>(sample >> 8);
  }
  return bytes;
}

}  // namespace KivoTest
