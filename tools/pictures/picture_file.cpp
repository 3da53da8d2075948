// SPDX-License-Identifier: Apache-2.0
#include "pictures/picture_file.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace tool {
namespace {

constexpr std::size_t kBuffer = std::size_t{1} << 16;

}  // namespace

PictureFile::PictureFile(const std::string &path)
    : own_(std::in_place, path), source_(*own_), size_(source_.size()), buffer_(kBuffer) {}

PictureFile::PictureFile(Source &source) : source_(source), size_(source.size()), buffer_(kBuffer) {}

bool PictureFile::reaches(std::uint64_t bytes) {
  if (size_ != kUncounted) return size_ >= bytes;
  if (bytes > taken_ && bytes - taken_ > end_ - at_) {
    if (bytes - taken_ > buffer_.size()) buffer_.resize(static_cast<std::size_t>(bytes - taken_));
    fill();
    if (bytes - taken_ > end_ - at_) size_ = taken_ + (end_ - at_);
  }
  return size_ == kUncounted;
}

void PictureFile::fill() {
  std::memmove(buffer_.data(), buffer_.data() + at_, end_ - at_);
  end_ -= at_;
  at_ = 0;
  end_ += source_.read(buffer_.data() + end_, buffer_.size() - end_);
}

bool PictureFile::startsWith(std::string_view text) {
  if (end_ - at_ < text.size()) fill();
  return end_ - at_ >= text.size() && std::memcmp(buffer_.data() + at_, text.data(), text.size()) == 0;
}

std::size_t PictureFile::take(void *to, std::size_t size) {
  std::uint8_t *next = static_cast<std::uint8_t *>(to);
  std::size_t left = size;
  while (left != 0) {
    if (at_ == end_ && left >= buffer_.size()) {
      left -= source_.read(next, left);
      break;
    }
    if (at_ == end_) fill();
    const std::size_t step = std::min(left, end_ - at_);
    if (step == 0) break;
    std::memcpy(next, buffer_.data() + at_, step);
    at_ += step;
    next += step;
    left -= step;
  }
  taken_ += size - left;
  return size - left;
}

int PictureFile::byte() {
  std::uint8_t value = 0;
  return take(&value, 1) == 1 ? value : -1;
}

void PictureFile::skip(std::uint64_t bytes) {
  const std::uint64_t buffered = std::min<std::uint64_t>(bytes, end_ - at_);
  at_ += static_cast<std::size_t>(buffered);
  source_.skip(bytes - buffered);
  taken_ += bytes;
}

std::vector<std::uint8_t> PictureFile::body(std::uint64_t size) {
  constexpr std::uint64_t piece = std::uint64_t{4} << 20;
  const std::uint64_t left = size_ == kUncounted || size_ < taken_ ? 0 : size_ - taken_;
  std::vector<std::uint8_t> bytes(static_cast<std::size_t>(std::min(size, std::max(left, piece))));
  std::size_t done = take(bytes.data(), bytes.size());
  while (done == bytes.size() && done < size) {
    bytes.resize(static_cast<std::size_t>(std::min(size, 2 * std::uint64_t{done})));
    done += take(bytes.data() + done, bytes.size() - done);
  }
  bytes.resize(done);
  return bytes;
}

}  // namespace tool
