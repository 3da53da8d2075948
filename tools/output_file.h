// SPDX-License-Identifier: Apache-2.0
// Output that is either whole or absent.
#pragma once

#include <cstddef>
#include <cstdio>
#include <string>

namespace tool {

// A file that is written under a temporary name in the directory of its final name, and takes that name only
// when it is complete. Until commit() the destructor removes it, and so do SIGINT, SIGTERM and SIGHUP. One
// exists at a time.
class OutputFile {
 public:
  // Creates the temporary file. Throws Failure when that is impossible or `path` is something other than a
  // file.
  explicit OutputFile(const std::string &path);
  ~OutputFile();
  OutputFile(const OutputFile &) = delete;
  OutputFile &operator=(const OutputFile &) = delete;

  // For writers that open a file by name; the name exists and is empty.
  const char *temporaryName() const noexcept { return temporary_.c_str(); }
  const std::string &path() const noexcept { return path_; }

  // The whole content in one go. Throws Failure when not every byte arrives.
  void write(const void *data, std::size_t size);

  // Opens the temporary file for a writer that wants a stream. Throws Failure.
  std::FILE *open();
  // Closes what open() gave; `good` tells whether the writer was content; if
  // not, errno still says why. Throws Failure when anything was
  // lost.
  void close(std::FILE *stream, bool good);

  // Gives the file its final name. Throws Failure.
  void commit();

 private:
  [[noreturn]] void fail(int error) const;

  std::string path_;
  std::string target_;  // path_ with symbolic links resolved
  std::string temporary_;
};

}  // namespace tool
