// SPDX-License-Identifier: BSD-3-Clause
// fitcontrol_old.h -- the old format of the start value / fit control file
//
// The version 3 format (control/f_cntl.h) without version word, tolerance and patterns.
#pragma once

#include "run/types.h"

// As read_f_cntl; corrected prior knowledge values are reported at any level of verbose, and a
// wrong last word is not named.
void read_fitcontrol_old(const char *name, int &npar, int &ref_line, int &nLines, int &ap,
                         int &noise_strt, int &noise_stop, int &lsf_coefs, double &phi_1,
                         double &Hz_pp, double &T_acq, double *par, int &fitmode, int *var_ap_trunc,
                         int &verbose, int &show_line, int &error_calc, char *sage_idl,
                         int &sageidl, int &par_ranges, int &n_fit_strat_steps, int *min_method,
                         int (*user_fit_strat)[strategy_columns], int *n_intervals, int *fit_lsf,
                         parameter_record *fixpar, int (*hxmin)[max_intervals + 1],
                         int (*hxmax)[max_intervals + 1], int *hrange, int &file_corrupt,
                         const double &frscl, int &ignore);

// As write_f_cntl, to "compact.par" as well.
int write_fitcontrol_old(const int &nLines, const int &ap, const int &noise_strt,
                         const int &noise_stop, const int &lsf_coefs, const double &phi_1,
                         const double &Hz_pp, const double &T_acq, const double *par,
                         const double *errors, const int &fitmode, const int *var_ap_trunc,
                         const int &verbose, const int &show_line, const int &error_calc,
                         const char *sage_idl, const int &par_ranges, const int &n_fit_strat_steps,
                         const int *min_method, const int (*user_fit_strat)[strategy_columns],
                         const int *n_intervals, const int *fit_lsf, const parameter_record *fixpar,
                         const int (*hxmin)[max_intervals + 1],
                         const int (*hxmax)[max_intervals + 1], const double &frscl,
                         const int &ignore);
