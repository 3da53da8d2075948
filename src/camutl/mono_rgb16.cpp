// SPDX-License-Identifier: Apache-2.0
// Monochrome and packed RGB and BGR of 16-bit samples: a frame is one run of pixels. The fixed-depth
// converters are their workers with a constant shift.
#include "camutl/converter.h"

namespace Kivo {
namespace {

const MonoRgb16Kernels &Family() noexcept {
  return *ActiveKernels().psMonoRgb16;
}

// uiSrcPixel is what a pixel of the source takes. Only grey to BGRA is defined by a lookup table and so
// refuses before PrepareLUT().
template <Output eOut, std::size_t uiSrcPixel>
CamUtlStatus Convert(RunKernel pfnKernel, void *pDst, const std::uint8_t *pucSrc, std::uint32_t uiWidth,
                     std::uint32_t uiHeight, std::uint32_t uiShift) noexcept {
  constexpr Tables c_eTables = eOut == c_eBGRA && uiSrcPixel == 2 ? Tables::Needed : Tables::NotNeeded;
  const CamUtlStatus eStatus = CheckBuffers(pDst, pucSrc, c_eTables);
  if (eStatus != CAMUTL_STS_SUCCESS) return eStatus;
  return ConvertRun(pfnKernel, pDst, pucSrc, RunPixels(uiWidth, uiHeight), uiSrcPixel, PixelBytes(eOut),
                    ShiftCount(uiShift));
}

}  // namespace
}  // namespace Kivo

using namespace Kivo;

CamUtlStatus ConvMonoNToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth, uint32_t uiHeight,
                             uint32_t uiShift) CAMUTL_NOEXCEPT {
  return Convert<c_eBGRA, 2>(Family().apfnMono[c_eBGRA], puiDst, pucSrc, uiWidth, uiHeight, uiShift);
}

CamUtlStatus ConvMono10ToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                              uint32_t uiHeight) CAMUTL_NOEXCEPT {
  return ConvMonoNToBGRA(puiDst, pucSrc, uiWidth, uiHeight, 2);
}

CamUtlStatus ConvMono12ToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                              uint32_t uiHeight) CAMUTL_NOEXCEPT {
  return ConvMonoNToBGRA(puiDst, pucSrc, uiWidth, uiHeight, 4);
}

CamUtlStatus ConvMono16ToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                              uint32_t uiHeight) CAMUTL_NOEXCEPT {
  return ConvMonoNToBGRA(puiDst, pucSrc, uiWidth, uiHeight, 8);
}

CamUtlStatus ConvRGBNToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth, uint32_t uiHeight,
                            uint32_t uiShift) CAMUTL_NOEXCEPT {
  return Convert<c_eBGRA, 6>(Family().apfnRGB[c_eBGRA], puiDst, pucSrc, uiWidth, uiHeight, uiShift);
}

CamUtlStatus ConvRGB10PToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                              uint32_t uiHeight) CAMUTL_NOEXCEPT {
  return ConvRGBNToBGRA(puiDst, pucSrc, uiWidth, uiHeight, 2);
}

CamUtlStatus ConvRGB12PToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                              uint32_t uiHeight) CAMUTL_NOEXCEPT {
  return ConvRGBNToBGRA(puiDst, pucSrc, uiWidth, uiHeight, 4);
}

CamUtlStatus ConvBGRNToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth, uint32_t uiHeight,
                            uint32_t uiShift) CAMUTL_NOEXCEPT {
  return Convert<c_eBGRA, 6>(Family().apfnBGR[c_eBGRA], puiDst, pucSrc, uiWidth, uiHeight, uiShift);
}

CamUtlStatus ConvBGR10PToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                              uint32_t uiHeight) CAMUTL_NOEXCEPT {
  return ConvBGRNToBGRA(puiDst, pucSrc, uiWidth, uiHeight, 2);
}

CamUtlStatus ConvBGR12PToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                              uint32_t uiHeight) CAMUTL_NOEXCEPT {
  return ConvBGRNToBGRA(puiDst, pucSrc, uiWidth, uiHeight, 4);
}

CamUtlStatus ConvMonoNToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth, uint32_t uiHeight,
                            uint32_t uiShift) CAMUTL_NOEXCEPT {
  return Convert<c_eBGR, 2>(Family().apfnMono[c_eBGR], pucDst, pucSrc, uiWidth, uiHeight, uiShift);
}

CamUtlStatus ConvMono10ToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                             uint32_t uiHeight) CAMUTL_NOEXCEPT {
  return ConvMonoNToBGR(pucDst, pucSrc, uiWidth, uiHeight, 2);
}

CamUtlStatus ConvMono12ToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                             uint32_t uiHeight) CAMUTL_NOEXCEPT {
  return ConvMonoNToBGR(pucDst, pucSrc, uiWidth, uiHeight, 4);
}

CamUtlStatus ConvMono16ToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                             uint32_t uiHeight) CAMUTL_NOEXCEPT {
  return ConvMonoNToBGR(pucDst, pucSrc, uiWidth, uiHeight, 8);
}

CamUtlStatus ConvRGBNToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth, uint32_t uiHeight,
                           uint32_t uiShift) CAMUTL_NOEXCEPT {
  return Convert<c_eBGR, 6>(Family().apfnRGB[c_eBGR], pucDst, pucSrc, uiWidth, uiHeight, uiShift);
}

CamUtlStatus ConvRGB10PToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                             uint32_t uiHeight) CAMUTL_NOEXCEPT {
  return ConvRGBNToBGR(pucDst, pucSrc, uiWidth, uiHeight, 2);
}

CamUtlStatus ConvRGB12PToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                             uint32_t uiHeight) CAMUTL_NOEXCEPT {
  return ConvRGBNToBGR(pucDst, pucSrc, uiWidth, uiHeight, 4);
}

CamUtlStatus ConvBGRNToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth, uint32_t uiHeight,
                           uint32_t uiShift) CAMUTL_NOEXCEPT {
  return Convert<c_eBGR, 6>(Family().apfnBGR[c_eBGR], pucDst, pucSrc, uiWidth, uiHeight, uiShift);
}

CamUtlStatus ConvBGR10PToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                             uint32_t uiHeight) CAMUTL_NOEXCEPT {
  return ConvBGRNToBGR(pucDst, pucSrc, uiWidth, uiHeight, 2);
}

CamUtlStatus ConvBGR12PToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                             uint32_t uiHeight) CAMUTL_NOEXCEPT {
  return ConvBGRNToBGR(pucDst, pucSrc, uiWidth, uiHeight, 4);
}
