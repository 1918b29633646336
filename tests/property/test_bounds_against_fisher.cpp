// SPDX-License-Identifier: BSD-3-Clause
#include "errors/error_bounds.h"
#include "model/objective.h"
#include "oracle/definition.h"
#include "run/state.h"
#include "support/random_model.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

using definition::real;

// Forward differences with a relative step of 1e-7 err by 1e-7 of a derivative (1e-5 for a
// frequency at point 100 of a line one point wide); the inversion multiplies that by about the
// variance inflation F_qq Cov_qq of the problem. Problems above the limit, where two parameters
// do nearly the same (both widths of a line in one channel), are drawn again: 1e-4 can't hold
// there.
static constexpr double bound_tolerance = 1e-4;
static constexpr real most_inflation = 100.0L;

static void compare_bounds(int trials, int patterns, std::uint64_t seed) {
    support::random_numbers random(seed);
    int compared = 0;
    int drawn = 0;
    for (int trial = 0; trial < trials; ++drawn) {
        ASSERT_LT(drawn, 20 * trials);
        support::model_choice choice;
        choice.points = 128;
        choice.lines = random.integer(2, 5);
        choice.patterns = patterns;
        choice.separated = true;
        choice.delay = random.integer(0, 1) == 1;
        choice.ignored = random.integer(0, 2);
        choice.mode = random.integer(0, 2);
        support::make_random_model(random, choice);
        sigma = random.uniform(0.01, 2.0);
        chi_square_of(par);
        const std::vector<real> x = definition::widened(par, npar);
        const auto fisher = definition::fisher(definition::derivatives(x));
        const auto covariance = definition::inverse(fisher);
        real inflation = covariance.empty() ? 2.0L * most_inflation : 1.0L;
        for (std::size_t q = 0; q < covariance.size(); ++q)
            inflation = std::max(inflation, fisher[q][q] * covariance[q][q]);
        if (inflation > most_inflation) continue;
        ++trial;
        support::stdout_of([] { compute_error_bounds(); });
        std::size_t q = 0;
        for (int i = 0; i < npar; ++i) {
            if (fixpar[i].fixed_to != 0) continue;
            const double wanted = 2.0 * sigma * std::sqrt(static_cast<double>(covariance[q][q]));
            EXPECT_NEAR(errpar[i], wanted, bound_tolerance * wanted)
                << "trial " << trial << " parameter " << i << " complex " << complex;
            ++q;
            ++compared;
        }
        EXPECT_EQ(nfitted, static_cast<int>(q));
        for (int i = 0; i < npar; ++i) {
            const int L = fixpar[i].fixed_to;
            if (L == 0) continue;
            const int source = 5 * (L - 1) + i % 5;
            const bool area_of_line = i % 5 == 0 && i / 5 < nLines;
            const double ratio = area_of_line && L != i / 5 + 1 ? par[i] / par[source] : 1.0;
            EXPECT_DOUBLE_EQ(errpar[i], L == i / 5 + 1 ? 0.0 : errpar[source] * ratio);
        }
    }
    EXPECT_GT(compared, 5 * trials);
}

TEST(bounds, of_lines_equal_the_inverse_of_the_analytic_fisher_matrix) {
    compare_bounds(50, 0, 31);
}

TEST(bounds, of_lines_and_patterns_equal_the_inverse_of_the_analytic_fisher_matrix) {
    compare_bounds(20, 1, 32);
}
