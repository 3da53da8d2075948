// SPDX-License-Identifier: Apache-2.0
#include "files/output_file.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <filesystem>
#include <mutex>
#include <set>
#include <utility>

#include "words/failure.h"
#include "words/text.h"

namespace tool {
namespace {

const char kPrefix[] = ".kivocam-";

std::string newHiddenName(const std::string &directory) {
  static std::atomic<unsigned> s_count{0};
  return directory + kPrefix + printed("%ld-%u", static_cast<long>(::getpid()), s_count++);
}

// Where a symbolic link leads, whether or not there is something yet. Throws Failure for one that leads round
// in a circle.
std::string resolved(const std::string &path) {
  namespace fs = std::filesystem;
  constexpr int most = 40;  // as the system itself has it
  fs::path target = path;
  std::error_code failed;
  for (int i = 0; i <= most; ++i) {
    if (!fs::is_symlink(target, failed)) return target.string();
    const fs::path next = fs::read_symlink(target, failed);
    if (failed) throw Failure(Exit::Output, path, withErrno("cannot be written", failed.value()));
    target = target.parent_path() / next;
  }
  throw Failure(Exit::Output, path, withErrno("cannot be written", ELOOP));
}

// In front of the name of a file there: empty, or with a / at its end.
std::string directoryOf(const std::string &path) {
  std::string directory = std::filesystem::path(path).parent_path().string();
  if (!directory.empty() && directory.back() != '/') directory += '/';
  return directory;
}

std::string ownName(int file) {
  return printed("/proc/self/fd/%d", file);
}

// For root, too, to whom the system would not say so.
bool isReadOnly(const std::string &path, const struct stat &info) {
  return (info.st_mode & 0222) == 0 || ::faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) != 0;
}

// Gives a new file what the one that it replaces had. Another group than the one that was meant may do no
// more than everybody. A file system without owners and permissions has nothing to keep.
void takeOver(int file, const struct stat &old) {
  struct stat now = {};
  if (::fstat(file, &now) != 0) return;
  mode_t mode = old.st_mode & 0777;
  bool kept = now.st_gid == old.st_gid;
  if (!kept || now.st_uid != old.st_uid)
    kept = ::fchown(file, old.st_uid, old.st_gid) == 0 ||
           ::fchown(file, static_cast<uid_t>(-1), old.st_gid) == 0;
  if (!kept) mode &= ~mode_t{070} | (mode & 07) << 3;
  if (::fchmod(file, mode) != 0) return;
}

// Whoever writes a temporary file holds its lock, and death lets go of it, in whatever container: a file
// whose lock is free belongs to nobody.
void removeIfStale(int directory, const char *name) {
  const int file = ::openat(directory, name, O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK);
  if (file < 0) return;
  if (::flock(file, LOCK_EX | LOCK_NB) == 0) ::unlinkat(directory, name, 0);
  ::close(file);
}

// Once for each directory: a run does not meet its own leftovers.
void removeStale(const std::string &directory) {
  static std::mutex s_mutex;
  static std::set<std::string> s_seen;
  const std::lock_guard<std::mutex> lock(s_mutex);
  if (!s_seen.insert(directory).second) return;
  DIR *list = ::opendir(directory.empty() ? "." : directory.c_str());
  if (list == nullptr) return;
  while (const dirent *entry = ::readdir(list))
    if (isTemporaryName(entry->d_name)) removeIfStale(::dirfd(list), entry->d_name);
  ::closedir(list);
}

}  // namespace

bool isTemporaryName(const std::string &fileName) {
  const std::string prefix = kPrefix;
  const std::size_t digits = fileName.find_first_not_of("0123456789", prefix.size());
  return fileName.compare(0, prefix.size(), prefix) == 0 && digits != std::string::npos &&
         digits > prefix.size() && fileName[digits] == '-' && digits + 1 < fileName.size() &&
         fileName.find_first_not_of("0123456789", digits + 1) == std::string::npos;
}

OutputFile::OutputFile(const std::string &path, const OutputRules &rules)
    : path_(path), rules_(rules), target_(resolved(path)) {
  struct stat old = {};
  const bool replaces = ::stat(target_.c_str(), &old) == 0;
  if (replaces && !S_ISREG(old.st_mode))
    throw Failure(Exit::Output, path_, S_ISDIR(old.st_mode) ? "is a directory" : "is not a regular file");
  if (replaces && rules.noClobber) refuseThere();
  if (replaces && !rules.force && isReadOnly(target_, old))
    throw Failure(Exit::Output, path_, "is read-only (--force replaces it)");
  const std::string directory = directoryOf(target_);
  removeStale(directory);
  if (!createUnnamed(directory)) createNamed(directory);
  if (replaces) takeOver(file_, old);
}

void OutputFile::refuseThere() const {
  throw Failure(Exit::Output, path_, "is there already");
}

bool OutputFile::createUnnamed(const std::string &directory) {
  // The name of an unnamed file comes from /proc, which a bare root may lack.
  file_ = ::open(directory.empty() ? "." : directory.c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, 0666);
  if (file_ < 0) return false;
  openName_ = ownName(file_);
  if (::access(openName_.c_str(), F_OK) == 0) return true;
  ::close(file_);
  file_ = -1;
  return false;
}

void OutputFile::createNamed(const std::string &directory) {
  installHandlers();
  const SignalsBlocked blocked;
  for (unsigned attempt = 0;; ++attempt) {
    // Once there is a file, nothing may keep its name from being known.
    openName_ = newHiddenName(directory);
    std::string name = openName_;
    file_ = ::open(name.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0666);
    if (file_ < 0 && errno == EEXIST && attempt < 100) continue;
    if (file_ < 0) fail(errno);
    // Between its creation and its lock another run may have taken the file for a leftover.
    struct stat info = {};
    const bool ours = ::flock(file_, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK;
    if ((ours && ::fstat(file_, &info) == 0 && info.st_nlink != 0) || attempt >= 100) {
      hidden_ = std::move(name);
      removal_.watch(hidden_);
      return;
    }
    ::close(file_);
  }
}

OutputFile::~OutputFile() {
  if (!hidden_.empty()) {
    const SignalsBlocked blocked;
    ::unlink(hidden_.c_str());
    removal_.release();
  }
  if (file_ >= 0) ::close(file_);
}

int OutputFile::drain(const std::uint8_t *data, std::size_t size) noexcept {
  return writeAll(file_, data, size);
}

// An unnamed file cannot replace another: where there is one, it takes a hidden name first.
void OutputFile::link() {
  const auto linkAs = [this](const std::string &name) {
    return ::linkat(AT_FDCWD, openName_.c_str(), AT_FDCWD, name.c_str(), AT_SYMLINK_FOLLOW) == 0 ? 0 : errno;
  };
  int error = linkAs(target_);
  if (error == 0) return;
  if (error != EEXIST) fail(error);
  if (rules_.noClobber) refuseThere();
  // The lock says to other runs that the hidden name is no leftover.
  ::flock(file_, LOCK_EX | LOCK_NB);
  const std::string directory = directoryOf(target_);
  for (unsigned attempt = 0; error == EEXIST && attempt < 100; ++attempt) {
    std::string name = newHiddenName(directory);
    error = linkAs(name);
    if (error == 0) hidden_ = std::move(name);
  }
  if (error != 0) fail(error);
  removal_.watch(hidden_);
}

// A new name, unlike that of a renamed file, replaces none that has come in the meantime.
void OutputFile::giveName() {
  if (rules_.noClobber) {
    if (::link(hidden_.c_str(), target_.c_str()) == 0) {
      ::unlink(hidden_.c_str());
      return;
    }
    // A file system may be without links.
    struct stat there = {};
    if (errno == EEXIST || ::lstat(target_.c_str(), &there) == 0) refuseThere();
  }
  if (::rename(hidden_.c_str(), target_.c_str()) != 0) fail(errno);
}

void OutputFile::settle() {
  finish();
  if (settled_) return;
  // Before the file has its name. Network file systems may notice only now that a disk is full; where nothing
  // is synchronised, closing a second descriptor makes them look.
  if (rules_.durable) {
    if (::fdatasync(file_) != 0 && errno != EINVAL && errno != ENOSYS) fail(errno);
  } else {
    const int copy = ::dup(file_);
    if (copy >= 0 && ::close(copy) != 0 && errno != EINTR) fail(errno);
  }
  settled_ = true;
}

void OutputFile::commit() {
  settle();
  installHandlers();
  const SignalsBlocked blocked;
  if (hidden_.empty()) link();
  if (!hidden_.empty()) {
    giveName();
    hidden_.clear();
    removal_.release();
  }
  const int closed = ::close(file_);
  file_ = -1;
  if (closed != 0 && errno != EINTR) fail(errno);
}

std::unique_ptr<ByteSink> openOutput(const std::string &path, const OutputRules &rules) {
  if (path == "-") return std::make_unique<StandardOutput>();
  return std::make_unique<OutputFile>(path, rules);
}

void checkOutputName(const std::string &path, const std::string &written) {
  static const std::pair<const char *, const char *> kNames[] = {
      {"png", "png"},   {"ppm", "ppm"},   {"pgm", "pgm"}, {"bmp", "bmp"}, {"tif", "tiff"},
      {"tiff", "tiff"}, {"dng", "dng"},   {"rwh", "rwh"}, {"raw", ""},    {"bin", ""},
      {"dat", ""},      {"html", "html"}, {"htm", "html"}};
  std::string extension = std::filesystem::path(path).extension().string();
  if (extension.empty()) return;
  extension.erase(0, 1);
  for (const auto &name : kNames) {
    if (!sameName(extension, name.first) || name.second == written) continue;
    throw Failure(Exit::Usage, path,
                  "is called like another format than is written, " +
                      (written.empty() ? "samples without a header" : written));
  }
}

}  // namespace tool
