// SPDX-License-Identifier: BSD-3-Clause
// frprmn.cpp -- conjugate gradient minimizer
#include "minimize/frprmn.h"

#include "minimize/line_search.h"
#include "model/gradient.h"
#include "model/objective.h"
#include "model/vector_lib.h"
#include "run/state.h"
#include "run/storage.h"

#include <cmath>
#include <cstdio>

static constexpr double convergence_floor = 1e-10; // of a chi-square that goes to zero

void frprmn(const int &n, double *p) {
    const long long length = pars_per_entry * (n_patterns + nLines) + 2LL * lsf_coefs;
    // "frprnm": wording kept
    const scratch<double> g(length,
                            " Memory requested to store g[] in frprnm() is not available\n");
    const scratch<double> h(length,
                            " Memory requested to store h[] in frprmn() is not available\n");
    const scratch<double> xi(length,
                             " Memory requested to store xi[] in frprmn() is not available\n");
    if (g == nullptr || h == nullptr || xi == nullptr) return;

    double fp = chi_square_of(p);
    dfnc(fp, p, xi);
    for (int j = 0; j < n; ++j) g[j] = h[j] = xi[j] = -xi[j];

    for (int its = 1; its <= itmax; ++its) {
        if (verbose > 1)
            std::printf("\nfrprmn iteration step %d of maximum %d allowed steps \n", its, itmax);
        niter = its;
        ncom = n;
        Copy_Vector(n, p, pcom);
        Copy_Vector(n, xi, xicom);
        const bracket valley = bracket_minimum(func);
        bool exhausted = false;
        const double xmin = brent_minimum(func, valley, brent_itmax, minimum, exhausted);
        if (exhausted && verbose > 1) std::printf("Too many iterations in double brent\n");
        for (int j = 0; j < n; ++j) {
            const double moved = p[j] + xi[j] * xmin;
            if (std::isfinite(moved)) p[j] = moved; // a flat direction ends at infinity
        }
        if (2.0 * std::fabs(minimum - fp) <=
            ftol * (std::fabs(minimum) + std::fabs(fp) + convergence_floor))
            return;

        fp = chi_square_of(p);
        dfnc(fp, p, xi);
        if (n < 1) break;
        double gg = 0.0;
        double dgg = 0.0;
        for (int j = 0; j < n; ++j) {
            gg += g[j] * g[j];
            dgg += (xi[j] + g[j]) * xi[j];
        }
        if (gg == 0.0) break;
        const double gam = dgg / gg;
        for (int j = 0; j < n; ++j) {
            g[j] = -xi[j];
            h[j] = g[j] + gam * h[j];
            xi[j] = h[j];
        }
    }
    if (verbose > 1) {
        std::printf("pause in void frprmn: \n");
        std::printf("too many iterations \n\n");
    }
}
