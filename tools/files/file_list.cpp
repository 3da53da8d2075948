// SPDX-License-Identifier: Apache-2.0
#include "files/file_list.h"

#include <glob.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <map>
#include <set>
#include <system_error>
#include <unordered_set>
#include <utility>

#include "words/failure.h"
#include "words/text.h"

namespace tool {
namespace {

namespace fs = std::filesystem;

bool isFrameName(const std::string &name, bool headerless) {
  const std::string extension = fs::path(name).extension().string();
  const auto is = [&extension](const char *wanted) { return sameName(extension, wanted); };
  return headerless ? is(".raw") || is(".bin") || is(".dat") : is(".rwh");
}

bool exists(const std::string &path) {
  struct stat info = {};
  return ::lstat(path.c_str(), &info) == 0;
}

std::string joined(const std::string &folder, const std::string &name) {
  if (folder.empty()) return name;
  return folder.back() == '/' ? folder + name : folder + '/' + name;
}

class Lister {
 public:
  explicit Lister(bool headerless) : headerless_(headerless) {}

  void add(const std::string &argument) {
    if (argument != "-" && !exists(argument) && argument.find_first_of("*?[") != std::string::npos) {
      list_.several = true;
      for (const std::string &match : matches(argument)) addPath(match, false);
    } else {
      addPath(argument, true);
    }
  }

  FileList take() { return std::move(list_); }

 private:
  static std::vector<std::string> matches(const std::string &pattern) {
    glob_t found = {};
    const int result = ::glob(pattern.c_str(), 0, nullptr, &found);
    std::vector<std::string> names;
    for (std::size_t i = 0; result == 0 && i < found.gl_pathc; ++i) names.emplace_back(found.gl_pathv[i]);
    ::globfree(&found);
    if (result != 0 && result != GLOB_NOMATCH) throw Failure(Exit::Input, pattern, "cannot be searched");
    if (names.empty()) throw Failure(Exit::Input, pattern, "no file has such a name");
    return names;
  }

  void addPath(const std::string &path, bool named) {
    if (path != "-" && isFolder(path)) {
      list_.several = true;
      const std::size_t before = list_.jobs.size() + repeated_;
      search(path, "");
      if (list_.jobs.size() + repeated_ == before) list_.empty.push_back(path);
    } else {
      addFile(path, fs::path(path).filename().string(), named);
    }
  }

  // Links to folders are not followed: no tree is searched without end, none twice.
  void search(const std::string &folder, const std::string &relative) {
    std::error_code failed;
    std::vector<std::pair<std::string, bool>> entries;
    fs::directory_iterator at(folder, failed);
    for (; !failed && at != fs::directory_iterator(); at.increment(failed)) {
      const std::string name = at->path().filename().string();
      if (name[0] == '.') continue;
      std::error_code unknown;
      const bool isLink = at->is_symlink(unknown);
      const bool isTree = !isLink && at->is_directory(unknown);
      if (isTree || (isFrameName(name, headerless_) && !at->is_directory(unknown)))
        entries.emplace_back(name, isTree);
    }
    if (failed) list_.unreadable.push_back({folder, "cannot be searched: " + failed.message()});
    std::sort(entries.begin(), entries.end());
    for (const auto &[name, isTree] : entries) {
      if (isTree)
        search(joined(folder, name), joined(relative, name));
      else
        addFile(joined(folder, name), joined(relative, name), false);
    }
  }

  void addFile(const std::string &path, const std::string &relative, bool named) {
    if (path != "-" && !seen_.insert(identity(path)).second) {
      ++repeated_;
      return;
    }
    list_.jobs.push_back({path, relative, {}, named});
  }

  // One spelling for all ways to say the same name. Links are files of their own.
  std::string identity(const std::string &path) {
    const fs::path split(path);
    std::string &folder = folders_[split.parent_path().string()];
    if (folder.empty()) {
      std::error_code failed;
      const fs::path parent = split.has_parent_path() ? split.parent_path() : fs::path(".");
      const fs::path real = fs::canonical(parent, failed);
      folder = failed ? parent.string() : real.string();
    }
    return joined(folder, split.filename().string());
  }

  bool headerless_;
  FileList list_;
  std::size_t repeated_ = 0;
  std::unordered_set<std::string> seen_;
  std::map<std::string, std::string> folders_;
};

// What is said of a folder without frames, and of those that it has without headers.
std::string holdsNone(const std::string &folder, bool headerless) {
  if (headerless) return "holds no .raw, .bin or .dat files";
  const std::vector<Job> others = listFiles({folder}, true).jobs;
  std::string text = "holds no .rwh files";
  if (!others.empty())
    text += "; files without a header need --format and --size, which 'kivocam guess " + others[0].input +
            "' may tell";
  return text;
}

}  // namespace

bool isFolder(const std::string &path) {
  struct stat info = {};
  return ::stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

FileList listFiles(const std::vector<std::string> &arguments, bool headerless) {
  Lister lister(headerless);
  for (const std::string &argument : arguments) lister.add(argument);
  FileList list = lister.take();
  list.several = list.several || list.jobs.size() > 1;
  return list;
}

FileList findInputs(const std::vector<std::string> &arguments, bool headerless, bool quiet) {
  FileList list = listFiles(arguments, headerless);
  if (list.jobs.empty() && list.unreadable.empty())
    throw Failure(Exit::Input, list.empty.at(0), holdsNone(list.empty[0], headerless));
  if (!quiet)
    for (const std::string &folder : list.empty)
      std::fprintf(stderr, "kivocam: %s: note: %s\n", oneLine(folder).c_str(),
                   oneLine(holdsNone(folder, headerless)).c_str());
  for (const Unreadable &tree : list.unreadable)
    std::fprintf(stderr, "kivocam: %s: %s\n", oneLine(tree.folder).c_str(), oneLine(tree.reason).c_str());
  return list;
}

void nameOutputs(FileList &list, const std::string &folder, const std::string &extension) {
  std::map<std::string, const Job *> taken;
  std::set<std::pair<dev_t, ino_t>> inputs;
  struct stat info = {};
  for (Job &job : list.jobs) {
    job.output = joined(folder, fs::path(job.relative).replace_extension(extension).string());
    const auto [other, isNew] = taken.emplace(job.output, &job);
    if (!isNew)
      throw Failure(Exit::Usage, job.output,
                    "two inputs would become this one output: " + other->second->input + " and " + job.input);
    if (::stat(job.input.c_str(), &info) == 0) inputs.emplace(info.st_dev, info.st_ino);
  }
  for (const Job &job : list.jobs)
    if (::stat(job.output.c_str(), &info) == 0 && inputs.count({info.st_dev, info.st_ino}) != 0)
      throw Failure(Exit::Usage, job.output, "the output is one of the inputs");
}

void refuseTwice(const std::vector<std::string> &inputs) {
  if (std::count(inputs.begin(), inputs.end(), "-") > 1)
    throw Failure(Exit::Usage, "standard input", "can be read once only");
}

void refuseSameFile(const std::string &input, const std::string &output) {
  if (input == "-" || output == "-") return;
  std::error_code ignored;
  if (fs::equivalent(input, output, ignored))
    throw Failure(Exit::Usage, output, "the output is the input itself");
}

}  // namespace tool
