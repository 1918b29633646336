// SPDX-License-Identifier: BSD-3-Clause
// fitcontrol_new.cpp -- reader of the block format
#include "control/fitcontrol_new.h"

#include "control/control_file.h"
#include "control/allowed_counts.h"
#include "data/scan.h"
#include "model/units.h"

#include <cstring>

void read_varokel_spectrum_information(std::FILE *file, int &ap, int &noise_strt, int &noise_stop,
                                       int &nLines, int &lsf_coefs, double &phi_1, double &Hz_pp,
                                       double &T_acq, double &ftol, int &ignore, int &n_patterns) {
    scan_int(file, ap);
    scan_int(file, noise_strt);
    scan_int(file, noise_stop);
    scan_int(file, nLines);
    scan_int(file, lsf_coefs);
    scan_real(file, phi_1);
    scan_real(file, Hz_pp);
    T_acq = 1.0 / Hz_pp;
    scan_real(file, ftol);
    scan_int(file, ignore);
    scan_int(file, n_patterns);
}

bool read_varokel_pattern_references(std::FILE *file, const char *name, const int &n_patterns,
                                     char (*pat_name)[pattern_name_size], int &file_corrupt) {
    for (int k = 1; k <= n_patterns; ++k)
        if (!read_pattern_name(file, name, k, pat_name, file_corrupt)) return false;
    return true;
}

void read_varokel_fit_control(std::FILE *file, int &fitmode, int &ref_line, int &lsf_coefs,
                              int &verbose, int &show_line, int &error_calc, char *sage_idl,
                              int &sageidl, int &par_ranges, int &n_fit_strat_steps,
                              const int *n_intervals, const int (*hxmin)[max_intervals + 1],
                              const int (*hxmax)[max_intervals + 1], int *hrange) {
    scan_int(file, fitmode);
    apply_fit_mode(fitmode, ref_line, lsf_coefs);
    scan_int(file, verbose);
    scan_int(file, show_line);
    scan_int(file, error_calc);
    read_data_format(file, sage_idl, sageidl);
    scan_int(file, par_ranges);
    // The @ lines that follow are left to the word loop of the caller: deliberate.
    n_fit_strat_steps = 0;
    char next = 0;
    if (scan_character(file, next)) step_back(file, next);
    sum_interval_ranges(n_fit_strat_steps, n_intervals, hxmin, hxmax, hrange);
}

void read_varokel_starting_values(std::FILE *file, const int &nLines, const int &n_patterns,
                                  const double &frscl, double *par) {
    for (int k = 0; k < nLines + n_patterns; ++k)
        read_starting_values(file, frscl, par + pars_per_entry * k);
}

bool read_varokel_prior_knowledge(std::FILE *file, const char *name, const int &nLines,
                                  const int &n_patterns, const int &par_ranges, const double &frscl,
                                  int *fit_lsf, parameter_record *fixpar, int &file_corrupt) {
    int n = 0;
    for (int k = 1; k <= nLines + n_patterns; ++k) {
        scan_int(file, n);
        if (!line_number_allowed(name, n, nLines + n_patterns, file_corrupt)) return false;
        scan_int(file, fit_lsf[n]);
        parameter_record *record = fixpar + pars_per_entry * (n - 1);
        scan_int(file, record[area_par].type);
        for (int j = 0; j < pars_per_entry; ++j) {
            record[j].type = record[area_par].type;
            read_link_and_value(file, par_ranges, record[j]);
        }
        divide_record(record[freq_par], frscl);
    }
    return true;
}

// Hands each word of the file to read_block until one is faulty, or the end. Returns whether none
// was.
template <class reader>
static bool read_blocks(std::FILE *file, const reader &read_block) {
    char word[max_word + 1] = "";
    scan_word(file, word, max_word); // the first word was tested by who chose this reader
    bool whole = true;
    while (whole && scan_word(file, word, max_word)) {
        whole = read_block(file, word);
        if (std::strcmp(word, "varokel_end_of_file") == 0) break;
    }
    return whole;
}

void read_varokel_strtval_file(const char *name, int &npar, int &ref_line, int &nLines, int &ap,
                               int &noise_strt, int &noise_stop, int &lsf_coefs, double &phi_1,
                               double &Hz_pp, double &T_acq, double &ftol, double *par,
                               int &fitmode, int &verbose, int &show_line, int &error_calc,
                               char *sage_idl, int &sageidl, int &par_ranges,
                               int &n_fit_strat_steps, const int *n_intervals, int *fit_lsf,
                               parameter_record *fixpar, const int (*hxmin)[max_intervals + 1],
                               const int (*hxmax)[max_intervals + 1], int *hrange,
                               int &file_corrupt, const double &frscl, int &ignore, int &n_patterns,
                               char (*pat_name)[pattern_name_size]) {
    const count_names &names = block_count_names();
    // Counts may change from block to block, storage does not.
    const auto stored = [&] {
        return counts_stored(name, names, nLines, 0, n_patterns, file_corrupt);
    };
    const auto coefs_stored = [&] {
        return counts_stored(name, names, nLines, lsf_coefs, n_patterns, file_corrupt);
    };
    const auto read_block = [&](std::FILE *file, const char *word) {
        if (std::strcmp(word, "varokel_spectrum_information") == 0) {
            read_varokel_spectrum_information(file, ap, noise_strt, noise_stop, nLines, lsf_coefs,
                                              phi_1, Hz_pp, T_acq, ftol, ignore, n_patterns);
            return counts_allowed(name, names, ap, nLines, n_patterns, file_corrupt) &&
                   noise_stop_allowed(name, names, noise_stop, file_corrupt);
        }
        if (std::strcmp(word, "varokel_pattern_references") == 0)
            return stored() &&
                   read_varokel_pattern_references(file, name, n_patterns, pat_name, file_corrupt);
        if (std::strcmp(word, "varokel_fit_control") == 0)
            read_varokel_fit_control(file, fitmode, ref_line, lsf_coefs, verbose, show_line,
                                     error_calc, sage_idl, sageidl, par_ranges, n_fit_strat_steps,
                                     n_intervals, hxmin, hxmax, hrange);
        if (std::strcmp(word, "varokel_starting_values") == 0) {
            if (!stored()) return false;
            read_varokel_starting_values(file, nLines, n_patterns, frscl, par);
        }
        if (std::strcmp(word, "varokel_prior_knowledge") == 0)
            return stored() &&
                   read_varokel_prior_knowledge(file, name, nLines, n_patterns, par_ranges, frscl,
                                                fit_lsf, fixpar, file_corrupt);
        if (std::strcmp(word, "varokel_line_shape_function") == 0 && lsf_coefs > 0) {
            if (!coefs_stored()) return false;
            read_lsf_coefficients(file, lsf_coefs, nLines + n_patterns, par);
        }
        return true;
    };

    std::FILE *file = std::fopen(name, "r+t");
    if (file == nullptr) {
        std::printf("==> .shf file could not be opened\n"); // wording kept
    } else {
        const bool whole = read_blocks(file, read_block);
        if (!whole) n_patterns = 0; // their names may not have been read
        if (whole) coefs_stored() && lsf_coefs_allowed(name, names, lsf_coefs, ap, file_corrupt);
        std::fclose(file);
    }
    if (counts_stored(nLines, lsf_coefs, n_patterns))
        internal_freq_units(nLines, n_patterns, npar, par, fixpar, T_acq, Hz_pp);
}
