// SPDX-License-Identifier: Apache-2.0
// sheet: thumbnails with captions on one page.
#include <filesystem>

#include "commands/commands.h"
#include "files/file_list.h"
#include "pictures/contact_sheet.h"
#include "pictures/picture.h"
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

  std::vector<SheetCell> cells;
  for (std::size_t i = 0; i < options.pictures.size(); ++i) {
    const std::string &picture = options.pictures[i];
    cells.push_back({[&picture] { return loadPicture(picture); },
                     options.labels.empty()
                         ? std::vector<std::string>{std::filesystem::path(picture).stem().string()}
                         : linesOf(options.labels[i])});
  }
  const SheetLayout layout = {cell.width, cell.height, options.columns, options.title};
  savePicture(contactSheet(cells, layout, options.output), options.output, type, options.rules);
}

}  // namespace tool
