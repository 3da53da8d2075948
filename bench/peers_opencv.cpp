// SPDX-License-Identifier: Apache-2.0
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include "peers.h"

namespace KivoBench {
namespace {

// A matrix around a buffer. OpenCV has no read-only matrices; it writes to none that is only read here.
cv::Mat Wrap(const std::uint8_t *data, Geometry geometry, int type) {
  return cv::Mat(static_cast<int>(geometry.height), static_cast<int>(geometry.width), type,
                 const_cast<std::uint8_t *>(data));
}

Geometry Band(Geometry geometry, std::uint32_t rows) {
  return {geometry.width, rows};
}

Peer Convert(const std::string &how, int src_type, int dst_type, int code, bool same_job = true) {
  return {"OpenCV", how,
          [=](std::uint8_t *dst, const std::uint8_t *src, Geometry geometry) {
            cv::Mat out = Wrap(dst, geometry, dst_type);
            cv::cvtColor(Wrap(src, geometry, src_type), out, code);
          },
          same_job};
}

// Words to bytes by OpenCV's scaling, which rounds and saturates, then cvtColor.
Peer Narrow(const std::string &how, int channels, unsigned shift, int dst_type, int code) {
  return {"OpenCV", how, [=](std::uint8_t *dst, const std::uint8_t *src, Geometry geometry) {
            const auto samples = static_cast<std::size_t>(channels);
            ForBands(geometry, geometry.width * samples, [&](std::uint32_t y, std::uint32_t rows) {
              const std::size_t first = std::size_t{y} * geometry.width;
              const Geometry band = Band(geometry, rows);
              cv::Mat bytes = Wrap(Scratch(band.pixels() * samples), band, CV_MAKETYPE(CV_8U, channels));
              Wrap(src + 2 * first * samples, band, CV_MAKETYPE(CV_16U, channels))
                  .convertTo(bytes, CV_8U, 1.0 / (1 << shift));
              cv::Mat out =
                  Wrap(dst + first * static_cast<std::size_t>(CV_ELEM_SIZE(dst_type)), band, dst_type);
              cv::cvtColor(bytes, out, code);
            });
          }};
}

Peer NarrowMosaic(unsigned shift, int dst_type, int code) {
  return {"OpenCV", "convertTo + cvtColor; rounds",
          [=](std::uint8_t *dst, const std::uint8_t *src, Geometry geometry) {
            cv::Mat bytes = Wrap(Scratch(geometry.pixels()), geometry, CV_8UC1);
            Wrap(src, geometry, CV_16UC1).convertTo(bytes, CV_8U, 1.0 / (1 << shift));
            cv::Mat out = Wrap(dst, geometry, dst_type);
            cv::cvtColor(bytes, out, code);
          }};
}

Peer EdgeAwareToBgra() {
  return {"OpenCV", "demosaicing EA + cvtColor; another rule",
          [](std::uint8_t *dst, const std::uint8_t *src, Geometry geometry) {
            cv::Mat colours = Wrap(Scratch(geometry.pixels() * 3), geometry, CV_8UC3);
            cv::demosaicing(Wrap(src, geometry, CV_8UC1), colours, cv::COLOR_BayerBG2BGR_EA);
            cv::Mat out = Wrap(dst, geometry, CV_8UC4);
            cv::cvtColor(colours, out, cv::COLOR_BGR2BGRA);
          }};
}

Peer Yuv444(int dst_type) {
  return {"OpenCV", "mixChannels + cvtColor",
          [=](std::uint8_t *dst, const std::uint8_t *src, Geometry geometry) {
            ForBands(geometry, std::size_t{6} * geometry.width, [&](std::uint32_t y, std::uint32_t rows) {
              const std::size_t first = std::size_t{y} * geometry.width;
              const Geometry band = Band(geometry, rows);
              std::uint8_t *const scratch = Scratch(band.pixels() * 6);
              cv::Mat yuv = Wrap(scratch, band, CV_8UC3);
              const cv::Mat groups = Wrap(src + 4 * first, band, CV_8UC4);
              const int order[] = {1, 0, 0, 1, 2, 2};  // U Y V x to Y U V
              cv::mixChannels(&groups, 1, &yuv, 1, order, 3);
              if (dst_type == CV_8UC3) {
                cv::Mat out = Wrap(dst + 3 * first, band, CV_8UC3);
                cv::cvtColor(yuv, out, cv::COLOR_YUV2BGR);
              } else {
                cv::Mat colours = Wrap(scratch + band.pixels() * 3, band, CV_8UC3);
                cv::cvtColor(yuv, colours, cv::COLOR_YUV2BGR);
                cv::Mat out = Wrap(dst + 4 * first, band, CV_8UC4);
                cv::cvtColor(colours, out, cv::COLOR_BGR2BGRA);
              }
            });
          }};
}

// axis as cv::flip has it: 1 mirrors, 0 flips, -1 turns.
Peer Flip(const std::string &how, int type, std::uint32_t pixels_per_element, int axis) {
  return {"OpenCV", how,
          [=](std::uint8_t *dst, const std::uint8_t *src, Geometry geometry) {
            const Geometry elements{geometry.width / pixels_per_element, geometry.height};
            cv::Mat out = Wrap(dst, elements, type);
            cv::flip(Wrap(src, elements, type), out, axis);
          },
          pixels_per_element == 1 || axis == 0};
}

void AddReversals(PeerTable &table) {
  struct Unit {
    const char *name;
    int type;
    std::uint32_t pixels;
    const char *how;
  };
  const Unit units[] = {{"1byte", CV_8UC1, 1, "flip"},
                        {"2bytes", CV_16UC1, 1, "flip"},
                        {"3bytes", CV_8UC3, 1, "flip"},
                        {"6bytes", CV_16UC3, 1, "flip"},
                        {"yuv422", CV_8UC4, 2, "flip; leaves luma unswapped"},
                        {"yuv411", CV_16UC3, 4, "flip; leaves luma unswapped"}};
  for (const Unit &unit : units) {
    const auto add = [&](const char *direction, const char *how, int axis) {
      table[std::string("ReverseImg-") + direction + "-" + unit.name].push_back(
          Flip(how, unit.type, unit.pixels, axis));
    };
    add("mirror", unit.how, 1);
    add("halfturn", unit.how, -1);
    add("flip", "flip", 0);
  }
}

}  // namespace

void AddOpenCvPeers(PeerTable &table) {
  cv::setNumThreads(1);
  table["ConvMono8ToBGRA"].push_back(Convert("cvtColor", CV_8UC1, CV_8UC4, cv::COLOR_GRAY2BGRA));
  table["ConvMono8ToBGR"].push_back(Convert("cvtColor", CV_8UC1, CV_8UC3, cv::COLOR_GRAY2BGR));
  table["ConvRGB8PToBGRA"].push_back(Convert("cvtColor", CV_8UC3, CV_8UC4, cv::COLOR_RGB2BGRA));
  table["ConvRGB8PToBGR"].push_back(Convert("cvtColor", CV_8UC3, CV_8UC3, cv::COLOR_RGB2BGR));
  table["ConvBGR8PToBGRA"].push_back(Convert("cvtColor", CV_8UC3, CV_8UC4, cv::COLOR_BGR2BGRA));
  table["ConvBGR8PToBGR"].push_back(
      {"OpenCV", "copyTo", [](std::uint8_t *dst, const std::uint8_t *src, Geometry geometry) {
         cv::Mat out = Wrap(dst, geometry, CV_8UC3);
         Wrap(src, geometry, CV_8UC3).copyTo(out);
       }});
  table["ConvYUV422PToBGRA"].push_back(
      Convert("cvtColor; studio range", CV_8UC2, CV_8UC4, cv::COLOR_YUV2BGRA_UYVY));
  table["ConvYUV422PToBGR"].push_back(
      Convert("cvtColor; 4-byte groups, studio range", CV_8UC2, CV_8UC3, cv::COLOR_YUV2BGR_UYVY, false));
  table["ConvYUV444PToBGRA"].push_back(Yuv444(CV_8UC4));
  table["ConvYUV444PToBGR"].push_back(Yuv444(CV_8UC3));

  // OpenCV names a mosaic after its second row: its BG is RG here.
  table["ConvByrRG8ToBGRA"].push_back(Convert("cvtColor; rounds", CV_8UC1, CV_8UC4, cv::COLOR_BayerBG2BGRA));
  table["ConvByrRG8ToBGR"].push_back(Convert("cvtColor; rounds", CV_8UC1, CV_8UC3, cv::COLOR_BayerBG2BGR));
  table["ConvByrRG8ToBGRAACPI"].push_back(EdgeAwareToBgra());
  table["ConvByrRG8ToBGRACPI"].push_back(
      Convert("demosaicing EA; another rule", CV_8UC1, CV_8UC3, cv::COLOR_BayerBG2BGR_EA));
  for (const auto &[depth, shift] : {std::pair{"10", 2u}, std::pair{"12", 4u}}) {
    const std::string bits = depth;
    table["ConvByrRG" + bits + "ToBGRA"].push_back(NarrowMosaic(shift, CV_8UC4, cv::COLOR_BayerBG2BGRA));
    table["ConvByrRG" + bits + "ToBGR"].push_back(NarrowMosaic(shift, CV_8UC3, cv::COLOR_BayerBG2BGR));
    table["ConvRGB" + bits + "PToBGRA"].push_back(
        Narrow("convertTo + cvtColor; rounds", 3, shift, CV_8UC4, cv::COLOR_RGB2BGRA));
    table["ConvRGB" + bits + "PToBGR"].push_back(
        Narrow("convertTo + cvtColor; rounds", 3, shift, CV_8UC3, cv::COLOR_RGB2BGR));
  }
  for (const auto &[depth, shift] : {std::pair{"10", 2u}, std::pair{"12", 4u}, std::pair{"16", 8u}}) {
    const std::string bits = depth;
    table["ConvMono" + bits + "ToBGRA"].push_back(
        Narrow("convertTo + cvtColor; rounds", 1, shift, CV_8UC4, cv::COLOR_GRAY2BGRA));
    table["ConvMono" + bits + "ToBGR"].push_back(
        Narrow("convertTo + cvtColor; rounds", 1, shift, CV_8UC3, cv::COLOR_GRAY2BGR));
  }
  AddReversals(table);
}

}  // namespace KivoBench
