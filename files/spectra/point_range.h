// SPDX-License-Identifier: BSD-3-Clause
// point_range.h -- a stretch of a spectrum as a user writes it
#pragma once

#include <string>

namespace tools {

// "a:b" as two point numbers, a <= b, both from 0 on. what names the option in the message.
// Errors: wrong_usage for another text.
void parse_point_range(const std::string &text, const char *what, long long &first,
                       long long &last);

} // namespace tools
