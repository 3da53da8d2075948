// SPDX-License-Identifier: Apache-2.0
// The bytes of a picture, read as far as a decoder asks for them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "files/source.h"

namespace tool {

class PictureFile {
 public:
  // A file, a pipe, or standard input for "-". Throws Failure.
  explicit PictureFile(const std::string &path);
  // From where the source is, which outlives this.
  explicit PictureFile(Source &source);

  const std::string &name() const noexcept { return source_.name(); }
  // Of a file its bytes, of a stream those that have come, where that is not all that was asked for, or
  // kUncounted.
  std::uint64_t size() const noexcept { return size_; }
  // Whether there are as many bytes as that in all. Of a stream they are waited for and kept. Throws Failure.
  bool reaches(std::uint64_t bytes);
  // Bytes that were taken.
  std::uint64_t taken() const noexcept { return taken_; }

  // Whether the next bytes are these; they are not taken. Up to 16. Throws Failure.
  bool startsWith(std::string_view text);
  // Takes as many bytes as there are, up to `size`. Throws Failure.
  std::size_t take(void *to, std::size_t size);
  // The next byte, or -1 at the end. Throws Failure.
  int byte();
  // Leaves out as many bytes as there are, up to `bytes`. Throws Failure.
  void skip(std::uint64_t bytes);
  // The next `size` bytes, or as many as there are: what a stream claims to bring is believed piece by piece
  // only. Throws Failure.
  std::vector<std::uint8_t> body(std::uint64_t size);

 private:
  void fill();

  std::optional<Source> own_;
  Source &source_;
  std::uint64_t size_;
  std::vector<std::uint8_t> buffer_;
  std::size_t at_ = 0;
  std::size_t end_ = 0;
  std::uint64_t taken_ = 0;
};

}  // namespace tool
