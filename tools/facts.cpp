// SPDX-License-Identifier: Apache-2.0
// The commands that only tell: info and formats.
#include <algorithm>
#include <cinttypes>
#include <cstdio>

#include "commands.h"
#include "failure.h"

namespace tool {
namespace {

// What is known about the samples of one colour.
struct Component {
  const char *name;
  std::uint64_t count = 0;
  std::uint64_t sum = 0;
  std::uint64_t clipped = 0;  // at the top of the nominal range
  std::uint64_t excess = 0;   // above it: the converters let these wrap
  std::uint64_t black = 0;    // at 0
  std::uint32_t least = UINT32_MAX;
  std::uint32_t most = 0;

  explicit Component(const char *n) : name(n) {}

  void add(std::uint32_t sample, std::uint32_t top) {
    ++count;
    sum += sample;
    least = std::min(least, sample);
    most = std::max(most, sample);
    clipped += sample == top;
    excess += sample > top;
    black += sample == 0;
  }
  double mean() const { return count == 0 ? 0 : static_cast<double>(sum) / static_cast<double>(count); }
  double share(std::uint64_t n) const {
    return count == 0 ? 0 : static_cast<double>(n) / static_cast<double>(count);
  }
};

// Which component each sample of a cell belongs to. Cells are two rows high for Bayer formats; a row of a
// cell is a group of the format, or two pixels for Bayer.
struct Layout {
  std::vector<Component> components;
  std::vector<unsigned> rows[2];
};

Layout layoutOf(const kivo::Format &format) {
  Layout layout;
  const auto names = [&layout](std::initializer_list<const char *> list) {
    for (const char *name : list) layout.components.emplace_back(name);
  };
  const auto bothRows = [&layout](std::vector<unsigned> row) {
    layout.rows[0] = row;
    layout.rows[1] = std::move(row);
  };
  switch (format.family) {
    case kivo::Family::Mono:
      names({"grey"});
      bothRows({0});
      break;
    case kivo::Family::Rgb:
      names({"R", "G", "B"});
      bothRows(format.name[0] == 'R' ? std::vector<unsigned>{0, 1, 2} : std::vector<unsigned>{2, 1, 0});
      break;
    case kivo::Family::Yuv:
      names({"Y", "U", "V"});
      bothRows(format.groupPixels == 4   ? std::vector<unsigned>{1, 0, 0, 2, 0, 0}
               : format.groupPixels == 2 ? std::vector<unsigned>{1, 0, 2, 0}
                                         : std::vector<unsigned>{1, 0, 2});
      break;
    case kivo::Family::Bayer:
      names({"R", "Gr", "Gb", "B"});
      switch (format.order) {
        case kivo::BayerOrder::GR:
          layout.rows[0] = {1, 0}, layout.rows[1] = {3, 2};
          break;
        case kivo::BayerOrder::RG:
          layout.rows[0] = {0, 1}, layout.rows[1] = {2, 3};
          break;
        case kivo::BayerOrder::GB:
          layout.rows[0] = {2, 3}, layout.rows[1] = {0, 1};
          break;
        default:
          layout.rows[0] = {3, 2}, layout.rows[1] = {1, 0};
          break;
      }
      break;
  }
  return layout;
}

std::vector<Component> measure(const kivo::Frame &frame, const kivo::Format &format) {
  Layout layout = layoutOf(format);
  const std::size_t row = static_cast<std::size_t>(kivo::rowBytes(format, frame.width));
  const std::size_t stride = frame.stride == 0 ? row : frame.stride;
  const std::uint32_t top = (1U << format.depth) - 1;
  for (std::uint32_t y = 0; y < frame.height; ++y) {
    const std::uint8_t *from = frame.data.data() + y * stride;
    const std::vector<unsigned> &cell = layout.rows[y % 2];
    for (std::size_t i = 0, samples = row / format.wordBytes; i < samples; ++i) {
      const std::uint32_t sample =
          format.wordBytes == 1 ? from[i] : from[2 * i] | std::uint32_t{from[2 * i + 1]} << 8;
      layout.components[cell[i % cell.size()]].add(sample, top);
    }
  }
  return layout.components;
}

// What is known about a file before its samples are looked at.
struct FileFacts {
  std::string file;
  bool rwh;
  std::uint32_t code, width, height;
  std::uint64_t rowBytes, fileBytes, expectedBytes;
};

void printFileFacts(const FileFacts &facts) {
  const kivo::Format *format = kivo::findFormat(facts.code);
  std::printf("%s\n", oneLine(facts.file).c_str());
  std::printf("  format     %s (0x%08" PRIX32 ")\n", format == nullptr ? "unknown" : format->name,
              facts.code);
  std::printf("  size       %" PRIu32 " x %" PRIu32 " pixels, %" PRIu64 " bytes a row\n", facts.width,
              facts.height, facts.rowBytes);
  std::string verdict = tool::format("but the header says %" PRIu64, facts.expectedBytes);
  if (!facts.rwh)
    verdict = "headerless";
  else if (facts.fileBytes == facts.expectedBytes)
    verdict = "as the header says";
  std::printf("  file       %" PRIu64 " bytes, %s\n", facts.fileBytes, verdict.c_str());
}

void printComponents(const std::vector<Component> &components) {
  std::printf("  samples    min    max      mean     at 0  clipped    above\n");
  for (const Component &c : components)
    std::printf("  %-6s  %6" PRIu32 " %6" PRIu32 " %9.2f  %6.2f%%  %6.2f%%  %6.2f%%\n", c.name,
                c.count == 0 ? 0 : c.least, c.most, c.mean(), 100 * c.share(c.black),
                100 * c.share(c.clipped), 100 * c.share(c.excess));
}

void printJson(const FileFacts &facts, const kivo::Format &format, const std::vector<Component> &components) {
  std::string line =
      tool::format("{\"file\": %s, \"kind\": \"%s\", \"format\": \"%s\", \"code\": \"0x%08" PRIX32
                   "\", \"depth\": %u, \"width\": %" PRIu32 ", \"height\": %" PRIu32
                   ", \"row_bytes\": %" PRIu64 ", \"file_bytes\": %" PRIu64 ", \"samples\": {",
                   jsonString(facts.file).c_str(), facts.rwh ? "rwh" : "headerless", format.name, format.code,
                   unsigned{format.depth}, facts.width, facts.height, facts.rowBytes, facts.fileBytes);
  const char *separator = "";
  for (const Component &c : components) {
    line += tool::format("%s\"%s\": {\"min\": %" PRIu32 ", \"max\": %" PRIu32
                         ", \"mean\": %.4f, \"zero\": %.6f, \"clipped\": %.6f, \"above\": %.6f}",
                         separator, c.name, c.count == 0 ? 0 : c.least, c.most, c.mean(), c.share(c.black),
                         c.share(c.clipped), c.share(c.excess));
    separator = ", ";
  }
  std::printf("%s}}\n", line.c_str());
}

void infoOf(const InputOptions &input, bool json) {
  FileFacts facts = {input.file, !input.headerless(), 0, 0, 0, 0, 0, 0};
  if (facts.rwh) {
    const kivo::RwhInfo info = loadHeader(input.file);
    facts = {input.file,  true,           info.format,    info.width,
             info.height, info.lineBytes, info.fileBytes, info.expectedBytes()};
    // The header is shown before it is judged: it is what tells why a file is refused.
    if (!json) printFileFacts(facts);
    checkHeader(input.file, info);
  }
  const RawInput raw = loadInput(input);
  if (!facts.rwh) {
    facts = {input.file,    false, raw.frame.format, raw.frame.width, raw.frame.height, raw.frame.stride,
             raw.fileBytes, 0};
    if (!json) printFileFacts(facts);
  }
  const std::vector<Component> components = measure(raw.frame, *raw.format);
  if (json)
    printJson(facts, *raw.format, components);
  else
    printComponents(components);
}

}  // namespace

Exit runInfo(const InfoOptions &options) {
  Exit worst = Exit::Ok;
  for (const std::string &file : options.files) {
    InputOptions input = options.input;
    input.file = file;
    try {
      infoOf(input, options.json);
    } catch (const Failure &failure) {
      if (options.files.size() == 1 || failure.code() == Exit::Usage) throw;
      std::fflush(stdout);
      std::fprintf(stderr, "kivocam: %s\n", oneLine(failure.what()).c_str());
      worst = failure.code();
    }
  }
  return worst;
}

void runFormats(bool json) {
  if (json) {
    const char *separator = "[\n ";
    for (const kivo::Format &format : kivo::kFormats) {
      std::printf("%s{\"name\": \"%s\", \"code\": \"0x%08" PRIX32
                  "\", \"depth\": %u, \"bits_per_pixel\": %" PRIu32
                  ", \"opencv\": \"%s\", \"v4l2\": \"%s\", \"gstreamer\": \"%s\"}",
                  separator, format.name, format.code, unsigned{format.depth}, format.bitsPerPixel(),
                  format.opencv, format.v4l2, format.gstreamer);
      separator = ",\n ";
    }
    std::printf("\n]\n");
    return;
  }
  std::printf("%-16s %-10s  %5s  %4s  %-19s %-8s %s\n", "PFNC name", "code", "depth", "bits", "OpenCV",
              "V4L2", "GStreamer");
  for (const kivo::Format &format : kivo::kFormats)
    std::printf("%-16s 0x%08" PRIX32 "  %5u  %4" PRIu32 "  %-19s %-8s %s\n", format.name, format.code,
                unsigned{format.depth}, format.bitsPerPixel(), format.opencv, format.v4l2, format.gstreamer);
}

}  // namespace tool
