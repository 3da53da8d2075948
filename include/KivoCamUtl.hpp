// SPDX-License-Identifier: Apache-2.0
/**
 * @file KivoCamUtl.hpp
 * C++17 layer over KivoCamUtl.h: the same converters, with every check that the C functions leave to the
 * caller.
 *
 * A frame is described by a FrameView that knows its format, size, row stride and length in bytes. convert()
 * refuses what does not fit instead of reading past a buffer, and accepts buffers exactly as cameras deliver
 * them: padded rows are packed, and the two YUV sources whose C converters read a wider stride than the
 * format has are re-spaced. The lookup tables are prepared on first use. The Bayer algorithm is chosen per
 * call; the library-wide mode of SetBayerConvMode() is neither read nor written.
 *
 * Nothing here throws: functions return Errc or Result<T>, and the header works with -fno-exceptions.
 * valueOrThrow() is there for those who prefer exceptions. All functions are safe to call from several
 * threads at once.
 *
 *     kivo::FrameView frame{data, bytes, CAMUTL_PFNC_BAYER_RG8, 1920, 1080};
 *     kivo::Result<kivo::Image> image = kivo::convert(frame, {kivo::Bayer::Acpi});
 *     if (!image) return fail(image.message());
 *     kivo::saveBmp(*image, "frame.bmp");
 */
#ifndef KIVOCAMUTL_HPP
#define KIVOCAMUTL_HPP

#include <KivoCamUtl.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <limits>
#include <string_view>
#include <system_error>
#include <type_traits>
#include <utility>
#if defined(__cpp_exceptions)
#include <stdexcept>
#endif

namespace kivo {

/** What went wrong; one value and one message per cause. */
enum class Errc {
  Ok,
  UnknownFormat,
  NullData,
  EmptyImage,
  OddSize,
  TooSmall,
  PartialGroup,
  ShortStride,
  ShortBuffer,
  ShortDestination,
  TooLarge,
  AcpiNeedsBayer8,
  OutOfMemory,
  NotAFile,
  FileOpen,
  FileRead,
  FileWrite,
  NoHeader,
  BadHeader,
  FileTooShort,
  FileTooLong,
  Library,
};

/** One clause in lower case that fits behind "cannot convert: ". Never null. */
constexpr const char *message(Errc error) noexcept {
  switch (error) {
    case Errc::Ok:
      return "success";
    case Errc::UnknownFormat:
      return "the pixel format is not one that this library converts";
    case Errc::NullData:
      return "the data pointer is null";
    case Errc::EmptyImage:
      return "the width or the height is zero";
    case Errc::OddSize:
      return "a Bayer frame needs an even width and an even height";
    case Errc::TooSmall:
      return "a Bayer frame needs at least 2 x 2 pixels, 4 x 4 for ACPI";
    case Errc::PartialGroup:
      return "the width is not a whole number of YUV groups (2 pixels for 4:2:2, 4 for 4:1:1)";
    case Errc::ShortStride:
      return "the row stride is smaller than a row";
    case Errc::ShortBuffer:
      return "the buffer is shorter than the frame";
    case Errc::ShortDestination:
      return "the destination is smaller than the image";
    case Errc::TooLarge:
      return "the frame is too large to address";
    case Errc::AcpiNeedsBayer8:
      return "ACPI demosaicing exists for 8-bit Bayer formats only";
    case Errc::OutOfMemory:
      return "not enough memory";
    case Errc::NotAFile:
      return "not a regular file";
    case Errc::FileOpen:
      return "the file cannot be opened";
    case Errc::FileRead:
      return "the file cannot be read";
    case Errc::FileWrite:
      return "the file could not be written completely";
    case Errc::NoHeader:
      return "the file is shorter than the 16-byte RWH header";
    case Errc::BadHeader:
      return "the RWH header contradicts itself: its row length is too small for its width";
    case Errc::FileTooShort:
      return "the file is shorter than its RWH header says";
    case Errc::FileTooLong:
      return "the file is longer than its RWH header says";
    case Errc::Library:
      return "the library returned an unexpected status";
  }
  return "unknown error";
}

/** A value or the reason why there is none. Without a value, the accessors give a default-constructed T. */
template <class T>
class [[nodiscard]] Result {
 public:
  Result(T value) : value_(std::move(value)) {}
  Result(Errc error) noexcept : error_(error) {}

  explicit operator bool() const noexcept { return error_ == Errc::Ok; }
  Errc error() const noexcept { return error_; }
  const char *message() const noexcept { return kivo::message(error_); }

  T &operator*() &noexcept { return value_; }
  const T &operator*() const &noexcept { return value_; }
  T &&operator*() &&noexcept { return std::move(value_); }
  T *operator->() noexcept { return &value_; }
  const T *operator->() const noexcept { return &value_; }

 private:
  T value_{};
  Errc error_ = Errc::Ok;
};

#if defined(__cpp_exceptions)
/** What valueOrThrow() throws; what() is the message of the error. */
class Error : public std::runtime_error {
 public:
  explicit Error(Errc error) : std::runtime_error(kivo::message(error)), error_(error) {}
  Errc error() const noexcept { return error_; }

 private:
  Errc error_;
};

template <class T>
T valueOrThrow(Result<T> result) {
  if (!result) throw Error(result.error());
  return *std::move(result);
}
#endif

enum class Family : std::uint8_t { Mono, Bayer, Rgb, Yuv };
enum class BayerOrder : std::uint8_t { None, GR, RG, GB, BG };

/**
 * One convertible pixel format. The names in other systems are "-" where there is no counterpart with the
 * same bytes. OpenCV names a Bayer order by the second row's second and third pixel, which turns PFNC's RG
 * into its BG.
 */
struct Format {
  const char *name;    // PFNC name
  std::uint32_t code;  // PFNC code
  Family family;
  BayerOrder order;          // BayerOrder::None unless family is Bayer
  std::uint8_t depth;        // significant bits of a sample
  std::uint8_t groupPixels;  // pixels that share a group of bytes: 1, or 2 and 4 for the YUV formats
  std::uint8_t groupBytes;   // bytes of a group as a camera delivers it
  std::uint8_t wordBytes;    // bytes of a sample: 1, or 2 (little-endian)
  const char *opencv;        // Mat type, or the cvtColor code that gives BGR
  const char *v4l2;          // V4L2_PIX_FMT_ name
  const char *gstreamer;     // format of video/x-raw, or of video/x-bayer

  constexpr std::uint32_t bitsPerPixel() const noexcept { return groupBytes * 8U / groupPixels; }
  constexpr bool isBayer() const noexcept { return family == Family::Bayer; }
};

namespace detail {

constexpr Format mono(const char *name, std::uint32_t code, std::uint8_t depth, const char *v4l2,
                      const char *gstreamer) noexcept {
  const std::uint8_t bytes = depth == 8 ? 1 : 2;
  const char *opencv = depth == 8 ? "CV_8UC1" : "CV_16UC1";
  return {name, code, Family::Mono, BayerOrder::None, depth, 1, bytes, bytes, opencv, v4l2, gstreamer};
}

constexpr Format bayer(const char *name, std::uint32_t code, BayerOrder order, std::uint8_t depth,
                       const char *v4l2, const char *gstreamer) noexcept {
  const std::uint8_t bytes = depth == 8 ? 1 : 2;
  const char *opencv = order == BayerOrder::GR   ? "COLOR_BayerGB2BGR"
                       : order == BayerOrder::RG ? "COLOR_BayerBG2BGR"
                       : order == BayerOrder::GB ? "COLOR_BayerGR2BGR"
                                                 : "COLOR_BayerRG2BGR";
  return {name, code, Family::Bayer, order, depth, 1, bytes, bytes, opencv, v4l2, gstreamer};
}

constexpr Format rgb(const char *name, std::uint32_t code, std::uint8_t depth, const char *opencv,
                     const char *v4l2, const char *gstreamer) noexcept {
  const std::uint8_t word = depth == 8 ? 1 : 2;
  const std::uint8_t pixel = depth == 8 ? 3 : 6;
  return {name, code, Family::Rgb, BayerOrder::None, depth, 1, pixel, word, opencv, v4l2, gstreamer};
}

constexpr Format yuv(const char *name, std::uint32_t code, std::uint8_t groupPixels, std::uint8_t groupBytes,
                     const char *opencv, const char *v4l2, const char *gstreamer) noexcept {
  return {name, code, Family::Yuv, BayerOrder::None, 8, groupPixels, groupBytes, 1, opencv, v4l2, gstreamer};
}

}  // namespace detail

/** All formats that convert() accepts, in the order of their codes within a family. */
inline constexpr Format kFormats[] = {
    detail::mono("Mono8", CAMUTL_PFNC_MONO8, 8, "GREY", "GRAY8"),
    detail::mono("Mono10", CAMUTL_PFNC_MONO10, 10, "Y10", "-"),
    detail::mono("Mono12", CAMUTL_PFNC_MONO12, 12, "Y12", "-"),
    detail::mono("Mono16", CAMUTL_PFNC_MONO16, 16, "Y16", "GRAY16_LE"),
    detail::bayer("BayerGR8", CAMUTL_PFNC_BAYER_GR8, BayerOrder::GR, 8, "SGRBG8", "grbg"),
    detail::bayer("BayerRG8", CAMUTL_PFNC_BAYER_RG8, BayerOrder::RG, 8, "SRGGB8", "rggb"),
    detail::bayer("BayerGB8", CAMUTL_PFNC_BAYER_GB8, BayerOrder::GB, 8, "SGBRG8", "gbrg"),
    detail::bayer("BayerBG8", CAMUTL_PFNC_BAYER_BG8, BayerOrder::BG, 8, "SBGGR8", "bggr"),
    detail::bayer("BayerGR10", CAMUTL_PFNC_BAYER_GR10, BayerOrder::GR, 10, "SGRBG10", "grbg10le"),
    detail::bayer("BayerRG10", CAMUTL_PFNC_BAYER_RG10, BayerOrder::RG, 10, "SRGGB10", "rggb10le"),
    detail::bayer("BayerGB10", CAMUTL_PFNC_BAYER_GB10, BayerOrder::GB, 10, "SGBRG10", "gbrg10le"),
    detail::bayer("BayerBG10", CAMUTL_PFNC_BAYER_BG10, BayerOrder::BG, 10, "SBGGR10", "bggr10le"),
    detail::bayer("BayerGR12", CAMUTL_PFNC_BAYER_GR12, BayerOrder::GR, 12, "SGRBG12", "grbg12le"),
    detail::bayer("BayerRG12", CAMUTL_PFNC_BAYER_RG12, BayerOrder::RG, 12, "SRGGB12", "rggb12le"),
    detail::bayer("BayerGB12", CAMUTL_PFNC_BAYER_GB12, BayerOrder::GB, 12, "SGBRG12", "gbrg12le"),
    detail::bayer("BayerBG12", CAMUTL_PFNC_BAYER_BG12, BayerOrder::BG, 12, "SBGGR12", "bggr12le"),
    detail::rgb("RGB8", CAMUTL_PFNC_RGB8, 8, "COLOR_RGB2BGR", "RGB24", "RGB"),
    detail::rgb("BGR8", CAMUTL_PFNC_BGR8, 8, "CV_8UC3", "BGR24", "BGR"),
    detail::rgb("RGB10", CAMUTL_PFNC_RGB10, 10, "COLOR_RGB2BGR", "-", "-"),
    detail::rgb("BGR10", CAMUTL_PFNC_BGR10, 10, "CV_16UC3", "-", "-"),
    detail::rgb("RGB12", CAMUTL_PFNC_RGB12, 12, "COLOR_RGB2BGR", "-", "-"),
    detail::rgb("BGR12", CAMUTL_PFNC_BGR12, 12, "CV_16UC3", "-", "-"),
    detail::yuv("YUV411_8_UYYVYY", CAMUTL_PFNC_YUV411_8_UYYVYY, 4, 6, "-", "-", "IYU1"),
    detail::yuv("YUV422_8_UYVY", CAMUTL_PFNC_YUV422_8_UYVY, 2, 4, "COLOR_YUV2BGR_UYVY", "UYVY", "UYVY"),
    detail::yuv("YUV8_UYV", CAMUTL_PFNC_YUV8_UYV, 1, 3, "-", "-", "IYU2"),
};

/** The format with this PFNC code, or null. */
constexpr const Format *findFormat(std::uint32_t code) noexcept {
  for (const Format &format : kFormats)
    if (format.code == code) return &format;
  return nullptr;
}

namespace detail {

constexpr char lower(char c) noexcept {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

constexpr bool sameName(std::string_view a, std::string_view b) noexcept {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i)
    if (lower(a[i]) != lower(b[i])) return false;
  return true;
}

/** Value of a hexadecimal digit, 16 for any other character. */
constexpr std::uint32_t hexDigit(char c) noexcept {
  if (c >= '0' && c <= '9') return static_cast<std::uint32_t>(c - '0');
  if (lower(c) >= 'a' && lower(c) <= 'f') return static_cast<std::uint32_t>(lower(c) - 'a' + 10);
  return 16;
}

}  // namespace detail

/** The format with this PFNC name in any case ("bayerrg8"), or with this code written as "0x01080009"; or
 * null. */
constexpr const Format *findFormat(std::string_view text) noexcept {
  if (text.size() > 2 && text.size() <= 10 && text[0] == '0' && detail::lower(text[1]) == 'x') {
    std::uint32_t code = 0;
    for (const char c : text.substr(2)) {
      if (detail::hexDigit(c) > 15) return nullptr;
      code = code << 4 | detail::hexDigit(c);
    }
    return findFormat(code);
  }
  for (const Format &format : kFormats)
    if (detail::sameName(format.name, text)) return &format;
  return nullptr;
}

constexpr const Format *findFormat(const char *text) noexcept {
  return text == nullptr ? nullptr : findFormat(std::string_view(text));
}

/** Bytes of one row without padding. A width that ends inside a YUV group counts its share, rounded down. */
constexpr std::uint64_t rowBytes(const Format &format, std::uint32_t width) noexcept {
  return std::uint64_t{width} * format.bitsPerPixel() / 8;
}

/** Bytes of one frame with packed rows, as a camera delivers it. Saturates where 64 bits do not suffice. */
constexpr std::uint64_t frameBytes(const Format &format, std::uint32_t width, std::uint32_t height) noexcept {
  const std::uint64_t row = rowBytes(format, width);
  constexpr std::uint64_t most = std::numeric_limits<std::uint64_t>::max();
  return height != 0 && row > most / height ? most : row * height;
}

/**
 * The format of a frame of this size after ReverseImg(): mirroring a Bayer frame of even width exchanges its
 * columns' colours (RG <-> GR, GB <-> BG), flipping one of even height its rows' (RG <-> GB, GR <-> BG).
 * Other codes stay.
 */
constexpr std::uint32_t reversed(std::uint32_t format, std::uint32_t width, std::uint32_t height, bool mirror,
                                 bool flip) noexcept {
  const Format *known = findFormat(format);
  if (known == nullptr || !known->isBayer()) return format;
  // Codes of one depth run GR, RG, GB, BG. Their offsets 0, 1, 2, 3 mirror by bit 0 and flip by both bits.
  const std::uint32_t offset =
      static_cast<std::uint32_t>(known->order) - static_cast<std::uint32_t>(BayerOrder::GR);
  std::uint32_t turned = offset;
  if (mirror && width % 2 == 0) turned ^= 1U;
  if (flip && height % 2 == 0) turned ^= 3U;
  return format - offset + turned;
}

// --------------------------------------------------------------------------------------------- frames,
// images

/** Owned bytes, uninitialised when made. Movable; aligned for every ordinary type. */
class Bytes {
 public:
  Bytes() noexcept = default;
  Bytes(Bytes &&other) noexcept
      : data_(std::exchange(other.data_, nullptr)), size_(std::exchange(other.size_, 0)) {}
  Bytes &operator=(Bytes &&other) noexcept {
    std::swap(data_, other.data_);
    std::swap(size_, other.size_);
    return *this;
  }
  Bytes(const Bytes &) = delete;
  Bytes &operator=(const Bytes &) = delete;
  ~Bytes() { std::free(data_); }

  /** Replaces the contents by `size` uninitialised bytes; false, and empty, when memory is short. */
  [[nodiscard]] bool allocate(std::size_t size) noexcept {
    std::free(data_);
    const bool possible = size <= static_cast<std::size_t>(std::numeric_limits<std::ptrdiff_t>::max());
    data_ = possible ? std::malloc(size == 0 ? 1 : size) : nullptr;
    size_ = data_ == nullptr ? 0 : size;
    return data_ != nullptr;
  }

  std::uint8_t *data() noexcept { return static_cast<std::uint8_t *>(data_); }
  const std::uint8_t *data() const noexcept { return static_cast<const std::uint8_t *>(data_); }
  std::size_t size() const noexcept { return size_; }
  std::uint8_t *begin() noexcept { return data(); }
  std::uint8_t *end() noexcept { return data() + size_; }
  const std::uint8_t *begin() const noexcept { return data(); }
  const std::uint8_t *end() const noexcept { return data() + size_; }
  std::uint8_t &operator[](std::size_t i) noexcept { return data()[i]; }
  std::uint8_t operator[](std::size_t i) const noexcept { return data()[i]; }

 private:
  void *data_ = nullptr;
  std::size_t size_ = 0;
};

/** A raw frame in somebody else's memory. */
struct FrameView {
  const std::uint8_t *data = nullptr;
  std::size_t size = 0;  // bytes that may be read at data; more than the frame needs is fine
  std::uint32_t format = 0;
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::size_t stride =
      0;  // bytes from row to row, 0 for packed rows; the last row needs no padding behind it
};

/** A raw frame in its own memory. */
struct Frame {
  Bytes data;
  std::uint32_t format = 0;
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::size_t stride = 0;

  FrameView view() const noexcept { return {data.data(), data.size(), format, width, height, stride}; }
};

enum class Output : std::uint8_t { Bgra = 4, Bgr = 3 };

/** A converted picture: packed rows from the top, pixels of 4 bytes B, G, R, 255 or of 3 bytes B, G, R. */
struct Image {
  Bytes pixels;
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  Output kind = Output::Bgra;

  std::size_t channels() const noexcept { return static_cast<std::size_t>(kind); }
  const std::uint8_t *row(std::uint32_t y) const noexcept {
    return pixels.data() + static_cast<std::size_t>(y) * width * channels();
  }
  const std::uint8_t *pixel(std::uint32_t x, std::uint32_t y) const noexcept {
    return row(y) + x * channels();
  }
};

/** What to make of Bayer frames; other formats ignore it. */
enum class Bayer : std::uint8_t {
  Standard,  // means of the nearest samples
  Acpi,      // adaptive colour plane interpolation, 8-bit formats only
  Off,       // the mosaic as a grey picture
};

struct ConvertOptions {
  Bayer bayer = Bayer::Standard;
  Output output = Output::Bgra;
  /**
   * Also demosaic frames of odd or very small size: the same neighbourhood rule with the samples there are;
   * ACPI then gives the standard demosaic where the size is odd or below 4.
   */
  bool anyBayerSize = false;
};

namespace detail {

/** Checks everything about a view but what only conversion needs; gives the format and the true stride. */
inline Errc checkView(const FrameView &view, const Format *&format, std::size_t &row,
                      std::size_t &stride) noexcept {
  format = findFormat(view.format);
  if (format == nullptr) return Errc::UnknownFormat;
  if (view.data == nullptr) return Errc::NullData;
  if (view.width == 0 || view.height == 0) return Errc::EmptyImage;
  if (view.width % format->groupPixels != 0) return Errc::PartialGroup;
  // No address computed from here on exceeds 6 bytes a pixel.
  constexpr std::uint64_t most = std::numeric_limits<std::ptrdiff_t>::max() / 6;
  if (std::uint64_t{view.width} * view.height > most) return Errc::TooLarge;
  row = static_cast<std::size_t>(rowBytes(*format, view.width));
  stride = view.stride == 0 ? row : view.stride;
  if (stride < row) return Errc::ShortStride;
  if (view.size < row || (view.size - row) / stride < view.height - 1) return Errc::ShortBuffer;
  return Errc::Ok;
}

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

/**
 * The exported converter itself, not what GetBGRAConverter() gives: that one depends on the library-wide
 * Bayer mode and leaves out RGB10 and RGB12. Never null for a view that was checked.
 */
inline const Converters *findConverters(const Format &format, Bayer bayer) noexcept {
  if (format.isBayer() && bayer == Bayer::Acpi) {
    for (const Converters &row : kAcpi)
      if (row.code == format.code) return &row;
    return nullptr;
  }
  std::uint32_t code = format.code;
  if (format.isBayer() && bayer == Bayer::Off)
    code = format.depth == 8    ? CAMUTL_PFNC_MONO8
           : format.depth == 10 ? CAMUTL_PFNC_MONO10
                                : CAMUTL_PFNC_MONO12;
  for (const Converters &row : kStandard)
    if (row.code == code) return &row;
  return nullptr;
}

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

inline CamUtlStatus call(const Converters &to, std::uint32_t *dst, const std::uint8_t *src,
                         std::uint32_t width, std::uint32_t height) noexcept {
  return to.bgra(dst, src, width, height);
}
inline CamUtlStatus call(const Converters &to, std::uint8_t *dst, const std::uint8_t *src,
                         std::uint32_t width, std::uint32_t height) noexcept {
  return to.bgr(dst, src, width, height);
}

/** The samples of a view with packed rows: the view's own, or a copy in `storage`. Null when memory is short.
 */
inline const std::uint8_t *packedRows(Bytes &storage, const FrameView &view, std::size_t row,
                                      std::size_t stride) noexcept {
  if (stride == row) return view.data;
  if (!storage.allocate(row * view.height)) return nullptr;
  for (std::uint32_t y = 0; y < view.height; ++y)
    std::memcpy(storage.data() + y * row, view.data + y * stride, row);
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
Errc convertRows(const Converters &to, Pixel *dst, std::size_t dstRow, const FrameView &view,
                 const Format &format, std::size_t row, std::size_t stride) noexcept {
  const std::size_t wide = widerGroup(format.code, sizeof(Pixel) == 4);
  // Counts of whole frames wrap in 32 bits, for packed colour counts of bytes.
  if (wide == 0 && stride == row && 3 * std::uint64_t{view.width} * view.height <= 0xFFFFFFFFU)
    return fromStatus(call(to, dst, view.data, view.width, view.height));
  const std::size_t groups = view.width / format.groupPixels;
  Bytes spaced;
  if (wide != 0 && !spaced.allocate(groups * wide)) return Errc::OutOfMemory;
  if (wide != 0) std::memset(spaced.data(), 0, spaced.size());
  for (std::uint32_t y = 0; y < view.height; ++y) {
    const std::uint8_t *src = view.data + y * stride;
    if (wide != 0) {
      (wide == 4 ? spaceOut<3, 4> : spaceOut<4, 5>)(spaced.data(), src, groups);
      src = spaced.data();
    }
    const Errc error = fromStatus(call(to, dst + y * dstRow, src, view.width, 1));
    if (error != Errc::Ok) return error;
  }
  return Errc::Ok;
}

/** Demosaicing needs the whole frame with packed rows. */
template <class Pixel>
Errc convertMosaic(const Converters &to, Pixel *dst, const FrameView &view, std::size_t row,
                   std::size_t stride, Bayer bayer) noexcept {
  Bytes storage;
  const std::uint8_t *src = packedRows(storage, view, row, stride);
  if (src == nullptr) return Errc::OutOfMemory;
  const Errc error = fromStatus(call(to, dst, src, view.width, view.height));
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

/** Whether convert() would take this frame: Errc::Ok, or the reason why not. Reads no pixel. */
inline Errc check(const FrameView &view, const ConvertOptions &options = {}) noexcept {
  const Format *format = nullptr;
  std::size_t row = 0, stride = 0;
  const Errc error = detail::checkView(view, format, row, stride);
  if (error != Errc::Ok || !format->isBayer() || options.bayer == Bayer::Off) return error;
  if (options.bayer == Bayer::Acpi && format->depth != 8) return Errc::AcpiNeedsBayer8;
  if (options.anyBayerSize) return Errc::Ok;
  const std::uint32_t least = options.bayer == Bayer::Acpi ? 4 : 2;
  if (view.width < least || view.height < least) return Errc::TooSmall;
  return view.width % 2 != 0 || view.height % 2 != 0 ? Errc::OddSize : Errc::Ok;
}

/**
 * Converts into the caller's memory: 32-bit BGRA words or BGR bytes, as the destination's type says
 * (options.output is not looked at). dstCount counts elements of dst and must reach width * height words, or
 * 3 times as many bytes. The destination must not overlap the source. Nothing is written unless the result is
 * Errc::Ok.
 */
template <class Pixel>
Errc convertTo(Pixel *dst, std::size_t dstCount, const FrameView &view,
               const ConvertOptions &options = {}) noexcept {
  static_assert(std::is_same_v<Pixel, std::uint32_t> || std::is_same_v<Pixel, std::uint8_t>,
                "the destination holds BGRA words (uint32_t) or BGR bytes (uint8_t)");
  Errc error = check(view, options);
  if (error != Errc::Ok) return error;
  const Format *format = nullptr;
  std::size_t row = 0, stride = 0;
  error = detail::checkView(view, format, row, stride);
  if (error != Errc::Ok) return error;
  const std::size_t dstRow = static_cast<std::size_t>(view.width) * (sizeof(Pixel) == 4 ? 1 : 3);
  if (dst == nullptr) return Errc::NullData;
  if (dstCount < dstRow * view.height) return Errc::ShortDestination;
  const detail::Converters *to = detail::findConverters(*format, options.bayer);
  if (to == nullptr) return Errc::UnknownFormat;
  if (detail::prepareTables() != CAMUTL_STS_SUCCESS) return Errc::Library;
  if (format->isBayer() && options.bayer != Bayer::Off)
    return detail::convertMosaic(*to, dst, view, row, stride, options.bayer);
  return detail::convertRows(*to, dst, dstRow, view, *format, row, stride);
}

/** Converts a raw frame to a picture of its own. */
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
 * packed rows and, for Bayer frames, the code of the order that its samples now have. Every format is
 * accepted.
 */
inline Result<Frame> reverse(const FrameView &view, bool mirror, bool flip) noexcept {
  const Format *format = nullptr;
  std::size_t row = 0, stride = 0;
  Errc error = detail::checkView(view, format, row, stride);
  if (error != Errc::Ok) return error;
  if (std::uint64_t{view.width} * view.height > 0xFFFFFFFFU) return Errc::TooLarge;
  Bytes storage;
  const std::uint8_t *src = detail::packedRows(storage, view, row, stride);
  Frame frame{{}, reversed(view.format, view.width, view.height, mirror, flip), view.width, view.height, 0};
  if (src == nullptr || !frame.data.allocate(row * view.height)) return Errc::OutOfMemory;
  // ReverseImg refuses two codes whose pixels it moves under another name of the same shape.
  std::uint32_t shape = view.format;
  if (shape == CAMUTL_PFNC_RGB12) shape = CAMUTL_PFNC_BGR12;
  if (shape == CAMUTL_PFNC_YUV8_UYV) shape = CAMUTL_PFNC_RGB8;
  error =
      detail::fromStatus(ReverseImg(frame.data.data(), src, shape, view.width, view.height, mirror, flip));
  if (error != Errc::Ok) return error;
  return frame;
}

/** The header of an RWH file, and how long the file is. */
struct RwhInfo {
  std::uint32_t format = 0;
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::uint32_t lineBytes = 0;
  std::uint64_t fileBytes = 0;

  std::uint64_t expectedBytes() const noexcept { return 16 + std::uint64_t{lineBytes} * height; }
};

namespace detail {

/** Length of a regular file. */
inline Errc fileSize(const char *path, std::uint64_t &size) noexcept {
  std::error_code failed;
  const std::filesystem::file_status status = std::filesystem::status(path, failed);
  if (failed || !std::filesystem::exists(status)) return Errc::FileOpen;
  if (!std::filesystem::is_regular_file(status)) return Errc::NotAFile;
  size = std::filesystem::file_size(path, failed);
  return failed ? Errc::FileOpen : Errc::Ok;
}

/** The C writers do not report a full disk: what counts is what arrived. */
inline Errc checkWritten(CamUtlStatus status, const char *path, std::uint64_t expected) noexcept {
  if (status != CAMUTL_STS_SUCCESS) return fromStatus(status);
  std::uint64_t size = 0;
  return fileSize(path, size) == Errc::Ok && size == expected ? Errc::Ok : Errc::FileWrite;
}

}  // namespace detail

/** Reads the header of an RWH file; says nothing about whether it makes sense. */
inline Result<RwhInfo> readRwhInfo(const char *path) noexcept {
  RwhInfo info;
  Errc error = detail::fileSize(path, info.fileBytes);
  if (error != Errc::Ok) return error;
  if (info.fileBytes < 16) return Errc::NoHeader;
  error =
      detail::fromStatus(LoadRWH(path, nullptr, &info.format, &info.width, &info.height, &info.lineBytes));
  if (error != Errc::Ok) return error;
  return info;
}

/**
 * Whether a file with this header and length is an RWH frame that this library can take. The length must
 * match exactly: RWH has no magic number, so the length is what tells a frame from other files.
 */
inline Errc check(const RwhInfo &info) noexcept {
  const Format *format = findFormat(info.format);
  if (format == nullptr) return Errc::UnknownFormat;
  if (info.width == 0 || info.height == 0) return Errc::EmptyImage;
  if (info.lineBytes < rowBytes(*format, info.width)) return Errc::BadHeader;
  if (info.fileBytes < info.expectedBytes()) return Errc::FileTooShort;
  if (info.fileBytes > info.expectedBytes()) return Errc::FileTooLong;
  return info.expectedBytes() - 16 > 0xFFFFFFFFU ? Errc::TooLarge : Errc::Ok;
}

/** Reads an RWH file whose header and length agree. Rows longer than the width needs become the frame's
 * stride. */
inline Result<Frame> loadRwh(const char *path) noexcept {
  const Result<RwhInfo> info = readRwhInfo(path);
  if (!info) return info.error();
  Errc error = check(*info);
  if (error != Errc::Ok) return error;
  Frame frame{{}, info->format, info->width, info->height, info->lineBytes};
  if (!frame.data.allocate(static_cast<std::size_t>(info->expectedBytes() - 16))) return Errc::OutOfMemory;
  std::uint8_t *data = frame.data.data();
  RwhInfo again;
  error =
      detail::fromStatus(LoadRWH(path, &data, &again.format, &again.width, &again.height, &again.lineBytes));
  if (error != Errc::Ok) return error;
  return frame;
}

/** Writes a frame with packed rows as an RWH file. `path` must not be a device: the length of the file is
 * checked. */
inline Errc saveRwh(const FrameView &view, const char *path) noexcept {
  const Format *format = nullptr;
  std::size_t row = 0, stride = 0;
  const Errc error = detail::checkView(view, format, row, stride);
  if (error != Errc::Ok) return error;
  // The header's arithmetic is 32 bits wide.
  if (std::uint64_t{row} * 8 > 0xFFFFFFFFU || frameBytes(*format, view.width, view.height) > 0xFFFFFFFFU)
    return Errc::TooLarge;
  Bytes storage;
  const std::uint8_t *src = detail::packedRows(storage, view, row, stride);
  if (src == nullptr) return Errc::OutOfMemory;
  const CamUtlStatus status = SaveRWH(src, view.format, view.width, view.height, path);
  return detail::checkWritten(status, path, 16 + frameBytes(*format, view.width, view.height));
}

/** Writes a 32-bit or 24-bit BMP file. `path` must not be a device: the length of the file is checked. */
inline Errc saveBmp(const Image &image, const char *path) noexcept {
  if (image.pixels.data() == nullptr) return Errc::NullData;
  if (image.width == 0 || image.height == 0) return Errc::EmptyImage;
  const std::uint64_t row = (std::uint64_t{image.width} * image.channels() + 3) / 4 * 4;
  if (row > 0xFFFFFFFFU || image.height > 0x7FFFFFFFU || row * image.height > 0xFFFFFFFFU - 54)
    return Errc::TooLarge;
  if (image.pixels.size() / image.channels() / image.width < image.height) return Errc::ShortBuffer;
  const CamUtlStatus status =
      image.kind == Output::Bgra
          ? SaveBmpARGB(static_cast<const std::uint32_t *>(static_cast<const void *>(image.pixels.data())),
                        image.width, image.height, path)
          : SaveBmpRGB(image.pixels.data(), image.width, image.height, path);
  return detail::checkWritten(status, path, 54 + row * image.height);
}

}  // namespace kivo

#endif  // KIVOCAMUTL_HPP
