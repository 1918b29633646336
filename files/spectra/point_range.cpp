// SPDX-License-Identifier: BSD-3-Clause
// point_range.cpp -- a stretch of a spectrum as a user writes it
#include "files/spectra/point_range.h"

#include "files/base/tool_error.h"

#include <charconv>
#include <system_error>

namespace tools {

void parse_point_range(const std::string &text, const char *what, long long &first,
                       long long &last) {
    const char *const end = text.data() + text.size();
    const auto head = std::from_chars(text.data(), end, first);
    if (head.ec == std::errc() && head.ptr != end && *head.ptr == ':') {
        const auto tail = std::from_chars(head.ptr + 1, end, last);
        if (tail.ec == std::errc() && tail.ptr == end && first >= 0 && first <= last) return;
    }
    refuse_usage(std::string(what) + " " + text,
                 "expected two points FIRST:LAST, 0 <= FIRST <= LAST");
}

} // namespace tools
