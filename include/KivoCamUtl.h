/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file KivoCamUtl.h
 * Raw buffers of machine-vision cameras to BGRA and BGR pixels.
 */
#ifndef KIVOCAMUTL_H
#define KIVOCAMUTL_H

#include <stdbool.h>
#include <stdint.h>

/* The one place that states the version: the build reads it from here. */
#define CAMUTL_VERSION_MAJOR 1
#define CAMUTL_VERSION_MINOR 0
#define CAMUTL_VERSION_PATCH 0

#if defined(CAMUTL_BUILDING_LIBRARY) && defined(__GNUC__)
#define CAMUTL_API __attribute__((visibility("default")))
#else
#define CAMUTL_API
#endif

#ifdef __cplusplus
#define CAMUTL_NOEXCEPT noexcept
#else
#define CAMUTL_NOEXCEPT
#endif

/*
 * A flag crosses the interface as one byte. Callers see a bool; the library itself sees the byte, so that a
 * caller from another language who passes a byte other than 0 and 1 gets a defined answer.
 */
#ifdef CAMUTL_BUILDING_LIBRARY
typedef uint8_t CamUtlFlag;
#else
typedef bool CamUtlFlag;
#endif

/** Result of every operation that reports one; a signed 32-bit value in C and in C++. */
#ifdef __cplusplus
enum CamUtlStatus : int32_t {
#else
typedef int32_t CamUtlStatus;
enum {
#endif
  CAMUTL_STS_SUCCESS = 0,
  CAMUTL_STS_INVALID_PARAMETER = 13,
  CAMUTL_STS_NOT_INITIALIZED = 21,
  CAMUTL_STS_UNSUPPORTED_FORMAT = -1,
  CAMUTL_STS_FILE_OPEN_ERROR = 8193,
  CAMUTL_STS_FILE_WRITE_ERROR = 8194,
  CAMUTL_STS_FILE_READ_ERROR = 8195
};

/** Output kind of ConvImage(); every value but OUTPUT_BGR means BGRA. */
#ifdef __cplusplus
enum OutputPixelFormat : int32_t {
#else
typedef int32_t OutputPixelFormat;
enum {
#endif
  OUTPUT_BGRA = 0,
  OUTPUT_BGR = 1
};

/** Bayer algorithm; every value but BAYER_CONV_ACPI means standard. */
#ifdef __cplusplus
enum BayerConvMode : int32_t {
#else
typedef int32_t BayerConvMode;
enum {
#endif
  BAYER_CONV_STANDARD = 0,
  BAYER_CONV_ACPI = 1
};

/* PFNC pixel format codes. Bits 16 to 23 give the bits per pixel. */
#define CAMUTL_PFNC_MONO8 UINT32_C(0x01080001)
#define CAMUTL_PFNC_MONO10 UINT32_C(0x01100003)
#define CAMUTL_PFNC_MONO12 UINT32_C(0x01100005)
#define CAMUTL_PFNC_MONO16 UINT32_C(0x01100007)
#define CAMUTL_PFNC_BAYER_GR8 UINT32_C(0x01080008)
#define CAMUTL_PFNC_BAYER_RG8 UINT32_C(0x01080009)
#define CAMUTL_PFNC_BAYER_GB8 UINT32_C(0x0108000A)
#define CAMUTL_PFNC_BAYER_BG8 UINT32_C(0x0108000B)
#define CAMUTL_PFNC_BAYER_GR10 UINT32_C(0x0110000C)
#define CAMUTL_PFNC_BAYER_RG10 UINT32_C(0x0110000D)
#define CAMUTL_PFNC_BAYER_GB10 UINT32_C(0x0110000E)
#define CAMUTL_PFNC_BAYER_BG10 UINT32_C(0x0110000F)
#define CAMUTL_PFNC_BAYER_GR12 UINT32_C(0x01100010)
#define CAMUTL_PFNC_BAYER_RG12 UINT32_C(0x01100011)
#define CAMUTL_PFNC_BAYER_GB12 UINT32_C(0x01100012)
#define CAMUTL_PFNC_BAYER_BG12 UINT32_C(0x01100013)
#define CAMUTL_PFNC_RGB8 UINT32_C(0x02180014)
#define CAMUTL_PFNC_BGR8 UINT32_C(0x02180015)
#define CAMUTL_PFNC_RGB10 UINT32_C(0x02300018)
#define CAMUTL_PFNC_BGR10 UINT32_C(0x02300019)
#define CAMUTL_PFNC_RGB12 UINT32_C(0x0230001A)
#define CAMUTL_PFNC_BGR12 UINT32_C(0x0230001B)
#define CAMUTL_PFNC_YUV411_8_UYYVYY UINT32_C(0x020C001E)
#define CAMUTL_PFNC_YUV422_8_UYVY UINT32_C(0x0210001F)
#define CAMUTL_PFNC_YUV8_UYV UINT32_C(0x02180020)

#ifdef __cplusplus
extern "C" {
#endif

typedef CamUtlStatus (*BgraConverter)(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                      uint32_t uiHeight);
typedef CamUtlStatus (*BgrConverter)(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                     uint32_t uiHeight);

CAMUTL_API uint32_t BitPerPixel(uint32_t uiPixelFormat) CAMUTL_NOEXCEPT;
CAMUTL_API uint8_t DataDepth(uint32_t uiPixelFormat) CAMUTL_NOEXCEPT;
CAMUTL_API bool IsMonochromic(uint32_t uiPixelFormat) CAMUTL_NOEXCEPT;
CAMUTL_API bool IsPixelBayer(uint32_t uiPixelFormat) CAMUTL_NOEXCEPT;

CAMUTL_API CamUtlStatus PrepareLUT(void) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus SetBayerConvMode(BayerConvMode eMode) CAMUTL_NOEXCEPT;
CAMUTL_API BgraConverter GetBGRAConverter(uint32_t uiPixelFormat, CamUtlFlag bDemosaic) CAMUTL_NOEXCEPT;
CAMUTL_API BgrConverter GetBGRConverter(uint32_t uiPixelFormat, CamUtlFlag bDemosaic) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus ConvImage(OutputPixelFormat eOutput, uint32_t uiPixelFormat, CamUtlFlag bDemosaic,
                                  void *pDst, const void *pSrc, uint32_t uiWidth,
                                  uint32_t uiHeight) CAMUTL_NOEXCEPT;

CAMUTL_API CamUtlStatus ConvMono8ToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                        uint32_t uiHeight) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus ConvRGB8PToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                        uint32_t uiHeight) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus ConvBGR8PToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                        uint32_t uiHeight) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus ConvMono8ToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                       uint32_t uiHeight) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus ConvRGB8PToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                       uint32_t uiHeight) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus ConvBGR8PToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                       uint32_t uiHeight) CAMUTL_NOEXCEPT;

CAMUTL_API CamUtlStatus ConvYUV411PToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                          uint32_t uiHeight) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus ConvYUV422PToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                          uint32_t uiHeight) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus ConvYUV444PToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                          uint32_t uiHeight) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus ConvYUV411PToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                         uint32_t uiHeight) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus ConvYUV422PToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                         uint32_t uiHeight) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus ConvYUV444PToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                         uint32_t uiHeight) CAMUTL_NOEXCEPT;

CAMUTL_API CamUtlStatus ConvByrGR8ToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                         uint32_t uiHeight) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus ConvByrRG8ToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                         uint32_t uiHeight) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus ConvByrGB8ToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                         uint32_t uiHeight) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus ConvByrBG8ToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                         uint32_t uiHeight) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus ConvByrGR8ToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                        uint32_t uiHeight) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus ConvByrRG8ToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                        uint32_t uiHeight) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus ConvByrGB8ToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                        uint32_t uiHeight) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus ConvByrBG8ToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                        uint32_t uiHeight) CAMUTL_NOEXCEPT;

CAMUTL_API CamUtlStatus ConvByrGR8ToBGRAACPI(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                             uint32_t uiHeight) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus ConvByrRG8ToBGRAACPI(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                             uint32_t uiHeight) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus ConvByrGB8ToBGRAACPI(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                             uint32_t uiHeight) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus ConvByrBG8ToBGRAACPI(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                             uint32_t uiHeight) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus ConvByrGR8ToBGRACPI(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                            uint32_t uiHeight) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus ConvByrRG8ToBGRACPI(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                            uint32_t uiHeight) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus ConvByrGB8ToBGRACPI(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                            uint32_t uiHeight) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus ConvByrBG8ToBGRACPI(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                            uint32_t uiHeight) CAMUTL_NOEXCEPT;

CAMUTL_API CamUtlStatus ConvMonoNToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                        uint32_t uiHeight, uint32_t uiShift) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus ConvRGBNToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                       uint32_t uiHeight, uint32_t uiShift) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus ConvBGRNToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                       uint32_t uiHeight, uint32_t uiShift) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus ConvMono10ToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                         uint32_t uiHeight) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus ConvMono12ToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                         uint32_t uiHeight) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus ConvMono16ToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                         uint32_t uiHeight) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus ConvRGB10PToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                         uint32_t uiHeight) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus ConvRGB12PToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                         uint32_t uiHeight) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus ConvBGR10PToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                         uint32_t uiHeight) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus ConvBGR12PToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                         uint32_t uiHeight) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus ConvMonoNToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                       uint32_t uiHeight, uint32_t uiShift) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus ConvRGBNToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                      uint32_t uiHeight, uint32_t uiShift) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus ConvBGRNToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                      uint32_t uiHeight, uint32_t uiShift) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus ConvMono10ToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                        uint32_t uiHeight) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus ConvMono12ToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                        uint32_t uiHeight) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus ConvMono16ToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                        uint32_t uiHeight) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus ConvRGB10PToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                        uint32_t uiHeight) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus ConvRGB12PToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                        uint32_t uiHeight) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus ConvBGR10PToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                        uint32_t uiHeight) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus ConvBGR12PToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                        uint32_t uiHeight) CAMUTL_NOEXCEPT;

CAMUTL_API CamUtlStatus ConvByrGRNToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                         uint32_t uiHeight, uint32_t uiShift) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus ConvByrRGNToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                         uint32_t uiHeight, uint32_t uiShift) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus ConvByrGBNToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                         uint32_t uiHeight, uint32_t uiShift) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus ConvByrBGNToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                         uint32_t uiHeight, uint32_t uiShift) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus ConvByrGR10ToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                          uint32_t uiHeight) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus ConvByrRG10ToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                          uint32_t uiHeight) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus ConvByrGB10ToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                          uint32_t uiHeight) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus ConvByrBG10ToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                          uint32_t uiHeight) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus ConvByrGR12ToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                          uint32_t uiHeight) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus ConvByrRG12ToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                          uint32_t uiHeight) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus ConvByrGB12ToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                          uint32_t uiHeight) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus ConvByrBG12ToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                          uint32_t uiHeight) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus ConvByrGRNToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                        uint32_t uiHeight, uint32_t uiShift) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus ConvByrRGNToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                        uint32_t uiHeight, uint32_t uiShift) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus ConvByrGBNToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                        uint32_t uiHeight, uint32_t uiShift) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus ConvByrBGNToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                        uint32_t uiHeight, uint32_t uiShift) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus ConvByrGR10ToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                         uint32_t uiHeight) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus ConvByrRG10ToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                         uint32_t uiHeight) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus ConvByrGB10ToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                         uint32_t uiHeight) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus ConvByrBG10ToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                         uint32_t uiHeight) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus ConvByrGR12ToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                         uint32_t uiHeight) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus ConvByrRG12ToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                         uint32_t uiHeight) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus ConvByrGB12ToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                         uint32_t uiHeight) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus ConvByrBG12ToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                         uint32_t uiHeight) CAMUTL_NOEXCEPT;

CAMUTL_API CamUtlStatus ReverseImg(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiPixelFormat,
                                   uint32_t uiWidth, uint32_t uiHeight, CamUtlFlag bHorizontal,
                                   CamUtlFlag bVertical) CAMUTL_NOEXCEPT;

CAMUTL_API CamUtlStatus SaveRWH(const uint8_t *pucFrame, uint32_t uiPixelFormat, uint32_t uiWidth,
                                uint32_t uiHeight, const char *pszFileName) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus LoadRWH(const char *pszFileName, uint8_t **ppucFrame, uint32_t *puiPixelFormat,
                                uint32_t *puiWidth, uint32_t *puiHeight,
                                uint32_t *puiLineBytes) CAMUTL_NOEXCEPT;

CAMUTL_API CamUtlStatus SaveBmpARGB(const uint32_t *puiImage, uint32_t uiWidth, uint32_t uiHeight,
                                    const char *pszFileName) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus SaveBmpRGB(const uint8_t *pucImage, uint32_t uiWidth, uint32_t uiHeight,
                                   const char *pszFileName) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus SaveBmpMono(const uint8_t *pucImage, uint32_t uiWidth, uint32_t uiHeight,
                                    const char *pszFileName) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus SaveBmpARGB_S(const uint32_t *puiImage, uint32_t uiWidth, uint32_t uiHeight,
                                      uint32_t uiStride, const char *pszFileName) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus SaveBmpRGB_S(const uint8_t *pucImage, uint32_t uiWidth, uint32_t uiHeight,
                                     uint32_t uiStride, const char *pszFileName) CAMUTL_NOEXCEPT;
CAMUTL_API CamUtlStatus SaveBmpMono_S(const uint8_t *pucImage, uint32_t uiWidth, uint32_t uiHeight,
                                      uint32_t uiStride, const char *pszFileName) CAMUTL_NOEXCEPT;

#ifdef __cplusplus
} /* extern "C" */
#endif

#endif /* KIVOCAMUTL_H */
