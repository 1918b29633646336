// SPDX-License-Identifier: BSD-3-Clause
// derive_rows.cpp -- "NAME = EXPRESSION", of rows "derive" and of --derive
#include "files/start/derive_rows.h"

#include "files/base/line_text.h"

#include <algorithm>

namespace tools {

std::string derived_expression(const std::string &text) {
    const std::size_t equals = text.find('=');
    return std::string(trimmed(equals == text.npos ? text : text.substr(equals + 1)));
}

std::string derived_name(const std::string &text) {
    return std::string(trimmed(text.substr(0, text.find('='))));
}

void refuse_derived_twice(const peak_table &table, const std::string &name,
                          const table_place &place) {
    const auto derives = [&](const std::string &row) { return derived_name(row) == name; };
    const auto is_of = [&](const amount_row &row) { return row.name == name; };
    if (std::any_of(table.derived.begin(), table.derived.end(), derives) ||
        std::any_of(table.amounts.amounts.begin(), table.amounts.amounts.end(), is_of))
        refuse_at(table, place,
                  "found a second row \"derive\" or \"amount\" called \"" + name +
                      "\"; expected another name before the \"=\", as NAME = EXPRESSION");
}

} // namespace tools
