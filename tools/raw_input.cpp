// SPDX-License-Identifier: Apache-2.0
#include "raw_input.h"

#include <sys/stat.h>

#include <cerrno>
#include <charconv>
#include <cinttypes>
#include <cstdio>
#include <memory>

#include "failure.h"

namespace tool {
namespace {

struct CloseFile {
  void operator()(std::FILE *file) const noexcept { std::fclose(file); }
};

const char kHeaderlessHint[] = "headerless data needs --format and --size";

RawInput loadHeaderless(const InputOptions &options) {
  if (options.format.empty()) throw Failure(Exit::Usage, "--format", kHeaderlessHint);
  if (options.size.empty()) throw Failure(Exit::Usage, "--size", kHeaderlessHint);
  const kivo::Format &format = parseFormat(options.format, "--format");
  const Size size = parseSize(options.size, "--size");
  const std::uint64_t row = kivo::rowBytes(format, size.width);
  const std::uint64_t stride = options.stride.empty() ? row : parseNumber(options.stride, "--stride");
  const std::uint64_t offset = options.offset.empty() ? 0 : parseNumber(options.offset, "--offset");
  if (stride < row)
    throw Failure(
        Exit::Usage, "--stride",
        tool::format("%" PRIu64 " is smaller than a row of %" PRIu32 " %s pixels, %" PRIu64 " bytes", stride,
                     size.width, format.name, row));
  if (size.width % format.groupPixels != 0)
    throw Failure(Exit::Unsupported, "--size", kivo::message(kivo::Errc::PartialGroup));

  errno = 0;
  const std::unique_ptr<std::FILE, CloseFile> file(std::fopen(options.file.c_str(), "rb"));
  if (!file) throw Failure(Exit::Input, options.file, withErrno("cannot be opened", errno));
  struct stat info = {};
  if (::fstat(::fileno(file.get()), &info) != 0 || !S_ISREG(info.st_mode))
    throw Failure(Exit::Input, options.file,
                  S_ISDIR(info.st_mode) ? "is a directory" : "is not a regular file");

  RawInput input;
  input.format = &format;
  input.fileBytes = static_cast<std::uint64_t>(info.st_size);
  const std::uint64_t available = input.fileBytes < offset ? 0 : input.fileBytes - offset;
  if (available < row || (available - row) / stride < size.height - 1)
    throw Failure(Exit::Input, options.file,
                  tool::format("holds %" PRIu64 " bytes%s, too few for %" PRIu32 " x %" PRIu32
                               " pixels of %s with %" PRIu64 " bytes a row",
                               available, offset == 0 ? "" : " behind the offset", size.width, size.height,
                               format.name, stride));
  const std::uint64_t needed = stride * (size.height - 1) + row;
  // Padding behind the last row belongs to the frame where it is there.
  const std::uint64_t whole = stride * size.height;
  input.ignoredBytes = available > whole ? available - whole : 0;
  input.frame.format = format.code;
  input.frame.width = size.width;
  input.frame.height = size.height;
  input.frame.stride = static_cast<std::size_t>(stride);
  if (!input.frame.data.allocate(static_cast<std::size_t>(needed)))
    throw failureOf(kivo::Errc::OutOfMemory, options.file, Exit::Input);
  if (::fseeko(file.get(), static_cast<off_t>(offset), SEEK_SET) != 0 ||
      std::fread(input.frame.data.data(), 1, input.frame.data.size(), file.get()) != input.frame.data.size())
    throw Failure(Exit::Input, options.file, "cannot be read completely");
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
                      tool::format("pixel format 0x%08" PRIX32 " is not supported", info.format));
      throw notRwh(tool::format("0x%08" PRIX32 " at its start is no known pixel format (%s)", info.format,
                                kHeaderlessHint));
    case kivo::Errc::EmptyImage:
      throw notRwh(tool::format("its header says %" PRIu32 " x %" PRIu32 " pixels", info.width, info.height));
    case kivo::Errc::BadHeader:
      throw notRwh(tool::format("%" PRIu32 " bytes a row are too few for %" PRIu32 " pixels of %s",
                                info.lineBytes, info.width, kivo::findFormat(info.format)->name));
    case kivo::Errc::FileTooShort:
    case kivo::Errc::FileTooLong:
      throw notRwh(tool::format("it holds %" PRIu64 " bytes, its header says %" PRIu64, info.fileBytes,
                                info.expectedBytes()));
    default:
      throw failureOf(error, file, Exit::Input);
  }
}

RawInput loadInput(const InputOptions &options) {
  if (options.headerless()) return loadHeaderless(options);
  const kivo::RwhInfo info = loadHeader(options.file);
  checkHeader(options.file, info);
  kivo::Result<kivo::Frame> frame = kivo::loadRwh(options.file.c_str());
  if (!frame) throw failureOf(frame.error(), options.file, Exit::Input);
  RawInput input;
  input.fileBytes = info.fileBytes;
  input.format = kivo::findFormat(info.format);
  input.frame = *std::move(frame);
  return input;
}

}  // namespace tool
