// SPDX-License-Identifier: Apache-2.0
// Gives every file that is named, and every file of every folder, to a harness: a corpus as an ordinary test.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "harness.h"

int main(int argc, char **argv) {
  namespace fs = std::filesystem;
  std::vector<fs::path> files;
  for (int i = 1; i < argc; ++i) {
    const fs::path path = argv[i];
    if (!fs::is_directory(path)) {
      files.push_back(path);
      continue;
    }
    for (const fs::directory_entry &entry : fs::directory_iterator(path)) files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  for (const fs::path &path : files) {
    std::ifstream in(path, std::ios::binary);
    if (!in) return std::fprintf(stderr, "cannot read %s\n", path.c_str()), 1;
    const std::string bytes((std::istreambuf_iterator<char>(in)), {});
    std::fprintf(stderr, "%s\n", path.c_str());
    // A buffer of exactly so many bytes, as the fuzzer's is.
    const KivoFuzz::Bytes exact(bytes.begin(), bytes.end());
    LLVMFuzzerTestOneInput(exact.data(), exact.size());
  }
  std::fprintf(stderr, "%zu inputs\n", files.size());
  return files.empty() ? 1 : 0;
}
