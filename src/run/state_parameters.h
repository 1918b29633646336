// SPDX-License-Identifier: BSD-3-Clause
// state_parameters.h -- what is fitted: the model entries and their prior knowledge
//
// Shape  N = nLines + n_patterns entries, numbered from 1, lines first. A parameter vector has
//        5 N doubles (area, frequency, width1, phase, width2 of each entry), then 2 lsf_coefs
//        lineshape coefficients (real, imaginary). Records: 5 N, same order.
// Units  internal: areas [signal], frequencies and widths [points], width1 of Gaussian and Voigt
//        lines divided by 1.67, phases [degrees].
// Owner  allocate_parameter_arrays and free_memory (run/storage.cpp); zero-filled.
// Valid  stage 3 to 7, else null.
#pragma once

#include "run/types.h"

extern int nLines;     // analytic lines
extern int n_patterns; // patterns, entries nLines + 1 on
extern int npar;       // 5 N
extern int lsf_coefs;  // complex lineshape coefficients

extern double *par;      // current vector, areas / scalefactor in stage 6
extern double *par_copy; // vector of the last model evaluation, dependent values filled in
extern double *par_bu;   // backup of the random search
extern double *wpar;     // scratch vector of the weight models
extern double *errpar;   // 2 sigma Cramer-Rao bound of each parameter, stage 7
extern double *pcom;     // start of the current line search
extern double *xicom;    // its direction
extern int ncom;         // their length in use

extern parameter_record *fixpar;         // prior knowledge
extern int fit_lsf[max_entries + 1];     // 1-based: 1 = the entry takes the fitted lineshape
extern double lsf_area[max_entries + 1]; // 1-based: area shown for such an entry   [signal]

extern char (*pat_name)[pattern_name_size]; // pattern files, 1-based
extern double *pat;          // pattern store: slot p at pattern_slot * p, real then imaginary
extern double *pattern_norm; // 1-based: factor by which the stored pattern was divided  [signal]

// Counts for which the arrays were made; a reader refuses what would not fit.
extern int entry_capacity, lsf_capacity, pattern_capacity;
