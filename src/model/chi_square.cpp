// SPDX-License-Identifier: BSD-3-Clause
// chi_square.cpp -- model spectrum of a parameter vector and its distance from the measured one
//
//   chi^2 = sum over the points that count of w (x - y)^2 in the chosen channels
//
// The sum is normalised neither by the points nor by the noise; reports divide by the noise sd.
// Model and channels: docs/model.md, equations 7 to 12.
#include "model/chi_square.h"

#include "kernel/lanes.h"
#include "model/l_shapes.h"
#include "model/model_sum.h"
#include "model/prior_knowledge.h"
#include "model/vector_lib.h"
#include "run/end_run.h"
#include "run/storage.h"

#include <cmath>
#include <cstdio>

using kernel::load;
using kernel::partial_sums;
using kernel::store;
using kernel::total;
using kernel::width_of;

static const char advice_of_links[] =
    "How to fix: \n Interchange dependent and free line prior knowledge \n\n"
    "Good luck ... \n";
static const char advice_of_turbo[] =
    "How to fix: \n Interchange dependent and free line prior knowledge \n";

// Of both arrays of an incremental model, which have one name in it and no line end: wording kept
static const char no_turbo_storage[] = " Memory requested to store array xre : not available"
                                       " Memory requested to store array xre : not available";

static void derive_or_end(int k, int n_entries, double *xt, const parameter_record *fixpar,
                          const char *advice) {
    const int L = apply_prior_knowledge(k, n_entries, xt, fixpar);
    if (L == 0) return;
    std::printf("program terminated due to prior knowledge inconsistency : \n");
    std::printf("gaussian linewidth of : \n");
    std::printf("fixed line %d < than linewidth %d \n ", k, L);
    std::printf("it depends on. Because this  M A Y  cause prior knowledge\n");
    std::printf("violation during minimization the fit is terminated.\n\n\n");
    std::printf("%s", advice);
    end_run(1);
}

void derive_dependent_parameters(const int &n_entries, double *xt, const parameter_record *fixpar) {
    for (int k = 1; k <= n_entries; ++k)
        if (!entry_is_free(k, n_entries, fixpar))
            derive_or_end(k, n_entries, xt, fixpar, advice_of_links);
}

void entry_spectrum(const int &k, const int &type, const double *p, const int &ap,
                    const int &nLines, const int &td_ap_trunc, const int &ref_line,
                    const int *fit_lsf, const int &lsf_coefs, const double &phi_1, double *out_re,
                    double *out_im, const double *re_ref, const double *im_ref, const double *r_lsf,
                    const double *i_lsf, const double &frscl, const double *, const int &ignore,
                    const int &n_patterns, const double *pat) {
    Zero_Vector(ap, out_re);
    Zero_Vector(ap, out_im);
    model_sum sum;
    if (ap < 1 || !sum.begin(CURVE_SETTING_HERE)) return;
    sum.add(k, type, p, 1.0);
    sum.transform();
    Copy_Vector(ap, sum.re(), out_re);
    Copy_Vector(ap, sum.im(), out_im);
}

void spec_fnc(const int &ap, const int &nLines, const int &npar, double *xt, double *par_copy,
              const parameter_record *fixpar, double *yre, double *yim, const double *re_ref,
              const double *im_ref, double *r_lsf, double *i_lsf, const int &td_ap_trunc,
              const int &ref_line, const int *fit_lsf, const double &frscl, const double &phi_1,
              const int &lsf_coefs, const int &single_line, const double *lookup, const int &ignore,
              const int &n_patterns, const double *pat) {
    const int entries = nLines + n_patterns;
    const int vector_length = pars_per_entry * entries + 2 * (lsf_coefs > 0 ? lsf_coefs : 0);
    if (lsf_coefs != 0) ParArrayToLineShapeFunction(lsf_coefs, ap, npar, xt, r_lsf, i_lsf, lookup);
    if (single_line != 0) {
        turbo_spec_fnc(ap, nLines, xt, par_copy, fixpar, yre, yim, re_ref, im_ref, td_ap_trunc,
                       r_lsf, i_lsf, ref_line, fit_lsf, frscl, phi_1, lsf_coefs, single_line,
                       lookup, ignore, n_patterns, pat);
        Copy_Vector(vector_length, xt, par_copy);
        return;
    }
    derive_dependent_parameters(entries, xt, fixpar);
    model_sum sum;
    if (ap < 1 || !sum.begin(CURVE_SETTING_HERE)) return;
    for (int k = 1; k <= entries; ++k) {
        const int at = pars_per_entry * (k - 1);
        sum.add(k, fixpar[at].type, xt + at, 1.0);
    }
    sum.transform();
    Copy_Vector(ap, sum.re(), yre);
    Copy_Vector(ap, sum.im(), yim);
    Copy_Vector(vector_length, xt, par_copy);
}

void turbo_spec_fnc(const int &ap, const int &nLines, double *xt, double *par_copy,
                    const parameter_record *fixpar, double *yre, double *yim, const double *re_ref,
                    const double *im_ref, const int &td_ap_trunc, double *r_lsf, double *i_lsf,
                    const int &ref_line, const int *fit_lsf, const double &frscl,
                    const double &phi_1, const int &lsf_coefs, const int &single_line,
                    const double *, const int &ignore, const int &n_patterns, const double *pat) {
    const int entries = nLines + n_patterns;
    const int s = single_line;
    if (s < 1 || s > entries || ap < 1) return;
    const auto changed = [&](int k) {
        const int at = pars_per_entry * (k - 1);
        for (int j = 0; j < pars_per_entry; ++j)
            if (xt[at + j] != par_copy[at + j]) return true;
        return false;
    };
    if (!changed(s)) return;
    model_sum sum;
    if (!sum.begin(CURVE_SETTING_HERE, no_turbo_storage)) return;
    const auto exchange_curve = [&](int k) {
        const int at = pars_per_entry * (k - 1);
        sum.add(k, fixpar[at].type, xt + at, 1.0);
        sum.add(k, fixpar[at].type, par_copy + at, -1.0);
    };
    exchange_curve(s);
    for (int k = 1; k <= entries; ++k) {
        if (k == s || !entry_follows(k, s, fixpar)) continue;
        derive_or_end(k, entries, xt, fixpar, advice_of_turbo);
        if (changed(k)) exchange_curve(k);
    }
    sum.transform();
    Sum_Vector(ap, yre, yre, sum.re());
    Sum_Vector(ap, yim, yim, sum.im());
}

// Squares of one channel over the points that count; the others are selected away, not multiplied
// by zero: they may hold not-a-numbers.
template <class V>
[[gnu::always_inline]] inline void squares(int n, bool real, bool imaginary, bool damped,
                                           const double *xre, const double *xim, const double *yre,
                                           const double *yim, const double *wre, const double *wim,
                                           double &result) {
    double part_re[partial_sums] = {};
    double part_im[partial_sums] = {};
    const int rest = n % partial_sums;
    double last[6][partial_sums] = {}; // points that fill no vector, and points of no weight
    const double *const sources[6] = {xre, xim, yre, yim, wre, wim};
    for (int q = 0; q < 6; ++q)
        for (int j = 0; j < rest; ++j) last[q][j] = sources[q][n - rest + j];

    const V zero = {};
    for (int first = 0; first < partial_sums; first += width_of<V>) {
        V sum_re = zero;
        V sum_im = zero;
        const auto add_terms = [&](int at, const double *a, const double *b, const double *c,
                                   const double *d, const double *e, const double *f)
            __attribute__((always_inline)) {
            V x_re, x_im, y_re, y_im, w_re, w_im;
            load(x_re, a + at);
            load(x_im, b + at);
            load(y_re, c + at);
            load(y_im, d + at);
            load(w_re, e + at);
            load(w_im, f + at);
            const V dr = x_re - y_re;
            const V di = x_im - y_im;
            V t_re = w_re * dr * dr;
            V t_im = w_im * di * di;
            if (damped) {
                // |x|^2 + 1: with weighting type 7 strong points count less
                const V divisor = x_re * x_re + 1.0 + x_im * x_im;
                t_re /= divisor;
                t_im /= divisor;
            }
            const auto counts = w_re + w_im != zero;
            if (real) sum_re += counts ? t_re : zero;
            if (imaginary) sum_im += counts ? t_im : zero;
        };
        for (int i = first; i < n - rest; i += partial_sums)
            add_terms(i, xre, xim, yre, yim, wre, wim);
        if (rest > 0) add_terms(first, last[0], last[1], last[2], last[3], last[4], last[5]);
        store(part_re + first, sum_re);
        store(part_im + first, sum_im);
    }
    result = total(part_re) + total(part_im);
}

MULTIVERSION_WIDTHS(static double squares_of_channels(int n, bool real, bool imaginary, bool damped,
                                                      const double *xre, const double *xim,
                                                      const double *yre, const double *yim,
                                                      const double *wre, const double *wim),
                    double sum;
                    squares<V>(n, real, imaginary, damped, xre, xim, yre, yim, wre, wim, sum);
                    return sum)

// (|x| - |y|)^2 or (|x|^2 - |y|^2)^2 over the points that count
static double squares_of_magnitudes(int n, bool power, const double *xre, const double *xim,
                                    const double *yre, const double *yim, const double *wre,
                                    const double *wim) {
    double sum = 0.0;
    for (int i = 0; i < n; ++i) {
        if (wre[i] + wim[i] == 0.0) continue;
        const double x = xre[i] * xre[i] + xim[i] * xim[i];
        const double y = yre[i] * yre[i] + yim[i] * yim[i];
        const double d = power ? x - y : std::sqrt(x) - std::sqrt(y);
        sum += d * d;
    }
    return sum;
}

static double weighted_squares(int n, int mode, int weighting, const double *xre, const double *xim,
                               const double *yre, const double *yim, const double *wre,
                               const double *wim) {
    // Type 7 knows the real channel, and both when complex is 2; no other mode.
    if (weighting == 7)
        return squares_of_channels(n, true, mode == 2, true, xre, xim, yre, yim, wre, wim);
    switch (mode) {
    case 0:
    case 1:
    case 2:
        return squares_of_channels(n, mode != 1, mode != 0, false, xre, xim, yre, yim, wre, wim);
    case 3:
    case 4:
        return squares_of_magnitudes(n, mode == 4, xre, xim, yre, yim, wre, wim);
    default:
        for (int i = 0; i < n; ++i)
            if (wre[i] + wim[i] != 0.0) std::printf("illegal complex value\n");
        return 0.0;
    }
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
    return weighted_squares(ap, complex, weighting_type, xre, xim, yre, yim, wre, wim);
}
