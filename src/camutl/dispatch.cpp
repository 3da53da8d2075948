// SPDX-License-Identifier: Apache-2.0
// Which converter serves which pixel format. Decided here alone: the catalogue of formats.cpp is not asked,
// and lacks BGR12. RGB10 and RGB12 have converters but no row: they are for direct calls.
#include "camutl/dispatch.h"

namespace Kivo {

std::atomic<BayerConvMode> s_eBayerConvMode{BAYER_CONV_STANDARD};

namespace {

struct Converters {
  BgraConverter pfnToBGRA;
  BgrConverter pfnToBGR;
};

// The pairs that serve more than one code: a mosaic shown as intensities is converted as grey of its depth.
constexpr Converters c_sMono8 = {ConvMono8ToBGRA, ConvMono8ToBGR};
constexpr Converters c_sMono10 = {ConvMono10ToBGRA, ConvMono10ToBGR};
constexpr Converters c_sMono12 = {ConvMono12ToBGRA, ConvMono12ToBGR};

struct Route {
  uint32_t uiPixelFormat;
  Converters sPlain;     // without demosaic; all there is for a format that is not Bayer
  Converters sStandard;  // with standard demosaic
  Converters sAdaptive;  // with ACPI, which exists for 8 bits only
};

// A format that is no mosaic, and mosaics with and without an adaptive demosaic.
constexpr Route Direct(uint32_t uiPixelFormat, Converters s) {
  return {uiPixelFormat, s, s, s};
}
constexpr Route Bayer(uint32_t uiPixelFormat, Converters sGrey, Converters sStandard) {
  return {uiPixelFormat, sGrey, sStandard, sStandard};
}

constexpr Route c_asRoutes[] = {
    Direct(CAMUTL_PFNC_MONO8, c_sMono8),
    {CAMUTL_PFNC_BAYER_GR8,
     c_sMono8,
     {ConvByrGR8ToBGRA, ConvByrGR8ToBGR},
     {ConvByrGR8ToBGRAACPI, ConvByrGR8ToBGRACPI}},
    {CAMUTL_PFNC_BAYER_RG8,
     c_sMono8,
     {ConvByrRG8ToBGRA, ConvByrRG8ToBGR},
     {ConvByrRG8ToBGRAACPI, ConvByrRG8ToBGRACPI}},
    {CAMUTL_PFNC_BAYER_GB8,
     c_sMono8,
     {ConvByrGB8ToBGRA, ConvByrGB8ToBGR},
     {ConvByrGB8ToBGRAACPI, ConvByrGB8ToBGRACPI}},
    {CAMUTL_PFNC_BAYER_BG8,
     c_sMono8,
     {ConvByrBG8ToBGRA, ConvByrBG8ToBGR},
     {ConvByrBG8ToBGRAACPI, ConvByrBG8ToBGRACPI}},
    Direct(CAMUTL_PFNC_MONO10, c_sMono10),
    Direct(CAMUTL_PFNC_MONO12, c_sMono12),
    Direct(CAMUTL_PFNC_MONO16, {ConvMono16ToBGRA, ConvMono16ToBGR}),
    Bayer(CAMUTL_PFNC_BAYER_GR10, c_sMono10, {ConvByrGR10ToBGRA, ConvByrGR10ToBGR}),
    Bayer(CAMUTL_PFNC_BAYER_RG10, c_sMono10, {ConvByrRG10ToBGRA, ConvByrRG10ToBGR}),
    Bayer(CAMUTL_PFNC_BAYER_GB10, c_sMono10, {ConvByrGB10ToBGRA, ConvByrGB10ToBGR}),
    Bayer(CAMUTL_PFNC_BAYER_BG10, c_sMono10, {ConvByrBG10ToBGRA, ConvByrBG10ToBGR}),
    Bayer(CAMUTL_PFNC_BAYER_GR12, c_sMono12, {ConvByrGR12ToBGRA, ConvByrGR12ToBGR}),
    Bayer(CAMUTL_PFNC_BAYER_RG12, c_sMono12, {ConvByrRG12ToBGRA, ConvByrRG12ToBGR}),
    Bayer(CAMUTL_PFNC_BAYER_GB12, c_sMono12, {ConvByrGB12ToBGRA, ConvByrGB12ToBGR}),
    Bayer(CAMUTL_PFNC_BAYER_BG12, c_sMono12, {ConvByrBG12ToBGRA, ConvByrBG12ToBGR}),
    Direct(CAMUTL_PFNC_RGB8, {ConvRGB8PToBGRA, ConvRGB8PToBGR}),
    Direct(CAMUTL_PFNC_BGR8, {ConvBGR8PToBGRA, ConvBGR8PToBGR}),
    Direct(CAMUTL_PFNC_BGR10, {ConvBGR10PToBGRA, ConvBGR10PToBGR}),
    Direct(CAMUTL_PFNC_BGR12, {ConvBGR12PToBGRA, ConvBGR12PToBGR}),
    Direct(CAMUTL_PFNC_YUV411_8_UYYVYY, {ConvYUV411PToBGRA, ConvYUV411PToBGR}),
    Direct(CAMUTL_PFNC_YUV422_8_UYVY, {ConvYUV422PToBGRA, ConvYUV422PToBGR}),
    Direct(CAMUTL_PFNC_YUV8_UYV, {ConvYUV444PToBGRA, ConvYUV444PToBGR}),
};

// The mode is read at each lookup: a converter already handed out keeps its algorithm.
Converters Find(uint32_t uiPixelFormat, CamUtlFlag bDemosaic) noexcept {
  for (const Route &s : c_asRoutes) {
    if (s.uiPixelFormat != uiPixelFormat) continue;
    if (bDemosaic == 0) return s.sPlain;
    return s_eBayerConvMode.load(std::memory_order_relaxed) == BAYER_CONV_ACPI ? s.sAdaptive : s.sStandard;
  }
  return {nullptr, nullptr};
}

}  // namespace
}  // namespace Kivo

using namespace Kivo;

// Any value is stored as it is; all but BAYER_CONV_ACPI mean standard.
CamUtlStatus SetBayerConvMode(BayerConvMode eMode) CAMUTL_NOEXCEPT {
  s_eBayerConvMode.store(eMode, std::memory_order_relaxed);
  return CAMUTL_STS_SUCCESS;
}

BgraConverter GetBGRAConverter(uint32_t uiPixelFormat, CamUtlFlag bDemosaic) CAMUTL_NOEXCEPT {
  return Find(uiPixelFormat, bDemosaic).pfnToBGRA;
}

BgrConverter GetBGRConverter(uint32_t uiPixelFormat, CamUtlFlag bDemosaic) CAMUTL_NOEXCEPT {
  return Find(uiPixelFormat, bDemosaic).pfnToBGR;
}

CamUtlStatus ConvImage(OutputPixelFormat eOutput, uint32_t uiPixelFormat, CamUtlFlag bDemosaic, void *pDst,
                       const void *pSrc, uint32_t uiWidth, uint32_t uiHeight) CAMUTL_NOEXCEPT {
  const auto *const pucSrc = static_cast<const uint8_t *>(pSrc);
  if (eOutput == OUTPUT_BGR) {
    const BgrConverter pfn = GetBGRConverter(uiPixelFormat, bDemosaic);
    if (pfn == nullptr) return CAMUTL_STS_INVALID_PARAMETER;
    return pfn(static_cast<uint8_t *>(pDst), pucSrc, uiWidth, uiHeight);
  }
  const BgraConverter pfn = GetBGRAConverter(uiPixelFormat, bDemosaic);
  if (pfn == nullptr) return CAMUTL_STS_INVALID_PARAMETER;
  return pfn(static_cast<uint32_t *>(pDst), pucSrc, uiWidth, uiHeight);
}
