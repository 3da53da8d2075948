// SPDX-License-Identifier: Apache-2.0
// Bad buffers: what running a plan refuses, in the order of the checks, and nothing written.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
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

namespace KivoTest {
namespace {

struct FreePlan {
  void operator()(kivo_plan *plan) const { kivo_plan_free(plan); }
};

constexpr std::size_t kFrameAt = 4096, kPictureAt = 65536, kScratchAt = 131072;
constexpr std::size_t kArena = kScratchAt + (std::size_t{256} << 10) + 64;
constexpr std::uint8_t kFill = 0x5A;

// A call of kivo_run_rows() on buffers in one arena, that succeeds until it is spoilt.
struct Running {
  const Model::Plan *judged = nullptr;
  const kivo_plan *plan = nullptr;
  kivo_frame frame{};
  kivo_picture picture{};
  const kivo_frame *frame_at = &frame;
  const kivo_picture *picture_at = &picture;
  Model::Rows rows;
  void *scratch = nullptr;
  std::size_t scratch_size = 0;
  std::uint8_t *arena = nullptr;

  Running() = default;
  Running(const Running &other) { *this = other; }
  Running &operator=(const Running &other) {
    judged = other.judged, plan = other.plan, frame = other.frame, picture = other.picture;
    frame_at = other.frame_at == &other.frame ? &frame : nullptr;
    picture_at = other.picture_at == &other.picture ? &picture : nullptr;
    rows = other.rows, scratch = other.scratch, scratch_size = other.scratch_size, arena = other.arena;
    return *this;
  }
  std::ptrdiff_t frame_row() const {
    return static_cast<std::ptrdiff_t>(Model::RowBytes(*judged->format, judged->frame_width));
  }
  std::ptrdiff_t picture_row() const { return static_cast<std::ptrdiff_t>(judged->row_bytes); }
};

struct Fault {
  kivo_status status;
  const char *what;
  std::function<void(Running &)> spoil;
};

const std::vector<Fault> &Faults() {
  static const std::vector<Fault> faults = {
      {KIVO_NULL_POINTER, "plan", [](Running &r) { r.plan = nullptr; }},
      {KIVO_NULL_POINTER, "frame", [](Running &r) { r.frame_at = nullptr; }},
      {KIVO_NULL_POINTER, "picture", [](Running &r) { r.picture_at = nullptr; }},
      {KIVO_NULL_POINTER, "frame data", [](Running &r) { r.frame.data = nullptr; }},
      {KIVO_NULL_POINTER, "picture data", [](Running &r) { r.picture.data = nullptr; }},
      {KIVO_SHORT_STRIDE, "stride 1", [](Running &r) { r.frame.stride = 1; }},
      {KIVO_SHORT_STRIDE, "stride -1", [](Running &r) { r.frame.stride = -1; }},
      {KIVO_SHORT_STRIDE, "stride one less", [](Running &r) { r.frame.stride = r.frame_row() - 1; }},
      {KIVO_SHORT_STRIDE, "negative one less", [](Running &r) { r.frame.stride = 1 - r.frame_row(); }},
      {KIVO_SHORT_BUFFER, "size 0", [](Running &r) { r.frame.size = 0; }},
      {KIVO_SHORT_BUFFER, "size one less", [](Running &r) { --r.frame.size; }},
      {KIVO_SHORT_BUFFER, "stride PTRDIFF_MIN", [](Running &r) { r.frame.stride = PTRDIFF_MIN; }},
      {KIVO_SHORT_BUFFER, "stride PTRDIFF_MAX", [](Running &r) { r.frame.stride = PTRDIFF_MAX; }},
      {KIVO_SHORT_BUFFER, "stride that wraps to 0",
       [](Running &r) { r.frame.stride = std::ptrdiff_t{1} << 62; }},
      {KIVO_SHORT_PICTURE_STRIDE, "stride 1", [](Running &r) { r.picture.stride = 1; }},
      {KIVO_SHORT_PICTURE_STRIDE, "stride -1", [](Running &r) { r.picture.stride = -1; }},
      {KIVO_SHORT_PICTURE_STRIDE, "stride one less",
       [](Running &r) { r.picture.stride = r.picture_row() - 1; }},
      {KIVO_SHORT_PICTURE_STRIDE, "negative one less",
       [](Running &r) { r.picture.stride = 1 - r.picture_row(); }},
      {KIVO_SHORT_PICTURE, "size 0", [](Running &r) { r.picture.size = 0; }},
      {KIVO_SHORT_PICTURE, "size one less", [](Running &r) { --r.picture.size; }},
      {KIVO_SHORT_PICTURE, "stride PTRDIFF_MIN", [](Running &r) { r.picture.stride = PTRDIFF_MIN; }},
      {KIVO_SHORT_PICTURE, "stride PTRDIFF_MAX", [](Running &r) { r.picture.stride = PTRDIFF_MAX; }},
      {KIVO_SHORT_PICTURE, "stride that wraps to 0",
       [](Running &r) { r.picture.stride = std::ptrdiff_t{1} << 62; }},
      {KIVO_OVERLAP, "picture on the frame's first byte",
       [](Running &r) { r.picture.data = r.arena + kFrameAt; }},
      {KIVO_OVERLAP, "picture on the frame's last byte",
       [](Running &r) {
         const auto extent = static_cast<std::size_t>(
             Model::FrameExtent(*r.judged->format, r.judged->frame_width, r.judged->frame_height, 0));
         r.picture.data = r.arena + kFrameAt + extent - 1;
       }},
      {KIVO_ROWS_OUTSIDE, "a row more",
       [](Running &r) {
         r.rows = {0, r.judged->height + 1};
       }},
      {KIVO_ROWS_OUTSIDE, "behind the last",
       [](Running &r) {
         r.rows = {r.judged->height, 1};
       }},
      {KIVO_ROWS_OUTSIDE, "a sum that wraps",
       [](Running &r) {
         r.rows = {1, 0xFFFFFFFFu};
       }},
      {KIVO_ROWS_OUTSIDE, "another",
       [](Running &r) {
         r.rows = {0xFFFFFFFFu, 1};
       }},
      {KIVO_ROWS_OUTSIDE, "a third",
       [](Running &r) {
         r.rows = {0x80000000u, 0x80000000u};
       }},
      {KIVO_SHORT_SCRATCH, "one byte less",
       [](Running &r) { r.scratch = r.arena + kScratchAt, r.scratch_size = kivo_plan_scratch(r.plan) - 1; }},
      {KIVO_SHORT_SCRATCH, "none", [](Running &r) { r.scratch = r.arena + kScratchAt, r.scratch_size = 0; }},
  };
  return faults;
}

class RunRefusals : public ::testing::Test {
 protected:
  RunRefusals() : arena_(kArena) { arena_.Fill(kFill); }

  void Prepare(std::uint32_t code, kivo_options options) {
    judged_ = Model::MakePlan(code, 12, 8, &options);
    kivo_plan *plan = nullptr;
    ASSERT_EQ(kivo_plan_make(code, 12, 8, &options, &plan), KIVO_OK);
    plan_.reset(plan);
    good_.judged = &judged_;
    good_.plan = plan;
    good_.arena = arena_.data();
    good_.frame = {arena_.data() + kFrameAt,
                   static_cast<std::size_t>(Model::FrameBytes(*judged_.format, 12, 8)), 0};
    good_.picture = {arena_.data() + kPictureAt, static_cast<std::size_t>(judged_.picture_bytes()), 0};
    good_.rows = {0, judged_.height};
  }

  bool Untouched() const {
    for (std::size_t i = 0; i < arena_.size(); ++i)
      if (arena_.read_only()[i] != kFill) return false;
    return true;
  }

  // What the model says of a call, and what the order of the codes says of a null plan.
  kivo_status Judged(const Running &r) const {
    if (r.plan == nullptr) return KIVO_NULL_POINTER;
    return Model::RunStatus(*r.judged, r.frame_at, r.picture_at, r.rows, r.scratch, r.scratch_size,
                            kivo_plan_scratch(r.plan));
  }

  static kivo_status Rows(const Running &r) {
    return kivo_run_rows(r.plan, r.frame_at, r.picture_at, r.rows.first, r.rows.count, r.scratch,
                         r.scratch_size);
  }

  static int RunNone(void *, kivo_job, void *, size_t) { return 0; }

  GuardedBuffer arena_;
  Model::Plan judged_;
  std::unique_ptr<kivo_plan, FreePlan> plan_;
  Running good_;
};

TEST_F(RunRefusals, ComeInOrder) {
  std::set<std::pair<kivo_status, kivo_status>> met;
  kivo_options standard = KIVO_OPTIONS_INIT, samples = KIVO_OPTIONS_INIT, acpi = KIVO_OPTIONS_INIT;
  samples.pixels = KIVO_SAMPLES;
  acpi.bayer = KIVO_BAYER_ACPI;
  acpi.flags = KIVO_MIRROR | KIVO_FLIP;
  const std::pair<std::uint32_t, kivo_options> plans[] = {
      {0x01080001, standard}, {0x010A0058, standard}, {0x01100011, acpi},    {0x02300022, samples},
      {0x020C001E, standard}, {0x010C0047, samples},  {0x01080009, standard}};
  for (const auto &[code, options] : plans) {
    Prepare(code, options);
    const bool needs_scratch = kivo_plan_scratch(good_.plan) != 0;
    for (const Fault &first : Faults())
      for (const Fault &second : Faults()) {
        if (!needs_scratch && std::max(first.status, second.status) == KIVO_SHORT_SCRATCH) continue;
        Running bad = good_;
        // What scratch is too small by is asked of the plan, before that is gone.
        (first.status > second.status ? first : second).spoil(bad);
        (first.status > second.status ? second : first).spoil(bad);
        const kivo_status judged = Judged(bad);
        if (judged == KIVO_OK) continue;  // two that undo each other
        if (judged == std::min(first.status, second.status))
          met.insert({judged, std::max(first.status, second.status)});
        const std::string about =
            std::string(first.what) + " and " + second.what + " of " + judged_.format->name;
        EXPECT_EQ(Rows(bad), judged) << about;

        const bool of_rows = judged == KIVO_ROWS_OUTSIDE, of_scratch = judged == KIVO_SHORT_SCRATCH;
        if (!of_rows && !(of_scratch && bad.rows.count == 0)) {
          EXPECT_EQ(kivo_run(bad.plan, bad.frame_at, bad.picture_at, bad.scratch, bad.scratch_size), judged)
              << about;
        }
        if (!of_rows && !of_scratch) {
          EXPECT_EQ(kivo_run_on(bad.plan, bad.frame_at, bad.picture_at, RunNone, nullptr), judged) << about;
        }
        if (judged == KIVO_NULL_POINTER || judged == KIVO_SHORT_BUFFER || judged == KIVO_SHORT_STRIDE) {
          std::uint32_t least = 77, most = 78;
          if (bad.picture_at != nullptr && bad.picture.data != nullptr) {
            EXPECT_EQ(kivo_sample_range(bad.plan, bad.frame_at, &least, &most), judged) << about;
            EXPECT_EQ(least, 77u);
            EXPECT_EQ(most, 78u);
          }
        }
      }
    EXPECT_TRUE(Untouched()) << judged_.format->name;
  }
  for (int first = KIVO_SHORT_STRIDE; first <= KIVO_SHORT_SCRATCH; ++first)
    for (int second = first; second <= KIVO_SHORT_SCRATCH; ++second)
      EXPECT_EQ(met.count({static_cast<kivo_status>(first), static_cast<kivo_status>(second)}), 1u)
          << first << " before " << second;
}

TEST_F(RunRefusals, OfNullAlone) {
  Prepare(0x01080009, KIVO_OPTIONS_INIT);
  const Running &r = good_;
  std::uint32_t least = 1, most = 2;
  EXPECT_EQ(kivo_run_on(r.plan, r.frame_at, r.picture_at, nullptr, nullptr), KIVO_NULL_POINTER);
  kivo_frame narrow = r.frame;
  narrow.stride = 1;
  EXPECT_EQ(kivo_run_on(r.plan, &narrow, r.picture_at, nullptr, nullptr), KIVO_NULL_POINTER);
  EXPECT_EQ(kivo_sample_range(r.plan, r.frame_at, nullptr, &most), KIVO_NULL_POINTER);
  EXPECT_EQ(kivo_sample_range(r.plan, r.frame_at, &least, nullptr), KIVO_NULL_POINTER);
  EXPECT_EQ(kivo_sample_range(r.plan, &narrow, &least, nullptr), KIVO_NULL_POINTER);
  EXPECT_EQ(kivo_sample_range(r.plan, &narrow, &least, &most), KIVO_SHORT_STRIDE);
  EXPECT_EQ(kivo_run(nullptr, nullptr, nullptr, nullptr, 0), KIVO_NULL_POINTER);
  EXPECT_EQ(kivo_run_rows(nullptr, nullptr, nullptr, 0, 0, nullptr, 0), KIVO_NULL_POINTER);
  EXPECT_EQ(kivo_sample_range(nullptr, nullptr, nullptr, nullptr), KIVO_NULL_POINTER);
  EXPECT_EQ(least, 1u);
  EXPECT_EQ(most, 2u);
  EXPECT_TRUE(Untouched());
  // No rows asked for: none written, and all the same checked.
  EXPECT_EQ(kivo_run_rows(r.plan, r.frame_at, r.picture_at, 3, 0, nullptr, 0), KIVO_OK);
  EXPECT_EQ(kivo_run_rows(r.plan, r.frame_at, r.picture_at, 8, 0, nullptr, 0), KIVO_OK);
  EXPECT_EQ(kivo_run_rows(r.plan, &narrow, r.picture_at, 3, 0, nullptr, 0), KIVO_SHORT_STRIDE);
  EXPECT_TRUE(Untouched());
  // The size of scratch memory that is not there says nothing.
  EXPECT_EQ(kivo_run_rows(r.plan, r.frame_at, r.picture_at, 0, 1, nullptr, 1), KIVO_OK);
}

TEST_F(RunRefusals, OfOneRowKnowNoStride) {
  // The only row begins at the lowest address, whatever the stride; it may still not be shorter than the row.
  kivo_options options = KIVO_OPTIONS_INIT;
  options.pixels = KIVO_BGR8;
  kivo_plan *plan = nullptr;
  ASSERT_EQ(kivo_plan_make(0x01080001, 12, 1, &options, &plan), KIVO_OK);
  plan_.reset(plan);
  std::array<std::uint8_t, 12> in{};
  std::array<std::uint8_t, 36> out{};
  for (const std::ptrdiff_t stride :
       {PTRDIFF_MIN, PTRDIFF_MIN + 1, PTRDIFF_MAX, std::ptrdiff_t{36}, std::ptrdiff_t{-36}}) {
    const kivo_frame frame{in.data(), in.size(), stride};
    const kivo_picture picture{out.data(), out.size(), stride};
    EXPECT_EQ(kivo_run(plan, &frame, &picture, nullptr, 0), KIVO_OK) << stride;
  }
  const kivo_frame frame{in.data(), in.size(), -11};
  const kivo_picture picture{out.data(), out.size(), 0};
  EXPECT_EQ(kivo_run(plan, &frame, &picture, nullptr, 0), KIVO_SHORT_STRIDE);
}

// Every stride and size, of both sides, as the model has it. Sizes may lie only where the extent does not
// reach beyond the arena: a caller who lies about memory gets what he asked for.
TEST_F(RunRefusals, OfStridesAndSizes) {
  for (const std::uint32_t code :
       {0x01080001u, 0x010A0058u, 0x010C002Bu, 0x02300022u, 0x020C001Eu, 0x01010037u}) {
    Prepare(code, KIVO_OPTIONS_INIT);
    const std::ptrdiff_t row = good_.frame_row(), out_row = good_.picture_row();
    const auto strides = [](std::ptrdiff_t of) {
      return std::vector<std::ptrdiff_t>{0,
                                         1,
                                         -1,
                                         of - 1,
                                         of,
                                         of + 1,
                                         1 - of,
                                         -of,
                                         -of - 1,
                                         PTRDIFF_MIN,
                                         PTRDIFF_MAX,
                                         PTRDIFF_MIN + 1,
                                         of + 64,
                                         64 - of,
                                         PTRDIFF_MAX / 7,
                                         PTRDIFF_MIN / 7 - 1,
                                         PTRDIFF_MIN / 8,
                                         PTRDIFF_MIN / 4};
    };
    for (const bool of_frame : {true, false})
      for (const std::ptrdiff_t stride : strides(of_frame ? row : out_row))
        for (const std::size_t claimed :
             {std::size_t{0}, std::size_t{1}, SIZE_MAX, std::size_t{PTRDIFF_MAX}, std::size_t{3}})
          for (const int about_right : {-1, 0, 1}) {
            Running r = good_;
            (of_frame ? r.frame.stride : r.picture.stride) = stride;
            Model::Wide extent =
                of_frame ? Model::FrameExtent(*judged_.format, 12, 8, stride) : judged_.picture_bytes();
            if (!of_frame && stride != 0)
              extent = Model::Wide(judged_.height - 1) *
                           (stride < 0 ? -Model::Wide(stride) : Model::Wide(stride)) +
                       judged_.row_bytes;
            std::size_t size = claimed;
            if (claimed == 3) {
              if (extent > 30000) continue;
              size = static_cast<std::size_t>(static_cast<std::ptrdiff_t>(extent) + about_right);
            }
            if (extent > 30000 && size >= extent) continue;
            (of_frame ? r.frame.size : r.picture.size) = size;
            EXPECT_EQ(Rows(r), Judged(r)) << judged_.format->name << " " << (of_frame ? "frame" : "picture")
                                          << " stride " << stride << " size " << size;
          }
  }
}

TEST_F(RunRefusals, OfBuffersThatTouch) {
  const std::pair<std::ptrdiff_t, std::ptrdiff_t> strides[] = {{0, 0},    {20, 0},   {0, 60},   {20, 60},
                                                               {-20, 60}, {20, -60}, {-20, -60}};
  for (const auto &stride : strides) {
    const std::ptrdiff_t in = stride.first, out = stride.second;
    kivo_options options = KIVO_OPTIONS_INIT;
    Prepare(0x01080009, options);
    Running r = good_;
    r.frame.stride = in;
    r.picture.stride = out;
    const std::size_t frame = in == 0 ? 96 : 7 * 20 + 12, picture = out == 0 ? 384 : 7 * 60 + 48;
    r.frame.size = frame;
    r.picture.size = picture;
    std::uint8_t *const data = arena_.data() + kFrameAt;
    r.frame.data = data;
    const auto at = [&](std::ptrdiff_t offset) {
      r.picture.data = data + offset;
      const kivo_status judged = Judged(r);
      const kivo_status one = Rows(r);
      EXPECT_EQ(one, judged) << in << " " << out << " at " << offset;
      return one;
    };
    const auto before = -static_cast<std::ptrdiff_t>(picture), behind = static_cast<std::ptrdiff_t>(frame);
    EXPECT_EQ(at(before), KIVO_OK);
    EXPECT_EQ(at(before + 1), KIVO_OVERLAP);
    EXPECT_EQ(at(behind), KIVO_OK);
    EXPECT_EQ(at(behind - 1), KIVO_OVERLAP);
    EXPECT_EQ(at(0), KIVO_OVERLAP);
    EXPECT_EQ(at(13), KIVO_OVERLAP);
    EXPECT_EQ(at(-13), KIVO_OVERLAP);
    // Bytes that are allowed but not needed do not count.
    r.frame.size += 100;
    EXPECT_EQ(at(behind), KIVO_OK);
    r.frame.size = frame;
    r.picture.size += 100;
    EXPECT_EQ(at(before), KIVO_OK);
  }
}

TEST_F(RunRefusals, OverlapCountsPaddingBetweenRows) {
  // A picture of one pixel in the gap between the rows of the frame.
  kivo_options options = KIVO_OPTIONS_INIT;
  options.crop_width = options.crop_height = 1;
  Prepare(0x01080001, options);
  Running r = good_;
  r.frame.stride = 64;
  r.frame.size = 7 * 64 + 12;
  for (const std::ptrdiff_t offset : {16, 64 + 16, 6 * 64 + 40}) {
    r.picture.data = arena_.data() + kFrameAt + offset;
    EXPECT_EQ(Rows(r), KIVO_OVERLAP) << offset;
  }
  EXPECT_TRUE(Untouched());
  r.picture.data =
      arena_.data() + kFrameAt + 7 * 64 + 12;  // behind the last pixel, though the stride goes on
  EXPECT_EQ(Rows(r), KIVO_OK);
}

TEST_F(RunRefusals, OfSchedulersThatFail) {
  Prepare(0x01080009, KIVO_OPTIONS_INIT);
  const Running &r = good_;
  const auto none = [](void *, kivo_job, void *, std::size_t) { return 1; };
  EXPECT_EQ(kivo_run_on(r.plan, r.frame_at, r.picture_at, none, nullptr), KIVO_SCHEDULER_FAILED);
  EXPECT_TRUE(Untouched());
  const auto all = [](void *, kivo_job job, void *context, std::size_t jobs) {
    for (std::size_t i = 0; i < jobs; ++i) job(context, i);
    return -1;
  };
  EXPECT_EQ(kivo_run_on(r.plan, r.frame_at, r.picture_at, all, nullptr), KIVO_SCHEDULER_FAILED);
}

}  // namespace
}  // namespace KivoTest
