// SPDX-License-Identifier: BSD-3-Clause
// l_shapes.cpp -- curves of one model entry, generated in the time domain
//
// The equation of a line is that of kernel/line_equation.h; docs/model.md, equations 1 to 6.
#include "model/l_shapes.h"

#include "model/fft.h"
#include "model/vector_lib.h"
#include "run/storage.h"
#include "run/types.h"

#include "kernel/line_equation.h"

#include <algorithm>
#include <cmath>

// The curve without lineshapes, phase included.
static void line_curve(int ap, int td_ap_trunc, double A, double f, double g, double phi0, double L,
                       double phi_1, double frscl, double *re, double *im) {
    Zero_Vector(ap, re);
    Zero_Vector(ap, im);
    const kernel::decay curve = kernel::line_decay(
        {.area = A, .frequency = f * frscl, .gauss = g, .lorentz = L, .phase = phi0}, ap, phi_1,
        true);
    // points 0 and 1 are never truncated
    kernel::add_decay(curve, 0, std::min(std::max(td_ap_trunc, 2), ap), re, im);
}

static void set_leading_to_zero(int ap, int ignore, double *re, double *im) {
    for (int n = 0; n < std::min(ignore, ap); ++n) re[n] = im[n] = 0.0;
}

// First point halved (a causal signal counts half at its jump), leading points removed,
// forward transform with factor 1/N.
static void to_frequency_domain(int ap, int ignore, double *re, double *im, const double *table) {
    re[0] *= 0.5;
    im[0] *= 0.5;
    set_leading_to_zero(ap, ignore, re, im);
    const scratch<double> signal(2LL * ap, " Memory requested to store signal[] in"
                                           " Calculate_ifft_VoigtCurve() is not available\n");
    if (signal == nullptr) return;
    interleave(ap, re, im, signal);
    four2(signal, table, ap, 1);
    separate(ap, signal, re, im);
}

void Complex_Multiply(const int &n, double *re, double *im, const double *cr, const double *ci) {
    for (int i = 0; i < n; ++i) {
        const double real = re[i];
        re[i] = real * cr[i] - im[i] * ci[i];
        im[i] = real * ci[i] + im[i] * cr[i];
    }
}

void Complex_Pattern_Multiply(const int &n, const int &slot, double *re, double *im,
                              const double *pat) {
    const double *stored = pat + static_cast<long long>(pattern_slot) * slot;
    Complex_Multiply(std::min(n, max_pattern_points), re, im, stored, stored + max_pattern_points);
}

// The measured and the fitted lineshape, each where it is switched on.
static void apply_lineshapes(int ap, int ref_line, int takes_lsf, int lsf_coefs, double *re,
                             double *im, const double *re_ref, const double *im_ref,
                             const double *r_lsf, const double *i_lsf) {
    if (ref_line == 1) Complex_Multiply(ap, re, im, re_ref, im_ref);
    if (takes_lsf == 1 && lsf_coefs != 0) Complex_Multiply(ap, re, im, r_lsf, i_lsf);
}

void Calculate_td_VoigtCurve(const int &entry, const int &ap, const int &td_ap_trunc,
                             const int &ref_line, const int *fit_lsf, const int &lsf_coefs,
                             const double &A, const double &f, const double &g, const double &phi0,
                             const double &L, const double &phi_1, double *out_re, double *out_im,
                             const double *re_ref, const double *im_ref, const double *r_lsf,
                             const double *i_lsf, const double &frscl, const double *,
                             const int &ignore) {
    if (ap < 1) return;
    line_curve(ap, td_ap_trunc, A, f, g, phi0, L, phi_1, frscl, out_re, out_im);
    apply_lineshapes(ap, ref_line, fit_lsf[entry], lsf_coefs, out_re, out_im, re_ref, im_ref, r_lsf,
                     i_lsf);
    set_leading_to_zero(ap, ignore, out_re, out_im);
}

void Calculate_ifft_VoigtCurve(const int &entry, const int &ap, const int &td_ap_trunc,
                               const int &ref_line, const int *fit_lsf, const int &lsf_coefs,
                               const double &A, const double &f, const double &g,
                               const double &phi0, const double &L, const double &phi_1,
                               double *out_re, double *out_im, const double *re_ref,
                               const double *im_ref, const double *r_lsf, const double *i_lsf,
                               const double &frscl, const double *lookup, const int &ignore) {
    if (ap < 1) return;
    line_curve(ap, td_ap_trunc, A, f, g, phi0, L, phi_1, frscl, out_re, out_im);
    apply_lineshapes(ap, ref_line, fit_lsf[entry], lsf_coefs, out_re, out_im, re_ref, im_ref, r_lsf,
                     i_lsf);
    to_frequency_domain(ap, ignore, out_re, out_im, lookup);
    int half = ap / 2;
    Rotate_Vector(ap, half, out_re);
    Rotate_Vector(ap, half, out_im);
}

void Calculate_FD_Pattern(const int &p, const int &nLines, const int &ap, const int &td_ap_trunc,
                          const int &ref_line, const int *fit_lsf, const int &lsf_coefs,
                          const double *pat, const double &A, const double &f, const double &g,
                          const double &phi0, const double &L, const double &phi_1, double *out_re,
                          double *out_im, const double *re_ref, const double *im_ref,
                          const double *r_lsf, const double *i_lsf, const double &frscl,
                          const double *lookup, const int &ignore) {
    if (ap < 1) return;
    line_curve(ap, td_ap_trunc, A, f, g, phi0, L, phi_1, frscl, out_re, out_im);
    Complex_Pattern_Multiply(ap, p, out_re, out_im, pat);
    apply_lineshapes(ap, ref_line, fit_lsf[nLines + p], lsf_coefs, out_re, out_im, re_ref, im_ref,
                     r_lsf, i_lsf);
    to_frequency_domain(ap, ignore, out_re, out_im, lookup);
}

void ParArrayToLineShapeFunction(const int &lsf_coefs, const int &ap, const int &npar, double *xt,
                                 double *r_lsf, double *i_lsf, const double *lookup) {
    if (ap < 1 || lsf_coefs < 1 || npar < 0) return;
    Zero_Vector(ap, r_lsf);
    Zero_Vector(ap, i_lsf);
    const int first = ap / 2 - lsf_coefs / 2;
    for (int j = std::max(0, -first); j < lsf_coefs && first + j < ap; ++j) {
        r_lsf[first + j] = xt[npar + 2 * j];
        i_lsf[first + j] = xt[npar + 2 * j + 1];
    }
    int half = ap / 2;
    Rotate_Vector(ap, half, r_lsf);
    Rotate_Vector(ap, half, i_lsf);
    const scratch<double> signal(2LL * ap, " Memory requested to store c_lsf[] "
                                           "in ParArrayToLineShapeFunction() is not available \n");
    if (signal == nullptr) return;
    interleave(ap, r_lsf, i_lsf, signal);
    four2(signal, lookup, ap, 1);
    const double a = std::sqrt(signal[0] * signal[0] + signal[1] * signal[1]);
    // Coefficients that add up to nothing at time 0 describe no lineshape: function and
    // coefficients are not finite then, and so is every curve that takes them.
    const double p_re = signal[0] / a;
    const double p_im = signal[1] / a;
    for (int n = 0; n < ap; ++n) {
        const double re = signal[2 * n] / a;
        const double im = signal[2 * n + 1] / a;
        r_lsf[n] = re * p_re + im * p_im;
        i_lsf[n] = im * p_re - re * p_im;
    }
    for (int j = 0; j < lsf_coefs; ++j) {
        double &c_re = xt[npar + 2 * j];
        double &c_im = xt[npar + 2 * j + 1];
        const double re = c_re / (a * ap);
        const double im = c_im / (a * ap);
        c_re = re * p_re + im * p_im;
        c_im = im * p_re - re * p_im;
    }
}
