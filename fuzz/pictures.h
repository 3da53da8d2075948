// SPDX-License-Identifier: Apache-2.0
// A reader of pictures, given any bytes: a picture of the size that it says, or a failure that says why.
#ifndef KIVO_FUZZ_PICTURES_H
#define KIVO_FUZZ_PICTURES_H

#include "harness.h"
#include "pictures/picture.h"
#include "pictures/picture_file.h"
#include "words/failure.h"

namespace KivoFuzz {

// Room for a picture of these pixels is what the reader spends most of its time with.
constexpr std::size_t kMostInput = std::size_t{1} << 16;

template <class Decode>
int ReadPicture(const std::uint8_t *data, std::size_t size, Decode decode) {
  if (size > kMostInput) return -1;
  static const MemoryFile file;
  file.Hold(data, size);
  try {
    tool::PictureFile from(file.name());
    const tool::Picture picture = decode(from);
    Require(picture.width != 0 && picture.height != 0 && (picture.bits == 8 || picture.bits == 16) &&
                picture.rgb.size() == picture.samples() * (picture.bits / 8),
            "a picture has the samples of its size");
    std::uint64_t sum = 0;
    for (const std::uint8_t byte : picture.rgb) sum += byte;
    Require(sum <= picture.rgb.size() * 255, "every sample is there");  // and is read
  } catch (const tool::Failure &failure) {
    Require(failure.what()[0] != '\0', "a failure says why");
  }
  return 0;
}

}  // namespace KivoFuzz

#endif  // KIVO_FUZZ_PICTURES_H
