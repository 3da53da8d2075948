// SPDX-License-Identifier: Apache-2.0
// convert: one frame, or many.
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <memory>

#include "commands/commands.h"
#include "commands/convert_lines.h"
#include "commands/convert_plan.h"
#include "files/batch.h"
#include "files/folders.h"
#include "files/interrupt.h"
#include "files/output_file.h"
#include "frames/develop.h"
#include "frames/doubts.h"
#include "pictures/whole_picture.h"
#include "words/failure.h"
#include "words/numbers.h"
#include "words/text.h"

namespace tool {
namespace {

Failure contradiction(const std::string &option, const std::string &other) {
  return Failure(Exit::Usage, option, "does not go with " + other);
}

// The rule for all frames; that of one of them, if so asked.
ColourRule colourOf(const ConvertOptions &options) {
  ColourRule rule(options.colour);
  const std::string &like = options.colour.like;
  if (like.empty()) return rule;
  if (rule.empty() || !rule.looks())
    throw Failure(Exit::Usage, "--colour-of", "needs --auto, or another option that looks at a frame");
  InputOptions from = options.input;
  from.file = like;
  from.named = true;
  const RawInput input = loadInput(from);
  const kivo::Result<std::optional<kivo::Colour>> colour = rule.of(input.view(), kivo::Region());
  if (!colour) throw failureOf(colour.error(), inputName(like), Exit::Input);
  if (!*colour) throw failureOf(kivo::Errc::BadColour, inputName(like), Exit::Input);
  rule.fix(**colour);
  return rule;
}

Treatment treatmentOf(const ConvertOptions &options) {
  Treatment treatment;
  if (!options.crop.empty()) treatment.crop = parseRegion(options.crop, "--crop");
  treatment.mirror = options.mirror;
  treatment.flip = options.flip;
  treatment.autoRange = options.autoRange;
  treatment.shift = options.shift;
  treatment.bayer = options.bayer;
  treatment.colour = colourOf(options);
  treatment.bgr = options.bgr;
  treatment.raw = options.raw;
  treatment.wide = options.wide;
  return treatment;
}

void refuseContradictions(const ConvertOptions &options) {
  const bool shifts = options.shift.has_value();
  if (options.autoRange && shifts) throw contradiction("--shift", "--auto-range");
  const bool colour = !ColourRule(options.colour).empty();
  if (colour && options.autoRange) throw contradiction("--auto-range", "colour settings: take --range");
  if (colour && shifts) throw contradiction("--shift", "colour settings: take --range");
  if (colour && options.raw)
    throw contradiction("--raw", "colour settings: it keeps the samples as they are");
  if (options.raw && options.bayerGiven && options.bayer != kivo::Bayer::Off)
    throw contradiction("--raw", "--bayer: it does not demosaic");
  if (options.raw && options.bgr) throw contradiction("--raw", "--bgr: it does not convert");
  if (options.raw && shifts) throw contradiction("--raw", "--shift: it keeps the samples as they are");
  if (options.raw && options.autoRange)
    throw contradiction("--raw", "--auto-range: it keeps the samples as they are");
  if (options.wide && (options.raw || options.autoRange || shifts || options.bgr))
    throw contradiction("--wide", options.raw         ? "--raw: it keeps the samples as they are"
                                  : options.autoRange ? "--auto-range, which makes 8 bits"
                                  : shifts            ? "--shift, which makes 8 bits"
                                                      : "--bgr, which is for BMP");
  if (options.raw && options.time) throw contradiction("--raw", "--time: it does not convert");
}

// What the type of the picture makes senseless. A DNG has the samples as they are.
void refuseForType(const ConvertOptions &options, PictureType type) {
  if (options.wide && (type == PictureType::Bmp || type == PictureType::Dng))
    throw contradiction("--wide", type == PictureType::Bmp ? "BMP, which has no 16 bits" : "DNG");
  if (type != PictureType::Dng) return;
  const char *const option = options.bgr                                               ? "--bgr"
                             : options.shift.has_value()                               ? "--shift"
                             : options.autoRange                                       ? "--auto-range"
                             : options.time                                            ? "--time"
                             : options.bayerGiven && options.bayer != kivo::Bayer::Off ? "--bayer"
                                                                                       : nullptr;
  if (!ColourRule(options.colour).empty())
    throw contradiction("DNG", "colour settings: it keeps the samples as they are");
  if (option != nullptr) throw contradiction(option, "DNG, which keeps the samples as they are");
}

// One frame to its picture. Usable from several threads.
class Converter {
 public:
  Converter(const ConvertOptions &options, const Treatment &treatment, const ConvertPlan &plan)
      : options_(options), treatment_(treatment), type_(plan.type), inFolder_(!plan.folder.empty()) {
    if (!plan.folder.empty()) folders_.setRoot(plan.folder);
  }

  // From now on all threads work on each frame. Where they cannot be had, one does.
  void useThreads(unsigned threads) {
    kivo::Result<kivo::Pool> made = kivo::Pool::make(threads);
    if (made) pool_ = *std::move(made);
  }

  bool looksAtColours() const noexcept { return treatment_.colour.looks(); }

  Outcome convert(const Job &job) {
    Outcome outcome;
    std::error_code unknown;
    const bool kept = options_.rules.noClobber && inFolder_ && std::filesystem::exists(job.output, unknown);
    if (kept || (options_.resume && job.output != "-" && isDone(job.input, job.output, type_))) {
      outcome.status = Outcome::Status::Skipped;
      return outcome;
    }
    InputOptions from = options_.input;
    from.file = job.input;
    from.named = job.named;
    RawInput input = loadInput(from);
    outcome.ignoredBytes = input.ignoredBytes;
    if (!options_.quiet || options_.json) outcome.doubt = doubtOf(input);
    const std::string subject = inputName(job.input);
    Developed developed(std::move(input), treatment_, type_, subject);
    developed.convert(pool());
    outcome.format = &developed.format();
    outcome.width = developed.image().width;
    outcome.height = developed.image().height;
    outcome.colour = developed.colour();
    if (options_.time) {
      outcome.milliseconds = developed.timeConversion(pool());
      outcome.conversion = developed.conversionName();
    }
    folders_.make(job);
    const std::unique_ptr<ByteSink> output = openOutput(job.output, options_.rules);
    developed.write(options_.pngLevel, *output);
    output->commit();
    outcome.status = Outcome::Status::Converted;
    return outcome;
  }

 private:
  kivo::Pool *pool() noexcept { return pool_.threads() > 1 ? &pool_ : nullptr; }

  const ConvertOptions &options_;
  const Treatment treatment_;
  const PictureType type_;
  const bool inFolder_;
  Folders folders_;
  kivo::Pool pool_;
};

std::string doubtNote(const Job &job, const Outcome &outcome) {
  return "kivocam: " + oneLine(inputName(job.input)) + ": " + outcome.doubt;
}

Exit convertOne(Converter &converter, const ConvertOptions &options, const Job &job) {
  BatchResult result;
  const auto start = std::chrono::steady_clock::now();
  const auto finish = [&](const Outcome &outcome) {
    const std::string facts = lineOf(options, false, job, outcome);
    if (!facts.empty()) std::printf("%s\n", facts.c_str());
    result.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    if (options.json) printJsonSummary(result);
  };
  converter.useThreads(options.jobs);
  try {
    const Outcome outcome = converter.convert(job);
    const bool converted = outcome.status == Outcome::Status::Converted;
    (converted ? result.counts.converted : result.counts.skipped) = 1;
    finish(outcome);
    if (outcome.ignoredBytes != 0 && !options.quiet)
      std::fprintf(stderr, "%s\n", ignoredNote(job.input, outcome.ignoredBytes).c_str());
    if (!outcome.doubt.empty() && !options.quiet)
      std::fprintf(stderr, "%s\n", doubtNote(job, outcome).c_str());
    if (outcome.colour && converter.looksAtColours() && !options.quiet && !options.json)
      std::fprintf(stderr, "kivocam: %s: %s\n", oneLine(inputName(job.input)).c_str(),
                   wordsOf(*outcome.colour).c_str());
  } catch (const std::exception &) {
    if (options.json) {
      result.counts.failed = 1;
      finish(outcomeOf(job, [](const Job &) -> Outcome { throw; }));
    }
    throw;
  }
  return Exit::Ok;
}

Exit convertAll(Converter &converter, const ConvertOptions &options, const FileList &list) {
  Progress progress(options.quiet);
  Counts counts;
  counts.total = list.jobs.size() + list.unreadable.size();
  counts.failed = list.unreadable.size();
  bool noted = false, doubted = false;
  const auto report = [&](const Job &job, const Outcome &outcome) {
    const std::string facts = lineOf(options, true, job, outcome);
    if (!facts.empty()) progress.line(facts, stdout);
    // What is true of one file of an archive is true of all: one line is enough.
    if (!outcome.doubt.empty() && !doubted && !options.quiet) {
      progress.line(doubtNote(job, outcome));
      doubted = true;
    }
    if (outcome.ignoredBytes == 0 || noted || options.quiet) return;
    progress.line(ignoredNote(job.input, outcome.ignoredBytes));
    noted = true;
  };
  for (const Unreadable &tree : list.unreadable) {
    Outcome outcome;
    outcome.error = tree.folder + ": " + tree.reason;
    report({tree.folder, {}, {}, false}, outcome);
  }
  const BatchResult result = runBatch(
      list.jobs, options.jobs, progress, counts,
      [&converter](const Job &job) { return converter.convert(job); }, report);
  if (result.outputLost && result.notDone != 0)
    std::fprintf(stderr, "kivocam: %u outputs in a row could not be written: given up\n", kLostOutputs);
  if (options.json) printJsonSummary(result);
  if (!options.quiet) printSummary(result);
  if (result.signal != 0 && result.notDone != 0) {
    std::fflush(stdout);
    endBySignal(result.signal);
  }
  return result.code();
}

}  // namespace

Exit runConvert(const ConvertOptions &options) {
  refuseContradictions(options);
  checkInputOptions(options.input);
  Treatment treatment = treatmentOf(options);
  const ConvertPlan plan = planConversion(options);
  refuseForType(options, plan.type);
  if (plan.type == PictureType::Dng) treatment.raw = true;
  if (plan.files.jobs.empty()) return Exit::Input;
  Converter converter(options, treatment, plan);
  if (plan.alone()) return convertOne(converter, options, plan.files.jobs[0]);
  return convertAll(converter, options, plan.files);
}

}  // namespace tool
