// SPDX-License-Identifier: Apache-2.0
// The pixel formats that the library knows by name.
#ifndef KIVO_CAMUTL_FORMATS_H
#define KIVO_CAMUTL_FORMATS_H

#include <cstdint>

namespace Kivo {

// Single bits, but every format has exactly one.
enum PixelType : std::uint32_t {
  PIXEL_TYPE_MONO = 1,
  PIXEL_TYPE_RGB = 2,  // packed RGB or BGR
  PIXEL_TYPE_BAYER = 4,
  PIXEL_TYPE_YUV = 8,
};

struct PixelFormatInfo {
  std::uint32_t uiPixelFormat;  // PFNC code
  std::uint32_t uiFormatCode;   // a second number, kept for reference; nothing reads it
  std::uint32_t uiDataDepth;    // significant bits of a sample
  PixelType uiPixelType;
  const char *pszName;  // PFNC name
};

constexpr unsigned c_uiPixelFormats = 22;
extern const PixelFormatInfo c_asPixelFormatDic[c_uiPixelFormats];

}  // namespace Kivo

#endif  // KIVO_CAMUTL_FORMATS_H
