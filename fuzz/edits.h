// SPDX-License-Identifier: BSD-3-Clause
// edits.h -- bytes of a fuzzer as edits of files that were whole: an item of a JSON, a word of a
// text, a number of a record, a cut, other bytes
#pragma once

#include "files/base/ordered_json.h"
#include "files/base/plain_text.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string>
#include <vector>

namespace fuzz {

// line: of the caller, which the fuzzer's report of an inlined call does not have.
inline void expect(bool so, const char *file = __builtin_FILE(), int line = __builtin_LINE()) {
    if (so) return;
    std::fprintf(stderr, "%s:%d: not as expected\n", file, line);
    std::abort();
}

// For what takes a hundred times the time of all else: one case in 64, chosen by all its bytes, so
// that the cases that the fuzzer makes of such a one are not such ones, too. Nothing edited is one.
inline bool one_of_64(const std::uint8_t *data, std::size_t size) {
    std::uint64_t mixed = 0;
    for (std::size_t i = 0; i < size; ++i) mixed = (mixed + data[i] + 1) * 0x9e3779b97f4a7c15ULL;
    return mixed >> 58 == 0;
}

// The edits, a byte at a time; zeros when there are no more.
class edit_bytes {
  public:
    edit_bytes(const std::uint8_t *data, std::size_t size) : data_(data), left_(size) {}
    bool more() const { return left_ > 0; }
    std::size_t next() {
        if (left_ == 0) return 0;
        --left_;
        return *data_++;
    }
    std::size_t below(std::size_t count) { return count == 0 ? 0 : next() % count; }
    std::string raw(std::size_t most) {
        std::string bytes;
        for (std::size_t left = below(most); left > 0 && more(); --left)
            bytes += static_cast<char>(next());
        return bytes;
    }

  private:
    const std::uint8_t *data_;
    std::size_t left_;
};

inline tools::ordered_json hostile_value(edit_bytes &bytes) {
    static const std::vector<tools::ordered_json> values = {nullptr,
                                                            true,
                                                            false,
                                                            0,
                                                            1,
                                                            2,
                                                            3,
                                                            4,
                                                            5,
                                                            -1,
                                                            -4,
                                                            65536,
                                                            1 << 30,
                                                            2305843009213693952LL,
                                                            9223372036854775807LL,
                                                            -9223372036854775807LL - 1,
                                                            18446744073709551615ULL,
                                                            1e300,
                                                            1e-300,
                                                            0.5,
                                                            -0.5,
                                                            "",
                                                            "same",
                                                            "exact",
                                                            "../../x",
                                                            "/etc/passwd",
                                                            "a\nb",
                                                            "\x7f",
                                                            "..",
                                                            ".",
                                                            "-x",
                                                            std::string(64, 'a'),
                                                            tools::ordered_json::array(),
                                                            tools::ordered_json::object(),
                                                            {1, 2, 3},
                                                            {{"name", "x"}},
                                                            "<script>",
                                                            "ä"};
    const std::size_t which = bytes.below(values.size() + 1);
    return which < values.size() ? values[which]
                                 : tools::ordered_json(tools::shown_text(bytes.raw(16)));
}

// One value of a JSON, however deep, or the item itself.
inline void edit_json(tools::ordered_json &items, edit_bytes &bytes) {
    tools::ordered_json *at = &items;
    while (at->is_structured() && !at->empty()) {
        auto member = at->begin();
        std::advance(member, static_cast<std::ptrdiff_t>(bytes.below(at->size())));
        const bool deeper = member->is_structured() && !member->empty() && bytes.below(2) == 0;
        if (deeper) {
            at = &*member;
        } else if (bytes.below(8) == 0) {
            at->erase(member);
            return;
        } else {
            *member = hostile_value(bytes);
            return;
        }
    }
}

// A number of a line of the manifest, or any of its bytes.
inline void edit_line(std::string &line, edit_bytes &bytes) {
    static const char *const numbers[] = {"-1",
                                          "0",
                                          "1",
                                          "2",
                                          "3",
                                          "4",
                                          "99999999999999999999",
                                          "-9223372036854775808",
                                          "9223372036854775807",
                                          "2147483648",
                                          ""};
    const std::size_t first = bytes.below(line.size());
    const std::size_t digit = line.find_first_of("0123456789", first);
    if (digit == line.npos || bytes.below(4) == 0) {
        if (!line.empty()) line[first] = static_cast<char>(bytes.next());
        return;
    }
    const std::size_t end = std::min(line.find_first_not_of("0123456789", digit), line.size());
    line.replace(digit, end - digit, numbers[bytes.below(std::size(numbers))]);
}

// A number of a record or a curve.
inline void edit_number(std::string &text, edit_bytes &bytes) {
    static const std::uint64_t numbers[] = {0,
                                            1,
                                            2,
                                            3,
                                            4,
                                            5,
                                            8,
                                            9,
                                            ~0ULL,
                                            1ULL << 31,
                                            1ULL << 61,
                                            1ULL << 63,
                                            0x7ff0000000000000ULL,
                                            0x7ff8000000000000ULL,
                                            0xfff0000000000000ULL,
                                            0x7fefffffffffffffULL};
    if (text.size() < 8) return;
    const std::size_t at = (bytes.next() * 256 + bytes.next()) % (text.size() - 7) / 4 * 4;
    const std::uint64_t number = numbers[bytes.below(std::size(numbers))];
    std::memcpy(text.data() + at, &number, bytes.below(2) == 0 ? 4 : 8);
}

inline void edit_bytes_of(std::string &text, edit_bytes &bytes) {
    const std::size_t at = text.empty() ? 0 : (bytes.next() * 256 + bytes.next()) % text.size();
    switch (bytes.below(3)) {
    case 0:
        text.resize(at);
        break;
    case 1:
        text.insert(at, bytes.raw(32));
        break;
    default:
        if (!text.empty()) text[at] = static_cast<char>(bytes.next());
    }
}

// A word of a text, between blanks, tabs, commas and ends of lines; or a line, gone or twice.
inline void edit_word(std::string &text, edit_bytes &bytes) {
    static const char *const words[] = {
        "-1",     "0",    "1", "2",      "1e300", "-1e300", "nan", "inf", "n/a", "99999999", "#1",
        "\t",     "\n",   "",  "free",   "fixed", "=",      "=a",  "-a",  "..",  "/x",       "a/b",
        "a'\"<b", "\xff", "ü", "1e-300", "4.5",   "\r",     "(",   "ppm", "Hz",  "+"};
    if (text.empty()) return;
    const std::size_t at = (bytes.next() * 256 + bytes.next()) % text.size();
    if (bytes.below(8) == 0) { // a line
        const std::size_t begin = text.rfind('\n', at) == text.npos ? 0 : text.rfind('\n', at) + 1;
        const std::size_t end = std::min(text.find('\n', at), text.size() - 1) + 1;
        const std::string line = text.substr(begin, end > begin ? end - begin : 0);
        if (bytes.below(2) == 0)
            text.erase(begin, line.size());
        else
            text.insert(begin, line);
        return;
    }
    const std::string_view gaps = " \t\n,";
    const std::size_t first = text.find_first_not_of(gaps, at);
    if (first == text.npos) return;
    const std::size_t end = std::min(text.find_first_of(gaps, first), text.size());
    const std::size_t which = bytes.below(std::size(words) + 1);
    text.replace(first, end - first, which < std::size(words) ? words[which] : bytes.raw(12));
}

} // namespace fuzz
