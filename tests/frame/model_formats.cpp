// SPDX-License-Identifier: Apache-2.0
// What formats there are, and where each keeps its bits.
#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "frame/model.h"

namespace KivoTest::Model {
namespace {

struct Mosaic {
  std::uint32_t gr, rg, gb, bg;
};
constexpr Mosaic kBayer8{0x01080008, 0x01080009, 0x0108000A, 0x0108000B};
constexpr Mosaic kBayer10{0x0110000C, 0x0110000D, 0x0110000E, 0x0110000F};
constexpr Mosaic kBayer12{0x01100010, 0x01100011, 0x01100012, 0x01100013};
constexpr Mosaic kBayer14{0x01100109, 0x0110010A, 0x0110010B, 0x0110010C};
constexpr Mosaic kBayer16{0x0110002E, 0x0110002F, 0x01100030, 0x01100031};
constexpr Mosaic kBayer10p{0x010A0056, 0x010A0058, 0x010A0054, 0x010A0052};
constexpr Mosaic kBayer12p{0x010C0057, 0x010C0059, 0x010C0055, 0x010C0053};
constexpr Mosaic kBayer14p{0x010E0105, 0x010E0106, 0x010E0107, 0x010E0108};
constexpr Mosaic kBayer10Packed{0x010C0026, 0x010C0027, 0x010C0028, 0x010C0029};
constexpr Mosaic kBayer12Packed{0x010C002A, 0x010C002B, 0x010C002C, 0x010C002D};

std::vector<Format> Build() {
  std::vector<Format> all;
  const auto mono = [&](const char *name, std::uint32_t code, kivo_packing packing, unsigned depth,
                        std::uint32_t plain) {
    Format format;
    format.name = name;
    format.code = code;
    format.packing = packing;
    format.depth = depth;
    format.plain = plain;
    format.narrow = 0x01080001;
    all.push_back(format);
  };
  mono("Mono8", 0x01080001, KIVO_PLAIN, 8, 0x01080001);
  mono("Mono10", 0x01100003, KIVO_PLAIN, 10, 0x01100003);
  mono("Mono12", 0x01100005, KIVO_PLAIN, 12, 0x01100005);
  mono("Mono14", 0x01100025, KIVO_PLAIN, 14, 0x01100025);
  mono("Mono16", 0x01100007, KIVO_PLAIN, 16, 0x01100007);
  mono("Mono10p", 0x010A0046, KIVO_P, 10, 0x01100003);
  mono("Mono12p", 0x010C0047, KIVO_P, 12, 0x01100005);
  mono("Mono14p", 0x010E0104, KIVO_P, 14, 0x01100025);
  mono("Mono10Packed", 0x010C0004, KIVO_PACKED, 10, 0x01100003);
  mono("Mono12Packed", 0x010C0006, KIVO_PACKED, 12, 0x01100005);
  mono("Mono8s", 0x01080002, KIVO_SIGNED, 8, 0x01080001);
  mono("Mono1p", 0x01010037, KIVO_P, 1, 0x01080001);
  mono("Mono2p", 0x01020038, KIVO_P, 2, 0x01080001);
  mono("Mono4p", 0x01040039, KIVO_P, 4, 0x01080001);

  const auto bayer = [&](const char *suffix, const Mosaic &codes, kivo_packing packing, unsigned depth,
                         const Mosaic &plain) {
    const std::array<std::uint32_t, 4> own{codes.gr, codes.rg, codes.gb, codes.bg};
    const std::array<std::uint32_t, 4> as{plain.gr, plain.rg, plain.gb, plain.bg};
    const std::array<std::uint32_t, 4> narrow{kBayer8.gr, kBayer8.rg, kBayer8.gb, kBayer8.bg};
    const std::array<const char *, 4> names{"BayerGR", "BayerRG", "BayerGB", "BayerBG"};
    const std::array<kivo_order, 4> orders{KIVO_ORDER_GR, KIVO_ORDER_RG, KIVO_ORDER_GB, KIVO_ORDER_BG};
    for (std::size_t i = 0; i < 4; ++i) {
      Format format;
      format.name = std::string(names[i]) + suffix;
      format.code = own[i];
      format.family = KIVO_BAYER;
      format.order = orders[i];
      format.packing = packing;
      format.depth = depth;
      format.plain = as[i];
      format.narrow = narrow[i];
      all.push_back(format);
    }
  };
  bayer("8", kBayer8, KIVO_PLAIN, 8, kBayer8);
  bayer("10", kBayer10, KIVO_PLAIN, 10, kBayer10);
  bayer("12", kBayer12, KIVO_PLAIN, 12, kBayer12);
  bayer("14", kBayer14, KIVO_PLAIN, 14, kBayer14);
  bayer("16", kBayer16, KIVO_PLAIN, 16, kBayer16);
  bayer("10p", kBayer10p, KIVO_P, 10, kBayer10);
  bayer("12p", kBayer12p, KIVO_P, 12, kBayer12);
  bayer("14p", kBayer14p, KIVO_P, 14, kBayer14);
  bayer("10Packed", kBayer10Packed, KIVO_PACKED, 10, kBayer10);
  bayer("12Packed", kBayer12Packed, KIVO_PACKED, 12, kBayer12);

  const auto colour = [&](const char *name, std::uint32_t code, kivo_packing packing, unsigned depth,
                          bool blue_first, std::uint32_t plain) {
    Format format;
    format.name = name;
    format.code = code;
    format.family = KIVO_RGB;
    format.packing = packing;
    format.depth = depth;
    format.blue_first = blue_first;
    format.plain = plain;
    format.narrow = blue_first ? 0x02180015 : 0x02180014;
    all.push_back(format);
  };
  colour("RGB8", 0x02180014, KIVO_PLAIN, 8, false, 0x02180014);
  colour("BGR8", 0x02180015, KIVO_PLAIN, 8, true, 0x02180015);
  colour("RGB10", 0x02300018, KIVO_PLAIN, 10, false, 0x02300018);
  colour("BGR10", 0x02300019, KIVO_PLAIN, 10, true, 0x02300019);
  colour("RGB12", 0x0230001A, KIVO_PLAIN, 12, false, 0x0230001A);
  colour("BGR12", 0x0230001B, KIVO_PLAIN, 12, true, 0x0230001B);
  colour("RGB16", 0x02300033, KIVO_PLAIN, 16, false, 0x02300033);
  colour("BGR16", 0x0230004B, KIVO_PLAIN, 16, true, 0x0230004B);
  colour("RGBa8", 0x02200016, KIVO_ALPHA, 8, false, 0x02180014);
  colour("BGRa8", 0x02200017, KIVO_ALPHA, 8, true, 0x02180015);
  colour("RGB10p", 0x021E005C, KIVO_P, 10, false, 0x02300018);
  colour("RGB12p", 0x0224005D, KIVO_P, 12, false, 0x0230001A);
  colour("BGR10p", 0x021E0048, KIVO_P, 10, true, 0x02300019);
  colour("BGR12p", 0x02240049, KIVO_P, 12, true, 0x0230001B);
  colour("RGB10p32", 0x0220001D, KIVO_P32, 10, false, 0x02300018);
  colour("RGB8_Planar", 0x02180021, KIVO_PLANAR, 8, false, 0x02180014);
  colour("RGB10_Planar", 0x02300022, KIVO_PLANAR, 10, false, 0x02300018);
  colour("RGB12_Planar", 0x02300023, KIVO_PLANAR, 12, false, 0x0230001A);
  colour("RGB16_Planar", 0x02300024, KIVO_PLANAR, 16, false, 0x02300033);

  const auto yuv = [&](const char *name, std::uint32_t code, const char *group, Matrix matrix,
                       std::uint32_t plain) {
    Format format;
    format.name = name;
    format.code = code;
    format.family = KIVO_YUV;
    format.packing = code == plain ? KIVO_PLAIN : KIVO_LUMA_FIRST;
    format.group = group;
    format.matrix = matrix;
    format.plain = plain;
    all.push_back(format);
  };
  yuv("YUV411_8_UYYVYY", 0x020C001E, "UYYVYY", Matrix::kInteger, 0x020C001E);
  yuv("YUV422_8_UYVY", 0x0210001F, "UYVY", Matrix::kInteger, 0x0210001F);
  yuv("YUV422_8", 0x02100032, "YUYV", Matrix::kInteger, 0x0210001F);
  yuv("YUV8_UYV", 0x02180020, "UYV", Matrix::kInteger, 0x02180020);
  yuv("YCbCr8_CbYCr", 0x0218003A, "UYV", Matrix::kFull601, 0x0218003A);
  yuv("YCbCr422_8", 0x0210003B, "YUYV", Matrix::kFull601, 0x02100043);
  yuv("YCbCr422_8_CbYCrY", 0x02100043, "UYVY", Matrix::kFull601, 0x02100043);
  yuv("YCbCr411_8", 0x020C005A, "YYUYYV", Matrix::kFull601, 0x020C003C);
  yuv("YCbCr411_8_CbYYCrYY", 0x020C003C, "UYYVYY", Matrix::kFull601, 0x020C003C);
  yuv("YCbCr601_8_CbYCr", 0x0218003D, "UYV", Matrix::kNarrow601, 0x0218003D);
  yuv("YCbCr601_422_8", 0x0210003E, "YUYV", Matrix::kNarrow601, 0x02100044);
  yuv("YCbCr601_422_8_CbYCrY", 0x02100044, "UYVY", Matrix::kNarrow601, 0x02100044);
  yuv("YCbCr601_411_8_CbYYCrYY", 0x020C003F, "UYYVYY", Matrix::kNarrow601, 0x020C003F);
  yuv("YCbCr709_8_CbYCr", 0x02180040, "UYV", Matrix::kNarrow709, 0x02180040);
  yuv("YCbCr709_422_8", 0x02100041, "YUYV", Matrix::kNarrow709, 0x02100045);
  yuv("YCbCr709_422_8_CbYCrY", 0x02100045, "UYVY", Matrix::kNarrow709, 0x02100045);
  yuv("YCbCr709_411_8_CbYYCrYY", 0x020C0042, "UYYVYY", Matrix::kNarrow709, 0x020C0042);
  return all;
}

Wide WholeBytes(Wide bits, const Format &format) {
  return format.yuv() ? bits / 8 : (bits + 7) / 8;
}

std::uint64_t Step(std::ptrdiff_t stride) {
  return stride < 0 ? std::uint64_t{0} - static_cast<std::uint64_t>(stride)
                    : static_cast<std::uint64_t>(stride);
}

// Where a plane, a row and a pixel of it begin: the byte that pixels are counted from, and the count.
struct Spot {
  std::uint8_t *base;
  std::uint64_t pixel;
};

Spot Find(const View &view, unsigned plane, std::uint32_t y, std::uint32_t x) {
  const std::uint64_t sample = view.format->words() ? 2 : 1;
  if (view.stride == 0)
    return {view.data + plane * (sample * view.width * view.height), std::uint64_t{y} * view.width + x};
  const std::uint64_t row = view.stride < 0 ? view.height - 1 - y : y;
  return {view.data + Step(view.stride) * (std::uint64_t{plane} * view.height + row), x};
}

// Byte of a YUV group that holds channel 0, 1 or 2 of one of its pixels.
std::size_t GroupByte(const Format &format, std::uint64_t pixel, unsigned channel) {
  const char letter = "UYV"[channel];
  std::size_t skip = channel == 1 ? pixel % format.group_pixels() : 0;
  for (std::size_t i = 0;; ++i)
    if (format.group[i] == letter && skip-- == 0) return i;
}

struct Bit {
  std::uint8_t *byte;
  unsigned number;
};

// Where bit `bit` of a sample is stored.
Bit FindBit(const View &view, std::uint32_t y, std::uint32_t x, unsigned channel, unsigned bit) {
  const Format &format = *view.format;
  const Spot spot = Find(view, format.planes() == 3 ? channel : 0, y, x);
  const unsigned colours = format.family == KIVO_RGB ? 3 : 1;
  const auto word = [&](std::uint64_t sample) -> Bit {
    const unsigned byte = bit / 8;
    return {spot.base + 2 * sample + (view.big_endian ? 1 - byte : byte), bit % 8};
  };
  switch (format.packing) {
    case KIVO_P: {
      const std::uint64_t at = format.depth * (spot.pixel * colours + channel) + bit;
      return {spot.base + at / 8, static_cast<unsigned>(at % 8)};
    }
    case KIVO_PACKED: {
      std::uint8_t *const three = spot.base + spot.pixel / 2 * 3;
      const bool second = spot.pixel % 2 != 0;
      const unsigned low = format.depth - 8;
      if (bit < low) return {three + 1, bit + (second ? 4u : 0u)};
      return {three + (second ? 2 : 0), bit - low};
    }
    case KIVO_P32: {
      const unsigned at = 10 * channel + bit;
      return {spot.base + 4 * spot.pixel + at / 8, at % 8};
    }
    case KIVO_PLANAR:
      return format.depth == 8 ? Bit{spot.base + spot.pixel, bit} : word(spot.pixel);
    case KIVO_ALPHA:
      return {spot.base + 4 * spot.pixel + channel, bit};
    case KIVO_PLAIN:
    case KIVO_SIGNED:
    case KIVO_LUMA_FIRST:
      break;
  }
  if (format.yuv()) {
    const std::uint64_t group = spot.pixel / format.group_pixels();
    return {spot.base + group * format.group.size() + GroupByte(format, spot.pixel, channel), bit};
  }
  if (format.depth == 8) return {spot.base + spot.pixel * colours + channel, bit};
  return word(spot.pixel * colours + channel);
}

// Words are read whole, whatever their nominal depth.
unsigned StoredBits(const Format &format) {
  return format.words() ? 16 : format.depth;
}

}  // namespace

unsigned Format::group_pixels() const {
  unsigned luma = 0;
  for (const char letter : group) luma += letter == 'Y';
  return luma == 0 ? 1 : luma;
}

const std::vector<Format> &Formats() {
  static const std::vector<Format> all = Build();
  return all;
}

const Format *FormatOfCode(std::uint32_t code) {
  for (const Format &format : Formats())
    if (format.code == code) return &format;
  return nullptr;
}

Wide RowBytes(const Format &format, std::uint32_t width) {
  return WholeBytes(Wide{width} * format.pixel_bits() / format.planes(), format);
}

Wide FrameBytes(const Format &format, std::uint32_t width, std::uint32_t height) {
  // Of a YUV group that a row ends in, each row counts its share.
  if (format.yuv()) return RowBytes(format, width) * height;
  // A stream of bits goes on from row to row; the share that a row has of a YUV group does not.
  if (format.yuv()) return RowBytes(format, width) * height;
  return WholeBytes(Wide{width} * height * format.pixel_bits(), format);
}

Wide FrameExtent(const Format &format, std::uint32_t width, std::uint32_t height, std::ptrdiff_t stride) {
  if (stride == 0) return FrameBytes(format, width, height);
  return Wide{Step(stride)} * (Wide{height} * format.planes() - 1) + RowBytes(format, width);
}

std::uint32_t Get(const View &view, std::uint32_t y, std::uint32_t x, unsigned channel) {
  const Format &format = *view.format;
  std::uint32_t value = 0;
  for (unsigned bit = 0; bit < StoredBits(format); ++bit) {
    const Bit at = FindBit(view, y, x, channel, bit);
    value |= (static_cast<std::uint32_t>(*at.byte) >> at.number & 1u) << bit;
  }
  if (format.packing == KIVO_SIGNED) return (value + 128) % 256;
  if (format.depth == 1) return value * 255;
  if (format.depth == 2) return value * 85;
  if (format.depth == 4) return value * 17;
  return value;
}

void Put(const View &view, std::uint32_t y, std::uint32_t x, unsigned channel, std::uint32_t value) {
  const Format &format = *view.format;
  if (format.packing == KIVO_SIGNED) value += 128;
  if (format.depth < 8) value >>= 8 - format.depth;
  for (unsigned bit = 0; bit < StoredBits(format); ++bit) {
    const Bit at = FindBit(view, y, x, channel, bit);
    const unsigned one = 1u << at.number;
    *at.byte = static_cast<std::uint8_t>((value >> bit & 1u) != 0 ? *at.byte | one : *at.byte & ~one);
  }
}

}  // namespace KivoTest::Model
