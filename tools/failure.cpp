// SPDX-License-Identifier: Apache-2.0
#include "failure.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace tool {

Failure failureOf(kivo::Errc error, const std::string &subject, Exit otherwise) {
  switch (error) {
    case kivo::Errc::UnknownFormat:
    case kivo::Errc::OddSize:
    case kivo::Errc::TooSmall:
    case kivo::Errc::PartialGroup:
    case kivo::Errc::AcpiNeedsBayer8:
    case kivo::Errc::TooLarge:
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

std::string jsonString(const std::string &text) {
  std::string quoted = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') quoted += '\\';
    if (static_cast<unsigned char>(c) < 0x20)
      quoted += format("\\u%04x", static_cast<unsigned>(static_cast<unsigned char>(c)));
    else
      quoted += c;
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
