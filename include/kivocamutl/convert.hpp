// SPDX-License-Identifier: Apache-2.0
/**
 * @file convert.hpp
 * Part of KivoCamUtl.hpp: raw frames to pictures, and reversed frames.
 */
#ifndef KIVOCAMUTL_CONVERT_HPP
#define KIVOCAMUTL_CONVERT_HPP

#include <KivoCamUtl.h>
#include <kivocamutl/unpack.hpp>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <utility>

namespace kivo {

/** The pixels of a picture. */
enum class Output : std::uint8_t {
  Bgra = 4,  ///< 4 bytes B, G, R, 255.
  Bgr = 3,   ///< 3 bytes B, G, R.
};

/** A converted picture: packed rows from the top, pixels of 4 bytes B, G, R, 255 or of 3 bytes B, G, R. */
struct Image {
  Bytes pixels;                ///< width * height * channels() bytes.
  std::uint32_t width = 0;     ///< Pixels a row.
  std::uint32_t height = 0;    ///< Rows.
  Output kind = Output::Bgra;  ///< What a pixel is.

  /** Bytes of a pixel, 3 or 4. */
  std::size_t channels() const noexcept { return static_cast<std::size_t>(kind); }
  /** The first byte of row `y`. */
  const std::uint8_t *row(std::uint32_t y) const noexcept {
    return pixels.data() + static_cast<std::size_t>(y) * width * channels();
  }
  /** The first byte of a pixel. */
  const std::uint8_t *pixel(std::uint32_t x, std::uint32_t y) const noexcept {
    return row(y) + x * channels();
  }
};

/** What to make of Bayer frames; other formats ignore it. */
enum class Bayer : std::uint8_t {
  Standard,  ///< Means of the nearest samples.
  Acpi,      ///< Adaptive colour plane interpolation, 8-bit formats only.
  Off,       ///< The mosaic as a grey picture.
};

/** How convert() converts. */
struct ConvertOptions {
  /** What to make of Bayer frames. */
  Bayer bayer = Bayer::Standard;
  /** The pixels of the picture. */
  Output output = Output::Bgra;
  /**
   * Also demosaic frames of odd or very small size: the same neighbourhood rule with the samples there are;
   * ACPI then gives the standard demosaic where the size is odd or below 4.
   */
  bool anyBayerSize = false;
  /**
   * Bits that samples of more than 8 bits lose at their lower end, 0 to 15, before their low byte is taken:
   * what is above wraps. -1: depth - 8, which fits the nominal range of the format.
   */
  int shift = -1;
};

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
  char first;  // of the format's name, which tells RGB from BGR
  decltype(&ConvMonoNToBGRA) bgra;
  decltype(&ConvMonoNToBGR) bgr;
};

inline constexpr ShiftConverters kShift[] = {
    {Family::Mono, BayerOrder::None, 'M', ConvMonoNToBGRA, ConvMonoNToBGR},
    {Family::Bayer, BayerOrder::GR, 'B', ConvByrGRNToBGRA, ConvByrGRNToBGR},
    {Family::Bayer, BayerOrder::RG, 'B', ConvByrRGNToBGRA, ConvByrRGNToBGR},
    {Family::Bayer, BayerOrder::GB, 'B', ConvByrGBNToBGRA, ConvByrGBNToBGR},
    {Family::Bayer, BayerOrder::BG, 'B', ConvByrBGNToBGRA, ConvByrBGNToBGR},
    {Family::Rgb, BayerOrder::None, 'R', ConvRGBNToBGRA, ConvRGBNToBGR},
    {Family::Rgb, BayerOrder::None, 'B', ConvBGRNToBGRA, ConvBGRNToBGR},
};

/**
 * The exported converter for a format of plain samples, and how to call it.
 *
 * It is the function itself, not what GetBGRAConverter() gives: that one depends on the library-wide Bayer
 * mode and leaves out RGB10 and RGB12.
 */
class Conversion {
 public:
  Conversion(const Format &format, const ConvertOptions &options) noexcept {
    const bool grey = format.isBayer() && options.bayer == Bayer::Off;
    const bool adaptive = format.isBayer() && options.bayer == Bayer::Acpi;
    if (format.depth == 8 || options.shift < 0) findFixed(grey ? greyCode(format) : format.code, adaptive);
    if (found()) return;
    shift_ = options.shift < 0 ? format.depth - 8U : static_cast<unsigned>(options.shift);
    const Family family = grey ? Family::Mono : format.family;
    const BayerOrder order = grey ? BayerOrder::None : format.order;
    for (const ShiftConverters &row : kShift)
      if (row.family == family && row.order == order && (grey || row.first == format.name[0]))
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

  static std::uint32_t greyCode(const Format &format) noexcept {
    for (const Format &grey : kFormats)
      if (grey.family == Family::Mono && grey.depth == format.depth && grey.packing == Packing::None)
        return grey.code;
    return 0;
  }

  const Converters *fixed_ = nullptr;
  const ShiftConverters *byShift_ = nullptr;
  unsigned shift_ = 0;
};

/** Prepares the lookup tables on the first call, once, whichever thread comes first. */
inline CamUtlStatus prepareTables() noexcept {
  static const CamUtlStatus status = PrepareLUT();
  return status;
}

inline Errc fromStatus(CamUtlStatus status) noexcept {
  switch (status) {
    case CAMUTL_STS_SUCCESS:
      return Errc::Ok;
    case CAMUTL_STS_FILE_OPEN_ERROR:
      return Errc::FileOpen;
    case CAMUTL_STS_FILE_READ_ERROR:
      return Errc::FileRead;
    case CAMUTL_STS_FILE_WRITE_ERROR:
      return Errc::FileWrite;
    case CAMUTL_STS_UNSUPPORTED_FORMAT:
      return Errc::UnknownFormat;
    default:
      return Errc::Library;
  }
}

/** The bytes of a view with packed rows: the view's own, or a copy in `storage`. Null when memory is short.
 */
inline const std::uint8_t *packedRows(Bytes &storage, const FrameView &view, const Layout &layout) noexcept {
  if (layout.rowsShare || layout.stride == layout.row) return view.data;
  if (!storage.allocate(layout.row * view.height)) return nullptr;
  for (std::uint32_t y = 0; y < view.height; ++y)
    std::memcpy(storage.data() + y * layout.row, view.data + y * layout.stride, layout.row);
  return storage.data();
}

/** Bytes of a group for the converter, where a camera delivers one fewer; else 0. */
constexpr std::size_t widerGroup(std::uint32_t code, bool toBgra) noexcept {
  if (code == CAMUTL_PFNC_YUV8_UYV) return 4;
  return code == CAMUTL_PFNC_YUV422_8_UYVY && !toBgra ? 5 : 0;
}

template <std::size_t from, std::size_t to>
void spaceOut(std::uint8_t *dst, const std::uint8_t *src, std::size_t groups) noexcept {
  for (std::size_t i = 0; i < groups; ++i) std::memcpy(dst + i * to, src + i * from, from);
}

/** Formats without neighbours: row by row, padding is skipped and groups are re-spaced. */
template <class Pixel>
Errc convertRows(const Conversion &convert, Pixel *dst, std::size_t dstRow, const FrameView &view,
                 const Layout &layout) noexcept {
  const std::size_t wide = widerGroup(layout.format->code, sizeof(Pixel) == 4);
  // Counts of whole frames wrap in 32 bits, for packed colour counts of bytes.
  if (wide == 0 && layout.stride == layout.row && 3 * std::uint64_t{view.width} * view.height <= 0xFFFFFFFFU)
    return fromStatus(convert(dst, view.data, view.width, view.height));
  const std::size_t groups = view.width / layout.format->groupPixels;
  Bytes spaced;
  if (wide != 0 && !spaced.allocate(groups * wide)) return Errc::OutOfMemory;
  if (wide != 0) std::memset(spaced.data(), 0, spaced.size());
  for (std::uint32_t y = 0; y < view.height; ++y) {
    const std::uint8_t *src = view.data + y * layout.stride;
    if (wide != 0) {
      (wide == 4 ? spaceOut<3, 4> : spaceOut<4, 5>)(spaced.data(), src, groups);
      src = spaced.data();
    }
    const Errc error = fromStatus(convert(dst + y * dstRow, src, view.width, 1));
    if (error != Errc::Ok) return error;
  }
  return Errc::Ok;
}

/** Demosaicing needs the whole frame with packed rows. */
template <class Pixel>
Errc convertMosaic(const Conversion &convert, Pixel *dst, const FrameView &view, const Layout &layout,
                   Bayer bayer) noexcept {
  Bytes storage;
  const std::uint8_t *src = packedRows(storage, view, layout);
  if (src == nullptr) return Errc::OutOfMemory;
  const Errc error = fromStatus(convert(dst, src, view.width, view.height));
  if constexpr (sizeof(Pixel) == 4) {
    // ConvByrBG8ToBGRAACPI leaves the red byte of pixel (1, W - 1) to the caller: that pixel's own sample.
    const bool adaptive = view.width % 2 == 0 && view.height % 2 == 0 && view.width >= 4 && view.height >= 4;
    if (bayer == Bayer::Acpi && view.format == CAMUTL_PFNC_BAYER_BG8 && adaptive) {
      const std::size_t last = 2 * static_cast<std::size_t>(view.width) - 1;
      dst[last] = (dst[last] & 0xFF00FFFFU) | static_cast<std::uint32_t>(src[last]) << 16;
    }
  }
  return error;
}

}  // namespace detail

/**
 * Whether convert() would take this frame: Errc::Ok, or the reason why not. Reads no pixel.
 *
 * In the order of the checks: Errc::UnknownFormat, Errc::NullData, Errc::EmptyImage, Errc::NoByteOrder,
 * Errc::PartialGroup, Errc::TooLarge, Errc::ShortStride, Errc::ShortBuffer, Errc::BadShift, and for Bayer
 * formats Errc::AcpiNeedsBayer8, Errc::TooSmall, Errc::OddSize.
 */
inline Errc check(const FrameView &view, const ConvertOptions &options = {}) noexcept {
  detail::Layout layout;
  const Errc error = detail::checkView(view, layout);
  if (error != Errc::Ok) return error;
  const Format &format = *layout.format;
  if (options.shift >= 0 && (format.depth == 8 || options.shift > 15)) return Errc::BadShift;
  if (!format.isBayer() || options.bayer == Bayer::Off) return Errc::Ok;
  if (options.bayer == Bayer::Acpi && format.depth != 8) return Errc::AcpiNeedsBayer8;
  if (options.anyBayerSize) return Errc::Ok;
  const std::uint32_t least = options.bayer == Bayer::Acpi ? 4 : 2;
  if (view.width < least || view.height < least) return Errc::TooSmall;
  return view.width % 2 != 0 || view.height % 2 != 0 ? Errc::OddSize : Errc::Ok;
}

/**
 * Converts into the caller's memory: 32-bit BGRA words or BGR bytes, as the destination's type says
 * (options.output is not looked at). dstCount counts elements of dst and must reach width * height words, or
 * 3 times as many bytes. The destination must not overlap the source.
 *
 * Formats whose samples share bytes, and big-endian frames, are unpacked into memory of the call's own first;
 * so are the rows of a padded Bayer frame. All else allocates at most one row.
 *
 * Errors: those of check(), then Errc::NullData and Errc::ShortDestination for the destination, and
 * Errc::OutOfMemory. Nothing is written unless the result is Errc::Ok.
 */
template <class Pixel>
Errc convertTo(Pixel *dst, std::size_t dstCount, const FrameView &view,
               const ConvertOptions &options = {}) noexcept {
  static_assert(std::is_same_v<Pixel, std::uint32_t> || std::is_same_v<Pixel, std::uint8_t>,
                "the destination holds BGRA words (uint32_t) or BGR bytes (uint8_t)");
  Errc error = check(view, options);
  if (error != Errc::Ok) return error;
  const std::size_t dstRow = static_cast<std::size_t>(view.width) * (sizeof(Pixel) == 4 ? 1 : 3);
  if (dst == nullptr) return Errc::NullData;
  if (dstCount < dstRow * view.height) return Errc::ShortDestination;
  detail::Layout layout;
  Frame storage;
  FrameView plain = view;
  error = detail::plainView(plain, layout, storage);
  if (error != Errc::Ok) return error;
  const detail::Conversion conversion(*layout.format, options);
  if (!conversion.found()) return Errc::UnknownFormat;
  if (detail::prepareTables() != CAMUTL_STS_SUCCESS) return Errc::Library;
  if (layout.format->isBayer() && options.bayer != Bayer::Off)
    return detail::convertMosaic(conversion, dst, plain, layout, options.bayer);
  return detail::convertRows(conversion, dst, dstRow, plain, layout);
}

/** Converts a raw frame to a picture of its own. Errors: those of check(), and Errc::OutOfMemory. */
inline Result<Image> convert(const FrameView &view, const ConvertOptions &options = {}) noexcept {
  const Errc checked = check(view, options);
  if (checked != Errc::Ok) return checked;
  Image image;
  image.width = view.width;
  image.height = view.height;
  image.kind = options.output;
  const std::size_t pixels = static_cast<std::size_t>(view.width) * view.height;
  if (!image.pixels.allocate(pixels * image.channels())) return Errc::OutOfMemory;
  const Errc error = options.output == Output::Bgra
                         ? convertTo(static_cast<std::uint32_t *>(static_cast<void *>(image.pixels.data())),
                                     pixels, view, options)
                         : convertTo(image.pixels.data(), 3 * pixels, view, options);
  if (error != Errc::Ok) return error;
  return image;
}

/**
 * Mirrors left to right and flips top to bottom, on the raw samples; with neither, copies. The result has
 * packed rows of plain samples, as unpack() gives them, and for Bayer frames the code of the order that its
 * samples now have: reversed(). Every format is accepted. Errors: those of unpack().
 */
inline Result<Frame> reverse(const FrameView &view, bool mirror, bool flip) noexcept {
  detail::Layout layout;
  Frame unpacked;
  FrameView plain = view;
  Errc error = detail::plainView(plain, layout, unpacked);
  if (error != Errc::Ok) return error;
  if (std::uint64_t{view.width} * view.height > 0xFFFFFFFFU) return Errc::TooLarge;
  Bytes storage;
  const std::uint8_t *src = detail::packedRows(storage, plain, layout);
  Frame frame{{}, reversed(plain.format, view.width, view.height, mirror, flip), view.width, view.height, 0};
  if (src == nullptr || !frame.data.allocate(layout.row * view.height)) return Errc::OutOfMemory;
  // ReverseImg moves bytes, and refuses some codes whose pixels have the shape of others.
  std::uint32_t shape = plain.format;
  if (layout.format->family == Family::Rgb && layout.format->wordBytes == 2) shape = CAMUTL_PFNC_BGR12;
  if (layout.format->isBayer() && layout.format->wordBytes == 2) shape = CAMUTL_PFNC_MONO16;
  if (layout.format->family == Family::Mono && layout.format->wordBytes == 2) shape = CAMUTL_PFNC_MONO16;
  if (shape == CAMUTL_PFNC_YUV8_UYV) shape = CAMUTL_PFNC_RGB8;
  error =
      detail::fromStatus(ReverseImg(frame.data.data(), src, shape, view.width, view.height, mirror, flip));
  if (error != Errc::Ok) return error;
  return frame;
}

}  // namespace kivo

#endif  // KIVOCAMUTL_CONVERT_HPP
