// SPDX-License-Identifier: Apache-2.0
#include "pictures/picture_tiff.h"

#include <tiffio.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>
#include <vector>

#include "files/byte_sink.h"
#include "words/failure.h"
#include "words/text.h"

namespace tool {
namespace {

constexpr std::uint16_t kLinearRaw = 34892, kLightD65 = 21;

// The file that libtiff sees. Of the samples, behind the first kTiffHead bytes, it learns only how many there
// are: it would not change them, and a pipe wants what libtiff knows at the end, the directory, in front.
struct Head {
  std::array<std::uint8_t, kTiffHead> bytes{};
  std::uint64_t size = 0;  // bytes of it that there are
  std::uint64_t at = 0;
  bool samples = false;       // what is written are these
  std::uint64_t fileEnd = 0;  // for reading
  char message[160] = {};     // the first one
};

Head &headOf(thandle_t handle) noexcept {
  return *static_cast<Head *>(handle);
}

tmsize_t readHead(thandle_t handle, void *to, tmsize_t size) noexcept {
  Head &head = headOf(handle);
  const std::uint64_t wanted = static_cast<std::uint64_t>(size),
                      there = head.size - std::min(head.size, head.at);
  const std::size_t count = static_cast<std::size_t>(std::min(wanted, there));
  std::copy_n(head.bytes.data() + std::min(head.at, head.size), count, static_cast<std::uint8_t *>(to));
  head.at += count;
  return static_cast<tmsize_t>(count);
}

tmsize_t writeHead(thandle_t handle, void *from, tmsize_t size) noexcept {
  Head &head = headOf(handle);
  const std::uint64_t end = head.at + static_cast<std::uint64_t>(size);
  if (!head.samples) {
    if (end > kTiffHead) return -1;
    std::copy_n(static_cast<const std::uint8_t *>(from), size, head.bytes.data() + head.at);
    head.size = std::max(head.size, end);
  }
  head.at = end;
  return size;
}

// libtiff puts things where a file ends: the samples where they belong, the rest in front.
toff_t seekHead(thandle_t handle, toff_t offset, int whence) noexcept {
  Head &head = headOf(handle);
  const std::uint64_t end = head.fileEnd != 0 ? head.fileEnd : head.samples ? kTiffHead : head.size;
  head.at = offset + (whence == SEEK_END ? end : whence == SEEK_CUR ? head.at : 0);
  return head.at;
}

toff_t fileEnd(thandle_t handle) noexcept {
  return headOf(handle).fileEnd;
}

int closeNothing(thandle_t) noexcept {
  return 0;
}

// 1: nobody else has to hear of it, least of all what all files of the process share.
[[gnu::format(printf, 4, 0)]] int keepMessage(TIFF *, void *head, const char *, const char *format,
                                              va_list values) noexcept {
  char *const message = static_cast<Head *>(head)->message;
  if (message[0] == '\0') std::vsnprintf(message, sizeof Head::message, format, values);
  return 1;
}

int ignoreWarning(TIFF *, void *, const char *, const char *, va_list) noexcept {
  return 1;
}

struct Release {
  void operator()(TIFFOpenOptions *options) const noexcept { TIFFOpenOptionsFree(options); }
  void operator()(TIFF *tiff) const noexcept { TIFFClose(tiff); }
};
using Tiff = std::unique_ptr<TIFF, Release>;

Tiff openHead(Head &head, const char *mode) {
  constexpr tmsize_t most = 1 << 20;
  const std::unique_ptr<TIFFOpenOptions, Release> options(TIFFOpenOptionsAlloc());
  if (options == nullptr) throw std::bad_alloc();
  TIFFOpenOptionsSetMaxSingleMemAlloc(options.get(), most);
  TIFFOpenOptionsSetErrorHandlerExtR(options.get(), keepMessage, &head);
  TIFFOpenOptionsSetWarningHandlerExtR(options.get(), ignoreWarning, nullptr);
  return Tiff(TIFFClientOpenExt("", mode, &head, readHead, writeHead, seekHead, closeNothing, fileEnd,
                                nullptr, nullptr, options.get()));
}

// Writes one file: what the caller sets, then what writeFile() knows.
class Writer {
 public:
  Writer(const Rows &rows, ByteSink &sink, const char *kind) : rows_(rows), sink_(sink), kind_(kind) {
    if (std::uint64_t{rows.rowBytes()} * rows.height > UINT32_MAX - std::uint64_t{65536})
      throw Failure(Exit::Unsupported, sink.name(),
                    printed("cannot be a %s picture: it would have more than 4 GB", kind));
    errno = 0;
    tiff_ = openHead(head_, "wb");
    if (tiff_ == nullptr) fail();
  }

  // Values as libtiff wants those of the tag.
  template <class... Values>
  void set(std::uint32_t tag, Values... values) {
    if (TIFFSetField(tiff_.get(), tag, values...) != 1 || outOfMemory()) fail();
  }
  void set(std::uint32_t tag, const std::string &text) { set(tag, text.c_str()); }

  void shape(std::uint16_t photometric) {
    set(TIFFTAG_SUBFILETYPE, 0);
    set(TIFFTAG_IMAGEWIDTH, rows_.width);
    set(TIFFTAG_IMAGELENGTH, rows_.height);
    set(TIFFTAG_BITSPERSAMPLE, rows_.bits);
    set(TIFFTAG_COMPRESSION, COMPRESSION_NONE);
    set(TIFFTAG_PHOTOMETRIC, int{photometric});
    set(TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    set(TIFFTAG_SAMPLESPERPIXEL, rows_.channels);
    set(TIFFTAG_ROWSPERSTRIP, rows_.height);
    set(TIFFTAG_XRESOLUTION, 72.0);
    set(TIFFTAG_YRESOLUTION, 72.0);
    set(TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
    set(TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    set(TIFFTAG_SOFTWARE, "kivocam");
  }

  void writeFile() {
    head_.samples = true;
    constexpr std::uint64_t most = std::uint64_t{1} << 30;
    for (std::uint64_t left = std::uint64_t{rows_.rowBytes()} * rows_.height; left != 0;) {
      const tmsize_t size = static_cast<tmsize_t>(std::min(left, most));
      if (TIFFWriteRawStrip(tiff_.get(), 0, nullptr, size) != size) fail();
      left -= static_cast<std::uint64_t>(size);
    }
    head_.samples = false;
    if (TIFFWriteDirectory(tiff_.get()) != 1 || outOfMemory()) fail();
    tiff_.reset();
    sink_.write(head_.bytes.data(), head_.bytes.size());
    std::vector<std::uint8_t> space(rows_.rowBytes());
    for (std::uint32_t y = 0; y < rows_.height; ++y) sink_.write(rows_.row(y, space.data()), space.size());
  }

 private:
  // libtiff has a message, but no error of its own, for memory that does not suffice, and to some tags that
  // happens without a word. It cannot close such a file either: it would free values that were never set.
  bool outOfMemory() const noexcept { return errno == ENOMEM; }

  [[noreturn]] void fail() {
    if (outOfMemory()) {
      static_cast<void>(tiff_.release());
      throw std::bad_alloc();
    }
    throw Failure(Exit::Unsupported, sink_.name(),
                  printed("cannot be a %s picture: %s", kind_, oneLine(head_.message).c_str()));
  }

  const Rows &rows_;
  ByteSink &sink_;
  const char *kind_;
  Head head_;
  Tiff tiff_;
};

}  // namespace

void checkTiff(const std::string &) {}

void encodeTiff(const Rows &rows, ByteSink &sink) {
  Writer file(rows, sink, "TIFF");
  file.shape(rows.channels == 1 ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB);
  file.writeFile();
}

void encodeDng(const Rows &rows, const DngFacts &facts, ByteSink &sink) {
  const bool mosaic = !facts.order.empty();
  const std::string model = mosaic ? "raw mosaic" : "raw grey";
  const std::uint8_t version[] = {1, 4, 0, 0}, backward[] = {1, 1, 0, 0}, planes[] = {0, 1, 2};
  const std::uint16_t repeat[] = {2, 2};
  const float black = static_cast<float>(facts.black);
  Writer file(rows, sink, "DNG");
  file.shape(mosaic ? PHOTOMETRIC_CFA : kLinearRaw);
  file.set(TIFFTAG_MAKE, "KivoCamUtl");
  file.set(TIFFTAG_MODEL, model);
  file.set(TIFFTAG_DNGVERSION, version);
  file.set(TIFFTAG_DNGBACKWARDVERSION, backward);
  file.set(TIFFTAG_UNIQUECAMERAMODEL, "KivoCamUtl " + model);
  file.set(TIFFTAG_BLACKLEVEL, 1, &black);
  file.set(TIFFTAG_WHITELEVEL, 1, &facts.white);
  if (mosaic) {
    std::array<std::uint8_t, 4> pattern{};
    for (std::size_t i = 0; i < pattern.size(); ++i)
      pattern[i] = facts.order[i] == 'R' ? 0 : facts.order[i] == 'G' ? 1 : 2;
    file.set(TIFFTAG_CFAREPEATPATTERNDIM, repeat);
    file.set(TIFFTAG_CFAPATTERN, 4, pattern.data());
    file.set(TIFFTAG_CFAPLANECOLOR, 3, planes);
    file.set(TIFFTAG_CFALAYOUT, 1);
    file.set(TIFFTAG_COLORMATRIX1, 9, facts.matrix.data());
    file.set(TIFFTAG_ASSHOTNEUTRAL, 3, facts.neutral.data());
    file.set(TIFFTAG_CALIBRATIONILLUMINANT1, int{kLightD65});
  }
  file.writeFile();
}

bool isWholeTiff(const std::uint8_t *bytesOfHead, std::size_t size, std::uint64_t bytes) {
  if (size != kTiffHead) return false;
  Head head;
  std::copy_n(bytesOfHead, size, head.bytes.data());
  head.size = size;
  head.fileEnd = bytes;
  // One strip stays one.
  const Tiff tiff = openHead(head, "rmc");
  return tiff != nullptr && TIFFNumberOfStrips(tiff.get()) == 1 &&
         TIFFGetStrileOffset(tiff.get(), 0) == kTiffHead &&
         TIFFGetStrileByteCount(tiff.get(), 0) == bytes - kTiffHead;
}

}  // namespace tool
