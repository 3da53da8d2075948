// SPDX-License-Identifier: Apache-2.0
#include "pictures/picture_tiff.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "files/byte_sink.h"
#include "words/failure.h"

namespace tool {
namespace {

// Tags, as TIFF 6.0 and DNG number them.
enum Tag : std::uint16_t {
  kSubfileType = 254,
  kWidth = 256,
  kLength = 257,
  kBitsPerSample = 258,
  kCompression = 259,
  kPhotometric = 262,
  kMake = 271,
  kModel = 272,
  kStripOffsets = 273,
  kOrientation = 274,
  kSamplesPerPixel = 277,
  kRowsPerStrip = 278,
  kStripByteCounts = 279,
  kXResolution = 282,
  kYResolution = 283,
  kPlanarConfiguration = 284,
  kResolutionUnit = 296,
  kSoftware = 305,
  kCfaRepeat = 33421,
  kCfaPattern = 33422,
  kDngVersion = 50706,
  kDngBackwardVersion = 50707,
  kUniqueCameraModel = 50708,
  kCfaPlaneColor = 50710,
  kCfaLayout = 50711,
  kBlackLevel = 50714,
  kWhiteLevel = 50717,
  kColorMatrix1 = 50721,
  kAsShotNeutral = 50728,
  kCalibrationIlluminant1 = 50778,
};

enum Type : std::uint16_t { kByte = 1, kAscii = 2, kShort = 3, kLong = 4, kRational = 5, kSRational = 10 };

constexpr std::uint16_t kPhotometricGrey = 1, kPhotometricRgb = 2, kPhotometricCfa = 32803,
                        kPhotometricLinearRaw = 34892;
constexpr std::uint16_t kIlluminantD65 = 21;
constexpr std::uint32_t kDenominator = 10000;
constexpr std::size_t kHeaderBytes = 8, kEntryBytes = 12;

void put(std::vector<std::uint8_t> &to, std::uint64_t value, unsigned bytes) {
  for (unsigned i = bytes; i-- > 0;) to.push_back(static_cast<std::uint8_t>(value >> 8 * i));
}

// The directory of a file. Entries are added in the order of their tags, as the format wants them.
class Directory {
 public:
  void add(Tag tag, Type type, std::uint32_t count, std::vector<std::uint8_t> value) {
    entries_.push_back({tag, type, count, std::move(value)});
  }
  void shorts(Tag tag, std::initializer_list<std::uint32_t> values) {
    std::vector<std::uint8_t> bytes;
    for (const std::uint32_t value : values) put(bytes, value, 2);
    add(tag, kShort, static_cast<std::uint32_t>(values.size()), std::move(bytes));
  }
  void number(Tag tag, std::uint32_t value) {
    std::vector<std::uint8_t> bytes;
    put(bytes, value, 4);
    add(tag, kLong, 1, std::move(bytes));
  }
  void bytes(Tag tag, std::vector<std::uint8_t> values) {
    const std::uint32_t count = static_cast<std::uint32_t>(values.size());
    add(tag, kByte, count, std::move(values));
  }
  void text(Tag tag, const std::string &value) {
    std::vector<std::uint8_t> bytes(value.begin(), value.end());
    bytes.push_back(0);
    const std::uint32_t count = static_cast<std::uint32_t>(bytes.size());
    add(tag, kAscii, count, std::move(bytes));
  }
  template <class Values>
  void fractions(Tag tag, Type type, const Values &values) {
    std::vector<std::uint8_t> bytes;
    for (const double value : values) {
      put(bytes, static_cast<std::uint32_t>(static_cast<std::int32_t>(std::lround(value * kDenominator))), 4);
      put(bytes, kDenominator, 4);
    }
    add(tag, type, static_cast<std::uint32_t>(values.size()), std::move(bytes));
  }

  // Where the samples begin: behind everything else, on an even byte.
  std::uint32_t end() const {
    std::size_t size = kHeaderBytes + 2 + kEntryBytes * (entries_.size() + 1) + 4;
    for (const Entry &entry : entries_)
      if (entry.value.size() > 4) size += (entry.value.size() + 1) / 2 * 2;
    return static_cast<std::uint32_t>(size);
  }

  // The beginning of the file, with the entry for where the samples begin in its place.
  std::vector<std::uint8_t> file() const {
    const std::uint32_t samples = end();
    std::vector<Entry> entries = entries_;
    Entry offset = {kStripOffsets, kLong, 1, {}};
    put(offset.value, samples, 4);
    entries.insert(std::find_if(entries.begin(), entries.end(),
                                [](const Entry &entry) { return entry.tag > kStripOffsets; }),
                   offset);
    std::vector<std::uint8_t> head = {'M', 'M', 0, 42}, values;
    put(head, kHeaderBytes, 4);
    put(head, entries.size(), 2);
    const std::size_t behind = kHeaderBytes + 2 + kEntryBytes * entries.size() + 4;
    for (const Entry &entry : entries) {
      put(head, entry.tag, 2);
      put(head, entry.type, 2);
      put(head, entry.count, 4);
      if (entry.value.size() > 4) {
        put(head, behind + values.size(), 4);
        values.insert(values.end(), entry.value.begin(), entry.value.end());
        if (values.size() % 2 != 0) values.push_back(0);
      } else {
        std::vector<std::uint8_t> value = entry.value;
        value.resize(4);
        head.insert(head.end(), value.begin(), value.end());
      }
    }
    put(head, 0, 4);
    head.insert(head.end(), values.begin(), values.end());
    return head;
  }

 private:
  struct Entry {
    Tag tag;
    Type type;
    std::uint32_t count;
    std::vector<std::uint8_t> value;
  };
  std::vector<Entry> entries_;
};

void shape(Directory &directory, const Rows &rows, std::uint16_t photometric, const std::string &model) {
  directory.number(kSubfileType, 0);
  directory.number(kWidth, rows.width);
  directory.number(kLength, rows.height);
  if (rows.channels == 3)
    directory.shorts(kBitsPerSample, {rows.bits, rows.bits, rows.bits});
  else
    directory.shorts(kBitsPerSample, {rows.bits});
  directory.shorts(kCompression, {1});
  directory.shorts(kPhotometric, {photometric});
  if (!model.empty()) {
    directory.text(kMake, "KivoCamUtl");
    directory.text(kModel, model);
  }
  directory.shorts(kOrientation, {1});
  directory.shorts(kSamplesPerPixel, {rows.channels});
  directory.number(kRowsPerStrip, rows.height);
  directory.number(kStripByteCounts, static_cast<std::uint32_t>(rows.rowBytes() * rows.height));
  directory.fractions(kXResolution, kRational, std::array<double, 1>{72});
  directory.fractions(kYResolution, kRational, std::array<double, 1>{72});
  directory.shorts(kPlanarConfiguration, {1});
  directory.shorts(kResolutionUnit, {2});
  directory.text(kSoftware, "kivocam");
}

void writeFile(const Directory &directory, const Rows &rows, ByteSink &sink) {
  const std::vector<std::uint8_t> head = directory.file();
  sink.write(head.data(), head.size());
  std::vector<std::uint8_t> space(rows.rowBytes());
  for (std::uint32_t y = 0; y < rows.height; ++y) sink.write(rows.row(y, space.data()), space.size());
}

// Positions in a file of this kind have 32 bits.
void checkSize(const Rows &rows, const ByteSink &sink, const char *kind) {
  if (std::uint64_t{rows.rowBytes()} * rows.height > UINT32_MAX - std::uint64_t{65536})
    throw Failure(Exit::Unsupported, sink.name(),
                  std::string("cannot be a ") + kind + " picture: it would have more than 4 GB");
}

}  // namespace

void encodeTiff(const Rows &rows, ByteSink &sink) {
  checkSize(rows, sink, "TIFF");
  Directory directory;
  shape(directory, rows, rows.channels == 1 ? kPhotometricGrey : kPhotometricRgb, "");
  writeFile(directory, rows, sink);
}

void encodeDng(const Rows &rows, const DngFacts &facts, ByteSink &sink) {
  checkSize(rows, sink, "DNG");
  const bool mosaic = !facts.order.empty();
  const std::string model = mosaic ? "raw mosaic" : "raw grey";
  Directory directory;
  shape(directory, rows, mosaic ? kPhotometricCfa : kPhotometricLinearRaw, model);
  if (mosaic) {
    std::vector<std::uint8_t> colours;
    for (const char c : facts.order) colours.push_back(c == 'R' ? 0 : c == 'G' ? 1 : 2);
    directory.shorts(kCfaRepeat, {2, 2});
    directory.bytes(kCfaPattern, std::move(colours));
  }
  directory.bytes(kDngVersion, {1, 4, 0, 0});
  directory.bytes(kDngBackwardVersion, {1, 1, 0, 0});
  directory.text(kUniqueCameraModel, "KivoCamUtl " + model);
  if (mosaic) {
    directory.bytes(kCfaPlaneColor, {0, 1, 2});
    directory.shorts(kCfaLayout, {1});
  }
  directory.number(kBlackLevel, facts.black);
  directory.number(kWhiteLevel, facts.white);
  if (mosaic) {
    directory.fractions(kColorMatrix1, kSRational, facts.matrix);
    directory.fractions(kAsShotNeutral, kRational, facts.neutral);
    directory.shorts(kCalibrationIlluminant1, {kIlluminantD65});
  }
  writeFile(directory, rows, sink);
}

bool isWholeTiff(const std::uint8_t *head, std::size_t size, std::uint64_t bytes) {
  const auto number = [head](std::size_t at, unsigned count) {
    std::uint64_t value = 0;
    for (unsigned i = 0; i < count; ++i) value = value << 8 | head[at + i];
    return value;
  };
  if (size < kHeaderBytes + 2 || number(0, 4) != 0x4D4D002A || number(4, 4) != kHeaderBytes) return false;
  const std::size_t entries = static_cast<std::size_t>(number(kHeaderBytes, 2));
  if (size < kHeaderBytes + 2 + kEntryBytes * entries) return false;
  std::uint64_t told = 0;
  for (std::size_t i = 0; i < entries; ++i) {
    const std::size_t at = kHeaderBytes + 2 + kEntryBytes * i;
    const std::uint64_t tag = number(at, 2);
    if (tag == kStripOffsets || tag == kStripByteCounts) told += number(at + 8, 4);
  }
  return told == bytes;
}

}  // namespace tool
