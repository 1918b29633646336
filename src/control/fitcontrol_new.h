// SPDX-License-Identifier: BSD-3-Clause
// fitcontrol_new.h -- the block format of the start value / fit control file
//
// A sequence of words in which eight block keywords open groups of values in a fixed order. All
// else is passed over word by word: comments, fit strategy lines, the trailer. So a file of this
// generation carries no fit strategy on reading, although it is written with one.
#pragma once

#include "run/types.h"

#include <cstdio>

// Reads a block-format file into the settings and converts the parameters to internal units.
//
// Given:
//   name       file
//   frscl      divides the frequencies that are read
//   par, fixpar, fit_lsf, pat_name   storage for the counts in the file
//   n_intervals, hxmin, hxmax        read by nothing but hrange of the steps, of which there are 0
// Returned:
//   all others; what the file leaves out keeps its value. n_fit_strat_steps is 0 once a fit control
//   block was read.
// Errors:
//   A file that cannot be opened is reported; units are converted all the same. What would overrun
//   a table (control/allowed_counts.h) sets file_corrupt to 1 and ends the reading.
// Notes:
//   1. Blocks come in any order and any number; a later one overwrites an earlier one. A fit mode
//      that sets lsf_coefs to 0 does so only if no spectrum block follows.
//   2. Reading ends at varokel_end_of_file or at the end of the file.
void read_varokel_strtval_file(const char *name, int &npar, int &ref_line, int &nLines, int &ap,
                               int &noise_strt, int &noise_stop, int &lsf_coefs, double &phi_1,
                               double &Hz_pp, double &T_acq, double &ftol, double *par,
                               int &fitmode, int &verbose, int &show_line, int &error_calc,
                               char *sage_idl, int &sageidl, int &par_ranges,
                               int &n_fit_strat_steps, const int *n_intervals, int *fit_lsf,
                               parameter_record *fixpar, const int (*hxmin)[max_intervals + 1],
                               const int (*hxmax)[max_intervals + 1], int *hrange,
                               int &file_corrupt, const double &frscl, int &ignore, int &n_patterns,
                               char (*pat_name)[pattern_name_size]);

// The blocks, each read from the word behind its keyword.
void read_varokel_spectrum_information(std::FILE *file, int &ap, int &noise_strt, int &noise_stop,
                                       int &nLines, int &lsf_coefs, double &phi_1, double &Hz_pp,
                                       double &T_acq, double &ftol, int &ignore, int &n_patterns);

// Names into slots 1 to n_patterns. Returns false, with file_corrupt set, at one that is too long.
bool read_varokel_pattern_references(std::FILE *file, const char *name, const int &n_patterns,
                                     char (*pat_name)[pattern_name_size], int &file_corrupt);

void read_varokel_fit_control(std::FILE *file, int &fitmode, int &ref_line, int &lsf_coefs,
                              int &verbose, int &show_line, int &error_calc, char *sage_idl,
                              int &sageidl, int &par_ranges, int &n_fit_strat_steps,
                              const int *n_intervals, const int (*hxmin)[max_intervals + 1],
                              const int (*hxmax)[max_intervals + 1], int *hrange);

// The place in the block decides the entry; the number that is read first does not.
void read_varokel_starting_values(std::FILE *file, const int &nLines, const int &n_patterns,
                                  const double &frscl, double *par);

// The number that is read first decides the entry, whose record is filled; a number outside 1 to
// nLines + n_patterns sets file_corrupt and returns false. Ranges are read unless par_ranges is 2,
// and those of the frequency are divided by frscl even then.
bool read_varokel_prior_knowledge(std::FILE *file, const char *name, const int &nLines,
                                  const int &n_patterns, const int &par_ranges, const double &frscl,
                                  int *fit_lsf, parameter_record *fixpar, int &file_corrupt);

// Turns start.par into start_verbose.par: the last four characters are cut (if there are more) and
// the ending is appended, within the 512 characters of a start file's name.
void name_verbose_file(char *name);

// Writes a block-format file with explanations (fitcontrol_new_writer.cpp).
//
// Given:
//   strtvalfnm   char[512]  name of the start file; becomes that of the verbose one
//   par, errors, fixpar     internal units; the file has natural ones, and the fitted values as
//                           prior knowledge
// Returned: status of the close; EOF when there is no file.
// Errors:   storage that cannot be had is reported and nothing is written; a file that cannot be
//           created is left out without a word.
// Notes:
//   1. Links, values and ranges are always written, so that a file with par_ranges 2 is not read
//      back in step.
//   2. Half the default range of an area is 0.1 of it; the explanations say 0.5. The keyword
//      formats write 0.5.
int write_varokel_strtval_file(
    char *strtvalfnm, const int &nLines, const int &ap, const int &noise_strt,
    const int &noise_stop, const int &lsf_coefs, const double &phi_1, const double &Hz_pp,
    const double &T_acq, const double &ftol, const double *par, const double *errors,
    const int &fitmode, const int *var_ap_trunc, const int &verbose, const int &show_line,
    const int &error_calc, const char *sage_idl, const int &par_ranges,
    const int &n_fit_strat_steps, const int *min_method,
    const int (*user_fit_strat)[strategy_columns], const int *n_intervals, const int *fit_lsf,
    const parameter_record *fixpar, const int (*hxmin)[max_intervals + 1],
    const int (*hxmax)[max_intervals + 1], const double &frscl, const int &ignore,
    const int &n_patterns, const char (*pat_name)[pattern_name_size]);
