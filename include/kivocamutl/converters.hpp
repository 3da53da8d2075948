// SPDX-License-Identifier: Apache-2.0
/**
 * @file converters.hpp
 * Part of KivoCamUtl.hpp: which of the library's converters takes a format.
 */
#ifndef KIVOCAMUTL_CONVERTERS_HPP
#define KIVOCAMUTL_CONVERTERS_HPP

#include <KivoCamUtl.h>
#include <kivocamutl/formats.hpp>

#include <cstdint>

namespace kivo {
#pragma GCC visibility push(hidden)
inline namespace v1 {
namespace detail {

struct Converters {
  std::uint32_t code;
  BgraConverter bgra;
  BgrConverter bgr;
};

inline constexpr Converters kStandard[] = {
    {CAMUTL_PFNC_MONO8, ConvMono8ToBGRA, ConvMono8ToBGR},
    {CAMUTL_PFNC_MONO10, ConvMono10ToBGRA, ConvMono10ToBGR},
    {CAMUTL_PFNC_MONO12, ConvMono12ToBGRA, ConvMono12ToBGR},
    {CAMUTL_PFNC_MONO16, ConvMono16ToBGRA, ConvMono16ToBGR},
    {CAMUTL_PFNC_BAYER_GR8, ConvByrGR8ToBGRA, ConvByrGR8ToBGR},
    {CAMUTL_PFNC_BAYER_RG8, ConvByrRG8ToBGRA, ConvByrRG8ToBGR},
    {CAMUTL_PFNC_BAYER_GB8, ConvByrGB8ToBGRA, ConvByrGB8ToBGR},
    {CAMUTL_PFNC_BAYER_BG8, ConvByrBG8ToBGRA, ConvByrBG8ToBGR},
    {CAMUTL_PFNC_BAYER_GR10, ConvByrGR10ToBGRA, ConvByrGR10ToBGR},
    {CAMUTL_PFNC_BAYER_RG10, ConvByrRG10ToBGRA, ConvByrRG10ToBGR},
    {CAMUTL_PFNC_BAYER_GB10, ConvByrGB10ToBGRA, ConvByrGB10ToBGR},
    {CAMUTL_PFNC_BAYER_BG10, ConvByrBG10ToBGRA, ConvByrBG10ToBGR},
    {CAMUTL_PFNC_BAYER_GR12, ConvByrGR12ToBGRA, ConvByrGR12ToBGR},
    {CAMUTL_PFNC_BAYER_RG12, ConvByrRG12ToBGRA, ConvByrRG12ToBGR},
    {CAMUTL_PFNC_BAYER_GB12, ConvByrGB12ToBGRA, ConvByrGB12ToBGR},
    {CAMUTL_PFNC_BAYER_BG12, ConvByrBG12ToBGRA, ConvByrBG12ToBGR},
    {CAMUTL_PFNC_RGB8, ConvRGB8PToBGRA, ConvRGB8PToBGR},
    {CAMUTL_PFNC_BGR8, ConvBGR8PToBGRA, ConvBGR8PToBGR},
    {CAMUTL_PFNC_RGB10, ConvRGB10PToBGRA, ConvRGB10PToBGR},
    {CAMUTL_PFNC_BGR10, ConvBGR10PToBGRA, ConvBGR10PToBGR},
    {CAMUTL_PFNC_RGB12, ConvRGB12PToBGRA, ConvRGB12PToBGR},
    {CAMUTL_PFNC_BGR12, ConvBGR12PToBGRA, ConvBGR12PToBGR},
    {CAMUTL_PFNC_YUV411_8_UYYVYY, ConvYUV411PToBGRA, ConvYUV411PToBGR},
    {CAMUTL_PFNC_YUV422_8_UYVY, ConvYUV422PToBGRA, ConvYUV422PToBGR},
    {CAMUTL_PFNC_YUV8_UYV, ConvYUV444PToBGRA, ConvYUV444PToBGR},
};

inline constexpr Converters kAcpi[] = {
    {CAMUTL_PFNC_BAYER_GR8, ConvByrGR8ToBGRAACPI, ConvByrGR8ToBGRACPI},
    {CAMUTL_PFNC_BAYER_RG8, ConvByrRG8ToBGRAACPI, ConvByrRG8ToBGRACPI},
    {CAMUTL_PFNC_BAYER_GB8, ConvByrGB8ToBGRAACPI, ConvByrGB8ToBGRACPI},
    {CAMUTL_PFNC_BAYER_BG8, ConvByrBG8ToBGRAACPI, ConvByrBG8ToBGRACPI},
};

/** Converters that take the shift from the caller. */
struct ShiftConverters {
  Family family;
  BayerOrder order;
  bool blueFirst;
  decltype(&ConvMonoNToBGRA) bgra;
  decltype(&ConvMonoNToBGR) bgr;
};

inline constexpr ShiftConverters kShift[] = {
    {Family::Mono, BayerOrder::None, false, ConvMonoNToBGRA, ConvMonoNToBGR},
    {Family::Bayer, BayerOrder::GR, false, ConvByrGRNToBGRA, ConvByrGRNToBGR},
    {Family::Bayer, BayerOrder::RG, false, ConvByrRGNToBGRA, ConvByrRGNToBGR},
    {Family::Bayer, BayerOrder::GB, false, ConvByrGBNToBGRA, ConvByrGBNToBGR},
    {Family::Bayer, BayerOrder::BG, false, ConvByrBGNToBGRA, ConvByrBGNToBGR},
    {Family::Rgb, BayerOrder::None, false, ConvRGBNToBGRA, ConvRGBNToBGR},
    {Family::Rgb, BayerOrder::None, true, ConvBGRNToBGRA, ConvBGRNToBGR},
};

/**
 * The exported converter for a format of plain samples, and how to call it.
 *
 * It is the function itself, not what GetBGRAConverter() gives: that one depends on the library-wide Bayer
 * mode and leaves out RGB10 and RGB12.
 */
class Conversion {
 public:
  /** `adaptive`: by ACPI, which 8-bit Bayer formats have. `shift`: as ConvertOptions::shift. */
  Conversion(const Format &format, bool adaptive, int shift) noexcept {
    if (format.depth == 8 || shift < 0) findFixed(format.code, adaptive);
    if (found()) return;
    shift_ = shift < 0 ? format.depth - 8U : static_cast<unsigned>(shift);
    for (const ShiftConverters &row : kShift)
      if (row.family == format.family && row.order == format.order && row.blueFirst == format.blueFirst())
        byShift_ = &row;
  }

  bool found() const noexcept { return fixed_ != nullptr || byShift_ != nullptr; }

  CamUtlStatus operator()(std::uint32_t *dst, const std::uint8_t *src, std::uint32_t width,
                          std::uint32_t height) const noexcept {
    return fixed_ != nullptr ? fixed_->bgra(dst, src, width, height)
                             : byShift_->bgra(dst, src, width, height, shift_);
  }
  CamUtlStatus operator()(std::uint8_t *dst, const std::uint8_t *src, std::uint32_t width,
                          std::uint32_t height) const noexcept {
    return fixed_ != nullptr ? fixed_->bgr(dst, src, width, height)
                             : byShift_->bgr(dst, src, width, height, shift_);
  }

 private:
  void findFixed(std::uint32_t code, bool adaptive) noexcept {
    if (adaptive) {
      for (const Converters &row : kAcpi)
        if (row.code == code) fixed_ = &row;
    } else {
      for (const Converters &row : kStandard)
        if (row.code == code) fixed_ = &row;
    }
  }

  const Converters *fixed_ = nullptr;
  const ShiftConverters *byShift_ = nullptr;
  unsigned shift_ = 0;
};

/** The format whose pixels are the samples of a Bayer format of plain samples. */
constexpr const Format *greyOf(const Format &format) noexcept {
  for (const Format &grey : kFormats)
    if (grey.family == Family::Mono && grey.depth == format.depth && grey.packing == Packing::None)
      return &grey;
  return nullptr;
}

/** Prepares the lookup tables on the first call, once, whichever thread comes first. */
inline CamUtlStatus prepareTables() noexcept {
  static const CamUtlStatus status = PrepareLUT();
  return status;
}

}  // namespace detail
}  // namespace v1
#pragma GCC visibility pop
}  // namespace kivo

#endif  // KIVOCAMUTL_CONVERTERS_HPP
