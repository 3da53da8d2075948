// SPDX-License-Identifier: Apache-2.0
#include "raw_input.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cinttypes>
#include <cstdio>
#include <cstring>

#include "failure.h"
#include "text.h"

namespace tool {
namespace {

const char kHeaderlessHint[] = "headerless data needs --format and --size";

// What headerless options come to.
struct Headerless {
  const kivo::Format *format = nullptr;
  Size size;
  std::uint64_t stride = 0;  // 0 where rows share bytes
  std::uint64_t offset = 0;
  std::uint64_t needed = 0;  // bytes of the frame, without padding behind its last row
  std::uint64_t whole = 0;   // with it
};

Headerless parseHeaderless(const InputOptions &options) {
  if (options.format.empty()) throw Failure(Exit::Usage, "--format", kHeaderlessHint);
  if (options.size.empty()) throw Failure(Exit::Usage, "--size", kHeaderlessHint);
  Headerless layout;
  layout.format = &parseFormat(options.format, "--format");
  layout.size = parseSize(options.size, "--size");
  const kivo::Format &format = *layout.format;
  const bool shared = format.packing != kivo::Packing::None;
  const std::uint64_t row = kivo::rowBytes(format, layout.size.width);
  layout.offset = options.offset.empty() ? 0 : parseNumber(options.offset, "--offset");
  if (options.swapBytes && (shared || format.wordBytes != 2))
    throw failureOf(kivo::Errc::NoByteOrder, "--swap-bytes", Exit::Unsupported);
  if (!shared && layout.size.width % format.groupPixels != 0)
    throw Failure(Exit::Unsupported, "--size", kivo::message(kivo::Errc::PartialGroup));
  if (shared && options.stride.empty()) {
    layout.needed = layout.whole = kivo::frameBytes(format, layout.size.width, layout.size.height);
    return layout;
  }
  layout.stride = options.stride.empty() ? row : parseNumber(options.stride, "--stride");
  if (layout.stride < row)
    throw Failure(Exit::Usage, "--stride",
                  printed("%" PRIu64 " is smaller than a row of %" PRIu32 " %s pixels, %" PRIu64 " bytes",
                          layout.stride, layout.size.width, format.name, row));
  // Saturated where it cannot be: no file is that long.
  const std::uint64_t rows = layout.size.height;
  layout.whole = layout.stride > kUncounted / rows ? kUncounted : layout.stride * rows;
  layout.needed = layout.whole == kUncounted ? kUncounted : layout.whole - layout.stride + row;
  return layout;
}

// An open file or stream.
class Source {
 public:
  explicit Source(const InputOptions &options)
      : name_(inputName(options.file)), own_(options.file != "-"), file_(STDIN_FILENO) {
    const bool stream = isStream(options);
    // Where no stream is meant, a FIFO without a writer would make open() wait.
    const int flags = O_RDONLY | O_CLOEXEC | O_NOCTTY | (stream ? 0 : O_NONBLOCK);
    if (own_) file_ = ::open(options.file.c_str(), flags);
    if (file_ < 0) throw Failure(Exit::Input, name_, withErrno("cannot be opened", errno));
    if (!own_) return;
    struct stat info = {};
    const bool known = ::fstat(file_, &info) == 0;
    if (known && S_ISREG(info.st_mode)) {
      size_ = static_cast<std::uint64_t>(info.st_size);
      return;
    }
    if (known && stream && S_ISFIFO(info.st_mode)) return;
    ::close(file_);
    if (S_ISDIR(info.st_mode)) throw Failure(Exit::Input, name_, "is a directory");
    throw failureOf(kivo::Errc::NotAFile, name_, Exit::Input);
  }
  ~Source() {
    if (own_) ::close(file_);
  }
  Source(const Source &) = delete;
  Source &operator=(const Source &) = delete;

  const std::string &name() const noexcept { return name_; }
  // Bytes of a file; kUncounted for a stream.
  std::uint64_t size() const noexcept { return size_; }

  // As many bytes as there are, up to `size`. Throws Failure.
  std::size_t read(void *to, std::size_t size) {
    std::size_t done = 0;
    while (done < size) {
      const std::size_t step = std::min(size - done, std::size_t{1} << 30);
      const ssize_t got = ::read(file_, static_cast<char *>(to) + done, step);
      if (got == 0) break;
      if (got > 0)
        done += static_cast<std::size_t>(got);
      else if (errno != EINTR)
        throw Failure(Exit::Input, name_, withErrno("cannot be read", errno));
    }
    return done;
  }

  void skip(std::uint64_t bytes) {
    if (size_ != kUncounted) {
      ::lseek(file_, static_cast<off_t>(bytes), SEEK_SET);
      return;
    }
    char unwanted[4096];
    while (bytes != 0) {
      const std::size_t step = static_cast<std::size_t>(std::min<std::uint64_t>(bytes, sizeof unwanted));
      if (read(unwanted, step) != step) return;
      bytes -= step;
    }
  }

  // The next `size` bytes, or as many as there are. What a stream claims to bring is believed piece by piece
  // only. Throws Failure.
  std::uint64_t read(kivo::Bytes &to, std::uint64_t size) {
    constexpr std::uint64_t piece = std::uint64_t{64} << 20;
    std::uint64_t space = size_ == kUncounted ? std::min(size, piece) : size;
    allocate(to, space);
    std::uint64_t done = read(to.data(), to.size());
    while (done == space && space < size) {
      space = std::min(size, 2 * space);
      kivo::Bytes larger;
      allocate(larger, space);
      std::memcpy(larger.data(), to.data(), to.size());
      to = std::move(larger);
      done += read(to.data() + done, to.size() - static_cast<std::size_t>(done));
    }
    return done;
  }

 private:
  void allocate(kivo::Bytes &to, std::uint64_t size) const {
    if (size > SIZE_MAX || !to.allocate(static_cast<std::size_t>(size)))
      throw failureOf(kivo::Errc::OutOfMemory, name_, Exit::Input);
  }

  std::string name_;
  bool own_;
  int file_;
  std::uint64_t size_ = kUncounted;
};

Failure tooFew(const Source &source, const Headerless &layout, std::uint64_t available) {
  std::string rows = printed("with %" PRIu64 " bytes a row", layout.stride);
  if (layout.stride == 0) rows = printed("with %" PRIu64 " bytes a frame", layout.needed);
  return Failure(Exit::Input, source.name(),
                 printed("holds %" PRIu64 " bytes%s, too few for %" PRIu32 " x %" PRIu32 " pixels of %s %s",
                         available, layout.offset == 0 ? "" : " behind the offset", layout.size.width,
                         layout.size.height, layout.format->name, rows.c_str()));
}

RawInput loadHeaderless(const InputOptions &options) {
  const Headerless layout = parseHeaderless(options);
  Source source(options);
  const bool counted = source.size() != kUncounted;
  RawInput input;
  if (counted) {
    input.fileBytes = source.size();
    const std::uint64_t available = input.fileBytes < layout.offset ? 0 : input.fileBytes - layout.offset;
    if (available < layout.needed) throw tooFew(source, layout, available);
    // Padding behind the last row belongs to the frame where it is there.
    input.ignoredBytes = available > layout.whole ? available - layout.whole : 0;
  }
  source.skip(layout.offset);
  const std::uint64_t got = source.read(input.frame.data, layout.needed);
  if (got < layout.needed && counted) throw Failure(Exit::Input, source.name(), "cannot be read completely");
  if (got < layout.needed) throw tooFew(source, layout, got);
  if (!counted) {
    input.fileBytes = layout.offset + got;
    source.skip(layout.whole - layout.needed);
    char more = 0;
    input.ignoredBytes = source.read(&more, 1) == 0 ? 0 : kUncounted;
  }
  input.frame.format = layout.format->code;
  input.frame.width = layout.size.width;
  input.frame.height = layout.size.height;
  input.frame.stride = static_cast<std::size_t>(layout.stride);
  return input;
}

RawInput loadRwhInput(const InputOptions &options) {
  Source source(options);
  std::uint8_t header[16] = {};
  if (source.read(header, sizeof header) != sizeof header)
    throw failureOf(kivo::Errc::NoHeader, source.name(), Exit::Input);
  const auto word = [&header](std::size_t i) {
    return header[4 * i] | std::uint32_t{header[4 * i + 1]} << 8 | std::uint32_t{header[4 * i + 2]} << 16 |
           std::uint32_t{header[4 * i + 3]} << 24;
  };
  kivo::RwhInfo info{word(0), word(1), word(2), word(3), source.size()};
  if (info.fileBytes == kUncounted) info.fileBytes = info.expectedBytes();
  checkHeader(source.name(), info);
  RawInput input;
  input.fileBytes = info.fileBytes;
  const std::uint64_t bytes = info.expectedBytes() - sizeof header;
  const std::uint64_t got = source.read(input.frame.data, bytes);
  char more = 0;
  if (source.size() != kUncounted) {
    if (got != bytes) throw Failure(Exit::Input, source.name(), "cannot be read completely");
  } else if (got != bytes || source.read(&more, 1) != 0) {
    info.fileBytes = got + sizeof header;
    checkHeader(source.name(), info);
    throw Failure(
        Exit::Input, source.name(),
        printed("is not a whole RWH file: more follows behind the %" PRIu64 " bytes that its header says",
                info.expectedBytes()));
  }
  input.frame.format = info.format;
  input.frame.width = info.width;
  input.frame.height = info.height;
  input.frame.stride = info.lineBytes;
  return input;
}

}  // namespace

std::uint64_t parseNumber(const std::string &text, const std::string &option) {
  std::uint64_t value = 0;
  const char *end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value);
  // Anything a file can hold is far below this.
  if (error != std::errc() || stop != end || value > INT64_MAX / 4)
    throw Failure(Exit::Usage, option, "'" + text + "' is not a number of bytes");
  return value;
}

Size parseSize(const std::string &text, const std::string &option) {
  Size size;
  const char *end = text.data() + text.size();
  auto [stop, error] = std::from_chars(text.data(), end, size.width);
  if (error == std::errc() && stop != end && (*stop == 'x' || *stop == 'X')) {
    auto [last, failed] = std::from_chars(stop + 1, end, size.height);
    if (failed == std::errc() && last == end && size.width != 0 && size.height != 0) return size;
  }
  throw Failure(Exit::Usage, option, "'" + text + "' is not WIDTHxHEIGHT in pixels, such as 640x480");
}

const kivo::Format &parseFormat(const std::string &text, const std::string &option) {
  const kivo::Format *format = kivo::findFormat(text);
  if (format == nullptr)
    throw Failure(Exit::Unsupported, option,
                  "'" + text + "' is not a known pixel format; see 'kivocam formats'");
  return *format;
}

kivo::RwhInfo loadHeader(const std::string &file) {
  const kivo::Result<kivo::RwhInfo> info = kivo::readRwhInfo(file.c_str());
  if (info) return *info;
  struct stat found = {};
  if (::stat(file.c_str(), &found) != 0)
    throw Failure(Exit::Input, file, withErrno("cannot be opened", errno));
  if (S_ISDIR(found.st_mode)) throw Failure(Exit::Input, file, "is a directory");
  throw failureOf(info.error(), file, Exit::Input);
}

void checkHeader(const std::string &file, const kivo::RwhInfo &info) {
  const kivo::Errc error = kivo::check(info);
  const auto notRwh = [&](const std::string &why) {
    return Failure(Exit::Input, file, "is not a whole RWH file: " + why);
  };
  switch (error) {
    case kivo::Errc::Ok:
      return;
    case kivo::Errc::UnknownFormat:
      if (info.fileBytes == info.expectedBytes() && info.lineBytes != 0)
        throw Failure(Exit::Unsupported, file,
                      printed("pixel format 0x%08" PRIX32 " is not supported", info.format));
      throw notRwh(printed("0x%08" PRIX32 " at its start is no known pixel format (%s)", info.format,
                           kHeaderlessHint));
    case kivo::Errc::EmptyImage:
      throw notRwh(printed("its header says %" PRIu32 " x %" PRIu32 " pixels", info.width, info.height));
    case kivo::Errc::BadHeader:
      throw notRwh(printed("%" PRIu32 " bytes a row are too few for %" PRIu32 " pixels of %s", info.lineBytes,
                           info.width, kivo::findFormat(info.format)->name));
    case kivo::Errc::FileTooShort:
    case kivo::Errc::FileTooLong:
      throw notRwh(printed("it holds %" PRIu64 " bytes, its header says %" PRIu64, info.fileBytes,
                           info.expectedBytes()));
    default:
      throw failureOf(error, file, Exit::Input);
  }
}

std::string inputName(const std::string &file) {
  return file == "-" ? "standard input" : file;
}

bool isStream(const InputOptions &options) {
  struct stat info = {};
  return options.file == "-" ||
         (options.named && ::stat(options.file.c_str(), &info) == 0 && S_ISFIFO(info.st_mode));
}

void checkInputOptions(const InputOptions &options) {
  if (options.headerless()) parseHeaderless(options);
}

RawInput loadInput(const InputOptions &options) {
  RawInput input = options.headerless() ? loadHeaderless(options) : loadRwhInput(options);
  if (options.swapBytes) {
    kivo::FrameView view = input.frame.view();
    view.byteOrder = kivo::ByteOrder::Big;
    kivo::Result<kivo::Frame> swapped = kivo::unpack(view);
    if (!swapped) throw failureOf(swapped.error(), inputName(options.file), Exit::Input);
    input.frame = *std::move(swapped);
  }
  input.format = kivo::findFormat(input.frame.format);
  return input;
}

std::string ignoredNote(const std::string &file, std::uint64_t ignoredBytes) {
  const std::string count = ignoredBytes == kUncounted ? "more" : printed("%" PRIu64, ignoredBytes);
  return "kivocam: " + oneLine(inputName(file)) + ": note: " + count + " bytes behind the frame are ignored";
}

}  // namespace tool
