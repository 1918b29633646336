// SPDX-License-Identifier: BSD-3-Clause
// gradient.cpp -- gradient of the chi-square with respect to the parameter vector
//
// Each derivative costs one incremental model update (single_line): the curve of the perturbed
// entry is exchanged, all others stay. The model is restored by copying, not by computing.
#include "model/gradient.h"

#include "model/objective.h"
#include "model/vector_lib.h"
#include "report/fit_quality.h"
#include "run/state.h"
#include "run/storage.h"

#include <cmath>
#include <cstdio>

// True when the start frequency of line k (1-based) lies at a point that does not carry weight 1.
static bool starts_outside_intervals(int k) {
    const double start = fixpar[pars_per_entry * (k - 1) + freq_par].value;
    if (!(start > -1.0 && start < ap)) return true;
    return wre[static_cast<int>(start)] != 1.0; // towards zero
}

static void print_gradient_of_line(int s, const double *x, const double *g) {
    const int at = pars_per_entry * (s - 1);
    std::printf("Gradient # %d : %1.3E  \t", at, g[at]);
    std::printf("| Amplitude        : %1.5E  a.u.\n", x[at]);
    std::printf("Gradient # %d : %1.3E   \t", at + 1, g[at + 1]);
    std::printf("| Frequency        : %1.5E  Hz\n", x[at + 1] * frscl * Hz_pp);
    std::printf("Gradient # %d : %1.3E   \t", at + 2, g[at + 2]);
    std::printf("| Gaussian width   : %1.5E  i.u.\n", x[at + 2]);
    std::printf("Gradient # %d : %1.3E   \t", at + 3, g[at + 3]);
    std::printf("| Phase            : %1.5E  degrees\n", x[at + 3]);
    std::printf("Gradient # %d : %1.3E   \t", at + 4, g[at + 4]);
    std::printf("| Lorentzian width : %1.5E  i.u.\n", x[at + 4]);
}

static void print_whole_gradient(double f0, const double *g) {
    std::printf("\n\n");
    std::printf("Function value             : ");
    std::printf("%1.12E\n", f0);
    for (int i = 0; i < npar; ++i) {
        std::printf("Gradient #");
        std::printf("%d", i);
        std::printf(" : ");
        std::printf("%1.12E\n", g[i]);
    }
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
    print_fit_quality(complex, h_cur_range, sigma, scalefactor);
    if (verbose > 0) {
        std::printf("scaled chi-sqr                              : ");
        std::printf("%E\n", f0);
    }
    if (verbose > 1 && show_line >= 1 && show_line <= nLines + n_patterns)
        print_gradient_of_line(show_line, x, g);
    if (verbose >= 3) print_whole_gradient(f0, g);
}
