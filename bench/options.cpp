// SPDX-License-Identifier: Apache-2.0
#include "options.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string_view>

#include "KivoCamUtl.h"
#include "roofline.h"
#include "simd/targets.h"

namespace KivoBench {
namespace {

constexpr const char *kHelp = R"(  --filter=REGEX   run the benchmarks whose name matches
  --target=NAME    use one target's kernels: Baseline, Sse41, Avx2, Avx512, Neon
  --stores=KIND    ordinary or streaming stores whatever the frame size
  --size=WxH       this frame size only, warm and cold
  --quick          fewer and shorter batches, no 10240x7680
  --json=FILE      write the results there as well
  --rotate=MIB     memory that cold buffers rotate through (256)
  --cpu=N          processor to run on (the last one allowed)
  --help           this text
)";

bool ParseNumber(std::string_view text, std::size_t &value) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  return error == std::errc() && end == text.data() + text.size() && !text.empty();
}

bool ParseSize(std::string_view text, std::optional<Geometry> &size) {
  const std::size_t x = text.find('x');
  std::size_t width = 0;
  std::size_t height = 0;
  if (x == std::string_view::npos || !ParseNumber(text.substr(0, x), width) ||
      !ParseNumber(text.substr(x + 1), height) || width < 4 || height < 4 || width > 65536 || height > 65536)
    return false;
  size = Geometry{static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height)};
  return true;
}

bool Accept(std::string_view name, std::string_view value, Options &options) {
  std::size_t number = 0;
  if (name == "filter") {
    options.filter = value;
  } else if (name == "json") {
    options.json = value;
  } else if (name == "target") {
    options.target = value;
  } else if (name == "stores") {
    options.stores = value;
    return value == "ordinary" || value == "streaming";
  } else if (name == "size") {
    return ParseSize(value, options.size);
  } else if (name == "rotate") {
    if (!ParseNumber(value, number)) return false;
    options.rotate_bytes = number << 20;
  } else if (name == "cpu") {
    if (!ParseNumber(value, number)) return false;
    options.processor = static_cast<int>(number);
  } else {
    return false;
  }
  return true;
}

std::string ProcessorModel() {
  std::ifstream info("/proc/cpuinfo");
  for (std::string line; std::getline(info, line);) {
    if (line.rfind("model name", 0) == 0) return line.substr(line.find(':') + 2);
  }
  return "unknown";
}

std::string Compiler() {
#if defined(__clang__)
  return "clang " __clang_version__;
#elif defined(__GNUC__)
  return "g++ " __VERSION__;
#else
  return "unknown";
#endif
}

std::string ActiveTarget() {
  for (unsigned i = 0; i < Kivo::c_uiTargets; ++i) {
    const auto target = static_cast<Kivo::Target>(i);
    if (Kivo::TargetKernels(target) == &Kivo::ActiveKernels()) return Kivo::TargetName(target);
  }
  return "?";
}

bool PinNamedTarget(const std::string &name) {
  for (unsigned i = 0; i < Kivo::c_uiTargets; ++i) {
    const auto target = static_cast<Kivo::Target>(i);
    if (name == Kivo::TargetName(target)) return Kivo::PinTarget(target);
  }
  return false;
}

enum class Parsed { kRun, kExit, kError };

// Prints help or the complaint.
Parsed ParseOptions(int argc, char **argv, const char *summary, Options &options) {
  for (int i = 1; i < argc; ++i) {
    std::string_view name = argv[i];
    if (name == "--help") {
      std::printf("usage: %s [options]\n%s\n%s", argv[0], summary, kHelp);
      return Parsed::kExit;
    }
    if (name == "--quick") {
      options.quick = true;
      continue;
    }
    if (name == "--with-read") {
      options.with_read = true;
      continue;
    }
    std::string_view value;
    const std::size_t equals = name.find('=');
    if (equals != std::string_view::npos) {
      value = name.substr(equals + 1);
      name = name.substr(0, equals);
    } else if (i + 1 < argc) {
      value = argv[++i];
    }
    if (name.rfind("--", 0) != 0 || !Accept(name.substr(2), value, options)) {
      std::fprintf(stderr, "%s: cannot use %.*s %.*s; see --help\n", argv[0], static_cast<int>(name.size()),
                   name.data(), static_cast<int>(value.size()), value.data());
      return Parsed::kError;
    }
  }
  return Parsed::kRun;
}

// Pins, and initialises Google Benchmark. False if the target does not run here.
bool SetUp(const Options &options, const char *program) {
  const int processor = PinToProcessor(options.processor);
  if (!options.target.empty() && !PinNamedTarget(options.target)) {
    std::fprintf(stderr, "%s: target %s does not run here\n", program, options.target.c_str());
    return false;
  }
  if (options.stores == "ordinary") Kivo::PinStreamingThreshold(SIZE_MAX);
  if (options.stores == "streaming") Kivo::PinStreamingThreshold(0);

  // Google Benchmark keeps a pointer to the program's name and saves it with the results.
  static std::vector<std::string> arguments;
  arguments = {std::filesystem::path(program).filename().string()};
  if (!options.filter.empty()) arguments.push_back("--benchmark_filter=" + options.filter);
  if (!options.json.empty()) {
    arguments.push_back("--benchmark_out=" + options.json);
    arguments.push_back("--benchmark_out_format=json");
  }
  std::vector<char *> pointers;
  for (std::string &argument : arguments) pointers.push_back(argument.data());
  int count = static_cast<int>(pointers.size());
  benchmark::Initialize(&count, pointers.data());

  benchmark::AddCustomContext("processor", ProcessorModel());
  benchmark::AddCustomContext("pinned_to", processor < 0 ? "none" : std::to_string(processor));
  benchmark::AddCustomContext("compiler", Compiler());
  benchmark::AddCustomContext("target", ActiveTarget());
  benchmark::AddCustomContext("largest_cache_bytes", std::to_string(Kivo::LargestCacheBytes()));
  benchmark::AddCustomContext("roofline_access_bytes", std::to_string(RooflineAccessBytes()));
  benchmark::AddCustomContext("rotate_bytes", std::to_string(options.rotate_bytes));
  benchmark::AddCustomContext("stores", options.stores.empty() ? "own choice" : options.stores);
  benchmark::AddCustomContext("version", std::to_string(CAMUTL_VERSION_MAJOR) + "." +
                                             std::to_string(CAMUTL_VERSION_MINOR) + "." +
                                             std::to_string(CAMUTL_VERSION_PATCH));
  return true;
}

}  // namespace

std::vector<Setting> Settings(const Options &options, bool huge) {
  if (options.size) return {{*options.size, false}, {*options.size, true}};
  // Besides the four common sizes, cameras of 5 and 12 megapixels, around which streaming begins to pay.
  std::vector<Setting> settings{{{640, 480}, false},   {{640, 480}, true},    {{1920, 1080}, false},
                                {{1920, 1080}, true},  {{2592, 1944}, false}, {{4096, 3072}, false},
                                {{5472, 3648}, false}, {{5472, 3648}, true}};
  if (huge && !options.quick) settings.push_back({{10240, 7680}, false});
  return settings;
}

Effort EffortFor(const Options &options, std::size_t bytes) {
  if (options.quick) return {3, 0.0005, 1};
  if (bytes > std::size_t{200} << 20) return {5, 0, 1};
  if (bytes > std::size_t{32} << 20) return {7, 0, 2};
  return {9, 0.002, 4};
}

std::size_t FrameCount(const Options &options, const Setting &setting, std::size_t bytes_per_pair) {
  if (!setting.cold) return 1;
  return std::max<std::size_t>(2, (options.rotate_bytes + bytes_per_pair - 1) / bytes_per_pair);
}

int RunProgram(int argc, char **argv, const char *summary, int (*run)(const Options &options)) {
  Options options;
  switch (ParseOptions(argc, argv, summary, options)) {
    case Parsed::kExit:
      return 0;
    case Parsed::kError:
      return 2;
    case Parsed::kRun:
      break;
  }
  return SetUp(options, argv[0]) ? run(options) : 77;
}

}  // namespace KivoBench
