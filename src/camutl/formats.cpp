// SPDX-License-Identifier: Apache-2.0
// The catalogue of pixel formats, and the queries on it. What can be converted is another matter:
// dispatch.cpp decides that on its own, and knows one code that is not here.
#include "camutl/formats.h"

#include "KivoCamUtl.h"

namespace Kivo {

const PixelFormatInfo c_asPixelFormatDic[c_uiPixelFormats] = {
    {CAMUTL_PFNC_MONO8, 0, 8, PIXEL_TYPE_MONO, "Mono8"},
    {CAMUTL_PFNC_MONO10, 0, 10, PIXEL_TYPE_MONO, "Mono10"},
    {CAMUTL_PFNC_MONO12, 0, 12, PIXEL_TYPE_MONO, "Mono12"},
    {CAMUTL_PFNC_MONO16, 0, 16, PIXEL_TYPE_MONO, "Mono16"},
    {CAMUTL_PFNC_BAYER_GR8, 96, 8, PIXEL_TYPE_BAYER, "BayerGR8"},
    {CAMUTL_PFNC_BAYER_RG8, 99, 8, PIXEL_TYPE_BAYER, "BayerRG8"},
    {CAMUTL_PFNC_BAYER_GB8, 102, 8, PIXEL_TYPE_BAYER, "BayerGB8"},
    {CAMUTL_PFNC_BAYER_BG8, 105, 8, PIXEL_TYPE_BAYER, "BayerBG8"},
    {CAMUTL_PFNC_BAYER_GR10, 96, 10, PIXEL_TYPE_BAYER, "BayerGR10"},
    {CAMUTL_PFNC_BAYER_RG10, 99, 10, PIXEL_TYPE_BAYER, "BayerRG10"},
    {CAMUTL_PFNC_BAYER_GB10, 102, 10, PIXEL_TYPE_BAYER, "BayerGB10"},
    {CAMUTL_PFNC_BAYER_BG10, 105, 10, PIXEL_TYPE_BAYER, "BayerBG10"},
    {CAMUTL_PFNC_BAYER_GR12, 96, 12, PIXEL_TYPE_BAYER, "BayerGR12"},
    {CAMUTL_PFNC_BAYER_RG12, 99, 12, PIXEL_TYPE_BAYER, "BayerRG12"},
    {CAMUTL_PFNC_BAYER_GB12, 102, 12, PIXEL_TYPE_BAYER, "BayerGB12"},
    {CAMUTL_PFNC_BAYER_BG12, 105, 12, PIXEL_TYPE_BAYER, "BayerBG12"},
    {CAMUTL_PFNC_RGB8, 32, 8, PIXEL_TYPE_RGB, "RGB8"},
    {CAMUTL_PFNC_BGR8, 4, 8, PIXEL_TYPE_RGB, "BGR8"},
    {CAMUTL_PFNC_BGR10, 4, 10, PIXEL_TYPE_RGB, "BGR10"},
    {CAMUTL_PFNC_YUV411_8_UYYVYY, 66, 8, PIXEL_TYPE_YUV, "YUV411_8_UYYVYY"},
    {CAMUTL_PFNC_YUV422_8_UYVY, 74, 8, PIXEL_TYPE_YUV, "YUV422_8_UYVY"},
    {CAMUTL_PFNC_YUV8_UYV, 82, 8, PIXEL_TYPE_YUV, "YUV8_UYV"},
};

namespace {

// Null if the catalogue lacks the code; all 32 bits count.
const PixelFormatInfo *Find(std::uint32_t uiPixelFormat) noexcept {
  for (const PixelFormatInfo &s : c_asPixelFormatDic) {
    if (s.uiPixelFormat == uiPixelFormat) return &s;
  }
  return nullptr;
}

}  // namespace
}  // namespace Kivo

using namespace Kivo;

uint32_t BitPerPixel(uint32_t uiPixelFormat) CAMUTL_NOEXCEPT {
  return uiPixelFormat >> 16 & 0xFF;
}

uint8_t DataDepth(uint32_t uiPixelFormat) CAMUTL_NOEXCEPT {
  const PixelFormatInfo *const ps = Find(uiPixelFormat);
  return ps == nullptr ? uint8_t{0} : static_cast<uint8_t>(ps->uiDataDepth);
}

// An unknown code counts as monochromic but not as Bayer: see the warning of IsMonochromic().
bool IsMonochromic(uint32_t uiPixelFormat) CAMUTL_NOEXCEPT {
  const PixelFormatInfo *const ps = Find(uiPixelFormat);
  return ps == nullptr || ps->uiPixelType == PIXEL_TYPE_MONO;
}

bool IsPixelBayer(uint32_t uiPixelFormat) CAMUTL_NOEXCEPT {
  const PixelFormatInfo *const ps = Find(uiPixelFormat);
  return ps != nullptr && ps->uiPixelType == PIXEL_TYPE_BAYER;
}
