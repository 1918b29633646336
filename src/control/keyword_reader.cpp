// SPDX-License-Identifier: BSD-3-Clause
// keyword_reader.cpp -- what the version 3 and the old format have in common on reading
#include "control/keyword_reader.h"

#include "control/control_file.h"
#include "control/allowed_counts.h"
#include "data/scan.h"
#include "model/units.h"
#include "run/end_run.h"
#include "run/print_lines.h"

#include <cstring>

void skip_keyword(std::FILE *file) {
    char keyword[7] = "";
    scan_word(file, keyword, 6);
}

bool scan_keyword_int(std::FILE *file, int &target) {
    skip_keyword(file);
    return scan_int(file, target);
}

bool scan_keyword_real(std::FILE *file, double &target) {
    skip_keyword(file);
    return scan_real(file, target);
}

namespace {
// A word of at most the given width, kept for the message in which it is found wanting.
struct marker {
    char text[max_word + 1] = "";
    marker(std::FILE *file, int width) { scan_word(file, text, width); }
    bool is(const char *expected) const { return std::strcmp(text, expected) == 0; }
};
} // namespace

static void skip_word(std::FILE *file, int width) {
    const marker skipped(file, width);
}

static void print_reading_terminated() {
    std::printf("fatal error reading starting value / fit strategy file \n");
    std::printf("reading terminated before eof was reached \n");
}

static void read_settings(std::FILE *file, const keyword_format &format, const keyword_target &to) {
    if (format.is_version_3) skip_word(file, max_word);
    scan_keyword_int(file, to.ap);
    scan_keyword_int(file, to.noise_strt);
    scan_keyword_int(file, to.noise_stop);
    scan_keyword_int(file, to.nLines);
    scan_keyword_int(file, to.lsf_coefs);
    scan_keyword_real(file, to.phi_1);
    scan_keyword_real(file, to.Hz_pp);
    if (format.is_version_3) scan_keyword_real(file, to.ftol);
    scan_keyword_int(file, to.fitmode);
    apply_fit_mode(to.fitmode, to.ref_line, to.lsf_coefs);
    to.T_acq = 1.0 / to.Hz_pp;
    scan_keyword_int(file, to.verbose);
    scan_keyword_int(file, to.show_line);
    scan_keyword_int(file, to.error_calc);
    skip_keyword(file);
    read_data_format(file, to.sage_idl, to.sageidl);
    scan_keyword_int(file, to.par_ranges);
    scan_keyword_int(file, to.ignore);
    if (format.is_version_3) scan_keyword_int(file, to.n_patterns);
}

// What the keywords say is judged once the word behind them is found: in a file that is out of step
// it is nobody's count.
static bool settings_allowed(const char *name, const keyword_target &to) {
    const count_names &names = keyword_count_names();
    return counts_allowed(name, names, to.ap, to.nLines, to.n_patterns, to.file_corrupt) &&
           noise_stop_allowed(name, names, to.noise_stop, to.file_corrupt) &&
           lsf_coefs_allowed(name, names, to.lsf_coefs, to.ap, to.file_corrupt) &&
           counts_stored(name, names, to.nLines, to.lsf_coefs, to.n_patterns, to.file_corrupt);
}

static bool read_pattern_names(std::FILE *file, const char *name, const keyword_target &to) {
    if (!pattern_names_stored(name, keyword_count_names(), to.n_patterns, to.file_corrupt))
        return false;
    if (to.n_patterns > 0 && to.verbose > 0)
        std::printf("fit uses following pattern references :\n");
    for (int k = 1; k <= to.n_patterns; ++k) {
        if (!read_pattern_name(file, name, k, to.pat_name, to.file_corrupt)) {
            to.n_patterns = k - 1; // those that have a name
            return false;
        }
        if (to.verbose > 0) std::printf("%s\n", to.pat_name[k]);
    }
    return true;
}

static bool read_strategy_header(std::FILE *file, const keyword_format &format,
                                 const keyword_target &to) {
    if (!marker(file, 5).is("algor")) {
        print_reading_terminated();
        print_lines(format.order_lines);
        to.file_corrupt = 1;
        return false;
    }
    for (int i = 0; i < 14; ++i) skip_word(file, 5);
    return true;
}

static bool read_step(std::FILE *file, const char *name, const keyword_target &to) {
    if (!step_allowed(name, to.n_fit_strat_steps + 1, to.file_corrupt)) return false;
    const int k = ++to.n_fit_strat_steps;
    scan_int(file, to.min_method[k]);
    scan_int(file, to.var_ap_trunc[k]);
    for (int &value : to.user_fit_strat[k]) scan_int(file, value);
    int intervals = 0;
    scan_int(file, intervals);
    if (!intervals_allowed(name, k, intervals, to.file_corrupt)) return false;
    to.n_intervals[k] = intervals;
    for (int i = 1; i <= intervals; ++i) {
        scan_int(file, to.hxmin[k][i]);
        scan_int(file, to.hxmax[k][i]);
    }
    return true;
}

static bool read_strategy(std::FILE *file, const char *name, const keyword_target &to) {
    to.n_fit_strat_steps = 0;
    char next = 0;
    while (scan_character(file, next)) {
        if (next != '@') {
            step_back(file, next);
            break;
        }
        if (!read_step(file, name, to)) return false;
    }
    return true;
}

static bool read_start_section(std::FILE *file, const keyword_format &format,
                               const keyword_target &to) {
    if (!marker(file, 6).is("number")) {
        print_reading_terminated();
        std::printf("file format error in fit strategy definition \n");
        std::printf("example of one legal fit strategy step is : \n\n");
        // the last character is a letter: wording kept
        std::printf("@  1 1024  1  1  1  1  1  0  1  0  550  2   1  470 55O\n\n");
        to.file_corrupt = 1;
        return false;
    }
    for (int width : format.start_header_widths) skip_word(file, width);
    for (int k = 0; k < to.entries(); ++k)
        read_starting_values(file, to.frscl, to.par + pars_per_entry * k);
    sum_interval_ranges(to.n_fit_strat_steps, to.n_intervals, to.hxmin, to.hxmax, to.hrange);
    return true;
}

// The marker "#i" and the word "lsffit". Of the first entry "#1" is gone, so that three and six
// characters take its "lsffit"; from entry 100 on the marker has four characters, which leaves the
// reader out of step: 99 entries are the limit of these formats.
static void skip_entry_head(std::FILE *file, int entry) {
    skip_word(file, entry == 1 || entry > 9 ? 3 : 2);
    skip_word(file, 6);
}

static bool read_prior_knowledge(std::FILE *file, const keyword_format &format,
                                 const keyword_target &to) {
    const marker first(file, 2);
    if (!first.is("#1")) {
        print_reading_terminated();
        std::printf("error in reading analytic lineshape parameters \n");
        std::printf("expected string to read : %s\n", "#1");
        std::printf("string found in file    : %s\n\n", first.text);
        std::printf("example of legal definition analytic lineshape parameters : \n");
        print_lines(format.example_lines);
        to.file_corrupt = 1;
        return false;
    }
    for (int entry = 1; entry <= to.entries(); ++entry) {
        skip_entry_head(file, entry);
        scan_int(file, to.fit_lsf[entry]);
        parameter_record *record = to.fixpar + pars_per_entry * (entry - 1);
        for (int j = 0; j < pars_per_entry; ++j) {
            scan_int(file, record[j].type);
            read_link_and_value(file, to.par_ranges, record[j]);
        }
        divide_record(record[freq_par], to.frscl); // the range even when it was not read
    }
    return true;
}

static void print_expected_word(const char *expected, const marker &found) {
    std::printf("expected string to read : %s  \n", expected);
    std::printf("string found in file    : %s\n\n", found.text);
}

static void read_lsf(std::FILE *file, const keyword_format &format, const keyword_target &to) {
    const marker head(file, 9);
    if (!head.is("lsf_coefs")) {
        print_reading_terminated();
        std::printf("error reading prior knowledge information \n");
        print_expected_word("lsf_coefs", head);
        to.file_corrupt = 1;
        return;
    }
    read_lsf_coefficients(file, to.lsf_coefs, to.entries(), to.par);
    const marker end(file, 10);
    if (!end.is("end_of_lsf")) {
        print_reading_terminated();
        std::printf("error reading lsf fourier coefficients \n");
        if (format.names_end_of_lsf) print_expected_word("end_of_lsf", end);
        to.file_corrupt = 1;
    }
}

static void let_starting_values_win(const keyword_format &format, const keyword_target &to) {
    for (int i = 0; i < pars_per_entry * to.entries(); ++i) {
        parameter_record &record = to.fixpar[i];
        const bool equal = to.par[i] == record.value; // not a number counts as different
        if (!equal && to.verbose >= format.correction_level) {
            std::printf("warning read initial value file inconsistency in ");
            std::printf("%s", type_word(record.type, format.type_words));
            std::printf("%d parameter %d : error corrected automatically\n", i / pars_per_entry + 1,
                        i);
        }
        record.value = to.par[i];
    }
}

void read_keyword_file(const char *name, const keyword_format &format, const keyword_target &to) {
    std::FILE *file = std::fopen(name, "r+t");
    if (file == nullptr) {
        std::printf(" I/O-error : starting value file could not be opened \n ");
        end_run(-1);
    }
    read_settings(file, format, to);
    const bool in_step = read_pattern_names(file, name, to) &&
                         read_strategy_header(file, format, to) && settings_allowed(name, to) &&
                         read_strategy(file, name, to) && read_start_section(file, format, to) &&
                         read_prior_knowledge(file, format, to);
    if (in_step) read_lsf(file, format, to);
    std::fclose(file);
    // counts that were refused say nothing about the storage that there is
    if (!counts_stored(to.nLines, to.lsf_coefs, to.n_patterns)) return;
    if (to.file_corrupt != 1) let_starting_values_win(format, to);
    internal_freq_units(to.nLines, to.n_patterns, to.npar, to.par, to.fixpar, to.T_acq, to.Hz_pp);
}
