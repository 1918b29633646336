// SPDX-License-Identifier: BSD-3-Clause
// single_type_curves.h -- Gaussian and Lorentzian lines alone, in both domains
//
// No fit calls these: model/model_sum.h draws its lines. Arguments as in model/l_shapes.h.
#pragma once

// Value at frequency nu of a sum of Gaussian lines, exp(-x^2) with x = (nu - f)/w, and its
// derivatives. Beyond |x| = 2.82 a line counts 1e-25.
//
// Given:    nu        frequency, unit of f and w
//           a         double[3 n_lines]  amplitude A, frequency f, width w of each line
// Returned: y         sum of A exp(-x^2)
//           dyda      double[3 n_lines]  derivatives by A, f and w of each line
void fgauss(const double &nu, const double *a, double &y, double *dyda, const int &n_lines);
// The same for Lorentzian lines, 1/(1 + x^2): w is half the full width at half height.
void florentz(const double &nu, const double *a, double &y, double *dyda, const int &n_lines);

// One line of fgauss or florentz at the points 0 ... ap - 1, real, not transformed.
void CalculateGaussCurve(const int &ap, const double &A, const double &f, const double &w,
                         double *out);
void CalculateLorentzCurve(const int &ap, const double &A, const double &f, const double &w,
                           double *out);

// The Voigt generators with a Lorentzian or a Gaussian width of 0; arguments as theirs, without
// that width.
void Calculate_td_GaussCurve(const int &entry, const int &ap, const int &td_ap_trunc,
                             const int &ref_line, const int *fit_lsf, const int &lsf_coefs,
                             const double &A, const double &f, const double &g, const double &phi0,
                             const double &phi_1, double *out_re, double *out_im,
                             const double *re_ref, const double *im_ref, const double *r_lsf,
                             const double *i_lsf, const double &frscl, const double *lookup,
                             const int &ignore);
void Calculate_td_Lorentz_Curve(const int &entry, const int &ap, const int &td_ap_trunc,
                                const int &ref_line, const int *fit_lsf, const int &lsf_coefs,
                                const double &A, const double &f, const double &phi0,
                                const double &L, const double &phi_1, double *out_re,
                                double *out_im, const double *re_ref, const double *im_ref,
                                const double *r_lsf, const double *i_lsf, const double &frscl,
                                const double *lookup, const int &ignore);
void Calculate_ifft_GaussCurve(const int &entry, const int &ap, const int &td_ap_trunc,
                               const int &ref_line, const int *fit_lsf, const int &lsf_coefs,
                               const double &A, const double &f, const double &g,
                               const double &phi0, const double &phi_1, double *out_re,
                               double *out_im, const double *re_ref, const double *im_ref,
                               const double *r_lsf, const double *i_lsf, const double &frscl,
                               const double *lookup, const int &ignore);
void Calculate_ifft_LorentzCurve(const int &entry, const int &ap, const int &td_ap_trunc,
                                 const int &ref_line, const int *fit_lsf, const int &lsf_coefs,
                                 const double &A, const double &f, const double &phi0,
                                 const double &L, const double &phi_1, double *out_re,
                                 double *out_im, const double *re_ref, const double *im_ref,
                                 const double *r_lsf, const double *i_lsf, const double &frscl,
                                 const double *lookup, const int &ignore);
