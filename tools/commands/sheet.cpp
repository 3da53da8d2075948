// SPDX-License-Identifier: Apache-2.0
// sheet: thumbnails with captions on one page.
#include <array>
#include <cinttypes>
#include <cstdio>
#include <filesystem>
#include <utility>

#include "commands/commands.h"
#include "files/file_list.h"
#include "files/source.h"
#include "frames/doubts.h"
#include "frames/seen.h"
#include "pictures/contact_sheet.h"
#include "pictures/picture.h"
#include "pictures/thumbnail.h"
#include "words/failure.h"
#include "words/numbers.h"
#include "words/text.h"

namespace tool {
namespace {

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

std::string nameOf(const std::string &path) {
  return std::filesystem::path(path).stem().string();
}

// A cell that holds no more than what is drawn.
template <class Image>
SheetCell cellOf(const Image &image, const Size &cell, std::vector<std::string> lines) {
  const Picture small =
      shrunk(image.width, image.height, cell.width, cell.height,
             [&](std::uint32_t x, std::uint32_t y, std::size_t c) { return image.pixel(x, y)[c]; });
  return {[small] { return Picture(small); }, std::move(lines), false};
}

bool isPictureName(const std::string &path) {
  const std::string extension = std::filesystem::path(path).extension().string();
  return sameName(extension, ".png") || sameName(extension, ".ppm") || sameName(extension, ".pgm") ||
         sameName(extension, ".bmp");
}

// The first bytes of a frame may be those of a picture by chance: where frames have no header, names count,
// too.
bool isFrame(Source &source, const InputOptions &input) {
  if (input.headerless() && !isPictureName(input.file)) return true;
  if (isPicture(source)) return false;
  std::array<std::uint8_t, 4> begin{};
  const bool known =
      source.peek(begin.data(), begin.size()) == begin.size() &&
      kivo::findFormat(begin[0] | std::uint32_t{begin[1]} << 8 | std::uint32_t{begin[2]} << 16 |
                       std::uint32_t{begin[3]} << 24) != nullptr;
  if (known) return true;
  throw Failure(Exit::Input, source.name(),
                "is not a PNG, binary PPM or PGM, or BMP picture, nor an RWH frame (headerless frames need "
                "--format and --size)");
}

void note(const std::string &line) {
  std::fprintf(stderr, "%s\n", line.c_str());
}

// What --auto has made of a frame.
std::vector<std::string> settingsOf(const kivo::Colour &colour, const kivo::Format &format) {
  std::vector<std::string> lines = {
      printed("black %.4g, range %.4g to %.4g", colour.black[1], colour.low, colour.high)};
  if (format.family != KIVO_MONO)
    lines.push_back(printed("gains %.3g, %.3g, %.3g", colour.gain[0], colour.gain[1], colour.gain[2]));
  return lines;
}

// A frame as it is, and beside it as convert --auto shows it.
void addFrame(std::vector<SheetCell> &cells, Source &source, const InputOptions &input, const Size &cell,
              const std::vector<std::string> &label) {
  const RawInput raw = loadInput(source, input);
  if (raw.ignoredBytes != 0) note(ignoredNote(input.file, raw.ignoredBytes));
  const std::string doubt = doubtOf(raw);
  if (!doubt.empty()) note("kivocam: " + oneLine(source.name()) + ": " + doubt);
  kivo::Options plain;
  plain.pixels = kivo::Pixels::Rgb8;
  std::vector<std::string> lines = label;
  if (label.empty())
    lines = {nameOf(input.file),
             printed("%s %" PRIu32 "x%" PRIu32, raw.format->name, raw.frame.width, raw.frame.height)};
  cells.push_back(cellOf(imageOf(raw, plain, source.name()), cell, lines));
  const std::optional<Seen> seen = seenOf(raw, source.name());
  if (!seen) return;
  if (label.empty()) {
    lines = settingsOf(seen->colour, *raw.format);
    lines.insert(lines.begin(), nameOf(input.file));
  }
  lines[0] += ", --auto";
  cells.back().joined = true;
  cells.push_back(cellOf(seen->image, cell, lines));
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
  checkInputOptions(options.input);
  refuseTwice(options.pictures);
  for (const std::string &picture : options.pictures) refuseSameFile(picture, options.output);

  std::vector<SheetCell> cells;
  for (std::size_t i = 0; i < options.pictures.size(); ++i) {
    InputOptions input = options.input;
    input.file = options.pictures[i];
    input.named = true;
    std::vector<std::string> label;
    if (!options.labels.empty()) label = linesOf(options.labels[i]);
    Source source(input.file);
    if (isFrame(source, input)) {
      addFrame(cells, source, input, cell, label);
    } else {
      if (label.empty()) label = {nameOf(input.file)};
      cells.push_back(cellOf(loadPicture(source), cell, label));
    }
  }
  const SheetLayout layout = {cell.width, cell.height, options.columns, options.title};
  savePicture(contactSheet(cells, layout, options.output), options.output, type, options.rules);
}

}  // namespace tool
