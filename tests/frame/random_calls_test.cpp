// SPDX-License-Identifier: Apache-2.0
// Any number of random calls of all functions, with arguments as a careless or hostile caller has them, on
// buffers exactly as large as they are said to be, half of them against unreadable pages. What each has to
// answer, and often to write, says the model; a call that is refused leaves every byte as it was.
//
//   frame_random_calls [CALLS [SEED]]
#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "frame/model.h"
#include "frame/some_colour.h"
#include "support/guarded_buffer.h"
#include "support/random.h"

namespace {

using KivoTest::Random;
using KivoTest::Model::Format;
namespace Model = KivoTest::Model;

constexpr std::size_t kMaxBuffer = 60000;
constexpr std::size_t kArena = std::size_t{256} << 10;

struct FreePlan {
  void operator()(kivo_plan *plan) const { kivo_plan_free(plan); }
};
struct FreePool {
  void operator()(kivo_pool *pool) const { kivo_pool_free(pool); }
};

// A plan, and what the model knows of it.
struct Live {
  std::unique_ptr<kivo_plan, FreePlan> plan;
  Model::Plan judged;
  std::shared_ptr<KivoTest::ColourSettings> colour;
};

// Memory of an exact size: of the heap, where tools that watch memory see every byte too many, or against an
// unreadable page of an arena that nothing else lies in.
class Buffer {
 public:
  Buffer(std::size_t size, Random &random, const KivoTest::GuardedArena &arena) : size_(size) {
    if (random.Below(2) == 0) {
      heap_.reset(new std::uint8_t[size]);
      bytes_ = heap_.get();
    } else {
      using Edge = KivoTest::Placement::Edge;
      const std::size_t offset = arena.Offset(size, {random.Below(2) == 0 ? Edge::kEnd : Edge::kStart});
      bytes_ = arena.Writable(offset);
      read_only_ = arena.ReadOnly(offset);
    }
    std::uint64_t word = 0;
    for (std::size_t i = 0; i < size; ++i, word >>= 8) {
      if (i % 8 == 0) word = random.Next();
      bytes_[i] = static_cast<std::uint8_t>(word);
    }
  }
  std::uint8_t *data() { return bytes_; }
  // The same bytes; against a page, where nobody can write them.
  const std::uint8_t *read_only() const { return read_only_ != nullptr ? read_only_ : bytes_; }
  std::size_t size() const { return size_; }
  std::vector<std::uint8_t> Copy() const { return {bytes_, bytes_ + size_}; }

 private:
  std::size_t size_;
  std::unique_ptr<std::uint8_t[]> heap_;
  std::uint8_t *bytes_ = nullptr;
  const std::uint8_t *read_only_ = nullptr;
};

class Caller {
 public:
  explicit Caller(std::uint64_t seed) : random_(seed), plans_(6) {}

  bool Call(std::uint64_t number) {
    number_ = number;
    switch (random_.Below(18)) {
      case 0:
      case 1:
      case 2:
      case 3:
        MakePlan();
        break;
      case 4:
        Ask();
        break;
      case 5:
        AskOfPlan();
        break;
      case 6:
        Pool();
        break;
      case 7:
      case 8:
        Suggest();
        break;
      case 9:
        if (OneIn(200)) Guess();  // takes as long as a thousand others
        break;
      default:
        Run();
    }
    return failures_ < 10;
  }
  std::size_t failures() const { return failures_; }
  void Tell() const {
    std::printf(
        "%zu plans made, %zu pictures compared, %zu settings suggested, %zu files guessed at, %zu calls "
        "refused, %zu wrong\n",
        made_, compared_, suggested_, guessed_, refused_, failures_);
  }

 private:
  bool OneIn(std::uint32_t n) { return random_.Below(n) == 0; }
  std::uint32_t Any() { return static_cast<std::uint32_t>(random_.Next()); }
  // A number that is interesting to somebody.
  std::uint32_t Odd() {
    static constexpr std::array<std::uint32_t, 14> kNumbers{
        0, 1, 2, 3, 4, 5, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu, 0xFFFFFFFEu, 0x10000, 0xFFFF, 255, 256};
    return OneIn(4) ? Any() : kNumbers[random_.Below(kNumbers.size())];
  }
  std::uint32_t Code() {
    const std::vector<Format> &formats = Model::Formats();
    if (OneIn(40)) return Odd();
    const std::uint32_t code = formats[random_.Below(static_cast<std::uint32_t>(formats.size()))].code;
    return OneIn(60) ? code ^ 1u << random_.Below(32) : code;
  }
  std::uint32_t Size() {
    if (OneIn(30)) return Odd();
    const std::uint32_t size = 1 + random_.Below(OneIn(3) ? 200 : 24);
    return OneIn(2) ? (size + 3) / 4 * 4 : size;
  }

  void Expect(bool good, const char *what, std::uint64_t got, std::uint64_t wanted) {
    if (good) return;
    ++failures_;
    std::fprintf(stderr, "call %llu: %s gives %llu and should give %llu\n",
                 static_cast<unsigned long long>(number_), what, static_cast<unsigned long long>(got),
                 static_cast<unsigned long long>(wanted));
    if (about_ == nullptr) return;
    const Model::Plan &p = about_->judged;
    const kivo_options &o = p.options;
    std::fprintf(stderr,
                 "  %s %ux%u pixels %u bayer %u levels %u hint %u order %u flags %u shift %u range %u..%u "
                 "crop %u,%u %ux%u\n",
                 p.format->name.c_str(), p.frame_width, p.frame_height, o.pixels, o.bayer, o.levels, o.hint,
                 o.byte_order, o.flags, o.shift, o.range_low, o.range_high, o.crop_x, o.crop_y, o.crop_width,
                 o.crop_height);
  }
  void Same(const char *what, std::uint64_t got, std::uint64_t wanted) {
    Expect(got == wanted, what, got, wanted);
  }
  // A code, which has a text.
  void Status(const char *what, kivo_status got, kivo_status wanted) {
    Same(what, got, wanted);
    Expect(kivo_message(got) != std::string("unknown error"), "a text", got, wanted);
    if (wanted != KIVO_OK) ++refused_;
  }

  // Options, most of which are good.
  kivo_options Options(const Format *format, std::uint32_t width, std::uint32_t height) {
    kivo_options o = KIVO_OPTIONS_INIT;
    o.pixels = OneIn(80) ? Odd() : random_.Below(11);
    o.bayer = OneIn(80) ? Odd() : random_.Below(5);
    o.hint = OneIn(80) ? Odd() : random_.Below(3);
    const bool sixteen = o.pixels >= KIVO_BGRA16 && o.pixels <= KIVO_GRAY16;
    o.levels = OneIn(80) ? Odd() : sixteen ? random_.Below(2) : 0;
    if (format != nullptr && format->words()) o.byte_order = random_.Below(2);
    if (OneIn(80)) o.byte_order = Odd();
    o.flags = random_.Below(4);
    if (OneIn(80)) o.flags = Odd();
    if (!sixteen && OneIn(4)) o.flags |= KIVO_WITH_RANGE;
    if (o.pixels <= KIVO_GRAY8 && format != nullptr && format->depth > 8 && OneIn(4))
      o.flags |= KIVO_WITH_SHIFT;
    o.shift = OneIn(20) ? Odd() : random_.Below(16);
    o.range_low = OneIn(20) ? Odd() : random_.Below(4096);
    o.range_high = OneIn(20) ? Odd() : random_.Below(65536);
    if (OneIn(3) && width != 0 && height != 0) {
      o.crop_x = random_.Below(width) & ~3u;
      o.crop_y = random_.Below(height);
      o.crop_width = std::max(random_.Below(width - o.crop_x + 1) & ~3u, 1u);
      o.crop_height = 1 + random_.Below(height - o.crop_y);
    }
    if (OneIn(60)) (&o.crop_x)[0] = Odd();
    if (OneIn(60)) o.crop_width = Odd();
    if (OneIn(60)) o.crop_height = Odd();
    return o;
  }

  // Settings of the chain, most of which are good.
  std::shared_ptr<KivoTest::ColourSettings> Colour(const Format *format) {
    auto settings = KivoTest::SomeColour(random_, format == nullptr ? 8 : format->plain_depth());
    if (OneIn(8)) Spoil(settings->colour);
    return settings;
  }
  void Spoil(kivo_colour &c) {
    static constexpr std::array<double, 7> kNumbers{std::numeric_limits<double>::quiet_NaN(),
                                                    std::numeric_limits<double>::infinity(),
                                                    -1,
                                                    4,
                                                    -4,
                                                    1025,
                                                    1e300};
    const double number = kNumbers[random_.Below(kNumbers.size())];
    switch (random_.Below(9)) {
      case 0:
        c.black[random_.Below(4)] = number;
        break;
      case 1:
        c.gain[random_.Below(3)] = number;
        break;
      case 2:
        c.matrix[random_.Below(9)] = number;
        break;
      case 3:
        c.low = number;
        break;
      case 4:
        c.high = number;
        break;
      case 5:
        c.gamma = number;
        break;
      case 6:
        c.tone = Odd();
        break;
      case 7:
        c.table_size = OneIn(2) ? random_.Below(256) : 4097 + random_.Below(5);
        break;
      default:
        c.size = OneIn(2) ? Odd() % sizeof c : SIZE_MAX - random_.Below(3);
    }
  }

  void MakePlan() {
    Live &live = plans_[random_.Below(static_cast<std::uint32_t>(plans_.size()))];
    live.plan.reset();
    about_ = nullptr;
    const std::uint32_t code = Code(), width = Size(), height = Size();
    kivo_options good = Options(Model::FormatOfCode(code), width, height);
    live.colour.reset();
    if (OneIn(4)) {
      live.colour = Colour(Model::FormatOfCode(code));
      good.colour = &live.colour->colour;
      if (!OneIn(8)) good.flags &= ~static_cast<std::uint32_t>(KIVO_WITH_RANGE | KIVO_WITH_SHIFT);
    }
    if (OneIn(50)) {
      Status("plan without a place", kivo_plan_make(code, width, height, &good, nullptr), KIVO_NULL_POINTER);
      return;
    }
    // The structure in memory of its own; now and then of another size.
    std::size_t size = sizeof good;
    if (OneIn(30)) size = random_.Below(4) * 8 + (OneIn(2) ? sizeof good : 0);
    if (OneIn(40)) size = offsetof(kivo_options, colour);
    Buffer memory(std::max<std::size_t>(size, sizeof(std::size_t)), random_, options_arena_);
    kivo_options given = good;
    given.size = size;
    std::memcpy(memory.data(), &given, std::min(memory.size(), sizeof given));
    if (size > sizeof given) std::memset(memory.data() + sizeof given, 0, size - sizeof given);
    if (size > sizeof given && OneIn(2)) memory.data()[sizeof given + random_.Below(8)] = 1;
    const kivo_options *const options =
        OneIn(40) ? nullptr : reinterpret_cast<const kivo_options *>(memory.read_only());
    const bool readable = options == nullptr || size >= offsetof(kivo_options, colour);
    if (readable) {
      // The model reads whole structures.
      const bool earlier = options != nullptr && size < sizeof given;
      live.judged = Model::MakePlan(code, width, height, earlier ? &given : options);
    } else {
      live.judged = {};
      live.judged.status = KIVO_BAD_STRUCT;
    }
    kivo_plan *made = nullptr;
    Status("kivo_plan_make", kivo_plan_make(code, width, height, options, &made), live.judged.status);
    live.plan.reset(made);
    Expect((made != nullptr) == (live.judged.status == KIVO_OK), "plan", made != nullptr, made == nullptr);
    if (made == nullptr || live.judged.status != KIVO_OK) {
      live.plan.reset();
      return;
    }
    ++made_;
    about_ = &live;
    Same("kivo_plan_width", kivo_plan_width(made), live.judged.width);
    Same("kivo_plan_picture_bytes", kivo_plan_picture_bytes(made),
         static_cast<std::uint64_t>(live.judged.picture_bytes()));
    Same("kivo_plan_samples_format", kivo_plan_samples_format(made), live.judged.samples_format);
    Same("kivo_plan_bayer", kivo_plan_bayer(made), live.judged.bayer);
  }

  void AskOfPlan() {
    const Live &live = plans_[random_.Below(static_cast<std::uint32_t>(plans_.size()))];
    const kivo_plan *const plan = live.plan.get();
    about_ = plan == nullptr ? nullptr : &live;
    Same("rows", kivo_plan_height(plan), plan == nullptr ? 0 : live.judged.height);
    Same("row", kivo_plan_row_bytes(plan),
         plan == nullptr ? 0 : static_cast<std::uint64_t>(live.judged.row_bytes));
    const std::size_t scratch = kivo_plan_scratch(plan);
    Expect(scratch <= std::size_t{256} << 10, "scratch", scratch, 0);
    if (OneIn(100)) kivo_plan_free(nullptr);
  }

  // A name, changed at random: any bytes but 0.
  std::string Text() {
    const std::vector<Format> &formats = Model::Formats();
    std::string text =
        OneIn(8) ? "" : formats[random_.Below(static_cast<std::uint32_t>(formats.size()))].name;
    if (OneIn(8)) text = "V4L2_PIX_FMT_" + text;
    for (std::uint32_t i = random_.Below(4); i > 0; --i) {
      const auto letter = static_cast<char>(1 + random_.Below(255));
      const std::size_t at = random_.Below(static_cast<std::uint32_t>(text.size() + 1));
      if (OneIn(2)) {
        text.insert(text.begin() + static_cast<std::ptrdiff_t>(at), letter);
      } else if (at < text.size()) {
        text.erase(at, 1);
      }
    }
    if (OneIn(200)) text.append(5000, 'x');
    return text;
  }

  void Ask() {
    about_ = nullptr;
    const std::uint32_t code = Code(), width = Size(), height = Size();
    const Format *const format = Model::FormatOfCode(code);
    const Model::Wide bytes = format == nullptr ? 0 : Model::FrameBytes(*format, width, height);
    const Model::Wide row = format == nullptr ? 0 : Model::RowBytes(*format, width);
    Same("kivo_frame_bytes", kivo_frame_bytes(code, width, height),
         bytes > UINT64_MAX ? UINT64_MAX : static_cast<std::uint64_t>(bytes));
    Same("kivo_row_bytes", kivo_row_bytes(code, width), static_cast<std::uint64_t>(row));
    const kivo_format *const found = kivo_format_of_code(code);
    Expect((found != nullptr) == (format != nullptr), "kivo_format_of_code", found != nullptr,
           format != nullptr);
    const int columns = static_cast<int>(Odd()), rows = static_cast<int>(random_.Below(2));
    Same("kivo_format_exchanged", kivo_format_exchanged(code, columns, rows),
         format == nullptr ? code : Model::Exchanged(*format, columns != 0, rows != 0));
    const std::size_t index = OneIn(4) ? SIZE_MAX - random_.Below(3) : random_.Below(200);
    Expect((kivo_format_at(index) != nullptr) == (index < kivo_format_count()), "kivo_format_at", index, 0);
    const int value = static_cast<int>(random_.Below(40));
    Expect(kivo_message(static_cast<kivo_status>(value)) != nullptr, "kivo_message", 0, 1);

    const std::string text = Text();
    const std::unique_ptr<char[]> exact(new char[text.size() + 1]);
    std::memcpy(exact.get(), text.c_str(), text.size() + 1);
    kivo_format_find(OneIn(50) ? nullptr : exact.get());
    const std::size_t most = random_.Below(6);
    const std::unique_ptr<const kivo_format *[]> formats(new const kivo_format *[most]);
    const std::size_t count = kivo_format_suggest(exact.get(), formats.get(), most);
    Expect(count <= most, "kivo_format_suggest", count, most);
    for (std::size_t i = 0; i < std::min(count, most); ++i)
      Expect(kivo_format_of_code(formats[i]->code) == formats[i], "suggestion", i, 0);
  }

  void Pool() {
    about_ = nullptr;
    if (OneIn(8)) RunJobs();
    if (!OneIn(20)) return;
    if (OneIn(4)) return Status("a pool without a place", kivo_pool_make(1, nullptr), KIVO_NULL_POINTER);
    kivo_pool *pool = nullptr;
    const std::uint32_t threads = OneIn(3) ? 1025 + random_.Below(5) : 1 + random_.Below(4);
    const kivo_status status = kivo_pool_make(threads, &pool);
    Status("kivo_pool_make", status, threads > 1024 ? KIVO_UNKNOWN_OPTION : KIVO_OK);
    if (pool == nullptr) return;
    pool_.reset(pool);
    Same("kivo_pool_threads", kivo_pool_threads(pool), threads);
  }

  void RunJobs() {
    std::array<std::atomic<unsigned>, 40> runs{};
    const std::size_t jobs = random_.Below(runs.size() + 1);
    const bool good = pool_ != nullptr && !OneIn(8);
    const kivo_job job = [](void *context, std::size_t index) {
      ++static_cast<std::atomic<unsigned> *>(context)[index];
    };
    const int answer = good       ? kivo_pool_run(pool_.get(), job, runs.data(), jobs)
                       : OneIn(2) ? kivo_pool_run(nullptr, job, runs.data(), jobs)
                                  : kivo_pool_run(pool_.get(), nullptr, runs.data(), jobs);
    Expect((answer == 0) == good, "kivo_pool_run", answer != 0, !good);
    for (std::size_t i = 0; i < runs.size(); ++i) Same("runs of a job", runs[i], good && i < jobs ? 1 : 0);
  }

  // Settings from a frame, which may be none, and changes in the fields of a function alone.
  void Suggest() {
    const Live &live = plans_[random_.Below(static_cast<std::uint32_t>(plans_.size()))];
    if (live.plan == nullptr) return;
    about_ = &live;
    const Model::Plan &plan = live.judged;
    const std::ptrdiff_t stride =
        Stride(static_cast<std::uint64_t>(Model::RowBytes(*plan.format, plan.frame_width)));
    Buffer source(Near(Model::FrameExtent(*plan.format, plan.frame_width, plan.frame_height, stride)),
                  random_, frame_arena_);
    const kivo_frame frame{OneIn(60) ? nullptr : source.read_only(), source.size(), stride};
    auto settings = KivoTest::SomeColour(random_, plan.format->plain_depth());
    kivo_colour &given = settings->colour;
    if (OneIn(6)) Spoil(given);
    Buffer memory(std::max(std::min(given.size, sizeof given), sizeof given.size), random_, options_arena_);
    std::memcpy(memory.data(), &given, memory.size());
    const std::vector<std::uint8_t> before = memory.Copy();

    const unsigned function = random_.Below(3);
    const std::uint32_t balance = OneIn(20) ? Odd() : random_.Below(3);
    const double low = OneIn(20) ? std::numeric_limits<double>::quiet_NaN() : random_.Below(100);
    const double high = OneIn(20) ? low : low + 1 + random_.Below(OneIn(20) ? 100 : 1);
    const kivo_frame *const from = OneIn(60) ? nullptr : &frame;
    auto *const colour = OneIn(60) ? nullptr : reinterpret_cast<kivo_colour *>(memory.data());
    kivo_status wanted = KIVO_OK;
    if (from == nullptr || from->data == nullptr || colour == nullptr)
      wanted = KIVO_NULL_POINTER;
    else if (given.size != sizeof given)
      wanted = KIVO_BAD_STRUCT;
    else if (function == 1 && balance > KIVO_BALANCE_MEDIAN)
      wanted = KIVO_UNKNOWN_OPTION;
    else if (plan.format->yuv())
      wanted = KIVO_BAD_COLOUR;
    else if (function != 0 && !AreWithin(given.black, 65535))
      wanted = KIVO_BAD_BLACK;
    else if (function == 2 && !AreWithin(given.gain, 1024))
      wanted = KIVO_BAD_GAIN;
    else if (function == 2 && !(low < high && high <= 100))
      wanted = KIVO_BAD_PERCENT;
    else
      wanted = OfFrameAlone(plan, frame);
    const kivo_status status = function == 0   ? kivo_auto_black(live.plan.get(), from, colour)
                               : function == 1 ? kivo_auto_balance(live.plan.get(), from, balance, colour)
                                               : kivo_auto_range(live.plan.get(), from, low, high, colour);
    Status("a suggestion", status, wanted);
    if (status != KIVO_OK || wanted != KIVO_OK)
      return Expect(before == memory.Copy(), "settings changed in spite of a refusal", 1, 0);
    ++suggested_;
    kivo_colour made = *colour;
    // With what was good before, a plan can be made at once.
    kivo_options options = KIVO_OPTIONS_INIT;
    options.colour = &given;
    if (Model::MakePlan(plan.format->code, plan.frame_width, plan.frame_height, &options).status == KIVO_OK) {
      options.colour = &made;
      kivo_plan *with = nullptr;
      Status("a plan with suggested settings",
             kivo_plan_make(plan.format->code, plan.frame_width, plan.frame_height, &options, &with),
             KIVO_OK);
      kivo_plan_free(with);
    }
    const double top = (1u << plan.format->plain_depth()) - 1;
    if (function == 0) {
      Expect(AreWithin(made.black, top / 16), "a black level", static_cast<std::uint64_t>(made.black[0]), 0);
      std::memcpy(made.black, given.black, sizeof given.black);
    } else if (function == 1) {
      Expect(AreWithin(made.gain, 8) && *std::min_element(made.gain, made.gain + 3) == 1, "gains", 0, 1);
      std::memcpy(made.gain, given.gain, sizeof given.gain);
    } else {
      Expect(made.low < made.high || (made.low == 0 && made.high == 0), "a range", 0, 1);
      made.low = given.low;
      made.high = given.high;
    }
    Expect(std::memcmp(&made, &given, sizeof given) == 0, "other settings changed", 1, 0);
  }
  template <std::size_t n>
  static bool AreWithin(const double (&numbers)[n], double top) {
    return std::all_of(numbers, numbers + n, [=](double number) { return number >= 0 && number <= top; });
  }

  void Guess() {
    about_ = nullptr;
    Buffer file(random_.Below(OneIn(4) ? 4000 : 400), random_, frame_arena_);
    // Rows that resemble each other, as far as there are some.
    const std::uint32_t row = 1 + random_.Below(100);
    const unsigned noise = random_.Below(256);
    for (std::size_t i = row; i < file.size(); ++i)
      file.data()[i] = static_cast<std::uint8_t>(file.data()[i - row] + (file.data()[i] & noise) / 16);
    const std::uint64_t bytes = OneIn(4) ? random_.Next() >> random_.Below(64) : file.size();
    const std::size_t most = random_.Below(6);
    const std::unique_ptr<kivo_candidate[]> found(new kivo_candidate[most]());
    const void *const data = OneIn(40) ? nullptr : file.read_only();
    kivo_candidate *const to = OneIn(40) ? nullptr : found.get();
    std::size_t count = 77;
    const kivo_status wanted = data == nullptr || to == nullptr ? KIVO_NULL_POINTER : KIVO_OK;
    if (OneIn(40))
      return Status("a guess without a count", kivo_guess(data, file.size(), bytes, to, most, nullptr),
                    KIVO_NULL_POINTER);
    Status("kivo_guess", kivo_guess(data, file.size(), bytes, to, most, &count), wanted);
    Expect(count <= (wanted == KIVO_OK ? most : 0), "candidates", count, most);
    for (std::size_t i = 0; i < std::min(count, most); ++i) {
      const kivo_candidate &c = found[i];
      const Format *const format = Model::FormatOfCode(c.code);
      if (format == nullptr) return Expect(false, "the format of a candidate", c.code, 0);
      const Model::Wide end =
          c.offset + Model::FrameExtent(*format, c.width, c.height, static_cast<std::ptrdiff_t>(c.stride));
      Expect(end <= bytes, "the end of a candidate", static_cast<std::uint64_t>(end), bytes);
      kivo_options options = KIVO_OPTIONS_INIT;
      options.byte_order = c.byte_order;
      kivo_plan *plan = nullptr;
      Status("a plan of a candidate", kivo_plan_make(c.code, c.width, c.height, &options, &plan), KIVO_OK);
      kivo_plan_free(plan);
    }
    if (count != 0) ++guessed_;
  }

  std::ptrdiff_t Stride(std::uint64_t row) {
    const auto near = static_cast<std::ptrdiff_t>(std::min<std::uint64_t>(row, kMaxBuffer));
    const std::ptrdiff_t sign = OneIn(2) ? 1 : -1;
    if (OneIn(30)) {
      static constexpr std::array<std::ptrdiff_t, 8> kStrides{1,
                                                              -1,
                                                              PTRDIFF_MIN,
                                                              PTRDIFF_MAX,
                                                              PTRDIFF_MIN + 1,
                                                              std::ptrdiff_t{1} << 62,
                                                              -(std::ptrdiff_t{1} << 62),
                                                              2};
      return kStrides[random_.Below(kStrides.size())];
    }
    if (OneIn(3)) return 0;
    return sign * (near + static_cast<std::ptrdiff_t>(random_.Below(40)) - (OneIn(20) ? 1 : 0));
  }

  // A size near the one that is needed.
  std::size_t Near(Model::Wide needed) {
    const std::size_t size = needed > kMaxBuffer ? random_.Below(100) : static_cast<std::size_t>(needed);
    if (OneIn(20)) return size / 2;
    if (OneIn(20)) return size == 0 ? 0 : size - 1;
    return size + (OneIn(4) ? random_.Below(50) : 0);
  }

  static Model::Wide Extent(const Model::Plan &plan, std::ptrdiff_t stride) {
    if (stride == 0) return plan.picture_bytes();
    const Model::Wide step =
        stride < 0 ? -static_cast<Model::Wide>(stride) : static_cast<Model::Wide>(stride);
    return step * (plan.height - 1) + plan.row_bytes;
  }

  void Run() {
    const Live &live = plans_[random_.Below(static_cast<std::uint32_t>(plans_.size()))];
    about_ = live.plan == nullptr ? nullptr : &live;
    if (live.plan == nullptr) {
      Status("nothing run", kivo_run(nullptr, nullptr, nullptr, nullptr, 0), KIVO_NULL_POINTER);
      return;
    }
    const Model::Plan &plan = live.judged;
    const std::ptrdiff_t in =
        Stride(static_cast<std::uint64_t>(Model::RowBytes(*plan.format, plan.frame_width)));
    const std::ptrdiff_t out = Stride(static_cast<std::uint64_t>(plan.row_bytes));
    const std::size_t from = Near(Model::FrameExtent(*plan.format, plan.frame_width, plan.frame_height, in));
    const std::size_t to = Near(Extent(plan, out));
    if (OneIn(12)) return RunOverlapping(live, in, out, from, to);
    Buffer source(from, random_, frame_arena_), target(to, random_, picture_arena_);
    const kivo_frame frame{OneIn(60) ? nullptr : source.read_only(), from, in};
    const kivo_picture picture{OneIn(60) ? nullptr : target.data(), to, out};
    RunOn(live, OneIn(60) ? nullptr : &frame, OneIn(60) ? nullptr : &picture, source, target);
  }

  // Frame and picture in one buffer, beside each other or not.
  void RunOverlapping(const Live &live, std::ptrdiff_t in, std::ptrdiff_t out, std::size_t from,
                      std::size_t to) {
    const std::size_t size = from + to;
    Buffer both(size, random_, picture_arena_);
    const bool apart = OneIn(3), picture_first = OneIn(2);
    const std::size_t a =
        apart ? (picture_first ? to : 0) : random_.Below(static_cast<std::uint32_t>(to + 1));
    const std::size_t b =
        apart ? (picture_first ? 0 : from) : random_.Below(static_cast<std::uint32_t>(from + 1));
    const kivo_frame frame{both.data() + a, from, in};
    const kivo_picture picture{both.data() + b, to, out};
    const std::size_t needed = kivo_plan_scratch(live.plan.get());
    const kivo_status wanted =
        Model::RunStatus(live.judged, &frame, &picture, {0, live.judged.height}, nullptr, 0, needed);
    const std::vector<std::uint8_t> before = both.Copy();
    Status("kivo_run, one buffer", kivo_run(live.plan.get(), &frame, &picture, nullptr, 0), wanted);
    if (wanted != KIVO_OK) Expect(before == both.Copy(), "bytes written in spite of a refusal", 1, 0);
  }

  // What there is to refuse about a frame, whatever the picture.
  static kivo_status OfFrameAlone(const Model::Plan &plan, const kivo_frame &frame) {
    std::uint8_t anywhere = 0;
    const kivo_picture picture{&anywhere, SIZE_MAX, 0};
    const kivo_status status = Model::RunStatus(plan, &frame, &picture, {0, 0}, nullptr, 0, 0);
    return status >= KIVO_SHORT_PICTURE_STRIDE ? KIVO_OK : status;
  }

  static int OnOneThread(void *, kivo_job job, void *context, std::size_t jobs) {
    for (std::size_t i = jobs; i > 0; --i) job(context, i - 1);
    return 0;
  }
  static int OnNone(void *, kivo_job, void *, std::size_t) { return 3; }

  void RunOn(const Live &live, const kivo_frame *frame, const kivo_picture *picture, Buffer &source,
             Buffer &target) {
    const kivo_plan *const plan = live.plan.get();
    const std::size_t needed = kivo_plan_scratch(plan);
    const std::vector<std::uint8_t> before = target.Copy();
    Model::Rows rows{0, live.judged.height};
    kivo_status status = KIVO_OK, wanted = KIVO_OK;
    bool written = true;
    const auto judge = [&](const void *scratch, std::size_t size) {
      return Model::RunStatus(live.judged, frame, picture, rows, scratch, size, needed);
    };
    switch (random_.Below(4)) {
      case 0: {
        Buffer scratch(OneIn(4) && needed != 0 ? random_.Below(static_cast<std::uint32_t>(needed)) : needed,
                       random_, scratch_arena_);
        wanted = judge(scratch.data(), scratch.size());
        status = kivo_run(plan, frame, picture, scratch.data(), scratch.size());
        break;
      }
      case 1:
        rows.first = OneIn(10) ? Odd() : random_.Below(live.judged.height);
        rows.count = OneIn(10)
                         ? Odd()
                         : random_.Below(live.judged.height - std::min(rows.first, live.judged.height) + 1);
        if (rows.count == 0 && rows.first > live.judged.height) rows.count = 1;
        wanted = judge(nullptr, 5);
        status = kivo_run_rows(plan, frame, picture, rows.first, rows.count, nullptr, 5);
        break;
      case 2: {
        const std::uint32_t which = random_.Below(3);
        const kivo_scheduler scheduler = which == 0 ? OnOneThread : which == 1 ? OnNone : kivo_pool_run;
        if (which == 2 && pool_ == nullptr) return;
        wanted = judge(nullptr, 0);
        if (wanted == KIVO_OK && which == 1) wanted = KIVO_SCHEDULER_FAILED;
        status = kivo_run_on(plan, frame, picture, scheduler, pool_.get());
        break;
      }
      default: {
        std::uint32_t least = 5, most = 6;
        written = false;
        if (frame == nullptr || frame->data == nullptr) {
          wanted = KIVO_NULL_POINTER;
        } else {
          wanted = OfFrameAlone(live.judged, *frame);
        }
        status = kivo_sample_range(plan, frame, &least, &most);
        if (status == KIVO_OK && wanted == KIVO_OK && OneIn(4)) {
          const std::array<std::uint32_t, 2> range =
              Model::SampleRange(live.judged, Plain(live, *frame, source));
          Same("smallest sample", least, range[0]);
          Same("largest sample", most, range[1]);
        }
      }
    }
    Status("a run", status, wanted);
    if (status != wanted) return;
    if (wanted != KIVO_OK || !written) {
      Expect(before == target.Copy(), "bytes written that should not be", 1, 0);
    } else if (OneIn(4)) {
      Compare(live, *frame, *picture, rows, source, target, before);
    }
  }

  static Model::Plain Plain(const Live &live, const kivo_frame &frame, Buffer &source) {
    const Model::Plan &p = live.judged;
    return Model::Decode({p.format, p.frame_width, p.frame_height, source.data(), frame.stride,
                          p.options.byte_order == KIVO_BIG_ENDIAN});
  }

  void Compare(const Live &live, const kivo_frame &frame, const kivo_picture &picture, Model::Rows rows,
               Buffer &source, Buffer &target, std::vector<std::uint8_t> wanted) {
    const Model::Plan &p = live.judged;
    // Its matrices may differ by one from the real numbers, which makes 257 of 16 spread bits; samples do
    // not.
    const bool about =
        p.format->yuv() && p.format->matrix != Model::Matrix::kInteger && p.options.pixels != KIVO_SAMPLES;
    if (about) return;
    ++compared_;
    const std::vector<std::uint8_t> packed = Model::MakeAny(p, Plain(live, frame, source));
    const auto row = static_cast<std::size_t>(p.row_bytes);
    for (std::uint32_t y = rows.first; y < rows.first + rows.count; ++y) {
      const std::size_t line = picture.stride < 0 ? p.height - 1 - y : y;
      const auto stride = static_cast<std::size_t>(picture.stride);
      const std::size_t step = picture.stride == 0 ? row : picture.stride < 0 ? 0 - stride : stride;
      std::memcpy(wanted.data() + line * step, packed.data() + y * row, row);
    }
    const std::vector<std::uint8_t> got = target.Copy();
    const auto at =
        static_cast<std::size_t>(std::mismatch(got.begin(), got.end(), wanted.begin()).first - got.begin());
    Expect(at == got.size(), "a byte of a picture", at < got.size() ? got[at] : 0,
           at < got.size() ? wanted[at] : 0);
  }

  const KivoTest::GuardedArena frame_arena_{kArena}, picture_arena_{kArena}, scratch_arena_{kArena},
      options_arena_{4096};
  Random random_;
  std::vector<Live> plans_;
  std::unique_ptr<kivo_pool, FreePool> pool_;
  const Live *about_ = nullptr;
  std::uint64_t number_ = 0;
  std::size_t failures_ = 0;
  std::size_t made_ = 0;
  std::size_t compared_ = 0;
  std::size_t suggested_ = 0;
  std::size_t guessed_ = 0;
  std::size_t refused_ = 0;
};

}  // namespace

int main(int argc, char **argv) {
  const std::uint64_t calls = argc > 1 ? std::strtoull(argv[1], nullptr, 0) : 100000;
  const std::uint64_t seed = argc > 2 ? std::strtoull(argv[2], nullptr, 0) : 1;
  Caller caller(seed);
  std::uint64_t done = 0;
  while (done < calls && caller.Call(done)) ++done;
  std::printf("%llu calls, seed %llu: ", static_cast<unsigned long long>(done),
              static_cast<unsigned long long>(seed));
  caller.Tell();
  return caller.failures() == 0 ? 0 : 1;
}
