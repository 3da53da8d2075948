// SPDX-License-Identifier: Apache-2.0
// PNG through libpng. Transparency is dropped.
#include <png.h>

#include <cinttypes>
#include <csetjmp>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <new>

#include "files/byte_sink.h"
#include "pictures/picture.h"
#include "pictures/picture_file.h"
#include "words/failure.h"
#include "words/text.h"

namespace tool {
namespace {

// No limit but that of the format: line cameras deliver frames of any height.
constexpr png_uint_32 kLongestSide = 0x7FFFFFFF;

// What libpng's callbacks share with us.
struct Reader {
  PictureFile *file;
  char message[160];
  bool noMemory;
  std::exception_ptr thrown;
};

// libpng has a message, but no error of its own, for this.
png_voidp allocate(png_structp png, png_alloc_size_t size) {
  void *memory = std::malloc(size);
  if (memory == nullptr) static_cast<Reader *>(png_get_mem_ptr(png))->noMemory = true;
  return memory;
}

void release(png_structp, png_voidp memory) {
  std::free(memory);
}

void onError(png_structp png, png_const_charp message) {
  Reader *reader = static_cast<Reader *>(png_get_error_ptr(png));
  std::strncpy(reader->message, message, sizeof reader->message - 1);
  std::longjmp(png_jmpbuf(png), 1);
}

void onWarning(png_structp, png_const_charp) {}

void readBytes(png_structp png, png_bytep to, std::size_t size) {
  Reader *reader = static_cast<Reader *>(png_get_io_ptr(png));
  std::size_t got = 0;
  try {
    got = reader->file->take(to, size);
  } catch (...) {
    reader->thrown = std::current_exception();
  }
  if (got != size) png_error(png, "the file ends too early");
}

// Between setjmp and longjmp nothing may live that has a destructor: the steps below hold only plain
// values.
bool readHeader(png_structp png, png_infop info) {
  if (setjmp(png_jmpbuf(png)) != 0) return false;
  // Texts, profiles and what else there may be could unpack to any size.
  png_set_keep_unknown_chunks(png, PNG_HANDLE_CHUNK_NEVER, nullptr, -1);
  png_read_info(png, info);
  return true;
}

// Allocates several rows.
bool setKind(png_structp png, png_infop info, Depth depth) {
  if (setjmp(png_jmpbuf(png)) != 0) return false;
  png_set_expand(png);
  if (depth == Depth::Reduced) png_set_scale_16(png);
  png_set_strip_alpha(png);
  png_set_gray_to_rgb(png);
  png_set_interlace_handling(png);
  png_read_update_info(png, info);
  return true;
}

bool readRows(png_structp png, png_infop info, png_bytepp rows) {
  if (setjmp(png_jmpbuf(png)) != 0) return false;
  png_read_image(png, rows);
  png_read_end(png, info);
  return true;
}

// libpng's two objects, released on every way out.
struct Decoder {
  png_structp png;
  png_infop info = nullptr;

  explicit Decoder(Reader &reader)
      : png(png_create_read_struct_2(PNG_LIBPNG_VER_STRING, &reader, onError, onWarning, &reader, allocate,
                                     release)) {
    if (png == nullptr) return;
    png_set_user_limits(png, kLongestSide, kLongestSide);
    info = png_create_info_struct(png);
  }
  ~Decoder() { png_destroy_read_struct(&png, &info, nullptr); }
  Decoder(const Decoder &) = delete;
  Decoder &operator=(const Decoder &) = delete;
};

}  // namespace

Picture decodePng(PictureFile &file, Depth depth) {
  Reader reader = {&file, {}, false, {}};
  Decoder decoder(reader);
  if (decoder.info == nullptr) throw std::bad_alloc();
  png_set_read_fn(decoder.png, &reader, readBytes);
  const auto damaged = [&] {
    if (reader.thrown) std::rethrow_exception(reader.thrown);
    if (reader.noMemory) throw std::bad_alloc();
    return Failure(Exit::Input, file.name(), "is a damaged PNG picture: " + oneLine(reader.message));
  };
  if (!readHeader(decoder.png, decoder.info)) throw damaged();
  const png_uint_32 width = png_get_image_width(decoder.png, decoder.info);
  const png_uint_32 height = png_get_image_height(decoder.png, decoder.info);
  checkPictureSize(file.name(), width, height);
  // PNG's compression cannot do better than this: no memory is spent on a picture that is not there.
  if (!file.reaches(png_get_rowbytes(decoder.png, decoder.info) * height / 1032))
    throw Failure(Exit::Input, file.name(),
                  printed("is a damaged PNG picture: %" PRIu64 " bytes cannot hold %u x %u pixels",
                          file.size(), static_cast<unsigned>(width), static_cast<unsigned>(height)));
  if (!setKind(decoder.png, decoder.info, depth)) throw damaged();
  const unsigned bits = png_get_bit_depth(decoder.png, decoder.info);
  if (png_get_rowbytes(decoder.png, decoder.info) != std::size_t{3} * width * (bits / 8))
    throw Failure(Exit::Input, file.name(), "is a PNG picture of an unknown kind");
  Picture picture(width, height, bits);
  std::vector<png_bytep> rows(height);
  for (std::uint32_t y = 0; y < height; ++y) rows[y] = picture.pixel(0, y);
  if (!readRows(decoder.png, decoder.info, rows.data())) throw damaged();
  return picture;
}

namespace {

void putBytes(png_structp png, png_bytep data, std::size_t size) {
  if (!static_cast<ByteSink *>(png_get_io_ptr(png))->put(data, size)) png_error(png, "cannot be written");
}

void flushNothing(png_structp) {}

// zlib's Z_RLE and Z_FILTERED, which libpng takes as numbers.
constexpr int kRuns = 3;
constexpr int kFiltered = 1;

struct Encoder {
  png_structp png;
  png_infop info = nullptr;

  explicit Encoder(Reader &messages)
      : png(png_create_write_struct_2(PNG_LIBPNG_VER_STRING, &messages, onError, onWarning, &messages,
                                      allocate, release)) {
    if (png == nullptr) return;
    png_set_user_limits(png, kLongestSide, kLongestSide);
    info = png_create_info_struct(png);
  }
  ~Encoder() { png_destroy_write_struct(&png, &info); }
  Encoder(const Encoder &) = delete;
  Encoder &operator=(const Encoder &) = delete;
};

// Sensor noise has no strings worth looking for: at the fastest level one filter for all rows and runs of
// equal bytes make smaller files of photographs than level 6 does, in a tenth of its time. The levels above
// it look for strings, which pays for pictures that were drawn.
void setEffort(png_structp png, int level) {
  const int filter = level == 0   ? PNG_FILTER_NONE
                     : level == 1 ? PNG_FILTER_AVG
                     : level < 6  ? PNG_FILTER_PAETH
                                  : PNG_ALL_FILTERS;
  png_set_filter(png, PNG_FILTER_TYPE_BASE, filter);
  png_set_compression_level(png, level);
  png_set_compression_strategy(png, level == 1 ? kRuns : kFiltered);
}

bool beginPng(png_structp png, png_infop info, const Rows &rows, int level) {
  if (setjmp(png_jmpbuf(png)) != 0) return false;
  png_set_IHDR(png, info, rows.width, rows.height, static_cast<int>(rows.bits),
               rows.channels == 1 ? PNG_COLOR_TYPE_GRAY : PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
               PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  setEffort(png, level);
  png_set_compression_buffer_size(png, std::size_t{64} << 10);
  png_write_info(png, info);
  return true;
}

bool writeRow(png_structp png, png_const_bytep row) {
  if (setjmp(png_jmpbuf(png)) != 0) return false;
  png_write_row(png, row);
  return true;
}

bool endPng(png_structp png, png_infop info) {
  if (setjmp(png_jmpbuf(png)) != 0) return false;
  png_write_end(png, info);
  return true;
}

}  // namespace

void encodePng(const Rows &rows, ByteSink &sink, int level) {
  Reader messages = {nullptr, {}, false, {}};
  Encoder encoder(messages);
  if (encoder.info == nullptr) throw std::bad_alloc();
  png_set_write_fn(encoder.png, &sink, putBytes, flushNothing);
  std::vector<std::uint8_t> space(rows.rowBytes());
  bool good = beginPng(encoder.png, encoder.info, rows, level);
  for (std::uint32_t y = 0; good && y < rows.height; ++y)
    good = writeRow(encoder.png, rows.row(y, space.data()));
  if (good && endPng(encoder.png, encoder.info)) return;
  if (sink.error() != 0) sink.fail(sink.error());
  if (messages.noMemory) throw std::bad_alloc();
  throw Failure(Exit::Unsupported, sink.name(), "cannot be a PNG picture: " + oneLine(messages.message));
}

}  // namespace tool
