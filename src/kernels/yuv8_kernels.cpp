// SPDX-License-Identifier: Apache-2.0
// The layouts and the matrix of the exported YUV functions. Chroma is computed once for each pair of pixels.
// Without byte shuffles the lookup tables are read instead.
#include "kernels/yuv_rows.h"
#ifdef KIVO_TARGET_Baseline
#include "camutl/luts.h"
#endif

namespace Kivo::KIVO_TARGET {
namespace {

// The BGR converter of 4:2:2 steps over a byte after each pair, and both 4:4:4 converters step over one after
// each pixel: decisions of this library.
using Group422Wide = Layout<5, 1, 0, 2, 1, 3>;
using Group444 = Layout<4, 1, 0, 2, 1>;

#ifdef KIVO_TARGET_Baseline

template <class Group, Output eOut>
struct TableStep : GroupStep<Group, eOut> {
  static constexpr size_t c_uiItems = 1;
  static constexpr size_t c_uiSrcReach = Group::c_uiBytes - Group::c_uiSkip;
  static constexpr size_t c_uiDstReach = Group::c_uiPixels * PixelBytes(eOut);

  template <bool bStream>
  KIVO_INLINE void Do(uint8_t *pucDst, const uint8_t *pucSrc) const {
    const unsigned u = pucSrc[Group::c_uiU];
    const unsigned v = pucSrc[Group::c_uiV];
    const uint32_t k = auiYUVC_UV[u][v];
    for (const size_t uiOffset : Group::c_auiY) {
      const unsigned y = pucSrc[uiOffset];
      if constexpr (eOut == c_eBGRA) {
        Store(pucDst, auiYUV2G[k][y] + auiYV2R[v][y] + aucYU2B[u][y]);
      } else {
        pucDst[0] = aucYU2B[u][y];
        pucDst[1] = aucYUV2G[k][y];
        pucDst[2] = aucYV2R[v][y];
      }
      pucDst += PixelBytes(eOut);
    }
  }
};

template <class Group, Output eOut>
using Step = TableStep<Group, eOut>;

#else

// A lane of groups is wider than one load: its last groups come from a second load that ends with the last
// group's last used byte.
template <>
struct Pairs<Group422Wide> {
  static constexpr size_t c_uiLaneBytes = c_uiLane / 4 * 5;
  static constexpr size_t c_uiSecond = c_uiLaneBytes - 1 - c_uiLane;
  static constexpr size_t c_uiVectorBytes = c_uiLanes * c_uiLaneBytes;
  static constexpr size_t c_uiReach = c_uiVectorBytes - 1;

  static constexpr size_t Source(size_t j) { return j / 4 * 5 + j % 4; }

  KIVO_INLINE static U8 Fetch(const uint8_t *p) {
    return Gather<Pairs>(LoadLanes<c_uiLaneBytes>(p), LoadLanes<c_uiLaneBytes>(p + c_uiSecond));
  }
};

template <class Group, Output eOut>
using Step = MatrixStep<Group, eOut, TablesMatrix>;

#endif

}  // namespace

const Yuv8Kernels c_sYuv8Kernels = {
    {RunKernelOf<Step<Group411, c_eBGRA>>, RunKernelOf<Step<Group411, c_eBGR>>},
    {RunKernelOf<Step<Group422, c_eBGRA>>, RunKernelOf<Step<Group422Wide, c_eBGR>>},
    {RunKernelOf<Step<Group444, c_eBGRA>>, RunKernelOf<Step<Group444, c_eBGR>>},
};

}  // namespace Kivo::KIVO_TARGET
