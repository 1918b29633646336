// SPDX-License-Identifier: BSD-3-Clause
#include "engine/covariance.h"
#include "kernel/ranked_cholesky.h"

#include "errors/error_bounds.h"
#include "model/objective.h"
#include "oracle/definition.h"
#include "run/state.h"
#include "support/engine_problem.h"
#include "support/random_model.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <numeric>

using definition::real;

static engine::entry_covariance covariance_at_start(const engine::model &model) {
    engine::model_workspace ws;
    ws.prepare(model);
    const std::vector<double> x = model.starts();
    ws.linearize(model, x);
    const std::vector<signed char> held(x.size(), 0);
    return engine::entry_covariance(model, x, ws.products(), held);
}

static support::model_choice separated(support::random_numbers &random) {
    support::model_choice choice;
    choice.points = 128;
    choice.lines = random.integer(2, 5);
    choice.patterns = random.integer(0, 1);
    choice.separated = true;
    choice.delay = random.integer(0, 1) == 1;
    choice.ignored = random.integer(0, 2);
    choice.mode = random.integer(0, 2);
    return choice;
}

// Largest variance inflation F_qq Cov_qq: what rounding is multiplied by.
static real inflation_of(const std::vector<std::vector<real>> &fisher,
                         const std::vector<std::vector<real>> &covariance) {
    real out = covariance.empty() ? 1e30L : 1.0L;
    for (std::size_t q = 0; q < covariance.size(); ++q)
        out = std::max(out, fisher[q][q] * covariance[q][q]);
    return out;
}

TEST(covariance, equals_the_inverse_of_the_fisher_matrix_by_its_definition) {
    support::random_numbers random(21);
    int compared = 0;
    for (int trial = 0; trial < 60; ++trial) {
        support::make_random_model(random, separated(random));
        sigma = random.uniform(0.01, 2.0);
        const auto model = engine::model::make(support::engine_problem_of_state());
        ASSERT_TRUE(model);
        const auto got = covariance_at_start(*model);
        const auto fisher =
            definition::fisher(definition::derivatives(definition::widened(par, npar)));
        const auto wanted = definition::inverse(fisher);
        const real inflation = inflation_of(fisher, wanted);
        if (inflation > 1e6L) continue;
        const int n = model->map().columns();
        ASSERT_EQ(wanted.size(), static_cast<std::size_t>(n));
        for (int a = 0; a < n; ++a) {
            for (int b = 0; b < n; ++b) {
                const std::size_t i = static_cast<std::size_t>(a), j = static_cast<std::size_t>(b);
                const double value = static_cast<double>(wanted[i][j]) * sigma * sigma;
                const double size =
                    static_cast<double>(std::sqrt(wanted[i][i] * wanted[j][j])) * sigma * sigma;
                EXPECT_NEAR(got.of(model->map().at(a).entry, model->map().at(a).of,
                                   model->map().at(b).entry, model->map().at(b).of),
                            value, 1e-11 * static_cast<double>(inflation) * size)
                    << "trial " << trial << " columns " << a << " " << b;
                ++compared;
            }
        }
    }
    EXPECT_GT(compared, 2000);
}

// Largest rounding of such a difference with the fitter's step, of the derivative itself.
static double rounding_of_differences(const engine::model &model) {
    engine::model_workspace ws;
    ws.prepare(model);
    const std::vector<double> x = model.starts();
    ws.linearize(model, x);
    double signal = 0.0, worst = 0.0;
    for (const std::complex<double> v : ws.spectrum(model, x)) signal += std::norm(v);
    ws.linearize(model, x);
    const std::size_t n = x.size();
    for (std::size_t c = 0; c < n; ++c) {
        const bool squared = model.map().at(static_cast<int>(c)).squared;
        const double y = squared ? 0.5 * x[c] : x[c]; // of a width by its square
        const double change =
            (y == 0.0 ? 1.0 : std::fabs(y)) * std::sqrt(ws.products()[c * (n + 2)]);
        worst = std::max(worst, std::sqrt(signal) / model.noise_sd() / change);
    }
    return worst * 0x1p-53 / 1e-7;
}

// The errors of the columns (widths themselves, not their squares) from one-sided differences of
// the engine's residual, as the fitter differentiates: a relative step, an absolute one from 0.
static std::vector<double> errors_by_differences(const engine::model &model, double step) {
    engine::model_workspace ws;
    ws.prepare(model);
    const std::vector<double> x = model.starts();
    const std::size_t n = x.size();
    ws.chi_square(model, x);
    const std::vector<double> here(ws.residual(model).begin(), ws.residual(model).end());
    std::vector<std::vector<double>> jacobian;
    for (std::size_t c = 0; c < n; ++c) {
        const bool squared = model.map().at(static_cast<int>(c)).squared;
        const double y = squared ? std::sqrt(x[c]) : x[c];
        const double h = y == 0.0 ? step : step * y;
        std::vector<double> there = x;
        there[c] = squared ? (y + h) * (y + h) : y + h;
        ws.chi_square(model, there);
        std::vector<double> &column = jacobian.emplace_back(here);
        for (std::size_t r = 0; r < column.size(); ++r)
            column[r] = (column[r] - ws.residual(model)[r]) / h;
    }
    std::vector<double> fisher, inverse(n * n), out;
    std::vector<int> all;
    for (std::size_t a = 0; a < n; ++a) {
        all.push_back(static_cast<int>(a));
        for (std::size_t b = 0; b < n; ++b)
            fisher.push_back(std::inner_product(jacobian[a].begin(), jacobian[a].end(),
                                                jacobian[b].begin(), 0.0));
    }
    kernel::ranked_cholesky cholesky;
    cholesky.factor(fisher, static_cast<int>(n), all);
    cholesky.invert(inverse);
    for (std::size_t c = 0; c < n; ++c) out.push_back(std::sqrt(inverse[c * (n + 1)]));
    return out;
}

// Bounds that the fitter prints are off by its one-sided differences of 1e-7, for a frequency 1e-7
// of its distance from the left edge. Differentiated in that way the engine's errors are half of
// them to 1e-6, or to the rounding of the differences where a line is weak; and with the step they
// go to those of the analytic derivatives.
TEST(covariance, twice_the_errors_are_the_bounds_that_the_fitter_prints) {
    support::random_numbers random(22);
    int compared = 0;
    double farthest[3] = {0.0, 0.0, 0.0}; // with steps 1e-5, 1e-6, 1e-7
    for (int trial = 0; trial < 40; ++trial) {
        support::make_random_model(random, separated(random));
        sigma = sigma_im = random.uniform(0.01, 2.0);
        const auto model = engine::model::make(support::engine_problem_of_state());
        ASSERT_TRUE(model);
        const auto got = covariance_at_start(*model);
        const auto fisher =
            definition::fisher(definition::derivatives(definition::widened(par, npar)));
        if (inflation_of(fisher, definition::inverse(fisher)) > 100.0L) continue;
        const double rounding = rounding_of_differences(*model);
        chi_square_of(par);
        support::stdout_of([] { compute_error_bounds(); });
        const std::vector<double> steps[3] = {errors_by_differences(*model, 1e-5),
                                              errors_by_differences(*model, 1e-6),
                                              errors_by_differences(*model, 1e-7)};
        for (int i = 0; i < npar; ++i) {
            const int k = i / 5, L = fixpar[i].fixed_to;
            const engine::quantity q = static_cast<engine::quantity>(i % 5);
            const engine::affine &by = model->map().of(k, q);
            if (L == k + 1) {
                EXPECT_EQ(got.error(k, q), 0.0);
                continue;
            }
            if (L != 0 && i % 5 == 0 && k >= nLines) continue; // by the ratio in the engine only
            const std::size_t c = static_cast<std::size_t>(by.column);
            const double error = got.error(k, q), size = std::fabs(by.factor);
            EXPECT_NEAR(errpar[i], 2.0 * size * steps[2][c], 2.0 * error * std::max(1e-6, rounding))
                << "trial " << trial << " parameter " << i;
            for (std::size_t s = 0; s < 3; ++s)
                farthest[s] = std::max(farthest[s], std::fabs(size * steps[s][c] / error - 1.0));
            ++compared;
        }
    }
    EXPECT_GT(compared, 200);
    EXPECT_LT(farthest[2], 2e-5);
    EXPECT_NEAR(farthest[1] / farthest[2], 10.0, 1.0);
    EXPECT_NEAR(farthest[0] / farthest[1], 10.0, 1.0);
}

// One Lorentzian line in white noise: at high resolution the bounds of area and phase are those of
// an exponential decay, of which the sum over time is known.
TEST(covariance, of_one_line_is_what_the_sums_over_its_decay_say) {
    const int n = 1024;
    const double area = 5.0, width = 6.0, noise = 0.01;
    auto problem = support::problem_with_lines(n, {{area, 512, width}}, noise, 2);
    problem.entries[0].of[engine::phase].how = engine::link::free;
    const auto model = engine::model::make(problem);
    ASSERT_TRUE(model);
    const auto got = covariance_at_start(*model);
    // S_m = sum n^m exp(-2 a n), the first term halved twice; frequency and phase, area and width
    // are pairs with matrices [[S0, S1], [S1, S2]] in the decay, whose noise is noise sqrt(N)
    long double s[3] = {0.25L, 0.0L, 0.0L};
    for (int i = 1; i < n; ++i) {
        const long double e = std::exp(-2.0L * std::numbers::pi_v<long double> * width * i / n);
        s[0] += e;
        s[1] += e * i;
        s[2] += e * i * i;
    }
    const double det = static_cast<double>(s[0] * s[2] - s[1] * s[1]);
    const double unit = noise * std::sqrt(static_cast<double>(n));
    const double root = unit / std::sqrt(det), pi = std::numbers::pi;
    const double s0 = std::sqrt(static_cast<double>(s[0])),
                 s2 = std::sqrt(static_cast<double>(s[2]));
    EXPECT_NEAR(got.error(0, engine::area), root * s2, 1e-9 * root * s2);
    EXPECT_NEAR(got.error(0, engine::phase), 180.0 / pi * root * s2 / area, 1e-9 * root * s2 * 12);
    EXPECT_NEAR(got.error(0, engine::lorentz_width), root * s0 * n / (pi * area),
                1e-9 * root * s0 * n);
    EXPECT_NEAR(got.error(0, engine::frequency), root * s0 * n / (2.0 * pi * area),
                1e-9 * root * s0 * n);
    EXPECT_NEAR(got.of(0, engine::area, 0, engine::phase), 0.0, 1e-9 * root * root * s2 * s2);
}

TEST(covariance, followers_have_the_error_of_what_they_follow_times_the_factor) {
    auto problem = support::problem_with_lines(256, {{5, 60, 3}, {2, 160, 4}}, 0.02, 3);
    engine::parameter &tied = problem.entries[1].of[engine::area];
    tied.how = engine::link::tied;
    tied.source = 0;
    tied.factor = -0.4;
    const auto model = engine::model::make(problem);
    ASSERT_TRUE(model);
    const auto got = covariance_at_start(*model);
    EXPECT_DOUBLE_EQ(got.error(1, engine::area), 0.4 * got.error(0, engine::area));
    EXPECT_DOUBLE_EQ(got.of(0, engine::area, 1, engine::area),
                     -0.4 * got.variance(0, engine::area));
    EXPECT_EQ(got.error(0, engine::phase), 0.0); // fixed
}

TEST(covariance, what_is_held_counts_as_known) {
    const auto problem = support::problem_with_lines(256, {{5, 60, 3}}, 0.02, 3);
    const auto model = engine::model::make(problem);
    ASSERT_TRUE(model);
    engine::model_workspace ws;
    ws.prepare(*model);
    const std::vector<double> x = model->starts();
    ws.linearize(*model, x);
    std::vector<signed char> held(3, 0);
    held[2] = -1; // the width
    const engine::entry_covariance got(*model, x, ws.products(), held);
    EXPECT_EQ(got.error(0, engine::lorentz_width), 0.0);
    // area and frequency of a line with a known width and phase are orthogonal
    EXPECT_NEAR(got.error(0, engine::area), 1.0 / std::sqrt(ws.products()[0]),
                1e-9 * got.error(0, engine::area));
}

TEST(covariance, two_equal_lines_have_no_errors_of_their_own_and_others_keep_theirs) {
    const auto one = support::problem_with_lines(256, {{5, 60, 3}, {2, 160, 4}}, 0.02, 3);
    auto twice = one;
    twice.entries.push_back(one.entries[1]);
    const auto model = engine::model::make(twice), single = engine::model::make(one);
    ASSERT_TRUE(model);
    const auto got = covariance_at_start(*model), wanted = covariance_at_start(*single);
    std::vector<int> entries;
    for (const int c : got.dependent()) entries.push_back(model->map().at(c).entry);
    EXPECT_EQ(entries, (std::vector<int>{1, 1, 1, 2, 2, 2}));
    for (const engine::quantity q : {engine::area, engine::frequency, engine::lorentz_width}) {
        EXPECT_TRUE(std::isinf(got.error(1, q)));
        EXPECT_TRUE(std::isinf(got.error(2, q)));
        EXPECT_NEAR(got.error(0, q), wanted.error(0, q), 1e-6 * wanted.error(0, q));
    }
}
