// SPDX-License-Identifier: Apache-2.0
#include "files/source.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "files/traffic.h"
#include "words/failure.h"

namespace tool {

std::string inputName(const std::string &file) {
  return file == "-" ? "standard input" : file;
}

bool isPipe(const std::string &file) {
  struct stat info = {};
  return ::stat(file.c_str(), &info) == 0 && S_ISFIFO(info.st_mode);
}

Source::Source(const std::string &file, bool pipes)
    : name_(inputName(file)), own_(file != "-"), file_(STDIN_FILENO) {
  if (!own_) return;
  // Where no pipe is meant, one without a writer would make open() wait.
  const bool pipe = pipes && isPipe(file);
  file_ = ::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | (pipe ? 0 : O_NONBLOCK));
  if (file_ < 0) throw failureOfErrno(Exit::Input, name_, "cannot be opened", errno);
  struct stat info = {};
  const bool known = ::fstat(file_, &info) == 0;
  if (known && S_ISREG(info.st_mode)) {
    size_ = static_cast<std::uint64_t>(info.st_size);
    return;
  }
  if (known && pipe && S_ISFIFO(info.st_mode)) return;
  ::close(file_);
  if (S_ISDIR(info.st_mode)) throw Failure(Exit::Input, name_, "is a directory");
  throw failureOf(kivo::Errc::NotAFile, name_, Exit::Input);
}

Source::~Source() {
  if (own_) ::close(file_);
}

// Of the bytes that peek() has seen.
std::size_t Source::takeAhead(void *to, std::size_t size) noexcept {
  const std::size_t taken = std::min(size, aheadSize_);
  if (to != nullptr) std::memcpy(to, ahead_, taken);
  std::memmove(ahead_, ahead_ + taken, aheadSize_ - taken);
  aheadSize_ -= taken;
  return taken;
}

std::size_t Source::read(void *to, std::size_t size) {
  const std::size_t taken = takeAhead(to, size);
  return taken + readOn(static_cast<char *>(to) + taken, size - taken);
}

std::size_t Source::peek(void *to, std::size_t size) {
  if (size > aheadSize_)
    aheadSize_ += readOn(static_cast<char *>(static_cast<void *>(ahead_)) + aheadSize_, size - aheadSize_);
  std::memcpy(to, ahead_, std::min(size, aheadSize_));
  return std::min(size, aheadSize_);
}

std::size_t Source::readOn(char *to, std::size_t size) {
  std::size_t done = 0;
  while (done < size) {
    const std::size_t step = std::min(size - done, std::size_t{1} << 30);
    const ssize_t got = ::read(file_, to + done, step);
    if (got == 0) break;
    if (got > 0) {
      done += static_cast<std::size_t>(got);
      s_traffic.read += static_cast<std::size_t>(got);
    } else if (errno != EINTR) {
      throw failureOfErrno(Exit::Input, name_, "cannot be read", errno);
    }
  }
  return done;
}

void Source::skip(std::uint64_t bytes) {
  bytes -= takeAhead(nullptr, static_cast<std::size_t>(std::min<std::uint64_t>(bytes, kAhead)));
  if (size_ != kUncounted) {
    ::lseek(file_, static_cast<off_t>(bytes), SEEK_CUR);
    return;
  }
  char unwanted[4096];
  while (bytes != 0) {
    const std::size_t step = static_cast<std::size_t>(std::min<std::uint64_t>(bytes, sizeof unwanted));
    if (read(unwanted, step) != step) return;
    bytes -= step;
  }
}

}  // namespace tool
