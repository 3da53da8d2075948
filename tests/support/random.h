// SPDX-License-Identifier: Apache-2.0
// Seeded random numbers that are the same on every machine and compiler.
#ifndef KIVO_TESTS_SUPPORT_RANDOM_H
#define KIVO_TESTS_SUPPORT_RANDOM_H

#include <cstdint>

namespace KivoTest {

class Random {
 public:
  explicit Random(std::uint64_t seed) : state_(seed) {}

  std::uint64_t Next() {
    state_ += 0x9E3779B97F4A7C15u;
    std::uint64_t z = state_;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9u;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBu;
    return z ^ (z >> 31);
  }

  // 0 to limit - 1; limit is not 0.
  std::uint32_t Below(std::uint32_t limit) {
    return static_cast<std::uint32_t>((Next() >> 32) * limit >> 32);
  }

 private:
  std::uint64_t state_;
};

}  // namespace KivoTest

#endif  // KIVO_TESTS_SUPPORT_RANDOM_H
