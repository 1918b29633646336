// SPDX-License-Identifier: BSD-3-Clause
// ncr_mvb.cpp -- Cramer-Rao minimum variance bounds of the fitted parameters
//
// The Fisher matrix of a spectrum in white noise is the sum over the points of the products of
// the model's derivatives; its inverse times the noise variance bounds the covariance of any
// unbiased estimate. Each derivative is computed once and the symmetric matrix filled as a
// triangle.
#include "errors/ncr_mvb.h"

#include "errors/matrix_lib.h"
#include "model/model_context.h"
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

static void model_derivative(const model_context &model, int index, int N, double *par, double *dre,
                             double *dim) {
    const int ap = model.ap;
    const scratch<double> saved(N, " Memory requested to store y[] in "
                                   "f_new_complex_select() is not available\n");
    const scratch<double> y0re(ap, " Memory requested to store yr[] in "
                                   "f_new_complex_select() is not available\n");
    const scratch<double> y0im(
        ap, " Memory requested to store yi[] in f_new_complex_select() is not available\n");
    if (saved == nullptr || y0re == nullptr || y0im == nullptr) return;
    for (int i = 0; i < N; ++i) saved[i] = par[i];
    model.chi_square(par);
    for (int k = 0; k < ap; ++k) {
        y0re[k] = model.yre[k];
        y0im[k] = model.yim[k];
    }
    const double p = par[index];
    const double h = p != 0.0 ? p * difference_step : difference_step;
    par[index] = p + h;
    model.chi_square(par);
    for (int k = 0; k < ap; ++k) {
        dre[k] = (model.yre[k] - y0re[k]) / h;
        dim[k] = (model.yim[k] - y0im[k]) / h;
    }
    for (int i = 0; i < N; ++i) par[i] = saved[i];
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
    model_derivative(model, index, N, par, dre, dim);
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

    // All derivatives side by side: parameter q (0-based) at q * ap.
    const scratch<double> d_re(static_cast<long long>(nfree) * ap,
                               " Memory requested to store gr_l_re[] in cr_mvb() is not "
                               "available\n");
    const scratch<double> d_im(static_cast<long long>(nfree) * ap,
                               " Memory requested to store gr_l_im[] in cr_mvb() is not "
                               "available\n");
    const scratch<double> covar(static_cast<long long>(nfree) * nfree,
                                " Memory requested to store covar[][] in cr_mvb() is not "
                                "available\n");
    if (d_re != nullptr && d_im != nullptr && covar != nullptr) {
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
        long long q = 0;
        for (int i = 0; i < N; ++i) {
            if (fixpar[i].fixed_to != 0) continue;
            model_derivative(model, i, N, par, d_re + q * ap, d_im + q * ap);
            ++q;
        }
        const bool real_channel = complex == 0 || complex >= 2;
        const bool imaginary_channel = complex == 1 || complex == 2;
        for (int row = 1; row <= nfree; ++row) {
            for (int col = row; col <= nfree; ++col) {
                const double *a_re = d_re + (row - 1LL) * ap;
                const double *a_im = d_im + (row - 1LL) * ap;
                const double *b_re = d_re + (col - 1LL) * ap;
                const double *b_im = d_im + (col - 1LL) * ap;
                double sum = 0.0;
                for (int k = 0; k < ap; ++k) {
                    if (wre[k] + wim[k] == 0.0) continue;
                    if (real_channel) sum += a_re[k] * b_re[k];
                    if (imaginary_channel) sum += a_im[k] * b_im[k];
                }
                push_2d_element(covar, nfree, row, col, sum);
                push_2d_element(covar, nfree, col, row, sum);
            }
        }
        gaussj(covar, nfree);
        spread_errors(N, nLines, nfree, sigma, covar, par, fixpar, errpar);
    }
    std::printf("number of parameters fitted                 : ");
    std::printf("%5d", nfree);
    std::printf("\n");
    nfitted = nfree;
}
