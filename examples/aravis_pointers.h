// SPDX-License-Identifier: Apache-2.0
// Owners for the objects of Aravis, and its errors as one line.
#pragma once

#include <arv.h>

#include <cstdio>
#include <memory>

struct Unref {
  void operator()(void *object) const noexcept { g_object_unref(object); }
};
template <class T>
using Owned = std::unique_ptr<T, Unref>;

// Takes the place of a GError * argument; complains when it goes.
class Problem {
 public:
  explicit Problem(const char *what) : what_(what) {}
  Problem(const Problem &) = delete;
  Problem &operator=(const Problem &) = delete;
  ~Problem() {
    if (error_ != nullptr) g_error_free(error_);
  }

  operator GError **() noexcept { return &error_; }

  // Whether the call failed; says so.
  bool occurred() const {
    if (error_ == nullptr) return false;
    std::fprintf(stderr, "%s: %s\n", what_, error_->message);
    return true;
  }

 private:
  const char *what_;
  GError *error_ = nullptr;
};
