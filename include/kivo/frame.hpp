// SPDX-License-Identifier: Apache-2.0
/**
 * @file frame.hpp
 * C++17 over KivoFrame.h, which is the manual: plans and pools that free themselves, options with types, any
 * callable as a scheduler. Checks and rules are the library's. Nothing throws; -fno-exceptions is fine.
 */
#ifndef KIVO_FRAME_HPP
#define KIVO_FRAME_HPP

#include <KivoFrame.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <type_traits>
#include <utility>

/** The C++ layer: views of frames, and what can be done with them. */
namespace kivo {
#pragma GCC visibility push(hidden)
/**
 * The version of the layer: another one where a type changes. Functions are hidden, since the loader would
 * merge those of a program and its plug-ins; types are visible: others may have them as members.
 */
inline namespace v1 {

// Version 14 of the formatter takes the attribute for the beginning of an initialiser.
// clang-format off
/** What went wrong; one value and one message() per cause. Up to 99 the codes of the engine. */
enum class [[nodiscard]] Errc : int {
  Ok = KIVO_OK,                                    ///< Success.
  NullPointer = KIVO_NULL_POINTER,                 ///< A pointer is null: of samples, pixels, a plan or a pool.
  UnknownFormat = KIVO_UNKNOWN_FORMAT,             ///< The pixel format code is not in the table of formats.
  UnknownOption = KIVO_UNKNOWN_OPTION,             ///< An option is none of the values of its enumeration.
  EmptyImage = KIVO_EMPTY_IMAGE,                   ///< Width or height is zero.
  TooLarge = KIVO_TOO_LARGE,                       ///< More bytes than can be addressed, or than a file can say.
  NoByteOrder = KIVO_NO_BYTE_ORDER,                ///< Big-endian, but the format has no 16-bit words.
  PartialGroup = KIVO_PARTIAL_GROUP,               ///< The width ends within a group of YUV pixels.
  CropOutside = KIVO_CROP_OUTSIDE,                 ///< The region does not lie within the frame.
  SplitGroup = KIVO_SPLIT_GROUP,                   ///< The region cuts a group of YUV pixels in two.
  AcpiSize = KIVO_ACPI_SIZE,                       ///< ACPI for an odd size, or one below 4 x 4.
  HalfSize = KIVO_HALF_SIZE,                       ///< Half size of less than 2 x 2 pixels.
  BadShift = KIVO_BAD_SHIFT,                       ///< A shift that is above 15, or has nothing to shift.
  BadRange = KIVO_BAD_RANGE,                       ///< A range for YUV, with a shift, or for 16 bits.
  BadLevels = KIVO_BAD_LEVELS,                     ///< Levels to be spread in a picture that is not of 16 bits.
  ShortStride = KIVO_SHORT_STRIDE,                 ///< The row stride is smaller than a row.
  ShortBuffer = KIVO_SHORT_BUFFER,                 ///< The buffer ends before the frame does.
  ShortPictureStride = KIVO_SHORT_PICTURE_STRIDE,  ///< The stride of the picture is smaller than a row of it.
  ShortPicture = KIVO_SHORT_PICTURE,               ///< The destination ends before the picture would.
  Overlap = KIVO_OVERLAP,                          ///< Frame and picture overlap.
  RowsOutside = KIVO_ROWS_OUTSIDE,                 ///< The rows asked for are not rows of the picture.
  ShortScratch = KIVO_SHORT_SCRATCH,               ///< The scratch memory is too small.
  OutOfMemory = KIVO_OUT_OF_MEMORY,                ///< An allocation failed.
  SchedulerFailed = KIVO_SCHEDULER_FAILED,         ///< The scheduler did not run every job.
  BadColour = KIVO_BAD_COLOUR,                     ///< Colour for YUV, for samples, or beside a range or a shift.
  BadBlack = KIVO_BAD_BLACK,                       ///< A black level that is not a number from 0 to 65535.
  BadGain = KIVO_BAD_GAIN,                         ///< A gain that is not a number from 0 to 1024.
  BadMatrix = KIVO_BAD_MATRIX,                     ///< A coefficient that is not a number between -4 and 4.
  BadPoints = KIVO_BAD_POINTS,                     ///< Black and white point that are none, or out of order.
  BadGamma = KIVO_BAD_GAMMA,                       ///< A gamma that is not a number from 0.1 to 10.
  BadTable = KIVO_BAD_TABLE,                       ///< No tone table, or one of too few or too many entries.
  BadPercent = KIVO_BAD_PERCENT,                   ///< Percentiles that are none, or out of order.
  PartialByte = 100,                               ///< Rows do not end on a byte, which an RWH file needs.
  NotForBmp,                                       ///< The pixels of the picture are none that a BMP file has.
  NotAFile,                                        ///< The path is something other than a regular file.
  FileOpen,                                        ///< The file cannot be opened.
  FileRead,                                        ///< The file cannot be read.
  FileWrite,                                       ///< Not every byte arrived in the file.
  NoHeader,                                        ///< The file is shorter than an RWH header.
  BadHeader,                                       ///< The RWH header's row length does not fit its width.
  FileTooShort,                                    ///< The file is shorter than its RWH header says.
  FileTooLong,                                     ///< The file is longer than its RWH header says.
};
// clang-format on

/** The code of the engine as one of the layer. */
constexpr Errc errcOf(kivo_status status) noexcept {
  return static_cast<Errc>(status);
}

/** One clause in lower case that fits behind "cannot convert: ": kivo_message(), and more. Never null. */
inline const char *message(Errc error) noexcept {
  constexpr int first = static_cast<int>(Errc::PartialByte);
  constexpr const char *files[] = {"rows of this width do not end on a byte: unpack the frame first",
                                   "a BMP file holds pixels of BGRA8, BGR8 or Gray8",
                                   "not a regular file",
                                   "the file cannot be opened",
                                   "the file cannot be read",
                                   "the file could not be written completely",
                                   "the file is shorter than the 16-byte RWH header",
                                   "the RWH header contradicts itself: its row length does not fit its width",
                                   "the file is shorter than its RWH header says",
                                   "the file is longer than its RWH header says"};
  const int code = static_cast<int>(error);
  return error >= Errc::PartialByte && error <= Errc::FileTooLong
             ? files[code - first]
             : kivo_message(static_cast<kivo_status>(code));
}

#pragma GCC visibility push(default)

/** A value or the reason why there is none. Without a value, the accessors give a default-constructed T. */
template <class T>
class [[nodiscard]] Result {
 public:
  Result(T value) : value_(std::move(value)) {}                           ///< A value.
  Result(Errc error) noexcept : error_(error) {}                          ///< No value; not Errc::Ok.
  explicit operator bool() const noexcept { return error_ == Errc::Ok; }  ///< Whether there is a value.
  Errc error() const noexcept { return error_; }                          ///< Errc::Ok, or why there is none.
  const char *message() const noexcept { return kivo::message(error_); }  ///< kivo::message() of error().
  T &operator*() &noexcept { return value_; }                             ///< The value.
  const T &operator*() const &noexcept { return value_; }                 ///< The value.
  T &&operator*() &&noexcept { return std::move(value_); }                ///< The value, to be moved from.
  T *operator->() noexcept { return &value_; }                            ///< A member of the value.
  const T *operator->() const noexcept { return &value_; }                ///< A member of the value.

 private:
  T value_{};
  Errc error_ = Errc::Ok;
};

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
  std::optional<std::uint32_t> shift = {};  ///< Bits that samples lose at their lower end.
  std::optional<Range> range = {};          ///< Samples to be mapped to 8 bits.
  Region crop = {};                         ///< The part of the frame; all 0: the whole.
  std::optional<Colour> colour = {};        ///< From samples to what a person wants to see.
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
    const kivo_status status = kivo_pool_make(threads, &made);
    if (status != KIVO_OK) return errcOf(status);
    return Pool(made);
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
    const kivo_status status = kivo_plan_make(code, width, height, &c, &made);
    if (status != KIVO_OK) return errcOf(status);
    return Plan(made);
  }
  /** The same for what findFormat() gives: null is KIVO_UNKNOWN_FORMAT. */
  static Result<Plan> make(const Format *format, std::uint32_t width, std::uint32_t height,
                           const Options &options = {}) noexcept {
    if (format == nullptr) return Errc::UnknownFormat;
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
  Errc run(const kivo_frame &frame, const kivo_picture &picture, void *scratch = nullptr,
           std::size_t scratchSize = 0) const noexcept {
    return errcOf(kivo_run(c(), &frame, &picture, scratch, scratchSize));
  }
  /** Converts `count` rows of the picture from row `first` on: kivo_run_rows(). */
  Errc runRows(const kivo_frame &frame, const kivo_picture &picture, std::uint32_t first, std::uint32_t count,
               void *scratch = nullptr, std::size_t scratchSize = 0) const noexcept {
    return errcOf(kivo_run_rows(c(), &frame, &picture, first, count, scratch, scratchSize));
  }
  /** Converts a frame on the threads of a pool: kivo_run_on(). */
  Errc runOn(Pool &pool, const kivo_frame &frame, const kivo_picture &picture) const noexcept {
    return errcOf(
        kivo_run_on(c(), &frame, &picture, pool.c() == nullptr ? nullptr : kivo_pool_run, pool.c()));
  }
  /**
   * Converts a frame on the threads of another scheduler: scheduler(jobs, job) calls job(i) once for each i
   * below `jobs`, on any threads in any order, and returns when all have returned: nothing, or whether all
   * were run. It must not throw; a `job` may be copied.
   */
  template <class Scheduler>
  Errc runOn(Scheduler &&scheduler, const kivo_frame &frame, const kivo_picture &picture) const noexcept {
    using Callable = std::remove_reference_t<Scheduler>;
    const kivo_scheduler call = [](void *self, kivo_job piece, void *context, std::size_t jobs) noexcept {
      Callable &callable = *static_cast<Callable *>(self);
      const auto job = [piece, context](std::size_t index) noexcept { piece(context, index); };
      if constexpr (std::is_void_v<decltype(callable(jobs, job))>)
        return callable(jobs, job), 0;
      else
        return callable(jobs, job) ? 0 : 1;
    };
    return errcOf(
        kivo_run_on(c(), &frame, &picture, call, const_cast<std::remove_const_t<Callable> *>(&scheduler)));
  }
  /** The smallest and the largest sample of a frame, in the region of the plan: kivo_sample_range(). */
  Result<Range> sampleRange(const kivo_frame &frame) const noexcept {
    Range range;
    const kivo_status status = kivo_sample_range(c(), &frame, &range.low, &range.high);
    if (status != KIVO_OK) return errcOf(status);
    return range;
  }
  /** Suggests a black level: kivo_auto_black(). */
  Errc autoBlack(const kivo_frame &frame, Colour &colour) const noexcept {
    return errcOf(kivo_auto_black(c(), &frame, &colour));
  }
  /** Suggests gains for the black level of the colour: kivo_auto_balance(). */
  Errc autoBalance(const kivo_frame &frame, Balance balance, Colour &colour) const noexcept {
    return errcOf(kivo_auto_balance(c(), &frame, static_cast<std::uint32_t>(balance), &colour));
  }
  /** Suggests black and white point for black level and gains, by percentages: kivo_auto_range(). */
  Errc autoRange(const kivo_frame &frame, double low, double high, Colour &colour) const noexcept {
    return errcOf(kivo_auto_range(c(), &frame, low, high, &colour));
  }

 private:
  std::unique_ptr<kivo_plan, Release> plan_;
};

/** All formats of the library's table, for a loop over them. */
struct Formats {
  /** Where such a loop is. */
  struct Iterator {
    std::size_t index;                                                           ///< Within the table.
    const Format &operator*() const noexcept { return *kivo_format_at(index); }  ///< The format.
    Iterator &operator++() noexcept { return ++index, *this; }                   ///< To the next.
    bool operator!=(const Iterator &other) const noexcept { return index != other.index; }  ///< Elsewhere.
  };
  std::size_t size() const noexcept { return kivo_format_count(); }  ///< How many there are.
  Iterator begin() const noexcept { return {0}; }                    ///< The first.
  Iterator end() const noexcept { return {size()}; }                 ///< Behind the last.
};

#pragma GCC visibility pop

/** All formats of the library's table. */
inline Formats formats() noexcept {
  return {};
}

/** The format with this name, in any case and of any system: kivo_format_find(). Null for any other text. */
inline const Format *findFormat(const char *name) noexcept {
  return kivo_format_find(name);
}

/** The format with this PFNC code, or null. */
inline const Format *findFormat(std::uint32_t code) noexcept {
  return kivo_format_of_code(code);
}

}  // namespace v1
#pragma GCC visibility pop
}  // namespace kivo

#endif  // KIVO_FRAME_HPP
