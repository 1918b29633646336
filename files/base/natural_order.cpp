// SPDX-License-Identifier: BSD-3-Clause
// natural_order.cpp -- names in the order in which people count
#include "files/base/natural_order.h"

#include <algorithm>
#include <cstddef>

namespace tools {

bool in_natural_order(const std::string &a, const std::string &b) {
    const auto is_digit = [](char c) { return c >= '0' && c <= '9'; };
    std::size_t i = 0, j = 0;
    while (i < a.size() && j < b.size()) {
        if (!is_digit(a[i]) || !is_digit(b[j])) {
            if (a[i] != b[j]) return a[i] < b[j];
            ++i;
            ++j;
            continue;
        }
        const auto number_at = [&](const std::string &text, std::size_t &at) {
            const std::size_t begin = at;
            while (at < text.size() && is_digit(text[at])) ++at;
            const std::size_t first = std::min(text.find_first_not_of('0', begin), at);
            return text.substr(first, at - first);
        };
        const std::string m = number_at(a, i), n = number_at(b, j);
        if (m.size() != n.size()) return m.size() < n.size();
        if (m != n) return m < n;
    }
    if (a.size() - i != b.size() - j) return a.size() - i < b.size() - j;
    return a < b; // 01 and 1
}

} // namespace tools
