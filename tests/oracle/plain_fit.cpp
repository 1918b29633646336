// SPDX-License-Identifier: BSD-3-Clause
// plain_fit.cpp -- the fit as it is defined, written down line by line
//
// One exponential per point of every curve, an incremental model update per derivative, four models
// per element of the Fisher matrix. Slow and easy to check; the product's model, gradient and error
// bounds are held against it, in their numbers and in their time. It proves nothing of what it
// shares with the product: the links (held by definition::linked, tests/property), the line search
// (by golden sections, tests/unit/minimize) and the radix-2 transform of fitted lineshapes (by the
// double sum, tests/property). Works on the same module state.
#include "oracle/plain_fit.h"

#include "minimize/line_search.h"
#include "model/fft.h"
#include "model/l_shapes.h"
#include "model/prior_knowledge.h"
#include "model/vector_lib.h"
#include "oracle/definition.h"
#include "run/end_run.h"
#include "run/state.h"
#include "run/storage.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <numbers>
#include <numeric>
#include <vector>

namespace plain {

using std::numbers::pi;

static double angular_frequency(int ap, double f, double frscl) {
    return 2.0 * pi * (f * frscl + ap / 2);
}

// Phase of the whole line [rad]. The delay's own phase is taken off at half weight.
static double line_phase(int ap, double omega, double phi0, double phi_1) {
    const double d = phi_1 / 360.0;
    return omega * d / ap + pi * phi0 / 180.0 - pi * phi_1 / 360.0;
}

// Envelope times oscillation without phase. Points 0 and 1 are never truncated.
static void damped_oscillation(int ap, int td_ap_trunc, double A, double f, double g, double L,
                               double phi_1, double frscl, double *re, double *im) {
    const double d = phi_1 / 360.0;
    const double omega = angular_frequency(ap, f, frscl);
    const double gauss = pi * pi * g * g;
    const double lorentz = pi * L;
    const auto envelope = [&](int n) {
        const double t = (n + d) / ap;
        return A * std::exp(-gauss * t * t - lorentz * t);
    };
    re[0] = envelope(0);
    im[0] = 0.0;
    if (ap < 2) return;
    const double c1 = std::cos(omega / ap);
    const double s1 = std::sin(omega / ap);
    re[1] = envelope(1) * c1;
    im[1] = envelope(1) * s1;
    double c = c1;
    double s = s1;
    const int end = std::clamp(td_ap_trunc, 2, ap);
    for (int n = 2; n < end; ++n) {
        const double before = c;
        c = before * c1 - s * s1;
        s = before * s1 + s * c1;
        const double e = envelope(n);
        re[n] = e * c;
        im[n] = e * s;
    }
    for (int n = end; n < ap; ++n) re[n] = im[n] = 0.0;
}

static void multiply_by_phase(int ap, double psi, double *re, double *im) {
    const double c = std::cos(psi);
    const double s = std::sin(psi);
    for (int n = 0; n < ap; ++n) {
        const double real = re[n];
        re[n] = real * c - im[n] * s;
        im[n] = real * s + im[n] * c;
    }
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
    for (int n = 0; n < ap; ++n) {
        signal[2 * n] = re[n];
        signal[2 * n + 1] = im[n];
    }
    four2(signal, table, ap, 1);
    for (int n = 0; n < ap; ++n) {
        re[n] = signal[2 * n];
        im[n] = signal[2 * n + 1];
    }
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
    damped_oscillation(ap, td_ap_trunc, A, f, g, L, phi_1, frscl, out_re, out_im);
    multiply_by_phase(ap, line_phase(ap, angular_frequency(ap, f, frscl), phi0, phi_1), out_re,
                      out_im);
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
    damped_oscillation(ap, td_ap_trunc, A, f, g, L, phi_1, frscl, out_re, out_im);
    apply_lineshapes(ap, ref_line, fit_lsf[entry], lsf_coefs, out_re, out_im, re_ref, im_ref, r_lsf,
                     i_lsf);
    to_frequency_domain(ap, ignore, out_re, out_im, lookup);
    int half = ap / 2;
    Rotate_Vector(ap, half, out_re);
    Rotate_Vector(ap, half, out_im);
    multiply_by_phase(ap, line_phase(ap, angular_frequency(ap, f, frscl), phi0, phi_1), out_re,
                      out_im);
}

void Calculate_FD_Pattern(const int &p, const int &nLines, const int &ap, const int &td_ap_trunc,
                          const int &ref_line, const int *fit_lsf, const int &lsf_coefs,
                          const double *pat, const double &A, const double &f, const double &g,
                          const double &phi0, const double &L, const double &phi_1, double *out_re,
                          double *out_im, const double *re_ref, const double *im_ref,
                          const double *r_lsf, const double *i_lsf, const double &frscl,
                          const double *lookup, const int &ignore) {
    if (ap < 1) return;
    damped_oscillation(ap, td_ap_trunc, A, f, g, L, phi_1, frscl, out_re, out_im);
    Complex_Pattern_Multiply(ap, p, out_re, out_im, pat);
    apply_lineshapes(ap, ref_line, fit_lsf[nLines + p], lsf_coefs, out_re, out_im, re_ref, im_ref,
                     r_lsf, i_lsf);
    to_frequency_domain(ap, ignore, out_re, out_im, lookup);
    multiply_by_phase(ap, line_phase(ap, angular_frequency(ap, f, frscl), phi0, phi_1), out_re,
                      out_im);
}

void ParArrayToLineShapeFunction(const int &lsf_coefs, const int &ap, const int &npar, double *xt,
                                 double *r_lsf, double *i_lsf, const double *lookup) {
    if (ap < 1 || lsf_coefs < 1) return;
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
    for (int n = 0; n < ap; ++n) {
        signal[2 * n] = r_lsf[n];
        signal[2 * n + 1] = i_lsf[n];
    }
    four2(signal, lookup, ap, 1);
    const double a = std::sqrt(signal[0] * signal[0] + signal[1] * signal[1]);
    // Coefficients that add up to nothing at time 0 describe no lineshape: left as they are.
    if (!(a > 0.0)) return;
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

static void print_width_inconsistency(int k, int L) {
    std::printf("program terminated due to prior knowledge inconsistency : \n");
    std::printf("gaussian linewidth of : \n");
    std::printf("fixed line %d < than linewidth %d \n ", k, L);
    std::printf("it depends on. Because this  M A Y  cause prior knowledge\n");
    std::printf("violation during minimization the fit is terminated.\n\n\n");
}

static void derive_or_end(int k, int n_entries, double *xt, const parameter_record *fixpar) {
    const int L = apply_prior_knowledge(k, n_entries, xt, fixpar);
    if (L == 0) return;
    print_width_inconsistency(k, L);
    std::printf("How to fix: \n Interchange dependent and free line prior knowledge \n\n");
    std::printf("Good luck ... \n");
    end_run(1);
}

static void derive_or_end_turbo(int k, int n_entries, double *xt, const parameter_record *fixpar) {
    const int L = apply_prior_knowledge(k, n_entries, xt, fixpar);
    if (L == 0) return;
    print_width_inconsistency(k, L);
    std::printf("How to fix: \n Interchange dependent and free line prior knowledge \n");
    end_run(1);
}

// Where the curve of an entry is generated, by its type and place.
enum class shape_domain { none, time, frequency, pattern };

static shape_domain domain_of(int k, int type, int n_lines, int n_pat) {
    switch (type) {
    case gaussian_line:
    case voigt_line:
        return shape_domain::time;
    case lorentzian_line:
        return shape_domain::frequency;
    case pattern_line:
        return k > n_lines && k - n_lines <= n_pat ? shape_domain::pattern : shape_domain::none;
    default:
        return shape_domain::none;
    }
}

void entry_spectrum(const int &k, const int &type, const double *p, const int &ap,
                    const int &nLines, const int &td_ap_trunc, const int &ref_line,
                    const int *fit_lsf, const int &lsf_coefs, const double &phi_1, double *out_re,
                    double *out_im, const double *re_ref, const double *im_ref, const double *r_lsf,
                    const double *i_lsf, const double &frscl, const double *lookup,
                    const int &ignore, const int &n_patterns, const double *pat) {
    const double no_width = 0.0;
    const double &g = type == lorentzian_line ? no_width : p[width1_par];
    const double &L = type == gaussian_line ? no_width : p[width2_par];
    const int pattern = k - nLines;
    switch (domain_of(k, type, nLines, n_patterns)) {
    case shape_domain::time:
    case shape_domain::frequency:
        plain::Calculate_ifft_VoigtCurve(k, ap, td_ap_trunc, ref_line, fit_lsf, lsf_coefs,
                                         p[area_par], p[freq_par], g, p[phase_par], L, phi_1,
                                         out_re, out_im, re_ref, im_ref, r_lsf, i_lsf, frscl,
                                         lookup, ignore);
        break;
    case shape_domain::pattern:
        plain::Calculate_FD_Pattern(pattern, nLines, ap, td_ap_trunc, ref_line, fit_lsf, lsf_coefs,
                                    pat, p[area_par], p[freq_par], g, p[phase_par], L, phi_1,
                                    out_re, out_im, re_ref, im_ref, r_lsf, i_lsf, frscl, lookup,
                                    ignore);
        break;
    case shape_domain::none:
        Zero_Vector(ap, out_re);
        Zero_Vector(ap, out_im);
        break;
    }
}

void spec_fnc(const int &ap, const int &nLines, const int &npar, double *xt, double *par_copy,
              const parameter_record *fixpar, double *yre, double *yim, const double *re_ref,
              const double *im_ref, double *r_lsf, double *i_lsf, const int &td_ap_trunc,
              const int &ref_line, const int *fit_lsf, const double &frscl, const double &phi_1,
              const int &lsf_coefs, const int &single_line, const double *lookup, const int &ignore,
              const int &n_patterns, const double *pat) {
    const int entries = nLines + n_patterns;
    const int vector_length = pars_per_entry * entries + 2 * (lsf_coefs > 0 ? lsf_coefs : 0);
    const scratch<double> dummy_re(
        ap, " Memory requested to store dummy_re[] in spec_fnc() not available\n");
    const scratch<double> dummy_im(ap, "Memory requested to store dummy_im[]"
                                       " in spec_fnc() not available\n");
    const scratch<double> t_yre(ap, "Memory requested to store t_yre[]"
                                    " in spec_fnc() not available\n");
    const scratch<double> t_yim(ap, "Memory requested to store t_yim[]"
                                    " in spec_fnc() not available\n");
    if (dummy_re == nullptr || dummy_im == nullptr || t_yre == nullptr || t_yim == nullptr) return;

    if (lsf_coefs != 0) ParArrayToLineShapeFunction(lsf_coefs, ap, npar, xt, r_lsf, i_lsf, lookup);
    if (single_line != 0) {
        turbo_spec_fnc(ap, nLines, xt, par_copy, fixpar, yre, yim, re_ref, im_ref, td_ap_trunc,
                       r_lsf, i_lsf, ref_line, fit_lsf, frscl, phi_1, lsf_coefs, single_line,
                       lookup, ignore, n_patterns, pat);
        Copy_Vector(vector_length, xt, par_copy);
        return;
    }

    Zero_Vector(ap, yre);
    Zero_Vector(ap, yim);
    const auto add_curve = [&](int k) {
        const double *p = xt + pars_per_entry * (k - 1);
        const int type = fixpar[pars_per_entry * (k - 1)].type;
        const double no_width = 0.0;
        switch (domain_of(k, type, nLines, n_patterns)) {
        case shape_domain::time:
            plain::Calculate_td_VoigtCurve(
                k, ap, td_ap_trunc, ref_line, fit_lsf, lsf_coefs, p[area_par], p[freq_par],
                p[width1_par], p[phase_par], type == gaussian_line ? no_width : p[width2_par],
                phi_1, dummy_re, dummy_im, re_ref, im_ref, r_lsf, i_lsf, frscl, lookup, ignore);
            Sum_Vector(ap, t_yre, t_yre, dummy_re);
            Sum_Vector(ap, t_yim, t_yim, dummy_im);
            break;
        case shape_domain::frequency:
        case shape_domain::pattern:
            entry_spectrum(k, type, p, ap, nLines, td_ap_trunc, ref_line, fit_lsf, lsf_coefs, phi_1,
                           dummy_re, dummy_im, re_ref, im_ref, r_lsf, i_lsf, frscl, lookup, ignore,
                           n_patterns, pat);
            Sum_Vector(ap, yre, yre, dummy_re);
            Sum_Vector(ap, yim, yim, dummy_im);
            break;
        case shape_domain::none:
            break;
        }
    };
    for (int k = 1; k <= entries; ++k)
        if (entry_is_free(k, entries, fixpar)) add_curve(k);
    for (int k = 1; k <= entries; ++k) {
        if (entry_is_free(k, entries, fixpar)) continue;
        derive_or_end(k, entries, xt, fixpar);
        add_curve(k);
    }
    Calculate_Spectrum(ap, t_yre, t_yim, lookup);
    Sum_Vector(ap, yre, yre, t_yre);
    Sum_Vector(ap, yim, yim, t_yim);
    Copy_Vector(vector_length, xt, par_copy);
}

void turbo_spec_fnc(const int &ap, const int &nLines, double *xt, double *par_copy,
                    const parameter_record *fixpar, double *yre, double *yim, const double *re_ref,
                    const double *im_ref, const int &td_ap_trunc, double *r_lsf, double *i_lsf,
                    const int &ref_line, const int *fit_lsf, const double &frscl,
                    const double &phi_1, const int &lsf_coefs, const int &single_line,
                    const double *lookup, const int &ignore, const int &n_patterns,
                    const double *pat) {
    const int entries = nLines + n_patterns;
    const int s = single_line;
    if (s < 1 || s > entries) return;
    bool changed = false;
    for (int j = 0; j < pars_per_entry; ++j) {
        const int i = pars_per_entry * (s - 1) + j;
        changed = changed || xt[i] != par_copy[i];
    }
    if (!changed) return;

    const scratch<double> curve_re(ap, " Memory requested to store array xre : not available");
    const scratch<double> curve_im(ap, " Memory requested to store array xre : not available");
    if (curve_re == nullptr || curve_im == nullptr) return;
    const auto curve_of = [&](int k, const double *vector) {
        const int at = pars_per_entry * (k - 1);
        entry_spectrum(k, fixpar[at].type, vector + at, ap, nLines, td_ap_trunc, ref_line, fit_lsf,
                       lsf_coefs, phi_1, curve_re, curve_im, re_ref, im_ref, r_lsf, i_lsf, frscl,
                       lookup, ignore, n_patterns, pat);
    };
    const auto exchange_curve = [&](int k) {
        curve_of(k, par_copy);
        Dif_Vector(ap, yre, yre, curve_re);
        Dif_Vector(ap, yim, yim, curve_im);
        curve_of(k, xt);
        Sum_Vector(ap, yre, yre, curve_re);
        Sum_Vector(ap, yim, yim, curve_im);
    };
    exchange_curve(s);
    for (int k = 1; k <= entries; ++k) {
        if (k == s || !entry_follows(k, s, fixpar)) continue;
        derive_or_end_turbo(k, entries, xt, fixpar);
        exchange_curve(k);
    }
}

// (|x|^2 + 1) of a point: the divisor of weighting type 7, after which strong points count less.
static double damped_magnitude(double re, double im) {
    return re * re + 1.0 + im * im;
}

double fnc(const int &ap, const int &nLines, const int &td_ap_trunc, const int &npar, double *xt,
           double *par_copy, const parameter_record *fixpar, const double *xre, const double *xim,
           double *yre, double *yim, double *wre, double *wim, const double *re_ref,
           const double *im_ref, double *r_lsf, double *i_lsf, const double &frscl,
           const double &phi_1, const int &n_patterns, const double *pat, const int &spec,
           const int &complex, const int &weighting_type, const int &single_line,
           const int &lsf_coefs, const int &ref_line, const int *fit_lsf, const double *lookup,
           const int &ignore) {
    if (spec == 1) {
        spec_fnc(ap, nLines, npar, xt, par_copy, fixpar, yre, yim, re_ref, im_ref, r_lsf, i_lsf,
                 td_ap_trunc, ref_line, fit_lsf, frscl, phi_1, lsf_coefs, single_line, lookup,
                 ignore, n_patterns, pat);
    }
    if (weighting_type == 3) {
        Copy_Vector(ap, yre, wre);
        Copy_Vector(ap, yim, wim);
    }
    double sum = 0.0;
    for (int i = 0; i < ap; ++i) {
        if (wre[i] + wim[i] == 0.0) continue;
        const double dr = xre[i] - yre[i];
        const double di = xim[i] - yim[i];
        if (weighting_type == 7) {
            // Type 7 knows the real channel, and both when complex is 2; no other mode.
            const double divisor = damped_magnitude(xre[i], xim[i]);
            sum += wre[i] * dr * dr / divisor;
            if (complex == 2) sum += wim[i] * di * di / divisor;
            continue;
        }
        const double power_x = xre[i] * xre[i] + xim[i] * xim[i];
        const double power_y = yre[i] * yre[i] + yim[i] * yim[i];
        switch (complex) {
        case 0:
            sum += wre[i] * dr * dr;
            break;
        case 1:
            sum += wim[i] * di * di;
            break;
        case 2:
            sum += wre[i] * dr * dr + wim[i] * di * di;
            break;
        case 3: {
            // In modes 3 and 4 the weights only select points.
            const double d = std::sqrt(power_x) - std::sqrt(power_y);
            sum += d * d;
            break;
        }
        case 4: {
            const double d = power_x - power_y;
            sum += d * d;
            break;
        }
        default:
            std::printf("illegal complex value\n");
            break;
        }
    }
    return sum;
}

double chi_square_of(double *x) {
    return fnc(ap, nLines, td_ap_trunc, npar, x, par_copy, fixpar, xre, xim, yre, yim, wre, wim,
               re_ref, im_ref, r_lsf, i_lsf, frscl, phi_1, n_patterns, pat, spec, complex,
               weighting_type, single_line, lsf_coefs, ref_line, fit_lsf, lookup, ignore);
}

double func(const double &x) {
    const scratch<double> xt(pars_per_entry * (nLines + n_patterns) + 2LL * lsf_coefs,
                             " Memory requested to store xt[] in func() is not available\n");
    if (xt == nullptr) return 0.0;
    for (int j = 0; j < ncom; ++j) xt[j] = pcom[j] + x * xicom[j];
    return chi_square_of(xt);
}

static bool starts_outside_intervals(int k) {
    const double start = fixpar[pars_per_entry * (k - 1) + freq_par].value;
    if (!(start > -1.0 && start < ap)) return true;
    return wre[static_cast<int>(start)] != 1.0; // towards zero
}

void dfnc(const double &f0, double *x, double *g) {
    const int line_parameters = pars_per_entry * (nLines + n_patterns);
    const int vector_length = line_parameters + 2 * lsf_coefs;
    const scratch<double> store(vector_length,
                                " Memory requested to store store[] in dfnc() is not available\n");
    const scratch<double> store_yre(ap,
                                    "Memory requested for store_yre not available in void dfnc\n");
    const scratch<double> store_yim(ap,
                                    "Memory requested for store_yim not available in void dfnc\n");
    Zero_Vector(vector_length, g);
    const bool have_copies = store != nullptr && store_yre != nullptr && store_yim != nullptr;

    if (spec == 1 && have_copies) {
        Copy_Vector(vector_length, x, store);
        Copy_Vector(ap, yre, store_yre);
        Copy_Vector(ap, yim, store_yim);
        const auto derivative = [&](int j) {
            double slope = 0.0;
            // g divides a difference of two sums by 1e-7 of x[j]: a change in the last digit of
            // the sum is a change in the ninth of the gradient.
            if (std::fabs(x[j]) > 1e-7) {
                x[j] += x[j] / deriv_p;
                slope = (chi_square_of(x) - f0) / (store[j] / deriv_p);
            } else {
                x[j] = 1.0 / deriv_p;
                slope = (chi_square_of(x) - f0) * deriv_p;
            }
            Copy_Vector(vector_length, store, x);
            Copy_Vector(vector_length, store, par_copy);
            Copy_Vector(ap, store_yre, yre);
            Copy_Vector(ap, store_yim, yim);
            return slope;
        };

        const int group_switch[pars_per_entry] = {amp_fit, freq_fit, width_fit, phase_fit,
                                                  voigt_fit};
        for (int kind = 0; kind < pars_per_entry; ++kind) {
            if (group_switch[kind] != 1) continue;
            for (int j = kind; j < line_parameters; j += pars_per_entry) {
                single_line = j / pars_per_entry + 1;
                if (fixpar[j].fixed_to == 0) g[j] = derivative(j);
            }
        }
        for (int k = 1; k <= nLines; ++k) {
            if (!starts_outside_intervals(k)) continue;
            for (int j = 0; j < pars_per_entry; ++j) g[pars_per_entry * (k - 1) + j] = 0.0;
        }
        if (lsf_coefs > 0 && lsf_fit_enable == 1) {
            single_line = 0;
            for (int j = line_parameters; j < vector_length; ++j) g[j] = derivative(j);
        }
    }

    single_line = 0;
}

static constexpr double chi_square_floor = 1e-10; // one that goes to zero

static double dot(const std::vector<double> &a, const std::vector<double> &b) {
    return std::inner_product(a.begin(), a.end(), b.begin(), 0.0);
}

// Nonlinear conjugate gradients of E. Polak and G. Ribiere (Rev. Fr. Inf. Rech. Oper. 16-R1 (1969)
// 35-43): d <- -g + (g - g_before).g / (g_before.g_before) d. Along d goes the line search of the
// product, which tests/unit/minimize/test_line_search.cpp holds against another one.
void frprmn(const int &n, double *p) {
    const auto count = static_cast<std::size_t>(n);
    double fp = chi_square_of(p);
    std::vector<double> g(static_cast<std::size_t>(pars_per_entry * (n_patterns + nLines)) +
                          2 * static_cast<std::size_t>(lsf_coefs));
    dfnc(fp, p, g.data());
    g.resize(count);
    std::vector<double> d(count), change(count);
    for (std::size_t j = 0; j < count; ++j) d[j] = -g[j];

    for (niter = 1; niter <= itmax; ++niter) {
        ncom = n;
        std::copy_n(p, n, pcom);
        std::copy(d.begin(), d.end(), xicom);
        bool exhausted = false;
        const double along =
            brent_minimum(func, bracket_minimum(func), brent_itmax, minimum, exhausted);
        for (std::size_t j = 0; j < count; ++j) // a flat direction ends at infinity
            if (std::isfinite(p[j] + along * d[j])) p[j] += along * d[j];
        if (2.0 * std::fabs(minimum - fp) <=
            ftol * (std::fabs(minimum) + std::fabs(fp) + chi_square_floor))
            return;

        const std::vector<double> before = g;
        fp = chi_square_of(p);
        g.resize(static_cast<std::size_t>(pars_per_entry * (n_patterns + nLines)) +
                 2 * static_cast<std::size_t>(lsf_coefs));
        dfnc(fp, p, g.data());
        g.resize(count);
        if (n < 1 || dot(before, before) == 0.0) return;
        for (std::size_t j = 0; j < count; ++j) change[j] = g[j] - before[j];
        const double beta = dot(change, g) / dot(before, before);
        for (std::size_t j = 0; j < count; ++j) d[j] = beta * d[j] - g[j];
    }
    niter = itmax;
}

// Cramer-Rao bounds by definition: both parameters of every matrix element are derived anew.
static void derive(int index, int N, double *vector, double *dre, double *dim) {
    const scratch<double> saved(N, nullptr);
    const scratch<double> y0re(ap, nullptr);
    const scratch<double> y0im(ap, nullptr);
    Copy_Vector(N, vector, saved);
    chi_square_of(vector);
    Copy_Vector(ap, yre, y0re);
    Copy_Vector(ap, yim, y0im);
    const double p = vector[index];
    const double h = p != 0.0 ? p / 1e7 : 1e-7;
    vector[index] = p + h;
    chi_square_of(vector);
    for (int k = 0; k < ap; ++k) {
        dre[k] = (yre[k] - y0re[k]) / h;
        dim[k] = (yim[k] - y0im[k]) / h;
    }
    Copy_Vector(N, saved, vector);
}

void error_bounds(double *vector, double *errors) {
    const int N = pars_per_entry * (nLines + n_patterns);
    const scratch<double> a_re(ap, nullptr), a_im(ap, nullptr), b_re(ap, nullptr),
        b_im(ap, nullptr);
    std::vector<std::vector<definition::real>> fisher;
    for (int i = 0; i < N; ++i) {
        if (fixpar[i].fixed_to != 0) continue;
        fisher.emplace_back();
        for (int j = 0; j < N; ++j) {
            if (fixpar[j].fixed_to != 0) continue;
            derive(i, N, vector, a_re, a_im);
            derive(j, N, vector, b_re, b_im);
            double sum = 0.0;
            for (int k = 0; k < ap; ++k) {
                if (wre[k] + wim[k] == 0.0) continue;
                if (complex == 0 || complex >= 2) sum += a_re[k] * b_re[k];
                if (complex == 1 || complex == 2) sum += a_im[k] * b_im[k];
            }
            fisher.back().push_back(sum);
        }
    }
    const auto covariance = definition::inverse(fisher);
    std::size_t q = 0;
    for (int i = 0; i < N; ++i) {
        errors[i] = 0.0;
        if (fixpar[i].fixed_to != 0) continue;
        errors[i] = covariance.empty() // parameters that cannot be told apart
                        ? std::numeric_limits<double>::quiet_NaN()
                        : 2.0 * sigma * std::sqrt(static_cast<double>(covariance[q][q]));
        ++q;
    }
    for (int i = 0; i < N; ++i) {
        const int L = fixpar[i].fixed_to;
        if (L != 0) errors[i] = errors[pars_per_entry * (L - 1) + i % pars_per_entry];
    }
    for (int m = 1; m <= nLines; ++m) {
        const int area = pars_per_entry * (m - 1);
        const int L = fixpar[area].fixed_to;
        if (L == 0) continue;
        const int source = pars_per_entry * (L - 1);
        errors[area] = L == m ? 0.0 : errors[source] * vector[area] / vector[source];
    }
}

} // namespace plain
