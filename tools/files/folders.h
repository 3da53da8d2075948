// SPDX-License-Identifier: Apache-2.0
// The folders that outputs are in.
#pragma once

#include <mutex>
#include <set>
#include <string>

#include "files/file_list.h"

namespace tool {

// Makes the folders of outputs, but never again the one that all are in: when that is gone, somebody has
// taken away what was already done. Usable from several threads.
class Folders {
 public:
  // Makes the folder that all outputs are in. Throws Failure.
  void setRoot(const std::string &root);
  // Makes the folder of this output, where a root was set. Throws Failure.
  void make(const Job &job);

 private:
  void below(const std::string &relative, const std::string &output);

  std::mutex mutex_;
  std::string root_;
  std::set<std::string> made_;
};

}  // namespace tool
