// SPDX-License-Identifier: Apache-2.0
// Packed 8-bit YUV: a frame is one run of whole groups. Pixels left over when the frame does not divide into
// groups are not written.
#include "camutl/converter.h"

namespace Kivo {
namespace {

const Yuv8Kernels &Family() noexcept {
  return *ActiveKernels().psYuv8;
}

// A group of uiGroupPixels pixels steps uiGroupBytes bytes of the source.
template <Output eOut, std::size_t uiGroupBytes, std::size_t uiGroupPixels>
CamUtlStatus Convert(RunKernel pfnKernel, void *pDst, const std::uint8_t *pucSrc, std::uint32_t uiWidth,
                     std::uint32_t uiHeight) noexcept {
  const CamUtlStatus eStatus = CheckBuffers(pDst, pucSrc, Tables::Needed);
  if (eStatus != CAMUTL_STS_SUCCESS) return eStatus;
  return ConvertRun(pfnKernel, pDst, pucSrc, RunPixels(uiWidth, uiHeight) / uiGroupPixels, uiGroupBytes,
                    uiGroupPixels * PixelBytes(eOut));
}

}  // namespace
}  // namespace Kivo

using namespace Kivo;

CamUtlStatus ConvYUV411PToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                               uint32_t uiHeight) CAMUTL_NOEXCEPT {
  return Convert<c_eBGRA, 6, 4>(Family().apfn411[c_eBGRA], puiDst, pucSrc, uiWidth, uiHeight);
}

CamUtlStatus ConvYUV422PToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                               uint32_t uiHeight) CAMUTL_NOEXCEPT {
  return Convert<c_eBGRA, 4, 2>(Family().apfn422[c_eBGRA], puiDst, pucSrc, uiWidth, uiHeight);
}

CamUtlStatus ConvYUV444PToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                               uint32_t uiHeight) CAMUTL_NOEXCEPT {
  // 4 bytes for each pixel, although the format's code says 24 bits: see the warning of the header.
  return Convert<c_eBGRA, 4, 1>(Family().apfn444[c_eBGRA], puiDst, pucSrc, uiWidth, uiHeight);
}

CamUtlStatus ConvYUV411PToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                              uint32_t uiHeight) CAMUTL_NOEXCEPT {
  return Convert<c_eBGR, 6, 4>(Family().apfn411[c_eBGR], pucDst, pucSrc, uiWidth, uiHeight);
}

CamUtlStatus ConvYUV422PToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                              uint32_t uiHeight) CAMUTL_NOEXCEPT {
  // The source of this one steps 5 bytes for each pair, one more than its sibling's: see the warning of the
  // header.
  return Convert<c_eBGR, 5, 2>(Family().apfn422[c_eBGR], pucDst, pucSrc, uiWidth, uiHeight);
}

CamUtlStatus ConvYUV444PToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                              uint32_t uiHeight) CAMUTL_NOEXCEPT {
  return Convert<c_eBGR, 4, 1>(Family().apfn444[c_eBGR], pucDst, pucSrc, uiWidth, uiHeight);
}
