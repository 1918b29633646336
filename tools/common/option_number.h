// SPDX-License-Identifier: BSD-3-Clause
// option_number.h -- the text of a number behind an option: decimal, and nothing else
//
// The parser's library by itself takes 0x10 for 16, 010 for 8, and nan, inf and 1e999 for numbers.
#pragma once

#include <charconv>
#include <limits>
#include <string>
#include <system_error>

namespace tools {

// Nothing for digits with a sign, a point and an exponent, as far as they are wanted, whose value
// is finite; else what is wrong. What is too small for a number is 0.
std::string fault_of_number(const std::string &text);

// The same for a whole number, a sign and digits, that whole_type holds. It loses a plus and zeros
// in front, which the parser would take for a sign of base 8: 010 is ten.
template <class whole_type>
std::string fault_of_whole_number(std::string &text) {
    const char *const begin = text.data() + (text.starts_with('+') ? 1 : 0);
    whole_type value = 0;
    const auto end = std::from_chars(begin, text.data() + text.size(), value);
    if (text.starts_with("+-") || end.ptr != text.data() + text.size() ||
        end.ec == std::errc::invalid_argument)
        return "\"" + text + "\" where a whole number was expected";
    if (end.ec != std::errc())
        return "\"" + text + "\" where a whole number from " +
               std::to_string(std::numeric_limits<whole_type>::min()) + " to " +
               std::to_string(std::numeric_limits<whole_type>::max()) + " was expected";
    text = std::to_string(value);
    return {};
}

} // namespace tools
