// SPDX-License-Identifier: BSD-3-Clause
// table_keys.h -- the rows "key: value" of a table of peaks
#pragma once

#include "files/start/table_scanner.h"

#include <string_view>

namespace tools {

// Takes the value behind a key into the table.
//
// Given:
//   scan           what stands behind the colon
//   coefficients   of "lineshape: fitted N", for the check of their values
//   place          of the key
// Errors: bad_input, with line and column.
void read_key(peak_table &table, std::string_view key, table_scanner &scan, int &coefficients,
              const table_place &place);

// The reference peak of an option --reference-peak and that of a table of peaks; an empty option is
// none. Errors: wrong_usage when both are there and differ, or the option's text is none.
std::optional<reference_peak> settled_reference(const std::string &option,
                                                const std::optional<reference_peak> &of_table);

} // namespace tools
