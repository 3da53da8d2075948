// SPDX-License-Identifier: Apache-2.0
// Instead of picture_tiff.cpp, where there is no libtiff.
#include "files/byte_sink.h"
#include "pictures/picture_tiff.h"
#include "words/failure.h"

namespace tool {

void checkTiff(const std::string &subject) {
  throw Failure(Exit::Unsupported, subject,
                "TIFF and DNG are left out: this kivocam was built without libtiff");
}

void encodeTiff(const Rows &, ByteSink &sink) {
  checkTiff(sink.name());
}

void encodeDng(const Rows &, const DngFacts &, ByteSink &sink) {
  checkTiff(sink.name());
}

bool isWholeTiff(const std::uint8_t *, std::size_t, std::uint64_t) {
  return false;
}

}  // namespace tool
