// SPDX-License-Identifier: Apache-2.0
#include "files/folders.h"

#include <sys/stat.h>

#include <cerrno>
#include <filesystem>

#include "words/failure.h"

namespace tool {

namespace fs = std::filesystem;

void Folders::setRoot(const std::string &root) {
  std::error_code failed;
  fs::create_directories(root, failed);
  if (failed) throw Failure(Exit::Output, root, "cannot be made: " + failed.message());
  root_ = root;
  made_.insert("");
}

void Folders::make(const Job &job) {
  if (!root_.empty()) below(fs::path(job.relative).parent_path().string(), job.output);
}

void Folders::below(const std::string &relative, const std::string &output) {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (made_.count(relative) != 0) return;
  fs::path path = root_;
  for (const fs::path &part : fs::path(relative)) {
    path /= part;
    if (::mkdir(path.c_str(), 0777) != 0 && errno != EEXIST)
      throw Failure(Exit::Output, output, withErrno("its folder cannot be made", errno));
  }
  made_.insert(relative);
}

}  // namespace tool
