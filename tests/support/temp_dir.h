// SPDX-License-Identifier: Apache-2.0
#ifndef KIVO_TESTS_SUPPORT_TEMP_DIR_H
#define KIVO_TESTS_SUPPORT_TEMP_DIR_H

#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace KivoTest {

// A fresh directory, removed with all that is in it.
class TempDir {
 public:
  TempDir() {
    std::string name = (std::filesystem::temp_directory_path() / "kivocamutl-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) std::abort();
    path_ = name;
  }
  ~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TempDir(const TempDir &) = delete;
  TempDir &operator=(const TempDir &) = delete;

  std::string File(const std::string &name) const { return (path_ / name).string(); }

 private:
  std::filesystem::path path_;
};

inline std::vector<std::uint8_t> ReadFile(const std::string &path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

inline void WriteFile(const std::string &path, const std::vector<std::uint8_t> &bytes) {
  std::ofstream out(path, std::ios::binary);
  out.write(reinterpret_cast<const char *>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

// Open file descriptors of this process; the one that lists them counts in every call alike.
inline std::size_t OpenDescriptors() {
  std::size_t count = 0;
  for ([[maybe_unused]] const auto &entry : std::filesystem::directory_iterator("/proc/self/fd")) ++count;
  return count;
}

}  // namespace KivoTest

#endif  // KIVO_TESTS_SUPPORT_TEMP_DIR_H
