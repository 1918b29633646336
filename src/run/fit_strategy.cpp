// SPDX-License-Identifier: BSD-3-Clause
// fit_strategy.cpp -- one step of the fit strategy
#include "run/fit_strategy.h"

#include "minimize/frprmn.h"
#include "minimize/ran_minimize.h"
#include "model/step_weights.h"
#include "model/vector_lib.h"
#include "run/state.h"
#include "run/storage.h"

#include <cstdio>

double alignment_shift(int step, const double *re, const double *im, double *xabs, double *yabs,
                       double *conv_weighting, double *conv, double *spare) {
    Create_Weighting_Function(ap, step, conv_weighting, spare);
    Absolute_Vector(ap, re, im, xabs);
    Absolute_Vector(ap, yre, yim, yabs);
    Multiply_Vector(ap, xabs, xabs, conv_weighting);
    Multiply_Vector(ap, yabs, yabs, conv_weighting);
    const int lags = ap / 16;
    Convolution(ap, -lags, lags - 1, xabs, yabs, conv);
    int m = 0;
    double largest = 0.0;
    Max_Vector(ap, conv, m, largest);
    const int no_lag = ap / 2;
    return no_lag - m;
}

// Moves all frequencies, and the ends of their ranges.
static void move_frequencies(double shift) {
    for (int k = 0; k < nLines + n_patterns; ++k) {
        const int i = pars_per_entry * k + freq_par;
        par[i] += shift / frscl;
        fixpar[i].min += shift / frscl;
        fixpar[i].max += shift / frscl;
    }
}

static void print_switch(const char *text, int on, const char *yes, const char *no) {
    std::printf("%s", text);
    std::printf("%s", on == 1 ? yes : no);
}

static void print_switches() {
    std::printf("\nStarting next fit step ... \n\n");
    print_switch("amplitude fit :  ", amp_fit, " yes \n", " no  \n");
    print_switch("frequency fit :  ", freq_fit, " yes \n", " no  \n");
    print_switch("width     fit :  ", width_fit, " yes \n", " no  \n");
    print_switch("phase     fit :  ", phase_fit, " yes \n", " no  \n");
    print_switch("voigt     fit :  ", voigt_fit, " yes \n\n", " no  \n\n");
}

static void random_search_of(int trials) {
    Ran_ML_Minimize(trials, itmax, ap, nLines, td_ap_trunc, npar, par, par_bu, par_copy, fixpar,
                    xre, xim, yre, yim, wre, wim, re_ref, im_ref, r_lsf, i_lsf, frscl, phi_1,
                    n_patterns, pat, spec, complex, weighting_type, single_line, lsf_coefs,
                    ref_line, fit_lsf, lookup, ignore, amp_fit, freq_fit, width_fit, phase_fit,
                    voigt_fit, lsf_fit_enable, par_ranges);
}

static void fit_lines(int algor) {
    single_line = 0;
    if (verbose > 1) print_switches();
    std::fflush(stdout);
    if (algor == 1) {
        std::printf("Performing random fit step ... \n");
        random_search_of(50 / (nLines + n_patterns) + (3 * npar) / 2);
    } else {
        frprmn(npar + 2 * lsf_coefs, par);
    }
    if (verbose > 0) std::printf("\nFit step performed no line shape function \n\n");
}

static void fit_lines_and_lineshape(int algor) {
    single_line = 0;
    if (algor == 1) {
        std::printf("\nStarting next random fit step ... \n");
        random_search_of((3 * (npar + lsf_coefs)) / 2);
    } else {
        frprmn(npar + 2 * lsf_coefs, par);
    }
    if (verbose > 0) std::printf("\nFit step performed with line shape function \n");
}

void Fit_Strategy_Step(const int &algor, const int &trunc, const int &step, const int &ampli,
                       const int &frequ, const int &width, const int &phase, const int &voigt,
                       const int &lsfft, const int &wtype, const int &convo, const int &niter_max,
                       const int &cmplx) {
    const scratch<double> xabs(
        ap, " Memory requested to store xabs[] in void Fit_Strategy_Step is  not available\n");
    const scratch<double> yabs(
        ap, " Memory requested to store yabs[] in void Fit_Strategy_Step is  not available\n");
    const scratch<double> conv_weighting(ap, " Memory requested to store conv_weighting[] in void "
                                             "Fit_Strategy_Step is  not available\n");
    const scratch<double> conv(
        ap, " Memory requested to store conv[] in void Fit_Strategy_Step is  not available\n");
    const scratch<double> dummy_arr(
        ap, " Memory requested to store dummy_arr[] in void Fit_Strategy_Step is  not available\n");

    amp_fit = ampli;
    freq_fit = frequ;
    width_fit = width;
    phase_fit = phase;
    voigt_fit = voigt;
    lsf_fit_enable = lsfft;
    weighting_type = wtype;
    convolute = convo;
    itmax = niter_max;
    complex = cmplx;
    td_ap_trunc = trunc;
    if (verbose > 1) std::printf("weighting_type = %d\n", weighting_type);

    if (convolute == 1) {
        const bool have_scratch = xabs != nullptr && yabs != nullptr && conv_weighting != nullptr &&
                                  conv != nullptr && dummy_arr != nullptr;
        if (have_scratch)
            move_frequencies(alignment_shift(step, xre_copy, xim_copy, xabs, yabs, conv_weighting,
                                             conv, dummy_arr));
        Truncate_Spectrum(ap, td_ap_trunc, xre, xim, lookup);
    }
    const long long switches = 0LL + ampli + frequ + width + phase + voigt + lsfft;
    if (switches == 0) return;
    Create_Weighting_Function(ap, step, wre, wim);
    if (lsf_coefs < 0) return;

    if (lsf_fit_enable == 0)
        fit_lines(algor);
    else if (lsf_fit_enable == 1 && lsf_coefs >= 1)
        fit_lines_and_lineshape(algor);
}
