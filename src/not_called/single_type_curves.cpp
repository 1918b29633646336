// SPDX-License-Identifier: BSD-3-Clause
// single_type_curves.cpp -- Gaussian and Lorentzian lines alone, in both domains
#include "not_called/single_type_curves.h"

#include "kernel/elementary.h"
#include "model/l_shapes.h"

#include <cmath>

static constexpr double gauss_cut_off = 2.82;   // widths; exp(-2.82^2) is 3.5e-4
static constexpr double beyond_cut_off = 1e-25; // not 0: a quotient by it stays finite

void fgauss(const double &nu, const double *a, double &y, double *dyda, const int &n_lines) {
    y = 0.0;
    for (int k = 0; k < n_lines; ++k) {
        const double A = a[3 * k];
        const double w = a[3 * k + 2];
        const double x = (nu - a[3 * k + 1]) / w;
        const double G = std::fabs(x) > gauss_cut_off ? beyond_cut_off : kernel::exp(-x * x);
        y += A * G;
        dyda[3 * k] = G;
        dyda[3 * k + 1] = 2.0 * A * G * x / w;
        dyda[3 * k + 2] = dyda[3 * k + 1] * x;
    }
}

void florentz(const double &nu, const double *a, double &y, double *dyda, const int &n_lines) {
    y = 0.0;
    for (int k = 0; k < n_lines; ++k) {
        const double A = a[3 * k];
        const double offset = nu - a[3 * k + 1];
        const double w = a[3 * k + 2];
        const double D = 1.0 / (1.0 + offset * offset / (w * w));
        y += A * D;
        dyda[3 * k] = D;
        dyda[3 * k + 1] = 2.0 * A * offset * D * D / (w * w);
        dyda[3 * k + 2] = 2.0 * A * offset * offset * D * D / (w * w * w);
    }
}

void CalculateGaussCurve(const int &ap, const double &A, const double &f, const double &w,
                         double *out) {
    const double line[3] = {A, f, w};
    double slopes[3];
    for (int i = 0; i < ap; ++i) fgauss(i, line, out[i], slopes, 1);
}

void CalculateLorentzCurve(const int &ap, const double &A, const double &f, const double &w,
                           double *out) {
    const double line[3] = {A, f, w};
    double slopes[3];
    for (int i = 0; i < ap; ++i) florentz(i, line, out[i], slopes, 1);
}

void Calculate_td_GaussCurve(const int &entry, const int &ap, const int &td_ap_trunc,
                             const int &ref_line, const int *fit_lsf, const int &lsf_coefs,
                             const double &A, const double &f, const double &g, const double &phi0,
                             const double &phi_1, double *out_re, double *out_im,
                             const double *re_ref, const double *im_ref, const double *r_lsf,
                             const double *i_lsf, const double &frscl, const double *lookup,
                             const int &ignore) {
    Calculate_td_VoigtCurve(entry, ap, td_ap_trunc, ref_line, fit_lsf, lsf_coefs, A, f, g, phi0,
                            0.0, phi_1, out_re, out_im, re_ref, im_ref, r_lsf, i_lsf, frscl, lookup,
                            ignore);
}

void Calculate_td_Lorentz_Curve(const int &entry, const int &ap, const int &td_ap_trunc,
                                const int &ref_line, const int *fit_lsf, const int &lsf_coefs,
                                const double &A, const double &f, const double &phi0,
                                const double &L, const double &phi_1, double *out_re,
                                double *out_im, const double *re_ref, const double *im_ref,
                                const double *r_lsf, const double *i_lsf, const double &frscl,
                                const double *lookup, const int &ignore) {
    Calculate_td_VoigtCurve(entry, ap, td_ap_trunc, ref_line, fit_lsf, lsf_coefs, A, f, 0.0, phi0,
                            L, phi_1, out_re, out_im, re_ref, im_ref, r_lsf, i_lsf, frscl, lookup,
                            ignore);
}

void Calculate_ifft_GaussCurve(const int &entry, const int &ap, const int &td_ap_trunc,
                               const int &ref_line, const int *fit_lsf, const int &lsf_coefs,
                               const double &A, const double &f, const double &g,
                               const double &phi0, const double &phi_1, double *out_re,
                               double *out_im, const double *re_ref, const double *im_ref,
                               const double *r_lsf, const double *i_lsf, const double &frscl,
                               const double *lookup, const int &ignore) {
    Calculate_ifft_VoigtCurve(entry, ap, td_ap_trunc, ref_line, fit_lsf, lsf_coefs, A, f, g, phi0,
                              0.0, phi_1, out_re, out_im, re_ref, im_ref, r_lsf, i_lsf, frscl,
                              lookup, ignore);
}

void Calculate_ifft_LorentzCurve(const int &entry, const int &ap, const int &td_ap_trunc,
                                 const int &ref_line, const int *fit_lsf, const int &lsf_coefs,
                                 const double &A, const double &f, const double &phi0,
                                 const double &L, const double &phi_1, double *out_re,
                                 double *out_im, const double *re_ref, const double *im_ref,
                                 const double *r_lsf, const double *i_lsf, const double &frscl,
                                 const double *lookup, const int &ignore) {
    Calculate_ifft_VoigtCurve(entry, ap, td_ap_trunc, ref_line, fit_lsf, lsf_coefs, A, f, 0.0, phi0,
                              L, phi_1, out_re, out_im, re_ref, im_ref, r_lsf, i_lsf, frscl, lookup,
                              ignore);
}
