// SPDX-License-Identifier: BSD-3-Clause
// compare_text.cpp -- two result files, words exactly, numbers within a tolerance
#include "varokel-compare/compare_text.h"

#include "files/base/text_pattern.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace tools {

namespace {

// A stretch of a line: a number, or the text up to the next one.
struct piece {
    std::string_view text;
    std::size_t column; // from 0
    bool is_number;
    bool is_whole; // a number without point and exponent
    double value;
};

bool touches(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_' || c == '.';
}

bool is_digit(std::string_view s, std::size_t at) {
    return at < s.size() && s[at] >= '0' && s[at] <= '9';
}

// Length of the number that starts at this place, 0 when none does.
std::size_t number_length(std::string_view s, std::size_t at, bool &whole) {
    std::size_t end = at;
    whole = true;
    if (end < s.size() && (s[end] == '+' || s[end] == '-')) ++end;
    if (s.substr(end, 3) == "nan" || s.substr(end, 3) == "inf") {
        whole = false;
        return end + 3 - at;
    }
    std::size_t digits = 0;
    for (; is_digit(s, end); ++end) ++digits;
    if (end < s.size() && s[end] == '.') {
        whole = false;
        for (++end; is_digit(s, end); ++end) ++digits;
    }
    if (digits == 0) return 0;
    if (end < s.size() && (s[end] == 'e' || s[end] == 'E')) {
        std::size_t exponent = end + 1;
        if (exponent < s.size() && (s[exponent] == '+' || s[exponent] == '-')) ++exponent;
        if (is_digit(s, exponent)) {
            whole = false;
            for (end = exponent; is_digit(s, end); ++end) {
            }
        }
    }
    return end - at;
}

double value_of(std::string_view number) {
    return std::strtod(std::string(number).c_str(), nullptr);
}

std::vector<piece> pieces_of(std::string_view line) {
    std::vector<piece> pieces;
    std::size_t text_start = 0;
    const auto end_text = [&](std::size_t at) {
        if (at > text_start)
            pieces.push_back(
                {line.substr(text_start, at - text_start), text_start, false, false, 0});
    };
    for (std::size_t i = 0; i < line.size();) {
        bool whole = false;
        const std::size_t length =
            i == 0 || !touches(line[i - 1]) ? number_length(line, i, whole) : 0;
        if (length == 0 || (i + length < line.size() && touches(line[i + length]))) {
            ++i;
            continue;
        }
        end_text(i);
        const std::string_view number = line.substr(i, length);
        pieces.push_back({number, i, true, whole, value_of(number)});
        i += length;
        text_start = i;
    }
    end_text(line.size());
    return pieces;
}

bool numbers_agree(const piece &a, const piece &b, const tolerance &allowed, double error) {
    if (std::isnan(a.value) || std::isnan(b.value))
        return std::isnan(a.value) == std::isnan(b.value);
    if (a.value == b.value) return true;
    if (std::isinf(a.value) || std::isinf(b.value)) return false;
    const double distance = std::fabs(a.value - b.value);
    if (a.is_whole && b.is_whole) return distance <= static_cast<double>(allowed.whole);
    return distance <= allowed.absolute || distance <= allowed.fraction * error ||
           distance <= allowed.relative * std::max(std::fabs(a.value), std::fabs(b.value));
}

std::string in_quotes(std::string_view text) {
    std::string out = "\"";
    for (const char c : text) {
        if (c == '\t')
            out += "\\t";
        else if (c == '\r')
            out += "\\r";
        else if (static_cast<unsigned char>(c) < ' ')
            out += '?';
        else
            out += c;
    }
    return out + '"';
}

std::string number_report(const piece &a, const piece &b) {
    char text[64];
    const double distance = std::fabs(a.value - b.value);
    const double larger = std::max(std::fabs(a.value), std::fabs(b.value));
    std::snprintf(text, sizeof text, ", difference %.3g, relative %.3g", distance,
                  larger > 0.0 ? distance / larger : 0.0);
    return "got " + std::string(a.text) + ", wanted " + std::string(b.text) + text;
}

static constexpr std::string_view stamp_words = "File created at";

// Position behind "File created at", or npos.
std::size_t stamp_position(std::string_view line) {
    const std::size_t at = line.find(stamp_words);
    return at == std::string_view::npos ? at : at + stamp_words.size();
}

std::string_view without_colon(std::string_view text) {
    const std::size_t start = text.find_first_not_of(" \t:");
    return start == std::string_view::npos ? std::string_view() : text.substr(start);
}

// First difference of two lines; line 0 means none.
difference compare_line(std::string_view got, std::string_view wanted, std::string_view errors,
                        const tolerance &allowed) {
    const std::size_t got_stamp = stamp_position(got), wanted_stamp = stamp_position(wanted);
    if (got_stamp != std::string_view::npos && wanted_stamp != std::string_view::npos) {
        const std::string a(without_colon(got.substr(got_stamp)));
        const std::string b(without_colon(wanted.substr(wanted_stamp)));
        for (const std::string &stamp : {a, b})
            if (!is_time_stamp(stamp))
                return {1, static_cast<long long>(got_stamp) + 1,
                        "no time stamp: " + in_quotes(stamp)};
        got = got.substr(0, got_stamp);
        wanted = wanted.substr(0, wanted_stamp);
    }
    const std::vector<piece> a = pieces_of(got), b = pieces_of(wanted), e = pieces_of(errors);
    const auto error_of = [&](std::size_t i) {
        return i < e.size() && e[i].is_number ? std::fabs(e[i].value) : 0.0;
    };
    for (std::size_t i = 0; i < std::max(a.size(), b.size()); ++i) {
        if (i >= a.size())
            return {1, static_cast<long long>(got.size()) + 1,
                    "line ends, wanted " + in_quotes(wanted.substr(b[i].column))};
        const long long column = static_cast<long long>(a[i].column) + 1;
        if (i >= b.size())
            return {1, column,
                    "got " + in_quotes(got.substr(a[i].column)) + ", wanted the end of the line"};
        if (a[i].is_number && b[i].is_number) {
            if (!numbers_agree(a[i], b[i], allowed, error_of(i)))
                return {1, column, number_report(a[i], b[i])};
        } else if (a[i].is_number || b[i].is_number || a[i].text != b[i].text) {
            const auto at = std::mismatch(a[i].text.begin(), a[i].text.end(), b[i].text.begin(),
                                          b[i].text.end());
            const long long same = a[i].is_number || b[i].is_number
                                       ? 0
                                       : static_cast<long long>(at.first - a[i].text.begin());
            return {1, column + same,
                    "got " + in_quotes(a[i].text) + ", wanted " + in_quotes(b[i].text)};
        }
    }
    return {};
}

std::vector<std::string_view> lines_of(const std::string &text) {
    std::vector<std::string_view> lines;
    std::string_view rest(text);
    while (!rest.empty()) {
        const std::size_t end = rest.find('\n');
        lines.push_back(rest.substr(0, end));
        if (end == std::string_view::npos) break;
        rest.remove_prefix(end + 1);
    }
    return lines;
}

bool ends_in_newline(const std::string &text) {
    return text.empty() || text.back() == '\n';
}

} // namespace

bool is_time_stamp(const std::string &text) {
    static const text_pattern shape(
        "^[ \t]*([01][0-9]|2[0-3]):[0-5][0-9]:([0-5][0-9]|60) ([A-Za-z0-9+-]* )?"
        "(Sun|Mon|Tues|Wednes|Thurs|Fri|Satur)day "
        "(January|February|March|April|May|June|July|August|September|October|November|December) "
        "(0[1-9]|[12][0-9]|3[01]) 20[0-9][0-9][ \t\r]*$");
    return shape.matches(text);
}

std::vector<difference> compare_text(const std::string &got, const std::string &wanted,
                                     const tolerance &allowed, const std::string &errors) {
    std::vector<difference> found;
    const std::vector<std::string_view> a = lines_of(got), b = lines_of(wanted);
    std::vector<std::string_view> e = lines_of(errors);
    e.resize(std::max(e.size(), a.size()));
    const std::size_t common = std::min(a.size(), b.size());
    for (std::size_t i = 0; i < common; ++i) {
        difference d = compare_line(a[i], b[i], e[i], allowed);
        if (d.line == 0) continue;
        d.line = static_cast<long long>(i) + 1;
        found.push_back(d);
    }
    const auto behind = static_cast<long long>(common) + 1;
    if (a.size() > b.size())
        found.push_back({behind, 1,
                         std::to_string(a.size() - b.size()) + " lines more than wanted, first " +
                             in_quotes(a[common])});
    if (a.size() < b.size())
        found.push_back({behind, 1,
                         std::to_string(b.size() - a.size()) + " lines missing, first " +
                             in_quotes(b[common])});
    if (a.size() == b.size() && ends_in_newline(got) != ends_in_newline(wanted))
        found.push_back(
            {static_cast<long long>(a.size()),
             a.empty() ? 1 : static_cast<long long>(a.back().size()) + 1,
             ends_in_newline(got) ? "got a line end, wanted none" : "line end missing"});
    return found;
}

} // namespace tools
