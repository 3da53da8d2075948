// SPDX-License-Identifier: Apache-2.0
// Adaptive demosaic of 8-bit mosaics. It is defined for even sizes of at least 4; any other gets the standard
// demosaic of the same order.
#include "convert8/converter.h"

namespace Kivo {
namespace {

bool IsAdaptiveSize(std::uint32_t uiSize) noexcept {
  return uiSize >= 4 && uiSize % 2 == 0;
}

template <Output eOut>
CamUtlStatus Convert(BayerOrder eOrder, void *pDst, const std::uint8_t *pucSrc, std::uint32_t uiWidth,
                     std::uint32_t uiHeight) noexcept {
  const CamUtlStatus eStatus = CheckBuffers(pDst, pucSrc, Tables::NotNeeded);
  if (eStatus != CAMUTL_STS_SUCCESS) return eStatus;
  const Kernels &sKernels = ActiveKernels();
  const BayerKernel pfnKernel = IsAdaptiveSize(uiWidth) && IsAdaptiveSize(uiHeight)
                                    ? sKernels.psAcpi8->apfn[eOut]
                                    : sKernels.psBayer8->apfn[eOut];
  return ConvertBayer(pfnKernel, pDst, pucSrc, uiWidth, uiHeight, PixelBytes(eOut), eOrder);
}

}  // namespace
}  // namespace Kivo

using namespace Kivo;

CamUtlStatus ConvByrGR8ToBGRAACPI(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                  uint32_t uiHeight) CAMUTL_NOEXCEPT {
  return Convert<c_eBGRA>(BayerOrder::GR, puiDst, pucSrc, uiWidth, uiHeight);
}

CamUtlStatus ConvByrRG8ToBGRAACPI(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                  uint32_t uiHeight) CAMUTL_NOEXCEPT {
  return Convert<c_eBGRA>(BayerOrder::RG, puiDst, pucSrc, uiWidth, uiHeight);
}

CamUtlStatus ConvByrGB8ToBGRAACPI(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                  uint32_t uiHeight) CAMUTL_NOEXCEPT {
  return Convert<c_eBGRA>(BayerOrder::GB, puiDst, pucSrc, uiWidth, uiHeight);
}

CamUtlStatus ConvByrBG8ToBGRAACPI(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                  uint32_t uiHeight) CAMUTL_NOEXCEPT {
  return Convert<c_eBGRA>(BayerOrder::BG, puiDst, pucSrc, uiWidth, uiHeight);
}

CamUtlStatus ConvByrGR8ToBGRACPI(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                 uint32_t uiHeight) CAMUTL_NOEXCEPT {
  return Convert<c_eBGR>(BayerOrder::GR, pucDst, pucSrc, uiWidth, uiHeight);
}

CamUtlStatus ConvByrRG8ToBGRACPI(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                 uint32_t uiHeight) CAMUTL_NOEXCEPT {
  return Convert<c_eBGR>(BayerOrder::RG, pucDst, pucSrc, uiWidth, uiHeight);
}

CamUtlStatus ConvByrGB8ToBGRACPI(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                 uint32_t uiHeight) CAMUTL_NOEXCEPT {
  return Convert<c_eBGR>(BayerOrder::GB, pucDst, pucSrc, uiWidth, uiHeight);
}

CamUtlStatus ConvByrBG8ToBGRACPI(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                 uint32_t uiHeight) CAMUTL_NOEXCEPT {
  return Convert<c_eBGR>(BayerOrder::BG, pucDst, pucSrc, uiWidth, uiHeight);
}
