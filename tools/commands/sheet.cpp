// SPDX-License-Identifier: Apache-2.0
// sheet: thumbnails with captions on one page.
#include <algorithm>
#include <filesystem>

#include "commands/commands.h"
#include "files/file_list.h"
#include "pictures/font.h"
#include "pictures/picture.h"
#include "pictures/thumbnail.h"
#include "words/failure.h"
#include "words/numbers.h"
#include "words/text.h"

namespace tool {
namespace {

constexpr std::uint32_t kGap = 10;
constexpr std::uint32_t kLine = kGlyphHeight + 4;
constexpr Colour kPaper = {32, 34, 38};
constexpr Colour kInk = {230, 230, 225};

// Lines of a label: separated by a newline or by a backslash and an n.
std::vector<std::string> linesOf(const std::string &label) {
  std::vector<std::string> lines(1);
  for (std::size_t i = 0; i < label.size(); ++i) {
    const bool escaped = label[i] == '\\' && i + 1 < label.size() && label[i + 1] == 'n';
    if (escaped) ++i;
    if (escaped || label[i] == '\n')
      lines.emplace_back();
    else
      lines.back() += label[i];
  }
  return lines;
}

// Draws the picture into a cell, centred, shrunk to fit but never enlarged.
void drawThumbnail(Picture &page, std::uint32_t x, std::uint32_t y, const Size &cell,
                   const Picture &picture) {
  const Picture small =
      shrunk(picture.width, picture.height, cell.width, cell.height,
             [&](std::uint32_t u, std::uint32_t v, std::size_t c) { return picture.pixel(u, v)[c]; });
  x += (cell.width - small.width) / 2;
  y += (cell.height - small.height) / 2;
  for (std::uint32_t row = 0; row < small.height; ++row)
    std::copy_n(small.pixel(0, row), std::size_t{3} * small.width, page.pixel(x, y + row));
}

}  // namespace

void runSheet(const SheetOptions &options) {
  const PictureType type = pictureType(options.output, options.to);
  const Size cell = parseSize(options.cell, "--cell");
  if (cell.width < 16 || cell.height < 16 || cell.width > 4096 || cell.height > 4096)
    throw Failure(Exit::Usage, "--cell", "a cell can be 16x16 to 4096x4096 pixels");
  if (!options.labels.empty() && options.labels.size() != options.pictures.size())
    throw Failure(Exit::Usage, "--labels",
                  printed("%zu labels for %zu pictures", options.labels.size(), options.pictures.size()));

  refuseTwice(options.pictures);
  for (const std::string &picture : options.pictures) refuseSameFile(picture, options.output);

  std::vector<std::vector<std::string>> labels;
  std::size_t lines = 1;
  for (std::size_t i = 0; i < options.pictures.size(); ++i) {
    labels.push_back(
        options.labels.empty()
            ? std::vector<std::string>{std::filesystem::path(options.pictures[i]).stem().string()}
            : linesOf(options.labels[i]));
    lines = std::max(lines, labels.back().size());
  }
  const std::size_t columns = std::min<std::size_t>(options.columns, options.pictures.size());
  const std::size_t rows = (options.pictures.size() + columns - 1) / columns;
  const std::uint32_t head = options.title.empty() ? 0 : 2 * kGlyphHeight + kGap;
  const std::uint32_t stepX = cell.width + kGap;
  const std::uint32_t stepY = cell.height + kGap + static_cast<std::uint32_t>(lines) * kLine;
  const std::uint64_t pageWidth = kGap + std::uint64_t{columns} * stepX;
  const std::uint64_t pageHeight = kGap + head + std::uint64_t{rows} * stepY;
  checkPictureSize(options.output, pageWidth, pageHeight);

  Picture page(static_cast<std::uint32_t>(pageWidth), static_cast<std::uint32_t>(pageHeight));
  fillRect(page, 0, 0, page.width, page.height, kPaper);
  drawText(page, kGap, kGap, options.title, kInk, 2);
  for (std::size_t i = 0; i < options.pictures.size(); ++i) {
    const std::uint32_t x = kGap + static_cast<std::uint32_t>(i % columns) * stepX;
    const std::uint32_t y = kGap + head + static_cast<std::uint32_t>(i / columns) * stepY;
    drawThumbnail(page, x, y, cell, loadPicture(options.pictures[i]));
    for (std::size_t line = 0; line < labels[i].size(); ++line)
      drawText(page, x, y + cell.height + 4 + static_cast<std::uint32_t>(line) * kLine,
               labels[i][line].substr(0, cell.width / kGlyphAdvance), kInk);
  }
  savePicture(page, options.output, type, options.rules);
}

}  // namespace tool
