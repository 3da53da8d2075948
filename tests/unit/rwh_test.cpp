// SPDX-License-Identifier: Apache-2.0
#include <sys/resource.h>

#include <memory>

#include "support/random.h"
#include "support/temp_dir.h"
#include "support/unit.h"

namespace KivoTest {
namespace {

struct Loaded {
  CamUtlStatus status = CAMUTL_STS_SUCCESS;
  std::uint32_t format = 0xDEADBEEF, width = 0xDEADBEEF, height = 0xDEADBEEF, line_bytes = 0xDEADBEEF;
};

Loaded LoadHeader(const std::string &path) {
  Loaded loaded;
  loaded.status =
      LoadRWH(path.c_str(), nullptr, &loaded.format, &loaded.width, &loaded.height, &loaded.line_bytes);
  return loaded;
}

class Rwh : public testing::Test {
 protected:
  void SetUp() override { descriptors_ = OpenDescriptors(); }
  void TearDown() override { EXPECT_EQ(OpenDescriptors(), descriptors_) << "a descriptor leaked"; }

  std::string File(const std::string &name) const { return dir_.File(name); }
  static Bytes Noise(std::size_t size) {
    Random random(size);
    Bytes bytes(size);
    for (std::uint8_t &byte : bytes) byte = static_cast<std::uint8_t>(random.Next());
    return bytes;
  }

 private:
  TempDir dir_;
  std::size_t descriptors_ = 0;
};

TEST_F(Rwh, FileBytes) {
  struct {
    std::uint32_t code, width, height, line_bytes;
  } const cases[] = {{0x01080001, 640, 480, 640},  {0x01100005, 640, 480, 1280},
                     {0x02180014, 640, 480, 1920}, {0x020C001E, 640, 480, 960},
                     {0x020C001E, 3, 2, 4},        {0x0230001B, 5, 3, 30},
                     {0x01080008, 1, 1, 1},        {0, 100, 7, 0},
                     {0x00FF0000, 8, 2, 255},      {0x01080001, 0, 480, 0},
                     {0x01080001, 640, 0, 640},    {0x02180020, 7, 3, 21}};
  for (const auto &c : cases) {
    const Bytes frame = Noise(std::size_t{c.line_bytes} * c.height);
    GuardedBuffer guarded(frame.size());
    guarded.Assign(frame);
    ASSERT_EQ(SaveRWH(guarded.read_only(), c.code, c.width, c.height, File("frame").c_str()),
              CAMUTL_STS_SUCCESS);
    Bytes expected = Words32({c.code, c.width, c.height, c.line_bytes});
    expected.insert(expected.end(), frame.begin(), frame.end());
    EXPECT_EQ(ReadFile(File("frame")), expected) << std::hex << c.code;
    if (c.code == 0x01080001 && c.width == 640 && c.height == 480) {
      EXPECT_EQ(expected.size(), 307216u);
    }

    const Loaded header = LoadHeader(File("frame"));
    EXPECT_EQ(header.status, CAMUTL_STS_SUCCESS);
    EXPECT_EQ(header.format, c.code);
    EXPECT_EQ(header.width, c.width);
    EXPECT_EQ(header.height, c.height);
    EXPECT_EQ(header.line_bytes, c.line_bytes);

    // Into the caller's buffer.
    GuardedBuffer own(frame.size());
    std::uint8_t *pointer = own.data();
    ASSERT_EQ(LoadRWH(File("frame").c_str(), &pointer, nullptr, nullptr, nullptr, nullptr),
              CAMUTL_STS_SUCCESS);
    EXPECT_EQ(pointer, own.data());
    EXPECT_EQ(own.Copy(), frame);
    EXPECT_TRUE(own.Intact());

    // Into a buffer that the library allocates.
    std::uint8_t *allocated = nullptr;
    ASSERT_EQ(LoadRWH(File("frame").c_str(), &allocated, nullptr, nullptr, nullptr, nullptr),
              CAMUTL_STS_SUCCESS);
    const std::unique_ptr<std::uint8_t, decltype(&std::free)> release(allocated, &std::free);
    if (!frame.empty()) {
      ASSERT_NE(allocated, nullptr);
      EXPECT_EQ(Bytes(allocated, allocated + frame.size()), frame);
    }
  }
}

TEST_F(Rwh, SavingReplacesALongerFile) {
  WriteFile(File("old"), Noise(5000));
  const std::uint8_t pixel = 7;
  EXPECT_EQ(SaveRWH(&pixel, 0x01080001, 1, 1, File("old").c_str()), CAMUTL_STS_SUCCESS);
  EXPECT_EQ(ReadFile(File("old")).size(), 17u);
}

TEST_F(Rwh, LineBytesWrapAt32Bits) {
  // 255 bits times 0x01010102 is 2^32 + 254 bits.
  const Bytes frame = Noise(31);
  ASSERT_EQ(SaveRWH(frame.data(), 0x00FF0000, 0x01010102, 1, File("wrap").c_str()), CAMUTL_STS_SUCCESS);
  const std::uint32_t bits = 255u * 0x01010102u;
  EXPECT_EQ(bits / 8, 31u);
  EXPECT_EQ(LoadHeader(File("wrap")).line_bytes, 31u);
  EXPECT_EQ(ReadFile(File("wrap")).size(), 47u);
}

TEST_F(Rwh, NullFrameIsRefusedBeforeTheFileIsTouched) {
  EXPECT_EQ(SaveRWH(nullptr, 0x01080001, 1, 1, File("none").c_str()), CAMUTL_STS_INVALID_PARAMETER);
  EXPECT_FALSE(std::filesystem::exists(File("none")));
  EXPECT_EQ(SaveRWH(nullptr, 0x01080001, 1, 1, "/nonexistent/dir/file"), CAMUTL_STS_INVALID_PARAMETER);
}

TEST_F(Rwh, FilesThatCannotBeOpened) {
  const std::uint8_t pixel = 7;
  EXPECT_EQ(SaveRWH(&pixel, 0x01080001, 1, 1, File("missing/frame").c_str()), CAMUTL_STS_FILE_OPEN_ERROR);
  EXPECT_EQ(SaveRWH(&pixel, 0x01080001, 1, 1, File("").c_str()), CAMUTL_STS_FILE_OPEN_ERROR);
  EXPECT_EQ(SaveRWH(&pixel, 0x01080001, 1, 1, ""), CAMUTL_STS_FILE_OPEN_ERROR);
  Loaded loaded = LoadHeader(File("missing"));
  EXPECT_EQ(loaded.status, CAMUTL_STS_FILE_OPEN_ERROR);
  EXPECT_EQ(loaded.format, 0xDEADBEEFu);
  EXPECT_EQ(loaded.line_bytes, 0xDEADBEEFu);
  std::uint8_t *frame = nullptr;
  EXPECT_EQ(LoadRWH(File("missing").c_str(), &frame, nullptr, nullptr, nullptr, nullptr),
            CAMUTL_STS_FILE_OPEN_ERROR);
  EXPECT_EQ(frame, nullptr);
}

TEST_F(Rwh, AFullDiskIsNotReported) {
  if (!std::filesystem::exists("/dev/full")) GTEST_SKIP() << "no /dev/full";
  const Bytes frame = Noise(100000);
  EXPECT_EQ(SaveRWH(frame.data(), 0x01080001, 1000, 100, "/dev/full"), CAMUTL_STS_SUCCESS);
  EXPECT_EQ(SaveRWH(frame.data(), 0x01080001, 1, 1, "/dev/full"), CAMUTL_STS_SUCCESS);
}

TEST_F(Rwh, HeaderWordsThatTheFileDoesNotHoldReadAsZero) {
  const Bytes whole = Words32({0x81828384, 0x91929394, 0xA1A2A3A4, 0xB1B2B3B4});
  for (std::size_t length = 0; length <= 16; ++length) {
    WriteFile(File("cut"), Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length)));
    const Loaded loaded = LoadHeader(File("cut"));
    EXPECT_EQ(loaded.status, CAMUTL_STS_SUCCESS);
    // A word that the file holds in part counts as missing.
    EXPECT_EQ(loaded.format, length >= 4 ? 0x81828384u : 0u) << length;
    EXPECT_EQ(loaded.width, length >= 8 ? 0x91929394u : 0u) << length;
    EXPECT_EQ(loaded.height, length >= 12 ? 0xA1A2A3A4u : 0u) << length;
    EXPECT_EQ(loaded.line_bytes, length >= 16 ? 0xB1B2B3B4u : 0u) << length;
    // A cut header describes an empty frame: nothing is read into the buffer.
    if (length < 16) {
      std::uint8_t byte = 0x5A;
      std::uint8_t *pointer = &byte;
      EXPECT_EQ(LoadRWH(File("cut").c_str(), &pointer, nullptr, nullptr, nullptr, nullptr),
                CAMUTL_STS_SUCCESS);
      EXPECT_EQ(byte, 0x5A);
    }
  }
}

TEST_F(Rwh, DataCutShortLoadsWhatThereIs) {
  Bytes file = Words32({0x01080001, 10, 5, 10});
  const Bytes data = Noise(50);
  file.insert(file.end(), data.begin(), data.end());
  for (std::size_t kept = 0; kept <= 50; ++kept) {
    WriteFile(File("short"), Bytes(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(16 + kept)));
    GuardedBuffer frame(50);
    frame.Fill(kUntouched);
    std::uint8_t *pointer = frame.data();
    std::uint32_t height = 0;
    ASSERT_EQ(LoadRWH(File("short").c_str(), &pointer, nullptr, nullptr, &height, nullptr),
              CAMUTL_STS_SUCCESS);
    Bytes expected(data.begin(), data.begin() + static_cast<std::ptrdiff_t>(kept));
    expected.resize(50, kUntouched);
    EXPECT_EQ(frame.Copy(), expected) << kept;
    EXPECT_EQ(height, 5u);
  }
}

TEST_F(Rwh, BytesBehindTheFrameAreNotRead) {
  Bytes file = Words32({0x01080001, 3, 1, 3});
  file.insert(file.end(), {1, 2, 3, 4, 5, 6});
  WriteFile(File("long"), file);
  GuardedBuffer frame(3);
  std::uint8_t *pointer = frame.data();
  EXPECT_EQ(LoadRWH(File("long").c_str(), &pointer, nullptr, nullptr, nullptr, nullptr), CAMUTL_STS_SUCCESS);
  EXPECT_EQ(frame.Copy(), (Bytes{1, 2, 3}));
  EXPECT_TRUE(frame.Intact());
}

TEST_F(Rwh, TheFileDecidesTheSizeNotTheFormat) {
  // Line bytes are taken from the header as they are; the size is a 32-bit product.
  Bytes file = Words32({0x01080001, 1000, 0x10000001, 16});
  const Bytes data = Noise(16);
  file.insert(file.end(), data.begin(), data.end());
  WriteFile(File("odd"), file);
  GuardedBuffer frame(16);
  std::uint8_t *pointer = frame.data();
  EXPECT_EQ(LoadRWH(File("odd").c_str(), &pointer, nullptr, nullptr, nullptr, nullptr), CAMUTL_STS_SUCCESS);
  EXPECT_EQ(frame.Copy(), data);
}

TEST_F(Rwh, AHostileHeaderDoesNoHarm) {
  for (const auto &[height, line] : {std::pair{0xFFFFFFFFu, 1u}, {0x10000u, 0xFFFFu}, {1u, 0xFFFFFFFFu}}) {
    Bytes file = Words32({0x01080001, 1, height, line});
    file.insert(file.end(), {1, 2, 3});
    WriteFile(File("hostile"), file);
    std::uint8_t *frame = nullptr;
    std::uint32_t read_height = 0;
    EXPECT_EQ(LoadRWH(File("hostile").c_str(), &frame, nullptr, nullptr, &read_height, nullptr),
              CAMUTL_STS_SUCCESS);
    EXPECT_EQ(read_height, height);
    if (frame != nullptr) {
      EXPECT_EQ(Bytes(frame, frame + 3), (Bytes{1, 2, 3}));
    }
    std::free(frame);
  }
}

TEST_F(Rwh, AFailedAllocationLeavesTheFrameNull) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "sanitizers reserve more memory than this limit allows";
#endif
  Bytes file = Words32({0x01080001, 1, 1, 0xFFFFFF00});
  file.insert(file.end(), {1, 2, 3});
  WriteFile(File("huge"), file);
  rlimit before{};
  ASSERT_EQ(getrlimit(RLIMIT_AS, &before), 0);
  rlimit tight = before;
  tight.rlim_cur = rlim_t{1} << 31;
  ASSERT_EQ(setrlimit(RLIMIT_AS, &tight), 0);
  void *const probe = std::malloc(0xFFFFFF00);
  std::uint8_t *frame = nullptr;
  std::uint32_t line = 0;
  const CamUtlStatus status = LoadRWH(File("huge").c_str(), &frame, nullptr, nullptr, nullptr, &line);
  ASSERT_EQ(setrlimit(RLIMIT_AS, &before), 0);
  if (probe != nullptr) {
    std::free(probe);
    std::free(frame);
    GTEST_SKIP() << "memory cannot be limited here";
  }
  EXPECT_EQ(status, CAMUTL_STS_SUCCESS);
  EXPECT_EQ(frame, nullptr);
  EXPECT_EQ(line, 0xFFFFFF00u);
}

TEST_F(Rwh, ReadingADirectoryEndsCleanly) {
  // Opening a directory for reading succeeds on Linux and the read fails.
  const std::string directory = File("");
  std::uint8_t byte = 0x5A;
  std::uint8_t *frame = &byte;
  const CamUtlStatus status = LoadRWH(directory.c_str(), &frame, nullptr, nullptr, nullptr, nullptr);
  EXPECT_TRUE(status == CAMUTL_STS_SUCCESS || status == CAMUTL_STS_FILE_OPEN_ERROR) << status;
  EXPECT_EQ(byte, 0x5A);
}

}  // namespace
}  // namespace KivoTest
