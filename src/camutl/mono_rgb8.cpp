// SPDX-License-Identifier: Apache-2.0
// Mono8 and packed 8-bit RGB and BGR: a frame is one run of pixels.
#include "camutl/converter.h"

namespace Kivo {
namespace {

const MonoRgb8Kernels &Family() noexcept {
  return *ActiveKernels().psMonoRgb8;
}

// Packed colour ends where a 32-bit count of its source bytes ends, which for frames beyond 4 GiB is early:
// see the warning of the header.
std::size_t PackedPixels(std::uint32_t uiWidth, std::uint32_t uiHeight) noexcept {
  const std::uint32_t uiBytes = uiWidth * uiHeight * 3;
  return uiBytes / 3 + (uiBytes % 3 != 0 ? 1 : 0);
}

// uiSrcPixel is what a pixel of the source takes. Only grey to BGRA is defined by a lookup table and so
// refuses before PrepareLUT().
template <Output eOut, std::size_t uiSrcPixel>
CamUtlStatus Convert(RunKernel pfnKernel, void *pDst, const std::uint8_t *pucSrc, std::uint32_t uiWidth,
                     std::uint32_t uiHeight) noexcept {
  constexpr Tables c_eTables = eOut == c_eBGRA && uiSrcPixel == 1 ? Tables::Needed : Tables::NotNeeded;
  const CamUtlStatus eStatus = CheckBuffers(pDst, pucSrc, c_eTables);
  if (eStatus != CAMUTL_STS_SUCCESS) return eStatus;
  return ConvertRun(pfnKernel, pDst, pucSrc,
                    uiSrcPixel == 1 ? RunPixels(uiWidth, uiHeight) : PackedPixels(uiWidth, uiHeight),
                    uiSrcPixel, PixelBytes(eOut));
}

}  // namespace
}  // namespace Kivo

using namespace Kivo;

CamUtlStatus ConvMono8ToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                             uint32_t uiHeight) CAMUTL_NOEXCEPT {
  return Convert<c_eBGRA, 1>(Family().apfnMono[c_eBGRA], puiDst, pucSrc, uiWidth, uiHeight);
}

CamUtlStatus ConvRGB8PToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                             uint32_t uiHeight) CAMUTL_NOEXCEPT {
  return Convert<c_eBGRA, 3>(Family().apfnRGB[c_eBGRA], puiDst, pucSrc, uiWidth, uiHeight);
}

CamUtlStatus ConvBGR8PToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                             uint32_t uiHeight) CAMUTL_NOEXCEPT {
  return Convert<c_eBGRA, 3>(Family().pfnBGRToBGRA, puiDst, pucSrc, uiWidth, uiHeight);
}

CamUtlStatus ConvMono8ToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                            uint32_t uiHeight) CAMUTL_NOEXCEPT {
  return Convert<c_eBGR, 1>(Family().apfnMono[c_eBGR], pucDst, pucSrc, uiWidth, uiHeight);
}

CamUtlStatus ConvRGB8PToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                            uint32_t uiHeight) CAMUTL_NOEXCEPT {
  return Convert<c_eBGR, 3>(Family().apfnRGB[c_eBGR], pucDst, pucSrc, uiWidth, uiHeight);
}

CamUtlStatus ConvBGR8PToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                            uint32_t uiHeight) CAMUTL_NOEXCEPT {
  const CamUtlStatus eStatus = CheckBuffers(pucDst, pucSrc, Tables::NotNeeded);
  if (eStatus != CAMUTL_STS_SUCCESS) return eStatus;
  // One block: the byte count is the 32-bit product, and wraps as such.
  const uint32_t uiBytes = uiHeight * 3 * uiWidth;
  return ConvertRun(ActiveKernels().psReverse->pfnCopy, pucDst, pucSrc, uiBytes, 1, 1);
}
