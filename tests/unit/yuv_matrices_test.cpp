// SPDX-License-Identifier: Apache-2.0
// The integers that stand for the matrices of YCbCr, which checkkernel holds every kernel against, held
// themselves against the real formulas.
#include <algorithm>
#include <cmath>

#include "support/unit.h"

namespace KivoTest {
namespace {

struct Formula {
  Kivo::YuvMatrix matrix;
  double luma, black, blue_u, green_u, green_v, red_v;
};
constexpr Formula kFormulas[] = {
    {Kivo::YuvMatrix::Full601, 1, 0, 1.772, -0.34414, -0.71414, 1.402},
    {Kivo::YuvMatrix::Limited601, 1.16438, 16, 2.01723, -0.39176, -0.81297, 1.59603},
    {Kivo::YuvMatrix::Limited709, 1.16438, 16, 2.11240, -0.21325, -0.53291, 1.79274}};

int Rounded(double value) {
  return static_cast<int>(std::floor(std::clamp(value, 0.0, 255.0) + 0.5));
}

TEST(YuvMatrices, NoResultIsMoreThanOneOffTheRealFormula) {
  for (const Formula &f : kFormulas) {
    int worst = 0;
    for (int u = 0; u < 256; ++u) {
      for (int v = 0; v < 256; ++v) {
        for (int y = 0; y < 256; ++y) {
          const Reference::Pixel got = Reference::FromYcbcr(f.matrix, y, u, v);
          const double luma = f.luma * (y - f.black);
          worst =
              std::max({worst, std::abs(got.blue - Rounded(luma + f.blue_u * (u - 128))),
                        std::abs(got.green - Rounded(luma + f.green_u * (u - 128) + f.green_v * (v - 128))),
                        std::abs(got.red - Rounded(luma + f.red_v * (v - 128)))});
        }
      }
    }
    EXPECT_LE(worst, 1) << static_cast<unsigned>(f.matrix);
  }
}

TEST(YuvMatrices, BlackWhiteAndGreyAreExact) {
  const auto grey = [](Kivo::YuvMatrix matrix, int y) {
    const Reference::Pixel p = Reference::FromYcbcr(matrix, y, 128, 128);
    EXPECT_EQ(p.blue, p.green);
    EXPECT_EQ(p.green, p.red);
    return static_cast<int>(p.blue);
  };
  for (int y = 0; y < 256; ++y) EXPECT_EQ(grey(Kivo::YuvMatrix::Full601, y), y);
  for (const Kivo::YuvMatrix matrix : {Kivo::YuvMatrix::Limited601, Kivo::YuvMatrix::Limited709}) {
    EXPECT_EQ(grey(matrix, 0), 0);
    EXPECT_EQ(grey(matrix, 16), 0);
    EXPECT_EQ(grey(matrix, 235), 255);
    EXPECT_EQ(grey(matrix, 255), 255);
    for (int y = 1; y < 256; ++y) EXPECT_LE(grey(matrix, y - 1), grey(matrix, y));
  }
}

}  // namespace
}  // namespace KivoTest
