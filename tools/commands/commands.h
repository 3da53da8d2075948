// SPDX-License-Identifier: Apache-2.0
// The commands of kivocam. Each throws Failure when it cannot do what it was asked to.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "commands/report_pictures.h"
#include "files/output_file.h"
#include "frames/colour_rule.h"
#include "frames/make_frame.h"
#include "frames/raw_input.h"
#include "pictures/picture.h"
#include "words/failure.h"

namespace tool {

// info: facts about raw frames. Several files fail one by one, each with its line; the result then tells that
// some did.
struct InfoOptions {
  std::vector<std::string> files;
  InputOptions input;  // its file is set per file
  bool json = false;
};
Exit runInfo(const InfoOptions &options);

// guess: what a headerless file may be.
struct GuessOptions {
  std::string file;
  std::string sheet;  // a picture to write, or empty
  bool json = false;
  OutputRules rules;
};
void runGuess(const GuessOptions &options);

// formats: the table of pixel formats.
void runFormats(bool json);

// convert: raw frames to pictures, one or many. Many fail one by one; the result then tells that some did.
struct ConvertOptions {
  std::vector<std::string> inputs;  // files, folders and patterns; "-" is standard input
  std::string output;               // a file, a folder or "-"
  InputOptions input;               // its file is set per file
  std::string to;                   // empty: by extension, PNG in folders
  kivo::Bayer bayer = kivo::Bayer::Standard;
  bool bayerGiven = false;
  bool bgr = false;
  bool mirror = false;
  bool flip = false;
  std::string crop;
  std::optional<std::uint32_t> shift;
  bool autoRange = false;
  ColourWords colour;
  bool raw = false;
  bool wide = false;
  int pngLevel = kPngLevel;
  unsigned jobs = 0;  // threads, for one file too; 0: one for each processor
  bool resume = false;
  bool quiet = false;
  bool json = false;
  bool time = false;
  OutputRules rules;
};
Exit runConvert(const ConvertOptions &options);

// report: one HTML page about a set of frames. Bad ones are listed with their errors.
struct ReportOptions {
  std::vector<std::string> files;
  InputOptions input;  // its file is set per file
  std::string output;
  std::string title;
  bool autoRange = false;
  ReportPictures::Place pictures = ReportPictures::Place::ByAmount;
  unsigned jobs = 0;  // threads; 0: one for each processor
  bool quiet = false;
  bool json = false;
  OutputRules rules;
};
Exit runReport(const ReportOptions &options);

struct ImportOptions {
  InputOptions input;
  std::string output;
  OutputRules rules;
};
void runImport(const ImportOptions &options);

struct MosaicOptions {
  std::string picture;
  std::string output;
  std::string format;
  std::string to;  // rwh, raw, or empty: by extension
  Exposure exposure = Exposure::Ideal;
  OutputRules rules;
};
void runMosaic(const MosaicOptions &options);

struct CompareOptions {
  std::string first;
  std::string second;
  bool json = false;
};
void runCompare(const CompareOptions &options);

struct SceneOptions {
  std::string output;
  std::string size = "640x480";
  std::string to;
  OutputRules rules;
};
void runScene(const SceneOptions &options);

// sheet: thumbnails of pictures, and of raw frames as they are and as convert --auto shows them.
struct SheetOptions {
  std::string output;
  std::vector<std::string> pictures;  // and frames
  InputOptions input;                 // of headerless frames; its file is set per file
  std::vector<std::string> labels;    // empty, or one for each of them
  std::string title;
  std::string cell = "240x180";
  unsigned columns = 4;
  std::string to;
  OutputRules rules;
};
void runSheet(const SheetOptions &options);

}  // namespace tool
