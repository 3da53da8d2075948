// SPDX-License-Identifier: Apache-2.0
// The C++ layer: frames that it converts piece by piece give the pictures that the library makes of the
// whole. Source and destination end where the frame ends, on the heap, so that AddressSanitizer sees every
// byte too many.
#include <gtest/gtest.h>

#include <KivoCamUtl.hpp>
#include <cstring>
#include <iterator>
#include <random>
#include <string>
#include <vector>

namespace {

using kivo::ByteOrder;
using kivo::Errc;
using kivo::FrameView;

using Buffer = std::vector<std::uint8_t>;
using Words = std::vector<std::uint32_t>;

struct Size {
  std::uint32_t width, height;
};

// A frame of noise; `gap` bytes from the end of a row to the next one, -1 for rows without a beginning of
// their own where samples share bytes.
class Noise {
 public:
  Noise(const kivo::Format &format, Size size, ByteOrder order, int gap) {
    const std::size_t row = static_cast<std::size_t>(kivo::rowBytes(format, size.width));
    const std::size_t stride = gap < 0 ? 0 : row + static_cast<std::size_t>(gap);
    bytes_.resize(gap < 0 ? static_cast<std::size_t>(kivo::frameBytes(format, size.width, size.height))
                          : stride * (size.height - 1) + row);
    std::minstd_rand generator(size.width * 31 + size.height);
    for (std::uint8_t &byte : bytes_) byte = static_cast<std::uint8_t>(generator() >> 8);
    view_ = {bytes_.data(), bytes_.size(), format.code, size.width, size.height, stride, order};
  }
  const FrameView &view() const { return view_; }

 private:
  Buffer bytes_;
  FrameView view_;
};

void expectPicturesOfTheWhole(const FrameView &view, const kivo::ConvertOptions &options) {
  const kivo::Format &format = *kivo::findFormat(view.format);
  SCOPED_TRACE(std::string(format.name) + " " + std::to_string(view.width) + "x" +
               std::to_string(view.height) + ", stride " + std::to_string(view.stride));
  const auto plain = kivo::unpack(view);
  ASSERT_TRUE(plain) << plain.message();
  const std::size_t pixels = std::size_t{view.width} * view.height;
  Words bgra(pixels), wholeBgra(pixels);
  ASSERT_EQ(kivo::convertTo(wholeBgra.data(), pixels, plain->view(), options), Errc::Ok);
  ASSERT_EQ(kivo::convertTo(bgra.data(), pixels, view, options), Errc::Ok);
  EXPECT_TRUE(bgra == wholeBgra);
  Buffer bgr(3 * pixels), wholeBgr(3 * pixels);
  ASSERT_EQ(kivo::convertTo(wholeBgr.data(), 3 * pixels, plain->view(), options), Errc::Ok);
  ASSERT_EQ(kivo::convertTo(bgr.data(), 3 * pixels, view, options), Errc::Ok);
  EXPECT_TRUE(bgr == wholeBgr);
}

// Around the ends of bands, and with a last band of a single row. Nothing about them depends on the order of
// the colours: one order has all sizes, the others two.
constexpr Size kMosaics[] = {{642, 206}, {643, 203}, {642, 204}, {642, 205},  {641, 409},  {640, 614},
                             {4098, 33}, {4098, 64}, {4097, 67}, {16390, 34}, {2, 131080}, {1, 131077}};

std::vector<Size> sizesFor(const kivo::Format &format) {
  const std::size_t count = format.order == kivo::BayerOrder::RG ? std::size(kMosaics) : 2;
  return {kMosaics, kMosaics + count};
}

TEST(HppPieces, MosaicsThatShareBytes) {
  for (const kivo::Format &format : kivo::kFormats)
    if (format.isBayer() && format.packing != kivo::Packing::None)
      for (const Size size : sizesFor(format))
        for (const int gap : {-1, 7})
          expectPicturesOfTheWhole(Noise(format, size, ByteOrder::Little, gap).view(),
                                   {kivo::Bayer::Standard, kivo::Output::Bgra, true});
}

TEST(HppPieces, MosaicsWithTheHighByteFirstOrGaps) {
  for (const kivo::Format &format : kivo::kFormats)
    if (format.isBayer() && format.packing == kivo::Packing::None && format.wordBytes == 2)
      for (const Size size : sizesFor(format)) {
        kivo::ConvertOptions options;
        options.anyBayerSize = true;
        expectPicturesOfTheWhole(Noise(format, size, ByteOrder::Big, 0).view(), options);
        options.shift = 3;
        expectPicturesOfTheWhole(Noise(format, size, ByteOrder::Little, 6).view(), options);
      }
}

TEST(HppPieces, MosaicsOfBytesWithGaps) {
  for (const kivo::Format &format : kivo::kFormats)
    if (format.isBayer() && format.depth == 8)
      for (const Size size :
           {Size{642, 206}, Size{643, 205}, Size{642, 205}, Size{643, 206}, Size{4, 4}, Size{4, 2}})
        for (const kivo::Bayer bayer : {kivo::Bayer::Standard, kivo::Bayer::Acpi, kivo::Bayer::Off})
          expectPicturesOfTheWhole(Noise(format, size, ByteOrder::Little, 3).view(),
                                   {bayer, kivo::Output::Bgra, true});
}

TEST(HppPieces, AdaptiveIsStandardWhereTheSizeIsOddOrSmall) {
  for (const kivo::Format &format : kivo::kFormats)
    if (format.isBayer() && format.depth == 8)
      for (const Size size :
           {Size{643, 205}, Size{642, 205}, Size{643, 206}, Size{2, 2}, Size{4, 2}, Size{2, 4}}) {
        const Noise noise(format, size, ByteOrder::Little, 0);
        const auto adaptive = kivo::convert(noise.view(), {kivo::Bayer::Acpi, kivo::Output::Bgra, true});
        const auto standard = kivo::convert(noise.view(), {kivo::Bayer::Standard, kivo::Output::Bgra, true});
        ASSERT_TRUE(adaptive && standard);
        EXPECT_EQ(std::memcmp(adaptive->row(0), standard->row(0), standard->pixels.size()), 0)
            << format.name << ' ' << size.width << 'x' << size.height;
      }
}

TEST(HppPieces, SamplesWithoutNeighbours) {
  for (const kivo::Format &format : kivo::kFormats) {
    if (format.family == kivo::Family::Yuv || format.wordBytes == 1) continue;
    if (format.isBayer() && format.order != kivo::BayerOrder::RG) continue;
    const bool plain = format.packing == kivo::Packing::None;
    for (const Size size : {Size{49152, 1}, Size{49151, 1}, Size{49157, 3}, Size{333, 300}})
      for (const int gap : {-1, 0, 9})
        expectPicturesOfTheWhole(Noise(format, size, plain ? ByteOrder::Big : ByteOrder::Little, gap).view(),
                                 {kivo::Bayer::Off});
  }
}

// Groups that the converters want wider; each row on its own is one piece.
TEST(HppPieces, GroupsOfPixels) {
  for (const kivo::Format &format : kivo::kFormats) {
    if (format.family != kivo::Family::Yuv) continue;
    for (const Size size : {Size{700, 300}, Size{49152, 1}, Size{49156, 2}})
      for (const int gap : {0, 5}) {
        SCOPED_TRACE(std::string(format.name) + " " + std::to_string(size.width) + " gap " +
                     std::to_string(gap));
        const Noise noise(format, size, ByteOrder::Little, gap);
        const auto bgra = kivo::convert(noise.view());
        const auto bgr = kivo::convert(noise.view(), {kivo::Bayer::Standard, kivo::Output::Bgr});
        ASSERT_TRUE(bgra && bgr);
        for (std::uint32_t y = 0; y < size.height; ++y)
          for (std::uint32_t x = 0; x < size.width; x += 28000) {
            const std::uint32_t width = size.width - x < 28000 ? size.width - x : 28000;
            const auto part = kivo::crop(noise.view(), {x, y, width, 1});
            ASSERT_TRUE(part) << part.message();
            const auto wide = kivo::convert(*part);
            const auto narrow = kivo::convert(*part, {kivo::Bayer::Standard, kivo::Output::Bgr});
            ASSERT_TRUE(wide && narrow);
            ASSERT_EQ(std::memcmp(bgra->pixel(x, y), wide->row(0), wide->pixels.size()), 0) << x << ", " << y;
            ASSERT_EQ(std::memcmp(bgr->pixel(x, y), narrow->row(0), narrow->pixels.size()), 0)
                << x << ", " << y;
          }
      }
  }
}

}  // namespace
