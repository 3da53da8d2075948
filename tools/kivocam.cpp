// SPDX-License-Identifier: Apache-2.0
// The command line of kivocam: what can be said, and how each command ends.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <csignal>
#include <cstdio>
#include <exception>
#include <iostream>
#include <map>
#include <new>
#include <string_view>
#include <vector>

#include "commands/commands.h"
#include "words/failure.h"
#include "words/numbers.h"
#include "words/text.h"

namespace {

using tool::Exit;

const char kExitCodes[] =
    "Exit codes: 0 done; 1 the command line makes no sense; 2 an input cannot be read or is not what it claims;\n"
    "3 the output cannot be written (nothing is left behind); 4 a format, size or conversion that does not exist;\n"
    "5 some of several files failed, the others are done; 6 memory or open files ran out, try again with more.";

// A number as --offset and --size have it: decimal, without sign, prefix or white space.
CLI::Validator numberFrom(std::uint64_t least, std::uint64_t most) {
  const std::string range =
      tool::printed("%u to %u", static_cast<unsigned>(least), static_cast<unsigned>(most));
  return CLI::Validator(
      [=](std::string &text) -> std::string {
        try {
          const std::uint64_t value = tool::parseNumber(text, "");
          text = std::to_string(value);
          if (value >= least && value <= most) return "";
        } catch (const tool::Failure &) {
        }
        return "'" + text + "' is not a number from " + range;
      },
      range);
}

void addHeaderlessOptions(CLI::App &command, tool::InputOptions &input) {
  const char *group = "Headerless input";
  command.add_option("-f,--format", input.format, "Pixel format, a name or 0xCODE of 'kivocam formats'")
      ->type_name("NAME")
      ->group(group);
  command.add_option("-s,--size", input.size, "Width and height in pixels, such as 1920x1080")
      ->type_name("WxH")
      ->group(group);
  command.add_option("--stride", input.stride, "Bytes from row to row, where rows are padded")
      ->type_name("N")
      ->group(group);
  command.add_option("--offset", input.offset, "Bytes in front of the frame to skip")
      ->type_name("N")
      ->group(group);
}

void addSwapBytes(CLI::App &command, tool::InputOptions &input) {
  command.add_flag("--swap-bytes", input.swapBytes, "16-bit samples arrive high byte first");
}

CLI::App *addCommand(CLI::App &app, const char *name, const char *summary, const std::string &examples) {
  CLI::App *command = app.add_subcommand(name, summary);
  command->footer("Examples:\n" + examples + "\n" + kExitCodes);
  return command;
}

void addPictureType(CLI::App &command, std::string &to) {
  command.add_option("--to", to, "Type of OUT: png, ppm, bmp or tiff (default: its extension)")
      ->type_name("TYPE");
}

void addOutputRules(CLI::App &command, tool::OutputRules &rules, const char *group = "Options") {
  CLI::Option *force =
      command.add_flag("--force", rules.force, "Replace a file that is read-only, too")->group(group);
  command.add_flag("--no-clobber", rules.noClobber, "Replace no file")->group(group)->excludes(force);
}

// Standard output under the name that the system has for it is a stream, not a file to be replaced.
void nameStandardOutput(std::string &output) {
  if (output == "/dev/stdout" || output == "/dev/fd/1" || output == "/proc/self/fd/1") output = "-";
}

// Everything that the command line fills in.
struct Options {
  tool::InfoOptions info;
  tool::GuessOptions guess;
  bool formatsJson = false;
  tool::ConvertOptions convert;
  std::string bayer = "standard";
  tool::ReportOptions report;
  std::string pictures;
  tool::ImportOptions import;
  tool::MosaicOptions mosaic;
  tool::CompareOptions compare;
  tool::SceneOptions scene;
  tool::SheetOptions sheet;
  Exit result = Exit::Ok;
};

void addInfo(CLI::App &app, Options &all) {
  CLI::App *command = addCommand(
      app, "info",
      "Tell what raw frames hold: header, size check, range, clipped share and histogram of the samples",
      "  kivocam info frame.rwh\n"
      "  kivocam info --json *.rwh\n"
      "  kivocam info archive/ 'more*.rwh'\n"
      "  kivocam info frame.raw --format BayerRG12 --size 1920x1080\n");
  command
      ->add_option("FILE", all.info.files,
                   "RWH files, folders with such, patterns or -; headerless frames with --format and --size")
      ->type_name("")
      ->required();
  addHeaderlessOptions(*command, all.info.input);
  addSwapBytes(*command, all.info.input);
  command->add_flag("--json", all.info.json, "One JSON object a line for each file");
  command->callback([&all] { all.result = tool::runInfo(all.info); });
}

void addGuess(CLI::App &app, Options &all) {
  CLI::App *command = addCommand(
      app, "guess", "Tell what a headerless file may be: format, size, offset, stride and byte order, ranked",
      "  kivocam guess frame.raw\n"
      "  kivocam guess frame.raw --sheet candidates.png\n"
      "  kivocam guess --json frame.raw\n");
  command->add_option("FILE", all.guess.file, "A file that nobody described")->type_name("")->required();
  command->add_option("--sheet", all.guess.sheet, "Picture to write: what each candidate would look like")
      ->type_name("OUT");
  command->add_flag("--json", all.guess.json, "As a JSON object");
  addOutputRules(*command, all.guess.rules);
  command->callback([&all] { tool::runGuess(all.guess); });
}

void addReport(CLI::App &app, Options &all) {
  CLI::App *command = addCommand(
      app, "report",
      "Write one HTML page about frames: thumbnails as they are and with --auto, histograms, facts",
      "  kivocam report archive/ -o page.html\n"
      "  kivocam report 'day*/*.rwh' -o page.html --title 'Line 3' --auto-range\n"
      "  kivocam report camera/ -o page.html --format BayerRG12p --size 1920x1080\n");
  tool::ReportOptions &options = all.report;
  command
      ->add_option("FILE", options.files,
                   "RWH files, folders with such, patterns; headerless frames with --format and --size")
      ->type_name("")
      ->required();
  command->add_option("-o,--output", options.output, "Page to write, or - for standard output")
      ->type_name("PAGE")
      ->required();
  command->add_option("--title", options.title, "Heading of the page")->type_name("TEXT");
  command->add_flag("--auto-range", options.autoRange,
                    "Spread the samples of each frame from black to white");
  command
      ->add_option("--pictures", all.pictures,
                   "Where the pictures are: inside the page, or beside it in the folder PAGE.pictures\n"
                   "(default: beside it where they take more than 16 MB)")
      ->type_name("PLACE");
  command->add_option("-j,--jobs", options.jobs, "Files at a time (default: one for each processor)")
      ->type_name("N")
      ->check(numberFrom(1, 256));
  command->add_flag("-q,--quiet", options.quiet, "No progress");
  command->add_flag("--json", options.json, "Print the facts too, as 'info --json' does");
  addHeaderlessOptions(*command, options.input);
  addSwapBytes(*command, options.input);
  addOutputRules(*command, options.rules);
  command->callback([&all] {
    nameStandardOutput(all.report.output);
    using Place = tool::ReportPictures::Place;
    if (all.pictures == "inside")
      all.report.pictures = Place::Inside;
    else if (all.pictures == "beside")
      all.report.pictures = Place::Beside;
    else if (!all.pictures.empty())
      throw tool::Failure(Exit::Usage, "--pictures", "'" + all.pictures + "' is not inside or beside");
    all.result = tool::runReport(all.report);
  });
}

void addFormats(CLI::App &app, Options &all) {
  CLI::App *command = addCommand(app, "formats", "List the pixel formats and their names in other systems",
                                 "  kivocam formats\n  kivocam formats --json\n");
  command->add_flag("--json", all.formatsJson, "As a JSON array");
  command->callback([&all] { tool::runFormats(all.formatsJson); });
}

void addConvertFiles(CLI::App &command, tool::ConvertOptions &options) {
  const char *group = "Files";
  command
      .add_option(
          "PATH", options.inputs,
          "IN... OUT: RWH files, folders with such, patterns or - (standard input); then the picture or the\n"
          "folder to write, or - (standard output)")
      ->type_name("")
      ->required();
  command.add_option("-o,--output", options.output, "OUT; what else is named is an input")
      ->type_name("OUT")
      ->group(group);
  command
      .add_option("--to", options.to,
                  "Type of OUT: png, ppm, pgm, bmp, tiff or dng (default: its extension; png in folders)")
      ->type_name("TYPE")
      ->group(group);
  command.add_option("--png-level", options.pngLevel, "Compression of PNG, 0 (none) to 9 (slow)")
      ->type_name("N")
      ->check(numberFrom(0, 9))
      ->capture_default_str()
      ->group(group);
  command
      .add_option("-j,--jobs", options.jobs,
                  "Files at a time, or threads on the one (default: one for each processor)")
      ->type_name("N")
      ->check(numberFrom(1, 256))
      ->group(group);
  command
      .add_flag("--resume", options.resume,
                "Leave out what is there already, whole and not older than its input")
      ->group(group);
  command
      .add_flag_callback(
          "--no-sync", [&options] { options.rules.durable = false; },
          "Do not wait for the disk: faster, but a power cut may leave files that are not whole")
      ->group(group);
  addOutputRules(command, options.rules, group);
  command.add_flag("-q,--quiet", options.quiet, "No progress, no summary, no notes")->group(group);
  command.add_flag("--json", options.json, "One JSON object a line for each file, and one for all")
      ->group(group);
  command
      .add_flag(
          "--time", options.time,
          "Print format, size, what it became and the milliseconds of one conversion (median of 9, warm)")
      ->group(group);
}

// Returns --bayer.
CLI::Option *addConvertSamples(CLI::App &command, tool::ConvertOptions &options, std::string &bayer) {
  const char *group = "What is done to the samples, in this order";
  command.add_option("--crop", options.crop, "This region only, as if the camera had delivered no more")
      ->type_name("WxH+X+Y")
      ->group(group);
  command.add_flag("--mirror", options.mirror, "Left to right")->group(group);
  command.add_flag("--flip", options.flip, "Top to bottom")->group(group);
  command
      .add_flag("--auto-range", options.autoRange,
                "Spread the samples of each frame over the whole range from black to white")
      ->group(group);
  command
      .add_option(
          "--shift", options.shift,
          "Bits that wide samples lose at the lower end; what is above 8 bits wraps (default: depth - 8)")
      ->type_name("N")
      ->check(numberFrom(0, 15))
      ->group(group);
  CLI::Option *const bayerOption = command.add_option(
      "--bayer", bayer,
      "Bayer frames: standard (means of neighbours), acpi (adaptive; even sizes from 4 x 4 up), best (acpi\n"
      "where it can be, else standard), half (a pixel from each 2 x 2) or off (grey mosaic)");
  bayerOption->type_name("MODE")->capture_default_str()->group(group);
  command.add_flag("--bgr", options.bgr, "Give a BMP 24 bits a pixel, not 32")->group(group);
  command
      .add_flag("--raw", options.raw,
                "No conversion: the samples as they are, in a PNG, PGM, PPM or TIFF of 8 or 16 bits")
      ->group(group);
  command
      .add_flag("--wide", options.wide,
                "16 bits a sample, spread over all of them, in a PNG, PPM, PGM or TIFF")
      ->group(group);
  return bayerOption;
}

void addColour(CLI::App &command, tool::ColourWords &colour) {
  const char *group = "Colour, from what a sensor counts to what a person wants to see (not YUV)";
  command
      .add_flag(
          "--auto", colour.automatic,
          "All of it by the frame itself: black level, white balance, range, sRGB; the options below say\n"
          "otherwise of what they stand for")
      ->group(group);
  command
      .add_option(
          "--black", colour.black,
          "Sample of no light: one, or those of red, both greens and blue; auto: by the darkest samples")
      ->type_name("N|R,G,G,B|auto")
      ->group(group);
  command
      .add_option("--white-balance", colour.whiteBalance,
                  "Gains of red, green and blue, or what is taken for grey: white-patch (the brightest),\n"
                  "grey-world (the mean) or median; none")
      ->type_name("R,G,B|WORD")
      ->group(group);
  command
      .add_option(
          "--range", colour.range,
          "Black and white point above the black level; with a p before each, percentages of the samples")
      ->type_name("B,W|pB,pW")
      ->group(group);
  command
      .add_option("--matrix", colour.matrix,
                  "Nine coefficients: what of red, green and blue makes red; then green; then blue")
      ->type_name("RR,RG,RB,...")
      ->group(group);
  command.add_option("--tone", colour.tone, "linear, srgb, or a gamma such as 2.2")
      ->type_name("TONE")
      ->group(group);
  command
      .add_option("--colour-of", colour.like, "Look at this frame, and give all the settings that suit it")
      ->type_name("FRAME")
      ->group(group);
}

void addConvert(CLI::App &app, Options &all) {
  CLI::App *command =
      addCommand(app, "convert", "Turn raw frames into PNG, TIFF, DNG, PPM, PGM or BMP pictures",
                 "  kivocam convert frame.rwh frame.png\n"
                 "  kivocam convert frame.rwh frame.bmp --bayer acpi --bgr\n"
                 "  kivocam convert frame.raw out.png --format BayerRG8 --size 640x480 --stride 704\n"
                 "  kivocam convert dark.rwh dark.png --crop 640x480+16+8 --auto-range --bayer acpi\n"
                 "  kivocam convert frame.rwh frame.png --auto\n"
                 "  kivocam convert archive/ pictures/ --auto --black 64 --colour-of archive/first.rwh\n"
                 "  kivocam convert frame.rwh frame.png --black 64 --white-balance 1.9,1,1.6 --tone srgb\n"
                 "  kivocam convert frame.rwh samples.pgm --raw\n"
                 "  kivocam convert frame.rwh frame.dng\n"
                 "  kivocam convert archive/ pictures/ -j 8\n"
                 "  kivocam convert archive/ pictures/ --resume\n"
                 "  kivocam convert 'day*/' extra.rwh -o pictures/ --to bmp --json\n"
                 "  zcat frame.rwh.gz | kivocam convert - - --to ppm | display -\n");
  tool::ConvertOptions &options = all.convert;
  addConvertFiles(*command, options);
  CLI::Option *const bayer = addConvertSamples(*command, options, all.bayer);
  addColour(*command, options.colour);
  addHeaderlessOptions(*command, options.input);
  addSwapBytes(*command, options.input);
  command->callback([&all, bayer] {
    tool::ConvertOptions &convert = all.convert;
    if (convert.output.empty()) {
      if (convert.inputs.size() < 2) throw CLI::RequiredError("OUT");
      convert.output = convert.inputs.back();
      convert.inputs.pop_back();
    }
    nameStandardOutput(convert.output);
    static const std::map<std::string, kivo::Bayer> modes = {{"standard", kivo::Bayer::Standard},
                                                             {"acpi", kivo::Bayer::Acpi},
                                                             {"best", kivo::Bayer::Best},
                                                             {"half", kivo::Bayer::Half},
                                                             {"off", kivo::Bayer::Off}};
    const auto mode = modes.find(all.bayer);
    if (mode == modes.end())
      throw tool::Failure(Exit::Usage, "--bayer",
                          "'" + all.bayer + "' is not standard, acpi, best, half or off");
    convert.bayer = mode->second;
    // Not by its name: looking for that takes memory, and there is no way to say that there is none.
    convert.bayerGiven = bayer->count() != 0;
    all.result = tool::runConvert(convert);
  });
}

void addImport(CLI::App &app, Options &all) {
  CLI::App *command =
      addCommand(app, "import", "Put the header of an RWH file before a headerless frame",
                 "  kivocam import frame.raw frame.rwh --format BayerRG8 --size 640x480\n"
                 "  kivocam import big.raw little.rwh --format Mono16 --size 640x480 --swap-bytes\n"
                 "  zcat frame.raw.gz | kivocam import - - --format Mono8 --size 640x480 >frame.rwh\n");
  command->add_option("RAW", all.import.input.file, "Headerless frame, or - (standard input)")->required();
  command->add_option("OUT", all.import.output, "RWH file to write, with packed rows, or - (standard output)")
      ->required();
  addHeaderlessOptions(*command, all.import.input);
  addSwapBytes(*command, all.import.input);
  addOutputRules(*command, all.import.rules);
  command->callback([&all] {
    all.import.input.named = true;
    nameStandardOutput(all.import.output);
    tool::runImport(all.import);
  });
}

void addMosaic(CLI::App &app, Options &all) {
  CLI::App *command =
      addCommand(app, "mosaic", "Make of a picture the raw frame that a camera would deliver of it",
                 "  kivocam mosaic photo.png photo.rwh --format BayerGB10\n"
                 "  kivocam mosaic photo.png dark.rwh --format BayerRG12 --sensor\n"
                 "  kivocam mosaic photo.ppm photo.raw --format YUV422_8_UYVY\n");
  command->add_option("PICTURE", all.mosaic.picture, "PNG, PPM, PGM or BMP picture, or - (standard input)")
      ->required();
  command
      ->add_option("OUT", all.mosaic.output,
                   "RWH file, or headerless where the name does not end in .rwh, or - (standard output)")
      ->required();
  command->add_option("-f,--format", all.mosaic.format, "Pixel format, a name or 0xCODE of 'kivocam formats'")
      ->type_name("NAME")
      ->required();
  command->add_option("--to", all.mosaic.to, "Type of OUT: rwh or raw (default: its extension)")
      ->type_name("TYPE");
  command->add_flag_callback(
      "--sensor", [&all] { all.mosaic.exposure = tool::Exposure::Sensor; },
      "As a real sensor in weak light: linear, dark, green, above a black level, with noise (not YUV)");
  addOutputRules(*command, all.mosaic.rules);
  command->callback([&all] {
    nameStandardOutput(all.mosaic.output);
    tool::runMosaic(all.mosaic);
  });
}

void addCompare(CLI::App &app, Options &all) {
  CLI::App *command =
      addCommand(app, "compare", "Tell how far two pictures are apart: largest difference, PSNR, CPSNR",
                 "  kivocam compare photo.png converted.bmp\n  kivocam compare --json a.png b.png\n");
  command->add_option("A", all.compare.first, "PNG, PPM, PGM or BMP picture, or - (standard input)")
      ->required();
  command->add_option("B", all.compare.second, "Picture of the same size and depth, 8 or 16 bits a sample")
      ->required();
  command->add_flag("--json", all.compare.json,
                    "As a JSON object; null stands for the PSNR of equal pictures");
  command->callback([&all] { tool::runCompare(all.compare); });
}

void addScene(CLI::App &app, Options &all) {
  CLI::App *command =
      addCommand(app, "scene", "Draw the test scene: zone plate, colours, edges, fine text and ramps",
                 "  kivocam scene scene.png\n  kivocam scene scene.ppm --size 1920x1080\n");
  command->add_option("OUT", all.scene.output, "Picture to write, or - (standard output)")->required();
  command->add_option("-s,--size", all.scene.size, "Width and height in pixels, 160x160 to 16384x16384")
      ->type_name("WxH")
      ->capture_default_str();
  addPictureType(*command, all.scene.to);
  addOutputRules(*command, all.scene.rules);
  command->callback([&all] {
    nameStandardOutput(all.scene.output);
    tool::runScene(all.scene);
  });
}

void addSheet(CLI::App &app, Options &all) {
  CLI::App *command = addCommand(
      app, "sheet", "Put thumbnails of pictures, and of raw frames as they are and with --auto, on one page",
      "  kivocam sheet sheet.png a.png b.bmp\n"
      "  kivocam sheet sheet.png frame.rwh other.rwh\n"
      "  kivocam sheet sheet.png *.raw --format BayerRG12 --size 1920x1080\n"
      "  kivocam sheet sheet.png a.png b.png --labels 'first' 'second\\n31.2 dB' --columns 2\n");
  tool::SheetOptions &options = all.sheet;
  command->add_option("OUT", options.output, "Picture to write, or - (standard output)")->required();
  command
      ->add_option(
          "PICTURES", options.pictures,
          "PNG, PPM, PGM or BMP pictures, RWH files, headerless frames with --format and --size; one can\n"
          "be - (standard input)")
      ->required();
  command
      ->add_option("--labels", options.labels,
                   "One label a picture or frame (default: file names and facts); \\n starts another line")
      ->type_name("TEXT ...");
  command->add_option("--title", options.title, "Heading of the page")->type_name("TEXT");
  command->add_option("--columns", options.columns, "Thumbnails in a row")
      ->type_name("N")
      ->check(numberFrom(1, 64))
      ->capture_default_str();
  command->add_option("--cell", options.cell, "Largest size of a thumbnail")
      ->type_name("WxH")
      ->capture_default_str();
  addPictureType(*command, options.to);
  addHeaderlessOptions(*command, options.input);
  addSwapBytes(*command, options.input);
  addOutputRules(*command, options.rules);
  command->callback([&all] {
    nameStandardOutput(all.sheet.output);
    tool::runSheet(all.sheet);
  });
}

int complain(const std::string &line, Exit code) {
  std::fflush(stdout);
  std::fprintf(stderr, "kivocam: %s\n", tool::oneLine(line).c_str());
  return static_cast<int>(code);
}

// CLI11's own messages, in one line and with the way to help.
int complainUsage(const CLI::App &app, const CLI::ParseError &error) {
  std::string command;
  for (const CLI::App *used : app.get_subcommands()) command = " " + used->get_name();
  return complain(std::string(error.what()) + "; see 'kivocam" + command + " --help'", Exit::Usage);
}

// What went to standard output is what was asked for: what did not reach the reader is nothing.
int ended(Exit result) {
  std::cout.flush();
  if (!std::cout || std::fflush(stdout) != 0 || std::ferror(stdout) != 0)
    return complain("standard output: cannot be written", Exit::Output);
  return static_cast<int>(result);
}

int run(int argc, char **argv) {
  Options all;
  CLI::App app("Raw frames of machine-vision cameras: look at them, convert them, make them.", "kivocam");
  app.set_version_flag("--version", tool::printed("kivocam %d.%d.%d", CAMUTL_VERSION_MAJOR,
                                                  CAMUTL_VERSION_MINOR, CAMUTL_VERSION_PATCH));
  app.set_help_all_flag("--help-all", "Print the help of every command and exit");
  app.require_subcommand(1);
  app.footer(
      "Examples:\n"
      "  kivocam convert frame.rwh frame.png\n"
      "  kivocam guess camera/frame.raw --sheet candidates.png\n"
      "  kivocam convert camera/ pictures/ --format BayerRG8 --size 1920x1080 --auto\n"
      "  kivocam report camera/ -o page.html --format BayerRG8 --size 1920x1080\n"
      "  kivocam convert --help\n\n" +
      std::string(kExitCodes));
  addInfo(app, all);
  addGuess(app, all);
  addReport(app, all);
  addFormats(app, all);
  addConvert(app, all);
  addImport(app, all);
  addMosaic(app, all);
  addCompare(app, all);
  addScene(app, all);
  addSheet(app, all);
  // "help" and "help convert" are "--help" and "convert --help".
  std::vector<const char *> words(argv, argv + argc);
  if (words.size() > 1 && std::string_view(words[1]) == "help") {
    words.erase(words.begin() + 1);
    words.resize(std::min<std::size_t>(words.size(), 2));
    words.push_back("--help");
  }
  const auto isFirstWord = [&words](const CLI::App *command) { return command->get_name() == words[1]; };
  if (words.size() > 1 && words[1][0] != '-' && app.get_subcommands(isFirstWord).empty())
    return complain("'" + std::string(words[1]) + "' is not a command; see 'kivocam --help'", Exit::Usage);
  try {
    app.parse(static_cast<int>(words.size()), words.data());
  } catch (const CLI::Success &success) {
    app.exit(success);
    return ended(Exit::Ok);
  } catch (const CLI::ParseError &error) {
    return complainUsage(app, error);
  }
  return ended(all.result);
}

}  // namespace

int main(int argc, char **argv) {
  // A limit on the size of files is an error of the file that meets it, not the end of the others.
  std::signal(SIGXFSZ, SIG_IGN);
  try {
    return run(argc, argv);
  } catch (const tool::Failure &failure) {
    return complain(failure.what(), failure.code());
  } catch (const std::bad_alloc &) {
    std::fflush(stdout);
    std::fputs("kivocam: not enough memory\n", stderr);
    return static_cast<int>(Exit::Shortage);
  } catch (const std::exception &error) {
    return complain(error.what(), Exit::Input);
  }
}
