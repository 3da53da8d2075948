// SPDX-License-Identifier: Apache-2.0
// The C++ layer: values that a wrong constant, a wrong limit or a wrong size changes.
#include <gtest/gtest.h>

#include <KivoCamUtl.hpp>
#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <map>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace {

using kivo::Errc;
using kivo::FrameView;

using Buffer = std::vector<std::uint8_t>;

struct Code {
  const char *name;
  std::uint32_t value;
};

// As the Pixel Format Naming Convention and GigE Vision list them.
constexpr Code kCodes[] = {
    {"Mono8", 0x01080001},
    {"Mono10", 0x01100003},
    {"Mono12", 0x01100005},
    {"Mono14", 0x01100025},
    {"Mono16", 0x01100007},
    {"BayerGR8", 0x01080008},
    {"BayerRG8", 0x01080009},
    {"BayerGB8", 0x0108000A},
    {"BayerBG8", 0x0108000B},
    {"BayerGR10", 0x0110000C},
    {"BayerRG10", 0x0110000D},
    {"BayerGB10", 0x0110000E},
    {"BayerBG10", 0x0110000F},
    {"BayerGR12", 0x01100010},
    {"BayerRG12", 0x01100011},
    {"BayerGB12", 0x01100012},
    {"BayerBG12", 0x01100013},
    {"BayerGR14", 0x01100109},
    {"BayerRG14", 0x0110010A},
    {"BayerGB14", 0x0110010B},
    {"BayerBG14", 0x0110010C},
    {"BayerGR16", 0x0110002E},
    {"BayerRG16", 0x0110002F},
    {"BayerGB16", 0x01100030},
    {"BayerBG16", 0x01100031},
    {"RGB8", 0x02180014},
    {"BGR8", 0x02180015},
    {"RGB10", 0x02300018},
    {"BGR10", 0x02300019},
    {"RGB12", 0x0230001A},
    {"BGR12", 0x0230001B},
    {"YUV411_8_UYYVYY", 0x020C001E},
    {"YUV422_8_UYVY", 0x0210001F},
    {"YUV8_UYV", 0x02180020},
    {"Mono10p", 0x010A0046},
    {"Mono12p", 0x010C0047},
    {"BayerGR10p", 0x010A0056},
    {"BayerRG10p", 0x010A0058},
    {"BayerGB10p", 0x010A0054},
    {"BayerBG10p", 0x010A0052},
    {"BayerGR12p", 0x010C0057},
    {"BayerRG12p", 0x010C0059},
    {"BayerGB12p", 0x010C0055},
    {"BayerBG12p", 0x010C0053},
    {"Mono10Packed", 0x010C0004},
    {"Mono12Packed", 0x010C0006},
    {"BayerGR10Packed", 0x010C0026},
    {"BayerRG10Packed", 0x010C0027},
    {"BayerGB10Packed", 0x010C0028},
    {"BayerBG10Packed", 0x010C0029},
    {"BayerGR12Packed", 0x010C002A},
    {"BayerRG12Packed", 0x010C002B},
    {"BayerGB12Packed", 0x010C002C},
    {"BayerBG12Packed", 0x010C002D},
};

TEST(HppValues, EveryFormatHasTheCodeOfItsName) {
  for (const Code &code : kCodes) {
    const kivo::Format *byName = kivo::findFormat(code.name);
    ASSERT_NE(byName, nullptr) << code.name;
    EXPECT_EQ(byName->code, code.value) << code.name;
    const kivo::Format *byCode = kivo::findFormat(code.value);
    ASSERT_NE(byCode, nullptr) << code.name;
    EXPECT_STREQ(byCode->name, code.name);
  }
  EXPECT_EQ(std::size(kCodes), std::size(kivo::kFormats));
}

// Letters and digits alone, which is what "BAYER_GR_12P" and "BayerGR12p" have in common.
std::string bare(const std::string &name) {
  std::string letters;
  for (const char c : name)
    if (std::isalnum(static_cast<unsigned char>(c)) != 0)
      letters += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return letters;
}

// The same codes as another project has written them down, in a header of Aravis.
TEST(HppValues, ArePeersCodes) {
  std::ifstream header(KIVO_ARAVIS_CODES);
  if (!header) GTEST_SKIP() << "no header of Aravis (Debian: libaravis-dev)";
  const std::string prefix = "#define ARV_PIXEL_FORMAT_";
  std::map<std::string, std::uint32_t> theirs;
  for (std::string line; std::getline(header, line);) {
    const std::size_t value = line.find("0x");
    if (line.compare(0, prefix.size(), prefix) != 0 || value == std::string::npos) continue;
    const std::string name =
        line.substr(prefix.size(), line.find_first_of(" \t(", prefix.size()) - prefix.size());
    if (line.find("(ArvPixelFormat)") != std::string::npos)
      theirs[bare(name)] = static_cast<std::uint32_t>(std::stoul(line.substr(value), nullptr, 16));
  }
  const std::map<std::string, std::string> otherNames = {
      {"yuv4118uyyvyy", "yuv411packed"}, {"yuv4228uyvy", "yuv422packed"}, {"yuv8uyv", "yuv444packed"}};
  std::size_t compared = 0;
  for (const kivo::Format &format : kivo::kFormats) {
    std::string name = bare(format.name);
    if (format.family == kivo::Family::Rgb) name += "packed";
    if (otherNames.count(name) != 0) name = otherNames.at(name);
    const auto their = theirs.find(name);
    if (their == theirs.end()) continue;
    EXPECT_EQ(format.code, their->second) << format.name;
    ++compared;
  }
  EXPECT_GE(compared, 45U);
}

// A frame of words, little-endian.
struct Words {
  explicit Words(const std::vector<std::uint32_t> &samples) {
    for (const std::uint32_t sample : samples) {
      bytes.push_back(static_cast<std::uint8_t>(sample));
      bytes.push_back(static_cast<std::uint8_t>(sample >> 8));
    }
  }
  FrameView row(std::uint32_t code) const {
    return {bytes.data(), bytes.size(), code, static_cast<std::uint32_t>(bytes.size() / 2), 1};
  }
  Buffer bytes;
};

// The multiple of 1 / span nearest to a result is told apart from its neighbours only if no constant of the
// rounding is off by one: all samples, at spans that are even, odd, prime, and as wide as samples are.
TEST(HppStretch, RoundsEverySampleToNearest) {
  std::vector<std::uint32_t> all(65536);
  for (std::uint32_t s = 0; s < all.size(); ++s) all[s] = s;
  const Words words(all);
  for (const kivo::SampleRange range : {kivo::SampleRange{0, 65535},
                                        {0, 65534},
                                        {1, 65535},
                                        {0, 4095},
                                        {0, 1023},
                                        {0, 510},
                                        {7, 1028},
                                        {1000, 1255},
                                        {1000, 1256},
                                        {30000, 65521},
                                        {12, 13},
                                        {12, 14}}) {
    SCOPED_TRACE(std::to_string(range.least) + " to " + std::to_string(range.most));
    const auto frame = kivo::stretch(words.row(CAMUTL_PFNC_MONO16), range);
    ASSERT_TRUE(frame) << frame.message();
    const std::int64_t span = range.most - range.least;
    for (std::uint32_t s = 0; s < 65536; ++s) {
      const std::int64_t offset = std::clamp<std::int64_t>(std::int64_t{s} - range.least, 0, span);
      // How far, in 1 / span, the byte is from offset * 255 / span: at most a half, and a half only below it.
      const std::int64_t error = frame->data[s] * span - offset * 255;
      ASSERT_TRUE(2 * error > -span && 2 * error <= span) << s << " becomes " << int{frame->data[s]};
    }
  }
  Buffer bytes(256);
  for (std::size_t s = 0; s < bytes.size(); ++s) bytes[s] = static_cast<std::uint8_t>(s);
  const auto same = kivo::stretch({bytes.data(), bytes.size(), CAMUTL_PFNC_MONO8, 256, 1}, {0, 255});
  ASSERT_TRUE(same);
  EXPECT_EQ(Buffer(same->data.begin(), same->data.end()), bytes);
}

// The last sample of a frame that ends at the end of its memory, in every format of plain samples.
TEST(HppValues, TheRangeReachesFromTheFirstToTheLastSampleOfEveryFormat) {
  for (const kivo::Format &format : kivo::kFormats) {
    if (format.packing != kivo::Packing::None) continue;
    SCOPED_TRACE(format.name);
    const std::size_t wordBytes = format.depth == 8 ? 1 : 2;
    Buffer bytes(static_cast<std::size_t>(kivo::frameBytes(format, 8, 3)), 0x03);
    const std::size_t samples = bytes.size() / wordBytes;
    const std::size_t least = wordBytes == 1 ? 3 : 0x303;
    for (const std::size_t at : {std::size_t{0}, samples / 2, samples - 1}) {
      Buffer frame = bytes;
      frame[at * wordBytes] = 0x7E;
      const auto range = kivo::sampleRange({frame.data(), frame.size(), format.code, 8, 3});
      ASSERT_TRUE(range) << range.message();
      EXPECT_EQ(range->least, least) << at;
      EXPECT_EQ(range->most, wordBytes == 1 ? 0x7EU : 0x37EU) << at;
      frame[at * wordBytes] = 0x01;
      const auto lower = kivo::sampleRange({frame.data(), frame.size(), format.code, 8, 3});
      ASSERT_TRUE(lower) << lower.message();
      EXPECT_EQ(lower->least, wordBytes == 1 ? 0x01U : 0x301U) << at;
      EXPECT_EQ(lower->most, least) << at;
    }
  }
}

// The least sizes that have an adaptive demosaic, whether other sizes are allowed or not.
TEST(HppConvert, IsAdaptiveFromFourRowsAndColumnsOn) {
  const std::map<std::uint32_t, std::pair<BgrConverter, BgrConverter>> converters = {
      {CAMUTL_PFNC_BAYER_GR8, {ConvByrGR8ToBGRACPI, ConvByrGR8ToBGR}},
      {CAMUTL_PFNC_BAYER_RG8, {ConvByrRG8ToBGRACPI, ConvByrRG8ToBGR}},
      {CAMUTL_PFNC_BAYER_GB8, {ConvByrGB8ToBGRACPI, ConvByrGB8ToBGR}},
      {CAMUTL_PFNC_BAYER_BG8, {ConvByrBG8ToBGRACPI, ConvByrBG8ToBGR}},
  };
  const std::pair<std::uint32_t, std::uint32_t> sizes[] = {{4, 4}, {4, 6}, {6, 4}, {32, 4}, {4, 32}};
  for (const auto &[code, functions] : converters) {
    for (const auto &[width, height] : sizes) {
      SCOPED_TRACE(std::to_string(code) + " " + std::to_string(width) + "x" + std::to_string(height));
      std::minstd_rand generator(width * 31 + height);
      Buffer bytes(std::size_t{width} * height);
      for (std::uint8_t &byte : bytes) byte = static_cast<std::uint8_t>(generator() >> 8);
      Buffer adaptive(3 * bytes.size()), standard(3 * bytes.size());
      ASSERT_EQ(functions.first(adaptive.data(), bytes.data(), width, height), CAMUTL_STS_SUCCESS);
      ASSERT_EQ(functions.second(standard.data(), bytes.data(), width, height), CAMUTL_STS_SUCCESS);
      ASSERT_NE(adaptive, standard);
      for (const bool anySize : {false, true}) {
        Buffer pixels(3 * bytes.size());
        ASSERT_EQ(
            kivo::convertTo(pixels.data(), pixels.size(), {bytes.data(), bytes.size(), code, width, height},
                            {kivo::Bayer::Acpi, kivo::Output::Bgr, anySize}),
            Errc::Ok);
        EXPECT_EQ(pixels, adaptive);
      }
    }
  }
}

TEST(HppBytes, HaveTheSizeThatWasAskedFor) {
  kivo::Bytes bytes;
  EXPECT_EQ(bytes.size(), 0U);
  EXPECT_EQ(bytes.data(), nullptr);
  EXPECT_EQ(bytes.begin(), bytes.end());
  ASSERT_TRUE(bytes.allocate(5));
  EXPECT_EQ(bytes.size(), 5U);
  EXPECT_EQ(bytes.end() - bytes.begin(), 5);
  // No bytes are not the same as no memory: they have an address.
  ASSERT_TRUE(bytes.allocate(0));
  EXPECT_EQ(bytes.size(), 0U);
  EXPECT_NE(bytes.data(), nullptr);
  EXPECT_EQ(bytes.begin(), bytes.end());
  ASSERT_TRUE(bytes.allocate(7));
  const std::uint8_t *const first = bytes.data();
  kivo::Bytes moved(std::move(bytes));
  EXPECT_EQ(moved.data(), first);
  EXPECT_EQ(moved.size(), 7U);
  EXPECT_EQ(bytes.size(), 0U);  // NOLINT(bugprone-use-after-move): what a move leaves behind is documented
  EXPECT_EQ(bytes.data(), nullptr);
  EXPECT_FALSE(moved.allocate(static_cast<std::size_t>(-1)));
  EXPECT_EQ(moved.size(), 0U);
  EXPECT_EQ(moved.data(), nullptr);
}

}  // namespace
