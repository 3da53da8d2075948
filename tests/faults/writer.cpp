// SPDX-License-Identifier: Apache-2.0
// Writes one file as a program does that uses the C++ layer: fault_writer bmp|rwh FILE. Exit status 1 and a
// line on standard error when it says that it failed.
#include <KivoCamUtl.hpp>
#include <array>
#include <cstdio>
#include <cstring>

int main(int argc, char **argv) {
  if (argc != 3) return 2;
  static std::array<std::uint8_t, 64 * 48> s_raw;
  for (std::size_t i = 0; i < s_raw.size(); ++i) s_raw[i] = static_cast<std::uint8_t>(i * 7);
  const kivo::FrameView frame{s_raw.data(), s_raw.size(), CAMUTL_PFNC_BAYER_RG8, 64, 48};
  kivo::Errc error = kivo::Errc::Ok;
  if (std::strcmp(argv[1], "rwh") == 0) {
    error = kivo::saveRwh(frame, argv[2]);
  } else {
    const kivo::Result<kivo::Image> image = kivo::convert(frame);
    error = image ? kivo::saveBmp(*image, argv[2]) : image.error();
  }
  if (error == kivo::Errc::Ok) return 0;
  std::fprintf(stderr, "fault_writer: %s\n", kivo::message(error));
  return 1;
}
