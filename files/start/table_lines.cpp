// SPDX-License-Identifier: BSD-3-Clause
// table_lines.cpp -- which lines of a table's text say something, and where
#include "files/start/table_lines.h"

#include <algorithm>

namespace tools {

static bool is_rule(std::string_view line) { // between heading and rows of a framed table
    return line.find('-') != std::string_view::npos &&
           line.find_first_not_of("|-:+= \t") == std::string_view::npos &&
           line.find("---") != std::string_view::npos;
}

std::string_view table_line::key() const {
    const std::size_t from = text.find_first_not_of(" \t");
    std::string_view word = text.substr(from, colon - from);
    while (!word.empty() && word.back() == ' ') word.remove_suffix(1);
    return word;
}

std::vector<table_line> lines_of_table(const std::string &text) {
    std::vector<table_line> lines;
    int number = 0;
    std::size_t at = text.starts_with("\xef\xbb\xbf") ? 3 : 0;
    while (at < text.size()) {
        const std::size_t end = std::min(text.find('\n', at), text.size());
        table_line own;
        own.begin = at;
        own.number = ++number;
        std::string_view line(text.data() + at, end - at);
        at = end + 1;
        if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
        own.whole = line;
        for (std::size_t i = 0; i < line.size(); ++i)
            if (line[i] == '#' && (i == 0 || line[i - 1] == ' ' || line[i - 1] == '\t')) {
                line = line.substr(0, i);
                break;
            }
        while (!line.empty() && (line.back() == ' ' || line.back() == '\t')) line.remove_suffix(1);
        if (line.find_first_not_of(" \t") == std::string_view::npos || is_rule(line)) continue;
        own.text = line;
        own.colon = line.find(':');
        lines.push_back(own);
    }
    return lines;
}

} // namespace tools
