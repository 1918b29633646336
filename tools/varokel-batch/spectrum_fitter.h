// SPDX-License-Identifier: BSD-3-Clause
// spectrum_fitter.h -- the fit of one spectrum, by the method and from the start values of its plan
#pragma once

#include "varokel-batch/exact_fitter.h"
#include "varokel-batch/fit_order.h"
#include "varokel-batch/search_process.h"
#include "varokel-batch/spectra_file.h"
#include "varokel-batch/start_choice.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tools {

// What all fits of a run share and none changes.
struct fit_common {
    // scratch: where folders of searches are made. limit: of a search [s]; 0: none.
    // Errors: bad_input when a file of the plan cannot be read.
    fit_common(const batch_plan &plan, fit_setting setting, std::string scratch, double limit);

    const batch_plan &plan;
    fit_setting setting;
    std::string scratch;
    double limit;
    std::string start_text; // of the plan
    std::vector<complex_signal> patterns;
    spectra_file spectra;
};

// One per thread.
class spectrum_fitter {
  public:
    spectrum_fitter(const fit_common &common, const stop_switch &stop);
    // None when the switch was set meanwhile. Errors: bad_input when spectra.f32 was changed;
    // bad_output when a search has no place.
    std::optional<harvest> fit(const fit_task &task);

  private:
    std::optional<harvest> fit_from(long long line, const start_file &start,
                                    const std::string &text);
    std::string text_of(const start_file &start) const;
    harvest without_start(long long line, std::string reason) const;

    const fit_common &common_;
    const stop_switch &stop_;
    exact_fitter exact_;
    std::unique_ptr<spectrum_starts> starts_; // from a table, one for each spectrum
    std::string bytes_;
};

} // namespace tools
