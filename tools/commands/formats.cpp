// SPDX-License-Identifier: Apache-2.0
// formats: the table of pixel formats.
#include <cinttypes>
#include <cstdio>

#include "commands/commands.h"
#include "words/text.h"

namespace tool {
namespace {

unsigned bitsOf(const kivo::Format &format) {
  return format.code >> 16 & 0xFF;
}

void printJson() {
  const auto name = [](const char *text) { return text == nullptr ? std::string("null") : jsonString(text); };
  const char *separator = "[\n ";
  for (const kivo::Format &format : kivo::formats()) {
    std::printf("%s{\"name\": \"%s\", \"code\": \"0x%08" PRIX32 "\", \"depth\": %" PRIu32
                ", \"bits_per_pixel\": %u, \"opencv\": %s, \"v4l2\": %s, \"gstreamer\": %s, \"ros\": %s}",
                separator, format.name, format.code, format.depth, bitsOf(format),
                name(format.opencv).c_str(), name(format.v4l2).c_str(), name(format.gstreamer).c_str(),
                name(format.ros).c_str());
    separator = ",\n ";
  }
  std::printf("\n]\n");
}

}  // namespace

void runFormats(bool json) {
  if (json) return printJson();
  const auto name = [](const char *text) { return text == nullptr ? "-" : text; };
  const char *const pattern = "%-23s %-10s  %5s  %4s  %-19s %-8s %-10s %s\n";
  std::printf(pattern, "PFNC name", "code", "depth", "bits", "OpenCV", "V4L2", "GStreamer", "ROS");
  for (const kivo::Format &format : kivo::formats())
    std::printf(pattern, format.name, printed("0x%08" PRIX32, format.code).c_str(),
                std::to_string(format.depth).c_str(), std::to_string(bitsOf(format)).c_str(),
                name(format.opencv), name(format.v4l2), name(format.gstreamer), name(format.ros));
}

}  // namespace tool
