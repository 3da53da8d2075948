// SPDX-License-Identifier: Apache-2.0
// Rows of pictures from planes of words. Values are cut to bits uiShift to uiShift + 7, or left alone, or
// spread over the word: with the depth's bits at the top of it, a copy shifted down by the depth fills the
// rest.
#include "kernels/blocks.h"
#include "kernels/tone.h"

namespace Kivo::KIVO_TARGET {
namespace {

// Pixels i.. of a row are pixels i.. of the planes, or those that many before their end.
template <bool bMirror, size_t uiPixels>
KIVO_INLINE const uint16_t *Pixels(const PictureJob &s, size_t c, size_t i) {
  return s.apusPlanes[c] + (bMirror ? s.n - i - uiPixels : i);
}

// 19595 R + 38470 G + 7471 B + 32768, upper words. The multiplication is of signed words, so the samples go
// around zero, which takes 65536 * 32768 off the sum; the factor of green goes in halves, one to each
// product.
KIVO_INLINE U16 Luma(U16 b, U16 g, U16 r) {
  const U16 middle = Splat<U16>(0x8000);
  const auto factors = [](int iFirst, int iGreen) {
    return reinterpret_cast<I16>(Splat<I32>(iGreen << 16 | iFirst));
  };
  const WordPair bg = ZipLanes(b ^ middle, g ^ middle);
  const WordPair rg = ZipLanes(r ^ middle, g ^ middle);
  const auto sum = [&](U16 withBlue, U16 withRed) {
    return MulAddPairs(reinterpret_cast<I16>(withBlue), factors(7471, 19235)) +
           MulAddPairs(reinterpret_cast<I16>(withRed), factors(19595, 19235)) + 32768;
  };
  return PackHighLanes(sum(bg.low, rg.low), sum(bg.high, rg.high)) ^ middle;
}

// Kinds of 8 bits: a vector of pixels is two vectors of words.
struct CurvedBytes;
struct CurvedWords;

struct Bytes {
  using Curved = CurvedBytes;
  static constexpr size_t c_uiPixels = c_uiVec;

  KIVO_INLINE explicit Bytes(const PictureJob &s) : uiShift(s.uiShift) {}

  template <bool bMirror>
  KIVO_INLINE WordPair Words(const PictureJob &s, size_t c, size_t i) const {
    const uint16_t *const pus = Pixels<bMirror, c_uiPixels>(s, c, i);
    return {ShiftRight(Load<U16>(pus), uiShift), ShiftRight(Load<U16>(pus + c_uiVec / 2), uiShift)};
  }
  template <bool bMirror>
  KIVO_INLINE static U8 Join(WordPair s) {
    const U8 v = PackLow(s.low, s.high);
    return bMirror ? Reverse(v) : v;
  }
  template <bool bMirror>
  KIVO_INLINE U8 Plane(const PictureJob &s, size_t c, size_t i) const {
    return Join<bMirror>(Words<bMirror>(s, c, i));
  }
  template <bool bMirror>
  KIVO_INLINE U8 Grey(const PictureJob &s, size_t i) const {
    const WordPair b = Words<bMirror>(s, 0, i), g = Words<bMirror>(s, 1, i), r = Words<bMirror>(s, 2, i);
    const auto luma = [](U16 vb, U16 vg, U16 vr) { return Luma(vb & 0xFF, vg & 0xFF, vr & 0xFF); };
    return Join<bMirror>({luma(b.low, g.low, r.low), luma(b.high, g.high, r.high)});
  }

  unsigned uiShift;
};

// Kinds of 16 bits. Values that stay are spread from a depth of 16.
struct Words {
  using Curved = CurvedWords;
  static constexpr size_t c_uiPixels = c_uiVec / 2;

  KIVO_INLINE explicit Words(const PictureJob &s)
      : uiDepth(s.bSpread ? s.uiDepth : 16), factor(Splat<U16>(1 << (16 - uiDepth))) {}

  template <bool bMirror>
  KIVO_INLINE U16 Plane(const PictureJob &s, size_t c, size_t i) const {
    const U16 top = Load<U16>(Pixels<bMirror, c_uiPixels>(s, c, i)) * factor;
    const U16 v = top | ShiftRight(top, uiDepth);
    return bMirror ? Reverse(v) : v;
  }
  template <bool bMirror>
  KIVO_INLINE U16 Grey(const PictureJob &s, size_t i) const {
    return Luma(Plane<bMirror>(s, 0, i), Plane<bMirror>(s, 1, i), Plane<bMirror>(s, 2, i));
  }

  unsigned uiDepth;
  U16 factor;
};

// The same behind a curve whose upper bytes are the pixels.
struct CurvedBytes {
  static constexpr size_t c_uiPixels = c_uiVec;

  KIVO_INLINE explicit CurvedBytes(const PictureJob &s) : curve(*s.psCurve) {}

  template <bool bMirror>
  KIVO_INLINE WordPair Words(const PictureJob &s, size_t c, size_t i) const {
    const uint16_t *const pus = Pixels<bMirror, c_uiPixels>(s, c, i);
    return curve.At(Load<U16>(pus), Load<U16>(pus + c_uiVec / 2));
  }
  template <bool bMirror>
  KIVO_INLINE U8 Plane(const PictureJob &s, size_t c, size_t i) const {
    const WordPair v = Words<bMirror>(s, c, i);
    return bMirror ? Reverse(PackHigh(v.low, v.high)) : PackHigh(v.low, v.high);
  }
  template <bool bMirror>
  KIVO_INLINE U8 Grey(const PictureJob &s, size_t i) const {
    const WordPair b = Words<bMirror>(s, 0, i), g = Words<bMirror>(s, 1, i), r = Words<bMirror>(s, 2, i);
    return Bytes::Join<bMirror>(
        {Luma(b.low >> 8, g.low >> 8, r.low >> 8), Luma(b.high >> 8, g.high >> 8, r.high >> 8)});
  }

  Curve<true> curve;
};

// And of 16 bits.
struct CurvedWords {
  static constexpr size_t c_uiPixels = c_uiVec / 2;

  KIVO_INLINE explicit CurvedWords(const PictureJob &s) : curve(*s.psCurve), uiShift(s.uiShift) {}

  template <bool bMirror>
  KIVO_INLINE U16 Plane(const PictureJob &s, size_t c, size_t i) const {
    const U16 v = ShiftRight(curve.One(Load<U16>(Pixels<bMirror, c_uiPixels>(s, c, i))), uiShift);
    return bMirror ? Reverse(v) : v;
  }
  template <bool bMirror>
  KIVO_INLINE U16 Grey(const PictureJob &s, size_t i) const {
    return Luma(Plane<bMirror>(s, 0, i), Plane<bMirror>(s, 1, i), Plane<bMirror>(s, 2, i));
  }

  Curve<true> curve;
  unsigned uiShift;
};

// A kind: how values are reduced, how many samples a pixel has and of how many planes they are made.
template <class Values, size_t uiSamples, size_t uiPlanes>
struct Kind {
  using Reduce = Values;
  static constexpr size_t c_uiPixels = Values::c_uiPixels;
  static constexpr size_t c_uiPixelBytes = uiSamples * c_uiVec / c_uiPixels;
  static constexpr size_t c_uiPlanes = uiPlanes;

  // Pixels i to i + c_uiPixels - 1.
  template <bool bMirror, bool bStream>
  KIVO_INLINE static void Do(const PictureJob &s, const Values &reduce, uint8_t *pucDst, size_t i) {
    if constexpr (uiSamples == 1) {
      const auto v =
          uiPlanes == 1 ? reduce.template Plane<bMirror>(s, 0, i) : reduce.template Grey<bMirror>(s, i);
      if constexpr (bStream) {
        Stream(pucDst, reinterpret_cast<U8>(v));
      } else {
        Store(pucDst, v);
      }
    } else {
      const auto b = reduce.template Plane<bMirror>(s, 0, i);
      const auto g = reduce.template Plane<bMirror>(s, 1, i);
      const auto r = reduce.template Plane<bMirror>(s, 2, i);
      if constexpr (uiSamples == 4) {
        StoreBGRA<bStream>(pucDst, b, g, r);
      } else {
        StoreBGR<bStream>(pucDst, b, g, r);
      }
    }
  }
};

// The job of pixels i to i + n - 1 alone.
PictureJob Part(const PictureJob &s, size_t i, size_t n, size_t uiPixelBytes) {
  PictureJob sPart = s;
  sPart.pucDst += i * uiPixelBytes;
  for (const uint16_t *&pus : sPart.apusPlanes)
    if (pus != nullptr) pus += s.bMirror ? s.n - i - n : i;
  sPart.n = n;
  return sPart;
}

// Fewer pixels than a vector has, through buffers of their own.
template <class K, bool bMirror>
void FewPixels(const PictureJob &s) {
  if (s.n == 0) return;
  uint16_t aaus[K::c_uiPlanes][K::c_uiPixels] = {};
  uint8_t aucDst[K::c_uiPixels * K::c_uiPixelBytes];
  PictureJob sWhole = s;
  sWhole.n = K::c_uiPixels;
  for (size_t c = 0; c < K::c_uiPlanes; ++c) {
    memcpy(aaus[c] + (bMirror ? K::c_uiPixels - s.n : 0), s.apusPlanes[c], 2 * s.n);
    sWhole.apusPlanes[c] = aaus[c];
  }
  K::template Do<bMirror, false>(sWhole, typename K::Reduce(s), aucDst, 0);
  memcpy(s.pucDst, aucDst, s.n * K::c_uiPixelBytes);
}

template <class K, bool bMirror>
void Ordinary(const PictureJob &s) {
  if (s.n < K::c_uiPixels) {
    FewPixels<K, bMirror>(s);
    return;
  }
  const typename K::Reduce reduce(s);
  ForBlocks<K::c_uiPixels>(
      s.n, [&](size_t i) { K::template Do<bMirror, false>(s, reduce, s.pucDst + i * K::c_uiPixelBytes, i); },
      [](size_t) {});
}

// Pixels in front of the first that begins at the start of a line; n if there is none.
size_t PixelsToLine(const uint8_t *pucDst, size_t n, size_t uiPixelBytes) {
  for (size_t i = 0; i < n && i < c_uiLine; ++i) {
    if (reinterpret_cast<uintptr_t>(pucDst + i * uiPixelBytes) % c_uiLine == 0) return i;
  }
  return n;
}

// Vectors that together fill whole lines are streamed; the pixels in front of the first such line, and those
// behind the last, are stored.
template <class K, bool bMirror>
void Streamed(const PictureJob &s) {
  constexpr size_t c_uiVectors = K::c_uiPixels * K::c_uiPixelBytes % c_uiLine == 0 ? 1 : c_uiLine / c_uiVec;
  constexpr size_t c_uiBlock = c_uiVectors * K::c_uiPixels;
  const typename K::Reduce reduce(s);
  size_t i = PixelsToLine(s.pucDst, s.n, K::c_uiPixelBytes);
  Ordinary<K, bMirror>(Part(s, 0, i, K::c_uiPixelBytes));
  for (; s.n - i >= c_uiBlock;) {
    for (size_t k = 0; k < c_uiVectors; ++k, i += K::c_uiPixels) {
      K::template Do<bMirror, true>(s, reduce, s.pucDst + i * K::c_uiPixelBytes, i);
    }
  }
  Ordinary<K, bMirror>(Part(s, i, s.n - i, K::c_uiPixelBytes));
}

template <class K>
KIVO_INLINE void PictureOf(const PictureJob &s) {
  const auto pfn = s.bStream ? (s.bMirror ? Streamed<K, true> : Streamed<K, false>)
                             : (s.bMirror ? Ordinary<K, true> : Ordinary<K, false>);
  pfn(s);
}

template <class Values, size_t uiSamples, size_t uiPlanes>
void Picture(const PictureJob &s) {
  if constexpr (c_bLookup) {
    if (s.psCurve != nullptr) return PictureOf<Kind<typename Values::Curved, uiSamples, uiPlanes>>(s);
  }
  PictureOf<Kind<Values, uiSamples, uiPlanes>>(s);
}

}  // namespace

const PictureKernels c_sPictureKernels = {{
                                              Picture<Bytes, 4, 3>,
                                              Picture<Bytes, 3, 3>,
                                              Picture<Bytes, 1, 1>,
                                              Picture<Bytes, 1, 3>,
                                              Picture<Words, 4, 3>,
                                              Picture<Words, 3, 3>,
                                              Picture<Words, 1, 1>,
                                              Picture<Words, 1, 3>,
                                          },
                                          c_bLookup};

}  // namespace Kivo::KIVO_TARGET
