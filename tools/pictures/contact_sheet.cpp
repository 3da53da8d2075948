// SPDX-License-Identifier: Apache-2.0
#include "pictures/contact_sheet.h"

#include <algorithm>

#include "pictures/font.h"
#include "pictures/thumbnail.h"

namespace tool {
namespace {

constexpr std::uint32_t kGap = 10;
constexpr std::uint32_t kLine = kGlyphHeight + 4;
constexpr Colour kPaper = {32, 34, 38};
constexpr Colour kInk = {230, 230, 225};

// Draws the picture into a cell, centred, shrunk to fit but never enlarged.
void drawThumbnail(Picture &page, std::uint32_t x, std::uint32_t y, const SheetLayout &layout,
                   const Picture &picture) {
  const Picture small =
      shrunk(picture.width, picture.height, layout.cellWidth, layout.cellHeight,
             [&](std::uint32_t u, std::uint32_t v, std::size_t c) { return picture.pixel(u, v)[c]; });
  x += (layout.cellWidth - small.width) / 2;
  y += (layout.cellHeight - small.height) / 2;
  for (std::uint32_t row = 0; row < small.height; ++row)
    std::copy_n(small.pixel(0, row), std::size_t{3} * small.width, page.pixel(x, y + row));
}

// Where each cell is, counted row by row.
std::vector<std::size_t> placesOf(const std::vector<SheetCell> &cells, std::size_t columns) {
  std::vector<std::size_t> places;
  std::size_t next = 0;
  for (const SheetCell &cell : cells) {
    if (cell.joined && columns > 1 && next % columns == columns - 1) ++next;
    places.push_back(next++);
  }
  return places;
}

}  // namespace

Picture contactSheet(const std::vector<SheetCell> &cells, const SheetLayout &layout,
                     const std::string &subject) {
  std::size_t lines = 1;
  for (const SheetCell &cell : cells) lines = std::max(lines, cell.lines.size());
  const std::size_t columns = std::min(layout.columns, cells.size());
  const std::vector<std::size_t> places = placesOf(cells, columns);
  const std::size_t rows = places.back() / columns + 1;
  const std::uint32_t head = layout.title.empty() ? 0 : 2 * kGlyphHeight + kGap;
  const std::uint32_t stepX = layout.cellWidth + kGap;
  const std::uint32_t stepY = layout.cellHeight + kGap + static_cast<std::uint32_t>(lines) * kLine;
  const std::uint64_t pageWidth = kGap + std::uint64_t{columns} * stepX;
  const std::uint64_t pageHeight = kGap + head + std::uint64_t{rows} * stepY;
  checkPictureSize(subject, pageWidth, pageHeight);

  Picture page(static_cast<std::uint32_t>(pageWidth), static_cast<std::uint32_t>(pageHeight));
  fillRect(page, 0, 0, page.width, page.height, kPaper);
  drawText(page, kGap, kGap, layout.title, kInk, 2);
  for (std::size_t i = 0; i < cells.size(); ++i) {
    const std::uint32_t x = kGap + static_cast<std::uint32_t>(places[i] % columns) * stepX;
    const std::uint32_t y = kGap + head + static_cast<std::uint32_t>(places[i] / columns) * stepY;
    drawThumbnail(page, x, y, layout, cells[i].picture());
    for (std::size_t line = 0; line < cells[i].lines.size(); ++line)
      drawText(page, x, y + layout.cellHeight + 4 + static_cast<std::uint32_t>(line) * kLine,
               cells[i].lines[line].substr(0, layout.cellWidth / kGlyphAdvance), kInk);
  }
  return page;
}

}  // namespace tool
