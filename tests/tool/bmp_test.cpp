// SPDX-License-Identifier: Apache-2.0
// The tool's BMP writer, which needs no file name, gives the bytes of the library's, which does.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "files/byte_sink.h"
#include "pictures/picture.h"
#include "support/temp_dir.h"
#include "words/failure.h"

namespace {

class Memory : public tool::ByteSink {
 public:
  std::vector<std::uint8_t> bytes;

  std::string name() const override { return "memory"; }

 protected:
  int drain(const std::uint8_t *data, std::size_t size) noexcept override {
    bytes.insert(bytes.end(), data, data + size);
    return 0;
  }
};

kivo::Image noise(std::uint32_t width, std::uint32_t height, kivo::Pixels kind) {
  kivo::Image image;
  image.width = width;
  image.height = height;
  image.kind = kind;
  image.rowBytes = std::size_t{width} * (kind == kivo::Pixels::Bgra8 ? 4 : 3);
  EXPECT_TRUE(image.pixels.allocate(image.rowBytes * height));
  std::uint32_t state = 1 + width + height;
  for (std::size_t i = 0; i < image.pixels.size(); ++i) {
    state = state * 1664525U + 1013904223U;
    image.pixels.data()[i] = static_cast<std::uint8_t>(state >> 24);
  }
  return image;
}

class BmpWriter : public testing::TestWithParam<kivo::Pixels> {};

TEST_P(BmpWriter, EqualsTheLibrarys) {
  const KivoTest::TempDir folder;
  const std::string path = folder.File("a.bmp");
  const std::uint32_t sizes[][2] = {{1, 1},  {2, 3},   {3, 2},     {4, 1},    {5, 7},
                                    {17, 1}, {1, 100}, {640, 480}, {701, 409}};
  for (const auto &[width, height] : sizes) {
    const kivo::Image image = noise(width, height, GetParam());
    Memory memory;
    tool::encodeBmp(image, memory);
    memory.finish();
    ASSERT_EQ(kivo::saveBmp(image, path.c_str()), kivo::Errc::Ok);
    EXPECT_EQ(memory.bytes, KivoTest::ReadFile(path)) << width << " x " << height;
  }
}

TEST_P(BmpWriter, RefusesWhatTheFormatCannotSay) {
  kivo::Image image;
  image.width = 40000;
  image.height = 40000;
  image.kind = GetParam();
  Memory memory;
  EXPECT_THROW(tool::encodeBmp(image, memory), tool::Failure);
  EXPECT_TRUE(memory.bytes.empty());
}

INSTANTIATE_TEST_SUITE_P(BothKinds, BmpWriter, testing::Values(kivo::Pixels::Bgra8, kivo::Pixels::Bgr8));

}  // namespace
