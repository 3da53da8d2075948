// SPDX-License-Identifier: Apache-2.0
#include "table_reporter.h"

#include <cstdio>

namespace KivoBench {
namespace {

constexpr int kNameWidth = 62;
constexpr int kColumnWidth = 11;

// Google Benchmark appends how it was told to measure; the name before that is ours.
std::string PlainName(const std::string &name) {
  return name.substr(0, name.find("/iterations:"));
}

}  // namespace

bool TableReporter::ReportContext(const Context &) {
  for (const auto &[key, value] : *benchmark::internal::GetGlobalContext())
    std::printf("# %s: %s\n", key.c_str(), value.c_str());
  std::printf("%-*s", kNameWidth, "");
  for (const Column &column : columns_) std::printf("%*s", kColumnWidth, column.title.c_str());
  std::printf("\n");
  return true;
}

void TableReporter::ReportRuns(const std::vector<Run> &runs) {
  for (const Run &run : runs) {
    std::printf("%-*s", kNameWidth, PlainName(run.benchmark_name()).c_str());
    if (run.error_occurred) {
      std::printf("  failed: %s\n", run.error_message.c_str());
      continue;
    }
    for (const Column &column : columns_) {
      const auto found = run.counters.find(column.counter);
      if (found == run.counters.end()) {
        std::printf("%*s", kColumnWidth, "-");
      } else {
        std::printf("%*.*f", kColumnWidth, column.decimals, found->second.value);
      }
    }
    std::printf("%s%s\n", run.report_label.empty() ? "" : "  ", run.report_label.c_str());
  }
  std::fflush(stdout);
}

void Register(const std::string &name, const std::function<void(benchmark::State &)> &run) {
  benchmark::RegisterBenchmark(name.c_str(), [run](benchmark::State &state) { run(state); })
      ->Iterations(1)
      ->UseManualTime();
}

int RunWithTable(std::vector<Column> columns) {
  TableReporter reporter(std::move(columns));
  const std::size_t count = benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  if (count == 0) {
    std::fprintf(stderr, "no benchmark matches\n");
    return 1;
  }
  return 0;
}

}  // namespace KivoBench
