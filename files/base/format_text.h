// SPDX-License-Identifier: BSD-3-Clause
// format_text.h -- numbers in a text, as printf has them
#pragma once

#include <cstdio>
#include <string>

namespace tools {

// The text of up to 399 characters; what is longer is cut.
template <typename... numbers>
std::string format(const char *pattern, numbers... values) {
    char text[400];
    std::snprintf(text, sizeof text, pattern, values...);
    return text;
}

} // namespace tools
