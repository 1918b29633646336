// SPDX-License-Identifier: BSD-3-Clause
// missing_in_libcxx.h -- what the standard library of emscripten 3.1 lacks of C++20
//
// Put before every file of the module's build (-include). Behaviour as [charconv] and [bit.cast] of
// the standard have it, so that the readers do the same as in the programs:
//
//   from_chars  the longest number from the first character on: no blanks, no sign but "-", no
//               hexadecimal; out of range leaves the value alone
//   to_chars    the fewest digits that give the value back; the shorter of 123.4 and 1.234e+02
#pragma once

#include <bit>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <type_traits>

namespace std {

#ifndef __cpp_lib_bit_cast
template <class to, class from>
inline to bit_cast(const from &value) noexcept {
    static_assert(sizeof(to) == sizeof(from) && is_trivially_copyable_v<from>);
    to out;
    memcpy(&out, &value, sizeof out);
    return out;
}
#endif

#ifndef __cpp_lib_to_chars

template <class number, enable_if_t<is_floating_point_v<number>, int> = 0>
inline from_chars_result from_chars(const char *first, const char *last, number &value) {
    const char *at = first;
    const auto digits = [&] {
        const char *const begin = at;
        while (at != last && *at >= '0' && *at <= '9') ++at;
        return at - begin;
    };
    const auto is_word = [&](const char *word) {
        const size_t length = strlen(word);
        if (static_cast<size_t>(last - at) < length) return false;
        for (size_t i = 0; i < length; ++i)
            if ((at[i] | 0x20) != word[i]) return false;
        at += length;
        return true;
    };
    if (at != last && *at == '-') ++at;
    if (!is_word("infinity") && !is_word("inf") && !is_word("nan")) {
        auto many = digits();
        if (at != last && *at == '.') {
            ++at;
            many += digits();
        }
        if (many == 0) return {first, errc::invalid_argument};
        const char *const mantissa = at;
        if (at != last && (*at == 'e' || *at == 'E')) {
            ++at;
            if (at != last && (*at == '+' || *at == '-')) ++at;
            if (digits() == 0) at = mantissa;
        }
    }
    const string text(first, at);
    const number read = is_same_v<number, float>
                            ? static_cast<number>(strtof(text.c_str(), nullptr))
                            : static_cast<number>(strtod(text.c_str(), nullptr));
    const bool infinite_word = text.find_first_of("iInN") != string::npos;
    const bool is_zero = text.substr(0, text.find_first_of("eE")).find_first_of("123456789") ==
                         string::npos; // "0.00e5"
    if (!infinite_word && (!isfinite(read) || (read == number(0) && !is_zero)))
        return {at, errc::result_out_of_range};
    value = read;
    return {at, errc()};
}

template <class number, enable_if_t<is_floating_point_v<number>, int> = 0>
inline to_chars_result to_chars(char *first, char *last, number value) {
    char scientific[48], fixed[512];
    int most = 0;
    do {
        snprintf(scientific, sizeof scientific, "%.*e", most, static_cast<double>(value));
    } while (!(is_same_v<number, float>
                   ? static_cast<number>(strtof(scientific, nullptr)) == value
                   : static_cast<number>(strtod(scientific, nullptr)) == value) &&
             ++most < 17);
    const char *const e = strchr(scientific, 'e');
    const int exponent = e == nullptr ? 0 : atoi(e + 1);
    const int behind = most > exponent ? most - exponent : 0;
    snprintf(fixed, sizeof fixed, "%.*f", behind, static_cast<double>(value));
    const char *const chosen =
        e == nullptr || strlen(fixed) <= strlen(scientific) ? fixed : scientific;
    const size_t length = strlen(chosen);
    if (static_cast<size_t>(last - first) < length) return {last, errc::value_too_large};
    memcpy(first, chosen, length);
    return {first + length, errc()};
}

#endif

} // namespace std
