// SPDX-License-Identifier: Apache-2.0
// How a command ends: an exit code and, unless all is well, one line for the user.
#pragma once

#include <KivoCamUtl.hpp>
#include <stdexcept>
#include <string>

namespace tool {

enum class Exit : int {
  Ok = 0,
  Usage = 1,        // the command line makes no sense
  Input = 2,        // an input cannot be read or is not what it claims to be
  Output = 3,       // an output cannot be written
  Unsupported = 4,  // a pixel format, or a conversion of it, that does not exist
  Some = 5,         // some of several files failed, the others are done
  Shortage = 6,     // memory or file descriptors ran out; nothing is wrong with the files
};

// The reason why a command gives up. what() reads "<subject>: <what is wrong>", one line.
class Failure : public std::runtime_error {
 public:
  Failure(Exit code, const std::string &subject, const std::string &wrong)
      : std::runtime_error((subject.empty() ? "''" : subject) + ": " + wrong), code_(code) {}
  Exit code() const noexcept { return code_; }

 private:
  Exit code_;
};

// The failure of a conversion or a load of `subject`: what asks for the impossible is Unsupported, what
// memory does not suffice for Shortage, the rest `otherwise`.
Failure failureOf(kivo::Errc error, const std::string &subject, Exit otherwise);

// The failure of a system call: what runs out is Shortage, the rest `otherwise`.
Failure failureOfErrno(Exit otherwise, const std::string &subject, const std::string &what, int error);

// "could not do: <reason of errno>".
std::string withErrno(const std::string &what, int error);

}  // namespace tool
