// SPDX-License-Identifier: BSD-3-Clause
// start_choice.h -- the start values of a batch, and of each of its fits
#pragma once

#include "files/base/ordered_json.h"
#include "files/start/make_start.h"
#include "files/batch/fit_record.h"
#include "files/batch/plan_lines.h"
#include "varokel-batch/make_plan.h"

#include <memory>
#include <string>
#include <vector>

namespace tools {

struct start_choice {
    std::vector<std::string> names;         // of the entries
    std::vector<std::string> pattern_files; // in patterns/
    std::vector<std::string> inputs;        // files that were read
    std::vector<std::string> guesses;       // values that neither table nor spectrum states
    ordered_json windows;                   // of the table, as the manifest has them
    std::vector<std::string> derived;       // what the table and the options ask for
};

// Writes start.par, names.txt, patterns/ and, with a table, peaks.txt into work, where spectra.f32
// and sidecar.json are. With a table, what it leaves to estimates comes from the spectrum with the
// most signal. Errors: wrong_usage; bad_input when the start file is not for such spectra.
start_choice choose_start(const plan_options &options, const ordered_json &scale, long long points,
                          const std::string &work, const std::vector<planned_spectrum> &spectra);

// A fit that may hand on its result: fitted, finite, with a residual of up to twice the noise, and
// with at least half of its free areas known; noise has nothing to hand on.
bool is_good_neighbour(const start_file &start, const fit_record &record);

// The better of two fits of one spectrum: a failed one loses, then the larger residual does.
bool is_better(const fit_record &one, const fit_record &other);

// The start file with the values of a fit. Fixed parameters keep their own; an entry whose area is
// 0 keeps its own area, because others may be tied to it by a ratio.
start_file start_from(const start_file &start, const fit_record &neighbour);

// Start files from the table of a plan, one for each spectrum. For one thread.
class spectrum_starts {
  public:
    // Errors: bad_input.
    explicit spectrum_starts(const batch_plan &plan);
    // bytes: complex float32. Errors: bad_input when nothing can be estimated.
    start_file make(const std::string &bytes);

  private:
    start_maker maker_;
    spectrum_facts facts_;
};

} // namespace tools
