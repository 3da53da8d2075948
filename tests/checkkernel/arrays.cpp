// SPDX-License-Identifier: Apache-2.0
#include "checkkernel/arrays.h"

#include <algorithm>
#include <cstring>

namespace KivoTest {
namespace {

constexpr std::size_t kArenaBytes = std::size_t{1} << 20;
constexpr std::size_t kMargin = 128;  // bytes looked at on each side of a result

void Grow(std::vector<std::unique_ptr<GuardedArena>> &arenas, std::size_t count) {
  while (arenas.size() < count) arenas.push_back(std::make_unique<GuardedArena>(kArenaBytes));
}

}  // namespace

Bytes ArrayCheck::RandomBytes(std::size_t size) {
  Bytes bytes(size);
  for (std::uint8_t &byte : bytes) byte = static_cast<std::uint8_t>(check_.random().Next());
  return bytes;
}

void ArrayCheck::Expect(const Job &job) {
  before_.clear();
  expected_.clear();
  std::vector<std::uint8_t *> dst;
  std::vector<const std::uint8_t *> src;
  for (const std::size_t size : job.results) {
    before_.push_back(RandomBytes(size + 2 * kMargin));
    const auto first = before_.back().begin() + static_cast<std::ptrdiff_t>(kMargin);
    expected_.emplace_back(first, first + static_cast<std::ptrdiff_t>(size));
  }
  for (Bytes &bytes : expected_) dst.push_back(bytes.data());
  for (const Bytes &bytes : job.sources) src.push_back(bytes.data());
  job.reference(dst.data(), src.data());
}

void ArrayCheck::RunOnce(const Job &job, Placement src_place, Placement dst_place) {
  Grow(src_, job.sources.size());
  Grow(dst_, job.results.size());
  std::vector<std::uint8_t *> dst;
  std::vector<const std::uint8_t *> src;
  for (std::size_t i = 0; i < job.sources.size(); ++i) {
    const Bytes &bytes = job.sources[i];
    const std::size_t offset = src_[i]->Offset(bytes.size(), src_place);
    if (!bytes.empty()) std::memcpy(src_[i]->Writable(offset), bytes.data(), bytes.size());
    src.push_back(src_[i]->Source(offset, bytes.size()));
  }
  std::vector<std::size_t> offsets, fronts, backs;
  for (std::size_t i = 0; i < job.results.size(); ++i) {
    const std::size_t size = job.results[i];
    const std::size_t offset = dst_[i]->Offset(size, dst_place);
    offsets.push_back(offset);
    fronts.push_back(std::min(kMargin, offset));
    backs.push_back(std::min(kMargin, dst_[i]->capacity() - offset - size));
    std::memcpy(dst_[i]->Writable(offset - fronts[i]), before_[i].data() + kMargin - fronts[i],
                fronts[i] + size + backs[i]);
    dst.push_back(dst_[i]->Writable(offset));
  }

  Case running;
  running.function = job.name;
  running.src = src_place;
  running.dst = dst_place;
  check_.Run(running, [&] { job.tested(dst.data(), src.data()); });

  for (std::size_t i = 0; i < job.results.size(); ++i) {
    const std::size_t size = job.results[i];
    const std::uint8_t *const result = dst_[i]->Result(offsets[i], size);
    if (std::memcmp(result - fronts[i], before_[i].data() + kMargin - fronts[i], fronts[i]) != 0)
      return check_.Fail(running, "bytes in front of result " + std::to_string(i) + " changed");
    if (std::memcmp(result + size, before_[i].data() + kMargin + size, backs[i]) != 0)
      return check_.Fail(running, "bytes behind result " + std::to_string(i) + " changed");
    const auto wrong = std::mismatch(expected_[i].begin(), expected_[i].end(), result);
    if (wrong.first != expected_[i].end())
      return check_.Fail(running, "first wrong byte " + std::to_string(wrong.first - expected_[i].begin()) +
                                      " of result " + std::to_string(i) + ": expected " +
                                      std::to_string(*wrong.first) + ", got " +
                                      std::to_string(*wrong.second));
  }
}

void ArrayCheck::Compare(const Job &job) {
  Expect(job);
  using Edge = Placement::Edge;
  const auto odd = [&] { return (1 + check_.random().Below(66)) * job.align; };
  RunOnce(job, {Edge::kEnd, 0}, {Edge::kEnd, 0});
  RunOnce(job, {Edge::kStart, 0}, {Edge::kStart, 0});
  RunOnce(job, {Edge::kStart, odd()}, {Edge::kEnd, odd()});
  RunOnce(job, {Edge::kEnd, odd()}, {Edge::kStart, odd()});
}

void ArrayCheck::Single(const Job &job) {
  Expect(job);
  RunOnce(job, {Placement::Edge::kEnd, 0}, {Placement::Edge::kEnd, 0});
}

}  // namespace KivoTest
