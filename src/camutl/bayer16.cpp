// SPDX-License-Identifier: Apache-2.0
// Standard demosaic of 16-bit mosaics, of any size. The fixed-depth converters are their workers with a
// constant shift.
#include "camutl/converter.h"

namespace Kivo {
namespace {

template <Output eOut>
CamUtlStatus Convert(BayerOrder eOrder, void *pDst, const std::uint8_t *pucSrc, std::uint32_t uiWidth,
                     std::uint32_t uiHeight, std::uint32_t uiShift) noexcept {
  const CamUtlStatus eStatus = CheckBuffers(pDst, pucSrc, Tables::NotNeeded);
  if (eStatus != CAMUTL_STS_SUCCESS) return eStatus;
  if (uiWidth == 0 || uiHeight == 0) return CAMUTL_STS_SUCCESS;
  MosaicJob sJob = MakeMosaicJob(pDst, pucSrc, uiWidth, uiHeight, eOut, 2, eOrder);
  sJob.uiShift = ShiftCount(uiShift);
  ActiveKernels().psBayer16->apfn[eOut](sJob);
  StreamFence(sJob.bStream);
  return CAMUTL_STS_SUCCESS;
}

}  // namespace
}  // namespace Kivo

using namespace Kivo;

CamUtlStatus ConvByrGRNToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth, uint32_t uiHeight,
                              uint32_t uiShift) CAMUTL_NOEXCEPT {
  return Convert<c_eBGRA>(BayerOrder::GR, puiDst, pucSrc, uiWidth, uiHeight, uiShift);
}

CamUtlStatus ConvByrGR10ToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                               uint32_t uiHeight) CAMUTL_NOEXCEPT {
  return ConvByrGRNToBGRA(puiDst, pucSrc, uiWidth, uiHeight, 2);
}

CamUtlStatus ConvByrGR12ToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                               uint32_t uiHeight) CAMUTL_NOEXCEPT {
  return ConvByrGRNToBGRA(puiDst, pucSrc, uiWidth, uiHeight, 4);
}

CamUtlStatus ConvByrRGNToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth, uint32_t uiHeight,
                              uint32_t uiShift) CAMUTL_NOEXCEPT {
  return Convert<c_eBGRA>(BayerOrder::RG, puiDst, pucSrc, uiWidth, uiHeight, uiShift);
}

CamUtlStatus ConvByrRG10ToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                               uint32_t uiHeight) CAMUTL_NOEXCEPT {
  return ConvByrRGNToBGRA(puiDst, pucSrc, uiWidth, uiHeight, 2);
}

CamUtlStatus ConvByrRG12ToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                               uint32_t uiHeight) CAMUTL_NOEXCEPT {
  return ConvByrRGNToBGRA(puiDst, pucSrc, uiWidth, uiHeight, 4);
}

CamUtlStatus ConvByrGBNToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth, uint32_t uiHeight,
                              uint32_t uiShift) CAMUTL_NOEXCEPT {
  return Convert<c_eBGRA>(BayerOrder::GB, puiDst, pucSrc, uiWidth, uiHeight, uiShift);
}

CamUtlStatus ConvByrGB10ToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                               uint32_t uiHeight) CAMUTL_NOEXCEPT {
  return ConvByrGBNToBGRA(puiDst, pucSrc, uiWidth, uiHeight, 2);
}

CamUtlStatus ConvByrGB12ToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                               uint32_t uiHeight) CAMUTL_NOEXCEPT {
  return ConvByrGBNToBGRA(puiDst, pucSrc, uiWidth, uiHeight, 4);
}

CamUtlStatus ConvByrBGNToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth, uint32_t uiHeight,
                              uint32_t uiShift) CAMUTL_NOEXCEPT {
  return Convert<c_eBGRA>(BayerOrder::BG, puiDst, pucSrc, uiWidth, uiHeight, uiShift);
}

CamUtlStatus ConvByrBG10ToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                               uint32_t uiHeight) CAMUTL_NOEXCEPT {
  return ConvByrBGNToBGRA(puiDst, pucSrc, uiWidth, uiHeight, 2);
}

CamUtlStatus ConvByrBG12ToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                               uint32_t uiHeight) CAMUTL_NOEXCEPT {
  return ConvByrBGNToBGRA(puiDst, pucSrc, uiWidth, uiHeight, 4);
}

CamUtlStatus ConvByrGRNToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth, uint32_t uiHeight,
                             uint32_t uiShift) CAMUTL_NOEXCEPT {
  return Convert<c_eBGR>(BayerOrder::GR, pucDst, pucSrc, uiWidth, uiHeight, uiShift);
}

CamUtlStatus ConvByrGR10ToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                              uint32_t uiHeight) CAMUTL_NOEXCEPT {
  return ConvByrGRNToBGR(pucDst, pucSrc, uiWidth, uiHeight, 2);
}

CamUtlStatus ConvByrGR12ToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                              uint32_t uiHeight) CAMUTL_NOEXCEPT {
  return ConvByrGRNToBGR(pucDst, pucSrc, uiWidth, uiHeight, 4);
}

CamUtlStatus ConvByrRGNToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth, uint32_t uiHeight,
                             uint32_t uiShift) CAMUTL_NOEXCEPT {
  return Convert<c_eBGR>(BayerOrder::RG, pucDst, pucSrc, uiWidth, uiHeight, uiShift);
}

CamUtlStatus ConvByrRG10ToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                              uint32_t uiHeight) CAMUTL_NOEXCEPT {
  return ConvByrRGNToBGR(pucDst, pucSrc, uiWidth, uiHeight, 2);
}

CamUtlStatus ConvByrRG12ToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                              uint32_t uiHeight) CAMUTL_NOEXCEPT {
  return ConvByrRGNToBGR(pucDst, pucSrc, uiWidth, uiHeight, 4);
}

CamUtlStatus ConvByrGBNToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth, uint32_t uiHeight,
                             uint32_t uiShift) CAMUTL_NOEXCEPT {
  return Convert<c_eBGR>(BayerOrder::GB, pucDst, pucSrc, uiWidth, uiHeight, uiShift);
}

CamUtlStatus ConvByrGB10ToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                              uint32_t uiHeight) CAMUTL_NOEXCEPT {
  return ConvByrGBNToBGR(pucDst, pucSrc, uiWidth, uiHeight, 2);
}

CamUtlStatus ConvByrGB12ToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                              uint32_t uiHeight) CAMUTL_NOEXCEPT {
  return ConvByrGBNToBGR(pucDst, pucSrc, uiWidth, uiHeight, 4);
}

CamUtlStatus ConvByrBGNToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth, uint32_t uiHeight,
                             uint32_t uiShift) CAMUTL_NOEXCEPT {
  return Convert<c_eBGR>(BayerOrder::BG, pucDst, pucSrc, uiWidth, uiHeight, uiShift);
}

CamUtlStatus ConvByrBG10ToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                              uint32_t uiHeight) CAMUTL_NOEXCEPT {
  return ConvByrBGNToBGR(pucDst, pucSrc, uiWidth, uiHeight, 2);
}

CamUtlStatus ConvByrBG12ToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                              uint32_t uiHeight) CAMUTL_NOEXCEPT {
  return ConvByrBGNToBGR(pucDst, pucSrc, uiWidth, uiHeight, 4);
}
