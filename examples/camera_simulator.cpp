// SPDX-License-Identifier: Apache-2.0
// A GigE Vision camera that plays RWH files: each file's frame is what the camera shows in that file's pixel
// format. For trying acquisition programs on any format without a camera.
//
//   camera_simulator ADDRESS FILE.rwh...
//   camera_simulator 127.0.0.1 *.rwh &  grab 127.0.0.1 BayerRG12p 640x480
//
// ADDRESS is one of this machine's. Runs until it is stopped. A client has to ask for the width and height of
// the file; where it asks for more bytes than the file has, the rest is zero.
#include <unistd.h>

#include <KivoCamUtl.hpp>
#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>

#include "aravis_pointers.h"

namespace {

using Frames = std::map<std::uint32_t, kivo::Frame>;  // by pixel format

volatile std::sig_atomic_t s_stopped = 0;

void stop(int) {
  s_stopped = 1;
}

// What the camera shows; called by Aravis for each frame that it sends.
void fill(ArvBuffer *buffer, void *data, guint32 /*exposure*/, guint32 /*gain*/, ArvPixelFormat format) {
  const Frames &frames = *static_cast<const Frames *>(data);
  const auto found = frames.find(format);
  // The buffer's own size is that of what has been received, which here is nothing yet.
  const std::size_t pixels = static_cast<std::size_t>(arv_buffer_get_image_width(buffer)) *
                             static_cast<std::size_t>(arv_buffer_get_image_height(buffer));
  const std::size_t size = pixels * ARV_PIXEL_FORMAT_BIT_PER_PIXEL(format) / 8;
  auto *to = static_cast<std::uint8_t *>(const_cast<void *>(arv_buffer_get_data(buffer, nullptr)));
  std::memset(to, 0, size);
  if (found != frames.end())
    std::memcpy(to, found->second.data.data(), std::min(size, found->second.data.size()));
}

// The description of Aravis's own simulated camera, with our formats in front of its list.
std::string describe(const Frames &frames) {
  const Owned<ArvFakeCamera> stock(arv_fake_camera_new("stock"));
  std::size_t size = 0;
  const char *text = arv_fake_camera_get_genicam_xml(stock.get(), &size);
  std::string xml(text, size);
  std::string entries;
  for (const auto &[code, frame] : frames) {
    const std::string name = kivo::findFormat(code)->name;
    if (xml.find("<EnumEntry Name=\"" + name + "\"") != std::string::npos) continue;
    entries += "<EnumEntry Name=\"" + name + "\" NameSpace=\"Standard\"><Value>" + std::to_string(code) +
               "</Value></EnumEntry>\n";
  }
  const std::size_t list = xml.find("<Enumeration Name=\"PixelFormat\"");
  const std::size_t first = xml.find("<EnumEntry", list);
  if (list == std::string::npos || first == std::string::npos) return {};
  return xml.insert(first, entries);
}

}  // namespace

int main(int argc, char **argv) {
  if (argc < 3) {
    std::fprintf(stderr, "usage: camera_simulator ADDRESS FILE.rwh...\n");
    return 2;
  }
  Frames frames;
  for (int i = 2; i < argc; ++i) {
    kivo::Result<kivo::Frame> frame = kivo::loadRwh(argv[i]);
    if (!frame) return std::fprintf(stderr, "%s: %s\n", argv[i], frame.message()), EXIT_FAILURE;
    const std::uint32_t format = frame->format;
    frames[format] = *std::move(frame);
  }

  gchar *description = nullptr;
  const int file = g_file_open_tmp("camera_simulator-XXXXXX", &description, nullptr);
  if (file < 0) return std::fprintf(stderr, "no temporary file can be made\n"), EXIT_FAILURE;
  ::close(file);
  const std::string xml = describe(frames);

  int result = EXIT_FAILURE;
  if (xml.empty() ||
      !g_file_set_contents(description, xml.data(), static_cast<gssize>(xml.size()), nullptr)) {
    std::fprintf(stderr, "the camera's description cannot be written\n");
  } else {
    const Owned<ArvGvFakeCamera> camera(arv_gv_fake_camera_new_full(argv[1], "KIVO01", description));
    if (arv_gv_fake_camera_is_running(camera.get()) == FALSE) {
      std::fprintf(stderr, "%s: no camera can be simulated there\n", argv[1]);
    } else {
      arv_fake_camera_set_fill_pattern(arv_gv_fake_camera_get_fake_camera(camera.get()), fill, &frames);
      std::signal(SIGINT, stop);
      std::signal(SIGTERM, stop);
      std::printf("playing %zu formats at %s\n", frames.size(), argv[1]);
      std::fflush(stdout);
      while (s_stopped == 0) g_usleep(50000);
      result = EXIT_SUCCESS;
    }
  }
  (void)std::remove(description);  // it lies in a folder of temporary files
  g_free(description);
  return result;
}
