// SPDX-License-Identifier: Apache-2.0
// report: a page that shows a set of frames.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "commands/commands.h"
#include "commands/report_page.h"
#include "files/batch.h"
#include "files/file_list.h"
#include "files/interrupt.h"
#include "files/output_file.h"
#include "frames/seen.h"
#include "pictures/thumbnail.h"
#include "words/failure.h"
#include "words/text.h"

namespace tool {
namespace {

constexpr std::uint32_t kThumbnailWidth = 320;
constexpr std::uint32_t kThumbnailHeight = 320;
// Differences are summed in squares of this many pixels; a detail begins at one of them.
constexpr std::uint32_t kBlock = 8;

Picture cut(const kivo::Image &image, std::uint32_t x, std::uint32_t y) {
  Picture part(kDetailWidth, kDetailHeight);
  for (std::uint32_t v = 0; v < kDetailHeight; ++v)
    for (std::uint32_t u = 0; u < kDetailWidth; ++u)
      for (std::size_t c = 0; c < 3; ++c) part.pixel(u, v)[c] = image.pixel(x + u, y + v)[c];
  return part;
}

// Makes the pictures of one frame for a page.
struct Frame {
  ReportPictures &pictures;
  std::size_t number;

  PagePicture add(const char *kind, const Picture &picture) const {
    return pictures.add(number, kind, picture);
  }
  PagePicture addSmall(const char *kind, const kivo::Image &picture) const {
    return add(kind, shrunk(picture.width, picture.height, kThumbnailWidth, kThumbnailHeight,
                            [&](std::uint32_t x, std::uint32_t y, std::size_t c) {
                              return picture.pixel(x, y)[c];
                            }));
  }
};

// Where two pictures of one frame differ most.
Detail detailOf(const kivo::Image &standard, const kivo::Image &adaptive, const Frame &frame) {
  const std::uint32_t columns = standard.width / kBlock, rows = standard.height / kBlock;
  std::vector<std::uint64_t> blocks(std::size_t{columns} * rows);
  for (std::uint32_t y = 0; y < rows * kBlock; ++y) {
    const std::uint8_t *a = standard.row(y), *b = adaptive.row(y);
    for (std::uint32_t x = 0; x < columns * kBlock; ++x, a += 3, b += 3)
      blocks[std::size_t{y / kBlock} * columns + x / kBlock] +=
          static_cast<std::uint64_t>(std::abs(a[0] - b[0]) + std::abs(a[1] - b[1]) + std::abs(a[2] - b[2]));
  }
  constexpr std::uint32_t wide = kDetailWidth / kBlock, high = kDetailHeight / kBlock;
  std::uint64_t most = 0;
  Detail detail;
  for (std::uint32_t y = 0; y + high <= rows; ++y) {
    for (std::uint32_t x = 0; x + wide <= columns; ++x) {
      std::uint64_t sum = 0;
      for (std::uint32_t v = 0; v < high; ++v)
        for (std::uint32_t u = 0; u < wide; ++u) sum += blocks[std::size_t{y + v} * columns + x + u];
      if (sum > most) most = sum, detail.x = x * kBlock, detail.y = y * kBlock;
    }
  }
  detail.difference = static_cast<double>(most) / (3.0 * kDetailWidth * kDetailHeight);
  if (most == 0) return detail;
  detail.standard = frame.add("standard", cut(standard, detail.x, detail.y));
  detail.adaptive = frame.add("acpi", cut(adaptive, detail.x, detail.y));
  return detail;
}

ReportEntry entryOf(const InputOptions &input, bool autoRange, const Frame &frame) {
  const RawInput raw = loadInput(input);
  ReportEntry entry;
  entry.file = inputName(input.file);
  entry.facts = factsOf(input, raw);
  entry.format = raw.format;
  entry.statistics = measure(raw.view());

  kivo::Options options;
  options.pixels = kivo::Pixels::Rgb8;
  entry.stretched = autoRange && raw.format->family != KIVO_YUV;
  if (entry.stretched) {
    kivo::Range range = {UINT32_MAX, 0};
    for (const Component &c : entry.statistics.components)
      range = {std::min(range.low, c.least), std::max(range.high, c.most)};
    options.range = range;
  }
  const kivo::Image picture = imageOf(raw, options, entry.file);
  entry.thumbnail = frame.addSmall("plain", picture);
  if (const std::optional<Seen> seen = seenOf(raw, entry.file)) {
    entry.seen = frame.addSmall("auto", seen->image);
    entry.colour = wordsOf(seen->colour);
  }

  options.bayer = kivo::Bayer::Acpi;
  const bool even = picture.width % 2 == 0 && picture.height % 2 == 0;
  if (raw.format->family != KIVO_BAYER || !even || picture.width < kDetailWidth ||
      picture.height < kDetailHeight)
    return entry;
  entry.detail = detailOf(picture, imageOf(raw, options, entry.file), frame);
  entry.hasDetail = entry.detail.difference > 0;
  return entry;
}

// Reads every frame; one that fails, and a folder that cannot be searched, has an entry with the reason.
std::vector<ReportEntry> readAll(const FileList &list, const ReportOptions &options,
                                 ReportPictures &pictures) {
  std::vector<ReportEntry> entries(list.jobs.size());
  // The batch hands out the jobs of the list, and each has its entry.
  const auto indexOf = [&](const Job &job) { return static_cast<std::size_t>(&job - list.jobs.data()); };
  const auto entryFor = [&](const Job &job) -> ReportEntry & { return entries[indexOf(job)]; };
  const auto fill = [&](const Job &job) {
    InputOptions input = options.input;
    input.file = job.input;
    input.named = job.named;
    entryFor(job) = entryOf(input, options.autoRange, {pictures, indexOf(job) + 1});
    Outcome outcome;
    outcome.status = Outcome::Status::Converted;
    return outcome;
  };
  const auto noteFailure = [&](const Job &job, const Outcome &outcome) {
    if (outcome.status != Outcome::Status::Failed) return;
    ReportEntry &entry = entryFor(job);
    // Short enough to need no memory, for when there is none to say more.
    entry.error = "not enough memory";
    if (outcome.error.empty()) return;
    entry.file = inputName(job.input);
    const std::string subject = entry.file + ": ";
    const bool named = outcome.error.compare(0, subject.size(), subject) == 0;
    entry.error = named ? outcome.error.substr(subject.size()) : outcome.error;
  };
  if (!list.several) {
    fill(list.jobs[0]);
  } else {
    Progress progress(options.quiet);
    Counts counts;
    counts.total = list.jobs.size() + list.unreadable.size();
    counts.failed = list.unreadable.size();
    const BatchResult result = runBatch(list.jobs, options.jobs, progress, counts, fill, noteFailure);
    pictures.check();
    if (result.signal != 0) {
      pictures.discard();
      endBySignal(result.signal);
    }
  }
  for (const Unreadable &tree : list.unreadable) {
    entries.emplace_back();
    entries.back().file = tree.folder;
    entries.back().error = tree.reason;
  }
  return entries;
}

void writePage(const std::vector<ReportEntry> &entries, const std::string &title, ReportPictures &pictures,
               ByteSink &sink) {
  const auto write = [&sink](const std::string &text) { sink.write(text.data(), text.size()); };
  write(pageHead(title));
  write(pageSummary(entries));
  for (std::size_t i = 0; i < entries.size(); ++i) write(pageCard(entries[i], i + 1, pictures));
  write(pageEnd());
  sink.settle();
  pictures.endIfAsked();
  sink.commit();
  pictures.keep();
}

std::string jsonLine(const ReportEntry &entry) {
  if (entry.error.empty()) return jsonFacts(entry.facts, *entry.format, entry.statistics);
  return "{\"file\": " + jsonString(entry.file) + ", \"error\": " + jsonString(entry.error) + "}";
}

}  // namespace

Exit runReport(const ReportOptions &options) {
  checkOutputName(options.output, "html");
  if (options.output == "-" && options.pictures == ReportPictures::Place::Beside)
    throw Failure(Exit::Usage, "--pictures beside", "does not go with a page on standard output");
  checkInputOptions(options.input);
  if (options.output == "-" && options.json)
    throw Failure(Exit::Usage, "--json", "does not go with a page on standard output");
  const FileList list = findInputs(options.files, options.input.headerless(), options.quiet);
  for (const Job &job : list.jobs) refuseSameFile(job.input, options.output);
  const std::unique_ptr<ByteSink> sink = openOutput(options.output, options.rules);
  ReportPictures pictures(options.output, options.pictures, options.rules);
  const std::vector<ReportEntry> entries = readAll(list, options, pictures);
  writePage(entries, options.title, pictures, *sink);
  if (!pictures.folder().empty() && options.pictures == ReportPictures::Place::ByAmount && !options.quiet)
    std::fprintf(stderr, "kivocam: %s: note: the pictures of the page are in this folder\n",
                 oneLine(pictures.folder()).c_str());
  if (options.json)
    for (const ReportEntry &entry : entries) std::printf("%s\n", jsonLine(entry).c_str());
  const bool failed =
      std::any_of(entries.begin(), entries.end(), [](const ReportEntry &e) { return !e.error.empty(); });
  return failed ? Exit::Some : Exit::Ok;
}

}  // namespace tool
