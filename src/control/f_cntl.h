// SPDX-License-Identifier: BSD-3-Clause
// f_cntl.h -- the version 3 format of the start value / fit control file, "compact.par"
#pragma once

#include "run/types.h"

// Reads a version 3 file into the settings, parameters in internal units; sets npar.
//
// Given:
//   name       file
//   frscl      divides the frequencies that are read
//   par, fixpar, fit_lsf, pat_name   storage for the counts in the file
// Returned:
//   all others; what stands behind the first fault keeps its value. Steps and intervals count
//   from 1, hrange is the sum of hxmax - hxmin of a step.
// Errors:
//   A file that cannot be opened ends the run with status -1. A wrong marker word, or what would
//   overrun a table (control/allowed_counts.h), sets file_corrupt to 1; units are converted all the
//   same.
// Notes:
//   1. The prior knowledge of entry i is the i-th in the file, whatever its marker says.
//   2. Where a starting value and the value in the prior knowledge differ, the starting value is
//      taken for both.
void read_f_cntl(const char *name, int &npar, int &ref_line, int &nLines, int &ap, int &noise_strt,
                 int &noise_stop, int &lsf_coefs, double &phi_1, double &Hz_pp, double &T_acq,
                 double &ftol, double *par, int &fitmode, int *var_ap_trunc, int &verbose,
                 int &show_line, int &error_calc, char *sage_idl, int &sageidl, int &par_ranges,
                 int &n_fit_strat_steps, int *min_method, int (*user_fit_strat)[strategy_columns],
                 int *n_intervals, int *fit_lsf, parameter_record *fixpar,
                 int (*hxmin)[max_intervals + 1], int (*hxmax)[max_intervals + 1], int *hrange,
                 int &file_corrupt, const double &frscl, int &ignore, int &n_patterns,
                 char (*pat_name)[pattern_name_size]);

// Writes "compact.par" in the working directory; the name of the start file does not matter.
//
// Given:    par, errors, fixpar in internal units; the file has natural ones, and the fitted values
//           as prior knowledge. Half the default range of an area is 0.5 of it (the block format
//           writes 0.1).
// Returned: status of the close; EOF when there is no file.
// Errors:   storage that cannot be had and a file that cannot be created are reported, nothing is
//           written.
// Notes:
//   1. Ranges are always written, so that a file with par_ranges 2 is not read back in step.
int write_f_cntl(const char *strtvalfnm, const int &nLines, const int &ap, const int &noise_strt,
                 const int &noise_stop, const int &lsf_coefs, const double &phi_1,
                 const double &Hz_pp, const double &T_acq, const double &ftol, const double *par,
                 const double *errors, const int &fitmode, const int *var_ap_trunc,
                 const int &verbose, const int &show_line, const int &error_calc,
                 const char *sage_idl, const int &par_ranges, const int &n_fit_strat_steps,
                 const int *min_method, const int (*user_fit_strat)[strategy_columns],
                 const int *n_intervals, const int *fit_lsf, const parameter_record *fixpar,
                 const int (*hxmin)[max_intervals + 1], const int (*hxmax)[max_intervals + 1],
                 const double &frscl, const int &ignore, const int &n_patterns,
                 const char (*pat_name)[pattern_name_size], const char *user, const char *host,
                 const char *domain);
