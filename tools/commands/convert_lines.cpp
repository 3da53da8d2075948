// SPDX-License-Identifier: Apache-2.0
#include "commands/convert_lines.h"

#include <cinttypes>
#include <cstdio>

#include "frames/colour_rule.h"
#include "words/text.h"

namespace tool {

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
    if (!outcome.conversion.empty())
      line += printed(", \"conversion\": \"%s\", \"milliseconds\": %.3f", outcome.conversion.c_str(),
                      outcome.milliseconds);
    if (!outcome.doubt.empty()) line += ", \"doubt\": " + jsonString(outcome.doubt);
    if (outcome.colour) line += ", \"colour\": " + jsonOf(*outcome.colour);
    line += ", \"error\": " + (outcome.error.empty() ? "null" : jsonString(outcome.error)) + "}";
    return line;
  }
  if (outcome.conversion.empty()) return {};
  return printed("%s %" PRIu32 "x%" PRIu32 " %s %.3f%s%s", outcome.format->name, outcome.width,
                 outcome.height, outcome.conversion.c_str(), outcome.milliseconds, several ? " " : "",
                 several ? oneLine(job.input).c_str() : "");
}

void printJsonSummary(const BatchResult &result) {
  const Counts &counts = result.counts;
  std::printf("{\"summary\": {\"converted\": %" PRIu64 ", \"skipped\": %" PRIu64 ", \"failed\": %" PRIu64
              ", \"not_done\": %" PRIu64 ", \"seconds\": %.3f, \"interrupted\": %s}}\n",
              counts.converted, counts.skipped, counts.failed, result.notDone, result.seconds,
              result.signal == 0 ? "false" : "true");
}

void printSummary(const BatchResult &result) {
  const Counts &counts = result.counts;
  std::string line = printed("kivocam: %" PRIu64 " converted, %" PRIu64 " skipped, %" PRIu64 " failed",
                             counts.converted, counts.skipped, counts.failed);
  if (result.notDone != 0) line += printed(", %" PRIu64 " not done", result.notDone);
  line += printed(" in %.1f s", result.seconds);
  if (result.notDone != 0) line += "; the same command with --resume does the rest";
  std::fprintf(stderr, "%s\n", line.c_str());
}

}  // namespace tool
