// SPDX-License-Identifier: Apache-2.0
// Binary PPM (P6) and PGM (P5), one or two bytes a sample.
#include <cinttypes>

#include "byte_sink.h"
#include "failure.h"
#include "picture.h"
#include "text.h"

namespace tool {
namespace {

// Numbers of the header are separated by white space and comments.
class HeaderReader {
 public:
  HeaderReader(const std::string &path, const std::vector<std::uint8_t> &file) : path_(path), file_(file) {}

  std::uint64_t number() {
    while (at_ < file_.size() && (isSpace(file_[at_]) || file_[at_] == '#')) {
      if (file_[at_] == '#')
        while (at_ < file_.size() && file_[at_] != '\n') ++at_;
      else
        ++at_;
    }
    std::uint64_t value = 0;
    const std::size_t first = at_;
    for (; at_ < file_.size() && file_[at_] >= '0' && file_[at_] <= '9' && at_ - first < 10; ++at_)
      value = 10 * value + (file_[at_] - std::uint64_t{'0'});
    if (at_ == first) throw Failure(Exit::Input, path_, "has a damaged PPM header");
    return value;
  }

  // Where the samples start: exactly one white space character behind the last number.
  std::size_t dataOffset() const {
    if (at_ >= file_.size() || !isSpace(file_[at_]))
      throw Failure(Exit::Input, path_, "has a damaged PPM header");
    return at_ + 1;
  }

 private:
  static bool isSpace(std::uint8_t c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

  const std::string &path_;
  const std::vector<std::uint8_t> &file_;
  std::size_t at_ = 2;
};

}  // namespace

Picture decodePnm(const std::string &path, const std::vector<std::uint8_t> &file, Depth depth) {
  HeaderReader header(path, file);
  const std::uint64_t width = header.number();
  const std::uint64_t height = header.number();
  const std::uint64_t most = header.number();
  const std::size_t offset = header.dataOffset();
  if (most == 0 || most > 65535) throw Failure(Exit::Input, path, "has a damaged PPM header");
  checkPictureSize(path, width, height);
  const std::size_t channels = file[1] == '6' ? 3 : 1;
  const std::size_t sampleBytes = most > 255 ? 2 : 1;
  const std::size_t pixels = static_cast<std::size_t>(width * height);
  const std::size_t needed = pixels * channels * sampleBytes;
  if (file.size() - offset < needed)
    throw Failure(Exit::Input, path,
                  printed("ends too early: %zu bytes of pixels, %zu needed", file.size() - offset, needed));

  const unsigned bits = sampleBytes == 2 && depth == Depth::Kept ? 16 : 8;
  const std::uint64_t white = (1U << bits) - 1;
  Picture picture(static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height), bits);
  for (std::size_t i = 0; i < pixels; ++i) {
    for (std::size_t c = 0; c < 3; ++c) {
      const std::uint8_t *sample = file.data() + offset + (i * channels + c % channels) * sampleBytes;
      const std::uint64_t value = sampleBytes == 2 ? sample[0] * 256U + sample[1] : sample[0];
      picture.setSample(3 * i + c, (value > most ? most : value) * white / most);
    }
  }
  return picture;
}

void encodePnm(const Rows &rows, ByteSink &sink) {
  const std::string header = printed("P%c\n%" PRIu32 " %" PRIu32 "\n%u\n", rows.channels == 1 ? '5' : '6',
                                     rows.width, rows.height, (1U << rows.bits) - 1);
  sink.write(header.data(), header.size());
  std::vector<std::uint8_t> space(rows.rowBytes());
  for (std::uint32_t y = 0; y < rows.height; ++y) sink.write(rows.row(y, space.data()), space.size());
}

}  // namespace tool
