// SPDX-License-Identifier: Apache-2.0
// Output that is either whole or absent.
#pragma once

#include <memory>
#include <string>

#include "byte_sink.h"
#include "interrupt.h"

namespace tool {

// A file that has no name until commit() gives it its own, once it is complete and on the disk. Where the
// file system cannot do that it has a hidden temporary name in the directory of its final one, which the
// destructor removes, and so do SIGINT, SIGTERM and SIGHUP; what SIGKILL leaves the next run removes.
// Different threads may write different files.
class OutputFile : public ByteSink {
 public:
  // Throws Failure when nothing can be written there or `path` is something other than a file.
  explicit OutputFile(const std::string &path);
  ~OutputFile() override;

  std::string name() const override { return path_; }

  // Without it a power cut may leave a file of this name that is not whole. On by default.
  static void setDurable(bool durable) noexcept;

  // Gives the file its final name. Throws Failure.
  void commit() override;

 protected:
  int drain(const std::uint8_t *data, std::size_t size) noexcept override;

 private:
  bool createUnnamed(const std::string &directory);
  void createNamed(const std::string &directory);
  void link();

  std::string path_;
  std::string target_;    // path_ with symbolic links resolved
  std::string hidden_;    // the temporary name, empty where there is none
  std::string openName_;  // under which the file can be linked
  Removal removal_;       // of hidden_
  int file_ = -1;
};

// The file of this name, or standard output for "-". Throws Failure.
std::unique_ptr<ByteSink> openOutput(const std::string &path);

// Whether a file is called as OutputFile calls temporary ones.
bool isTemporaryName(const std::string &fileName);

}  // namespace tool
