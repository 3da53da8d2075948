// SPDX-License-Identifier: Apache-2.0
// What a target offers: constant tables of kernels, one table per family.
//
// A kernel takes pointers and counts that its caller has checked, returns nothing and allocates nothing. It
// reads and writes exactly the bytes that its comment names; no buffer may be assumed to be padded or
// aligned. Source and destination do not overlap. bStream asks for stores that bypass the caches, after
// which the caller fences, see stream_fence.h; it never changes a byte of the result.
#ifndef KIVO_SIMD_KERNELS_H
#define KIVO_SIMD_KERNELS_H

#include <stddef.h>
#include <stdint.h>

// Samples and pixels are moved as words of several bytes. On a machine that has the high byte first every
// wide format would come out wrong.
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ != __ORDER_LITTLE_ENDIAN__
#error "KivoCamUtl needs a little-endian machine"
#endif

namespace Kivo {

// Index of the output kind in every table below. Planes are rows of 16-bit words, one for each channel, in
// the order of a picture's bytes; they have room for one vector of pixels behind the last. Pixels of words
// are the engine's.
enum Output : unsigned { c_eBGRA = 0, c_eBGR = 1, c_uiOutputs = 2, c_ePlanes = 2, c_eBGRA16, c_eBGR16 };

// Colour-filter order, named after the first two samples of row 0. Bit 0: a green sample comes first in row
// 0. Bit 1: row 0 is a blue row.
enum class BayerOrder : unsigned { RG = 0, GR = 1, BG = 2, GB = 3 };

// Rows of items: pixels, groups or units, as each family says. A frame without gaps is one long row, since
// rows play no part in what becomes of an item.
struct RunJob {
  uint8_t *pucDst;
  ptrdiff_t iDstPitch;  // from one row to the next; may be negative, as long as no row overlaps another
  const uint8_t *pucSrc;
  ptrdiff_t iSrcPitch;  // likewise; source rows may overlap
  size_t n;             // items of a row
  size_t uiRows;
  unsigned uiShift;  // below 32; for 16-bit samples, which are reduced to bits uiShift..uiShift+7
  bool bStream;
};
using RunKernel = void (*)(const RunJob &sJob);

// The green rows that an adaptive demosaic keeps from one job to the next on the same columns, rows downward.
struct GreenRing {
  static constexpr size_t c_uiRows = 4;
  // Samples in front of column 0, and room behind the last column: a vector and a few more.
  static constexpr size_t c_uiLead = 4;
  static constexpr size_t c_uiRoom = c_uiLead + 4 + 64;

  uint8_t *pucRows;   // c_uiRows rows of samples
  size_t uiPitch;     // bytes from one to the next: those of the mosaic's width and of c_uiRoom samples
  size_t uiMade = 0;  // rows below this one have been made, of which the ring holds the last
};

// Columns that a part of a mosaic has more than it makes, on a side that is not an edge of the image.
constexpr size_t c_uiBayerApron = 2;
constexpr size_t c_uiAcpiApron = 6;

// Rows of a mosaic, or of a part of its columns that begins at an even one. Each side is an edge of the image
// or has an apron of columns that are read; standard kernels make all of them but the outermost.
struct MosaicJob {
  const uint8_t
      *pucSrc;          // row y begins at pucSrc + (y & uiRowMask) * iSrcPitch: with a mask of ones a frame,
  ptrdiff_t iSrcPitch;  // else a ring that holds the rows around those being made
  size_t uiRowMask;
  uint8_t *pucDst;  // column 0 of row uiFirst
  ptrdiff_t iDstPitch;
  ptrdiff_t iPlanePitch;  // c_ePlanes: from a row of a channel to that of the next
  size_t uiWidth, uiHeight;
  size_t uiFirst, uiRows;  // the rows to make
  bool bLeftEdge, bRightEdge;
  BayerOrder eOrder;
  unsigned uiShift;  // 16-bit samples: below 32
  unsigned uiDepth;  // adaptive, 16-bit samples: bits that count; of words what MosaicPlanesKernels says
  bool bRedFirst;    // channels in the order R, G, B
  bool bStream;
  GreenRing *psGreens;  // adaptive only
  const uint8_t
      *pucAhead;          // null, or column 0 of row uiFirst of the frame, in whatever form: what comes next
  ptrdiff_t iAheadPitch;  // of it is fetched into the cache by standard kernels
  size_t uiAheadBits;     // from one column to the next
};

// Bytes of a row: longer ones a processor follows by itself, if nothing else is read in between.
constexpr size_t c_uiShortRow = 4096;

// Not empty. Adaptive kernels take images of even sizes of at least 4 only.
using MosaicKernel = void (*)(const MosaicJob &sJob);

struct MonoRgb8Kernels {
  RunKernel apfnMono[c_uiOutputs];  // 1 source byte a pixel
  RunKernel apfnRGB[c_uiOutputs];   // 3 source bytes R, G, B
  RunKernel pfnBGRToBGRA;           // 3 source bytes B, G, R; to BGR they are copied
};

// Items are whole groups, not pixels; the last group of a row is read only as far as its last used byte.
struct Yuv8Kernels {
  RunKernel apfn411[c_uiOutputs];  // groups of 6 bytes, 4 pixels
  RunKernel apfn422[c_uiOutputs];  // groups of 4 bytes (BGRA) or 5 bytes (BGR), 2 pixels
  RunKernel apfn444[c_uiOutputs];  // groups of 4 bytes, 1 pixel
};

struct Bayer8Kernels {
  MosaicKernel apfn[c_uiOutputs];
};

struct Acpi8Kernels {
  MosaicKernel apfn[c_uiOutputs];
};

// Little-endian words.
struct MonoRgb16Kernels {
  RunKernel apfnMono[c_uiOutputs];  // 1 source word a pixel
  RunKernel apfnRGB[c_uiOutputs];   // 3 source words R, G, B
  RunKernel apfnBGR[c_uiOutputs];   // 3 source words B, G, R
};

struct Bayer16Kernels {
  MosaicKernel apfn[c_uiOutputs];
};

// What a reversal moves as a whole. A YUV group keeps its byte 0 and has its other bytes reversed.
enum class ReverseUnit : unsigned { Byte1, Byte2, Byte3, Byte4, Byte6, Byte8, Yuv422, Yuv411, Count };

// Destination unit k of a row is the unit n - 1 - k of the source row.
struct ReverseKernels {
  RunKernel apfn[static_cast<unsigned>(ReverseUnit::Count)];
  RunKernel pfnCopy;  // items are bytes, left as they are
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
