// SPDX-License-Identifier: Apache-2.0
#include "commands/report_pictures.h"

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <new>
#include <utility>

#include "files/byte_sink.h"
#include "files/file_list.h"
#include "words/failure.h"
#include "words/text.h"

namespace tool {
namespace {

// Grows in memory.
class StringSink : public ByteSink {
 public:
  std::string text;
  std::string name() const override { return "the page"; }

 protected:
  int drain(const std::uint8_t *data, std::size_t size) noexcept override {
    try {
      text.append(static_cast<const char *>(static_cast<const void *>(data)), size);
      return 0;
    } catch (const std::exception &) {
      return ENOMEM;
    }
  }
};

std::string pngOf(const Picture &picture) {
  StringSink sink;
  encodePng(rowsOf(picture), sink, 6);
  sink.finish();
  return std::move(sink.text);
}

std::string base64(const std::string &bytes) {
  static const char digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    std::uint32_t group = 0;
    for (std::size_t k = 0; k < 3; ++k)
      group = group << 8 | (i + k < bytes.size() ? static_cast<unsigned char>(bytes[i + k]) : 0U);
    for (std::size_t k = 0; k < 4; ++k)
      text += i + k <= bytes.size() ? digits[group >> (18 - 6 * k) & 63] : '=';
  }
  return text;
}

// FNV-1a.
std::uint32_t hashOf(const std::string &bytes) noexcept {
  std::uint32_t hash = 2166136261U;
  for (const char c : bytes) hash = (hash ^ static_cast<unsigned char>(c)) * 16777619U;
  return hash;
}

// As add() calls them.
bool isOurs(const char *name) noexcept {
  int end = 0;
  return std::sscanf(name, "%*[0-9]-%*[a-z]-%*8[0-9a-f].png%n", &end) == 0 && end != 0 && name[end] == '\0';
}

// A name as a part of an address.
std::string addressOf(const std::string &name) {
  std::string address;
  for (const char c : name) {
    const unsigned char byte = static_cast<unsigned char>(c);
    const bool plain = (byte >= '0' && byte <= '9') || (byte >= 'A' && byte <= 'Z') ||
                       (byte >= 'a' && byte <= 'z') || std::strchr("-._~", byte) != nullptr;
    address += plain ? std::string(1, c) : printed("%%%02X", byte);
  }
  return address;
}

}  // namespace

ReportPictures::ReportPictures(std::string page, Place place, const OutputRules &rules)
    : page_(std::move(page)), place_(page_ == "-" ? Place::Inside : place), rules_(rules) {
  if (place_ == Place::Beside) moveOut();
}

ReportPictures::~ReportPictures() {
  discard();
}

// From now on they are written to the folder.
void ReportPictures::moveOut() {
  const std::string folder = page_ + ".pictures";
  graceful_.emplace();
  madeFolder_ = ::mkdir(folder.c_str(), 0777) == 0;
  const int error = madeFolder_ ? 0 : errno;
  if (error != 0 && (error != EEXIST || !isFolder(folder)))
    throw failureOfErrno(Exit::Output, folder, "cannot be made", error);
  beside_ = folder;
  for (const auto &[name, png] : inside_) write(name, png);
  inside_.clear();
}

void ReportPictures::write(const std::string &name, const std::string &png) {
  const std::string path = beside_ + '/' + name;
  const bool there = ::access(path.c_str(), F_OK) == 0;
  OutputFile file(path, rules_);
  file.write(png.data(), png.size());
  if (!there) written_.insert(path);
  file.commit();
}

// The hash keeps the pictures of an earlier page as they are until there is a new one.
PagePicture ReportPictures::add(std::size_t number, const char *kind, const Picture &picture) {
  std::string png = pngOf(picture);
  PagePicture added = {printed("%zu-%s-%08" PRIx32 ".png", number, kind, hashOf(png)), picture.width,
                       picture.height};
  const std::lock_guard<std::mutex> lock(mutex_);
  try {
    names_.insert(added.name);
    if (!beside_.empty()) {
      write(added.name, png);
      return added;
    }
    insideBytes_ += png.size();
    inside_[added.name] = std::move(png);
    if (place_ == Place::ByAmount && insideBytes_ > kInside) moveOut();
  } catch (const Failure &failure) {
    if (failure.code() == Exit::Output) failure_ = std::current_exception();
    throw;
  }
  return added;
}

void ReportPictures::check() const {
  if (failure_) std::rethrow_exception(failure_);
}

std::string ReportPictures::sourceOf(const PagePicture &picture) const {
  if (beside_.empty()) return "data:image/png;base64," + base64(inside_.at(picture.name));
  const std::string folder = std::filesystem::path(beside_).filename().string();
  return addressOf(folder) + '/' + picture.name;
}

void ReportPictures::endIfAsked() {
  if (!graceful_ || GracefulEnd::signal() == 0) return;
  discard();
  endBySignal(GracefulEnd::signal());
}

void ReportPictures::keep() noexcept {
  written_.clear();
  madeFolder_ = false;
  graceful_.reset();
  if (page_ == "-") return;
  const std::string folder = page_ + ".pictures";
  DIR *list = ::opendir(folder.c_str());
  if (list == nullptr) return;
  while (const dirent *entry = ::readdir(list))
    if (isOurs(entry->d_name) && (beside_.empty() || names_.find(entry->d_name) == names_.end()))
      ::unlinkat(::dirfd(list), entry->d_name, 0);
  ::closedir(list);
  // Fails unless it is empty.
  ::rmdir(folder.c_str());
}

void ReportPictures::discard() noexcept {
  for (const std::string &path : written_) ::unlink(path.c_str());
  written_.clear();
  if (madeFolder_) ::rmdir(beside_.c_str());
  madeFolder_ = false;
  graceful_.reset();
}

}  // namespace tool
