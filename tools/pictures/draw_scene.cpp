// SPDX-License-Identifier: Apache-2.0
#include "pictures/draw_scene.h"

#include <algorithm>

#include "pictures/font.h"

namespace tool {
namespace {

struct Box {
  std::uint32_t x, y, width, height;
};

void put(Picture &picture, std::uint32_t x, std::uint32_t y, Colour colour) {
  std::uint8_t *rgb = picture.pixel(x, y);
  rgb[0] = colour.r;
  rgb[1] = colour.g;
  rgb[2] = colour.b;
}

std::uint8_t byteOf(std::int64_t value) {
  return static_cast<std::uint8_t>(std::clamp<std::int64_t>(value, 0, 255));
}

// Sine of a turn counted in 65536 parts, as -1000 to 1000: a parabola's quotient that is right to 0.2
// percent.
std::int64_t sine(std::uint64_t phase) {
  const std::int64_t p = static_cast<std::int64_t>(phase % 65536);
  const std::int64_t half = 32768;
  const std::int64_t q = p % half;
  const std::int64_t arch = q * (half - q);
  const std::int64_t value = 16000 * arch / (5 * half * half - 4 * arch);
  return p < half ? value : -value;
}

// Rings whose frequency grows from the centre to a third of a cycle a pixel at the edge, in every direction.
// Grey on the left, tinted towards the right.
void drawZonePlate(Picture &picture, const Box &box) {
  const std::int64_t centreX = box.width / 2;
  const std::int64_t centreY = box.height / 2;
  const std::int64_t radius = std::max<std::int64_t>(1, std::min(centreX, centreY));
  for (std::uint32_t y = 0; y < box.height; ++y) {
    for (std::uint32_t x = 0; x < box.width; ++x) {
      const std::int64_t dx = x - centreX;
      const std::int64_t dy = y - centreY;
      const std::int64_t square = dx * dx + dy * dy;
      // phase = pi r^2 / (3 R): its slope at r = R is two thirds of pi, a third of a cycle a pixel.
      const std::uint64_t phase = static_cast<std::uint64_t>(square * 65536 / (6 * radius)) + 16384;
      // Beyond R the rings fade out.
      const std::int64_t fade =
          std::clamp<std::int64_t>((radius * radius - square) * 8 / radius + 16, 0, 128);
      const std::int64_t wave = sine(phase) * 100 * fade / 128000;
      const std::int64_t tint = dx > 0 ? dx * 60 / radius : 0;
      put(picture, box.x + x, box.y + y,
          {byteOf(128 + wave + tint / 2), byteOf(128 + wave * (100 - tint / 2) / 100),
           byteOf(128 + wave - tint)});
    }
  }
}

void drawPatches(Picture &picture, const Box &box) {
  static const Colour kPatches[4][6] = {
      {{115, 82, 68}, {194, 150, 130}, {98, 122, 157}, {87, 108, 67}, {133, 128, 177}, {103, 189, 170}},
      {{255, 0, 0}, {0, 255, 0}, {0, 0, 255}, {255, 255, 0}, {255, 0, 255}, {0, 255, 255}},
      {{214, 126, 44}, {80, 91, 166}, {193, 90, 99}, {94, 60, 108}, {157, 188, 64}, {224, 163, 46}},
      {{243, 243, 242}, {200, 200, 200}, {160, 160, 160}, {122, 122, 121}, {85, 85, 85}, {20, 20, 20}},
  };
  for (std::uint32_t row = 0; row < 4; ++row) {
    for (std::uint32_t column = 0; column < 6; ++column) {
      const std::uint32_t left = box.width * column / 6, right = box.width * (column + 1) / 6;
      const std::uint32_t top = box.height * row / 4, bottom = box.height * (row + 1) / 4;
      fillRect(picture, box.x + left, box.y + top, right - left, bottom - top, kPatches[row][column]);
    }
  }
}

// Two squares turned by about 5 and 30 degrees, each pixel the mean of 8 x 8 points.
void drawSlantedEdges(Picture &picture, const Box &box) {
  struct Square {
    std::int64_t cosine, sine;  // in thousandths
    Colour inside, outside;
  };
  static const Square kSquares[2] = {{996, 87, {20, 20, 20}, {235, 235, 235}},
                                     {866, 500, {220, 40, 30}, {40, 70, 200}}};
  for (std::uint32_t y = 0; y < box.height; ++y) {
    for (std::uint32_t x = 0; x < box.width; ++x) {
      const std::uint32_t half = box.width / 2;
      const std::uint32_t which = x < half || half == 0 ? 0 : 1;
      const Square &square = kSquares[which];
      const std::int64_t span = which == 0 ? half : box.width - half;
      const std::int64_t side = std::min<std::int64_t>(span, box.height) * 8 * 3 / 10;
      std::int64_t hits = 0;
      for (std::int64_t sub = 0; sub < 64; ++sub) {
        const std::int64_t px = (x - which * std::int64_t{half}) * 8 + sub % 8 - span * 4;
        const std::int64_t py = std::int64_t{y} * 8 + sub / 8 - std::int64_t{box.height} * 4;
        const std::int64_t u = (px * square.cosine + py * square.sine) / 1000;
        const std::int64_t v = (py * square.cosine - px * square.sine) / 1000;
        if (u >= -side && u < side && v >= -side && v < side) ++hits;
      }
      const auto mix = [hits](std::uint8_t in, std::uint8_t out) {
        return byteOf((in * hits + out * (64 - hits)) / 64);
      };
      put(picture, box.x + x, box.y + y,
          {mix(square.inside.r, square.outside.r), mix(square.inside.g, square.outside.g),
           mix(square.inside.b, square.outside.b)});
    }
  }
}

// A line of text is cut at the box, not at the picture.
void drawLine(Picture &picture, const Box &box, std::uint32_t y, const std::string &text, Colour ink,
              std::uint32_t scale) {
  const std::uint32_t fits = (box.width - 4) / (kGlyphAdvance * scale);
  if (y + kGlyphHeight * scale <= box.y + box.height)
    drawText(picture, box.x + 2, y, text.substr(0, fits), ink, scale);
}

void drawFineText(Picture &picture, const Box &box) {
  fillRect(picture, box.x, box.y, box.width, box.height, {250, 248, 240});
  const std::string pangram = "Sphinx of black quartz, judge my vow. 0123456789 ";
  std::string text;
  while (text.size() < box.width / kGlyphAdvance + pangram.size()) text += pangram;
  static const Colour kInks[] = {{0, 0, 0}, {200, 0, 0}, {0, 110, 0}, {0, 0, 190}, {90, 90, 90}};
  std::uint32_t y = box.y + 3;
  for (std::uint32_t line = 0; y + kGlyphHeight <= box.y + box.height; ++line) {
    const std::uint32_t scale = line % 5 == 0 ? 2 : 1;
    drawLine(picture, box, y, text.substr(std::size_t{7} * line % pangram.size()), kInks[line % 5], scale);
    y += (kGlyphHeight + 3) * scale;
  }
}

// Upright, lying and diagonal lines of two to five pixels.
void drawGratings(Picture &picture, const Box &box) {
  for (std::uint32_t y = 0; y < box.height; ++y) {
    for (std::uint32_t x = 0; x < box.width; ++x) {
      const std::uint32_t pitch = 2 + 4 * x / std::max<std::uint32_t>(1, box.width);
      const std::uint32_t band = 3 * y / std::max<std::uint32_t>(1, box.height);
      const std::uint32_t along = band == 0 ? x : band == 1 ? y : x + y;
      put(picture, box.x + x, box.y + y, along / pitch % 2 == 0 ? Colour{60, 60, 60} : Colour{195, 195, 195});
    }
  }
}

// Grey, red, green and blue ramps, then the hues.
void drawRamps(Picture &picture, const Box &box) {
  for (std::uint32_t y = 0; y < box.height; ++y) {
    const std::uint32_t band = 5 * y / box.height;
    for (std::uint32_t x = 0; x < box.width; ++x) {
      const std::int64_t level = std::int64_t{255} * x / std::max<std::uint32_t>(1, box.width - 1);
      Colour colour = {byteOf(level), byteOf(level), byteOf(level)};
      if (band == 1) colour = {byteOf(level), 0, 0};
      if (band == 2) colour = {0, byteOf(level), 0};
      if (band == 3) colour = {0, 0, byteOf(level)};
      if (band == 4) {
        const std::uint64_t turn = std::uint64_t{65536} * x / box.width;
        const auto wave = [turn](std::uint64_t shift) {
          return byteOf(128 + sine(turn + shift) * 110 / 1000);
        };
        colour = {wave(16384), wave(16384 + 43691), wave(16384 + 21845)};
      }
      put(picture, box.x + x, box.y + y, colour);
    }
  }
}

}  // namespace

Picture drawScene(std::uint32_t width, std::uint32_t height) {
  Picture picture(width, height);
  // The zone plate and the ramps below it on the left, a column of smaller subjects on the right.
  const std::uint32_t left = width * 9 / 16;
  const std::uint32_t top = height * 3 / 4;
  const std::uint32_t right = width - left;
  const std::uint32_t patches = height * 3 / 10, edges = height * 5 / 20;
  drawZonePlate(picture, {0, 0, left, top});
  drawRamps(picture, {0, top, left, height - top});
  drawPatches(picture, {left, 0, right, patches});
  drawSlantedEdges(picture, {left, patches, right, edges});
  drawFineText(picture, {left, patches + edges, right, top - patches - edges});
  drawGratings(picture, {left, top, right, height - top});
  return picture;
}

}  // namespace tool
