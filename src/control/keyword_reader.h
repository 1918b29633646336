// SPDX-License-Identifier: BSD-3-Clause
// keyword_reader.h -- what the version 3 and the old format have in common on reading
//
// Both are a fixed order of keywords with their values, the fit strategy, the starting values, the
// prior knowledge and the lineshape coefficients. Keywords are not compared, only the word before
// each of the later parts is: a file that is out of step is found there.
#pragma once

#include "run/types.h"

#include <cstdio>
#include <span>

// In what a generation differs.
struct keyword_format {
    bool is_version_3;                          // version word, f__tol, pattrn and pattern names
    std::span<const char *const> order_lines;   // what is printed when the keywords are out of step
    int start_header_widths[5];                 // "%<width>s" of the words behind "number"
    std::span<const char *const> example_lines; // ... when the starting values are
    bool names_end_of_lsf;                      // ... and whether the expected last word is named
    int correction_level;      // verbose at and above which corrected values are reported
    const char *type_words[4]; // of that report
};

// Where the values go, by the names of a reader's arguments.
struct keyword_target {
    int &npar, &ref_line, &nLines, &ap, &noise_strt, &noise_stop, &lsf_coefs;
    double &phi_1, &Hz_pp, &T_acq, &ftol;
    double *par;
    int &fitmode;
    int *var_ap_trunc;
    int &verbose, &show_line, &error_calc;
    char *sage_idl;
    int &sageidl, &par_ranges, &n_fit_strat_steps;
    int *min_method;
    int (*user_fit_strat)[strategy_columns];
    int *n_intervals, *fit_lsf;
    parameter_record *fixpar;
    int (*hxmin)[max_intervals + 1];
    int (*hxmax)[max_intervals + 1];
    int *hrange;
    int &file_corrupt;
    const double &frscl;
    int &ignore, &n_patterns;
    char (*pat_name)[pattern_name_size];

    int entries() const { return nLines + n_patterns; }
};

// The target of the arguments of these names: by name, so that no two can be swapped.
#define KEYWORD_TARGET_HERE                                                                        \
    {                                                                                              \
        .npar = npar, .ref_line = ref_line, .nLines = nLines, .ap = ap, .noise_strt = noise_strt,  \
        .noise_stop = noise_stop, .lsf_coefs = lsf_coefs, .phi_1 = phi_1, .Hz_pp = Hz_pp,          \
        .T_acq = T_acq, .ftol = ftol, .par = par, .fitmode = fitmode,                              \
        .var_ap_trunc = var_ap_trunc, .verbose = verbose, .show_line = show_line,                  \
        .error_calc = error_calc, .sage_idl = sage_idl, .sageidl = sageidl,                        \
        .par_ranges = par_ranges, .n_fit_strat_steps = n_fit_strat_steps,                          \
        .min_method = min_method, .user_fit_strat = user_fit_strat, .n_intervals = n_intervals,    \
        .fit_lsf = fit_lsf, .fixpar = fixpar, .hxmin = hxmin, .hxmax = hxmax, .hrange = hrange,    \
        .file_corrupt = file_corrupt, .frscl = frscl, .ignore = ignore, .n_patterns = n_patterns,  \
        .pat_name = pat_name                                                                       \
    }

// Reads the file, lets the starting values overwrite the values of the prior knowledge, converts to
// internal units (also when the file is faulty) and sets npar.
//
// Errors: a file that cannot be opened ends the run with status -1; a faulty one is reported and
// sets file_corrupt to 1.
void read_keyword_file(const char *name, const keyword_format &format, const keyword_target &to);

// "%6s", then the value. The keyword may be any word; a longer one is split.
void skip_keyword(std::FILE *file);
bool scan_keyword_int(std::FILE *file, int &target);
bool scan_keyword_real(std::FILE *file, double &target);
