// SPDX-License-Identifier: Apache-2.0
/**
 * @file formats.hpp
 * Part of KivoCamUtl.hpp: the pixel formats, their names in four systems, and the sizes of their frames.
 */
#ifndef KIVOCAMUTL_FORMATS_HPP
#define KIVOCAMUTL_FORMATS_HPP

#include <KivoCamUtl.h>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string_view>

namespace kivo {
#pragma GCC visibility push(hidden)
inline namespace v1 {

/** What the samples of a format mean. */
enum class Family : std::uint8_t {
  Mono,   ///< Grey.
  Bayer,  ///< One colour a pixel.
  Rgb,    ///< Three colours a pixel, in either order.
  Yuv,    ///< Luma and chroma, full range.
};

/** The colours of a Bayer frame, named after the first two samples of the first row. */
enum class BayerOrder : std::uint8_t {
  None,  ///< Not a Bayer format.
  GR,    ///< G R over B G.
  RG,    ///< R G over G B.
  GB,    ///< G B over R G.
  BG,    ///< B G over G R.
};

/** How samples share bytes. */
enum class Packing : std::uint8_t {
  None,    ///< Each sample has its own byte or its own 16-bit word.
  P,       ///< PFNC "p": a stream of bits, a sample's lowest bit first; 4 samples in 5 bytes, or 2 in 3.
  Packed,  ///< GigE Vision "Packed": 2 samples in 3 bytes, upper bits outside, lower bits in the middle byte.
};

/**
 * One pixel format. The names in other systems are "-" where there is no counterpart with the same bytes.
 * OpenCV names a Bayer order by the second row's second and third pixel, which turns PFNC's RG into its BG.
 */
struct __attribute__((visibility("default"))) Format {
  const char *name;          ///< PFNC name; for Packing::Packed the name of GigE Vision.
  std::uint32_t code;        ///< PFNC code.
  Family family;             ///< What the samples mean.
  BayerOrder order;          ///< BayerOrder::None unless family is Bayer.
  std::uint8_t depth;        ///< Significant bits of a sample.
  std::uint8_t groupPixels;  ///< Pixels that share a group of bytes, as a camera delivers it.
  std::uint8_t groupBytes;   ///< Bytes of such a group.
  std::uint8_t wordBytes;    ///< Bytes of a plain sample: 1, or 2, little-endian.
  Packing packing;           ///< How samples share bytes.
  std::uint32_t unpacked;    ///< Code of the format of the same samples, plain: what unpack() gives.
  const char *opencv;        ///< Mat type, or the cvtColor code that gives BGR.
  const char *v4l2;          ///< V4L2_PIX_FMT_ name.
  const char *gstreamer;     ///< Format of video/x-raw, or of video/x-bayer.

  /** Bits that a pixel takes in a frame. */
  constexpr std::uint32_t bitsPerPixel() const noexcept { return groupBytes * 8U / groupPixels; }
  /** Whether each pixel has one colour of a mosaic. */
  constexpr bool isBayer() const noexcept { return family == Family::Bayer; }
  /** Whether a pixel has its blue sample first: BGR formats. */
  constexpr bool blueFirst() const noexcept { return family == Family::Rgb && name[0] == 'B'; }
};

namespace detail {

constexpr Format mono(const char *name, std::uint32_t code, std::uint8_t depth, const char *v4l2,
                      const char *gstreamer) noexcept {
  const std::uint8_t bytes = depth == 8 ? 1 : 2;
  const char *opencv = depth == 8 ? "CV_8UC1" : "CV_16UC1";
  return {name,  code,          Family::Mono, BayerOrder::None, depth, 1,        bytes,
          bytes, Packing::None, code,         opencv,           v4l2,  gstreamer};
}

constexpr Format bayer(const char *name, std::uint32_t code, BayerOrder order, std::uint8_t depth,
                       const char *v4l2, const char *gstreamer) noexcept {
  const std::uint8_t bytes = depth == 8 ? 1 : 2;
  const char *opencv = order == BayerOrder::GR   ? "COLOR_BayerGB2BGR"
                       : order == BayerOrder::RG ? "COLOR_BayerBG2BGR"
                       : order == BayerOrder::GB ? "COLOR_BayerGR2BGR"
                                                 : "COLOR_BayerRG2BGR";
  return {name,  code,          Family::Bayer, order,  depth, 1,        bytes,
          bytes, Packing::None, code,          opencv, v4l2,  gstreamer};
}

constexpr Format rgb(const char *name, std::uint32_t code, std::uint8_t depth, const char *opencv,
                     const char *v4l2, const char *gstreamer) noexcept {
  const std::uint8_t word = depth == 8 ? 1 : 2;
  const std::uint8_t pixel = depth == 8 ? 3 : 6;
  return {name, code,          Family::Rgb, BayerOrder::None, depth, 1,        pixel,
          word, Packing::None, code,        opencv,           v4l2,  gstreamer};
}

constexpr Format yuv(const char *name, std::uint32_t code, std::uint8_t groupPixels, std::uint8_t groupBytes,
                     const char *opencv, const char *v4l2, const char *gstreamer) noexcept {
  return {name, code,          Family::Yuv, BayerOrder::None, 8,    groupPixels, groupBytes,
          1,    Packing::None, code,        opencv,           v4l2, gstreamer};
}

/** Samples that share bytes: the other systems have such formats too, but none with the same bytes. */
constexpr Format shared(const char *name, std::uint32_t code, Packing packing,
                        const Format &unpacked) noexcept {
  const bool fourInFive = packing == Packing::P && unpacked.depth == 10;
  Format format = unpacked;
  format.name = name;
  format.code = code;
  format.packing = packing;
  format.groupPixels = fourInFive ? 4 : 2;
  format.groupBytes = fourInFive ? 5 : 3;
  format.unpacked = unpacked.code;
  format.opencv = format.v4l2 = format.gstreamer = "-";
  return format;
}

inline constexpr Format kMono10 = mono("Mono10", CAMUTL_PFNC_MONO10, 10, "Y10", "-");
inline constexpr Format kMono12 = mono("Mono12", CAMUTL_PFNC_MONO12, 12, "Y12", "-");
inline constexpr Format kGR10 =
    bayer("BayerGR10", CAMUTL_PFNC_BAYER_GR10, BayerOrder::GR, 10, "SGRBG10", "grbg10le");
inline constexpr Format kRG10 =
    bayer("BayerRG10", CAMUTL_PFNC_BAYER_RG10, BayerOrder::RG, 10, "SRGGB10", "rggb10le");
inline constexpr Format kGB10 =
    bayer("BayerGB10", CAMUTL_PFNC_BAYER_GB10, BayerOrder::GB, 10, "SGBRG10", "gbrg10le");
inline constexpr Format kBG10 =
    bayer("BayerBG10", CAMUTL_PFNC_BAYER_BG10, BayerOrder::BG, 10, "SBGGR10", "bggr10le");
inline constexpr Format kGR12 =
    bayer("BayerGR12", CAMUTL_PFNC_BAYER_GR12, BayerOrder::GR, 12, "SGRBG12", "grbg12le");
inline constexpr Format kRG12 =
    bayer("BayerRG12", CAMUTL_PFNC_BAYER_RG12, BayerOrder::RG, 12, "SRGGB12", "rggb12le");
inline constexpr Format kGB12 =
    bayer("BayerGB12", CAMUTL_PFNC_BAYER_GB12, BayerOrder::GB, 12, "SGBRG12", "gbrg12le");
inline constexpr Format kBG12 =
    bayer("BayerBG12", CAMUTL_PFNC_BAYER_BG12, BayerOrder::BG, 12, "SBGGR12", "bggr12le");

}  // namespace detail

/** All formats that convert() accepts: those of one family together, 8 bits first, shared bytes at the end.
 */
inline constexpr Format kFormats[] = {
    detail::mono("Mono8", CAMUTL_PFNC_MONO8, 8, "GREY", "GRAY8"),
    detail::kMono10,
    detail::kMono12,
    detail::mono("Mono14", 0x01100025, 14, "Y14", "-"),
    detail::mono("Mono16", CAMUTL_PFNC_MONO16, 16, "Y16", "GRAY16_LE"),
    detail::bayer("BayerGR8", CAMUTL_PFNC_BAYER_GR8, BayerOrder::GR, 8, "SGRBG8", "grbg"),
    detail::bayer("BayerRG8", CAMUTL_PFNC_BAYER_RG8, BayerOrder::RG, 8, "SRGGB8", "rggb"),
    detail::bayer("BayerGB8", CAMUTL_PFNC_BAYER_GB8, BayerOrder::GB, 8, "SGBRG8", "gbrg"),
    detail::bayer("BayerBG8", CAMUTL_PFNC_BAYER_BG8, BayerOrder::BG, 8, "SBGGR8", "bggr"),
    detail::kGR10,
    detail::kRG10,
    detail::kGB10,
    detail::kBG10,
    detail::kGR12,
    detail::kRG12,
    detail::kGB12,
    detail::kBG12,
    detail::bayer("BayerGR14", 0x01100109, BayerOrder::GR, 14, "SGRBG14", "grbg14le"),
    detail::bayer("BayerRG14", 0x0110010A, BayerOrder::RG, 14, "SRGGB14", "rggb14le"),
    detail::bayer("BayerGB14", 0x0110010B, BayerOrder::GB, 14, "SGBRG14", "gbrg14le"),
    detail::bayer("BayerBG14", 0x0110010C, BayerOrder::BG, 14, "SBGGR14", "bggr14le"),
    detail::bayer("BayerGR16", 0x0110002E, BayerOrder::GR, 16, "SGRBG16", "grbg16le"),
    detail::bayer("BayerRG16", 0x0110002F, BayerOrder::RG, 16, "SRGGB16", "rggb16le"),
    detail::bayer("BayerGB16", 0x01100030, BayerOrder::GB, 16, "SGBRG16", "gbrg16le"),
    detail::bayer("BayerBG16", 0x01100031, BayerOrder::BG, 16, "SBGGR16", "bggr16le"),
    detail::rgb("RGB8", CAMUTL_PFNC_RGB8, 8, "COLOR_RGB2BGR", "RGB24", "RGB"),
    detail::rgb("BGR8", CAMUTL_PFNC_BGR8, 8, "CV_8UC3", "BGR24", "BGR"),
    detail::rgb("RGB10", CAMUTL_PFNC_RGB10, 10, "COLOR_RGB2BGR", "-", "-"),
    detail::rgb("BGR10", CAMUTL_PFNC_BGR10, 10, "CV_16UC3", "-", "-"),
    detail::rgb("RGB12", CAMUTL_PFNC_RGB12, 12, "COLOR_RGB2BGR", "-", "-"),
    detail::rgb("BGR12", CAMUTL_PFNC_BGR12, 12, "CV_16UC3", "-", "-"),
    detail::yuv("YUV411_8_UYYVYY", CAMUTL_PFNC_YUV411_8_UYYVYY, 4, 6, "-", "-", "IYU1"),
    detail::yuv("YUV422_8_UYVY", CAMUTL_PFNC_YUV422_8_UYVY, 2, 4, "COLOR_YUV2BGR_UYVY", "UYVY", "UYVY"),
    detail::yuv("YUV8_UYV", CAMUTL_PFNC_YUV8_UYV, 1, 3, "-", "-", "IYU2"),
    detail::shared("Mono10p", 0x010A0046, Packing::P, detail::kMono10),
    detail::shared("Mono12p", 0x010C0047, Packing::P, detail::kMono12),
    detail::shared("BayerGR10p", 0x010A0056, Packing::P, detail::kGR10),
    detail::shared("BayerRG10p", 0x010A0058, Packing::P, detail::kRG10),
    detail::shared("BayerGB10p", 0x010A0054, Packing::P, detail::kGB10),
    detail::shared("BayerBG10p", 0x010A0052, Packing::P, detail::kBG10),
    detail::shared("BayerGR12p", 0x010C0057, Packing::P, detail::kGR12),
    detail::shared("BayerRG12p", 0x010C0059, Packing::P, detail::kRG12),
    detail::shared("BayerGB12p", 0x010C0055, Packing::P, detail::kGB12),
    detail::shared("BayerBG12p", 0x010C0053, Packing::P, detail::kBG12),
    detail::shared("Mono10Packed", 0x010C0004, Packing::Packed, detail::kMono10),
    detail::shared("Mono12Packed", 0x010C0006, Packing::Packed, detail::kMono12),
    detail::shared("BayerGR10Packed", 0x010C0026, Packing::Packed, detail::kGR10),
    detail::shared("BayerRG10Packed", 0x010C0027, Packing::Packed, detail::kRG10),
    detail::shared("BayerGB10Packed", 0x010C0028, Packing::Packed, detail::kGB10),
    detail::shared("BayerBG10Packed", 0x010C0029, Packing::Packed, detail::kBG10),
    detail::shared("BayerGR12Packed", 0x010C002A, Packing::Packed, detail::kGR12),
    detail::shared("BayerRG12Packed", 0x010C002B, Packing::Packed, detail::kRG12),
    detail::shared("BayerGB12Packed", 0x010C002C, Packing::Packed, detail::kGB12),
    detail::shared("BayerBG12Packed", 0x010C002D, Packing::Packed, detail::kBG12),
};

/** The format with this PFNC code, or null. */
constexpr const Format *findFormat(std::uint32_t code) noexcept {
  for (const Format &format : kFormats)
    if (format.code == code) return &format;
  return nullptr;
}

namespace detail {

constexpr char lower(char c) noexcept {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

constexpr bool sameName(std::string_view a, std::string_view b) noexcept {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i)
    if (lower(a[i]) != lower(b[i])) return false;
  return true;
}

/** Value of a hexadecimal digit, 16 for any other character. */
constexpr std::uint32_t hexDigit(char c) noexcept {
  if (c >= '0' && c <= '9') return static_cast<std::uint32_t>(c - '0');
  if (lower(c) >= 'a' && lower(c) <= 'f') return static_cast<std::uint32_t>(lower(c) - 'a' + 10);
  return 16;
}

}  // namespace detail

/**
 * The format with this PFNC name in any case ("bayerrg8"), or with this code written as "0x01080009"; or
 * null.
 */
constexpr const Format *findFormat(std::string_view text) noexcept {
  if (text.size() > 2 && text.size() <= 10 && text[0] == '0' && detail::lower(text[1]) == 'x') {
    std::uint32_t code = 0;
    for (const char c : text.substr(2)) {
      if (detail::hexDigit(c) > 15) return nullptr;
      code = code << 4 | detail::hexDigit(c);
    }
    return findFormat(code);
  }
  for (const Format &format : kFormats)
    if (detail::sameName(format.name, text)) return &format;
  return nullptr;
}

/** The same for a C string; null gives null. */
constexpr const Format *findFormat(const char *text) noexcept {
  return text == nullptr ? nullptr : findFormat(std::string_view(text));
}

namespace detail {

/** Bytes of so many consecutive samples or pixels of a format. Saturates where 64 bits do not suffice. */
constexpr std::uint64_t runBytes(const Format &format, std::uint64_t pixels) noexcept {
  constexpr std::uint64_t most = std::numeric_limits<std::uint64_t>::max();
  const std::uint64_t groups = pixels / format.groupPixels;
  const std::uint64_t rest = pixels % format.groupPixels;
  if (groups >= most / format.groupBytes) return most;
  // A YUV group that a row ends in counts its share, rounded down; samples that share bytes need the last one
  // too.
  const std::uint64_t round = format.packing == Packing::None ? 0 : format.groupPixels - 1U;
  return groups * format.groupBytes + (rest * format.groupBytes + round) / format.groupPixels;
}

}  // namespace detail

/**
 * Bytes of one row without padding. A width that ends inside a YUV group counts its share, rounded down; one
 * that ends inside a byte counts that byte.
 */
constexpr std::uint64_t rowBytes(const Format &format, std::uint32_t width) noexcept {
  return detail::runBytes(format, width);
}

/**
 * Bytes of one frame with packed rows, as a camera delivers it. Samples that share bytes do so across the
 * ends of rows too. Saturates where 64 bits do not suffice.
 */
constexpr std::uint64_t frameBytes(const Format &format, std::uint32_t width, std::uint32_t height) noexcept {
  if (format.packing != Packing::None) return detail::runBytes(format, std::uint64_t{width} * height);
  const std::uint64_t row = rowBytes(format, width);
  constexpr std::uint64_t most = std::numeric_limits<std::uint64_t>::max();
  return height != 0 && row > most / height ? most : row * height;
}

namespace detail {

/** The code of the Bayer format whose columns' and rows' colours are exchanged; other codes stay. */
constexpr std::uint32_t exchanged(std::uint32_t code, bool columns, bool rows) noexcept {
  const Format *known = findFormat(code);
  if (known == nullptr || !known->isBayer()) return code;
  // GR, RG, GB, BG count as 0 to 3: exchanging columns turns bit 0, exchanging rows both bits.
  const unsigned first = static_cast<unsigned>(BayerOrder::GR);
  const unsigned order =
      (static_cast<unsigned>(known->order) - first) ^ (columns ? 1U : 0U) ^ (rows ? 3U : 0U);
  for (const Format &format : kFormats)
    if (format.depth == known->depth && format.packing == known->packing &&
        static_cast<unsigned>(format.order) == order + first)
      return format.code;
  return code;
}

}  // namespace detail

/**
 * The format of a frame of this size after ReverseImg(): mirroring a Bayer frame of even width exchanges its
 * columns' colours (RG <-> GR, GB <-> BG), flipping one of even height its rows' (RG <-> GB, GR <-> BG).
 * Other codes stay.
 */
constexpr std::uint32_t reversed(std::uint32_t format, std::uint32_t width, std::uint32_t height, bool mirror,
                                 bool flip) noexcept {
  return detail::exchanged(format, mirror && width % 2 == 0, flip && height % 2 == 0);
}

}  // namespace v1
#pragma GCC visibility pop
}  // namespace kivo

#endif  // KIVOCAMUTL_FORMATS_HPP
