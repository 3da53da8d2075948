// SPDX-License-Identifier: Apache-2.0
// The plain samples of a frame, by the row and the piece of a row.
#ifndef KIVO_FRAME_SOURCE_H
#define KIVO_FRAME_SOURCE_H

#include <cstddef>
#include <cstdint>

#include "frame/plan.h"

namespace Kivo {

// Samples that may be written in front of where they are asked for: those that share a group of bytes with
// the first.
constexpr std::size_t c_uiLeadSamples = 8;

// Memory that stages hand samples on in; each as large as the largest piece, its lead in front.
struct Spaces {
  std::uint8_t *apuc[2];
};

// One frame under one plan. Rows are counted from the top of the region, columns from the left of the
// picture.
class Source {
 public:
  Source(const kivo_plan &sPlan, const kivo_frame &sFrame) noexcept;

  // Whether the samples of the frame are what the picture is made of.
  bool IsDirect() const noexcept { return m_sPlan.uiStages == 0; }
  // Then: where they are.
  const std::uint8_t *Row(std::size_t y) const noexcept { return Plane(0, y) + m_uiSkipped; }
  std::ptrdiff_t Pitch() const noexcept { return m_iPitch; }
  // Whether rows of the region follow each other without a gap, in bytes or within them.
  bool IsGapless() const noexcept;

  // Whether uiRows rows from y on begin where groups of samples that share bytes do.
  bool BeginWithGroups(std::size_t y, std::size_t uiRows) const noexcept;

  // Where the frame has a sample, or the group it is in, all being of one plane.
  const std::uint8_t *Near(std::size_t y, std::size_t x) const noexcept;

  // The samples of columns x to x + n - 1, whole groups of YUV pixels, through the first uiStages stages. x
  // may go on into the rows below where there are no gaps. Up to c_uiLeadSamples samples are written in front
  // of pucDst too.
  void Bring(std::size_t y, std::size_t x, std::size_t n, std::uint8_t *pucDst, const Spaces &sSpaces,
             std::size_t uiStages) const noexcept;
  void Bring(std::size_t y, std::size_t x, std::size_t n, std::uint8_t *pucDst,
             const Spaces &sSpaces) const noexcept {
    Bring(y, x, n, pucDst, sSpaces, m_sPlan.uiStages);
  }
  // The same into memory that has no room in front.
  void BringTightly(std::size_t y, std::size_t x, std::size_t n, std::uint8_t *pucDst,
                    const Spaces &sSpaces) const noexcept;

 private:
  const std::uint8_t *Plane(std::uint32_t uiPlane, std::size_t y) const noexcept;
  void UnpackSamples(Unpack eUnpack, std::size_t y, std::size_t x, std::size_t n, const std::uint8_t *pucFrom,
                     std::uint8_t *pucDst) const noexcept;
  void Gain(std::size_t y, std::size_t x, std::size_t n, const std::uint8_t *pucFrom,
            std::uint8_t *pucDst) const noexcept;

  const kivo_plan &m_sPlan;
  const Kernels &m_sKernels;
  const FrameKernels &m_sFrameKernels;
  const std::uint8_t *m_pucFirst;  // row 0 of the frame as an image
  std::ptrdiff_t m_iPitch;
  bool m_bStream;           // one stream of bits without rows
  std::size_t m_uiSkipped;  // bytes of a row to the left of the region, where it begins on a byte
};

}  // namespace Kivo

#endif  // KIVO_FRAME_SOURCE_H
