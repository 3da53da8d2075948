// SPDX-License-Identifier: Apache-2.0
// Helpers of the unit tests.
#ifndef KIVO_TESTS_SUPPORT_UNIT_H
#define KIVO_TESTS_SUPPORT_UNIT_H

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "checkkernel/reference.h"
#include "simd/targets.h"
#include "support/converters.h"
#include "support/guarded_buffer.h"
#include "support/random.h"

namespace KivoTest {

using Bytes = std::vector<std::uint8_t>;

inline const Converter &Find(const std::string &name) {
  for (const Converter &converter : AllConverters())
    if (name == converter.name) return converter;
  ADD_FAILURE() << "no converter " << name;
  return AllConverters().front();
}

// Every target that this build contains and this processor runs, pinned in turn; the best one afterwards.
inline void ForEachTarget(const std::function<void()> &body) {
  unsigned ran = 0;
  for (unsigned i = 0; i < Kivo::c_uiTargets; ++i) {
    const Kivo::Target target = static_cast<Kivo::Target>(i);
    if (!Kivo::PinTarget(target)) continue;
    SCOPED_TRACE(Kivo::TargetName(target));
    body();
    ++ran;
  }
  EXPECT_GE(ran, 1u);
  EXPECT_TRUE(Kivo::PinTarget(Kivo::SelectTarget(Kivo::DetectCpu())));
}

inline Bytes Words(const std::vector<std::uint32_t> &words, std::size_t bytes_each) {
  Bytes bytes;
  for (const std::uint32_t word : words)
    for (std::size_t i = 0; i < bytes_each; ++i) bytes.push_back(static_cast<std::uint8_t>(word >> (8 * i)));
  return bytes;
}
inline Bytes Words32(const std::vector<std::uint32_t> &words) {
  return Words(words, 4);
}
inline Bytes Words16(const std::vector<std::uint32_t> &words) {
  return Words(words, 2);
}

constexpr std::uint8_t kUntouched = 0x77;

// What a converter leaves in a destination of width x height pixels that held kUntouched everywhere, on exact
// guarded buffers. The reference has to agree, so that every literal value of a test holds for it as well.
inline Bytes Converted(const std::string &name, const Bytes &source, std::uint32_t width,
                       std::uint32_t height, std::uint32_t shift = 0) {
  const Converter &converter = Find(name);
  EXPECT_GE(source.size(), SourceBytes(converter, width, height)) << name;
  GuardedBuffer src(source.size()), dst(DestinationBytes(converter, width, height));
  src.Assign(source);
  dst.Fill(kUntouched);
  EXPECT_EQ(converter(dst.data(), src.read_only(), width, height, shift), CAMUTL_STS_SUCCESS) << name;
  EXPECT_TRUE(dst.Intact()) << name;
  Bytes expected(dst.size(), kUntouched);
  Reference::Convert(converter, expected.data(), source.data(), width, height, shift);
  EXPECT_EQ(dst.Copy(), expected) << name << " and its reference differ";
  return dst.Copy();
}

}  // namespace KivoTest

#endif  // KIVO_TESTS_SUPPORT_UNIT_H
