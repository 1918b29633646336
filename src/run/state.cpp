// SPDX-License-Identifier: BSD-3-Clause
// state.cpp -- the variables of state.h, in the order of its groups; static storage is zero
#include "run/state.h"

char path[512], fnm[512], strtvalfnm[512], strtvalfnm_read[512], command[2048], sdffnm[512],
    shffnm[512];
char sage_idl[64], host[32], user[32], domain[64];

int verbose, show_line, sageidl;
double T_acq, Hz_pp, frscl, phi_1, ftol, deriv_p;
int itmax, brent_itmax, td_ap_trunc, complex, weighting_type, convolute, error_calc, ref_line;
int single_line, spec, pattern_enable, file_corrupt, fitmode, par_ranges, ignore;
int noise_strt, noise_stop;
int amp_fit, freq_fit, width_fit, phase_fit, voigt_fit, lsf_fit_enable;

int nLines, n_patterns, npar, lsf_coefs;
double *par, *par_copy, *par_bu, *wpar, *errpar, *pcom, *xicom;
int ncom;
parameter_record *fixpar;
int fit_lsf[max_entries + 1];
double lsf_area[max_entries + 1];
char (*pat_name)[pattern_name_size];
double *pat, *pattern_norm;
int entry_capacity, lsf_capacity, pattern_capacity;

int ap, ap_noise;
double *xre, *xim, *shifted_xre, *shifted_xim, *yre, *yim, *w_bre, *xas, *w_bim, *wre, *wim;
double *re_ref, *im_ref, *r_lsf, *i_lsf, *xre_copy, *xim_copy;
double lookup[256];
sage_header *idl;

int n_fit_strat_steps;
int min_method[max_steps + 2], var_ap_trunc[max_steps + 2],
    user_fit_strat[max_steps + 2][strategy_columns];
int n_intervals[max_steps + 2];
int hxmin[max_steps + 2][max_intervals + 1], hxmax[max_steps + 2][max_intervals + 1];
int hrange[max_steps + 2], h_cur_range;

double sigma, sigma_im, scalefactor, chi_before, minimum, chi_after, true_chi;
int dummy1, niter, nfitted;
