// SPDX-License-Identifier: Apache-2.0
// File functions on a machine whose memory is exhausted: every allocation of the process throws while they
// run. Whatever they allocate, no exception may leave them, the file has to be closed and the status tells.
#include <cstdlib>
#include <fstream>
#include <functional>
#include <new>

#include "camutl/bmp_file.h"
#include "camutl/rwh_file.h"
#include "support/temp_dir.h"
#include "support/unit.h"

namespace {

// Allocations that still succeed before all of them fail; negative for no limit.
long g_allocations_left = -1;
long g_failed = 0;

void *Allocate(std::size_t size) {
  if (g_allocations_left == 0) {
    ++g_failed;
    throw std::bad_alloc();
  }
  if (g_allocations_left > 0) --g_allocations_left;
  void *const memory = std::malloc(size == 0 ? 1 : size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

}  // namespace

#if defined(__GNUC__) && !defined(__clang__)
// g++ inlines one half of the pairs below and takes what is left for a mismatch.
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"
#endif

void *operator new(std::size_t size) {
  return Allocate(size);
}
void *operator new[](std::size_t size) {
  return Allocate(size);
}
void operator delete(void *memory) noexcept {
  std::free(memory);
}
void operator delete[](void *memory) noexcept {
  std::free(memory);
}
void operator delete(void *memory, std::size_t) noexcept {
  std::free(memory);
}
void operator delete[](void *memory, std::size_t) noexcept {
  std::free(memory);
}

namespace KivoTest {
namespace {

// Calls with 0, 1, 2 ... allocations left until nothing fails any more.
void WithEveryAllocationFailing(const std::function<CamUtlStatus()> &call, CamUtlStatus when_failing) {
  for (long allowed = 0; allowed < 100; ++allowed) {
    const std::size_t descriptors = OpenDescriptors();
    g_failed = 0;
    g_allocations_left = allowed;
    const CamUtlStatus status = call();
    g_allocations_left = -1;
    EXPECT_EQ(OpenDescriptors(), descriptors) << "a descriptor leaked with " << allowed << " allocations";
    if (g_failed == 0) {
      EXPECT_EQ(status, CAMUTL_STS_SUCCESS);
      return;
    }
    EXPECT_EQ(status, when_failing) << "with " << allowed << " allocations";
  }
  FAIL() << "allocations never end";
}

TEST(Exceptions, WritersReportAFailedAllocation) {
  const TempDir dir;
  const std::string path = dir.File("file");
  const Bytes image(16 * 8 * 4, 9);
  const auto *const words = reinterpret_cast<const std::uint32_t *>(image.data());
  const char *const name = path.c_str();
  const std::function<CamUtlStatus()> writers[] = {
      [&] { return SaveRWH(image.data(), 0x01080001, 16, 8, name); },
      [&] { return SaveBmpARGB(words, 16, 8, name); },
      [&] { return SaveBmpRGB(image.data(), 16, 8, name); },
      [&] { return SaveBmpMono(image.data(), 16, 8, name); },
      [&] { return SaveBmpARGB_S(words, 15, 8, 64, name); },
      [&] { return SaveBmpRGB_S(image.data(), 15, 8, 48, name); },
      [&] { return SaveBmpMono_S(image.data(), 15, 8, 16, name); }};
  for (const auto &writer : writers) WithEveryAllocationFailing(writer, CAMUTL_STS_FILE_WRITE_ERROR);
}

TEST(Exceptions, NothingLeavesTheReader) {
  const TempDir dir;
  const std::string path = dir.File("file");
  const Bytes image(128, 9);
  ASSERT_EQ(SaveRWH(image.data(), 0x01080001, 16, 8, path.c_str()), CAMUTL_STS_SUCCESS);
  for (long allowed = 0; allowed < 10; ++allowed) {
    Bytes frame(128, 0);
    std::uint8_t *pointer = frame.data();
    const std::size_t descriptors = OpenDescriptors();
    g_failed = 0;
    g_allocations_left = allowed;
    const CamUtlStatus status = LoadRWH(path.c_str(), &pointer, nullptr, nullptr, nullptr, nullptr);
    g_allocations_left = -1;
    EXPECT_EQ(OpenDescriptors(), descriptors) << allowed;
    if (g_failed == 0) {
      EXPECT_EQ(status, CAMUTL_STS_SUCCESS);
      EXPECT_EQ(frame, image);
    } else {
      EXPECT_NE(status, CAMUTL_STS_SUCCESS);
    }
  }
}

// A file that throws something that is no std::exception at the call with a given number, opening it
// included.
class ThrowingFile {
 public:
  static inline int s_calls_left = 0;

  ThrowingFile(const char *name, std::ios::openmode mode) : file_(name, mode) { Count(); }
  bool is_open() const { return file_.is_open(); }
  void write(const char *bytes, std::streamsize size) {
    Count();
    file_.write(bytes, size);
  }
  void read(char *bytes, std::streamsize size) {
    Count();
    file_.read(bytes, size);
  }
  std::streamsize gcount() const { return file_.gcount(); }
  void close() {
    Count();
    file_.close();
  }

 private:
  static void Count() {
    if (s_calls_left-- == 0) throw 42;
  }
  std::fstream file_;
};

// The number of calls that a function makes; each of them has thrown once.
int ThrowAtEveryCall(const std::function<CamUtlStatus()> &function, CamUtlStatus when_thrown) {
  for (int calls = 0; calls < 100; ++calls) {
    const std::size_t descriptors = OpenDescriptors();
    ThrowingFile::s_calls_left = calls;
    const CamUtlStatus status = function();
    EXPECT_EQ(OpenDescriptors(), descriptors) << "a descriptor leaked at call " << calls;
    if (ThrowingFile::s_calls_left >= 0) {
      EXPECT_EQ(status, CAMUTL_STS_SUCCESS);
      return calls;
    }
    EXPECT_EQ(status, when_thrown) << "at call " << calls;
  }
  return -1;
}

TEST(Exceptions, AThrowingStream) {
  const TempDir dir;
  const std::string path = dir.File("file");
  const Bytes image(5 * 3 * 4, 9);
  const Kivo::RwhHeader header{0x01080001, 5, 3, 5};
  // Opening, header, rows, closing.
  EXPECT_EQ(ThrowAtEveryCall([&] { return Kivo::SaveRwh<ThrowingFile>(image.data(), header, path.c_str()); },
                             CAMUTL_STS_FILE_WRITE_ERROR),
            4);
  EXPECT_EQ(ReadFile(path).size(), 31u);
  // Opening, two headers, the grey palette, three rows and their padding, closing.
  const auto bmp = [&](const Kivo::BmpKind &kind, std::uint32_t stride) {
    return ThrowAtEveryCall(
        [&] { return Kivo::SaveBmp<ThrowingFile>(kind, image.data(), 5, 3, stride, path.c_str()); },
        CAMUTL_STS_FILE_WRITE_ERROR);
  };
  EXPECT_EQ(bmp(Kivo::c_sBmpARGB, 20), 1 + 2 + 3 + 1);
  EXPECT_EQ(bmp(Kivo::c_sBmpRGB, 15), 1 + 2 + 6 + 1);
  EXPECT_EQ(bmp(Kivo::c_sBmpMono, 5), 1 + 3 + 6 + 1);

  ASSERT_EQ(SaveRWH(image.data(), 0x01080001, 5, 3, path.c_str()), CAMUTL_STS_SUCCESS);
  Bytes frame(15);
  const auto load = [&] {
    std::uint8_t *pointer = frame.data();
    Kivo::RwhHeader read{};
    return Kivo::LoadRwh<ThrowingFile>(path.c_str(), &pointer, read);
  };
  EXPECT_GE(ThrowAtEveryCall(load, CAMUTL_STS_FILE_READ_ERROR), 3);
  EXPECT_EQ(frame, Bytes(15, 9));
}

TEST(Exceptions, ConvertersAllocateNothing) {
  PrepareLUT();
  Bytes src(64 * 16 * 6), dst(64 * 16 * 4);
  for (const Converter &converter : AllConverters()) {
    g_failed = 0;
    g_allocations_left = 0;
    const CamUtlStatus status = converter(dst.data(), src.data(), 64, 16, 2);
    g_allocations_left = -1;
    EXPECT_EQ(status, CAMUTL_STS_SUCCESS) << converter.name;
    EXPECT_EQ(g_failed, 0) << converter.name;
  }
}

}  // namespace
}  // namespace KivoTest
