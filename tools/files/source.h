// SPDX-License-Identifier: Apache-2.0
// Where bytes come from: a file, a pipe or standard input.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace tool {

// Stands for a number of bytes that nobody counted.
inline constexpr std::uint64_t kUncounted = UINT64_MAX;

// What messages call an input: its name, or "standard input" for "-".
std::string inputName(const std::string &file);

// Whether there is a pipe of that name.
bool isPipe(const std::string &file);

// An open file or stream, read from the front.
class Source {
 public:
  // Opens a file, standard input for "-", or a pipe where `pipes` says that one is meant. Throws Failure.
  explicit Source(const std::string &file, bool pipes = true);
  ~Source();
  Source(const Source &) = delete;
  Source &operator=(const Source &) = delete;

  const std::string &name() const noexcept { return name_; }
  // Bytes of a file; kUncounted for a stream.
  std::uint64_t size() const noexcept { return size_; }

  // As many bytes as there are, up to `size`. Throws Failure.
  std::size_t read(void *to, std::size_t size);
  // The same, up to kAhead, which are still to be read then. Throws Failure.
  static constexpr std::size_t kAhead = 16;
  std::size_t peek(void *to, std::size_t size);
  // Leaves out as many bytes as there are, up to `bytes`. Throws Failure.
  void skip(std::uint64_t bytes);

 private:
  std::size_t readOn(char *to, std::size_t size);
  std::size_t takeAhead(void *to, std::size_t size) noexcept;

  std::string name_;
  bool own_;
  int file_;
  std::uint64_t size_ = kUncounted;
  std::uint8_t ahead_[kAhead] = {};
  std::size_t aheadSize_ = 0;
};

}  // namespace tool
