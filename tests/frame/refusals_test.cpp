// SPDX-License-Identifier: Apache-2.0
// Bad input: every code of every function that lists it, in the order of the checks, and nothing written.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <limits>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "frame/model.h"
#include "support/guarded_buffer.h"
#include "support/random.h"

namespace KivoTest {
namespace {

constexpr std::uint32_t kMono8 = 0x01080001, kMono12 = 0x01100005, kMono12p = 0x010C0047, kRgb8 = 0x02180014;
constexpr std::uint32_t kBayer8 = 0x01080009, kBayer12 = 0x01100011, kBayer10p = 0x010A0058;
constexpr std::uint32_t kUyvy = 0x0210001F, kYuv411 = 0x020C001E, kPlanar10 = 0x02300022;
constexpr std::array<std::uint32_t, 10> kBases{kMono8,   kMono12,   kMono12p, kRgb8,   kBayer8,
                                               kBayer12, kBayer10p, kUyvy,    kYuv411, kPlanar10};

struct FreePlan {
  void operator()(kivo_plan *plan) const { kivo_plan_free(plan); }
};
using PlanOwner = std::unique_ptr<kivo_plan, FreePlan>;

// A call of kivo_plan_make() that succeeds, until it is spoilt.
struct Making {
  std::uint32_t code = kMono8;
  std::uint32_t width = 8;
  std::uint32_t height = 8;
  kivo_options options = KIVO_OPTIONS_INIT;
  bool coloured = false;
  kivo_colour colour = KIVO_COLOUR_INIT;

  kivo_options Given() const {
    kivo_options given = options;
    given.colour = coloured ? &colour : nullptr;
    return given;
  }
};

// Colour settings with something else in them.
std::function<void(Making &)> Coloured(const std::function<void(kivo_colour &)> &spoil) {
  return [spoil](Making &m) {
    m.coloured = true;
    spoil(m.colour);
  };
}

constexpr std::array<std::uint16_t, 4097> kTable{};
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

struct MakingFault {
  kivo_status status;
  const char *what;
  std::function<void(Making &)> spoil;
};

const std::vector<MakingFault> &MakingFaults() {
  static const std::vector<MakingFault> faults = {
      {KIVO_BAD_STRUCT, "size 0", [](Making &m) { m.options.size = 0; }},
      {KIVO_BAD_STRUCT, "size 1", [](Making &m) { m.options.size = 1; }},
      {KIVO_BAD_STRUCT, "size one less", [](Making &m) { --m.options.size; }},
      {KIVO_UNKNOWN_FORMAT, "code 0", [](Making &m) { m.code = 0; }},
      {KIVO_UNKNOWN_FORMAT, "high bit", [](Making &m) { m.code |= 0x80000000u; }},
      {KIVO_UNKNOWN_FORMAT, "all bits", [](Making &m) { m.code = 0xFFFFFFFFu; }},
      {KIVO_UNKNOWN_FORMAT, "bits of a pixel", [](Making &m) { m.code ^= 0x00400000u; }},
      {KIVO_UNKNOWN_OPTION, "pixels", [](Making &m) { m.options.pixels = 11; }},
      {KIVO_UNKNOWN_OPTION, "bayer", [](Making &m) { m.options.bayer = 5; }},
      {KIVO_UNKNOWN_OPTION, "levels", [](Making &m) { m.options.levels = 2; }},
      {KIVO_UNKNOWN_OPTION, "hint", [](Making &m) { m.options.hint = 3; }},
      {KIVO_UNKNOWN_OPTION, "byte order", [](Making &m) { m.options.byte_order = 2; }},
      {KIVO_UNKNOWN_OPTION, "flag 16", [](Making &m) { m.options.flags |= 16; }},
      {KIVO_UNKNOWN_OPTION, "flag 2^31", [](Making &m) { m.options.flags |= 0x80000000u; }},
      {KIVO_UNKNOWN_OPTION, "pixels -1", [](Making &m) { m.options.pixels = 0xFFFFFFFFu; }},
      {KIVO_UNKNOWN_OPTION, "bayer -1", [](Making &m) { m.options.bayer = 0xFFFFFFFFu; }},
      {KIVO_UNKNOWN_OPTION, "levels 256", [](Making &m) { m.options.levels = 256; }},
      {KIVO_UNKNOWN_OPTION, "hint 65536", [](Making &m) { m.options.hint = 65536; }},
      {KIVO_UNKNOWN_OPTION, "byte order 2^31", [](Making &m) { m.options.byte_order = 0x80000000u; }},
      {KIVO_EMPTY_IMAGE, "width", [](Making &m) { m.width = 0; }},
      {KIVO_EMPTY_IMAGE, "height", [](Making &m) { m.height = 0; }},
      {KIVO_EMPTY_IMAGE, "region without a width", [](Making &m) { m.options.crop_height = 4; }},
      {KIVO_EMPTY_IMAGE, "region without a height", [](Making &m) { m.options.crop_width = 4; }},
      {KIVO_EMPTY_IMAGE, "a corner alone", [](Making &m) { m.options.crop_x = 1; }},
      {KIVO_EMPTY_IMAGE, "a row alone", [](Making &m) { m.options.crop_y = 1; }},
      {KIVO_TOO_LARGE, "frame", [](Making &m) { m.width = m.height = 0xFFFFFFFCu; }},
      {KIVO_TOO_LARGE, "region",
       [](Making &m) { m.options.crop_width = m.options.crop_height = 0xFFFFFFFCu; }},
      {KIVO_NO_BYTE_ORDER, "big-endian", [](Making &m) { m.options.byte_order = KIVO_BIG_ENDIAN; }},
      {KIVO_PARTIAL_GROUP, "width 9", [](Making &m) { m.width = 9; }},
      {KIVO_PARTIAL_GROUP, "width 11", [](Making &m) { m.width = 11; }},
      {KIVO_CROP_OUTSIDE, "one column more",
       [](Making &m) { m.options.crop_width = m.width + 4, m.options.crop_height = 4; }},
      {KIVO_CROP_OUTSIDE, "one row more",
       [](Making &m) { m.options.crop_width = 4, m.options.crop_height = 8, m.options.crop_y = 1; }},
      {KIVO_CROP_OUTSIDE, "behind the last column",
       [](Making &m) { m.options.crop_x = 12, m.options.crop_width = 4, m.options.crop_height = 4; }},
      {KIVO_CROP_OUTSIDE, "columns that wrap",
       [](Making &m) { m.options.crop_x = 0xFFFFFFFCu, m.options.crop_width = m.options.crop_height = 4; }},
      {KIVO_CROP_OUTSIDE, "rows that wrap",
       [](Making &m) { m.options.crop_y = 0xFFFFFFFEu, m.options.crop_width = m.options.crop_height = 4; }},
      {KIVO_SPLIT_GROUP, "begins inside",
       [](Making &m) { m.options.crop_x = 1, m.options.crop_width = m.options.crop_height = 4; }},
      {KIVO_SPLIT_GROUP, "ends inside",
       [](Making &m) { m.options.crop_width = 3, m.options.crop_height = 4; }},
      {KIVO_ACPI_SIZE, "odd height", [](Making &m) { m.options.bayer = KIVO_BAYER_ACPI, m.height = 7; }},
      {KIVO_ACPI_SIZE, "height 2", [](Making &m) { m.options.bayer = KIVO_BAYER_ACPI, m.height = 2; }},
      {KIVO_ACPI_SIZE, "odd width", [](Making &m) { m.options.bayer = KIVO_BAYER_ACPI, m.width = 7; }},
      {KIVO_ACPI_SIZE, "odd region",
       [](Making &m) {
         m.options = {m.options.size,
                      m.options.pixels,
                      1,
                      m.options.levels,
                      0,
                      m.options.byte_order,
                      m.options.flags,
                      m.options.shift,
                      0,
                      0,
                      0,
                      0,
                      4,
                      5,
                      nullptr};
       }},
      {KIVO_HALF_SIZE, "height 1", [](Making &m) { m.options.bayer = KIVO_BAYER_HALF, m.height = 1; }},
      {KIVO_HALF_SIZE, "width 1", [](Making &m) { m.options.bayer = KIVO_BAYER_HALF, m.width = 1; }},
      {KIVO_BAD_SHIFT, "16", [](Making &m) { m.options.flags |= KIVO_WITH_SHIFT, m.options.shift = 16; }},
      {KIVO_BAD_SHIFT, "2^32 - 1",
       [](Making &m) { m.options.flags |= KIVO_WITH_SHIFT, m.options.shift = 0xFFFFFFFFu; }},
      {KIVO_BAD_SHIFT, "of 8-bit samples",
       [](Making &m) { m.options.flags |= KIVO_WITH_SHIFT, m.options.shift = 0; }},
      {KIVO_BAD_SHIFT, "of 16 bits",
       [](Making &m) { m.options.flags |= KIVO_WITH_SHIFT, m.options.pixels = KIVO_BGR16; }},
      {KIVO_BAD_SHIFT, "of samples",
       [](Making &m) { m.options.flags |= KIVO_WITH_SHIFT, m.options.pixels = KIVO_SAMPLES; }},
      {KIVO_BAD_RANGE, "of YUV", [](Making &m) { m.options.flags |= KIVO_WITH_RANGE; }},
      {KIVO_BAD_RANGE, "with a shift",
       [](Making &m) { m.options.flags |= KIVO_WITH_RANGE | KIVO_WITH_SHIFT; }},
      {KIVO_BAD_RANGE, "of 16 bits",
       [](Making &m) { m.options.flags |= KIVO_WITH_RANGE, m.options.pixels = KIVO_GRAY16; }},
      {KIVO_BAD_LEVELS, "of 8 bits", [](Making &m) { m.options.levels = KIVO_LEVELS_SPREAD; }},
      {KIVO_BAD_LEVELS, "of samples",
       [](Making &m) { m.options.levels = KIVO_LEVELS_SPREAD, m.options.pixels = KIVO_SAMPLES; }},
      {KIVO_BAD_STRUCT, "colour size one less", Coloured([](kivo_colour &c) { --c.size; })},
      {KIVO_BAD_STRUCT, "colour size 0", Coloured([](kivo_colour &c) { c.size = 0; })},
      {KIVO_BAD_STRUCT, "colour size 5000", Coloured([](kivo_colour &c) { c.size = 5000; })},
      {KIVO_UNKNOWN_OPTION, "tone", Coloured([](kivo_colour &c) { c.tone = 4; })},
      {KIVO_UNKNOWN_OPTION, "tone -1", Coloured([](kivo_colour &c) { c.tone = 0xFFFFFFFFu; })},
      {KIVO_BAD_COLOUR, "of YUV or samples", Coloured([](kivo_colour &) {})},
      {KIVO_BAD_COLOUR, "with a shift",
       [](Making &m) {
         m.coloured = true;
         m.options.flags |= KIVO_WITH_SHIFT, m.options.shift = 4;
       }},
      {KIVO_BAD_COLOUR, "with a range",
       [](Making &m) {
         m.coloured = true;
         m.options.flags |= KIVO_WITH_RANGE, m.options.range_high = 4;
       }},
      {KIVO_BAD_BLACK, "NaN", Coloured([](kivo_colour &c) { c.black[0] = kNan; })},
      {KIVO_BAD_BLACK, "-1", Coloured([](kivo_colour &c) { c.black[1] = -1; })},
      {KIVO_BAD_BLACK, "65536", Coloured([](kivo_colour &c) { c.black[2] = 65536; })},
      {KIVO_BAD_BLACK, "infinite", Coloured([](kivo_colour &c) { c.black[3] = kInfinity; })},
      {KIVO_BAD_GAIN, "NaN", Coloured([](kivo_colour &c) { c.gain[0] = kNan; })},
      {KIVO_BAD_GAIN, "-0.5", Coloured([](kivo_colour &c) { c.gain[1] = -0.5; })},
      {KIVO_BAD_GAIN, "1025", Coloured([](kivo_colour &c) { c.gain[2] = 1025; })},
      {KIVO_BAD_GAIN, "infinite", Coloured([](kivo_colour &c) { c.gain[2] = kInfinity; })},
      {KIVO_BAD_MATRIX, "NaN", Coloured([](kivo_colour &c) { c.matrix[8] = kNan; })},
      {KIVO_BAD_MATRIX, "4", Coloured([](kivo_colour &c) { c.matrix[0] = 4; })},
      {KIVO_BAD_MATRIX, "-4", Coloured([](kivo_colour &c) { c.matrix[5] = -4; })},
      {KIVO_BAD_MATRIX, "-infinite", Coloured([](kivo_colour &c) { c.matrix[3] = -kInfinity; })},
      {KIVO_BAD_POINTS, "low NaN", Coloured([](kivo_colour &c) { c.low = kNan; })},
      {KIVO_BAD_POINTS, "high NaN", Coloured([](kivo_colour &c) { c.high = kNan; })},
      {KIVO_BAD_POINTS, "low -1", Coloured([](kivo_colour &c) { c.low = -1; })},
      {KIVO_BAD_POINTS, "high -1", Coloured([](kivo_colour &c) { c.high = -1; })},
      {KIVO_BAD_POINTS, "high too large", Coloured([](kivo_colour &c) { c.high = 67108865; })},
      {KIVO_BAD_POINTS, "equal", Coloured([](kivo_colour &c) { c.low = c.high = 7; })},
      {KIVO_BAD_POINTS, "low above full scale", Coloured([](kivo_colour &c) { c.low = 65535; })},
      {KIVO_BAD_POINTS, "out of order", Coloured([](kivo_colour &c) { c.low = 8, c.high = 7.5; })},
      {KIVO_BAD_GAMMA, "NaN", Coloured([](kivo_colour &c) { c.tone = KIVO_TONE_GAMMA, c.gamma = kNan; })},
      {KIVO_BAD_GAMMA, "0", Coloured([](kivo_colour &c) { c.tone = KIVO_TONE_GAMMA, c.gamma = 0; })},
      {KIVO_BAD_GAMMA, "11", Coloured([](kivo_colour &c) { c.tone = KIVO_TONE_GAMMA, c.gamma = 11; })},
      {KIVO_BAD_TABLE, "null",
       Coloured([](kivo_colour &c) { c.tone = KIVO_TONE_TABLE, c.table_size = 256; })},
      {KIVO_BAD_TABLE, "255", Coloured([](kivo_colour &c) {
         c.tone = KIVO_TONE_TABLE, c.table_size = 255, c.table = kTable.data();
       })},
      {KIVO_BAD_TABLE, "4097", Coloured([](kivo_colour &c) {
         c.tone = KIVO_TONE_TABLE, c.table_size = 4097, c.table = kTable.data();
       })},
  };
  return faults;
}

kivo_status Make(const Making &m) {
  auto *plan = reinterpret_cast<kivo_plan *>(std::uintptr_t{8});  // not null: a refusal has to say so
  const kivo_options given = m.Given();
  const kivo_status status = kivo_plan_make(m.code, m.width, m.height, &given, &plan);
  EXPECT_EQ(status == KIVO_OK, plan != nullptr);
  kivo_plan_free(plan);
  return status;
}

kivo_status Judged(const Making &m) {
  const kivo_options given = m.Given();
  return Model::MakePlan(m.code, m.width, m.height, &given).status;
}

TEST(Refusals, OfPlansComeInOrder) {
  std::set<std::pair<kivo_status, kivo_status>> met;
  for (const std::uint32_t base : kBases) {
    for (const kivo_pixels pixels : {KIVO_BGRA8, KIVO_GRAY8, KIVO_BGR16, KIVO_SAMPLES}) {
      Making good;
      good.code = base;
      good.options.pixels = pixels;
      ASSERT_EQ(Make(good), KIVO_OK) << std::hex << base;
      // The faults that are one with this format and picture.
      std::vector<const MakingFault *> apply;
      for (const MakingFault &fault : MakingFaults()) {
        Making bad = good;
        fault.spoil(bad);
        const kivo_status judged = Judged(bad);
        EXPECT_EQ(Make(bad), judged) << fault.what << " of " << std::hex << base << ", pixels " << pixels;
        if (judged == fault.status) apply.push_back(&fault);
        met.insert({judged, judged});
      }
      for (const MakingFault *first : apply)
        for (const MakingFault *second : apply) {
          Making bad = good;
          first->spoil(bad);
          second->spoil(bad);
          const kivo_status judged = Judged(bad);
          EXPECT_EQ(Make(bad), judged) << first->what << " and " << second->what << " of " << std::hex << base
                                       << ", pixels " << pixels;
          if (judged == std::min(first->status, second->status))
            met.insert({judged, std::max(first->status, second->status)});
        }
    }
  }
  // Every code was seen, and in front of every later one; but for those that need formats that exclude each
  // other, or settle the question themselves.
  std::set<std::pair<kivo_status, kivo_status>> impossible;
  for (const kivo_status group : {KIVO_PARTIAL_GROUP, KIVO_SPLIT_GROUP})
    for (const kivo_status other : {KIVO_ACPI_SIZE, KIVO_HALF_SIZE, KIVO_BAD_BLACK, KIVO_BAD_GAIN,
                                    KIVO_BAD_MATRIX, KIVO_BAD_POINTS, KIVO_BAD_GAMMA, KIVO_BAD_TABLE})
      impossible.insert({group, other});
  const auto listed = [](int status) { return status <= KIVO_BAD_LEVELS || status >= KIVO_BAD_COLOUR; };
  for (int first = KIVO_BAD_STRUCT; first <= KIVO_BAD_TABLE; ++first)
    for (int second = first; second <= KIVO_BAD_TABLE; ++second) {
      if (!listed(first) || !listed(second)) continue;
      const std::pair<kivo_status, kivo_status> pair{static_cast<kivo_status>(first),
                                                     static_cast<kivo_status>(second)};
      EXPECT_NE(met.count(pair), impossible.count(pair)) << first << " before " << second;
    }
}

TEST(Refusals, OfPlansWithoutAPlaceForThem) {
  Making bad;
  bad.options.size = 0;
  EXPECT_EQ(kivo_plan_make(0, 0, 0, &bad.options, nullptr), KIVO_NULL_POINTER);
  EXPECT_EQ(kivo_plan_make(kMono8, 8, 8, nullptr, nullptr), KIVO_NULL_POINTER);
  kivo_plan *plan = nullptr;
  EXPECT_EQ(kivo_plan_make(kMono8, 8, 8, nullptr, &plan), KIVO_OK);
  EXPECT_EQ(kivo_plan_row_bytes(plan), 32u);
  kivo_plan_free(plan);
}

// Options of another size, on memory that ends where they end.
kivo_status MakeSized(std::size_t size, std::size_t at, std::uint8_t value) {
  GuardedBuffer buffer(std::max(size, sizeof(kivo_options)));
  buffer.Fill(0);
  kivo_options options = KIVO_OPTIONS_INIT;
  options.size = size;
  std::memcpy(buffer.data(), &options, sizeof options);
  if (at < buffer.size()) buffer.data()[at] = value;
  // Aligned as a structure is; guarded at its end where the size allows.
  const auto *const given = reinterpret_cast<const kivo_options *>(buffer.read_only());
  if (reinterpret_cast<std::uintptr_t>(given) % alignof(kivo_options) != 0) return KIVO_OK;
  kivo_plan *plan = nullptr;
  const kivo_status status = kivo_plan_make(kMono8, 8, 8, given, &plan);
  kivo_plan_free(plan);
  return status;
}

TEST(Refusals, OfOptionsFromAnotherVersion) {
  constexpr std::size_t kNow = sizeof(kivo_options);
  constexpr std::size_t kFirst = offsetof(kivo_options, colour);
  for (std::size_t size = 0; size < kNow; ++size)
    EXPECT_EQ(MakeSized(size, SIZE_MAX, 0), size == kFirst ? KIVO_OK : KIVO_BAD_STRUCT) << size;
  // What follows the first version is not read.
  EXPECT_EQ(MakeSized(kFirst, kFirst, 1), KIVO_OK);
  for (const std::size_t more : {8u, 16u, 24u, 64u, 128u}) {
    EXPECT_EQ(MakeSized(kNow + more, SIZE_MAX, 0), KIVO_OK) << more;
    for (std::size_t at = kNow; at < kNow + more; ++at)
      for (const std::uint8_t value : {std::uint8_t{1}, std::uint8_t{0x80}})
        EXPECT_EQ(MakeSized(kNow + more, at, value), KIVO_BAD_STRUCT) << more << " at " << at;
  }
  // No version is larger than 4096 bytes, whatever follows; neither is that of colour.
  EXPECT_EQ(MakeSized(4096, SIZE_MAX, 0), KIVO_OK);
  EXPECT_EQ(MakeSized(4104, SIZE_MAX, 0), KIVO_BAD_STRUCT);
  for (const std::size_t size : {std::size_t{4096}, std::size_t{4104}}) {
    GuardedBuffer buffer(size);
    buffer.Fill(0);
    kivo_colour colour = KIVO_COLOUR_INIT;
    colour.size = size;
    std::memcpy(buffer.data(), &colour, sizeof colour);
    kivo_options options = KIVO_OPTIONS_INIT;
    options.pixels = KIVO_BGRA8;
    options.colour = reinterpret_cast<const kivo_colour *>(buffer.read_only());
    kivo_plan *plan = nullptr;
    EXPECT_EQ(kivo_plan_make(kMono8, 8, 8, &options, &plan), size == 4096 ? KIVO_OK : KIVO_BAD_STRUCT);
    kivo_plan_free(plan);
  }
  GuardedBuffer page(4096);
  page.Fill(1);
  for (const std::size_t size : {SIZE_MAX, SIZE_MAX - 7, SIZE_MAX / 2, std::size_t{PTRDIFF_MAX}}) {
    kivo_options options = KIVO_OPTIONS_INIT;
    options.size = size;
    std::memcpy(page.data(), &options, sizeof options);
    kivo_plan *plan = nullptr;
    EXPECT_EQ(kivo_plan_make(kMono8, 8, 8, reinterpret_cast<const kivo_options *>(page.data()), &plan),
              KIVO_BAD_STRUCT);
  }
  // What lies between the last field and the end of the structure is nobody's.
  GuardedBuffer padded(kNow);
  padded.Fill(0xFF);
  const kivo_options plain = KIVO_OPTIONS_INIT;
  constexpr std::size_t kFields = offsetof(kivo_options, crop_height) + sizeof plain.crop_height;
  std::memcpy(padded.data(), &plain, kFields);
  std::memset(padded.data() + offsetof(kivo_options, colour), 0, sizeof plain.colour);
  kivo_plan *plan = nullptr;
  EXPECT_EQ(kivo_plan_make(kMono8, 8, 8, reinterpret_cast<const kivo_options *>(padded.read_only()), &plan),
            KIVO_OK);
  kivo_plan_free(plan);
}

TEST(Refusals, OfAnyFlagAndAnyValue) {
  for (unsigned bit = 4; bit < 32; ++bit) {
    Making bad;
    bad.options.flags = 1u << bit;
    EXPECT_EQ(Make(bad), KIVO_UNKNOWN_OPTION) << bit;
  }
  // Fields whose flag is not set say nothing.
  Making good;
  good.options.shift = 99;
  good.options.range_low = 7;
  good.options.range_high = 3;
  EXPECT_EQ(Make(good), KIVO_OK);
  // A mode that a format or a picture has no use for does not matter, whatever the size.
  for (const std::uint32_t bayer : {1u, 2u, 3u, 4u})
    for (const std::uint32_t code : {kMono12, kRgb8, kBayer8}) {
      Making odd;
      odd.code = code;
      odd.width = odd.height = 1;
      odd.options.bayer = bayer;
      odd.options.pixels = code == kBayer8 ? KIVO_SAMPLES : KIVO_BGR8;
      EXPECT_EQ(Make(odd), KIVO_OK) << code << " " << bayer;
    }
}

TEST(Refusals, OfSizesThatOverflow) {
  const std::uint32_t sizes[] = {0,           1,           2,           3,          4,
                                 5,           6,           65535,       65536,      0x10000 * 5,
                                 0x3FFFFFFFu, 0x40000000u, 0x7FFFFFFCu, 0x7FFFFFFF, 0x80000000u,
                                 0xAAAAAAAAu, 0xB504F333u, 0xFFFFFFFEu, 0xFFFFFFFFu};
  for (const Model::Format &format : Model::Formats())
    for (const std::uint32_t width : sizes)
      for (const std::uint32_t height : sizes)
        for (std::uint32_t pixels = KIVO_BGRA8; pixels <= KIVO_SAMPLES; ++pixels) {
          kivo_options options = KIVO_OPTIONS_INIT;
          options.pixels = pixels;
          options.bayer = (width ^ height ^ pixels) % 5;
          if (pixels % 3 == 1) options.crop_width = width, options.crop_height = std::max(height / 2, 1u);
          const Model::Plan wanted = Model::MakePlan(format.code, width, height, &options);
          kivo_plan *made = nullptr;
          const kivo_status status = kivo_plan_make(format.code, width, height, &options, &made);
          const PlanOwner owner(made);
          ASSERT_EQ(status, wanted.status) << format.name << " " << width << "x" << height << " pixels "
                                           << pixels << " bayer " << options.bayer;
          if (status != KIVO_OK) continue;
          ASSERT_EQ(kivo_plan_row_bytes(made), static_cast<std::uint64_t>(wanted.row_bytes));
          ASSERT_EQ(kivo_plan_picture_bytes(made), static_cast<std::uint64_t>(wanted.picture_bytes()));
          ASSERT_EQ(kivo_plan_width(made), wanted.width);
          ASSERT_EQ(kivo_plan_height(made), wanted.height);
          ASSERT_LE(kivo_plan_scratch(made), std::size_t{256} << 10) << format.name << " " << width;
        }
}

// A thread's stack has room for what a plan needs, whatever it does on the way and however long its rows are.
TEST(Plans, NeedLittleScratch) {
  for (const Model::Format &format : Model::Formats())
    for (std::uint32_t pixels = KIVO_BGRA8; pixels <= KIVO_SAMPLES; ++pixels)
      for (std::uint32_t bayer = 0; bayer < (format.bayer() ? 5u : 1u); ++bayer)
        for (std::uint32_t flags = 0; flags < 32; ++flags)
          for (const std::uint32_t width : {100u, 5000u, 8192u, 8196u, 16384u, 20000u, 1000000u, 1188156928u})
            for (const std::uint32_t left : {0u, 1u, 4u}) {
              kivo_options options = KIVO_OPTIONS_INIT;
              options.pixels = pixels;
              options.bayer = bayer;
              options.flags = flags % 16;
              const kivo_colour colour = {sizeof(kivo_colour), 0, 0, {}, {2, 1, 2}, {}, 0, 0, 1, nullptr};
              if (flags >= 16) options.colour = &colour;
              options.range_high = 100;
              options.byte_order = format.words() ? flags % 2 : 0;
              options.crop_x = left;
              options.crop_width = width;
              options.crop_height = 6;
              kivo_plan *made = nullptr;
              if (kivo_plan_make(format.code, width + 16, 8, &options, &made) != KIVO_OK) continue;
              const PlanOwner owner(made);
              ASSERT_LE(kivo_plan_scratch(made), std::size_t{256} << 10)
                  << format.name << " pixels " << pixels << " bayer " << bayer << " flags " << flags
                  << " crop " << left << ",0 " << width << "x6";
            }
}

TEST(Refusals, HaveTextsOfTheirOwn) {
  std::set<std::string> texts;
  for (int status = KIVO_OK; status <= KIVO_BAD_PERCENT; ++status) {
    const char *const text = kivo_message(static_cast<kivo_status>(status));
    ASSERT_NE(text, nullptr);
    EXPECT_TRUE(texts.insert(text).second) << text << " is said twice";
    EXPECT_NE(std::string(text), "unknown error") << status;
    ASSERT_NE(*text, '\0');
    EXPECT_EQ(std::isupper(static_cast<unsigned char>(text[0])) != 0 &&
                  std::isupper(static_cast<unsigned char>(text[1])) == 0,
              false)
        << text;
    EXPECT_NE(text[std::strlen(text) - 1], '.') << text;
  }
  // Values of no name that the enumeration can hold.
  for (const int status : {33, 34, 63})
    EXPECT_STREQ(kivo_message(static_cast<kivo_status>(status)), "unknown error");
}

TEST(Refusals, OfNothing) {
  EXPECT_EQ(kivo_plan_width(nullptr), 0u);
  EXPECT_EQ(kivo_plan_height(nullptr), 0u);
  EXPECT_EQ(kivo_plan_row_bytes(nullptr), 0u);
  EXPECT_EQ(kivo_plan_picture_bytes(nullptr), 0u);
  EXPECT_EQ(kivo_plan_samples_format(nullptr), 0u);
  EXPECT_EQ(kivo_plan_bayer(nullptr), static_cast<std::uint32_t>(KIVO_BAYER_OFF));
  EXPECT_EQ(kivo_plan_scratch(nullptr), 0u);
  kivo_plan_free(nullptr);
  EXPECT_EQ(kivo_pool_threads(nullptr), 0u);
  kivo_pool_free(nullptr);
  EXPECT_EQ(kivo_format_at(kivo_format_count()), nullptr);
  EXPECT_EQ(kivo_format_at(SIZE_MAX), nullptr);
  EXPECT_EQ(kivo_format_of_code(0), nullptr);
  EXPECT_EQ(kivo_format_of_code(0xFFFFFFFFu), nullptr);
  EXPECT_EQ(kivo_format_find(nullptr), nullptr);
  EXPECT_EQ(kivo_format_find(""), nullptr);
  const kivo_format *formats[4];
  EXPECT_EQ(kivo_format_suggest(nullptr, formats, 4), 0u);
  EXPECT_EQ(kivo_format_suggest("Mono7", formats, 0), 0u);
  EXPECT_EQ(kivo_row_bytes(0, 5), 0u);
  EXPECT_EQ(kivo_frame_bytes(0, 5, 5), 0u);
  EXPECT_EQ(kivo_format_exchanged(0x1234, 1, 1), 0x1234u);
  EXPECT_EQ(kivo_version(), static_cast<std::uint32_t>(KIVO_VERSION));
}

TEST(Refusals, OfPools) {
  EXPECT_EQ(kivo_pool_make(2000, nullptr), KIVO_NULL_POINTER);
  auto *pool = reinterpret_cast<kivo_pool *>(std::uintptr_t{8});
  EXPECT_EQ(kivo_pool_make(1025, &pool), KIVO_UNKNOWN_OPTION);
  EXPECT_EQ(pool, nullptr);
  EXPECT_EQ(kivo_pool_make(0xFFFFFFFFu, &pool), KIVO_UNKNOWN_OPTION);
  EXPECT_EQ(pool, nullptr);
  ASSERT_EQ(kivo_pool_make(0, &pool), KIVO_OK);
  EXPECT_GE(kivo_pool_threads(pool), 1u);
  kivo_pool_free(pool);
  ASSERT_EQ(kivo_pool_make(3, &pool), KIVO_OK);
  EXPECT_EQ(kivo_pool_threads(pool), 3u);
  kivo_pool_free(pool);
  // The system may have no room for as many as are allowed.
  EXPECT_NE(kivo_pool_make(1024, &pool), KIVO_UNKNOWN_OPTION);
  kivo_pool_free(pool);
}

}  // namespace
}  // namespace KivoTest
