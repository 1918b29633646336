// SPDX-License-Identifier: BSD-3-Clause
// fit_check.h -- are the loaded start values and the strategy consistent?
#pragma once

#include "run/types.h"

// Prints every finding on standard output.
//
// Given: counts, parameters (5 (nLines + n_patterns), internal units), records, noise window,
//        strategy tables (rows 1 to n_fit_strat_steps), as in run/state_*.h
// Returned: pass  1, or 0 after a finding that forbids the fit
void TestInitValueFile(const int &ap, const int &nLines, const int &n_patterns,
                       const int &lsf_coefs, const double *par, const parameter_record *fixpar,
                       const int &noise_strt, const int &noise_stop, const double &phi_1,
                       const int &n_fit_strat_steps, const int *var_ap_trunc, const int *min_method,
                       const int *hrange, const int (*user_fit_strat)[strategy_columns],
                       const int &verbose, int &pass);
