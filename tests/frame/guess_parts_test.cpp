// SPDX-License-Identifier: Apache-2.0
// The parts of the guess against the model of them, on small made frames, and what is known without a model.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <string>
#include <vector>

#include "frame/guess_frames.h"
#include "frame/guess_model.h"
#include "guess/row_period.h"
#include "support/guarded_buffer.h"
#include "support/random.h"

namespace KivoTest {
namespace {

using namespace Kivo::Guess;

TEST(GuessLayouts, TakeTheirBits) {
  EXPECT_EQ(Layouts().size(), 36U);
  for (const Layout &layout : Layouts()) {
    SCOPED_TRACE(NameOf(layout));
    for (std::uint64_t n = 0; n < 50; ++n) {
      EXPECT_EQ(BitsOf(layout, n), GuessModel::BitsFor(layout, n));
      EXPECT_EQ(SamplesIn(layout, n), GuessModel::SamplesFor(layout, n));
    }
    EXPECT_EQ(Period(layout.ePattern), GuessModel::ColoursOf(layout.ePattern).size());
    EXPECT_EQ(RowsApart(layout.ePattern), GuessModel::RowsBetween(layout.ePattern));
    const Unit unit = UnitOf(layout);
    EXPECT_EQ(GuessModel::BitsFor(layout, unit.uiSamples), 8 * unit.uiBytes);
  }
}

TEST(GuessLayouts, UnpackTheirSamples) {
  GuardedBuffer buffer(128);
  Random random(1);
  std::vector<std::uint8_t> bytes(buffer.size());
  for (std::uint8_t &byte : bytes) byte = static_cast<std::uint8_t>(random.Below(256));
  buffer.Assign(bytes);
  const File file = {buffer.read_only(), buffer.size(), buffer.size()};
  for (const Layout &layout : Layouts()) {
    SCOPED_TRACE(NameOf(layout));
    for (std::uint64_t from = 0; from < 12; ++from) {
      std::uint64_t bit = 8 * from;
      if (layout.eKind == Kind::Stream) bit = from * layout.uiBits;
      if (layout.eKind == Kind::Packed) bit = from * 12;
      for (const std::uint64_t most : {std::uint64_t{0}, std::uint64_t{1}, std::uint64_t{1000}}) {
        std::uint64_t n = 0;
        while (n < most && bit + GuessModel::BitsFor(layout, n + 1) <= 1024) ++n;
        if (layout.eKind == Kind::Words32) n = std::min<std::uint64_t>(n, (128 - bit / 8) / 4 * 3);
        std::vector<std::uint16_t> samples(n + 1, 4711);
        Unpack(layout, file, bit, n, samples.data());
        for (std::uint64_t i = 0; i < n; ++i)
          EXPECT_EQ(samples[i], GuessModel::Sample(layout, file, bit, i)) << i;
        EXPECT_EQ(samples[n], 4711);
      }
    }
  }
}

TEST(GuessCodes, TakeTheirBits) {
  for (unsigned number = 0; number < 40; ++number) {
    Random random(number);
    Classes classes, others;
    GuessModel::Counts counts{};
    PlainBytes plain;
    std::vector<std::uint8_t> bytes;
    for (unsigned i = 0; i < number * number; ++i) {
      const std::uint32_t at = random.Below(1 + number % 18);
      (i % 3 == 0 ? others : classes).Count(at);
      ++counts[at];
      const auto byte = static_cast<std::uint8_t>(i % 4 * (number % 2) + random.Below(1 + number * 6));
      plain.Count(byte);
      bytes.push_back(byte);
    }
    classes.Add(others);
    EXPECT_EQ(classes.aui, counts);
    ExpectNear(classes.Bits(), GuessModel::ClassBits(counts));
    for (std::size_t i = 0; i < c_uiClasses; ++i)
      EXPECT_NEAR(classes.Costs()[i], GuessModel::ClassCosts(counts)[i], 1e-5);
    ExpectNear(plain.Bits(), GuessModel::PlainBits(bytes));
  }
}

TEST(GuessCodes, AreThoseOfResiduals) {
  for (unsigned number = 0; number < 360; ++number) {
    const Made made = Series(number, 26, 5);
    SCOPED_TRACE(NameOf(made.grid.sLayout));
    const File file = made.file();
    RowReader reader(file, made.grid);
    for (const bool above : {false, true})
      for (std::uint64_t y = above ? 2 : 0; y < 5; ++y)
        for (const unsigned first : {0U, 24U}) {
          const std::size_t n = made.grid.uiSamples - first;
          if (first > made.grid.uiSamples || (first == 0 && above && y == 3)) continue;
          const GuessModel::Residuals row = GuessModel::RowOf(file, made.grid, y, first, n, above);
          if (first == 0)
            reader.Go(y, above);
          else
            reader.GoTo(y, first, n, above);
          for (std::size_t i = 0; i < n; ++i) {
            ASSERT_EQ(reader.SampleAt(i), row.samples[i]) << i;
            ASSERT_EQ(reader.ClassAt(i), row.classes[i]) << i;
            ASSERT_EQ(reader.ContextAt(i), row.contexts[i]) << i;
          }
          if (!above) continue;
          const GuessModel::Residuals upper = GuessModel::RowOf(
              file, made.grid, y - GuessModel::RowsBetween(made.grid.sLayout.ePattern), first, n, false);
          for (std::size_t i = 0; i < n; ++i) ASSERT_EQ(reader.AboveAt(i), upper.samples[i]);
        }
  }
}

TEST(GuessCodes, CountTheWholeRows) {
  Random random(3);
  const std::vector<std::uint8_t> bytes(300);
  for (int i = 0; i < 300; ++i) {
    const Layout &layout = Layouts()[random.Below(36)];
    Grid grid = {layout, random.Below(2800), 8 + random.Below(500), random.Below(60), 8 * random.Below(3)};
    const File file = {bytes.data(), bytes.size(), 300 + random.Below(1000)};
    std::uint64_t in_file = 0;
    while (grid.uiFirstBit + (in_file + 1) * grid.uiRowBits <= 8 * file.uiBytes + grid.uiMissingBits)
      ++in_file;
    EXPECT_EQ(grid.RowsInFile(file), in_file);
    EXPECT_EQ(grid.RowsIn(file), GuessModel::RowsIn(grid, file));
  }
}

TEST(GuessCodes, CostWhatThePiecesCost) {
  for (unsigned number = 0; number < 144; ++number) {
    Made made = Series(number, 30 + number % 7 * 10, 12);
    SCOPED_TRACE(NameOf(made.grid.sLayout));
    const File file = made.file();
    Random random(number);
    for (const Look &look : {Look{5, 100}, Look{3, 700}, Look{9, 8}}) {
      const Cost cost = CostOf(file, made.grid, look);
      const GuessModel::Cost expected = GuessModel::CostFor(file, made.grid, look);
      ExpectNear(cost.dBitsPerByte, expected.bits_per_byte);
      double sum = 0, all = 0;
      for (std::size_t i = 0; i < c_uiContexts; ++i) {
        EXPECT_EQ(cost.asClasses[i].aui, expected.classes[i]);
        for (unsigned k = 0; k < c_uiClasses; ++k)
          sum += k * expected.classes[i][k], all += expected.classes[i][k];
      }
      ExpectNear(cost.MeanClass(), all > 0 ? sum / all : 0);
    }
    // Two rows more than there have to be above, one, and no samples.
    const Look look = {5, 100};
    const std::uint64_t apart = GuessModel::RowsBetween(made.grid.sLayout.ePattern);
    for (const std::uint64_t rows : {apart + 1, apart + 2}) {
      const auto head = static_cast<std::size_t>((made.grid.uiFirstBit + rows * made.grid.uiRowBits + 7) / 8);
      const File less = {file.puc, head, file.uiBytes};
      ExpectNear(CostOf(less, made.grid, look).dBitsPerByte,
                 GuessModel::CostFor(less, made.grid, look).bits_per_byte);
    }
    // A piece more would begin at the end of the head, behind the last row's samples.
    const std::uint64_t last = made.grid.uiFirstBit + 11 * made.grid.uiRowBits;
    const std::uint64_t end = last + GuessModel::BitsFor(made.grid.sLayout, made.grid.uiSamples);
    const File cut = {file.puc, static_cast<std::size_t>((end + 7) / 8), file.uiBytes};
    const Look everywhere = {256, 8};
    ExpectNear(CostOf(cut, made.grid, everywhere).dBitsPerByte,
               GuessModel::CostFor(cut, made.grid, everywhere).bits_per_byte);
    made.grid.uiSamples = 0;
    EXPECT_EQ(CostOf(file, made.grid, look).dBitsPerByte, std::numeric_limits<double>::infinity());
  }
}

// The transform makes what sums of products make, but for the precision of float.
TEST(GuessPeriods, AreThePeaksOfTheCorrelation) {
  for (unsigned number = 0; number < 60; ++number) {
    Random random(number);
    const std::size_t size = number < 3 ? 126 + number : 128 + random.Below(900);
    const unsigned period = 17 + random.Below(70), noise = 1 + random.Below(60);
    std::vector<std::uint8_t> bytes(size);
    for (std::size_t i = 0; i < size; ++i)
      bytes[i] = static_cast<std::uint8_t>(Random(i % period).Below(150) + random.Below(noise) + i / 40);
    GuardedBuffer buffer(size);
    buffer.Assign(bytes);
    const File file = {buffer.read_only(), size, size};
    const std::vector<double> peaks = GuessModel::Peaks(file);
    std::vector<double> heights;
    std::copy_if(peaks.begin(), peaks.end(), std::back_inserter(heights),
                 [](double height) { return height != 0; });
    std::sort(heights.begin(), heights.end(), std::greater<>());
    for (const std::size_t most : {std::size_t{0}, std::size_t{1}, std::size_t{5}, std::size_t{1000}}) {
      const std::vector<std::uint64_t> found = RowPeriods(file, most);
      ASSERT_EQ(found.size(), std::min(most, heights.size())) << size;
      for (std::size_t i = 0; i < found.size(); ++i) {
        ASSERT_LT(found[i], peaks.size());
        EXPECT_NEAR(peaks[found[i]], heights[i], 1e-4) << size << " bytes, period " << found[i];
      }
    }
  }
  const std::vector<std::uint8_t> flat(500, 7);
  EXPECT_TRUE(RowPeriods({flat.data(), flat.size(), flat.size()}, 5).empty());
}

TEST(GuessPlace, FavoursRoundSizes) {
  EXPECT_EQ(SizeBits(640, 480), 0);
  EXPECT_EQ(SizeBits(6464, 4852), 0);
  EXPECT_EQ(SizeBits(640, 481), 12 + 14);
  EXPECT_EQ(SizeBits(659, 480), 12 + 14);
  EXPECT_EQ(SizeBits(480, 640), 12 + 8);
  EXPECT_EQ(SizeBits(32, 32), 12 + 8);
  EXPECT_EQ(SizeBits(40, 36), 12 + 8 + 2 + 4);
  EXPECT_EQ(SizeBits(42, 41), 12 + 8 + 7 + 14);
  EXPECT_EQ(SizeBits(17, 24), 12 + 8 + 14 + 2);
}

TEST(GuessPlace, FavoursRoundHeaders) {
  EXPECT_EQ(HeaderBits(0), 0);
  for (const int bytes : {16, 32, 64, 512, 4096, 12288, 65536})
    EXPECT_EQ(HeaderBits(static_cast<unsigned>(bytes)), 10) << bytes;
  for (const int bytes : {192, 320, 4160}) EXPECT_EQ(HeaderBits(static_cast<unsigned>(bytes)), 14) << bytes;
  for (const int bytes : {48, 80, 144}) EXPECT_EQ(HeaderBits(static_cast<unsigned>(bytes)), 17) << bytes;
  for (const int bytes : {4, 8, 12, 20, 100})
    EXPECT_EQ(HeaderBits(static_cast<unsigned>(bytes)), 20) << bytes;
  for (const int bytes : {1, 2, 6, 15, 54, 4098})
    EXPECT_EQ(HeaderBits(static_cast<unsigned>(bytes)), 26) << bytes;
}

// The grid that such a file is looked at with: rows begin where the file's end puts them.
Grid GridOf(const Made &made, bool shared) {
  Grid grid = made.grid;
  if (!shared) grid.uiSamples = SamplesIn(grid.sLayout, grid.uiRowBits / 8);
  grid.uiFirstBit = shared ? made.grid.uiFirstBit % 8 : made.grid.uiFirstBit % grid.uiRowBits;
  if (shared) return grid;
  while (grid.uiFirstBit >= grid.uiRowBits) grid.uiFirstBit -= grid.uiRowBits;
  return grid;
}

void ExpectPlaced(const File &file, const Grid &grid, unsigned number) {
  SCOPED_TRACE(NameOf(grid.sLayout) + ", " + std::to_string(number));
  const Look look = {4, 900};
  const GuessModel::Cost cost = GuessModel::CostFor(file, grid, look);
  Cost same;
  same.dBitsPerByte = cost.bits_per_byte;
  for (std::size_t i = 0; i < c_uiContexts; ++i) same.asClasses[i].aui = cost.classes[i];
  const Place place = PlaceOf(file, grid, same), expected = GuessModel::PlaceFor(file, grid, cost);
  EXPECT_EQ(place.uiWidth, expected.uiWidth);
  EXPECT_EQ(place.uiHeight, expected.uiHeight);
  EXPECT_EQ(place.uiOffset, expected.uiOffset);
  EXPECT_EQ(place.uiRowBytes, expected.uiRowBytes);
  ExpectNear(place.dBits, expected.dBits);
  ExpectNear(place.dBitsPerByte, expected.dBitsPerByte);
}

TEST(GuessPlace, IsWhereItCostsLeast) {
  for (unsigned number = 0; number < 180; ++number) {
    const Made made = Series(number, 4 + number % 67, 9 + number % 5 * 5);
    const bool shared = made.grid.uiRowBits % 8 != 0;
    const Grid grid = GridOf(made, shared);
    ExpectPlaced(made.file(), grid, number);
    // The padding of the last row is not there.
    if (shared || number % 3 != 0) continue;
    const std::uint64_t row = GuessModel::BitsFor(made.grid.sLayout, made.grid.uiSamples);
    Grid missing = grid;
    missing.uiMissingBits = made.grid.uiRowBits - (row + 7) / 8 * 8;
    const File file = {made.bytes.data(),
                       made.bytes.size() - static_cast<std::size_t>(missing.uiMissingBits / 8),
                       made.file_bytes - missing.uiMissingBits / 8};
    ExpectPlaced(file, missing, number);
  }
  // Where a byte holds several samples, a row may end within it.
  for (unsigned number = 0; number < 120; ++number) {
    Random random(number);
    const Layout layout = {Kind::Stream, 1U << number % 3, Pattern::Grey};
    const Made made = Make(layout, number % 2 == 0 ? Scene::Drawing : Scene::Noise, 9 + random.Below(30), 12,
                           0, random.Below(2), false, 8, random);
    ExpectPlaced(made.file(), GridOf(made, false), number);
  }
}

}  // namespace
}  // namespace KivoTest
