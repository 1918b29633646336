// SPDX-License-Identifier: BSD-3-Clause
// allowed_counts.h -- the one list of what a control file must not ask for, since a table would
// overrun
//
//   item                               allowed
//   complex points                     up to 2^24 (indices are exact in single precision); with
//                                      patterns up to 4096, the length of a stored pattern
//   end of the noise window            up to 2^30 - 1: two floats a point, counted in an int
//   lines and patterns together        up to 65536
//   patterns                           0 to 4096
//   lineshape coefficients             up to 4096, and up to the number of points; those in use,
//                                      after the fit mode had its say
//   lines below 0                      only when no entry is left, since the places of patterns in
//                                      the tables are counted from the lines
//   counts when values are stored      up to those for which allocate_parameter_arrays made room
//   fit strategy steps                 up to 19
//   intervals of a step                0 to 9
//   line number in prior knowledge     1 to lines + patterns (block format)
//   pattern file name                  up to 199 characters
//
// Numbers of lines, lineshape coefficients or points below 0 overrun nothing: they get no storage
// and are left to the checks of the start values, unless arithmetic on them would overflow; so are
// lines above 49.
//
// A format with keywords may be out of step: its counts are held against the list when the word
// behind them was found. Until then storage is made for what of them is allowed.
//
// Every function returns whether its item is allowed. If not, it sets file_corrupt to 1 after one
// message with file, item, value and range, which is left out when the file is faulty already;
// the caller then stops reading.
#pragma once

// What the items are called in a generation of control files.
struct count_names {
    const char *points, *noise_stop, *lines, *lsf_coefs, *patterns, *entries;
};

// Names for the two generations with keywords, and for the block format, which has values by place.
const count_names &keyword_count_names();
const count_names &block_count_names();

bool counts_allowed(const char *name, const count_names &names, const int &points, const int &lines,
                    const int &patterns, int &file_corrupt);
bool noise_stop_allowed(const char *name, const count_names &names, const int &stop,
                        int &file_corrupt);
// Coefficients in use.
bool lsf_coefs_allowed(const char *name, const count_names &names, const int &n_lsf,
                       const int &points, int &file_corrupt);

// Counts against the storage that there is. The second form is quiet.
bool counts_stored(const char *name, const count_names &names, const int &lines, const int &n_lsf,
                   const int &patterns, int &file_corrupt);
bool counts_stored(const int &lines, const int &n_lsf, const int &patterns);
// Slots for the names of the pattern files, which stand before the word that shows whether a file
// is in step.
bool pattern_names_stored(const char *name, const count_names &names, const int &patterns,
                          int &file_corrupt);

bool step_allowed(const char *name, const int &step, int &file_corrupt);
bool intervals_allowed(const char *name, const int &step, const int &intervals, int &file_corrupt);
bool line_number_allowed(const char *name, const int &number, const int &entries,
                         int &file_corrupt);
bool pattern_name_allowed(const char *name, const int &slot, const char *pattern,
                          int &file_corrupt);
