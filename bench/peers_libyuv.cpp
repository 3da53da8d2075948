// SPDX-License-Identifier: Apache-2.0
#include <libyuv.h>

#include "peers.h"

namespace KivoBench {
namespace {

// Most of libyuv's functions: source, its stride, destination, its stride, width, height. Some return an int.
template <class Function>
Peer Direct(const std::string &how, Function function, int src_pixel, int dst_pixel, int pixels_per_unit = 1,
            int height_sign = 1) {
  return {"libyuv", how,
          [=](std::uint8_t *dst, const std::uint8_t *src, Geometry geometry) {
            const int units = static_cast<int>(geometry.width) / pixels_per_unit;
            function(src, units * src_pixel, dst, units * dst_pixel, units,
                     height_sign * static_cast<int>(geometry.height));
          },
          pixels_per_unit == 1};
}

// 16384 keeps the upper 8 of 10 bits; libyuv saturates what lies above.
constexpr int NarrowScale(unsigned shift) {
  return 65536 >> shift;
}

// Words to bytes, then another function on those.
template <class Function>
Peer Narrow(const std::string &how, Function function, int channels, unsigned shift, int dst_pixel) {
  return {"libyuv", how, [=](std::uint8_t *dst, const std::uint8_t *src, Geometry geometry) {
            const int width = static_cast<int>(geometry.width);
            const int samples = width * channels;
            ForBands(geometry, static_cast<std::size_t>(samples), [&](std::uint32_t y, std::uint32_t rows) {
              const std::size_t row = static_cast<std::size_t>(samples);
              std::uint8_t *const bytes = Scratch(row * rows);
              const void *const words = src + 2 * row * y;
              libyuv::Convert16To8Plane(static_cast<const std::uint16_t *>(words), samples, bytes, samples,
                                        NarrowScale(shift), samples, static_cast<int>(rows));
              function(bytes, samples,
                       dst + std::size_t{y} * geometry.width * static_cast<std::size_t>(dst_pixel),
                       width * dst_pixel, width, static_cast<int>(rows));
            });
          }};
}

// Grey bytes to BGR: the same plane three times.
int GreyToRGB24(const std::uint8_t *src, int src_stride, std::uint8_t *dst, int dst_stride, int width,
                int height) {
  libyuv::MergeRGBPlane(src, src_stride, src, src_stride, src, src_stride, dst, dst_stride, width, height);
  return 0;
}

void NarrowPlane(std::uint8_t *dst, const std::uint8_t *src, Geometry geometry, unsigned shift) {
  const int samples = static_cast<int>(geometry.width) * 3;
  const void *const words = src;
  libyuv::Convert16To8Plane(static_cast<const std::uint16_t *>(words), samples, dst, samples,
                            NarrowScale(shift), samples, static_cast<int>(geometry.height));
}

// UYVY to three planes, then from those with full-range constants.
Peer Yuv422Planar(bool alpha) {
  return {"libyuv planar", "UYVYToI422 + I422To...Matrix; full range, planes",
          [=](std::uint8_t *dst, const std::uint8_t *src, Geometry geometry) {
            const int width = static_cast<int>(geometry.width);
            ForBands(geometry, std::size_t{2} * geometry.width, [&](std::uint32_t y, std::uint32_t rows) {
              const int height = static_cast<int>(rows);
              const std::size_t first = std::size_t{y} * geometry.width;
              const std::size_t pixels = std::size_t{rows} * geometry.width;
              std::uint8_t *const luma = Scratch(pixels * 2);
              std::uint8_t *const u = luma + pixels;
              std::uint8_t *const v = u + pixels / 2;
              libyuv::UYVYToI422(src + 2 * first, 2 * width, luma, width, u, width / 2, v, width / 2, width,
                                 height);
              if (alpha) {
                libyuv::I422ToARGBMatrix(luma, width, u, width / 2, v, width / 2, dst + 4 * first, 4 * width,
                                         &libyuv::kYuvJPEGConstants, width, height);
              } else {
                libyuv::I422ToRGB24Matrix(luma, width, u, width / 2, v, width / 2, dst + 3 * first, 3 * width,
                                          &libyuv::kYuvJPEGConstants, width, height);
              }
            });
          },
          alpha};
}

Peer Yuv422Packed() {
  return {"libyuv", "UYVYToARGB + ARGBToRGB24; 4-byte groups, studio range",
          [](std::uint8_t *dst, const std::uint8_t *src, Geometry geometry) {
            const int width = static_cast<int>(geometry.width);
            ForBands(geometry, std::size_t{4} * geometry.width, [&](std::uint32_t y, std::uint32_t rows) {
              const int height = static_cast<int>(rows);
              const std::size_t first = std::size_t{y} * geometry.width;
              std::uint8_t *const words = Scratch(std::size_t{4} * geometry.width * rows);
              libyuv::UYVYToARGB(src + 2 * first, 2 * width, words, 4 * width, width, height);
              libyuv::ARGBToRGB24(words, 4 * width, dst + 3 * first, 3 * width, width, height);
            });
          },
          false};
}

// The bytes of U Y V x groups to planes, then from those.
Peer Yuv444(bool alpha) {
  return {"libyuv", "SplitARGBPlane + I444ToARGBMatrix",
          [=](std::uint8_t *dst, const std::uint8_t *src, Geometry geometry) {
            const int width = static_cast<int>(geometry.width);
            ForBands(geometry, std::size_t{7} * geometry.width, [&](std::uint32_t y, std::uint32_t rows) {
              const int height = static_cast<int>(rows);
              const std::size_t first = std::size_t{y} * geometry.width;
              const std::size_t pixels = std::size_t{rows} * geometry.width;
              std::uint8_t *const u = Scratch(pixels * 8);
              std::uint8_t *const luma = u + pixels;
              std::uint8_t *const v = luma + pixels;
              std::uint8_t *const rest = v + pixels;
              // In libyuv's order: red from byte 2, green from byte 1, blue from byte 0, alpha from byte 3.
              libyuv::SplitARGBPlane(src + 4 * first, 4 * width, v, width, luma, width, u, width, rest, width,
                                     width, height);
              std::uint8_t *const words = alpha ? dst + 4 * first : rest + pixels;
              libyuv::I444ToARGBMatrix(luma, width, u, width, v, width, words, 4 * width,
                                       &libyuv::kYuvJPEGConstants, width, height);
              if (!alpha) libyuv::ARGBToRGB24(words, 4 * width, dst + 3 * first, 3 * width, width, height);
            });
          }};
}

void AddReversals(PeerTable &table) {
  // A negative height turns the source upside down.
  for (const auto &[direction, sign] : {std::pair{"mirror", 1}, std::pair{"halfturn", -1}}) {
    const std::string name = std::string("ReverseImg-") + direction;
    table[name + "-1byte"].push_back(Direct("MirrorPlane", libyuv::MirrorPlane, 1, 1, 1, sign));
    table[name + "-2bytes"].push_back(Direct("MirrorUVPlane", libyuv::MirrorUVPlane, 2, 2, 1, sign));
    table[name + "-3bytes"].push_back(Direct("RGB24Mirror", libyuv::RGB24Mirror, 3, 3, 1, sign));
    table[name + "-yuv422"].push_back(
        Direct("ARGBMirror; leaves luma unswapped", libyuv::ARGBMirror, 4, 4, 2, sign));
  }
  const auto copy = [](int src_pixel, int sign) {
    return Peer{"libyuv", "CopyPlane", [=](std::uint8_t *dst, const std::uint8_t *src, Geometry geometry) {
                  const int row = static_cast<int>(geometry.width) * src_pixel;
                  libyuv::CopyPlane(src, row, dst, row, row, sign * static_cast<int>(geometry.height));
                }};
  };
  for (const auto &[unit, bytes] : {std::pair{"1byte", 1}, std::pair{"2bytes", 2}, std::pair{"3bytes", 3},
                                    std::pair{"6bytes", 6}, std::pair{"yuv422", 2}}) {
    table[std::string("ReverseImg-copy-") + unit].push_back(copy(bytes, 1));
    table[std::string("ReverseImg-flip-") + unit].push_back(copy(bytes, -1));
  }
}

}  // namespace

void AddLibyuvPeers(PeerTable &table) {
  table["ConvMono8ToBGRA"].push_back(Direct("J400ToARGB", libyuv::J400ToARGB, 1, 4));
  table["ConvMono8ToBGR"].push_back(Direct("MergeRGBPlane", GreyToRGB24, 1, 3));
  table["ConvRGB8PToBGRA"].push_back(Direct("RAWToARGB", libyuv::RAWToARGB, 3, 4));
  table["ConvBGR8PToBGRA"].push_back(Direct("RGB24ToARGB", libyuv::RGB24ToARGB, 3, 4));
  table["ConvRGB8PToBGR"].push_back(Direct("RAWToRGB24", libyuv::RAWToRGB24, 3, 3));
  table["ConvYUV422PToBGRA"].push_back(Direct("UYVYToARGB; studio range", libyuv::UYVYToARGB, 2, 4));
  table["ConvYUV422PToBGRA"].push_back(Yuv422Planar(true));
  table["ConvYUV422PToBGR"].push_back(Yuv422Packed());
  table["ConvYUV422PToBGR"].push_back(Yuv422Planar(false));
  table["ConvYUV444PToBGRA"].push_back(Yuv444(true));
  table["ConvYUV444PToBGR"].push_back(Yuv444(false));

  for (const auto &[depth, shift] : {std::pair{"10", 2u}, std::pair{"12", 4u}, std::pair{"16", 8u}}) {
    const std::string bits = depth;
    table["ConvMono" + bits + "ToBGRA"].push_back(
        Narrow("Convert16To8Plane + J400ToARGB", libyuv::J400ToARGB, 1, shift, 4));
    table["ConvMono" + bits + "ToBGR"].push_back(
        Narrow("Convert16To8Plane + MergeRGBPlane", GreyToRGB24, 1, shift, 3));
  }
  for (const auto &[depth, shift] : {std::pair{"10", 2u}, std::pair{"12", 4u}}) {
    const std::string bits = depth;
    const unsigned by = shift;
    table["ConvRGB" + bits + "PToBGRA"].push_back(
        Narrow("Convert16To8Plane + RAWToARGB", libyuv::RAWToARGB, 3, by, 4));
    table["ConvBGR" + bits + "PToBGRA"].push_back(
        Narrow("Convert16To8Plane + RGB24ToARGB", libyuv::RGB24ToARGB, 3, by, 4));
    table["ConvRGB" + bits + "PToBGR"].push_back(
        Narrow("Convert16To8Plane + RAWToRGB24", libyuv::RAWToRGB24, 3, by, 3));
    table["ConvBGR" + bits + "PToBGR"].push_back(
        {"libyuv", "Convert16To8Plane", [by](std::uint8_t *dst, const std::uint8_t *src, Geometry geometry) {
           NarrowPlane(dst, src, geometry, by);
         }});
  }
  AddReversals(table);
}

}  // namespace KivoBench
