// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <limits>

#include "support/dispatch_table.h"
#include "support/unit.h"

namespace KivoTest {
namespace {

BayerConvMode Mode(std::int32_t value) {
  return static_cast<BayerConvMode>(value);
}
OutputPixelFormat Kind(std::int32_t value) {
  return static_cast<OutputPixelFormat>(value);
}

constexpr std::int32_t kAnyModes[] = {0,
                                      1,
                                      2,
                                      3,
                                      -1,
                                      257,
                                      0x10001,
                                      std::numeric_limits<std::int32_t>::min(),
                                      std::numeric_limits<std::int32_t>::max()};

class Dispatch : public testing::Test {
 protected:
  void SetUp() override { PrepareLUT(); }
  void TearDown() override { SetBayerConvMode(BAYER_CONV_STANDARD); }
};

TEST_F(Dispatch, EveryFormatFlagAndMode) {
  EXPECT_EQ(std::size(kDispatchRows), 23u);
  for (const std::int32_t mode : kAnyModes) {
    EXPECT_EQ(SetBayerConvMode(Mode(mode)), CAMUTL_STS_SUCCESS);
    for (const DispatchRow &row : kDispatchRows) {
      EXPECT_EQ(GetBGRAConverter(row.code, false), row.grey_bgra) << std::hex << row.code;
      EXPECT_EQ(GetBGRConverter(row.code, false), row.grey_bgr) << std::hex << row.code;
      EXPECT_EQ(GetBGRAConverter(row.code, true), mode == 1 ? row.acpi_bgra : row.standard_bgra)
          << std::hex << row.code << " mode " << mode;
      EXPECT_EQ(GetBGRConverter(row.code, true), mode == 1 ? row.acpi_bgr : row.standard_bgr)
          << std::hex << row.code << " mode " << mode;
    }
  }
}

TEST_F(Dispatch, EveryOtherCodeHasNoConverter) {
  const auto expect = [](std::uint32_t code) {
    const bool known = std::any_of(std::begin(kDispatchRows), std::end(kDispatchRows),
                                   [&](const DispatchRow &row) { return row.code == code; });
    for (const bool demosaic : {false, true}) {
      ASSERT_EQ(GetBGRAConverter(code, demosaic) != nullptr, known) << std::hex << code;
      ASSERT_EQ(GetBGRConverter(code, demosaic) != nullptr, known) << std::hex << code;
    }
  };
  expect(0x02300018);  // RGB10 and RGB12 have converters, but no format leads to them
  expect(0x0230001A);
  EXPECT_EQ(GetBGRAConverter(0x02300018, false), nullptr);
  EXPECT_EQ(GetBGRConverter(0x0230001A, true), nullptr);
  for (const std::uint32_t high :
       {0x0000u, 0x0108u, 0x0110u, 0x020Cu, 0x0210u, 0x0218u, 0x0230u, 0x8108u, 0xFFFFu})
    for (std::uint32_t low = 0; low < 65536; ++low) expect(high << 16 | low);
  for (const DispatchRow &row : kDispatchRows)
    for (unsigned bit = 0; bit < 32; ++bit) expect(row.code ^ (1u << bit));
}

TEST_F(Dispatch, AConverterKeepsTheAlgorithmItWasChosenWith) {
  const BgraConverter standard = GetBGRAConverter(0x01080008, true);
  SetBayerConvMode(BAYER_CONV_ACPI);
  EXPECT_EQ(standard, &ConvByrGR8ToBGRA);
  EXPECT_EQ(GetBGRAConverter(0x01080008, true), &ConvByrGR8ToBGRAACPI);
  SetBayerConvMode(Mode(2));
  EXPECT_EQ(GetBGRAConverter(0x01080008, true), &ConvByrGR8ToBGRA);
  EXPECT_EQ(GetBGRConverter(0x0110000C, true), &ConvByrGR10ToBGR);
}

TEST_F(Dispatch, OnlyOutputKindOneIsBgr) {
  const std::uint8_t src[2] = {0x12, 0x34};
  for (const std::int32_t kind : {0, 2, -1, 256, 257, 0x7FFFFFFF}) {
    std::uint8_t dst[8] = {};
    EXPECT_EQ(ConvImage(Kind(kind), 0x01080001, false, dst, src, 2, 1), CAMUTL_STS_SUCCESS);
    EXPECT_EQ(Bytes(dst, dst + 8), (Bytes{0x12, 0x12, 0x12, 0xFF, 0x34, 0x34, 0x34, 0xFF})) << kind;
  }
  std::uint8_t dst[8] = {};
  EXPECT_EQ(ConvImage(OUTPUT_BGR, 0x01080001, false, dst, src, 2, 1), CAMUTL_STS_SUCCESS);
  EXPECT_EQ(Bytes(dst, dst + 8), (Bytes{0x12, 0x12, 0x12, 0x34, 0x34, 0x34, 0, 0}));
}

TEST_F(Dispatch, ConvImageRunsTheConverterOfItsFormat) {
  const Bytes source(16 * 8 * 6, 0);
  Bytes noise = source;
  Random random(7);
  for (std::uint8_t &byte : noise) byte = static_cast<std::uint8_t>(random.Next());
  for (const std::int32_t mode : {0, 1}) {
    SetBayerConvMode(Mode(mode));
    for (const DispatchRow &row : kDispatchRows) {
      for (const bool demosaic : {false, true}) {
        Bytes one(16 * 8 * 4, 0x55), two = one;
        const BgraConverter bgra = !demosaic ? row.grey_bgra : mode == 1 ? row.acpi_bgra : row.standard_bgra;
        EXPECT_EQ(ConvImage(OUTPUT_BGRA, row.code, demosaic, one.data(), noise.data(), 16, 8),
                  CAMUTL_STS_SUCCESS);
        bgra(reinterpret_cast<std::uint32_t *>(two.data()), noise.data(), 16, 8);
        EXPECT_EQ(one, two) << std::hex << row.code;
        const BgrConverter bgr = !demosaic ? row.grey_bgr : mode == 1 ? row.acpi_bgr : row.standard_bgr;
        EXPECT_EQ(ConvImage(OUTPUT_BGR, row.code, demosaic, one.data(), noise.data(), 16, 8),
                  CAMUTL_STS_SUCCESS);
        bgr(two.data(), noise.data(), 16, 8);
        EXPECT_EQ(one, two) << std::hex << row.code;
      }
    }
  }
}

TEST_F(Dispatch, ConvImagePassesStatusesOn) {
  std::uint32_t dst[4] = {1, 2, 3, 4};
  const std::uint8_t src[32] = {};
  for (const std::int32_t kind : {0, 1, 5}) {
    EXPECT_EQ(ConvImage(Kind(kind), 0x02300018, false, dst, src, 2, 2), CAMUTL_STS_INVALID_PARAMETER);
    EXPECT_EQ(ConvImage(Kind(kind), 0, true, dst, src, 2, 2), CAMUTL_STS_INVALID_PARAMETER);
    EXPECT_EQ(ConvImage(Kind(kind), 0, true, nullptr, nullptr, 2, 2), CAMUTL_STS_INVALID_PARAMETER);
    EXPECT_EQ(ConvImage(Kind(kind), 0x01080001, false, nullptr, src, 2, 2), CAMUTL_STS_INVALID_PARAMETER);
    EXPECT_EQ(ConvImage(Kind(kind), 0x01080001, false, dst, nullptr, 2, 2), CAMUTL_STS_INVALID_PARAMETER);
  }
  EXPECT_EQ(dst[0], 1u);
  EXPECT_EQ(dst[3], 4u);
}

TEST_F(Dispatch, SetBayerConvModeAcceptsEverything) {
  for (const std::int32_t mode : kAnyModes) EXPECT_EQ(SetBayerConvMode(Mode(mode)), 0);
}

}  // namespace
}  // namespace KivoTest
