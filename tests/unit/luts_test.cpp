// SPDX-License-Identifier: Apache-2.0
// Every element of the lookup tables against exact integers, and the literal values.
#include "camutl/luts.h"

#include <cstring>

#include "support/unit.h"

namespace KivoTest {
namespace {

class Luts : public testing::Test {
 protected:
  static void SetUpTestSuite() { EXPECT_EQ(PrepareLUT(), CAMUTL_STS_SUCCESS); }
};

TEST_F(Luts, ReadyOnceFilled) {
  EXPECT_TRUE(Kivo::s_bLUTReady.load());
}

TEST_F(Luts, Grey) {
  for (std::uint32_t g = 0; g < 256; ++g) ASSERT_EQ(Kivo::auiMono2BGRA[g], 0xFF000000u + g * 0x010101u);
  EXPECT_EQ(Kivo::auiMono2BGRA[0], 0xFF000000u);
  EXPECT_EQ(Kivo::auiMono2BGRA[128], 0xFF808080u);
  EXPECT_EQ(Kivo::auiMono2BGRA[255], 0xFFFFFFFFu);
}

TEST_F(Luts, GreenIndex) {
  std::uint32_t lowest = 511, highest = 0;
  for (int u = 0; u < 256; ++u) {
    for (int v = 0; v < 256; ++v) {
      ASSERT_EQ(Kivo::auiYUVC_UV[u][v], Reference::GreenIndex(u, v)) << u << " " << v;
      lowest = std::min(lowest, Kivo::auiYUVC_UV[u][v]);
      highest = std::max(highest, Kivo::auiYUVC_UV[u][v]);
    }
  }
  EXPECT_EQ(lowest, 121u);
  EXPECT_EQ(highest, 390u);
  EXPECT_EQ(Kivo::auiYUVC_UV[0][0], 121u);
  EXPECT_EQ(Kivo::auiYUVC_UV[128][128], 256u);
  EXPECT_EQ(Kivo::auiYUVC_UV[255][255], 390u);
  EXPECT_EQ(Kivo::auiYUVC_UV[0][255], 303u);
  EXPECT_EQ(Kivo::auiYUVC_UV[255][0], 208u);
}

TEST_F(Luts, GreenIndexUsesSinglePrecisionConstants) {
  // The decimal factors 0.714 and 0.344, in thousandths, would give 61 other entries.
  int other = 0;
  for (int u = 0; u < 256; ++u) {
    for (int v = 0; v < 256; ++v) {
      const int decimal = ((v - 128) * 714 + (u - 128) * 344 + 256500) / 1000;
      other += Kivo::auiYUVC_UV[u][v] != static_cast<std::uint32_t>(decimal);
    }
  }
  EXPECT_EQ(other, 61);
}

TEST_F(Luts, Green) {
  for (int k = 0; k < 512; ++k) {
    for (int y = 0; y < 256; ++y) {
      const std::uint8_t green = static_cast<std::uint8_t>(std::min(255, std::max(0, y + 256 - k)));
      ASSERT_EQ(Kivo::aucYUV2G[k][y], green) << k << " " << y;
      ASSERT_EQ(Kivo::auiYUV2G[k][y], std::uint32_t{green} * 256) << k << " " << y;
    }
  }
  for (int y = 0; y < 256; ++y) {
    EXPECT_EQ(Kivo::aucYUV2G[256][y], y);
    EXPECT_EQ(Kivo::aucYUV2G[0][y], 255);
    EXPECT_EQ(Kivo::aucYUV2G[511][y], 0);
  }
}

TEST_F(Luts, Red) {
  for (int v = 0; v < 256; ++v) {
    for (int y = 0; y < 256; ++y) {
      const std::uint8_t red = Reference::Red(v, y);
      ASSERT_EQ(Kivo::aucYV2R[v][y], red) << v << " " << y;
      ASSERT_EQ(Kivo::auiYV2R[v][y], 0xFF000000u + red * 65536u) << v << " " << y;
    }
  }
  for (int y = 0; y < 256; ++y) EXPECT_EQ(Kivo::aucYV2R[128][y], y);
  EXPECT_EQ(Kivo::aucYV2R[0][100], 0);
  EXPECT_EQ(Kivo::aucYV2R[0][255], 76);
  EXPECT_EQ(Kivo::aucYV2R[255][200], 255);
  EXPECT_EQ(Kivo::auiYV2R[128][77], 0xFF4D0000u);
}

TEST_F(Luts, Blue) {
  for (int u = 0; u < 256; ++u)
    for (int y = 0; y < 256; ++y) ASSERT_EQ(Kivo::aucYU2B[u][y], Reference::Blue(u, y)) << u << " " << y;
  for (int y = 0; y < 256; ++y) {
    EXPECT_EQ(Kivo::aucYU2B[128][y], y);
    // The double nearest to 1.772 is a little larger, so this row lies one below the rounded product.
    EXPECT_EQ(Kivo::aucYU2B[3][y], y < 222 ? 0 : y - 222);
  }
  EXPECT_EQ(Kivo::aucYU2B[3][221], 0);
  EXPECT_EQ(Kivo::aucYU2B[3][222], 0);
  EXPECT_EQ(Kivo::aucYU2B[3][255], 33);
  EXPECT_EQ(Kivo::aucYU2B[0][255], 28);
  EXPECT_EQ(Kivo::aucYU2B[255][0], 225);
}

TEST_F(Luts, LongDoubleAgrees) {
  // A second evaluation, in a format whose significand holds the whole sum.
  if (std::numeric_limits<long double>::digits < 64) GTEST_SKIP() << "long double is too narrow here";
  const auto channel = [](int y, int chroma, double factor) {
    const long double sum = static_cast<long double>(chroma) * factor + y + 0.5L;
    const long long whole = static_cast<long long>(sum);
    return static_cast<int>(std::min(255LL, std::max(0LL, whole)));
  };
  for (int c = 0; c < 256; ++c) {
    for (int y = 0; y < 256; ++y) {
      ASSERT_EQ(Kivo::aucYV2R[c][y], channel(y, c - 128, 1.402)) << c << " " << y;
      ASSERT_EQ(Kivo::aucYU2B[c][y], channel(y, c - 128, 1.772)) << c << " " << y;
    }
  }
}

TEST_F(Luts, ThreeTermsMakeAWord) {
  const auto word = [](int y, int u, int v) {
    return Kivo::auiYUV2G[Kivo::auiYUVC_UV[u][v]][y] + Kivo::auiYV2R[v][y] + Kivo::aucYU2B[u][y];
  };
  EXPECT_EQ(word(100, 128, 128), 0xFF646464u);
  EXPECT_EQ(word(128, 0, 255), 0xFFFF5100u);
  EXPECT_EQ(word(200, 100, 150), 0xFFE7C296u);
}

TEST_F(Luts, PreparingAgainChangesNothing) {
  const auto snapshot = [] {
    Bytes bytes((1 + 256 + 512 + 128 + 256 + 64 + 64) * 1024);
    std::size_t used = 0;
    const auto add = [&](const void *table, std::size_t size) {
      std::memcpy(&bytes.at(used + size - 1) + 1 - size, table, size);
      used += size;
    };
    add(Kivo::auiMono2BGRA, sizeof Kivo::auiMono2BGRA);
    add(Kivo::auiYUVC_UV, sizeof Kivo::auiYUVC_UV);
    add(Kivo::auiYUV2G, sizeof Kivo::auiYUV2G);
    add(Kivo::aucYUV2G, sizeof Kivo::aucYUV2G);
    add(Kivo::auiYV2R, sizeof Kivo::auiYV2R);
    add(Kivo::aucYV2R, sizeof Kivo::aucYV2R);
    add(Kivo::aucYU2B, sizeof Kivo::aucYU2B);
    EXPECT_EQ(used, bytes.size());
    return bytes;
  };
  const Bytes before = snapshot();
  EXPECT_EQ(PrepareLUT(), CAMUTL_STS_SUCCESS);
  EXPECT_TRUE(Kivo::s_bLUTReady.load());
  EXPECT_EQ(snapshot(), before);
  // Not even by writing what is there already, which a thread that converts would race with.
  const std::uint32_t kept = Kivo::auiMono2BGRA[5];
  Kivo::auiMono2BGRA[5] = 0;
  Kivo::aucYU2B[200][9] ^= 1;
  const Bytes marked = snapshot();
  EXPECT_EQ(PrepareLUT(), CAMUTL_STS_SUCCESS);
  EXPECT_EQ(snapshot(), marked);
  Kivo::auiMono2BGRA[5] = kept;
  Kivo::aucYU2B[200][9] ^= 1;
  EXPECT_EQ(snapshot(), before);
}

}  // namespace
}  // namespace KivoTest
