// SPDX-License-Identifier: Apache-2.0
// Standard demosaic of 8-bit mosaics. Needs no lookup table, and takes any size: an empty image writes
// nothing, an odd one follows the same neighbourhood rule.
#include "camutl/converter.h"

namespace Kivo {
namespace {

template <Output eOut>
CamUtlStatus Convert(BayerOrder eOrder, void *pDst, const std::uint8_t *pucSrc, std::uint32_t uiWidth,
                     std::uint32_t uiHeight) noexcept {
  const CamUtlStatus eStatus = CheckBuffers(pDst, pucSrc, Tables::NotNeeded);
  if (eStatus != CAMUTL_STS_SUCCESS) return eStatus;
  if (uiWidth == 0 || uiHeight == 0) return CAMUTL_STS_SUCCESS;
  const MosaicJob sJob = MakeMosaicJob(pDst, pucSrc, uiWidth, uiHeight, eOut, 1, eOrder);
  ActiveKernels().psBayer8->apfn[eOut](sJob);
  StreamFence(sJob.bStream);
  return CAMUTL_STS_SUCCESS;
}

}  // namespace
}  // namespace Kivo

using namespace Kivo;

CamUtlStatus ConvByrGR8ToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                              uint32_t uiHeight) CAMUTL_NOEXCEPT {
  return Convert<c_eBGRA>(BayerOrder::GR, puiDst, pucSrc, uiWidth, uiHeight);
}

CamUtlStatus ConvByrRG8ToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                              uint32_t uiHeight) CAMUTL_NOEXCEPT {
  return Convert<c_eBGRA>(BayerOrder::RG, puiDst, pucSrc, uiWidth, uiHeight);
}

CamUtlStatus ConvByrGB8ToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                              uint32_t uiHeight) CAMUTL_NOEXCEPT {
  return Convert<c_eBGRA>(BayerOrder::GB, puiDst, pucSrc, uiWidth, uiHeight);
}

CamUtlStatus ConvByrBG8ToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                              uint32_t uiHeight) CAMUTL_NOEXCEPT {
  return Convert<c_eBGRA>(BayerOrder::BG, puiDst, pucSrc, uiWidth, uiHeight);
}

CamUtlStatus ConvByrGR8ToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                             uint32_t uiHeight) CAMUTL_NOEXCEPT {
  return Convert<c_eBGR>(BayerOrder::GR, pucDst, pucSrc, uiWidth, uiHeight);
}

CamUtlStatus ConvByrRG8ToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                             uint32_t uiHeight) CAMUTL_NOEXCEPT {
  return Convert<c_eBGR>(BayerOrder::RG, pucDst, pucSrc, uiWidth, uiHeight);
}

CamUtlStatus ConvByrGB8ToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                             uint32_t uiHeight) CAMUTL_NOEXCEPT {
  return Convert<c_eBGR>(BayerOrder::GB, pucDst, pucSrc, uiWidth, uiHeight);
}

CamUtlStatus ConvByrBG8ToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                             uint32_t uiHeight) CAMUTL_NOEXCEPT {
  return Convert<c_eBGR>(BayerOrder::BG, pucDst, pucSrc, uiWidth, uiHeight);
}
