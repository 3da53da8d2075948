// SPDX-License-Identifier: Apache-2.0
// Thumbnails with captions on one page.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "pictures/picture.h"

namespace tool {

// A picture, made when it is drawn, and the lines below it.
struct SheetCell {
  std::function<Picture()> picture;
  std::vector<std::string> lines;
  bool joined = false;  // stays in one row with the next one, where a row has two
};

struct SheetLayout {
  std::uint32_t cellWidth = 240;
  std::uint32_t cellHeight = 180;
  std::size_t columns = 4;
  std::string title;
};

// `subject` names the page in messages. Throws Failure for a page that is too large.
Picture contactSheet(const std::vector<SheetCell> &cells, const SheetLayout &layout,
                     const std::string &subject);

}  // namespace tool
