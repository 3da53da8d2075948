/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file KivoFrame.h
 * Frames as cameras deliver them to pictures as programs want them: the engine's interface and its manual.
 */
/**
 * @page kivoframe KivoFrame
 *
 * KivoFrame converts raw frames of machine-vision cameras, padded rows, packed samples and all, to pictures
 * of 8 or 16 bits, whole or in part, mirrored, flipped and cropped on the way. A *plan* is made once for a
 * format, a size and what the picture shall be; making it does every check that needs no buffer, and every
 * allocation. It is then run for each frame: whole, by any slice of rows, or on several threads.
 *
 * @code{.c}
 * kivo_options options = KIVO_OPTIONS_INIT;    // BGRA8, standard demosaic
 * options.pixels = KIVO_RGBA8;
 * options.bayer = KIVO_BAYER_BEST;
 *
 * kivo_plan *plan;
 * kivo_status status = kivo_plan_make(0x010C0059, 1936, 1216, &options, &plan);    // BayerRG12p
 * while (status == KIVO_OK && next(&buffer)) {
 *   const kivo_frame frame = {buffer.data, buffer.size, 2944};              // rows padded to 2944 bytes
 *   const kivo_picture picture = {texture.data, texture.size, 8192};        // rows 8192 bytes apart
 *   status = kivo_run(plan, &frame, &picture, NULL, 0);
 * }
 * kivo_plan_free(plan);
 * @endcode
 *
 * @section kf_buffers Frames, pictures, rows
 *
 * A frame and a picture are described by their first byte, the bytes that may be touched from there on, and a
 * stride: the bytes from the beginning of a row to the beginning of the next. Nothing needs to be aligned.
 * Bytes behind the last byte of a row that belong to no pixel, and bytes behind the last row, are neither
 * read nor written.
 *
 * - Stride 0: rows are packed. Samples that share bytes (`p` and `Packed` formats) then share them across the
 *   ends of rows too: the frame is one stream, of which a row may begin in the middle of a byte.
 * - A positive stride: every row begins on a byte. It must not be smaller than a row.
 * - A negative stride: the same, but the first row of the image is the *last* in memory, as in a BMP file.
 *   `data` remains the lowest address. The planes of a planar format are turned round each on its own.
 *
 * Frame and picture must not overlap.
 *
 * @section kf_pictures Pictures
 *
 * | kivo_pixels | Bytes of a pixel, in memory                                         |
 * |-------------|---------------------------------------------------------------------|
 * | KIVO_BGRA8  | 4: B, G, R, 255                                                     |
 * | KIVO_BGR8   | 3: B, G, R                                                          |
 * | KIVO_RGBA8  | 4: R, G, B, 255                                                     |
 * | KIVO_RGB8   | 3: R, G, B                                                          |
 * | KIVO_GRAY8  | 1                                                                   |
 * | KIVO_BGRA16 | 8: B, G, R, 65535, 16-bit words in the byte order of the processor  |
 * | KIVO_BGR16  | 6: B, G, R, 16-bit words                                            |
 * | KIVO_RGBA16 | 8: R, G, B, 65535, 16-bit words                                     |
 * | KIVO_RGB16  | 6: R, G, B, 16-bit words                                            |
 * | KIVO_GRAY16 | 2: a 16-bit word                                                    |
 * | KIVO_SAMPLES| the samples of the frame, see below                                 |
 *
 * Grey of a colour picture is (19595 R + 38470 G + 7471 B + 32768) >> 16 of its own R, G and B, which is the
 * luma of BT.601, after 16-bit values were spread if they are to be; grey frames stay what they are. In
 * colour pictures of grey frames R, G and B are equal.
 *
 * @section kf_samples From samples to pictures
 *
 * Every frame is first seen as *plain* samples: one byte, or one 16-bit word with the value in the low bits,
 * for each sample, in the order that kivo_format::plain names. Unpacking changes no value, with these
 * exceptions: samples of 1, 2 and 4 bits become bytes that are spread over the full range (times 255, 85 and
 * 17); 128 is added to the two's complement samples of Mono8s; the fourth byte of RGBa8 and BGRa8 is dropped.
 * KIVO_SAMPLES is a picture of these plain samples: unpacked, cropped, mirrored and flipped, mapped to 8 bits
 * if a range is given, and nothing else. A mirrored YUV group keeps its chroma and has its luma samples
 * exchanged.
 *
 * With n the depth of the plain samples (8 to 16) and s the shift, n - 8 unless options say otherwise:
 *
 * - *Grey* (and Bayer with KIVO_BAYER_OFF): 8 bits are (sample >> s) & 255, without rounding or clamping;
 *   what is above wraps. 16 bits are the sample.
 * - *RGB and BGR*: the same for each colour.
 * - *Bayer, standard*: a pixel keeps its own sample. A missing colour is the mean of the samples of that
 *   colour among the neighbours in the 3 x 3 square around it that lie inside the image: at a green pixel of
 *   the two left and right (for the colour of its row) or above and below (for the other); green at a red or
 *   blue pixel of the up to four left, right, above and below; blue at red and red at blue of the up to four
 *   diagonal ones. Without any such neighbour (images of one row or column) the pixel's own sample stands in.
 *   A mean is floor(sum / count), of the whole words. 8 bits are (mean >> s) & 255.
 * - *Bayer, ACPI* (@ref kf_acpi): at the samples' own depth. 8 bits are (value >> s) & 255.
 * - *Bayer, half*: one pixel for each whole 2 x 2 square of the frame: its red, its blue, and the mean
 *   floor((a + b) / 2) of its two greens. The picture is floor(width / 2) x floor(height / 2).
 * - *YUV*: 8 bits, by the matrix of the format (@ref kf_yuv). Chroma is not interpolated.
 *
 * 16-bit pictures hold the values themselves (KIVO_LEVELS_OWN), or spread over 0 to 65535 by repeating their
 * bits (KIVO_LEVELS_SPREAD): with v the low n bits of the value, the upper 16 bits of v, v, v, ... written
 * one behind the other in n bits each.
 *
 * The range option maps samples to 8 bits before anything else. With d = high - low, a sample s becomes
 * floor((510 (s - low) + d) / (2 d)), which is 255 (s - low) / d rounded to nearest; samples up to low become
 * 0, from high on 255; if high is not above low, samples above low become 255. The picture is then that of
 * the 8-bit format of the same family and order.
 *
 * Crop comes first: the picture is made as if the camera had sent the region and no more; its edges are edges
 * when it is demosaiced, and a Bayer region that begins in an odd column or row has another order. Mirror
 * (left to right) and flip (top to bottom) turn the finished picture.
 *
 * @section kf_acpi ACPI
 *
 * Adaptive colour plane interpolation after Hamilton and Adams. It is defined for even sizes of at least
 * 4 x 4. Samples count modulo 2^n. Let v(y, x) be the sample, and "inner" pixels those at least two rows and
 * columns away from the border.
 *
 * 1. *Green of an inner red or blue pixel.* With a, b its left and right neighbours and L = 2 v(y, x) -
 *    v(y, x - 2) - v(y, x + 2): gradient h = |a - b| + |L|, estimate H = 2 (a + b) + L; in the same way
 *    gradient g and estimate V of the vertical neighbours. Green is floor(H / 4) if h < g, floor(V / 4) if
 *    g < h, floor((H + V) / 8) if they are equal, then clamped to 0 to 2^n - 1. At red and blue pixels of
 * rows and columns 1 and the last but one green is the mean floor(sum / 4) of the four neighbours.
 * 2. *The colour of its row at an inner green pixel* (y, x), from the left and right pixels with their
 * greens: floor((2 (a + b) + 2 v - Ga - Gb) / 4), where v is the pixel's own green and Ga, Gb the greens of
 * step 1 at a and b; clamped. *The other colour* in the same way from above and below.
 * 3. *The third colour of an inner red or blue pixel*, along the diagonals: with a, b the upper right and
 *    lower left neighbours and L = 2 G - Ga - Gb (all greens): gradient d = |a - b| + |L|, estimate
 *    D = 2 (a + b) + L; in the same way gradient e and estimate E of the other diagonal. floor(D / 4) if d <
 * e, floor(E / 4) if e < d, else floor((D + E) / 8); clamped. In RG order the red pixels have a rule of their
 * own for d = e: with t = D + E + 4, the value is t / 8 rounded toward zero, modulo 2^n instead of clamped.
 * 4. *Pixels that are not inner* are as in the standard demosaic, but for the green of red and blue pixels on
 *    the border itself: it is the mean of the two neighbours along the border, at a corner of the one in its
 * row and the one in its column. Two exceptions that the 8-bit functions of KivoCamUtl.h have and every depth
 * keeps: in GR order the blue of the red pixels in the last column, rows 2 to height - 3, is the mean of the
 * samples above and below them, and so it is in RG order in the first column; in BG order the green of the
 * red pixels in the last column, rows 2 to height - 3, is the mean of three, left, above and below.
 *
 * At 8 bits these are the bytes of ConvByrRG8ToBGRAACPI() and its siblings, except for the red of the pixel
 * in row 1, last column, of BG order, which ConvByrBG8ToBGRAACPI() does not write: here it has the standard
 * value.
 *
 * @section kf_yuv YUV
 *
 * The YUV formats have the integer matrix that KivoCamUtl.h states for ConvYUV444PToBGRA(). The YCbCr formats
 * have the matrices of BT.601 in full range (YCbCr8, YCbCr422_8, YCbCr411_8), and of BT.601 and BT.709 with
 * Y from 16 to 235 and chroma from 16 to 240 (YCbCr601, YCbCr709); their result is clamped to 0 to 255 and
 * differs from the real-valued formula, rounded, by at most 1.
 *
 * @section kf_colour Colour
 *
 * kivo_options::colour leads from what a sensor counts to what a person wants to see: black level, gain of
 * each colour, black and white point, matrix, tone. Settings in which nothing differs from KIVO_COLOUR_INIT
 * give the plain picture; otherwise the chain below does, in whole numbers, with the same bytes on every
 * processor. Samples never wrap in it. Numbers are rounded to nearest, halves away from zero; n is the depth.
 *
 * 1. *Scale*: a sample s becomes t = min(s, 2^n - 1) 2^(15 - n), for n = 16 floor(s / 2).
 * 2. *Black, gain, range*, before the demosaic: with b and g the black level and the gain of the sample's
 *    colour, l and h the black and the white point, B = min(32767, round((b + l / g) 2^(15 - n))), and
 *    F = 16383 g / ((h - l) 2^(15 - n)) written as m / 2^(15 - e), where e is the least number from 0 on for
 *    which m = round(F 2^(15 - e)) is at most 32767; e above 15 counts as 15. Then d = max(t - B, 0) and
 *    y = min(16383, floor((min(d 2^e, 32768) m + 16384) / 32768)). A gain of 0 gives y = 0. Full scale of
 *    any depth, or the white point, is 16383.
 * 3. *Demosaic* of y as of samples of 14 bits, by the rules above, with one bit more: u is floor(2 sum /
 *    count) where the standard demosaic takes a mean, and twice the value that ACPI, half size, and samples
 *    of grey and RGB frames have.
 * 4. *Matrix*: red becomes min(32767, max(0, floor((p R + q G + r B + 2048) / 4096))); green and blue by
 *    their rows. p, q, r are the coefficients times 4096, rounded; what their sum then differs from 4096
 *    times the sum of the row, rounded, goes to the coefficient of the row's own colour. So rows with a sum
 *    of 1 leave grey alone. Grey pictures of one sample a pixel have no matrix.
 * 5. *Tone*: with x = min(u, 32766) / 32766, pictures of 8 and of 16 bits get
 *    - linear: floor(u / 128); v = min(65535, 2 u + floor(u / 8192)).
 *    - sRGB: f is 12.92 x up to 0.0031308, then 1.055 x^(1 / 2.4) - 0.055. Between knots u_i at 0, 64, ...
 *      1024, 1280, ... 6144, 7168, ... 32768, where it is K_i = round(65280 f) + 128 or round(65535 f), the
 *      curve is straight: k = K_i + floor((u - u_i) (K_(i+1) - K_i) / (u_(i+1) - u_i)). Then floor(k / 256);
 *      v = k. It is within 0.3 of a code of the real curve before it is cut to codes.
 *    - gamma: round(255 x^(1 / gamma)); v = round(65535 x^(1 / gamma)).
 *    - table of N entries: with P = min(u, 32766) (N - 1), i = floor(P / 32766) and w = P - 32766 i,
 *      v = T_i + floor(((T_(i+1) - T_i) w + 16383) / 32766); floor((255 v + 32767) / 65535).
 *    Pictures of 16 bits hold v with KIVO_LEVELS_SPREAD, and floor(v / 2^(16 - n)) with KIVO_LEVELS_OWN.
 *
 * Where the sensor is saturated all three colours must be, or what is white gets a tint. Samples end at 2^n -
 * 1 or, with some cameras, a little earlier: at w. With gains of at least 1 it suffices that the white point
 * is at most w minus the black level.
 *
 * @section kf_rules Rules for every function
 *
 * - A plan never changes: any number of threads may run it at once on distinct pictures. Pools and plans are
 *   freed when no call uses them any more.
 * - Running a plan allocates nothing, takes no lock and makes no system call. kivo_run_on() does what the
 *   scheduler that it is given does.
 * - Every slicing of a picture into rows gives the bytes of the whole, in any order and from any threads.
 * - A call that fails writes nothing. Each failure has one code and one text, kivo_message(); checks run in
 *   the order in which a function lists its codes.
 * - No exception leaves a function, nothing is logged, nothing is read from the environment, no function uses
 *   a global setting.
 */
#ifndef KIVO_FRAME_H
#define KIVO_FRAME_H

#include <stddef.h>
#include <stdint.h>

/** Version of this header and of the library that it belongs to: raised when programs have to be changed. */
#define KIVO_VERSION_MAJOR 1
/** Raised for additions. */
#define KIVO_VERSION_MINOR 0
/** Raised for everything else. */
#define KIVO_VERSION_PATCH 0
/** The same as one number, one byte each. */
#define KIVO_VERSION (KIVO_VERSION_MAJOR << 16 | KIVO_VERSION_MINOR << 8 | KIVO_VERSION_PATCH)

/** No function throws; C++ callers are told so. */
#ifdef __cplusplus
#define KIVO_NOEXCEPT noexcept
#else
#define KIVO_NOEXCEPT
#endif

/** Marks what the shared library exports. */
#if defined(__GNUC__)
#define KIVO_API __attribute__((visibility("default")))
#else
#define KIVO_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/** What went wrong. Values are never changed or used again. */
typedef enum kivo_status {
  KIVO_OK = 0,             /**< Success. */
  KIVO_NULL_POINTER = 1,   /**< A pointer is null: an argument, or the data of a frame or a picture. */
  KIVO_BAD_STRUCT = 2,     /**< The size field of a structure is not one that the library knows. */
  KIVO_UNKNOWN_FORMAT = 3, /**< The PFNC code is not in the table of formats. */
  KIVO_UNKNOWN_OPTION = 4, /**< An option has a value that does not exist. */
  KIVO_EMPTY_IMAGE = 5,    /**< Width or height is zero. */
  KIVO_TOO_LARGE = 6,      /**< A frame or a picture has more bytes than can be addressed. */
  KIVO_NO_BYTE_ORDER = 7,  /**< Big-endian, but the format is not one of 16-bit words. */
  KIVO_PARTIAL_GROUP = 8,  /**< The width ends within a group of YUV pixels. */
  KIVO_CROP_OUTSIDE = 9,   /**< The region does not lie within the frame. */
  KIVO_SPLIT_GROUP = 10,   /**< The region cuts a group of YUV pixels in two. */
  KIVO_ACPI_SIZE = 11,     /**< ACPI for an odd size, or one below 4 x 4. */
  KIVO_HALF_SIZE = 12,     /**< Half size of less than 2 x 2 pixels. */
  KIVO_BAD_SHIFT = 13,    /**< A shift above 15, for 8-bit samples, or for a picture that is not of 8 bits. */
  KIVO_BAD_RANGE = 14,    /**< A range for YUV samples, with a shift, or for a picture of 16 bits. */
  KIVO_BAD_LEVELS = 15,   /**< Levels to be spread in a picture that is not of 16 bits. */
  KIVO_SHORT_STRIDE = 16, /**< The stride of the frame is smaller than its rows. */
  KIVO_SHORT_BUFFER = 17, /**< The buffer ends before the frame does. */
  KIVO_SHORT_PICTURE_STRIDE = 18, /**< The stride of the picture is smaller than its rows. */
  KIVO_SHORT_PICTURE = 19,        /**< The destination ends before the picture would. */
  KIVO_OVERLAP = 20,              /**< Frame and picture overlap. */
  KIVO_ROWS_OUTSIDE = 21,         /**< The rows asked for are not rows of the picture. */
  KIVO_SHORT_SCRATCH = 22,        /**< The scratch memory is smaller than kivo_plan_scratch() tells. */
  KIVO_OUT_OF_MEMORY = 23,        /**< An allocation failed, or a thread could not be started. */
  KIVO_SCHEDULER_FAILED = 24,     /**< The scheduler did not return 0. */
  KIVO_BAD_COLOUR = 25,           /**< Colour for YUV, for samples, or beside a range or a shift. */
  KIVO_BAD_BLACK = 26,            /**< A black level that is not a number from 0 to 65535. */
  KIVO_BAD_GAIN = 27,             /**< A gain that is not a number from 0 to 1024. */
  KIVO_BAD_MATRIX = 28,           /**< A coefficient that is not a number between -4 and 4. */
  KIVO_BAD_POINTS = 29, /**< Black and white point that are not numbers from 0 to 2^26, the first below. */
  KIVO_BAD_GAMMA = 30,  /**< A gamma that is not a number from 0.1 to 10. */
  KIVO_BAD_TABLE = 31,  /**< No tone table, or one that has not 256 to 4096 entries. */
  KIVO_BAD_PERCENT = 32 /**< Percentiles that are not numbers from 0 to 100, the first below the second. */
} kivo_status;

/**
 * One clause in lower case that fits behind "cannot convert: ". Never null; a value that is no kivo_status
 * gives "unknown error".
 */
KIVO_API const char *kivo_message(kivo_status status) KIVO_NOEXCEPT;

/** KIVO_VERSION of the library in use. */
KIVO_API uint32_t kivo_version(void) KIVO_NOEXCEPT;

/* ---------------------------------------------------------------------------------------------------------
 * Formats */

/** What the samples of a format mean. */
typedef enum kivo_family {
  KIVO_MONO = 0,  /**< Grey. */
  KIVO_BAYER = 1, /**< One colour a pixel. */
  KIVO_RGB = 2,   /**< Three colours a pixel, in either order. */
  KIVO_YUV = 3    /**< Luma and chroma. */
} kivo_family;

/** Colours of a mosaic, named after the first two samples of the first row. */
typedef enum kivo_order {
  KIVO_ORDER_NONE = 0, /**< Not a Bayer format. */
  KIVO_ORDER_GR = 1,   /**< G R over B G. */
  KIVO_ORDER_RG = 2,   /**< R G over G B. */
  KIVO_ORDER_GB = 3,   /**< G B over R G. */
  KIVO_ORDER_BG = 4    /**< B G over G R. */
} kivo_order;

/** How the samples of a format lie in memory. */
typedef enum kivo_packing {
  KIVO_PLAIN = 0, /**< A byte, or a little-endian 16-bit word, for each sample. */
  KIVO_P = 1,     /**< PFNC `p`: a stream of bits, the first sample's lowest bit first. */
  KIVO_PACKED =
      2,        /**< GigE Vision `Packed`: 2 samples in 3 bytes, the upper 8 bits of each outside, the lower
                     bits of the first and of the second in the low and the high half of the middle byte. */
  KIVO_P32 = 3, /**< Three samples of 10 bits from bit 0 of a little-endian 32-bit word on. */
  KIVO_PLANAR = 4,    /**< Plain, three planes one behind the other. */
  KIVO_SIGNED = 5,    /**< Bytes in two's complement. */
  KIVO_ALPHA = 6,     /**< Bytes, a fourth one behind each pixel's three. */
  KIVO_LUMA_FIRST = 7 /**< Bytes, luma before chroma: the plain format has chroma first. */
} kivo_packing;

/**
 * A pixel format. Lives as long as the library; names that a system has no counterpart with the same bytes
 * for are null. OpenCV names a Bayer order by the second row's second and third pixel, which turns RG into
 * its BG.
 */
typedef struct kivo_format {
  const char *name;      /**< PFNC name; for KIVO_PACKED the name of GigE Vision. */
  uint32_t code;         /**< PFNC code; its bits 16 to 23 are the bits of a pixel, of all planes. */
  uint32_t family;       /**< A kivo_family. */
  uint32_t order;        /**< A kivo_order. */
  uint32_t depth;        /**< Significant bits of a sample as it is stored. */
  uint32_t group_pixels; /**< Pixels that share a group of bytes; 1 where every pixel has its own. */
  uint32_t group_bytes;  /**< Bytes of such a group; with KIVO_PLANAR in one plane. */
  uint32_t packing;      /**< A kivo_packing. */
  uint32_t plain;        /**< Code of the format of its plain samples; its own where they are plain. */
  uint32_t plain_depth;  /**< Significant bits of a plain sample: 8 for depths below. */
  uint32_t plain_bytes;  /**< Bytes of a plain sample: 1 or 2. */
  uint32_t channels;     /**< Plain samples of a pixel: 1 or 3; 0 for YUV, whose pixels share samples. */
  const char *opencv;    /**< Mat type, or the cvtColor code that gives BGR, with limited range for YUV. */
  const char *v4l2;      /**< V4L2_PIX_FMT_ name. */
  const char *gstreamer; /**< Format of video/x-raw, or of video/x-bayer. */
  const char *ros;       /**< Encoding of sensor_msgs/Image. */
} kivo_format;

/** How many formats there are. */
KIVO_API size_t kivo_format_count(void) KIVO_NOEXCEPT;

/**
 * Format `index` of the table: those of a family together, plain ones first, of these 8 bits, then 16, then
 * the others. Null from kivo_format_count() on.
 */
KIVO_API const kivo_format *kivo_format_at(size_t index) KIVO_NOEXCEPT;

/** The format with this PFNC code, or null. */
KIVO_API const kivo_format *kivo_format_of_code(uint32_t code) KIVO_NOEXCEPT;

/**
 * The format with this name, in any case: a PFNC name ("bayerrg12p"), a code ("0x010C0059"), or a name that
 * OpenCV's Mat types, V4L2, GStreamer or ROS have for the same bytes ("SRGGB12", "rggb12le", "bayer_rggb8"),
 * with or without "V4L2_PIX_FMT_". A name that stands for formats of several depths or matrices there gives
 * the first of the table, which is that of 16 bits. OpenCV's cvtColor codes are no names of formats. Null for
 * any other text, and for null.
 */
KIVO_API const kivo_format *kivo_format_find(const char *name) KIVO_NOEXCEPT;

/**
 * The formats whose names are nearest to a text that names none, nearest first: by the least number of
 * characters to be inserted, removed, replaced or exchanged with the next, in any case, over all names that
 * kivo_format_find() knows. Formats that are too far to be meant are left out.
 *
 * @param name     The text; null finds nothing.
 * @param formats  [out] Up to `most` formats.
 * @param most     How many at the most.
 * @return How many there are.
 */
KIVO_API size_t kivo_format_suggest(const char *name, const kivo_format **formats, size_t most) KIVO_NOEXCEPT;

/**
 * Bytes of a row without padding, that begins on a byte. A width that ends inside a byte counts that byte;
 * one that ends inside a YUV group counts its share, rounded down. For planar formats of a row of one plane.
 * 0 for an unknown code.
 */
KIVO_API uint64_t kivo_row_bytes(uint32_t code, uint32_t width) KIVO_NOEXCEPT;

/**
 * Bytes of a frame with packed rows (stride 0); of all planes. Rows that end inside a YUV group count as
 * kivo_row_bytes() says, each. 0 for an unknown code; the largest 64-bit number where 64 bits do not suffice.
 */
KIVO_API uint64_t kivo_frame_bytes(uint32_t code, uint32_t width, uint32_t height) KIVO_NOEXCEPT;

/**
 * The code of the format whose columns (for the first argument) and rows have exchanged their colours: what
 * a Bayer frame is after its first column or row was cut off, or after it was mirrored at an even width or
 * flipped at an even height. Other codes stay.
 */
KIVO_API uint32_t kivo_format_exchanged(uint32_t code, int columns, int rows) KIVO_NOEXCEPT;

/* ---------------------------------------------------------------------------------------------------------
 * Plans */

/** What a picture is made of. @ref kf_pictures */
typedef enum kivo_pixels {
  KIVO_BGRA8 = 0,   /**< B, G, R, 255. */
  KIVO_BGR8 = 1,    /**< B, G, R. */
  KIVO_RGBA8 = 2,   /**< R, G, B, 255. */
  KIVO_RGB8 = 3,    /**< R, G, B. */
  KIVO_GRAY8 = 4,   /**< Grey. */
  KIVO_BGRA16 = 5,  /**< B, G, R, 65535. */
  KIVO_BGR16 = 6,   /**< B, G, R. */
  KIVO_RGBA16 = 7,  /**< R, G, B, 65535. */
  KIVO_RGB16 = 8,   /**< R, G, B. */
  KIVO_GRAY16 = 9,  /**< Grey. */
  KIVO_SAMPLES = 10 /**< The plain samples of the frame, little-endian. */
} kivo_pixels;

/** What to make of Bayer frames; other formats ignore it, and so does KIVO_SAMPLES. */
typedef enum kivo_bayer {
  KIVO_BAYER_STANDARD = 0, /**< Means of the nearest samples. */
  KIVO_BAYER_ACPI = 1,     /**< Adaptive colour plane interpolation. */
  KIVO_BAYER_BEST = 2,     /**< ACPI where it is defined, else standard. */
  KIVO_BAYER_OFF = 3,      /**< The mosaic as a grey picture. */
  KIVO_BAYER_HALF = 4      /**< One pixel from each 2 x 2. */
} kivo_bayer;

/** What the values of a 16-bit picture are. */
typedef enum kivo_levels {
  KIVO_LEVELS_OWN = 0,   /**< Those of the samples. */
  KIVO_LEVELS_SPREAD = 1 /**< Spread over 0 to 65535. */
} kivo_levels;

/** Who reads the picture next; never changes a byte of it. */
typedef enum kivo_hint {
  KIVO_HINT_AUTO = 0,    /**< Decided by size. */
  KIVO_HINT_CACHED = 1,  /**< This core, at once: the picture stays in the cache as far as it fits. */
  KIVO_HINT_STREAMED = 2 /**< Nobody soon: a texture, a file, another core. The picture bypasses the cache. */
} kivo_hint;

/** The order of the two bytes of a 16-bit sample of a frame. */
typedef enum kivo_byte_order {
  KIVO_LITTLE_ENDIAN = 0, /**< Low byte first: PFNC. */
  KIVO_BIG_ENDIAN = 1     /**< High byte first; formats of plain or planar 16-bit words only. */
} kivo_byte_order;

/** Which of the options below that 0 is a value of are given, and the orientation of the picture. */
enum {
  KIVO_MIRROR = 1,     /**< Turn the picture left to right. */
  KIVO_FLIP = 2,       /**< Turn the picture top to bottom. */
  KIVO_WITH_SHIFT = 4, /**< Use kivo_options::shift. */
  KIVO_WITH_RANGE = 8  /**< Use kivo_options::range_low and range_high. */
};

/** The last link of the colour chain. @ref kf_colour */
typedef enum kivo_tone {
  KIVO_TONE_LINEAR = 0, /**< None. */
  KIVO_TONE_SRGB = 1,   /**< The curve of sRGB. */
  KIVO_TONE_GAMMA = 2,  /**< A power; kivo_colour::gamma. Up to three times as slow as sRGB. */
  KIVO_TONE_TABLE = 3   /**< The caller's; kivo_colour::table. As slow. */
} kivo_tone;

/** Settings of the colour chain. @ref kf_colour */
typedef struct kivo_colour {
  size_t size;           /**< sizeof(kivo_colour). */
  uint32_t tone;         /**< A kivo_tone. */
  uint32_t table_size;   /**< With KIVO_TONE_TABLE: entries, 256 to 4096. */
  double black[4];       /**< Sample of no light: red, green of red rows, green of blue rows, blue. RGB frames
                              take the first, second and last, grey frames the second. */
  double gain[3];        /**< Factor of what is above black: red, green, blue; grey frames take green's. */
  double matrix[9];      /**< What of red, green and blue makes red; then green; then blue. */
  double low;            /**< Black point: becomes 0; in samples above black, times the gain. */
  double high;           /**< White point: becomes full scale; 0: 2^n - 1. */
  double gamma;          /**< With KIVO_TONE_GAMMA: 0.1 to 10. */
  const uint16_t *table; /**< With KIVO_TONE_TABLE: from black to white, 65535 being full scale. Copied. */
} kivo_colour;

/** Initialises a kivo_colour with settings that change nothing. */
#define KIVO_COLOUR_INIT \
  { sizeof(kivo_colour), 0, 0, {0, 0, 0, 0}, {1, 1, 1}, {1, 0, 0, 0, 1, 0, 0, 0, 1}, 0, 0, 1, NULL }

/** What a plan shall do. All zero but for the size: a packed little-endian frame to BGRA8. */
typedef struct kivo_options {
  size_t size;               /**< sizeof(kivo_options). */
  uint32_t pixels;           /**< A kivo_pixels. */
  uint32_t bayer;            /**< A kivo_bayer. */
  uint32_t levels;           /**< A kivo_levels, for pictures of 16 bits. */
  uint32_t hint;             /**< A kivo_hint. */
  uint32_t byte_order;       /**< A kivo_byte_order, of the frame. */
  uint32_t flags;            /**< KIVO_MIRROR | KIVO_FLIP | KIVO_WITH_SHIFT | KIVO_WITH_RANGE, or fewer. */
  uint32_t shift;            /**< With KIVO_WITH_SHIFT: bits that samples lose at their lower end, 0 to 15. */
  uint32_t range_low;        /**< With KIVO_WITH_RANGE: the sample that becomes 0. */
  uint32_t range_high;       /**< With KIVO_WITH_RANGE: the sample that becomes 255. */
  uint32_t crop_x;           /**< Columns to the left of the region. */
  uint32_t crop_y;           /**< Rows above the region. */
  uint32_t crop_width;       /**< Columns of the region. All four fields 0: the whole frame. */
  uint32_t crop_height;      /**< Rows of the region. */
  const kivo_colour *colour; /**< Colour settings, copied; null for none. @ref kf_colour */
} kivo_options;

/** Initialises a kivo_options: kivo_options options = KIVO_OPTIONS_INIT; */
#define KIVO_OPTIONS_INIT \
  { sizeof(kivo_options), 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, NULL }

/** A raw frame in the caller's memory. */
typedef struct kivo_frame {
  const void *data; /**< The lowest address. */
  size_t size;      /**< Bytes that may be read from there on; more than the frame needs is fine. */
  ptrdiff_t
      stride; /**< Bytes from row to row, 0 for packed rows; negative: the first row is the last in memory. */
} kivo_frame;

/** A picture in the caller's memory. */
typedef struct kivo_picture {
  void *data;  /**< The lowest address. */
  size_t size; /**< Bytes that may be written from there on. */
  ptrdiff_t
      stride; /**< Bytes from row to row, 0 for packed rows; negative: the first row is the last in memory. */
} kivo_picture;

/** How frames of one format and size become pictures. Made by kivo_plan_make(), immutable. */
typedef struct kivo_plan kivo_plan;

/**
 * Makes a plan.
 *
 * @param code     PFNC code of the frames.
 * @param width    Pixels of a row of the frames.
 * @param height   Rows of the frames.
 * @param options  What the pictures shall be; null for all defaults.
 * @param plan     [out] The plan, to be released with kivo_plan_free(); null on failure.
 * @retval KIVO_OK
 * @retval KIVO_NULL_POINTER     `plan` is null.
 * @retval KIVO_BAD_STRUCT       options->size, or options->colour->size, is not the size of a version of the
 *                               structure; it is that of a later one, and a field that this version does not
 *                               know is not 0; or it is above 4096. kivo_options may end before `colour`.
 * @retval KIVO_UNKNOWN_FORMAT
 * @retval KIVO_UNKNOWN_OPTION   A field holds a value that its enumeration does not have; an unknown flag.
 * @retval KIVO_EMPTY_IMAGE      The width or the height of the frame, or of the region.
 * @retval KIVO_TOO_LARGE        The frame or the picture, with packed rows, exceeds PTRDIFF_MAX bytes.
 * @retval KIVO_NO_BYTE_ORDER
 * @retval KIVO_PARTIAL_GROUP
 * @retval KIVO_CROP_OUTSIDE
 * @retval KIVO_SPLIT_GROUP
 * @retval KIVO_ACPI_SIZE        KIVO_BAYER_ACPI for a Bayer frame whose region has an odd size, or one below
 * 4 x 4.
 * @retval KIVO_HALF_SIZE        KIVO_BAYER_HALF for a Bayer frame whose region is below 2 x 2.
 * @retval KIVO_BAD_SHIFT
 * @retval KIVO_BAD_RANGE
 * @retval KIVO_BAD_LEVELS
 * @retval KIVO_BAD_COLOUR
 * @retval KIVO_BAD_BLACK
 * @retval KIVO_BAD_GAIN
 * @retval KIVO_BAD_MATRIX
 * @retval KIVO_BAD_POINTS
 * @retval KIVO_BAD_GAMMA        KIVO_TONE_GAMMA only.
 * @retval KIVO_BAD_TABLE        KIVO_TONE_TABLE only.
 * @retval KIVO_OUT_OF_MEMORY
 */
KIVO_API kivo_status kivo_plan_make(uint32_t code, uint32_t width, uint32_t height,
                                    const kivo_options *options, kivo_plan **plan) KIVO_NOEXCEPT;

/** Releases a plan; null does nothing. */
KIVO_API void kivo_plan_free(kivo_plan *plan) KIVO_NOEXCEPT;

/** Columns of the picture. 0 for null. */
KIVO_API uint32_t kivo_plan_width(const kivo_plan *plan) KIVO_NOEXCEPT;

/** Rows of the picture. 0 for null. */
KIVO_API uint32_t kivo_plan_height(const kivo_plan *plan) KIVO_NOEXCEPT;

/** Bytes of a row of the picture without padding. 0 for null. */
KIVO_API size_t kivo_plan_row_bytes(const kivo_plan *plan) KIVO_NOEXCEPT;

/** Bytes of the picture with packed rows. 0 for null. */
KIVO_API size_t kivo_plan_picture_bytes(const kivo_plan *plan) KIVO_NOEXCEPT;

/**
 * The format of a KIVO_SAMPLES picture: plain, of 8 bits if a range is given, and of the order that a Bayer
 * region has where it lies, mirrored and flipped as it is. For other pictures 0. 0 for null.
 */
KIVO_API uint32_t kivo_plan_samples_format(const kivo_plan *plan) KIVO_NOEXCEPT;

/** The kivo_bayer that the plan uses: never KIVO_BAYER_BEST; KIVO_BAYER_OFF where nothing is demosaiced, and
 * for null. */
KIVO_API uint32_t kivo_plan_bayer(const kivo_plan *plan) KIVO_NOEXCEPT;

/** Bytes of scratch memory that one thread needs to run the plan: at most 256 KiB. 0 for null. */
KIVO_API size_t kivo_plan_scratch(const kivo_plan *plan) KIVO_NOEXCEPT;

/**
 * Converts a frame, in the calling thread.
 *
 * @param plan          The plan.
 * @param frame         The frame.
 * @param picture       Where the picture goes.
 * @param scratch       kivo_plan_scratch() bytes for the use of this call alone; of any alignment; with
 *                      null it takes as many of the thread's stack.
 * @param scratch_size  Bytes at `scratch`; of no meaning with null.
 * @retval KIVO_OK                    The whole picture was written.
 * @retval KIVO_NULL_POINTER          `plan`, `frame`, `picture`, or the data of one of both.
 * @retval KIVO_SHORT_STRIDE
 * @retval KIVO_SHORT_BUFFER
 * @retval KIVO_SHORT_PICTURE_STRIDE
 * @retval KIVO_SHORT_PICTURE
 * @retval KIVO_OVERLAP               The bytes from the first to the last of the frame and of the picture,
 * padding between rows included, have some in common.
 * @retval KIVO_SHORT_SCRATCH
 */
KIVO_API kivo_status kivo_run(const kivo_plan *plan, const kivo_frame *frame, const kivo_picture *picture,
                              void *scratch, size_t scratch_size) KIVO_NOEXCEPT;

/**
 * Converts rows `first` to `first + count - 1` of the picture and no others. `frame` and `picture` are whole,
 * and so are the checks. With a count of 0 nothing is written.
 *
 * Codes: those of kivo_run(), with KIVO_ROWS_OUTSIDE in front of KIVO_SHORT_SCRATCH.
 */
KIVO_API kivo_status kivo_run_rows(const kivo_plan *plan, const kivo_frame *frame,
                                   const kivo_picture *picture, uint32_t first, uint32_t count, void *scratch,
                                   size_t scratch_size) KIVO_NOEXCEPT;

/** One piece of work; `context` and the index, below the number of jobs, come from kivo_run_on(). */
typedef void (*kivo_job)(void *context, size_t index);

/**
 * Runs `jobs` jobs: calls job(context, i) once for each i below `jobs`, from any threads in any order, and
 * returns when all have returned: 0. Anything else says that not all were run.
 */
typedef int (*kivo_scheduler)(void *self, kivo_job job, void *context, size_t jobs);

/**
 * Converts a frame in slices of rows on the threads of a scheduler; `self` is passed on to it. Every job
 * takes kivo_plan_scratch() bytes of its thread's stack.
 *
 * Codes: those of kivo_run() but KIVO_SHORT_SCRATCH, with KIVO_NULL_POINTER for a null scheduler too; then
 * KIVO_SCHEDULER_FAILED, after which a part of the picture may have been written.
 */
KIVO_API kivo_status kivo_run_on(const kivo_plan *plan, const kivo_frame *frame, const kivo_picture *picture,
                                 kivo_scheduler scheduler, void *self) KIVO_NOEXCEPT;

/**
 * The smallest and the largest plain sample of a frame, of all channels together, in the region of the plan,
 * before its range is applied.
 *
 * @param plan    The plan; its picture plays no part.
 * @param frame   The frame.
 * @param least   [out] The smallest sample.
 * @param most    [out] The largest sample.
 * @retval KIVO_OK
 * @retval KIVO_NULL_POINTER
 * @retval KIVO_SHORT_STRIDE
 * @retval KIVO_SHORT_BUFFER
 */
KIVO_API kivo_status kivo_sample_range(const kivo_plan *plan, const kivo_frame *frame, uint32_t *least,
                                       uint32_t *most) KIVO_NOEXCEPT;

/* ---------------------------------------------------------------------------------------------------------
 * Colour settings from frames
 *
 * Each function looks at up to 8192 places of the plan's region, without its outer thirty-secondth on every
 * side, and writes settings that a plan can be made with at once, or that the caller smooths from frame to
 * frame. A place is 2 x 2 samples of a Bayer or a grey frame, or a pixel of an RGB frame. The options of the
 * plan but for its region play no part. Codes: in the order of kivo_auto_range(). */

/** How kivo_auto_balance() finds what is grey. None is right for every scene. */
typedef enum kivo_balance {
  KIVO_BALANCE_WHITE_PATCH = 0, /**< The brightest twentieth of what is not clipped is. */
  KIVO_BALANCE_GREY_WORLD = 1,  /**< The mean is, of what is not far from grey by the mean before. */
  KIVO_BALANCE_MEDIAN = 2       /**< The medians of red to green and of blue to green are. */
} kivo_balance;

/**
 * Suggests kivo_colour::black, the same for all colours: what a thousandth of the samples of the darkest
 * colour do not exceed, at most a sixteenth of full scale. A scene without anything black has that far above
 * what the sensor says in the dark: ask the camera first.
 *
 * @param plan    The plan.
 * @param frame   The frame.
 * @param colour  [in, out] The settings; no other field changes, none on failure.
 */
KIVO_API kivo_status kivo_auto_black(const kivo_plan *plan, const kivo_frame *frame,
                                     kivo_colour *colour) KIVO_NOEXCEPT;

/**
 * Suggests kivo_colour::gain for the colour->black that is given: 1 to 8, the least of them 1. Places that
 * have a sample above 63/64 of full scale or hardly above black are left out; all gains are 1 where there are
 * less than 16 others, and for grey frames.
 *
 * @param plan     The plan.
 * @param frame    The frame.
 * @param balance  A kivo_balance.
 * @param colour   [in, out] The settings; no other field changes, none on failure.
 */
KIVO_API kivo_status kivo_auto_balance(const kivo_plan *plan, const kivo_frame *frame, uint32_t balance,
                                       kivo_colour *colour) KIVO_NOEXCEPT;

/**
 * Suggests kivo_colour::low and high for the black and the gain that are given: percentiles of all samples
 * above black, times their gain. The white point is no further than where the first colour is saturated.
 * Both are 0, for all samples, where the frame has no contrast.
 *
 * @param plan     The plan.
 * @param frame    The frame.
 * @param low      Percentage of the samples that the black point is to reach.
 * @param high     Percentage of those that the white point is to reach.
 * @param colour   [in, out] The settings; no other field changes, none on failure.
 * @retval KIVO_OK
 * @retval KIVO_NULL_POINTER
 * @retval KIVO_BAD_STRUCT
 * @retval KIVO_UNKNOWN_OPTION  A balance that does not exist.
 * @retval KIVO_BAD_COLOUR      A YUV frame.
 * @retval KIVO_BAD_BLACK
 * @retval KIVO_BAD_GAIN
 * @retval KIVO_BAD_PERCENT
 * @retval KIVO_SHORT_STRIDE
 * @retval KIVO_SHORT_BUFFER
 */
KIVO_API kivo_status kivo_auto_range(const kivo_plan *plan, const kivo_frame *frame, double low, double high,
                                     kivo_colour *colour) KIVO_NOEXCEPT;

/* ---------------------------------------------------------------------------------------------------------
 * Files that nobody described */

/** Bytes from the beginning of a file that kivo_guess() looks at. */
#define KIVO_GUESS_BYTES ((size_t)16 << 20)

/** What a file may be: a frame of that format and size `offset` bytes behind its beginning. */
typedef struct kivo_candidate {
  uint32_t code;       /**< PFNC code of the format. */
  uint32_t width;      /**< Pixels of a row. */
  uint32_t height;     /**< Rows. */
  uint32_t byte_order; /**< A kivo_byte_order. */
  uint64_t offset;     /**< Bytes in front of the frame. */
  uint64_t stride;     /**< Bytes from row to row; 0 for packed rows. */
  double bits;         /**< Bits that a byte of it takes if every sample is predicted from its neighbours. */
} kivo_candidate;

/**
 * What a file without a description may be, the likeliest first: by the number of bits that its samples take
 * when they are predicted from their neighbours, which is small only where they are read in the right way.
 * The last byte of the file is taken for that of the frame, or of its last row's padding; headers are up to
 * 64 kB long. What the content cannot tell is listed twice, the likelier one first: whether red or blue is
 * the first colour of a mosaic or a pixel. The matrix of YUV samples is not told; a frame too dark to use its
 * upper bits has the depth that it uses.
 *
 * Takes some seconds and up to 64 MB at the most, whatever the file is.
 *
 * @param data        The beginning of the file; only the first KIVO_GUESS_BYTES count.
 * @param size        Bytes there.
 * @param file_bytes  Bytes of the whole file.
 * @param candidates  [out] Up to `most` candidates.
 * @param most        How many at the most; the best of more are the same.
 * @param count       [out] How many there are; 0 if the file is too short or too empty to tell, and on
 *                    failure.
 * @retval KIVO_OK
 * @retval KIVO_NULL_POINTER
 * @retval KIVO_OUT_OF_MEMORY
 */
KIVO_API kivo_status kivo_guess(const void *data, size_t size, uint64_t file_bytes,
                                kivo_candidate *candidates, size_t most, size_t *count) KIVO_NOEXCEPT;

/* ---------------------------------------------------------------------------------------------------------
 * Threads for who has none */

/** Threads that wait for work. */
typedef struct kivo_pool kivo_pool;

/**
 * Starts a pool.
 *
 * @param threads  Threads that work at a time, the caller of kivo_pool_run() among them: 1 to 1024; 0 for one
 * a processor that this process may use.
 * @param pool     [out] The pool, to be released with kivo_pool_free(); null on failure.
 * @retval KIVO_OK
 * @retval KIVO_NULL_POINTER
 * @retval KIVO_UNKNOWN_OPTION  More than 1024 threads.
 * @retval KIVO_OUT_OF_MEMORY   A thread could not be started; none is left behind.
 */
KIVO_API kivo_status kivo_pool_make(uint32_t threads, kivo_pool **pool) KIVO_NOEXCEPT;

/** Ends the threads of a pool, which runs nothing, and releases it; null does nothing. */
KIVO_API void kivo_pool_free(kivo_pool *pool) KIVO_NOEXCEPT;

/** Threads that work at a time. 0 for null. */
KIVO_API uint32_t kivo_pool_threads(const kivo_pool *pool) KIVO_NOEXCEPT;

/**
 * A kivo_scheduler whose `self` is a kivo_pool. Several threads may call it at once: they take turns. A job
 * must not call it on its own pool.
 */
KIVO_API int kivo_pool_run(void *self, kivo_job job, void *context, size_t jobs) KIVO_NOEXCEPT;

#ifdef __cplusplus
}
#endif

#endif /* KIVO_FRAME_H */
