// SPDX-License-Identifier: Apache-2.0
#include "frames/raw_input.h"

#include <algorithm>
#include <cinttypes>
#include <cstring>
#include <iterator>

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
  std::uint64_t stride = 0;  // 0 where rows share bytes, and for planes without gaps
  std::uint64_t offset = 0;
  std::uint64_t needed = 0;  // bytes of the frame, without padding behind its last row
  std::uint64_t whole = 0;   // with it
};

bool sharesBytes(const kivo::Format &format) {
  return format.packing == KIVO_P || format.packing == KIVO_PACKED || format.packing == KIVO_P32;
}

Headerless parseHeaderless(const InputOptions &input) {
  if (input.format.empty()) throw Failure(Exit::Usage, "--format", kHeaderlessHint);
  if (input.size.empty()) throw Failure(Exit::Usage, "--size", kHeaderlessHint);
  Headerless layout;
  layout.format = &parseFormat(input.format, "--format");
  layout.size = parseSize(input.size, "--size");
  const kivo::Format &format = *layout.format;
  kivo::Options options;
  options.pixels = kivo::Pixels::Samples;
  if (input.swapBytes) options.byteOrder = kivo::ByteOrder::Big;
  const kivo::Errc error = kivo::Plan::make(&format, layout.size.width, layout.size.height, options).error();
  if (error != kivo::Errc::Ok)
    throw failureOf(error, error == kivo::Errc::NoByteOrder ? "--swap-bytes" : "--size", Exit::Usage);
  const std::uint64_t row = kivo_row_bytes(format.code, layout.size.width);
  const std::uint64_t whole = kivo_frame_bytes(format.code, layout.size.width, layout.size.height);
  layout.offset = input.offset.empty() ? 0 : parseNumber(input.offset, "--offset");
  if (input.stride.empty()) {
    layout.stride = format.packing == KIVO_PLANAR || sharesBytes(format) ? 0 : row;
    layout.needed = layout.whole = whole;
    return layout;
  }
  layout.stride = parseNumber(input.stride, "--stride");
  if (layout.stride < row)
    throw Failure(
        Exit::Usage, "--stride",
        printed("%s: %" PRIu64 " bytes, %" PRIu32 " pixels of %s take %" PRIu64,
                kivo::message(kivo::Errc::ShortStride), layout.stride, layout.size.width, format.name, row));
  // Saturated where it cannot be: no file is that long.
  const std::uint64_t all = layout.size.height * (format.packing == KIVO_PLANAR ? std::uint64_t{3} : 1);
  layout.whole = layout.stride > kUncounted / all ? kUncounted : layout.stride * all;
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
  return Failure(
      Exit::Input, source.name(),
      printed("%s: it holds %" PRIu64 " bytes%s, too few for %" PRIu32 " x %" PRIu32 " pixels of %s %s",
              kivo::message(kivo::Errc::ShortBuffer), available,
              layout.offset == 0 ? "" : " behind the offset", layout.size.width, layout.size.height,
              layout.format->name, rows.c_str()));
}

RawInput loadHeaderless(Source &source, const Headerless &layout) {
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
  input.frame.stride = static_cast<std::ptrdiff_t>(layout.stride);
  return input;
}

// Of a stream the length is what the header says.
kivo::RwhInfo readHeader(Source &source) {
  std::uint8_t header[kHeaderBytes] = {};
  if (source.peek(header, sizeof header) != sizeof header)
    throw failureOf(kivo::Errc::NoHeader, source.name(), Exit::Input);
  const auto word = [&header](std::size_t i) {
    return header[4 * i] | std::uint32_t{header[4 * i + 1]} << 8 | std::uint32_t{header[4 * i + 2]} << 16 |
           std::uint32_t{header[4 * i + 3]} << 24;
  };
  kivo::RwhInfo info{word(0), word(1), word(2), word(3), source.size()};
  if (info.fileBytes == kUncounted) info.fileBytes = info.expectedBytes();
  return info;
}

RawInput loadRwhInput(Source &source, kivo::RwhInfo info) {
  checkHeader(source.name(), info);
  source.skip(kHeaderBytes);
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
  input.frame.stride = info.stride();
  input.rwh = true;
  return input;
}

// A file that is an RWH frame from its first byte to its last is one. Whoever means its bytes leaves the
// header out.
bool isRwh(Source &source, const Headerless &layout, const InputOptions &options) {
  std::uint8_t header[kHeaderBytes] = {};
  if (!options.offset.empty() || source.peek(header, sizeof header) != sizeof header) return false;
  const kivo::RwhInfo info = readHeader(source);
  if (kivo::check(info) != kivo::Errc::Ok) return false;
  if (info.format == layout.format->code && info.width == layout.size.width &&
      info.height == layout.size.height && (options.stride.empty() || info.lineBytes == layout.stride))
    return true;
  throw Failure(
      Exit::Usage, source.name(),
      printed("is an RWH file of %" PRIu32 " x %" PRIu32 " pixels of %s in rows of %" PRIu32
              " bytes, which is not what the options say (--offset %zu leaves its header out)",
              info.width, info.height, kivo::findFormat(info.format)->name, info.lineBytes, kHeaderBytes));
}

}  // namespace

const kivo::Format &parseFormat(const std::string &text, const std::string &option) {
  const kivo::Format *format = kivo::findFormat(text.c_str());
  if (format != nullptr) return *format;
  const kivo::Format *near[3] = {};
  const std::size_t count = kivo_format_suggest(text.c_str(), near, std::size(near));
  std::string hint = count == 0 ? "'kivocam formats' lists the known ones" : "did you mean ";
  for (std::size_t i = 0; i < count; ++i) hint += (i == 0 ? "" : " or ") + std::string(near[i]->name);
  throw Failure(Exit::Unsupported, option,
                "unknown pixel format '" + text + "'; " + hint + (count == 0 ? "" : "?"));
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
      throw notRwh(printed("0x%08" PRIX32 " at its start is no known pixel format (%s, which "
                           "'kivocam guess' may tell)",
                           info.format, kHeaderlessHint));
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
  checkInputOptions(options);
  Source source(options.file, options.named);
  return loadInput(source, options);
}

RawInput loadInput(Source &source, const InputOptions &options) {
  Headerless layout;
  if (options.headerless()) layout = parseHeaderless(options);
  RawInput input = options.headerless() && !isRwh(source, layout, options)
                       ? loadHeaderless(source, layout)
                       : loadRwhInput(source, readHeader(source));
  if (options.swapBytes) input.byteOrder = kivo::ByteOrder::Big;
  if (options.swapBytes && kivo::check(input.view()) == kivo::Errc::NoByteOrder)
    throw failureOf(kivo::Errc::NoByteOrder, source.name(), Exit::Input);
  input.format = kivo::findFormat(input.frame.format);
  return input;
}

std::string ignoredNote(const std::string &file, std::uint64_t ignoredBytes) {
  const std::string count = ignoredBytes == kUncounted ? "more" : printed("%" PRIu64, ignoredBytes);
  return "kivocam: " + oneLine(inputName(file)) + ": note: " + count + " bytes behind the frame are ignored";
}

}  // namespace tool
