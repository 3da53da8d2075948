// SPDX-License-Identifier: Apache-2.0
// Plans of any options and frames of any bytes, on every target: what pictures have to do with each other.
#include <algorithm>
#include <cstring>
#include <memory>

#include "KivoCamUtl.h"
#include "KivoFrame.h"
#include "input.h"
#include "simd/targets.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

namespace KivoFuzz {
namespace {

constexpr std::uint64_t kMostBytes = 1U << 20;
constexpr std::uint8_t kUntouched = 0xA6;

struct Free {
  void operator()(kivo_plan *plan) const { kivo_plan_free(plan); }
};
using Plan = std::unique_ptr<kivo_plan, Free>;

// What plans are made of.
struct Wish {
  std::uint32_t code = 0;
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  kivo_options options = KIVO_OPTIONS_INIT;

  bool cropped() const {
    return (options.crop_x | options.crop_y | options.crop_width | options.crop_height) != 0;
  }
};

Plan MakePlan(const Wish &wish, kivo_status *status = nullptr) {
  kivo_plan *plan = nullptr;
  const kivo_status made = kivo_plan_make(wish.code, wish.width, wish.height, &wish.options, &plan);
  Require((made == KIVO_OK) == (plan != nullptr), "a plan comes with success alone");
  Require(kivo_message(made) != nullptr, "every status has a text");
  if (status != nullptr) *status = made;
  return Plan(plan);
}

// Packed rows.
Bytes Picture(const kivo_plan *plan, const kivo_frame &frame) {
  Bytes picture(kivo_plan_picture_bytes(plan));
  const kivo_picture to{picture.data(), picture.size(), 0};
  Require(kivo_run(plan, &frame, &to, nullptr, 0) == KIVO_OK, "a frame that one plan takes, its like take");
  return picture;
}

bool PinAny(Input &input) {
  const auto target = static_cast<Kivo::Target>(input.Below(Kivo::c_uiTargets));
  return Kivo::PinTarget(target);
}

Wish TakeWish(Input &input) {
  Wish wish;
  const std::uint32_t format = input.Below(256);
  const auto formats = static_cast<std::uint32_t>(kivo_format_count());
  wish.code = format == 255 ? input.Long() : kivo_format_at(format % formats)->code;
  const bool odd = input.Below(64) == 63;
  wish.width = odd ? input.Long() : 1 + input.Below(100);
  wish.height = odd ? input.Long() : 1 + input.Below(18);
  kivo_options &o = wish.options;
  o.pixels = input.Below(12);
  o.bayer = input.Below(6);
  const std::uint32_t more = input.Byte();
  o.levels = more % 4 == 0 ? input.Below(3) : 0;
  o.hint = more / 4 % 4;
  o.byte_order = more / 16 % 4 == 0 ? input.Below(3) : 0;
  o.flags = input.Below(64) % 17;
  if ((o.flags & KIVO_WITH_SHIFT) != 0) o.shift = input.Below(17);
  if ((o.flags & KIVO_WITH_RANGE) != 0) {
    o.range_low = input.Below(65536);
    o.range_high = input.Below(65536);
  }
  if (more >= 128) {
    o.crop_x = input.Below(256) % (wish.width == UINT32_MAX ? 9 : wish.width + 1);
    o.crop_y = input.Below(256) % (wish.height == UINT32_MAX ? 9 : wish.height + 1);
    o.crop_width = input.Below(256);
    o.crop_height = input.Below(256);
    if (wish.width > o.crop_x && o.crop_width > wish.width - o.crop_x) o.crop_width = wish.width - o.crop_x;
    if (wish.height > o.crop_y && o.crop_height > wish.height - o.crop_y)
      o.crop_height = wish.height - o.crop_y;
  }
  return wish;
}

// The picture of another target, and of another hint, in slices, in any order and any stride: the same bytes.
void Slices(Input &input, const Wish &wish, const kivo_frame &frame, const Bytes &wanted) {
  Wish other = wish;
  other.options.hint = input.Below(3);
  const Plan plan = MakePlan(other);
  const std::size_t row = kivo_plan_row_bytes(plan.get());
  const std::uint32_t rows = kivo_plan_height(plan.get());
  const std::size_t step = row + input.Below(70);
  const bool upward = input.Flag();
  Bytes out(step * (rows - 1) + row, kUntouched);
  const auto signed_step = static_cast<std::ptrdiff_t>(step);
  const kivo_picture to{out.data(), out.size(), upward ? -signed_step : signed_step};
  const std::size_t lead = input.Below(64);
  Bytes scratch(kivo_plan_scratch(plan.get()) + lead);
  const std::uint32_t slice = 1 + input.Below(rows);
  const bool backward = input.Flag();
  const std::uint32_t slices = (rows + slice - 1) / slice;
  for (std::uint32_t i = 0; i < slices; ++i) {
    const std::uint32_t first = (backward ? slices - 1 - i : i) * slice;
    const std::uint32_t count = std::min(slice, rows - first);
    PinAny(input);
    Require(kivo_run_rows(plan.get(), &frame, &to, first, count, scratch.data() + lead,
                          scratch.size() - lead) == KIVO_OK,
            "rows of a picture can be made alone");
  }
  for (std::uint32_t y = 0; y < rows; ++y) {
    const std::uint8_t *const at = out.data() + step * (upward ? rows - 1 - y : y);
    Require(std::memcmp(at, wanted.data() + row * y, row) == 0, "slices are the whole");
    const bool last = at + step > out.data() + out.size();
    Require(last || std::all_of(at + row, at + step, [](std::uint8_t b) { return b == kUntouched; }),
            "padding stays");
  }
}

// Turned twice is not turned.
void Turned(const Wish &wish, const kivo_frame &frame, const Bytes &wanted, const kivo_format &format) {
  Wish other = wish;
  other.options.flags ^= KIVO_MIRROR | KIVO_FLIP;
  const Plan plan = MakePlan(other);
  const Bytes turned = Picture(plan.get(), frame);
  Require(turned.size() == wanted.size(), "a turned picture has the size of the other");
  // Luma and chroma of a group change places in another way.
  if (wish.options.pixels == KIVO_SAMPLES && format.family == KIVO_YUV) return;
  const std::size_t row = kivo_plan_row_bytes(plan.get());
  const std::size_t width = kivo_plan_width(plan.get()), height = kivo_plan_height(plan.get());
  const std::size_t pixel = row / width;
  for (std::size_t y = 0; y < height; ++y)
    for (std::size_t x = 0; x < width; ++x)
      Require(std::memcmp(turned.data() + y * row + x * pixel,
                          wanted.data() + (height - 1 - y) * row + (width - 1 - x) * pixel, pixel) == 0,
              "mirrored and flipped twice is the picture");
}

// The region is what it is in the picture of the whole, away from its edges.
void Cropped(const Wish &wish, const kivo_frame &frame, const Bytes &region, const kivo_format &format) {
  const kivo_options &o = wish.options;
  if (!wish.cropped() || (o.pixels == KIVO_SAMPLES && format.family == KIVO_YUV)) return;
  Wish other = wish;
  Wish straight = wish;
  other.options.crop_x = other.options.crop_y = other.options.crop_width = other.options.crop_height = 0;
  other.options.flags &= ~std::uint32_t{KIVO_MIRROR | KIVO_FLIP};
  straight.options.flags = other.options.flags;
  const Plan cut = MakePlan(straight);
  kivo_status status = KIVO_OK;
  const Plan plan = MakePlan(other, &status);
  if (status == KIVO_ACPI_SIZE || status == KIVO_PARTIAL_GROUP) return;
  Require(status == KIVO_OK, "a region is good, the whole is not");
  std::uint32_t margin = 0, scale = 1;
  if (kivo_plan_bayer(cut.get()) != kivo_plan_bayer(plan.get())) return;  // the best of each
  const bool made = format.family == KIVO_BAYER && o.pixels != KIVO_SAMPLES;
  const bool even = o.crop_x % 2 == 0 && o.crop_y % 2 == 0;
  if (made && kivo_plan_bayer(plan.get()) == KIVO_BAYER_STANDARD) margin = 1;
  if (made && kivo_plan_bayer(plan.get()) == KIVO_BAYER_ACPI) margin = even ? 3 : UINT32_MAX;
  if (made && kivo_plan_bayer(plan.get()) == KIVO_BAYER_HALF) {
    scale = 2;
    if (!even) margin = UINT32_MAX;
  }
  const std::uint32_t width = kivo_plan_width(cut.get()), height = kivo_plan_height(cut.get());
  if (margin > width || 2 * margin >= width || 2 * margin >= height) return;
  const Bytes small =
      (wish.options.flags & (KIVO_MIRROR | KIVO_FLIP)) == 0 ? region : Picture(cut.get(), frame);
  const Bytes large = Picture(plan.get(), frame);
  const std::size_t pixel = kivo_plan_row_bytes(cut.get()) / width;
  for (std::size_t y = margin; y < height - margin; ++y)
    Require(std::memcmp(small.data() + y * kivo_plan_row_bytes(cut.get()) + margin * pixel,
                        large.data() + (y + o.crop_y / scale) * kivo_plan_row_bytes(plan.get()) +
                            (margin + o.crop_x / scale) * pixel,
                        (width - 2 * margin) * pixel) == 0,
            "a region is a part of the whole");
}

// Samples first and their picture then is the picture.
void Unpacked(const Wish &wish, const kivo_frame &frame, const Bytes &wanted) {
  if (wish.options.pixels == KIVO_SAMPLES) return;
  Wish first = wish;
  first.options.pixels = KIVO_SAMPLES;
  first.options.flags = 0;
  first.options.levels = KIVO_LEVELS_OWN;
  const Plan unpack = MakePlan(first);
  const Bytes samples = Picture(unpack.get(), frame);
  Wish second = wish;
  second.code = kivo_plan_samples_format(unpack.get());
  second.width = kivo_plan_width(unpack.get());
  second.height = kivo_plan_height(unpack.get());
  second.options.byte_order = KIVO_LITTLE_ENDIAN;
  second.options.crop_x = second.options.crop_y = second.options.crop_width = second.options.crop_height = 0;
  const Plan convert = MakePlan(second);
  const kivo_frame plain{samples.data(), samples.size(), 0};
  Require(Picture(convert.get(), plain) == wanted, "unpacked and converted is converted");

  // The range of the samples, which the samples themselves tell.
  std::uint32_t least = 0, most = 0, a = UINT32_MAX, b = 0;
  Require(kivo_sample_range(unpack.get(), &frame, &least, &most) == KIVO_OK, "samples have a range");
  const std::uint32_t bytes = kivo_format_of_code(second.code)->plain_bytes;
  for (std::size_t i = 0; i < samples.size(); i += bytes) {
    const std::uint32_t sample = samples[i] | (bytes == 2 ? std::uint32_t{samples[i + 1]} << 8 : 0);
    a = std::min(a, sample);
    b = std::max(b, sample);
  }
  Require(a == least && b == most, "the range is that of the samples");
}

// The exported converters, where they take such a frame.
void Converters(const Wish &wish, const kivo_plan *plan, const Bytes &frame, const Bytes &wanted) {
  const kivo_options &o = wish.options;
  const bool bgra = o.pixels == KIVO_BGRA8;
  if ((!bgra && o.pixels != KIVO_BGR8) || o.flags != 0 || o.byte_order != KIVO_LITTLE_ENDIAN) return;
  if (wish.cropped() || o.bayer == KIVO_BAYER_HALF) return;
  // Their steps over the bytes of a frame are their own.
  if (wish.code == CAMUTL_PFNC_YUV8_UYV || (!bgra && wish.code == CAMUTL_PFNC_YUV422_8_UYVY)) return;
  const bool acpi = kivo_plan_bayer(plan) == KIVO_BAYER_ACPI;
  if (acpi && kivo_format_of_code(wish.code)->depth != 8) return;
  if (PrepareLUT() != CAMUTL_STS_SUCCESS) Require(false, "the tables can be filled");
  SetBayerConvMode(acpi ? BAYER_CONV_ACPI : BAYER_CONV_STANDARD);
  const bool demosaic = o.bayer != KIVO_BAYER_OFF;
  if (GetBGRAConverter(wish.code, demosaic) == nullptr) return;
  Bytes picture(wanted.size());
  Require(ConvImage(bgra ? OUTPUT_BGRA : OUTPUT_BGR, wish.code, demosaic, picture.data(), frame.data(),
                    wish.width, wish.height) == CAMUTL_STS_SUCCESS,
          "the converters take what the engine takes");
  // The one byte that they leave.
  if (acpi && bgra && wish.code == CAMUTL_PFNC_BAYER_BG8) {
    const std::size_t red = 4 * (std::size_t{2} * wish.width - 1) + 2;
    picture[red] = wanted[red];
  }
  Require(picture == wanted, "both libraries make the same picture");
}

int ReversedScheduler(void *, kivo_job job, void *context, std::size_t jobs) {
  while (jobs > 0) job(context, --jobs);
  return 0;
}

void Run(Input &input) {
  if (!PinAny(input)) return;
  const Wish wish = TakeWish(input);
  const Plan plan = MakePlan(wish);
  if (plan == nullptr) return;
  const kivo_format &format = *kivo_format_of_code(wish.code);
  const std::uint64_t packed = kivo_frame_bytes(wish.code, wish.width, wish.height);
  if (packed > kMostBytes || kivo_plan_picture_bytes(plan.get()) > kMostBytes) return;

  const bool planes = format.packing == KIVO_PLANAR;
  const std::uint64_t row = kivo_row_bytes(wish.code, wish.width);
  kivo_frame frame{nullptr, static_cast<std::size_t>(packed), 0};
  const std::uint32_t padding = input.Byte();
  if (padding % 2 != 0) {
    const std::size_t step = static_cast<std::size_t>(row) + padding / 4;
    frame.stride = static_cast<std::ptrdiff_t>(step) * (padding % 4 == 1 ? 1 : -1);
    frame.size = step * ((planes ? 3 : 1) * std::size_t{wish.height} - 1) + static_cast<std::size_t>(row);
  }
  Input before_frame = input;  // numbers and samples may share bytes
  const Bytes bytes = input.Frame(frame.size);
  frame.data = bytes.data();
  const Bytes picture = Picture(plan.get(), frame);

  Slices(before_frame, wish, frame, picture);
  Turned(wish, frame, picture, format);
  Cropped(wish, frame, picture, format);
  Unpacked(wish, frame, picture);
  if (frame.stride == 0) Converters(wish, plan.get(), bytes, picture);

  Bytes again(picture.size());
  const kivo_picture to{again.data(), again.size(), 0};
  Require(kivo_run_on(plan.get(), &frame, &to, ReversedScheduler, nullptr) == KIVO_OK && again == picture,
          "jobs in any order are the whole");
  // A byte too few is told, and nothing is written.
  if (bytes.size() == 1) return;
  Bytes short_frame(bytes.begin(), bytes.end() - 1);
  const kivo_frame less{short_frame.data(), short_frame.size(), frame.stride};
  std::fill(again.begin(), again.end(), kUntouched);
  Require(kivo_run(plan.get(), &less, &to, nullptr, 0) == KIVO_SHORT_BUFFER, "a short buffer is refused");
  Require(std::all_of(again.begin(), again.end(), [](std::uint8_t b) { return b == kUntouched; }),
          "a refusal writes nothing");
}

}  // namespace
}  // namespace KivoFuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  KivoFuzz::Input input(data, size);
  KivoFuzz::Run(input);
  return 0;
}
