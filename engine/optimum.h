// SPDX-License-Identifier: BSD-3-Clause
// optimum.h -- the fit of a problem: its optimum, errors and verdict
#pragma once

#include "engine/covariance.h"
#include "engine/search.h"
#include "engine/verdict.h"

#include <string>
#include <vector>

namespace engine {

// Other places to begin from, beside the starts of the problem, tried in this order.
struct extra_start {
    std::string name; // for the report
    std::vector<values_of_entry> values;
};

struct fit_options {
    // Starts that are made up when the verdict on what was found asks for more: an aligned one, a
    // broadened one, perturbed ones with fixed seeds. `starts` of them are tried whatever it says.
    int starts = 0;
    int most_starts = 6;
    std::vector<extra_start> extra;
    search_options search;
    search_watch watch;
};

struct start_report {
    std::string name; // "given", "aligned", "split", "broadened", "perturbed 1", "relocated 3",
                      // or an extra one's
    double sum_of_squares; // where it ended [noise_sd^2]
    double shift = 0.0;    // that was applied to all frequencies [points]
    bool same = false;     // as the lowest, within 0.1 bound in every parameter
};

struct optimum {
    std::vector<values_of_entry> values; // of the entries, in the units of the problem
    std::vector<std::complex<double>> lineshape;
    entry_covariance covariance;
    minimum found;                    // the lowest
    std::vector<start_report> starts; // in the order of their trial
    verdict judged;
    double quality = 0.0;                    // sqrt(sum of squares / degrees of freedom)
    int linearizations = 0, evaluations = 0; // over all starts
    std::vector<std::array<signed char, quantities>> at_bound; // -1 lower, 1 upper edge, 0 inside

    bool is_at_bound(int entry, quantity q) const {
        return at_bound[static_cast<std::size_t>(entry)][static_cast<std::size_t>(q)] != 0;
    }
};

// The lowest minimum that the starts lead to.
//
// Errors: what model::make refuses; more free parameters than fitted values; a model that is not
//         finite where it begins; a watch that says no.
// Notes:
//   1. A workspace serves one call at a time and keeps its storage for the next.
//   2. The same problem gives the same bits, whatever was fitted before.
result<optimum> find_optimum(const fit_problem &problem, model_workspace &ws,
                             const fit_options &options = {});
// The same of a model that is made already.
result<optimum> find_optimum(const model &of, model_workspace &ws, const fit_options &options = {});

} // namespace engine
