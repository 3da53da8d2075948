// SPDX-License-Identifier: Apache-2.0
#include "output_file.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "failure.h"

namespace tool {
namespace {

// What a signal has to remove; empty when there is nothing. Written only while the signals are blocked.
char s_pending[4096];

const int kSignals[] = {SIGINT, SIGTERM, SIGHUP};

extern "C" void removePending(int signal) {
  if (s_pending[0] != '\0') ::unlink(s_pending);
  struct sigaction byDefault = {};
  byDefault.sa_handler = SIG_DFL;
  ::sigaction(signal, &byDefault, nullptr);
  ::raise(signal);
}

// Keeps the signals away while the file and its entry in s_pending change together.
class SignalsBlocked {
 public:
  SignalsBlocked() {
    sigset_t set;
    sigemptyset(&set);
    for (const int signal : kSignals) sigaddset(&set, signal);
    ::sigprocmask(SIG_BLOCK, &set, &before_);
  }
  ~SignalsBlocked() { ::sigprocmask(SIG_SETMASK, &before_, nullptr); }
  SignalsBlocked(const SignalsBlocked &) = delete;
  SignalsBlocked &operator=(const SignalsBlocked &) = delete;

 private:
  sigset_t before_;
};

void installHandlers() {
  for (const int signal : kSignals) {
    struct sigaction now = {};
    // Whoever started us with a signal ignored (nohup) means it.
    if (::sigaction(signal, nullptr, &now) == 0 && now.sa_handler == SIG_IGN) continue;
    struct sigaction action = {};
    action.sa_handler = removePending;
    sigemptyset(&action.sa_mask);
    ::sigaction(signal, &action, nullptr);
  }
}

std::string resolved(const std::string &path) {
  std::error_code failed;
  if (!std::filesystem::is_symlink(path, failed)) return path;
  const std::filesystem::path target = std::filesystem::canonical(path, failed);
  return failed ? path : target.string();
}

}  // namespace

OutputFile::OutputFile(const std::string &path) : path_(path), target_(resolved(path)) {
  struct stat info = {};
  if (::stat(target_.c_str(), &info) == 0 && !S_ISREG(info.st_mode))
    throw Failure(Exit::Output, path_, S_ISDIR(info.st_mode) ? "is a directory" : "is not a regular file");
  std::string directory = std::filesystem::path(target_).parent_path().string();
  if (!directory.empty() && directory.back() != '/') directory += '/';

  installHandlers();
  const SignalsBlocked blocked;
  for (unsigned attempt = 0;; ++attempt) {
    temporary_ = directory + format(".kivocam-%ld-%u", static_cast<long>(::getpid()), attempt);
    if (temporary_.size() >= sizeof s_pending) fail(ENAMETOOLONG);
    const int file = ::open(temporary_.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0666);
    if (file < 0 && errno == EEXIST && attempt < 100) continue;
    if (file < 0) fail(errno);
    ::close(file);
    std::memcpy(s_pending, temporary_.c_str(), temporary_.size() + 1);
    return;
  }
}

OutputFile::~OutputFile() {
  if (temporary_.empty()) return;
  const SignalsBlocked blocked;
  ::unlink(temporary_.c_str());
  s_pending[0] = '\0';
}

void OutputFile::fail(int error) const {
  throw Failure(Exit::Output, path_, withErrno("cannot be written", error));
}

std::FILE *OutputFile::open() {
  std::FILE *stream = std::fopen(temporary_.c_str(), "wb");
  if (stream == nullptr) fail(errno);
  return stream;
}

void OutputFile::close(std::FILE *stream, bool good) {
  int error = good ? 0 : errno;
  errno = 0;
  if (std::fflush(stream) != 0 || std::ferror(stream) != 0) good = false;
  if (error == 0) error = errno;
  if (std::fclose(stream) != 0) good = false;
  if (error == 0) error = errno;
  if (!good) fail(error == 0 ? EIO : error);
}

void OutputFile::write(const void *data, std::size_t size) {
  std::FILE *stream = open();
  close(stream, std::fwrite(data, 1, size, stream) == size);
}

void OutputFile::commit() {
  const SignalsBlocked blocked;
  if (::rename(temporary_.c_str(), target_.c_str()) != 0) fail(errno);
  temporary_.clear();
  s_pending[0] = '\0';
}

}  // namespace tool
