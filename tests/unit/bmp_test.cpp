// SPDX-License-Identifier: Apache-2.0
#include <functional>

#include "support/random.h"
#include "support/temp_dir.h"
#include "support/unit.h"

namespace KivoTest {
namespace {

enum class Kind { kArgb, kRgb, kMono };
constexpr Kind kKinds[] = {Kind::kArgb, Kind::kRgb, Kind::kMono};

std::size_t PixelBytes(Kind kind) {
  return kind == Kind::kArgb ? 4 : kind == Kind::kRgb ? 3 : 1;
}

CamUtlStatus Save(Kind kind, const std::uint8_t *image, std::uint32_t width, std::uint32_t height,
                  const std::string &path) {
  switch (kind) {
    case Kind::kArgb:
      return SaveBmpARGB(reinterpret_cast<const std::uint32_t *>(image), width, height, path.c_str());
    case Kind::kRgb:
      return SaveBmpRGB(image, width, height, path.c_str());
    case Kind::kMono:
      break;
  }
  return SaveBmpMono(image, width, height, path.c_str());
}

CamUtlStatus SaveStride(Kind kind, const std::uint8_t *image, std::uint32_t width, std::uint32_t height,
                        std::uint32_t stride, const std::string &path) {
  switch (kind) {
    case Kind::kArgb:
      return SaveBmpARGB_S(reinterpret_cast<const std::uint32_t *>(image), width, height, stride,
                           path.c_str());
    case Kind::kRgb:
      return SaveBmpRGB_S(image, width, height, stride, path.c_str());
    case Kind::kMono:
      break;
  }
  return SaveBmpMono_S(image, width, height, stride, path.c_str());
}

void Put(Bytes &file, std::size_t count, std::uint32_t value) {
  for (std::size_t i = 0; i < count; ++i) file.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
}

// The file of an image, byte by byte; rows are at a distance of stride in the source. Without rows when
// asked.
Bytes Expected(Kind kind, const Bytes &image, std::uint32_t w, std::uint32_t h, std::size_t stride,
               bool rows = true) {
  const std::uint32_t padding = kind == Kind::kArgb ? 0 : kind == Kind::kRgb ? w % 4 : (4 - w % 4) % 4;
  const std::uint32_t row = static_cast<std::uint32_t>(PixelBytes(kind)) * w + padding;
  const std::uint32_t offset = kind == Kind::kMono ? 1078 : 54;
  const std::uint32_t resolution = kind == Kind::kMono ? 160000 : 16000;
  const std::uint32_t colours = kind == Kind::kMono ? 256 : 0;
  Bytes file{'B', 'M'};
  Put(file, 4, row * h + offset);
  Put(file, 4, 0);
  Put(file, 4, offset);
  Put(file, 4, 40);
  Put(file, 4, w);
  Put(file, 4, h);
  Put(file, 2, 1);
  Put(file, 2, static_cast<std::uint32_t>(PixelBytes(kind)) * 8);
  Put(file, 4, 0);
  Put(file, 4, row * h);
  Put(file, 4, resolution);
  Put(file, 4, resolution);
  Put(file, 4, colours);
  Put(file, 4, colours);
  if (kind == Kind::kMono)
    for (std::uint32_t i = 0; i < 256; ++i) Put(file, 4, i * 0x010101);
  EXPECT_EQ(file.size(), offset);
  if (!rows) return file;
  for (std::size_t r = h; r-- > 0;) {
    const auto begin = image.begin() + static_cast<std::ptrdiff_t>(r * stride);
    file.insert(file.end(), begin, begin + static_cast<std::ptrdiff_t>(PixelBytes(kind) * w));
    file.insert(file.end(), padding, 0);
  }
  return file;
}

class Bmp : public testing::Test {
 protected:
  void SetUp() override { descriptors_ = OpenDescriptors(); }
  void TearDown() override { EXPECT_EQ(OpenDescriptors(), descriptors_) << "a descriptor leaked"; }
  std::string File(const std::string &name) const { return dir_.File(name); }
  static Bytes Noise(std::size_t size) {
    Random random(size + 1);
    Bytes bytes(size);
    for (std::uint8_t &byte : bytes) byte = static_cast<std::uint8_t>(random.Next());
    return bytes;
  }

 private:
  TempDir dir_;
  std::size_t descriptors_ = 0;
};

TEST_F(Bmp, EveryByteOfSmallImages) {
  for (const Kind kind : kKinds) {
    for (std::uint32_t w = 0; w <= 9; ++w) {
      for (std::uint32_t h = 0; h <= 4; ++h) {
        const std::size_t row = PixelBytes(kind) * w;
        const Bytes image = Noise(row * h);
        GuardedBuffer guarded(image.size());
        guarded.Assign(image);
        ASSERT_EQ(Save(kind, guarded.read_only(), w, h, File("a.bmp")), CAMUTL_STS_SUCCESS);
        ASSERT_EQ(ReadFile(File("a.bmp")), Expected(kind, image, w, h, row)) << w << "x" << h;
        for (const std::size_t extra : {std::size_t{0}, std::size_t{1}, std::size_t{8}, std::size_t{29}}) {
          // The last row ends with its last pixel: the gap behind it is not there to be read.
          const std::size_t stride = row + extra;
          const Bytes spaced = Noise(h == 0 ? 0 : stride * (h - 1) + row);
          GuardedBuffer apart(spaced.size());
          apart.Assign(spaced);
          ASSERT_EQ(
              SaveStride(kind, apart.read_only(), w, h, static_cast<std::uint32_t>(stride), File("b.bmp")),
              CAMUTL_STS_SUCCESS);
          ASSERT_EQ(ReadFile(File("b.bmp")), Expected(kind, spaced, w, h, stride)) << w << "x" << h;
        }
      }
    }
  }
}

TEST_F(Bmp, LargerImages) {
  for (const Kind kind : kKinds) {
    const Bytes image = Noise(PixelBytes(kind) * 333 * 57);
    ASSERT_EQ(Save(kind, image.data(), 333, 57, File("l.bmp")), CAMUTL_STS_SUCCESS);
    ASSERT_EQ(ReadFile(File("l.bmp")), Expected(kind, image, 333, 57, PixelBytes(kind) * 333));
  }
}

TEST_F(Bmp, OnePixel) {
  const std::uint8_t pixel[4] = {1, 2, 3, 4};
  ASSERT_EQ(Save(Kind::kRgb, pixel, 1, 1, File("p.bmp")), CAMUTL_STS_SUCCESS);
  Bytes file = ReadFile(File("p.bmp"));
  ASSERT_EQ(file.size(), 58u);
  EXPECT_EQ(file[2], 58);
  EXPECT_EQ(file[34], 4);
  EXPECT_EQ(Bytes(file.begin() + 54, file.end()), (Bytes{1, 2, 3, 0}));
  ASSERT_EQ(Save(Kind::kArgb, pixel, 1, 1, File("p.bmp")), CAMUTL_STS_SUCCESS);
  file = ReadFile(File("p.bmp"));
  EXPECT_EQ(Bytes(file.begin() + 54, file.end()), (Bytes{1, 2, 3, 4}));  // alpha as it is
  EXPECT_EQ(file[28], 32);
  EXPECT_EQ(file[30], 0);
  ASSERT_EQ(Save(Kind::kMono, pixel, 1, 2, File("p.bmp")), CAMUTL_STS_SUCCESS);
  file = ReadFile(File("p.bmp"));
  EXPECT_EQ(file.size(), 1078u + 8);
  EXPECT_EQ(Bytes(file.begin() + 1078, file.end()), (Bytes{2, 0, 0, 0, 1, 0, 0, 0}));
}

TEST_F(Bmp, AStrideBelowTheRowLengthReadsOverlappingRows) {
  const Bytes image{1, 2, 3, 4, 5, 6};
  ASSERT_EQ(SaveStride(Kind::kMono, image.data(), 4, 3, 1, File("o.bmp")), CAMUTL_STS_SUCCESS);
  EXPECT_EQ(ReadFile(File("o.bmp")), Expected(Kind::kMono, image, 4, 3, 1));
  ASSERT_EQ(SaveStride(Kind::kMono, image.data(), 4, 2, 0, File("o.bmp")), CAMUTL_STS_SUCCESS);
  EXPECT_EQ(ReadFile(File("o.bmp")), Expected(Kind::kMono, image, 4, 2, 0));
}

TEST_F(Bmp, HeightsFrom2To31WriteNoRows) {
  const std::uint8_t pixel[4] = {};
  for (const Kind kind : kKinds) {
    for (const std::uint32_t height : {0u, 0x80000000u, 0x80000001u, 0xFFFFFFFFu}) {
      ASSERT_EQ(Save(kind, pixel, 1, height, File("h.bmp")), CAMUTL_STS_SUCCESS);
      EXPECT_EQ(ReadFile(File("h.bmp")), Expected(kind, {}, 1, height, 0, false)) << height;
      ASSERT_EQ(SaveStride(kind, pixel, 3, height, 99, File("h.bmp")), CAMUTL_STS_SUCCESS);
      EXPECT_EQ(ReadFile(File("h.bmp")), Expected(kind, {}, 3, height, 0, false)) << height;
    }
  }
}

TEST_F(Bmp, NullImageIsRefusedBeforeTheFileIsTouched) {
  for (const Kind kind : kKinds) {
    EXPECT_EQ(Save(kind, nullptr, 1, 1, File("n.bmp")), CAMUTL_STS_INVALID_PARAMETER);
    EXPECT_EQ(SaveStride(kind, nullptr, 1, 1, 4, File("n.bmp")), CAMUTL_STS_INVALID_PARAMETER);
    EXPECT_EQ(Save(kind, nullptr, 1, 1, File("missing/n.bmp")), CAMUTL_STS_INVALID_PARAMETER);
  }
  EXPECT_FALSE(std::filesystem::exists(File("n.bmp")));
}

TEST_F(Bmp, FilesThatCannotBeOpened) {
  const std::uint8_t pixel[4] = {};
  for (const Kind kind : kKinds) {
    EXPECT_EQ(Save(kind, pixel, 1, 1, File("missing/n.bmp")), CAMUTL_STS_FILE_OPEN_ERROR);
    EXPECT_EQ(SaveStride(kind, pixel, 1, 1, 4, File("missing/n.bmp")), CAMUTL_STS_FILE_OPEN_ERROR);
    EXPECT_EQ(Save(kind, pixel, 1, 1, ""), CAMUTL_STS_FILE_OPEN_ERROR);
  }
}

TEST_F(Bmp, SavingReplacesALongerFile) {
  WriteFile(File("old.bmp"), Noise(9000));
  const std::uint8_t pixel[4] = {};
  ASSERT_EQ(Save(Kind::kRgb, pixel, 1, 1, File("old.bmp")), CAMUTL_STS_SUCCESS);
  EXPECT_EQ(ReadFile(File("old.bmp")).size(), 58u);
}

TEST_F(Bmp, AFullDiskIsNotReported) {
  if (!std::filesystem::exists("/dev/full")) GTEST_SKIP() << "no /dev/full";
  const Bytes image = Noise(4 * 200 * 200);
  for (const Kind kind : kKinds) {
    EXPECT_EQ(Save(kind, image.data(), 200, 200, "/dev/full"), CAMUTL_STS_SUCCESS);
    EXPECT_EQ(Save(kind, image.data(), 1, 1, "/dev/full"), CAMUTL_STS_SUCCESS);
    EXPECT_EQ(SaveStride(kind, image.data(), 199, 100, 800, "/dev/full"), CAMUTL_STS_SUCCESS);
  }
}

}  // namespace
}  // namespace KivoTest
