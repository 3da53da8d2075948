// SPDX-License-Identifier: Apache-2.0
// The C++ layer in a program of its own: a packed frame to a file and to a picture.
#include <KivoCamUtl.hpp>
#include <vector>

int main(int argc, char **argv) {
  if (argc != 3) return 1;
  const kivo::Format *format = kivo::findFormat("BayerRG12p");
  std::vector<std::uint8_t> buffer(static_cast<std::size_t>(kivo_frame_bytes(format->code, 64, 48)));
  for (std::size_t i = 0; i < buffer.size(); ++i) buffer[i] = static_cast<std::uint8_t>(i * 7);
  const kivo::FrameView frame{buffer.data(), buffer.size(), format->code, 64, 48};
  if (kivo::saveRwh(frame, argv[1]) != kivo::Errc::Ok) return 2;
  const kivo::Result<kivo::Image> image = kivo::convert(frame);
  if (!image || kivo::saveBmp(*image, argv[2]) != kivo::Errc::Ok) return 3;
  return 0;
}
