// SPDX-License-Identifier: Apache-2.0
// kivo_guess() as a whole against the model of how it puts its parts together, on files of a few hundred
// bytes.
#include <gtest/gtest.h>

#include "KivoFrame.h"
#include "frame/guess_frames.h"
#include "frame/guess_model.h"

namespace KivoTest {
namespace {

std::vector<kivo_candidate> Guess(const File &file, std::size_t most) {
  std::vector<kivo_candidate> found(most + 1);
  std::size_t count = 99;
  EXPECT_EQ(kivo_guess(file.puc, file.uiHead, file.uiBytes, found.data(), most, &count), KIVO_OK);
  EXPECT_LE(count, most);
  EXPECT_EQ(found[most].code, 0U);
  found.resize(count);
  return found;
}

void ExpectGuessed(const File &file) {
  const std::vector<kivo_candidate> found = Guess(file, 16), expected = GuessModel::Candidates(file);
  ASSERT_EQ(found.size(), expected.size());
  for (std::size_t i = 0; i < found.size(); ++i) {
    EXPECT_TRUE(GuessModel::Same(found[i], expected[i])) << i;
    ExpectNear(found[i].bits, expected[i].bits);
  }
}

TEST(GuessWhole, PutsTheBestFirst) {
  for (unsigned number = 0; number < 10; ++number) {
    const Made made = Series(number * 37, 9, 8);
    SCOPED_TRACE(NameOf(made.grid.sLayout) + ", " + std::to_string(number));
    ExpectGuessed(made.file());
  }
}

// Files that would be taken for others if one more explanation were.
TEST(GuessWhole, LooksMoreCloselyAtTheBestTwo) {
  ExpectGuessed(Series(9, 7, 12).file());
  ExpectGuessed(Series(28, 9, 8).file());
}

// A file in which a bit more or less for rare formats makes another one of them the next best.
TEST(GuessWhole, CountsBitsForRareFormats) {
  ExpectGuessed(Series(14, 8, 6).file());
}

TEST(GuessWhole, KnowsThatRowsShareBytes) {
  Random random(2);
  const Made made = Make({Kind::Packed, 12, Pattern::Grey}, Scene::Patches, 25, 9, 4, 0, true, 12, random);
  ExpectGuessed(made.file());
}

// The padding of the last row is not there, and of the file its beginning.
TEST(GuessWhole, KnowsPaddingInFrontOfRows) {
  Random random(3);
  Made made = Make({Kind::Bytes, 8, Pattern::Grey}, Scene::Patches, 23, 12, 3, 9, false, 8, random);
  for (std::size_t y = 0; y < 12; ++y)
    std::fill_n(made.bytes.begin() + static_cast<std::ptrdiff_t>(3 + 32 * y + 23), 9, std::uint8_t{5});
  made.bytes.resize(made.bytes.size() - 9);
  made.file_bytes = made.bytes.size();
  ExpectGuessed(made.file());
  made.file_bytes += 32 * std::uint64_t{1000};
  ExpectGuessed(made.file());
  // One row that has something else there, and it is no padding.
  std::vector<std::uint8_t> whole = made.bytes;
  made.file_bytes = made.bytes.size();
  for (const std::ptrdiff_t row : {1, 2, 6}) {
    std::fill_n(made.bytes.begin() + 3 + 32 * row + 23, 9, std::uint8_t{7});
    ExpectGuessed(made.file());
    made.bytes = whole;
  }
  // What is in front of the last row is not looked at.
  std::fill_n(made.bytes.begin() + 3 + 32 * 10 + 23, 9, std::uint8_t{7});
  ExpectGuessed(made.file());
}

// More of a row than half is no padding of it.
TEST(GuessWhole, LooksForPaddingInHalfARow) {
  Random random(4);
  for (const std::uint64_t pixels : {9U, 15U, 16U, 17U}) {
    const std::uint64_t padding = 32 - pixels;
    Made made =
        Make({Kind::Bytes, 8, Pattern::Grey}, Scene::Patches, pixels, 14, 0, padding, false, 8, random);
    for (std::size_t y = 0; y < 14; ++y)
      std::fill_n(made.bytes.begin() + static_cast<std::ptrdiff_t>(32 * y + pixels), padding,
                  std::uint8_t{5});
    made.bytes.resize(made.bytes.size() - padding);
    made.file_bytes = made.bytes.size();
    SCOPED_TRACE(pixels);
    ExpectGuessed(made.file());
  }
}

// Longer rows than those are no rows.
TEST(GuessWhole, LooksForRowsOfAtMost128KiB) {
  Random random(5);
  for (const std::size_t row : {std::size_t{131072}, std::size_t{131500}}) {
    std::vector<std::uint8_t> bytes(row);
    for (std::uint8_t &byte : bytes) byte = static_cast<std::uint8_t>(random.Next());
    bytes.resize(4 * row);
    for (std::size_t i = row; i < bytes.size(); ++i)
      bytes[i] = static_cast<std::uint8_t>(bytes[i - row] + random.Below(3));
    const auto found = Guess({bytes.data(), bytes.size(), bytes.size()}, 16);
    const bool whole =
        std::any_of(found.begin(), found.end(), [](const kivo_candidate &s) { return s.height == 4; });
    EXPECT_EQ(whole, row == 131072);
  }
}

TEST(GuessWhole, TellsAsManyAsThereIsRoomFor) {
  const Made made = Series(74, 9, 8);
  const std::size_t all = GuessModel::Candidates(made.file()).size();
  ASSERT_GT(all, 2U);
  EXPECT_EQ(Guess(made.file(), 0).size(), 0U);
  EXPECT_EQ(Guess(made.file(), 2).size(), 2U);
  EXPECT_EQ(Guess(made.file(), 100).size(), all);
}

}  // namespace
}  // namespace KivoTest
