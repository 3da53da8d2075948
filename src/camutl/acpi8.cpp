// SPDX-License-Identifier: Apache-2.0
// Adaptive demosaic of 8-bit mosaics. It is defined for even sizes of at least 4; any other gets the standard
// demosaic of the same order.
#include "camutl/converter.h"
#include "simd/tiles.h"

namespace Kivo {
namespace {

bool IsAdaptiveSize(std::uint32_t uiSize) noexcept {
  return uiSize >= 4 && uiSize % 2 == 0;
}

// One part of the columns after the other: the green rows of a part stay on the stack and in the cache.
void ConvertByTiles(MosaicKernel pfnKernel, const MosaicJob &sWhole, std::size_t uiPixelBytes) noexcept {
  std::uint8_t aucGreens[GreenRing::c_uiRows][c_uiLargestTile + GreenRing::c_uiRoom] = {};
  for (std::size_t uiEnd = 0; uiEnd < sWhole.uiWidth;) {
    const Tile sTile = NextTile(uiEnd, sWhole.uiWidth, c_uiAcpiApron, c_uiLargestTile);
    GreenRing sGreens = {aucGreens[0], sizeof aucGreens[0]};
    MosaicJob sJob = sWhole;
    sJob.pucSrc += sTile.uiFirst;
    sJob.pucDst += sTile.uiFirst * uiPixelBytes;
    sJob.uiWidth = sTile.uiWidth;
    sJob.bLeftEdge = sTile.bLeftEdge;
    sJob.bRightEdge = sTile.bRightEdge;
    sJob.psGreens = &sGreens;
    pfnKernel(sJob);
    uiEnd = sTile.uiEnd;
  }
}

template <Output eOut>
CamUtlStatus Convert(BayerOrder eOrder, void *pDst, const std::uint8_t *pucSrc, std::uint32_t uiWidth,
                     std::uint32_t uiHeight) noexcept {
  const CamUtlStatus eStatus = CheckBuffers(pDst, pucSrc, Tables::NotNeeded);
  if (eStatus != CAMUTL_STS_SUCCESS) return eStatus;
  if (uiWidth == 0 || uiHeight == 0) return CAMUTL_STS_SUCCESS;
  const MosaicJob sJob = MakeMosaicJob(pDst, pucSrc, uiWidth, uiHeight, eOut, 1, eOrder);
  if (!IsAdaptiveSize(uiWidth) || !IsAdaptiveSize(uiHeight)) {
    ActiveKernels().psBayer8->apfn[eOut](sJob);
    StreamFence(sJob.bStream);
    return CAMUTL_STS_SUCCESS;
  }
  // The BG member to BGRA leaves the red byte of the pixel in row 1, last column, as it was, as its
  // documentation says.
  std::uint8_t *const pucKept = static_cast<std::uint8_t *>(pDst) + (2 * std::size_t{uiWidth} - 1) * 4 + 2;
  const bool bKeep = eOut == c_eBGRA && eOrder == BayerOrder::BG;
  const std::uint8_t ucKept = bKeep ? *pucKept : std::uint8_t{0};
  ConvertByTiles(ActiveKernels().psAcpi8->apfn[eOut], sJob, PixelBytes(eOut));
  StreamFence(sJob.bStream);
  if (bKeep) *pucKept = ucKept;
  return CAMUTL_STS_SUCCESS;
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
