// SPDX-License-Identifier: BSD-3-Clause
// option_number.cpp -- the text of a number behind an option: decimal, and nothing else
#include "common/option_number.h"

#include "files/measured/text_items.h"

#include <cmath>
#include <optional>

namespace tools {

std::string fault_of_number(const std::string &text) {
    const std::optional<double> value =
        text.find_first_not_of("0123456789+-.eE") == text.npos ? number_of(text) : std::nullopt;
    if (value && std::isfinite(*value)) return {};
    return "\"" + text + "\" where a number such as 0.5, 2 or 1e-3 was expected";
}

} // namespace tools
