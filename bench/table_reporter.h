// SPDX-License-Identifier: Apache-2.0
// Prints one line per benchmark: chosen counters side by side, then the label.
#ifndef KIVO_BENCH_TABLE_REPORTER_H
#define KIVO_BENCH_TABLE_REPORTER_H

#include <benchmark/benchmark.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace KivoBench {

struct Column {
  std::string counter;
  std::string title;
  int decimals;
};

class TableReporter : public benchmark::BenchmarkReporter {
 public:
  explicit TableReporter(std::vector<Column> columns) : columns_(std::move(columns)) {}

  bool ReportContext(const Context &context) override;
  void ReportRuns(const std::vector<Run> &runs) override;

 private:
  std::vector<Column> columns_;
};

// A benchmark that sets its own time, once.
void Register(const std::string &name, const std::function<void(benchmark::State &)> &run);

// Runs what is registered with such a table; the exit code of the program.
int RunWithTable(std::vector<Column> columns);

}  // namespace KivoBench

#endif  // KIVO_BENCH_TABLE_REPORTER_H
