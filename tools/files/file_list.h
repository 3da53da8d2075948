// SPDX-License-Identifier: Apache-2.0
// Which files are converted, and what their outputs are called.
#pragma once

#include <string>
#include <vector>

namespace tool {

// One file to convert.
struct Job {
  std::string input;
  std::string relative;  // below the folder that was named, else the name alone
  std::string output;
  bool named = false;  // by the user, not found in a folder or by a pattern
};

// A folder that cannot be searched.
struct Unreadable {
  std::string folder;
  std::string reason;  // "cannot be searched: ..."
};

struct FileList {
  std::vector<Job> jobs;
  bool several = false;            // whether the arguments can mean more than one file
  std::vector<std::string> empty;  // folders without any such file
  std::vector<Unreadable> unreadable;
};

// The files that the arguments stand for, without outputs: files as they are; of folders what lies in them
// and below with an extension of raw frames (`headerless`: of files without header); patterns where no file
// has that very name. A file that is met twice counts once. Throws Failure when a pattern fits nothing.
FileList listFiles(const std::vector<std::string> &arguments, bool headerless);

// The same for a command that begins: says which folders hold none or cannot be searched, the former not if
// `quiet`. Throws Failure when there is no file at all.
FileList findInputs(const std::vector<std::string> &arguments, bool headerless, bool quiet);

// Whether there is a folder, or a link to one.
bool isFolder(const std::string &path);

// Names the outputs: below `folder`, with another extension. Throws Failure when two inputs would become one
// output, or an output is one of the inputs.
void nameOutputs(FileList &list, const std::string &folder, const std::string &extension);

// Throws Failure when standard input ("-") is named more than once.
void refuseTwice(const std::vector<std::string> &inputs);

// Throws Failure when `output` exists and is `input`; standard input and output ("-") are never the same.
void refuseSameFile(const std::string &input, const std::string &output);

}  // namespace tool
