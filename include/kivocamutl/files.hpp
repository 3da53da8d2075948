// SPDX-License-Identifier: Apache-2.0
/**
 * @file files.hpp
 * Part of KivoCamUtl.hpp: RWH and BMP files, checked on the way in and on the way out.
 */
#ifndef KIVOCAMUTL_FILES_HPP
#define KIVOCAMUTL_FILES_HPP

#include <KivoCamUtl.h>
#include <kivocamutl/convert.hpp>
#include <kivocamutl/whole_file.hpp>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>

#include <sys/stat.h>

namespace kivo {
#pragma GCC visibility push(hidden)
inline namespace v1 {

/** The header of an RWH file, and how long the file is. */
struct __attribute__((visibility("default"))) RwhInfo {
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
inline Errc lengthOf(const struct stat &file, std::uint64_t &size) noexcept {
  if (!S_ISREG(file.st_mode)) return Errc::NotAFile;
  size = static_cast<std::uint64_t>(file.st_size);
  return Errc::Ok;
}

inline Errc lengthOf(const char *path, std::uint64_t &size) noexcept {
  struct stat file = {};
  if (path == nullptr || ::stat(path, &file) != 0) return Errc::FileOpen;
  return lengthOf(file, size);
}

/**
 * Writes a file of so many bytes, whole or not at all, with `save`, which is given a name and calls a C
 * writer. Those do not report a full disk: what counts is what arrived.
 */
template <class Save>
Errc saveWhole(const char *path, std::uint64_t bytes, Save save) noexcept {
  WholeFile file;
  Errc error = file.open(path);
  if (error == Errc::Ok) error = fromStatus(save(file.name()));
  return error == Errc::Ok ? file.commit(bytes) : error;
}

struct CloseFile {
  void operator()(std::FILE *file) const noexcept { std::fclose(file); }
};
using FileHandle = std::unique_ptr<std::FILE, CloseFile>;

/**
 * Opens an RWH file and reads its header; the frame is next. Length, header and frame come from one handle:
 * another file may take the name at any time, and what has been checked must be what is read.
 */
inline Errc openRwh(FileHandle &file, RwhInfo &info, const char *path) noexcept {
  // First by its name: opening a pipe would wait for whoever writes into it.
  Errc error = lengthOf(path, info.fileBytes);
  if (error != Errc::Ok) return error;
  file.reset(std::fopen(path, "rb"));
  struct stat opened = {};
  if (file == nullptr || ::fstat(::fileno(file.get()), &opened) != 0) return Errc::FileOpen;
  error = lengthOf(opened, info.fileBytes);
  if (error != Errc::Ok) return error;
  std::uint8_t header[16] = {};
  if (info.fileBytes < sizeof header) return Errc::NoHeader;
  if (std::fread(header, 1, sizeof header, file.get()) != sizeof header) return Errc::FileRead;
  const auto word = [&header](std::size_t i) noexcept {
    return header[i] | std::uint32_t{header[i + 1]} << 8 | std::uint32_t{header[i + 2]} << 16 |
           std::uint32_t{header[i + 3]} << 24;
  };
  info.format = word(0);
  info.width = word(4);
  info.height = word(8);
  info.lineBytes = word(12);
  return Errc::Ok;
}

}  // namespace detail

/**
 * Reads the header of an RWH file; says nothing about whether it makes sense.
 *
 * Errors in the order of their checks: Errc::FileOpen, Errc::NotAFile, Errc::NoHeader, Errc::FileRead.
 */
inline Result<RwhInfo> readRwhInfo(const char *path) noexcept {
  detail::FileHandle file;
  RwhInfo info;
  const Errc error = detail::openRwh(file, info, path);
  if (error != Errc::Ok) return error;
  return info;
}

/**
 * Whether a file with this header and length is an RWH frame that this library can take. The length must
 * match exactly: RWH has no magic number, so the length is what tells a frame from other files.
 *
 * In the order of the checks: Errc::UnknownFormat, Errc::EmptyImage, Errc::BadHeader, Errc::FileTooShort,
 * Errc::FileTooLong, Errc::TooLarge.
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

/**
 * Reads an RWH file whose header and length agree, whatever happens to the file or to its name meanwhile.
 * Rows longer than the width needs become the frame's stride.
 *
 * Errors in the order of their checks: those of readRwhInfo(), those of check(), Errc::OutOfMemory,
 * Errc::FileRead.
 */
inline Result<Frame> loadRwh(const char *path) noexcept {
  detail::FileHandle file;
  RwhInfo info;
  Errc error = detail::openRwh(file, info, path);
  if (error == Errc::Ok) error = check(info);
  if (error != Errc::Ok) return error;
  Frame frame{{}, info.format, info.width, info.height, info.lineBytes};
  const std::size_t bytes = static_cast<std::size_t>(info.expectedBytes() - 16);
  if (!frame.data.allocate(bytes)) return Errc::OutOfMemory;
  if (std::fread(frame.data.data(), 1, bytes, file.get()) != bytes) return Errc::FileRead;
  return frame;
}

/**
 * Writes a frame with packed rows, little-endian, as an RWH file of its own format. The file is there whole
 * or not at all: what was there under that name stays until the new one is on the disk, and passes on its
 * permissions and, where the system allows it, its owner and group. A symbolic link stays one. Different
 * threads may write different files.
 *
 * Errors in the order of their checks: those of unpack() for the view, Errc::PartialByte, Errc::TooLarge,
 * Errc::OutOfMemory, Errc::FileOpen (also for a file that is read-only), Errc::FileWrite (also for devices
 * and pipes, to which nothing is written).
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
  return detail::saveWhole(path, 16 + bytes, [&](const char *name) noexcept {
    return SaveRWH(src, view.format, view.width, view.height, name);
  });
}

/**
 * Writes a 32-bit or 24-bit BMP file, whole or not at all, as saveRwh() does.
 *
 * Errors in the order of their checks: Errc::NullData, Errc::UnknownOption (kind), Errc::EmptyImage,
 * Errc::TooLarge (BMP sizes have 32 bits), Errc::ShortBuffer, Errc::FileOpen, Errc::FileWrite.
 */
inline Errc saveBmp(const Image &image, const char *path) noexcept {
  if (image.pixels.data() == nullptr) return Errc::NullData;
  if (!detail::exists(image.kind)) return Errc::UnknownOption;
  if (image.width == 0 || image.height == 0) return Errc::EmptyImage;
  const std::uint64_t row = (std::uint64_t{image.width} * image.channels() + 3) / 4 * 4;
  if (row > 0xFFFFFFFFU || image.height > 0x7FFFFFFFU || row * image.height > 0xFFFFFFFFU - 54)
    return Errc::TooLarge;
  if (image.pixels.size() / image.channels() / image.width < image.height) return Errc::ShortBuffer;
  return detail::saveWhole(path, 54 + row * image.height, [&](const char *name) noexcept {
    const void *pixels = image.pixels.data();
    return image.kind == Output::Bgra
               ? SaveBmpARGB(static_cast<const std::uint32_t *>(pixels), image.width, image.height, name)
               : SaveBmpRGB(image.pixels.data(), image.width, image.height, name);
  });
}

}  // namespace v1
#pragma GCC visibility pop
}  // namespace kivo

#endif  // KIVOCAMUTL_FILES_HPP
