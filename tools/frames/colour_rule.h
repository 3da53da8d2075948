// SPDX-License-Identifier: Apache-2.0
// Black level, white balance, range, matrix and tone: as the command line asks for them, and for a frame.
#pragma once

#include <KivoCamUtl.hpp>
#include <optional>
#include <string>
#include <utility>

namespace tool {

// The options as they are given; empty where they are not.
struct ColourWords {
  bool automatic = false;
  std::string whiteBalance;
  std::string black;
  std::string range;
  std::string matrix;
  std::string tone;
  std::string like;  // the frame whose settings all others get
};

// What is given, and what each frame is to be asked for.
class ColourRule {
 public:
  ColourRule() = default;
  // Throws Failure.
  explicit ColourRule(const ColourWords &words);

  bool empty() const noexcept { return !given_; }
  // Whether frames are looked at; if not, all have the same settings.
  bool looks() const noexcept { return findBlack_ || balance_ || percent_; }
  // The settings for a frame; of its region, if one is given. None for YUV if all was left to the tool: the
  // camera has done it.
  kivo::Result<std::optional<kivo::Colour>> of(const kivo::FrameView &view, const kivo::Region &region) const;
  // The same for all frames from now on.
  void fix(const kivo::Colour &colour);

 private:
  void parseBalance(const std::string &text);
  void parseBlack(const std::string &text);
  void parseRange(const std::string &text);
  void parseMatrix(const std::string &text);
  void parseTone(const std::string &text);
  kivo::Errc find(const kivo::Plan &plan, const kivo_frame &frame, kivo::Colour &colour) const;
  void refuseNonsense() const;

  std::optional<kivo::Colour> given_;
  bool onlyAutomatic_ = false;
  bool findBlack_ = false;
  std::optional<kivo::Balance> balance_;
  std::optional<std::pair<double, double>> percent_;
};

// As options that give the same again: "--black 64 --white-balance 1.92,1,1.61 ...".
std::string wordsOf(const kivo::Colour &colour);
std::string jsonOf(const kivo::Colour &colour);

}  // namespace tool
