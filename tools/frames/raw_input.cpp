// SPDX-License-Identifier: Apache-2.0
#include "frames/raw_input.h"

#include <algorithm>
#include <cinttypes>
#include <cstring>

#include "words/failure.h"
#include "words/numbers.h"
#include "words/text.h"

namespace tool {
namespace {

constexpr std::size_t kHeaderBytes = 16;

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

void allocate(kivo::Bytes &to, std::uint64_t size, const std::string &subject) {
  if (size > SIZE_MAX || !to.allocate(static_cast<std::size_t>(size)))
    throw failureOf(kivo::Errc::OutOfMemory, subject, Exit::Input);
}

// The next `size` bytes, or as many as there are. What a stream claims to bring is believed piece by piece
// only. Throws Failure.
std::uint64_t readBytes(Source &source, kivo::Bytes &to, std::uint64_t size) {
  constexpr std::uint64_t piece = std::uint64_t{64} << 20;
  std::uint64_t space = source.size() == kUncounted ? std::min(size, piece) : size;
  allocate(to, space, source.name());
  std::uint64_t done = source.read(to.data(), to.size());
  while (done == space && space < size) {
    space = std::min(size, 2 * space);
    kivo::Bytes larger;
    allocate(larger, space, source.name());
    std::memcpy(larger.data(), to.data(), to.size());
    to = std::move(larger);
    done += source.read(to.data() + done, to.size() - static_cast<std::size_t>(done));
  }
  return done;
}

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
  Source source(options.file, options.named);
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
  const std::uint64_t got = readBytes(source, input.frame.data, layout.needed);
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

// Of a stream the length is what the header says.
kivo::RwhInfo readHeader(Source &source) {
  std::uint8_t header[kHeaderBytes] = {};
  if (source.read(header, sizeof header) != sizeof header)
    throw failureOf(kivo::Errc::NoHeader, source.name(), Exit::Input);
  const auto word = [&header](std::size_t i) {
    return header[4 * i] | std::uint32_t{header[4 * i + 1]} << 8 | std::uint32_t{header[4 * i + 2]} << 16 |
           std::uint32_t{header[4 * i + 3]} << 24;
  };
  kivo::RwhInfo info{word(0), word(1), word(2), word(3), source.size()};
  if (info.fileBytes == kUncounted) info.fileBytes = info.expectedBytes();
  return info;
}

RawInput loadRwhInput(const InputOptions &options) {
  Source source(options.file, options.named);
  kivo::RwhInfo info = readHeader(source);
  checkHeader(source.name(), info);
  RawInput input;
  input.fileBytes = info.fileBytes;
  const std::uint64_t bytes = info.expectedBytes() - kHeaderBytes;
  const std::uint64_t got = readBytes(source, input.frame.data, bytes);
  char more = 0;
  if (source.size() != kUncounted) {
    if (got != bytes) throw Failure(Exit::Input, source.name(), "cannot be read completely");
  } else if (got != bytes || source.read(&more, 1) != 0) {
    info.fileBytes = got + kHeaderBytes;
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

const kivo::Format &parseFormat(const std::string &text, const std::string &option) {
  const kivo::Format *format = kivo::findFormat(text);
  if (format == nullptr)
    throw Failure(Exit::Unsupported, option,
                  "'" + text + "' is not a known pixel format; see 'kivocam formats'");
  return *format;
}

kivo::RwhInfo loadHeader(const std::string &file) {
  Source source(file, false);
  return readHeader(source);
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

bool isStream(const InputOptions &options) {
  return options.file == "-" || (options.named && isPipe(options.file));
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
