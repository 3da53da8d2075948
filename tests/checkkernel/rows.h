// SPDX-License-Identifier: Apache-2.0
// Kernels of runs, called as their tables offer them.
#ifndef KIVO_TESTS_CHECKKERNEL_ROWS_H
#define KIVO_TESTS_CHECKKERNEL_ROWS_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "checkkernel/check.h"
#include "simd/kernels.h"

namespace KivoTest {

// One kernel, and what it makes of one row of n items.
struct RowKernel {
  std::string name;
  Kivo::RunKernel kernel;
  std::size_t src_item, dst_item;
  std::size_t src_skip;  // bytes of a row's last item that are not read
  std::function<void(std::uint8_t *dst, const std::uint8_t *src, std::size_t n, std::uint32_t shift)>
      reference;
};

constexpr Output kOutputs[] = {Output::kBgra, Output::kBgr};

inline std::string OutputName(Output output) {
  return output == Output::kBgra ? " to BGRA" : " to BGR";
}
constexpr std::size_t PixelBytes(Output output) {
  return output == Output::kBgra ? 4 : 3;
}

// Rows of every length around a vector, with gaps between them, upward and downward.
void CheckInRows(Check &check, const std::vector<RowKernel> &kernels);

}  // namespace KivoTest

#endif  // KIVO_TESTS_CHECKKERNEL_ROWS_H
