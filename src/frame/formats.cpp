// SPDX-License-Identifier: Apache-2.0
// The table of formats: codes, layouts, names. It is the one place that states them.
//
// Another system's name stands in a row only if its bytes are the same. Formats that share no more than their
// name or their depth with one here are left out on purpose:
// - V4L2's SRGGB10P, Y12P and the like are MIPI's packing, upper bits in bytes of their own and the lower
// bits
//   of several samples behind them, which is neither PFNC's p nor GigE Vision's Packed.
// - V4L2's Y41P and GStreamer's Y41B, Y42B, Y444 order or separate the samples otherwise.
// - GStreamer's RGB16 and BGR16 have 16 bits a pixel, its GBR formats another order of planes, and its
//   RGB10A2_LE reads the two bits that RGB10p32 leaves 0 as alpha, which would make a picture transparent.
// What such a name says of the matrix of YUV samples plays no part in V4L2, GStreamer and ROS: colorimetry is
// told beside the name there. OpenCV's cvtColor codes do name a matrix, that of BT.601.
#include "frame/formats.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>
#include <limits>
#include <numeric>
#include <string_view>

namespace Kivo {
namespace {

constexpr const char *c_pszNone = nullptr;

// The names of a format in other systems.
struct Names {
  const char *pszOpenCv;
  const char *pszV4l2;
  const char *pszGStreamer;
  const char *pszRos;
};

// What all rows have in common: bits 16 to 23 of a PFNC code are those of a pixel, so the smallest group of
// pixels that ends on a byte follows from the code.
constexpr kivo_format Plain(const char *pszName, std::uint32_t uiCode, kivo_family eFamily, kivo_order eOrder,
                            std::uint32_t uiDepth, std::uint32_t uiChannels, const Names &sNames) noexcept {
  const std::uint32_t uiBits = uiCode >> 16 & 0xFF;
  const std::uint32_t uiGroup = 8 / std::gcd(8U, uiBits);
  kivo_format s = {};
  s.name = pszName;
  s.code = s.plain = uiCode;
  s.family = eFamily;
  s.order = eOrder;
  s.depth = s.plain_depth = uiDepth;
  s.group_pixels = uiGroup;
  s.group_bytes = uiGroup * uiBits / 8;
  s.packing = KIVO_PLAIN;
  s.plain_bytes = uiDepth == 8 ? 1 : 2;
  s.channels = uiChannels;
  s.opencv = sNames.pszOpenCv;
  s.v4l2 = sNames.pszV4l2;
  s.gstreamer = sNames.pszGStreamer;
  s.ros = sNames.pszRos;
  return s;
}

constexpr kivo_format Mono(const char *pszName, std::uint32_t uiCode, std::uint32_t uiDepth,
                           const char *pszV4l2, const char *pszGStreamer) noexcept {
  const bool bByte = uiDepth == 8;
  return Plain(pszName, uiCode, KIVO_MONO, KIVO_ORDER_NONE, uiDepth, 1,
               {bByte ? "CV_8UC1" : "CV_16UC1", pszV4l2, pszGStreamer, bByte ? "mono8" : "mono16"});
}

// OpenCV names an order by the second row's second and third sample.
constexpr kivo_format Bayer(const char *pszName, std::uint32_t uiCode, kivo_order eOrder,
                            std::uint32_t uiDepth, const char *pszV4l2, const char *pszGStreamer) noexcept {
  constexpr const char *apszOpenCv[] = {c_pszNone, "COLOR_BayerGB2BGR", "COLOR_BayerBG2BGR",
                                        "COLOR_BayerGR2BGR", "COLOR_BayerRG2BGR"};
  constexpr const char *apszRos8[] = {c_pszNone, "bayer_grbg8", "bayer_rggb8", "bayer_gbrg8", "bayer_bggr8"};
  constexpr const char *apszRos16[] = {c_pszNone, "bayer_grbg16", "bayer_rggb16", "bayer_gbrg16",
                                       "bayer_bggr16"};
  return Plain(
      pszName, uiCode, KIVO_BAYER, eOrder, uiDepth, 1,
      {apszOpenCv[eOrder], pszV4l2, pszGStreamer, uiDepth == 8 ? apszRos8[eOrder] : apszRos16[eOrder]});
}

constexpr kivo_format Rgb(const char *pszName, std::uint32_t uiCode, std::uint32_t uiDepth,
                          const char *pszV4l2, const char *pszGStreamer) noexcept {
  const bool bByte = uiDepth == 8;
  if (pszName[0] == 'R')
    return Plain(pszName, uiCode, KIVO_RGB, KIVO_ORDER_NONE, uiDepth, 3,
                 {"COLOR_RGB2BGR", pszV4l2, pszGStreamer, bByte ? "rgb8" : "rgb16"});
  return Plain(pszName, uiCode, KIVO_RGB, KIVO_ORDER_NONE, uiDepth, 3,
               {bByte ? "CV_8UC3" : "CV_16UC3", pszV4l2, pszGStreamer, bByte ? "bgr8" : "bgr16"});
}

// Pixels of a row that share their chroma are a group even where they would end on a byte each.
constexpr kivo_format Yuv(const char *pszName, std::uint32_t uiCode, std::uint32_t uiPixels,
                          const Names &sNames) noexcept {
  kivo_format s = Plain(pszName, uiCode, KIVO_YUV, KIVO_ORDER_NONE, 8, 0, sNames);
  s.group_pixels = uiPixels;
  s.group_bytes = uiPixels * (uiCode >> 16 & 0xFF) / 8;
  return s;
}

constexpr Names c_sNoNames = {c_pszNone, c_pszNone, c_pszNone, c_pszNone};
constexpr Names c_sUyv = {c_pszNone, c_pszNone, "IYU2", c_pszNone};
constexpr Names c_sUyyvyy = {c_pszNone, c_pszNone, "IYU1", c_pszNone};
constexpr Names c_sUyvy = {"COLOR_YUV2BGR_UYVY", "UYVY", "UYVY", "yuv422"};
constexpr Names c_sYuyv = {"COLOR_YUV2BGR_YUY2", "YUYV", "YUY2", "yuv422_yuy2"};
constexpr Names c_sUyvy709 = {c_pszNone, "UYVY", "UYVY", "yuv422"};
constexpr Names c_sYuyv709 = {c_pszNone, "YUYV", "YUY2", "yuv422_yuy2"};

// Formats whose plain samples are what a frame holds. A name that other systems have for 16-bit words of any
// depth means the first of them, so 16 bits come first.
constexpr kivo_format c_asPlain[] = {
    Mono("Mono8", 0x01080001, 8, "GREY", "GRAY8"),
    Mono("Mono16", 0x01100007, 16, "Y16", "GRAY16_LE"),
    Mono("Mono10", 0x01100003, 10, "Y10", c_pszNone),
    Mono("Mono12", 0x01100005, 12, "Y12", c_pszNone),
    Mono("Mono14", 0x01100025, 14, "Y14", c_pszNone),
    Bayer("BayerGR8", 0x01080008, KIVO_ORDER_GR, 8, "SGRBG8", "grbg"),
    Bayer("BayerRG8", 0x01080009, KIVO_ORDER_RG, 8, "SRGGB8", "rggb"),
    Bayer("BayerGB8", 0x0108000A, KIVO_ORDER_GB, 8, "SGBRG8", "gbrg"),
    Bayer("BayerBG8", 0x0108000B, KIVO_ORDER_BG, 8, "SBGGR8", "bggr"),
    Bayer("BayerGR16", 0x0110002E, KIVO_ORDER_GR, 16, "SGRBG16", "grbg16le"),
    Bayer("BayerRG16", 0x0110002F, KIVO_ORDER_RG, 16, "SRGGB16", "rggb16le"),
    Bayer("BayerGB16", 0x01100030, KIVO_ORDER_GB, 16, "SGBRG16", "gbrg16le"),
    Bayer("BayerBG16", 0x01100031, KIVO_ORDER_BG, 16, "SBGGR16", "bggr16le"),
    Bayer("BayerGR10", 0x0110000C, KIVO_ORDER_GR, 10, "SGRBG10", "grbg10le"),
    Bayer("BayerRG10", 0x0110000D, KIVO_ORDER_RG, 10, "SRGGB10", "rggb10le"),
    Bayer("BayerGB10", 0x0110000E, KIVO_ORDER_GB, 10, "SGBRG10", "gbrg10le"),
    Bayer("BayerBG10", 0x0110000F, KIVO_ORDER_BG, 10, "SBGGR10", "bggr10le"),
    Bayer("BayerGR12", 0x01100010, KIVO_ORDER_GR, 12, "SGRBG12", "grbg12le"),
    Bayer("BayerRG12", 0x01100011, KIVO_ORDER_RG, 12, "SRGGB12", "rggb12le"),
    Bayer("BayerGB12", 0x01100012, KIVO_ORDER_GB, 12, "SGBRG12", "gbrg12le"),
    Bayer("BayerBG12", 0x01100013, KIVO_ORDER_BG, 12, "SBGGR12", "bggr12le"),
    Bayer("BayerGR14", 0x01100109, KIVO_ORDER_GR, 14, "SGRBG14", "grbg14le"),
    Bayer("BayerRG14", 0x0110010A, KIVO_ORDER_RG, 14, "SRGGB14", "rggb14le"),
    Bayer("BayerGB14", 0x0110010B, KIVO_ORDER_GB, 14, "SGBRG14", "gbrg14le"),
    Bayer("BayerBG14", 0x0110010C, KIVO_ORDER_BG, 14, "SBGGR14", "bggr14le"),
    Rgb("RGB8", 0x02180014, 8, "RGB24", "RGB"),
    Rgb("BGR8", 0x02180015, 8, "BGR24", "BGR"),
    Rgb("RGB16", 0x02300033, 16, "RGB48", c_pszNone),
    Rgb("BGR16", 0x0230004B, 16, "BGR48", c_pszNone),
    Rgb("RGB10", 0x02300018, 10, c_pszNone, c_pszNone),
    Rgb("BGR10", 0x02300019, 10, c_pszNone, c_pszNone),
    Rgb("RGB12", 0x0230001A, 12, c_pszNone, c_pszNone),
    Rgb("BGR12", 0x0230001B, 12, c_pszNone, c_pszNone),
    Yuv("YUV411_8_UYYVYY", 0x020C001E, 4, c_sUyyvyy),
    Yuv("YUV422_8_UYVY", 0x0210001F, 2, c_sUyvy),
    Yuv("YUV8_UYV", 0x02180020, 1, c_sUyv),
    Yuv("YCbCr411_8_CbYYCrYY", 0x020C003C, 4, c_sUyyvyy),
    Yuv("YCbCr422_8_CbYCrY", 0x02100043, 2, c_sUyvy),
    Yuv("YCbCr8_CbYCr", 0x0218003A, 1, c_sUyv),
    Yuv("YCbCr601_411_8_CbYYCrYY", 0x020C003F, 4, c_sUyyvyy),
    Yuv("YCbCr601_422_8_CbYCrY", 0x02100044, 2, c_sUyvy),
    Yuv("YCbCr601_8_CbYCr", 0x0218003D, 1, c_sUyv),
    Yuv("YCbCr709_411_8_CbYYCrYY", 0x020C0042, 4, c_sUyyvyy),
    Yuv("YCbCr709_422_8_CbYCrY", 0x02100045, 2, c_sUyvy709),
    Yuv("YCbCr709_8_CbYCr", 0x02180040, 1, c_sUyv),
};

// A format that has its plain samples in another form. No constant expression is left if the name of the
// plain format is not one.
constexpr kivo_format Other(const char *pszName, std::uint32_t uiCode, kivo_packing ePacking,
                            std::string_view strPlain, const Names &sNames = c_sNoNames) {
  const kivo_format &sPlain = *std::find_if(std::begin(c_asPlain), std::end(c_asPlain),
                                            [strPlain](const kivo_format &s) { return s.name == strPlain; });
  const std::uint32_t uiBits = uiCode >> 16 & 0xFF;
  kivo_format s =
      Plain(pszName, uiCode, static_cast<kivo_family>(sPlain.family), static_cast<kivo_order>(sPlain.order),
            std::min(sPlain.depth, uiBits), sPlain.channels, sNames);
  s.packing = ePacking;
  s.plain = sPlain.code;
  s.plain_depth = sPlain.plain_depth;
  s.plain_bytes = sPlain.plain_bytes;
  if (ePacking == KIVO_PLANAR) s.group_bytes = sPlain.plain_bytes;
  if (ePacking == KIVO_LUMA_FIRST) {
    s.group_pixels = sPlain.group_pixels;
    s.group_bytes = sPlain.group_bytes;
  }
  return s;
}

constexpr kivo_format c_asOther[] = {
    Other("Mono8s", 0x01080002, KIVO_SIGNED, "Mono8", {"CV_8SC1", c_pszNone, c_pszNone, "8SC1"}),
    Other("Mono1p", 0x01010037, KIVO_P, "Mono8"),
    Other("Mono2p", 0x01020038, KIVO_P, "Mono8"),
    Other("Mono4p", 0x01040039, KIVO_P, "Mono8"),
    Other("Mono10p", 0x010A0046, KIVO_P, "Mono10"),
    Other("Mono12p", 0x010C0047, KIVO_P, "Mono12"),
    Other("Mono14p", 0x010E0104, KIVO_P, "Mono14"),
    Other("Mono10Packed", 0x010C0004, KIVO_PACKED, "Mono10"),
    Other("Mono12Packed", 0x010C0006, KIVO_PACKED, "Mono12"),
    Other("BayerGR10p", 0x010A0056, KIVO_P, "BayerGR10"),
    Other("BayerRG10p", 0x010A0058, KIVO_P, "BayerRG10"),
    Other("BayerGB10p", 0x010A0054, KIVO_P, "BayerGB10"),
    Other("BayerBG10p", 0x010A0052, KIVO_P, "BayerBG10"),
    Other("BayerGR12p", 0x010C0057, KIVO_P, "BayerGR12"),
    Other("BayerRG12p", 0x010C0059, KIVO_P, "BayerRG12"),
    Other("BayerGB12p", 0x010C0055, KIVO_P, "BayerGB12"),
    Other("BayerBG12p", 0x010C0053, KIVO_P, "BayerBG12"),
    Other("BayerGR14p", 0x010E0105, KIVO_P, "BayerGR14"),
    Other("BayerRG14p", 0x010E0106, KIVO_P, "BayerRG14"),
    Other("BayerGB14p", 0x010E0107, KIVO_P, "BayerGB14"),
    Other("BayerBG14p", 0x010E0108, KIVO_P, "BayerBG14"),
    Other("BayerGR10Packed", 0x010C0026, KIVO_PACKED, "BayerGR10"),
    Other("BayerRG10Packed", 0x010C0027, KIVO_PACKED, "BayerRG10"),
    Other("BayerGB10Packed", 0x010C0028, KIVO_PACKED, "BayerGB10"),
    Other("BayerBG10Packed", 0x010C0029, KIVO_PACKED, "BayerBG10"),
    Other("BayerGR12Packed", 0x010C002A, KIVO_PACKED, "BayerGR12"),
    Other("BayerRG12Packed", 0x010C002B, KIVO_PACKED, "BayerRG12"),
    Other("BayerGB12Packed", 0x010C002C, KIVO_PACKED, "BayerGB12"),
    Other("BayerBG12Packed", 0x010C002D, KIVO_PACKED, "BayerBG12"),
    Other("RGBa8", 0x02200016, KIVO_ALPHA, "RGB8", {"COLOR_RGBA2BGR", "RGBA32", "RGBA", "rgba8"}),
    Other("BGRa8", 0x02200017, KIVO_ALPHA, "BGR8", {"CV_8UC4", "ABGR32", "BGRA", "bgra8"}),
    Other("RGB10p", 0x021E005C, KIVO_P, "RGB10"),
    Other("BGR10p", 0x021E0048, KIVO_P, "BGR10"),
    Other("RGB12p", 0x0224005D, KIVO_P, "RGB12"),
    Other("BGR12p", 0x02240049, KIVO_P, "BGR12"),
    Other("RGB10p32", 0x0220001D, KIVO_P32, "RGB10"),
    Other("RGB8_Planar", 0x02180021, KIVO_PLANAR, "RGB8", {c_pszNone, c_pszNone, "RGBP", c_pszNone}),
    Other("RGB10_Planar", 0x02300022, KIVO_PLANAR, "RGB10"),
    Other("RGB12_Planar", 0x02300023, KIVO_PLANAR, "RGB12"),
    Other("RGB16_Planar", 0x02300024, KIVO_PLANAR, "RGB16"),
    Other("YUV422_8", 0x02100032, KIVO_LUMA_FIRST, "YUV422_8_UYVY", c_sYuyv),
    Other("YCbCr411_8", 0x020C005A, KIVO_LUMA_FIRST, "YCbCr411_8_CbYYCrYY"),
    Other("YCbCr422_8", 0x0210003B, KIVO_LUMA_FIRST, "YCbCr422_8_CbYCrY", c_sYuyv),
    Other("YCbCr601_422_8", 0x0210003E, KIVO_LUMA_FIRST, "YCbCr601_422_8_CbYCrY", c_sYuyv),
    Other("YCbCr709_422_8", 0x02100041, KIVO_LUMA_FIRST, "YCbCr709_422_8_CbYCrY", c_sYuyv709),
};

constexpr auto c_asFormats = [] {
  std::array<kivo_format, std::size(c_asPlain) + std::size(c_asOther)> as{};
  auto it = as.begin();
  for (const std::uint32_t uiFamily : {KIVO_MONO, KIVO_BAYER, KIVO_RGB, KIVO_YUV}) {
    const auto IsOfFamily = [uiFamily](const kivo_format &s) { return s.family == uiFamily; };
    it = std::copy_if(std::begin(c_asPlain), std::end(c_asPlain), it, IsOfFamily);
    it = std::copy_if(std::begin(c_asOther), std::end(c_asOther), it, IsOfFamily);
  }
  return as;
}();

constexpr std::uint64_t c_uiMost = std::numeric_limits<std::uint64_t>::max();

constexpr std::uint64_t Product(std::uint64_t a, std::uint64_t b) noexcept {
  return b != 0 && a > c_uiMost / b ? c_uiMost : a * b;
}

// Bytes of so many consecutive pixels of one plane. What a sample has begun of a byte counts as a byte; a
// group of YUV pixels that ends early counts its share, rounded down.
constexpr std::uint64_t RunBytes(const kivo_format &sFormat, std::uint64_t uiPixels) noexcept {
  const std::uint64_t uiRest = uiPixels % sFormat.group_pixels * sFormat.group_bytes;
  const std::uint64_t uiRound = SharesBytes(sFormat) ? sFormat.group_pixels - 1U : 0U;
  const std::uint64_t uiWhole = Product(uiPixels / sFormat.group_pixels, sFormat.group_bytes);
  const std::uint64_t uiPart = (uiRest + uiRound) / sFormat.group_pixels;
  return uiWhole > c_uiMost - uiPart ? c_uiMost : uiWhole + uiPart;
}

}  // namespace

static_assert(std::size(c_asFormats) <= c_uiMostFormats);
std::span<const kivo_format> Formats() noexcept {
  return c_asFormats;
}

const kivo_format *FindFormat(std::uint32_t uiCode) noexcept {
  for (const kivo_format &s : c_asFormats)
    if (s.code == uiCode) return &s;
  return nullptr;
}

const kivo_format &PlainFormat(const kivo_format &sFormat) noexcept {
  return *FindFormat(sFormat.plain);
}

const kivo_format &EightBitFormat(const kivo_format &sFormat) noexcept {
  for (const kivo_format &s : c_asFormats)
    if (s.family == sFormat.family && s.order == sFormat.order && s.packing == KIVO_PLAIN && s.depth == 8 &&
        s.family != KIVO_YUV && BlueFirst(s) == BlueFirst(sFormat))
      return s;
  return PlainFormat(sFormat);
}

const kivo_format &GainedFormat(const kivo_format &sFormat) noexcept {
  constexpr std::uint32_t c_uiDepth = 14;
  // No camera sends these.
  static constexpr kivo_format c_asTriples[] = {Rgb("RGB14", 0, c_uiDepth, c_pszNone, c_pszNone),
                                                Rgb("BGR14", 0, c_uiDepth, c_pszNone, c_pszNone)};
  if (sFormat.family == KIVO_RGB) return c_asTriples[BlueFirst(sFormat) ? 1 : 0];
  for (const kivo_format &s : c_asFormats)
    if (s.family == sFormat.family && s.order == sFormat.order && s.packing == KIVO_PLAIN &&
        s.depth == c_uiDepth)
      return s;
  return sFormat;
}

YuvMatrix MatrixOf(const kivo_format &sFormat) noexcept {
  const std::string_view strName = sFormat.name;
  if (sFormat.family != KIVO_YUV) return YuvMatrix::None;
  if (strName.starts_with("YUV")) return YuvMatrix::Yuv;
  if (strName.starts_with("YCbCr601")) return YuvMatrix::Limited601;
  if (strName.starts_with("YCbCr709")) return YuvMatrix::Limited709;
  return YuvMatrix::Full601;
}

bool BlueFirst(const kivo_format &sFormat) noexcept {
  return sFormat.family == KIVO_RGB && sFormat.name[0] == 'B';
}

std::uint64_t RowBytes(const kivo_format &sFormat, std::uint32_t uiWidth) noexcept {
  return RunBytes(sFormat, uiWidth);
}

std::uint64_t FrameBytes(const kivo_format &sFormat, std::uint32_t uiWidth, std::uint32_t uiHeight) noexcept {
  if (SharesBytes(sFormat)) return RunBytes(sFormat, std::uint64_t{uiWidth} * uiHeight);
  return Product(Product(RowBytes(sFormat, uiWidth), uiHeight), Planes(sFormat));
}

const kivo_format &Exchanged(const kivo_format &sFormat, bool bColumns, bool bRows) noexcept {
  if (sFormat.family != KIVO_BAYER) return sFormat;
  // GR, RG, GB, BG count as 0 to 3: exchanging columns turns bit 0, exchanging rows both bits.
  const std::uint32_t uiOrder =
      KIVO_ORDER_GR + ((sFormat.order - KIVO_ORDER_GR) ^ (bColumns ? 1U : 0U) ^ (bRows ? 3U : 0U));
  for (const kivo_format &s : c_asFormats)
    if (s.order == uiOrder && s.depth == sFormat.depth && s.packing == sFormat.packing) return s;
  return sFormat;
}

}  // namespace Kivo

using namespace Kivo;

size_t kivo_format_count(void) KIVO_NOEXCEPT {
  return Formats().size();
}

const kivo_format *kivo_format_at(size_t index) KIVO_NOEXCEPT {
  return index < Formats().size() ? &Formats()[index] : nullptr;
}

const kivo_format *kivo_format_of_code(uint32_t code) KIVO_NOEXCEPT {
  return FindFormat(code);
}

uint64_t kivo_row_bytes(uint32_t code, uint32_t width) KIVO_NOEXCEPT {
  const kivo_format *const ps = FindFormat(code);
  return ps == nullptr ? 0 : RowBytes(*ps, width);
}

uint64_t kivo_frame_bytes(uint32_t code, uint32_t width, uint32_t height) KIVO_NOEXCEPT {
  const kivo_format *const ps = FindFormat(code);
  return ps == nullptr ? 0 : FrameBytes(*ps, width, height);
}

uint32_t kivo_format_exchanged(uint32_t code, int columns, int rows) KIVO_NOEXCEPT {
  const kivo_format *const ps = FindFormat(code);
  return ps == nullptr ? code : Exchanged(*ps, columns != 0, rows != 0).code;
}
