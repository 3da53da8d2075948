// SPDX-License-Identifier: Apache-2.0
// Compares the engine, running the kernels of one target, with the model of it.
//
// Exit code 0: all equal; 1: something differs; 2: wrong usage; 77: this build or this machine lacks the
// target.
#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "KivoCamUtl.h"
#include "frame/judge.h"
#include "frame/some_colour.h"
#include "support/dispatch_table.h"

namespace {

using KivoTest::Judge;
using KivoTest::Rows;
using KivoTest::Subject;
using KivoTest::Model::Format;

constexpr int kSkipped = 77;

Rows SomeRows(Judge &judge) {
  return static_cast<Rows>(judge.random().Below(static_cast<unsigned>(Rows::kCount)));
}

unsigned Modes(const Format &format) {
  return format.bayer() ? 5 : 1;
}

// A region inside the frame, whole groups of it.
void SetCrop(Judge &judge, const Subject &subject, kivo_options &options) {
  const std::uint32_t group = subject.format->group_pixels();
  const std::uint32_t groups = subject.width / group;
  if (groups == 0) return;
  const std::uint32_t first = judge.random().Below(groups);
  options.crop_x = first * group;
  options.crop_width = (1 + judge.random().Below(groups - first)) * group;
  options.crop_y = judge.random().Below(subject.height);
  options.crop_height = 1 + judge.random().Below(subject.height - options.crop_y);
  // Regions of an odd size have no adaptive demosaic.
  if (options.bayer == KIVO_BAYER_ACPI && judge.random().Below(4) != 0) {
    options.crop_width = std::max(options.crop_width & ~1u, 1u);
    options.crop_height = std::max(options.crop_height & ~1u, 1u);
  }
}

// What is drawn once for all pictures of a frame: they share the colours.
struct Draw {
  kivo_options options = KIVO_OPTIONS_INIT;
  bool range = false;
  std::shared_ptr<const KivoTest::ColourSettings> colour;
};

Draw SomeDraw(Judge &judge, const Subject &subject, unsigned bayer) {
  KivoTest::Random &random = judge.random();
  Draw draw;
  draw.options.bayer = bayer;
  if (random.Below(3) == 0) SetCrop(judge, subject, draw.options);
  draw.range = random.Below(4) == 0;
  const std::uint32_t top = (1u << subject.format->plain_depth()) - 1;
  draw.options.range_low = random.Below(top + 1);
  draw.options.range_high =
      random.Below(8) == 0 ? random.Below(70000) : draw.options.range_low + random.Below(top + 1);
  if (random.Below(16) == 0) draw.options.range_low = static_cast<std::uint32_t>(random.Next());
  if (!draw.range && random.Below(3) == 0)
    draw.colour = KivoTest::SomeColour(random, subject.format->plain_depth());
  return draw;
}

// The rest of the options, at random; now and then ones that the plan has to refuse.
kivo_options Finish(Judge &judge, const Subject &subject, const Draw &draw, unsigned pixels, unsigned bayer) {
  KivoTest::Random &random = judge.random();
  kivo_options options = draw.options;
  options.pixels = pixels;
  options.bayer = bayer;
  options.hint = random.Below(3);
  options.flags = random.Below(4);
  const bool sixteen = pixels >= KIVO_BGRA16 && pixels <= KIVO_GRAY16;
  const bool daring = random.Below(64) == 0;
  if (sixteen || daring) options.levels = random.Below(2);
  if (draw.range && ((!sixteen && !subject.format->yuv()) || daring)) options.flags |= KIVO_WITH_RANGE;
  const bool may_shift = pixels <= KIVO_GRAY8 && subject.format->plain_depth() > 8 && !draw.range;
  options.shift = random.Below(16);
  const bool coloured =
      draw.colour != nullptr && ((pixels != KIVO_SAMPLES && !subject.format->yuv()) || daring);
  if (coloured) options.colour = &draw.colour->colour;
  if ((may_shift && !coloured && random.Below(2) == 0) || daring) options.flags |= KIVO_WITH_SHIFT;
  return options;
}

// Every picture and demosaic of a frame, or one in `sparse` of them.
void TryAll(Judge &judge, Subject &subject, unsigned sparse) {
  for (unsigned bayer = 0; bayer < Modes(*subject.format); ++bayer) {
    const Draw draw = SomeDraw(judge, subject, bayer);
    for (unsigned pixels = KIVO_BGRA8; pixels <= KIVO_SAMPLES; ++pixels) {
      if (sparse > 1 && judge.random().Below(sparse) != 0) continue;
      const unsigned mode = subject.format->bayer() ? bayer : judge.random().Below(5);
      judge.Try(subject, Finish(judge, subject, draw, pixels, mode), SomeRows(judge));
    }
  }
  if (subject.width % subject.format->group_pixels() == 0 && judge.random().Below(4) == 0) {
    const Draw draw = SomeDraw(judge, subject, KIVO_BAYER_OFF);
    judge.TryRange(subject, draw.options);
  }
}

// Every size from 1 x 1 to 9 x 9.
void SmallSizes(Judge &judge) {
  for (unsigned round = 0; round < (judge.quick() ? 1u : 3u); ++round)
    for (const Format &format : KivoTest::Model::Formats())
      for (std::uint32_t height = 1; height <= 9; ++height)
        for (std::uint32_t width = 1; width <= 9; ++width) {
          Subject subject =
              judge.MakeSubject(format, width, height, SomeRows(judge), judge.random().Below(2) == 0);
          TryAll(judge, subject, judge.quick() ? 16 : 1);
        }
}

// Everything that is counted out with everything else, at a few sizes: a sixth of all combinations, evenly.
void Product(Judge &judge) {
  static constexpr std::array<std::array<std::uint32_t, 2>, 3> kSizes{{{8, 6}, {12, 5}, {36, 4}}};
  for (const Format &format : KivoTest::Model::Formats())
    for (const auto &size : kSizes)
      for (unsigned rows = 0; rows < static_cast<unsigned>(Rows::kCount); ++rows)
        for (const bool big_endian : {false, true}) {
          if (big_endian && !format.words()) continue;
          const std::uint32_t odd = format.yuv() || size[0] == 8 ? 0 : judge.random().Below(2);
          Subject subject =
              judge.MakeSubject(format, size[0] + odd, size[1], static_cast<Rows>(rows), big_endian);
          for (unsigned crop = 0; crop < 3; ++crop)
            for (unsigned bayer = 0; bayer < Modes(format); ++bayer)
              for (unsigned change = 0; change < 3; ++change) {  // none, range, shift or levels
                Draw draw = SomeDraw(judge, subject, bayer);
                draw.range = change == 1;
                if (draw.range) draw.colour = nullptr;
                draw.options.crop_x = draw.options.crop_y = 0;
                draw.options.crop_width = draw.options.crop_height = 0;
                if (crop != 0) SetCrop(judge, subject, draw.options);
                for (unsigned pixels = KIVO_BGRA8; pixels <= KIVO_SAMPLES; ++pixels)
                  for (unsigned turn = 0; turn < 4; ++turn)
                    for (unsigned out = 0; out < static_cast<unsigned>(Rows::kCount); ++out) {
                      if (judge.random().Below(judge.quick() ? 64 : 6) != 0) continue;
                      kivo_options options = Finish(judge, subject, draw, pixels, bayer);
                      const bool sixteen = pixels >= KIVO_BGRA16 && pixels <= KIVO_GRAY16;
                      options.flags = (options.flags & ~3u) | turn;
                      options.levels = sixteen && change == 2 ? 1 : 0;
                      if (change != 2) options.flags &= ~static_cast<unsigned>(KIVO_WITH_SHIFT);
                      judge.Try(subject, options, static_cast<Rows>(out));
                    }
              }
        }
}

// Every width around the vectors of any target.
void Widths(Judge &judge) {
  for (const Format &format : KivoTest::Model::Formats()) {
    const std::uint32_t group = format.group_pixels();
    for (std::uint32_t width = 10; width <= 200; width += judge.quick() ? 1 + judge.random().Below(16) : 1) {
      const std::uint32_t height = 1 + judge.random().Below(6);
      Subject subject = judge.MakeSubject(format, (width + group - 1) / group * group, height,
                                          SomeRows(judge), judge.random().Below(2) == 0);
      TryAll(judge, subject, judge.quick() ? 12 : 3);
    }
  }
}

void Large(Judge &judge) {
  const std::vector<Format> &formats = KivoTest::Model::Formats();
  const auto format = [&]() -> const Format & {
    return formats[judge.random().Below(static_cast<std::uint32_t>(formats.size()))];
  };
  const auto some = [&](const Format &of, std::uint32_t width, std::uint32_t height, unsigned sparse) {
    const std::uint32_t group = of.group_pixels();
    Subject subject = judge.MakeSubject(of, (width + group - 1) / group * group, height, SomeRows(judge),
                                        judge.random().Below(2) == 0);
    TryAll(judge, subject, sparse);
  };
  for (unsigned i = 0; i < (judge.quick() ? 12u : 600u); ++i)
    some(format(), 1 + judge.random().Below(700), 1 + judge.random().Below(40), 8);
  for (unsigned i = 0; i < (judge.quick() ? 2u : 60u); ++i) {
    some(format(), 8193 + judge.random().Below(400), 2 + judge.random().Below(5), 8);
    some(format(), 16385 + judge.random().Below(4000), 2 + judge.random().Below(3), 8);
    some(format(), 2047 + judge.random().Below(9000), 1, 8);
    some(format(), 1 + judge.random().Below(5), 500 + judge.random().Below(3000), 8);
  }
}

// Frames as the functions of KivoCamUtl.h take them: their bytes too.
void Converters(Judge &judge) {
  for (const KivoTest::DispatchRow &row : KivoTest::kDispatchRows) {
    const Format &format = *KivoTest::Model::FormatOfCode(row.code);
    const std::uint32_t group = format.group_pixels();
    for (unsigned i = 0; i < (judge.quick() ? 40u : 400u); ++i) {
      const std::uint32_t width = (1 + judge.random().Below(i < 20 ? 9 : 150) + group - 1) / group * group;
      Subject subject = judge.MakeSubject(format, width, 1 + judge.random().Below(12), Rows::kPacked, false);
      kivo_options options = KIVO_OPTIONS_INIT;
      options.pixels = judge.random().Below(2) == 0 ? KIVO_BGRA8 : KIVO_BGR8;
      for (const kivo_bayer bayer : {KIVO_BAYER_STANDARD, KIVO_BAYER_BEST, KIVO_BAYER_OFF}) {
        options.bayer = bayer;
        judge.Try(subject, options, SomeRows(judge));
      }
    }
  }
}

// The adaptive demosaic where directions tie and sums are negative, which other frames seldom have.
void Ties(Judge &judge) {
  for (const Format &format : KivoTest::Model::Formats()) {
    if (!format.bayer()) continue;
    for (unsigned i = 0; i < (judge.quick() ? 3u : 30u); ++i) {
      Subject subject;
      do {
        subject = judge.MakeSubject(format, 64 + 2 * judge.random().Below(40), 40, SomeRows(judge), false);
      } while (subject.content != KivoTest::Content::kDark);
      kivo_options options = KIVO_OPTIONS_INIT;
      options.bayer = KIVO_BAYER_ACPI;
      for (const kivo_pixels pixels : {KIVO_BGRA8, KIVO_BGR16}) {
        options.pixels = pixels;
        judge.Try(subject, options, SomeRows(judge));
      }
    }
  }
}

void Matrices(Judge &judge) {
  for (const std::uint32_t code : {0x02180020u, 0x0218003Au, 0x0218003Du, 0x02180040u})
    judge.TryMatrix(*KivoTest::Model::FormatOfCode(code));
}

// The table of the engine and that of the model have the same formats, said in the same words.
void Table(Judge &judge) {
  const std::vector<Format> &formats = KivoTest::Model::Formats();
  if (kivo_format_count() != formats.size())
    judge.Fail("table",
               std::to_string(kivo_format_count()) + " formats and not " + std::to_string(formats.size()));
  for (const Format &format : formats) {
    const kivo_format *const known = kivo_format_of_code(format.code);
    if (known == nullptr) {
      judge.Fail(format.name + " ", "is not in the table");
      continue;
    }
    const auto same = [&](const char *what, std::uint64_t got, std::uint64_t wanted) {
      if (got != wanted)
        judge.Fail(format.name + " ," + what, std::to_string(got) + " and not " + std::to_string(wanted));
    };
    if (format.name != known->name) judge.Fail(format.name + " ", std::string("is called ") + known->name);
    same("code", known->code, format.code);
    same("family", known->family, format.family);
    same("order", known->order, format.order);
    same("depth", known->depth, format.depth);
    same("packing", known->packing, format.packing);
    same("plain", known->plain, format.plain);
    same("plain depth", known->plain_depth, format.plain_depth());
    same("plain bytes", known->plain_bytes, format.plain_bytes());
    same("channels", known->channels, format.channels());
    if (format.yuv()) same("group", known->group_pixels, format.group_pixels());
    same("group bytes", std::uint64_t{known->group_bytes} * format.planes() * 8,
         std::uint64_t{known->group_pixels} * format.pixel_bits());
    for (const bool columns : {false, true})
      for (const bool rows : {false, true})
        same("exchanged", kivo_format_exchanged(format.code, columns, rows),
             KivoTest::Model::Exchanged(format, columns, rows));
    for (std::uint32_t width = 0; width <= 40; ++width) {
      const std::uint32_t w = width <= 30 ? width : ~std::uint32_t{0} - (width - 31);
      same("row bytes", kivo_row_bytes(format.code, w),
           static_cast<std::uint64_t>(KivoTest::Model::RowBytes(format, w)));
      for (const std::uint32_t height : {0u, 1u, 2u, 3u, 7u, 65536u, 0x7FFFFFFFu, 0xFFFFFFFFu}) {
        const KivoTest::Model::Wide bytes = KivoTest::Model::FrameBytes(format, w, height);
        same("frame bytes", kivo_frame_bytes(format.code, w, height),
             bytes > UINT64_MAX ? UINT64_MAX : static_cast<std::uint64_t>(bytes));
      }
    }
  }
}

struct Group {
  const char *name;
  void (*run)(Judge &judge);
};
constexpr Group kGroups[] = {{"table", Table},   {"small", SmallSizes}, {"product", Product},
                             {"widths", Widths}, {"large", Large},      {"converters", Converters},
                             {"ties", Ties},     {"matrices", Matrices}};

struct Options {
  std::string group;
  std::string target;
  unsigned long long seed = 1;
  bool quick = false;
};

int Usage() {
  std::fputs("usage: frame_model_test [--group=NAME] [--target=NAME] [--seed=N] [--quick]\n", stderr);
  return 2;
}

bool Parse(int argc, char **argv, Options &options) {
  for (int i = 1; i < argc; ++i) {
    const std::string argument = argv[i];
    const std::size_t equals = argument.find('=');
    const std::string name = argument.substr(0, equals);
    const std::string value = equals == std::string::npos ? "" : argument.substr(equals + 1);
    if (name == "--group") {
      options.group = value;
    } else if (name == "--target") {
      options.target = value;
    } else if (name == "--seed") {
      options.seed = std::strtoull(value.c_str(), nullptr, 0);
    } else if (argument == "--quick") {
      options.quick = true;
    } else {
      return false;
    }
  }
  return true;
}

std::size_t RunGroups(const Options &options, Kivo::Target target, unsigned &matched) {
  std::size_t failures = 0;
  for (const Group &group : kGroups) {
    if (!options.group.empty() && options.group != group.name) continue;
    ++matched;
    const auto start = std::chrono::steady_clock::now();
    Judge judge(target, options.seed, options.quick);
    group.run(judge);
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
    std::printf(
        "%s.%s seed %llu: %zu calls (%zu refused as they have to be, %zu compared with a converter too), "
        "%zu wrong, %.1f s\n",
        group.name, Kivo::TargetName(target), options.seed, judge.runs(), judge.refusals(), judge.pairs(),
        judge.failures(), seconds.count());
    failures += judge.failures();
  }
  return failures;
}

}  // namespace

int main(int argc, char **argv) {
  Options options;
  if (!Parse(argc, argv, options)) return Usage();
  KivoTest::InstallCrashReport();
  std::setvbuf(stdout, nullptr, _IOLBF, 0);
  PrepareLUT();

  bool known = false, ran = false;
  unsigned matched = 0;
  std::size_t failures = 0;
  for (unsigned i = 0; i < Kivo::c_uiTargets; ++i) {
    const Kivo::Target target = static_cast<Kivo::Target>(i);
    if (!options.target.empty() && options.target != Kivo::TargetName(target)) continue;
    known = true;
    if (!Kivo::PinTarget(target)) {
      std::printf("%s skipped: not in this build or not on this processor\n", Kivo::TargetName(target));
      continue;
    }
    ran = true;
    failures += RunGroups(options, target, matched);
  }
  if (!known || (ran && matched == 0)) return Usage();
  if (!ran) return kSkipped;
  return failures == 0 ? 0 : 1;
}
