// SPDX-License-Identifier: Apache-2.0
#include "frame/judge.h"

#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>

#include "KivoCamUtl.h"
#include "support/dispatch_table.h"

namespace KivoTest {
namespace {

constexpr std::size_t kArenaBytes = std::size_t{3} << 20;
constexpr std::size_t kMargin = 192;  // bytes looked at on each side of a picture
constexpr std::size_t kMaxReports = 40;
constexpr std::size_t kMaxScratch = std::size_t{256} << 10;

const Case *g_running = nullptr;

void ReportCrash(int signal_number) {
  char text[700];
  const int length = std::snprintf(text, sizeof text, "signal %d in %s\n", signal_number,
                                   g_running == nullptr ? "no call" : g_running->Text().c_str());
  if (length > 0) {
    const ssize_t written =
        write(STDERR_FILENO, text, std::min(sizeof text - 1, static_cast<std::size_t>(length)));
    static_cast<void>(written);
  }
  _exit(1);
}

std::string Number(std::uint64_t value) {
  return std::to_string(value);
}

std::string PlaceText(Placement where) {
  return (where.edge == Placement::Edge::kEnd ? " end-" : " start+") + Number(where.gap);
}

const char *PixelsName(std::uint32_t pixels) {
  static constexpr const char *kNames[] = {"BGRA8", "BGR8",   "RGBA8", "RGB8",   "GRAY8",  "BGRA16",
                                           "BGR16", "RGBA16", "RGB16", "GRAY16", "SAMPLES"};
  return pixels < std::size(kNames) ? kNames[pixels] : "?";
}

const char *BayerName(std::uint32_t bayer) {
  static constexpr const char *kNames[] = {"standard", "ACPI", "best", "off", "half"};
  return bayer < std::size(kNames) ? kNames[bayer] : "?";
}

std::string ColourText(const kivo_colour *colour) {
  if (colour == nullptr) return "";
  std::string text = ", colour";
  const auto list = [&](const char *name, const double *numbers, std::size_t count) {
    text += std::string(" ") + name;
    char number[40];
    for (std::size_t i = 0; i < count; ++i) {
      std::snprintf(number, sizeof number, " %.17g", numbers[i]);
      text += number;
    }
  };
  list("black", colour->black, 4);
  list("gain", colour->gain, 3);
  list("matrix", colour->matrix, 9);
  list("low", &colour->low, 1);
  list("high", &colour->high, 1);
  text += " tone " + std::to_string(colour->tone) + " table " + std::to_string(colour->table_size);
  list("gamma", &colour->gamma, 1);
  return text;
}

struct FreePlan {
  void operator()(kivo_plan *plan) const { kivo_plan_free(plan); }
};
using PlanOwner = std::unique_ptr<kivo_plan, FreePlan>;

// Whether two plans of one frame show the same region in the same colours.
bool SameColours(const kivo_options &a, const kivo_options &b) {
  const auto range = [](const kivo_options &o) { return o.flags & KIVO_WITH_RANGE; };
  if (range(a) != range(b) || a.colour != nullptr || b.colour != nullptr) return false;
  if (range(a) != 0 && (a.range_low != b.range_low || a.range_high != b.range_high)) return false;
  return a.bayer == b.bayer && a.crop_x == b.crop_x && a.crop_y == b.crop_y && a.crop_width == b.crop_width &&
         a.crop_height == b.crop_height;
}

// What a converter writes for a whole frame, if it takes such frames; empty if none does.
std::vector<std::uint8_t> Converted(const Case &sample) {
  const Subject &subject = *sample.subject;
  const kivo_options &o = sample.options;
  if (subject.stride != 0 || subject.big_endian || o.flags != 0 || o.crop_width != 0) return {};
  if (o.pixels != KIVO_BGRA8 && o.pixels != KIVO_BGR8) return {};
  if (o.colour != nullptr && !Model::Neutral(*o.colour)) return {};
  if (o.bayer == KIVO_BAYER_HALF && subject.format->bayer()) return {};
  const bool acpi = o.bayer == KIVO_BAYER_ACPI || o.bayer == KIVO_BAYER_BEST;
  if (acpi && subject.format->bayer() && subject.format->depth > 8) return {};
  SetBayerConvMode(acpi ? BAYER_CONV_ACPI : BAYER_CONV_STANDARD);
  const bool demosaic = o.bayer != KIVO_BAYER_OFF;
  const BgraConverter bgra = GetBGRAConverter(subject.format->code, demosaic);
  const BgrConverter bgr = GetBGRConverter(subject.format->code, demosaic);
  if (bgra == nullptr || bgr == nullptr) return {};
  const bool three = o.pixels == KIVO_BGR8;
  std::vector<std::uint8_t> source = subject.bytes;
  const std::size_t group = subject.format->group.size();
  const std::size_t step = group == 3 ? 4 : group == 4 && three ? 5 : group;
  if (step != group) {  // two converters want a byte more behind each group
    source.assign(subject.bytes.size() / group * step, 0);
    for (std::size_t i = 0; i < subject.bytes.size() / group; ++i)
      std::memcpy(source.data() + i * step, subject.bytes.data() + i * group, group);
  }
  const std::size_t pixels = std::size_t{subject.width} * subject.height;
  std::vector<std::uint8_t> out(pixels * (three ? 3 : 4));
  if (three) {
    if (bgr(out.data(), source.data(), subject.width, subject.height) != CAMUTL_STS_SUCCESS) return {};
  } else {
    std::vector<std::uint32_t> words(pixels);
    if (bgra(words.data(), source.data(), subject.width, subject.height) != CAMUTL_STS_SUCCESS) return {};
    std::memcpy(out.data(), words.data(), out.size());
  }
  return out;
}

}  // namespace

void InstallCrashReport() {
  struct sigaction action = {};
  action.sa_handler = ReportCrash;
  for (const int number : {SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGABRT}) sigaction(number, &action, nullptr);
}

std::string Case::Text() const {
  char text[640];
  const kivo_options &o = options;
  std::snprintf(text, sizeof text,
                "%s (0x%08X) %ux%u frame stride %td%s%s, %s bayer %s levels %u hint %u flags %u shift %u "
                "range %u..%u crop %u,%u %ux%u, picture stride %td, way %u, content %s%s, picture%s",
                subject->format->name.c_str(), subject->format->code, subject->width, subject->height,
                subject->stride, subject->big_endian ? " big-endian" : "", PlaceText(subject->place).c_str(),
                PixelsName(o.pixels), BayerName(o.bayer), o.levels, o.hint, o.flags, o.shift, o.range_low,
                o.range_high, o.crop_x, o.crop_y, o.crop_width, o.crop_height, stride, way,
                ContentName(subject->content), subject->nominal ? " nominal" : "", PlaceText(place).c_str());
  return text + ColourText(o.colour);
}

Judge::Judge(Kivo::Target target, std::uint64_t seed, bool quick)
    : target_(target),
      random_(seed),
      quick_(quick),
      src_(kArenaBytes),
      dst_(kArenaBytes),
      scratch_(kMaxScratch),
      fill_(2 * kArenaBytes),
      around_(2 * kMargin) {
  for (std::uint8_t &byte : fill_) byte = static_cast<std::uint8_t>(random_.Next());
  for (std::uint8_t &byte : around_) byte = static_cast<std::uint8_t>(random_.Next());
}

void Judge::Fail(const std::string &about, const std::string &what) {
  ++failures_;
  // One report for each format, picture and demosaic: a fault shows in thousands of sizes.
  const std::string key =
      about.substr(0, about.find(' ')) + about.substr(std::min(about.size(), about.find(',')), 24);
  if (!reported_.insert(key).second || reported_.size() > kMaxReports) return;
  std::fprintf(stderr, "FAIL %s: %s\n", about.c_str(), what.c_str());
}

Placement Judge::SomePlace() {
  const std::uint32_t pick = random_.Below(5);
  const std::size_t gap = pick < 3 ? 0 : 1 + random_.Below(66);
  return {pick % 2 == 0 ? Placement::Edge::kEnd : Placement::Edge::kStart, gap};
}

std::ptrdiff_t Judge::Stride(Rows rows, std::size_t row_bytes) {
  if (rows == Rows::kPacked) return 0;
  const std::size_t pad = random_.Below(3) == 0 ? 0 : random_.Below(3) == 0 ? 64 : random_.Below(71);
  const auto stride = static_cast<std::ptrdiff_t>(row_bytes + pad);
  return rows == Rows::kPadded ? stride : -stride;
}

Subject Judge::MakeSubject(const Model::Format &format, std::uint32_t width, std::uint32_t height, Rows rows,
                           bool big_endian) {
  Subject subject;
  subject.format = &format;
  subject.width = width;
  subject.height = height;
  subject.big_endian = big_endian && format.words();
  subject.stride = Stride(rows, static_cast<std::size_t>(Model::RowBytes(format, width)));
  subject.content = static_cast<Content>(random_.Below(static_cast<unsigned>(Content::kCount)));
  subject.nominal = random_.Below(2) == 0;
  subject.place = SomePlace();
  subject.bytes.resize(static_cast<std::size_t>(Model::FrameExtent(format, width, height, subject.stride)));
  for (std::uint8_t &byte : subject.bytes) byte = static_cast<std::uint8_t>(random_.Next());
  const Model::View view{&format, width, height, subject.bytes.data(), subject.stride, subject.big_endian};
  if (width % format.group_pixels() != 0) return subject;
  if (subject.content != Content::kRandom || subject.nominal) {
    const std::uint32_t each = format.yuv() ? 3 : format.channels();
    const std::size_t count = std::size_t{width} * height * each;
    const bool wide = format.depth > 8;
    const std::vector<std::uint8_t> samples =
        wide ? MakeSamples16(random_, subject.content, count, std::size_t{width} * each)
             : MakeSamples8(random_, subject.content, count, std::size_t{width} * each);
    const std::uint32_t mask = subject.nominal ? (1u << format.plain_depth()) - 1 : 65535;
    std::size_t i = 0;
    for (std::uint32_t y = 0; y < height; ++y)
      for (std::uint32_t x = 0; x < width; ++x)
        for (unsigned channel = 0; channel < each; ++channel, ++i) {
          const std::uint32_t value =
              wide ? samples[2 * i] | static_cast<std::uint32_t>(samples[2 * i + 1]) << 8 : samples[i];
          Model::Put(view, y, x, channel, value & mask);
        }
  }
  subject.plain = Model::Decode(view);
  return subject;
}

// The YCbCr matrices may differ from the real numbers by one: what the baseline makes of the region is held
// against them here, and is what every other picture has to show exactly.
void Judge::Measured(Subject &subject, const Model::Plan &plan) {
  kivo_options options = plan.options;
  options.pixels = KIVO_RGB8;
  options.levels = KIVO_LEVELS_OWN;
  options.flags = 0;
  kivo_plan *made = nullptr;
  Kivo::PinTarget(Kivo::Target::Baseline);
  options.byte_order = subject.big_endian ? KIVO_BIG_ENDIAN : KIVO_LITTLE_ENDIAN;
  kivo_status status = kivo_plan_make(subject.format->code, subject.width, subject.height, &options, &made);
  const PlanOwner owner(made);
  std::vector<std::uint8_t> rgb(3 * subject.colours.pixels.size());
  const kivo_frame frame{subject.bytes.data(), subject.bytes.size(), subject.stride};
  const kivo_picture picture{rgb.data(), rgb.size(), 0};
  if (status == KIVO_OK) status = kivo_run(made, &frame, &picture, nullptr, 0);
  Kivo::PinTarget(target_);
  const Case sample{&subject, options, 0, {}, 9};
  if (status != KIVO_OK) return Fail(sample.Text(), "no baseline: " + std::string(kivo_message(status)));
  for (std::size_t i = 0; i < rgb.size(); ++i) {
    std::uint16_t &value = subject.colours.pixels[i / 3][i % 3];
    if (std::abs(int{value} - int{rgb[i]}) > 1)
      return Fail(sample.Text(), "pixel " + Number(i / 3) + " colour " + Number(i % 3) + " is " +
                                     Number(rgb[i]) + " and should be " + Number(value) + " or one from it");
    value = rgb[i];
  }
}

const Model::Colours &Judge::ColoursOf(Subject &subject, const Model::Plan &plan) {
  if (subject.has_colours && SameColours(subject.colours_of, plan.options)) return subject.colours;
  subject.colours = Model::MakeColours(plan, subject.plain);
  subject.colours_of = plan.options;
  subject.has_colours = true;
  if (subject.format->yuv() && subject.format->matrix != Model::Matrix::kInteger) Measured(subject, plan);
  return subject.colours;
}

bool Judge::CheckPlan(const Case &sample, const Model::Plan &plan, const kivo_plan *made) {
  const auto same = [&](const char *what, std::uint64_t got, std::uint64_t wanted) {
    if (got == wanted) return true;
    Fail(sample.Text(), std::string(what) + " is " + Number(got) + " and should be " + Number(wanted));
    return false;
  };
  if (kivo_plan_scratch(made) > kMaxScratch) return same("scratch", kivo_plan_scratch(made), kMaxScratch);
  return same("width", kivo_plan_width(made), plan.width) &&
         same("height", kivo_plan_height(made), plan.height) &&
         same("row bytes", kivo_plan_row_bytes(made), static_cast<std::uint64_t>(plan.row_bytes)) &&
         same("picture bytes", kivo_plan_picture_bytes(made),
              static_cast<std::uint64_t>(plan.picture_bytes())) &&
         same("samples format", kivo_plan_samples_format(made), plan.samples_format) &&
         same("bayer", kivo_plan_bayer(made), plan.bayer);
}

void Judge::Try(Subject &subject, const kivo_options &asked, Rows rows) {
  Case sample;
  sample.subject = &subject;
  sample.options = asked;
  sample.options.byte_order = subject.big_endian ? KIVO_BIG_ENDIAN : KIVO_LITTLE_ENDIAN;
  const Model::Plan plan =
      Model::MakePlan(subject.format->code, subject.width, subject.height, &sample.options);
  ++runs_;
  g_running = &sample;
  kivo_plan *made = nullptr;
  const kivo_status status =
      kivo_plan_make(subject.format->code, subject.width, subject.height, &sample.options, &made);
  const PlanOwner owner(made);
  if (status != plan.status) {
    Fail(sample.Text(), "the plan is answered " + Number(static_cast<unsigned>(status)) + " and should be " +
                            Number(static_cast<unsigned>(plan.status)));
  } else if (status != KIVO_OK) {
    ++refusals_;
    if (made != nullptr) Fail(sample.Text(), "a plan comes with a refusal");
  } else if (CheckPlan(sample, plan, made)) {
    sample.place = SomePlace();
    sample.stride = Stride(rows, static_cast<std::size_t>(plan.row_bytes));
    sample.way = random_.Below(6);
    const std::vector<std::uint8_t> expected = sample.options.pixels == KIVO_SAMPLES
                                                   ? Model::MakeSamples(plan, subject.plain)
                                                   : Model::MakePicture(plan, ColoursOf(subject, plan));
    RunAndCompare(sample, plan, made, expected);
    if (random_.Below(2) == 0) CompareWithConverter(sample, expected);
  }
  g_running = nullptr;
}

kivo_status Judge::RunIt(const Case &sample, const Model::Plan &plan, const kivo_plan *made,
                         const kivo_frame &frame, const kivo_picture &picture) {
  const std::size_t needed = kivo_plan_scratch(made);
  const Placement place{sample.way % 2 == 0 ? Placement::Edge::kEnd : Placement::Edge::kStart, 0};
  // Scratch of the very size, filled: what it holds is nobody's business.
  std::uint8_t *const scratch = scratch_.Writable(scratch_.Offset(needed, place));
  if (sample.way >= 2) std::memcpy(scratch, fill_.data() + random_.Below(kArenaBytes), needed);
  if (sample.way < 2) return kivo_run(made, &frame, &picture, nullptr, 0);
  if (sample.way < 4) return kivo_run(made, &frame, &picture, scratch, needed);
  // In three parts, the last first.
  const std::uint32_t a = random_.Below(plan.height + 1), b = a + random_.Below(plan.height - a + 1);
  kivo_status status = kivo_run_rows(made, &frame, &picture, b, plan.height - b, scratch, needed);
  if (status == KIVO_OK) status = kivo_run_rows(made, &frame, &picture, 0, a, nullptr, 0);
  if (status == KIVO_OK) status = kivo_run_rows(made, &frame, &picture, a, b - a, scratch, needed);
  return status;
}

void Judge::RunAndCompare(const Case &sample, const Model::Plan &plan, const kivo_plan *made,
                          const std::vector<std::uint8_t> &expected) {
  const Subject &subject = *sample.subject;
  const auto row = static_cast<std::size_t>(plan.row_bytes);
  const std::size_t step = sample.stride == 0 ? row : static_cast<std::size_t>(std::abs(sample.stride));
  const std::size_t size = step * (plan.height - 1) + row;
  const std::size_t offset = dst_.Offset(size, sample.place);
  const std::size_t before = std::min(kMargin, offset);
  const std::size_t after = std::min(kMargin, dst_.capacity() - offset - size);
  const std::uint8_t *const fill = fill_.data() + random_.Below(static_cast<std::uint32_t>(kArenaBytes));
  std::memcpy(dst_.Writable(offset - before), around_.data(), before);
  std::memcpy(dst_.Writable(offset), fill, size);
  std::memcpy(dst_.Writable(offset + size), around_.data() + kMargin, after);
  const std::size_t src_offset = src_.Offset(subject.bytes.size(), subject.place);
  std::memcpy(src_.Writable(src_offset), subject.bytes.data(), subject.bytes.size());

  Kivo::PinStreamingThreshold(random_.Below(4) == 0 ? 0 : std::numeric_limits<std::size_t>::max());
  const kivo_frame frame{src_.ReadOnly(src_offset), subject.bytes.size(), subject.stride};
  const kivo_picture picture{dst_.Writable(offset), size, sample.stride};
  const kivo_status status = RunIt(sample, plan, made, frame, picture);
  if (status != KIVO_OK)
    return Fail(sample.Text(), std::string("run is answered ") + Number(static_cast<unsigned>(status)));

  if (std::memcmp(dst_.ReadOnly(offset - before), around_.data(), before) != 0)
    return Fail(sample.Text(), "bytes in front of the picture changed");
  if (std::memcmp(dst_.ReadOnly(offset + size), around_.data() + kMargin, after) != 0)
    return Fail(sample.Text(), "bytes behind the picture changed");
  for (std::uint32_t y = 0; y < plan.height; ++y) {
    const std::size_t line = sample.stride < 0 ? plan.height - 1 - y : y;
    const std::uint8_t *const got = dst_.ReadOnly(offset + line * step);
    const std::uint8_t *const wanted = expected.data() + y * row;
    if (std::memcmp(got, wanted, row) != 0) {
      const auto x = static_cast<std::size_t>(std::mismatch(wanted, wanted + row, got).first - wanted);
      return Fail(sample.Text(), "row " + Number(y) + " byte " + Number(x) + " (of " + Number(row) + ") is " +
                                     Number(got[x]) + " and should be " + Number(wanted[x]) + "; was " +
                                     Number(fill[line * step + x]));
    }
    const std::size_t gap = line + 1 < plan.height ? step - row : 0;
    if (std::memcmp(got + row, fill + line * step + row, gap) != 0)
      return Fail(sample.Text(), "bytes between rows " + Number(y) + " changed");
  }
}

void Judge::CompareWithConverter(const Case &sample, const std::vector<std::uint8_t> &expected) {
  std::vector<std::uint8_t> converted = Converted(sample);
  if (converted.empty()) return;
  ++pairs_;
  const Subject &subject = *sample.subject;
  const bool leaves_one =
      subject.format->code == CAMUTL_PFNC_BAYER_BG8 && sample.options.pixels == KIVO_BGRA8 &&
      (sample.options.bayer == KIVO_BAYER_ACPI || sample.options.bayer == KIVO_BAYER_BEST) &&
      subject.width % 2 == 0 && subject.height % 2 == 0 && subject.width >= 4 && subject.height >= 4;
  const std::size_t left = (std::size_t{subject.width} * 2 - 1) * 4 + 2;
  if (leaves_one) converted[left] = expected[left];
  if (converted != expected) Fail(sample.Text(), "the function of KivoCamUtl.h gives other bytes");
}

void Judge::TryRange(const Subject &subject, const kivo_options &asked) {
  kivo_options options = asked;
  options.byte_order = subject.big_endian ? KIVO_BIG_ENDIAN : KIVO_LITTLE_ENDIAN;
  const Model::Plan plan = Model::MakePlan(subject.format->code, subject.width, subject.height, &options);
  kivo_plan *made = nullptr;
  const kivo_status status =
      kivo_plan_make(subject.format->code, subject.width, subject.height, &options, &made);
  const PlanOwner owner(made);
  if (status != KIVO_OK || plan.status != KIVO_OK) return;
  const Case sample{&subject, options, 0, {}, 8};
  g_running = &sample;
  ++runs_;
  const std::size_t offset = src_.Offset(subject.bytes.size(), subject.place);
  std::memcpy(src_.Writable(offset), subject.bytes.data(), subject.bytes.size());
  const kivo_frame frame{src_.ReadOnly(offset), subject.bytes.size(), subject.stride};
  std::uint32_t least = 99999, most = 99999;
  const kivo_status answer = kivo_sample_range(made, &frame, &least, &most);
  const std::array<std::uint32_t, 2> wanted = Model::SampleRange(plan, subject.plain);
  if (answer != KIVO_OK || least != wanted[0] || most != wanted[1])
    Fail(sample.Text(), "range is " + Number(least) + ".." + Number(most) + " and should be " +
                            Number(wanted[0]) + ".." + Number(wanted[1]));
  g_running = nullptr;
}

void Judge::TryMatrix(const Model::Format &format) {
  constexpr std::uint32_t kSide = 256;
  Subject subject;
  subject.format = &format;
  subject.width = subject.height = kSide;
  std::vector<std::uint8_t> rgb(3 * kSide * kSide), base(rgb.size());
  kivo_options options = KIVO_OPTIONS_INIT;
  options.pixels = KIVO_RGB8;
  const Case sample{&subject, options, 0, {}, 7};
  const int tolerance = format.matrix == Model::Matrix::kInteger ? 0 : 1;
  for (std::uint32_t v = 0; v < 256; v += quick_ ? 15 : 3) {
    subject.bytes.clear();
    for (std::uint32_t u = 0; u < kSide; ++u)
      for (std::uint32_t luma = 0; luma < kSide; ++luma)
        for (const std::uint32_t byte : {u, luma, v})
          subject.bytes.push_back(static_cast<std::uint8_t>(byte));
    const kivo_frame frame{subject.bytes.data(), subject.bytes.size(), 0};
    for (const Kivo::Target target : {Kivo::Target::Baseline, target_}) {
      Kivo::PinTarget(target);
      kivo_plan *made = nullptr;
      kivo_status status = kivo_plan_make(format.code, kSide, kSide, &options, &made);
      const PlanOwner owner(made);
      std::vector<std::uint8_t> &out = target == target_ ? rgb : base;
      const kivo_picture picture{out.data(), out.size(), 0};
      if (status == KIVO_OK) status = kivo_run(made, &frame, &picture, nullptr, 0);
      if (status != KIVO_OK) return Fail(sample.Text(), "the matrix cannot be run");
      ++runs_;
    }
    if (target_ != Kivo::Target::Baseline && rgb != base)
      return Fail(sample.Text(), "not the bytes of Baseline, V " + Number(v));
    for (std::size_t i = 0; i < rgb.size(); i += 3) {
      const int luma = subject.bytes[i + 1], u = subject.bytes[i];
      const std::array<std::uint16_t, 3> wanted =
          Model::YuvColour(format.matrix, luma, u, static_cast<int>(v));
      for (std::size_t colour = 0; colour < 3; ++colour)
        if (std::abs(int{rgb[i + colour]} - int{wanted[colour]}) > tolerance)
          return Fail(sample.Text(), "Y " + std::to_string(luma) + " U " + std::to_string(u) + " V " +
                                         Number(v) + " gives " + Number(rgb[i + colour]) + " for colour " +
                                         Number(colour) + " and should give " + Number(wanted[colour]));
    }
  }
}

}  // namespace KivoTest
