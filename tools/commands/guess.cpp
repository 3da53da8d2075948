// SPDX-License-Identifier: Apache-2.0
// guess: what a file may be that nobody described.
#include <algorithm>
#include <cinttypes>
#include <cstdio>

#include "commands/commands.h"
#include "files/file_list.h"
#include "frames/guess_file.h"
#include "pictures/contact_sheet.h"
#include "words/failure.h"
#include "words/text.h"

namespace tool {
namespace {

const char *orderOf(const kivo_candidate &candidate) {
  return candidate.byte_order == KIVO_BIG_ENDIAN ? "big" : "little";
}

std::uint64_t strideOf(const kivo_candidate &candidate) {
  return candidate.stride != 0 ? candidate.stride : kivo_row_bytes(candidate.code, candidate.width);
}

// Whether the first two say the same but for red and blue: they are listed one behind the other.
bool isTwin(const std::vector<kivo_candidate> &candidates) {
  if (candidates.size() < 2) return false;
  const kivo_candidate &a = candidates[0], &b = candidates[1];
  return a.width == b.width && a.height == b.height && a.offset == b.offset && a.stride == b.stride &&
         a.byte_order == b.byte_order && a.bits == b.bits &&
         kivo_format_of_code(a.code)->family == kivo_format_of_code(b.code)->family &&
         kivo_format_of_code(a.code)->family != KIVO_YUV;
}

void printTable(const std::string &file, const GuessedFile &guessed) {
  std::printf("%s\n  %-16s %11s %7s %8s %-10s %s\n", oneLine(file).c_str(), "format", "size", "offset",
              "stride", "byte order", "bits/byte");
  for (const kivo_candidate &c : guessed.candidates)
    std::printf("  %-16s %11s %7" PRIu64 " %8" PRIu64 " %-10s %9.3f\n", kivo_format_of_code(c.code)->name,
                printed("%" PRIu32 "x%" PRIu32, c.width, c.height).c_str(), c.offset, strideOf(c), orderOf(c),
                c.bits);
  if (isTwin(guessed.candidates))
    std::printf(
        "  which colour is red and which is blue the content does not tell: --sheet OUT shows both\n");
  std::printf("  the first: %s\n", optionsOf(guessed.candidates[0]).c_str());
}

void printJson(const std::string &file, const GuessedFile &guessed) {
  std::printf("{\"file\": %s, \"file_bytes\": %" PRIu64 ", \"candidates\": [", jsonString(file).c_str(),
              guessed.fileBytes);
  const char *separator = "";
  for (const kivo_candidate &c : guessed.candidates) {
    std::printf("%s{\"format\": \"%s\", \"code\": \"0x%08" PRIX32 "\", \"width\": %" PRIu32
                ", \"height\": %" PRIu32 ", \"offset\": %" PRIu64 ", \"stride\": %" PRIu64
                ", \"byte_order\": \"%s\", \"bits\": %.4f, \"options\": \"%s\"}",
                separator, kivo_format_of_code(c.code)->name, c.code, c.width, c.height, c.offset,
                strideOf(c), orderOf(c), c.bits, optionsOf(c).c_str());
    separator = ", ";
  }
  std::printf("]}\n");
}

void writeSheet(const GuessedFile &guessed, const GuessOptions &options, PictureType type) {
  std::vector<SheetCell> cells;
  for (const kivo_candidate &c : guessed.candidates)
    cells.push_back({[&guessed, &c] { return pictureOf(guessed, c); },
                     {kivo_format_of_code(c.code)->name,
                      printed("%" PRIu32 "x%" PRIu32 " at %" PRIu64, c.width, c.height, c.offset),
                      printed("%" PRIu64 " a row, %s", strideOf(c), orderOf(c))}});
  const SheetLayout layout = {320, 240, 4, ""};
  savePicture(contactSheet(cells, layout, options.sheet), options.sheet, type, options.rules);
}

}  // namespace

void runGuess(const GuessOptions &options) {
  PictureType type = PictureType::Png;
  if (!options.sheet.empty()) {
    if (options.sheet == "-") throw Failure(Exit::Usage, "--sheet", "takes the name of a picture");
    type = pictureType(options.sheet, "");
    refuseSameFile(options.file, options.sheet);
  }
  const GuessedFile guessed = guessFile(options.file);
  if (guessed.candidates.empty())
    throw Failure(Exit::Input, options.file,
                  "does not look like a frame: nothing in it repeats from row to row");
  if (!options.sheet.empty()) writeSheet(guessed, options, type);
  if (options.json)
    printJson(options.file, guessed);
  else
    printTable(options.file, guessed);
}

}  // namespace tool
