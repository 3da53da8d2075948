// SPDX-License-Identifier: Apache-2.0
// convert: one frame, or many.
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cinttypes>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <mutex>
#include <set>

#include "batch.h"
#include "commands.h"
#include "develop.h"
#include "failure.h"
#include "file_list.h"
#include "interrupt.h"
#include "output_file.h"
#include "picture.h"
#include "text.h"
#include "whole_file.h"

namespace tool {
namespace {

namespace fs = std::filesystem;

Failure contradiction(const std::string &option, const std::string &other) {
  return Failure(Exit::Usage, option, "does not go with " + other);
}

Treatment treatmentOf(const ConvertOptions &options) {
  Treatment treatment;
  if (!options.crop.empty()) treatment.crop = parseRegion(options.crop, "--crop");
  treatment.mirror = options.mirror;
  treatment.flip = options.flip;
  treatment.autoRange = options.autoRange;
  treatment.shift = options.shift;
  treatment.bayer = options.bayer;
  treatment.bgr = options.bgr;
  treatment.anyBayerSize = options.anyBayerSize;
  treatment.raw = options.raw;
  return treatment;
}

void refuseContradictions(const ConvertOptions &options) {
  const bool shifts = options.shift >= 0;
  if (options.autoRange && shifts) throw contradiction("--shift", "--auto-range");
  if (shifts && options.bayer == kivo::Bayer::Acpi)
    throw contradiction("--shift", "--bayer acpi, which is for 8-bit samples (--auto-range makes such)");
  if (options.raw && options.bayerGiven && options.bayer != kivo::Bayer::Off)
    throw contradiction("--raw", "--bayer: it does not demosaic");
  if (options.raw && options.bgr) throw contradiction("--raw", "--bgr: it does not convert");
  if (options.raw && shifts) throw contradiction("--raw", "--shift: it keeps the samples as they are");
  if (options.raw && options.autoRange)
    throw contradiction("--raw", "--auto-range: it keeps the samples as they are");
  if (options.raw && options.time) throw contradiction("--raw", "--time: it does not convert");
}

// Makes the folders of outputs, but never again the one that all are in: when that is gone, somebody has
// taken away what was already done.
class Folders {
 public:
  void setRoot(const std::string &root) {
    std::error_code failed;
    fs::create_directories(root, failed);
    if (failed) throw Failure(Exit::Output, root, "cannot be made: " + failed.message());
    root_ = root;
    made_.insert("");
  }

  void make(const Job &job) {
    if (!root_.empty()) below(fs::path(job.relative).parent_path().string(), job.output);
  }

 private:
  void below(const std::string &relative, const std::string &output) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (made_.count(relative) != 0) return;
    fs::path path = root_;
    for (const fs::path &part : fs::path(relative)) {
      path /= part;
      if (::mkdir(path.c_str(), 0777) != 0 && errno != EEXIST)
        throw Failure(Exit::Output, output, withErrno("its folder cannot be made", errno));
    }
    made_.insert(relative);
  }

  std::mutex mutex_;
  std::string root_;
  std::set<std::string> made_;
};

// Repeats the conversion into the same picture, as a viewer does frame after frame: the median in
// milliseconds.
double timeOf(Developed &developed) {
  kivo::Image &image = developed.image();
  const kivo::ConvertOptions how = developed.options();
  std::array<double, 9> milliseconds{};
  for (double &ms : milliseconds) {
    const auto start = std::chrono::steady_clock::now();
    const kivo::Errc error =
        how.output == kivo::Output::Bgra
            ? kivo::convertTo(static_cast<std::uint32_t *>(static_cast<void *>(image.pixels.data())),
                              image.pixels.size() / 4, developed.view(), how)
            : kivo::convertTo(image.pixels.data(), image.pixels.size(), developed.view(), how);
    if (error != kivo::Errc::Ok) throw std::bad_alloc();
    ms = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
  }
  std::nth_element(milliseconds.begin(), milliseconds.begin() + 4, milliseconds.end());
  return milliseconds[4];
}

class Converter {
 public:
  Converter(const ConvertOptions &options, const Treatment &treatment)
      : options_(options), treatment_(treatment) {}

  void setType(PictureType type) {
    type_ = type;
    if (options_.raw && type == PictureType::Bmp)
      throw contradiction("--raw", "BMP, which has no 16 bits; take png, pgm or ppm");
  }
  Folders &folders() { return folders_; }

  Outcome convert(const Job &job) {
    Outcome outcome;
    if (options_.resume && job.output != "-" && isDone(job.input, job.output, type_)) {
      outcome.status = Outcome::Status::Skipped;
      return outcome;
    }
    InputOptions from = options_.input;
    from.file = job.input;
    from.named = job.named;
    RawInput input = loadInput(from);
    outcome.bytes = input.fileBytes;
    outcome.ignoredBytes = input.ignoredBytes;
    const std::string subject = inputName(job.input);
    Developed developed(std::move(input), treatment_, subject);
    outcome.format = &developed.format();
    outcome.width = developed.view().width;
    outcome.height = developed.view().height;
    if (!options_.raw) developed.convert();
    if (options_.time) {
      outcome.milliseconds = timeOf(developed);
      outcome.converter = developed.converterName();
    }
    folders_.make(job);
    const std::unique_ptr<ByteSink> output = openOutput(job.output);
    developed.write(type_, options_.pngLevel, *output);
    output->commit();
    outcome.status = Outcome::Status::Converted;
    return outcome;
  }

 private:
  const ConvertOptions &options_;
  const Treatment treatment_;
  PictureType type_ = PictureType::Png;
  Folders folders_;
};

// A line of facts about one file, or nothing.
std::string lineOf(const ConvertOptions &options, bool several, const Job &job, const Outcome &outcome) {
  static const char *const kStatus[] = {"converted", "skipped", "failed"};
  if (options.json) {
    std::string line = "{\"input\": " + jsonString(job.input) +
                       ", \"output\": " + (job.output.empty() ? "null" : jsonString(job.output)) +
                       ", \"status\": \"" + kStatus[static_cast<int>(outcome.status)] + "\"";
    if (outcome.format != nullptr)
      line += printed(", \"format\": \"%s\", \"width\": %" PRIu32 ", \"height\": %" PRIu32,
                      outcome.format->name, outcome.width, outcome.height);
    else
      line += ", \"format\": null, \"width\": null, \"height\": null";
    if (!outcome.converter.empty())
      line += printed(", \"converter\": \"%s\", \"milliseconds\": %.3f", outcome.converter.c_str(),
                      outcome.milliseconds);
    line += ", \"error\": " + (outcome.error.empty() ? "null" : jsonString(outcome.error)) + "}";
    return line;
  }
  if (outcome.converter.empty()) return {};
  return printed("%s %" PRIu32 "x%" PRIu32 " %s %.3f%s%s", outcome.format->name, outcome.width,
                 outcome.height, outcome.converter.c_str(), outcome.milliseconds, several ? " " : "",
                 several ? oneLine(job.input).c_str() : "");
}

void reportAll(const BatchResult &result) {
  const Counts &counts = result.counts;
  std::printf("{\"summary\": {\"converted\": %" PRIu64 ", \"skipped\": %" PRIu64 ", \"failed\": %" PRIu64
              ", \"not_done\": %" PRIu64 ", \"seconds\": %.3f, \"interrupted\": %s}}\n",
              counts.converted, counts.skipped, counts.failed, result.notDone, result.seconds,
              result.signal == 0 ? "false" : "true");
}

void summarise(const BatchResult &result) {
  const Counts &counts = result.counts;
  std::string line = printed("kivocam: %" PRIu64 " converted, %" PRIu64 " skipped, %" PRIu64 " failed",
                             counts.converted, counts.skipped, counts.failed);
  if (result.notDone != 0) line += printed(", %" PRIu64 " not done", result.notDone);
  line += printed(" in %.1f s", result.seconds);
  if (result.notDone != 0) line += "; the same command with --resume does the rest";
  std::fprintf(stderr, "%s\n", line.c_str());
}

Exit convertOne(Converter &converter, const ConvertOptions &options, const Job &job) {
  BatchResult result;
  const auto start = std::chrono::steady_clock::now();
  const auto finish = [&](const Outcome &outcome) {
    const std::string facts = lineOf(options, false, job, outcome);
    if (!facts.empty()) std::printf("%s\n", facts.c_str());
    result.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    if (options.json) reportAll(result);
  };
  try {
    const Outcome outcome = converter.convert(job);
    const bool converted = outcome.status == Outcome::Status::Converted;
    (converted ? result.counts.converted : result.counts.skipped) = 1;
    finish(outcome);
    if (outcome.ignoredBytes != 0 && !options.quiet)
      std::fprintf(stderr, "%s\n", ignoredNote(job.input, outcome.ignoredBytes).c_str());
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
  bool noted = false;
  const auto report = [&](const Job &job, const Outcome &outcome) {
    const std::string facts = lineOf(options, true, job, outcome);
    if (!facts.empty()) progress.line(facts, stdout);
    // What is true of one file of an archive is true of all: one line is enough.
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
  if (options.json) reportAll(result);
  if (!options.quiet) summarise(result);
  if (result.signal != 0 && result.notDone != 0) {
    std::fflush(stdout);
    endBySignal(result.signal);
  }
  return result.code();
}

// Whether a name ends like that of a picture or of a raw frame.
bool isFileName(const std::string &path) {
  const std::string extension = fs::path(path).extension().string();
  const auto is = [&extension](const char *wanted) { return kivo::detail::sameName(extension, wanted); };
  return is(".png") || is(".ppm") || is(".pgm") || is(".bmp") || is(".rwh");
}

void checkStandardOutput(const FileList &list, const ConvertOptions &options) {
  if (list.jobs.size() != 1 || list.several)
    throw Failure(Exit::Usage, "standard output", "takes the picture of one file");
  if (options.json || options.time)
    throw contradiction(options.json ? "--json" : "--time", "a picture on standard output");
}

// Gives the one job its output. Returns the type of the picture.
PictureType nameOne(Job &job, const ConvertOptions &options) {
  const std::string &output = options.output;
  refuseSameFile(job.input, output);
  if (kivo::detail::sameName(fs::path(output).extension().string(), ".rwh"))
    throw Failure(Exit::Usage, output, "is called like a raw frame, not like a picture");
  job.output = output;
  return pictureType(output, options.to, true);
}

// Gives every job an output of its own in a folder or below. Returns the type of the pictures.
PictureType nameAll(FileList &list, const ConvertOptions &options) {
  const std::string &output = options.output;
  if (std::any_of(list.jobs.begin(), list.jobs.end(), [](const Job &job) { return job.input == "-"; }))
    throw Failure(Exit::Usage, "standard input",
                  "is one frame without a name: give it alone, and OUT as a file");
  std::error_code failed;
  if (fs::exists(output, failed) && !isFolder(output))
    throw Failure(Exit::Usage, output, "is a file; several pictures need a folder");
  // Rather the last of several inputs, misspelt, or a picture of the first than a folder.
  if (!isFolder(output) && output.back() != '/' && isFileName(output))
    throw Failure(Exit::Usage, output,
                  "does not exist; several pictures need a folder: add a / if it is to be one");
  const std::string to = options.to.empty() ? "png" : options.to;
  const PictureType type = pictureType("", to, true);
  static const char *const kExtensions[] = {".png", ".ppm", ".pgm", ".bmp"};
  nameOutputs(list, output, kExtensions[static_cast<int>(type)]);
  return type;
}

}  // namespace

Exit runConvert(const ConvertOptions &options) {
  Converter converter(options, treatmentOf(options));
  refuseContradictions(options);
  checkInputOptions(options.input);
  OutputFile::setDurable(!options.noSync);
  FileList list = findInputs(options.inputs, options.input.headerless(), options.quiet);
  if (list.jobs.empty()) return Exit::Input;
  const std::string &output = options.output;
  if (output == "-") checkStandardOutput(list, options);
  const bool toFolder = output.back() == '/' || isFolder(output) || (list.several && output != "-");
  converter.setType(toFolder ? nameAll(list, options) : nameOne(list.jobs[0], options));
  if (toFolder) converter.folders().setRoot(output);
  if (list.jobs.size() == 1 && list.unreadable.empty()) return convertOne(converter, options, list.jobs[0]);
  return convertAll(converter, options, list);
}

}  // namespace tool
