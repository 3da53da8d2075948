// SPDX-License-Identifier: Apache-2.0
/**
 * @file whole_file.hpp
 * Part of KivoCamUtl.hpp: a file that is there whole or not at all.
 */
#ifndef KIVOCAMUTL_WHOLE_FILE_HPP
#define KIVOCAMUTL_WHOLE_FILE_HPP

#include <kivocamutl/error.hpp>

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kivo {
#pragma GCC visibility push(hidden)
inline namespace v1 {
namespace detail {

/**
 * A file under a hidden name in the folder of the name that it is meant for, which it gets when it is whole
 * and on the disk. What is there under that name stays until then, and passes on its permissions and, where
 * the system allows it, its owner and group. A symbolic link stays one: the file behind it is replaced.
 */
class WholeFile {
 public:
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
  WholeFile() = default;
  WholeFile(const WholeFile &) = delete;
  WholeFile &operator=(const WholeFile &) = delete;
  ~WholeFile() {
    if (file_ < 0) return;
    if (hidden_[0] != '\0') ::unlink(hidden_);
    ::close(file_);
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
    if (!copy(target_, path)) return false;
    for (int i = 0; i <= most; ++i) {
      char link[PATH_MAX];
      const ssize_t length = ::readlink(target_, link, sizeof link - 1);
      if (length < 0) return target_[0] != '\0';
      link[length] = '\0';
      const std::size_t folder = link[0] == '/' ? 0 : folderLength();
      if (folder + static_cast<std::size_t>(length) >= sizeof target_) return false;
      std::memcpy(target_ + folder, link, static_cast<std::size_t>(length) + 1);
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

  static bool copy(char (&to)[PATH_MAX], const char *from) noexcept {
    const std::size_t length = std::strlen(from);
    if (length >= sizeof to) return false;
    std::memcpy(to, from, length + 1);
    return true;
  }

  char target_[PATH_MAX] = {};
  char hidden_[PATH_MAX] = {};
  int file_ = -1;
  mode_t mode_ = 0;
  bool readOnlyForOwner_ = false;
};

}  // namespace detail
}  // namespace v1
#pragma GCC visibility pop
}  // namespace kivo

#endif  // KIVOCAMUTL_WHOLE_FILE_HPP
