// SPDX-License-Identifier: Apache-2.0
#include "frame/some_colour.h"

#include <algorithm>
#include <cstddef>

namespace KivoTest {
namespace {

// From 0 to 1.
double Share(Random &random) {
  return random.Below(1u << 24) / static_cast<double>((1u << 24) - 1);
}

double SomeGain(Random &random) {
  switch (random.Below(8)) {
    case 0:
      return random.Below(3);
    case 1:
      return 1024 * Share(random) * Share(random);
    case 2:
      return Share(random) / 100;
    default:
      return 4 * Share(random);
  }
}

void SomeMatrix(Random &random, double *matrix) {
  const bool neutral = random.Below(2) == 0, wild = random.Below(3) == 0;
  for (unsigned row = 0; row < 3; ++row) {
    double *const k = matrix + 3 * static_cast<std::size_t>(row);
    for (unsigned i = 0; i < 3; ++i) {
      k[i] = wild ? 7.998 * Share(random) - 3.999 : (i == row ? 1 : 0) + Share(random) - 0.5;
      if (random.Below(16) == 0) k[i] = random.Below(2) == 0 ? 3.9999999 : -3.9999999;
    }
    if (neutral && !wild) k[row] = 1 - k[(row + 1) % 3] - k[(row + 2) % 3];
  }
}

void SomeTable(Random &random, ColourSettings &settings) {
  settings.table.resize(random.Below(4) == 0 ? random.Below(2) == 0 ? 256 : 4096 : 256 + random.Below(3841));
  for (std::uint16_t &entry : settings.table) entry = static_cast<std::uint16_t>(random.Next());
  if (random.Below(2) == 0) std::sort(settings.table.begin(), settings.table.end());
  settings.colour.table = settings.table.data();
  settings.colour.table_size = static_cast<std::uint32_t>(settings.table.size());
}

}  // namespace

std::shared_ptr<ColourSettings> SomeColour(Random &random, unsigned depth) {
  auto settings = std::make_shared<ColourSettings>();
  kivo_colour &c = settings->colour;
  if (random.Below(16) == 0) return settings;
  const double top = (1u << depth) - 1;
  const auto maybe = [&] { return random.Below(2) == 0; };
  if (maybe()) {
    const double reach = random.Below(8) == 0 ? 65535 : top / 8;
    for (double &black : c.black) black = random.Below(8) == 0 ? random.Below(70) : reach * Share(random);
  }
  if (maybe())
    for (double &gain : c.gain) gain = SomeGain(random);
  if (maybe()) SomeMatrix(random, c.matrix);
  if (maybe()) {
    c.low = random.Below(3) == 0 ? 0 : top / 4 * Share(random);
    c.high = random.Below(8) == 0 ? c.low + Share(random) + 1e-6 : c.low + 1 + 2 * top * Share(random);
  }
  c.tone = random.Below(4);
  c.gamma = random.Below(3) == 0 ? 0.1 + 9.9 * Share(random) : 1 + 2 * Share(random);
  if (c.tone == KIVO_TONE_TABLE) SomeTable(random, *settings);
  return settings;
}

}  // namespace KivoTest
