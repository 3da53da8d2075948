// SPDX-License-Identifier: Apache-2.0
// Both demosaics of 16-bit samples to planes of words, at the samples' own depth.
#include "kernels/acpi_rows.h"
#include "kernels/bayer16_means.h"
#include "simd/frame_kernels.h"
#include "simd/vec_as.h"

namespace Kivo::KIVO_TARGET {
namespace {

// Adaptive sums of up to 16 bits need lanes of 32. Of a sample only the bits of its depth count.
struct WordSamples {
  using Vector = U16;
  using Lanes = I32;
  static constexpr size_t c_uiSampleBytes = 2;
  static constexpr size_t c_uiBlock = c_uiVec / 2;

  int32_t iTop;

  KIVO_INLINE static U16 Load(const uint8_t *p) { return KIVO_TARGET::Load<U16>(p); }
  KIVO_INLINE U16 Take(const uint8_t *p) const { return Load(p) & static_cast<uint16_t>(iTop); }
  KIVO_INLINE static I32 Even(U16 v) { return As<I32>(As<U32>(v) & 0xFFFF); }
  KIVO_INLINE static I32 Odd(U16 v) { return As<I32>(As<U32>(v) >> 16); }
  KIVO_INLINE I32 Clamp(I32 v) const {
    const I32 top = Splat<I32>(iTop);
    const I32 positive = SelectGreater(v, I32{}, v, I32{});
    return SelectGreater(positive, top, top, positive);
  }
  KIVO_INLINE U16 Merge(I32 even, I32 odd) const { return As<U16>(Clamp(even) | Clamp(odd) << 16); }
  KIVO_INLINE I32 Wrap(I32 v) const { return v & iTop; }
};

// The plain means around them, of the same bits.
struct DepthMeans : ExactMeans<uint16_t> {
  uint16_t usTop;

  KIVO_INLINE uint32_t At(const uint8_t *pucRow, size_t x) const { return WordSample::At(pucRow, x) & usTop; }
  KIVO_INLINE Row LoadRow(const uint8_t *p) const {
    const Row s = WordMeans::LoadRow(p);
    return {s.low & usTop, s.high & usTop};
  }
};

// Twice the means of samples of 14 bits, whose sums of four fit a word.
struct DoubledMeans : WordMeans<uint16_t> {
  using Row = WordRow;
  using Pair = WordRow;

  KIVO_INLINE uint16_t Reduce1(uint32_t uiSum) const { return static_cast<uint16_t>(2 * uiSum); }
  KIVO_INLINE uint16_t Reduce2(uint32_t uiSum) const { return static_cast<uint16_t>(uiSum); }
  KIVO_INLINE uint16_t Reduce3(uint32_t uiSum) const { return static_cast<uint16_t>(2 * uiSum / 3); }
  KIVO_INLINE uint16_t Reduce4(uint32_t uiSum) const { return static_cast<uint16_t>(uiSum / 2); }

  KIVO_INLINE Pair Add(Row a, Row b) const { return {a.low + b.low, a.high + b.high}; }
  KIVO_INLINE Row Own(Row v) const { return Add(v, v); }
  KIVO_INLINE Row Mean(Pair s) const { return s; }
  KIVO_INLINE Row Mean(Pair s, Pair t) const {
    const Row sum = Add(s, t);
    return {sum.low >> 1, sum.high >> 1};
  }
  template <unsigned, unsigned>
  KIVO_INLINE Row Finish(Row v, const Parity &) const {
    return v;
  }
};

template <class Means>
void Standard(const MosaicJob &sJob) {
  const Mosaic s(sJob);
  const Means sMeans{{{0}, {}}};
  if (s.uiWidth == 1 || s.uiHeight == 1) {
    ConvertPixelwise<c_ePlanes>(sMeans, s);
  } else {
    ConvertWith<c_ePlanes>(sMeans, s);
  }
}

void Adaptive16(const MosaicJob &sJob) {
  const int32_t iTop = (1 << sJob.uiDepth) - 1;
  ConvertAdaptive<c_ePlanes, false>(WordSamples{iTop}, DepthMeans{{{{0}, {}}}, static_cast<uint16_t>(iTop)},
                                    Mosaic(sJob));
}

}  // namespace

const MosaicPlanesKernels c_sMosaicPlanesKernels = {Standard<ExactMeans<uint16_t>>, Adaptive16,
                                                    Standard<DoubledMeans>};

}  // namespace Kivo::KIVO_TARGET
