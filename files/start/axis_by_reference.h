// SPDX-License-Identifier: BSD-3-Clause
// axis_by_reference.h -- the ppm axis by the reference of a table, where the import did not set it
#pragma once

#include "files/spectra/complex_signal.h"
#include "files/start/spectrum_facts.h"

#include <optional>
#include <string>
#include <vector>

namespace tools {

struct axis_by_reference {
    std::string text; // which peak was found, and where the axis is now
    std::vector<std::string> warnings;
};

// Gives the facts the axis of the table's reference peak, as it stands in this spectrum. Nothing
// when the table names none, or the axis was set by one already. Errors: bad_input as
// reference_search.
std::optional<axis_by_reference> set_axis_by_reference(const peak_table &table,
                                                       const spectrum_axis &axis,
                                                       const complex_signal &spectrum,
                                                       spectrum_facts &facts);

} // namespace tools
