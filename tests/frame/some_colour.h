// SPDX-License-Identifier: Apache-2.0
// Colour settings at random.
#ifndef KIVO_TESTS_FRAME_SOME_COLOUR_H
#define KIVO_TESTS_FRAME_SOME_COLOUR_H

#include <cstdint>
#include <memory>
#include <vector>

#include "KivoFrame.h"
#include "support/random.h"

namespace KivoTest {

// Settings and the table that they may lead to; stay where they are.
struct ColourSettings {
  kivo_colour colour = KIVO_COLOUR_INIT;
  std::vector<std::uint16_t> table;
};

// Settings that a plan takes for samples of a depth: every link changes something or nothing.
std::shared_ptr<ColourSettings> SomeColour(Random &random, unsigned depth);

}  // namespace KivoTest

#endif  // KIVO_TESTS_FRAME_SOME_COLOUR_H
