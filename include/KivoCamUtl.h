/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file KivoCamUtl.h
 * Raw buffers of machine-vision cameras to BGRA and BGR pixels: the interface and its manual.
 */
/**
 * @mainpage KivoCamUtl
 *
 * KivoCamUtl turns the raw buffers of machine-vision cameras, in the formats of the GenICam Pixel Format
 * Naming Convention (PFNC), into pixels that a display or an image file takes: 32-bit BGRA or 24-bit BGR. It
 * also answers queries on formats, mirrors and flips raw frames, keeps them in files and writes BMP files.
 *
 * @section sequence A typical sequence of calls
 *
 * @code{.c}
 * PrepareLUT();                       // once, before the first conversion
 * SetBayerConvMode(BAYER_CONV_ACPI);  // optional; standard demosaic without it
 *
 * uint32_t *frame = malloc(4 * (size_t)width * height);
 * CamUtlStatus status = ConvImage(OUTPUT_BGRA, CAMUTL_PFNC_BAYER_RG8, true, frame, buffer, width, height);
 * if (status == CAMUTL_STS_SUCCESS) status = SaveBmpARGB(frame, width, height, "frame.bmp");
 * free(frame);
 * @endcode
 *
 * @section layout Pixels and bytes
 *
 * Rows are packed end to end, top row first; only the _S BMP writers take a row stride. Neither sources nor
 * destinations need padding; pixels of uint32_t are aligned like any other uint32_t, nothing else is.
 *
 * - BGRA: a 32-bit word for each pixel, blue in bits 0 to 7, green 8 to 15, red 16 to 23, alpha 24 to 31; in
 *   memory the bytes B, G, R, A. Alpha is always 255.
 * - BGR: three bytes for each pixel, in memory B, G, R.
 * - 8-bit samples are bytes. Samples of 10, 12 and 16 bits are little-endian 16-bit words, the value in the
 *   low bits; sources of such words are passed as bytes and need not be aligned.
 * - Bayer orders are named after the first two samples of the first row, and repeat every two rows and
 *   columns: GR is G R over B G, RG is R G over G B, GB is G B over R G, BG is B G over G R.
 *
 * Sizes in bytes, with n = width * height and divisions rounded down. A destination takes 4n bytes in BGRA,
 * 3n in BGR.
 *
 * | Source format                 | A camera delivers | Converters read                            |
 * |-------------------------------|-------------------|--------------------------------------------|
 * | Mono8, Bayer 8-bit            | n                 | n                                          |
 * | Mono10/12/16, Bayer 10/12-bit | 2n                | 2n                                         |
 * | RGB8, BGR8                    | 3n                | 3n                                         |
 * | RGB10/12, BGR10/12            | 6n                | 6n                                         |
 * | YUV411_8_UYYVYY               | 3n / 2            | 6 (n / 4)                                  |
 * | YUV422_8_UYVY                 | 2n                | to BGRA 4 (n / 2), to BGR 5 (n / 2) - 1    |
 * | YUV8_UYV                      | 3n                | 4n - 1                                     |
 *
 * @warning ConvYUV422PToBGR(), ConvYUV444PToBGRA() and ConvYUV444PToBGR() read MORE than the camera delivers.
 * At 640 x 480 a YUV422_8_UYVY buffer has 614,400 bytes, ConvYUV422PToBGR() steps through 768,000; a YUV8_UYV
 * buffer has 921,600 bytes, its converters step through 1,228,800. Space the groups out into a larger buffer
 * first; this holds through ConvImage() as well. See @ref yuv8.
 *
 * @section rules Rules for every function
 *
 * - Checks run in one order: destination null, source null (both CAMUTL_STS_INVALID_PARAMETER), tables not
 *   prepared (CAMUTL_STS_NOT_INITIALIZED), format unknown. A call that fails a check reads and writes no
 *   buffer and opens no file. File names are not checked: a null name is undefined.
 * - Buffer sizes are not checked and are the caller's responsibility. Where n = width * height is said to be
 *   formed in 32 bits, it wraps: 65536 x 65536 counts as an empty image.
 * - Source and destination must not overlap; no function works in place.
 * - Buffers belong to the caller. No memory outlives a call, except a frame that LoadRWH() allocates, which
 *   the caller releases with free().
 * - Any number of threads may call any functions at once on distinct destinations and files, with one
 *   exception: SetBayerConvMode() is called while no other thread converts.
 * - No exception leaves a function. Nothing is logged, and nothing is read from the environment.
 * - Reduction of a wide sample to 8 bits keeps 8 of its bits; nothing is rounded or clamped, so that a value
 *   above the nominal depth wraps.
 */
#ifndef KIVOCAMUTL_H
#define KIVOCAMUTL_H

#include <stdbool.h>
#include <stdint.h>

/**
 * @defgroup basics Version and basic types
 * @{
 */
/* The one place that states the version: the build reads it from these lines, which end in the number. */
/** Raised when programs have to be changed or rebuilt. */
#define CAMUTL_VERSION_MAJOR 1
/** Raised for additions. */
#define CAMUTL_VERSION_MINOR 0
/** Raised for everything else. */
#define CAMUTL_VERSION_PATCH 0

/** Marks what the shared library exports. */
#if defined(CAMUTL_BUILDING_LIBRARY) && defined(__GNUC__)
#define CAMUTL_API __attribute__((visibility("default")))
#else
#define CAMUTL_API
#endif

/** No function throws; C++ callers are told so. */
#ifdef __cplusplus
#define CAMUTL_NOEXCEPT noexcept
#else
#define CAMUTL_NOEXCEPT
#endif

/**
 * A flag crosses the interface as one byte. Callers see a bool; the library itself sees the byte, so that a
 * caller from another language who passes a byte other than 0 and 1 gets a defined answer: a demosaic flag
 * is set by every value but 0, the flags of ReverseImg() by 1 alone.
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
  CAMUTL_STS_SUCCESS = 0,             /**< Done. */
  CAMUTL_STS_INVALID_PARAMETER = 13,  /**< A buffer is null; from ConvImage() also: no converter. */
  CAMUTL_STS_NOT_INITIALIZED = 21,    /**< PrepareLUT() has not run. */
  CAMUTL_STS_UNSUPPORTED_FORMAT = -1, /**< ReverseImg() does not handle the format. */
  CAMUTL_STS_FILE_OPEN_ERROR = 8193,  /**< The file cannot be opened or created. */
  CAMUTL_STS_FILE_WRITE_ERROR = 8194, /**< An exception while writing; a full disk is not reported. */
  CAMUTL_STS_FILE_READ_ERROR = 8195   /**< An exception while reading; a short file is not reported. */
};

/** Output kind of ConvImage(); every value but OUTPUT_BGR means BGRA. */
#ifdef __cplusplus
enum OutputPixelFormat : int32_t {
#else
typedef int32_t OutputPixelFormat;
enum {
#endif
  OUTPUT_BGRA = 0, /**< 32-bit words, in memory B, G, R, A with A = 255. */
  OUTPUT_BGR = 1   /**< Three bytes B, G, R. */
};

/** Bayer algorithm; every value but BAYER_CONV_ACPI means standard. */
#ifdef __cplusplus
enum BayerConvMode : int32_t {
#else
typedef int32_t BayerConvMode;
enum {
#endif
  BAYER_CONV_STANDARD = 0, /**< Means of the 3 x 3 neighbourhood, see @ref bayer8. */
  BAYER_CONV_ACPI = 1      /**< Adaptive, 8-bit formats only, see @ref acpi8. */
};
/** @} */

/**
 * @defgroup codes Pixel format codes
 * PFNC codes; bits 16 to 23 give the bits for each pixel. A format of 10, 12 or 16 bits takes a 16-bit word
 * for each sample.
 * @{
 */
#define CAMUTL_PFNC_MONO8 UINT32_C(0x01080001)           /**< Grey, 8 bits. */
#define CAMUTL_PFNC_MONO10 UINT32_C(0x01100003)          /**< Grey, 10 bits. */
#define CAMUTL_PFNC_MONO12 UINT32_C(0x01100005)          /**< Grey, 12 bits. */
#define CAMUTL_PFNC_MONO16 UINT32_C(0x01100007)          /**< Grey, 16 bits. */
#define CAMUTL_PFNC_BAYER_GR8 UINT32_C(0x01080008)       /**< Mosaic G R over B G, 8 bits. */
#define CAMUTL_PFNC_BAYER_RG8 UINT32_C(0x01080009)       /**< Mosaic R G over G B, 8 bits. */
#define CAMUTL_PFNC_BAYER_GB8 UINT32_C(0x0108000A)       /**< Mosaic G B over R G, 8 bits. */
#define CAMUTL_PFNC_BAYER_BG8 UINT32_C(0x0108000B)       /**< Mosaic B G over G R, 8 bits. */
#define CAMUTL_PFNC_BAYER_GR10 UINT32_C(0x0110000C)      /**< Mosaic G R over B G, 10 bits. */
#define CAMUTL_PFNC_BAYER_RG10 UINT32_C(0x0110000D)      /**< Mosaic R G over G B, 10 bits. */
#define CAMUTL_PFNC_BAYER_GB10 UINT32_C(0x0110000E)      /**< Mosaic G B over R G, 10 bits. */
#define CAMUTL_PFNC_BAYER_BG10 UINT32_C(0x0110000F)      /**< Mosaic B G over G R, 10 bits. */
#define CAMUTL_PFNC_BAYER_GR12 UINT32_C(0x01100010)      /**< Mosaic G R over B G, 12 bits. */
#define CAMUTL_PFNC_BAYER_RG12 UINT32_C(0x01100011)      /**< Mosaic R G over G B, 12 bits. */
#define CAMUTL_PFNC_BAYER_GB12 UINT32_C(0x01100012)      /**< Mosaic G B over R G, 12 bits. */
#define CAMUTL_PFNC_BAYER_BG12 UINT32_C(0x01100013)      /**< Mosaic B G over G R, 12 bits. */
#define CAMUTL_PFNC_RGB8 UINT32_C(0x02180014)            /**< Bytes R, G, B. */
#define CAMUTL_PFNC_BGR8 UINT32_C(0x02180015)            /**< Bytes B, G, R. */
#define CAMUTL_PFNC_RGB10 UINT32_C(0x02300018)           /**< Words R, G, B of 10 bits; not dispatched. */
#define CAMUTL_PFNC_BGR10 UINT32_C(0x02300019)           /**< Words B, G, R of 10 bits. */
#define CAMUTL_PFNC_RGB12 UINT32_C(0x0230001A)           /**< Words R, G, B of 12 bits; not dispatched. */
#define CAMUTL_PFNC_BGR12 UINT32_C(0x0230001B)           /**< Words B, G, R of 12 bits; not catalogued. */
#define CAMUTL_PFNC_YUV411_8_UYYVYY UINT32_C(0x020C001E) /**< 4 pixels in bytes U, Y0, Y1, V, Y2, Y3. */
#define CAMUTL_PFNC_YUV422_8_UYVY UINT32_C(0x0210001F)   /**< 2 pixels in bytes U, Y0, V, Y1. */
#define CAMUTL_PFNC_YUV8_UYV UINT32_C(0x02180020)        /**< A pixel in bytes U, Y, V. */
/** @} */

#ifdef __cplusplus
extern "C" {
#endif

/**
 * @defgroup queries Pixel format queries
 * Answers from the catalogue of formats, at any time and from any thread. They cannot fail. The catalogue has
 * 22 of the codes above: all but RGB10, RGB12 and BGR12. A code counts only if all its 32 bits agree.
 * @{
 */
/** Bits for each pixel: bits 16 to 23 of the code, whether the catalogue has it or not. 0 to 255. */
CAMUTL_API uint32_t BitPerPixel(uint32_t uiPixelFormat) CAMUTL_NOEXCEPT;
/** Significant bits of a sample: 8, 10, 12 or 16; 0 for a code that the catalogue lacks, BGR12 among them. */
CAMUTL_API uint8_t DataDepth(uint32_t uiPixelFormat) CAMUTL_NOEXCEPT;
/**
 * Whether the format is Mono8, Mono10, Mono12 or Mono16.
 *
 * @warning A code that the catalogue lacks, RGB10, RGB12, BGR12 and 0 included, counts as monochromic. Test
 * DataDepth() first to tell it from a known one. Bayer formats do not count as monochromic.
 */
CAMUTL_API bool IsMonochromic(uint32_t uiPixelFormat) CAMUTL_NOEXCEPT;
/** Whether the format is one of the twelve Bayer formats; false for a code that the catalogue lacks. */
CAMUTL_API bool IsPixelBayer(uint32_t uiPixelFormat) CAMUTL_NOEXCEPT;
/** @} */

/**
 * @defgroup settings Preparation and settings
 * @{
 */
/**
 * Fills the lookup tables, about 1.25 MiB of static memory. Call it before the first conversion.
 *
 * Without it, grey to BGRA at every depth and all YUV converters return CAMUTL_STS_NOT_INITIALIZED; no other
 * function needs it, grey to BGR included. The tables are filled once: every further call does nothing, and
 * one that comes while another thread fills them returns when they are filled. Any thread may call it at any
 * time.
 *
 * @retval CAMUTL_STS_SUCCESS Always.
 */
CAMUTL_API CamUtlStatus PrepareLUT(void) CAMUTL_NOEXCEPT;
/**
 * Chooses the algorithm that GetBGRAConverter(), GetBGRConverter() and ConvImage() take for 8-bit Bayer
 * formats from now on, in the whole process. A converter already handed out keeps its own.
 *
 * @param eMode  Stored as it is; every value but BAYER_CONV_ACPI means standard, which is also the mode at
 *               load.
 * @retval CAMUTL_STS_SUCCESS Always.
 */
CAMUTL_API CamUtlStatus SetBayerConvMode(BayerConvMode eMode) CAMUTL_NOEXCEPT;
/** @} */

/**
 * @defgroup dispatch From a format to its converter
 *
 * | Format                  | Without demosaic | With demosaic, standard | With demosaic, ACPI           |
 * |-------------------------|------------------|-------------------------|-------------------------------|
 * | Bayer 8-bit, order xy   | ConvMono8To...   | ConvByrxy8To...         | ConvByrxy8ToBGRAACPI, ...ACPI |
 * | Bayer 10-bit, order xy  | ConvMono10To...  | ConvByrxy10To...        | the same: there is no other   |
 * | Bayer 12-bit, order xy  | ConvMono12To...  | ConvByrxy12To...        | the same: there is no other   |
 * | Mono8/10/12/16          | ConvMono8To..., ConvMono10To..., ... | as without  | as without            |
 * | RGB8, BGR8              | ConvRGB8PTo..., ConvBGR8PTo...       | as without  | as without            |
 * | BGR10, BGR12            | ConvBGR10PTo..., ConvBGR12PTo...     | as without  | as without            |
 * | YUV411_8_UYYVYY         | ConvYUV411PTo... | as without              | as without                    |
 * | YUV422_8_UYVY           | ConvYUV422PTo... | as without              | as without                    |
 * | YUV8_UYV                | ConvYUV444PTo... | as without              | as without                    |
 *
 * Without demosaic a mosaic is shown as grey of its depth. All 32 bits of the code count.
 *
 * @warning RGB10 and RGB12 have no row: their converters are for direct calls only.
 * @{
 */
/** A converter to BGRA. What pucSrc holds, bytes or 16-bit words, depends on the converter. */
typedef CamUtlStatus (*BgraConverter)(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                      uint32_t uiHeight);
/** A converter to BGR. */
typedef CamUtlStatus (*BgrConverter)(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                     uint32_t uiHeight);

/**
 * Looks up the converter of a format to BGRA in the table above, for the mode of SetBayerConvMode() at this
 * moment; the answer keeps its algorithm when the mode changes, and stays valid while the library is loaded.
 *
 * @param uiPixelFormat  PFNC code of the source.
 * @param bDemosaic      Whether a mosaic becomes colour; otherwise grey. Ignored for other formats. From
 *                       another language: set by any byte but 0.
 * @return The converter, the address of an exported function; null if the format has none. Does not ask
 *         whether PrepareLUT() has run: the converter does.
 */
CAMUTL_API BgraConverter GetBGRAConverter(uint32_t uiPixelFormat, CamUtlFlag bDemosaic) CAMUTL_NOEXCEPT;
/** Looks up the converter of a format to BGR, in every respect as GetBGRAConverter(). */
CAMUTL_API BgrConverter GetBGRConverter(uint32_t uiPixelFormat, CamUtlFlag bDemosaic) CAMUTL_NOEXCEPT;
/**
 * Converts a frame: looks the converter up and calls it.
 *
 * @param eOutput        OUTPUT_BGR for BGR; every other value means BGRA.
 * @param uiPixelFormat  PFNC code of the source.
 * @param bDemosaic      Whether a mosaic becomes colour; see GetBGRAConverter().
 * @param pDst           [out] uiWidth * uiHeight pixels of the output kind: 4 bytes each in BGRA, 3 in BGR.
 * @param pSrc           [in] The frame, rows packed. For its size see the table of the opening page, and the
 *                       warning on @ref yuv8, which holds here too.
 * @param uiWidth        Pixels in a row.
 * @param uiHeight       Rows.
 * @retval CAMUTL_STS_SUCCESS            Converted, or an empty image.
 * @retval CAMUTL_STS_INVALID_PARAMETER  The format has no converter (checked first), or pDst or pSrc is null.
 * @retval CAMUTL_STS_NOT_INITIALIZED    The converter needs PrepareLUT(). Nothing is written on failure.
 *
 * @warning CAMUTL_STS_INVALID_PARAMETER means two things: a null buffer, or a format without a converter. A
 * null answer of GetBGRAConverter() tells them apart.
 */
CAMUTL_API CamUtlStatus ConvImage(OutputPixelFormat eOutput, uint32_t uiPixelFormat, CamUtlFlag bDemosaic,
                                  void *pDst, const void *pSrc, uint32_t uiWidth,
                                  uint32_t uiHeight) CAMUTL_NOEXCEPT;
/** @} */

/**
 * @defgroup mono_rgb8 Mono8, RGB8 and BGR8
 *
 * @par Parameters
 * - puiDst, pucDst: [out] uiWidth * uiHeight pixels.
 * - pucSrc: [in] As many pixels of 1 byte (Mono8) or 3 bytes (RGB8, BGR8).
 * - uiWidth: Pixels in a row. Only n = uiWidth * uiHeight counts, formed in 32 bits.
 * - uiHeight: Rows.
 *
 * @retval CAMUTL_STS_INVALID_PARAMETER  The destination is null, or else the source. Nothing is written.
 * @retval CAMUTL_STS_NOT_INITIALIZED    ConvMono8ToBGRA() only: PrepareLUT() has not run. Nothing is written.
 * @retval CAMUTL_STS_SUCCESS            n pixels are written, but see the warning; none for n = 0.
 *
 * @warning RGB8 and BGR8: the byte count 3 * uiWidth * uiHeight is formed in 32 bits as well, so that of a
 * source of 4 GiB and more only as many bytes as this count are converted, and the status is still success.
 * @{
 */
/** Grey g to the word 0xFF000000 + g * 0x010101. Needs PrepareLUT(). */
CAMUTL_API CamUtlStatus ConvMono8ToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                        uint32_t uiHeight) CAMUTL_NOEXCEPT;
/** Bytes R, G, B to words 0xFF000000 + R * 65536 + G * 256 + B. */
CAMUTL_API CamUtlStatus ConvRGB8PToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                        uint32_t uiHeight) CAMUTL_NOEXCEPT;
/** Bytes B, G, R to words 0xFF000000 + R * 65536 + G * 256 + B. */
CAMUTL_API CamUtlStatus ConvBGR8PToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                        uint32_t uiHeight) CAMUTL_NOEXCEPT;
/** Grey g to the bytes g, g, g. Unlike its BGRA sibling it does not need PrepareLUT(). */
CAMUTL_API CamUtlStatus ConvMono8ToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                       uint32_t uiHeight) CAMUTL_NOEXCEPT;
/** Bytes R, G, B to bytes B, G, R. */
CAMUTL_API CamUtlStatus ConvRGB8PToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                       uint32_t uiHeight) CAMUTL_NOEXCEPT;
/** Bytes B, G, R as they are: one copy of 3n bytes. */
CAMUTL_API CamUtlStatus ConvBGR8PToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                       uint32_t uiHeight) CAMUTL_NOEXCEPT;
/** @} */

/**
 * @defgroup yuv8 Packed YUV
 *
 * A frame is one run of groups, rows playing no part; a group has one U, one V and the luma of its pixels:
 *
 * | Source | Bytes of a group      | Pixels | Step, to BGRA | Step, to BGR | Groups  |
 * |--------|-----------------------|--------|---------------|--------------|---------|
 * | YUV411 | U, Y0, Y1, V, Y2, Y3  | 4      | 6 bytes       | 6 bytes      | n / 4   |
 * | YUV422 | U, Y0, V, Y1          | 2      | 4 bytes       | 5 BYTES      | n / 2   |
 * | YUV444 | U, Y, V               | 1      | 4 BYTES       | 4 BYTES      | n       |
 *
 * with n = uiWidth * uiHeight formed in 32 bits, and divisions rounded down. Pixels beyond the last whole
 * group are neither read nor written.
 *
 * The conversion is that of JFIF (full range, ITU-R BT.601 coefficients) with constants of three digits. With
 * u = U - 128, v = V - 128 and every sum exact:
 *
 *     R = Y + v * 1.402 + 0.5                                      cut toward zero, clamped to 0..255
 *     G = Y + 256 - k,  k = v * 0.714f + u * 0.344f + 256.5 cut    clamped to 0..255
 *     B = Y + u * 1.772 + 0.5                                      cut toward zero, clamped to 0..255
 *
 * 1.402 and 1.772 are the nearest doubles, 0.714f and 0.344f the nearest single-precision values. The double
 * lies above 1.772: for U = 3, B is Y - 222 and not Y - 221.
 *
 * @warning ConvYUV422PToBGR() skips a byte after each group of 4, and both YUV444 converters skip a byte
 * after each pixel of 3. They read more than a camera of that format delivers, and past the end of its
 * buffer: for 640 x 480 provide 768,000 bytes instead of 614,400, or 1,228,800 instead of 921,600. The
 * skipped bytes are not read, the one behind the last group included.
 *
 * @par Parameters
 * - puiDst, pucDst: [out] n pixels.
 * - pucSrc: [in] The groups, so many steps apart.
 * - uiWidth: Pixels in a row. Only n counts.
 * - uiHeight: Rows.
 *
 * @retval CAMUTL_STS_INVALID_PARAMETER  The destination is null, or else the source. Nothing is written.
 * @retval CAMUTL_STS_NOT_INITIALIZED    PrepareLUT() has not run. Nothing is written.
 * @retval CAMUTL_STS_SUCCESS            All whole groups are written; none if there is none.
 * @{
 */
/** 4:1:1, groups of 6 bytes U, Y0, Y1, V, Y2, Y3, to BGRA. Writes 4 (n / 4) pixels. */
CAMUTL_API CamUtlStatus ConvYUV411PToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                          uint32_t uiHeight) CAMUTL_NOEXCEPT;
/** 4:2:2, groups of 4 bytes U, Y0, V, Y1, to BGRA. Writes 2 (n / 2) pixels. */
CAMUTL_API CamUtlStatus ConvYUV422PToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                          uint32_t uiHeight) CAMUTL_NOEXCEPT;
/**
 * 4:4:4, pixels of bytes U, Y, V, to BGRA.
 * @warning Reads a pixel every 4 bytes, although BitPerPixel() of YUV8_UYV is 24.
 */
CAMUTL_API CamUtlStatus ConvYUV444PToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                          uint32_t uiHeight) CAMUTL_NOEXCEPT;
/** 4:1:1, groups of 6 bytes U, Y0, Y1, V, Y2, Y3, to BGR. Writes 4 (n / 4) pixels. */
CAMUTL_API CamUtlStatus ConvYUV411PToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                         uint32_t uiHeight) CAMUTL_NOEXCEPT;
/**
 * 4:2:2, groups of bytes U, Y0, V, Y1, to BGR. Writes 2 (n / 2) pixels.
 * @warning Reads a group every 5 bytes, unlike ConvYUV422PToBGRA(), although a camera packs them to 4.
 */
CAMUTL_API CamUtlStatus ConvYUV422PToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                         uint32_t uiHeight) CAMUTL_NOEXCEPT;
/**
 * 4:4:4, pixels of bytes U, Y, V, to BGR.
 * @warning Reads a pixel every 4 bytes, although BitPerPixel() of YUV8_UYV is 24.
 */
CAMUTL_API CamUtlStatus ConvYUV444PToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                         uint32_t uiHeight) CAMUTL_NOEXCEPT;
/** @} */

/**
 * @defgroup bayer8 Standard demosaic, 8 bits
 *
 * Every pixel keeps its own sample; each of its two missing colours is the mean of the samples of that colour
 * among its eight neighbours, as far as they lie inside the image:
 *
 * - at a red or blue site, green from above, below, left and right (4, 3 or 2 samples), the third colour from
 *   the diagonals (4, 2 or 1);
 * - at a green site, one colour from left and right, the other from above and below (2 or 1 each).
 *
 * A mean is the sum divided by the number of samples, rounded down. The image is not extended at its border.
 *
 * Any width and height is valid: an odd size follows the same rule, and a colour that has no sample among the
 * eight neighbours (images of one row or one column) takes the pixel's own sample. Sizes are not formed in 32
 * bits and do not wrap. PrepareLUT() is not needed.
 *
 * @par Parameters
 * - puiDst, pucDst: [out] uiWidth * uiHeight pixels.
 * - pucSrc: [in] uiWidth * uiHeight bytes, a sample each.
 * - uiWidth: Samples in a row.
 * - uiHeight: Rows.
 *
 * @retval CAMUTL_STS_INVALID_PARAMETER  The destination is null, or else the source. Nothing is written.
 * @retval CAMUTL_STS_SUCCESS            Every pixel is written; none for an empty image.
 * @{
 */
/** Order GR (G R over B G) to BGRA. */
CAMUTL_API CamUtlStatus ConvByrGR8ToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                         uint32_t uiHeight) CAMUTL_NOEXCEPT;
/** Order RG (R G over G B) to BGRA. */
CAMUTL_API CamUtlStatus ConvByrRG8ToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                         uint32_t uiHeight) CAMUTL_NOEXCEPT;
/** Order GB (G B over R G) to BGRA. */
CAMUTL_API CamUtlStatus ConvByrGB8ToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                         uint32_t uiHeight) CAMUTL_NOEXCEPT;
/** Order BG (B G over G R) to BGRA. */
CAMUTL_API CamUtlStatus ConvByrBG8ToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                         uint32_t uiHeight) CAMUTL_NOEXCEPT;
/** Order GR (G R over B G) to BGR. */
CAMUTL_API CamUtlStatus ConvByrGR8ToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                        uint32_t uiHeight) CAMUTL_NOEXCEPT;
/** Order RG (R G over G B) to BGR. */
CAMUTL_API CamUtlStatus ConvByrRG8ToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                        uint32_t uiHeight) CAMUTL_NOEXCEPT;
/** Order GB (G B over R G) to BGR. */
CAMUTL_API CamUtlStatus ConvByrGB8ToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                        uint32_t uiHeight) CAMUTL_NOEXCEPT;
/** Order BG (B G over G R) to BGR. */
CAMUTL_API CamUtlStatus ConvByrBG8ToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                        uint32_t uiHeight) CAMUTL_NOEXCEPT;
/** @} */

/**
 * @defgroup acpi8 Adaptive demosaic, 8 bits
 *
 * Adaptive colour plane interpolation after J. F. Hamilton and J. E. Adams: along the direction in which the
 * image changes least, green with a second-order correction from the site's own colour, then red and blue as
 * differences against the completed green. Sums are signed, >> rounds down, and every result of a formula is
 * clamped to 0..255.
 *
 * Green, at a red or blue site at least two pixels from every edge, with its sample c, the greens n, s, w, e
 * beside it and the samples nn, ss, ww, ee of its own colour two pixels away:
 *
 *     Lv = 2c - nn - ss    dV = |Lv| + |n - s|        dV < dH    G = (2(n + s) + Lv) >> 2
 *     Lh = 2c - ww - ee    dH = |Lh| + |w - e|        dV > dH    G = (2(w + e) + Lh) >> 2
 *                                                     dV = dH    G = (2(n + s + w + e) + Lv + Lh) >> 3
 *
 * Red and blue, at a green site that far from the edges: each colour lies either left and right or above and
 * below, with samples a and b where green is Ga and Gb, and is
 *
 *     (2(a + b) + 2G - Ga - Gb) >> 2
 *
 * The third colour, at a red or blue site that far from the edges, with the diagonal samples ne, sw, nw, se:
 *
 *     Lne = 2G - Gne - Gsw    dNE = |Lne| + |ne - sw|    dNE < dNW    (2(ne + sw) + Lne) >> 2
 *     Lnw = 2G - Gnw - Gse    dNW = |Lnw| + |nw - se|    dNE > dNW    (2(nw + se) + Lnw) >> 2
 *                                                        dNE = dNW    (2(ne + sw + nw + se) + Lne + Lnw) >> 3
 *
 * The border, two pixels wide, takes means of raw samples, rounded down:
 *
 * - green at a red or blue site: in the first and last row from left and right (in a corner from the one
 *   beside it and the one above or below), else in the first and last column from above and below, else from
 *   all four;
 * - red and blue at a green site from the two neighbours of that colour, or the one inside the image;
 * - the third colour at a red or blue site from the diagonals inside the image (4, 2 or 1).
 *
 * Each order keeps its own exceptions, named with its members. In them rows 2 to uiHeight - 3 are called
 * inner rows.
 *
 * A width or height that is odd or below 4 gives the standard demosaic of the same order, see @ref bayer8,
 * with no exceptions. PrepareLUT() is not needed.
 *
 * @par Parameters
 * - puiDst, pucDst: [out] uiWidth * uiHeight pixels.
 * - pucSrc: [in] uiWidth * uiHeight bytes, a sample each.
 * - uiWidth: Samples in a row.
 * - uiHeight: Rows.
 *
 * @retval CAMUTL_STS_INVALID_PARAMETER  The destination is null, or else the source. Nothing is written.
 * @retval CAMUTL_STS_SUCCESS            Every pixel is written, but for the byte that ConvByrBG8ToBGRAACPI()
 *                                       leaves; none for an empty image.
 * @{
 */
/**
 * Order GR to BGRA. Exception: the blue of a red pixel in the last column of an inner row is the mean of the
 * samples above and below it, which are green.
 */
CAMUTL_API CamUtlStatus ConvByrGR8ToBGRAACPI(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                             uint32_t uiHeight) CAMUTL_NOEXCEPT;
/**
 * Order RG to BGRA. Exceptions: the blue of a red pixel in the first column of an inner row is the mean of
 * the samples above and below it, which are green. At a red site away from the border with dNE = dNW, blue
 * is (ne + sw + nw + se) * 0.25 + (Lne + Lnw) * 0.125 + 0.5, cut toward zero.
 * @warning That one sum is not clamped: its low 8 bits are kept, so that it wraps.
 */
CAMUTL_API CamUtlStatus ConvByrRG8ToBGRAACPI(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                             uint32_t uiHeight) CAMUTL_NOEXCEPT;
/** Order GB to BGRA. No exceptions. */
CAMUTL_API CamUtlStatus ConvByrGB8ToBGRAACPI(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                             uint32_t uiHeight) CAMUTL_NOEXCEPT;
/**
 * Order BG to BGRA. Exception: the green of a red pixel in the last column of an inner row is the sum of its
 * upper, lower and left neighbours divided by 3, rounded down.
 * @warning The red byte of the last pixel of row 1 is not written and keeps what the destination held; its
 * blue, green and alpha are written. ConvByrBG8ToBGRACPI() writes it.
 */
CAMUTL_API CamUtlStatus ConvByrBG8ToBGRAACPI(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                             uint32_t uiHeight) CAMUTL_NOEXCEPT;
/** Order GR to BGR. Exception as ConvByrGR8ToBGRAACPI(). */
CAMUTL_API CamUtlStatus ConvByrGR8ToBGRACPI(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                            uint32_t uiHeight) CAMUTL_NOEXCEPT;
/** Order RG to BGR. Exceptions as ConvByrRG8ToBGRAACPI(), the sum that wraps included. */
CAMUTL_API CamUtlStatus ConvByrRG8ToBGRACPI(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                            uint32_t uiHeight) CAMUTL_NOEXCEPT;
/** Order GB to BGR. No exceptions. */
CAMUTL_API CamUtlStatus ConvByrGB8ToBGRACPI(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                            uint32_t uiHeight) CAMUTL_NOEXCEPT;
/** Order BG to BGR. Exception of ConvByrBG8ToBGRAACPI() for green; every byte is written. */
CAMUTL_API CamUtlStatus ConvByrBG8ToBGRACPI(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                            uint32_t uiHeight) CAMUTL_NOEXCEPT;
/** @} */

/**
 * @defgroup mono_rgb16 Mono, RGB and BGR of 10, 12 and 16 bits
 *
 * Each sample v becomes the byte r(v) = (v >> shift) & 0xFF. The converters named with a depth have a
 * constant shift, 2 for 10 bits, 4 for 12 and 8 for 16; those named with an N take it from the caller: 6 for
 * 14 bits, 8 for RGB and BGR of 16.
 *
 * @warning Nothing is rounded or clamped. A sample above the nominal depth wraps: the 10-bit value 1024 is 0.
 *
 * @par Parameters
 * - puiDst, pucDst: [out] uiWidth * uiHeight pixels.
 * - pucSrc: [in] As many pixels of one 16-bit word (Mono, 2 bytes) or three (RGB and BGR, 6 bytes), little-
 *   endian; no alignment is needed.
 * - uiWidth: Pixels in a row. Only n = uiWidth * uiHeight counts, formed in 32 bits.
 * - uiHeight: Rows.
 * - uiShift: Its low 8 bits modulo 32: 0 keeps the low byte, 16 to 31 give 0, 32 is 0 again.
 *
 * @retval CAMUTL_STS_INVALID_PARAMETER  The destination is null, or else the source. Nothing is written.
 * @retval CAMUTL_STS_NOT_INITIALIZED    Mono to BGRA only: PrepareLUT() has not run. Nothing is written.
 * @retval CAMUTL_STS_SUCCESS            n pixels are written; none for n = 0.
 * @{
 */
/** Grey words to BGRA, B = G = R = r(v). Needs PrepareLUT(). */
CAMUTL_API CamUtlStatus ConvMonoNToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                        uint32_t uiHeight, uint32_t uiShift) CAMUTL_NOEXCEPT;
/** Words R, G, B to BGRA. */
CAMUTL_API CamUtlStatus ConvRGBNToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                       uint32_t uiHeight, uint32_t uiShift) CAMUTL_NOEXCEPT;
/** Words B, G, R to BGRA. */
CAMUTL_API CamUtlStatus ConvBGRNToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                       uint32_t uiHeight, uint32_t uiShift) CAMUTL_NOEXCEPT;
/** ConvMonoNToBGRA() with shift 2. Needs PrepareLUT(). */
CAMUTL_API CamUtlStatus ConvMono10ToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                         uint32_t uiHeight) CAMUTL_NOEXCEPT;
/** ConvMonoNToBGRA() with shift 4. Needs PrepareLUT(). */
CAMUTL_API CamUtlStatus ConvMono12ToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                         uint32_t uiHeight) CAMUTL_NOEXCEPT;
/** ConvMonoNToBGRA() with shift 8. Needs PrepareLUT(). */
CAMUTL_API CamUtlStatus ConvMono16ToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                         uint32_t uiHeight) CAMUTL_NOEXCEPT;
/** ConvRGBNToBGRA() with shift 2. For direct calls only: ConvImage() does not lead here. */
CAMUTL_API CamUtlStatus ConvRGB10PToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                         uint32_t uiHeight) CAMUTL_NOEXCEPT;
/** ConvRGBNToBGRA() with shift 4. For direct calls only: ConvImage() does not lead here. */
CAMUTL_API CamUtlStatus ConvRGB12PToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                         uint32_t uiHeight) CAMUTL_NOEXCEPT;
/** ConvBGRNToBGRA() with shift 2. */
CAMUTL_API CamUtlStatus ConvBGR10PToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                         uint32_t uiHeight) CAMUTL_NOEXCEPT;
/** ConvBGRNToBGRA() with shift 4. */
CAMUTL_API CamUtlStatus ConvBGR12PToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                         uint32_t uiHeight) CAMUTL_NOEXCEPT;
/** Grey words to BGR, B = G = R = r(v). Does not need PrepareLUT(). */
CAMUTL_API CamUtlStatus ConvMonoNToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                       uint32_t uiHeight, uint32_t uiShift) CAMUTL_NOEXCEPT;
/** Words R, G, B to bytes B, G, R. */
CAMUTL_API CamUtlStatus ConvRGBNToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                      uint32_t uiHeight, uint32_t uiShift) CAMUTL_NOEXCEPT;
/** Words B, G, R to bytes B, G, R. */
CAMUTL_API CamUtlStatus ConvBGRNToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                      uint32_t uiHeight, uint32_t uiShift) CAMUTL_NOEXCEPT;
/** ConvMonoNToBGR() with shift 2. */
CAMUTL_API CamUtlStatus ConvMono10ToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                        uint32_t uiHeight) CAMUTL_NOEXCEPT;
/** ConvMonoNToBGR() with shift 4. */
CAMUTL_API CamUtlStatus ConvMono12ToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                        uint32_t uiHeight) CAMUTL_NOEXCEPT;
/** ConvMonoNToBGR() with shift 8. */
CAMUTL_API CamUtlStatus ConvMono16ToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                        uint32_t uiHeight) CAMUTL_NOEXCEPT;
/** ConvRGBNToBGR() with shift 2. For direct calls only: ConvImage() does not lead here. */
CAMUTL_API CamUtlStatus ConvRGB10PToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                        uint32_t uiHeight) CAMUTL_NOEXCEPT;
/** ConvRGBNToBGR() with shift 4. For direct calls only: ConvImage() does not lead here. */
CAMUTL_API CamUtlStatus ConvRGB12PToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                        uint32_t uiHeight) CAMUTL_NOEXCEPT;
/** ConvBGRNToBGR() with shift 2. */
CAMUTL_API CamUtlStatus ConvBGR10PToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                        uint32_t uiHeight) CAMUTL_NOEXCEPT;
/** ConvBGRNToBGR() with shift 4. */
CAMUTL_API CamUtlStatus ConvBGR12PToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                        uint32_t uiHeight) CAMUTL_NOEXCEPT;
/** @} */

/**
 * @defgroup bayer16 Standard demosaic, 10 to 16 bits
 *
 * The interpolation of @ref bayer8 on 16-bit words, at any size. The reduction to 8 bits is part of each
 * mean: the sum of k samples, none of them shifted before, is divided by k * 2^shift in one step, rounded
 * down, and the low 8 bits are kept. A pixel's own sample is a sum of one. The shift is 2 for 10 bits and 4
 * for 12; the converters named with an N take it from the caller, 8 for 16 bits. There is no adaptive
 * demosaic at these depths. PrepareLUT() is not needed.
 *
 * @warning Nothing is clamped. Bits above the nominal depth take part in the sums, and a mean above it wraps:
 * 10-bit samples of 1024 give 0.
 *
 * @par Parameters
 * - puiDst, pucDst: [out] uiWidth * uiHeight pixels.
 * - pucSrc: [in] uiWidth * uiHeight little-endian 16-bit words; no alignment is needed.
 * - uiWidth: Samples in a row. Sizes are not formed in 32 bits and do not wrap.
 * - uiHeight: Rows.
 * - uiShift: s, its low 8 bits modulo 32. Sums of 1, 2 and 4 samples are shifted right by s, s + 1 and s + 2,
 *   each count modulo 32, and sums of 3 are divided by 3 * 2^s. 0 to 29 give the rule above; 30 and 31, whose
 *   larger counts start again at 0, are not meaningful.
 *
 * @retval CAMUTL_STS_INVALID_PARAMETER  The destination is null, or else the source. Nothing is written.
 * @retval CAMUTL_STS_SUCCESS            Every pixel is written; none for an empty image.
 * @{
 */
/** Order GR (G R over B G) to BGRA. */
CAMUTL_API CamUtlStatus ConvByrGRNToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                         uint32_t uiHeight, uint32_t uiShift) CAMUTL_NOEXCEPT;
/** Order RG (R G over G B) to BGRA. */
CAMUTL_API CamUtlStatus ConvByrRGNToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                         uint32_t uiHeight, uint32_t uiShift) CAMUTL_NOEXCEPT;
/** Order GB (G B over R G) to BGRA. */
CAMUTL_API CamUtlStatus ConvByrGBNToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                         uint32_t uiHeight, uint32_t uiShift) CAMUTL_NOEXCEPT;
/** Order BG (B G over G R) to BGRA. */
CAMUTL_API CamUtlStatus ConvByrBGNToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                         uint32_t uiHeight, uint32_t uiShift) CAMUTL_NOEXCEPT;
/** ConvByrGRNToBGRA() with shift 2. */
CAMUTL_API CamUtlStatus ConvByrGR10ToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                          uint32_t uiHeight) CAMUTL_NOEXCEPT;
/** ConvByrRGNToBGRA() with shift 2. */
CAMUTL_API CamUtlStatus ConvByrRG10ToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                          uint32_t uiHeight) CAMUTL_NOEXCEPT;
/** ConvByrGBNToBGRA() with shift 2. */
CAMUTL_API CamUtlStatus ConvByrGB10ToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                          uint32_t uiHeight) CAMUTL_NOEXCEPT;
/** ConvByrBGNToBGRA() with shift 2. */
CAMUTL_API CamUtlStatus ConvByrBG10ToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                          uint32_t uiHeight) CAMUTL_NOEXCEPT;
/** ConvByrGRNToBGRA() with shift 4. */
CAMUTL_API CamUtlStatus ConvByrGR12ToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                          uint32_t uiHeight) CAMUTL_NOEXCEPT;
/** ConvByrRGNToBGRA() with shift 4. */
CAMUTL_API CamUtlStatus ConvByrRG12ToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                          uint32_t uiHeight) CAMUTL_NOEXCEPT;
/** ConvByrGBNToBGRA() with shift 4. */
CAMUTL_API CamUtlStatus ConvByrGB12ToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                          uint32_t uiHeight) CAMUTL_NOEXCEPT;
/** ConvByrBGNToBGRA() with shift 4. */
CAMUTL_API CamUtlStatus ConvByrBG12ToBGRA(uint32_t *puiDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                          uint32_t uiHeight) CAMUTL_NOEXCEPT;
/** Order GR (G R over B G) to BGR. */
CAMUTL_API CamUtlStatus ConvByrGRNToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                        uint32_t uiHeight, uint32_t uiShift) CAMUTL_NOEXCEPT;
/** Order RG (R G over G B) to BGR. */
CAMUTL_API CamUtlStatus ConvByrRGNToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                        uint32_t uiHeight, uint32_t uiShift) CAMUTL_NOEXCEPT;
/** Order GB (G B over R G) to BGR. */
CAMUTL_API CamUtlStatus ConvByrGBNToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                        uint32_t uiHeight, uint32_t uiShift) CAMUTL_NOEXCEPT;
/** Order BG (B G over G R) to BGR. */
CAMUTL_API CamUtlStatus ConvByrBGNToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                        uint32_t uiHeight, uint32_t uiShift) CAMUTL_NOEXCEPT;
/** ConvByrGRNToBGR() with shift 2. */
CAMUTL_API CamUtlStatus ConvByrGR10ToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                         uint32_t uiHeight) CAMUTL_NOEXCEPT;
/** ConvByrRGNToBGR() with shift 2. */
CAMUTL_API CamUtlStatus ConvByrRG10ToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                         uint32_t uiHeight) CAMUTL_NOEXCEPT;
/** ConvByrGBNToBGR() with shift 2. */
CAMUTL_API CamUtlStatus ConvByrGB10ToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                         uint32_t uiHeight) CAMUTL_NOEXCEPT;
/** ConvByrBGNToBGR() with shift 2. */
CAMUTL_API CamUtlStatus ConvByrBG10ToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                         uint32_t uiHeight) CAMUTL_NOEXCEPT;
/** ConvByrGRNToBGR() with shift 4. */
CAMUTL_API CamUtlStatus ConvByrGR12ToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                         uint32_t uiHeight) CAMUTL_NOEXCEPT;
/** ConvByrRGNToBGR() with shift 4. */
CAMUTL_API CamUtlStatus ConvByrRG12ToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                         uint32_t uiHeight) CAMUTL_NOEXCEPT;
/** ConvByrGBNToBGR() with shift 4. */
CAMUTL_API CamUtlStatus ConvByrGB12ToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                         uint32_t uiHeight) CAMUTL_NOEXCEPT;
/** ConvByrBGNToBGR() with shift 4. */
CAMUTL_API CamUtlStatus ConvByrBG12ToBGR(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiWidth,
                                         uint32_t uiHeight) CAMUTL_NOEXCEPT;
/** @} */

/**
 * @defgroup reversal Mirroring and flipping
 * @{
 */
/**
 * Mirrors a raw frame left to right, flips it top to bottom, or turns it half round, in the camera's format.
 *
 * What moves as a whole is a pixel, whose bytes keep their order, or a YUV group, whose luma samples are
 * reversed while chroma stays: U Y0 V Y1 becomes U Y1 V Y0, and U Y0 Y1 V Y2 Y3 becomes U Y3 Y2 V Y1 Y0.
 *
 * A Bayer frame changes its order with its direction; of even width and height, a code c of any depth becomes
 *
 * | bHorizontal | bVertical | GR becomes | RG becomes | GB becomes | BG becomes | New code |
 * |-------------|-----------|------------|------------|------------|------------|----------|
 * | true        | false     | RG         | GR         | BG         | GB         | c ^ 1    |
 * | false       | true      | BG         | GB         | RG         | GR         | c ^ 3    |
 * | true        | true      | GB         | BG         | GR         | RG         | c ^ 2    |
 *
 * An odd width keeps the order when mirrored, an odd height when flipped.
 *
 * @param pucDst         [out] The frame, as large as the source: 1 byte for each pixel of Mono8 and 8-bit
 *                       Bayer, 2 of Mono and Bayer above 8 bits, 3 of RGB8 and BGR8, 6 of RGB10, BGR10 and
 *                       BGR12, 3 for 2 pixels of YUV411_8_UYYVYY, 4 for 2 of YUV422_8_UYVY.
 * @param pucSrc         [in] The frame, rows packed. Another buffer than pucDst.
 * @param uiPixelFormat  PFNC code of both.
 * @param uiWidth        Pixels in a row; for YUV whole groups, 2 or 4 pixels, see the warning.
 * @param uiHeight       Rows.
 * @param bHorizontal    Reverses the pixels of each row. From another language: set only if the byte is 1.
 * @param bVertical      Reverses the rows. The same. With neither the frame is copied.
 * @retval CAMUTL_STS_INVALID_PARAMETER   pucDst is null, or else pucSrc, whatever the format.
 * @retval CAMUTL_STS_UNSUPPORTED_FORMAT  Any other format. Nothing is written on failure.
 * @retval CAMUTL_STS_SUCCESS             Done; nothing is written for an empty image.
 *
 * @warning RGB12 and YUV8_UYV are refused, although RGB10, BGR12 and RGB8 are handled.
 *
 * @warning A width that is no whole number of YUV groups is not valid for these formats. Such a frame has
 * 2 * uiWidth bytes in a row (4:2:2), or 3 * uiWidth / 2 and 3 * uiWidth * uiHeight / 2 in all (4:1:1),
 * rounded down. Copy and flip move these bytes; a half turn takes whole groups counted from the end of the
 * frame and leaves the rest. A mirror takes the whole groups at the end of the first row, and those of each
 * further row 4 * uiWidth - 4 * (uiWidth / 2) bytes (4:2:2) or 3 * uiWidth - 6 * (uiWidth / 4) bytes (4:1:1)
 * behind those of the row before, which is more than a row: it reads PAST the end of the frame. With
 * W = uiWidth (at least one group), H = uiHeight (at least 1) and divisions rounded down, the last group of
 * row r starts at byte
 *
 *     4:2:2, odd W          2 * W - 4 + r * (2 * W + 2)
 *     4:1:1, W % 4 not 0    3 * W / 2 - 6 + r * (3 * W - 6 * (W / 4))
 *
 * so that the source must hold, in bytes,
 *
 *     4:2:2, odd W          2 * W * H + 2 * (H - 1)
 *     4:1:1, W % 4 not 0    3 * W / 2 + (H - 1) * (3 * W - 6 * (W / 4))
 *
 * which is 616,318 for 641 x 480 of 4:2:2, a frame of 615,360 bytes, and 463,677 for 642 x 480 of 4:1:1, a
 * frame of 462,240. The groups written are packed without gaps and take fewer bytes than a frame.
 */
CAMUTL_API CamUtlStatus ReverseImg(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiPixelFormat,
                                   uint32_t uiWidth, uint32_t uiHeight, CamUtlFlag bHorizontal,
                                   CamUtlFlag bVertical) CAMUTL_NOEXCEPT;
/** @} */

/**
 * @defgroup rwh RWH files
 * A raw frame as the camera delivered it, behind a header of four little-endian 32-bit words: pixel format,
 * width, height, bytes of a row. Then the rows, top row first. There is no magic number and no checksum.
 * @{
 */
/**
 * Writes a raw frame to a file, which is created or replaced.
 *
 * A row has BitPerPixel(uiPixelFormat) * uiWidth / 8 bytes, the frame uiHeight times as many, both formed in
 * 32 bits. An empty image writes the header alone.
 *
 * @param pucFrame       [in] The frame, rows packed.
 * @param uiPixelFormat  Any code; only its bits for each pixel count.
 * @param uiWidth        Pixels in a row.
 * @param uiHeight       Rows.
 * @param pszFileName    Path, NUL-terminated. Not checked for null.
 * @retval CAMUTL_STS_INVALID_PARAMETER  pucFrame is null. No file is touched.
 * @retval CAMUTL_STS_FILE_OPEN_ERROR    The file cannot be created.
 * @retval CAMUTL_STS_FILE_WRITE_ERROR   An exception (no memory for the stream); the file may be incomplete.
 * @retval CAMUTL_STS_SUCCESS            The file was opened, and no exception occurred.
 *
 * @warning Write errors, a full disk above all, are NOT reported: the status is CAMUTL_STS_SUCCESS and the
 * file is incomplete. Compare its size with 16 + rows * bytes of a row where it matters.
 */
CAMUTL_API CamUtlStatus SaveRWH(const uint8_t *pucFrame, uint32_t uiPixelFormat, uint32_t uiWidth,
                                uint32_t uiHeight, const char *pszFileName) CAMUTL_NOEXCEPT;
/**
 * Reads the header of a file, and the frame if it is wanted.
 *
 * @param pszFileName     Path, NUL-terminated. Not checked for null.
 * @param ppucFrame       [in,out] Null: only the header is read. Pointing to a buffer: the frame is read into
 *                        it. Pointing to null: a buffer for the frame is taken from malloc() and stored here;
 *                        the caller releases it with free(), whatever the status. If memory is short, the
 *                        pointer stays null, no frame is read and the status is still success.
 * @param puiPixelFormat  [out] May be null, like those below. They are not written if the file does not open.
 * @param puiWidth        [out] Pixels in a row.
 * @param puiHeight       [out] Rows.
 * @param puiLineBytes    [out] Bytes of a row. The frame has height times as many, formed in 32 bits.
 * @retval CAMUTL_STS_FILE_OPEN_ERROR  The file cannot be opened.
 * @retval CAMUTL_STS_FILE_READ_ERROR  An exception; header words that were not read by then are given as 0.
 * @retval CAMUTL_STS_SUCCESS          Whatever the file holds was read.
 *
 * @warning The header is trusted. Any file of 16 bytes may announce a frame of up to 4 GiB: what a caller's
 * own buffer must hold is decided by the file, and a buffer that is smaller is overrun. For files from
 * elsewhere, let the library allocate, and check that puiLineBytes and the height agree with the width, the
 * format and the file's size before converting.
 *
 * @warning A file that is too short is not reported. Header words that it does not hold in full read as 0,
 * and the rest of the frame keeps what the buffer held; in an allocated buffer that is indeterminate.
 */
CAMUTL_API CamUtlStatus LoadRWH(const char *pszFileName, uint8_t **ppucFrame, uint32_t *puiPixelFormat,
                                uint32_t *puiWidth, uint32_t *puiHeight,
                                uint32_t *puiLineBytes) CAMUTL_NOEXCEPT;
/** @} */

/**
 * @defgroup bmp BMP files
 *
 * Uncompressed Windows BMP files with a 40-byte info header, bottom row first. Pixel bytes are written as
 * they are in memory, rows padded with zero bytes to a multiple of four.
 *
 * | Function          | Bits | Source row      | Palette          | Stated pixels in a metre |
 * |-------------------|------|-----------------|------------------|--------------------------|
 * | SaveBmpARGB, _S   | 32   | 4 uiWidth bytes | none             | 16000                    |
 * | SaveBmpRGB, _S    | 24   | 3 uiWidth bytes | none             | 16000                    |
 * | SaveBmpMono, _S   | 8    | uiWidth bytes   | 256 greys        | 160000                   |
 *
 * All sizes are formed in 32 bits and wrap. A height of 0, or of 2^31 and more, writes the headers alone.
 *
 * @par Parameters
 * - puiImage, pucImage: [in] The first row, the top one of the image.
 * - uiWidth: Pixels in a row.
 * - uiHeight: Rows.
 * - uiStride: _S only: bytes from the start of a source row to that of the next. The file is the same as for
 *   packed rows. For words a multiple of 4 is not required.
 * - pszFileName: Path, NUL-terminated, created or replaced. Not checked for null.
 *
 * @retval CAMUTL_STS_INVALID_PARAMETER  The image is null. No file is touched.
 * @retval CAMUTL_STS_FILE_OPEN_ERROR    The file cannot be created.
 * @retval CAMUTL_STS_FILE_WRITE_ERROR   An exception (no memory for the stream); the file may be incomplete.
 * @retval CAMUTL_STS_SUCCESS            The file was opened, and no exception occurred.
 *
 * @warning Write errors, a full disk above all, are NOT reported: the status is CAMUTL_STS_SUCCESS and the
 * file is incomplete.
 * @{
 */
/** BGRA words, packed rows, to a 32-bit file; alpha is written too. */
CAMUTL_API CamUtlStatus SaveBmpARGB(const uint32_t *puiImage, uint32_t uiWidth, uint32_t uiHeight,
                                    const char *pszFileName) CAMUTL_NOEXCEPT;
/** BGR bytes, packed rows, to a 24-bit file. */
CAMUTL_API CamUtlStatus SaveBmpRGB(const uint8_t *pucImage, uint32_t uiWidth, uint32_t uiHeight,
                                   const char *pszFileName) CAMUTL_NOEXCEPT;
/** Grey bytes, packed rows, to an 8-bit file with a grey palette. */
CAMUTL_API CamUtlStatus SaveBmpMono(const uint8_t *pucImage, uint32_t uiWidth, uint32_t uiHeight,
                                    const char *pszFileName) CAMUTL_NOEXCEPT;
/** SaveBmpARGB() of rows uiStride bytes apart. */
CAMUTL_API CamUtlStatus SaveBmpARGB_S(const uint32_t *puiImage, uint32_t uiWidth, uint32_t uiHeight,
                                      uint32_t uiStride, const char *pszFileName) CAMUTL_NOEXCEPT;
/** SaveBmpRGB() of rows uiStride bytes apart. */
CAMUTL_API CamUtlStatus SaveBmpRGB_S(const uint8_t *pucImage, uint32_t uiWidth, uint32_t uiHeight,
                                     uint32_t uiStride, const char *pszFileName) CAMUTL_NOEXCEPT;
/** SaveBmpMono() of rows uiStride bytes apart. */
CAMUTL_API CamUtlStatus SaveBmpMono_S(const uint8_t *pucImage, uint32_t uiWidth, uint32_t uiHeight,
                                      uint32_t uiStride, const char *pszFileName) CAMUTL_NOEXCEPT;
/** @} */

#ifdef __cplusplus
} /* extern "C" */
#endif

#endif /* KIVOCAMUTL_H */
