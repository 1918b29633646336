// SPDX-License-Identifier: BSD-3-Clause
// state_signals.h -- on what: the sampled signals
//
// Shape  real and imaginary part in two arrays of double; index 0 is the first point.
//        Room for max(ap, noise_stop) points, of which the first ap are fitted.
// Owner  allocate_memory and free_memory (run/storage.cpp); zero-filled when allocated.
// Valid  stages 4 to 7, else null.
#pragma once

#include "run/types.h"

extern int ap;       // complex points, a power of two                     [1]   stage 3 on
extern int ap_noise; // noise_stop - noise_strt                            [1]   stage 5 on

extern double *xre, *xim;                 // measured spectrum, carrier at ap/2   [signal]
                                          //   divided by scalefactor in stage 6
extern double *shifted_xre, *shifted_xim; // measured; in stage 7 shifted and phased   [signal]
extern double *yre, *yim;                 // model of the last evaluation, scaled as xre
extern double *w_bre, *xas, *w_bim;       // reserved, no computation uses them
extern double *wre, *wim;           // chi-square weights           [1]   stage 5, then per step
extern double *re_ref, *im_ref;     // reference lineshape, an FID  [1]
extern double *r_lsf, *i_lsf;       // fitted lineshape function, an FID, 1 at time 0   [1]
extern double *xre_copy, *xim_copy; // scaled, untruncated signal kept over the steps

extern double lookup[256]; // FFT twiddles: a pair (sin(theta/2), sin(theta)) per stage

extern sage_header *idl; // header of the signal file, one record
