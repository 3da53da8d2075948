// SPDX-License-Identifier: Apache-2.0
// Grabs frames from a GigE Vision or USB3 Vision camera with Aravis, and saves each twice: as the camera sent
// it (RWH) and as a picture (BMP).
//
//   grab CAMERA [FORMAT [WIDTHxHEIGHT [COUNT]]]
//   grab 192.168.0.12 BayerRG12p 1920x1080 5
//
// The camera is named by address or by Aravis's name of it; "-" keeps its pixel format or its region. Frames
// are named frame-0.rwh, frame-0.bmp and so on, in the working directory.
#include <KivoCamUtl.hpp>
#include <cinttypes>
#include <cstdlib>
#include <cstring>
#include <string>

#include "aravis_pointers.h"

namespace {

// What kivo::convert() needs to know about a buffer that a camera has filled. No copy is made.
kivo::FrameView viewOf(ArvBuffer *buffer) {
  kivo::FrameView view;
  view.data = static_cast<const std::uint8_t *>(arv_buffer_get_data(buffer, &view.size));
  view.format = arv_buffer_get_image_pixel_format(buffer);
  view.width = static_cast<std::uint32_t>(arv_buffer_get_image_width(buffer));
  view.height = static_cast<std::uint32_t>(arv_buffer_get_image_height(buffer));
  gint xPadding = 0, yPadding = 0;
  arv_buffer_get_image_padding(buffer, &xPadding, &yPadding);
  const kivo::Format *format = kivo::findFormat(view.format);
  if (format != nullptr && xPadding > 0)
    view.stride = static_cast<std::ptrdiff_t>(kivo_row_bytes(format->code, view.width)) + xPadding;
  return view;
}

bool save(const kivo::FrameView &frame, int number) {
  const std::string name = "frame-" + std::to_string(number);
  const kivo::Errc saved = kivo::saveRwh(frame, (name + ".rwh").c_str());
  if (saved != kivo::Errc::Ok) std::fprintf(stderr, "%s.rwh: %s\n", name.c_str(), kivo::message(saved));

  const kivo::Result<kivo::Image> image = kivo::convert(frame);
  if (!image) {
    std::fprintf(stderr, "format 0x%08" PRIX32 ": %s\n", frame.format, image.message());
    return false;
  }
  const kivo::Errc written = kivo::saveBmp(*image, (name + ".bmp").c_str());
  if (written != kivo::Errc::Ok) std::fprintf(stderr, "%s.bmp: %s\n", name.c_str(), kivo::message(written));
  return saved == kivo::Errc::Ok && written == kivo::Errc::Ok;
}

// Whether the camera is set up as asked for.
bool configure(ArvCamera *camera, const char *formatName, const char *size) {
  if (std::strcmp(formatName, "-") != 0) {
    const kivo::Format *format = kivo::findFormat(formatName);
    if (format == nullptr) return std::fprintf(stderr, "%s: not a known pixel format\n", formatName), false;
    Problem problem("pixel format");
    arv_camera_set_pixel_format(camera, format->code, problem);
    if (problem.occurred()) return false;
  }
  int width = 0, height = 0;
  if (std::strcmp(size, "-") != 0) {
    if (std::sscanf(size, "%6dx%6d", &width, &height) != 2)
      return std::fprintf(stderr, "%s: not WIDTHxHEIGHT\n", size), false;
    Problem problem("region");
    arv_camera_set_region(camera, 0, 0, width, height, problem);
    if (problem.occurred()) return false;
  }
  return true;
}

int grab(ArvCamera *camera, int count) {
  Problem noStream("stream");
  const Owned<ArvStream> stream(arv_camera_create_stream(camera, nullptr, nullptr, noStream));
  if (noStream.occurred()) return EXIT_FAILURE;
  Problem noPayload("payload");
  const guint payload = arv_camera_get_payload(camera, noPayload);
  if (noPayload.occurred()) return EXIT_FAILURE;
  for (int i = 0; i < 8; ++i) arv_stream_push_buffer(stream.get(), arv_buffer_new_allocate(payload));

  Problem noStart("start");
  arv_camera_start_acquisition(camera, noStart);
  if (noStart.occurred()) return EXIT_FAILURE;
  int taken = 0;
  bool good = true;
  for (int missed = 0; taken < count && missed < 50;) {
    ArvBuffer *buffer = arv_stream_timeout_pop_buffer(stream.get(), 2000000);
    // A frame that lost packets on the way is left for the next one.
    if (buffer != nullptr && arv_buffer_get_status(buffer) == ARV_BUFFER_STATUS_SUCCESS)
      good = save(viewOf(buffer), taken++) && good;
    else
      ++missed;
    if (buffer != nullptr) arv_stream_push_buffer(stream.get(), buffer);
  }
  arv_camera_stop_acquisition(camera, nullptr);
  std::printf("%d of %d frames\n", taken, count);
  return good && taken == count ? EXIT_SUCCESS : EXIT_FAILURE;
}

}  // namespace

int main(int argc, char **argv) {
  if (argc < 2 || argc > 5) {
    std::fprintf(stderr, "usage: grab CAMERA [FORMAT [WIDTHxHEIGHT [COUNT]]]\n");
    return 2;
  }
  Problem noCamera("camera");
  const Owned<ArvCamera> camera(arv_camera_new(argv[1], noCamera));
  if (noCamera.occurred()) return EXIT_FAILURE;
  if (!configure(camera.get(), argc > 2 ? argv[2] : "-", argc > 3 ? argv[3] : "-")) return EXIT_FAILURE;
  return grab(camera.get(), argc > 4 ? std::atoi(argv[4]) : 1);
}
