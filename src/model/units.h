// SPDX-License-Identifier: BSD-3-Clause
// units.h -- natural units (Hz, degrees) to internal units (spectral points) and back
#pragma once

#include "run/types.h"

// Divides value and range.
void divide_record(parameter_record &record, double divisor);

// Converts one entry in place.
//
// Given:
//   p        double[5]            area [signal], frequency, widths [Hz], phase [degrees]
//   record   parameter_record[5]  value, min, max likewise; each width goes by the type of its own
//            record: the keyword formats state one for each parameter
//   recip    1 / Hz_pp            points per Hz; widths are multiplied by it
//   Hz_pp                         Hz per point; the frequency is divided by it
// Notes:
//   1. width1: types 1 and 3 also divided by 1.67, type 2 only by Hz_pp, patterns unchanged.
//   2. width2 is converted for type 3 only; a Lorentzian's width2 is in points everywhere.
void entry_to_internal_units(double *p, parameter_record *record, double recip, double Hz_pp);

// All entries: par double[5N], fixpar parameter_record[5N]. Sets npar to 5 (nLines + n_patterns)
// and returns it.
int internal_freq_units(const int &nLines, const int &n_patterns, int &npar, double *par,
                        parameter_record *fixpar, const double &recip, const double &Hz_pp);

// The inverse, into separate arrays: a parameter vector, its records, and a second vector of the
// same layout (errors). Inputs are not changed; outputs have 5N elements.
void Natural_Frequency(const int &nLines, const int &n_patterns, const double *par,
                       const parameter_record *fixpar, const double *second, double *o_par,
                       parameter_record *o_fixpar, double *o_second, const double &recip,
                       const double &Hz_pp);
