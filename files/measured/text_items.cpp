// SPDX-License-Identifier: BSD-3-Clause
// text_items.cpp -- words and numbers of the text headers of other programs
#include "files/measured/text_items.h"

#include "files/base/input_file.h"
#include "files/base/tool_error.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>

namespace tools {

static bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

static bool is_letter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

std::optional<double> number_of(std::string_view text) {
    std::string plain(trimmed(text));
    for (char &c : plain)
        if (c == 'D' || c == 'd') c = 'E';
    const char *first = plain.data();
    const char *const last = first + plain.size();
    if (plain.size() > 1 && *first == '+' && plain[1] != '-') ++first;
    double value = 0.0;
    const auto end = std::from_chars(first, last, value);
    if (end.ec == std::errc::result_out_of_range && end.ptr == last) {
        // too large becomes infinite, which is refused as a point; too small is 0
        const std::size_t e = plain.find_first_of("eE");
        const bool small = e != std::string::npos && e + 1 < plain.size() && plain[e + 1] == '-';
        return small ? 0.0 : HUGE_VAL;
    }
    if (end.ec != std::errc() || end.ptr != last) return std::nullopt;
    return value;
}

std::optional<double> number_with_comma(std::string_view text) {
    std::string plain(text);
    std::replace(plain.begin(), plain.end(), ',', '.');
    return number_of(plain);
}

std::optional<long long> whole_number_of(std::string_view text) {
    const std::optional<double> value = number_of(text);
    if (!value || !(std::abs(*value) < 1e15) || *value != std::floor(*value)) return std::nullopt;
    return static_cast<long long>(*value);
}

std::vector<std::string_view> words_of(std::string_view line) {
    static constexpr std::string_view between = " \t,;\r";
    std::vector<std::string_view> words;
    for (std::size_t at = 0; (at = line.find_first_not_of(between, at)) != line.npos;) {
        const std::size_t end = std::min(line.find_first_of(between, at), line.size());
        words.push_back(line.substr(at, end - at));
        at = end;
    }
    return words;
}

std::optional<std::string> nucleus_of(std::string_view text) {
    std::string digits, letters;
    char before = ' ';
    for (const char c : trimmed(text)) {
        if (c == '<' || c == '>' || c == '"' || c == '\'' || c == '-' || c == '^') continue;
        std::string &part = is_digit(c) ? digits : letters;
        const bool goes_on = is_digit(c) == is_digit(before) && before != ' ';
        if ((!is_digit(c) && !is_letter(c)) || (!part.empty() && !goes_on)) return std::nullopt;
        part += c;
        before = c;
    }
    if (digits.empty() || digits.size() > 3 || digits[0] == '0' || letters.empty() ||
        letters.size() > 2)
        return std::nullopt;
    letters = lower_case(letters);
    letters[0] = static_cast<char>(letters[0] - 'a' + 'A');
    return digits + letters;
}

std::optional<std::string> date_of(std::string_view text) {
    std::string digits;
    text = trimmed(text);
    if (!text.empty() && (text.front() == '"' || text.front() == '\'')) text.remove_prefix(1);
    for (std::size_t i = 0; i < text.size() && digits.size() < 8; ++i) {
        const bool between = (digits.size() == 4 || digits.size() == 6) && i > 0 &&
                             is_digit(text[i - 1]) && std::strchr(".-/", text[i]) != nullptr;
        if (is_digit(text[i]))
            digits += text[i];
        else if (!between)
            return std::nullopt;
    }
    if (digits.size() != 8) return std::nullopt;
    const int month = std::stoi(digits.substr(4, 2)), day = std::stoi(digits.substr(6));
    if (digits < "19000101" || month < 1 || month > 12 || day < 1 || day > 31) return std::nullopt;
    return digits.substr(0, 4) + "-" + digits.substr(4, 2) + "-" + digits.substr(6);
}

std::optional<std::string> nucleus_of_field(double mhz, double tesla) {
    // magnitude of the gyromagnetic ratio over 2 pi [MHz/T]
    static constexpr struct {
        const char *name;
        double mhz_per_tesla;
    } nuclei[] = {{"1H", 42.577},   {"2H", 6.536},   {"3He", 32.434},
                  {"7Li", 16.546},  {"13C", 10.708}, {"19F", 40.078},
                  {"23Na", 11.262}, {"31P", 17.235}, {"129Xe", 11.777}};
    for (const auto &nucleus : nuclei)
        if (std::abs(mhz / tesla - nucleus.mhz_per_tesla) < 0.01 * nucleus.mhz_per_tesla)
            return nucleus.name;
    return std::nullopt;
}

line_reader::line_reader(const std::string &file) : file_(file), stream_(open_input(file)) {
    if (!stream_) refuse_input(file, "cannot be read; is it yours to read?");
}

bool line_reader::next() {
    const std::size_t bytes = next_line(stream_, line_, file_);
    if (bytes == 0) return false;
    bytes_ += static_cast<long long>(bytes);
    ++number_;
    if (!line_.empty() && line_.back() == '\r') line_.pop_back();
    return true;
}

void header_items::take(std::string_view line, long long number, bool replaces) {
    const std::size_t colon = line.find(':');
    if (colon == line.npos) return;
    const auto [at, is_new] = items.try_emplace(lower_case(trimmed(line.substr(0, colon))));
    if (is_new || replaces) at->second = {std::string(trimmed(line.substr(colon + 1))), number};
}

const header_items::item *header_items::find(std::string_view name) const {
    const auto at = items.find(lower_case(name));
    return at == items.end() ? nullptr : &at->second;
}

std::optional<std::string> header_items::text(std::string_view name) const {
    const item *const found = find(name);
    return found == nullptr || found->value.empty() ? std::nullopt : std::optional(found->value);
}

void header_items::refuse(std::string_view name, const std::string &what) const {
    refuse_input(file + ", line " + std::to_string(find(name)->line), what);
}

void line_reader::refuse(const std::string &text) const {
    refuse_input(file_ + ", line " + std::to_string(number_), text);
}

} // namespace tools
