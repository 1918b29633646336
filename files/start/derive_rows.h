// SPDX-License-Identifier: BSD-3-Clause
// derive_rows.h -- "NAME = EXPRESSION", of rows "derive" and of --derive
#pragma once

#include "files/start/peak_table.h"

#include <string>

namespace tools {

// Both sides of the "="; without one, the expression is its name.
std::string derived_name(const std::string &text);
std::string derived_expression(const std::string &text);

// Derived values and amounts stand in one table, by their names.
// Errors: bad_input with the place when a row "derive" or "amount" of the table has the name.
void refuse_derived_twice(const peak_table &table, const std::string &name,
                          const table_place &place);

} // namespace tools
