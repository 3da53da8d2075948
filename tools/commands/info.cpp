// SPDX-License-Identifier: Apache-2.0
// info: what raw frames hold.
#include <langinfo.h>
#include <unistd.h>

#include <algorithm>
#include <cinttypes>
#include <clocale>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <new>

#include "commands/commands.h"
#include "files/file_list.h"
#include "frames/facts.h"
#include "frames/guess_file.h"
#include "frames/statistics.h"
#include "words/failure.h"
#include "words/text.h"

namespace tool {
namespace {

void printFileFacts(const FileFacts &facts) {
  const kivo::Format *format = kivo::findFormat(facts.code);
  std::printf("%s\n", oneLine(facts.file).c_str());
  std::printf("  format     %s (0x%08" PRIX32 ")\n", format == nullptr ? "unknown" : format->name,
              facts.code);
  std::printf("  size       %" PRIu32 " x %" PRIu32 " pixels, %" PRIu64 " bytes a row\n", facts.width,
              facts.height, facts.rowBytes);
  std::string verdict = printed("but the header says %" PRIu64, facts.expectedBytes);
  if (!facts.rwh)
    verdict = "headerless";
  else if (facts.fileBytes == facts.expectedBytes)
    verdict = "as the header says";
  if (facts.unusedBytes == kUncounted)
    verdict += "; more behind the frame";
  else if (facts.unusedBytes != 0)
    verdict += printed("; %" PRIu64 " unused behind the frame", facts.unusedBytes);
  std::printf("  file       %" PRIu64 " bytes, %s\n", facts.fileBytes, verdict.c_str());
  const std::string path = fullPath(facts.file);
  if (!path.empty()) std::printf("  path       %s\n", oneLine(path).c_str());
}

// Eight heights of a bar; blocks where the reader is a terminal that can show them.
const char *const *shades() {
  static const char *const blocks[] = {" ",      "\u2581", "\u2582", "\u2583", "\u2584",
                                       "\u2585", "\u2586", "\u2587", "\u2588"};
  static const char *const plain[] = {" ", ".", ":", "-", "=", "+", "*", "#", "@"};
  static_cast<void>(std::setlocale(LC_CTYPE, ""));
  const bool unicode = ::isatty(STDOUT_FILENO) != 0 && std::strcmp(::nl_langinfo(CODESET), "UTF-8") == 0;
  return unicode ? blocks : plain;
}

void printComponents(const Statistics &statistics) {
  std::printf("  samples    min    max      mean     at 0  clipped   at max    above\n");
  for (const Component &c : statistics.components)
    std::printf("  %-6s  %6" PRIu32 " %6" PRIu32 " %9.2f  %6.2f%%  %6.2f%%  %6.2f%%  %6.2f%%\n", c.name,
                c.least, c.most, c.mean, 100 * c.zero, 100 * c.clipped, 100 * c.atMost, 100 * c.above);
  std::printf("  histogram  0 to %" PRIu32 ", heights by the square root\n", statistics.top);
  const char *const *shade = shades();
  for (const Component &c : statistics.components) {
    const auto most = static_cast<double>(*std::max_element(c.histogram.begin(), c.histogram.end()));
    std::string bars;
    for (const std::uint64_t count : c.histogram)
      bars +=
          shade[count == 0 ? 0
                           : static_cast<int>(std::ceil(8 * std::sqrt(static_cast<double>(count) / most)))];
    std::printf("  %-6s    |%s|\n", c.name, bars.c_str());
  }
}

void printError(const std::string &file, const std::string &error) {
  std::printf("{\"file\": %s, \"error\": %s}\n", jsonString(file).c_str(), jsonString(error).c_str());
}

// Throws Failure unless it is an RWH file; for another file it tells what that may be.
void checkHeaderOrGuess(const std::string &file, const kivo::RwhInfo &info) {
  try {
    checkHeader(file, info);
  } catch (const Failure &failure) {
    if (kivo::findFormat(info.format) != nullptr || failure.code() != Exit::Input) throw;
    const GuessedFile guessed = guessFile(file);
    if (guessed.candidates.empty()) throw;
    throw Failure(
        failure.code(), file,
        std::string(failure.what()).substr(file.size() + 2) + "; likely " + optionsOf(guessed.candidates[0]));
  }
}

void infoOf(const InputOptions &input, bool json) {
  FileFacts facts;
  facts.file = inputName(input.file);
  facts.rwh = !input.headerless();
  if (facts.rwh && !isStream(input)) {
    const kivo::RwhInfo info = loadHeader(input.file);
    facts = {input.file,  true,           info.format,    info.width,
             info.height, info.lineBytes, info.fileBytes, info.expectedBytes()};
    // The header is shown before it is judged: it is what tells why a file is refused.
    if (!json) printFileFacts(facts);
    checkHeaderOrGuess(input.file, info);
  }
  const RawInput raw = loadInput(input);
  if (facts.code == 0) {
    facts = factsOf(input, raw);
    if (!json) printFileFacts(facts);
  }
  const Statistics statistics = measure(raw.view());
  if (json)
    std::printf("%s\n", jsonFacts(facts, *raw.format, statistics).c_str());
  else
    printComponents(statistics);
}

}  // namespace

Exit runInfo(const InfoOptions &options) {
  checkInputOptions(options.input);
  const FileList list = findInputs(options.files, options.input.headerless(), false);
  Exit result = Exit::Ok;
  for (const Unreadable &tree : list.unreadable) {
    if (options.json) printError(tree.folder, tree.folder + ": " + tree.reason);
    result = Exit::Some;
  }
  for (const Job &job : list.jobs) {
    InputOptions input = options.input;
    input.file = job.input;
    input.named = job.named;
    try {
      try {
        infoOf(input, options.json);
      } catch (const std::bad_alloc &) {
        throw failureOf(kivo::Errc::OutOfMemory, inputName(job.input), Exit::Input);
      }
    } catch (const Failure &failure) {
      if (options.json) printError(inputName(job.input), failure.what());
      if (!list.several || failure.code() == Exit::Usage) throw;
      std::fflush(stdout);
      std::fprintf(stderr, "kivocam: %s\n", oneLine(failure.what()).c_str());
      result = Exit::Some;
    }
  }
  return result;
}

}  // namespace tool
