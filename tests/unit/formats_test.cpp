// SPDX-License-Identifier: Apache-2.0
// The pixel-format queries against a second copy of the catalogue.
#include <gtest/gtest.h>

#include <cstdint>

#include "KivoCamUtl.h"

namespace {

enum Type { kMono = 1, kRgb = 2, kBayer = 4, kYuv = 8 };

struct Row {
  std::uint32_t code;
  std::uint8_t depth;
  Type type;
  std::uint32_t bits;
};

constexpr Row kCatalogue[] = {
    {0x01080001, 8, kMono, 8},    {0x01100003, 10, kMono, 16},  {0x01100005, 12, kMono, 16},
    {0x01100007, 16, kMono, 16},  {0x01080008, 8, kBayer, 8},   {0x01080009, 8, kBayer, 8},
    {0x0108000A, 8, kBayer, 8},   {0x0108000B, 8, kBayer, 8},   {0x0110000C, 10, kBayer, 16},
    {0x0110000D, 10, kBayer, 16}, {0x0110000E, 10, kBayer, 16}, {0x0110000F, 10, kBayer, 16},
    {0x01100010, 12, kBayer, 16}, {0x01100011, 12, kBayer, 16}, {0x01100012, 12, kBayer, 16},
    {0x01100013, 12, kBayer, 16}, {0x02180014, 8, kRgb, 24},    {0x02180015, 8, kRgb, 24},
    {0x02300019, 10, kRgb, 48},   {0x020C001E, 8, kYuv, 12},    {0x0210001F, 8, kYuv, 16},
    {0x02180020, 8, kYuv, 24}};

const Row *InCatalogue(std::uint32_t code) {
  for (const Row &row : kCatalogue)
    if (row.code == code) return &row;
  return nullptr;
}

void ExpectAnswers(std::uint32_t code) {
  const Row *const row = InCatalogue(code);
  ASSERT_EQ(DataDepth(code), row == nullptr ? 0 : row->depth) << std::hex << code;
  ASSERT_EQ(IsMonochromic(code), row == nullptr || row->type == kMono) << std::hex << code;
  ASSERT_EQ(IsPixelBayer(code), row != nullptr && row->type == kBayer) << std::hex << code;
  ASSERT_EQ(BitPerPixel(code), code / 65536 % 256) << std::hex << code;
}

TEST(Formats, CatalogueHas22Rows) {
  EXPECT_EQ(std::size(kCatalogue), 22u);
}

TEST(Formats, EveryRow) {
  for (const Row &row : kCatalogue) {
    EXPECT_EQ(BitPerPixel(row.code), row.bits) << std::hex << row.code;
    ExpectAnswers(row.code);
  }
}

TEST(Formats, BitPerPixelNeedsNoCatalogue) {
  EXPECT_EQ(BitPerPixel(0x01080001), 8u);
  EXPECT_EQ(BitPerPixel(0x020C001E), 12u);
  EXPECT_EQ(BitPerPixel(0x02180020), 24u);
  EXPECT_EQ(BitPerPixel(0x0230001B), 48u);
  EXPECT_EQ(BitPerPixel(0), 0u);
  EXPECT_EQ(BitPerPixel(0xFFFFFFFF), 255u);
}

TEST(Formats, DataDepth) {
  EXPECT_EQ(DataDepth(0x0110000F), 10);
  EXPECT_EQ(DataDepth(0x01100007), 16);
  EXPECT_EQ(DataDepth(0x0230001B), 0);  // dispatched, but not in the catalogue
  EXPECT_EQ(DataDepth(0x02300018), 0);
  EXPECT_EQ(DataDepth(0x0230001A), 0);
}

TEST(Formats, UnknownCodesAreMonochromicAndNotBayer) {
  EXPECT_TRUE(IsMonochromic(0x01080001));
  EXPECT_FALSE(IsMonochromic(0x01080008));
  EXPECT_FALSE(IsMonochromic(0x02180014));
  EXPECT_TRUE(IsMonochromic(0x0230001B));
  EXPECT_TRUE(IsMonochromic(0));
  EXPECT_TRUE(IsPixelBayer(0x01100013));
  EXPECT_FALSE(IsPixelBayer(0x01080001));
  EXPECT_FALSE(IsPixelBayer(0));
}

TEST(Formats, TheWholeCodeIsCompared) {
  ExpectAnswers(0x81080001);
  for (const Row &row : kCatalogue)
    for (unsigned bit = 0; bit < 32; ++bit) ExpectAnswers(row.code ^ (1u << bit));
}

TEST(Formats, EveryLowHalfUnderEveryKnownHighHalf) {
  for (const std::uint32_t high : {0x0000u, 0x0108u, 0x0110u, 0x020Cu, 0x0210u, 0x0218u, 0x0230u, 0xFFFFu})
    for (std::uint32_t low = 0; low < 65536; ++low) ExpectAnswers(high << 16 | low);
}

TEST(Formats, HeaderNamesTheCodes) {
  EXPECT_EQ(CAMUTL_PFNC_MONO8, 0x01080001u);
  EXPECT_EQ(CAMUTL_PFNC_MONO10, 0x01100003u);
  EXPECT_EQ(CAMUTL_PFNC_MONO12, 0x01100005u);
  EXPECT_EQ(CAMUTL_PFNC_MONO16, 0x01100007u);
  EXPECT_EQ(CAMUTL_PFNC_BAYER_GR8, 0x01080008u);
  EXPECT_EQ(CAMUTL_PFNC_BAYER_RG8, 0x01080009u);
  EXPECT_EQ(CAMUTL_PFNC_BAYER_GB8, 0x0108000Au);
  EXPECT_EQ(CAMUTL_PFNC_BAYER_BG8, 0x0108000Bu);
  EXPECT_EQ(CAMUTL_PFNC_BAYER_GR10, 0x0110000Cu);
  EXPECT_EQ(CAMUTL_PFNC_BAYER_RG10, 0x0110000Du);
  EXPECT_EQ(CAMUTL_PFNC_BAYER_GB10, 0x0110000Eu);
  EXPECT_EQ(CAMUTL_PFNC_BAYER_BG10, 0x0110000Fu);
  EXPECT_EQ(CAMUTL_PFNC_BAYER_GR12, 0x01100010u);
  EXPECT_EQ(CAMUTL_PFNC_BAYER_RG12, 0x01100011u);
  EXPECT_EQ(CAMUTL_PFNC_BAYER_GB12, 0x01100012u);
  EXPECT_EQ(CAMUTL_PFNC_BAYER_BG12, 0x01100013u);
  EXPECT_EQ(CAMUTL_PFNC_RGB8, 0x02180014u);
  EXPECT_EQ(CAMUTL_PFNC_BGR8, 0x02180015u);
  EXPECT_EQ(CAMUTL_PFNC_RGB10, 0x02300018u);
  EXPECT_EQ(CAMUTL_PFNC_BGR10, 0x02300019u);
  EXPECT_EQ(CAMUTL_PFNC_RGB12, 0x0230001Au);
  EXPECT_EQ(CAMUTL_PFNC_BGR12, 0x0230001Bu);
  EXPECT_EQ(CAMUTL_PFNC_YUV411_8_UYYVYY, 0x020C001Eu);
  EXPECT_EQ(CAMUTL_PFNC_YUV422_8_UYVY, 0x0210001Fu);
  EXPECT_EQ(CAMUTL_PFNC_YUV8_UYV, 0x02180020u);
}

}  // namespace
