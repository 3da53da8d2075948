// SPDX-License-Identifier: Apache-2.0
// The HTML of a report: one page that needs nothing but itself, and its pictures where they are beside it.
#pragma once

#include <string>
#include <vector>

#include "commands/report_pictures.h"
#include "frames/facts.h"
#include "frames/statistics.h"

namespace tool {

// The place where standard and adaptive demosaicing differ most.
struct Detail {
  std::uint32_t x = 0;
  std::uint32_t y = 0;
  double difference = 0;  // mean of the absolute differences of all channels
  PagePicture standard;
  PagePicture adaptive;
};

// One frame, or why there is none.
struct ReportEntry {
  std::string file;
  std::string error;  // empty unless the frame could not be read
  FileFacts facts;
  const kivo::Format *format = nullptr;
  Statistics statistics;
  PagePicture thumbnail;
  PagePicture seen;        // as a person wants to see it; none of YUV, which the camera has made so
  std::string colour;      // the settings for that, as options
  bool stretched = false;  // whether the pictures show the frame's own range spread from black to white
  bool hasDetail = false;
  Detail detail;
};

// Pixels of a detail; each is shown as a square of this many.
inline constexpr std::uint32_t kDetailWidth = 32;
inline constexpr std::uint32_t kDetailHeight = 24;
inline constexpr std::uint32_t kDetailScale = 8;

std::string pageHead(const std::string &title);
// The table of all frames, and what could not be read.
std::string pageSummary(const std::vector<ReportEntry> &entries);
// The part of one frame; `number` names it within the page.
std::string pageCard(const ReportEntry &entry, std::size_t number, const ReportPictures &pictures);
std::string pageEnd();

}  // namespace tool
