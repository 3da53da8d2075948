// SPDX-License-Identifier: Apache-2.0
// What a plan knows: everything that was asked, checked and resolved, and nothing of a frame's memory.
#ifndef KIVO_FRAME_PLAN_H
#define KIVO_FRAME_PLAN_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "KivoFrame.h"
#include "frame/colour.h"
#include "frame/formats.h"
#include "simd/frame_kernels.h"

namespace Kivo {

// What samples go through, in this order, until they are plain and where the picture wants them.
struct Stage {
  enum class Kind : std::uint8_t {
    Unpack,      // eUnpack
    Interleave,  // three planes to triples
    Table,       // the range
    Gain,        // black level and gain of the colours
    Reverse,     // last unit first
  };
  Kind eKind;
  Unpack eUnpack;
};

// How the picture is made of plain samples.
enum class Course : std::uint8_t {
  Copy,     // it is the samples
  Fused,    // one kernel of runs makes it
  Swapped,  // two do, the second exchanging red and blue
  Planes,   // by way of three rows of words
  Mosaic,   // a demosaic makes it
  MosaicPlanes,
  MosaicColours,  // a demosaic that knows colour settings does
  Half,
};

// Pixels of a picture.
struct PixelsOf {
  std::uint8_t uiBytes;
  std::uint8_t uiBits;  // of a channel
  bool bGrey;
  bool bRedFirst;
  bool bAlpha;
};

// What a thread's scratch memory holds, as offsets into it, and how large the pieces are that it is for.
struct ScratchLayout {
  std::size_t uiPiece;       // pixels of a row at a time, whole groups of every format; of a mosaic, columns
  std::size_t uiBand;        // rows at a time
  std::size_t uiRingRows;    // of a mosaic, a power of two
  std::size_t auiSpaces[2];  // what stages hand on
  std::size_t uiSamples;     // samples of the piece, or the ring of rows of a mosaic, behind their lead
  std::size_t uiSamplesPitch;
  std::size_t uiPlanes;
  std::size_t uiPlanePitch;  // from a channel's row to the next channel's
  std::size_t uiGreens;
  std::size_t uiGreensPitch;
  std::size_t uiOut;  // pixels that are exchanged or turned round before they are stored
  std::size_t uiOutPitch;
  std::size_t uiTotal;
};

}  // namespace Kivo

// The type that the interface names.
struct kivo_plan {
  const kivo_format *psFormat;  // of the frames
  const kivo_format *psPlain;   // of the plain samples of the region, not mirrored; 8 bits where a range is
                                // given, 14 where colour settings are
  std::uint32_t uiFrameWidth, uiFrameHeight;
  std::uint32_t uiX, uiY, uiWidth, uiHeight;  // the region
  std::uint32_t uiPictureWidth, uiPictureHeight;
  std::uint32_t uiPixels;  // a kivo_pixels
  std::uint32_t uiBayer;   // a kivo_bayer, resolved
  std::uint32_t uiHint;
  unsigned uiShift;
  bool bSpread;
  bool bMirror, bFlip;
  bool bMirrorSamples;  // the picture is mirrored by reversing rows of samples
  Kivo::PixelsOf sPixels;
  std::size_t uiFrameRow, uiPictureRow;      // bytes of packed rows, the frame's of one plane
  std::size_t uiFrameBytes, uiPictureBytes;  // of packed rows
  Kivo::Course eCourse;
  std::array<Kivo::Stage, 5> asStages;
  std::size_t uiStages, uiStagesToPlain;  // all; those before the range and the reversal
  Kivo::ScratchLayout sScratch;
  std::unique_ptr<std::uint8_t[]> pucTable;  // the range
  Kivo::Colour sColour;
};

namespace Kivo {

inline bool IsWords(const kivo_plan &s) noexcept {
  return s.psPlain->plain_bytes == 2;
}

// Whether a demosaic gets words: bytes are widened where planes or words are to be made of them.
inline bool MosaicOfWords(const kivo_plan &s) noexcept {
  return IsWords(s) || s.eCourse == Course::MosaicPlanes || s.sPixels.uiBits == 16;
}

// Bytes of so many pixels of plain samples; whole groups of YUV.
inline std::size_t PlainBytes(const kivo_format &sPlain, std::size_t uiPixels) noexcept {
  return uiPixels / sPlain.group_pixels * sPlain.group_bytes;
}

// The colours of the plain samples, mirrored if the rows of samples are.
BayerOrder OrderOf(const kivo_plan &s) noexcept;

// Bits by which what is behind the demosaic is still to be shifted to the left, in front of matrix and tone.
inline std::uint16_t DoublingLeft(const kivo_plan &s) noexcept {
  return s.eCourse == Course::MosaicColours ||
                 (s.eCourse == Course::MosaicPlanes && s.uiBayer == KIVO_BAYER_STANDARD)
             ? 0
             : 1;
}

ScratchLayout LayOut(const kivo_plan &s) noexcept;

}  // namespace Kivo

#endif  // KIVO_FRAME_PLAN_H
