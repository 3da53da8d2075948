// SPDX-License-Identifier: Apache-2.0
// Both demosaics of 16-bit samples to planes of words, at the samples' own depth; the standard one also
// straight to pixels of words, and the adaptive one of few bits straight to pixels of bytes.
#include "kernels/acpi_rows.h"
#ifdef KIVO_TARGET_Avx512
#include "kernels/acpi_walk.h"
#endif
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
  KIVO_INLINE static I32 Eighth(I32 sum) { return sum >> 3; }
  KIVO_INLINE I32 RoundedTie(I32 sum) const {
    sum = sum + 4;
    return ((sum + ((sum >> 31) & 7)) >> 3) & iTop;
  }
};

// The first or the second words of the pairs of two vectors, which take turns in the result. The halves of
// two results are made of them in the same way.
KIVO_INLINE I16 FirstOfPairs(U16 a, U16 b) {
  return As<I16>((As<U32>(a) & 0xFFFF) | As<U32>(b) << 16);
}
KIVO_INLINE I16 SecondOfPairs(U16 a, U16 b) {
  return As<I16>(As<U32>(a) >> 16 | (As<U32>(b) & 0xFFFF0000));
}

// Up to 12 bits, lanes of 16 hold what matters: a gradient is at most 3 * 4095, and the sum of two Y, between
// -4 * 4095 and 12 * 4095, is known from its lower 16 bits. Less its least value it is positive.
struct SlimSamples {
  using Vector = WordRow;
  using Lanes = I16;
  static constexpr size_t c_uiSampleBytes = 2;
  static constexpr size_t c_uiBlock = c_uiVec;
  static constexpr int c_iLeast = -0x4000;

  uint16_t usTop;
  unsigned uiShift;  // of what is stored as bytes

  KIVO_INLINE static WordRow Load(const uint8_t *p) {
    return {KIVO_TARGET::Load<U16>(p), KIVO_TARGET::Load<U16>(p + c_uiVec)};
  }
  KIVO_INLINE WordRow Take(const uint8_t *p) const {
    const WordRow s = Load(p);
    return {s.low & usTop, s.high & usTop};
  }
  KIVO_INLINE static I16 Even(WordRow s) { return FirstOfPairs(s.low, s.high); }
  KIVO_INLINE static I16 Odd(WordRow s) { return SecondOfPairs(s.low, s.high); }
  KIVO_INLINE I16 Clamp(I16 v) const {
    const I16 top = Splat<I16>(usTop);
    const I16 positive = SelectGreater(v, I16{}, v, I16{});
    return SelectGreater(positive, top, top, positive);
  }
  KIVO_INLINE WordRow Merge(I16 even, I16 odd) const {
    const U16 e = As<U16>(Clamp(even)), o = As<U16>(Clamp(odd));
    return {As<U16>(FirstOfPairs(e, o)), As<U16>(SecondOfPairs(e, o))};
  }
  KIVO_INLINE static U16 Positive(I16 sum) { return As<U16>(sum) - Splat<U16>(c_iLeast); }
  KIVO_INLINE static I16 Eighth(I16 sum) { return As<I16>((Positive(sum) >> 3) + Splat<U16>(c_iLeast / 8)); }
  KIVO_INLINE I16 RoundedTie(I16 sum) const {
    const U16 v = Positive(sum + 4);
    const U16 negative = ((v >> 14) - 1) >> 13;  // 7 where the sum is, else 0
    return As<I16>((((v + negative) >> 3) + Splat<U16>(c_iLeast / 8)) & usTop);
  }
  KIVO_INLINE U8 Reduce(WordRow s) const {
    return PackLow(ShiftRight(s.low, uiShift), ShiftRight(s.high, uiShift));
  }
};

#ifdef KIVO_TARGET_Avx512

struct WalkedWords : SlimSamples {
  I16 shift, shift2, shift3;  // of results: by uiShift and the logarithm of what they are sums of

  KIVO_INLINE explicit WalkedWords(const SlimSamples &s)
      : SlimSamples(s),
        shift(Splat<I16>(static_cast<int>(s.uiShift))),
        shift2(shift + 2),
        shift3(shift + 3) {}

  static constexpr size_t Lane(size_t k) { return k < c_uiVec / 4 ? 2 * k : 2 * k - c_uiVec / 2 + 1; }
  KIVO_INLINE Halves Split(U16 low, U16 high) const {
    const I16 top = Splat<I16>(usTop);
    return {FirstOfPairs(low, high) & top, SecondOfPairs(low, high) & top};
  }
  KIVO_INLINE Halves Split(const uint8_t *p) const {
    return Split(Pin(KIVO_TARGET::Load<U16>(p)), Pin(KIVO_TARGET::Load<U16>(p + c_uiVec)));
  }
  KIVO_INLINE Halves Split(const uint8_t *p, uint64_t uiInside) const {
    return Split(LoadSomeWords(p, static_cast<uint32_t>(uiInside)),
                 LoadSomeWords(p + c_uiVec, static_cast<uint32_t>(uiInside >> 32)));
  }
  KIVO_INLINE I16 Own(I16 v) const { return v >> shift; }
  KIVO_INLINE I16 Quarter(I16 sum) const { return sum >> shift2; }
  KIVO_INLINE I16 Diagonal(I16 sum) const {
    return As<I16>(Positive(sum) >> As<U16>(shift3)) + Splat<I16>(c_iLeast / 8 >> uiShift);
  }
  KIVO_INLINE I16 Tie(I16 sum) const { return Own(RoundedTie(sum)); }
  KIVO_INLINE static U8 Pack(I16 sites, I16 greens) { return PackSatBy16(sites, greens); }
  KIVO_INLINE U8 Clamp(I16 &green, I16 other) const {
    green = SlimSamples::Clamp(green);
    return Pack(Own(green), Own(other));
  }
};

#endif

// The plain means around them, of the same bits.
template <class Channel>
struct DepthMeans : ExactMeans<Channel> {
  using Row = WordRow;
  uint16_t usTop;

  KIVO_INLINE DepthMeans(uint16_t us, unsigned uiBits) : ExactMeans<Channel>{{{uiBits}, {}}}, usTop(us) {}

  KIVO_INLINE uint32_t At(const uint8_t *pucRow, size_t x) const { return WordSample::At(pucRow, x) & usTop; }
  KIVO_INLINE Row LoadRow(const uint8_t *p) const {
    const Row s = WordMeans<Channel>::LoadRow(p);
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

template <Output eOut>
void StandardWords(const MosaicJob &sJob) {
  ConvertWith<eOut>(SpreadMeans(sJob.uiDepth), Mosaic(sJob));
}

void Adaptive16(const MosaicJob &sJob) {
  const int32_t iTop = (1 << sJob.uiDepth) - 1;
  const auto usTop = static_cast<uint16_t>(iTop);
  const DepthMeans<uint16_t> sMeans(usTop, 0);
  if (sJob.uiDepth <= c_uiSlimDepth) {
    ConvertAdaptive<c_ePlanes, false>(SlimSamples{usTop, 0}, sMeans, Mosaic(sJob));
  } else {
    ConvertAdaptive<c_ePlanes, false>(WordSamples{iTop}, sMeans, Mosaic(sJob));
  }
}

template <Output eOut>
void AdaptiveSlim(const MosaicJob &sJob) {
  const auto usTop = static_cast<uint16_t>((1 << sJob.uiDepth) - 1);
  const DepthMeans<uint8_t> sMeans(usTop, sJob.uiShift);
  const SlimSamples sSamples = {usTop, sJob.uiShift};
#ifdef KIVO_TARGET_Avx512
  ConvertWalking<eOut>(WalkedWords(sSamples), sMeans, Mosaic(sJob));
#else
  ConvertAdaptive<eOut, false>(sSamples, sMeans, Mosaic(sJob));
#endif
}

}  // namespace

const MosaicPlanesKernels c_sMosaicPlanesKernels = {Standard<ExactMeans<uint16_t>>,
                                                    Adaptive16,
                                                    Standard<DoubledMeans>,
                                                    {StandardWords<c_eBGRA16>, StandardWords<c_eBGR16>},
                                                    {AdaptiveSlim<c_eBGRA>, AdaptiveSlim<c_eBGR>}};

}  // namespace Kivo::KIVO_TARGET
