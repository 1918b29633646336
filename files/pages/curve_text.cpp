// SPDX-License-Identifier: BSD-3-Clause
// curve_text.cpp -- curves as text inside a page
#include "files/pages/curve_text.h"

#include "files/pages/page_frame.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>

namespace tools {

std::string float_text(const std::vector<double> &values) {
    std::string bytes;
    bytes.reserve(4 * values.size());
    for (const double value : values) {
        const auto bits = std::bit_cast<std::uint32_t>(static_cast<float>(value));
        for (int b = 0; b < 4; ++b) bytes += static_cast<char>(bits >> (8 * b) & 0xffU);
    }
    return base64(bytes);
}

ordered_json short_curve(const std::vector<double> &curve, long long first, long long last) {
    double most = 0.0;
    for (long long i = first; i <= last; ++i) {
        const double value = curve[static_cast<std::size_t>(i)];
        if (std::isfinite(value)) most = std::max(most, std::fabs(value));
    }
    const double unit = most > 0.0 ? most / 32767.0 : 1.0;
    std::string bytes;
    for (long long i = first; i <= last; ++i) {
        const double value = curve[static_cast<std::size_t>(i)];
        const double step = std::isfinite(value) ? std::round(value / unit) : 0.0;
        const auto bits = static_cast<std::uint16_t>(static_cast<std::int16_t>(step));
        bytes += static_cast<char>(bits & 0xffU);
        bytes += static_cast<char>(bits >> 8);
    }
    return {{"unit", unit}, {"values", base64(bytes)}};
}

std::pair<long long, long long>
points_with_margin(const std::vector<std::pair<long long, long long>> &intervals,
                   long long points) {
    long long first = points - 1, last = 0;
    for (const auto &[a, b] : intervals) {
        first = std::min(first, a);
        last = std::max(last, b);
    }
    const long long margin = std::max(2LL, (last - first) / 10);
    return {std::max(0LL, first - margin), std::min(points - 1, last + margin)};
}

const char *unit_of_axis(const std::string &label) {
    if (label.find("ppm") != std::string::npos) return "ppm";
    return label.find("Hz") != std::string::npos ? "Hz" : "(point)";
}

ordered_json axis_item(const plot_axis &axis, long long first) {
    return {{"label", axis.label},
            {"unit", unit_of_axis(axis.label)},
            {"zero", axis.at_zero + axis.per_point * static_cast<double>(first)},
            {"step", axis.per_point},
            {"falls", axis.falls_to_the_right}};
}

} // namespace tools
