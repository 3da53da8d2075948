// SPDX-License-Identifier: Apache-2.0
// The table of formats: codes, layouts and sizes against the model's, names against lists written down once
// more.
#include "frame/formats.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <limits>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "KivoCamUtl.h"
#include "KivoFrame.h"
#include "frame/model.h"
#include "support/random.h"

namespace KivoTest {
namespace {

constexpr std::uint64_t kMost = std::numeric_limits<std::uint64_t>::max();

std::string NameOf(const kivo_format *format) {
  return format == nullptr ? "null" : format->name;
}

std::string Found(const std::string &name) {
  return NameOf(kivo_format_find(name.c_str()));
}

std::string Text(const char *text) {
  return text == nullptr ? "" : text;
}

std::string Upper(std::string text) {
  for (char &c : text) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return text;
}

std::string Lower(std::string text) {
  for (char &c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return text;
}

std::vector<const kivo_format *> Table() {
  std::vector<const kivo_format *> table;
  for (std::size_t i = 0; i < kivo_format_count(); ++i) table.push_back(kivo_format_at(i));
  return table;
}

TEST(FrameFormats, AreThoseOfTheModel) {
  EXPECT_EQ(kivo_format_count(), 90U);
  EXPECT_EQ(kivo_format_count(), Model::Formats().size());
  for (const Model::Format &model : Model::Formats()) {
    SCOPED_TRACE(model.name);
    const kivo_format *const format = kivo_format_of_code(model.code);
    ASSERT_NE(format, nullptr);
    EXPECT_EQ(format->name, model.name);
    EXPECT_EQ(format->code, model.code);
    EXPECT_EQ(format->family, model.family);
    EXPECT_EQ(format->order, model.order);
    EXPECT_EQ(format->depth, model.depth);
    EXPECT_EQ(format->packing, model.packing);
    EXPECT_EQ(format->plain, model.plain);
    EXPECT_EQ(format->plain_depth, model.plain_depth());
    EXPECT_EQ(format->plain_bytes, model.plain_bytes());
    EXPECT_EQ(format->channels, model.channels());
    EXPECT_EQ(Kivo::BlueFirst(*format), model.blue_first);
    EXPECT_EQ(Kivo::Planes(*format), model.planes());
    EXPECT_EQ(Kivo::BitsPerPixel(*format), model.pixel_bits());
    EXPECT_EQ(Kivo::PlainFormat(*format).code, model.plain);
    EXPECT_EQ(Kivo::EightBitFormat(*format).code, model.yuv() ? model.plain : model.narrow);
  }
}

TEST(FrameFormats, HaveTheMatrixOfTheirName) {
  const std::map<Model::Matrix, Kivo::YuvMatrix> same = {
      {Model::Matrix::kNone, Kivo::YuvMatrix::None},
      {Model::Matrix::kInteger, Kivo::YuvMatrix::Yuv},
      {Model::Matrix::kFull601, Kivo::YuvMatrix::Full601},
      {Model::Matrix::kNarrow601, Kivo::YuvMatrix::Limited601},
      {Model::Matrix::kNarrow709, Kivo::YuvMatrix::Limited709}};
  for (const Model::Format &model : Model::Formats())
    EXPECT_EQ(Kivo::MatrixOf(*kivo_format_of_code(model.code)), same.at(model.matrix)) << model.name;
}

TEST(FrameFormats, AreInTheTableOnce) {
  std::set<std::uint32_t> codes;
  std::set<std::string> names;
  for (const kivo_format *format : Table()) {
    ASSERT_NE(format, nullptr);
    EXPECT_TRUE(codes.insert(format->code).second) << format->name;
    EXPECT_TRUE(names.insert(Lower(format->name)).second) << format->name;
    EXPECT_EQ(kivo_format_of_code(format->code), format) << format->name;
  }
  EXPECT_EQ(kivo_format_at(kivo_format_count()), nullptr);
  EXPECT_EQ(kivo_format_at(std::numeric_limits<std::size_t>::max()), nullptr);
  for (const std::uint32_t code : {0U, 1U, 0x01080003U, 0x81080001U, 0x02080001U, 0xFFFFFFFFU})
    EXPECT_EQ(kivo_format_of_code(code), nullptr) << code;
}

// Families in rising order; in each the plain ones first, of these 8 bits, then 16, then 10, 12 and 14. YUV
// formats have one depth.
TEST(FrameFormats, StandInTheOrderOfTheHeader) {
  const auto rank = [](const kivo_format &format) {
    const unsigned depth = format.depth == 8 ? 0 : format.depth == 16 ? 1 : format.depth;
    const bool plain = format.packing == KIVO_PLAIN;
    return std::array<unsigned, 3>{format.family, plain ? 0U : 1U, plain ? depth : 0U};
  };
  const auto table = Table();
  for (std::size_t i = 1; i < table.size(); ++i)
    EXPECT_LE(rank(*table[i - 1]), rank(*table[i])) << table[i]->name;
}

// What a group holds is the bits that bits 16 to 23 of the code promise, and no smaller group does.
TEST(FrameFormats, HaveTheSmallestGroupsOfWholeBytes) {
  for (const kivo_format *format : Table()) {
    SCOPED_TRACE(format->name);
    const std::uint32_t bits = (format->code >> 16 & 0xFF) / Kivo::Planes(*format);
    EXPECT_EQ(format->group_bytes * 8, bits * format->group_pixels);
    std::uint32_t smallest = 1;
    while (smallest * bits % 8 != 0) ++smallest;
    if (format->family == KIVO_YUV) {
      const std::string name = format->name;
      smallest = name.find("422") != std::string::npos ? 2 : name.find("411") != std::string::npos ? 4 : 1;
    }
    EXPECT_EQ(format->group_pixels, smallest);
  }
}

// Letters and digits in lower case, without words that name a layout twice.
std::string Bare(const std::string &name) {
  std::string bare;
  for (const char c : Lower(name))
    if (std::isalnum(static_cast<unsigned char>(c)) != 0) bare += c;
  return bare;
}

// The same codes as another project has written them down, in a header of Aravis.
TEST(FrameFormats, HaveThePeersCodes) {
  std::ifstream header(KIVO_ARAVIS_CODES);
  if (!header) GTEST_SKIP() << "no header of Aravis (Debian: libaravis-dev)";
  const std::string prefix = "#define ARV_PIXEL_FORMAT_";
  std::map<std::string, std::uint32_t> theirs;
  for (std::string line; std::getline(header, line);) {
    const std::size_t value = line.find("0x");
    if (line.compare(0, prefix.size(), prefix) != 0 || value == std::string::npos) continue;
    const std::size_t end = line.find_first_of(" \t(", prefix.size());
    if (line.find("(ArvPixelFormat)") != std::string::npos)
      theirs[Bare(line.substr(prefix.size(), end - prefix.size()))] =
          static_cast<std::uint32_t>(std::stoul(line.substr(value), nullptr, 16));
  }
  const std::map<std::string, std::string> other_names = {{"yuv4118uyyvyy", "yuv411packed"},
                                                          {"yuv4228uyvy", "yuv422packed"},
                                                          {"yuv8uyv", "yuv444packed"},
                                                          {"yuv4228", "yuv422yuyvpacked"},
                                                          {"mono8s", "mono8signed"}};
  std::size_t compared = 0;
  for (const kivo_format *format : Table()) {
    std::string name = Bare(format->name);
    if (format->family == KIVO_RGB && format->packing != KIVO_PLANAR) name += "packed";
    if (other_names.count(name) != 0) name = other_names.at(name);
    const auto their = theirs.find(name);
    if (their == theirs.end()) continue;
    EXPECT_EQ(format->code, their->second) << format->name;
    ++compared;
  }
  EXPECT_GE(compared, 53U);
}

// Bytes that are counted bit by bit, row after row and pixel after pixel.
std::uint64_t CountedBytes(const Model::Format &format, std::uint32_t width, std::uint32_t height) {
  const bool stream = format.packing == KIVO_P || format.packing == KIVO_PACKED;
  const unsigned planes = format.planes();
  std::uint64_t bits = 0;
  for (unsigned plane = 0; plane < planes; ++plane)
    for (std::uint32_t y = 0; y < height; ++y) {
      for (std::uint32_t x = 0; x < width; ++x) bits += format.pixel_bits() / planes;
      if (!stream) bits = bits / 8 * 8;
    }
  return (bits + 7) / 8;
}

TEST(FrameFormats, HaveTheBytesThatAreCounted) {
  for (const Model::Format &format : Model::Formats())
    for (std::uint32_t width = 0; width < 35; ++width) {
      SCOPED_TRACE(format.name + " " + std::to_string(width));
      const std::uint64_t row = CountedBytes(format, width, 1) / format.planes();
      EXPECT_EQ(kivo_row_bytes(format.code, width), row);
      for (std::uint32_t height = 0; height < 12; ++height)
        EXPECT_EQ(kivo_frame_bytes(format.code, width, height), CountedBytes(format, width, height))
            << height;
    }
}

// At any size, up to the largest, where 64 bits no longer suffice for some.
TEST(FrameFormats, CutBytesToSixtyFourBits) {
  Random random(1);
  std::vector<std::uint32_t> sizes = {1,          2,          3,          5,          0x7FFFFFFF,
                                      0x80000000, 0xAAAAAAAA, 0xAAAAAAAB, 0xFFFFFFFE, 0xFFFFFFFF};
  for (int i = 0; i < 40; ++i) sizes.push_back(static_cast<std::uint32_t>(random.Next() | 0xC0000000));
  bool some_cut = false, some_fit = false;
  for (const Model::Format &format : Model::Formats())
    for (const std::uint32_t width : sizes) {
      EXPECT_EQ(kivo_row_bytes(format.code, width), Model::RowBytes(format, width)) << format.name << width;
      for (const std::uint32_t height : sizes) {
        const Model::Wide wide = Model::FrameBytes(format, width, height);
        const std::uint64_t expected = wide > kMost ? kMost : static_cast<std::uint64_t>(wide);
        (wide > kMost ? some_cut : some_fit) = true;
        EXPECT_EQ(kivo_frame_bytes(format.code, width, height), expected)
            << format.name << ' ' << width << 'x' << height;
      }
    }
  EXPECT_TRUE(some_cut && some_fit);
  for (const std::uint32_t code : {0U, 0x01080003U}) {
    EXPECT_EQ(kivo_row_bytes(code, 640), 0U);
    EXPECT_EQ(kivo_frame_bytes(code, 640, 480), 0U);
  }
}

// The colour of a pixel, read off the name of an order.
char Colour(const std::string &order, std::uint32_t y, std::uint32_t x) {
  const std::map<std::string, std::string> squares = {
      {"GR", "GRBG"}, {"RG", "RGGB"}, {"GB", "GBRG"}, {"BG", "BGGR"}};
  return squares.at(order)[y % 2 * 2 + x % 2];
}

// A frame whose first column or row was cut off has the colours of the format that it is said to be then.
TEST(FrameFormats, ExchangeTheColoursOfColumnsAndRows) {
  std::size_t mosaics = 0;
  for (const kivo_format *format : Table())
    for (const int columns : {0, 1, -7})
      for (const int rows : {0, 1, 256}) {
        SCOPED_TRACE(format->name);
        const std::uint32_t code = kivo_format_exchanged(format->code, columns, rows);
        if (format->family != KIVO_BAYER) {
          EXPECT_EQ(code, format->code);
          continue;
        }
        const std::string before = format->name;
        const std::string after = NameOf(kivo_format_of_code(code));
        EXPECT_EQ(before.substr(7), after.substr(7));
        for (std::uint32_t y = 0; y < 2; ++y)
          for (std::uint32_t x = 0; x < 2; ++x)
            EXPECT_EQ(Colour(after.substr(5, 2), y, x),
                      Colour(before.substr(5, 2), y + (rows != 0 ? 1 : 0), x + (columns != 0 ? 1 : 0)));
        ++mosaics;
      }
  EXPECT_EQ(mosaics, 40U * 9);
  EXPECT_EQ(kivo_format_exchanged(0x12345678, 1, 1), 0x12345678U);
}

// The names that the list of the layer does not have.
struct OtherNames {
  const char *name, *opencv, *v4l2, *gstreamer, *ros;
};
constexpr OtherNames kOtherNames[] = {
    {"Mono8", "CV_8UC1", "GREY", "GRAY8", "mono8"},
    {"Mono10", "CV_16UC1", "Y10", "", "mono16"},
    {"Mono12", "CV_16UC1", "Y12", "", "mono16"},
    {"Mono14", "CV_16UC1", "Y14", "", "mono16"},
    {"Mono16", "CV_16UC1", "Y16", "GRAY16_LE", "mono16"},
    {"Mono8s", "CV_8SC1", "", "", "8SC1"},
    {"BayerGR8", "COLOR_BayerGB2BGR", "SGRBG8", "grbg", "bayer_grbg8"},
    {"BayerRG8", "COLOR_BayerBG2BGR", "SRGGB8", "rggb", "bayer_rggb8"},
    {"BayerGB8", "COLOR_BayerGR2BGR", "SGBRG8", "gbrg", "bayer_gbrg8"},
    {"BayerBG8", "COLOR_BayerRG2BGR", "SBGGR8", "bggr", "bayer_bggr8"},
    {"BayerGR10", "COLOR_BayerGB2BGR", "SGRBG10", "grbg10le", "bayer_grbg16"},
    {"BayerRG12", "COLOR_BayerBG2BGR", "SRGGB12", "rggb12le", "bayer_rggb16"},
    {"BayerGB14", "COLOR_BayerGR2BGR", "SGBRG14", "gbrg14le", "bayer_gbrg16"},
    {"BayerBG16", "COLOR_BayerRG2BGR", "SBGGR16", "bggr16le", "bayer_bggr16"},
    {"RGB8", "COLOR_RGB2BGR", "RGB24", "RGB", "rgb8"},
    {"BGR8", "CV_8UC3", "BGR24", "BGR", "bgr8"},
    {"RGB10", "COLOR_RGB2BGR", "", "", "rgb16"},
    {"BGR12", "CV_16UC3", "", "", "bgr16"},
    {"RGB16", "COLOR_RGB2BGR", "RGB48", "", "rgb16"},
    {"BGR16", "CV_16UC3", "BGR48", "", "bgr16"},
    {"RGBa8", "COLOR_RGBA2BGR", "RGBA32", "RGBA", "rgba8"},
    {"BGRa8", "CV_8UC4", "ABGR32", "BGRA", "bgra8"},
    {"RGB8_Planar", "", "", "RGBP", ""},
    {"YUV422_8_UYVY", "COLOR_YUV2BGR_UYVY", "UYVY", "UYVY", "yuv422"},
    {"YUV422_8", "COLOR_YUV2BGR_YUY2", "YUYV", "YUY2", "yuv422_yuy2"},
    {"YCbCr422_8", "COLOR_YUV2BGR_YUY2", "YUYV", "YUY2", "yuv422_yuy2"},
    {"YCbCr422_8_CbYCrY", "COLOR_YUV2BGR_UYVY", "UYVY", "UYVY", "yuv422"},
    {"YCbCr601_422_8", "COLOR_YUV2BGR_YUY2", "YUYV", "YUY2", "yuv422_yuy2"},
    {"YCbCr601_422_8_CbYCrY", "COLOR_YUV2BGR_UYVY", "UYVY", "UYVY", "yuv422"},
    {"YCbCr709_422_8", "", "YUYV", "YUY2", "yuv422_yuy2"},
    {"YCbCr709_422_8_CbYCrY", "", "UYVY", "UYVY", "yuv422"},
    {"YUV8_UYV", "", "", "IYU2", ""},
    {"YUV411_8_UYYVYY", "", "", "IYU1", ""},
    {"YCbCr8_CbYCr", "", "", "IYU2", ""},
    {"YCbCr601_8_CbYCr", "", "", "IYU2", ""},
    {"YCbCr709_8_CbYCr", "", "", "IYU2", ""},
    {"YCbCr411_8_CbYYCrYY", "", "", "IYU1", ""},
    {"YCbCr601_411_8_CbYYCrYY", "", "", "IYU1", ""},
    {"YCbCr709_411_8_CbYYCrYY", "", "", "IYU1", ""},
    {"YCbCr411_8", "", "", "", ""},
    {"RGB10p32", "", "", "", ""},
};

TEST(FrameFormats, HaveTheNamesOfOtherSystems) {
  for (const OtherNames &names : kOtherNames) {
    SCOPED_TRACE(names.name);
    const kivo_format *const format = kivo_format_find(names.name);
    ASSERT_NE(format, nullptr);
    EXPECT_EQ(Text(format->opencv), names.opencv);
    EXPECT_EQ(Text(format->v4l2), names.v4l2);
    EXPECT_EQ(Text(format->gstreamer), names.gstreamer);
    EXPECT_EQ(Text(format->ros), names.ros);
  }
  // No other system packs samples as these do.
  for (const kivo_format *format : Table())
    if (format->packing == KIVO_P || format->packing == KIVO_PACKED) {
      EXPECT_EQ(Text(format->opencv) + Text(format->v4l2) + Text(format->gstreamer) + Text(format->ros), "")
          << format->name;
    }
}

// The kernel's own header knows every V4L2 name but those that are younger than it may be.
TEST(FrameFormats, HaveV4l2NamesThatExist) {
  std::ifstream header("/usr/include/linux/videodev2.h");
  if (!header) GTEST_SKIP() << "no linux/videodev2.h (Debian: linux-libc-dev)";
  std::set<std::string> theirs = {"RGB48", "BGR48"};
  const std::string prefix = "#define V4L2_PIX_FMT_";
  for (std::string line; std::getline(header, line);)
    if (line.compare(0, prefix.size(), prefix) == 0)
      theirs.insert(line.substr(prefix.size(), line.find_first_of(" \t", prefix.size()) - prefix.size()));
  for (const kivo_format *format : Table())
    if (format->v4l2 != nullptr) {
      EXPECT_EQ(theirs.count(format->v4l2), 1U) << format->v4l2;
    }
}

// Every name of every format gives it, or the first of those that share the name.
TEST(FrameFormats, AreFoundByAnyNameInAnyCase) {
  std::map<std::string, std::string> first;
  for (const kivo_format *format : Table()) first[Upper(format->name)] = format->name;
  for (const kivo_format *format : Table())
    for (const char *name : {format->opencv, format->v4l2, format->gstreamer, format->ros})
      if (name != nullptr && Text(name).compare(0, 6, "COLOR_") != 0)
        first.emplace(Upper(name), format->name);
  for (const auto &[name, format] : first) {
    EXPECT_EQ(Found(name), format) << name;
    EXPECT_EQ(Found(Lower(name)), format) << name;
  }
  for (const kivo_format *format : Table()) {
    EXPECT_EQ(Found(format->name), format->name);
    if (format->v4l2 == nullptr) continue;
    EXPECT_EQ(Found("V4L2_PIX_FMT_" + Text(format->v4l2)), Found(format->v4l2)) << format->v4l2;
    EXPECT_EQ(Found("v4l2_pix_fmt_" + Lower(format->v4l2)), Found(format->v4l2)) << format->v4l2;
  }
}

TEST(FrameFormats, AreTheFirstOfThoseThatShareAName) {
  const std::map<std::string, std::string> expected = {{"CV_16UC1", "Mono16"},
                                                       {"mono16", "Mono16"},
                                                       {"CV_16UC3", "BGR16"},
                                                       {"rgb16", "RGB16"},
                                                       {"bgr16", "BGR16"},
                                                       {"bayer_rggb16", "BayerRG16"},
                                                       {"bayer_bggr8", "BayerBG8"},
                                                       {"YUYV", "YUV422_8"},
                                                       {"YUY2", "YUV422_8"},
                                                       {"UYVY", "YUV422_8_UYVY"},
                                                       {"yuv422", "YUV422_8_UYVY"},
                                                       {"IYU2", "YUV8_UYV"},
                                                       {"IYU1", "YUV411_8_UYYVYY"},
                                                       {"yuv422_yuy2", "YUV422_8"},
                                                       {"SRGGB12", "BayerRG12"},
                                                       {"rggb12le", "BayerRG12"},
                                                       {"GREY", "Mono8"},
                                                       {"V4L2_PIX_FMT_Y10", "Mono10"},
                                                       {"bayerrg12p", "BayerRG12p"},
                                                       {"bayerrg12PACKED", "BayerRG12Packed"}};
  for (const auto &[name, format] : expected) EXPECT_EQ(Found(name), format) << name;
}

TEST(FrameFormats, AreFoundByCode) {
  for (const kivo_format *format : Table()) {
    char code[16];
    std::snprintf(code, sizeof code, "0x%08X", static_cast<unsigned>(format->code));
    EXPECT_EQ(kivo_format_find(code), format) << code;
    std::snprintf(code, sizeof code, "0X%x", static_cast<unsigned>(format->code));
    EXPECT_EQ(kivo_format_find(code), format) << code;
  }
}

TEST(FrameFormats, AreNotFoundByAnyOtherText) {
  EXPECT_EQ(kivo_format_find(nullptr), nullptr);
  for (const char *text : {"",
                           " ",
                           "-",
                           "Mono8 ",
                           " Mono8",
                           "Mono",
                           "Mono8\n",
                           "0x",
                           "0x0",
                           "01080001",
                           "0x0108000G",
                           "0x 1080001",
                           "0x-1080001",
                           "0x+1080001",
                           "0x101080001",
                           "0x001080001",
                           "0x01080001 ",
                           "V4L2_PIX_FMT_",
                           "v4l2_pix_fmt_Mono8",
                           "V4L2_PIX_FMT_rggb",
                           "V4L2_PIX_FMT_0x01080001",
                           "V4L2_PIX_FMT_V4L2_PIX_FMT_GREY",
                           "COLOR_RGB2BGR",
                           "COLOR_BayerBG2BGR",
                           "SRGGB10P",
                           "Y10P",
                           "Y12P",
                           "RGB565",
                           "\xC3\xA4",
                           "Mono8\xFF"})
    EXPECT_EQ(kivo_format_find(text), nullptr) << text;
  EXPECT_EQ(kivo_format_find(std::string(1 << 20, 'M').c_str()), nullptr);
}

std::vector<std::string> Suggested(const std::string &name, std::size_t most) {
  std::vector<const kivo_format *> formats(most + 1, nullptr);
  const std::size_t count = kivo_format_suggest(name.c_str(), formats.data(), most);
  EXPECT_LE(count, most);
  EXPECT_EQ(formats[most], nullptr) << "written behind the end";
  std::vector<std::string> names;
  for (std::size_t i = 0; i < count; ++i) names.push_back(NameOf(formats[i]));
  return names;
}

TEST(FrameFormats, AreSuggestedForMisspeltNames) {
  const std::map<std::string, std::string> nearest = {{"BayerRG12packed ", "BayerRG12Packed"},
                                                      {"BayerRG12packd", "BayerRG12Packed"},
                                                      {"BayrRG8", "BayerRG8"},
                                                      {"bayre_rggb8", "BayerRG8"},
                                                      {"SRGGB10P", "BayerRG10"},
                                                      {"V4L2_PIX_FMT_SRGGB12P", "BayerRG12"},
                                                      {"rggb12", "BayerRG12"},
                                                      {"mono", "Mono8"},
                                                      {"gray", "Mono8"},
                                                      {"Mono12-packed", "Mono12Packed"},
                                                      {"YUV422", "YUV422_8_UYVY"},
                                                      {"YUY", "YUV422_8"},
                                                      {"0x010C059", "BayerRG12p"},
                                                      {"CV_8UC2", "Mono8"}};
  for (const auto &[name, format] : nearest) {
    const auto suggested = Suggested(name, 1);
    EXPECT_EQ(suggested, std::vector<std::string>{format}) << name;
  }
  const std::vector<std::string> monos = {"Mono8",  "Mono16", "Mono10", "Mono12", "Mono14",
                                          "Mono8s", "Mono1p", "Mono2p", "Mono4p"};
  EXPECT_EQ(Suggested("mono", 100), monos);
  EXPECT_EQ(Suggested("mono", 2), (std::vector<std::string>{"Mono8", "Mono16"}));
  EXPECT_EQ(Suggested("mono", 0), std::vector<std::string>());
}

TEST(FrameFormats, AreNotSuggestedFromFarAway) {
  for (const char *text :
       {"", "x", "jpeg", "H.264 stream", "V4L2_PIX_FMT_", "V4L2_PIX_FMT_MJPEG", "0x00000000"})
    EXPECT_EQ(Suggested(text, 100), std::vector<std::string>()) << text;
  EXPECT_EQ(Suggested(std::string(1 << 20, 'M'), 100), std::vector<std::string>());
  EXPECT_EQ(Suggested(std::string(49, 'M'), 100), std::vector<std::string>());
  const kivo_format *format = nullptr;
  EXPECT_EQ(kivo_format_suggest(nullptr, &format, 1), 0U);
  EXPECT_EQ(kivo_format_suggest("Mono", nullptr, 1), 0U);
  EXPECT_EQ(format, nullptr);
}

// Least number of changes, by trying them all: what the quick way has to find as well.
unsigned Changes(std::string_view a, std::string_view b) {
  if (a.empty() || b.empty()) return static_cast<unsigned>(a.size() + b.size());
  if (a[0] == b[0]) return Changes(a.substr(1), b.substr(1));
  unsigned least =
      std::min({Changes(a.substr(1), b), Changes(a, b.substr(1)), Changes(a.substr(1), b.substr(1))});
  if (a.size() > 1 && b.size() > 1 && a[0] == b[1] && a[1] == b[0])
    least = std::min(least, Changes(a.substr(2), b.substr(2)));
  return least + 1;
}

// Up to two changes anywhere in a name: the format is among those suggested, none of which is nearer than the
// one in front of it.
TEST(FrameFormats, AreSuggestedNearestFirst) {
  Random random(2);
  const auto distance = [](const std::string &text, const std::string &name) {
    const kivo_format *const format = kivo_format_find(name.c_str());
    unsigned least = 1000;
    for (const char *other : {format->name, format->opencv, format->v4l2, format->gstreamer, format->ros})
      if (other != nullptr && Text(other).compare(0, 6, "COLOR_") != 0 && std::string(other).size() <= 9)
        least = std::min(least, Changes(Lower(text), Lower(other)));
    return least;
  };
  std::size_t compared = 0;
  for (const kivo_format *format : Table()) {
    std::string text = format->name;
    if (text.size() > 9) continue;
    for (unsigned change = 0; change < 2; ++change) {
      const std::size_t at = random.Below(static_cast<std::uint32_t>(text.size()));
      switch (random.Below(4)) {
        case 0:
          text.insert(at, 1, '8');
          break;
        case 1:
          text.erase(at, 1);
          break;
        case 2:
          text[at] = 'r';
          break;
        default:
          if (at + 1 < text.size()) std::swap(text[at], text[at + 1]);
      }
    }
    if (text.size() < 6) continue;
    const auto suggested = Suggested(text, 100);
    EXPECT_EQ(std::count(suggested.begin(), suggested.end(), format->name), 1)
        << text << " of " << format->name;
    unsigned before = 0;
    for (const std::string &name : suggested) {
      if (name.size() > 9) continue;
      const unsigned here = distance(text, name);
      EXPECT_LE(before, here) << text << ' ' << name;
      before = here;
      ++compared;
    }
  }
  EXPECT_GT(compared, 100U);
}

TEST(FrameMessages, AreOneClauseForEachStatus) {
  std::set<std::string> texts;
  for (int status = KIVO_OK; status <= KIVO_BAD_PERCENT; ++status) {
    const std::string text = kivo_message(static_cast<kivo_status>(status));
    EXPECT_TRUE(texts.insert(text).second) << text;
    EXPECT_NE(text, "unknown error");
    EXPECT_NE(text.back(), '.');
    EXPECT_TRUE(std::islower(static_cast<unsigned char>(text[0])) != 0 || text.compare(0, 4, "ACPI") == 0)
        << text;
  }
  EXPECT_STREQ(kivo_message(static_cast<kivo_status>(KIVO_BAD_PERCENT + 1)), "unknown error");
}

TEST(FrameVersion, IsThatOfBothHeaders) {
  EXPECT_EQ(kivo_version(), 0x010000U);
  EXPECT_EQ(kivo_version(), static_cast<std::uint32_t>(CAMUTL_VERSION_MAJOR << 16 |
                                                       CAMUTL_VERSION_MINOR << 8 | CAMUTL_VERSION_PATCH));
}

}  // namespace
}  // namespace KivoTest
