// SPDX-License-Identifier: Apache-2.0
// What the TIFF and DNG writers write, read by hand as TIFF 6.0 says it; what they refuse; and which files
// count as whole.
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "files/byte_sink.h"
#include "pictures/picture_tiff.h"
#include "words/failure.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

// Keeps the beginning, counts all, and takes no more than there is space for.
class Memory : public tool::ByteSink {
 public:
  explicit Memory(std::uint64_t kept, std::uint64_t space = UINT64_MAX) : kept_(kept), space_(space) {}
  Bytes bytes;
  std::uint64_t count = 0;

  std::string name() const override { return "memory"; }

 protected:
  int drain(const std::uint8_t *data, std::size_t size) noexcept override {
    if (size > space_ - count) return ENOSPC;
    count += size;
    bytes.insert(bytes.end(), data,
                 data + std::min<std::uint64_t>(size, kept_ - std::min<std::uint64_t>(kept_, bytes.size())));
    return 0;
  }

 private:
  std::uint64_t kept_, space_;
};

// Row y has bytes y, y + 1, ...
tool::Rows counted(std::uint32_t width, std::uint32_t height, unsigned channels, unsigned bits) {
  const std::size_t size = std::size_t{width} * channels * (bits / 8);
  return {width, height, channels, bits, 0, [size](std::uint32_t y, std::uint8_t *space) {
            for (std::size_t i = 0; i < size; ++i) space[i] = static_cast<std::uint8_t>(y + i);
            return space;
          }};
}

std::uint64_t number(const Bytes &bytes, std::size_t at, unsigned count) {
  std::uint64_t value = 0;
  for (unsigned i = 0; i < count; ++i) value = value << 8 | bytes.at(at + i);
  return value;
}

// The values of a directory by tag; a fraction is one number, times 10000.
std::map<unsigned, std::vector<long>> directory(const Bytes &file) {
  std::map<unsigned, std::vector<long>> found;
  EXPECT_EQ(number(file, 0, 4), 0x4D4D002AU);
  const std::size_t begin = number(file, 4, 4), entries = number(file, begin, 2);
  for (std::size_t i = 0; i < entries; ++i) {
    const std::size_t at = begin + 2 + 12 * i;
    const unsigned type = static_cast<unsigned>(number(file, at + 2, 2));
    const unsigned size = type == 5 || type == 10 ? 8 : type == 4 ? 4 : type == 3 ? 2 : 1;
    const std::size_t count = number(file, at + 4, 4);
    const std::size_t values = size * count > 4 ? number(file, at + 8, 4) : at + 8;
    for (std::size_t v = 0; v < count; ++v) {
      const std::size_t place = values + size * v;
      if (size == 8)
        found[static_cast<unsigned>(number(file, at, 2))].push_back(
            std::lround(10000.0 * static_cast<std::int32_t>(number(file, place, 4)) /
                        static_cast<double>(number(file, place + 4, 4))));
      else
        found[static_cast<unsigned>(number(file, at, 2))].push_back(
            static_cast<long>(number(file, place, size)));
    }
  }
  EXPECT_EQ(number(file, begin + 2 + 12 * entries, 4), 0U);
  return found;
}

Bytes tiff(const tool::Rows &rows) {
  Memory memory(UINT64_MAX);
  tool::encodeTiff(rows, memory);
  memory.finish();
  return memory.bytes;
}

Bytes dng(const tool::Rows &rows, const tool::DngFacts &facts) {
  Memory memory(UINT64_MAX);
  tool::encodeDng(rows, facts, memory);
  memory.finish();
  return memory.bytes;
}

TEST(TiffWriter, DescribesAndKeepsTheSamples) {
  for (const unsigned channels : {1U, 3U}) {
    for (const unsigned bits : {8U, 16U}) {
      const tool::Rows rows = counted(7, 5, channels, bits);
      const Bytes file = tiff(rows);
      auto tags = directory(file);
      const auto is = [&tags](unsigned tag, const std::vector<long> &values) {
        EXPECT_EQ(tags[tag], values) << tag;
        tags.erase(tag);
      };
      const long size = static_cast<long>(rows.rowBytes()) * 5;
      is(254, {0});
      is(256, {7});
      is(257, {5});
      is(258, std::vector<long>(channels, static_cast<long>(bits)));
      is(259, {1});
      is(262, {channels == 1 ? 1 : 2});
      is(273, {1024});
      is(274, {1});
      is(277, {static_cast<long>(channels)});
      is(278, {5});
      is(279, {size});
      is(282, {720000});
      is(283, {720000});
      is(284, {1});
      is(296, {2});
      is(305, {'k', 'i', 'v', 'o', 'c', 'a', 'm', 0});
      EXPECT_TRUE(tags.empty()) << tags.begin()->first;
      ASSERT_EQ(file.size(), 1024U + static_cast<std::size_t>(size));
      Bytes space(rows.rowBytes());
      for (std::uint32_t y = 0; y < 5; ++y) {
        rows.row(y, space.data());
        EXPECT_TRUE(std::equal(space.begin(), space.end(),
                               file.begin() + 1024 + static_cast<long>(y * space.size())));
      }
    }
  }
}

TEST(TiffWriter, TellsRawConvertersWhatTheyNeed) {
  tool::DngFacts facts;
  facts.order = "GBRG";
  facts.black = 65;
  facts.white = 4095;
  facts.neutral = {0.4687F, 1, 0.6244F};
  auto tags = directory(dng(counted(6, 4, 1, 16), facts));
  EXPECT_EQ(tags[262], std::vector<long>{32803});
  EXPECT_EQ(tags[33421], (std::vector<long>{2, 2}));
  EXPECT_EQ(tags[33422], (std::vector<long>{1, 2, 0, 1}));
  EXPECT_EQ(tags[50706], (std::vector<long>{1, 4, 0, 0}));
  EXPECT_EQ(tags[50707], (std::vector<long>{1, 1, 0, 0}));
  EXPECT_EQ(tags[50710], (std::vector<long>{0, 1, 2}));
  EXPECT_EQ(tags[50711], std::vector<long>{1});
  EXPECT_EQ(tags[50714], std::vector<long>{650000});
  EXPECT_EQ(tags[50717], std::vector<long>{4095});
  EXPECT_EQ(tags[50721], (std::vector<long>{32406, -15372, -4986, -9689, 18758, 415, 557, -2040, 10570}));
  EXPECT_EQ(tags[50728], (std::vector<long>{4687, 10000, 6244}));
  EXPECT_EQ(tags[50778], std::vector<long>{21});

  facts.order.clear();
  tags = directory(dng(counted(6, 4, 1, 8), facts));
  EXPECT_EQ(tags[262], std::vector<long>{34892});
  EXPECT_EQ(tags[50717], std::vector<long>{4095});
  EXPECT_EQ(tags.count(33422) + tags.count(50721) + tags.count(50728), 0U);
}

TEST(TiffWriter, WritesWhatPositionsOf32BitsReach) {
  // Rows of 64 KiB that are made once.
  const Bytes row(65536);
  tool::Rows rows = {65536, 65534, 1, 8, 0, [&row](std::uint32_t, std::uint8_t *) { return row.data(); }};
  Memory memory(4096);
  tool::encodeTiff(rows, memory);
  memory.finish();
  EXPECT_EQ(memory.count, 65536ULL * 65534 + 1024);
  EXPECT_EQ(directory(memory.bytes)[279], std::vector<long>{65536L * 65534});
  EXPECT_TRUE(tool::isWholeTiff(memory.bytes.data(), 1024, memory.count));

  rows.height = 65536;
  Memory none(4096);
  try {
    tool::encodeDng(rows, {}, none);
    FAIL() << "4 GiB are written";
  } catch (const tool::Failure &failure) {
    EXPECT_EQ(failure.code(), tool::Exit::Unsupported);
    EXPECT_STREQ(failure.what(), "memory: cannot be a DNG picture: it would have more than 4 GB");
  }
  EXPECT_EQ(none.count, 0U);
}

TEST(TiffWriter, TellsThatSpaceIsOver) {
  const Bytes row(300000);
  const tool::Rows rows = {300000, 3, 1, 8, 0, [&row](std::uint32_t, std::uint8_t *) { return row.data(); }};
  for (const std::uint64_t space : {0ULL, 1023ULL, 1024ULL, 500000ULL, 901023ULL}) {
    Memory memory(0, space);
    try {
      tool::encodeTiff(rows, memory);
      memory.finish();
      FAIL() << space;
    } catch (const tool::Failure &failure) {
      EXPECT_STREQ(failure.what(), "memory: cannot be written: No space left on device");
    }
  }
  Memory enough(0, 901024);
  tool::encodeTiff(rows, enough);
  enough.finish();
}

TEST(TiffWriter, WritesOnManyThreads) {
  const tool::Rows rows = counted(9, 9, 1, 16);
  tool::DngFacts facts;
  facts.order = "RGGB";
  const Bytes wanted = dng(rows, facts);
  std::vector<Bytes> found(4);
  std::vector<std::thread> threads;
  for (Bytes &file : found)
    threads.emplace_back([&] {
      for (int i = 0; i < 50; ++i) file = dng(rows, facts);
    });
  for (std::thread &thread : threads) thread.join();
  for (const Bytes &file : found) EXPECT_EQ(file, wanted);
}

TEST(WholeTiff, IsOneOfItsWholeLength) {
  const Bytes file = tiff(counted(30, 20, 3, 8));
  const auto whole = [](const Bytes &bytes) {
    return tool::isWholeTiff(bytes.data(), std::min<std::size_t>(bytes.size(), tool::kTiffHead),
                             bytes.size());
  };
  EXPECT_TRUE(whole(file));
  for (std::size_t size = 0; size < file.size(); ++size)
    EXPECT_FALSE(whole(Bytes(file.begin(), file.begin() + static_cast<long>(size)))) << size;
  Bytes longer = file;
  longer.push_back(0);
  EXPECT_FALSE(whole(longer));
  // Whatever a head has become: an answer, and nothing is printed.
  testing::internal::CaptureStderr();
  EXPECT_FALSE(whole(Bytes(file.size())));
  for (std::size_t i = 0; i < 300; ++i) {
    Bytes other = file;
    other[i] = static_cast<std::uint8_t>(other[i] ^ 0xFF);
    whole(other);
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

}  // namespace
