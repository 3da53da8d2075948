// SPDX-License-Identifier: Apache-2.0
// Small made frames for the parts of the guess.
#ifndef KIVO_TESTS_FRAME_GUESS_FRAMES_H
#define KIVO_TESTS_FRAME_GUESS_FRAMES_H

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "guess/place.h"
#include "support/random.h"

namespace KivoTest {

using namespace Kivo::Guess;

enum class Scene { Patches, Drawing, Noise, Halves, Twice, Thrice, Planes, Grey, Dark, kCount };

// A frame, where it is in its file, and the file.
struct Made {
  Grid grid;
  Place place;
  std::vector<std::uint8_t> bytes;
  std::uint64_t file_bytes;

  File file() const { return {bytes.data(), bytes.size(), file_bytes}; }
};

// `depth` is that of the samples of words; header and padding are in bytes. Where rows share bytes, a row is
// no whole number of them.
Made Make(const Layout &layout, Scene scene, std::uint64_t pixels, std::uint64_t height, std::uint64_t header,
          std::uint64_t padding, bool share, unsigned depth, Random &random);
// The N-th frame of a series that has all layouts and scenes.
Made Series(unsigned number, std::uint64_t pixels, std::uint64_t height);
// A frame of bytes without anything around it, from a function of row and sample.
template <typename At>
Made Bytes(Pattern pattern, std::uint32_t pixels, std::size_t samples, std::uint32_t height, At at) {
  Made made;
  made.grid = {{Kind::Bytes, 8, pattern}, 0, 8 * samples, samples, 0};
  made.place = {pixels, height, 0, samples, 0, 0};
  for (std::size_t y = 0; y < height; ++y)
    for (std::size_t x = 0; x < samples; ++x) made.bytes.push_back(static_cast<std::uint8_t>(at(y, x)));
  made.file_bytes = made.bytes.size();
  return made;
}

std::string NameOf(const Layout &layout);

// But for the order of sums.
inline void ExpectNear(double actual, double expected) {
  if (std::isfinite(expected)) {
    EXPECT_NEAR(actual, expected, 1e-9 * std::max(1.0, std::abs(expected)));
  } else {
    EXPECT_EQ(actual, expected);
  }
}

}  // namespace KivoTest

#endif  // KIVO_TESTS_FRAME_GUESS_FRAMES_H
