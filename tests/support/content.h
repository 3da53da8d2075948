// SPDX-License-Identifier: Apache-2.0
// What test frames hold.
#ifndef KIVO_TESTS_SUPPORT_CONTENT_H
#define KIVO_TESTS_SUPPORT_CONTENT_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "support/random.h"

namespace KivoTest {

enum class Content : unsigned {
  kRandom,    // every value of the sample type, independent
  kExtremes,  // the ends of the range and the ends of nominal depths
  kTies,      // values a step or two apart, so that gradients often tie
  kNatural,   // smooth shading, noise and sharp edges
  kDark,      // 0 and one small value, so that sums are negative where gradients tie
  kCount
};

const char *ContentName(Content content);

// A run of samples seen as rows of row_length; row_length is not 0. 16-bit samples come as little-endian
// bytes.
std::vector<std::uint8_t> MakeSamples8(Random &random, Content content, std::size_t count,
                                       std::size_t row_length);
std::vector<std::uint8_t> MakeSamples16(Random &random, Content content, std::size_t count,
                                        std::size_t row_length);

}  // namespace KivoTest

#endif  // KIVO_TESTS_SUPPORT_CONTENT_H
