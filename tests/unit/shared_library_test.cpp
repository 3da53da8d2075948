// SPDX-License-Identifier: Apache-2.0
// The shared library as a program in another language meets it: loaded at run time, functions found by name,
// flags passed as bytes.
#include <dlfcn.h>

#include <fstream>
#include <string>

#include "support/unit.h"

namespace KivoTest {
namespace {

class SharedLibrary : public testing::Test {
 protected:
  void SetUp() override {
    library_ = dlopen(KIVO_SHARED_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library_, nullptr) << dlerror();
  }
  void TearDown() override {
    if (library_ != nullptr) dlclose(library_);
  }

  template <typename Function>
  Function Get(const char *name) const {
    return reinterpret_cast<Function>(dlsym(library_, name));
  }

 private:
  void *library_ = nullptr;
};

using ByteReverse = std::int32_t (*)(std::uint8_t *, const std::uint8_t *, std::uint32_t, std::uint32_t,
                                     std::uint32_t, std::uint8_t, std::uint8_t);

TEST_F(SharedLibrary, ExportsTheListedFunctions) {
  std::ifstream list(KIVO_EXPORT_LIST);
  std::string name;
  unsigned count = 0;
  while (std::getline(list, name)) {
    EXPECT_NE(Get<void *>(name.c_str()), nullptr) << name;
    ++count;
  }
  EXPECT_EQ(count, 90u);
  for (const Converter &converter : AllConverters())
    EXPECT_NE(Get<void *>(converter.name), nullptr) << converter.name;
  EXPECT_EQ(Get<void *>("PinTarget"), nullptr);
}

TEST_F(SharedLibrary, OnlyTheFlagByteOneIsSet) {
  const auto reverse = Get<ByteReverse>("ReverseImg");
  ASSERT_NE(reverse, nullptr);
  const Bytes frame{1, 2, 3, 4};  // 2 x 2
  const Bytes results[2][2] = {{{1, 2, 3, 4}, {3, 4, 1, 2}}, {{2, 1, 4, 3}, {4, 3, 2, 1}}};
  for (unsigned horizontal = 0; horizontal < 256; ++horizontal) {
    for (unsigned vertical = 0; vertical < 256; ++vertical) {
      Bytes dst(4, kUntouched);
      ASSERT_EQ(reverse(dst.data(), frame.data(), 0x01080001, 2, 2, static_cast<std::uint8_t>(horizontal),
                        static_cast<std::uint8_t>(vertical)),
                0);
      ASSERT_EQ(dst, results[horizontal == 1][vertical == 1]) << horizontal << " " << vertical;
    }
  }
}

TEST_F(SharedLibrary, DemosaicFlagAsAByte) {
  using ByteLookup = void *(*)(std::uint32_t, std::uint8_t);
  const auto bgra = Get<ByteLookup>("GetBGRAConverter");
  const auto bgr = Get<ByteLookup>("GetBGRConverter");
  ASSERT_NE(bgra, nullptr);
  ASSERT_NE(bgr, nullptr);
  EXPECT_EQ(bgra(0x01080008, 0), Get<void *>("ConvMono8ToBGRA"));
  EXPECT_EQ(bgra(0x01080008, 1), Get<void *>("ConvByrGR8ToBGRA"));
  EXPECT_EQ(bgr(0x01080008, 0), Get<void *>("ConvMono8ToBGR"));
  EXPECT_EQ(bgr(0x01080008, 1), Get<void *>("ConvByrGR8ToBGR"));
}

TEST_F(SharedLibrary, ConvertsOnceItsOwnTablesAreReady) {
  // This program holds a second copy of the library's objects: the shared library has tables of its own.
  using Prepare = std::int32_t (*)();
  using Convert = std::int32_t (*)(std::uint32_t *, const std::uint8_t *, std::uint32_t, std::uint32_t);
  const auto convert = Get<Convert>("ConvMono8ToBGRA");
  const auto prepare = Get<Prepare>("PrepareLUT");
  ASSERT_NE(convert, nullptr);
  ASSERT_NE(prepare, nullptr);
  std::uint32_t word = 1;
  const std::uint8_t grey = 0x7F;
  EXPECT_EQ(convert(&word, &grey, 1, 1), 21);
  EXPECT_EQ(word, 1u);
  EXPECT_EQ(prepare(), 0);
  EXPECT_EQ(convert(&word, &grey, 1, 1), 0);
  EXPECT_EQ(word, 0xFF7F7F7Fu);
}

}  // namespace
}  // namespace KivoTest
