// SPDX-License-Identifier: Apache-2.0
// Which pictures convert makes of which frames: all that becomes of the paths of the command line.
#pragma once

#include <string>

#include "commands/commands.h"
#include "files/file_list.h"

namespace tool {

struct ConvertPlan {
  FileList files;  // every job has its output
  PictureType type = PictureType::Png;
  std::string folder;  // that all outputs are in or below; empty where the one output was named

  // One file: its failure is that of the command.
  bool alone() const noexcept { return files.jobs.size() == 1 && files.unreadable.empty(); }
};

// Looks for the inputs and names the outputs, writing nothing. Without jobs, and with the reason said, where
// nothing but folders was found that cannot be searched. Throws Failure.
ConvertPlan planConversion(const ConvertOptions &options);

}  // namespace tool
