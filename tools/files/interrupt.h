// SPDX-License-Identifier: Apache-2.0
// What SIGINT, SIGTERM and SIGHUP do: remove the files that are not whole, and end the process by the same
// signal. Where many files are converted the first signal only asks for an end, the second does that.
#pragma once

#include <signal.h>

#include <string>

namespace tool {

// Enters a file into the list of those that a signal removes, for as long as the object lives.
class Removal {
 public:
  Removal() = default;
  ~Removal() { release(); }
  Removal(const Removal &) = delete;
  Removal &operator=(const Removal &) = delete;

  // False when the name is too long or the list full; the file is then left to the next run.
  bool watch(const std::string &file) noexcept;
  void release() noexcept;

 private:
  int slot_ = -1;
};

// Keeps the signals from the calling thread while a file and its entry change together.
class SignalsBlocked {
 public:
  SignalsBlocked();
  ~SignalsBlocked();
  SignalsBlocked(const SignalsBlocked &) = delete;
  SignalsBlocked &operator=(const SignalsBlocked &) = delete;

 private:
  sigset_t before_;
};

// Installs the handlers, once; whoever started us with a signal ignored (nohup) means it.
void installHandlers();

// While any lives, the first signal only asks for an end.
class GracefulEnd {
 public:
  GracefulEnd();
  ~GracefulEnd();
  GracefulEnd(const GracefulEnd &) = delete;
  GracefulEnd &operator=(const GracefulEnd &) = delete;

  // The signal that asked for an end, or 0.
  static int signal() noexcept;
};

// Removes the files that are not whole, and ends the process as this signal does by itself.
[[noreturn]] void endBySignal(int signal);

}  // namespace tool
