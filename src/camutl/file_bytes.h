// SPDX-License-Identifier: Apache-2.0
// Blocks of any 32-bit size to and from a file. Streams count in a signed type as wide as a pointer: where
// that has 32 bits, a block that it cannot count goes in pieces.
#ifndef KIVO_CAMUTL_FILE_BYTES_H
#define KIVO_CAMUTL_FILE_BYTES_H

#include <algorithm>
#include <cstdint>
#include <ios>
#include <limits>

namespace Kivo {

constexpr std::uint32_t c_uiFilePiece = sizeof(std::streamsize) > 4
                                            ? std::numeric_limits<std::uint32_t>::max()
                                            : std::uint32_t{1} << 30;

// At least one call for each block, so that an empty one is a block too.
template <class File>
void WriteBytes(File &file, const void *p, std::uint32_t uiBytes) {
  const char *pc = static_cast<const char *>(p);
  std::uint32_t uiLeft = uiBytes;
  do {
    const std::uint32_t uiNow = std::min(uiLeft, c_uiFilePiece);
    file.write(pc, static_cast<std::streamsize>(uiNow));
    pc += uiNow;
    uiLeft -= uiNow;
  } while (uiLeft != 0);
}

// A file that ends early leaves the rest as it is: after a read that gives less, the stream gives nothing
// more.
template <class File>
void ReadBytes(File &file, void *p, std::uint32_t uiBytes) {
  char *pc = static_cast<char *>(p);
  std::uint32_t uiLeft = uiBytes;
  do {
    const std::uint32_t uiNow = std::min(uiLeft, c_uiFilePiece);
    file.read(pc, static_cast<std::streamsize>(uiNow));
    pc += uiNow;
    uiLeft -= uiNow;
  } while (uiLeft != 0);
}

}  // namespace Kivo

#endif  // KIVO_CAMUTL_FILE_BYTES_H
