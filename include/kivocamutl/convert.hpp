// SPDX-License-Identifier: Apache-2.0
/**
 * @file convert.hpp
 * Part of KivoCamUtl.hpp: raw frames to pictures, and reversed frames.
 */
#ifndef KIVOCAMUTL_CONVERT_HPP
#define KIVOCAMUTL_CONVERT_HPP

#include <KivoCamUtl.h>
#include <kivocamutl/converters.hpp>
#include <kivocamutl/unpack.hpp>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <utility>

namespace kivo {
#pragma GCC visibility push(hidden)
inline namespace v1 {

/** The pixels of a picture. */
enum class Output : std::uint8_t {
  Bgra = 4,  ///< 4 bytes B, G, R, 255.
  Bgr = 3,   ///< 3 bytes B, G, R.
};

/** A converted picture: packed rows from the top, pixels of 4 bytes B, G, R, 255 or of 3 bytes B, G, R. */
struct __attribute__((visibility("default"))) Image {
  Bytes pixels;                ///< width * height * channels() bytes.
  std::uint32_t width = 0;     ///< Pixels a row.
  std::uint32_t height = 0;    ///< Rows.
  Output kind = Output::Bgra;  ///< What a pixel is.

  /** Bytes of a pixel, 3 or 4. */
  std::size_t channels() const noexcept { return static_cast<std::size_t>(kind); }
  /** The first byte of row `y`, which must be below the height. */
  const std::uint8_t *row(std::uint32_t y) const noexcept {
    return pixels.data() + static_cast<std::size_t>(y) * width * channels();
  }
  /** The first byte of a pixel, which must lie in the picture. */
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
struct __attribute__((visibility("default"))) ConvertOptions {
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

constexpr bool exists(Output output) noexcept {
  return output == Output::Bgra || output == Output::Bgr;
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

/** Bytes of a group for the converter, where a camera delivers one fewer; else 0. */
constexpr std::size_t widerGroup(std::uint32_t code, bool toBgra) noexcept {
  if (code == CAMUTL_PFNC_YUV8_UYV) return 4;
  return code == CAMUTL_PFNC_YUV422_8_UYVY && !toBgra ? 5 : 0;
}

template <std::size_t from, std::size_t to>
void spaceOut(std::uint8_t *dst, const std::uint8_t *src, std::size_t groups) noexcept {
  for (std::size_t i = 0; i < groups; ++i) std::memcpy(dst + i * to, src + i * from, from);
}

/** Elements of a destination that a pixel takes. */
template <class Pixel>
inline constexpr std::size_t kElements = sizeof(Pixel) == 4 ? 1 : 3;

/**
 * Pixels that are brought to plain samples at a time where a frame has none: few enough to be in the cache
 * still when they are converted, whole groups of every YUV format, and whole bytes of every packing.
 */
inline constexpr std::uint32_t kPiece = 48 << 10;

/** Formats without neighbours: pixels that follow each other, whatever rows they are in, by the piece. */
template <class Pixel>
Errc convertRuns(const Conversion &convert, Pixel *dst, const FrameView &view,
                 const Layout &layout) noexcept {
  const Format &format = *layout.format;
  const Format &plain = *findFormat(format.unpacked);
  const std::size_t wide = widerGroup(format.code, sizeof(Pixel) == 4);
  const bool direct = wide == 0 && hasPlainSamples(view, layout);
  const bool gapless = format.packing == Packing::None ? layout.stride == layout.row : layout.rowsShare;
  // Pixels and bytes of a run.
  const std::uint64_t run = gapless ? std::uint64_t{view.width} * view.height : view.width;
  const std::uint64_t runEnd = runBytes(format, run);
  // The converters count in 32 bits, components or bytes: up to three of them a pixel.
  const std::uint64_t most = direct ? 1U << 30 : kPiece;
  const std::uint64_t piece = run < most ? run : most;
  Bytes space;
  if (!direct) {
    const std::uint64_t bytes = wide != 0 ? piece / format.groupPixels * wide : runBytes(plain, piece);
    if (!space.allocate(static_cast<std::size_t>(bytes))) return Errc::OutOfMemory;
    if (wide != 0) std::memset(space.data(), 0, space.size());
  }
  for (std::uint32_t y = 0; y < (gapless ? 1 : view.height); ++y) {
    const std::uint8_t *row = view.data + y * layout.stride;
    for (std::uint64_t x = 0; x < run; x += piece) {
      const std::uint32_t count = static_cast<std::uint32_t>(run - x < piece ? run - x : piece);
      const std::uint64_t from = runBytes(format, x);
      const std::uint8_t *src = row + from;
      if (wide != 0)
        (wide == 4 ? spaceOut<3, 4> : spaceOut<4, 5>)(space.data(), src, count / format.groupPixels);
      else if (!direct)
        unpackPixels(space.data(), src, format, view.byteOrder, count,
                     static_cast<std::size_t>(runEnd - from));
      const Errc error = fromStatus(convert(dst, direct ? src : space.data(), count, 1));
      if (error != Errc::Ok) return error;
      dst += count * kElements<Pixel>;
    }
  }
  return Errc::Ok;
}

/** The bytes of a view with packed rows, its own or a copy in `storage`; null when memory is short. */
inline const std::uint8_t *packedRows(Bytes &storage, const FrameView &view, const Layout &layout) noexcept {
  if (layout.rowsShare || layout.stride == layout.row) return view.data;
  if (!storage.allocate(layout.row * view.height)) return nullptr;
  for (std::uint32_t y = 0; y < view.height; ++y)
    std::memcpy(storage.data() + y * layout.row, view.data + y * layout.stride, layout.row);
  return storage.data();
}

/** Samples of a mosaic that are unpacked and converted at a time. */
inline constexpr std::uint32_t kBandSamples = 128 << 10;

/**
 * A mosaic of words, a band of rows at a time.
 *
 * Pixels are made of samples up to one row away, and at the edge of a frame in another way. So a band has a
 * margin on both sides: two rows, for the order of the colours, or four where rows of odd width share bytes,
 * for a band to begin on one. The pixels of the margin above are there already and are put back; those of the
 * margin below come with the next band.
 */
template <class Pixel>
Errc convertBands(const Conversion &convert, Pixel *dst, const FrameView &view,
                  const Layout &layout) noexcept {
  const std::uint32_t margin = view.width % 2 == 0 ? 2 : 4;
  const std::uint32_t wanted = kBandSamples / view.width / 4 * 4;
  const std::uint64_t rows = wanted < 32 ? 32 : wanted;
  const std::uint64_t most = rows + 2 * margin < view.height ? rows + 2 * margin : view.height;
  const std::size_t dstRow = static_cast<std::size_t>(view.width) * kElements<Pixel>;
  Bytes band, above;
  if (!band.allocate(static_cast<std::size_t>(most) * view.width * 2)) return Errc::OutOfMemory;
  if (!above.allocate(margin * dstRow * sizeof(Pixel))) return Errc::OutOfMemory;
  for (std::uint64_t y = 0; y < view.height; y += rows) {
    const std::uint32_t first = static_cast<std::uint32_t>(y == 0 ? 0 : y - margin);
    const std::uint64_t end = y + rows + margin < view.height ? y + rows + margin : view.height;
    const std::uint32_t count = static_cast<std::uint32_t>(end - first);
    unpackRows(band.data(), view, layout, first, count);
    Pixel *to = dst + first * dstRow;
    if (y != 0) std::memcpy(above.data(), to, above.size());
    const Errc error = fromStatus(convert(to, band.data(), view.width, count));
    if (error != Errc::Ok) return error;
    if (y != 0) std::memcpy(to, above.data(), above.size());
  }
  return Errc::Ok;
}

/** Bayer frames as colour pictures. */
template <class Pixel>
Errc convertMosaic(const Conversion &convert, Pixel *dst, const FrameView &view,
                   const Layout &layout) noexcept {
  const bool whole = hasPlainSamples(view, layout) && layout.stride == layout.row;
  if (!whole && layout.format->wordBytes == 2) return convertBands(convert, dst, view, layout);
  // A copy of bytes is a quarter of the picture, and lets the converter know how large that is.
  Bytes storage;
  const std::uint8_t *src = packedRows(storage, view, layout);
  if (src == nullptr) return Errc::OutOfMemory;
  return fromStatus(convert(dst, src, view.width, view.height));
}

/** ACPI is for frames of even size from 4 x 4 on; the converters do others in the standard way. */
constexpr bool fitsAcpi(const FrameView &view) noexcept {
  return view.width % 2 == 0 && view.height % 2 == 0 && view.width >= 4 && view.height >= 4;
}

/** ConvByrBG8ToBGRAACPI leaves the red byte of pixel (1, W - 1) to the caller: that pixel's own sample. */
inline void completeAcpi(std::uint32_t *dst, const FrameView &view, const Layout &layout) noexcept {
  const std::uint32_t sample = view.data[layout.stride + view.width - 1];
  std::uint32_t &pixel = dst[2 * static_cast<std::size_t>(view.width) - 1];
  pixel = (pixel & 0xFF00FFFFU) | sample << 16;
}

}  // namespace detail

/**
 * Whether convert() would take this frame: Errc::Ok, or the reason why not. Reads no pixel.
 *
 * In the order of the checks: Errc::UnknownFormat, Errc::NullData, Errc::EmptyImage, Errc::UnknownOption
 * (byte order), Errc::NoByteOrder, Errc::PartialGroup, Errc::TooLarge, Errc::ShortStride, Errc::ShortBuffer,
 * Errc::UnknownOption (options), Errc::BadShift, and for Bayer formats Errc::AcpiNeedsBayer8, Errc::TooSmall,
 * Errc::OddSize.
 */
inline Errc check(const FrameView &view, const ConvertOptions &options = {}) noexcept {
  detail::Layout layout;
  const Errc error = detail::checkView(view, layout);
  if (error != Errc::Ok) return error;
  const Format &format = *layout.format;
  if (options.bayer > Bayer::Off || !detail::exists(options.output)) return Errc::UnknownOption;
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
 * (options.output need only exist). dstCount counts elements of dst and must reach width * height words, or
 * 3 times as many bytes. The destination must not overlap the source.
 *
 * Frames without plain samples in packed rows are unpacked and converted a piece at a time, in some hundred
 * kilobytes of the call's own, or some dozen rows of a very wide Bayer frame. 8-bit Bayer frames with padded
 * rows are copied whole. All else allocates nothing.
 *
 * Errors: those of check(), then Errc::NullData and Errc::ShortDestination for the destination, and
 * Errc::OutOfMemory. Nothing is written unless the result is Errc::Ok.
 */
template <class Pixel>
Errc convertTo(Pixel *dst, std::size_t dstCount, const FrameView &view,
               const ConvertOptions &options = {}) noexcept {
  static_assert(std::is_same_v<Pixel, std::uint32_t> || std::is_same_v<Pixel, std::uint8_t>,
                "the destination holds BGRA words (uint32_t) or BGR bytes (uint8_t)");
  const Errc error = check(view, options);
  if (error != Errc::Ok) return error;
  if (dst == nullptr) return Errc::NullData;
  if (dstCount < static_cast<std::size_t>(view.width) * view.height * detail::kElements<Pixel>)
    return Errc::ShortDestination;
  detail::Layout layout;
  if (detail::checkView(view, layout) != Errc::Ok) return Errc::Library;
  const Format &plain = *findFormat(layout.format->unpacked);
  const bool mosaic = plain.isBayer() && options.bayer != Bayer::Off;
  const bool adaptive = mosaic && options.bayer == Bayer::Acpi && detail::fitsAcpi(view);
  const Format *shown = plain.isBayer() && !mosaic ? detail::greyOf(plain) : &plain;
  const detail::Conversion conversion(*shown, adaptive, options.shift);
  if (!conversion.found() || detail::prepareTables() != CAMUTL_STS_SUCCESS) return Errc::Library;
  if (!mosaic) return detail::convertRuns(conversion, dst, view, layout);
  const Errc result = detail::convertMosaic(conversion, dst, view, layout);
  if constexpr (sizeof(Pixel) == 4)
    if (adaptive && result == Errc::Ok && view.format == CAMUTL_PFNC_BAYER_BG8)
      detail::completeAcpi(dst, view, layout);
  return result;
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

}  // namespace v1
#pragma GCC visibility pop
}  // namespace kivo

#endif  // KIVOCAMUTL_CONVERT_HPP
