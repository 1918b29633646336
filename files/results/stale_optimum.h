// SPDX-License-Identifier: BSD-3-Clause
// stale_optimum.h -- whether the optimum of a folder is still that of its files
#pragma once

#include "files/results/fit_list.h"

#include <string>
#include <vector>

namespace tools {

// Of the files beside optimum.json, by fit_files.sha256 of their folder, or of the one above it for
// a fit of several spectra. Nothing is said when no list has this very optimum.json.
struct optimum_files {
    // Names without folder, sorted: data, start values, patterns and results that are no longer
    // what they were when the fit ended. Names of entries and what the sidecar says of the axis are
    // not of the fit, and may be corrected; a file that is gone has not changed.
    std::vector<std::string> changed;
    bool other_search = false; // there is a NAME.exl that the fit did not leave
};

// folder, name: of the spectrum, as read_run has them. lists: those that earlier spectra needed,
// and what this one adds. Errors: bad_input for a file that cannot be read.
optimum_files files_beside_optimum(const std::string &folder, const std::string &name,
                                   fit_lists &lists);

} // namespace tools
