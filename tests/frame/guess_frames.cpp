// SPDX-License-Identifier: Apache-2.0
#include "frame/guess_frames.h"

#include "frame/guess_model.h"

namespace KivoTest {
namespace {

// Light on a sample: 0 to 255, and what is between.
double LightOf(Scene scene, char colour, std::uint64_t x, std::uint64_t y, std::uint64_t width,
               std::uint64_t height, Random &random) {
  if (scene == Scene::Noise) return random.Below(256);
  if (scene == Scene::Halves && y % 2 != 0) x += 977;
  if (scene == Scene::Twice) x %= width / 2;
  if (scene == Scene::Thrice) x %= width / 3;
  const double share = scene == Scene::Planes ? 0.6 + 0.2 * static_cast<double>(y / (height / 3)) : 1;
  if (scene == Scene::Planes) y %= height / 3;
  Random patch(x / 12 * 1009 + y / (scene == Scene::Halves ? 40 : 7));
  double light = 30 + patch.Below(200);
  if (scene == Scene::Drawing) return colour == 'U' || colour == 'V' ? 128 : light > 130 ? 200 : 20;
  if (scene == Scene::Dark) light /= 16;
  const double noise = random.Below(600) / 100.0;
  if (colour == 'U' || colour == 'V') return 120 + light / 20 + noise / 4;
  if (scene != Scene::Grey)
    light *= colour == 'R' || colour == 'r' ? 0.5 : colour == 'B' || colour == 'b' ? 0.8 : 1;
  return std::min(light * share + noise, 255.0);
}

void Put(const Layout &layout, std::vector<std::uint8_t> &bytes, std::uint64_t bit, std::uint64_t at,
         unsigned sample) {
  std::uint8_t *const puc = bytes.data() + bit / 8;
  const auto low = static_cast<std::uint8_t>(sample), high = static_cast<std::uint8_t>(sample >> 8);
  switch (layout.eKind) {
    case Kind::Bytes:
      puc[at] = low;
      break;
    case Kind::Little:
      puc[2 * at] = low, puc[2 * at + 1] = high;
      break;
    case Kind::Big:
      puc[2 * at] = high, puc[2 * at + 1] = low;
      break;
    case Kind::Packed: {
      const std::uint64_t number = at + bit % 8 / 4;
      std::uint8_t *const three = puc - bit % 8 / 4 + number / 2 * 3;
      const unsigned shift = layout.uiBits - 8, rest = sample & ((1U << shift) - 1);
      three[number % 2 * 2] = static_cast<std::uint8_t>(sample >> shift);
      three[1] = static_cast<std::uint8_t>(number % 2 == 0 ? (three[1] & 240U) | rest
                                                           : (three[1] & 15U) | rest << 4);
      break;
    }
    case Kind::Stream:
      for (unsigned k = 0; k < layout.uiBits; ++k) {
        const std::uint64_t place = bit + at * layout.uiBits + k;
        const unsigned mask = 1U << place % 8;
        bytes[place / 8] =
            static_cast<std::uint8_t>((bytes[place / 8] & ~mask) | ((sample >> k & 1) != 0 ? mask : 0));
      }
      break;
    case Kind::Words32: {
      std::uint8_t *const word = puc + at / 3 * 4;
      std::uint32_t value = 0;
      for (unsigned k = 0; k < 4; ++k) value |= std::uint32_t{word[k]} << 8 * k;
      value = (value & ~(1023U << at % 3 * 10) & 0x3FFFFFFF) | sample << at % 3 * 10;
      for (unsigned k = 0; k < 4; ++k) word[k] = static_cast<std::uint8_t>(value >> 8 * k);
      break;
    }
  }
}

// `depth` is that of the samples of words; header and padding are in bytes. Where rows share bytes, a row is
// no whole number of them.
}  // namespace

Made Make(const Layout &layout, Scene scene, std::uint64_t pixels, std::uint64_t height, std::uint64_t header,
          std::uint64_t padding, bool share, unsigned depth, Random &random) {
  const std::string colours = GuessModel::ColoursOf(layout.ePattern);
  const std::uint64_t group = GuessModel::PixelsOf(layout.ePattern);
  const std::uint64_t samples = pixels / group * colours.size();
  const std::uint64_t bits = GuessModel::BitsFor(layout, samples);
  Made made;
  const std::uint64_t row_bits = share ? bits : (bits + 7) / 8 * 8 + 8 * padding;
  made.grid = {layout, 8 * header, row_bits, static_cast<std::size_t>(samples), 0};
  made.place = {static_cast<std::uint32_t>(pixels / group * group),
                static_cast<std::uint32_t>(height),
                header,
                share ? 0 : row_bits / 8,
                0,
                0};
  made.bytes.resize(static_cast<std::size_t>(header + (row_bits * height + 7) / 8));
  made.file_bytes = made.bytes.size();
  const bool wild = random.Below(2) == 0;
  for (std::size_t i = 0; i < made.bytes.size(); ++i)
    if (i < header || wild) made.bytes[i] = static_cast<std::uint8_t>(random.Below(wild ? 256 : 30));
  static constexpr const char *kMosaics[2] = {"RGgB", "GBRg"};
  const char *const mosaic = kMosaics[random.Below(2)];
  if (layout.eKind != Kind::Little && layout.eKind != Kind::Big) depth = layout.uiBits;
  for (std::uint64_t y = 0; y < height; ++y)
    for (std::uint64_t x = 0; x < samples; ++x) {
      char colour = colours[x % colours.size()];
      if (layout.ePattern == Pattern::Bayer) colour = mosaic[y % 2 * 2 + x % 2];
      const double light = LightOf(scene, colour, x / colours.size() * group, y, pixels, height, random);
      Put(layout, made.bytes, 8 * header + y * row_bits, x,
          static_cast<unsigned>(light * ((1U << depth) - 1) / 255));
    }
  return made;
}

Made Series(unsigned number, std::uint64_t pixels, std::uint64_t height) {
  Random random(number);
  const auto layouts = Layouts();
  const Layout &layout = layouts[number % layouts.size()];
  const auto scene = static_cast<Scene>(number / layouts.size() % static_cast<unsigned>(Scene::kCount));
  static constexpr unsigned kHeaders[] = {0, 16, 7, 100, 512};
  static constexpr unsigned kPaddings[] = {0, 4, 1, 8, 24};
  const bool share = layout.eKind == Kind::Stream && random.Below(2) == 0;
  const std::uint64_t header = kHeaders[random.Below(5)], padding = kPaddings[random.Below(5)];
  const unsigned depth = 8 + random.Below(9);
  return Make(layout, scene, pixels + random.Below(8), height + random.Below(4), header, padding, share,
              depth, random);
}

std::string NameOf(const Layout &layout) {
  return "kind " + std::to_string(static_cast<int>(layout.eKind)) + ", " + std::to_string(layout.uiBits) +
         " bits, pattern " + std::to_string(static_cast<int>(layout.ePattern));
}

}  // namespace KivoTest
