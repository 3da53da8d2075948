// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cstdlib>

#include "checkkernel/reference_frame.h"

namespace KivoTest::Reference {
namespace {

using Kivo::BayerOrder;

void PutWord(std::uint8_t *dst, std::size_t index, std::uint32_t value) {
  const auto word = static_cast<std::uint16_t>(value);
  std::copy_n(reinterpret_cast<const std::uint8_t *>(&word), 2, dst + 2 * index);
}

std::uint32_t Sample(std::size_t sample_bytes, const std::uint8_t *src, std::size_t index) {
  if (sample_bytes == 1) return src[index];
  return static_cast<std::uint32_t>(src[2 * index] + 256 * src[2 * index + 1]);
}

// `count` bits from bit `first` of a stream on, whose bit 0 is the lowest of its first byte.
std::uint32_t Bits(const std::uint8_t *src, std::size_t first, unsigned count) {
  std::uint32_t value = 0;
  for (unsigned k = 0; k < count; ++k) {
    const std::size_t bit = first + k;
    if ((src[bit / 8] >> (bit % 8)) % 2 != 0) value += 1U << k;
  }
  return value;
}

// Sample i of a GigE Vision `Packed` stream: the outer bytes of each three hold the upper 8 bits, the middle
// one the lower bits, of the first sample in its low half, of the second in its high half.
std::uint32_t PackedSample(const std::uint8_t *src, std::size_t i, unsigned depth) {
  const std::uint8_t *const group = src + i / 2 * 3;
  const std::uint32_t upper = i % 2 == 0 ? group[0] : group[2];
  const std::uint32_t half = i % 2 == 0 ? group[1] % 16U : group[1] / 16U;
  const std::uint32_t scale = 1U << (depth - 8);
  return upper * scale + half % scale;
}

// Bits of an item in the frame, and bytes of it once unpacked.
struct ItemSize {
  std::size_t bits;
  std::size_t bytes;
};

ItemSize SizeOf(Kivo::Unpack kind) {
  switch (kind) {
    case Kivo::Unpack::P10:
      return {10, 2};
    case Kivo::Unpack::P12:
    case Kivo::Unpack::Packed10:
    case Kivo::Unpack::Packed12:
      return {12, 2};
    case Kivo::Unpack::P14:
      return {14, 2};
    case Kivo::Unpack::P32:
      return {0, 2};
    case Kivo::Unpack::Swap:
      return {16, 2};
    case Kivo::Unpack::Bits1:
      return {1, 1};
    case Kivo::Unpack::Bits2:
      return {2, 1};
    case Kivo::Unpack::Bits4:
      return {4, 1};
    case Kivo::Unpack::Signed:
      return {8, 1};
    case Kivo::Unpack::DropAlpha:
      return {32, 3};
    case Kivo::Unpack::Yuyv:
      return {32, 4};
    case Kivo::Unpack::Yyuyyv:
      return {48, 6};
    case Kivo::Unpack::Count:
      break;
  }
  std::abort();
}

}  // namespace

std::size_t PackedBytes(Kivo::Unpack kind, std::size_t n) {
  if (kind == Kivo::Unpack::P32) return n / 3 * 4;
  return (n * SizeOf(kind).bits + 7) / 8;
}

std::size_t UnpackedBytes(Kivo::Unpack kind, std::size_t n) {
  return n * SizeOf(kind).bytes;
}

void Unpack(Kivo::Unpack kind, std::uint8_t *dst, const std::uint8_t *src, std::size_t n) {
  const std::size_t bits = SizeOf(kind).bits;
  for (std::size_t i = 0; i < n; ++i) {
    switch (kind) {
      case Kivo::Unpack::P10:
      case Kivo::Unpack::P12:
      case Kivo::Unpack::P14:
        PutWord(dst, i, Bits(src, i * bits, static_cast<unsigned>(bits)));
        break;
      case Kivo::Unpack::Packed10:
        PutWord(dst, i, PackedSample(src, i, 10));
        break;
      case Kivo::Unpack::Packed12:
        PutWord(dst, i, PackedSample(src, i, 12));
        break;
      case Kivo::Unpack::P32:
        PutWord(dst, i, Bits(src, i / 3 * 32 + i % 3 * 10, 10));
        break;
      case Kivo::Unpack::Swap:
        dst[2 * i] = src[2 * i + 1];
        dst[2 * i + 1] = src[2 * i];
        break;
      case Kivo::Unpack::Bits1:
        dst[i] = static_cast<std::uint8_t>(Bits(src, i, 1) * 255);
        break;
      case Kivo::Unpack::Bits2:
        dst[i] = static_cast<std::uint8_t>(Bits(src, 2 * i, 2) * 85);
        break;
      case Kivo::Unpack::Bits4:
        dst[i] = static_cast<std::uint8_t>(Bits(src, 4 * i, 4) * 17);
        break;
      case Kivo::Unpack::Signed:
        dst[i] = static_cast<std::uint8_t>(static_cast<std::int8_t>(src[i]) + 128);
        break;
      case Kivo::Unpack::DropAlpha:
        for (std::size_t c = 0; c < 3; ++c) dst[3 * i + c] = src[4 * i + c];
        break;
      case Kivo::Unpack::Yuyv: {
        const std::uint8_t y0 = src[4 * i], u = src[4 * i + 1], y1 = src[4 * i + 2], v = src[4 * i + 3];
        std::uint8_t *const out = dst + 4 * i;
        out[0] = u, out[1] = y0, out[2] = v, out[3] = y1;
        break;
      }
      case Kivo::Unpack::Yyuyyv: {
        const std::uint8_t *const in = src + 6 * i;
        std::uint8_t *const out = dst + 6 * i;
        const std::uint8_t y0 = in[0], y1 = in[1], cb = in[2], y2 = in[3], y3 = in[4], cr = in[5];
        out[0] = cb, out[1] = y0, out[2] = y1, out[3] = cr, out[4] = y2, out[5] = y3;
        break;
      }
      case Kivo::Unpack::Count:
        std::abort();
    }
  }
}

void PackedMono(Kivo::Unpack kind, std::uint8_t *dst, const std::uint8_t *src, std::size_t n, unsigned shift,
                std::size_t pixel_bytes) {
  for (std::size_t i = 0; i < n; ++i) {
    const bool packed = kind == Kivo::Unpack::Packed10 || kind == Kivo::Unpack::Packed12;
    const unsigned bits = static_cast<unsigned>(SizeOf(kind).bits);
    const std::uint32_t sample =
        packed ? PackedSample(src, i, kind == Kivo::Unpack::Packed10 ? 10 : 12) : Bits(src, i * bits, bits);
    for (std::size_t c = 0; c < pixel_bytes; ++c)
      dst[i * pixel_bytes + c] = static_cast<std::uint8_t>(c == 3 ? 255U : sample >> shift);
  }
}

void Planes(std::size_t sample_bytes, std::uint16_t *const *planes, const std::uint8_t *src, std::size_t n) {
  for (std::size_t i = 0; i < n; ++i)
    for (std::size_t c = 0; c < 3; ++c)
      planes[c][i] = static_cast<std::uint16_t>(Sample(sample_bytes, src, 3 * i + c));
}

void Interleave(std::size_t sample_bytes, std::uint8_t *dst, const std::uint8_t *const *planes,
                std::size_t n) {
  for (std::size_t i = 0; i < n; ++i)
    for (std::size_t c = 0; c < 3; ++c)
      std::copy_n(planes[c] + i * sample_bytes, sample_bytes, dst + (3 * i + c) * sample_bytes);
}

void Widen(std::uint16_t *dst, const std::uint8_t *src, std::size_t n) {
  for (std::size_t i = 0; i < n; ++i) dst[i] = src[i];
}

void Half(std::size_t sample_bytes, std::uint16_t *const *planes, const std::uint8_t *row0,
          const std::uint8_t *row1, std::size_t n, BayerOrder order) {
  for (std::size_t i = 0; i < n; ++i) {
    // The square, and the colours of its four samples in the same order.
    const std::uint32_t square[4] = {Sample(sample_bytes, row0, 2 * i), Sample(sample_bytes, row0, 2 * i + 1),
                                     Sample(sample_bytes, row1, 2 * i),
                                     Sample(sample_bytes, row1, 2 * i + 1)};
    const char *const colours = order == BayerOrder::RG   ? "RGGB"
                                : order == BayerOrder::GR ? "GRBG"
                                : order == BayerOrder::BG ? "BGGR"
                                                          : "GBRG";
    std::uint32_t blue = 0, greens = 0, red = 0;
    for (std::size_t k = 0; k < 4; ++k) {
      if (colours[k] == 'B') blue = square[k];
      if (colours[k] == 'G') greens += square[k];
      if (colours[k] == 'R') red = square[k];
    }
    planes[0][i] = static_cast<std::uint16_t>(blue);
    planes[1][i] = static_cast<std::uint16_t>(greens / 2);
    planes[2][i] = static_cast<std::uint16_t>(red);
  }
}

void Extremes(std::size_t sample_bytes, const std::uint8_t *src, std::size_t n, std::uint32_t *least,
              std::uint32_t *most) {
  for (std::size_t i = 0; i < n; ++i) {
    *least = std::min(*least, Sample(sample_bytes, src, i));
    *most = std::max(*most, Sample(sample_bytes, src, i));
  }
}

void Table(std::size_t sample_bytes, std::uint8_t *dst, const std::uint8_t *src, std::size_t n,
           const std::uint8_t *table) {
  for (std::size_t i = 0; i < n; ++i) dst[i] = table[Sample(sample_bytes, src, i)];
}

}  // namespace KivoTest::Reference
