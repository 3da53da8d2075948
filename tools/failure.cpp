// SPDX-License-Identifier: Apache-2.0
#include "failure.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string_view>

namespace tool {

Failure failureOf(kivo::Errc error, const std::string &subject, Exit otherwise) {
  switch (error) {
    case kivo::Errc::UnknownFormat:
    case kivo::Errc::OddSize:
    case kivo::Errc::TooSmall:
    case kivo::Errc::PartialGroup:
    case kivo::Errc::AcpiNeedsBayer8:
    case kivo::Errc::TooLarge:
    case kivo::Errc::BadShift:
    case kivo::Errc::NoByteOrder:
    case kivo::Errc::NoStretch:
    case kivo::Errc::SharedBytes:
    case kivo::Errc::CropOutside:
    case kivo::Errc::SplitGroup:
    case kivo::Errc::PartialByte:
      otherwise = Exit::Unsupported;
      break;
    default:
      break;
  }
  return Failure(otherwise, subject, kivo::message(error));
}

std::string withErrno(const std::string &what, int error) {
  return what + ": " + std::strerror(error);
}

std::string oneLine(const std::string &text) {
  std::string clean;
  for (const char c : text) {
    const unsigned char byte = static_cast<unsigned char>(c);
    if (byte < 0x20 || byte == 0x7F)
      clean += format("\\x%02x", byte);
    else
      clean += c;
  }
  return clean;
}

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

}  // namespace

std::string jsonString(const std::string &text) {
  std::string quoted = "\"";
  for (std::size_t i = 0; i < text.size();) {
    const unsigned char byte = static_cast<unsigned char>(text[i]);
    const std::size_t length = utf8Length(std::string_view(text).substr(i));
    if (length == 0)
      quoted += format("\\udc%02x", static_cast<unsigned>(byte));
    else if (byte < 0x20)
      quoted += format("\\u%04x", static_cast<unsigned>(byte));
    else if (byte == '"' || byte == '\\')
      quoted.append({'\\', text[i]});
    else
      quoted.append(text, i, length);
    i += length == 0 ? 1 : length;
  }
  return quoted + '"';
}

std::string format(const char *pattern, ...) {
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
