// SPDX-License-Identifier: Apache-2.0
// The C++ layer's files: RWH in and out, BMP out, and every way in which a file can be wrong.
#include <gtest/gtest.h>

#include <KivoCamUtl.hpp>
#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include <grp.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "support/temp_dir.h"

namespace {

using kivo::Errc;
using Bytes = std::vector<std::uint8_t>;

// A directory of its own for each test.
class HppFiles : public testing::Test {
 protected:
  std::string path(const char *name) const { return directory_.File(name); }

  std::string write(const char *name, const Bytes &bytes) const {
    KivoTest::WriteFile(path(name), bytes);
    return path(name);
  }

  static Bytes read(const std::string &name) { return KivoTest::ReadFile(name); }

  // An RWH file by hand: the four header words, then the data.
  static Bytes rwh(std::uint32_t code, std::uint32_t width, std::uint32_t height, std::uint32_t line,
                   std::size_t data) {
    Bytes bytes;
    for (const std::uint32_t word : {code, width, height, line})
      for (int shift = 0; shift < 32; shift += 8)
        bytes.push_back(static_cast<std::uint8_t>(word >> shift & 0xFF));
    for (std::size_t i = 0; i < data; ++i) bytes.push_back(static_cast<std::uint8_t>(i));
    return bytes;
  }

 private:
  KivoTest::TempDir directory_;
};

TEST_F(HppFiles, SaveAndLoadRwh) {
  Bytes samples;
  for (int i = 0; i < 2 * 20; ++i) samples.push_back(static_cast<std::uint8_t>(i));
  // Rows of 8 bytes, 20 apart: the file holds them packed.
  ASSERT_EQ(kivo::saveRwh({samples.data(), 28, CAMUTL_PFNC_MONO12, 4, 2, 20}, path("a.rwh").c_str()),
            Errc::Ok);
  Bytes expected = rwh(CAMUTL_PFNC_MONO12, 4, 2, 8, 8);
  for (int i = 20; i < 28; ++i) expected.push_back(static_cast<std::uint8_t>(i));
  EXPECT_EQ(read(path("a.rwh")), expected);
  const auto frame = kivo::loadRwh(path("a.rwh").c_str());
  ASSERT_TRUE(frame) << frame.message();
  EXPECT_EQ(frame->format, CAMUTL_PFNC_MONO12);
  EXPECT_EQ(frame->width, 4U);
  EXPECT_EQ(frame->height, 2U);
  EXPECT_EQ(frame->stride, 8);
  EXPECT_EQ(Bytes(frame->data.begin(), frame->data.end()), Bytes(expected.begin() + 16, expected.end()));
}

TEST_F(HppFiles, SaveAndLoadSamplesThatShareBytes) {
  const std::uint32_t code = kivo::findFormat("Mono12p")->code;
  const Bytes bytes = {0x34, 0xA2, 0xBC, 0x01, 0x20, 0x00, 0xEE, 0xEE};
  // Rows that end on a byte keep their format.
  ASSERT_EQ(kivo::saveRwh({bytes.data(), 6, code, 2, 2}, path("a.rwh").c_str()), Errc::Ok);
  const auto frame = kivo::loadRwh(path("a.rwh").c_str());
  ASSERT_TRUE(frame) << frame.message();
  EXPECT_EQ(frame->format, code);
  EXPECT_EQ(Bytes(frame->data.begin(), frame->data.end()), Bytes(bytes.begin(), bytes.begin() + 6));
  const auto plain = kivo::unpack(frame->view());
  ASSERT_TRUE(plain);
  EXPECT_EQ(Bytes(plain->data.begin(), plain->data.end()), (Bytes{0x34, 2, 0xCA, 0x0B, 1, 0, 2, 0}));
  EXPECT_EQ(kivo::saveRwh({bytes.data(), 8, code, 3, 1}, path("b.rwh").c_str()), Errc::PartialByte);
}

// Of every format, whatever its rows look like: the bytes of a frame without gaps.
TEST_F(HppFiles, SavePacksTheRowsOfEveryFormat) {
  for (const kivo::Format &format : kivo::formats()) {
    SCOPED_TRACE(format.name);
    const std::uint32_t width = 8, height = 3;
    const std::size_t row = static_cast<std::size_t>(kivo_row_bytes(format.code, width)), step = row + 3;
    const std::size_t planes = format.packing == KIVO_PLANAR ? 3 : 1;
    const bool words = format.plain_bytes == 2 && (format.packing == KIVO_PLAIN || planes == 3);
    Bytes padded(step * height * planes), upside(padded.size()), swapped, packed;
    for (std::size_t y = 0; y < height * planes; ++y) {
      const std::size_t plane = y / height * height, turned = plane + (height - 1 - (y - plane));
      for (std::size_t i = 0; i < row; ++i) {
        const auto byte = static_cast<std::uint8_t>(y * 71 + i * 13 + 5);
        padded[y * step + i] = upside[turned * step + i] = byte;
        packed.push_back(byte);
      }
    }
    const auto stride = static_cast<std::ptrdiff_t>(step);
    const kivo::FrameView frame = {padded.data(), padded.size(), format.code, width, height, stride};
    const kivo::FrameView turned = {upside.data(), upside.size(), format.code, width, height, -stride};
    Bytes expected = rwh(format.code, width, height, static_cast<std::uint32_t>(row * planes), 0);
    expected.insert(expected.end(), packed.begin(), packed.end());
    ASSERT_EQ(kivo::saveRwh(frame, path("a.rwh").c_str()), Errc::Ok);
    EXPECT_EQ(read(path("a.rwh")), expected);
    ASSERT_EQ(kivo::saveRwh(turned, path("a.rwh").c_str()), Errc::Ok);
    EXPECT_EQ(read(path("a.rwh")), expected);
    if (words) {
      for (std::size_t i = 0; i < packed.size(); ++i) swapped.push_back(packed[i ^ 1]);
      const kivo::FrameView big = {swapped.data(),      swapped.size(), format.code, width, height, 0,
                                   kivo::ByteOrder::Big};
      ASSERT_EQ(kivo::saveRwh(big, path("a.rwh").c_str()), Errc::Ok);
      EXPECT_EQ(read(path("a.rwh")), expected);
    }
    const auto loaded = kivo::loadRwh(path("a.rwh").c_str());
    ASSERT_TRUE(loaded) << loaded.message();
    const auto plain = kivo::unpack(frame), back = kivo::unpack(loaded->view());
    ASSERT_TRUE(plain && back);
    EXPECT_TRUE(std::equal(plain->data.begin(), plain->data.end(), back->data.begin()));
  }
}

TEST_F(HppFiles, SaveWritesLittleEndian) {
  const Bytes bytes = {1, 2, 3, 4};
  ASSERT_EQ(kivo::saveRwh({bytes.data(), 4, CAMUTL_PFNC_MONO16, 2, 1, 0, kivo::ByteOrder::Big},
                          path("a.rwh").c_str()),
            Errc::Ok);
  const auto frame = kivo::loadRwh(path("a.rwh").c_str());
  ASSERT_TRUE(frame);
  EXPECT_EQ(Bytes(frame->data.begin(), frame->data.end()), (Bytes{2, 1, 4, 3}));
}

TEST_F(HppFiles, LoadTakesLongRowsAsPadding) {
  const auto frame = kivo::loadRwh(write("a.rwh", rwh(CAMUTL_PFNC_MONO8, 3, 2, 5, 10)).c_str());
  ASSERT_TRUE(frame) << frame.message();
  EXPECT_EQ(frame->stride, 5);
  const auto image = kivo::convert(frame->view());
  ASSERT_TRUE(image);
  EXPECT_EQ(image->pixel(0, 1)[0], 5);
}

TEST_F(HppFiles, LoadTellsApartWhatItRefuses) {
  const auto error = [&](const Bytes &bytes) {
    return kivo::loadRwh(write("bad.rwh", bytes).c_str()).error();
  };
  const Bytes good = rwh(CAMUTL_PFNC_MONO8, 4, 4, 4, 16);
  EXPECT_EQ(error(good), Errc::Ok);
  for (std::size_t size = 0; size < good.size(); ++size)
    EXPECT_EQ(error(Bytes(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(size))),
              size < 16 ? Errc::NoHeader : Errc::FileTooShort)
        << size;
  EXPECT_EQ(error(rwh(CAMUTL_PFNC_MONO8, 4, 4, 4, 17)), Errc::FileTooLong);
  EXPECT_EQ(error(rwh(CAMUTL_PFNC_MONO8, 4, 4, 3, 12)), Errc::BadHeader);
  const std::uint32_t planar = kivo::findFormat("RGB8_Planar")->code;
  EXPECT_EQ(error(rwh(planar, 4, 4, 4, 16)), Errc::BadHeader);
  EXPECT_EQ(error(rwh(planar, 4, 4, 13, 52)), Errc::BadHeader);
  EXPECT_EQ(error(rwh(planar, 4, 4, 12, 48)), Errc::Ok);
  EXPECT_EQ(error(rwh(0x0108FFFF, 4, 4, 4, 16)), Errc::UnknownFormat);
  EXPECT_EQ(error(rwh(CAMUTL_PFNC_MONO8, 0, 4, 4, 16)), Errc::EmptyImage);
  EXPECT_EQ(error(rwh(CAMUTL_PFNC_MONO8, 4, 0, 4, 0)), Errc::EmptyImage);
  // Products that wrap to small numbers in 32 bits.
  EXPECT_EQ(error(rwh(CAMUTL_PFNC_MONO8, 0x10000, 0x10001, 0x10000, 0x10000)), Errc::FileTooShort);
  EXPECT_EQ(error(rwh(CAMUTL_PFNC_MONO12, 0x10000002, 1, 4, 4)), Errc::BadHeader);
  EXPECT_EQ(error(rwh(CAMUTL_PFNC_MONO8, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF, 1)), Errc::FileTooShort);
  EXPECT_EQ(kivo::loadRwh(path("missing").c_str()).error(), Errc::FileOpen);
  EXPECT_EQ(kivo::loadRwh(path("").c_str()).error(), Errc::NotAFile);
  EXPECT_EQ(kivo::loadRwh("/dev/null").error(), Errc::NotAFile);
  EXPECT_EQ(kivo::loadRwh(nullptr).error(), Errc::FileOpen);
  EXPECT_EQ(kivo::readRwhInfo(nullptr).error(), Errc::FileOpen);
}

TEST_F(HppFiles, LoadGivesOneOfTwoFilesThatTakeTurnsUnderAName) {
  const Bytes large = rwh(CAMUTL_PFNC_MONO8, 200, 300, 200, 60000),
              small = rwh(CAMUTL_PFNC_MONO8, 2, 3, 2, 6);
  const std::string name = write("name.rwh", large);
  std::atomic<bool> done{false};
  std::thread other([&] {
    for (bool turn = false; !done; turn = !turn)
      std::filesystem::rename(write("next.rwh", turn ? large : small), name);
  });
  for (int i = 0; i < 2000; ++i) {
    const auto frame = kivo::loadRwh(name.c_str());
    EXPECT_TRUE(frame) << frame.message();
    if (!frame) break;
    const Bytes &expected = frame->width == 200 ? large : small;
    EXPECT_EQ(Bytes(frame->data.begin(), frame->data.end()), Bytes(expected.begin() + 16, expected.end()));
  }
  done = true;
  other.join();
}

// Programs without a standard input have files under its number.
TEST_F(HppFiles, SaveAndLoadTakeAnyFileNumber) {
  const std::string name = path("a.rwh");
  const std::uint8_t grey = 100;
  const int input = dup(STDIN_FILENO);
  close(STDIN_FILENO);
  const Errc saved = kivo::saveRwh({&grey, 1, CAMUTL_PFNC_MONO8, 1, 1}, name.c_str());
  const auto frame = kivo::loadRwh(name.c_str());
  if (input >= 0) {
    dup2(input, STDIN_FILENO);
    close(input);
  }
  EXPECT_EQ(saved, Errc::Ok);
  EXPECT_TRUE(frame) << frame.message();
}

TEST_F(HppFiles, SaveNoticesWhatTheWritersDoNotReport) {
  const Bytes samples(64);
  const kivo::FrameView view = {samples.data(), samples.size(), CAMUTL_PFNC_MONO8, 8, 8};
  const auto image = kivo::convert(view);
  ASSERT_TRUE(image);
  EXPECT_EQ(kivo::saveRwh(view, path("none/a.rwh").c_str()), Errc::FileOpen);
  EXPECT_EQ(kivo::saveBmp(*image, path("none/a.bmp").c_str()), Errc::FileOpen);
  EXPECT_EQ(kivo::saveRwh(view, nullptr), Errc::FileOpen);
  EXPECT_EQ(kivo::saveBmp(*image, nullptr), Errc::FileOpen);
  EXPECT_EQ(kivo::saveRwh({samples.data(), 63, CAMUTL_PFNC_MONO8, 8, 8}, path("a.rwh").c_str()),
            Errc::ShortBuffer);
  EXPECT_FALSE(std::filesystem::exists(path("a.rwh")));
  if (!std::filesystem::exists("/dev/full")) GTEST_SKIP() << "no /dev/full";
  EXPECT_EQ(kivo::saveRwh(view, "/dev/full"), Errc::FileWrite);
  EXPECT_EQ(kivo::saveBmp(*image, "/dev/full"), Errc::FileWrite);
}

// While one lives no file may grow beyond so many bytes: a disk that is full.
class FullDisk {
 public:
  explicit FullDisk(rlim_t bytes) : handler_(std::signal(SIGXFSZ, SIG_IGN)) {
    getrlimit(RLIMIT_FSIZE, &before_);
    const rlimit limit = {bytes, before_.rlim_max};
    EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
  }
  ~FullDisk() {
    setrlimit(RLIMIT_FSIZE, &before_);
    std::signal(SIGXFSZ, handler_);
  }
  FullDisk(const FullDisk &) = delete;
  FullDisk &operator=(const FullDisk &) = delete;

 private:
  rlimit before_ = {};
  void (*handler_)(int);
};

TEST_F(HppFiles, SaveIsWholeOrLeavesWhatIsThere) {
  const Bytes samples(6400, 7);
  const kivo::FrameView view = {samples.data(), samples.size(), CAMUTL_PFNC_MONO8, 80, 80};
  const auto image = kivo::convert(view);
  ASSERT_TRUE(image);
  const Bytes precious = {'p', 'r', 'e'};
  const std::string rwh = write("a.rwh", precious), bmp = write("a.bmp", precious);
  {
    const FullDisk full(1000);
    EXPECT_EQ(kivo::saveRwh(view, rwh.c_str()), Errc::FileWrite);
    EXPECT_EQ(kivo::saveBmp(*image, bmp.c_str()), Errc::FileWrite);
    EXPECT_EQ(kivo::saveBmp(*image, path("new.bmp").c_str()), Errc::FileWrite);
  }
  EXPECT_EQ(read(rwh), precious);
  EXPECT_EQ(read(bmp), precious);
  const auto files = [this] {
    return std::distance(std::filesystem::directory_iterator(path("")),
                         std::filesystem::directory_iterator());
  };
  EXPECT_EQ(files(), 2);
  EXPECT_EQ(kivo::saveRwh(view, rwh.c_str()), Errc::Ok);
  EXPECT_EQ(kivo::saveBmp(*image, bmp.c_str()), Errc::Ok);
  EXPECT_EQ(read(rwh).size(), 6416U);
  EXPECT_EQ(read(bmp).size(), 54U + 4 * 6400);
  EXPECT_EQ(files(), 2);
}

TEST_F(HppFiles, SaveKeepsPermissionsLinksAndReadOnlyFiles) {
  namespace fs = std::filesystem;
  const std::uint8_t grey = 100;
  const kivo::FrameView view = {&grey, 1, CAMUTL_PFNC_MONO8, 1, 1};
  const Bytes precious = {'p', 'r', 'e'};
  const std::string name = write("a.rwh", precious);
  fs::permissions(name, fs::perms(0624));
  EXPECT_EQ(kivo::saveRwh(view, name.c_str()), Errc::Ok);
  EXPECT_EQ(read(name).size(), 17U);
  EXPECT_EQ(fs::status(name).permissions(), fs::perms(0624));
  const mode_t mask = umask(027);
  EXPECT_EQ(kivo::saveRwh(view, path("new.rwh").c_str()), Errc::Ok);
  umask(mask);
  EXPECT_EQ(fs::status(path("new.rwh")).permissions(), fs::perms(0640));
  if (getuid() == 0) {
    ASSERT_EQ(chown(name.c_str(), 12345, 12345), 0);
    EXPECT_EQ(kivo::saveRwh(view, name.c_str()), Errc::Ok);
    struct stat info = {};
    ASSERT_EQ(stat(name.c_str(), &info), 0);
    EXPECT_EQ(info.st_uid, 12345U);
    EXPECT_EQ(info.st_gid, 12345U);
    ASSERT_EQ(chown(name.c_str(), 12345, getgid()), 0);
    EXPECT_EQ(kivo::saveRwh(view, name.c_str()), Errc::Ok);
    ASSERT_EQ(stat(name.c_str(), &info), 0);
    EXPECT_EQ(info.st_uid, 12345U);
    // What only others may write stays so.
    fs::permissions(name, fs::perms(0466));
    EXPECT_EQ(kivo::saveRwh(view, name.c_str()), Errc::Ok);
    EXPECT_EQ(fs::status(name).permissions(), fs::perms(0466));
  }

  fs::create_directory(path("far"));
  fs::create_symlink("far/second", path("first"));
  fs::create_symlink("../later.rwh", path("far/second"));
  EXPECT_EQ(kivo::saveRwh(view, path("first").c_str()), Errc::Ok);
  EXPECT_TRUE(fs::is_symlink(path("first")) && fs::is_symlink(path("far/second")));
  EXPECT_EQ(read(path("later.rwh")).size(), 17U);
  fs::create_symlink(path("absolute.rwh"), path("far/third"));
  EXPECT_EQ(kivo::saveRwh(view, path("far/third").c_str()), Errc::Ok);
  EXPECT_TRUE(fs::is_symlink(path("far/third")));
  EXPECT_EQ(read(path("absolute.rwh")).size(), 17U);
  fs::create_symlink("circle", path("circle"));
  EXPECT_EQ(kivo::saveRwh(view, path("circle").c_str()), Errc::FileOpen);
  EXPECT_EQ(kivo::saveRwh(view, path("far").c_str()), Errc::FileOpen);
  EXPECT_EQ(kivo::saveRwh(view, ""), Errc::FileOpen);

  write("a.rwh", precious);
  fs::permissions(name, fs::perms(0444));
  EXPECT_EQ(kivo::saveRwh(view, name.c_str()), Errc::FileOpen);
  EXPECT_EQ(read(name), precious);
}

// Whatever a name begins with, nothing but the file itself is touched: here, a link that is called as a part
// of it.
TEST_F(HppFiles, SaveLeavesItsNeighbours) {
  namespace fs = std::filesystem;
  const std::uint8_t grey = 100;
  const kivo::FrameView view = {&grey, 1, CAMUTL_PFNC_MONO8, 1, 1};
  fs::create_directory(path("far"));
  fs::create_symlink("far", path("x"));
  const fs::path before = fs::current_path();
  fs::current_path(path(""));
  EXPECT_EQ(kivo::saveRwh(view, "x/a.rwh"), Errc::Ok);
  fs::current_path(before);
  EXPECT_TRUE(fs::is_symlink(path("x")));
  EXPECT_EQ(read(path("far/a.rwh")).size(), 17U);
  EXPECT_EQ(std::distance(fs::directory_iterator(path("far")), fs::directory_iterator()), 1);
}

// A process of the same number may have left files when it died: every other one of the names that come next.
TEST_F(HppFiles, SavePassesOverNamesThatAreTaken) {
  const std::uint8_t grey = 100;
  const kivo::FrameView view = {&grey, 1, CAMUTL_PFNC_MONO8, 1, 1};
  for (unsigned i = 0; i < 1000; i += 2)
    write((".kivocam-" + std::to_string(getpid()) + "-" + std::to_string(i)).c_str(), {});
  for (int i = 0; i < 2; ++i) EXPECT_EQ(kivo::saveRwh(view, path("a.rwh").c_str()), Errc::Ok);
  EXPECT_EQ(read(path("a.rwh")).size(), 17U);
}

// Who cannot give a file back to its group leaves the new one no more than everybody had.
TEST_F(HppFiles, SaveGivesAnotherGroupNoMoreThanEverybody) {
  if (getuid() != 0) GTEST_SKIP() << "only root can become somebody else";
  namespace fs = std::filesystem;
  const std::uint8_t grey = 100;
  const kivo::FrameView view = {&grey, 1, CAMUTL_PFNC_MONO8, 1, 1};
  const std::string foreign = write("foreign.rwh", {'p'}), ours = write("ours.rwh", {'p'});
  ASSERT_EQ(chown(ours.c_str(), 0, 12345), 0);
  for (const std::string &name : {foreign, ours}) fs::permissions(name, fs::perms(0662));
  fs::permissions(path(""), fs::perms(0777));
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    const bool able = chdir(path("").c_str()) == 0 && setgroups(0, nullptr) == 0 && setgid(12345) == 0 &&
                      setuid(12345) == 0;
    _exit(able && kivo::saveRwh(view, "foreign.rwh") == Errc::Ok &&
                  kivo::saveRwh(view, "ours.rwh") == Errc::Ok
              ? 0
              : 1);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  ASSERT_EQ(status, 0);
  EXPECT_EQ(read(foreign).size(), 17U);
  EXPECT_EQ(fs::status(foreign).permissions(), fs::perms(0622));
  EXPECT_EQ(fs::status(ours).permissions(), fs::perms(0662));
}

TEST_F(HppFiles, SaveBmpOfEveryKind) {
  const std::uint8_t grey = 100;
  const kivo::FrameView view = {&grey, 1, CAMUTL_PFNC_MONO8, 1, 1};
  const auto bgra = kivo::convert(view);
  const auto bgr = kivo::convert(view, {kivo::Pixels::Bgr8});
  ASSERT_TRUE(bgra);
  ASSERT_TRUE(bgr);
  ASSERT_EQ(kivo::saveBmp(*bgra, path("32.bmp").c_str()), Errc::Ok);
  ASSERT_EQ(kivo::saveBmp(*bgr, path("24.bmp").c_str()), Errc::Ok);
  const Bytes wide = read(path("32.bmp")), narrow = read(path("24.bmp"));
  ASSERT_EQ(wide.size(), 58U);
  ASSERT_EQ(narrow.size(), 58U);
  EXPECT_EQ(wide[28], 32);
  EXPECT_EQ(narrow[28], 24);
  EXPECT_EQ(Bytes(wide.begin() + 54, wide.end()), (Bytes{100, 100, 100, 255}));
  EXPECT_EQ(Bytes(narrow.begin() + 54, narrow.end()), (Bytes{100, 100, 100, 0}));
  const auto one = kivo::convert(view, {kivo::Pixels::Gray8}),
             none = kivo::convert(view, {kivo::Pixels::Rgb8});
  ASSERT_TRUE(one && none);
  ASSERT_EQ(kivo::saveBmp(*one, path("8.bmp").c_str()), Errc::Ok);
  const Bytes grey8 = read(path("8.bmp"));
  ASSERT_EQ(grey8.size(), 54U + 1024 + 4);
  EXPECT_EQ(grey8[28], 8);
  EXPECT_EQ(grey8[54 + 1024], 100);
  EXPECT_EQ(kivo::saveBmp(*none, path("rgb.bmp").c_str()), Errc::NotForBmp);
}

TEST_F(HppFiles, SaveBmpRefusesAnImageThatIsNoImage) {
  kivo::Image image;
  EXPECT_EQ(kivo::saveBmp(image, path("a.bmp").c_str()), Errc::NullPointer);
  ASSERT_TRUE(image.pixels.allocate(16));
  EXPECT_EQ(kivo::saveBmp(image, path("a.bmp").c_str()), Errc::EmptyImage);
  image.width = 2;
  image.height = 3;
  image.rowBytes = 8;
  EXPECT_EQ(kivo::saveBmp(image, path("a.bmp").c_str()), Errc::ShortBuffer);
  image.width = image.height = 0x10000;
  EXPECT_EQ(kivo::saveBmp(image, path("a.bmp").c_str()), Errc::TooLarge);
  EXPECT_FALSE(std::filesystem::exists(path("a.bmp")));
}

}  // namespace
