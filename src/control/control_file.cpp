// SPDX-License-Identifier: BSD-3-Clause
// control_file.cpp -- what the generations of the start value / fit control file share
#include "control/control_file.h"

#include "control/allowed_counts.h"
#include "data/scan.h"
#include "model/units.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>
#include <ctime>

void apply_fit_mode(const int &fitmode, int &ref_line, int &lsf_coefs) {
    if (fitmode == 2) ref_line = 1;
    if (fitmode == 1 || fitmode == 2) lsf_coefs = 0;
}

void read_data_format(std::FILE *file, char *sage_idl, int &sageidl) {
    char word[max_word + 1] = "";
    if (!scan_word(file, word, max_word)) return;
    if (std::strcmp(word, sage_idl) == 0) {
        sageidl = 1;
    } else if (std::strcmp(word, "sage") == 0) {
        sageidl = 2;
        std::memcpy(sage_idl, "sage", sizeof "sage");
    } else if (std::strcmp(word, "none") == 0) {
        sageidl = 3;
        std::memcpy(sage_idl, "none", sizeof "none");
    }
}

void read_lsf_coefficients(std::FILE *file, const int &lsf_coefs, const int &entries, double *par) {
    double passed_over = 0.0; // fewer entries than none have no place for them
    for (int i = 0; i < 2 * lsf_coefs; ++i)
        scan_real(file, entries < 0 ? passed_over : par[pars_per_entry * entries + i]);
}

bool read_pattern_name(std::FILE *file, const char *name, const int &slot,
                       char (*pat_name)[pattern_name_size], int &file_corrupt) {
    char word[max_word + 1] = "";
    if (!scan_word(file, word, max_word)) return true;
    if (!pattern_name_allowed(name, slot, word, file_corrupt)) return false;
    std::snprintf(pat_name[slot], pattern_name_size, "%.*s", pattern_name_size - 1, word);
    return true;
}

void read_starting_values(std::FILE *file, const double &frscl, double *entry) {
    int number = 0;
    scan_int(file, number);
    scan_real(file, entry[area_par]);
    if (scan_real(file, entry[freq_par])) entry[freq_par] /= frscl;
    scan_real(file, entry[width1_par]);
    scan_real(file, entry[phase_par]);
    scan_real(file, entry[width2_par]);
}

void read_link_and_value(std::FILE *file, const int &par_ranges, parameter_record &record) {
    scan_int(file, record.fixed_to);
    scan_real(file, record.value);
    if (par_ranges == 2) return;
    scan_real(file, record.min);
    scan_real(file, record.max);
}

void sum_interval_ranges(const int &n_fit_strat_steps, const int *n_intervals,
                         const int (*hxmin)[max_intervals + 1],
                         const int (*hxmax)[max_intervals + 1], int *hrange) {
    for (int k = 1; k <= n_fit_strat_steps; ++k) {
        long long sum = 0;
        for (int i = 1; i <= n_intervals[k]; ++i)
            sum += static_cast<long long>(hxmax[k][i]) - hxmin[k][i];
        hrange[k] = static_cast<int>(std::clamp<long long>(sum, INT_MIN, INT_MAX));
    }
}

static long long parameter_count(const control_values &values) {
    return pars_per_entry * static_cast<long long>(values.entries());
}

static long long vector_length(const control_values &values) {
    return parameter_count(values) + 2LL * std::max(values.lsf_coefs, 0);
}

natural_copy::natural_copy(const control_values &values, const char *const (&texts)[3])
    : fixpar(parameter_count(values), texts[0]), par(vector_length(values), texts[1]),
      errors_(vector_length(values), texts[2]) {
    if (!complete()) return;
    Natural_Frequency(values.nLines, values.n_patterns, values.par, values.fixpar, values.errors,
                      par, fixpar, errors_, values.T_acq, values.Hz_pp);
    for (long long i = 0; i < parameter_count(values); ++i) fixpar[i].value = par[i];
}

static written_parameter around(double value, double half_range) {
    // A value of 0 gets a range as well.
    constexpr double margin = 1e-8;
    return {value, value - half_range - margin, value + half_range + margin};
}

static written_parameter default_range(parameter_kind kind, double value, double frscl,
                                       double area_share) {
    const double size = std::fabs(value);
    switch (kind) {
    case area_par:
        return around(value, area_share * size);
    case freq_par:
        return around(value * frscl, 0.01 * frscl * size);
    case phase_par:
        return {value, value - 20.0, value + 20.0};
    default:
        return around(value, 0.1 * size);
    }
}

written_parameter in_file_form(parameter_kind kind, const parameter_record &record, int par_ranges,
                               double frscl, double area_share) {
    written_parameter written = {record.value, record.min, record.max};
    if (par_ranges != 1) {
        written = default_range(kind, record.value, frscl, area_share);
    } else if (kind == freq_par) {
        written = {record.value * frscl, record.min * frscl, record.max * frscl};
    } else if (kind == width1_par && record.value != 0.0) {
        written.min = std::fabs(record.min);
        written.max = std::fabs(record.max);
    }
    if (kind == width1_par) written.value = std::fabs(record.value);
    return written;
}

std::string time_stamp() {
    char text[80] = "";
    const std::time_t now = std::time(nullptr);
    const std::tm *local = std::localtime(&now);
    if (local != nullptr) std::strftime(text, sizeof text, "%H:%M:%S %Z %A %B %d 20%y", local);
    return text;
}

void write_creation_time(std::FILE *file) {
    std::fprintf(file, "File created at :  %s \n", time_stamp().c_str());
}
