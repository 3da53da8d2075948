// SPDX-License-Identifier: Apache-2.0
#include "files/byte_sink.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <new>

#include "files/traffic.h"
#include "words/failure.h"

namespace tool {
namespace {

constexpr std::size_t kGather = std::size_t{256} << 10;

}  // namespace

bool ByteSink::put(const void *data, std::size_t size) noexcept {
  const std::uint8_t *from = static_cast<const std::uint8_t *>(data);
  if (error_ != 0) return false;
  if (gathered_.size() + size > kGather && !flush()) return false;
  if (size >= kGather) {
    error_ = drain(from, size);
    return error_ == 0;
  }
  try {
    gathered_.reserve(kGather);
    gathered_.insert(gathered_.end(), from, from + size);
  } catch (const std::bad_alloc &) {
    error_ = ENOMEM;
  }
  return error_ == 0;
}

bool ByteSink::flush() noexcept {
  if (error_ == 0 && !gathered_.empty()) error_ = drain(gathered_.data(), gathered_.size());
  gathered_.clear();
  return error_ == 0;
}

void ByteSink::write(const void *data, std::size_t size) {
  if (!put(data, size)) fail(error_);
}

void ByteSink::finish() {
  if (!flush()) fail(error_);
}

void ByteSink::fail(int error) const {
  if (error == ENOMEM) throw std::bad_alloc();
  throw failureOfErrno(Exit::Output, name(), "cannot be written", error);
}

int writeAll(int file, const std::uint8_t *data, std::size_t size) noexcept {
  while (size != 0) {
    const ssize_t done = ::write(file, data, std::min(size, std::size_t{1} << 30));
    if (done < 0 && errno != EINTR) return errno;
    if (done <= 0) continue;
    data += done;
    size -= static_cast<std::size_t>(done);
    s_traffic.written += static_cast<std::size_t>(done);
  }
  return 0;
}

StandardOutput::StandardOutput() {
  if (::isatty(STDOUT_FILENO) != 0)
    throw Failure(Exit::Usage, "standard output", "is a terminal, which shows no pictures");
}

int StandardOutput::drain(const std::uint8_t *data, std::size_t size) noexcept {
  return writeAll(STDOUT_FILENO, data, size);
}

std::string StandardOutput::name() const {
  return "standard output";
}

}  // namespace tool
