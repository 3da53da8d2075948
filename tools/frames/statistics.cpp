// SPDX-License-Identifier: Apache-2.0
#include "frames/statistics.h"

#include <algorithm>
#include <initializer_list>
#include <new>

namespace tool {
namespace {

// Which component each sample of a cell belongs to. Cells are two rows high; a row of a cell is a group of
// the format, or two pixels for Bayer.
struct Cell {
  std::vector<const char *> names;
  std::vector<unsigned> rows[2];
};

Cell cellOf(const kivo::Format &format) {
  using Row = std::vector<unsigned>;
  switch (format.family) {
    case KIVO_MONO:
      return {{"grey"}, {Row{0}, Row{0}}};
    case KIVO_RGB: {
      const Row row = format.name[0] == 'R' ? Row{0, 1, 2} : Row{2, 1, 0};
      return {{"R", "G", "B"}, {row, row}};
    }
    case KIVO_YUV: {
      const Row row = format.group_pixels == 4   ? Row{1, 0, 0, 2, 0, 0}
                      : format.group_pixels == 2 ? Row{1, 0, 2, 0}
                                                 : Row{1, 0, 2};
      return {{"Y", "U", "V"}, {row, row}};
    }
    default:
      break;
  }
  const std::vector<const char *> names = {"R", "Gr", "Gb", "B"};
  switch (format.order) {
    case KIVO_ORDER_GR:
      return {names, {Row{1, 0}, Row{3, 2}}};
    case KIVO_ORDER_RG:
      return {names, {Row{0, 1}, Row{2, 3}}};
    case KIVO_ORDER_GB:
      return {names, {Row{2, 3}, Row{0, 1}}};
    default:
      return {names, {Row{3, 2}, Row{1, 0}}};
  }
}

// How often each value occurs in one component.
using Counts = std::vector<std::uint64_t>;

void countRow(std::vector<Counts> &counts, const std::vector<unsigned> &cell, const std::uint8_t *row,
              std::size_t samples, bool words) {
  for (std::size_t first = 0; first < cell.size(); ++first) {
    Counts &of = counts[cell[first]];
    if (words) {
      for (std::size_t i = first; i < samples; i += cell.size())
        ++of[row[2 * i] | static_cast<unsigned>(row[2 * i + 1]) << 8];
    } else {
      for (std::size_t i = first; i < samples; i += cell.size()) ++of[row[i]];
    }
  }
}

Component summarise(const char *name, const Counts &counts, const Statistics &statistics) {
  Component component;
  component.name = name;
  double sum = 0;
  std::uint64_t above = 0;
  for (std::uint32_t value = 0; value < counts.size(); ++value) {
    const std::uint64_t count = counts[value];
    if (count == 0) continue;
    if (component.count == 0) component.least = value;
    component.most = value;
    component.count += count;
    sum += static_cast<double>(count) * value;
    if (value > statistics.top) above += count;
    component.histogram[std::min(value / statistics.binWidth(), kBins - 1)] += count;
  }
  if (component.count == 0) return component;
  const double all = static_cast<double>(component.count);
  component.mean = sum / all;
  component.zero = static_cast<double>(counts[0]) / all;
  component.clipped = static_cast<double>(counts[statistics.top]) / all;
  component.atMost = static_cast<double>(counts[component.most]) / all;
  component.above = static_cast<double>(above) / all;
  return component;
}

}  // namespace

Statistics measure(const kivo::FrameView &view) {
  const kivo::Format *format = kivo::findFormat(view.format);
  kivo::Frame unpacked;
  kivo::FrameView plain = view;
  if (format->packing != KIVO_PLAIN || view.byteOrder == kivo::ByteOrder::Big) {
    kivo::Result<kivo::Frame> result = kivo::unpack(view);
    if (!result) throw std::bad_alloc();
    unpacked = *std::move(result);
    plain = unpacked.view();
    format = kivo::findFormat(plain.format);
  }
  const Cell cell = cellOf(*format);
  const bool words = format->plain_bytes == 2;
  const std::size_t row = static_cast<std::size_t>(kivo_row_bytes(format->code, plain.width));
  const std::size_t stride = plain.stride == 0 ? row : static_cast<std::size_t>(plain.stride);
  std::vector<Counts> counts(cell.names.size(), Counts(words ? 0x10000 : 0x100));
  for (std::uint32_t y = 0; y < plain.height; ++y)
    countRow(counts, cell.rows[y % 2], plain.data + y * stride, row / format->plain_bytes, words);

  Statistics statistics;
  statistics.top = (1U << format->depth) - 1;
  for (std::size_t i = 0; i < counts.size(); ++i)
    statistics.components.push_back(summarise(cell.names[i], counts[i], statistics));
  return statistics;
}

}  // namespace tool
