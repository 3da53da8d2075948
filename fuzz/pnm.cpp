// SPDX-License-Identifier: Apache-2.0
#include "pictures.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  const tool::Depth depth = size % 2 == 0 ? tool::Depth::Reduced : tool::Depth::Kept;
  return KivoFuzz::ReadPicture(data, size,
                               [depth](tool::PictureFile &file) { return tool::decodePnm(file, depth); });
}
