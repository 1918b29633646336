// SPDX-License-Identifier: BSD-3-Clause
// chi_square.h -- model spectrum of a parameter vector and its distance from the measured one
//
// Arguments that all share: ap complex points; N = nLines + n_patterns entries; xt trial vector
// (5 N + 2 lsf_coefs, dependent values are filled in); par_copy vector of the last evaluation
// (same length, xt is copied to it); fixpar prior knowledge (5 N records, internal units);
// yre, yim model spectrum (ap points, overwritten); re_ref, im_ref reference lineshape; r_lsf,
// i_lsf fitted lineshape (overwritten when lsf_coefs is not 0); td_ap_trunc time-domain points;
// ref_line, fit_lsf, lsf_coefs, ignore as in l_shapes.h; frscl; phi_1 [degrees]; lookup twiddles;
// pat pattern store; single_line 0 = full model, s > 0 = only entry s differs from par_copy.
//
// A dependent Gaussian width that starts narrower than the one it follows ends the run (status 1).
#pragma once

#include "run/types.h"

// Weighted chi-square of xt, docs/model.md equations 9 to 12. Builds the model when spec is 1.
// weighting_type 3 overwrites wre, wim by the model. Points with wre + wim = 0 do not count.
double fnc(const int &ap, const int &nLines, const int &td_ap_trunc, const int &npar, double *xt,
           double *par_copy, const parameter_record *fixpar, const double *xre, const double *xim,
           double *yre, double *yim, double *wre, double *wim, const double *re_ref,
           const double *im_ref, double *r_lsf, double *i_lsf, const double &frscl,
           const double &phi_1, const int &n_patterns, const double *pat, const int &spec,
           const int &complex, const int &weighting_type, const int &single_line,
           const int &lsf_coefs, const int &ref_line, const int *fit_lsf, const double *lookup,
           const int &ignore);

// Model spectrum of xt. The curves of all entries are summed in the time domain and share one
// transform.
void spec_fnc(const int &ap, const int &nLines, const int &npar, double *xt, double *par_copy,
              const parameter_record *fixpar, double *yre, double *yim, const double *re_ref,
              const double *im_ref, double *r_lsf, double *i_lsf, const int &td_ap_trunc,
              const int &ref_line, const int *fit_lsf, const double &frscl, const double &phi_1,
              const int &lsf_coefs, const int &single_line, const double *lookup, const int &ignore,
              const int &n_patterns, const double *pat);

// Takes the model of par_copy to that of xt where only entry single_line was changed: subtracts
// its old curve, adds the new one, and does the same for every entry that is tied to it.
void turbo_spec_fnc(const int &ap, const int &nLines, double *xt, double *par_copy,
                    const parameter_record *fixpar, double *yre, double *yim, const double *re_ref,
                    const double *im_ref, const int &td_ap_trunc, double *r_lsf, double *i_lsf,
                    const int &ref_line, const int *fit_lsf, const double &frscl,
                    const double &phi_1, const int &lsf_coefs, const int &single_line,
                    const double *lookup, const int &ignore, const int &n_patterns,
                    const double *pat);

// Fills all dependent parameters of xt, entries in increasing order.
void derive_dependent_parameters(const int &n_entries, double *xt, const parameter_record *fixpar);

// Centred spectrum of entry k (1-based) alone, by its five parameters p. An entry without a
// shape (unknown type, pattern type on a line) gives zeros.
void entry_spectrum(const int &k, const int &type, const double *p, const int &ap,
                    const int &nLines, const int &td_ap_trunc, const int &ref_line,
                    const int *fit_lsf, const int &lsf_coefs, const double &phi_1, double *out_re,
                    double *out_im, const double *re_ref, const double *im_ref, const double *r_lsf,
                    const double *i_lsf, const double &frscl, const double *lookup,
                    const int &ignore, const int &n_patterns, const double *pat);
