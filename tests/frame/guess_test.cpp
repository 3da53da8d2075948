// SPDX-License-Identifier: Apache-2.0
// kivo_guess(): that it reads no byte too many, whatever the bytes are, and finds small frames that are easy
// to find. How often it is right is counted with whole files, in tests/guess.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "KivoFrame.h"
#include "support/guarded_buffer.h"
#include "support/random.h"

namespace {

using KivoTest::GuardedBuffer;
using KivoTest::Random;

std::vector<kivo_candidate> Guess(const std::vector<std::uint8_t> &bytes, std::uint64_t fileBytes) {
  GuardedBuffer buffer(bytes.size());
  buffer.Assign(bytes);
  std::vector<kivo_candidate> found(16);
  std::size_t count = 99;
  EXPECT_EQ(kivo_guess(buffer.read_only(), bytes.size(), fileBytes, found.data(), found.size(), &count),
            KIVO_OK);
  EXPECT_LE(count, found.size());
  found.resize(count);
  return found;
}

// Patches and noise, of 12 bits.
unsigned Light(unsigned x, unsigned y, Random &random) {
  const unsigned patch = Random(x / 7 * 1000 + y / 5).Below(600);
  return 60 + patch + random.Below(30);
}

std::vector<std::uint8_t> Words(unsigned width, unsigned height, std::size_t header, unsigned padding,
                                bool big, bool mosaic) {
  Random random(5);
  std::vector<std::uint8_t> bytes(header);
  for (std::uint8_t &byte : bytes) byte = static_cast<std::uint8_t>(random.Below(256));
  for (unsigned y = 0; y < height; ++y) {
    for (unsigned x = 0; x < width; ++x) {
      const unsigned share = !mosaic || x % 2 != y % 2 ? 4 : x % 2 == 0 ? 2 : 3;
      const unsigned sample = Light(x, y, random) * share;
      bytes.push_back(static_cast<std::uint8_t>(big ? sample >> 8 : sample));
      bytes.push_back(static_cast<std::uint8_t>(big ? sample : sample >> 8));
    }
    bytes.insert(bytes.end(), padding, 0);
  }
  return bytes;
}

TEST(Guess, RefusesNullPointers) {
  kivo_candidate candidate;
  std::size_t count = 7;
  const std::uint8_t byte = 0;
  EXPECT_EQ(kivo_guess(nullptr, 1, 1, &candidate, 1, &count), KIVO_NULL_POINTER);
  EXPECT_EQ(count, 0u);
  count = 7;
  EXPECT_EQ(kivo_guess(&byte, 1, 1, nullptr, 1, &count), KIVO_NULL_POINTER);
  EXPECT_EQ(count, 0u);
  EXPECT_EQ(kivo_guess(&byte, 1, 1, &candidate, 1, nullptr), KIVO_NULL_POINTER);
}

TEST(Guess, SaysNothingOfNothing) {
  EXPECT_TRUE(Guess({}, 0).empty());
  EXPECT_TRUE(Guess({1, 2}, 2).empty());
  EXPECT_TRUE(Guess(std::vector<std::uint8_t>(100000, 0), std::uint64_t{10} << 30).empty());
  EXPECT_TRUE(Guess(std::vector<std::uint8_t>(100000, 255), UINT64_MAX).empty());
}

TEST(Guess, FindsWordsBehindAHeader) {
  for (const bool big : {false, true}) {
    const std::vector<kivo_candidate> found = Guess(Words(320, 200, 100, 24, big, true), 100 + 664 * 200);
    ASSERT_GE(found.size(), 2u);
    EXPECT_STREQ(kivo_format_of_code(found[0].code)->name, "BayerRG12");
    EXPECT_STREQ(kivo_format_of_code(found[1].code)->name, "BayerBG12");
    for (std::size_t i = 0; i < 2; ++i) {
      EXPECT_EQ(found[i].width, 320u);
      EXPECT_EQ(found[i].height, 200u);
      EXPECT_EQ(found[i].offset, 100u);
      EXPECT_EQ(found[i].stride, 664u);
      EXPECT_EQ(found[i].byte_order, std::uint32_t{big ? KIVO_BIG_ENDIAN : KIVO_LITTLE_ENDIAN});
      EXPECT_GT(found[i].bits, 0);
    }
  }
}

TEST(Guess, FindsGreyWithPackedRows) {
  const std::vector<kivo_candidate> found = Guess(Words(322, 202, 0, 0, false, false), 2 * 322 * 202);
  ASSERT_FALSE(found.empty());
  EXPECT_STREQ(kivo_format_of_code(found[0].code)->name, "Mono12");
  EXPECT_EQ(found[0].width, 322u);
  EXPECT_EQ(found[0].height, 202u);
  EXPECT_EQ(found[0].offset, 0u);
  EXPECT_EQ(found[0].stride, 0u);
}

TEST(Guess, GivesNoMoreThanAskedFor) {
  const std::vector<std::uint8_t> bytes = Words(320, 200, 0, 0, false, true);
  std::vector<kivo_candidate> found(3);
  std::size_t count = 0;
  ASSERT_EQ(kivo_guess(bytes.data(), bytes.size(), bytes.size(), found.data(), 1, &count), KIVO_OK);
  EXPECT_EQ(count, 1u);
  EXPECT_EQ(found[1].width, 0u);
  ASSERT_EQ(kivo_guess(bytes.data(), bytes.size(), bytes.size(), found.data(), 0, &count), KIVO_OK);
  EXPECT_EQ(count, 0u);
}

// Bytes of every kind, in buffers of odd sizes that end at an unreadable page; every candidate lies within
// the file.
TEST(Guess, StaysWithinItsBytes) {
  Random random(11);
  for (int i = 0; i < 16; ++i) {
    const std::size_t size = 64 + random.Below(i < 12 ? 3000 : 30000);
    std::vector<std::uint8_t> bytes(size);
    const unsigned period = 1 + random.Below(500), noise = 1 + random.Below(255);
    for (std::size_t k = 0; k < size; ++k)
      bytes[k] = static_cast<std::uint8_t>(k % period * 7 / 3 + random.Below(noise));
    const std::uint64_t fileBytes = random.Below(2) == 0 ? size : size + random.Below(100000);
    for (const kivo_candidate &c : Guess(bytes, fileBytes)) {
      const std::uint64_t row = kivo_row_bytes(c.code, c.width);
      const std::uint64_t needed =
          c.stride == 0 ? kivo_frame_bytes(c.code, c.width, c.height) : c.stride * (c.height - 1) + row;
      EXPECT_LE(c.offset + needed, fileBytes) << kivo_format_of_code(c.code)->name;
      EXPECT_TRUE(c.stride == 0 || c.stride > row);
    }
  }
}

}  // namespace
