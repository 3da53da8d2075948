// SPDX-License-Identifier: Apache-2.0
// Uncompressed Windows BMP files of 8, 24 and 32 bits: BITMAPFILEHEADER, BITMAPINFOHEADER, a grey palette for
// 8 bits, then the rows, bottom row first, each padded to a multiple of four bytes.
//
// Written over the type of the file stream, so that the tests can pass one that throws.
#ifndef KIVO_CAMUTL_BMP_FILE_H
#define KIVO_CAMUTL_BMP_FILE_H

#include <cstddef>
#include <cstdint>
#include <ios>

#include "KivoCamUtl.h"
#include "camutl/file_bytes.h"

namespace Kivo {

struct BmpKind {
  std::uint32_t uiPixelBytes;
  std::uint32_t uiPaletteEntries;
  std::uint32_t uiPixelsPerMetre;
};
constexpr BmpKind c_sBmpARGB = {4, 0, 16000};
constexpr BmpKind c_sBmpRGB = {3, 0, 16000};
// Ten times the resolution of the colour files, as the table of BMP files in the header says.
constexpr BmpKind c_sBmpMono = {1, 256, 160000};

// Little-endian fields one after the other.
template <std::size_t uiSize>
class BmpFields {
 public:
  template <class Word>
  void Put(Word uiValue) noexcept {
    for (std::size_t i = 0; i < sizeof(Word); ++i) {
      m_ac[m_uiUsed++] = static_cast<char>(static_cast<unsigned char>(std::uint64_t{uiValue} >> 8 * i));
    }
  }
  const char *Data() const noexcept { return m_ac; }
  std::streamsize Size() const noexcept { return static_cast<std::streamsize>(m_uiUsed); }

 private:
  char m_ac[uiSize] = {};
  std::size_t m_uiUsed = 0;
};

// File is an output stream that opens on construction and closes on destruction, such as std::ofstream.
// uiStride is the distance of the source rows. All sizes wrap in 32 bits. What goes wrong without an
// exception, a full disk above all, is not reported, of which the header warns.
template <class File>
CamUtlStatus SaveBmp(const BmpKind &sKind, const void *pImage, std::uint32_t uiWidth, std::uint32_t uiHeight,
                     std::uint32_t uiStride, const char *pszFileName) noexcept {
  constexpr std::uint32_t c_uiFileHeader = 14;
  constexpr std::uint32_t c_uiInfoHeader = 40;
  const std::uint32_t uiRowBytes = uiWidth * sKind.uiPixelBytes;
  const std::uint32_t uiPadding = (0u - uiRowBytes) & 3;
  const std::uint32_t uiImageBytes = (uiRowBytes + uiPadding) * uiHeight;
  const std::uint32_t uiOffset = c_uiFileHeader + c_uiInfoHeader + 4 * sKind.uiPaletteEntries;

  BmpFields<c_uiFileHeader> sFileHeader;
  sFileHeader.Put(std::uint16_t{0x4D42});  // "BM"
  sFileHeader.Put(uiImageBytes + uiOffset);
  sFileHeader.Put(std::uint32_t{0});
  sFileHeader.Put(uiOffset);

  BmpFields<c_uiInfoHeader> sInfoHeader;
  sInfoHeader.Put(c_uiInfoHeader);
  sInfoHeader.Put(uiWidth);
  sInfoHeader.Put(uiHeight);  // positive: bottom row first
  sInfoHeader.Put(std::uint16_t{1});
  sInfoHeader.Put(static_cast<std::uint16_t>(8 * sKind.uiPixelBytes));
  sInfoHeader.Put(std::uint32_t{0});  // no compression
  sInfoHeader.Put(uiImageBytes);
  sInfoHeader.Put(sKind.uiPixelsPerMetre);
  sInfoHeader.Put(sKind.uiPixelsPerMetre);
  sInfoHeader.Put(sKind.uiPaletteEntries);
  sInfoHeader.Put(sKind.uiPaletteEntries);

  BmpFields<4 * 256> sPalette;
  for (std::uint32_t g = 0; g < sKind.uiPaletteEntries; ++g) sPalette.Put(g * 0x010101u);

  try {
    File file(pszFileName, std::ios::out | std::ios::binary | std::ios::trunc);
    if (!file.is_open()) return CAMUTL_STS_FILE_OPEN_ERROR;
    file.write(sFileHeader.Data(), sFileHeader.Size());
    file.write(sInfoHeader.Data(), sInfoHeader.Size());
    if (sKind.uiPaletteEntries != 0) file.write(sPalette.Data(), sPalette.Size());
    // Rows are counted as a signed 32-bit number: a height of 2^31 or more writes none. Rows of nothing need
    // no counting.
    constexpr char c_acZero[4] = {};
    for (auto iRows = uiRowBytes == 0 ? 0 : static_cast<std::int32_t>(uiHeight); iRows > 0; --iRows) {
      const std::size_t uiStart = static_cast<std::size_t>(iRows - 1) * uiStride;
      WriteBytes(file, static_cast<const char *>(pImage) + uiStart, uiRowBytes);
      if (uiPadding != 0) WriteBytes(file, c_acZero, uiPadding);
    }
    file.close();
    return CAMUTL_STS_SUCCESS;
  } catch (...) {
    return CAMUTL_STS_FILE_WRITE_ERROR;
  }
}

}  // namespace Kivo

#endif  // KIVO_CAMUTL_BMP_FILE_H
