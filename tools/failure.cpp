// SPDX-License-Identifier: Apache-2.0
#include "failure.h"

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

}  // namespace tool
