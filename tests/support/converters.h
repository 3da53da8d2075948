// SPDX-License-Identifier: Apache-2.0
// All converters of the public interface in one table.
#ifndef KIVO_TESTS_SUPPORT_CONVERTERS_H
#define KIVO_TESTS_SUPPORT_CONVERTERS_H

#include <cstddef>
#include <cstdint>
#include <variant>
#include <vector>

#include "KivoCamUtl.h"

namespace KivoTest {

enum class Family { kMonoRgb8, kYuv8, kBayer8, kAcpi8, kMonoRgb16, kBayer16 };
enum class Layout { kMono, kRgb, kBgr, kYuv411, kYuv422, kYuv444, kBayer };
enum class Order { kGR, kRG, kGB, kBG };  // first two samples of row 0
enum class Output { kBgra, kBgr };

using BgraWorker = CamUtlStatus (*)(std::uint32_t *, const std::uint8_t *, std::uint32_t, std::uint32_t,
                                    std::uint32_t);
using BgrWorker = CamUtlStatus (*)(std::uint8_t *, const std::uint8_t *, std::uint32_t, std::uint32_t,
                                   std::uint32_t);
using ConverterFunction = std::variant<BgraConverter, BgrConverter, BgraWorker, BgrWorker>;

constexpr int kAnyShift = -1;

struct Converter {
  const char *name;
  Family family;
  Layout layout;
  Order order;  // of a Bayer layout
  int shift;    // of the wrapper; kAnyShift for a worker, which takes it as its fifth argument
  bool needs_tables;
  ConverterFunction function;

  Output output() const {
    return function.index() == 0 || function.index() == 2 ? Output::kBgra : Output::kBgr;
  }
  bool is_worker() const { return function.index() >= 2; }
  bool is_wide() const { return family == Family::kMonoRgb16 || family == Family::kBayer16; }
  std::size_t pixel_bytes() const { return output() == Output::kBgra ? 4 : 3; }

  // The shift that a call with this argument performs.
  std::uint32_t EffectiveShift(std::uint32_t argument) const {
    return shift == kAnyShift ? argument : static_cast<std::uint32_t>(shift);
  }

  CamUtlStatus operator()(void *dst, const void *src, std::uint32_t width, std::uint32_t height,
                          std::uint32_t shift_argument = 0) const;
};

// Every exported converter, once.
const std::vector<Converter> &AllConverters();

// Bytes that a converter may read: up to the last one it needs.
std::size_t SourceBytes(const Converter &converter, std::uint32_t width, std::uint32_t height);

// Bytes of width x height pixels of its output, whether or not it writes them all.
std::size_t DestinationBytes(const Converter &converter, std::uint32_t width, std::uint32_t height);

}  // namespace KivoTest

#endif  // KIVO_TESTS_SUPPORT_CONVERTERS_H
