// SPDX-License-Identifier: BSD-3-Clause
// line_text.h -- what readers of lines look for
#pragma once

#include <string>
#include <string_view>

namespace tools {

// The part of the text between the blanks, tabs, ends of line and zero bytes around it.
inline std::string_view trimmed(std::string_view text) {
    constexpr std::string_view blanks(" \t\r\n\0", 5);
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == text.npos) return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

// The text with a to z for A to Z.
inline std::string lower_case(std::string_view text) {
    std::string small(text);
    for (char &c : small)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return small;
}

// Whether a list with commas between, and no blanks, has a word.
inline bool has_word(std::string_view list, std::string_view word) {
    return ("," + std::string(list) + ",").find("," + std::string(word) + ",") != std::string::npos;
}

inline bool says(std::string_view line, std::string_view text) {
    return line.find(text) != line.npos;
}

} // namespace tools
