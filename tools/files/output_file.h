// SPDX-License-Identifier: Apache-2.0
// Output that is either whole or absent.
#pragma once

#include <memory>
#include <string>

#include "files/byte_sink.h"
#include "files/interrupt.h"

namespace tool {

// Refuses a name that says another format than is written. `written` is the extension of that, empty for
// headerless samples; "-" and names of no format of ours are fine.
void checkOutputName(const std::string &path, const std::string &written);

// What may become of a file that an output would replace.
struct OutputRules {
  bool force = false;      // a read-only one is replaced, too
  bool noClobber = false;  // none is
  // Without it a power cut may leave a file of this name that is not whole.
  bool durable = true;
};

// A file that has no name until commit() gives it its own, once it is complete and on the disk. Where the
// file system cannot do that it has a hidden temporary name in the directory of its final one, which the
// destructor removes, and so do SIGINT, SIGTERM and SIGHUP; what SIGKILL leaves the next run removes. A file
// that it replaces passes on its permissions and, where the system allows it, its owner and group.
// Different threads may write different files.
class OutputFile : public ByteSink {
 public:
  // Throws Failure when nothing can be written there, `path` is something other than a file, or the rules are
  // against it.
  explicit OutputFile(const std::string &path, const OutputRules &rules = {});
  ~OutputFile() override;

  std::string name() const override { return path_; }

  // Leaves nothing to do but to name the file. Throws Failure.
  void settle() override;
  // Gives the file its final name. Throws Failure.
  void commit() override;

 protected:
  int drain(const std::uint8_t *data, std::size_t size) noexcept override;

 private:
  bool createUnnamed(const std::string &directory);
  void createNamed(const std::string &directory);
  void link();
  void giveName();
  [[noreturn]] void refuseThere() const;

  std::string path_;
  OutputRules rules_;
  std::string target_;    // path_ with symbolic links resolved
  std::string hidden_;    // the temporary name, empty where there is none
  std::string openName_;  // under which the file can be linked
  Removal removal_;       // of hidden_
  int file_ = -1;
  bool settled_ = false;
};

// The file of this name, or standard output for "-". Throws Failure.
std::unique_ptr<ByteSink> openOutput(const std::string &path, const OutputRules &rules = {});

// Whether a file is called as OutputFile calls temporary ones.
bool isTemporaryName(const std::string &fileName);

}  // namespace tool
