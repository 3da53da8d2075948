// SPDX-License-Identifier: Apache-2.0
// Gives every file that is named, and every file of every folder, to a harness: a corpus as an ordinary test.
// By functions of C, which MemorySanitizer knows.
#include <dirent.h>

#include <algorithm>
#include <cstdio>

#include "harness.h"

namespace {

// The files of a folder, or the path of what is none.
std::vector<std::string> FilesOf(const std::string &path) {
  DIR *const folder = opendir(path.c_str());
  if (folder == nullptr) return {path};
  std::vector<std::string> files;
  while (const dirent *const entry = readdir(folder)) {
    if (entry->d_name[0] != '.') files.push_back(path + "/" + entry->d_name);
  }
  closedir(folder);
  return files;
}

bool Read(const std::string &path, KivoFuzz::Bytes &bytes) {
  std::FILE *const file = std::fopen(path.c_str(), "rb");
  if (file == nullptr) return false;
  std::uint8_t block[4096];
  std::size_t count;
  while ((count = std::fread(block, 1, sizeof block, file)) != 0)
    bytes.insert(bytes.end(), block, block + count);
  const bool read = std::ferror(file) == 0;
  return std::fclose(file) == 0 && read;
}

}  // namespace

int main(int argc, char **argv) {
  std::vector<std::string> files;
  for (int i = 1; i < argc; ++i) {
    const std::vector<std::string> some = FilesOf(argv[i]);
    files.insert(files.end(), some.begin(), some.end());
  }
  std::sort(files.begin(), files.end());
  for (const std::string &path : files) {
    KivoFuzz::Bytes bytes;
    if (!Read(path, bytes)) return std::fprintf(stderr, "cannot read %s\n", path.c_str()), 1;
    std::fprintf(stderr, "%s\n", path.c_str());
    // A buffer of exactly so many bytes, as the fuzzer's is.
    const KivoFuzz::Bytes exact(bytes.begin(), bytes.end());
    LLVMFuzzerTestOneInput(exact.data(), exact.size());
  }
  std::fprintf(stderr, "%zu inputs\n", files.size());
  return files.empty() ? 1 : 0;
}
