// SPDX-License-Identifier: Apache-2.0
// Which sizes, shifts and contents each family is checked with.
#include <array>
#include <cstdio>
#include <string>
#include <utility>

#include "checkkernel/check.h"

namespace KivoTest {
namespace {

using Size = std::pair<std::uint32_t, std::uint32_t>;

template <typename Function>
void ForFamily(Family family, Function function) {
  for (const Converter &converter : AllConverters())
    if (converter.family == family) function(converter);
}

// Frames that are one run of pixels: every length around any vector, and a few long ones. The length is also
// split into rows, which must not matter.
template <typename Function>
void ForRuns(const Check &check, Function function) {
  const std::uint32_t step = check.quick() ? 3 : 1;
  for (std::uint32_t n = 0; n <= 140; ++n) function(n, 1u);
  for (std::uint32_t n = 141; n <= 420; n += step) function(n, 1u);
  for (const Size &size : {Size{0, 7}, {7, 0}, {1, 129}, {17, 19}, {63, 33}, {5000, 1}, {1, 5001}, {337, 21}})
    function(size.first, size.second);
  if (!check.quick()) {
    function(20011u, 1u);
    function(1021u, 97u);
  }
}

// Mosaics of any size.
template <typename Function>
void ForMosaics(const Check &check, Function function) {
  const bool quick = check.quick();
  for (std::uint32_t height = 0; height <= 9; ++height)
    for (std::uint32_t width = 0; width <= (quick ? 72u : 150u); ++width) function(width, height);
  for (std::uint32_t width = quick ? 73 : 151; width <= 330; width += quick ? 7 : 1) {
    function(width, 2 + width % 4);
    if (!quick) function(width, 6u);
  }
  for (const Size &size : {Size{1, 300}, {2, 301}, {3, 300}, {4, 77}, {65, 40}, {1000, 12}, {4099, 3}})
    function(size.first, size.second);
  if (quick) return;
  for (const Size &size : {Size{1000, 40}, {8200, 5}, {16500, 4}, {8191, 6}, {2, 3000}, {131, 130}})
    function(size.first, size.second);
}

void CheckRuns8(Check &check, Family family) {
  ForRuns(check, [&](std::uint32_t width, std::uint32_t height) {
    ForFamily(family, [&](const Converter &converter) {
      check.Convert(converter, width, height, 0, Content::kRandom);
      check.Convert(converter, width, height, 0, check.NextContent());
    });
  });
}

void CheckMonoRgb8(Check &check) {
  CheckRuns8(check, Family::kMonoRgb8);
}
void CheckYuv8(Check &check) {
  CheckRuns8(check, Family::kYuv8);
}

void CheckBayer8(Check &check) {
  ForMosaics(check, [&](std::uint32_t width, std::uint32_t height) {
    for (int round = 0; round < (check.quick() ? 1 : 2); ++round) {
      const Content content = check.NextContent();
      ForFamily(Family::kBayer8,
                [&](const Converter &converter) { check.Convert(converter, width, height, 0, content); });
    }
  });
}

void CheckAcpi8(Check &check) {
  const auto all = [&](std::uint32_t width, std::uint32_t height, Content content) {
    ForFamily(Family::kAcpi8,
              [&](const Converter &converter) { check.Convert(converter, width, height, 0, content); });
  };
  const bool quick = check.quick();
  for (std::uint32_t height = 4; height <= 14; height += 2) {
    for (std::uint32_t width = 4; width <= (quick ? 70u : 150u); width += 2) {
      for (int round = 0; round < (quick ? 1 : 4); ++round) all(width, height, check.NextContent());
    }
  }
  for (std::uint32_t width = quick ? 72 : 152; width <= 330; width += quick ? 10 : 2)
    for (const std::uint32_t height : {4u, 6u, 8u})
      for (int round = 0; round < (quick ? 1 : 2); ++round) all(width, height, check.NextContent());
  for (const Size &size : {Size{4, 300}, {6, 302}, {64, 40}, {130, 66}, {1000, 12}, {8198, 6}})
    all(size.first, size.second, check.NextContent());
  // Sizes without an adaptive form are demosaiced the standard way.
  for (std::uint32_t height = 0; height <= 9; ++height)
    for (std::uint32_t width = 0; width <= 40; ++width)
      if (width < 4 || height < 4 || width % 2 != 0 || height % 2 != 0)
        all(width, height, check.NextContent());
  all(131, 66, check.NextContent());
  all(130, 67, check.NextContent());
  all(1001, 3, check.NextContent());
  if (quick) return;
  for (const Size &size :
       {Size{1000, 40}, {8200, 6}, {8262, 6}, {16450, 6}, {16500, 4}, {8190, 10}, {4, 2000}})
    for (const Content content : {Content::kRandom, Content::kTies}) all(size.first, size.second, content);
}

// Arguments beyond the shifts themselves: only the low byte counts, and of it the count modulo 32.
constexpr std::array<std::uint32_t, 8> kOddShifts{0x102, 0x104, 0xFF,       0xFE,
                                                  0x80,  0x120, 0xFFFFFFFF, 0x80000006};

// Shifts in turn: the usual ones half of the time.
class Shifts {
 public:
  std::uint32_t Next() {
    constexpr std::array<std::uint32_t, 5> usual{2, 4, 8, 0, 6};
    const std::uint32_t turn = turn_++;
    if (turn % 2 == 0) return usual[turn / 2 % usual.size()];
    const std::uint32_t other = turn / 2 % (64 + kOddShifts.size());
    return other < 64 ? other : kOddShifts[other - 64];
  }

 private:
  std::uint32_t turn_ = 0;
};

void CheckMonoRgb16(Check &check) {
  Shifts shifts;
  ForRuns(check, [&](std::uint32_t width, std::uint32_t height) {
    ForFamily(Family::kMonoRgb16, [&](const Converter &converter) {
      check.Convert(converter, width, height, shifts.Next(), check.NextContent());
      if (converter.is_worker()) check.Convert(converter, width, height, shifts.Next(), Content::kRandom);
    });
  });
  const auto workers = [&](std::uint32_t shift) {
    ForFamily(Family::kMonoRgb16, [&](const Converter &converter) {
      if (converter.is_worker()) check.Convert(converter, 331, 1, shift, Content::kRandom);
    });
  };
  for (std::uint32_t shift = 0; shift < 64; ++shift) workers(shift);
  for (const std::uint32_t shift : kOddShifts) workers(shift);
}

void CheckBayer16(Check &check) {
  Shifts shifts;
  unsigned turn = 0;
  ForMosaics(check, [&](std::uint32_t width, std::uint32_t height) {
    const Content content = check.NextContent();
    const std::uint32_t shift = shifts.Next();
    ++turn;
    ForFamily(Family::kBayer16, [&](const Converter &converter) {
      // A wrapper is its worker with a fixed shift: a third of the sizes each are enough.
      if (converter.is_worker() || (turn + static_cast<unsigned>(converter.shift) / 2) % 3 == 0)
        check.Convert(converter, width, height, shift, content);
    });
  });
  const auto workers = [&](std::uint32_t shift) {
    ForFamily(Family::kBayer16, [&](const Converter &converter) {
      if (!converter.is_worker()) return;
      check.Convert(converter, 2, 2, shift, Content::kRandom);
      check.Convert(converter, 75, 4, shift, Content::kRandom);
      check.Convert(converter, 150, 3, shift, Content::kExtremes);
    });
  };
  for (std::uint32_t shift = 0; shift < 64; ++shift) workers(shift);
  for (const std::uint32_t shift : kOddShifts) workers(shift);
}

void CheckReverse(Check &check) {
  const auto one = [&](const Reference::ReverseFormat &format, std::uint32_t width, std::uint32_t height,
                       bool horizontal, bool vertical) {
    const std::size_t bytes = Reference::ReverseSourceBytes(format.unit, width, height, horizontal, vertical);
    const std::vector<std::uint8_t> source = MakeSamples8(check.random(), Content::kRandom, bytes, 1);
    char name[64];
    std::snprintf(name, sizeof name, "ReverseImg 0x%08X%s%s", format.code, horizontal ? " horizontal" : "",
                  vertical ? " vertical" : "");
    Case sample;
    sample.function = name;
    sample.width = width;
    sample.height = height;
    check.Compare(
        sample, source, Reference::FrameBytes(format.unit, width, height),
        [&](std::uint8_t *dst, const std::uint8_t *src) {
          Reference::Reverse(format.unit, dst, src, width, height, horizontal, vertical);
          return CAMUTL_STS_SUCCESS;
        },
        [&](std::uint8_t *dst, const std::uint8_t *src) {
          return ReverseImg(dst, src, format.code, width, height, horizontal, vertical);
        });
  };
  const auto all = [&](std::uint32_t width, std::uint32_t height, bool every_format) {
    Reference::Unit last = Reference::Unit::kByte6;
    for (const Reference::ReverseFormat &format : Reference::kReverseFormats) {
      // Formats of one unit share a kernel: one of them on every size, all of them on a few.
      if (!every_format && format.unit == last) continue;
      last = format.unit;
      for (const bool horizontal : {false, true})
        for (const bool vertical : {false, true}) one(format, width, height, horizontal, vertical);
    }
  };
  const bool quick = check.quick();
  for (const Size &size : {Size{0, 5}, {5, 0}, {1, 1}, {3, 1}, {7, 3}, {12, 4}, {65, 5}, {130, 3}})
    all(size.first, size.second, true);
  for (std::uint32_t width = 1; width <= 420; width += width > 140 && quick ? 3 : 1) {
    all(width, 1, false);
    all(width, 2 + width % 4, false);
  }
  for (const Size &size : {Size{1, 200}, {2, 201}, {5, 300}, {3001, 2}}) all(size.first, size.second, false);
  if (!quick)
    for (const Size &size : {Size{10007, 3}, {641, 97}}) all(size.first, size.second, false);
}

// All 2^24 combinations of U, Y and V, a plane of constant V at a time.
void CheckYuv8Exhaustive(Check &check) {
  std::vector<std::uint8_t> source(std::size_t{65536} * 4);
  for (const char *const name : {"ConvYUV444PToBGRA", "ConvYUV444PToBGR"}) {
    for (const Converter &converter : AllConverters()) {
      if (converter.name != std::string(name)) continue;
      for (int v = 0; v < 256; ++v) {
        for (std::size_t i = 0; i < 65536; ++i) {
          source[4 * i] = static_cast<std::uint8_t>(i >> 8);
          source[4 * i + 1] = static_cast<std::uint8_t>(i);
          source[4 * i + 2] = static_cast<std::uint8_t>(v);
        }
        Case sample;
        sample.function = std::string(name) + " V " + std::to_string(v);
        sample.width = 256;
        sample.height = 256;
        sample.pixel_bytes = converter.pixel_bytes();
        check.Single(
            sample, source, DestinationBytes(converter, 256, 256),
            [&](std::uint8_t *dst, const std::uint8_t *src) {
              Reference::Convert(converter, dst, src, 256, 256);
              return CAMUTL_STS_SUCCESS;
            },
            [&](std::uint8_t *dst, const std::uint8_t *src) { return converter(dst, src, 256, 256); });
      }
    }
  }
}

// All 65,536 samples at every shift.
void CheckShiftsExhaustive(Check &check) {
  std::vector<std::uint8_t> source(std::size_t{65536} * 2 * 3);
  for (std::size_t i = 0; i < 3 * std::size_t{65536}; ++i) {
    const std::size_t sample = (i / 3 + i % 3 * 21851) % 65536;  // three different orders for three channels
    source[2 * i] = static_cast<std::uint8_t>(sample);
    source[2 * i + 1] = static_cast<std::uint8_t>(sample >> 8);
  }
  for (const Converter &converter : AllConverters()) {
    if (converter.family != Family::kMonoRgb16 || !converter.is_worker()) continue;
    for (std::uint32_t shift = 0; shift < 64; ++shift) {
      Case sample;
      sample.function = converter.name;
      sample.width = converter.layout == Layout::kMono ? 3 * 65536 : 65536;
      sample.height = 1;
      sample.shift = shift;
      sample.pixel_bytes = converter.pixel_bytes();
      check.Single(
          sample, source, DestinationBytes(converter, sample.width, 1),
          [&](std::uint8_t *dst, const std::uint8_t *src) {
            Reference::Convert(converter, dst, src, sample.width, 1, shift);
            return CAMUTL_STS_SUCCESS;
          },
          [&](std::uint8_t *dst, const std::uint8_t *src) {
            return converter(dst, src, sample.width, 1, shift);
          });
    }
  }
}

}  // namespace

const std::vector<Plan> &AllPlans() {
  static const std::vector<Plan> plans{{"mono_rgb8", CheckMonoRgb8},
                                       {"yuv8", CheckYuv8},
                                       {"bayer8", CheckBayer8},
                                       {"acpi8", CheckAcpi8},
                                       {"mono_rgb16", CheckMonoRgb16},
                                       {"bayer16", CheckBayer16},
                                       {"reverse", CheckReverse},
                                       {"rows", CheckRows},
                                       {"unpack", CheckUnpack},
                                       {"packed_mono", CheckPackedMono},
                                       {"planes", CheckPlanes},
                                       {"half", CheckHalf},
                                       {"range", CheckRange},
                                       {"picture", CheckPicture},
                                       {"picture_exhaustive", CheckPictureExhaustive},
                                       {"colour", CheckColour},
                                       {"yuv_frames", CheckYuvFrames},
                                       {"yuv_frames_exhaustive", CheckYuvFramesExhaustive},
                                       {"yuv8_exhaustive", CheckYuv8Exhaustive},
                                       {"shifts_exhaustive", CheckShiftsExhaustive}};
  return plans;
}

}  // namespace KivoTest
