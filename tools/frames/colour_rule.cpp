// SPDX-License-Identifier: Apache-2.0
#include "frames/colour_rule.h"

#include <algorithm>
#include <charconv>
#include <vector>

#include "words/failure.h"
#include "words/text.h"

namespace tool {
namespace {

// What is hidden in the darkest and in the brightest thousandth is noise, dust and lamps.
constexpr std::pair<double, double> kPercent = {0.1, 99.9};

// Numbers between commas; none if there is anything else.
std::vector<double> numbersOf(const std::string &text) {
  std::vector<double> numbers;
  const char *at = text.data(), *const end = at + text.size();
  for (;;) {
    double value = 0;
    const auto [stop, error] = std::from_chars(at, end, value);
    if (error != std::errc()) return {};
    numbers.push_back(value);
    if (stop == end) return numbers;
    if (*stop != ',') return {};
    at = stop + 1;
  }
}

Failure misread(const char *option, const std::string &text, const char *wanted) {
  return Failure(Exit::Usage, option, "'" + text + "' is not " + wanted);
}

// As short as it can be told apart from any other.
std::string shortest(double value) {
  char text[32];
  return {text, std::to_chars(text, text + sizeof text, value).ptr};
}

std::string listOf(const double *values, std::size_t count) {
  std::string text = shortest(values[0]);
  for (std::size_t i = 1; i < count; ++i) (text += ',') += shortest(values[i]);
  return text;
}

std::string toneOf(const kivo::Colour &colour) {
  if (colour.tone == KIVO_TONE_LINEAR) return "linear";
  return colour.tone == KIVO_TONE_SRGB ? "srgb" : shortest(colour.gamma);
}

}  // namespace

ColourRule::ColourRule(const ColourWords &words) {
  const bool single = !(words.whiteBalance.empty() && words.black.empty() && words.range.empty() &&
                        words.matrix.empty() && words.tone.empty());
  if (!words.automatic && !single) return;
  given_.emplace();
  onlyAutomatic_ = !single;
  if (words.automatic) {
    findBlack_ = true;
    balance_ = kivo::Balance::WhitePatch;
    percent_ = kPercent;
    given_->tone = KIVO_TONE_SRGB;
  }
  if (!words.whiteBalance.empty()) parseBalance(words.whiteBalance);
  if (!words.black.empty()) parseBlack(words.black);
  if (!words.range.empty()) parseRange(words.range);
  if (!words.tone.empty()) parseTone(words.tone);
  if (!words.matrix.empty()) parseMatrix(words.matrix);
  refuseNonsense();
}

// What is wrong with numbers is wrong with any frame.
void ColourRule::refuseNonsense() const {
  const std::uint8_t pixel[3] = {};
  std::uint8_t picture[4];
  kivo::Options options;
  options.colour = given_;
  const kivo::Result<kivo::Plan> plan = kivo::Plan::make(CAMUTL_PFNC_RGB8, 1, 1, options);
  kivo::Errc error = plan.error();
  if (plan) {
    kivo::Colour colour = *given_;
    error = find(*plan, {pixel, sizeof pixel, 0}, colour);
    if (error == kivo::Errc::Ok) error = plan->run({pixel, sizeof pixel, 0}, {picture, sizeof picture, 0});
  }
  if (error != kivo::Errc::Ok) throw Failure(Exit::Usage, "colour settings", kivo::message(error));
}

void ColourRule::parseMatrix(const std::string &text) {
  const std::vector<double> numbers = numbersOf(text);
  if (numbers.size() != 9)
    throw misread("--matrix", text,
                  "nine numbers with commas: what of red, green and blue makes red, green, blue");
  std::copy(numbers.begin(), numbers.end(), given_->matrix);
}

void ColourRule::parseBalance(const std::string &text) {
  balance_.reset();
  if (sameName(text, "none")) return;
  static const std::pair<const char *, kivo::Balance> kWords[] = {{"white-patch", kivo::Balance::WhitePatch},
                                                                  {"grey-world", kivo::Balance::GreyWorld},
                                                                  {"median", kivo::Balance::Median}};
  for (const auto &word : kWords)
    if (sameName(text, word.first)) return static_cast<void>(balance_ = word.second);
  const std::vector<double> numbers = numbersOf(text);
  if (numbers.size() != 3)
    throw misread("--white-balance", text,
                  "white-patch, grey-world, median, none, or the gains RED,GREEN,BLUE");
  std::copy(numbers.begin(), numbers.end(), given_->gain);
}

void ColourRule::parseBlack(const std::string &text) {
  findBlack_ = sameName(text, "auto");
  if (findBlack_) return;
  const std::vector<double> numbers = numbersOf(text);
  if (numbers.size() != 1 && numbers.size() != 4)
    throw misread("--black", text, "auto, one level, or those of red, both greens and blue with commas");
  for (std::size_t i = 0; i < 4; ++i) given_->black[i] = numbers[numbers.size() == 1 ? 0 : i];
}

void ColourRule::parseRange(const std::string &text) {
  const bool share = !text.empty() && (text[0] == 'p' || text[0] == 'P');
  std::string digits = text;
  const std::size_t second = digits.find(',') + 1;
  if (share) {
    const bool both = second != 0 && second < text.size() && (text[second] == 'p' || text[second] == 'P');
    if (both) digits.erase(second, 1);
    digits.erase(0, 1);
    if (!both) digits.clear();
  }
  const std::vector<double> numbers = numbersOf(digits);
  if (numbers.size() != 2)
    throw misread("--range", text, "BLACK,WHITE, as samples or as percentages of them: p0.1,p99.9");
  percent_.reset();
  if (share)
    percent_.emplace(numbers[0], numbers[1]);
  else
    given_->low = numbers[0], given_->high = numbers[1];
}

void ColourRule::parseTone(const std::string &text) {
  given_->tone = KIVO_TONE_GAMMA;
  if (sameName(text, "linear")) return static_cast<void>(given_->tone = KIVO_TONE_LINEAR);
  if (sameName(text, "srgb")) return static_cast<void>(given_->tone = KIVO_TONE_SRGB);
  const std::vector<double> numbers = numbersOf(text);
  if (numbers.size() != 1) throw misread("--tone", text, "linear, srgb, or a gamma such as 2.2");
  given_->gamma = numbers[0];
}

kivo::Result<std::optional<kivo::Colour>> ColourRule::of(const kivo::FrameView &view,
                                                         const kivo::Region &region) const {
  const kivo::Format *const format = kivo::findFormat(view.format);
  if (onlyAutomatic_ && format != nullptr && format->family == KIVO_YUV) return std::optional<kivo::Colour>();
  std::optional<kivo::Colour> colour = given_;
  if (!colour || !looks()) return colour;
  kivo::Options options;
  options.crop = region;
  options.byteOrder = view.byteOrder;
  const kivo::Result<kivo::Plan> plan = kivo::Plan::make(view.format, view.width, view.height, options);
  if (!plan) return plan.error();
  const kivo_frame frame = {view.data, view.size, view.stride};
  const kivo::Errc error = find(*plan, frame, *colour);
  if (error != kivo::Errc::Ok) return error;
  return colour;
}

kivo::Errc ColourRule::find(const kivo::Plan &plan, const kivo_frame &frame, kivo::Colour &colour) const {
  kivo::Errc error = kivo::Errc::Ok;
  if (findBlack_) error = plan.autoBlack(frame, colour);
  if (error == kivo::Errc::Ok && balance_) error = plan.autoBalance(frame, *balance_, colour);
  if (error == kivo::Errc::Ok && percent_)
    error = plan.autoRange(frame, percent_->first, percent_->second, colour);
  return error;
}

void ColourRule::fix(const kivo::Colour &colour) {
  given_ = colour;
  findBlack_ = false;
  balance_.reset();
  percent_.reset();
}

std::string wordsOf(const kivo::Colour &colour) {
  const bool same =
      std::all_of(colour.black, colour.black + 4, [&](double b) { return b == colour.black[0]; });
  return printed("--black %s --white-balance %s --range %s,%s --matrix %s --tone %s",
                 listOf(colour.black, same ? 1 : 4).c_str(), listOf(colour.gain, 3).c_str(),
                 shortest(colour.low).c_str(), shortest(colour.high).c_str(),
                 listOf(colour.matrix, 9).c_str(), toneOf(colour).c_str());
}

std::string jsonOf(const kivo::Colour &colour) {
  return printed("{\"black\": [%s], \"gain\": [%s], \"range\": [%s, %s], \"matrix\": [%s], \"tone\": \"%s\"}",
                 listOf(colour.black, 4).c_str(), listOf(colour.gain, 3).c_str(),
                 shortest(colour.low).c_str(), shortest(colour.high).c_str(),
                 listOf(colour.matrix, 9).c_str(), toneOf(colour).c_str());
}

}  // namespace tool
