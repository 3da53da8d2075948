// SPDX-License-Identifier: Apache-2.0
// What convert tells of what it has done.
#pragma once

#include <string>

#include "commands/commands.h"
#include "files/batch.h"

namespace tool {

// A line of facts about one file, or nothing. `several`: among others.
std::string lineOf(const ConvertOptions &options, bool several, const Job &job, const Outcome &outcome);

// The counts of all files, as the last line of JSON on standard output.
void printJsonSummary(const BatchResult &result);

// The same for people, on standard error.
void printSummary(const BatchResult &result);

}  // namespace tool
