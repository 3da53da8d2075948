// SPDX-License-Identifier: Apache-2.0
// Binary PPM (P6) and PGM (P5), one or two bytes a sample.
#include <cinttypes>

#include "files/byte_sink.h"
#include "pictures/picture.h"
#include "pictures/picture_file.h"
#include "words/failure.h"
#include "words/text.h"

namespace tool {
namespace {

// No header is longer, with all comments: a stream without an end is none.
constexpr std::uint64_t kLongestHeader = 65536;

// Numbers of the header are separated by white space and comments.
class HeaderReader {
 public:
  explicit HeaderReader(PictureFile &file) : file_(file) { next(); }

  // Takes one byte behind the number too: in front of the samples there is exactly one white space character.
  std::uint64_t number() {
    while (isSpace(at_) || at_ == '#') {
      if (at_ == '#')
        while (at_ != '\n') next();
      else
        next();
    }
    if (!isDigit(at_)) throw damaged();
    std::uint64_t value = 0;
    for (; isDigit(at_); next()) {
      if (value > UINT64_MAX / 100) throw damaged();
      value = 10 * value + static_cast<std::uint64_t>(at_ - '0');
    }
    return value;
  }

  void endHeader() const {
    if (!isSpace(at_)) throw damaged();
  }

  Failure damaged() const { return Failure(Exit::Input, file_.name(), "has a damaged PPM header"); }

 private:
  void next() {
    at_ = file_.taken() < kLongestHeader ? file_.byte() : -1;
    if (at_ < 0) throw damaged();
  }

  static bool isSpace(int c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
  static bool isDigit(int c) { return c >= '0' && c <= '9'; }

  PictureFile &file_;
  int at_ = 0;
};

}  // namespace

Picture decodePnm(PictureFile &file, Depth depth) {
  char magic[2] = {};
  file.take(magic, sizeof magic);
  HeaderReader header(file);
  const std::uint64_t width = header.number();
  const std::uint64_t height = header.number();
  const std::uint64_t most = header.number();
  header.endHeader();
  if (most == 0 || most > 65535) throw header.damaged();
  checkPictureSize(file.name(), width, height);
  const std::size_t channels = magic[1] == '6' ? 3 : 1;
  const std::size_t sampleBytes = most > 255 ? 2 : 1;
  const std::size_t pixels = static_cast<std::size_t>(width * height);
  const std::size_t needed = pixels * channels * sampleBytes;
  const auto tooShort = [&](std::uint64_t bytes) {
    return Failure(Exit::Input, file.name(),
                   printed("ends too early: %" PRIu64 " bytes of pixels, %zu needed", bytes, needed));
  };
  if (file.size() != kUncounted && file.size() < file.taken() + needed)
    throw tooShort(file.size() - file.taken());
  const std::vector<std::uint8_t> samples = file.body(needed);
  if (samples.size() < needed) throw tooShort(samples.size());

  const unsigned bits = sampleBytes == 2 && depth == Depth::Kept ? 16 : 8;
  const std::uint64_t white = (1U << bits) - 1;
  Picture picture(static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height), bits);
  for (std::size_t i = 0; i < pixels; ++i) {
    for (std::size_t c = 0; c < 3; ++c) {
      const std::uint8_t *sample = samples.data() + (i * channels + c % channels) * sampleBytes;
      const std::uint64_t value = sampleBytes == 2 ? sample[0] * 256U + sample[1] : sample[0];
      picture.setSample(3 * i + c, (value > most ? most : value) * white / most);
    }
  }
  return picture;
}

void encodePnm(const Rows &rows, ByteSink &sink) {
  const std::string header =
      printed("P%c\n%" PRIu32 " %" PRIu32 "\n%u\n", rows.channels == 1 ? '5' : '6', rows.width, rows.height,
              rows.most == 0 ? (1U << rows.bits) - 1 : rows.most);
  sink.write(header.data(), header.size());
  std::vector<std::uint8_t> space(rows.rowBytes());
  for (std::uint32_t y = 0; y < rows.height; ++y) sink.write(rows.row(y, space.data()), space.size());
}

}  // namespace tool
