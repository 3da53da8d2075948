// SPDX-License-Identifier: Apache-2.0
/**
 * @file files.hpp
 * Part of KivoCamUtl.hpp: RWH and BMP files, checked on the way in and on the way out.
 */
#ifndef KIVOCAMUTL_FILES_HPP
#define KIVOCAMUTL_FILES_HPP

#include <KivoCamUtl.h>
#include <kivocamutl/convert.hpp>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <system_error>

namespace kivo {

/** The header of an RWH file, and how long the file is. */
struct RwhInfo {
  std::uint32_t format = 0;     ///< PFNC code.
  std::uint32_t width = 0;      ///< Pixels a row.
  std::uint32_t height = 0;     ///< Rows.
  std::uint32_t lineBytes = 0;  ///< Bytes a row.
  std::uint64_t fileBytes = 0;  ///< Bytes of the file, header included.

  /** Bytes that a file with this header has. */
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

/**
 * Writes a frame with packed rows, little-endian, as an RWH file of its own format. `path` must not be a
 * device: the length of the file is checked.
 *
 * Errors in the order of their checks: those of unpack() for the view, Errc::PartialByte, Errc::TooLarge,
 * Errc::OutOfMemory, Errc::FileOpen, Errc::FileWrite.
 */
inline Errc saveRwh(const FrameView &view, const char *path) noexcept {
  detail::Layout layout;
  Errc error = detail::checkView(view, layout);
  if (error != Errc::Ok) return error;
  Frame swapped;
  FrameView little = view;
  if (view.byteOrder == ByteOrder::Big) error = detail::plainView(little, layout, swapped);
  if (error != Errc::Ok) return error;
  // The header's row length is in bytes, and its arithmetic is 32 bits wide.
  const Format &format = *layout.format;
  if (std::uint64_t{layout.row} * 8 != std::uint64_t{view.width} * format.bitsPerPixel())
    return Errc::PartialByte;
  const std::uint64_t bytes = frameBytes(format, view.width, view.height);
  if (std::uint64_t{layout.row} * 8 > 0xFFFFFFFFU || bytes > 0xFFFFFFFFU) return Errc::TooLarge;
  Bytes storage;
  const std::uint8_t *src = detail::packedRows(storage, little, layout);
  if (src == nullptr) return Errc::OutOfMemory;
  return detail::checkWritten(SaveRWH(src, view.format, view.width, view.height, path), path, 16 + bytes);
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

#endif  // KIVOCAMUTL_FILES_HPP
