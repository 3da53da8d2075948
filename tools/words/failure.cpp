// SPDX-License-Identifier: Apache-2.0
#include "words/failure.h"

#include <cerrno>
#include <cstring>

namespace tool {

Failure failureOf(kivo::Errc error, const std::string &subject, Exit otherwise) {
  switch (error) {
    case kivo::Errc::UnknownFormat:
    case kivo::Errc::TooLarge:
    case kivo::Errc::NoByteOrder:
    case kivo::Errc::PartialGroup:
    case kivo::Errc::CropOutside:
    case kivo::Errc::SplitGroup:
    case kivo::Errc::AcpiSize:
    case kivo::Errc::HalfSize:
    case kivo::Errc::BadShift:
    case kivo::Errc::BadRange:
    case kivo::Errc::BadColour:
    case kivo::Errc::PartialByte:
      otherwise = Exit::Unsupported;
      break;
    case kivo::Errc::OutOfMemory:
      otherwise = Exit::Shortage;
      break;
    default:
      break;
  }
  return Failure(otherwise, subject, kivo::message(error));
}

Failure failureOfErrno(Exit otherwise, const std::string &subject, const std::string &what, int error) {
  const bool shortage = error == ENOMEM || error == EMFILE || error == ENFILE;
  return Failure(shortage ? Exit::Shortage : otherwise, subject, withErrno(what, error));
}

std::string withErrno(const std::string &what, int error) {
  return what + ": " + std::strerror(error);
}

}  // namespace tool
