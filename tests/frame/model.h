// SPDX-License-Identifier: Apache-2.0
// KivoFrame.h once more, as plain loops over single pixels: what every call has to answer and to write.
//
// It shares nothing with the library but the types of the interface. Every format is described by hand, every
// bit is fetched by itself, and no step knows a fast way.
#ifndef KIVO_TESTS_FRAME_MODEL_H
#define KIVO_TESTS_FRAME_MODEL_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "KivoFrame.h"

namespace KivoTest::Model {

// How luma and chroma become colours.
enum class Matrix { kNone, kInteger, kFull601, kNarrow601, kNarrow709 };

struct Format {
  std::string name;
  std::uint32_t code = 0;
  kivo_family family = KIVO_MONO;
  kivo_order order = KIVO_ORDER_NONE;
  kivo_packing packing = KIVO_PLAIN;
  unsigned depth = 8;       // bits of a sample as it is stored
  bool blue_first = false;  // of three colours
  std::string group;        // the bytes of a YUV group in memory: U, Y and V
  Matrix matrix = Matrix::kNone;
  std::uint32_t plain = 0;   // code of the format of the plain samples
  std::uint32_t narrow = 0;  // and of those that a range has mapped to 8 bits

  bool yuv() const { return family == KIVO_YUV; }
  bool bayer() const { return family == KIVO_BAYER; }
  unsigned plain_depth() const { return depth < 8 ? 8 : depth; }
  unsigned plain_bytes() const { return plain_depth() == 8 ? 1 : 2; }
  unsigned channels() const { return family == KIVO_RGB ? 3 : yuv() ? 0 : 1; }
  unsigned group_pixels() const;  // pixels of a YUV group; 1 for the rest
  unsigned pixel_bits() const { return code >> 16 & 0xFF; }
  unsigned planes() const { return packing == KIVO_PLANAR ? 3 : 1; }
  // Whether the bytes of a sample have an order that can be turned.
  bool words() const { return depth > 8 && (packing == KIVO_PLAIN || packing == KIVO_PLANAR); }
};

const std::vector<Format> &Formats();
const Format *FormatOfCode(std::uint32_t code);

// Whole bytes, however many there are; the interface cuts them to 64 bits.
__extension__ typedef unsigned __int128 Wide;
Wide RowBytes(const Format &format, std::uint32_t width);
Wide FrameBytes(const Format &format, std::uint32_t width, std::uint32_t height);
// Bytes from the lowest address to the last one that belongs to a pixel.
Wide FrameExtent(const Format &format, std::uint32_t width, std::uint32_t height, std::ptrdiff_t stride);

// A frame in memory.
struct View {
  const Format *format = nullptr;
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::uint8_t *data = nullptr;  // written by Put() alone
  std::ptrdiff_t stride = 0;
  bool big_endian = false;
};

// The plain sample of a pixel: of a colour in the order of the format, or 0, 1, 2 for U, Y, V.
std::uint32_t Get(const View &view, std::uint32_t y, std::uint32_t x, unsigned channel);
// Makes Get() answer `value`, as far as the format has it; changes no bit of any other sample.
void Put(const View &view, std::uint32_t y, std::uint32_t x, unsigned channel, std::uint32_t value);

// All plain samples of a frame, three for each pixel of a colour or YUV format (U, Y, V), row by row.
struct Plain {
  const Format *format = nullptr;
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::vector<std::uint16_t> samples;

  unsigned each() const { return format->yuv() ? 3 : format->channels(); }
  std::uint32_t At(std::uint32_t y, std::uint32_t x, unsigned channel) const {
    return samples[(std::size_t{y} * width + x) * each() + channel];
  }
};
Plain Decode(const View &view);

// The format of a mosaic whose columns or rows have exchanged their colours; others stay.
std::uint32_t Exchanged(const Format &format, bool columns, bool rows);

// What kivo_plan_make() has to say of its arguments, with a plan that is not null, and what the plan's
// functions do.
struct Plan {
  kivo_status status = KIVO_OK;
  const Format *format = nullptr;
  std::uint32_t frame_width = 0;
  std::uint32_t frame_height = 0;
  kivo_options options = KIVO_OPTIONS_INIT;
  std::uint32_t x = 0, y = 0, region_width = 0, region_height = 0;
  kivo_bayer bayer = KIVO_BAYER_OFF;
  std::uint32_t width = 0, height = 0;  // of the picture
  std::uint32_t samples_format = 0;
  Wide row_bytes = 0;
  bool coloured = false;  // by settings that change something
  kivo_colour colour = KIVO_COLOUR_INIT;
  std::vector<std::uint16_t> table;
  Wide picture_bytes() const { return row_bytes * height; }
  bool wide_picture() const { return options.pixels >= KIVO_BGRA16 && options.pixels <= KIVO_GRAY16; }
};
Plan MakePlan(std::uint32_t code, std::uint32_t width, std::uint32_t height, const kivo_options *options);

// Whether colour settings change nothing.
bool Neutral(const kivo_colour &colour);
// What the chain makes of a sample of a depth, whose colour is red, green of a red row, green of a blue one,
// or blue: y.
int ColourGain(const kivo_colour &colour, unsigned depth, int site, int sample);
// Of red, green and blue behind the demosaic.
std::array<int, 3> ColourMatrix(const kivo_colour &colour, const std::array<int, 3> &u);
// What a channel of the picture becomes.
std::uint32_t ColourTone(const Plan &plan, int u);
// What there is to refuse about the settings of a plan.
kivo_status ColourStatus(const Plan &plan);

// What kivo_run_rows() has to answer for a plan that was made; scratch_needed is kivo_plan_scratch().
struct Rows {
  std::uint32_t first = 0;
  std::uint32_t count = 0;
};
kivo_status RunStatus(const Plan &plan, const kivo_frame *frame, const kivo_picture *picture, Rows rows,
                      const void *scratch, std::size_t scratch_size, std::size_t scratch_needed);

// R, G and B of every pixel of the region, neither turned nor brought to a picture's depth; of a coloured
// plan what is behind the demosaic.
struct Colours {
  std::vector<std::array<std::uint16_t, 3>> pixels;
  bool grey = false;
};
// The YCbCr matrices are rounded from the real numbers here.
Colours MakeColours(const Plan &plan, const Plain &frame);
// The picture of these colours, rows packed.
std::vector<std::uint8_t> MakePicture(const Plan &plan, const Colours &colours);
// The picture of KIVO_SAMPLES, rows packed.
std::vector<std::uint8_t> MakeSamples(const Plan &plan, const Plain &frame);
// One or the other.
std::vector<std::uint8_t> MakeAny(const Plan &plan, const Plain &frame);

// The smallest and the largest plain sample of the region.
std::array<std::uint32_t, 2> SampleRange(const Plan &plan, const Plain &frame);

// R, G, B of one pixel.
std::array<std::uint16_t, 3> YuvColour(Matrix matrix, int luma, int u, int v);

}  // namespace KivoTest::Model

#endif  // KIVO_TESTS_FRAME_MODEL_H
