// SPDX-License-Identifier: Apache-2.0
#include "pictures.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  return KivoFuzz::ReadPicture(data, size, [](tool::PictureFile &file) { return tool::decodeBmp(file); });
}
