// SPDX-License-Identifier: Apache-2.0
// Where encoded bytes go.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace tool {

// Gathers small pieces and hands them on in large ones. Nothing throws but write() and finish(), so that C
// callbacks can use it.
class ByteSink {
 public:
  ByteSink() = default;
  virtual ~ByteSink() = default;
  ByteSink(const ByteSink &) = delete;
  ByteSink &operator=(const ByteSink &) = delete;

  // False when not every byte arrives; error() then tells why.
  bool put(const void *data, std::size_t size) noexcept;
  int error() const noexcept { return error_; }

  // Throws Failure when not every byte arrives.
  void write(const void *data, std::size_t size);
  // Hands on what was gathered. Throws Failure.
  void finish();

  // Everything was written, and is to be safe before it has a name. Throws Failure.
  virtual void settle() { finish(); }
  // The same, and what else there is to do at the end. Throws Failure.
  virtual void commit() { settle(); }

  // What messages call this destination.
  virtual std::string name() const = 0;
  // Throws the Failure of this destination.
  [[noreturn]] void fail(int error) const;

 protected:
  // 0, or why not every byte has arrived.
  virtual int drain(const std::uint8_t *data, std::size_t size) noexcept = 0;

 private:
  bool flush() noexcept;

  std::vector<std::uint8_t> gathered_;
  int error_ = 0;
};

// Bytes to a file descriptor: 0, or the errno of the first failure.
int writeAll(int file, const std::uint8_t *data, std::size_t size) noexcept;

// Standard output, for one picture or frame.
class StandardOutput : public ByteSink {
 public:
  // Throws Failure when somebody would have to look at the bytes.
  StandardOutput();
  std::string name() const override;

 protected:
  int drain(const std::uint8_t *data, std::size_t size) noexcept override;
};

}  // namespace tool
