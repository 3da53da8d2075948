// SPDX-License-Identifier: Apache-2.0
// YUV of every layout by every matrix. A matrix other than that of the tables is a row of constants, and all
// of them share one kernel for each layout and output.
#include "kernels/yuv_rows.h"
#include "simd/frame_kernels.h"

namespace Kivo::KIVO_TARGET {
namespace {

using GroupUyv = Layout<3, 0, 0, 2, 1>;
using GroupYuyv = Layout<4, 0, 1, 3, 0, 2>;
using GroupYyuyyv = Layout<6, 0, 2, 5, 0, 1, 3, 4>;

// R, G and B of the real formulas, with Y' = Y or 1.16438 (Y - 16):
//   Full601      Y' + 1.402 v      Y' - 0.34414 u - 0.71414 v   Y' + 1.772 u
//   Limited601   Y' + 1.59603 v    Y' - 0.39176 u - 0.81297 v   Y' + 2.01723 u
//   Limited709   Y' + 1.79274 v    Y' - 0.21325 u - 0.53291 v   Y' + 2.11240 u
template <YuvMatrix eMatrix>
constexpr MatrixConstants c_sConstants = {};
template <>
constexpr MatrixConstants c_sConstants<YuvMatrix::Full601> = {4096, 4112, 7258, 5743, -5638, -11700};
template <>
constexpr MatrixConstants c_sConstants<YuvMatrix::Limited601> = {4769, 4189, 8263, 6537, -6419, -13320};
template <>
constexpr MatrixConstants c_sConstants<YuvMatrix::Limited709> = {4769, 4189, 8652, 7343, -3494, -8731};

template <class Group, Output eOut>
[[gnu::noinline]] void RunFixed(const RunJob &sJob, const MatrixConstants &s) {
  Run(MatrixStep<Group, eOut, FixedMatrix>{{}, FixedMatrix{s}}, sJob);
}

template <class Group, Output eOut, YuvMatrix eMatrix>
void Convert(const RunJob &sJob) {
  if constexpr (eMatrix == YuvMatrix::Yuv) {
    Run(MatrixStep<Group, eOut, TablesMatrix>{}, sJob);
  } else {
    RunFixed<Group, eOut>(sJob, c_sConstants<eMatrix>);
  }
}

template <class Group>
constexpr void Fill(RunKernel (&aapfn)[c_uiYuvMatrices][c_uiOutputs]) {
  const auto fill = [&]<YuvMatrix eMatrix>() {
    aapfn[static_cast<unsigned>(eMatrix)][c_eBGRA] = Convert<Group, c_eBGRA, eMatrix>;
    aapfn[static_cast<unsigned>(eMatrix)][c_eBGR] = Convert<Group, c_eBGR, eMatrix>;
  };
  fill.template operator()<YuvMatrix::Yuv>();
  fill.template operator()<YuvMatrix::Full601>();
  fill.template operator()<YuvMatrix::Limited601>();
  fill.template operator()<YuvMatrix::Limited709>();
}

constexpr YuvFrameKernels MakeKernels() {
  YuvFrameKernels s = {};
  Fill<GroupUyv>(s.apfn[static_cast<unsigned>(YuvLayout::Uyv)]);
  Fill<Group422>(s.apfn[static_cast<unsigned>(YuvLayout::Uyvy)]);
  Fill<GroupYuyv>(s.apfn[static_cast<unsigned>(YuvLayout::Yuyv)]);
  Fill<Group411>(s.apfn[static_cast<unsigned>(YuvLayout::Uyyvyy)]);
  Fill<GroupYyuyyv>(s.apfn[static_cast<unsigned>(YuvLayout::Yyuyyv)]);
  return s;
}

}  // namespace

extern constexpr YuvFrameKernels c_sYuvFrameKernels = MakeKernels();

}  // namespace Kivo::KIVO_TARGET
