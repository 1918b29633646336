// SPDX-License-Identifier: BSD-3-Clause
// control_file.h -- what the generations of the start value / fit control file share
#pragma once

#include "run/storage.h"
#include "run/types.h"

#include <cstdio>
#include <string>

// --- reading ---

// Fit modes 1 and 2 use no fitted lineshape, mode 2 a measured one.
void apply_fit_mode(const int &fitmode, int &ref_line, int &lsf_coefs);

// Reads the data format word. The current text of sage_idl sets sageidl to 1, so a word that an
// earlier one has made current does so, too; else "sage" sets 2, "none" 3, another word nothing.
void read_data_format(std::FILE *file, char *sage_idl, int &sageidl);

// Reads lsf_coefs pairs (real, imaginary; none when below 1) behind the parameters of the entries.
void read_lsf_coefficients(std::FILE *file, const int &lsf_coefs, const int &entries, double *par);

// Reads a pattern file name into its slot; false, with file_corrupt set, when it is too long.
bool read_pattern_name(std::FILE *file, const char *name, const int &slot,
                       char (*pat_name)[pattern_name_size], int &file_corrupt);

// Reads the number of an entry, which is passed over, and its five starting values [natural units];
// the frequency is divided by frscl.
void read_starting_values(std::FILE *file, const double &frscl, double *entry);

// Reads link and value of a record and, unless par_ranges is 2, its range.
void read_link_and_value(std::FILE *file, const int &par_ranges, parameter_record &record);

// hrange of each step: sum of hxmax - hxmin over its intervals, held within an int.
void sum_interval_ranges(const int &n_fit_strat_steps, const int *n_intervals,
                         const int (*hxmin)[max_intervals + 1],
                         const int (*hxmax)[max_intervals + 1], int *hrange);

// --- writing ---

// The settings that a writer takes, by the names of its arguments. Parameters and records are in
// internal units.
struct control_values {
    const int &nLines, &ap, &noise_strt, &noise_stop, &lsf_coefs;
    const double &phi_1, &Hz_pp, &T_acq, &ftol;
    const double *par, *errors;
    const int &fitmode;
    const int *var_ap_trunc;
    const int &verbose, &show_line, &error_calc;
    const char *sage_idl;
    const int &par_ranges, &n_fit_strat_steps;
    const int *min_method;
    const int (*user_fit_strat)[strategy_columns];
    const int *n_intervals, *fit_lsf;
    const parameter_record *fixpar;
    const int (*hxmin)[max_intervals + 1];
    const int (*hxmax)[max_intervals + 1];
    const double &frscl;
    const int &ignore, &n_patterns;
    const char (*pat_name)[pattern_name_size];

    int entries() const { return nLines + n_patterns; }
};

// The values of the arguments of these names: by name, so that no two can be swapped.
#define CONTROL_VALUES_HERE                                                                        \
    {                                                                                              \
        .nLines = nLines, .ap = ap, .noise_strt = noise_strt, .noise_stop = noise_stop,            \
        .lsf_coefs = lsf_coefs, .phi_1 = phi_1, .Hz_pp = Hz_pp, .T_acq = T_acq, .ftol = ftol,      \
        .par = par, .errors = errors, .fitmode = fitmode, .var_ap_trunc = var_ap_trunc,            \
        .verbose = verbose, .show_line = show_line, .error_calc = error_calc,                      \
        .sage_idl = sage_idl, .par_ranges = par_ranges, .n_fit_strat_steps = n_fit_strat_steps,    \
        .min_method = min_method, .user_fit_strat = user_fit_strat, .n_intervals = n_intervals,    \
        .fit_lsf = fit_lsf, .fixpar = fixpar, .hxmin = hxmin, .hxmax = hxmax, .frscl = frscl,      \
        .ignore = ignore, .n_patterns = n_patterns, .pat_name = pat_name                           \
    }

// Natural-unit copies of parameters and records, so that writing changes nothing in memory. The
// value fields of the records hold the parameters themselves: what is written is what was fitted.
class natural_copy {
  public:
    // texts: what is printed when the records, the parameters, the errors cannot be stored.
    natural_copy(const control_values &values, const char *const (&texts)[3]);
    bool complete() const { return fixpar != nullptr && par != nullptr && errors_ != nullptr; }

    const scratch<parameter_record> fixpar; // 5 N
    const scratch<double> par;              // 5 N, room for the coefficients

  private:
    const scratch<double> errors_;
};

// A parameter as it stands in a file: value and search range. Frequencies are multiplied by frscl,
// width1 loses its sign.
//
// Given:
//   record      natural units
//   par_ranges  1 writes the range of the record (width1 without signs, unless the width is 0),
//               any other value a default range around the value (of width1 with its sign)
//   area_share  half the default range of an area, as a share of it
struct written_parameter {
    double value, min, max;
};
written_parameter in_file_form(parameter_kind kind, const parameter_record &record, int par_ranges,
                               double frscl, double area_share);

// The local time; "%y" behind a literal century: time stamps say 20yy.
std::string time_stamp();
void write_creation_time(std::FILE *file);
