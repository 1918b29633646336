// SPDX-License-Identifier: BSD-3-Clause
// state_settings.h -- how: the settings of a run and of its current fit strategy step
//
// Owner  cf_non_int_main gives each its default; the control file readers overwrite them.
// Valid  stage 2 on.
#pragma once

extern int verbose;        // report level, 0 to 3
extern int show_line;      // entry (1-based) that is followed in reports and for the shift
extern int sageidl;        // signal file kind: 1 .shf + .sdf, 2 GE .ddd, else plain binary
extern double T_acq;       // acquisition time 1 / Hz_pp                         [s]
extern double Hz_pp;       // spectral width per point                           [Hz]
extern double frscl;       // internal frequency to reported frequency           [1]
extern double phi_1;       // first-order phase of the acquisition delay         [degrees]
extern double ftol;        // fractional tolerance on the chi-square             [1]
extern double deriv_p;     // inverse relative step of the gradient              [1]
extern int itmax;          // iterations of a minimizer in this step
extern int brent_itmax;    // iterations of a line search
extern int td_ap_trunc;    // time-domain points used in this step
extern int complex;        // 0 absorption, 1 dispersion, 2 both, 3 magnitude, 4 power
extern int weighting_type; // how the chi-square uses wre and wim, 1 to 7
extern int convolute;      // 1 frequency pre-alignment before the step
extern int error_calc;     // 1 Cramer-Rao bounds after the fit
extern int ref_line;       // 1 a measured lineshape multiplies every curve
extern int single_line;    // 0 full model; s > 0 only entry s differs from par_copy
extern int spec;           // 1 there is a model to build
extern int pattern_enable; // 1 the control file generation knows patterns
extern int file_corrupt;   // 1 the control file is faulty: no fit
extern int fitmode;        // 1 plain, 2 reference lineshape, 3 fitted lineshape
extern int par_ranges;     // 0 to 3, use of the search ranges
extern int ignore;         // leading time-domain points set to zero in signal and model
extern int noise_strt;     // noise window: first point
extern int noise_stop;     // one behind its last point

// Switches of the current fit strategy step: 1 = this parameter group is free.
extern int amp_fit, freq_fit, width_fit, phase_fit, voigt_fit;
extern int lsf_fit_enable; // 1 = the lineshape coefficients are fitted
