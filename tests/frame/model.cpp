// SPDX-License-Identifier: Apache-2.0
// From samples to pictures, and what calls answer.
#include "frame/model.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace KivoTest::Model {
namespace {

enum Colour : unsigned { kRed, kGreen, kBlue };

int Clamp(std::int64_t value, int top) {
  return static_cast<int>(std::clamp<std::int64_t>(value, 0, top));
}

// Division that rounds down, for any sign.
int Floor(int value, int by) {
  const int quotient = value / by;
  return value % by < 0 ? quotient - 1 : quotient;
}

// A region of samples, mapped to 8 bits where a range says so.
class Region {
 public:
  Region(const Plan &plan, const Plain &frame)
      : width(static_cast<int>(plan.region_width)), height(static_cast<int>(plan.region_height)) {
    const unsigned each = frame.each();
    order_ = frame.format->order;
    odd_x_ = plan.x % 2 != 0;
    odd_y_ = plan.y % 2 != 0;
    samples_.reserve(std::size_t{plan.region_width} * plan.region_height * each);
    for (std::uint32_t y = 0; y < plan.region_height; ++y)
      for (std::uint32_t x = 0; x < plan.region_width; ++x)
        for (unsigned channel = 0; channel < each; ++channel)
          samples_.push_back(Map(plan, frame, y, x, channel));
    each_ = each;
    depth = (plan.options.flags & KIVO_WITH_RANGE) != 0 ? 8
            : plan.coloured                             ? 14
                                                        : static_cast<int>(frame.format->plain_depth());
  }

  int At(int y, int x, unsigned channel = 0) const {
    return samples_[(static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
                     static_cast<std::size_t>(x)) *
                        each_ +
                    channel];
  }

  bool Has(int y, int x) const { return y >= 0 && y < height && x >= 0 && x < width; }

  // The colour that a mosaic has at a place of the region.
  Colour Site(int y, int x) const {
    const bool odd_row = (y + odd_y_) % 2 != 0, odd_column = (x + odd_x_) % 2 != 0;
    static constexpr Colour kSquares[5][2][2] = {{{kRed, kRed}, {kRed, kRed}},
                                                 {{kGreen, kRed}, {kBlue, kGreen}},
                                                 {{kRed, kGreen}, {kGreen, kBlue}},
                                                 {{kGreen, kBlue}, {kRed, kGreen}},
                                                 {{kBlue, kGreen}, {kGreen, kRed}}};
    return kSquares[order_][odd_row ? 1 : 0][odd_column ? 1 : 0];
  }
  // The order that the region has, as that of a frame of its own.
  bool IsOrder(Colour first, Colour second) const { return Site(0, 0) == first && Site(0, 1) == second; }

  int width;
  int height;
  int depth = 8;

 private:
  // Which black level and gain a sample has.
  int ColourSite(const Format &format, int y, int x, unsigned channel) const {
    if (format.family == KIVO_MONO) return 1;
    if (format.family == KIVO_RGB) return channel == 1 ? 1 : (channel == 0) == format.blue_first ? 3 : 0;
    const Colour site = Site(y, x);
    if (site != kGreen) return site == kRed ? 0 : 3;
    return Site(y, x + 1) == kRed ? 1 : 2;
  }

  std::uint16_t Map(const Plan &plan, const Plain &frame, std::uint32_t y, std::uint32_t x,
                    unsigned channel) const {
    const kivo_options &options = plan.options;
    const std::uint64_t sample = frame.At(plan.y + y, plan.x + x, channel);
    if (plan.coloured)
      return static_cast<std::uint16_t>(
          ColourGain(plan.colour, frame.format->plain_depth(),
                     ColourSite(*frame.format, static_cast<int>(y), static_cast<int>(x), channel),
                     static_cast<int>(sample)));
    if ((options.flags & KIVO_WITH_RANGE) == 0) return static_cast<std::uint16_t>(sample);
    const std::uint64_t low = options.range_low, high = options.range_high;
    if (sample <= low) return 0;
    if (sample >= high) return 255;
    const std::uint64_t d = high - low;
    return static_cast<std::uint16_t>((510 * (sample - low) + d) / (2 * d));
  }

  std::vector<std::uint16_t> samples_;
  unsigned each_ = 1;
  kivo_order order_ = KIVO_ORDER_NONE;
  int odd_x_ = 0;
  int odd_y_ = 0;
};

using Pixel = std::array<std::uint16_t, 3>;

Pixel ToPixel(int red, int green, int blue) {
  return {static_cast<std::uint16_t>(red), static_cast<std::uint16_t>(green),
          static_cast<std::uint16_t>(blue)};
}

// The mean, times so much before it is cut.
int Standard(const Region &region, int y, int x, Colour wanted, int times) {
  if (region.Site(y, x) == wanted) return times * region.At(y, x);
  int sum = 0, count = 0;
  for (int v = y - 1; v <= y + 1; ++v)
    for (int u = x - 1; u <= x + 1; ++u) {
      if ((v == y && u == x) || !region.Has(v, u) || region.Site(v, u) != wanted) continue;
      sum += region.At(v, u);
      ++count;
    }
  return count == 0 ? times * region.At(y, x) : times * sum / count;
}

// The adaptive demosaic, by the numbers of its steps in the header.
class Acpi {
 public:
  explicit Acpi(const Region &region)
      : region_(region), top_((1 << region.depth) - 1), w_(region.width), h_(region.height) {}

  Pixel At(int y, int x) const {
    std::array<int, 3> out{};
    const Colour site = region_.Site(y, x);
    for (const Colour wanted : {kRed, kGreen, kBlue}) {
      if (wanted == site) {
        out[wanted] = V(y, x);
      } else if (wanted == kGreen) {
        out[wanted] = Green(y, x);
      } else if (!Inner(y, x)) {
        out[wanted] = Border(y, x, wanted);
      } else if (site == kGreen) {
        out[wanted] = AtGreen(y, x, wanted);
      } else {
        out[wanted] = Third(y, x);
      }
    }
    return ToPixel(out[kRed], out[kGreen], out[kBlue]);
  }

 private:
  int V(int y, int x) const { return region_.At(y, x) & top_; }
  bool Inner(int y, int x) const { return y >= 2 && y <= h_ - 3 && x >= 2 && x <= w_ - 3; }

  // Steps 1 and 4: green anywhere.
  int Green(int y, int x) const {
    if (region_.Site(y, x) == kGreen) return V(y, x);
    if (!Inner(y, x)) return BorderGreen(y, x);
    const int left = V(y, x - 1), right = V(y, x + 1), up = V(y - 1, x), down = V(y + 1, x);
    const int across = 2 * V(y, x) - V(y, x - 2) - V(y, x + 2);
    const int along = 2 * V(y, x) - V(y - 2, x) - V(y + 2, x);
    return Choose(left, right, across, up, down, along);
  }

  int Choose(int a, int b, int first, int c, int d, int second) const {
    const int gradient1 = std::abs(a - b) + std::abs(first), estimate1 = 2 * (a + b) + first;
    const int gradient2 = std::abs(c - d) + std::abs(second), estimate2 = 2 * (c + d) + second;
    if (gradient1 < gradient2) return Clamp(Floor(estimate1, 4), top_);
    if (gradient2 < gradient1) return Clamp(Floor(estimate2, 4), top_);
    return Clamp(Floor(estimate1 + estimate2, 8), top_);
  }

  int BorderGreen(int y, int x) const {
    const bool top = y == 0, bottom = y == h_ - 1, left = x == 0, right = x == w_ - 1;
    const int beside = left ? V(y, x + 1) : V(y, x - 1);
    if ((top || bottom) && (left || right)) return (beside + (top ? V(y + 1, x) : V(y - 1, x))) / 2;
    if (top || bottom) return (V(y, x - 1) + V(y, x + 1)) / 2;
    if (left || right) {
      const bool inner_row = y >= 2 && y <= h_ - 3;
      if (right && inner_row && region_.IsOrder(kBlue, kGreen) && region_.Site(y, x) == kRed)
        return (V(y, x - 1) + V(y - 1, x) + V(y + 1, x)) / 3;
      return (V(y - 1, x) + V(y + 1, x)) / 2;
    }
    return (V(y, x - 1) + V(y, x + 1) + V(y - 1, x) + V(y + 1, x)) / 4;
  }

  // Step 4: red and blue of the pixels that are not inner.
  int Border(int y, int x, Colour wanted) const {
    const bool inner_row = y >= 2 && y <= h_ - 3;
    if (wanted == kBlue && region_.Site(y, x) == kRed && inner_row &&
        ((region_.IsOrder(kGreen, kRed) && x == w_ - 1) || (region_.IsOrder(kRed, kGreen) && x == 0)))
      return (V(y - 1, x) + V(y + 1, x)) / 2;
    int sum = 0, count = 0;
    for (int v = y - 1; v <= y + 1; ++v)
      for (int u = x - 1; u <= x + 1; ++u)
        if (region_.Has(v, u) && region_.Site(v, u) == wanted) {
          sum += V(v, u);
          ++count;
        }
    return sum / count;
  }

  // Step 2.
  int AtGreen(int y, int x, Colour wanted) const {
    const bool in_row = region_.Site(y, x - 1) == wanted;
    const int y1 = in_row ? y : y - 1, y2 = in_row ? y : y + 1;
    const int x1 = in_row ? x - 1 : x, x2 = in_row ? x + 1 : x;
    const int sum = 2 * (V(y1, x1) + V(y2, x2)) + 2 * V(y, x) - Green(y1, x1) - Green(y2, x2);
    return Clamp(Floor(sum, 4), top_);
  }

  // Step 3.
  int Third(int y, int x) const {
    const int a = V(y - 1, x + 1), b = V(y + 1, x - 1), c = V(y - 1, x - 1), d = V(y + 1, x + 1);
    const int rising = 2 * Green(y, x) - Green(y - 1, x + 1) - Green(y + 1, x - 1);
    const int falling = 2 * Green(y, x) - Green(y - 1, x - 1) - Green(y + 1, x + 1);
    const bool tie = std::abs(a - b) + std::abs(rising) == std::abs(c - d) + std::abs(falling);
    if (tie && region_.IsOrder(kRed, kGreen) && region_.Site(y, x) == kRed)
      return ((2 * (a + b) + rising + 2 * (c + d) + falling + 4) / 8) & top_;
    return Choose(a, b, rising, c, d, falling);
  }

  const Region &region_;
  int top_;
  int w_;
  int h_;
};

// One pixel for each whole square of four.
Pixel Half(const Region &region, int y, int x) {
  int red = 0, blue = 0, greens = 0;
  for (int v = 2 * y; v < 2 * y + 2; ++v)
    for (int u = 2 * x; u < 2 * x + 2; ++u) {
      const Colour site = region.Site(v, u);
      (site == kRed ? red : site == kBlue ? blue : greens) += region.At(v, u);
    }
  return ToPixel(red, greens / 2, blue);
}

// The constants are what the decimal numbers become as doubles and as floats; scaled by a power of two they
// are whole.
Pixel IntegerMatrix(int luma, int u, int v) {
  constexpr std::int64_t kOne = std::int64_t{1} << 52;
  const auto red_of_v = static_cast<std::int64_t>(std::ldexp(1.402, 52));
  const auto blue_of_u = static_cast<std::int64_t>(std::ldexp(1.772, 52));
  constexpr std::int64_t kPart = std::int64_t{1} << 25;
  const auto green_of_v = static_cast<std::int64_t>(std::ldexp(static_cast<double>(0.714f), 25));
  const auto green_of_u = static_cast<std::int64_t>(std::ldexp(static_cast<double>(0.344f), 25));
  const std::int64_t red = (kOne * luma + red_of_v * v + kOne / 2) / kOne;
  const std::int64_t blue = (kOne * luma + blue_of_u * u + kOne / 2) / kOne;
  const std::int64_t k = (green_of_v * v + green_of_u * u + 256 * kPart + kPart / 2) / kPart;
  return ToPixel(Clamp(red, 255), Clamp(luma + 256 - k, 255), Clamp(blue, 255));
}

int Rounded(double value) {
  return static_cast<int>(std::floor(std::clamp(value, 0.0, 255.0) + 0.5));
}

Pixel RealMatrix(double red_weight, double blue_weight, double luma, double cb, double cr) {
  const double green_weight = 1 - red_weight - blue_weight;
  const double red = luma + 2 * (1 - red_weight) * cr;
  const double blue = luma + 2 * (1 - blue_weight) * cb;
  const double green = (luma - red_weight * red - blue_weight * blue) / green_weight;
  return ToPixel(Rounded(red), Rounded(green), Rounded(blue));
}

std::uint32_t Spread(std::uint32_t value, unsigned depth) {
  std::uint32_t out = 0;
  for (unsigned bit = 0; bit < 16; ++bit) {  // from the highest down: v, v, v, ...
    const unsigned of_value = depth - 1 - bit % depth;
    out = out << 1 | (value >> of_value & 1u);
  }
  return out;
}

}  // namespace

Plain Decode(const View &view) {
  Plain plain;
  plain.format = view.format;
  plain.width = view.width;
  plain.height = view.height;
  const unsigned each = plain.each();
  plain.samples.reserve(std::size_t{view.width} * view.height * each);
  for (std::uint32_t y = 0; y < view.height; ++y)
    for (std::uint32_t x = 0; x < view.width; ++x)
      for (unsigned channel = 0; channel < each; ++channel)
        plain.samples.push_back(static_cast<std::uint16_t>(Get(view, y, x, channel)));
  return plain;
}

std::array<std::uint16_t, 3> YuvColour(Matrix matrix, int luma, int u, int v) {
  const double narrow = (luma - 16) * 255.0 / 219;
  switch (matrix) {
    case Matrix::kInteger:
      return IntegerMatrix(luma, u - 128, v - 128);
    case Matrix::kFull601:
      return RealMatrix(0.299, 0.114, luma, u - 128, v - 128);
    case Matrix::kNarrow601:
      return RealMatrix(0.299, 0.114, narrow, (u - 128) * 255.0 / 224, (v - 128) * 255.0 / 224);
    case Matrix::kNarrow709:
      return RealMatrix(0.2126, 0.0722, narrow, (u - 128) * 255.0 / 224, (v - 128) * 255.0 / 224);
    case Matrix::kNone:
      break;
  }
  return {};
}

Colours MakeColours(const Plan &plan, const Plain &frame) {
  const Format &format = *frame.format;
  const Region region(plan, frame);
  Colours colours;
  colours.grey = format.family == KIVO_MONO || (format.bayer() && plan.bayer == KIVO_BAYER_OFF);
  colours.pixels.reserve(std::size_t{plan.width} * plan.height);
  const Acpi acpi(region);
  for (int y = 0; y < static_cast<int>(plan.height); ++y)
    for (int x = 0; x < static_cast<int>(plan.width); ++x) {
      Pixel pixel{};
      if (colours.grey) {
        pixel = ToPixel(region.At(y, x), region.At(y, x), region.At(y, x));
      } else if (format.yuv()) {
        pixel = YuvColour(format.matrix, region.At(y, x, 1), region.At(y, x, 0), region.At(y, x, 2));
      } else if (format.family == KIVO_RGB) {
        pixel = format.blue_first ? ToPixel(region.At(y, x, 2), region.At(y, x, 1), region.At(y, x, 0))
                                  : ToPixel(region.At(y, x, 0), region.At(y, x, 1), region.At(y, x, 2));
      } else if (plan.bayer == KIVO_BAYER_ACPI) {
        pixel = acpi.At(y, x);
      } else if (plan.bayer == KIVO_BAYER_HALF) {
        pixel = Half(region, y, x);
      } else {
        const int times = plan.coloured ? 2 : 1;
        pixel = ToPixel(Standard(region, y, x, kRed, times), Standard(region, y, x, kGreen, times),
                        Standard(region, y, x, kBlue, times));
      }
      const bool doubled = format.bayer() && plan.bayer == KIVO_BAYER_STANDARD;
      if (plan.coloured && !doubled)
        for (std::uint16_t &value : pixel) value = static_cast<std::uint16_t>(2 * value);
      colours.pixels.push_back(pixel);
    }
  return colours;
}

std::vector<std::uint8_t> MakePicture(const Plan &plan, const Colours &colours) {
  const kivo_options &options = plan.options;
  const bool range = (options.flags & KIVO_WITH_RANGE) != 0;
  const unsigned depth = range ? 8 : plan.format->plain_depth();
  const unsigned shift = (options.flags & KIVO_WITH_SHIFT) != 0 ? options.shift : depth - 8;
  std::vector<std::uint8_t> out;
  out.reserve(static_cast<std::size_t>(plan.picture_bytes()));
  const auto emit = [&](std::uint32_t value) {
    if (!plan.wide_picture()) {
      out.push_back(static_cast<std::uint8_t>(value));
      return;
    }
    const auto word = static_cast<std::uint16_t>(value);
    std::array<std::uint8_t, 2> bytes{};
    std::memcpy(bytes.data(), &word, 2);
    out.insert(out.end(), bytes.begin(), bytes.end());
  };
  for (std::uint32_t row = 0; row < plan.height; ++row)
    for (std::uint32_t column = 0; column < plan.width; ++column) {
      const std::uint32_t y = (options.flags & KIVO_FLIP) != 0 ? plan.height - 1 - row : row;
      const std::uint32_t x = (options.flags & KIVO_MIRROR) != 0 ? plan.width - 1 - column : column;
      std::array<std::uint32_t, 3> rgb{};
      std::array<int, 3> u{};
      const Pixel &pixel = colours.pixels[std::size_t{y} * plan.width + x];
      std::copy(pixel.begin(), pixel.end(), u.begin());
      if (plan.coloured && !colours.grey) u = ColourMatrix(plan.colour, u);
      for (unsigned i = 0; i < 3; ++i) {
        const std::uint32_t value = pixel[i];
        if (plan.coloured) {
          rgb[i] = ColourTone(plan, u[i]);
        } else if (!plan.wide_picture()) {
          rgb[i] = value >> shift & 255;
        } else {
          rgb[i] = options.levels == KIVO_LEVELS_SPREAD ? Spread(value, depth) : value;
        }
      }
      switch (options.pixels) {
        case KIVO_GRAY8:
        case KIVO_GRAY16:
          emit(colours.grey ? rgb[0] : (19595 * rgb[0] + 38470 * rgb[1] + 7471 * rgb[2] + 32768) >> 16);
          break;
        case KIVO_RGBA8:
        case KIVO_RGB8:
        case KIVO_RGBA16:
        case KIVO_RGB16:
          for (const unsigned i : {0u, 1u, 2u}) emit(rgb[i]);
          break;
        default:
          for (const unsigned i : {2u, 1u, 0u}) emit(rgb[i]);
      }
      if (options.pixels == KIVO_BGRA8 || options.pixels == KIVO_RGBA8) emit(255);
      if (options.pixels == KIVO_BGRA16 || options.pixels == KIVO_RGBA16) emit(65535);
    }
  return out;
}

std::vector<std::uint8_t> MakeSamples(const Plan &plan, const Plain &frame) {
  const Region region(plan, frame);
  const Format &plain = *FormatOfCode(plan.samples_format);
  const int group = static_cast<int>(plain.group_pixels());
  std::vector<std::uint8_t> out;
  out.reserve(static_cast<std::size_t>(plan.picture_bytes()));
  for (int row = 0; row < region.height; ++row)
    for (int column = 0; column < region.width; ++column) {
      const int y = (plan.options.flags & KIVO_FLIP) != 0 ? region.height - 1 - row : row;
      const bool mirror = (plan.options.flags & KIVO_MIRROR) != 0;
      const auto source = [&](int at) { return mirror ? region.width - 1 - at : at; };
      if (plain.yuv()) {
        if (column % group != 0) continue;
        int luma = column;
        for (const char letter : plain.group)
          out.push_back(static_cast<std::uint8_t>(letter == 'Y'   ? region.At(y, source(luma++), 1)
                                                  : letter == 'U' ? region.At(y, source(column), 0)
                                                                  : region.At(y, source(column), 2)));
        continue;
      }
      for (unsigned channel = 0; channel < plain.channels(); ++channel) {
        const int value = region.At(y, source(column), channel);
        out.push_back(static_cast<std::uint8_t>(value & 255));
        if (plain.plain_bytes() == 2) out.push_back(static_cast<std::uint8_t>(value >> 8));
      }
    }
  return out;
}

std::vector<std::uint8_t> MakeAny(const Plan &plan, const Plain &frame) {
  return plan.options.pixels == KIVO_SAMPLES ? MakeSamples(plan, frame)
                                             : MakePicture(plan, MakeColours(plan, frame));
}

std::array<std::uint32_t, 2> SampleRange(const Plan &plan, const Plain &frame) {
  std::array<std::uint32_t, 2> range{65535, 0};
  for (std::uint32_t y = plan.y; y < plan.y + plan.region_height; ++y)
    for (std::uint32_t x = plan.x; x < plan.x + plan.region_width; ++x)
      for (unsigned channel = 0; channel < frame.each(); ++channel) {
        range[0] = std::min(range[0], frame.At(y, x, channel));
        range[1] = std::max(range[1], frame.At(y, x, channel));
      }
  return range;
}

}  // namespace KivoTest::Model
