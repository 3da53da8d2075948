// SPDX-License-Identifier: Apache-2.0
// What calls answer: every check of the interface in its order.
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "frame/model.h"

namespace KivoTest::Model {
namespace {

constexpr std::uint32_t kAllFlags = KIVO_MIRROR | KIVO_FLIP | KIVO_WITH_SHIFT | KIVO_WITH_RANGE;
constexpr Wide kMost = PTRDIFF_MAX;

// The fields of this version, all of them set where the caller has a later one.
bool Understood(const kivo_options &options) {
  if (options.size == offsetof(kivo_options, colour)) return true;
  if (options.size < sizeof options || options.size > 4096) return false;
  const auto *const bytes = reinterpret_cast<const unsigned char *>(&options);
  for (std::size_t i = sizeof options; i < options.size; ++i)
    if (bytes[i] != 0) return false;
  return true;
}

bool Understood(const kivo_colour &colour) {
  if (colour.size < sizeof colour || colour.size > 4096) return false;
  const auto *const bytes = reinterpret_cast<const unsigned char *>(&colour);
  for (std::size_t i = sizeof colour; i < colour.size; ++i)
    if (bytes[i] != 0) return false;
  return true;
}

// Bytes of a pixel of a picture; for samples those of the plain format.
Wide PictureRow(const Plan &plan, std::uint32_t width) {
  switch (plan.options.pixels) {
    case KIVO_BGRA8:
    case KIVO_RGBA8:
      return Wide{width} * 4;
    case KIVO_BGR8:
    case KIVO_RGB8:
      return Wide{width} * 3;
    case KIVO_GRAY8:
      return width;
    case KIVO_BGRA16:
    case KIVO_RGBA16:
      return Wide{width} * 8;
    case KIVO_BGR16:
    case KIVO_RGB16:
      return Wide{width} * 6;
    case KIVO_GRAY16:
      return Wide{width} * 2;
    default:
      return RowBytes(*FormatOfCode(plan.samples_format), width);
  }
}

std::uint32_t SamplesFormat(const Plan &plan) {
  const bool range = (plan.options.flags & KIVO_WITH_RANGE) != 0;
  const std::uint32_t code = range ? plan.format->narrow : plan.format->plain;
  if (!plan.format->bayer()) return code;
  const bool mirror = (plan.options.flags & KIVO_MIRROR) != 0, flip = (plan.options.flags & KIVO_FLIP) != 0;
  const bool columns = (plan.x % 2 != 0) != (mirror && plan.region_width % 2 == 0);
  const bool rows = (plan.y % 2 != 0) != (flip && plan.region_height % 2 == 0);
  return Exchanged(*FormatOfCode(code), columns, rows);
}

kivo_status CheckFit(const Plan &plan) {
  const kivo_options &options = plan.options;
  const Format &format = *plan.format;
  const unsigned group = format.group_pixels();
  if (options.byte_order == KIVO_BIG_ENDIAN && !format.words()) return KIVO_NO_BYTE_ORDER;
  if (plan.frame_width % group != 0) return KIVO_PARTIAL_GROUP;
  if (std::uint64_t{plan.x} + plan.region_width > plan.frame_width ||
      std::uint64_t{plan.y} + plan.region_height > plan.frame_height)
    return KIVO_CROP_OUTSIDE;
  if (plan.x % group != 0 || plan.region_width % group != 0) return KIVO_SPLIT_GROUP;
  return KIVO_OK;
}

bool AcpiDefined(const Plan &plan) {
  return plan.region_width % 2 == 0 && plan.region_height % 2 == 0 && plan.region_width >= 4 &&
         plan.region_height >= 4;
}

kivo_status CheckValues(const Plan &plan) {
  const kivo_options &options = plan.options;
  const bool demosaiced = plan.format->bayer() && options.pixels != KIVO_SAMPLES;
  const bool shift = (options.flags & KIVO_WITH_SHIFT) != 0, range = (options.flags & KIVO_WITH_RANGE) != 0;
  const bool bytes = options.pixels <= KIVO_GRAY8;
  if (demosaiced && options.bayer == KIVO_BAYER_ACPI && !AcpiDefined(plan)) return KIVO_ACPI_SIZE;
  if (demosaiced && options.bayer == KIVO_BAYER_HALF && (plan.region_width < 2 || plan.region_height < 2))
    return KIVO_HALF_SIZE;
  if (shift && (options.shift > 15 || plan.format->plain_depth() == 8 || !bytes)) return KIVO_BAD_SHIFT;
  if (range && (plan.format->yuv() || shift || plan.wide_picture())) return KIVO_BAD_RANGE;
  if (options.levels == KIVO_LEVELS_SPREAD && !plan.wide_picture()) return KIVO_BAD_LEVELS;
  return options.colour == nullptr ? KIVO_OK : ColourStatus(plan);
}

Plan Failed(kivo_status status) {
  Plan plan;
  plan.status = status;
  return plan;
}

Wide Extent(Wide row, Wide packed, std::uint32_t height, std::ptrdiff_t stride) {
  if (stride == 0) return packed;
  const Wide step = stride < 0 ? Wide{0} - static_cast<Wide>(stride) : static_cast<Wide>(stride);
  return step * (height - 1) + row;
}

// Whether a stride is shorter than a row.
bool Short(std::ptrdiff_t stride, Wide row) {
  return stride != 0 && Extent(0, 0, 2, stride) < row;
}

}  // namespace

std::uint32_t Exchanged(const Format &format, bool columns, bool rows) {
  static constexpr kivo_order kColumns[5] = {KIVO_ORDER_NONE, KIVO_ORDER_RG, KIVO_ORDER_GR, KIVO_ORDER_BG,
                                             KIVO_ORDER_GB};
  static constexpr kivo_order kRows[5] = {KIVO_ORDER_NONE, KIVO_ORDER_BG, KIVO_ORDER_GB, KIVO_ORDER_RG,
                                          KIVO_ORDER_GR};
  kivo_order order = format.order;
  if (columns) order = kColumns[order];
  if (rows) order = kRows[order];
  for (const Format &other : Formats())
    if (format.bayer() && other.order == order && other.packing == format.packing &&
        other.depth == format.depth)
      return other.code;
  return format.code;
}

Plan MakePlan(std::uint32_t code, std::uint32_t width, std::uint32_t height, const kivo_options *options) {
  Plan plan;
  if (options != nullptr) {
    if (!Understood(*options)) return Failed(KIVO_BAD_STRUCT);
    plan.options = *options;
    if (options->size == offsetof(kivo_options, colour)) plan.options.colour = nullptr;
    if (plan.options.colour != nullptr) {
      if (!Understood(*plan.options.colour)) return Failed(KIVO_BAD_STRUCT);
      plan.colour = *plan.options.colour;
      plan.coloured = !Neutral(plan.colour);
    }
  }
  const kivo_options &o = plan.options;
  plan.format = FormatOfCode(code);
  if (plan.format == nullptr) return Failed(KIVO_UNKNOWN_FORMAT);
  if (o.pixels > KIVO_SAMPLES || o.bayer > KIVO_BAYER_HALF || o.levels > KIVO_LEVELS_SPREAD ||
      plan.colour.tone > KIVO_TONE_TABLE || o.hint > KIVO_HINT_STREAMED || o.byte_order > KIVO_BIG_ENDIAN ||
      (o.flags & ~kAllFlags) != 0)
    return Failed(KIVO_UNKNOWN_OPTION);

  plan.frame_width = width;
  plan.frame_height = height;
  const bool whole = o.crop_x == 0 && o.crop_y == 0 && o.crop_width == 0 && o.crop_height == 0;
  plan.x = o.crop_x;
  plan.y = o.crop_y;
  plan.region_width = whole ? width : o.crop_width;
  plan.region_height = whole ? height : o.crop_height;
  if (width == 0 || height == 0 || plan.region_width == 0 || plan.region_height == 0)
    return Failed(KIVO_EMPTY_IMAGE);

  plan.width = plan.region_width;
  plan.height = plan.region_height;
  if (plan.format->bayer() && o.pixels != KIVO_SAMPLES) {
    plan.bayer = static_cast<kivo_bayer>(o.bayer);
    if (o.bayer == KIVO_BAYER_BEST) plan.bayer = AcpiDefined(plan) ? KIVO_BAYER_ACPI : KIVO_BAYER_STANDARD;
    if (o.bayer == KIVO_BAYER_HALF) {
      plan.width /= 2;
      plan.height /= 2;
    }
  }
  if (o.pixels == KIVO_SAMPLES)
    plan.samples_format =
        plan.format->yuv() && (o.flags & KIVO_WITH_RANGE) != 0 ? plan.format->plain : SamplesFormat(plan);
  plan.row_bytes = PictureRow(plan, plan.width);
  if (FrameBytes(*plan.format, width, height) > kMost || plan.picture_bytes() > kMost)
    return Failed(KIVO_TOO_LARGE);
  if (const kivo_status status = CheckFit(plan); status != KIVO_OK) return Failed(status);
  if (const kivo_status status = CheckValues(plan); status != KIVO_OK) return Failed(status);
  if (plan.coloured && plan.colour.tone == KIVO_TONE_TABLE)
    plan.table.assign(plan.colour.table, plan.colour.table + plan.colour.table_size);
  return plan;
}

kivo_status RunStatus(const Plan &plan, const kivo_frame *frame, const kivo_picture *picture, Rows rows,
                      const void *scratch, std::size_t scratch_size, std::size_t scratch_needed) {
  if (frame == nullptr || picture == nullptr || frame->data == nullptr || picture->data == nullptr)
    return KIVO_NULL_POINTER;
  const Format &format = *plan.format;
  const Wide extent = FrameExtent(format, plan.frame_width, plan.frame_height, frame->stride);
  if (Short(frame->stride, RowBytes(format, plan.frame_width))) return KIVO_SHORT_STRIDE;
  if (frame->size < extent) return KIVO_SHORT_BUFFER;
  if (Short(picture->stride, plan.row_bytes)) return KIVO_SHORT_PICTURE_STRIDE;
  const Wide out = Extent(plan.row_bytes, plan.picture_bytes(), plan.height, picture->stride);
  if (picture->size < out) return KIVO_SHORT_PICTURE;
  const Wide from = reinterpret_cast<std::uintptr_t>(frame->data);
  const Wide to = reinterpret_cast<std::uintptr_t>(picture->data);
  if (from < to + out && to < from + extent) return KIVO_OVERLAP;
  if (std::uint64_t{rows.first} + rows.count > plan.height) return KIVO_ROWS_OUTSIDE;
  if (scratch != nullptr && scratch_size < scratch_needed) return KIVO_SHORT_SCRATCH;
  return KIVO_OK;
}

}  // namespace KivoTest::Model
