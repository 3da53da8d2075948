// SPDX-License-Identifier: Apache-2.0
#include "commands/convert_plan.h"

#include <algorithm>
#include <filesystem>

#include "words/failure.h"
#include "words/text.h"

namespace tool {
namespace {

namespace fs = std::filesystem;

// Whether a name ends like that of a picture or of a raw frame.
bool isFileName(const std::string &path) {
  const std::string extension = fs::path(path).extension().string();
  const auto is = [&extension](const char *wanted) { return sameName(extension, wanted); };
  return is(".png") || is(".ppm") || is(".pgm") || is(".bmp") || is(".tif") || is(".tiff") || is(".dng") ||
         is(".rwh");
}

void checkStandardOutput(const FileList &list, const ConvertOptions &options) {
  if (list.jobs.size() != 1 || list.several)
    throw Failure(Exit::Usage, "standard output", "takes the picture of one file");
  if (options.json || options.time)
    throw Failure(Exit::Usage, options.json ? "--json" : "--time",
                  "does not go with a picture on standard output");
}

// Gives the one job its output. Returns the type of the picture.
PictureType nameOne(Job &job, const ConvertOptions &options) {
  const std::string &output = options.output;
  refuseSameFile(job.input, output);
  if (sameName(fs::path(output).extension().string(), ".rwh"))
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
  static const char *const kExtensions[] = {".png", ".ppm", ".pgm", ".bmp", ".tiff", ".dng"};
  nameOutputs(list, output, kExtensions[static_cast<int>(type)]);
  return type;
}

}  // namespace

ConvertPlan planConversion(const ConvertOptions &options) {
  ConvertPlan plan;
  // Files, folders and patterns become the files that they stand for.
  plan.files = findInputs(options.inputs, options.input.headerless(), options.quiet);
  if (plan.files.jobs.empty()) return plan;
  const std::string &output = options.output;
  if (output == "-") checkStandardOutput(plan.files, options);
  // OUT is one picture, or a folder with one for each input.
  const bool toFolder = output.back() == '/' || isFolder(output) || (plan.files.several && output != "-");
  if (toFolder) plan.folder = output;
  plan.type = toFolder ? nameAll(plan.files, options) : nameOne(plan.files.jobs[0], options);
  if (options.raw && plan.type == PictureType::Bmp)
    throw Failure(Exit::Usage, "--raw", "does not go with BMP, which has no 16 bits; take png, pgm or ppm");
  return plan;
}

}  // namespace tool
