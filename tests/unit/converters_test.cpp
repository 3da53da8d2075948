// SPDX-License-Identifier: Apache-2.0
// What all converters have in common: the order of their checks and what they do with nothing to convert.
#include <limits>

#include "support/unit.h"

namespace KivoTest {
namespace {

// The name with the last occurrence of a part replaced.
std::string Replaced(const std::string &name, const std::string &part, const char *by) {
  const std::size_t at = name.rfind(part);
  if (at == std::string::npos) return name;
  std::string result = name.substr(0, at);
  result += by;
  result += name.substr(at + part.size());
  return result;
}

class Converters : public testing::Test {
 protected:
  static void SetUpTestSuite() { PrepareLUT(); }
};

TEST_F(Converters, ThereAre72) {
  EXPECT_EQ(AllConverters().size(), 72u);
}

TEST_F(Converters, NullPointersAreRefusedAndNothingIsWritten) {
  GuardedBuffer src(64), dst(64);
  dst.Fill(kUntouched);
  for (const Converter &converter : AllConverters()) {
    SCOPED_TRACE(converter.name);
    EXPECT_EQ(converter(nullptr, src.read_only(), 2, 2, 2), CAMUTL_STS_INVALID_PARAMETER);
    EXPECT_EQ(converter(dst.data(), nullptr, 2, 2, 2), CAMUTL_STS_INVALID_PARAMETER);
    EXPECT_EQ(converter(nullptr, nullptr, 2, 2, 2), CAMUTL_STS_INVALID_PARAMETER);
    EXPECT_EQ(converter(nullptr, src.read_only(), 0, 0, 2), CAMUTL_STS_INVALID_PARAMETER);
    EXPECT_EQ(converter(dst.data(), nullptr, 0, 0, 2), CAMUTL_STS_INVALID_PARAMETER);
  }
  EXPECT_EQ(dst.Copy(), Bytes(64, kUntouched));
}

TEST_F(Converters, AnEmptyImageTouchesNothing) {
  ForEachTarget([] {
    // Both pointers lie on unreadable pages: any access faults.
    GuardedBuffer src(0), dst(0);
    constexpr std::uint32_t kMax = std::numeric_limits<std::uint32_t>::max();
    for (const Converter &converter : AllConverters()) {
      SCOPED_TRACE(converter.name);
      for (const auto &[width, height] :
           {std::pair{0u, 0u}, {0u, 1u}, {1u, 0u}, {0u, 4u}, {4u, 0u}, {0u, kMax}, {kMax, 0u}})
        EXPECT_EQ(converter(dst.data(), src.read_only(), width, height, 3), CAMUTL_STS_SUCCESS);
    }
  });
}

TEST_F(Converters, RunsCountPixelsModulo32Bits) {
  ForEachTarget([] {
    GuardedBuffer src(0), dst(0);
    for (const Converter &converter : AllConverters()) {
      if (converter.layout == Layout::kBayer) continue;
      SCOPED_TRACE(converter.name);
      EXPECT_EQ(converter(dst.data(), src.read_only(), 65536, 65536, 2), CAMUTL_STS_SUCCESS);
      EXPECT_EQ(converter(dst.data(), src.read_only(), 0x80000000, 2, 2), CAMUTL_STS_SUCCESS);
    }
    // 65537 x 65536 is one row of 65536 pixels once the product has wrapped.
    for (const Converter &converter : AllConverters()) {
      if (converter.layout == Layout::kBayer) continue;
      SCOPED_TRACE(converter.name);
      const std::size_t bytes = SourceBytes(converter, 65536, 1);
      GuardedBuffer input(bytes), output(DestinationBytes(converter, 65536, 1));
      for (std::size_t i = 0; i < bytes; ++i) input.data()[i] = static_cast<std::uint8_t>(i * 7 + i / 256);
      EXPECT_EQ(converter(output.data(), input.read_only(), 65537, 65536, 2), CAMUTL_STS_SUCCESS);
      Bytes expected(output.size());
      Reference::Convert(converter, expected.data(), input.read_only(), 65536, 1, 2);
      EXPECT_EQ(output.Copy(), expected);
    }
  });
}

TEST_F(Converters, TheBlockCopyCountsBytesModulo32Bits) {
  ForEachTarget([] {
    // Three times this width is 2^32 + 2: two bytes are copied.
    GuardedBuffer src(2), dst(2);
    src.Assign({0xAB, 0xCD});
    EXPECT_EQ(ConvBGR8PToBGR(dst.data(), src.read_only(), 0x55555556, 1), CAMUTL_STS_SUCCESS);
    EXPECT_EQ(dst.Copy(), (Bytes{0xAB, 0xCD}));
  });
}

TEST_F(Converters, BgrIsBgraWithoutEveryFourthByte) {
  ForEachTarget([] {
    Random random(3);
    for (const Converter &bgra : AllConverters()) {
      // The 4:2:2 pair reads its source at different strides, and one ACPI order leaves a byte alone.
      if (bgra.output() != Output::kBgra || bgra.layout == Layout::kYuv422) continue;
      const std::string twin = Replaced(bgra.name, "BGRA", "BGR");
      SCOPED_TRACE(twin);
      const Converter &bgr = Find(twin);
      Bytes source(SourceBytes(bgra, 22, 14));
      for (std::uint8_t &byte : source) byte = static_cast<std::uint8_t>(random.Next());
      Bytes words(22 * 14 * 4), bytes(22 * 14 * 3);
      bgra(words.data(), source.data(), 22, 14, 3);
      bgr(bytes.data(), source.data(), 22, 14, 3);
      for (std::size_t i = 0; i < 22 * 14; ++i) {
        if (bgra.family == Family::kAcpi8 && bgra.order == Order::kBG && i == 22 + 21) continue;
        ASSERT_EQ(Bytes(&words[4 * i], &words[4 * i] + 3), Bytes(&bytes[3 * i], &bytes[3 * i] + 3)) << i;
        ASSERT_EQ(words[4 * i + 3], 255);
      }
    }
  });
}

TEST_F(Converters, AWrapperIsItsWorkerWithItsShift) {
  ForEachTarget([] {
    Random random(4);
    for (const Converter &wrapper : AllConverters()) {
      if (!wrapper.is_wide() || wrapper.is_worker()) continue;
      const std::string depth = std::to_string(8 + (wrapper.shift == 8 ? 8 : wrapper.shift));
      const bool packed = wrapper.layout == Layout::kRgb || wrapper.layout == Layout::kBgr;
      const std::string name = Replaced(wrapper.name, packed ? depth + "P" : depth, "N");
      SCOPED_TRACE(wrapper.name);
      const Converter &worker = Find(name);
      Bytes source(SourceBytes(wrapper, 18, 7));
      for (std::uint8_t &byte : source) byte = static_cast<std::uint8_t>(random.Next());
      Bytes one(DestinationBytes(wrapper, 18, 7)), two = one;
      wrapper(one.data(), source.data(), 18, 7);
      worker(two.data(), source.data(), 18, 7, static_cast<std::uint32_t>(wrapper.shift));
      EXPECT_EQ(one, two);
    }
  });
}

}  // namespace
}  // namespace KivoTest
