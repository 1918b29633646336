// SPDX-License-Identifier: BSD-3-Clause
// exact_fitter.h -- the engine's fit of a spectrum of a batch, as its record
#pragma once

#include "files/problem/exact_fit.h"

#include "varokel-batch/measure_curves.h"
#include "varokel-batch/private_fit.h"

#include <string>
#include <vector>

namespace tools {

// One per thread: it keeps the storage of one fit for the next.
class exact_fitter {
  public:
    // patterns: decays, in the order of the pattern entries. Everything given has to stay.
    exact_fitter(const batch_plan &plan, const curve_measure &measure,
                 const std::vector<complex_signal> &patterns)
        : plan_(plan), measure_(measure), patterns_(patterns) {}

    // From the start values and, when there is one, from the end of a search. spectrum: complex
    // float32. What the engine refuses is a failed fit, with its reason.
    harvest fit(long long line, const std::string &spectrum, const start_file &start,
                const std::optional<start_file> &search);

  private:
    void measure_curves(const engine::fit_problem &problem, const engine::model &of,
                        const engine::minimum &at, fit_record &record, std::string &curve);

    const batch_plan &plan_;
    const curve_measure &measure_;
    const std::vector<complex_signal> &patterns_;
    engine::model_workspace workspace_;
};

} // namespace tools
