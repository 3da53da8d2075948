// SPDX-License-Identifier: Apache-2.0
// What a target offers beyond kernels.h, for the engine alone, under the same contract. include/KivoFrame.h
// has the layouts and formulas. Pointers to words are aligned to their two bytes.
//
// A family is a struct of kernels, its table in a kernel object that CMake makes with
// `kivo_kernels(<family> <source> ENGINE)`, a pointer in FrameKernels, and one in
// src/frame/frame_kernels.cpp.
#ifndef KIVO_SIMD_FRAME_KERNELS_H
#define KIVO_SIMD_FRAME_KERNELS_H

#include <stddef.h>
#include <stdint.h>

#include "simd/kernels.h"
#include "simd/yuv_frame_kernels.h"

namespace Kivo {

// From the samples of a frame to plain ones: bytes, or words in the processor's order. n counts
//   P10, P12, P14, Packed10, Packed12  samples, the first at the start of a group -> words
//   P32                                samples of 10 bits, three in 4 bytes, a multiple of three -> words
//   Swap                               words whose bytes are exchanged
//   Bits1, Bits2, Bits4                samples, the first at bit 0 -> bytes, times 255, 85 and 17
//   Signed                             bytes in two's complement -> 128 more
//   DropAlpha                          pixels of 4 bytes -> their first 3
//   Yuyv                               groups Y0 U Y1 V -> U Y0 V Y1
//   Yyuyyv                             groups Y0 Y1 Cb Y2 Y3 Cr -> Cb Y0 Y1 Cr Y2 Y3
// The bytes read end with the one that holds the last bit of the last sample.
enum class Unpack : unsigned {
  P10,
  P12,
  P14,
  Packed10,
  Packed12,
  P32,
  Swap,
  Bits1,
  Bits2,
  Bits4,
  Signed,
  DropAlpha,
  Yuyv,
  Yyuyyv,
  Count
};
using UnpackKernel = void (*)(uint8_t *pucDst, const uint8_t *pucSrc, size_t n);

struct UnpackKernels {
  UnpackKernel apfn[static_cast<unsigned>(Unpack::Count)];
};

// Samples that share bytes, P10 to Packed12, the first of a row at the start of a group, to grey pixels: n
// counts samples, of which bits uiShift to uiShift + 7 are shown.
constexpr unsigned c_uiMonoPackings = static_cast<unsigned>(Unpack::Packed12) + 1;
struct PackedMonoKernels {
  RunKernel apfn[c_uiMonoPackings][c_uiOutputs];
};

// n pixels of three samples; plane i gets sample i of each.
using PlanesKernel = void (*)(uint16_t *const *apusPlanes, const uint8_t *pucSrc, size_t n);
// n pixels of three samples, sample i of each from plane i.
using InterleaveKernel = void (*)(uint8_t *pucDst, const uint8_t *const *apucPlanes, size_t n);
// n bytes to words.
using WidenKernel = void (*)(uint16_t *pusDst, const uint8_t *pucSrc, size_t n);

struct PlanesKernels {
  PlanesKernel pfnBytes, pfnWords;
  InterleaveKernel pfnInterleaveBytes, pfnInterleaveWords;
  WidenKernel pfnWiden;
};

// Two rows of a mosaic, 2 n samples each, the upper one with the colours of row 0 of the order, to n pixels
// in planes blue, green, red: green is floor((a + b) / 2) of the two.
using HalfKernel = void (*)(uint16_t *const *apusPlanes, const uint8_t *pucRow0, const uint8_t *pucRow1,
                            size_t n, BayerOrder eOrder);

struct HalfKernels {
  HalfKernel pfnBytes, pfnWords;
};

// A curve of straight pieces over 0 to 32767, see kernels/tone.h: what it is at the knots, and from each how
// far to the next; and the lower and the upper bytes of both, each exclusive or the one 16 before it, if
// there is one. Values are shifted left by uiUp, 0 or 1, first.
struct ToneCurve {
  alignas(64) uint16_t ausKnots[64], ausSteps[64];
  alignas(64) uint8_t aaucBytes[4][64];
  uint16_t uiUp;
};

// A row of a picture from planes of words. Colours are named in the order of blue-first pictures; red-first
// ones exchange the planes. Mono is one plane, Gray the luma of three: blue, green, red.
enum class PictureKind : unsigned { Bgra8, Bgr8, Mono8, Gray8, Bgra16, Bgr16, Mono16, Gray16, Count };

struct PictureJob {
  uint8_t *pucDst;                // pixels of 4, 3, 1, 1, 8, 6, 2, 2 bytes
  const uint16_t *apusPlanes[3];  // Mono uses the first alone
  size_t n;                       // pixels
  unsigned uiShift;               // 8-bit kinds, at most 15: a value v becomes (v >> uiShift) & 255
  unsigned uiDepth;               // 16-bit kinds with bSpread, 8 to 16: the low bits of v that count
  bool bSpread;                   // 16-bit kinds: repeats these bits to fill the word; else v stays
  bool bMirror;                   // pixel n - 1 of the planes becomes pixel 0 of the row
  bool bStream;                   // whole lines bypass the caches if pixels can begin at the start of a line
  const ToneCurve
      *psCurve;  // kernels with bCurves: null, or a curve that values take first; uiShift then counts
};               // for kinds of 16 bits too
using PictureKernel = void (*)(const PictureJob &s);

struct PictureKernels {
  PictureKernel apfn[static_cast<unsigned>(PictureKind::Count)];
  bool bCurves;  // whether the kernels take a curve
};

// Lowers *puiLeast and raises *puiMost to the smallest and largest of n samples and themselves.
using ExtremesKernel = void (*)(const uint8_t *pucSrc, size_t n, uint32_t *puiLeast, uint32_t *puiMost);
// n samples, each replaced by its byte in a table of 256 or 65536.
using TableKernel = void (*)(uint8_t *pucDst, const uint8_t *pucSrc, size_t n, const uint8_t *pucTable);

struct RangeKernels {
  ExtremesKernel pfnExtremeBytes, pfnExtremeWords;
  TableKernel pfnTableBytes, pfnTableWords;
};

// Both demosaics of 16-bit samples to c_ePlanes, at the samples' own depth and without a shift. Doubled:
// samples of at most 14 bits, standard means times two, floor(2 sum / count). Words: the standard one of at
// least two rows and columns to c_eBGRA16 and c_eBGR16; the lowest uiDepth bits of a mean, 8 to 16, fill the
// word, repeated. The adaptive one of at most c_uiSlimDepth bits also to pixels of bytes: the upper 8 bits,
// uiShift being the number of the others.
constexpr unsigned c_uiSlimDepth = 12;
struct MosaicPlanesKernels {
  MosaicKernel pfnStandard, pfnAdaptive, pfnDoubled;
  MosaicKernel apfnWords[c_uiOutputs];
  MosaicKernel apfnAdaptiveSlim[c_uiOutputs];
};

// What becomes of a sample t of 15 bits: with d = t - usBlack, 0 at the least,
//   min(16383, (min(d, usMost) * usFactor * usGain + 16384) >> 15)
// usFactor is a power of two 2^e, usMost (32767 >> e) + 1, and usGain at most 32767, with e above 0 at least
// 16384.
struct GainSite {
  uint16_t usBlack, usMost, usFactor, usGain;
};
struct GainJob {
  uint16_t *pusDst;
  const uint8_t *pucSrc;  // bytes or words; not those of pusDst
  size_t n;               // samples
  GainSite asSites[3];    // of sample 0, 1, ...; the first again behind the last
  unsigned uiSites;       // 2 or 3
  unsigned uiDepth;       // 8 to 16: what is above counts as the largest sample
};
using GainKernel = void (*)(const GainJob &s);

// Three planes mixed: plane i of the result is the sum of the planes times asRows[i] / 4096, rounded down
// after 2048 was added, and kept within 0 to 32767. Values are below 32768 after they were shifted left by
// uiUp, 0 or 1. A plane may be written where it is read, or in front of that. All have room for the whole of
// the last vector.
struct MatrixJob {
  uint16_t *apusDst[3];
  const uint16_t *apusSrc[3];
  size_t n;
  int16_t aasRows[3][3];
  unsigned uiUp;
};
using MatrixKernel = void (*)(const MatrixJob &s);

// What a curve makes of 0 to 32767: bytes, or words.
constexpr size_t c_uiToneEntries = 32768;

// n values below 32768 after they were shifted left by uiUp, each replaced by its entry; or, without a table,
// by min(65535, 2 u + (u >> 13)) >> uiDown.
struct ToneJob {
  uint16_t *pusDst;  // may be pusSrc
  const uint16_t *pusSrc;
  size_t n;
  unsigned uiUp;
  unsigned uiDown;
  const uint8_t *pucBytes;   // one of the tables,
  const uint16_t *pusWords;  // or none
};
using ToneKernel = void (*)(const ToneJob &s);

struct ColourKernels {
  GainKernel pfnGainBytes, pfnGainWords;
  MatrixKernel pfnMatrix;
  ToneKernel pfnTone;
};

// What becomes of the samples of a mosaic between the gain and pixels of bytes. With u the doubled standard
// means, below 32768, and mixed by a matrix if there is one: u >> 7, or what the table has for u.
struct FinishJob {
  const int16_t (*pasRows)[3];  // null, or a matrix as a MatrixJob has it
  const uint8_t *pucTable;      // null, or c_uiToneEntries
  const ToneCurve *psCurve;     // null, or the curve whose upper bytes the table has; its uiUp is 0
};
// Words of 14 bits in a ring, at least two rows and columns of them. The job makes all its columns: each side
// has one more, and the right one room for a block of 64 behind that. Behind an edge of the image the column
// more repeats the inner neighbour of the outermost, but in rows that begin, or end, with red or blue and are
// not the first or last: there it is what makes the sum of the four around the outermost twice what the green
// of the three becomes, modulo 65536.
using ColouredMosaicKernel = void (*)(const MosaicJob &sJob, const FinishJob &sFinish);

struct ColouredMosaicKernels {
  ColouredMosaicKernel apfn[c_uiOutputs];
};

// All families of one target that only the engine has.
struct FrameKernels {
  const MosaicPlanesKernels *psMosaicPlanes;
  const UnpackKernels *psUnpack;
  const PackedMonoKernels *psPackedMono;
  const PlanesKernels *psPlanes;
  const HalfKernels *psHalf;
  const PictureKernels *psPicture;
  const RangeKernels *psRange;
  const YuvFrameKernels *psYuvFrames;
  const ColourKernels *psColour;
  const ColouredMosaicKernels *psColouredMosaic;
};

}  // namespace Kivo

// The one symbol that each kernel object defines.
#ifdef KIVO_TARGET
namespace Kivo::KIVO_TARGET {
extern const MosaicPlanesKernels c_sMosaicPlanesKernels;
extern const UnpackKernels c_sUnpackKernels;
extern const PackedMonoKernels c_sPackedMonoKernels;
extern const PlanesKernels c_sPlanesKernels;
extern const HalfKernels c_sHalfKernels;
extern const PictureKernels c_sPictureKernels;
extern const RangeKernels c_sRangeKernels;
extern const YuvFrameKernels c_sYuvFrameKernels;
extern const ColourKernels c_sColourKernels;
extern const ColouredMosaicKernels c_sColouredMosaicKernels;
}  // namespace Kivo::KIVO_TARGET
#endif

#endif  // KIVO_SIMD_FRAME_KERNELS_H
