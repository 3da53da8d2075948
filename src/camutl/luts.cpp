// SPDX-License-Identifier: Apache-2.0
// The colour lookup tables: full-range YUV (JFIF) to B, G, R with the constants below, every sum rounded half
// up by truncating it toward zero after adding one half, then clamped.
//
// All sums are formed exactly, in integers: a constant is its binary value times a power of two.
#include "camutl/luts.h"

#include "KivoCamUtl.h"

namespace Kivo {

std::uint32_t auiMono2BGRA[256];
std::uint32_t auiYUVC_UV[256][256];
std::uint32_t auiYUV2G[512][256];
std::uint8_t aucYUV2G[512][256];
std::uint32_t auiYV2R[256][256];
std::uint8_t aucYV2R[256][256];
std::uint8_t aucYU2B[256][256];
std::atomic<bool> s_bLUTReady{false};

namespace {

// Red and blue: the doubles nearest 1.402 and 1.772, both between 1 and 2 and so integers times 2^-52. The
// one nearest 1.772 lies above it: with U = 3 the sum falls just short of Y - 221, and blue is Y - 222.
constexpr int c_iFineBits = 52;
constexpr std::int64_t c_iRedV = static_cast<std::int64_t>(1.402 * 4503599627370496.0);
constexpr std::int64_t c_iBlueU = static_cast<std::int64_t>(1.772 * 4503599627370496.0);
static_assert(static_cast<double>(c_iRedV) / 4503599627370496.0 == 1.402);
static_assert(static_cast<double>(c_iBlueU) / 4503599627370496.0 == 1.772);

// Green: the single-precision values nearest 0.714 and 0.344, integers times 2^-26.
constexpr int c_iCoarseBits = 26;
constexpr std::int32_t c_iGreenV = static_cast<std::int32_t>(0.714f * 67108864.0f);
constexpr std::int32_t c_iGreenU = static_cast<std::int32_t>(0.344f * 67108864.0f);
static_assert(static_cast<float>(c_iGreenV) / 67108864.0f == 0.714f);
static_assert(static_cast<float>(c_iGreenU) / 67108864.0f == 0.344f);

constexpr int Clamp(int i) noexcept {
  return i < 0 ? 0 : i > 255 ? 255 : i;
}

// What a chroma sample adds to luma. Y is whole, so the sum with Y, cut toward zero and clamped, is Y plus
// the floor of the rest: below 0 cutting and flooring differ, but both clamp to 0.
int Offset(int iChroma, std::int64_t iFactor) noexcept {
  constexpr std::int64_t c_iHalf = std::int64_t{1} << (c_iFineBits - 1);
  return static_cast<int>((iChroma * iFactor + c_iHalf) >> c_iFineBits);
}

void FillTables() noexcept {
  for (std::uint32_t g = 0; g < 256; ++g) auiMono2BGRA[g] = 0xFF000000u + g * 0x010101u;

  for (int u = 0; u < 256; ++u) {
    for (int v = 0; v < 256; ++v) {
      // 256.5 keeps the sum positive: 121 to 390.
      constexpr std::int64_t c_iNeutral = (std::int64_t{513} << c_iCoarseBits) / 2;
      const std::int64_t iSum =
          c_iNeutral + std::int64_t{v - 128} * c_iGreenV + std::int64_t{u - 128} * c_iGreenU;
      const auto uiRow = static_cast<std::uint32_t>(iSum >> c_iCoarseBits) & 0xFFFF;
      auiYUVC_UV[u][v] = uiRow < 511 ? uiRow : 511;
    }
  }

  for (int r = 0; r < 256; ++r) {
    const int iRed = Offset(r - 128, c_iRedV);
    const int iBlue = Offset(r - 128, c_iBlueU);
    for (int y = 0; y < 256; ++y) {
      const auto uiRed = static_cast<std::uint32_t>(Clamp(y + iRed));
      auiYV2R[r][y] = 0xFF000000u + (uiRed << 16);
      aucYV2R[r][y] = static_cast<std::uint8_t>(uiRed);
      aucYU2B[r][y] = static_cast<std::uint8_t>(Clamp(y + iBlue));
    }
  }

  for (int k = 0; k < 512; ++k) {
    for (int y = 0; y < 256; ++y) {
      const auto uiGreen = static_cast<std::uint32_t>(Clamp(y + 256 - k));
      auiYUV2G[k][y] = uiGreen << 8;
      aucYUV2G[k][y] = static_cast<std::uint8_t>(uiGreen);
    }
  }

  s_bLUTReady.store(true, std::memory_order_release);
}

}  // namespace

void PrepareTables() noexcept {
  // A constant of the function is made once: who calls meanwhile waits, who calls later changes no table that
  // somebody converts with.
  [[maybe_unused]] static const bool c_bFilled = (FillTables(), true);
}

}  // namespace Kivo

using namespace Kivo;

CamUtlStatus PrepareLUT(void) CAMUTL_NOEXCEPT {
  PrepareTables();
  return CAMUTL_STS_SUCCESS;
}
