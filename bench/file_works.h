// SPDX-License-Identifier: Apache-2.0
// The file functions against the plainest way to move the same bytes.
#ifndef KIVO_BENCH_FILE_WORKS_H
#define KIVO_BENCH_FILE_WORKS_H

#include "options.h"

namespace KivoBench {

void RegisterFileWorks(const Options &options);

}  // namespace KivoBench

#endif  // KIVO_BENCH_FILE_WORKS_H
