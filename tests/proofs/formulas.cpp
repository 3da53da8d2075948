// SPDX-License-Identifier: Apache-2.0
// Writes what is to be proved, as SMT-LIB: that the very functions of the kernels, compiled for a target of
// terms, give what KivoFrame.h says in plain words, for every value of every sample.
#include <array>
#include <functional>
#include <map>
#include <sstream>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "claims.h"
#include "kernels/acpi8_kernels.cpp"
#include "kernels/bayer16_means.h"
#include "kernels/bayer8_means.h"
#include "kernels/mosaic_planes_kernels.cpp"

namespace Kivo::KIVO_TARGET {
namespace {

// What is plain about a demosaic: the mean of so many samples (their logarithm) from their sum, and what
// becomes of it.
struct PlainMean {
  unsigned uiMask = 0xFFFF;  // the bits of a sample that count
  unsigned uiMost = 0xFFFF;  // what samples are at the most
  std::function<Whole(const Whole &, unsigned)> mean = [](const Whole &sum, unsigned uiLog2) {
    return Floor(sum, uiLog2);
  };
  std::function<Whole(const Whole &)> finish;
};

// A pixel of the standard demosaic, at a green site or not, from the 3 x 3 square around it; the colour of
// the row, green, and the other.
struct PlainPixelOf {
  std::array<Whole, 3> channels{0, 0, 0};

  PlainPixelOf(const Picture &s, size_t y, size_t x, bool bGreen, const PlainMean &plain) {
    const auto At = [&](size_t v, size_t u) { return Low(s.Sample(v, u), plain.uiMask); };
    const Whole h = At(y, x - 1) + At(y, x + 1), v = At(y - 1, x) + At(y + 1, x),
                own = plain.mean(At(y, x), 0);
    if (bGreen) {
      channels = {plain.mean(h, 1), own, plain.mean(v, 1)};
    } else {
      const Whole corners = At(y - 1, x - 1) + At(y - 1, x + 1) + At(y + 1, x - 1) + At(y + 1, x + 1);
      channels = {own, plain.mean(h + v, 2), plain.mean(corners, 2)};
    }
  }
};

// A block of the standard demosaic of one row.
template <Output eOut, class Means>
void StandardBlock(const std::string &name, const Means &sMeans, const PlainMean &plain,
                   const char *pszKind = "claim") {
  constexpr size_t c_uiBytes = Means::c_uiSampleBytes;
  constexpr size_t c_uiBlock = Means::c_uiBlock;
  for (const bool bFirst : {false, true}) {
    for (const bool bRowColourFirst : {false, true}) {
      const Picture s("s", 0, c_uiBlock + 2, c_uiBytes, 3);
      const uint8_t *const apucRows[] = {s.At(0, 0), s.At(1, 0), s.At(2, 0)};
      const GreenLanes sGreen(bFirst);
      s_pixels.clear();
      s_words.clear();
      ConvertBlock<eOut, false, 1>(sMeans, apucRows, 1, nullptr, 0, 0, sGreen.aRows, bRowColourFirst);
      std::string samples;
      for (size_t i = 0; plain.uiMost < 0xFFFF && i < 3 * (c_uiBlock + 2); ++i)
        samples += "(assert (not " +
                   (s.Sample(i / (c_uiBlock + 2), i % (c_uiBlock + 2)) > plain.uiMost).text + "))\n";
      Case(name + (bFirst ? ", green first" : ", green second") + (bRowColourFirst ? "" : ", turned"),
           samples);
      for (size_t i = 0; i < c_uiBlock; ++i) {
        const PlainPixelOf pixel(s, 1, 1 + i, (i % 2 == 0) == bFirst, plain);
        for (size_t k = 0; k < 3; ++k) {
          const Whole wanted = plain.finish(pixel.channels[bRowColourFirst || k == 1 ? k : 2 - k]);
          Term made = s_words.empty() ? s_pixels.at(i).at(k) : s_words.at(k * c_uiBlock + i);
          if (wanted.iHigh < 256 && made.width > 8)
            made = Extract(made, 7, 0);  // words whose lower bytes count
          Claim("lane " + std::to_string(i) + " channel " + std::to_string(k), made, wanted, pszKind);
        }
      }
    }
  }
}

// uiBits of a mean are kept, from uiShift on.
PlainMean Kept(unsigned uiShift, unsigned uiBits, unsigned uiMask = 0xFFFF) {
  PlainMean s;
  s.uiMask = uiMask;
  s.finish = [=](const Whole &mean) { return Low(Floor(mean, uiShift), (1U << uiBits) - 1); };
  return s;
}

// Twice the means, which were not rounded before, of samples up to uiMost.
PlainMean Doubled(unsigned uiMost) {
  PlainMean s;
  s.uiMost = uiMost;
  s.mean = [](const Whole &sum, unsigned uiLog2) { return Floor(Twice(sum), uiLog2); };
  s.finish = [](const Whole &mean) { return Low(mean, 0xFFFF); };
  return s;
}

// The lowest bits of a mean, over 16 bits: above, and what has room of them again below.
PlainMean Spread(unsigned uiDepth) {
  PlainMean s;
  s.finish = [=](const Whole &mean) {
    Whole top = Low(mean, (1U << uiDepth) - 1);
    for (unsigned i = uiDepth; i < 16; ++i) top = Twice(top);
    return top + Floor(top, uiDepth);
  };
  return s;
}

// A mistake that looks right: the pairs' own halves are forgotten where their means differ.
struct BrokenMeans : ByteMeans {
  using ByteMeans::Mean;
  Row Mean(Pair s, Pair t) const { return Avg(s.average, t.average) - ((s.differing | t.differing) & 1); }
};

void Standards() {
  Whole::s_uiBits = 32;
  StandardBlock<c_eBGRA>("bayer8", ByteMeans(), Kept(0, 8));
  StandardBlock<c_eBGRA>("bayer8, means of means", BrokenMeans(), Kept(0, 8), "broken");
  for (unsigned uiShift = 0; uiShift <= WrappingMeans::c_uiLargestShift; ++uiShift) {
    const std::string shift = ", shift " + std::to_string(uiShift);
    StandardBlock<c_eBGRA>("bayer16 wrapping" + shift, WrappingMeans{{{uiShift}, {}}}, Kept(uiShift, 8));
    StandardBlock<c_eBGRA>("bayer16 slim" + shift, SlimMeans{{uiShift}, {}}, Kept(uiShift, 8));
  }
  // One more would shift bits out that the mean still needs.
  StandardBlock<c_eBGRA>("bayer16 slim, shift 7", SlimMeans{{7}, {}}, Kept(7, 8), "broken");
  for (const unsigned uiShift : {7u, 8u, 15u, 16u, 29u})
    StandardBlock<c_eBGRA>("bayer16 exact, shift " + std::to_string(uiShift),
                           ExactMeans<uint8_t>{{{uiShift}, {}}}, Kept(uiShift, 8));
  StandardBlock<c_ePlanes>("bayer16 planes", ExactMeans<uint16_t>{{{0}, {}}}, Kept(0, 16));
  StandardBlock<c_ePlanes>("bayer16 planes of 12 bits", DepthMeans<uint16_t>(4095, 0), Kept(0, 16, 4095));
  for (const unsigned uiDepth : {8u, 10u, 12u, 14u, 16u})
    StandardBlock<c_eBGRA16>("bayer16 words of " + std::to_string(uiDepth) + " bits", SpreadMeans(uiDepth),
                             Spread(uiDepth));
  StandardBlock<c_ePlanes>("bayer16 doubled", DoubledMeans{{{0}, {}}}, Doubled(16383));
  // One bit more than the sums of four have room for.
  StandardBlock<c_ePlanes>("bayer16 doubled, of 15 bits", DoubledMeans{{{0}, {}}}, Doubled(32767), "broken");
}

// KivoFrame.h, ACPI: of a direction with its two samples and its Laplacian, the gradient and the estimate.
struct Direction {
  Whole gradient, estimate;

  Direction(const Whole &a, const Whole &b, const Whole &laplace)
      : gradient(Magnitude(a - b) + Magnitude(laplace)), estimate(Twice(a + b) + laplace) {}
  // Any within the bounds of another.
  Direction(const Direction &s, const std::string &name)
      : gradient(Term::Variable("gradient" + name, Whole::s_uiBits), s.gradient.iLow, s.gradient.iHigh),
        estimate(Term::Variable("estimate" + name, Whole::s_uiBits), s.estimate.iLow, s.estimate.iHigh) {}
  std::string Bounds() const {
    std::string text;
    for (const Whole &s : {gradient, estimate})
      text += "(assert (not (or " + (s.iLow > s).text + (s > s.iHigh).text + ")))\n";
    return text;
  }
};
Whole PlainChoice(const Direction &h, const Direction &v) {
  return If(v.gradient > h.gradient, Floor(h.estimate, 2),
            If(h.gradient > v.gradient, Floor(v.estimate, 2), Floor(h.estimate + v.estimate, 3)));
}
// Which of two numbers is greater, as both comparisons say it.
Truth Compared(const Whole &a, const Whole &b, bool bGreater, bool bLess) {
  const auto said = [](const Truth &s, bool bTrue) { return bTrue ? s.text : "(not " + s.text + ")"; };
  return {"(and " + said(a > b, bGreater) + " " + said(b > a, bLess) + ")"};
}
Whole PlainClamp(const Whole &t, unsigned uiTop) {
  const Whole made = If(t > uiTop, uiTop, If(0 > t, 0, t));
  return {made.term, 0, uiTop};
}

// t / 8 rounded toward zero: up, where it is negative. That these are the same is a claim of its own.
Whole EighthTowardZero(const Whole &t) {
  return If(0 > t, Floor(t + 7, 3), Floor(t, 3));
}
void Rounding() {
  Whole::s_uiBits = 40;
  const Whole t(SignExtend(Term::Variable("t", 32), 40), INT32_MIN, INT32_MAX);
  Write("case", "rounding toward zero", TakeDefinitions());
  const Truth same = Equal(EighthTowardZero(t).term, If(0 > t, 0 - Floor(0 - t, 3), Floor(t, 3)).term);
  Write("claim", "of sums", TakeDefinitions() + "(assert (not " + same.text + "))\n");
}

// Claims about a choice between two directions, one case at a time: solvers know little of sums.
void ClaimCases(const std::string &name, const Term &made, const Whole &plain, const char *pszKind,
                const Direction &h, const Direction &v) {
  Claim(name + ", one", made, plain, pszKind, Compared(v.gradient, h.gradient, true, false));
  Claim(name + ", the other", made, plain, pszKind, Compared(v.gradient, h.gradient, false, true));
  Claim(name + ", a tie", made, plain, pszKind, Compared(v.gradient, h.gradient, false, false));
}

// Kernels that choose between two directions are claimed to do so in two steps: their gradients and sums are
// the plain ones; and whatever these are within their bounds, the choice is.
class ChoiceClaims {
 public:
  // The case that was begun, its definitions, and what its kernel selected by.
  ChoiceClaims(std::string name, std::string definitions, const char *pszKind)
      : name_(std::move(name)),
        definitions_(std::move(definitions)),
        pszKind_(pszKind),
        choices_(s_choices) {}

  // The first direction is the one whose gradient the kernel has first; plainOf(first, second) is the result
  // in plain words, and lane i of the kernel's first selection has to do with it.
  template <class PlainOf>
  void Add(const std::string &name, size_t i, const Term &made, const Direction &first,
           const Direction &second, const PlainOf &plainOf) {
    if (std::string(pszKind_) == "broken")
      return ClaimCases(name, made, plainOf(first, second), pszKind_, first, second);
    const Choice &c = choices_.at(i);
    const bool bInOrder = std::stoul(c.x.name.substr(1)) < std::stoul(c.y.name.substr(1));
    const std::array<Term, 2> gradients = {bInOrder ? c.x : c.y, bInOrder ? c.y : c.x};
    const std::array<Term, 2> sums = {bInOrder ? c.b : c.a, bInOrder ? c.a : c.b};
    const std::array<const Direction *, 2> directions = {&first, &second};
    for (size_t k = 0; k < 2; ++k) {
      const std::string which = name + (k == 0 ? ", first" : ", second");
      ClaimEqual(which + " gradient", Widened(gradients[k]), directions[k]->gradient.term);
      ClaimEqual(which + " sum", sums[k], Lowest(directions[k]->estimate, sums[k].width));
    }
    later_.push_back([=, this] {
      const Direction one(first, "1"), other(second, "2");
      std::map<std::string, Term> cuts;
      for (size_t k = 0; k < 2; ++k) {
        const Direction &any = k == 0 ? one : other;
        cuts[gradients[k].name] = Lowest(any.gradient, gradients[k].width);
        cuts[sums[k].name] = Lowest(any.estimate, sums[k].width);
      }
      const std::string variables = TakeDefinitions();
      Write("case", name_ + ", " + name + " of any directions",
            variables + Without(cuts) + one.Bounds() + other.Bounds());
      ClaimCases(name, made, plainOf(one, other), pszKind_, one, other);
    });
  }
  // The second steps, behind all claims about the case itself.
  ~ChoiceClaims() {
    for (const auto &claim : later_) claim();
  }
  ChoiceClaims(const ChoiceClaims &) = delete;
  ChoiceClaims &operator=(const ChoiceClaims &) = delete;

 private:
  static Term Widened(const Term &t) {
    return t.width < Whole::s_uiBits ? ZeroExtend(t, Whole::s_uiBits) : t;
  }
  static Term Lowest(const Whole &s, unsigned uiBits) { return Extract(s.term, uiBits - 1, 0); }
  // The definitions with others for some names.
  std::string Without(const std::map<std::string, Term> &cuts) const {
    std::string text;
    std::istringstream in(definitions_);
    for (std::string line; std::getline(in, line);) {
      const std::string define = "(define-fun ";
      const auto cut =
          line.compare(0, define.size(), define) == 0
              ? cuts.find(line.substr(define.size(), line.find(' ', define.size()) - define.size()))
              : cuts.end();
      if (cut != cuts.end())
        line = define + cut->first + " () (_ BitVec " + std::to_string(cut->second.width) + ") " +
               cut->second.name + ")";
      text += line + "\n";
    }
    return text;
  }

  std::string name_, definitions_;
  const char *pszKind_;
  std::vector<Choice> choices_;
  std::vector<std::function<void()>> later_;
};

const Term &LaneOf(const WordRow &s, size_t i) {
  constexpr size_t c_uiHalf = c_uiVec / 2;
  return i < c_uiHalf ? s.low.at[i] : s.high.at[i - c_uiHalf];
}
template <class Vector>
const Term &LaneOf(const Vector &v, size_t i) {
  return v.at[i];
}

// The pixels of a vector that begins at a red or blue site, column 4 of row 2 of five.
template <class Samples>
void Adaptives(const std::string &name, const Samples &sSamples, unsigned uiTop, const char *pszKind) {
  constexpr size_t c_uiBlock = Samples::c_uiBlock;
  constexpr size_t c_uiBytes = Samples::c_uiSampleBytes;
  constexpr size_t c_uiWidth = c_uiBlock + 8;
  const auto Begin = [&] {
    const Picture s("s", 0, c_uiWidth, c_uiBytes, 5);
    return s;
  };
  const auto ColumnOf = [](const Picture &s) {
    return Column{s.At(0, 4), s.At(1, 4), s.At(2, 4), s.At(3, 4), s.At(4, 4)};
  };
  Whole::s_uiBits = std::is_same_v<Samples, SlimSamples> ? 18 : 16 * c_uiBytes;
  {
    const Picture s = Begin();
    s_choices.clear();
    const auto green = GreenBlock(sSamples, ColumnOf(s));
    ChoiceClaims choices(name + " green", Case(name + " green"), pszKind);
    const auto S = [&](size_t y, size_t x) { return Low(s.Sample(y, x), uiTop); };
    for (size_t i = 0; i < c_uiBlock; ++i) {
      const size_t x = 4 + i;
      if (i % 2 != 0) {
        Claim("lane " + std::to_string(i) + ", kept", LaneOf(green, i), S(2, x), pszKind);
        continue;
      }
      const Direction h(S(2, x - 1), S(2, x + 1), Twice(S(2, x)) - S(2, x - 2) - S(2, x + 2));
      const Direction v(S(1, x), S(3, x), Twice(S(2, x)) - S(0, x) - S(4, x));
      choices.Add("lane " + std::to_string(i) + ", made", i / 2, LaneOf(green, i), v, h,
                  [=](const Direction &one, const Direction &other) {
                    return PlainClamp(PlainChoice(one, other), uiTop);
                  });
    }
  }
  const auto Colours = [&]<bool bRoundTie>() {
    const Picture s = Begin();
    const Picture g("g", s.pitch() * 5, c_uiWidth, c_uiBytes, 3);
    s_choices.clear();
    const auto made =
        ColourBlock<bRoundTie>(sSamples, ColumnOf(s), GreenColumn{g.At(0, 4), g.At(1, 4), g.At(2, 4)});
    const auto S = [&](size_t y, size_t x) { return Low(s.Sample(y, x), uiTop); };
    const auto G = [&](size_t y, size_t x) {
      const Whole green = g.Sample(y - 1, x);
      return Whole(green.term, 0, uiTop);  // as is said below
    };
    // Greens were clamped when they were made.
    std::string greens;
    for (size_t y = 1; y <= 3; ++y)
      for (size_t x = 0; x < c_uiWidth; ++x)
        greens += "(assert (not " + (g.Sample(y - 1, x) > uiTop).text + "))\n";
    const std::string title = name + (bRoundTie ? " colours, RG" : " colours");
    ChoiceClaims choices(title, Case(title, greens), pszKind);
    for (size_t i = 0; i < c_uiBlock; ++i) {
      const size_t x = 4 + i;
      const std::string lane = "lane " + std::to_string(i);
      Claim(lane + ", green", LaneOf(made.green, i), G(2, x), pszKind);
      if (i % 2 != 0) {
        const auto Along = [&](const Whole &a, const Whole &b, const Whole &ga, const Whole &gb) {
          return PlainClamp(Floor(Twice(a + b + G(2, x)) - ga - gb, 2), uiTop);
        };
        Claim(lane + ", of the row", LaneOf(made.row, i),
              Along(S(2, x - 1), S(2, x + 1), G(2, x - 1), G(2, x + 1)), pszKind);
        Claim(lane + ", other", LaneOf(made.other, i), Along(S(1, x), S(3, x), G(1, x), G(3, x)), pszKind);
        continue;
      }
      Claim(lane + ", own", LaneOf(made.row, i), S(2, x), pszKind);
      const Direction d(S(1, x + 1), S(3, x - 1), Twice(G(2, x)) - G(1, x + 1) - G(3, x - 1));
      const Direction e(S(1, x - 1), S(3, x + 1), Twice(G(2, x)) - G(1, x - 1) - G(3, x + 1));
      choices.Add(lane + ", third", i / 2, LaneOf(made.other, i), d, e,
                  [=](const Direction &one, const Direction &other) {
                    const Whole clamped = PlainClamp(PlainChoice(one, other), uiTop);
                    if constexpr (!bRoundTie) return clamped;
                    // t / 8 rounded toward zero, modulo the range.
                    const Whole t = one.estimate + other.estimate + 4;
                    return If(Compared(one.gradient, other.gradient, false, false),
                              Low(EighthTowardZero(t), uiTop), clamped);
                  });
    }
  };
  Colours.template operator()<false>();
  Colours.template operator()<true>();
}

// A mistake that looks right: sums of three bits more than a byte's do not fit the samples of 15 bits in
// lanes of 16.
struct BrokenSamples : ByteSamples {
  static I16 Even(const U8 &v) { return ByteSamples::Even(v) << 5; }
  static I16 Odd(const U8 &v) { return ByteSamples::Odd(v) << 5; }
  static U8 Merge(const I16 &even, const I16 &odd) { return MergeSat(even >> 5, odd >> 5); }
};

}  // namespace
}  // namespace Kivo::KIVO_TARGET

int main() {
  using namespace Kivo::KIVO_TARGET;
  Standards();
  Rounding();
  Adaptives("acpi8", ByteSamples(), 255, "claim");
  Adaptives("acpi8, scaled", BrokenSamples(), 255, "broken");
  for (const unsigned depth : {10u, 12u, 14u, 16u}) {
    const unsigned top = (1u << depth) - 1;
    const std::string name = "acpi16 of " + std::to_string(depth) + " bits";
    if (depth <= Kivo::c_uiSlimDepth)
      Adaptives(name, SlimSamples{static_cast<uint16_t>(top), 0}, top, "claim");
    else
      Adaptives(name, WordSamples{static_cast<int>(top)}, top, "claim");
  }
  // One bit more than the lanes hold.
  Adaptives("acpi16 of 13 bits in lanes of 16", SlimSamples{8191, 0}, 8191, "broken");
  ColourClaims();
  return std::fflush(stdout) == 0 ? 0 : 1;
}
