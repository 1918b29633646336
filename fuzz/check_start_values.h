// SPDX-License-Identifier: BSD-3-Clause
// check_start_values.h -- the checks of a start file that could be read
#pragma once

#include "control/fit_check.h"
#include "run/state.h"

namespace fuzz {

inline int start_values_pass() {
    if (file_corrupt == 1 || par == nullptr || fixpar == nullptr) return 0;
    int pass = 1;
    TestInitValueFile(ap, nLines, n_patterns, lsf_coefs, par, fixpar, noise_strt, noise_stop, phi_1,
                      n_fit_strat_steps, var_ap_trunc, min_method, hrange, user_fit_strat, verbose,
                      pass);
    return pass;
}

} // namespace fuzz
