// SPDX-License-Identifier: Apache-2.0
/**
 * @file frame.hpp
 * C++17 over KivoFrame.h, which is the manual: plans and pools that free themselves, options with types, any
 * callable as a scheduler. Checks and rules are the library's. Nothing throws; -fno-exceptions is fine.
 *
 * @code{.cpp}
 * kivo::engine::Options options;
 * options.pixels = kivo::engine::Pixels::Rgba8;
 * auto plan = kivo::engine::Plan::make(kivo::engine::findFormat("BayerRG12p"), 1936, 1216, options);
 * if (!plan) return fail(plan.message());
 * const kivo::engine::Status status = plan->run({data, bytes, 2944}, {texture, textureBytes, 8192});
 * @endcode
 */
#ifndef KIVO_FRAME_HPP
#define KIVO_FRAME_HPP

#include <KivoFrame.h>

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <optional>
#include <type_traits>
#include <utility>

namespace kivo {
#pragma GCC visibility push(hidden)
inline namespace v1 {
/** The engine of KivoFrame.h. */
namespace engine {
// Types are visible: users have them as members.
#pragma GCC visibility push(default)

/** A format of the library's table. */
using Format = kivo_format;

/** What a picture is made of. */
enum class Pixels : std::uint32_t {
  Bgra8 = KIVO_BGRA8,      ///< B, G, R, 255.
  Bgr8 = KIVO_BGR8,        ///< B, G, R.
  Rgba8 = KIVO_RGBA8,      ///< R, G, B, 255.
  Rgb8 = KIVO_RGB8,        ///< R, G, B.
  Gray8 = KIVO_GRAY8,      ///< Grey.
  Bgra16 = KIVO_BGRA16,    ///< B, G, R, 65535.
  Bgr16 = KIVO_BGR16,      ///< B, G, R.
  Rgba16 = KIVO_RGBA16,    ///< R, G, B, 65535.
  Rgb16 = KIVO_RGB16,      ///< R, G, B.
  Gray16 = KIVO_GRAY16,    ///< Grey.
  Samples = KIVO_SAMPLES,  ///< The plain samples of the frame, little-endian.
};

/** What to make of Bayer frames; other formats ignore it. */
enum class Bayer : std::uint32_t {
  Standard = KIVO_BAYER_STANDARD,  ///< Means of the nearest samples.
  Acpi = KIVO_BAYER_ACPI,          ///< Adaptive colour plane interpolation.
  Best = KIVO_BAYER_BEST,          ///< ACPI where it is defined, else standard.
  Off = KIVO_BAYER_OFF,            ///< The mosaic as a grey picture.
  Half = KIVO_BAYER_HALF,          ///< One pixel from each 2 x 2.
};

/** What the values of a 16-bit picture are. */
enum class Levels : std::uint32_t {
  Own = KIVO_LEVELS_OWN,        ///< Those of the samples.
  Spread = KIVO_LEVELS_SPREAD,  ///< Spread over 0 to 65535.
};

/** Who reads the picture next; never changes a byte of it. */
enum class Hint : std::uint32_t {
  Auto = KIVO_HINT_AUTO,          ///< Decided by size.
  Cached = KIVO_HINT_CACHED,      ///< This core, at once.
  Streamed = KIVO_HINT_STREAMED,  ///< Nobody soon: a texture, a file, another core.
};

/** The order of the two bytes of a 16-bit sample of a frame. */
enum class ByteOrder : std::uint32_t {
  Little = KIVO_LITTLE_ENDIAN,  ///< Low byte first: PFNC.
  Big = KIVO_BIG_ENDIAN,        ///< High byte first.
};

/** Samples from `low`, which becomes 0, to `high`, which becomes 255; or the smallest and the largest. */
struct Range {
  std::uint32_t low = 0;   ///< The sample that becomes 0.
  std::uint32_t high = 0;  ///< The sample that becomes 255.
};

/** Settings of the colour chain, with the fields of kivo_colour; as they are made they change nothing. */
struct Colour : kivo_colour {
  Colour() noexcept : kivo_colour KIVO_COLOUR_INIT {}
};

/** How Plan::autoBalance() finds what is grey. */
enum class Balance : std::uint32_t {
  WhitePatch = KIVO_BALANCE_WHITE_PATCH,  ///< The brightest twentieth of what is not clipped is.
  GreyWorld = KIVO_BALANCE_GREY_WORLD,    ///< The mean is, of what is nearly so.
  Median = KIVO_BALANCE_MEDIAN,           ///< The median ratios are.
};

/** A region of a frame, in pixels. */
struct Region {
  std::uint32_t x = 0;       ///< Columns to the left of it.
  std::uint32_t y = 0;       ///< Rows above it.
  std::uint32_t width = 0;   ///< Columns.
  std::uint32_t height = 0;  ///< Rows.
};

/** What a plan shall do. As it is made: a packed little-endian frame to BGRA8. */
struct Options {
  Pixels pixels = Pixels::Bgra8;            ///< What a pixel of the picture is.
  Bayer bayer = Bayer::Standard;            ///< What to make of Bayer frames.
  Levels levels = Levels::Own;              ///< For pictures of 16 bits.
  Hint hint = Hint::Auto;                   ///< Who reads the picture next.
  ByteOrder byteOrder = ByteOrder::Little;  ///< Of the frame.
  bool mirror = false;                      ///< Turn the picture left to right.
  bool flip = false;                        ///< Turn the picture top to bottom.
  std::optional<std::uint32_t> shift;       ///< Bits that samples lose at their lower end.
  std::optional<Range> range;               ///< Samples to be mapped to 8 bits.
  Region crop;                              ///< The part of the frame; all 0: the whole.
  std::optional<Colour> colour;             ///< From samples to what a person wants to see.
  /** The same as the C functions take it; it points to the colour of this object. */
  kivo_options c() const noexcept {
    kivo_options c = KIVO_OPTIONS_INIT;
    c.pixels = static_cast<std::uint32_t>(pixels);
    c.bayer = static_cast<std::uint32_t>(bayer);
    c.levels = static_cast<std::uint32_t>(levels);
    c.hint = static_cast<std::uint32_t>(hint);
    c.byte_order = static_cast<std::uint32_t>(byteOrder);
    if (mirror) c.flags |= KIVO_MIRROR;
    if (flip) c.flags |= KIVO_FLIP;
    if (shift) c.flags |= KIVO_WITH_SHIFT, c.shift = *shift;
    if (range) c.flags |= KIVO_WITH_RANGE, c.range_low = range->low, c.range_high = range->high;
    c.crop_x = crop.x, c.crop_y = crop.y, c.crop_width = crop.width, c.crop_height = crop.height;
    if (colour) c.colour = &*colour;
    return c;
  }
};

/** A raw frame in the caller's memory, with the fields of kivo_frame. */
struct Frame : kivo_frame {
  /** `first` is the lowest address. */
  Frame(const void *first, std::size_t bytes, std::ptrdiff_t rowStride = 0) noexcept
      : kivo_frame{first, bytes, rowStride} {}
};

/** A picture in the caller's memory, with the fields of kivo_picture. */
struct Picture : kivo_picture {
  /** Without a stride with packed rows. */
  Picture(void *first, std::size_t bytes, std::ptrdiff_t rowStride = 0) noexcept
      : kivo_picture{first, bytes, rowStride} {}
};

/** How a call ended. */
class [[nodiscard]] Status {
 public:
  Status(kivo_status code = KIVO_OK) noexcept : code_(code) {}  ///< Ended in this way.
  bool ok() const noexcept { return code_ == KIVO_OK; }         ///< Whether it did what was asked for.
  kivo_status code() const noexcept { return code_; }           ///< One of KivoFrame.h.
  const char *message() const noexcept { return kivo_message(code_); }  ///< Behind "cannot convert: ".

 private:
  kivo_status code_;
};

/** A value or the reason why there is none. Without a value, the accessors give a default-constructed T. */
template <class T>
class [[nodiscard]] Result {
 public:
  /** A value, where `status` is that of success. */
  Result(T value, Status status) noexcept : value_(std::move(value)), status_(status) {}
  explicit operator bool() const noexcept { return status_.ok(); }    ///< Whether there is a value.
  Status status() const noexcept { return status_; }                  ///< KIVO_OK, or why there is no value.
  const char *message() const noexcept { return status_.message(); }  ///< The message of status().
  T &operator*() &noexcept { return value_; }                         ///< The value.
  const T &operator*() const &noexcept { return value_; }             ///< The value.
  T &&operator*() &&noexcept { return std::move(value_); }            ///< The value, to be moved from.
  T *operator->() noexcept { return &value_; }                        ///< A member of the value.
  const T *operator->() const noexcept { return &value_; }            ///< A member of the value.

 private:
  T value_{};
  Status status_;
};

/** Releases what the library has made. */
struct Release {
  void operator()(kivo_plan *plan) const noexcept { kivo_plan_free(plan); }  ///< A plan.
  void operator()(kivo_pool *pool) const noexcept { kivo_pool_free(pool); }  ///< A pool.
};

/** Threads that wait for work. Movable; one without threads refuses with KIVO_NULL_POINTER. */
class Pool {
 public:
  explicit Pool(kivo_pool *pool = nullptr) noexcept : pool_(pool) {}  ///< Owns what the C functions made.
  /** Starts threads, the caller of Plan::runOn() among them; 0: one a processor. As kivo_pool_make(). */
  static Result<Pool> make(std::uint32_t threads = 0) noexcept {
    kivo_pool *made = nullptr;
    const Status status = kivo_pool_make(threads, &made);
    return {Pool(made), status};
  }
  std::uint32_t threads() const noexcept { return kivo_pool_threads(pool_.get()); }  ///< How many work.
  kivo_pool *c() const noexcept { return pool_.get(); }  ///< What the C functions take.

 private:
  std::unique_ptr<kivo_pool, Release> pool_;
};

/**
 * How frames of one format and size become pictures. Movable; one that is empty has sizes of 0 and refuses
 * with KIVO_NULL_POINTER. Any number of threads may use one at once.
 */
class Plan {
 public:
  explicit Plan(kivo_plan *plan = nullptr) noexcept : plan_(plan) {}  ///< Owns what the C functions made.
  /** A plan for frames of a PFNC code. Codes: those of kivo_plan_make(). */
  static Result<Plan> make(std::uint32_t code, std::uint32_t width, std::uint32_t height,
                           const Options &options = {}) noexcept {
    const kivo_options c = options.c();
    kivo_plan *made = nullptr;
    const Status status = kivo_plan_make(code, width, height, &c, &made);
    return {Plan(made), status};
  }
  /** The same for what findFormat() gives: null is KIVO_UNKNOWN_FORMAT. */
  static Result<Plan> make(const Format *format, std::uint32_t width, std::uint32_t height,
                           const Options &options = {}) noexcept {
    if (format == nullptr) return {Plan(), KIVO_UNKNOWN_FORMAT};
    return make(format->code, width, height, options);
  }
  std::uint32_t width() const noexcept { return kivo_plan_width(c()); }       ///< Columns of the picture.
  std::uint32_t height() const noexcept { return kivo_plan_height(c()); }     ///< Rows of the picture.
  std::size_t rowBytes() const noexcept { return kivo_plan_row_bytes(c()); }  ///< Of the picture's rows.
  std::size_t pictureBytes() const noexcept { return kivo_plan_picture_bytes(c()); }  ///< Rows packed.
  /** Bytes of scratch memory that a run needs, in each thread. */
  std::size_t scratchBytes() const noexcept { return kivo_plan_scratch(c()); }
  /** The code of the format of a picture of samples; 0 for other pictures. */
  std::uint32_t samplesFormat() const noexcept { return kivo_plan_samples_format(c()); }
  Bayer bayer() const noexcept { return static_cast<Bayer>(kivo_plan_bayer(c())); }  ///< Not Best.
  const kivo_plan *c() const noexcept { return plan_.get(); }  ///< What the C functions take.

  /** Converts a frame, in this thread: kivo_run(). Without scratch memory on its stack. */
  Status run(const Frame &frame, const Picture &picture, void *scratch = nullptr,
             std::size_t scratchSize = 0) const noexcept {
    return kivo_run(c(), &frame, &picture, scratch, scratchSize);
  }
  /** Converts `count` rows of the picture from row `first` on: kivo_run_rows(). */
  Status runRows(const Frame &frame, const Picture &picture, std::uint32_t first, std::uint32_t count,
                 void *scratch = nullptr, std::size_t scratchSize = 0) const noexcept {
    return kivo_run_rows(c(), &frame, &picture, first, count, scratch, scratchSize);
  }
  /** Converts a frame on the threads of a pool: kivo_run_on(). */
  Status runOn(Pool &pool, const Frame &frame, const Picture &picture) const noexcept {
    return kivo_run_on(c(), &frame, &picture, pool.c() == nullptr ? nullptr : kivo_pool_run, pool.c());
  }
  /**
   * Converts a frame on the threads of another scheduler: scheduler(jobs, job) calls job(i) once for each i
   * below `jobs`, on any threads in any order, and returns when all have returned: nothing, or whether all
   * were run. It is an object, such as a lambda, and must not throw; a `job` may be copied.
   */
  template <class Scheduler>
  Status runOn(Scheduler &&scheduler, const Frame &frame, const Picture &picture) const noexcept {
    using Callable = std::remove_reference_t<Scheduler>;
    const kivo_scheduler call = [](void *self, kivo_job piece, void *context, std::size_t jobs) noexcept {
      Callable &callable = *static_cast<Callable *>(self);
      const auto job = [piece, context](std::size_t index) noexcept { piece(context, index); };
      if constexpr (std::is_void_v<decltype(callable(jobs, job))>)
        return callable(jobs, job), 0;
      else
        return callable(jobs, job) ? 0 : 1;
    };
    return kivo_run_on(c(), &frame, &picture, call, const_cast<std::remove_const_t<Callable> *>(&scheduler));
  }
  /** The smallest and the largest sample of a frame, in the region of the plan: kivo_sample_range(). */
  Result<Range> sampleRange(const Frame &frame) const noexcept {
    Range range;
    const Status status = kivo_sample_range(c(), &frame, &range.low, &range.high);
    return {range, status};
  }
  /** Suggests a black level: kivo_auto_black(). */
  Status autoBlack(const Frame &frame, Colour &colour) const noexcept {
    return kivo_auto_black(c(), &frame, &colour);
  }
  /** Suggests gains for the black level of the colour: kivo_auto_balance(). */
  Status autoBalance(const Frame &frame, Balance balance, Colour &colour) const noexcept {
    return kivo_auto_balance(c(), &frame, static_cast<std::uint32_t>(balance), &colour);
  }
  /** Suggests black and white point for black level and gains, by percentages: kivo_auto_range(). */
  Status autoRange(const Frame &frame, double low, double high, Colour &colour) const noexcept {
    return kivo_auto_range(c(), &frame, low, high, &colour);
  }

 private:
  std::unique_ptr<kivo_plan, Release> plan_;
};

/** The formats whose names are nearest to a text, nearest first. */
struct Suggestions {
  const Format *formats[3] = {};  ///< The formats.
  std::size_t count = 0;          ///< How many of them there are.
};

#pragma GCC visibility pop

/** The format with this name, in any case and of any system: kivo_format_find(). Null for any other text. */
inline const Format *findFormat(const char *name) noexcept {
  return kivo_format_find(name);
}

/** The format with this PFNC code, or null. */
inline const Format *findFormat(std::uint32_t code) noexcept {
  return kivo_format_of_code(code);
}

/** The formats that a name which is none may mean: kivo_format_suggest(). */
inline Suggestions suggestFormats(const char *name) noexcept {
  Suggestions found;
  found.count = kivo_format_suggest(name, found.formats, std::size(found.formats));
  return found;
}

}  // namespace engine
}  // namespace v1
#pragma GCC visibility pop
}  // namespace kivo

#endif  // KIVO_FRAME_HPP
