// SPDX-License-Identifier: Apache-2.0
// Memory between two unreadable pages.
#ifndef KIVO_TESTS_SUPPORT_GUARDED_BUFFER_H
#define KIVO_TESTS_SUPPORT_GUARDED_BUFFER_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace KivoTest {

// Which unreadable page a buffer lies against, and how many bytes lie between.
struct Placement {
  enum class Edge { kEnd, kStart };
  Edge edge = Edge::kEnd;
  std::size_t gap = 0;
};

// A fixed block of memory with an unreadable page on each side, mapped twice: a writable view and a read-only
// view of the same bytes. A source is filled through the first and handed out through the second, so a store
// into it faults.
class GuardedArena {
 public:
  explicit GuardedArena(std::size_t capacity);
  ~GuardedArena();
  GuardedArena(const GuardedArena &) = delete;
  GuardedArena &operator=(const GuardedArena &) = delete;

  std::size_t capacity() const { return capacity_; }
  std::size_t Offset(std::size_t size, Placement where) const;
  std::uint8_t *Writable(std::size_t offset) const { return writable_ + offset; }
  const std::uint8_t *ReadOnly(std::size_t offset) const { return read_only_ + offset; }

  // The same, of a source: to MemorySanitizer nothing else of the read-only view is known.
  const std::uint8_t *Source(std::size_t offset, std::size_t size);
  // The same, of a result, which must not depend on what is not known.
  const std::uint8_t *Result(std::size_t offset, std::size_t size) const;

 private:
  std::size_t capacity_ = 0;
  std::size_t page_ = 0;
  std::uint8_t *writable_ = nullptr;
  std::uint8_t *read_only_ = nullptr;
  std::size_t known_ = 0;  // the source that was handed out last, if there was one
  std::size_t known_bytes_ = 0;
  bool is_source_ = false;
};

// One buffer of exact size against an unreadable page, for tests that make a few. The bytes around it are a
// fixed pattern; Intact() tells whether they still are.
class GuardedBuffer {
 public:
  explicit GuardedBuffer(std::size_t size, Placement where = {});

  std::size_t size() const { return size_; }
  std::uint8_t *data() { return arena_.Writable(offset_); }
  const std::uint8_t *read_only() const { return arena_.Source(offset_, size_); }
  std::uint32_t *words() { return reinterpret_cast<std::uint32_t *>(data()); }
  std::vector<std::uint8_t> Copy() const {
    const std::uint8_t *const result = arena_.Result(offset_, size_);
    return {result, result + size_};
  }
  void Fill(std::uint8_t value);
  void Assign(const std::vector<std::uint8_t> &bytes);
  bool Intact() const;

 private:
  mutable GuardedArena arena_;  // which remembers what it has handed out
  std::size_t size_;
  std::size_t offset_;
};

}  // namespace KivoTest

#endif  // KIVO_TESTS_SUPPORT_GUARDED_BUFFER_H
