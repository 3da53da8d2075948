// SPDX-License-Identifier: Apache-2.0
// RWH files: a header of four little-endian words, then the rows of one raw frame, top row first.
//
// Written over the type of the file stream, so that the tests can pass one that throws.
#ifndef KIVO_CAMUTL_RWH_FILE_H
#define KIVO_CAMUTL_RWH_FILE_H

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <ios>

#include "KivoCamUtl.h"
#include "camutl/file_bytes.h"

namespace Kivo {

// Written and read as one block.
struct RwhHeader {
  std::uint32_t uiPixelFormat;
  std::uint32_t uiWidth;
  std::uint32_t uiHeight;
  std::uint32_t uiLineBytes;
};
static_assert(sizeof(RwhHeader) == 16);

// File is an output stream that opens on construction and closes on destruction, such as std::ofstream. What
// goes wrong without an exception, a full disk above all, is not reported, of which the header warns.
template <class File>
CamUtlStatus SaveRwh(const std::uint8_t *pucFrame, const RwhHeader &sHeader,
                     const char *pszFileName) noexcept {
  try {
    File file(pszFileName, std::ios::out | std::ios::binary | std::ios::trunc);
    if (!file.is_open()) return CAMUTL_STS_FILE_OPEN_ERROR;
    file.write(reinterpret_cast<const char *>(&sHeader), sizeof sHeader);
    // The size wraps in 32 bits, like that of every frame here.
    WriteBytes(file, pucFrame, sHeader.uiHeight * sHeader.uiLineBytes);
    file.close();
    return CAMUTL_STS_SUCCESS;
  } catch (...) {
    return CAMUTL_STS_FILE_WRITE_ERROR;
  }
}

// Reads the header into sHeader, then the rows: into *ppucFrame, or into memory from malloc if that is null.
// A null ppucFrame asks for the header alone. A file that is too short is no error; words of the header that
// it does not hold in full read as 0.
template <class File>
CamUtlStatus LoadRwh(const char *pszFileName, std::uint8_t **ppucFrame, RwhHeader &sHeader) noexcept {
  sHeader = {};
  try {
    File file(pszFileName, std::ios::in | std::ios::binary);
    if (!file.is_open()) return CAMUTL_STS_FILE_OPEN_ERROR;
    std::uint32_t auiWords[4] = {};
    file.read(reinterpret_cast<char *>(auiWords), sizeof auiWords);
    const auto uiWords = static_cast<std::size_t>(file.gcount()) / sizeof auiWords[0];
    for (std::size_t i = uiWords; i < 4; ++i) auiWords[i] = 0;
    sHeader = {auiWords[0], auiWords[1], auiWords[2], auiWords[3]};
    if (ppucFrame == nullptr) return CAMUTL_STS_SUCCESS;

    const std::uint32_t uiBytes = sHeader.uiLineBytes * sHeader.uiHeight;  // wraps
    if (*ppucFrame == nullptr) *ppucFrame = static_cast<std::uint8_t *>(std::malloc(uiBytes));
    // Not enough memory is not reported either: the pointer stays null.
    if (*ppucFrame != nullptr) ReadBytes(file, *ppucFrame, uiBytes);
    return CAMUTL_STS_SUCCESS;
  } catch (...) {
    return CAMUTL_STS_FILE_READ_ERROR;
  }
}

}  // namespace Kivo

#endif  // KIVO_CAMUTL_RWH_FILE_H
