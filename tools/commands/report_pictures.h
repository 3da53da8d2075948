// SPDX-License-Identifier: Apache-2.0
// The pictures of a page: within it while they are few, in a folder beside it where they would make it too
// large to open.
#pragma once

#include <cstddef>
#include <cstdint>
#include <exception>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>

#include "files/interrupt.h"
#include "files/output_file.h"
#include "pictures/picture.h"

namespace tool {

// A picture that a page shows.
struct PagePicture {
  std::string name;  // empty if there is none
  std::uint32_t width = 0;
  std::uint32_t height = 0;
};

class ReportPictures {
 public:
  enum class Place { ByAmount, Inside, Beside };
  // Bytes of all pictures that are still within a page, by amount: base64 makes 21 MB of them.
  static constexpr std::size_t kInside = 16'000'000;

  // A page on standard output ("-") has its pictures inside.
  ReportPictures(std::string page, Place place, const OutputRules &rules);
  // Pictures that belong to no page go with it.
  ~ReportPictures();
  ReportPictures(const ReportPictures &) = delete;
  ReportPictures &operator=(const ReportPictures &) = delete;

  // Takes the picture of a kind, a word in small letters, of the frame with this number. Usable from several
  // threads. Throws Failure.
  PagePicture add(std::size_t number, const char *kind, const Picture &picture);
  // Throws what add() has thrown before, if anything.
  void check() const;
  // What an <img> of the page has as its source.
  std::string sourceOf(const PagePicture &picture) const;
  // The folder that they are in; empty where they are inside.
  const std::string &folder() const noexcept { return beside_; }

  // Ends the process, and leaves nothing, if a signal has asked for that: for when the page gets its name.
  void endIfAsked();
  // The page is there. What an earlier page of its name had beside it goes.
  void keep() noexcept;
  // Removes what was written.
  void discard() noexcept;

 private:
  void moveOut();
  void write(const std::string &name, const std::string &png);

  const std::string page_;
  const Place place_;
  const OutputRules rules_;
  mutable std::mutex mutex_;  // guards what follows
  std::string beside_;
  bool madeFolder_ = false;
  std::map<std::string, std::string> inside_;  // PNG files by name
  std::size_t insideBytes_ = 0;
  std::set<std::string, std::less<>> names_;  // of all
  std::set<std::string> written_;             // paths of those that were not there before
  std::exception_ptr failure_;
  std::optional<GracefulEnd> graceful_;  // as long as there are pictures without a page
};

}  // namespace tool
