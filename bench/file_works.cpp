// SPDX-License-Identifier: Apache-2.0
#include "file_works.h"

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "KivoCamUtl.h"
#include "table_reporter.h"

namespace KivoBench {
namespace {

// A directory in memory where the system has one, so that no disk is measured.
class ScratchDirectory {
 public:
  ScratchDirectory() {
    const std::filesystem::path memory = "/dev/shm";
    const bool usable = access(memory.c_str(), W_OK) == 0;
    std::string pattern = (usable ? memory : std::filesystem::temp_directory_path()) / "kivo-bench-XXXXXX";
    if (mkdtemp(pattern.data()) != nullptr) path_ = pattern;
  }
  ~ScratchDirectory() {
    if (path_.empty()) return;
    std::remove(File().c_str());
    rmdir(path_.c_str());
  }
  ScratchDirectory(const ScratchDirectory &) = delete;
  ScratchDirectory &operator=(const ScratchDirectory &) = delete;

  bool usable() const { return !path_.empty(); }
  std::string File() const { return path_ + "/frame"; }

 private:
  std::string path_;
};

bool MoveAll(int file, std::uint8_t *data, std::size_t bytes, bool writes) {
  std::size_t done = 0;
  while (file >= 0 && done < bytes) {
    const ssize_t moved =
        writes ? write(file, data + done, bytes - done) : read(file, data + done, bytes - done);
    if (moved <= 0) break;
    done += static_cast<std::size_t>(moved);
  }
  if (file >= 0) close(file);
  return done == bytes;
}

void PlainWrite(const std::string &path, std::uint8_t *data, std::size_t bytes) {
  if (!MoveAll(open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), data, bytes, true)) std::abort();
}

void PlainRead(const std::string &path, std::uint8_t *data, std::size_t bytes) {
  if (!MoveAll(open(path.c_str(), O_RDONLY), data, bytes, false)) std::abort();
}

// What a straightforward writer of bottom-up files does: a standard stream, one write per row.
void StreamRows(const std::string &path, const std::uint8_t *data, std::size_t row_bytes, std::size_t rows) {
  const char header[54] = {};
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file.write(header, sizeof header);
  for (std::size_t r = rows; r-- > 0;)
    file.write(reinterpret_cast<const char *>(data) + r * row_bytes, static_cast<std::streamsize>(row_bytes));
}

struct FileWork {
  const char *name;
  const char *limit;  // what it is compared with
  std::size_t bytes_per_pixel;
  std::function<CamUtlStatus(std::uint8_t *, Geometry, const char *)> run;
  bool by_rows;
  bool reads;
};

std::vector<FileWork> FileWorks() {
  const auto words = [](std::uint8_t *data) {
    return static_cast<const std::uint32_t *>(static_cast<void *>(data));
  };
  return {
      {"SaveRWH", "one write", 1,
       [](std::uint8_t *data, Geometry g, const char *path) {
         return SaveRWH(data, CAMUTL_PFNC_MONO8, g.width, g.height, path);
       },
       false, false},
      {"LoadRWH", "one read", 1,
       [](std::uint8_t *data, Geometry, const char *path) {
         return LoadRWH(path, &data, nullptr, nullptr, nullptr, nullptr);
       },
       false, true},
      {"SaveBmpARGB", "stream, row by row", 4,
       [words](std::uint8_t *data, Geometry g, const char *path) {
         return SaveBmpARGB(words(data), g.width, g.height, path);
       },
       true, false},
      {"SaveBmpRGB", "stream, row by row", 3,
       [](std::uint8_t *data, Geometry g, const char *path) {
         return SaveBmpRGB(data, g.width, g.height, path);
       },
       true, false},
      {"SaveBmpMono", "stream, row by row", 1,
       [](std::uint8_t *data, Geometry g, const char *path) {
         return SaveBmpMono(data, g.width, g.height, path);
       },
       true, false},
      {"SaveBmpARGB_S", "stream, row by row", 4,
       [words](std::uint8_t *data, Geometry g, const char *path) {
         return SaveBmpARGB_S(words(data), g.width, g.height, 4 * g.width, path);
       },
       true, false},
      {"SaveBmpRGB_S", "stream, row by row", 3,
       [](std::uint8_t *data, Geometry g, const char *path) {
         return SaveBmpRGB_S(data, g.width, g.height, 3 * g.width, path);
       },
       true, false},
      {"SaveBmpMono_S", "stream, row by row", 1,
       [](std::uint8_t *data, Geometry g, const char *path) {
         return SaveBmpMono_S(data, g.width, g.height, g.width, path);
       },
       true, false},
  };
}

void RunFileWork(benchmark::State &state, const FileWork &work, Geometry geometry, const Options &options) {
  const ScratchDirectory directory;
  if (!directory.usable()) {
    state.SkipWithError("no directory to write in");
    return;
  }
  const std::string path = directory.File();
  const std::size_t bytes = geometry.pixels() * work.bytes_per_pixel;
  std::vector<std::uint8_t> image(bytes);
  FillScene(image.data(), bytes, {1, 8, work.bytes_per_pixel, 1, 0, false}, geometry);
  if (work.reads) SaveRWH(image.data(), CAMUTL_PFNC_MONO8, geometry.width, geometry.height, path.c_str());

  const std::vector<Contender> contenders{
      {"ours",
       [&](std::size_t) {
         if (work.run(image.data(), geometry, path.c_str()) != CAMUTL_STS_SUCCESS) std::abort();
       }},
      {"limit",
       [&](std::size_t) {
         if (work.by_rows) {
           StreamRows(path, image.data(), geometry.width * work.bytes_per_pixel, geometry.height);
         } else if (work.reads) {
           PlainRead(path, image.data(), bytes);
         } else {
           PlainWrite(path, image.data(), bytes);
         }
       }},
      {"write", [&](std::size_t) { PlainWrite(path, image.data(), bytes); }}};
  // Reading must not find the file rewritten by the plain write of whole frames.
  const std::vector<Contender> used(contenders.begin(), contenders.end() - (work.reads ? 1 : 0));

  for ([[maybe_unused]] auto iteration : state) {
    Effort effort = EffortFor(options, bytes);
    effort.rounds = options.quick ? 3 : 9;
    const std::vector<Timing> timings = TimeContenders(used, 1, effort);
    state.SetIterationTime(timings[0].median);
    const double megabytes = static_cast<double>(bytes) / 1e6;
    state.counters["MB_per_s"] = megabytes / timings[0].median;
    state.counters["limit_MB_per_s"] = megabytes / timings[1].median;
    if (!work.reads) state.counters["write_MB_per_s"] = megabytes / timings[2].median;
    state.counters["fraction"] = Ratio(timings[1], timings[0]);
    state.SetLabel(std::string("against ") + work.limit);
  }
}

}  // namespace

void RegisterFileWorks(const Options &options) {
  static const std::vector<FileWork> works = FileWorks();
  std::vector<Geometry> sizes{{640, 480}, {1920, 1080}, {5472, 3648}};
  if (options.size) sizes = {*options.size};
  for (const Geometry geometry : sizes) {
    for (const FileWork &work : works) {
      Register("files/" + std::string(work.name) + "/" + geometry.Name() + "/memory",
               [&work, geometry, &options](benchmark::State &state) {
                 RunFileWork(state, work, geometry, options);
               });
    }
  }
}

}  // namespace KivoBench
