// SPDX-License-Identifier: Apache-2.0
// What a fuzzer offers, taken from the front as numbers, and how a harness says that something is wrong.
#ifndef KIVO_FUZZ_INPUT_H
#define KIVO_FUZZ_INPUT_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace KivoFuzz {

using Bytes = std::vector<std::uint8_t>;

// Ends the program, as a sanitizer does: what led here is a finding.
inline void Require(bool holds, const char *what) {
  if (holds) return;
  std::fprintf(stderr, "does not hold: %s\n", what);
  std::abort();
}

// Zeros when nothing is left.
class Input {
 public:
  Input(const std::uint8_t *data, std::size_t size) : data_(data), left_(size) {}

  std::size_t left() const { return left_; }
  std::uint8_t Byte() {
    if (left_ == 0) return 0;
    --left_;
    return *data_++;
  }
  std::uint32_t Long() {
    std::uint32_t value = 0;
    for (int i = 0; i < 4; ++i) value = value << 8 | Byte();
    return value;
  }
  // 0 to limit - 1; limit is not 0.
  std::uint32_t Below(std::uint32_t limit) {
    const std::uint32_t high = limit > 256 ? Byte() : 0;
    return (high << 8 | Byte()) % limit;
  }
  bool Flag() { return (Byte() & 1) != 0; }
  // Everything up to a zero byte or a line's end, which is taken too.
  std::string Line() {
    std::string text;
    while (left_ != 0) {
      const std::uint8_t byte = Byte();
      if (byte == 0 || byte == '\n') break;
      text += static_cast<char>(byte);
    }
    return text;
  }
  Bytes Rest() {
    Bytes rest(data_, data_ + left_);
    left_ = 0;
    return rest;
  }
  // `size` bytes: what is left, and behind it bytes that look like noise and depend on nothing else.
  Bytes Frame(std::size_t size) {
    Bytes frame(size);
    std::uint32_t noise = 0x9E3779B9U ^ static_cast<std::uint32_t>(left_);
    for (std::uint8_t &byte : frame) {
      noise = noise * 1664525U + 1013904223U;
      byte = left_ != 0 ? Byte() : static_cast<std::uint8_t>(noise >> 24);
    }
    return frame;
  }

 private:
  const std::uint8_t *data_;
  std::size_t left_;
};

}  // namespace KivoFuzz

#endif  // KIVO_FUZZ_INPUT_H
