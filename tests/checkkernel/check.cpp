// SPDX-License-Identifier: Apache-2.0
#include "checkkernel/check.h"

#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <limits>

#include "simd/targets.h"

namespace KivoTest {
namespace {

constexpr std::size_t kArenaBytes = std::size_t{2} << 20;
constexpr std::size_t kMargin = 192;  // bytes looked at on each side of the destination
constexpr std::size_t kMaxReports = 10;

const Case *g_running = nullptr;

void ReportCrash(int signal_number) {
  char text[512];
  const int length = std::snprintf(text, sizeof text, "signal %d in %s\n", signal_number,
                                   g_running == nullptr ? "no call" : g_running->Text().c_str());
  if (length > 0) {
    const ssize_t written =
        write(STDERR_FILENO, text, std::min(sizeof text - 1, static_cast<std::size_t>(length)));
    static_cast<void>(written);
  }
  _exit(1);
}

std::string PlacementText(Placement where) {
  return (where.edge == Placement::Edge::kEnd ? "end-" : "start+") + std::to_string(where.gap);
}

}  // namespace

void InstallCrashReport() {
  struct sigaction action = {};
  action.sa_handler = ReportCrash;
  sigaction(SIGSEGV, &action, nullptr);
  sigaction(SIGBUS, &action, nullptr);
  sigaction(SIGILL, &action, nullptr);
  sigaction(SIGFPE, &action, nullptr);
}

std::string Case::Text() const {
  return function + " " + std::to_string(width) + "x" + std::to_string(height) + " shift " +
         std::to_string(shift) + " content " + ContentName(content) + " source " + PlacementText(src) +
         " destination " + PlacementText(dst) + (stream ? " streaming" : "");
}

Check::Check(std::uint64_t seed, bool quick)
    : random_(seed), quick_(quick), src_(kArenaBytes), dst_(kArenaBytes), fill_(2 * kArenaBytes) {
  for (std::uint8_t &byte : fill_) byte = static_cast<std::uint8_t>(random_.Next());
}

Content Check::NextContent() {
  next_content_ = (next_content_ + 1) % static_cast<unsigned>(Content::kCount);
  return static_cast<Content>(next_content_);
}

void Check::Convert(const Converter &converter, std::uint32_t width, std::uint32_t height,
                    std::uint32_t shift, Content content) {
  const std::size_t bytes = SourceBytes(converter, width, height);
  const std::size_t row = std::max<std::size_t>(width, 1);
  std::vector<std::uint8_t> source = converter.is_wide() ? MakeSamples16(random_, content, bytes / 2, row)
                                                         : MakeSamples8(random_, content, bytes, row);
  Case sample;
  sample.function = converter.name;
  sample.width = width;
  sample.height = height;
  sample.shift = converter.EffectiveShift(shift);
  sample.content = content;
  sample.pixel_bytes = converter.pixel_bytes();
  Compare(
      sample, source, DestinationBytes(converter, width, height),
      [&](std::uint8_t *dst, const std::uint8_t *src) {
        Reference::Convert(converter, dst, src, width, height, shift);
        return CAMUTL_STS_SUCCESS;
      },
      [&](std::uint8_t *dst, const std::uint8_t *src) { return converter(dst, src, width, height, shift); });
}

void Check::Expect(const std::vector<std::uint8_t> &source, std::size_t dst_bytes, const Call &reference) {
  fill_offset_ = random_.Below(static_cast<std::uint32_t>(kArenaBytes));
  // The destination starts from the fill bytes, so that bytes which must stay are compared like all others.
  expected_.assign(fill_.begin() + static_cast<std::ptrdiff_t>(fill_offset_),
                   fill_.begin() + static_cast<std::ptrdiff_t>(fill_offset_ + dst_bytes));
  reference(expected_.data(), source.data());
}

void Check::Single(const Case &sample, const std::vector<std::uint8_t> &source, std::size_t dst_bytes,
                   const Call &reference, const Call &tested) {
  Expect(source, dst_bytes, reference);
  Kivo::PinStreamingThreshold(sample.stream ? 0 : std::numeric_limits<std::size_t>::max());
  RunOnce(sample, source, tested);
}

void Check::Compare(Case sample, const std::vector<std::uint8_t> &source, std::size_t dst_bytes,
                    const Call &reference, const Call &tested) {
  Expect(source, dst_bytes, reference);
  using Edge = Placement::Edge;
  const std::size_t odd_src = 1 + random_.Below(66), odd_dst = 1 + random_.Below(66);
  const std::array<std::array<Placement, 2>, 4> placements{
      {{{{Edge::kEnd, 0}, {Edge::kEnd, 0}}},
       {{{Edge::kStart, 0}, {Edge::kStart, 0}}},
       {{{Edge::kStart, odd_src}, {Edge::kEnd, odd_dst}}},
       {{{Edge::kEnd, odd_src}, {Edge::kStart, odd_dst}}}}};
  for (const auto &placement : placements) {
    sample.src = placement[0];
    sample.dst = placement[1];
    for (const bool stream : {false, true}) {
      sample.stream = stream;
      Kivo::PinStreamingThreshold(stream ? 0 : std::numeric_limits<std::size_t>::max());
      RunOnce(sample, source, tested);
    }
  }
}

void Check::RunOnce(const Case &sample, const std::vector<std::uint8_t> &source, const Call &tested) {
  const std::size_t size = expected_.size();
  const std::size_t src_offset = src_.Offset(source.size(), sample.src);
  if (!source.empty()) std::memcpy(src_.Writable(src_offset), source.data(), source.size());

  const std::size_t offset = dst_.Offset(size, sample.dst);
  const std::size_t before = std::min(kMargin, offset);
  const std::size_t after = std::min(kMargin, dst_.capacity() - offset - size);
  std::memcpy(dst_.Writable(offset - before), fill_.data(), before);
  std::memcpy(dst_.Writable(offset), fill_.data() + fill_offset_, size);
  std::memcpy(dst_.Writable(offset + size), fill_.data() + kMargin, after);

  CamUtlStatus status = CAMUTL_STS_SUCCESS;
  Run(sample, [&] { status = tested(dst_.Writable(offset), src_.Source(src_offset, source.size())); });

  if (status != CAMUTL_STS_SUCCESS) return Fail(sample, "status " + std::to_string(static_cast<int>(status)));
  if (std::memcmp(dst_.ReadOnly(offset - before), fill_.data(), before) != 0)
    return Fail(sample, "bytes in front of the destination changed");
  if (std::memcmp(dst_.ReadOnly(offset + size), fill_.data() + kMargin, after) != 0)
    return Fail(sample, "bytes behind the destination changed");
  const std::uint8_t *const result = dst_.Result(offset, size);
  if (size == 0 || std::memcmp(result, expected_.data(), size) == 0) return;
  const auto wrong = static_cast<std::size_t>(
      std::mismatch(expected_.begin(), expected_.end(), result).first - expected_.begin());
  const std::size_t pixel = wrong / sample.pixel_bytes;
  Fail(sample, "first wrong byte " + std::to_string(wrong) + " (pixel x " +
                   std::to_string(pixel % sample.width) + ", y " + std::to_string(pixel / sample.width) +
                   ", byte " + std::to_string(wrong % sample.pixel_bytes) + "): expected " +
                   std::to_string(expected_[wrong]) + ", got " + std::to_string(result[wrong]) + ", was " +
                   std::to_string(fill_[fill_offset_ + wrong]));
}

void Check::Run(const Case &sample, const std::function<void()> &call) {
  g_running = &sample;
  call();
  g_running = nullptr;
  ++runs_;
}

void Check::Fail(const Case &sample, const std::string &what) {
  if (++failures_ <= kMaxReports) std::fprintf(stderr, "FAIL %s: %s\n", sample.Text().c_str(), what.c_str());
  if (failures_ == kMaxReports + 1) std::fprintf(stderr, "further failures are only counted\n");
}

}  // namespace KivoTest
