// SPDX-License-Identifier: Apache-2.0
// formats: the table of pixel formats.
#include <cinttypes>
#include <cstdio>

#include "commands/commands.h"

namespace tool {

void runFormats(bool json) {
  if (json) {
    const char *separator = "[\n ";
    for (const kivo::Format &format : kivo::kFormats) {
      std::printf("%s{\"name\": \"%s\", \"code\": \"0x%08" PRIX32
                  "\", \"depth\": %u, \"bits_per_pixel\": %" PRIu32
                  ", \"opencv\": \"%s\", \"v4l2\": \"%s\", \"gstreamer\": \"%s\"}",
                  separator, format.name, format.code, unsigned{format.depth}, format.bitsPerPixel(),
                  format.opencv, format.v4l2, format.gstreamer);
      separator = ",\n ";
    }
    std::printf("\n]\n");
    return;
  }
  std::printf("%-16s %-10s  %5s  %4s  %-19s %-8s %s\n", "PFNC name", "code", "depth", "bits", "OpenCV",
              "V4L2", "GStreamer");
  for (const kivo::Format &format : kivo::kFormats)
    std::printf("%-16s 0x%08" PRIX32 "  %5u  %4" PRIu32 "  %-19s %-8s %s\n", format.name, format.code,
                unsigned{format.depth}, format.bitsPerPixel(), format.opencv, format.v4l2, format.gstreamer);
}

}  // namespace tool
