// SPDX-License-Identifier: Apache-2.0
// YUV kernels of more layouts and matrices than the exported functions have.
#ifndef KIVO_SIMD_YUV_FRAME_KERNELS_H
#define KIVO_SIMD_YUV_FRAME_KERNELS_H

#include "simd/kernels.h"

namespace Kivo {

// The bytes of a group; all of them are used, and groups follow each other without gaps.
enum class YuvLayout : unsigned {
  Uyv,     // U Y V: one pixel
  Uyvy,    // U Y0 V Y1: two
  Yuyv,    // Y0 U Y1 V
  Uyyvyy,  // U Y0 Y1 V Y2 Y3: four
  Yyuyyv,  // Y0 Y1 U Y2 Y3 V
  Count
};

// How luma and chroma become R, G and B. The three YCbCr matrices differ from the real formula, rounded and
// clamped to 0 to 255, by at most 1.
enum class YuvMatrix : unsigned {
  Yuv,         // the integer tables that KivoCamUtl.h states; PrepareLUT() is not needed here
  Full601,     // BT.601, everything 0 to 255
  Limited601,  // BT.601, Y 16 to 235, chroma 16 to 240
  Limited709,  // BT.709, the same
  Count,
  None = Count  // not a YUV format
};

constexpr unsigned c_uiYuvLayouts = static_cast<unsigned>(YuvLayout::Count);
constexpr unsigned c_uiYuvMatrices = static_cast<unsigned>(YuvMatrix::Count);

// Items are whole groups.
struct YuvFrameKernels {
  RunKernel apfn[c_uiYuvLayouts][c_uiYuvMatrices][c_uiOutputs];
};

}  // namespace Kivo

#endif  // KIVO_SIMD_YUV_FRAME_KERNELS_H
