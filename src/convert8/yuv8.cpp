// SPDX-License-Identifier: Apache-2.0
// Packed 8-bit YUV: a frame is one run of whole groups. Pixels left over when the frame does not divide into
// groups are not written.
#include "convert8/converter.h"

namespace Kivo {
namespace {

const Yuv8Kernels &Family() noexcept {
  return *ActiveKernels().psYuv8;
}

template <Output eOut, std::size_t uiGroupPixels>
CamUtlStatus Convert(RunKernel pfnKernel, void *pDst, const std::uint8_t *pucSrc, std::uint32_t uiWidth,
                     std::uint32_t uiHeight) noexcept {
  const CamUtlStatus eStatus = CheckBuffers(pDst, pucSrc, Tables::Needed);
  if (eStatus != CAMUTL_STS_SUCCESS) return eStatus;
  return ConvertRun(pfnKernel, pDst, pucSrc, RunPixels(uiWidth, uiHeight) / uiGroupPixels,
                    uiGroupPixels * PixelBytes(eOut));
}

}  // namespace
}  // namespace Kivo

using namespace Kivo;

CamUtlStatus ConvYUV411PToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                               uint32_t uiHeight) CAMUTL_NOEXCEPT {
  return Convert<c_eBGRA, 4>(Family().apfn411[c_eBGRA], puiDst, pucSrc, uiWidth, uiHeight);
}

CamUtlStatus ConvYUV422PToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                               uint32_t uiHeight) CAMUTL_NOEXCEPT {
  return Convert<c_eBGRA, 2>(Family().apfn422[c_eBGRA], puiDst, pucSrc, uiWidth, uiHeight);
}

CamUtlStatus ConvYUV444PToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                               uint32_t uiHeight) CAMUTL_NOEXCEPT {
  // 4 bytes for each pixel, although the format's code says 24 bits: a decision of this library.
  return Convert<c_eBGRA, 1>(Family().apfn444[c_eBGRA], puiDst, pucSrc, uiWidth, uiHeight);
}

CamUtlStatus ConvYUV411PToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                              uint32_t uiHeight) CAMUTL_NOEXCEPT {
  return Convert<c_eBGR, 4>(Family().apfn411[c_eBGR], pucDst, pucSrc, uiWidth, uiHeight);
}

CamUtlStatus ConvYUV422PToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                              uint32_t uiHeight) CAMUTL_NOEXCEPT {
  // The source of this one steps 5 bytes for each pair, one more than its sibling's: a decision of this
  // library.
  return Convert<c_eBGR, 2>(Family().apfn422[c_eBGR], pucDst, pucSrc, uiWidth, uiHeight);
}

CamUtlStatus ConvYUV444PToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                              uint32_t uiHeight) CAMUTL_NOEXCEPT {
  return Convert<c_eBGR, 1>(Family().apfn444[c_eBGR], pucDst, pucSrc, uiWidth, uiHeight);
}
