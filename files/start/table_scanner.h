// SPDX-License-Identifier: BSD-3-Clause
// table_scanner.h -- tokens of a stretch of a table's line, with their columns
#pragma once

#include "files/base/line_text.h"
#include "files/start/peak_table.h"

#include <cctype>
#include <charconv>
#include <cmath>
#include <string>
#include <string_view>

namespace tools {

inline bool is_name_character(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return std::isalnum(byte) != 0 || c == '_' || c == '.' || c == '\'' || byte >= 0x80;
}

// What is not there is refused with the place and the first characters of what is.
class table_scanner {
  public:
    table_scanner(const peak_table &table, std::string_view text, int line, int column)
        : table_(&table), text_(text), line_(line), column_(column) {}

    void skip_blanks() {
        while (at_ < text_.size() && (text_[at_] == ' ' || text_[at_] == '\t')) ++at_;
    }
    bool at_end() {
        skip_blanks();
        return at_ == text_.size();
    }
    bool take(char c) {
        skip_blanks();
        if (at_ == text_.size() || text_[at_] != c) return false;
        ++at_;
        return true;
    }
    bool take(std::string_view token) {
        skip_blanks();
        if (!text_.substr(at_).starts_with(token)) return false;
        at_ += token.size();
        return true;
    }
    bool sees(std::string_view token) {
        skip_blanks();
        return text_.substr(at_).starts_with(token);
    }
    // letters in any case, followed by none
    bool take_word(std::string_view wanted) {
        skip_blanks();
        const std::string_view found = word_here();
        if (lower_case(found) != wanted) return false;
        at_ += found.size();
        return true;
    }
    std::string word() {
        skip_blanks();
        const std::string_view found = word_here();
        at_ += found.size();
        return std::string(found);
    }
    std::string rest() {
        skip_blanks();
        const std::string all(text_.substr(at_));
        at_ = text_.size();
        return all;
    }
    // up to a blank, or to one of the characters
    std::string until(std::string_view ends) {
        skip_blanks();
        const std::size_t begin = at_;
        while (at_ < text_.size() && text_[at_] != ' ' && text_[at_] != '\t' &&
               ends.find(text_[at_]) == std::string_view::npos)
            ++at_;
        return std::string(text_.substr(begin, at_ - begin));
    }
    std::string name(const char *expected) {
        skip_blanks();
        const std::size_t begin = at_;
        while (at_ < text_.size() && is_name_character(text_[at_])) ++at_;
        if (at_ == begin) refuse(expected);
        return std::string(text_.substr(begin, at_ - begin));
    }
    bool number_follows() {
        skip_blanks();
        std::size_t i = at_;
        if (i < text_.size() && (text_[i] == '+' || text_[i] == '-')) ++i;
        if (i < text_.size() && text_[i] == '.') ++i;
        return i < text_.size() && std::isdigit(static_cast<unsigned char>(text_[i])) != 0;
    }
    bool comma_and_digit() const {
        return at_ + 1 < text_.size() && text_[at_] == ',' &&
               std::isdigit(static_cast<unsigned char>(text_[at_ + 1])) != 0;
    }
    double number(const char *expected) {
        if (!number_follows()) refuse(expected);
        const std::size_t begin = at_ + (text_[at_] == '+' ? 1 : 0);
        double value = 0.0;
        const auto end = std::from_chars(text_.data() + begin, text_.data() + text_.size(), value);
        // the fit reads single precision
        if (end.ec != std::errc() || !std::isfinite(static_cast<float>(value)))
            refuse("a number within single precision");
        at_ = static_cast<std::size_t>(end.ptr - text_.data());
        return value;
    }
    int integer(const char *expected, int least, int most) {
        skip_blanks();
        const std::size_t begin = at_;
        int value = 0;
        const auto end = std::from_chars(text_.data() + begin, text_.data() + text_.size(), value);
        if (end.ec != std::errc() || value < least || value > most) refuse(expected);
        at_ = static_cast<std::size_t>(end.ptr - text_.data());
        return value;
    }
    table_unit unit() {
        if (take_word("ppm")) return table_unit::ppm;
        if (take_word("hz")) return table_unit::hz;
        if (take_word("points") || take_word("pt")) return table_unit::points;
        if (take_word("deg") || take_word("degrees") || take("\xc2\xb0"))
            return table_unit::degrees;
        return table_unit::none;
    }
    void expect_end(const char *expected) {
        if (!at_end()) refuse(expected);
    }
    table_place place() {
        skip_blanks();
        return {line_, column_ + static_cast<int>(at_)};
    }
    [[noreturn]] void refuse(const std::string &expected) {
        skip_blanks();
        std::string_view found = text_.substr(at_);
        found = found.substr(0, 30);
        while (!found.empty() && (found.back() == ' ' || found.back() == '\t'))
            found.remove_suffix(1);
        refuse_at(*table_, place(),
                  "found " +
                      (found.empty() ? std::string("nothing") : "\"" + std::string(found) + "\"") +
                      "; expected " + expected);
    }

  private:
    std::string_view word_here() const {
        std::size_t end = at_;
        while (end < text_.size() && (std::isalpha(static_cast<unsigned char>(text_[end])) != 0 ||
                                      text_[end] == '_' || text_[end] == '-'))
            ++end;
        return text_.substr(at_, end - at_);
    }

    const peak_table *table_;
    std::string_view text_;
    int line_, column_;
    std::size_t at_ = 0;
};

} // namespace tools
