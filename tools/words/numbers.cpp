// SPDX-License-Identifier: Apache-2.0
#include "words/numbers.h"

#include <charconv>

#include "words/failure.h"

namespace tool {

std::uint64_t parseNumber(const std::string &text, const std::string &option) {
  std::uint64_t value = 0;
  const char *end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value);
  // Anything a file can hold is far below this.
  if (error != std::errc() || stop != end || value > INT64_MAX / 4)
    throw Failure(Exit::Usage, option, "'" + text + "' is not a number of bytes");
  return value;
}

Size parseSize(const std::string &text, const std::string &option) {
  Size size;
  const char *end = text.data() + text.size();
  auto [stop, error] = std::from_chars(text.data(), end, size.width);
  if (error == std::errc() && stop != end && (*stop == 'x' || *stop == 'X')) {
    auto [last, failed] = std::from_chars(stop + 1, end, size.height);
    if (failed == std::errc() && last == end && size.width != 0 && size.height != 0) return size;
  }
  throw Failure(Exit::Usage, option, "'" + text + "' is not WIDTHxHEIGHT in pixels, such as 640x480");
}

kivo::Region parseRegion(const std::string &text, const std::string &option) {
  const std::size_t plus = text.find('+');
  const std::size_t second = plus == std::string::npos ? plus : text.find('+', plus + 1);
  kivo::Region region;
  const auto number = [](const std::string &part, std::uint32_t &value) {
    const auto [stop, error] = std::from_chars(part.data(), part.data() + part.size(), value);
    return error == std::errc() && stop == part.data() + part.size();
  };
  bool good = plus == std::string::npos ||
              (second != std::string::npos && number(text.substr(plus + 1, second - plus - 1), region.x) &&
               number(text.substr(second + 1), region.y));
  if (good) {
    try {
      const Size size = parseSize(text.substr(0, plus), option);
      region.width = size.width;
      region.height = size.height;
      return region;
    } catch (const Failure &) {
      good = false;
    }
  }
  throw Failure(Exit::Usage, option,
                "'" + text + "' is not WIDTHxHEIGHT+X+Y in pixels, such as 640x480+16+8");
}

}  // namespace tool
