// SPDX-License-Identifier: Apache-2.0
// Text for people and programs: on a line, in JSON, on a page.
#pragma once

#include <string>

namespace tool {

// `text` with control characters made visible, so that a message stays one line whatever a file is called.
std::string oneLine(const std::string &text);

// `text` as a JSON string, quotes included. Bytes that are no UTF-8 become lone surrogates, U+DC80 to U+DCFF,
// from which a reader can tell the name of the file.
std::string jsonString(const std::string &text);

// Text between tags and in attributes: markup is escaped, control characters and bytes that are no UTF-8 made
// visible.
std::string htmlText(const std::string &text);

// Whether two texts are the same but for the case of ASCII letters.
bool sameName(const std::string &a, const std::string &b);

// printf into a string.
[[gnu::format(printf, 1, 2)]] std::string printed(const char *pattern, ...);

}  // namespace tool
