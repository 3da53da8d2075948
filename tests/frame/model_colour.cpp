// SPDX-License-Identifier: Apache-2.0
// The colour chain once more, link by link as the header states it, in numbers that are wide enough not to
// think about.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "frame/model.h"

namespace KivoTest::Model {
namespace {

constexpr std::int64_t kWhite = 32766;

std::int64_t Round(long double value) {
  return static_cast<std::int64_t>(std::round(value));
}

// Division that rounds down, for any sign.
std::int64_t Floor(std::int64_t value, std::int64_t by) {
  std::int64_t quotient = value / by;
  if (value % by != 0 && value < 0) --quotient;
  return quotient;
}

long double Curve(std::int64_t u) {
  const long double x = static_cast<long double>(std::min(u, kWhite)) / kWhite;
  return x <= 0.0031308L ? 12.92L * x : 1.055L * std::pow(x, 1 / 2.4L) - 0.055L;
}

std::int64_t Srgb(std::int64_t u, long double scale, std::int64_t added) {
  std::vector<std::int64_t> knots;
  for (std::int64_t at = 0; at <= 1024; at += 64) knots.push_back(at);
  for (std::int64_t at = 1280; at <= 6144; at += 256) knots.push_back(at);
  for (std::int64_t at = 7168; at <= 32768; at += 1024) knots.push_back(at);
  std::size_t i = 0;
  while (knots[i + 1] <= u) ++i;
  const std::int64_t from = Round(scale * Curve(knots[i])) + added;
  const std::int64_t to = Round(scale * Curve(knots[i + 1])) + added;
  return from + (u - knots[i]) * (to - from) / (knots[i + 1] - knots[i]);
}

std::int64_t Table(const std::vector<std::uint16_t> &table, std::int64_t u) {
  const std::int64_t p = std::min(u, kWhite) * static_cast<std::int64_t>(table.size() - 1);
  const std::int64_t w = p % kWhite;
  const auto i = static_cast<std::size_t>(p / kWhite);
  const std::int64_t here = table[i], next = w == 0 ? here : table[i + 1];
  return here + Floor((next - here) * w + 16383, kWhite);
}

}  // namespace

bool Neutral(const kivo_colour &c) {
  bool neutral = c.low == 0 && c.high == 0 && c.tone == KIVO_TONE_LINEAR;
  for (const double black : c.black) neutral = neutral && black == 0;
  for (const double gain : c.gain) neutral = neutral && gain == 1;
  for (int i = 0; i < 9; ++i) neutral = neutral && c.matrix[i] == (i % 4 == 0 ? 1 : 0);
  return neutral;
}

int ColourGain(const kivo_colour &c, unsigned depth, int site, int sample) {
  const int n = static_cast<int>(depth);
  const int largest = (1 << n) - 1;
  const std::int64_t cut = std::min(sample, largest);
  const std::int64_t t = n == 16 ? cut / 2 : cut << (15 - n);
  const long double unit = std::ldexp(1.0L, 15 - n);
  static constexpr int kColours[4] = {0, 1, 1, 2};
  const long double gain = c.gain[kColours[site]];
  if (gain == 0) return 0;
  const long double high = c.high == 0 ? largest : c.high;
  const std::int64_t black = Round(std::min(32767.0L, (c.black[site] + c.low / gain) * unit));
  const long double factor = 16383 * gain / ((high - c.low) * unit);
  int e = 0;
  while (e < 15 && std::round(std::ldexp(factor, 15 - e)) > 32767) ++e;
  const std::int64_t m = Round(std::min(32767.0L, std::ldexp(factor, 15 - e)));
  const std::int64_t d = std::max<std::int64_t>(t - black, 0);
  return static_cast<int>(
      std::min<std::int64_t>(16383, (std::min<std::int64_t>(d << e, 32768) * m + 16384) / 32768));
}

std::array<int, 3> ColourMatrix(const kivo_colour &c, const std::array<int, 3> &u) {
  std::array<int, 3> out{};
  for (unsigned row = 0; row < 3; ++row) {
    std::array<std::int64_t, 3> k{};
    long double sum = 0;
    std::int64_t rounded = 0;
    for (unsigned i = 0; i < 3; ++i) {
      k[i] = Round(4096.0L * c.matrix[3 * row + i]);
      rounded += k[i];
      sum += c.matrix[3 * row + i];
    }
    k[row] += Round(4096 * sum) - rounded;
    const std::int64_t value = Floor(k[0] * u[0] + k[1] * u[1] + k[2] * u[2] + 2048, 4096);
    out[row] = static_cast<int>(std::clamp<std::int64_t>(value, 0, 32767));
  }
  return out;
}

std::uint32_t ColourTone(const Plan &plan, int u) {
  const kivo_colour &c = plan.colour;
  const bool wide = plan.wide_picture();
  std::int64_t value = 0;
  switch (c.tone) {
    case KIVO_TONE_SRGB:
      value = wide ? Srgb(u, 65535, 0) : Srgb(u, 65280, 128) / 256;
      break;
    case KIVO_TONE_GAMMA: {
      const long double x = static_cast<long double>(std::min<std::int64_t>(u, kWhite)) / kWhite;
      value = Round((wide ? 65535 : 255) * std::pow(x, 1 / static_cast<long double>(c.gamma)));
      break;
    }
    case KIVO_TONE_TABLE:
      value = Table(plan.table, u);
      if (!wide) value = (255 * value + 32767) / 65535;
      break;
    default:
      value = wide ? std::min(65535, 2 * u + u / 8192) : u / 128;
  }
  if (wide && plan.options.levels == KIVO_LEVELS_OWN) value >>= 16 - plan.format->plain_depth();
  return static_cast<std::uint32_t>(value);
}

kivo_status ColourStatus(const Plan &plan) {
  const kivo_options &options = plan.options;
  const kivo_colour &c = plan.colour;
  if (plan.format->yuv() || options.pixels == KIVO_SAMPLES ||
      (options.flags & (KIVO_WITH_RANGE | KIVO_WITH_SHIFT)) != 0)
    return KIVO_BAD_COLOUR;
  for (const double black : c.black)
    if (!(black >= 0 && black <= 65535)) return KIVO_BAD_BLACK;
  for (const double gain : c.gain)
    if (!(gain >= 0 && gain <= 1024)) return KIVO_BAD_GAIN;
  for (const double k : c.matrix)
    if (!(std::fabs(k) < 4)) return KIVO_BAD_MATRIX;
  const double most = 67108864;
  const double high = c.high == 0 ? (1 << plan.format->plain_depth()) - 1 : c.high;
  if (!(c.low >= 0 && c.high >= 0 && c.low < high && high <= most)) return KIVO_BAD_POINTS;
  if (c.tone == KIVO_TONE_GAMMA && !(c.gamma >= 0.1 && c.gamma <= 10)) return KIVO_BAD_GAMMA;
  if (c.tone == KIVO_TONE_TABLE && (c.table == nullptr || c.table_size < 256 || c.table_size > 4096))
    return KIVO_BAD_TABLE;
  return KIVO_OK;
}

}  // namespace KivoTest::Model
