// SPDX-License-Identifier: Apache-2.0
#include "support/guarded_buffer.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "support/unknown_memory.h"

namespace KivoTest {
namespace {

constexpr std::uint8_t kAround = 0xC3;

[[noreturn]] void Die(const char *what) {
  std::perror(what);
  std::abort();
}

std::uint8_t *MapBetweenGuards(int fd, std::size_t capacity, std::size_t page, int protection) {
  void *const reserved =
      mmap(nullptr, capacity + 2 * page, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (reserved == MAP_FAILED) Die("mmap");
  std::uint8_t *const inside = static_cast<std::uint8_t *>(reserved) + page;
  if (mmap(inside, capacity, protection, MAP_SHARED | MAP_FIXED, fd, 0) == MAP_FAILED) Die("mmap");
  return inside;
}

}  // namespace

GuardedArena::GuardedArena(std::size_t capacity) {
  page_ = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  capacity_ = (capacity + page_ - 1) / page_ * page_;
  if (capacity_ == 0) capacity_ = page_;
  const int fd = memfd_create("guarded", MFD_CLOEXEC);
  if (fd < 0) Die("memfd_create");
  if (ftruncate(fd, static_cast<off_t>(capacity_)) != 0) Die("ftruncate");
  writable_ = MapBetweenGuards(fd, capacity_, page_, PROT_READ | PROT_WRITE);
  read_only_ = MapBetweenGuards(fd, capacity_, page_, PROT_READ);
  close(fd);
}

GuardedArena::~GuardedArena() {
  munmap(writable_ - page_, capacity_ + 2 * page_);
  munmap(const_cast<std::uint8_t *>(read_only_) - page_, capacity_ + 2 * page_);
}

std::size_t GuardedArena::Offset(std::size_t size, Placement where) const {
  if (size + where.gap > capacity_) {
    std::fprintf(stderr, "guarded arena of %zu bytes asked for %zu + %zu\n", capacity_, size, where.gap);
    std::abort();
  }
  return where.edge == Placement::Edge::kStart ? where.gap : capacity_ - where.gap - size;
}

const std::uint8_t *GuardedArena::Source(std::size_t offset, std::size_t size) {
  if (is_source_) {
    MakeUnknown(read_only_ + known_, known_bytes_);
  } else {
    MakeUnknown(read_only_, capacity_);
    is_source_ = true;
  }
  MakeKnown(read_only_ + offset, size);
  known_ = offset;
  known_bytes_ = size;
  return ReadOnly(offset);
}

const std::uint8_t *GuardedArena::Result(std::size_t offset, std::size_t size) const {
  RequireKnown(writable_ + offset, size);
  return ReadOnly(offset);
}

GuardedBuffer::GuardedBuffer(std::size_t size, Placement where)
    : arena_(size + where.gap), size_(size), offset_(arena_.Offset(size, where)) {
  std::memset(arena_.Writable(0), kAround, arena_.capacity());
}

void GuardedBuffer::Fill(std::uint8_t value) {
  std::memset(data(), value, size_);
}

void GuardedBuffer::Assign(const std::vector<std::uint8_t> &bytes) {
  if (bytes.size() > size_) std::abort();
  if (!bytes.empty()) std::memcpy(data(), bytes.data(), bytes.size());
}

bool GuardedBuffer::Intact() const {
  for (std::size_t i = 0; i < arena_.capacity(); ++i) {
    const bool inside = i >= offset_ && i < offset_ + size_;
    if (!inside && *arena_.Writable(i) != kAround) return false;
  }
  return true;
}

}  // namespace KivoTest
