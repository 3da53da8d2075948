// SPDX-License-Identifier: Apache-2.0
// Formats by name, and by a name that is almost one.
#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "frame/formats.h"

namespace Kivo {
namespace {

constexpr std::string_view c_strV4l2 = "V4L2_PIX_FMT_";

constexpr char Lower(char c) noexcept {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool SameText(std::string_view strA, std::string_view strB) noexcept {
  return std::equal(strA.begin(), strA.end(), strB.begin(), strB.end(),
                    [](char a, char b) { return Lower(a) == Lower(b); });
}

// A text without V4L2's prefix, if it has that.
std::optional<std::string_view> WithoutPrefix(std::string_view strText) noexcept {
  if (!SameText(strText.substr(0, c_strV4l2.size()), c_strV4l2)) return std::nullopt;
  return strText.substr(c_strV4l2.size());
}

// "0x" and one to eight hexadecimal digits.
std::optional<std::uint32_t> ParseCode(std::string_view strText) noexcept {
  if (strText.size() < 3 || strText.size() > 10 || !SameText(strText.substr(0, 2), "0x")) return std::nullopt;
  std::uint32_t uiCode = 0;
  const char *const pcEnd = strText.data() + strText.size();
  const auto [pc, eError] = std::from_chars(strText.data() + 2, pcEnd, uiCode, 16);
  if (eError != std::errc{} || pc != pcEnd) return std::nullopt;
  return uiCode;
}

// The names of a format that stand for formats: empty where there is none.
struct FormatNames {
  explicit FormatNames(const kivo_format &s) noexcept
      : strV4l2(Text(s.v4l2)), astrOther{s.name, Text(s.opencv), Text(s.gstreamer), Text(s.ros)} {
    if (astrOther[1].starts_with("COLOR_")) astrOther[1] = {};
  }
  static std::string_view Text(const char *psz) noexcept { return psz == nullptr ? "" : psz; }

  std::string_view strV4l2;
  std::array<std::string_view, 4> astrOther;
};

const kivo_format *FindByName(std::string_view strText) noexcept {
  if (const auto uiCode = ParseCode(strText)) return FindFormat(*uiCode);
  for (const kivo_format &s : Formats())
    if (SameText(s.name, strText)) return &s;
  const auto strV4l2 = WithoutPrefix(strText);
  const std::string_view strBare = strV4l2.value_or(strText);
  if (strBare.empty()) return nullptr;
  for (const kivo_format &s : Formats()) {
    const FormatNames sNames(s);
    if (SameText(sNames.strV4l2, strBare)) return &s;
    if (strV4l2.has_value()) continue;
    for (const std::string_view strName : sNames.astrOther)
      if (SameText(strName, strBare)) return &s;
  }
  return nullptr;
}

// Longer texts than this are too far from every name, of which the longest has 24 characters.
constexpr std::size_t c_uiLongest = 48;
constexpr unsigned c_uiFar = 255;

// Characters to be inserted, removed, replaced or exchanged with the next, each at most once; c_uiFar for
// more than uiMost. What is further than that from the diagonal is not looked at.
unsigned Distance(std::string_view strA, std::string_view strB, std::size_t uiMost) noexcept {
  std::array<std::array<unsigned, c_uiLongest + 2>, 3> aauiRows;  // the last two rows, and this one
  for (std::size_t j = 0; j <= strB.size(); ++j) aauiRows[0][j] = static_cast<unsigned>(j);
  unsigned uiLeastAbove = 0;
  for (std::size_t i = 1; i <= strA.size(); ++i) {
    auto &auiRow = aauiRows[i % 3];
    const auto &auiAbove = aauiRows[(i - 1) % 3];
    const auto &auiTwoAbove = aauiRows[(i + 1) % 3];
    const std::size_t uiFirst = i > uiMost ? i - uiMost : 1, uiLast = std::min(strB.size(), i + uiMost);
    const char cA = Lower(strA[i - 1]);
    unsigned uiLeast = auiRow[uiFirst - 1] = uiFirst == 1 ? static_cast<unsigned>(i) : c_uiFar;
    for (std::size_t j = uiFirst; j <= uiLast; ++j) {
      const char cB = Lower(strB[j - 1]);
      unsigned ui = std::min({auiAbove[j] + 1, auiRow[j - 1] + 1, auiAbove[j - 1] + (cA == cB ? 0U : 1U)});
      if (i > 1 && j > 1 && cA == Lower(strB[j - 2]) && cB == Lower(strA[i - 2]))
        ui = std::min(ui, auiTwoAbove[j - 2] + 1);
      auiRow[j] = ui;
      uiLeast = std::min(uiLeast, ui);
    }
    auiRow[uiLast + 1] = c_uiFar;  // for the row below
    if (std::min(uiLeast, uiLeastAbove) > uiMost) return c_uiFar;
    uiLeastAbove = uiLeast;
  }
  const unsigned uiDistance = aauiRows[strA.size() % 3][strB.size()];
  return uiDistance <= uiMost ? uiDistance : c_uiFar;
}

// The distance of a text from a name, where no more than every third character is wrong.
unsigned NameDistance(std::string_view strText, std::string_view strName) noexcept {
  if (strName.empty() || strText.size() > c_uiLongest) return c_uiFar;
  // Whatever is longer has that many characters inserted at the least.
  const std::size_t uiLonger = std::max(strText.size(), strName.size()), uiMost = uiLonger / 3;
  if (uiLonger - std::min(strText.size(), strName.size()) > uiMost) return c_uiFar;
  return Distance(strText, strName, uiMost);
}

// A code has no characters to spare: one wrong digit is all that it may have.
unsigned CodeDistance(std::string_view strText, std::uint32_t uiCode) noexcept {
  std::array<char, 10> acCode = {'0', 'x'};
  for (std::size_t i = 0; i < 8; ++i) acCode[2 + i] = "0123456789abcdef"[uiCode >> (28 - 4 * i) & 15];
  const unsigned uiDistance = NameDistance(strText, {acCode.data(), acCode.size()});
  return uiDistance <= 1 ? uiDistance : c_uiFar;
}

unsigned FormatDistance(std::string_view strText, const kivo_format &sFormat) noexcept {
  const FormatNames sNames(sFormat);
  if (const auto strV4l2 = WithoutPrefix(strText)) return NameDistance(*strV4l2, sNames.strV4l2);
  unsigned uiLeast = std::min(NameDistance(strText, sNames.strV4l2), CodeDistance(strText, sFormat.code));
  for (const std::string_view strName : sNames.astrOther)
    uiLeast = std::min(uiLeast, NameDistance(strText, strName));
  return uiLeast;
}

}  // namespace
}  // namespace Kivo

using namespace Kivo;

const kivo_format *kivo_format_find(const char *name) KIVO_NOEXCEPT {
  return name == nullptr ? nullptr : FindByName(name);
}

size_t kivo_format_suggest(const char *name, const kivo_format **formats, size_t most) KIVO_NOEXCEPT {
  if (name == nullptr || formats == nullptr) return 0;
  const auto sFormats = Formats();
  std::array<std::uint8_t, c_uiMostFormats> aucDistances;
  unsigned uiLargest = 0;
  for (std::size_t i = 0; i < sFormats.size(); ++i) {
    const unsigned uiDistance = FormatDistance(name, sFormats[i]);
    aucDistances[i] = static_cast<std::uint8_t>(uiDistance);
    if (uiDistance != c_uiFar) uiLargest = std::max(uiLargest, uiDistance);
  }
  size_t count = 0;
  for (unsigned uiDistance = 0; uiDistance <= uiLargest; ++uiDistance)
    for (std::size_t i = 0; i < sFormats.size() && count < most; ++i)
      if (aucDistances[i] == uiDistance) formats[count++] = &sFormats[i];
  return count;
}
