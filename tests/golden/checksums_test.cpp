// SPDX-License-Identifier: Apache-2.0
// One checksum for every converter and every reversal on fixed frames, so that a change of the library and of
// its reference at once does not go unseen. After a deliberate change the program prints the new file:
//   golden_checksums --print > expected_checksums.txt
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <map>
#include <sstream>

#include "support/content.h"
#include "support/unit.h"

namespace KivoTest {
namespace {

std::uint64_t Fnv1a(const Bytes &bytes) {
  std::uint64_t hash = 0xCBF29CE484222325u;
  for (const std::uint8_t byte : bytes) hash = (hash ^ byte) * 0x100000001B3u;
  return hash;
}

constexpr std::uint32_t kWidth = 66, kHeight = 38;

Bytes Source(std::size_t bytes, Content content) {
  Random random(2024);
  return MakeSamples8(random, content, bytes, kWidth);
}

// Name and destination of everything below; produce fills a destination that holds kUntouched.
using Produce = std::function<void(Bytes &dst, const Bytes &src)>;
using Visit = std::function<void(const std::string &name, std::size_t src, std::size_t dst,
                                 const Produce &library, const Produce &reference)>;

void ForEverything(const Visit &visit) {
  for (const Converter &converter : AllConverters()) {
    visit(
        converter.name, SourceBytes(converter, kWidth, kHeight), DestinationBytes(converter, kWidth, kHeight),
        [&](Bytes &dst, const Bytes &src) { converter(dst.data(), src.data(), kWidth, kHeight, 6); },
        [&](Bytes &dst, const Bytes &src) {
          Reference::Convert(converter, dst.data(), src.data(), kWidth, kHeight, 6);
        });
  }
  for (const Reference::ReverseFormat &format : Reference::kReverseFormats) {
    for (int flags = 0; flags < 4; ++flags) {
      const bool horizontal = (flags & 1) != 0, vertical = (flags & 2) != 0;
      char name[64];
      std::snprintf(name, sizeof name, "ReverseImg_%08" PRIX32 "_%d", format.code, flags);
      visit(
          name, Reference::ReverseSourceBytes(format.unit, kWidth, kHeight, horizontal, vertical),
          Reference::FrameBytes(format.unit, kWidth, kHeight),
          [&](Bytes &dst, const Bytes &src) {
            ReverseImg(dst.data(), src.data(), format.code, kWidth, kHeight, horizontal, vertical);
          },
          [&](Bytes &dst, const Bytes &src) {
            Reference::Reverse(format.unit, dst.data(), src.data(), kWidth, kHeight, horizontal, vertical);
          });
    }
  }
}

std::uint64_t Checksum(std::size_t src_bytes, std::size_t dst_bytes, const Produce &produce) {
  Bytes all;
  for (const Content content : {Content::kRandom, Content::kExtremes, Content::kTies, Content::kNatural}) {
    Bytes dst(dst_bytes, kUntouched);
    produce(dst, Source(src_bytes, content));
    all.insert(all.end(), dst.begin(), dst.end());
  }
  return Fnv1a(all);
}

void PrintReference() {
  ForEverything([](const std::string &name, std::size_t src, std::size_t dst, const Produce &,
                   const Produce &reference) {
    std::printf("%s %016" PRIx64 "\n", name.c_str(), Checksum(src, dst, reference));
  });
}

TEST(Golden, Checksums) {
  std::ifstream file(KIVO_GOLDEN_FILE);
  std::map<std::string, std::uint64_t> expected;
  std::string name, hash;
  while (file >> name >> hash) expected[name] = std::stoull(hash, nullptr, 16);
  ASSERT_EQ(expected.size(), 72u + 23u * 4u);
  PrepareLUT();
  std::size_t seen = 0;
  ForEverything([&](const std::string &what, std::size_t src, std::size_t dst, const Produce &,
                    const Produce &reference) {
    EXPECT_EQ(Checksum(src, dst, reference), expected[what]) << "reference of " << what;
    ++seen;
  });
  EXPECT_EQ(seen, expected.size());
  ForEachTarget([&] {
    ForEverything([&](const std::string &what, std::size_t src, std::size_t dst, const Produce &library,
                      const Produce &) { EXPECT_EQ(Checksum(src, dst, library), expected[what]) << what; });
  });
}

}  // namespace
}  // namespace KivoTest

int main(int argc, char **argv) {
  if (argc == 2 && std::strcmp(argv[1], "--print") == 0) {
    KivoTest::PrintReference();
    return 0;
  }
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
