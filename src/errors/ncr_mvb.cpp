// SPDX-License-Identifier: BSD-3-Clause
// ncr_mvb.cpp -- Cramer-Rao minimum variance bounds of the fitted parameters
//
// The Fisher matrix of a spectrum in white noise is the sum over the points of the products of
// the model's derivatives; its inverse times the noise variance bounds the covariance of any
// unbiased estimate. Each derivative is computed once and the symmetric matrix filled as a
// triangle.
#include "errors/ncr_mvb.h"

#include "kernel/elementary.h"
#include "kernel/lanes.h"
#include "kernel/sums.h"
#include "errors/matrix_lib.h"
#include "model/model_context.h"
#include "model/model_sum.h"
#include "run/storage.h"

#include <cmath>
#include <cstdio>
#include <numbers>

static constexpr double difference_step = 1e-7; // relative; absolute for a parameter that is 0

// One request holds what the messages name by real and imaginary part.
static const char no_derivatives[] =
    " Memory requested to store gr_l_re[] in cr_mvb() is not available\n"
    " Memory requested to store gr_l_im[] in cr_mvb() is not available\n";
static const char no_unperturbed[] =
    " Memory requested to store yr[] in f_new_complex_select() is not available\n"
    " Memory requested to store yi[] in f_new_complex_select() is not available\n";

void push_2d_element(double *a, const int &n, const int &row, const int &col, const double &value) {
    if (!is_inside_matrix(n, row, col)) {
        std::printf("fatal memory implementation error : \n");
        std::printf("trying to push 2d matrix element outside allocated memory area \n");
        return;
    }
    push_2d_matrix_element(a, n, row, col, value);
}

double pop_2d_element(const double *a, const int &n, const int &row, const int &col) {
    if (!is_inside_matrix(n, row, col)) {
        std::printf("fatal memory implementation error : \n");
        std::printf("trying to pop 2d matrix element outside allocated memory area \n");
        return 0.0;
    }
    return pop_2d_matrix_element(a, n, row, col);
}

// base: par with its links applied; trial: the same after a step of par[index]. Returns the step.
static double perturb(const model_context &model, int index, int N, const double *par,
                      double *trial, double *base) {
    const int entries = N / pars_per_entry;
    for (int i = 0; i < N; ++i) trial[i] = base[i] = par[i];
    const double h = par[index] != 0.0 ? par[index] * difference_step : difference_step;
    trial[index] += h;
    derive_dependent_parameters(entries, base, model.fixpar);
    derive_dependent_parameters(entries, trial, model.fixpar);
    return h;
}

// Whether entry k (1-based) differs between two vectors.
static bool differ(int k, const double *trial, const double *base) {
    const int at = pars_per_entry * (k - 1);
    for (int j = at; j < at + pars_per_entry; ++j)
        if (trial[j] != base[j]) return true;
    return false;
}

// Adds trial minus base of all entries that differ; of entry `own` the base is in the sum already.
static void add_differences(const model_context &model, int entries, const double *trial,
                            const double *base, int own, model_sum &sum) {
    for (int k = 1; k <= entries; ++k) {
        const int at = pars_per_entry * (k - 1);
        if (k != own && !differ(k, trial, base)) continue;
        sum.add(k, model.fixpar[at].type, trial + at, 1.0);
        if (k != own) sum.add(k, model.fixpar[at].type, base + at, -1.0);
    }
}

void f_new_complex_select(const int &ap, const int &index, const int &N, double *par, double *dre,
                          double *dim, const int &nLines, const int &td_ap_trunc, const int &npar,
                          double *par_copy, const parameter_record *fixpar, const double *xre,
                          const double *xim, double *yre, double *yim, double *wre, double *wim,
                          const double *re_ref, const double *im_ref, double *r_lsf, double *i_lsf,
                          const double &frscl, const double &phi_1, const int &n_patterns,
                          const double *pat, const int &spec, const int &complex,
                          const int &weighting_type, const int &single_line, const int &lsf_coefs,
                          const int &ref_line, const int *fit_lsf, const double *lookup,
                          const int &ignore) {
    const model_context model = MODEL_CONTEXT_HERE;
    const scratch<double> trial(N, " Memory requested to store y[] in "
                                   "f_new_complex_select() is not available\n");
    const scratch<double> base(N, no_unperturbed);
    if (trial == nullptr || base == nullptr) return;
    model_sum sum;
    if (!sum.begin(CURVE_SETTING_HERE)) return;
    const double h = perturb(model, index, N, par, trial, base);
    add_differences(model, N / pars_per_entry, trial, base, 0, sum);
    sum.transform();
    for (int k = 0; k < ap; ++k) {
        dre[k] = sum.re()[k] / h;
        dim[k] = sum.im()[k] / h;
    }
}

// Values of (f_re + i f_im)(re + i im) at the points that count, the real parts if `real`, else the
// imaginary ones; returns the place behind them.
MULTIVERSION static double *gather(int ap, const int *counts, bool real, double f_re, double f_im,
                                   const double *__restrict re, const double *__restrict im,
                                   double *__restrict out) {
    // real part f_re re - f_im im, imaginary part f_re im + f_im re
    const double *const first = real ? re : im;
    const double *const second = real ? im : re;
    const double f_second = real ? -f_im : f_im;
    for (int k = 0; k < ap;) {
        if (counts[k] == 0) {
            ++k;
            continue;
        }
        const int run = counts[k]; // points that count from here on
        for (int j = 0; j < run; ++j) out[j] = f_re * first[k + j] + f_second * second[k + j];
        out += run;
        k += run;
    }
    return out;
}

// The points and channels that the Fisher matrix sums over, and the place of each derivative.
struct derivative_rows {
    int ap;
    const int *counts; // length of the run of points that count, from each point on
    bool real_channel, imaginary_channel;
    long long row_length;
    double *first_row;

    // Row q (0-based): the spectrum of the sum times f_re + i f_im.
    void put(int q, double f_re, double f_im, const model_sum &sum) const {
        double *next = first_row + q * row_length;
        if (real_channel) next = gather(ap, counts, true, f_re, f_im, sum.re(), sum.im(), next);
        if (imaginary_channel) gather(ap, counts, false, f_re, f_im, sum.re(), sum.im(), next);
    }
};

// Derivatives of the free parameters of entry s (1-based), the first of them in row q. Area and
// phase are factors of the entry's curve: unless other entries follow them, one transform serves
// both. The unperturbed curve serves all five; it is kept with its sign turned and its own area,
// so that a parameter that its line type does not use has a derivative of exactly 0.
static void entry_derivatives(const model_context &model, const curve_setting &setting, int s,
                              int q, int N, const double *par, double *trial, double *base,
                              const derivative_rows &rows) {
    const int entries = N / pars_per_entry;
    const int at = pars_per_entry * (s - 1);
    const double *const p = base + at;
    model_sum sum;
    bool has_own_spectrum = false;
    int row_of[pars_per_entry];
    for (int kind = 0; kind < pars_per_entry; ++kind)
        row_of[kind] = model.fixpar[at + kind].fixed_to == 0 ? q++ : -1;

    for (const int kind : {area_par, phase_par, freq_par, width1_par, width2_par}) {
        if (row_of[kind] < 0) continue;
        const double h = perturb(model, at + kind, N, par, trial, base);
        bool alone = p[area_par] != 0.0;
        for (int k = 1; k <= entries; ++k) alone = alone && (k == s || !differ(k, trial, base));
        if (alone && (kind == area_par || kind == phase_par)) {
            if (!has_own_spectrum) {
                if (!sum.begin(setting)) return;
                sum.add(s, model.fixpar[at].type, p, -1.0);
                sum.keep();
                sum.transform();
                has_own_spectrum = true;
            }
            const double step = trial[at + kind] - p[kind];
            if (kind == area_par) {
                rows.put(row_of[kind], -step / p[area_par] / h, 0.0, sum);
            } else { // 1 - exp(i turn)
                const double turn = std::numbers::pi * step / 180.0;
                const double half_sine = kernel::sin(0.5 * turn);
                rows.put(row_of[kind], 2.0 * half_sine * half_sine / h, -kernel::sin(turn) / h,
                         sum);
            }
            continue;
        }
        const bool has_own = sum.begin_with_kept(1.0);
        if (!has_own && !sum.begin(setting)) return;
        add_differences(model, entries, trial, base, has_own ? s : 0, sum);
        sum.transform();
        rows.put(row_of[kind], 1.0 / h, 0.0, sum);
    }
}

// Error of each free parameter, in the order of the parameters, from the inverse matrix.
static void spread_errors(int N, int nLines, int nfree, double sigma, const double *covar,
                          const double *par, const parameter_record *fixpar, double *errpar) {
    int q = 0;
    for (int i = 0; i < N; ++i) {
        errpar[i] = 0.0;
        if (fixpar[i].fixed_to != 0) continue;
        ++q;
        errpar[i] = 2.0 * sigma * std::sqrt(pop_2d_element(covar, nfree, q, q));
    }
    const auto exists = [N](int L) { return L >= 1 && L <= N / pars_per_entry; };
    for (int i = 0; i < N; ++i) {
        const int L = fixpar[i].fixed_to;
        if (exists(L)) errpar[i] = errpar[pars_per_entry * (L - 1) + i % pars_per_entry];
    }
    for (int m = 1; m <= nLines; ++m) {
        const int area = pars_per_entry * (m - 1);
        const int L = fixpar[area].fixed_to;
        if (!exists(L)) continue;
        const int source = pars_per_entry * (L - 1);
        errpar[area] = L == m ? 0.0 : errpar[source] * par[area] / par[source];
    }
}

// Length of the run of points that count, from each point on. Returns how many count.
static long long find_runs(int ap, const double *wre, const double *wim, int *counts) {
    long long points = 0;
    for (int k = ap - 1; k >= 0; --k) {
        if (wre[k] + wim[k] == 0.0) continue;
        counts[k] = 1 + (k + 1 < ap ? counts[k + 1] : 0);
        ++points;
    }
    return points;
}

void ncr_mvb(const int &N, const int &ap, const double &sigma, double *par,
             const parameter_record *fixpar, double *errpar, int &nfitted, const int &nLines,
             const int &td_ap_trunc, const int &npar, double *par_copy, const double *xre,
             const double *xim, double *yre, double *yim, double *wre, double *wim,
             const double *re_ref, const double *im_ref, double *r_lsf, double *i_lsf,
             const double &frscl, const double &phi_1, const int &n_patterns, const double *pat,
             const int &spec, const int &complex, const int &weighting_type, const int &single_line,
             const int &lsf_coefs, const int &ref_line, const int *fit_lsf, const double *lookup,
             const int &ignore) {
    // "channal": wording kept
    if (complex == 1) {
        std::printf("calculating errors for dispersion channal case ...\n");
    } else if (complex == 2) {
        std::printf("calculating errors for complex case ...\n");
    } else {
        std::printf("calculating errors for absorption channal case ...\n");
    }
    int nfree = 0;
    for (int i = 0; i < N; ++i) nfree += fixpar[i].fixed_to == 0 ? 1 : 0;

    const bool real_channel = complex == 0 || complex >= 2;
    const bool imaginary_channel = complex == 1 || complex == 2;
    const scratch<int> counts(ap, " Memory requested to store counts[] in cr_mvb() is not "
                                  "available\n");
    const long long points = counts != nullptr ? find_runs(ap, wre, wim, counts) : 0;
    const long long values =
        points * ((real_channel ? 1 : 0) + (imaginary_channel ? 1 : 0)); // of one derivative
    const long long row_length = kernel::padded_values(values);          // rows end in zeros

    // All derivatives side by side, at the points and in the channels that count.
    const long long rows = kernel::padded_rows(nfree);
    const scratch<double> derivatives(rows * row_length, no_derivatives);
    const scratch<double> trial(N, " Memory requested to store y[] in "
                                   "f_new_complex_select() is not available\n");
    const scratch<double> base(N, no_unperturbed);
    const scratch<double> covar(static_cast<long long>(nfree) * nfree,
                                " Memory requested to store covar[][] in cr_mvb() is not "
                                "available\n");
    if (counts != nullptr && derivatives != nullptr && trial != nullptr && base != nullptr &&
        covar != nullptr) {
        const model_context model = MODEL_CONTEXT_HERE;
        const curve_setting setting = CURVE_SETTING_HERE;
        const derivative_rows rows_of{ap,         counts,     real_channel, imaginary_channel,
                                      row_length, derivatives};
        int q = 0;
        for (int s = 1; s <= N / pars_per_entry; ++s) {
            entry_derivatives(model, setting, s, q, N, par, trial, base, rows_of);
            for (int kind = 0; kind < pars_per_entry; ++kind)
                q += fixpar[pars_per_entry * (s - 1) + kind].fixed_to == 0 ? 1 : 0;
        }
        kernel::add_products(nfree, row_length, derivatives, covar);
        gaussj(covar, nfree);
        spread_errors(N, nLines, nfree, sigma, covar, par, fixpar, errpar);
    }
    std::printf("number of parameters fitted                 : %5d\n", nfree);
    nfitted = nfree;
}
