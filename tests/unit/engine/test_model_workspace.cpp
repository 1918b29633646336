// SPDX-License-Identifier: BSD-3-Clause
#include "engine/model.h"

#include "oracle/definition.h"
#include "run/state.h"
#include "support/engine_problem.h"
#include "support/random_model.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <thread>

using definition::real;

static support::model_choice any_choice(support::random_numbers &random) {
    support::model_choice choice = support::random_choice(random);
    choice.mode = random.integer(0, 2);
    choice.weighting = 1;
    return choice;
}

// Every other model is fitted at all points in both channels: sums over the time, without a fitted
// lineshape.
static void make_model(support::random_numbers &random, const support::model_choice &choice,
                       int trial) {
    support::make_random_model(random, choice);
    if (trial % 2 == 1) return;
    complex = 2;
    std::fill(wre, wre + ap, 1.0);
    std::fill(wim, wim + ap, 1.0);
}

static real sum_of_areas() {
    real sum = 0.0L;
    for (int k = 0; k < npar; k += 5) sum += std::fabs(static_cast<real>(par[k]));
    return sum;
}

// The rows of a spectrum at the fitted points: real parts, then imaginary ones.
static std::vector<real> rows_of(const definition::signal &y) {
    std::vector<real> out;
    for (const int part : {0, 1}) {
        if (part == 0 && complex == 1) continue;
        if (part == 1 && complex == 0) continue;
        for (int i = 0; i < ap; ++i) {
            const definition::value v = y[static_cast<std::size_t>(i)];
            if (wre[i] + wim[i] != 0.0) out.push_back(part == 0 ? v.real() : v.imag());
        }
    }
    return out;
}

// A decay is made in blocks of 512 points whose rounding is 6e-14 of its start; the transform and
// the measured lineshape add a few units in the last place.
static constexpr double model_tolerance = 1e-12;

TEST(model_workspace, spectrum_equals_the_definition) {
    support::random_numbers random(11);
    for (int trial = 0; trial < 150; ++trial) {
        make_model(random, any_choice(random), trial);
        const auto problem = support::engine_problem_of_state();
        const auto model = engine::model::make(problem);
        ASSERT_TRUE(model) << trial << " " << model.why().reason;
        engine::model_workspace ws;
        ws.prepare(*model);
        const std::vector<real> p =
            definition::linked(definition::widened(par, npar + 2 * lsf_coefs));
        const definition::signal wanted = definition::model(p);
        const auto got = ws.spectrum(*model, model->starts());
        real scale = sum_of_areas();
        if (lsf_coefs > 0) // the lineshape is divided by its first value
            for (const definition::value &v : wanted) scale = std::max(scale, std::abs(v));
        for (std::size_t i = 0; i < wanted.size(); ++i)
            ASSERT_LE(std::abs(definition::value(got[i]) - wanted[i]), model_tolerance * scale)
                << "trial " << trial << " point " << i;
        const definition::signal one = definition::component(p, 1);
        const auto alone = ws.spectrum(*model, model->starts(), 0);
        for (std::size_t i = 0; i < one.size(); ++i)
            ASSERT_LE(std::abs(definition::value(alone[i]) - one[i]), model_tolerance * scale);
    }
}

TEST(model_workspace, sum_of_squares_and_residual_equal_the_definition) {
    support::random_numbers random(12);
    for (int trial = 0; trial < 60; ++trial) {
        support::model_choice choice = any_choice(random);
        choice.ignored = 0; // else the data are cut, too
        choice.truncated = false;
        make_model(random, choice, trial);
        sigma = random.uniform(0.1, 2.0);
        const auto model = engine::model::make(support::engine_problem_of_state());
        ASSERT_TRUE(model);
        engine::model_workspace ws;
        ws.prepare(*model);
        const definition::signal y =
            definition::model(definition::linked(definition::widened(par, npar + 2 * lsf_coefs)));
        const real wanted = definition::chi_square(y) / (static_cast<real>(sigma) * sigma);
        const double got = ws.chi_square(*model, model->starts());
        EXPECT_NEAR(got, static_cast<double>(wanted), 1e-11 * static_cast<double>(wanted)) << trial;
        definition::signal x(y.size());
        for (std::size_t i = 0; i < x.size(); ++i) x[i] = {xre[i], xim[i]};
        const std::vector<real> data = rows_of(x), made = rows_of(y);
        ASSERT_EQ(static_cast<std::size_t>(model->rows()), data.size());
        const auto residual = ws.residual(*model);
        for (std::size_t i = 0; i < data.size(); ++i)
            EXPECT_NEAR(residual[i], static_cast<double>((data[i] - made[i]) / sigma),
                        1e-11 * static_cast<double>(sum_of_areas() + 5.0L) / sigma);
        for (std::size_t i = data.size(); i < residual.size(); ++i) EXPECT_EQ(residual[i], 0.0);
    }
}

TEST(model_workspace, jacobian_and_products_equal_the_definition) {
    support::random_numbers random(13);
    int columns = 0, over_time = 0;
    for (int trial = 0; trial < 120; ++trial) {
        support::model_choice choice = any_choice(random);
        choice.points = 1 << random.integer(4, 6);
        make_model(random, choice, trial);
        sigma = random.uniform(0.1, 2.0);
        const auto model = engine::model::make(support::engine_problem_of_state());
        ASSERT_TRUE(model);
        engine::model_workspace ws;
        ws.prepare(*model);
        ws.linearize(*model, model->starts());
        const std::vector<real> x = definition::widened(par, npar + 2 * lsf_coefs);
        std::vector<std::vector<real>> wanted;
        for (int c = 0; c < model->map().columns(); ++c) {
            const engine::column &column = model->map().at(c);
            const int i = support::index_in_par(column);
            wanted.push_back(rows_of(definition::derivative(x, i)));
            // by the square of a width: d/dg / (2 g)
            const real unit =
                column.squared ? 1.0L / (2.0L * x[static_cast<std::size_t>(i)]) : 1.0L;
            real largest = 0.0L;
            for (real &v : wanted.back()) {
                v *= unit / sigma;
                largest = std::max(largest, std::fabs(v));
            }
            const std::vector<double> column_c = ws.jacobian(*model, c);
            for (std::size_t r = 0; r < wanted.back().size(); ++r)
                ASSERT_NEAR(column_c[r], static_cast<double>(wanted.back()[r]),
                            1e-11 * static_cast<double>(largest + sum_of_areas() / (ap * sigma)))
                    << "trial " << trial << " column " << c << " of parameter " << column.of;
            ++columns;
        }
        const std::size_t n = static_cast<std::size_t>(model->columns()), stride = n + 1;
        const auto products = ws.products();
        const auto residual = ws.residual(*model);
        over_time += model->is_over_time() ? 1 : 0;
        for (std::size_t a = 0; a < wanted.size(); ++a) {
            for (std::size_t b = 0; b <= n; ++b) {
                real sum = 0.0L, size = 0.0L;
                const bool last = b == n;
                if (!last && b >= wanted.size()) continue;
                for (std::size_t r = 0; r < wanted[a].size(); ++r) {
                    const real other = last ? static_cast<real>(residual[r]) : wanted[b][r];
                    sum += wanted[a][r] * other;
                    size += std::fabs(wanted[a][r] * other);
                }
                EXPECT_NEAR(products[a * stride + b], static_cast<double>(sum),
                            1e-10 * static_cast<double>(size) + 1e-20);
                EXPECT_EQ(products[a * stride + b], products[b * stride + a]);
            }
        }
    }
    EXPECT_GT(columns, 500);
    EXPECT_GE(over_time, 60);
}

TEST(model_workspace, derivatives_by_the_lineshape_equal_central_differences) {
    support::random_numbers random(14);
    for (int trial = 0; trial < 20; ++trial) {
        support::model_choice choice = any_choice(random);
        choice.lsf_pairs = random.integer(2, 4);
        make_model(random, choice, trial);
        fit_lsf[1] = 1;
        auto problem = support::engine_problem_of_state();
        problem.lineshape_free = true;
        const auto model = engine::model::make(problem);
        ASSERT_TRUE(model);
        EXPECT_EQ(model->lineshape_columns(), 2 * (choice.lsf_pairs - 1));
        engine::model_workspace ws, moved;
        ws.prepare(*model);
        moved.prepare(*model);
        const std::vector<double> x = model->starts();
        ws.linearize(*model, x);
        for (int c = model->map().columns(); c < model->columns(); ++c) {
            const double h = 1e-5; // third derivative times h^2: 1e-10 of a coefficient near 1
            std::vector<double> up = x, down = x;
            up[static_cast<std::size_t>(c)] += h;
            down[static_cast<std::size_t>(c)] -= h;
            moved.chi_square(*model, up);
            const std::vector<double> a(moved.residual(*model).begin(),
                                        moved.residual(*model).end());
            moved.chi_square(*model, down);
            const auto b = moved.residual(*model);
            double largest = 0.0;
            const std::vector<double> column_c = ws.jacobian(*model, c);
            for (const double v : column_c) largest = std::max(largest, std::fabs(v));
            for (std::size_t r = 0; r < a.size(); ++r)
                ASSERT_NEAR(column_c[r], (b[r] - a[r]) / (2.0 * h), 1e-7 * largest + 1e-8)
                    << "trial " << trial << " column " << c;
        }
    }
}

TEST(model_workspace, curvature_equals_central_differences_of_the_gradient) {
    support::random_numbers random(15);
    for (int trial = 0; trial < 40; ++trial) {
        support::model_choice choice = any_choice(random);
        choice.lsf_pairs = 0;
        make_model(random, choice, trial);
        const auto model = engine::model::make(support::engine_problem_of_state());
        ASSERT_TRUE(model);
        engine::model_workspace ws, moved;
        ws.prepare(*model);
        moved.prepare(*model);
        const std::vector<double> x = model->starts();
        ws.chi_square(*model, x);
        ws.linearize(*model, x, true);
        const std::size_t n = x.size();
        for (std::size_t b = 0; b < n; ++b) {
            // fourth-order differences: the fifth derivative times h^4 / 30 is left
            const double h = 2e-4 * std::max(0.5, std::min(5.0, std::fabs(x[b])));
            std::vector<double> slope(n, 0.0);
            for (const int side : {-2, -1, 1, 2}) {
                std::vector<double> there = x;
                there[b] += side * h;
                moved.linearize(*model, there);
                const double weight = (side == 1    ? 8.0
                                       : side == -1 ? -8.0
                                       : side == 2  ? -1.0
                                                    : 1.0);
                for (std::size_t a = 0; a < n; ++a)
                    slope[a] += weight * moved.products()[n * (n + 1) + a] / (12.0 * h);
            }
            for (std::size_t a = 0; a < n; ++a) {
                const auto length = [&](std::size_t c) {
                    return std::sqrt(ws.products()[c * (n + 2)]);
                };
                const double normal = ws.products()[a * (n + 1) + b];
                EXPECT_NEAR(ws.curvature()[a * n + b], slope[a] + normal,
                            1e-8 * (length(a) * length(b) + length(n) * length(a)))
                    << "trial " << trial << " columns " << a << " " << b << " of "
                    << model->map().at(static_cast<int>(a)).of << " "
                    << model->map().at(static_cast<int>(b)).of;
            }
        }
    }
}

// Matched filter by its definition: the curve of a group, moved by whole points, with the residual
// plus the group as it is.
TEST(model_workspace, matches_are_products_with_the_moved_curve) {
    for (const std::size_t last : {100, 127}) { // all points: over the time
        auto problem = support::problem_with_lines(128, {{5, 40, 3}, {3, 80.25, 5}}, 0.01, 3);
        const std::size_t first = 127 - last;
        problem.intervals = {{static_cast<int>(first), static_cast<int>(last)}};
        problem.entries[0].of[engine::frequency].start = 44.0;
        const auto model = engine::model::make(problem);
        ASSERT_TRUE(model);
        ASSERT_EQ(model->is_over_time(), last == 127);
        engine::model_workspace ws;
        ws.prepare(*model);
        const std::vector<double> x = model->starts();
        ws.linearize(*model, x);
        const auto match = ws.matches(*model, 0);
        const double size = ws.size_of(*model, 0);
        const auto rest = ws.spectrum(*model, x, 1);
        std::vector<double> own = x;
        own[0] = 1.0; // area
        const double variance = problem.noise_sd * problem.noise_sd;
        for (const int lag : {-9, -4, 0, 3, 20}) {
            own[1] = 44.0 + lag;
            const auto curve = ws.spectrum(*model, own, 0);
            std::complex<double> sum = 0.0;
            double square = 0.0;
            for (std::size_t i = first; i <= last; ++i) {
                sum += std::conj(curve[i]) * (problem.spectrum[i] - rest[i]);
                square += std::norm(curve[i]);
            }
            sum /= variance;
            const std::complex<double> got = match[static_cast<std::size_t>((lag + 128) % 128)];
            EXPECT_NEAR(std::abs(got), std::abs(sum), 1e-9 * std::abs(sum)) << lag;
            EXPECT_NEAR(got.real(), sum.real(), 1e-9 * std::abs(sum)) << lag;
            if (lag == 0) {
                EXPECT_NEAR(size, square / variance, 1e-12 * size);
            }
        }
    }
}

// A Lorentzian of 2 points that is broadened by 3 is one of 5 points.
TEST(model_workspace, broadened_data_and_model_have_the_width_added) {
    auto problem = support::problem_with_lines(256, {{5, 100.3, 2}}, 1e-6, 3);
    auto broad = support::problem_with_lines(256, {{5, 100.3, 5}}, 1e-6, 4);
    const auto model = engine::model::make(problem);
    ASSERT_TRUE(model);
    engine::model_workspace ws;
    ws.prepare(*model);
    const std::vector<double> x = model->starts();
    ws.broaden(*model, 3.0);
    const auto made = ws.spectrum(*model, x);
    for (std::size_t i = 0; i < made.size(); ++i)
        EXPECT_LE(std::abs(made[i] - broad.spectrum[i]), 1e-5) << i; // its noise
    EXPECT_LT(ws.chi_square(*model, x), 1000.0);                     // 512 values of noise
    ws.broaden(*model, 0.0);
    EXPECT_LT(ws.chi_square(*model, x), 1000.0);
}

TEST(model_workspace, one_that_was_used_gives_the_same_bits_as_a_fresh_one) {
    support::random_numbers random(16);
    engine::model_workspace used;
    for (int trial = 0; trial < 60; ++trial) {
        make_model(random, any_choice(random), trial);
        auto problem = support::engine_problem_of_state();
        problem.lineshape_free = trial % 2 == 0;
        const auto model = engine::model::make(problem);
        ASSERT_TRUE(model);
        engine::model_workspace fresh;
        used.prepare(*model);
        fresh.prepare(*model);
        const std::vector<double> x = model->starts();
        used.chi_square(*model, x);
        fresh.chi_square(*model, x);
        ASSERT_EQ(used.linearize(*model, x, true), fresh.linearize(*model, x, true));
        for (std::size_t i = 0; i < fresh.products().size(); ++i)
            ASSERT_EQ(used.products()[i], fresh.products()[i]) << trial;
        for (std::size_t i = 0; i < fresh.curvature().size(); ++i)
            ASSERT_EQ(used.curvature()[i], fresh.curvature()[i]) << trial;
    }
}

TEST(model_workspace, what_is_linearized_already_is_that_of_the_last_x_and_data) {
    const auto problem = support::problem_with_lines(256, {{5, 100.3, 2}, {3, 150, 4}}, 0.02, 3);
    const auto model = engine::model::make(problem);
    ASSERT_TRUE(model);
    engine::model_workspace ws;
    ws.prepare(*model);
    const std::vector<double> x = model->starts();
    std::vector<double> y = x;
    y[1] += 1.0;
    const auto bits = [&] {
        std::vector<double> out(ws.products().begin(), ws.products().end());
        out.insert(out.end(), ws.residual(*model).begin(), ws.residual(*model).end());
        return out;
    };
    ws.linearize(*model, x);
    const std::vector<double> wanted = bits();
    ws.linearize(*model, x);
    EXPECT_EQ(bits(), wanted);
    ws.linearize(*model, y);
    EXPECT_NE(bits(), wanted);
    ws.linearize(*model, x);
    EXPECT_EQ(bits(), wanted);
    ws.chi_square(*model, y); // the residual is that of y
    ws.linearize(*model, x);
    EXPECT_EQ(bits(), wanted);
    ws.spectrum(*model, y);
    ws.linearize(*model, x);
    EXPECT_EQ(bits(), wanted);
    ws.matches(*model, 0);
    ws.linearize(*model, x);
    EXPECT_EQ(bits(), wanted);
    ws.broaden(*model, 2.0);
    ws.linearize(*model, x);
    EXPECT_NE(bits(), wanted);
    ws.broaden(*model, 0.0);
    ws.linearize(*model, x);
    EXPECT_EQ(bits(), wanted);
    auto other = problem;
    other.spectrum[100] += 5.0;
    const auto second = engine::model::make(other);
    ws.prepare(*second);
    ws.linearize(*second, x);
    EXPECT_NE(bits(), wanted);
}

TEST(model_workspace, threads_that_share_a_model_get_the_same_bits) {
    const auto problem = support::problem_with_lines(512, {{5, 100, 3}, {2, 240, 8}}, 0.02, 9);
    const auto model = engine::model::make(problem);
    ASSERT_TRUE(model);
    std::vector<double> sums(8);
    std::vector<std::thread> threads;
    for (double &sum : sums)
        threads.emplace_back([&] {
            engine::model_workspace ws;
            ws.prepare(*model);
            for (int i = 0; i < 20; ++i) sum = ws.linearize(*model, model->starts());
        });
    for (std::thread &thread : threads) thread.join();
    for (const double sum : sums) EXPECT_EQ(sum, sums[0]);
}
