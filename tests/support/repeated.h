// SPDX-License-Identifier: Apache-2.0
// Buffers that are larger than the memory they take.
#ifndef KIVO_TESTS_SUPPORT_REPEATED_H
#define KIVO_TESTS_SUPPORT_REPEATED_H

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>

namespace KivoTest {

constexpr std::size_t kBlock = std::size_t{64} << 20;

class Repeated {
 public:
  // Blocks of one shared memory; the last block has memory of its own.
  explicit Repeated(std::size_t size) : blocks_((size + kBlock - 1) / kBlock) {
    base_ = static_cast<std::uint8_t *>(
        mmap(nullptr, blocks_ * kBlock, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0));
    fd_ = memfd_create("repeated", MFD_CLOEXEC);
    ok_ = base_ != MAP_FAILED && fd_ >= 0 && ftruncate(fd_, 2 * kBlock) == 0;
    for (std::size_t i = 0; ok_ && i < blocks_; ++i) {
      const off_t offset = i + 1 == blocks_ ? static_cast<off_t>(kBlock) : 0;
      ok_ = mmap(base_ + i * kBlock, kBlock, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_FIXED, fd_, offset) !=
            MAP_FAILED;
    }
  }
  ~Repeated() {
    if (base_ != MAP_FAILED) munmap(base_, blocks_ * kBlock);
    if (fd_ >= 0) close(fd_);
  }
  Repeated(const Repeated &) = delete;
  Repeated &operator=(const Repeated &) = delete;

  bool ok() const { return ok_; }
  std::uint8_t *data() const { return base_; }
  std::uint8_t *last_block() const { return base_ + (blocks_ - 1) * kBlock; }

 private:
  std::size_t blocks_;
  std::uint8_t *base_;
  int fd_;
  bool ok_;
};

}  // namespace KivoTest

#endif  // KIVO_TESTS_SUPPORT_REPEATED_H
