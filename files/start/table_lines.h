// SPDX-License-Identifier: BSD-3-Clause
// table_lines.h -- which lines of a table's text say something, and where
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace tools {

// A line with cells, or one "key: value". Comments, blanks at the end and rules are not in it.
struct table_line {
    int number = 0;                             // from 1
    std::size_t begin = 0;                      // of the line in the text
    std::string_view text;                      // from there on, without comment
    std::string_view whole;                     // with its comment, without the line's end
    std::size_t colon = std::string_view::npos; // of a key, in text

    bool is_key() const { return colon != std::string_view::npos; }
    // The word before the colon.
    std::string_view key() const;
    // Where the key begins, from 1.
    int key_column() const { return static_cast<int>(text.find_first_not_of(" \t")) + 1; }
};

// In their order; views of the text.
std::vector<table_line> lines_of_table(const std::string &text);

} // namespace tools
