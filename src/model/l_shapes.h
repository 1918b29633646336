// SPDX-License-Identifier: BSD-3-Clause
// l_shapes.h -- curves of one model entry, each by itself, and the fitted lineshape
//
// A fit sums its curves in model_sum.h; both take the equation from kernel/line_equation.h.
//
// Common arguments: entry (index into fit_lsf), ap complex points, td_ap_trunc points that are
// not zero, ref_line 1 = multiply by re_ref/im_ref, fit_lsf flags, lsf_coefs; area A [signal],
// frequency f [points], Gaussian width g [points/1.67], zero-order phase phi0 [degrees],
// Lorentzian width L [points]; phi_1 first-order phase of the delay [degrees]; out_re, out_im
// double[ap], overwritten, must not overlap an input; frscl; lookup twiddle table; ignore leading
// time-domain points set to zero.
#pragma once

// Time-domain curve, equation 1 of docs/model.md. The first point is not halved.
void Calculate_td_VoigtCurve(const int &entry, const int &ap, const int &td_ap_trunc,
                             const int &ref_line, const int *fit_lsf, const int &lsf_coefs,
                             const double &A, const double &f, const double &g, const double &phi0,
                             const double &L, const double &phi_1, double *out_re, double *out_im,
                             const double *re_ref, const double *im_ref, const double *r_lsf,
                             const double *i_lsf, const double &frscl, const double *lookup,
                             const int &ignore);

// The same line as a centred spectrum (first point halved, transformed, rotated).
void Calculate_ifft_VoigtCurve(const int &entry, const int &ap, const int &td_ap_trunc,
                               const int &ref_line, const int *fit_lsf, const int &lsf_coefs,
                               const double &A, const double &f, const double &g,
                               const double &phi0, const double &L, const double &phi_1,
                               double *out_re, double *out_im, const double *re_ref,
                               const double *im_ref, const double *r_lsf, const double *i_lsf,
                               const double &frscl, const double *lookup, const int &ignore);

// Spectrum of pattern p (1-based, slot p of pat; lsf flag of entry nLines + p). Deliberately not
// rotated after the transform: the stored signal already carries the half-band shift.
void Calculate_FD_Pattern(const int &p, const int &nLines, const int &ap, const int &td_ap_trunc,
                          const int &ref_line, const int *fit_lsf, const int &lsf_coefs,
                          const double *pat, const double &A, const double &f, const double &g,
                          const double &phi0, const double &L, const double &phi_1, double *out_re,
                          double *out_im, const double *re_ref, const double *im_ref,
                          const double *r_lsf, const double *i_lsf, const double &frscl,
                          const double *lookup, const int &ignore);

// Lineshape function (time domain, 1 at point 0) from the coefficients xt[npar ...], which are
// renormalised in place so that they describe exactly this function.
void ParArrayToLineShapeFunction(const int &lsf_coefs, const int &ap, const int &npar, double *xt,
                                 double *r_lsf, double *i_lsf, const double *lookup);

// (re + i im) := (re + i im)(cr + i ci)
void Complex_Multiply(const int &n, double *re, double *im, const double *cr, const double *ci);
// The same with the stored signal of a pattern slot.
void Complex_Pattern_Multiply(const int &n, const int &slot, double *re, double *im,
                              const double *pat);
