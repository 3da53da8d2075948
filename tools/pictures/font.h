// SPDX-License-Identifier: Apache-2.0
// A fixed 5 x 7 font, with one more row for descenders, for captions and for the fine text of the test scene.
// ASCII only.
#pragma once

#include <cstdint>
#include <string>

#include "pictures/picture.h"

namespace tool {

struct Colour {
  std::uint8_t r, g, b;
};

constexpr std::uint32_t kGlyphHeight = 8;
constexpr std::uint32_t kGlyphAdvance = 6;  // five columns and a gap

// Draws one line with its upper left corner at (x, y), each dot `scale` pixels square; clipped at the
// picture's edges.
void drawText(Picture &picture, std::uint32_t x, std::uint32_t y, const std::string &text, Colour colour,
              std::uint32_t scale = 1);

// Fills a rectangle; clipped at the picture's edges.
void fillRect(Picture &picture, std::uint32_t x, std::uint32_t y, std::uint32_t width, std::uint32_t height,
              Colour colour);

}  // namespace tool
