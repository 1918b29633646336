// SPDX-License-Identifier: BSD-3-Clause
#include "files/results/number_text.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

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

std::string with_digits_of(double value, double sd) {
    if (!std::isfinite(value)) return "n/a";
    const double size = std::max(std::fabs(value), std::isfinite(sd) ? sd : 0.0);
    if (size == 0.0) return "0";
    if (!(sd > 0.0) || !std::isfinite(sd)) return printed("%.*g", 5, value);
    const int top = static_cast<int>(std::floor(std::log10(size)));
    const int last = static_cast<int>(std::floor(std::log10(sd))) - 1;
    if (top >= 6 || last < -7) return printed("%.*e", std::clamp(top - last, 0, 8), value);
    return printed("%.*f", std::clamp(-last, 0, 9), value);
}

} // namespace tools
