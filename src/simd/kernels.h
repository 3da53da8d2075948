// SPDX-License-Identifier: Apache-2.0
// What a target offers: constant tables of kernels, one table per family.
//
// A kernel takes pointers and counts that its caller has checked, returns nothing and allocates nothing. It
// reads and writes exactly the bytes that its comment names; no buffer may be assumed to be padded or
// aligned. Source and destination do not overlap. bStream asks for stores that bypass the caches; it never
// changes a byte of the result.
#ifndef KIVO_SIMD_KERNELS_H
#define KIVO_SIMD_KERNELS_H

#include <stddef.h>
#include <stdint.h>

namespace Kivo {

// Index of the output kind in every table below.
enum Output : unsigned { c_eBGRA = 0, c_eBGR = 1, c_uiOutputs = 2 };

// Colour-filter order, named after the first two samples of row 0. Bit 0: a green sample comes first in row
// 0. Bit 1: row 0 is a blue row.
enum class BayerOrder : unsigned { RG = 0, GR = 1, BG = 2, GB = 3 };

// n pixels as one run, rows playing no part.
using RunKernel = void (*)(uint8_t *pucDst, const uint8_t *pucSrc, size_t n, bool bStream);

// The same for little-endian 16-bit samples, reduced to bits uiShift..uiShift+7; uiShift is below 32.
using ShiftRunKernel = void (*)(uint8_t *pucDst, const uint8_t *pucSrc, size_t n, unsigned uiShift,
                                bool bStream);

// A whole mosaic of any size, rows packed.
using BayerKernel = void (*)(uint8_t *pucDst, const uint8_t *pucSrc, size_t uiWidth, size_t uiHeight,
                             BayerOrder eOrder, bool bStream);
using ShiftBayerKernel = void (*)(uint8_t *pucDst, const uint8_t *pucSrc, size_t uiWidth, size_t uiHeight,
                                  BayerOrder eOrder, unsigned uiShift, bool bStream);

struct MonoRgb8Kernels {
  RunKernel apfnMono[c_uiOutputs];  // 1 source byte a pixel
  RunKernel apfnRGB[c_uiOutputs];   // 3 source bytes R, G, B
  RunKernel pfnBGRToBGRA;           // 3 source bytes B, G, R; to BGR they are copied
};

// n counts whole groups, not pixels; the last group is read only as far as its last used byte.
struct Yuv8Kernels {
  RunKernel apfn411[c_uiOutputs];  // groups of 6 bytes, 4 pixels
  RunKernel apfn422[c_uiOutputs];  // groups of 4 bytes (BGRA) or 5 bytes (BGR), 2 pixels
  RunKernel apfn444[c_uiOutputs];  // groups of 4 bytes, 1 pixel
};

struct Bayer8Kernels {
  BayerKernel apfn[c_uiOutputs];
};

// Even sizes of at least 4 only.
struct Acpi8Kernels {
  BayerKernel apfn[c_uiOutputs];
};

struct MonoRgb16Kernels {
  ShiftRunKernel apfnMono[c_uiOutputs];  // 1 source word a pixel
  ShiftRunKernel apfnRGB[c_uiOutputs];   // 3 source words R, G, B
  ShiftRunKernel apfnBGR[c_uiOutputs];   // 3 source words B, G, R
};

struct Bayer16Kernels {
  ShiftBayerKernel apfn[c_uiOutputs];
};

// What a reversal moves as a whole. A YUV group keeps its byte 0 and has its other bytes reversed.
enum class ReverseUnit : unsigned { Byte1, Byte2, Byte3, Byte6, Yuv422, Yuv411, Count };

// Destination unit k is the unit n - 1 - k of the source run.
struct ReverseKernels {
  RunKernel apfn[static_cast<unsigned>(ReverseUnit::Count)];
  RunKernel pfnCopy;  // n bytes as they are
};

// All families of one target.
struct Kernels {
  const MonoRgb8Kernels *psMonoRgb8;
  const Yuv8Kernels *psYuv8;
  const Bayer8Kernels *psBayer8;
  const Acpi8Kernels *psAcpi8;
  const MonoRgb16Kernels *psMonoRgb16;
  const Bayer16Kernels *psBayer16;
  const ReverseKernels *psReverse;
};

}  // namespace Kivo

// The one symbol that each kernel object defines.
#ifdef KIVO_TARGET
namespace Kivo::KIVO_TARGET {
extern const MonoRgb8Kernels c_sMonoRgb8Kernels;
extern const Yuv8Kernels c_sYuv8Kernels;
extern const Bayer8Kernels c_sBayer8Kernels;
extern const Acpi8Kernels c_sAcpi8Kernels;
extern const MonoRgb16Kernels c_sMonoRgb16Kernels;
extern const Bayer16Kernels c_sBayer16Kernels;
extern const ReverseKernels c_sReverseKernels;
}  // namespace Kivo::KIVO_TARGET
#endif

#endif  // KIVO_SIMD_KERNELS_H
