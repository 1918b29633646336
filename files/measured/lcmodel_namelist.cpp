// SPDX-License-Identifier: BSD-3-Clause
// lcmodel_namelist.cpp -- groups of named values and the numbers behind them, as LCModel's files
// have them
#include "files/measured/lcmodel_namelist.h"

#include "files/base/text_pattern.h"
#include "files/base/tool_error.h"

#include <cmath>

namespace tools {

void namelist_group::refuse(const char *item, const std::string &expected) const {
    refuse_input(file + ", group $" + name + " of line " + std::to_string(line),
                 std::string("item ") + item + " is not " + expected);
}

std::optional<std::string> namelist_group::text(const char *item) const {
    const auto at = values.find(item);
    if (at == values.end() || at->second.empty()) return std::nullopt;
    return at->second.front();
}

std::optional<double> namelist_group::number(const char *item) const {
    const std::optional<std::string> word = text(item);
    if (!word) return std::nullopt;
    const std::optional<double> value = number_of(*word);
    if (!value || !std::isfinite(*value)) refuse(item, "a number");
    return value;
}

std::optional<long long> namelist_group::whole_number(const char *item) const {
    const std::optional<double> value = number(item);
    if (!value) return std::nullopt;
    if (*value != std::floor(*value) || std::abs(*value) > 1e9) refuse(item, "a whole number");
    return static_cast<long long>(*value);
}

bool namelist_group::truth(const char *item) const {
    const std::optional<std::string> word = text(item);
    if (!word) return false;
    const std::string low = lower_case(*word);
    if (low.starts_with("t") || low.starts_with(".t")) return true;
    if (!low.starts_with("f") && !low.starts_with(".f")) refuse(item, "T or F");
    return false;
}

static bool is_word_character(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_' || c == '(' || c == ')';
}

// Place of the group's end in a line ($END, &END, or / alone), outside of quotes; npos if none.
static std::size_t end_of_group(const std::string &line) {
    if (trimmed(line) == "/") return line.find('/');
    bool quoted = false;
    for (std::size_t i = 0; i < line.size(); ++i) {
        if (line[i] == '\'') quoted = !quoted;
        if (!quoted && (line[i] == '$' || line[i] == '&') &&
            lower_case(line.substr(i + 1, 3)) == "end")
            return i;
    }
    return line.npos;
}

// Adds "key = value, value key = value" to the group.
static void parse_values(std::string_view text, namelist_group &group) {
    std::vector<std::string> *values = nullptr;
    for (std::size_t i = 0; i < text.size();) {
        const char c = text[i];
        if (c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == ',' || c == '=') {
            ++i;
        } else if (c == '\'') { // '' within stands for one quote
            std::string value;
            for (++i; i < text.size(); ++i) {
                if (text[i] == '\'') {
                    if (i + 1 >= text.size() || text[i + 1] != '\'') break;
                    ++i;
                }
                if (text[i] == '\n') break; // the closing quote was forgotten
                value += text[i];
            }
            ++i;
            if (values != nullptr) values->push_back(value);
        } else {
            const std::size_t first = i;
            while (i < text.size() && is_word_character(text[i])) ++i;
            const std::size_t next = text.find_first_not_of(" \t", i);
            if (i > first && next != text.npos && text[next] == '=') {
                values = &group.values[lower_case(text.substr(first, i - first))];
                values->clear();
                i = next + 1;
                continue;
            }
            while (i < text.size() && std::string_view(" \t\n\r,").find(text[i]) == text.npos) ++i;
            std::string value(text.substr(first, i - first));
            const std::size_t star = value.find('*'); // 3*0. is three times 0.
            if (star != value.npos && whole_number_of(value.substr(0, star)))
                value.erase(0, star + 1);
            if (values != nullptr) values->push_back(value);
        }
    }
}

std::optional<namelist_group> next_group(line_reader &text, const std::string &file, bool begun) {
    namelist_group group;
    group.file = file;
    std::string line;
    for (;; begun = false) {
        if (!begun && !text.next()) return std::nullopt;
        const std::string_view begin = trimmed(text.line());
        if (begin.size() < 2 || (begin[0] != '$' && begin[0] != '&')) continue;
        std::size_t end = 1;
        while (end < begin.size() && is_word_character(begin[end])) ++end;
        group.name = lower_case(begin.substr(1, end - 1));
        group.line = text.number();
        line = begin.substr(end);
        if (group.name != "end") break;
    }
    static constexpr std::size_t longest_group = 1 << 20; // characters; real ones have hundreds
    std::string body;
    for (;;) {
        const std::size_t end = end_of_group(line);
        body += line.substr(0, end);
        if (end != line.npos) break;
        body += '\n';
        if (body.size() > longest_group || !text.next())
            refuse_input(file + ", line " + std::to_string(group.line),
                         "group $" + group.name + " has no end; expected $END behind its items");
        line = text.line();
    }
    parse_values(body, group);
    return group;
}

std::optional<std::size_t> field_width(const std::string &format) {
    static const text_pattern form(
        "^[[:space:]]*\\([[:space:]]*([0-9]+[[:space:]]*[Pp])?[[:space:]]*,?"
        "[[:space:]]*[0-9]*[[:space:]]*[EeFfGgDd]([0-9]{1,3})\\.[0-9]+");
    if (format.size() > 100) return std::nullopt;
    const auto parts = form.groups_of(format);
    if (!parts) return std::nullopt;
    const std::optional<long long> width = whole_number_of((*parts)[2]);
    return width && *width > 0 ? std::optional(static_cast<std::size_t>(*width)) : std::nullopt;
}

std::vector<double> numbers_of_line(const line_reader &text,
                                    const std::optional<std::size_t> &width) {
    std::vector<double> numbers;
    const std::string &line = text.line();
    bool all = true;
    for (const std::string_view word : words_of(line)) {
        const std::optional<double> value = number_of(word);
        all = all && value;
        if (value) numbers.push_back(*value);
    }
    if (all) return numbers;
    numbers.clear();
    if (width) {
        all = true;
        const std::string_view used =
            std::string_view(line).substr(0, line.find_last_not_of(' ') + 1);
        for (std::size_t at = 0; at < used.size() && all; at += *width) {
            const std::optional<double> value = number_of(used.substr(at, *width));
            all = value.has_value();
            if (all) numbers.push_back(*value);
        }
        if (all) return numbers;
    }
    text.refuse("no row of numbers; expected real and imaginary parts in turn");
}

} // namespace tools
