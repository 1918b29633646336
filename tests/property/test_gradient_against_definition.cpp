// SPDX-License-Identifier: BSD-3-Clause
#include "model/gradient.h"
#include "model/objective.h"
#include "oracle/definition.h"
#include "run/state.h"
#include "support/random_model.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

using definition::real;

static real chi_square_at(std::vector<real> x) {
    return definition::chi_square(definition::model(definition::linked(x)));
}

// The gradient is (f(x + h) - f(x)) / h with h = x / 1e7. Against the derivative it errs by
// h f''/2 (f'' from the second difference of the definition) and by the rounding of f: a sum of
// about n terms, 1e-16 of its size each, over h. A factor 8 on the rounding covers the model's own.
TEST(gradient, equals_central_differences_of_the_definition) {
    support::random_numbers random(21);
    int compared = 0;
    for (int trial = 0; trial < 40; ++trial) {
        support::model_choice choice = support::random_choice(random);
        choice.points = 32;
        choice.lines = random.integer(2, 4);
        support::make_random_model(random, choice);
        amp_fit = freq_fit = width_fit = phase_fit = voigt_fit = 1;
        lsf_fit_enable = 1;
        const int n = npar + 2 * lsf_coefs;
        const double f0 = chi_square_of(par);
        const std::vector<real> x = definition::widened(par, n);
        std::vector<double> g(static_cast<std::size_t>(n));
        verbose = 0;
        dfnc(f0, par, g.data());
        double terms = 0.0; // size of what is summed; with weights of both signs more than the sum
        for (int i = 0; i < ap; ++i)
            terms += std::fabs(wre[i]) * std::pow(xre[i] - yre[i], 2) +
                     std::fabs(wim[i]) * std::pow(xim[i] - yim[i], 2);
        terms = std::max(terms, std::fabs(f0));
        for (int i = 0; i < n; ++i) {
            const std::size_t at = static_cast<std::size_t>(i);
            const int k = i / 5 + 1;
            const bool free = i >= npar || fixpar[i].fixed_to == 0;
            const bool outside = i < npar && k <= nLines &&
                                 wre[static_cast<int>(fixpar[5 * (k - 1) + 1].value)] != 1.0;
            if (!free || outside) {
                EXPECT_EQ(g[at], 0.0) << "trial " << trial << " parameter " << i;
                continue;
            }
            const real size = std::max(std::fabs(x[at]), 1e-3L);
            const real e = 1e-5L * size;
            std::vector<real> up = x, down = x;
            up[at] += e;
            down[at] -= e;
            const real f_up = chi_square_at(up), f_down = chi_square_at(down), f = chi_square_at(x);
            const double wanted = static_cast<double>((f_up - f_down) / (2.0L * e));
            const double second = static_cast<double>((f_up - 2.0L * f + f_down) / (e * e));
            const double h = std::fabs(par[i]) > 1e-7 ? std::fabs(par[i]) / deriv_p : 1.0 / deriv_p;
            const double tolerance =
                0.6 * h * std::fabs(second) + 8.0 * 1.1e-16 * terms / h + 1e-9 * std::fabs(wanted);
            EXPECT_NEAR(wanted, g[at], tolerance)
                << "trial " << trial << " parameter " << i << " complex " << complex
                << " weighting " << weighting_type << " of " << par[i];
            ++compared;
        }
    }
    EXPECT_GT(compared, 200);
}

TEST(gradient, leaves_vector_and_model_as_they_were) {
    support::random_numbers random(22);
    for (int trial = 0; trial < 20; ++trial) {
        support::make_random_model(random, support::random_choice(random));
        amp_fit = freq_fit = width_fit = phase_fit = voigt_fit = lsf_fit_enable = 1;
        const int n = npar + 2 * lsf_coefs;
        const double f0 = chi_square_of(par);
        const std::vector<double> x(par, par + n), copy(par_copy, par_copy + n);
        const std::vector<double> re(yre, yre + ap), im(yim, yim + ap);
        std::vector<double> g(static_cast<std::size_t>(n));
        dfnc(f0, par, g.data());
        EXPECT_EQ(x, std::vector<double>(par, par + n));
        EXPECT_EQ(copy, std::vector<double>(par_copy, par_copy + n));
        EXPECT_EQ(re, std::vector<double>(yre, yre + ap));
        EXPECT_EQ(im, std::vector<double>(yim, yim + ap));
        EXPECT_EQ(single_line, 0);
    }
}
