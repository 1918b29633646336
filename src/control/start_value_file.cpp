// SPDX-License-Identifier: BSD-3-Clause
// start_value_file.cpp -- loads the start value / fit control file that steers a run
#include "control/start_value_file.h"

#include "control/f_cntl.h"
#include "control/fitcontrol_new.h"
#include "control/fitcontrol_old.h"
#include "control/keyword_reader.h"
#include "data/patterns.h"
#include "data/scan.h"
#include "run/end_run.h"
#include "run/state.h"
#include "run/storage.h"

#include <algorithm>
#include <cstring>

void peep_fitcontrol_new(const char *name, int &n_lines, int &points, int &n_lsf, int &n_pat) {
    std::FILE *file = std::fopen(name, "r+t");
    if (file == nullptr) {
        std::printf("==> .shf file could not be opened\n"); // wording kept
        return;
    }
    char word[max_word + 1] = "";
    scan_word(file, word, max_word);
    while (scan_word(file, word, max_word)) {
        if (std::strcmp(word, "varokel_spectrum_information") == 0) {
            int passed_over = 0;
            double passed_over_real = 0.0;
            read_varokel_spectrum_information(
                file, points, passed_over, passed_over, n_lines, n_lsf, passed_over_real,
                passed_over_real, passed_over_real, passed_over_real, passed_over, n_pat);
        }
        if (std::strcmp(word, "varokel_end_of_file") == 0) break;
    }
    std::fclose(file);
}

static std::FILE *open_keyword_file(const char *name) {
    std::FILE *file = std::fopen(name, "r+t");
    if (file == nullptr) {
        std::printf("I/O error : starting value file could not opened \n ");
        end_run(-1);
    }
    return file;
}

static void pass_over_ints(std::FILE *file, int count) {
    int passed_over = 0;
    for (int i = 0; i < count; ++i) scan_keyword_int(file, passed_over);
}

static void pass_over_reals(std::FILE *file, int count) {
    double passed_over = 0.0;
    for (int i = 0; i < count; ++i) scan_keyword_real(file, passed_over);
}

// n_pnts, noistr, noistp, nLines, lsfcfs
static void peep_leading_counts(std::FILE *file, int &n_lines, int &points, int &n_lsf) {
    scan_keyword_int(file, points);
    pass_over_ints(file, 2);
    scan_keyword_int(file, n_lines);
    scan_keyword_int(file, n_lsf);
}

void peep_f_cntl(const char *name, int &n_lines, int &points, int &n_lsf, int &n_pat) {
    std::FILE *file = open_keyword_file(name);
    char word[max_word + 1] = "";
    scan_word(file, word, max_word); // version
    peep_leading_counts(file, n_lines, points, n_lsf);
    pass_over_reals(file, 3); // phi__1, Hz_p_p, f__tol
    pass_over_ints(file, 4);  // fit_mo, verbos, showli, clcerr
    skip_keyword(file);       // sg_idl
    scan_word(file, word, max_word);
    pass_over_ints(file, 2); // ranges, ignore
    scan_keyword_int(file, n_pat);
    std::fclose(file);
}

void peep_fitcontrol_old(const char *name, int &n_lines, int &points, int &n_lsf) {
    std::FILE *file = open_keyword_file(name);
    peep_leading_counts(file, n_lines, points, n_lsf);
    pass_over_reals(file, 2); // phi__1, Hz_p_p
    pass_over_ints(file, 1);  // fit_mo
    std::fclose(file);
}

// Storage for the peeked sizes, or for what of them is allowed: the readers refuse the others.
// False when an array that they write to is missing, which the run ends on later.
static bool make_parameter_arrays() {
    allocate_parameter_arrays(nLines, lsf_coefs, n_patterns);
    return par != nullptr && fixpar != nullptr && pat_name != nullptr && pat != nullptr &&
           pattern_norm != nullptr;
}

// Also those of a faulty file: a pattern that is missing ends the run.
static void load_patterns() {
    if (n_patterns > pattern_capacity) return;
    fetch_patterns(n_patterns, ap, nLines, pat_name, pat, pattern_norm, frscl, Hz_pp, phi_1, ignore,
                   verbose);
}

static void load_old_file() {
    std::printf("old file \n");
    peep_fitcontrol_old(strtvalfnm, nLines, ap, lsf_coefs);
    if (!make_parameter_arrays()) return;
    read_fitcontrol_old(strtvalfnm, npar, ref_line, nLines, ap, noise_strt, noise_stop, lsf_coefs,
                        phi_1, Hz_pp, T_acq, par, fitmode, var_ap_trunc, verbose, show_line,
                        error_calc, sage_idl, sageidl, par_ranges, n_fit_strat_steps, min_method,
                        user_fit_strat, n_intervals, fit_lsf, fixpar, hxmin, hxmax, hrange,
                        file_corrupt, frscl, ignore);
}

static void load_block_file() {
    std::printf("verbose starting value file \n");
    peep_fitcontrol_new(strtvalfnm, nLines, ap, lsf_coefs, n_patterns);
    if (!make_parameter_arrays()) return;
    pattern_enable = 1;
    read_varokel_strtval_file(strtvalfnm, npar, ref_line, nLines, ap, noise_strt, noise_stop,
                              lsf_coefs, phi_1, Hz_pp, T_acq, ftol, par, fitmode, verbose,
                              show_line, error_calc, sage_idl, sageidl, par_ranges,
                              n_fit_strat_steps, n_intervals, fit_lsf, fixpar, hxmin, hxmax, hrange,
                              file_corrupt, frscl, ignore, n_patterns, pat_name);
    load_patterns();
}

static void load_version_3_file() {
    peep_f_cntl(strtvalfnm, nLines, ap, lsf_coefs, n_patterns);
    if (!make_parameter_arrays()) return;
    pattern_enable = 1;
    read_f_cntl(strtvalfnm, npar, ref_line, nLines, ap, noise_strt, noise_stop, lsf_coefs, phi_1,
                Hz_pp, T_acq, ftol, par, fitmode, var_ap_trunc, verbose, show_line, error_calc,
                sage_idl, sageidl, par_ranges, n_fit_strat_steps, min_method, user_fit_strat,
                n_intervals, fit_lsf, fixpar, hxmin, hxmax, hrange, file_corrupt, frscl, ignore,
                n_patterns, pat_name);
    load_patterns();
}

void MakeInitValFile() {
    std::FILE *file = std::fopen(strtvalfnm, "r+t");
    if (file == nullptr) {
        // with the digit zero: wording kept
        std::printf("I/0 error : cannot open starting value file : %s\n\n", strtvalfnm);
        end_run(-1);
    }
    char first_word[max_word + 1] = "";
    scan_word(file, first_word, max_word);
    std::fclose(file);

    if (std::strcmp(first_word, "version_3") == 0) {
        load_version_3_file();
        return;
    }
    // An old file runs on into the block path: deliberate.
    if (std::strcmp(first_word, "varokel_begin_of_file") != 0) load_old_file();
    load_block_file();
}
