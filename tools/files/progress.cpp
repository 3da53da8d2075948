// SPDX-License-Identifier: Apache-2.0
#include "files/progress.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include "files/traffic.h"
#include "words/text.h"

namespace tool {
namespace {

std::size_t terminalWidth() {
  winsize size = {};
  return ::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

std::string timeLeft(double seconds) {
  const unsigned whole = static_cast<unsigned>(std::lround(std::min(seconds, 3.6e6)));
  if (whole < 100) return printed("%u s left", whole);
  if (whole < 6000) return printed("%u:%02u min left", whole / 60, whole % 60);
  return printed("%u:%02u h left", whole / 3600, whole / 60 % 60);
}

// Bytes that were moved since a run began.
struct Moved {
  std::uint64_t read = 0;
  std::uint64_t written = 0;
};

// Empty where nothing was moved.
std::string byteRate(std::uint64_t bytes, double elapsed, const char *where) {
  if (bytes == 0) return "";
  const double rate = static_cast<double>(bytes) / elapsed;
  return rate < 1e5 ? printed("%.1f kB/s %s, ", rate / 1e3, where)
                    : printed("%.1f MB/s %s, ", rate / 1e6, where);
}

// Skipped files take no time worth mentioning: rates are those of the others.
std::string rates(const Counts &counts, const Moved &moved, double elapsed) {
  const std::uint64_t worked = counts.converted + counts.failed;
  if (worked == 0 || elapsed <= 0) return "";
  const double rate = static_cast<double>(worked) / elapsed;
  return printed(rate < 10 ? "%.1f files/s, " : "%.0f files/s, ", rate) +
         byteRate(moved.read, elapsed, "in") + byteRate(moved.written, elapsed, "out") +
         timeLeft(static_cast<double>(counts.total - counts.done()) / rate);
}

// Without a newline, and without escape sequences.
std::string status(const Counts &counts, const Moved &moved, double elapsed) {
  std::string text = printed("%" PRIu64 "/%" PRIu64, counts.done(), counts.total);
  if (counts.failed != 0) text += printed(", %" PRIu64 " failed", counts.failed);
  const std::string speed = rates(counts, moved, elapsed);
  if (!speed.empty()) text.append(", ").append(speed);
  return text;
}

std::string bar(const Counts &counts, const Moved &moved, double elapsed) {
  const std::string text = printed(" %s", status(counts, moved, elapsed).c_str());
  const std::size_t space = terminalWidth() - 1;
  const std::size_t cells = space > text.size() + 2 ? std::min<std::size_t>(space - text.size() - 2, 30) : 0;
  if (cells < 5) return text.substr(1, space);
  const std::size_t full =
      static_cast<std::size_t>(cells * counts.done() / std::max<std::uint64_t>(counts.total, 1));
  return printed("[%s%s]%s", std::string(full, '#').c_str(), std::string(cells - full, '.').c_str(),
                 text.c_str());
}

}  // namespace

Progress::Progress(bool quiet)
    : quiet_(quiet),
      terminal_(::isatty(STDERR_FILENO) != 0),
      readBefore_(s_traffic.read),
      writtenBefore_(s_traffic.written) {
  const char *kind = std::getenv("TERM");
  if (kind == nullptr || std::strcmp(kind, "dumb") == 0) terminal_ = false;
}

double Progress::seconds() const {
  return std::chrono::duration<double>(Clock::now() - start_).count();
}

void Progress::show(const Counts &counts) noexcept {
  if (quiet_) return;
  const std::lock_guard<std::mutex> lock(mutex_);
  const Clock::time_point now = Clock::now();
  const auto pause = terminal_ ? std::chrono::milliseconds(100) : std::chrono::milliseconds(5000);
  if (now - last_ < pause) return;
  last_ = now;
  const double elapsed = std::chrono::duration<double>(now - start_).count();
  try {
    const Moved moved = {s_traffic.read - readBefore_, s_traffic.written - writtenBefore_};
    const std::string text = terminal_ ? bar(counts, moved, elapsed) : status(counts, moved, elapsed);
    std::fprintf(stderr, terminal_ ? "\r%s\x1b[K" : "kivocam: %s\n", text.c_str());
    drawn_ = terminal_;
    std::fflush(stderr);
  } catch (const std::bad_alloc &) {
    return;
  }
}

void Progress::line(const std::string &text, std::FILE *to) {
  const std::lock_guard<std::mutex> lock(mutex_);
  // Both may be the same terminal. The bar comes back with the next redraw.
  if (drawn_) std::fprintf(stderr, "\r\x1b[K");
  drawn_ = false;
  std::fprintf(to, "%s\n", text.c_str());
  if (terminal_) std::fflush(to);
}

void Progress::end() {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (drawn_) std::fprintf(stderr, "\r\x1b[K");
  drawn_ = false;
  std::fflush(stderr);
}

}  // namespace tool
