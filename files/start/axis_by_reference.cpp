// SPDX-License-Identifier: BSD-3-Clause
// axis_by_reference.cpp -- the ppm axis by the reference of a table, where the import did not set
// it
#include "files/start/axis_by_reference.h"

#include "files/spectra/reference_peak.h"

namespace tools {

std::optional<axis_by_reference> set_axis_by_reference(const peak_table &table,
                                                       const spectrum_axis &axis,
                                                       const complex_signal &spectrum,
                                                       spectrum_facts &facts) {
    if (!table.reference || facts.reference_ppm) return std::nullopt;
    reference_search search(*table.reference, axis);
    search.add(spectrum);
    const found_reference found = search.found();
    facts.ppm_at_carrier = found.ppm_at_carrier;
    facts.reference_ppm = table.reference->ppm;
    axis_by_reference out = {text_of(*table.reference, found), {}};
    if (found.guessed_width) out.warnings.push_back("guessed " + reference_width_text(found));
    for (const std::string &text : warnings_of(*table.reference, found))
        out.warnings.push_back(text);
    return out;
}

} // namespace tools
