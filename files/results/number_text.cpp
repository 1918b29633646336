// SPDX-License-Identifier: BSD-3-Clause
// number_text.cpp -- numbers as a reader wants them, and as a program does
#include "files/results/number_text.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace tools {

static std::string printed(const char *format, int digits, double value) {
    char text[400]; // %f of the largest double has 310 characters
    std::snprintf(text, sizeof text, format, digits, value);
    const std::string out = text;
    const bool is_zero = out.find_first_of("123456789") == std::string::npos;
    return is_zero && out[0] == '-' ? out.substr(1) : out;
}

std::string short_number(double value) {
    if (!std::isfinite(value)) return "n/a";
    if (std::fabs(value) >= 999.5 && std::fabs(value) < 1e6) return printed("%.*f", 0, value);
    return printed("%.*g", 3, value);
}

std::string quality_number(double quality) {
    const bool two = std::fabs(quality) >= 0.1 && std::fabs(quality) < 99.995;
    return two ? printed("%.*f", 2, quality) : short_number(quality);
}

std::string table_number(double value) {
    if (!std::isfinite(value)) return "n/a";
    return printed("%.*g", 9, value);
}

std::string short_link_number(double value) {
    if (!std::isfinite(value)) return "n/a";
    return printed("%.*g", 6, value);
}

std::string difference_number(double difference, double value) {
    if (!std::isfinite(difference) || !std::isfinite(value)) return "n/a";
    // Two values of single precision, each half of 2^-23 off, and nine digits after the point.
    const double resolution = 2.4e-7 * std::max(std::fabs(value), std::fabs(difference));
    const int digits = resolution > 0.0
                           ? std::clamp(static_cast<int>(-std::ceil(std::log10(resolution))), 0, 9)
                           : 9;
    std::string text = printed("%.*f", digits, difference);
    if (text.find('.') == std::string::npos) return text;
    while (text.back() == '0') text.pop_back();
    if (text.back() == '.') text.pop_back();
    return text;
}

// Exponent of the first digit of a value above 0 that is rounded to so many more digits.
static int exponent_of(double value, int digits) {
    const std::string text = printed("%.*e", digits, value);
    return std::atoi(text.c_str() + text.find('e') + 1);
}

// The value rounded to the multiple of 10^place that is nearest, in the notation of the error.
static std::string rounded_to(double value, int place, bool fixed) {
    static constexpr int most = 15; // digits behind the first: a double has no more
    const double size = std::fabs(value);
    if (size == 0.0) return fixed ? printed("%.*f", std::max(0, -place), 0.0) : "0";
    if (fixed && place <= 0) return printed("%.*f", -place, value);
    const double unit = std::pow(10.0, place); // of the last digit; 0 below the smallest double
    if (size < 0.5 * unit) return "0";
    if (size < unit) value = std::copysign(unit, value);
    const int top = exponent_of(std::max(size, unit), most);
    std::string text = printed("%.*e", std::clamp(top - place, 0, most), value);
    // 9.996 to two places is 10.00, of one digit more
    if (exponent_of(size, std::clamp(top - place, 0, most)) > top)
        text = printed("%.*e", std::clamp(top - place + 1, 0, most),
                       std::strtod(text.c_str(), nullptr));
    return fixed ? printed("%.*f", 0, std::strtod(text.c_str(), nullptr)) : text;
}

value_with_error with_error(double value, double sd) {
    if (!std::isfinite(value)) return {"n/a", "n/a"};
    if (!(sd > 0.0) || !std::isfinite(sd)) return {printed("%.*g", 5, value), "n/a"};
    const int place = exponent_of(sd, 1) - 1;
    const int top = std::max(value == 0.0 ? place : exponent_of(std::fabs(value), 15), place + 1);
    const bool fixed = top >= -4 && top < 6 && place >= -7;
    return {rounded_to(value, place, fixed),
            fixed ? rounded_to(sd, place, true) : printed("%.*e", 1, sd)};
}

std::string with_digits_of(double value, double sd) {
    return with_error(value, sd).value;
}

std::string percent_number(double percent) {
    if (!std::isfinite(percent)) return "n/a";
    if (percent == 0.0) return "0";
    if (percent >= 99.5) return printed("%.*f", 0, percent);
    return with_error(0.0, percent).error;
}

} // namespace tools
