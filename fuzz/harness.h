// SPDX-License-Identifier: Apache-2.0
// What every harness defines, and the file that readers are given.
#ifndef KIVO_FUZZ_HARNESS_H
#define KIVO_FUZZ_HARNESS_H

#include <sys/mman.h>
#include <unistd.h>

#include <string>

#include "input.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

namespace KivoFuzz {

// A file in memory that has a name; one for the whole run.
class MemoryFile {
 public:
  MemoryFile() : file_(memfd_create("input", MFD_CLOEXEC)) {
    Require(file_ >= 0, "there is memory for a file");
  }
  ~MemoryFile() { close(file_); }
  MemoryFile(const MemoryFile &) = delete;
  MemoryFile &operator=(const MemoryFile &) = delete;

  std::string name() const { return "/proc/self/fd/" + std::to_string(file_); }
  void Hold(const std::uint8_t *data, std::size_t size) const {
    Require(ftruncate(file_, 0) == 0 && pwrite(file_, data, size, 0) == static_cast<ssize_t>(size),
            "the file takes its bytes");
  }

 private:
  int file_;
};

}  // namespace KivoFuzz

#endif  // KIVO_FUZZ_HARNESS_H
