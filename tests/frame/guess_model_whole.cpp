// SPDX-License-Identifier: Apache-2.0
// How the parts are put together; the parts themselves are the library's.
#include <algorithm>
#include <cmath>
#include <iterator>
#include <set>

#include "frame/guess_model.h"
#include "guess/row_period.h"

namespace KivoTest::GuessModel {

using namespace Guess;

namespace {

struct Trial {
  Grid grid;
  Guess::Cost cost;
  double doubt, score;
  Place place;
};

// Bits of a file, of which no more than a megabyte counts, and of what is unlikely in itself.
void Score(const File &file, Trial &trial) {
  const Layout &layout = trial.grid.sLayout;
  const std::string colours = ColoursOf(layout.ePattern);
  double rarity = colours == "x" ? 0 : colours == "RGB" ? 16 : 64;
  if (layout.eKind == Kind::Stream && layout.uiBits < 8) rarity = 4096;
  const double bytes = std::min(static_cast<double>(file.uiBytes), 1048576.0);
  trial.score = trial.cost.dBitsPerByte * trial.doubt * bytes + rarity + trial.place.dBits;
}

void Sort(std::vector<Trial> &trials) {
  std::sort(trials.begin(), trials.end(), [](const Trial &a, const Trial &b) { return a.score < b.score; });
}

void Try(const File &file, const Grid &grid, const Look &look, std::vector<Trial> &trials) {
  Trial trial = {grid, Guess::CostOf(file, grid, look), 1, 0, {}};
  Score(file, trial);
  if (trial.cost.dBitsPerByte < 1e9) trials.push_back(trial);
}

// Bytes that are the same in 24 rows from the first row on that is whole, if the rows begin with padding.
std::uint64_t SameInFront(const File &file, std::uint64_t period) {
  const std::uint64_t base = file.uiBytes % period;
  if (file.uiHead < base + 4 * period) return 0;
  const std::uint64_t rows = (file.uiHead - base) / period - 1, taken = std::min<std::uint64_t>(24, rows);
  std::uint64_t same = 0;
  while (true) {
    if (same == period / 2) return 0;
    std::set<std::uint8_t> seen;
    for (std::uint64_t i = 0; i < taken; ++i)
      seen.insert(file.puc[base + (2 * i + 1) * rows / (2 * taken) * period + same]);
    if (seen.size() > 1) return same;
    ++same;
  }
}

std::vector<Grid> GridsOf(const File &file, const Layout &layout, std::uint64_t period,
                          std::uint64_t in_front) {
  const std::uint64_t base = file.uiBytes % period;
  const auto samples = static_cast<std::size_t>(SamplesFor(layout, period));
  std::vector<Grid> grids = {{layout, 8 * base, 8 * period, samples, 0}};
  if (in_front != 0)
    grids.push_back({layout, (base + in_front) % period * 8, 8 * period, samples, 8 * in_front});
  if (layout.eKind != Kind::Stream && layout.eKind != Kind::Packed) return grids;
  const std::uint64_t sample_bits = BitsFor(layout, 1);
  for (const unsigned share : {2U, 4U, 8U}) {
    const std::uint64_t bits = 8 * period / share;
    if (bits % 8 == 0 || bits % sample_bits != 0) continue;
    const std::uint64_t rows = 8 * file.uiBytes / bits;
    for (std::uint64_t less = 0; less < share && less < rows; ++less) {
      const std::uint64_t whole = ((rows - less) * bits + 7) / 8;
      grids.push_back(
          {layout, 8 * (file.uiBytes - whole), bits, static_cast<std::size_t>(bits / sample_bits), 0});
    }
  }
  return grids;
}

void Coarse(const File &file, const std::vector<std::uint64_t> &periods, std::vector<Trial> &trials) {
  for (const std::uint64_t period : periods) {
    for (const Layout &layout : Layouts())
      for (const Grid &grid : GridsOf(file, layout, period, SameInFront(file, period)))
        Try(file, grid, {12, 1536}, trials);
    Sort(trials);
    trials.resize(std::min<std::size_t>(trials.size(), 64));
  }
}

std::vector<std::uint64_t> Fractions(const std::vector<Trial> &trials, std::vector<std::uint64_t> tried) {
  std::vector<std::uint64_t> found;
  for (std::size_t i = 0; i < std::min<std::size_t>(16, trials.size()); ++i)
    for (const unsigned parts : {2U, 3U, 4U}) {
      const std::uint64_t bits = trials[i].grid.uiRowBits, part = bits / 8 / parts;
      if (bits % 8 != 0 || bits / 8 % parts != 0 || part < 16) continue;
      if (std::count(tried.begin(), tried.end(), part) != 0) continue;
      found.push_back(part);
      tried.push_back(part);
    }
  return found;
}

std::vector<Trial> Fine(const File &file, const std::vector<Trial> &coarse) {
  constexpr Look closely = {64, 6144};
  std::vector<Trial> trials;
  for (std::size_t i = 0; i < std::min<std::size_t>(16, coarse.size()); ++i)
    Try(file, coarse[i].grid, closely, trials);
  Sort(trials);
  std::vector<Grid> more;
  for (std::size_t i = 0; i < std::min<std::size_t>(2, trials.size()); ++i) {
    Grid grid = trials[i].grid;
    if (grid.uiRowBits % 8 != 0) continue;
    const Layout layout = grid.sLayout;
    grid.sLayout.ePattern = Pattern::Grey;
    if (layout.ePattern == Pattern::Bayer) more.push_back(grid);
    for (const int other : {-4, -3, -2, -1, 1, 2, 3, 4}) {
      const auto period = static_cast<std::int64_t>(grid.uiRowBits / 8) + other;
      if (period <= 0) continue;
      const std::vector<Grid> grids = GridsOf(file, layout, static_cast<std::uint64_t>(period), 0);
      more.insert(more.end(), grids.begin(), grids.end());
    }
  }
  for (const Grid &grid : more) Try(file, grid, closely, trials);
  Sort(trials);
  return trials;
}

}  // namespace

std::vector<kivo_candidate> Candidates(const File &file) {
  std::vector<std::uint64_t> periods;
  for (const std::uint64_t period : RowPeriods(file, 16))
    if (period <= 131072 && period <= file.uiBytes / 2) periods.push_back(period);
  std::vector<Trial> coarse;
  Coarse(file, periods, coarse);
  Coarse(file, Fractions(coarse, periods), coarse);
  std::vector<Trial> trials = Fine(file, coarse), placed;
  for (std::size_t i = 0; i < std::min<std::size_t>(8, trials.size()); ++i) {
    Trial &trial = trials[i];
    trial.place = Guess::PlaceOf(file, trial.grid, trial.cost);
    if (trial.place.uiWidth == 0) continue;
    trial.cost.dBitsPerByte = trial.place.dBitsPerByte;
    trial.doubt = Guess::DoubtOf(file, trial.grid, trial.place);
    Score(file, trial);
    placed.push_back(trial);
  }
  std::stable_sort(placed.begin(), placed.end(),
                   [](const Trial &a, const Trial &b) { return a.score < b.score; });
  std::vector<kivo_candidate> found;
  for (const Trial &trial : placed) {
    const FormatPair pair = Guess::FormatsAt(file, trial.grid, trial.place);
    for (const kivo_format *format : {pair.psFirst, pair.psSecond}) {
      if (format == nullptr) continue;
      kivo_candidate candidate = {};
      candidate.code = format->code;
      candidate.width = trial.place.uiWidth;
      candidate.height = pair.uiHeight;
      candidate.offset = trial.place.uiOffset;
      candidate.byte_order = trial.grid.sLayout.eKind == Kind::Big ? KIVO_BIG_ENDIAN : KIVO_LITTLE_ENDIAN;
      candidate.stride = trial.place.uiRowBytes;
      if (candidate.stride == kivo_row_bytes(format->code, candidate.width)) candidate.stride = 0;
      candidate.bits = trial.cost.dBitsPerByte;
      if (std::none_of(found.begin(), found.end(), [&](const auto &other) { return Same(candidate, other); }))
        found.push_back(candidate);
    }
  }
  return found;
}

bool Same(const kivo_candidate &a, const kivo_candidate &b) {
  return a.code == b.code && a.width == b.width && a.height == b.height && a.offset == b.offset &&
         a.stride == b.stride && a.byte_order == b.byte_order;
}

}  // namespace KivoTest::GuessModel
