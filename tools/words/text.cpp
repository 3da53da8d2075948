// SPDX-License-Identifier: Apache-2.0
#include "words/text.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <string_view>

namespace tool {
namespace {

// Bytes of the UTF-8 character at the start of `text`, 0 when there is none.
std::size_t utf8Length(std::string_view text) {
  const auto byte = [text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned first = byte(0);
  const std::size_t length = first < 0x80                    ? 1
                             : first >= 0xC2 && first < 0xE0 ? 2
                             : first >= 0xE0 && first < 0xF0 ? 3
                             : first >= 0xF0 && first < 0xF5 ? 4
                                                             : 0;
  if (length == 0 || length > text.size()) return 0;
  for (std::size_t i = 1; i < length; ++i)
    if ((byte(i) & 0xC0U) != 0x80) return 0;
  if (length < 3) return length;
  // Overlong forms, surrogates, and what is beyond Unicode.
  const unsigned both = first << 8 | byte(1);
  const bool wrong = (both < 0xE0A0 && length == 3) || (both >= 0xEDA0 && both < 0xEE00) ||
                     (both < 0xF090 && length == 4) || both >= 0xF490;
  return wrong ? 0 : length;
}

// C1 controls, and the characters that turn the direction of what follows.
bool misleads(const std::string &text, std::size_t i, std::size_t length) {
  if (length == 2) return text[i] == '\xC2' && static_cast<unsigned char>(text[i + 1]) < 0xA0;
  const std::string three = length == 3 ? text.substr(i, 3) : "";
  return (three >= "\xE2\x80\x8E" && three <= "\xE2\x80\x8F") ||
         (three >= "\xE2\x80\xA8" && three <= "\xE2\x80\xAE") ||
         (three >= "\xE2\x81\xA6" && three <= "\xE2\x81\xA9");
}

}  // namespace

std::string oneLine(const std::string &text) {
  std::string clean;
  for (const char c : text) {
    const unsigned char byte = static_cast<unsigned char>(c);
    if (byte < 0x20 || byte == 0x7F)
      clean += printed("\\x%02x", byte);
    else
      clean += c;
  }
  return clean;
}

std::string jsonString(const std::string &text) {
  std::string quoted = "\"";
  for (std::size_t i = 0; i < text.size();) {
    const unsigned char byte = static_cast<unsigned char>(text[i]);
    const std::size_t length = utf8Length(std::string_view(text).substr(i));
    if (length == 0)
      quoted += printed("\\udc%02x", static_cast<unsigned>(byte));
    else if (byte < 0x20)
      quoted += printed("\\u%04x", static_cast<unsigned>(byte));
    else if (byte == '"' || byte == '\\')
      quoted.append({'\\', text[i]});
    else
      quoted.append(text, i, length);
    i += length == 0 ? 1 : length;
  }
  return quoted + '"';
}

std::string htmlText(const std::string &text) {
  std::string safe;
  for (std::size_t i = 0; i < text.size();) {
    const auto byte = static_cast<unsigned char>(text[i]);
    const std::size_t length = utf8Length(std::string_view(text).substr(i));
    if (length == 0 || byte < 0x20 || byte == 0x7F || misleads(text, i, length)) {
      const std::size_t visible = std::max<std::size_t>(length, 1);
      for (std::size_t k = 0; k < visible; ++k)
        safe += printed("\\x%02x", static_cast<unsigned char>(text[i + k]));
      i += visible;
      continue;
    }
    switch (text[i]) {
      case '&':
        safe += "&amp;";
        break;
      case '<':
        safe += "&lt;";
        break;
      case '>':
        safe += "&gt;";
        break;
      case '"':
        safe += "&quot;";
        break;
      case '\'':
        safe += "&#39;";
        break;
      default:
        safe += text.substr(i, length);
    }
    i += length;
  }
  return safe;
}

bool sameName(const std::string &a, const std::string &b) {
  const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [&](char x, char y) { return lower(x) == lower(y); });
}

std::string printed(const char *pattern, ...) {
  va_list list, again;
  va_start(list, pattern);
  va_copy(again, list);
  const int length = std::vsnprintf(nullptr, 0, pattern, list);
  va_end(list);
  std::string text(length < 0 ? 0 : static_cast<std::size_t>(length), '\0');
  if (length > 0) std::vsnprintf(text.data(), text.size() + 1, pattern, again);
  va_end(again);
  return text;
}

}  // namespace tool
