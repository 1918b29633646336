// SPDX-License-Identifier: BSD-3-Clause
// report_file.h -- what the report writers share
#pragma once

#include "run/types.h"

#include <cstdio>

// False, after a message, when a file that is to be written is one of those that the run reads
// (signal, reference line, start file, pattern, header), under whatever name.
bool may_be_written(const char *name);
// The same for a new start file, which may take the place of the one that the run was started from.
bool may_be_replaced(const char *name);

// Opens a report for writing. Null when it may not be written (a message says so) or cannot be
// opened (none).
std::FILE *open_report(const char *name);

// Closes a report; one that could not be written whole (full disk, quota) is named.
void close_report(std::FILE *file, const char *name);

// The natural-unit copies that a report reads: areas [signal], frequencies [Hz / frscl], widths
// [Hz; width2 of a Lorentzian in points], phases [degrees].
struct natural_parameters {
    double *par, *errpar;     // 5 N
    parameter_record *fixpar; // 5 N
    bool complete() const { return par != nullptr && errpar != nullptr && fixpar != nullptr; }
};

// Natural-unit copies of par, errpar and fixpar as they stand.
void fill_natural(const natural_parameters &copies);

// True when the area of entry k (1-based) is shown from the lineshape function fit.
bool shows_lsf_area(int k);

// Time of the acquisition delay of phi_1 [s].
double dead_time();
// Area of entry k (1-based) taken back over the dead time: area exp(q5 t) exp(q4^2 t^2), q4 and
// q5 the fourth and fifth value of the entry in par.
double dead_time_corrected_area(int k, double area);
