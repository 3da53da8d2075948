// SPDX-License-Identifier: Apache-2.0
// Runs kernels over several arrays, each against an unreadable page, and compares every byte with the
// reference.
#ifndef KIVO_TESTS_CHECKKERNEL_ARRAYS_H
#define KIVO_TESTS_CHECKKERNEL_ARRAYS_H

#include <memory>
#include <string>
#include <vector>

#include "checkkernel/check.h"

namespace KivoTest {

using Bytes = std::vector<std::uint8_t>;

class ArrayCheck {
 public:
  explicit ArrayCheck(Check &check) : check_(check) {}

  using Call = std::function<void(std::uint8_t *const *dst, const std::uint8_t *const *src)>;
  struct Job {
    std::string name;
    std::vector<Bytes> sources;
    std::vector<std::size_t> results;  // bytes of each
    std::size_t align = 1;             // of the arrays' addresses
    Call reference;
    Call tested;
  };

  // In every placement; or in one, for large inputs.
  void Compare(const Job &job);
  void Single(const Job &job);

  Bytes RandomBytes(std::size_t size);

 private:
  void Expect(const Job &job);
  void RunOnce(const Job &job, Placement src, Placement dst);

  Check &check_;
  std::vector<std::unique_ptr<GuardedArena>> src_, dst_;
  std::vector<Bytes> before_;    // what each result and its surroundings hold before a call
  std::vector<Bytes> expected_;  // the results after the call
};

}  // namespace KivoTest

#endif  // KIVO_TESTS_CHECKKERNEL_ARRAYS_H
