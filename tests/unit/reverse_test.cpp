// SPDX-License-Identifier: Apache-2.0
#include <algorithm>

#include "support/unit.h"

namespace KivoTest {
namespace {

enum Flags { kCopy = 0, kMirror = 1, kFlip = 2, kHalfTurn = 3 };

Bytes Reversed(std::uint32_t code, const Bytes &frame, std::uint32_t width, std::uint32_t height, int flags) {
  GuardedBuffer src(frame.size()), dst(frame.size());
  src.Assign(frame);
  dst.Fill(kUntouched);
  EXPECT_EQ(ReverseImg(dst.data(), src.read_only(), code, width, height, (flags & kMirror) != 0,
                       (flags & kFlip) != 0),
            CAMUTL_STS_SUCCESS);
  EXPECT_TRUE(dst.Intact());
  return dst.Copy();
}

TEST(Reverse, OneByteUnits) {
  ForEachTarget([] {
    EXPECT_EQ(Reversed(0x01080001, {1, 2, 3}, 3, 1, kCopy), (Bytes{1, 2, 3}));
    EXPECT_EQ(Reversed(0x01080001, {1, 2, 3}, 3, 1, kMirror), (Bytes{3, 2, 1}));
    EXPECT_EQ(Reversed(0x01080001, {1, 2, 3}, 3, 1, kFlip), (Bytes{1, 2, 3}));
    EXPECT_EQ(Reversed(0x01080001, {1, 2, 3}, 3, 1, kHalfTurn), (Bytes{3, 2, 1}));
  });
}

TEST(Reverse, TwoByteUnits) {
  ForEachTarget([] {
    const Bytes frame = Words16({0xA0A1, 0xB0B1, 0xC0C1, 0xD0D1});
    EXPECT_EQ(Reversed(0x01100007, frame, 2, 2, kFlip), Words16({0xC0C1, 0xD0D1, 0xA0A1, 0xB0B1}));
    EXPECT_EQ(Reversed(0x01100007, frame, 2, 2, kMirror), Words16({0xB0B1, 0xA0A1, 0xD0D1, 0xC0C1}));
    EXPECT_EQ(Reversed(0x01100007, frame, 2, 2, kHalfTurn), Words16({0xD0D1, 0xC0C1, 0xB0B1, 0xA0A1}));
  });
}

TEST(Reverse, PixelsOfThreeAndSixBytesKeepTheirInside) {
  ForEachTarget([] {
    EXPECT_EQ(Reversed(0x02180014, {1, 2, 3, 4, 5, 6}, 2, 1, kMirror), (Bytes{4, 5, 6, 1, 2, 3}));
    EXPECT_EQ(Reversed(0x02180015, {1, 2, 3, 4, 5, 6}, 1, 2, kFlip), (Bytes{4, 5, 6, 1, 2, 3}));
    for (const std::uint32_t code : {0x02300018u, 0x02300019u, 0x0230001Bu})
      EXPECT_EQ(Reversed(code, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}, 2, 1, kHalfTurn),
                (Bytes{7, 8, 9, 10, 11, 12, 1, 2, 3, 4, 5, 6}));
  });
}

TEST(Reverse, YuvGroupsKeepTheirChroma) {
  ForEachTarget([] {
    EXPECT_EQ(Reversed(0x0210001F, {10, 20, 30, 40}, 2, 1, kMirror), (Bytes{10, 40, 30, 20}));
    EXPECT_EQ(Reversed(0x0210001F, {10, 20, 30, 40}, 2, 1, kHalfTurn), (Bytes{10, 40, 30, 20}));
    EXPECT_EQ(Reversed(0x020C001E, {1, 2, 3, 4, 5, 6}, 4, 1, kMirror), (Bytes{1, 6, 5, 4, 3, 2}));
    EXPECT_EQ(Reversed(0x020C001E, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}, 4, 2, kHalfTurn),
              (Bytes{7, 12, 11, 10, 9, 8, 1, 6, 5, 4, 3, 2}));
    EXPECT_EQ(Reversed(0x020C001E, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}, 4, 2, kFlip),
              (Bytes{7, 8, 9, 10, 11, 12, 1, 2, 3, 4, 5, 6}));
  });
}

TEST(Reverse, RaggedYuvWidths) {
  ForEachTarget([] {
    // Width 3 of 4:2:2: a row is 6 bytes and holds one group, the one that starts at byte 2; the next row's
    // group starts 8 bytes on. The destination rows are packed.
    Bytes source(16), expected;
    for (std::size_t i = 0; i < 16; ++i) source[i] = static_cast<std::uint8_t>(i + 1);
    Bytes dst(12, kUntouched);
    EXPECT_EQ(ReverseImg(dst.data(), source.data(), 0x0210001F, 3, 2, true, false), 0);
    EXPECT_EQ(dst, (Bytes{3, 6, 5, 4, 11, 14, 13, 12, kUntouched, kUntouched, kUntouched, kUntouched}));
    // Half turn of 3 x 3: 18 bytes, four groups from the end, the first two bytes left out.
    source.resize(18);
    source[16] = 17;
    source[17] = 18;
    dst.assign(18, kUntouched);
    EXPECT_EQ(ReverseImg(dst.data(), source.data(), 0x0210001F, 3, 3, true, true), 0);
    EXPECT_EQ(dst, (Bytes{15, 18, 17, 16, 11, 14, 13, 12, 7, 10, 9, 8, 3, 6, 5, 4, kUntouched, kUntouched}));
    // Width 6 of 4:1:1: 9 bytes a row, one group that starts at byte 3, 12 bytes on in the next row.
    source.resize(21);
    for (std::size_t i = 0; i < 21; ++i) source[i] = static_cast<std::uint8_t>(i + 1);
    dst.assign(18, kUntouched);
    EXPECT_EQ(ReverseImg(dst.data(), source.data(), 0x020C001E, 6, 2, true, false), 0);
    const std::uint8_t k = kUntouched;
    EXPECT_EQ(dst, (Bytes{4, 9, 8, 7, 6, 5, 16, 21, 20, 19, 18, 17, k, k, k, k, k, k}));
    // The flip moves rows of (3 x width) / 2 bytes: 4 for a width of 3.
    dst.assign(9, kUntouched);
    EXPECT_EQ(ReverseImg(dst.data(), source.data(), 0x020C001E, 3, 2, false, true), 0);
    EXPECT_EQ(dst, (Bytes{5, 6, 7, 8, 1, 2, 3, 4, k}));
    // The copy moves (3 x width x height) / 2.
    EXPECT_EQ(ReverseImg(dst.data(), source.data(), 0x020C001E, 3, 2, false, false), 0);
    EXPECT_EQ(dst, (Bytes{1, 2, 3, 4, 5, 6, 7, 8, 9}));
  });
}

TEST(Reverse, EveryFormatAndFlagPairOnSmallFrames) {
  ForEachTarget([] {
    Random random(21);
    for (const Reference::ReverseFormat &format : Reference::kReverseFormats) {
      for (std::uint32_t height = 0; height <= 5; ++height) {
        for (std::uint32_t width = 0; width <= 21; ++width) {
          for (int flags = 0; flags < 4; ++flags) {
            const bool horizontal = (flags & kMirror) != 0, vertical = (flags & kFlip) != 0;
            GuardedBuffer src(
                Reference::ReverseSourceBytes(format.unit, width, height, horizontal, vertical));
            GuardedBuffer dst(Reference::FrameBytes(format.unit, width, height));
            for (std::size_t i = 0; i < src.size(); ++i)
              src.data()[i] = static_cast<std::uint8_t>(random.Next());
            dst.Fill(kUntouched);
            Bytes expected(dst.size(), kUntouched);
            Reference::Reverse(format.unit, expected.data(), src.read_only(), width, height, horizontal,
                               vertical);
            ASSERT_EQ(
                ReverseImg(dst.data(), src.read_only(), format.code, width, height, horizontal, vertical), 0);
            ASSERT_EQ(dst.Copy(), expected)
                << std::hex << format.code << std::dec << " " << width << "x" << height << " flags " << flags;
          }
        }
      }
    }
  });
}

TEST(Reverse, OtherFormatsAreRefused) {
  const auto handled = [](std::uint32_t code) {
    return std::any_of(std::begin(Reference::kReverseFormats), std::end(Reference::kReverseFormats),
                       [&](const Reference::ReverseFormat &format) { return format.code == code; });
  };
  EXPECT_EQ(std::size(Reference::kReverseFormats), 23u);
  std::uint8_t dst[6] = {9, 9, 9, 9, 9, 9};
  const std::uint8_t src[6] = {1, 2, 3, 4, 5, 6};
  const auto expect = [&](std::uint32_t code) {
    if (handled(code)) return;
    for (int flags = 0; flags < 4; ++flags)
      ASSERT_EQ(ReverseImg(dst, src, code, 1, 1, (flags & 1) != 0, (flags & 2) != 0),
                CAMUTL_STS_UNSUPPORTED_FORMAT)
          << std::hex << code;
  };
  EXPECT_FALSE(handled(0x0230001A));
  EXPECT_FALSE(handled(0x02180020));
  EXPECT_TRUE(handled(0x02300018));
  for (const std::uint32_t high : {0x0000u, 0x0108u, 0x0110u, 0x020Cu, 0x0210u, 0x0218u, 0x0230u, 0xFFFFu})
    for (std::uint32_t low = 0; low < 65536; ++low) expect(high << 16 | low);
  for (const Reference::ReverseFormat &format : Reference::kReverseFormats)
    for (unsigned bit = 0; bit < 32; ++bit) expect(format.code ^ (1u << bit));
  EXPECT_EQ(Bytes(dst, dst + 6), Bytes(6, 9));
}

TEST(Reverse, PointersAreCheckedBeforeTheFormat) {
  std::uint8_t dst[4] = {9, 9, 9, 9};
  const std::uint8_t src[4] = {};
  for (const std::uint32_t code : {0x01080001u, 0x0230001Au, 0u}) {
    EXPECT_EQ(ReverseImg(nullptr, src, code, 1, 1, false, false), CAMUTL_STS_INVALID_PARAMETER);
    EXPECT_EQ(ReverseImg(dst, nullptr, code, 1, 1, true, false), CAMUTL_STS_INVALID_PARAMETER);
    EXPECT_EQ(ReverseImg(nullptr, nullptr, code, 0, 0, true, true), CAMUTL_STS_INVALID_PARAMETER);
  }
  EXPECT_EQ(Bytes(dst, dst + 4), Bytes(4, 9));
}

TEST(Reverse, AnEmptyFrameTouchesNothing) {
  ForEachTarget([] {
    GuardedBuffer src(0), dst(0);
    for (const Reference::ReverseFormat &format : Reference::kReverseFormats)
      for (int flags = 0; flags < 4; ++flags)
        for (const auto &[width, height] : {std::pair{0u, 0u}, {0u, 3u}, {3u, 0u}, {0xFFFFFFFFu, 0u}})
          EXPECT_EQ(ReverseImg(dst.data(), src.read_only(), format.code, width, height, (flags & 1) != 0,
                               (flags & 2) != 0),
                    CAMUTL_STS_SUCCESS);
  });
}

}  // namespace
}  // namespace KivoTest
