// SPDX-License-Identifier: Apache-2.0
#include "frame/guess_model.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <map>

namespace KivoTest::GuessModel {

using namespace Guess;

std::string ColoursOf(Pattern pattern) {
  switch (pattern) {
    case Pattern::Grey:
    case Pattern::Bayer:
      return "x";
    case Pattern::Rgb:
    case Pattern::RgbLinked:
      return "RGB";
    case Pattern::Alpha:
      return "RGBA";
    case Pattern::Uyvy:
      return "UYVY";
    case Pattern::Yuyv:
      return "YUYV";
    case Pattern::Uyyvyy:
      return "UYYVYY";
    case Pattern::Yyuyyv:
      break;
  }
  return "YYUYYV";
}

unsigned PixelsOf(Pattern pattern) {
  const std::string colours = ColoursOf(pattern);
  const auto lumas = static_cast<unsigned>(std::count(colours.begin(), colours.end(), 'Y'));
  return lumas == 0 ? 1 : lumas;
}

unsigned RowsBetween(Pattern pattern) {
  return pattern == Pattern::Bayer ? 2 : 1;
}

std::uint64_t BitsFor(const Layout &layout, std::uint64_t samples) {
  switch (layout.eKind) {
    case Kind::Bytes:
      return 8 * samples;
    case Kind::Little:
    case Kind::Big:
      return 16 * samples;
    case Kind::Stream:
      return layout.uiBits * samples;
    case Kind::Packed:
      return 12 * samples;
    case Kind::Words32:
      break;
  }
  return samples / 3 * 32 + (samples % 3 == 0 ? 0 : samples % 3 == 1 ? 11 : 22);
}

std::uint64_t SamplesFor(const Layout &layout, std::uint64_t bytes) {
  if (layout.eKind == Kind::Words32) return bytes / 4 * 3;
  std::uint64_t samples = 0;
  while (BitsFor(layout, samples + 1) <= 8 * bytes) ++samples;
  return samples;
}

unsigned Sample(const Layout &layout, const File &file, std::uint64_t bit, std::uint64_t at) {
  constexpr unsigned stray = 32768;
  const std::uint8_t *const bytes = file.puc + bit / 8;
  switch (layout.eKind) {
    case Kind::Bytes:
      return bytes[at];
    case Kind::Little:
      return bytes[2 * at] + 256U * bytes[2 * at + 1];
    case Kind::Big:
      return bytes[2 * at + 1] + 256U * bytes[2 * at];
    case Kind::Stream: {
      unsigned sample = 0;
      for (std::uint64_t k = 0; k < layout.uiBits; ++k) {
        const std::uint64_t place = bit + at * layout.uiBits + k;
        sample += static_cast<unsigned>(file.puc[place / 8] >> place % 8 & 1) << k;
      }
      return sample;
    }
    case Kind::Packed: {
      // Two samples are three bytes: their upper eight bits, and between those what is below.
      const bool from_second = bit % 8 == 4;
      const std::uint64_t number = at + (from_second ? 1 : 0);
      const std::uint8_t *const three = bytes - (from_second ? 1 : 0) + number / 2 * 3;
      const unsigned low = number % 2 == 0 ? three[1] % 16 : three[1] / 16;
      const unsigned levels = layout.uiBits == 10 ? 4 : 16;
      const unsigned sample = three[number % 2 * 2] * levels + low % levels;
      return low >= levels ? sample | stray : sample;
    }
    case Kind::Words32:
      break;
  }
  std::uint64_t word = 0;
  for (int k = 3; k >= 0; --k) word = word * 256 + bytes[at / 3 * 4 + static_cast<std::uint64_t>(k)];
  const std::uint64_t third[3] = {word % 1024, word / 1024 % 1024, word / 1048576 % 1024};
  return static_cast<unsigned>(third[at % 3]) | (word >= 1073741824 ? stray : 0);
}

std::uint64_t RowsIn(const Grid &grid, const File &file) {
  std::uint64_t rows = 0;
  while (grid.uiFirstBit + rows * grid.uiRowBits + BitsFor(grid.sLayout, grid.uiSamples) <= 8 * file.uiHead)
    ++rows;
  return rows;
}

double ClassBits(const Counts &counts) {
  double all = 0, bits = 0;
  for (const std::uint32_t n : counts) all += n;
  for (std::size_t i = 0; i < counts.size(); ++i)
    if (counts[i] != 0) bits += counts[i] * (static_cast<double>(i) - std::log2(counts[i] / all));
  return bits;
}

std::array<float, c_uiClasses> ClassCosts(const Counts &counts) {
  double all = 9;  // a half of one for each class
  for (const std::uint32_t n : counts) all += n;
  std::array<float, c_uiClasses> costs{};
  for (std::size_t i = 0; i < counts.size(); ++i)
    costs[i] = static_cast<float>(static_cast<double>(i) - std::log2((counts[i] + 0.5) / all));
  return costs;
}

namespace {

double BitsByFrequency(const std::vector<std::uint8_t> &bytes) {
  std::map<std::uint8_t, double> counts;
  for (const std::uint8_t byte : bytes) counts[byte] += 1;
  const auto all = static_cast<double>(bytes.size());
  double bits = 0;
  for (const auto &[byte, count] : counts)
    bits += count * std::log2(all / count) + 4 + std::log2(all + 1) / 2;
  return bits;
}

}  // namespace

double PlainBits(const std::vector<std::uint8_t> &bytes) {
  double words = 0;
  for (std::size_t k = 0; k < 4; ++k) {
    std::vector<std::uint8_t> of_words;
    for (std::size_t i = k; i < bytes.size(); i += 4) of_words.push_back(bytes[i]);
    words += BitsByFrequency(of_words);
  }
  return std::min({8.0 * static_cast<double>(bytes.size()), BitsByFrequency(bytes), words});
}

Residuals RowOf(const File &file, const Grid &grid, std::uint64_t y, std::uint64_t first, std::uint64_t count,
                bool above) {
  const Layout &layout = grid.sLayout;
  const std::string colours = ColoursOf(layout.ePattern);
  const std::uint64_t bit = grid.uiFirstBit + y * grid.uiRowBits + BitsFor(layout, first);
  const std::uint64_t bit_above = bit - (above ? RowsBetween(layout.ePattern) * grid.uiRowBits : 0);
  const auto here = [&](std::uint64_t x) { return static_cast<int>(Sample(layout, file, bit, x)); };
  const auto there = [&](std::uint64_t x) { return static_cast<int>(Sample(layout, file, bit_above, x)); };
  Residuals row;
  std::vector<int> residuals;
  for (std::uint64_t x = 0; x < count; ++x) {
    const char colour = colours[x % colours.size()];
    std::uint64_t left = layout.ePattern == Pattern::Bayer ? 2 : 1;
    while (colours[(x + 6 * colours.size() - left) % colours.size()] != colour) ++left;
    int predicted = 0;
    unsigned context = colour == 'U' || colour == 'V' ? 1 : 0;
    if (above && x >= left) {
      // The one in the middle.
      int three[3] = {here(x - left), there(x), here(x - left) + there(x) - there(x - left)};
      if (three[0] == three[1] && three[1] == there(x - left)) context = 2;
      std::sort(three, three + 3);
      predicted = three[1];
    } else if (above || x >= left) {
      predicted = above ? there(x) : here(x - left);
    }
    residuals.push_back(here(x) - predicted);
    int residual = residuals.back();
    if (layout.ePattern == Pattern::RgbLinked && x % 3 != 0) residual -= residuals[x - 1];
    unsigned bits = 0;
    while (std::abs(residual) >= 1 << bits) ++bits;
    row.samples.push_back(static_cast<unsigned>(here(x)));
    row.classes.push_back(bits);
    row.contexts.push_back(context);
  }
  return row;
}

Cost CostFor(const File &file, const Grid &grid, const Look &look) {
  Cost cost = {std::numeric_limits<double>::infinity(), {}};
  const std::uint64_t apart = RowsBetween(grid.sLayout.ePattern), rows = RowsIn(grid, file);
  if (grid.uiSamples == 0 || rows < apart + 2) return cost;
  const std::uint64_t step = BitsFor(grid.sLayout, 24);
  double covered = 0, bits = 0;
  for (std::uint64_t i = 0; i < look.uiPieces; ++i) {
    // Piece i begins somewhere in the i-th of as many parts of the head.
    const std::uint64_t begin = 8 * ((i * 256 + i * 157 % 256) * file.uiHead / (256 * look.uiPieces));
    const std::uint64_t end = begin + 8 * look.uiBytes;
    for (std::uint64_t y = apart; y < rows; ++y) {
      const std::uint64_t row = grid.uiFirstBit + y * grid.uiRowBits;
      if (end <= row || begin >= row + grid.uiRowBits) continue;
      const std::uint64_t from = begin <= row ? 0 : (begin - row) / step * 24;
      std::uint64_t to = 0;
      while (to < grid.uiSamples && row + to / 24 * step < end) to += 24;
      to = std::min<std::uint64_t>(to, grid.uiSamples);
      // The first six of a part have no left neighbours, but for those that begin the row.
      const Residuals part = RowOf(file, grid, y, std::min(from, to), to - std::min(from, to), true);
      std::uint64_t counted = 0;
      for (std::uint64_t x = from == 0 ? 0 : 6; x < part.classes.size(); ++x, ++counted)
        ++cost.classes[part.contexts[x]][part.classes[x]];
      covered += static_cast<double>(BitsFor(grid.sLayout, counted)) / 8;
    }
  }
  for (const Counts &counts : cost.classes) bits += ClassBits(counts);
  if (covered > 0) cost.bits_per_byte = bits / covered;
  return cost;
}

std::vector<double> Peaks(const File &file) {
  constexpr std::size_t window = 524288, shortest = 16, around = 24;
  const std::size_t n = std::min(file.uiHead, window), half = n / 2;
  const std::uint8_t *const bytes = file.puc + (file.uiHead - n) / 2;
  if (half < shortest + 2 * around) return {};
  const auto correlation = [&](std::size_t distance) {
    double sum = 0;
    for (std::size_t i = 35; i + distance < n; ++i)
      for (const std::size_t back : {std::size_t{12}, std::size_t{35}}) {
        const int a = bytes[i] - bytes[i - back], b = bytes[i + distance] - bytes[i + distance - back];
        sum += double{1} * a * b;
      }
    return sum * static_cast<double>(n) / static_cast<double>(n - distance);
  };
  const double all = correlation(0);
  std::vector<double> single, both, peaks(half);
  for (std::size_t i = 0; i < half; ++i) single.push_back(all > 0 ? correlation(i) / all : 0);
  for (std::size_t i = 0; i < half; ++i) both.push_back(single[i] + (2 * i < half ? single[2 * i] : 0));
  for (std::size_t i = shortest; i + 2 < half; ++i) {
    const double before = std::max(both[i - 1], both[i - 2]), after = std::max(both[i + 1], both[i + 2]);
    if (both[i] <= 0 || both[i] < before || both[i] <= after) continue;
    double sum = 0, count = 0;
    for (std::size_t k = 0; k < half; ++k)
      if (k + around >= i && k <= i + around) sum += both[k], ++count;
    peaks[i] = both[i] - sum / count;
  }
  return peaks;
}

}  // namespace KivoTest::GuessModel
