// SPDX-License-Identifier: BSD-3-Clause
// line_text.h -- what readers of lines look for
#pragma once

#include <string>

namespace tools {

// The text without the blanks, tabs and ends of line around it.
inline std::string trimmed(const std::string &text) {
    const char *const blanks = " \t\r\n";
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string::npos) return "";
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

inline bool says(const std::string &line, const char *text) {
    return line.find(text) != std::string::npos;
}

} // namespace tools
