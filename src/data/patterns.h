// SPDX-License-Identifier: BSD-3-Clause
// patterns.h -- whole metabolite spectra as entries of the model
#pragma once

#include "run/types.h"

// Reads the files pat_name[1 ... n_patterns] into the slots of pat as normalised time-domain
// signals (first point of magnitude 1) and their norms into pattern_norm.
//
// Given:
//   ap      complex points, at most max_pattern_points
//   nLines  not used
//   frscl, Hz_pp, phi_1  as in run/state_settings.h; ignore is 0 while curves are made
// Errors: a name without ".bin" or ".pat", and every fault of a text file, end the run with
//         status -1 after their message; a binary file that cannot be opened with status 1.
// Notes:
//   1. A name that holds ".bin" anywhere is read as binary, then one that holds ".pat" as text.
//   2. A binary file is a spectrum; it is conjugated on reading, so a line at its point p comes
//      to point n - p of the fitted spectrum.
//   3. A first point of 0 gives infinite values.
void fetch_patterns(const int &n_patterns, const int &ap, const int &nLines,
                    const char (*pat_name)[pattern_name_size], double *pat, double *pattern_norm,
                    const double &frscl, const double &Hz_pp, const double &phi_1, int &ignore,
                    const int &verbose);

// Sums the lines of text pattern file pat_name[p] into slot p of pat, and normalises it.
void interpret_pattern(const int &p, const char (*pat_name)[pattern_name_size], double *pat,
                       double *pattern_norm, const int &ap, const double &frscl,
                       const double &Hz_pp, const double &phi_1, int &ignore, const int &verbose);
