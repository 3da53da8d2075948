// SPDX-License-Identifier: Apache-2.0
// Names of formats: whatever the text, a format that has such a name, or none.
#include <strings.h>

#include <cstring>

#include "KivoFrame.h"
#include "harness.h"

namespace KivoFuzz {
namespace {

void Run(const std::string &text) {
  const char *const name = text.c_str();
  const kivo_format *const found = kivo_format_find(name);
  if (found != nullptr) {
    Require(kivo_format_of_code(found->code) == found, "what is found is in the table");
    Require(kivo_format_find(found->name) == found, "a format has its own name");
  }
  const kivo_format *formats[5] = {};
  const std::size_t count = kivo_format_suggest(name, formats, 4);
  Require(count <= 4 && formats[4] == nullptr, "no more than asked for");
  for (std::size_t i = 0; i < count; ++i) {
    Require(formats[i] != nullptr && kivo_format_of_code(formats[i]->code) == formats[i],
            "what is suggested is in the table");
    for (std::size_t j = 0; j < i; ++j) Require(formats[i] != formats[j], "nothing is suggested twice");
  }
  if (found != nullptr) Require(count != 0, "what has the name is near it");
  // A letter more or less is near.
  for (std::size_t i = 0; i < kivo_format_count(); ++i) {
    const kivo_format *const format = kivo_format_at(i);
    if (strcasecmp(format->name, name) == 0) Require(found == format, "a PFNC name is found first");
  }
}

}  // namespace
}  // namespace KivoFuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  if (size > 4096) return -1;
  const std::string text(reinterpret_cast<const char *>(data), size);
  KivoFuzz::Run(text.substr(0, text.find('\0')));
  return 0;
}
