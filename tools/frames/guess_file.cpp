// SPDX-License-Identifier: Apache-2.0
#include "frames/guess_file.h"

#include <algorithm>
#include <cinttypes>
#include <memory>
#include <new>

#include "files/source.h"
#include "words/failure.h"
#include "words/text.h"

namespace tool {
namespace {

constexpr std::size_t kMostCandidates = 16;
// As convert --auto has them.
constexpr double kLowPercent = 0.1, kHighPercent = 99.9;

using Plan = std::unique_ptr<kivo_plan, void (*)(kivo_plan *)>;

Plan planOf(const kivo_candidate &candidate, std::uint32_t height, const kivo_options &options) {
  kivo_plan *plan = nullptr;
  if (kivo_plan_make(candidate.code, candidate.width, height, &options, &plan) == KIVO_OUT_OF_MEMORY)
    throw std::bad_alloc();
  return Plan(plan, [](kivo_plan *made) { kivo_plan_free(made); });
}

}  // namespace

GuessedFile guessFile(const std::string &file) {
  if (file == "-") throw Failure(Exit::Usage, "standard input", "has no length to guess from: give a file");
  Source source(file, false);
  GuessedFile guessed;
  guessed.fileBytes = source.size();
  guessed.head.resize(static_cast<std::size_t>(std::min<std::uint64_t>(guessed.fileBytes, KIVO_GUESS_BYTES)));
  if (source.read(guessed.head.data(), guessed.head.size()) != guessed.head.size())
    throw Failure(Exit::Input, source.name(), "cannot be read completely");
  if (guessed.head.empty()) return guessed;
  guessed.candidates.resize(kMostCandidates);
  std::size_t count = 0;
  if (kivo_guess(guessed.head.data(), guessed.head.size(), guessed.fileBytes, guessed.candidates.data(),
                 guessed.candidates.size(), &count) != KIVO_OK)
    throw std::bad_alloc();
  guessed.candidates.resize(count);
  return guessed;
}

std::string optionsOf(const kivo_candidate &candidate) {
  std::string text = printed("--format %s --size %" PRIu32 "x%" PRIu32,
                             kivo_format_of_code(candidate.code)->name, candidate.width, candidate.height);
  if (candidate.offset != 0) text += printed(" --offset %" PRIu64, candidate.offset);
  if (candidate.stride != 0) text += printed(" --stride %" PRIu64, candidate.stride);
  if (candidate.byte_order == KIVO_BIG_ENDIAN) text += " --swap-bytes";
  return text;
}

Picture pictureOf(const GuessedFile &file, const kivo_candidate &candidate) {
  const std::uint64_t row = kivo_row_bytes(candidate.code, candidate.width);
  const std::uint64_t step = candidate.stride != 0 ? candidate.stride : row;
  const std::uint64_t behind = file.head.size() - std::min<std::uint64_t>(candidate.offset, file.head.size());
  const bool planar = kivo_format_of_code(candidate.code)->packing == KIVO_PLANAR;
  std::uint32_t height = candidate.height;
  if (!planar && behind / step < height) height = std::max(1U, static_cast<std::uint32_t>(behind / step));
  const kivo_frame frame = {file.head.data() + candidate.offset, static_cast<std::size_t>(behind),
                            static_cast<std::ptrdiff_t>(candidate.stride)};
  kivo_options options = KIVO_OPTIONS_INIT;
  options.pixels = KIVO_RGB8;
  options.byte_order = candidate.byte_order;
  Plan plan = planOf(candidate, height, options);
  kivo_colour colour = KIVO_COLOUR_INIT;
  colour.tone = KIVO_TONE_SRGB;
  if (kivo_format_of_code(candidate.code)->family != KIVO_YUV && plan != nullptr &&
      kivo_auto_black(plan.get(), &frame, &colour) == KIVO_OK &&
      kivo_auto_balance(plan.get(), &frame, KIVO_BALANCE_WHITE_PATCH, &colour) == KIVO_OK &&
      kivo_auto_range(plan.get(), &frame, kLowPercent, kHighPercent, &colour) == KIVO_OK) {
    options.colour = &colour;
    plan = planOf(candidate, height, options);
  }
  Picture picture(candidate.width, height);
  const kivo_picture to = {picture.rgb.data(), picture.rgb.size(), 0};
  // Planes that begin behind the head, or a row that is not there, leave the cell black.
  if (plan != nullptr && kivo_run(plan.get(), &frame, &to, nullptr, 0) == KIVO_OUT_OF_MEMORY)
    throw std::bad_alloc();
  return picture;
}

}  // namespace tool
