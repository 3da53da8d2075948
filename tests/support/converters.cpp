// SPDX-License-Identifier: Apache-2.0
#include "support/converters.h"

namespace KivoTest {

CamUtlStatus Converter::operator()(void *dst, const void *src, std::uint32_t width, std::uint32_t height,
                                   std::uint32_t shift_argument) const {
  const std::uint8_t *const bytes = static_cast<const std::uint8_t *>(src);
  switch (function.index()) {
    case 0:
      return std::get<0>(function)(static_cast<std::uint32_t *>(dst), bytes, width, height);
    case 1:
      return std::get<1>(function)(static_cast<std::uint8_t *>(dst), bytes, width, height);
    case 2:
      return std::get<2>(function)(static_cast<std::uint32_t *>(dst), bytes, width, height, shift_argument);
    default:
      return std::get<3>(function)(static_cast<std::uint8_t *>(dst), bytes, width, height, shift_argument);
  }
}

const std::vector<Converter> &AllConverters() {
  static const std::vector<Converter> converters{
      {"ConvMono8ToBGRA", Family::kMonoRgb8, Layout::kMono, Order::kGR, 0, true, ConvMono8ToBGRA},
      {"ConvRGB8PToBGRA", Family::kMonoRgb8, Layout::kRgb, Order::kGR, 0, false, ConvRGB8PToBGRA},
      {"ConvBGR8PToBGRA", Family::kMonoRgb8, Layout::kBgr, Order::kGR, 0, false, ConvBGR8PToBGRA},
      {"ConvMono8ToBGR", Family::kMonoRgb8, Layout::kMono, Order::kGR, 0, false, ConvMono8ToBGR},
      {"ConvRGB8PToBGR", Family::kMonoRgb8, Layout::kRgb, Order::kGR, 0, false, ConvRGB8PToBGR},
      {"ConvBGR8PToBGR", Family::kMonoRgb8, Layout::kBgr, Order::kGR, 0, false, ConvBGR8PToBGR},
      {"ConvYUV411PToBGRA", Family::kYuv8, Layout::kYuv411, Order::kGR, 0, true, ConvYUV411PToBGRA},
      {"ConvYUV422PToBGRA", Family::kYuv8, Layout::kYuv422, Order::kGR, 0, true, ConvYUV422PToBGRA},
      {"ConvYUV444PToBGRA", Family::kYuv8, Layout::kYuv444, Order::kGR, 0, true, ConvYUV444PToBGRA},
      {"ConvYUV411PToBGR", Family::kYuv8, Layout::kYuv411, Order::kGR, 0, true, ConvYUV411PToBGR},
      {"ConvYUV422PToBGR", Family::kYuv8, Layout::kYuv422, Order::kGR, 0, true, ConvYUV422PToBGR},
      {"ConvYUV444PToBGR", Family::kYuv8, Layout::kYuv444, Order::kGR, 0, true, ConvYUV444PToBGR},
      {"ConvByrGR8ToBGRA", Family::kBayer8, Layout::kBayer, Order::kGR, 0, false, ConvByrGR8ToBGRA},
      {"ConvByrRG8ToBGRA", Family::kBayer8, Layout::kBayer, Order::kRG, 0, false, ConvByrRG8ToBGRA},
      {"ConvByrGB8ToBGRA", Family::kBayer8, Layout::kBayer, Order::kGB, 0, false, ConvByrGB8ToBGRA},
      {"ConvByrBG8ToBGRA", Family::kBayer8, Layout::kBayer, Order::kBG, 0, false, ConvByrBG8ToBGRA},
      {"ConvByrGR8ToBGR", Family::kBayer8, Layout::kBayer, Order::kGR, 0, false, ConvByrGR8ToBGR},
      {"ConvByrRG8ToBGR", Family::kBayer8, Layout::kBayer, Order::kRG, 0, false, ConvByrRG8ToBGR},
      {"ConvByrGB8ToBGR", Family::kBayer8, Layout::kBayer, Order::kGB, 0, false, ConvByrGB8ToBGR},
      {"ConvByrBG8ToBGR", Family::kBayer8, Layout::kBayer, Order::kBG, 0, false, ConvByrBG8ToBGR},
      {"ConvByrGR8ToBGRAACPI", Family::kAcpi8, Layout::kBayer, Order::kGR, 0, false, ConvByrGR8ToBGRAACPI},
      {"ConvByrRG8ToBGRAACPI", Family::kAcpi8, Layout::kBayer, Order::kRG, 0, false, ConvByrRG8ToBGRAACPI},
      {"ConvByrGB8ToBGRAACPI", Family::kAcpi8, Layout::kBayer, Order::kGB, 0, false, ConvByrGB8ToBGRAACPI},
      {"ConvByrBG8ToBGRAACPI", Family::kAcpi8, Layout::kBayer, Order::kBG, 0, false, ConvByrBG8ToBGRAACPI},
      {"ConvByrGR8ToBGRACPI", Family::kAcpi8, Layout::kBayer, Order::kGR, 0, false, ConvByrGR8ToBGRACPI},
      {"ConvByrRG8ToBGRACPI", Family::kAcpi8, Layout::kBayer, Order::kRG, 0, false, ConvByrRG8ToBGRACPI},
      {"ConvByrGB8ToBGRACPI", Family::kAcpi8, Layout::kBayer, Order::kGB, 0, false, ConvByrGB8ToBGRACPI},
      {"ConvByrBG8ToBGRACPI", Family::kAcpi8, Layout::kBayer, Order::kBG, 0, false, ConvByrBG8ToBGRACPI},
      {"ConvMonoNToBGRA", Family::kMonoRgb16, Layout::kMono, Order::kGR, kAnyShift, true, ConvMonoNToBGRA},
      {"ConvRGBNToBGRA", Family::kMonoRgb16, Layout::kRgb, Order::kGR, kAnyShift, false, ConvRGBNToBGRA},
      {"ConvBGRNToBGRA", Family::kMonoRgb16, Layout::kBgr, Order::kGR, kAnyShift, false, ConvBGRNToBGRA},
      {"ConvMono10ToBGRA", Family::kMonoRgb16, Layout::kMono, Order::kGR, 2, true, ConvMono10ToBGRA},
      {"ConvMono12ToBGRA", Family::kMonoRgb16, Layout::kMono, Order::kGR, 4, true, ConvMono12ToBGRA},
      {"ConvMono16ToBGRA", Family::kMonoRgb16, Layout::kMono, Order::kGR, 8, true, ConvMono16ToBGRA},
      {"ConvRGB10PToBGRA", Family::kMonoRgb16, Layout::kRgb, Order::kGR, 2, false, ConvRGB10PToBGRA},
      {"ConvRGB12PToBGRA", Family::kMonoRgb16, Layout::kRgb, Order::kGR, 4, false, ConvRGB12PToBGRA},
      {"ConvBGR10PToBGRA", Family::kMonoRgb16, Layout::kBgr, Order::kGR, 2, false, ConvBGR10PToBGRA},
      {"ConvBGR12PToBGRA", Family::kMonoRgb16, Layout::kBgr, Order::kGR, 4, false, ConvBGR12PToBGRA},
      {"ConvMonoNToBGR", Family::kMonoRgb16, Layout::kMono, Order::kGR, kAnyShift, false, ConvMonoNToBGR},
      {"ConvRGBNToBGR", Family::kMonoRgb16, Layout::kRgb, Order::kGR, kAnyShift, false, ConvRGBNToBGR},
      {"ConvBGRNToBGR", Family::kMonoRgb16, Layout::kBgr, Order::kGR, kAnyShift, false, ConvBGRNToBGR},
      {"ConvMono10ToBGR", Family::kMonoRgb16, Layout::kMono, Order::kGR, 2, false, ConvMono10ToBGR},
      {"ConvMono12ToBGR", Family::kMonoRgb16, Layout::kMono, Order::kGR, 4, false, ConvMono12ToBGR},
      {"ConvMono16ToBGR", Family::kMonoRgb16, Layout::kMono, Order::kGR, 8, false, ConvMono16ToBGR},
      {"ConvRGB10PToBGR", Family::kMonoRgb16, Layout::kRgb, Order::kGR, 2, false, ConvRGB10PToBGR},
      {"ConvRGB12PToBGR", Family::kMonoRgb16, Layout::kRgb, Order::kGR, 4, false, ConvRGB12PToBGR},
      {"ConvBGR10PToBGR", Family::kMonoRgb16, Layout::kBgr, Order::kGR, 2, false, ConvBGR10PToBGR},
      {"ConvBGR12PToBGR", Family::kMonoRgb16, Layout::kBgr, Order::kGR, 4, false, ConvBGR12PToBGR},
      {"ConvByrGRNToBGRA", Family::kBayer16, Layout::kBayer, Order::kGR, kAnyShift, false, ConvByrGRNToBGRA},
      {"ConvByrGR10ToBGRA", Family::kBayer16, Layout::kBayer, Order::kGR, 2, false, ConvByrGR10ToBGRA},
      {"ConvByrGR12ToBGRA", Family::kBayer16, Layout::kBayer, Order::kGR, 4, false, ConvByrGR12ToBGRA},
      {"ConvByrRGNToBGRA", Family::kBayer16, Layout::kBayer, Order::kRG, kAnyShift, false, ConvByrRGNToBGRA},
      {"ConvByrRG10ToBGRA", Family::kBayer16, Layout::kBayer, Order::kRG, 2, false, ConvByrRG10ToBGRA},
      {"ConvByrRG12ToBGRA", Family::kBayer16, Layout::kBayer, Order::kRG, 4, false, ConvByrRG12ToBGRA},
      {"ConvByrGBNToBGRA", Family::kBayer16, Layout::kBayer, Order::kGB, kAnyShift, false, ConvByrGBNToBGRA},
      {"ConvByrGB10ToBGRA", Family::kBayer16, Layout::kBayer, Order::kGB, 2, false, ConvByrGB10ToBGRA},
      {"ConvByrGB12ToBGRA", Family::kBayer16, Layout::kBayer, Order::kGB, 4, false, ConvByrGB12ToBGRA},
      {"ConvByrBGNToBGRA", Family::kBayer16, Layout::kBayer, Order::kBG, kAnyShift, false, ConvByrBGNToBGRA},
      {"ConvByrBG10ToBGRA", Family::kBayer16, Layout::kBayer, Order::kBG, 2, false, ConvByrBG10ToBGRA},
      {"ConvByrBG12ToBGRA", Family::kBayer16, Layout::kBayer, Order::kBG, 4, false, ConvByrBG12ToBGRA},
      {"ConvByrGRNToBGR", Family::kBayer16, Layout::kBayer, Order::kGR, kAnyShift, false, ConvByrGRNToBGR},
      {"ConvByrGR10ToBGR", Family::kBayer16, Layout::kBayer, Order::kGR, 2, false, ConvByrGR10ToBGR},
      {"ConvByrGR12ToBGR", Family::kBayer16, Layout::kBayer, Order::kGR, 4, false, ConvByrGR12ToBGR},
      {"ConvByrRGNToBGR", Family::kBayer16, Layout::kBayer, Order::kRG, kAnyShift, false, ConvByrRGNToBGR},
      {"ConvByrRG10ToBGR", Family::kBayer16, Layout::kBayer, Order::kRG, 2, false, ConvByrRG10ToBGR},
      {"ConvByrRG12ToBGR", Family::kBayer16, Layout::kBayer, Order::kRG, 4, false, ConvByrRG12ToBGR},
      {"ConvByrGBNToBGR", Family::kBayer16, Layout::kBayer, Order::kGB, kAnyShift, false, ConvByrGBNToBGR},
      {"ConvByrGB10ToBGR", Family::kBayer16, Layout::kBayer, Order::kGB, 2, false, ConvByrGB10ToBGR},
      {"ConvByrGB12ToBGR", Family::kBayer16, Layout::kBayer, Order::kGB, 4, false, ConvByrGB12ToBGR},
      {"ConvByrBGNToBGR", Family::kBayer16, Layout::kBayer, Order::kBG, kAnyShift, false, ConvByrBGNToBGR},
      {"ConvByrBG10ToBGR", Family::kBayer16, Layout::kBayer, Order::kBG, 2, false, ConvByrBG10ToBGR},
      {"ConvByrBG12ToBGR", Family::kBayer16, Layout::kBayer, Order::kBG, 4, false, ConvByrBG12ToBGR},
  };
  return converters;
}

std::size_t SourceBytes(const Converter &converter, std::uint32_t width, std::uint32_t height) {
  const std::size_t pixels = std::size_t{width} * height;
  const std::size_t sample = converter.is_wide() ? 2 : 1;
  switch (converter.layout) {
    case Layout::kMono:
    case Layout::kBayer:
      return pixels * sample;
    case Layout::kRgb:
    case Layout::kBgr:
      return pixels * 3 * sample;
    case Layout::kYuv411:
      return pixels / 4 * 6;
    case Layout::kYuv422: {
      // To BGR a group is five bytes apart, and the fifth byte of none is read.
      const std::size_t groups = pixels / 2;
      if (converter.output() == Output::kBgra) return groups * 4;
      return groups == 0 ? 0 : groups * 5 - 1;
    }
    case Layout::kYuv444:
      return pixels == 0 ? 0 : pixels * 4 - 1;
  }
  return 0;
}

std::size_t DestinationBytes(const Converter &converter, std::uint32_t width, std::uint32_t height) {
  return std::size_t{width} * height * converter.pixel_bytes();
}

}  // namespace KivoTest
