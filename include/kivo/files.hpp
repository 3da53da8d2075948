// SPDX-License-Identifier: Apache-2.0
/**
 * @file files.hpp
 * RWH and BMP files, checked on the way in and there whole or not at all.
 */
#ifndef KIVO_FILES_HPP
#define KIVO_FILES_HPP

#include <KivoCamUtl.h>
#include <kivo/convert.hpp>

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kivo {
#pragma GCC visibility push(hidden)
inline namespace v1 {

/** The header of an RWH file, and how long the file is. */
struct __attribute__((visibility("default"))) RwhInfo {
  std::uint32_t format = 0;     ///< PFNC code.
  std::uint32_t width = 0;      ///< Pixels a row.
  std::uint32_t height = 0;     ///< Rows.
  std::uint32_t lineBytes = 0;  ///< Bytes a row; of all planes of a planar format.
  std::uint64_t fileBytes = 0;  ///< Bytes of the file, header included.

  /** The stride of the frame: planes have no padding. */
  std::ptrdiff_t stride() const noexcept {
    const Format *known = findFormat(format);
    return known != nullptr && known->packing == KIVO_PLANAR ? 0 : static_cast<std::ptrdiff_t>(lineBytes);
  }
  /** Bytes that a file with this header has. */
  std::uint64_t expectedBytes() const noexcept { return 16 + std::uint64_t{lineBytes} * height; }
};

namespace detail {

/** A file under a hidden name in the folder of the name that it gets when it is whole: saveRwh() says how. */
class WholeFile {
 public:
  WholeFile() = default;
  WholeFile(WholeFile &&) = delete;
  ~WholeFile() {
    if (file_ < 0) return;
    if (hidden_[0] != '\0') ::unlink(hidden_);
    ::close(file_);
  }

  /** Errc::FileOpen where nothing can be written there, Errc::FileWrite for devices and pipes. */
  Errc open(const char *path) noexcept {
    if (path == nullptr || !resolve(path)) return Errc::FileOpen;
    struct stat old = {};
    const bool replaces = ::stat(target_, &old) == 0;
    if (replaces && !S_ISREG(old.st_mode)) return S_ISDIR(old.st_mode) ? Errc::FileOpen : Errc::FileWrite;
    // For root, too, to whom the system would not say so.
    if (replaces && ((old.st_mode & 0222) == 0 || ::faccessat(AT_FDCWD, target_, W_OK, AT_EACCESS) != 0))
      return Errc::FileOpen;
    if (!create()) return Errc::FileOpen;
    if (replaces) takeOver(old);
    return Errc::Ok;
  }

  /** Under which the file is to be written. */
  const char *name() const noexcept { return hidden_; }

  /** Gives the file its name: Errc::FileWrite unless it has so many bytes, and they are on the disk. */
  Errc commit(std::uint64_t bytes) noexcept {
    struct stat now = {};
    if (::fstat(file_, &now) != 0 || static_cast<std::uint64_t>(now.st_size) != bytes) return Errc::FileWrite;
    // A file system without permissions has none to keep.
    if (readOnlyForOwner_) ::fchmod(file_, mode_);
    if (::fdatasync(file_) != 0 && errno != EINVAL && errno != ENOSYS) return Errc::FileWrite;
    if (::rename(hidden_, target_) != 0) return Errc::FileWrite;
    hidden_[0] = '\0';
    return Errc::Ok;
  }

 private:
  /** Follows symbolic links to where the last one leads, whether or not there is something. */
  bool resolve(const char *path) noexcept {
    constexpr int most = 40;  // as the system itself has it
    if (std::strlen(path) >= sizeof target_) return false;
    std::strcpy(target_, path);
    for (int i = 0; i <= most; ++i) {
      char link[PATH_MAX];
      const ssize_t length = ::readlink(target_, link, sizeof link - 1);
      if (length < 0) return target_[0] != '\0';
      link[length] = '\0';
      const std::size_t folder = link[0] == '/' ? 0 : folderLength();
      if (folder + static_cast<std::size_t>(length) >= sizeof target_) return false;
      std::strcpy(target_ + folder, link);
    }
    return false;
  }

  /** Called as kivocam calls its own, which removes those that a process has left when it died. */
  bool create() noexcept {
    static std::atomic<unsigned> s_count{0};
    const std::size_t folder = folderLength();
    if (folder + 64 > sizeof hidden_) return false;
    std::memcpy(hidden_, target_, folder);
    for (unsigned attempt = 0; attempt < 100; ++attempt) {
      std::snprintf(hidden_ + folder, sizeof hidden_ - folder, ".kivocam-%ld-%u",
                    static_cast<long>(::getpid()), s_count.fetch_add(1));
      file_ = ::open(hidden_, O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0666);
      if (file_ < 0 && errno == EEXIST) continue;
      if (file_ < 0) return false;
      // Whose lock is free belongs to nobody; before it is taken somebody may have found it so.
      struct stat now = {};
      const bool ours = ::flock(file_, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK;
      if (ours && ::fstat(file_, &now) == 0 && now.st_nlink != 0) return true;
      ::close(file_);
      file_ = -1;
    }
    return false;
  }

  /** Another group than the one that was meant may do no more than everybody. */
  void takeOver(const struct stat &old) noexcept {
    struct stat now = {};
    if (::fstat(file_, &now) != 0) return;
    mode_ = old.st_mode & 0777;
    bool kept = now.st_gid == old.st_gid;
    if (!kept || now.st_uid != old.st_uid)
      kept = ::fchown(file_, old.st_uid, old.st_gid) == 0 ||
             ::fchown(file_, static_cast<uid_t>(-1), old.st_gid) == 0;
    if (!kept) mode_ = (mode_ & ~mode_t{070}) | (mode_ & (mode_ & 07) << 3);
    // It is written by its name.
    readOnlyForOwner_ = (mode_ & 0200) == 0;
    ::fchmod(file_, mode_ | 0200);
  }

  /** Of what stands in front of the name of the file, slash included. */
  std::size_t folderLength() const noexcept {
    const char *slash = std::strrchr(target_, '/');
    return slash == nullptr ? 0 : static_cast<std::size_t>(slash - target_) + 1;
  }

  char target_[PATH_MAX] = {};
  char hidden_[PATH_MAX] = {};
  int file_ = -1;
  mode_t mode_ = 0;
  bool readOnlyForOwner_ = false;
};

/** Writes a file of so many bytes with a C writer. Those do not report a full disk: what arrived counts. */
template <class Save>
Errc saveWhole(const char *path, std::uint64_t bytes, Save save) noexcept {
  WholeFile file;
  const Errc error = file.open(path);
  if (error != Errc::Ok) return error;
  const CamUtlStatus status = save(file.name());
  if (status == CAMUTL_STS_FILE_OPEN_ERROR) return Errc::FileOpen;
  return status == CAMUTL_STS_SUCCESS ? file.commit(bytes) : Errc::FileWrite;
}

struct CloseFile {
  void operator()(std::FILE *file) const noexcept { (void)std::fclose(file); }
};
using FileHandle = std::unique_ptr<std::FILE, CloseFile>;

/** Opens an RWH file and reads its header; the frame is next. One handle: another file may take the name. */
inline Errc openRwh(FileHandle &file, RwhInfo &info, const char *path) noexcept {
  // Without O_NONBLOCK opening a pipe would wait for whoever writes into it.
  const int opened = path == nullptr ? -1 : ::open(path, O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK);
  struct stat now = {};
  if (opened < 0) return Errc::FileOpen;
  file.reset(::fdopen(opened, "rb"));
  if (file == nullptr) ::close(opened);
  if (file == nullptr || ::fstat(opened, &now) != 0) return Errc::FileOpen;
  if (!S_ISREG(now.st_mode)) return Errc::NotAFile;
  info.fileBytes = static_cast<std::uint64_t>(now.st_size);
  std::uint8_t header[16] = {};
  if (info.fileBytes < sizeof header) return Errc::NoHeader;
  if (std::fread(header, 1, sizeof header, file.get()) != sizeof header) return Errc::FileRead;
  const auto word = [&header](std::size_t i) noexcept {
    return header[i] | std::uint32_t{header[i + 1]} << 8 | std::uint32_t{header[i + 2]} << 16 |
           std::uint32_t{header[i + 3]} << 24;
  };
  info = {word(0), word(4), word(8), word(12), info.fileBytes};
  return Errc::Ok;
}

/** Bits of a row of a frame, all planes together. */
inline std::uint64_t rowBits(std::uint32_t format, std::uint32_t width) noexcept {
  return std::uint64_t{width} * (format >> 16 & 0xFF);
}

}  // namespace detail

/** Reads the header of an RWH file; whether it makes sense, check() tells. */
inline Result<RwhInfo> readRwhInfo(const char *path) noexcept {
  detail::FileHandle file;
  RwhInfo info;
  const Errc error = detail::openRwh(file, info, path);
  if (error != Errc::Ok) return error;
  return info;
}

/**
 * Whether a file with this header and length is an RWH frame. The length must match exactly: RWH has no magic
 * number, so the length is what tells a frame from other files. Rows of planes have no padding.
 */
inline Errc check(const RwhInfo &info) noexcept {
  const Format *format = findFormat(info.format);
  if (format == nullptr) return Errc::UnknownFormat;
  if (info.width == 0 || info.height == 0) return Errc::EmptyImage;
  const std::uint64_t bits = detail::rowBits(info.format, info.width),
                      line = std::uint64_t{info.lineBytes} * 8;
  if (line < bits || (format->packing == KIVO_PLANAR && line != bits)) return Errc::BadHeader;
  if (info.fileBytes < info.expectedBytes()) return Errc::FileTooShort;
  if (info.fileBytes > info.expectedBytes()) return Errc::FileTooLong;
  return info.expectedBytes() - 16 > 0xFFFFFFFFU ? Errc::TooLarge : Errc::Ok;
}

/** Reads a file that check() accepts, whatever becomes of it meanwhile. Padding becomes a stride. */
inline Result<Frame> loadRwh(const char *path) noexcept {
  detail::FileHandle file;
  RwhInfo info;
  Errc error = detail::openRwh(file, info, path);
  if (error == Errc::Ok) error = check(info);
  if (error != Errc::Ok) return error;
  Frame frame{{}, info.format, info.width, info.height, info.stride()};
  const std::size_t bytes = static_cast<std::size_t>(info.expectedBytes() - 16);
  if (!frame.data.allocate(bytes)) return Errc::OutOfMemory;
  if (std::fread(frame.data.data(), 1, bytes, file.get()) != bytes) return Errc::FileRead;
  return frame;
}

/** A copy of a frame in its own format, with packed little-endian rows: what an RWH file holds. */
inline Result<Frame> compact(const FrameView &view) noexcept {
  const Errc error = check(view);
  if (error != Errc::Ok) return error;
  const std::uint64_t bits = detail::rowBits(view.format, view.width);
  if (bits % 8 != 0) return Errc::PartialByte;
  if (bits > 0xFFFFFFFFU) return Errc::TooLarge;  // as in the header, where it is computed in 32 bits
  const auto row = static_cast<std::uint32_t>(kivo_row_bytes(view.format, view.width));
  const std::size_t plane = std::size_t{row} * view.height;
  const std::size_t rows = view.stride == 0 ? row : static_cast<std::size_t>(std::abs(view.stride));
  Frame frame{{}, view.format, view.width, view.height, 0};
  if (!frame.data.allocate(static_cast<std::size_t>(bits / 8) * view.height)) return Errc::OutOfMemory;
  // Whatever a row holds, its bytes or words are the samples of a grey one.
  const bool words = view.byteOrder == ByteOrder::Big;
  FrameView grey = view;
  grey.format = words ? CAMUTL_PFNC_MONO16 : CAMUTL_PFNC_MONO8;
  grey.width = words ? row / 2 : row;
  Options samples;
  samples.pixels = Pixels::Samples;
  for (std::size_t to = 0, from = 0; to < frame.data.size(); to += plane, from += rows * view.height) {
    grey.data = view.data + from, grey.size = view.size - from;
    const Errc copied = convertTo({frame.data.data() + to, plane, 0}, grey, samples);
    if (copied != Errc::Ok) return copied;
  }
  return frame;
}

/**
 * Writes a frame as compact() has it. The file is there whole or not at all: what was there under that name
 * stays until the new one is on the disk, and passes on its permissions and, if possible, owner and group. A
 * symbolic link stays one. Errc::FileOpen also for a read-only file, Errc::FileWrite also for a device or
 * pipe.
 */
inline Errc saveRwh(const FrameView &view, const char *path) noexcept {
  const Result<Frame> frame = compact(view);
  if (!frame) return frame.error();
  const std::uint64_t bytes = frame->data.size();
  if (bytes > 0xFFFFFFFFU) return Errc::TooLarge;
  return detail::saveWhole(path, 16 + bytes, [&](const char *name) noexcept {
    return SaveRWH(frame->data.data(), view.format, view.width, view.height, name);
  });
}

/** Writes a BMP file of 32, 24 or 8 bits a pixel, as saveRwh() does. Its sizes have 32 bits. */
inline Errc saveBmp(const Image &image, const char *path) noexcept {
  const std::uint8_t *const pixels = image.pixels.data();
  const std::uint32_t width = image.width, height = image.height;
  const auto is = [&image](Pixels kind, std::uint32_t bytes) noexcept {
    return image.kind == kind ? bytes : 0;
  };
  const std::uint32_t bytes = is(Pixels::Bgra8, 4) + is(Pixels::Bgr8, 3) + is(Pixels::Gray8, 1);
  if (pixels == nullptr) return Errc::NullPointer;
  if (bytes == 0) return Errc::NotForBmp;
  if (width == 0 || height == 0) return Errc::EmptyImage;
  const std::uint64_t row = (std::uint64_t{width} * bytes + 3) / 4 * 4, head = bytes == 1 ? 54 + 1024 : 54;
  if (row > 0xFFFFFFFFU || height > 0x7FFFFFFFU || row * height > 0xFFFFFFFFU - head) return Errc::TooLarge;
  if (image.rowBytes < std::uint64_t{width} * bytes || image.pixels.size() / image.rowBytes < height)
    return Errc::ShortBuffer;
  const auto *const words = static_cast<const std::uint32_t *>(static_cast<const void *>(pixels));
  const auto step = static_cast<std::uint32_t>(image.rowBytes);
  return detail::saveWhole(path, head + row * height, [&](const char *name) noexcept {
    if (bytes == 4) return SaveBmpARGB_S(words, width, height, step, name);
    return bytes == 3 ? SaveBmpRGB_S(pixels, width, height, step, name)
                      : SaveBmpMono_S(pixels, width, height, step, name);
  });
}

}  // namespace v1
#pragma GCC visibility pop
}  // namespace kivo

#endif  // KIVO_FILES_HPP
