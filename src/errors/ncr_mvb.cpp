// SPDX-License-Identifier: BSD-3-Clause
// ncr_mvb.cpp -- Cramer-Rao minimum variance bounds of the fitted parameters
//
// The Fisher matrix of a spectrum in white noise is the sum over the points of the products of
// the model's derivatives; its inverse times the noise variance bounds the covariance of any
// unbiased estimate. Each derivative is computed once and the symmetric matrix filled as a
// triangle.
#include "errors/ncr_mvb.h"

#include "errors/matrix_lib.h"
#include "model/lanes.h"
#include "model/model_context.h"
#include "model/model_sum.h"
#include "run/storage.h"

#include <cmath>
#include <cstdio>

static constexpr double difference_step = 1e-7; // relative; absolute for a parameter that is 0

static bool inside(int n, int row, int col) {
    return row >= 1 && col >= 1 && row <= n && col <= n;
}

void push_2d_element(double *a, const int &n, const int &row, const int &col, const double &value) {
    if (!inside(n, row, col)) {
        std::printf("fatal memory implementation error : \n");
        std::printf("trying to push 2d matrix element outside allocated memory area \n");
        return;
    }
    push_2d_matrix_element(a, n, row, col, value);
}

double pop_2d_element(const double *a, const int &n, const int &row, const int &col) {
    if (!inside(n, row, col)) {
        std::printf("fatal memory implementation error : \n");
        std::printf("trying to pop 2d matrix element outside allocated memory area \n");
        return 0.0;
    }
    return pop_2d_matrix_element(a, n, row, col);
}

// Model of the vector par after a step of par[index], minus the model of par itself, over the step.
// `sum` receives the spectrum of the difference of curves; trial and base hold N values.
static bool model_derivative(const model_context &model, int index, int N, const double *par,
                             double *trial, double *base, model_sum &sum, double &h) {
    const curve_setting setting{
        model.ap,        model.nLines, model.n_patterns, model.td_ap_trunc, model.ref_line,
        model.lsf_coefs, model.ignore, model.fit_lsf,    model.frscl,       model.phi_1,
        model.re_ref,    model.im_ref, model.r_lsf,      model.i_lsf,       model.pat};
    if (!sum.begin(setting)) return false;
    const int entries = N / pars_per_entry;
    for (int i = 0; i < N; ++i) trial[i] = base[i] = par[i];
    h = par[index] != 0.0 ? par[index] * difference_step : difference_step;
    trial[index] += h;
    derive_dependent_parameters(entries, base, model.fixpar);
    derive_dependent_parameters(entries, trial, model.fixpar);
    for (int k = 1; k <= entries; ++k) {
        const int at = pars_per_entry * (k - 1);
        bool changed = false;
        for (int j = at; j < at + pars_per_entry; ++j) changed = changed || trial[j] != base[j];
        if (!changed) continue;
        sum.add(k, model.fixpar[at].type, trial + at, 1.0);
        sum.add(k, model.fixpar[at].type, base + at, -1.0);
    }
    sum.transform();
    return true;
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
    const model_context model{ap,
                              nLines,
                              td_ap_trunc,
                              npar,
                              par_copy,
                              fixpar,
                              xre,
                              xim,
                              yre,
                              yim,
                              wre,
                              wim,
                              re_ref,
                              im_ref,
                              r_lsf,
                              i_lsf,
                              frscl,
                              phi_1,
                              n_patterns,
                              pat,
                              spec,
                              complex,
                              weighting_type,
                              single_line,
                              lsf_coefs,
                              ref_line,
                              fit_lsf,
                              lookup,
                              ignore};
    const scratch<double> trial(N, " Memory requested to store y[] in "
                                   "f_new_complex_select() is not available\n");
    const scratch<double> base(N, " Memory requested to store yr[] in "
                                  "f_new_complex_select() is not available\n");
    if (trial == nullptr || base == nullptr) return;
    model_sum sum;
    double h = 0.0;
    if (!model_derivative(model, index, N, par, trial, base, sum, h)) return;
    for (int k = 0; k < ap; ++k) {
        dre[k] = sum.re()[k] / h;
        dim[k] = sum.im()[k] / h;
    }
}

// Products of 2 x 2 rows at a time, so that each loaded value is used twice; the sum of a product
// runs over eight partial sums, whatever the rows. n is a multiple of 8.
MULTIVERSION_WIDE static void products_of_rows(long long n, const double *a0, const double *a1,
                                               const double *b0, const double *b1, double *out) {
    wide_lanes s00 = {}, s01 = {}, s10 = {}, s11 = {};
    for (long long i = 0; i < n; i += 8) {
        wide_lanes x0, x1, y0, y1;
        load(x0, a0 + i);
        load(x1, a1 + i);
        load(y0, b0 + i);
        load(y1, b1 + i);
        s00 += x0 * y0;
        s01 += x0 * y1;
        s10 += x1 * y0;
        s11 += x1 * y1;
    }
    out[0] = total(s00);
    out[1] = total(s01);
    out[2] = total(s10);
    out[3] = total(s11);
}

// F(i, j) = sum of the products of rows i and j; the matrix is symmetric.
static void fill_fisher_matrix(int nfree, long long row_length, const double *rows, double *covar) {
    const auto row = [&](int i) { return rows + (i - 1) * row_length; };
    const auto put = [&](int i, int j, double value) {
        push_2d_element(covar, nfree, i, j, value);
        push_2d_element(covar, nfree, j, i, value);
    };
    for (int i = 1; i <= nfree; i += 2) {
        const int i2 = i < nfree ? i + 1 : i;
        for (int j = i; j <= nfree; j += 2) {
            const int j2 = j < nfree ? j + 1 : j;
            double out[4];
            products_of_rows(row_length, row(i), row(i2), row(j), row(j2), out);
            put(i, j, out[0]);
            put(i, j2, out[1]);
            put(i2, j, out[2]);
            put(i2, j2, out[3]);
        }
    }
}

// Values at the points that count, times per_step; returns the place behind them.
MULTIVERSION static double *gather(int ap, const int *counts, const double *__restrict v,
                                   double per_step, double *__restrict out) {
    for (int k = 0; k < ap;) {
        if (counts[k] == 0) {
            ++k;
            continue;
        }
        const int run = counts[k]; // points that count from here on
        for (int j = 0; j < run; ++j) out[j] = v[k + j] * per_step;
        out += run;
        k += run;
    }
    return out;
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
    long long points = 0;
    const scratch<int> counts(ap, " Memory requested to store gr_l_im[] in cr_mvb() is not "
                                  "available\n"); // length of the run of points that count
    for (int k = ap - 1; k >= 0 && counts != nullptr; --k) {
        if (wre[k] + wim[k] == 0.0) continue;
        counts[k] = 1 + (k + 1 < ap ? counts[k + 1] : 0);
        ++points;
    }
    const long long values =
        points * ((real_channel ? 1 : 0) + (imaginary_channel ? 1 : 0)); // of one derivative
    const long long row_length = (values + 7) / 8 * 8;                   // rows end in zeros

    // All derivatives side by side, at the points and in the channels that count.
    const scratch<double> derivatives(nfree * row_length,
                                      " Memory requested to store gr_l_re[] in cr_mvb() is not "
                                      "available\n");
    const scratch<double> trial(N, " Memory requested to store y[] in "
                                   "f_new_complex_select() is not available\n");
    const scratch<double> base(N, " Memory requested to store yr[] in "
                                  "f_new_complex_select() is not available\n");
    const scratch<double> covar(static_cast<long long>(nfree) * nfree,
                                " Memory requested to store covar[][] in cr_mvb() is not "
                                "available\n");
    if (counts != nullptr && derivatives != nullptr && trial != nullptr && base != nullptr &&
        covar != nullptr) {
        const model_context model{ap,
                                  nLines,
                                  td_ap_trunc,
                                  npar,
                                  par_copy,
                                  fixpar,
                                  xre,
                                  xim,
                                  yre,
                                  yim,
                                  wre,
                                  wim,
                                  re_ref,
                                  im_ref,
                                  r_lsf,
                                  i_lsf,
                                  frscl,
                                  phi_1,
                                  n_patterns,
                                  pat,
                                  spec,
                                  complex,
                                  weighting_type,
                                  single_line,
                                  lsf_coefs,
                                  ref_line,
                                  fit_lsf,
                                  lookup,
                                  ignore};
        double *row = derivatives;
        for (int i = 0; i < N; ++i) {
            if (fixpar[i].fixed_to != 0) continue;
            model_sum sum;
            double h = 0.0;
            if (model_derivative(model, i, N, par, trial, base, sum, h)) {
                double *next = row;
                if (real_channel) next = gather(ap, counts, sum.re(), 1.0 / h, next);
                if (imaginary_channel) gather(ap, counts, sum.im(), 1.0 / h, next);
            }
            row += row_length;
        }
        fill_fisher_matrix(nfree, row_length, derivatives, covar);
        gaussj(covar, nfree);
        spread_errors(N, nLines, nfree, sigma, covar, par, fixpar, errpar);
    }
    std::printf("number of parameters fitted                 : ");
    std::printf("%5d", nfree);
    std::printf("\n");
    nfitted = nfree;
}
