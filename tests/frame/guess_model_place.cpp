// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <numeric>

#include "frame/guess_model.h"

namespace KivoTest::GuessModel {

using namespace Guess;

namespace {

constexpr Place kNowhere = {0, 0, 0, 0, 0, 0};

using Bytes = std::vector<std::uint8_t>;
using Costs = std::array<std::array<float, c_uiClasses>, c_uiContexts>;

std::uint64_t BytesOf(const Layout &layout, std::uint64_t samples) {
  return (BitsFor(layout, samples) + 7) / 8;
}

std::uint64_t WidthOf(const Layout &layout, std::uint64_t samples) {
  return samples / ColoursOf(layout.ePattern).size() * PixelsOf(layout.ePattern);
}

double PaddingBits(std::uint64_t row, std::uint64_t stride) {
  if (row == stride) return 0;
  for (const unsigned power : {4U, 8U, 16U, 32U, 64U, 128U, 256U, 512U, 1024U, 2048U, 4096U})
    if (stride == (row + power - 1) / power * power) return 12;
  return 20;
}

double ShapeBits(const Layout &layout, std::uint64_t samples, std::uint64_t stride, std::uint64_t height) {
  return SizeBits(WidthOf(layout, samples), height) + PaddingBits(BytesOf(layout, samples), stride);
}

double RowBits(const Residuals &row, double mean_class, const Costs &costs) {
  double shared = 0, own = 40, classes = 0;
  for (std::size_t x = 0; x < row.samples.size(); ++x) shared += costs[row.contexts[x]][row.classes[x]];
  for (unsigned context = 0; context < c_uiContexts; ++context) {
    Counts counts{};
    for (std::size_t x = 0; x < row.samples.size(); ++x)
      if (row.contexts[x] == context) ++counts[row.classes[x]];
    own += ClassBits(counts);
  }
  for (const unsigned bits : row.classes) classes += bits;
  if (classes > mean_class * static_cast<double>(row.samples.size())) return shared;
  if (std::count(row.samples.begin(), row.samples.end(), row.samples[0]) ==
      static_cast<std::ptrdiff_t>(row.samples.size()))
    own = 16;
  return std::min(shared, own);
}

// Samples of a row that are the frame's; what is behind them is padding.
std::uint64_t SamplesOf(const File &file, const Grid &grid, const Costs &costs, std::uint64_t height) {
  const Layout &layout = grid.sLayout;
  const std::uint64_t apart = RowsBetween(layout.ePattern), rows = RowsIn(grid, file),
                      stride = grid.uiRowBits / 8;
  if (rows <= apart || grid.uiSamples > 131072) return grid.uiSamples;
  const std::uint64_t usable = rows - apart, taken = std::min<std::uint64_t>(64, usable);
  std::vector<std::uint64_t> which;
  std::vector<Residuals> read;
  for (std::uint64_t i = 0; i < taken; ++i) {
    which.push_back(apart + (2 * i + 1) * usable / (2 * taken));
    read.push_back(RowOf(file, grid, which.back(), 0, grid.uiSamples, true));
  }
  std::vector<bool> flat;
  std::vector<float> column_bits;  // in the precision of the library, whose order of sums this is
  for (std::size_t x = 0; x < grid.uiSamples; ++x) {
    flat.push_back(std::all_of(read.begin(), read.end(),
                               [&](const auto &row) { return row.samples[x] == read[0].samples[x]; }));
    column_bits.push_back(0);
    for (const Residuals &row : read) column_bits[x] += costs[row.contexts[x]][row.classes[x]];
  }
  const std::size_t period = ColoursOf(layout.ePattern).size();
  const std::size_t most = grid.uiSamples / period * period;
  std::size_t best = most;
  double least = 0;
  for (std::size_t samples = most; samples > grid.uiSamples / 2; samples -= period) {
    const std::uint64_t row = BytesOf(layout, samples);
    // Byte by byte from the right, each of all rows.
    Bytes padding;
    for (std::uint64_t at = stride; at > row; --at)
      for (const std::uint64_t y : which)
        if (const std::uint64_t place = grid.uiFirstBit / 8 + y * stride + at - 1; place < file.uiHead)
          padding.push_back(file.puc[place]);
    const double plain = PlainBits(padding);
    double frame = 0, behind = 0;
    Counts changing{};
    for (std::size_t x = samples; x < most; ++x) {
      (flat[x] ? frame : behind) += static_cast<double>(column_bits[x]);
      for (const Residuals &each : read)
        if (!flat[x]) ++changing[each.classes[x]];
    }
    const bool tame = plain < 5 * static_cast<double>((stride - row) * taken);
    frame += std::min({behind, ClassBits(changing) + 40, tame ? plain : behind});
    const auto unused = static_cast<double>(8 * row - BitsFor(layout, samples));
    const double as_padding = plain + (row == stride ? 0 : unused * static_cast<double>(taken)) +
                              ShapeBits(layout, samples, stride, height) -
                              ShapeBits(layout, most, stride, height);
    if (as_padding - frame < least) least = as_padding - frame, best = samples;
    if (as_padding - frame > least + 4000) break;
  }
  return best;
}

double WholeCost(const File &file, const Grid &grid) {
  const std::uint64_t rows = RowsIn(grid, file), taken = std::min<std::uint64_t>(96, rows);
  Bytes padding;
  for (std::uint64_t i = 0; i + 1 < taken; ++i) {
    const std::uint64_t row = grid.uiFirstBit + i * rows / taken * grid.uiRowBits;
    const std::uint64_t end = (row + BitsFor(grid.sLayout, grid.uiSamples) + 7) / 8;
    for (std::uint64_t at = end; at < (row + grid.uiRowBits) / 8 && at < file.uiHead; ++at)
      padding.push_back(file.puc[at]);
  }
  const double frame = Guess::CostOf(file, grid, c_sClosely).dBitsPerByte / 8 *
                       static_cast<double>(BitsFor(grid.sLayout, grid.uiSamples));
  const double behind = taken > 1 ? PlainBits(padding) / static_cast<double>(taken - 1) : 0;
  return (frame + behind) * 8 / static_cast<double>(grid.uiRowBits);
}

}  // namespace

Place PlaceFor(const File &file, const Grid &grid, const Cost &cost) {
  const Layout &layout = grid.sLayout;
  const std::uint64_t apart = RowsBetween(layout.ePattern), stride = grid.uiRowBits / 8;
  const bool shared = grid.uiRowBits % 8 != 0;
  const std::uint64_t rows_in_file =
      (8 * file.uiBytes + grid.uiMissingBits - grid.uiFirstBit) / grid.uiRowBits;
  Costs costs;
  double classes = 0, all = 0;
  for (std::size_t i = 0; i < costs.size(); ++i) {
    costs[i] = ClassCosts(cost.classes[i]);
    for (std::size_t k = 0; k < c_uiClasses; ++k) {
      classes += static_cast<double>(k) * cost.classes[i][k];
      all += cost.classes[i][k];
    }
  }
  std::uint64_t samples = grid.uiSamples;
  if (!shared && grid.uiMissingBits != 0)
    samples = SamplesFor(layout, stride - grid.uiMissingBits / 8);
  else if (!shared)
    samples = SamplesOf(file, grid, costs, rows_in_file);
  const std::size_t period = ColoursOf(layout.ePattern).size();
  Grid frame = grid;
  frame.uiSamples = static_cast<std::size_t>(samples / period * period);
  const std::uint64_t width = WidthOf(layout, frame.uiSamples);
  if (width < 8) return kNowhere;

  const std::uint64_t rows = std::min(RowsIn(frame, file), 524288 / grid.uiRowBits + 8);
  double least = std::numeric_limits<double>::infinity();
  Place place = kNowhere;
  std::vector<double> alone, below;
  for (std::uint64_t y = 0; y < rows; ++y) {
    const double mean_class = all > 0 ? classes / all : 0;
    alone.push_back(RowBits(RowOf(file, frame, y, 0, frame.uiSamples, false), mean_class, costs));
    below.push_back(y < apart ? 0
                              : RowBits(RowOf(file, frame, y, 0, frame.uiSamples, true), mean_class, costs));
  }
  for (std::uint64_t y = 0; y + apart < rows; ++y) {
    const std::uint64_t bit = grid.uiFirstBit + y * grid.uiRowBits, offset = bit / 8,
                        height = rows_in_file - y;
    if (offset > c_uiLongestHeader || height < 2) break;
    if (bit % 8 != 0 || height > UINT32_MAX) continue;
    const auto begin = static_cast<std::ptrdiff_t>(y), middle = static_cast<std::ptrdiff_t>(y + apart);
    const double bits = PlainBits({file.puc, file.puc + offset}) + SizeBits(width, height) +
                        HeaderBits(offset) +
                        std::accumulate(alone.begin() + begin, alone.begin() + middle, 0.0) +
                        std::accumulate(below.begin() + middle, below.end(), 0.0);
    if (bits >= least) continue;
    least = bits;
    place.uiWidth = static_cast<std::uint32_t>(width);
    place.uiHeight = static_cast<std::uint32_t>(height);
    place.uiOffset = offset;
    place.uiRowBytes = shared ? 0 : stride;
    place.dBits = SizeBits(width, height) + HeaderBits(offset) +
                  (shared ? 0 : PaddingBits(BytesOf(layout, frame.uiSamples), stride));
  }
  if (place.uiWidth == 0) return kNowhere;
  frame.uiFirstBit = 8 * place.uiOffset;
  place.dBitsPerByte = WholeCost(file, frame);
  return place;
}

namespace {

// The samples of a frame, row by row.
using Rows = std::vector<std::vector<double>>;

Rows RowsOf(const File &file, const Grid &grid, const Place &place) {
  Grid frame = grid;
  frame.uiFirstBit = 8 * place.uiOffset;
  frame.uiSamples = place.uiWidth / PixelsOf(grid.sLayout.ePattern) * ColoursOf(grid.sLayout.ePattern).size();
  Rows rows;
  for (std::uint64_t y = 0; y < std::min<std::uint64_t>(RowsIn(frame, file), place.uiHeight); ++y) {
    rows.emplace_back();
    for (std::size_t x = 0; x < frame.uiSamples; ++x)
      rows.back().push_back(Sample(frame.sLayout, file, frame.uiFirstBit + y * frame.uiRowBits, x));
  }
  return rows;
}

// Of several hundred rows those that are looked at.
std::size_t Every(std::size_t rows) {
  return std::max<std::size_t>(1, rows / 256);
}

unsigned DepthOf(const Rows &rows) {
  double all = 0;
  for (std::size_t y = 0; y < rows.size(); y += std::max<std::size_t>(1, rows.size() / 2048))
    all += static_cast<double>(rows[y].size());
  for (unsigned depth = 10;; depth += 2) {
    double above = 0;
    for (std::size_t y = 0; y < rows.size(); y += std::max<std::size_t>(1, rows.size() / 2048))
      above += static_cast<double>(
          std::count_if(rows[y].begin(), rows[y].end(), [&](double sample) { return sample >= 1 << depth; }));
    if (depth == 16 || above <= std::floor(all / 50000)) return depth;
  }
}

bool GreenFirst(const Rows &rows) {
  double falling = 0, rising = 0;
  for (std::size_t y = 0; y + 1 < rows.size(); y += std::max<std::size_t>(2, rows.size() / 512 * 2))
    for (std::size_t x = 0; x + 32 <= rows[y].size(); x += 32) {
      double sums[4] = {};
      for (std::size_t i = 0; i < 32; ++i)
        sums[i % 2] += rows[y][x + i], sums[2 + i % 2] += rows[y + 1][x + i];
      falling += std::abs(sums[0] - sums[3]);
      rising += std::abs(sums[1] - sums[2]);
    }
  return falling < rising;
}

struct Channel {
  double mean = 0, deviation = 0;
};

std::vector<Channel> ChannelsOf(const Rows &rows, std::size_t channels) {
  std::vector<Channel> found(channels);
  for (std::size_t k = 0; k < channels; ++k) {
    std::vector<double> samples;
    for (std::size_t y = 0; y < rows.size(); y += Every(rows.size()))
      for (std::size_t x = k; x < rows[y].size(); x += channels) samples.push_back(rows[y][x]);
    if (samples.empty()) continue;
    const auto count = static_cast<double>(samples.size());
    found[k].mean = std::accumulate(samples.begin(), samples.end(), 0.0) / count;
    double squares = 0;
    for (const double sample : samples) squares += (sample - found[k].mean) * (sample - found[k].mean);
    found[k].deviation = std::sqrt(squares / count);
  }
  return found;
}

// Sums of products of two lists of differences, as a share of what equal ones would have.
struct Likeness {
  double both = 0, first = 0, second = 0;
  void Add(double a, double b) { both += a * b, first += a * a, second += b * b; }
  double Share() const { return first > 0 && second > 0 ? both / std::sqrt(first * second) : 0; }
};

double EdgesLike(const Rows &rows, std::size_t down) {
  Likeness likeness;
  if (rows.size() <= down) return 0;
  for (std::size_t y = 0; y + down < rows.size(); y += Every(rows.size() - down))
    for (std::size_t x = 2; x < rows[y].size(); ++x)
      likeness.Add(rows[y][x] - rows[y][x - 2], rows[y + down][x] - rows[y + down][x - 2]);
  return likeness.Share();
}

double BlocksLike(const Rows &rows, std::size_t down, std::size_t right) {
  if (rows.size() <= down + 1) return 0;
  const auto blocks = [](const std::vector<double> &row, std::size_t from) {
    std::vector<double> sums;
    for (std::size_t x = from; x + 24 <= row.size(); x += 24) {
      const auto begin = row.begin() + static_cast<std::ptrdiff_t>(x);
      sums.push_back(std::accumulate(begin, begin + 24, 0.0));
    }
    return sums;
  };
  Likeness likeness;
  const std::size_t usable = rows.size() - down, taken = std::min<std::size_t>(256, usable);
  for (std::size_t i = 0; i < taken; ++i) {
    const std::size_t y = (i * 256 + i * 157 % 256) * usable / (256 * taken);
    const std::vector<double> upper = blocks(rows[y], 0), lower = blocks(rows[y + down], right);
    for (std::size_t x = 1; x < upper.size() && x < lower.size(); ++x)
      likeness.Add(upper[x] - upper[x - 1], lower[x] - lower[x - 1]);
  }
  return likeness.Share();
}

double Contrast(const Rows &rows) {
  double most = 0;
  for (const unsigned parity : {0U, 1U}) {
    double even = 0, odd = 0;
    for (std::size_t y = 0; y < rows.size(); y += Every(rows.size()) / 2 * 2 + 1)
      for (std::size_t x = 0; y % 2 == parity && x + 1 < rows[y].size(); x += 2)
        even += rows[y][x], odd += rows[y][x + 1];
    if (even + odd > 0) most = std::max(most, std::abs(even - odd) / ((even + odd) / 2));
  }
  return most;
}

bool ArePlanes(const Rows &rows, std::uint32_t height) {
  const std::size_t plane = height / 3;
  if (height % 3 != 0 || plane < 16 || rows.size() < 2 * plane) return false;
  const double like = EdgesLike(rows, plane);
  return like > 0.1 && like > 2 * EdgesLike(rows, plane - 7) && like > 2 * EdgesLike(rows, plane - 3);
}

bool IsYuv(const std::vector<Channel> &channels, const std::string &colours) {
  const double luma = channels[colours.find('Y')].deviation;
  const auto is_chroma = [&](char colour) {
    const Channel &chroma = channels[colours.find(colour)];
    return chroma.mean > 88 && chroma.mean < 168 && chroma.deviation < 0.8 * luma;
  };
  return is_chroma('U') && is_chroma('V');
}

}  // namespace

double DoubtFor(const File &file, const Grid &grid, const Place &place) {
  const Rows rows = RowsOf(file, grid, place);
  const std::size_t samples =
      place.uiWidth / PixelsOf(grid.sLayout.ePattern) * ColoursOf(grid.sLayout.ePattern).size();
  const double next = BlocksLike(rows, 1, 0), after = BlocksLike(rows, 2, 0);
  const double repeated = std::max(BlocksLike(rows, 0, samples / 2), BlocksLike(rows, 0, samples / 3));
  double doubt = 1;
  if (after > 0.1 && next < after / 2) doubt *= 1.06;
  if (next > 0.1 && repeated > next / 2) doubt *= 1.06;
  if (ColoursOf(grid.sLayout.ePattern) == "RGB") {
    const std::vector<Channel> c = ChannelsOf(rows, 3);
    const double most = std::max({c[0].mean, c[1].mean, c[2].mean});
    if (most - std::min({c[0].mean, c[1].mean, c[2].mean}) < 0.005 * most) doubt *= 1.01;
  }
  if (grid.sLayout.ePattern == Pattern::Bayer && Contrast(rows) < 0.005) doubt *= 1.03;
  if (grid.sLayout.ePattern == Pattern::Grey && Contrast(rows) > 0.02) doubt *= 1.03;
  return doubt;
}

Formats FormatsFor(const File &file, const Grid &grid, const Place &place) {
  const Rows rows = RowsOf(file, grid, place);
  const Layout &layout = grid.sLayout;
  const std::string colours = ColoursOf(layout.ePattern);
  const bool words = layout.eKind == Kind::Little || layout.eKind == Kind::Big;
  unsigned depth = words ? DepthOf(rows) : layout.uiBits;
  const std::string packing = layout.eKind == Kind::Stream    ? "p"
                              : layout.eKind == Kind::Packed  ? "Packed"
                              : layout.eKind == Kind::Words32 ? "p32"
                                                              : "";
  if (colours.find('U') != std::string::npos) {
    const char *const name = colours == "UYVY"     ? "YUV422_8_UYVY"
                             : colours == "YUYV"   ? "YUV422_8"
                             : colours == "UYYVYY" ? "YUV411_8_UYYVYY"
                                                   : "YCbCr411_8";
    if (!IsYuv(ChannelsOf(rows, colours.size()), colours)) return {"", "", 0};
    return {name, "", place.uiHeight};
  }
  if (layout.ePattern == Pattern::Bayer) {
    const std::string end = std::to_string(depth) + packing;
    if (GreenFirst(rows)) return {"BayerGR" + end, "BayerGB" + end, place.uiHeight};
    return {"BayerRG" + end, "BayerBG" + end, place.uiHeight};
  }
  if (layout.ePattern == Pattern::Grey && !(packing.empty() && ArePlanes(rows, place.uiHeight)))
    return {"Mono" + std::to_string(depth) + packing, "", place.uiHeight};
  if (depth == 14) depth = 16;  // there are no such formats in colour
  const std::string end = std::to_string(depth) + packing;
  if (layout.ePattern == Pattern::Grey) return {"RGB" + end + "_Planar", "", place.uiHeight / 3};
  const std::vector<Channel> channels = ChannelsOf(rows, colours.size());
  if (layout.eKind == Kind::Bytes && colours == "RGB" && IsYuv(channels, "UYV"))
    return {"YUV8_UYV", "", place.uiHeight};
  const std::string alpha = colours == "RGBA" ? "a" : "";
  const std::string red = "RGB" + alpha + end, blue = "BGR" + alpha + end;
  if (kivo_format_find(blue.c_str()) == nullptr) return {red, "", place.uiHeight};
  return channels[0].mean >= channels[2].mean ? Formats{red, blue, place.uiHeight}
                                              : Formats{blue, red, place.uiHeight};
}

}  // namespace KivoTest::GuessModel
