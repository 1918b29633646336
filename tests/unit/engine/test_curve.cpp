// SPDX-License-Identifier: BSD-3-Clause
// One curve alone and the transform of a decay, against their definitions in extended precision.
#include "engine/curve.h"

#include "engine/centred_spectrum.h"
#include "engine/model.h"
#include "support/support.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <stdexcept>

using engine::complex_signal;

typedef std::complex<long double> exact;
static constexpr long double pi = 3.14159265358979323846L;

// docs/model.md, equations 1 to 5, term by term.
static std::vector<exact> by_definition(const engine::values_of_entry &p,
                                        const engine::acquisition &when,
                                        const complex_signal &pattern) {
    const int n = when.points, end = when.kept == 0 ? n : when.kept;
    const long double d = when.first_order_phase / 360.0L;
    const long double f = (static_cast<long double>(p[engine::frequency]) + 0.5L * n) / n;
    const long double psi = pi * p[engine::phase] / 180.0L + 2.0L * pi * f * d - pi * d;
    std::vector<exact> spectrum(static_cast<std::size_t>(n));
    for (int k = when.ignored; k < end; ++k) {
        const long double t = (k + d) / n;
        const long double g = pi * p[engine::gauss_width] * t;
        exact z = std::polar(std::exp(-pi * p[engine::lorentz_width] * t - g * g),
                             2.0L * pi * f * k + psi);
        // a pattern has the half band of the carrier in itself
        if (!pattern.empty())
            z *= exact(pattern[static_cast<std::size_t>(k)]) * (k % 2 == 0 ? 1.0L : -1.0L);
        if (k == 0) z *= 0.5L;
        for (int j = 0; j < n; ++j)
            spectrum[static_cast<std::size_t>(j)] +=
                z * std::polar(1.0L, -2.0L * pi * (j - n / 2) * k / n) /
                static_cast<long double>(n);
    }
    return spectrum;
}

static void expect_equal(const complex_signal &found, const std::vector<exact> &truth,
                         double within) {
    ASSERT_EQ(found.size(), truth.size());
    long double top = 0.0L;
    for (const exact z : truth) top = std::max(top, std::abs(z));
    for (std::size_t i = 0; i < found.size(); ++i)
        ASSERT_LE(static_cast<double>(std::abs(exact(found[i]) - truth[i]) / top), within) << i;
}

TEST(curve, is_the_model_of_one_entry_with_area_1) {
    support::random_numbers random(71);
    complex_signal pattern(64);
    for (std::size_t k = 0; k < pattern.size(); ++k)
        pattern[k] =
            std::polar(std::exp(-0.05 * static_cast<double>(k)), 0.4 * static_cast<double>(k));
    for (const double phi_1 : {0.0, 360.0, -90.0})
        for (const auto &[ignored, kept] : {std::pair(0, 0), {0, 40}, {3, 0}, {2, 33}, {5, 5}})
            for (const bool is_pattern : {false, true}) {
                const engine::acquisition when = {64, 2.0, phi_1, ignored, kept};
                const engine::values_of_entry p = {
                    7.0, 32.0 + 30.0 * random.normal(), std::fabs(random.normal()),
                    180.0 * random.normal(), std::fabs(2.0 * random.normal())};
                const complex_signal shaped = is_pattern ? pattern : complex_signal();
                const complex_signal found = engine::unit_curve(p, when, shaped);
                if (kept == ignored && kept > 0) { // nothing is left
                    for (const std::complex<double> z : found) EXPECT_EQ(std::abs(z), 0.0);
                    continue;
                }
                expect_equal(found, by_definition(p, when, shaped), 1e-13);
            }
}

TEST(curve, is_that_of_a_fit) {
    engine::fit_problem problem;
    problem.when = {128, 1.0, 30.0, 1, 100};
    problem.spectrum.assign(128, 1.0);
    problem.noise_sd = 1.0;
    engine::entry &line = problem.entries.emplace_back();
    line.type = engine::line_type::voigt;
    const engine::values_of_entry p = {1.0, 40.25, 1.5, 12.0, 2.5};
    for (std::size_t q = 0; q < p.size(); ++q) line.of[q].start = p[q];
    line.of[engine::area].how = engine::link::free;
    const engine::result<engine::model> model = engine::model::make(problem);
    ASSERT_TRUE(model) << model.why().reason;
    engine::model_workspace workspace;
    workspace.prepare(*model);
    const complex_signal fitted = workspace.spectrum(*model, model->starts());
    const complex_signal alone = engine::unit_curve(p, problem.when, {});
    for (std::size_t i = 0; i < alone.size(); ++i) EXPECT_EQ(alone[i], fitted[i]) << i;
}

TEST(curve, takes_the_points_from_a_spectrum_that_curves_do_not_have) {
    support::random_numbers random(72);
    complex_signal decay(32);
    for (std::complex<double> &z : decay) z = {random.normal(), random.normal()};
    const complex_signal spectrum = engine::spectrum_of_fid(decay, 32);
    for (const auto &[ignored, kept] : {std::pair(0, 0), {0, 20}, {4, 32}, {4, 20}}) {
        complex_signal cut = decay;
        for (int k = 0; k < 32; ++k)
            if (k < ignored || (kept > 0 && k >= kept)) cut[static_cast<std::size_t>(k)] = 0.0;
        const complex_signal expected = engine::spectrum_of_fid(cut, 32);
        const complex_signal found = engine::cut_as_curves(spectrum, {32, 1.0, 0.0, ignored, kept});
        for (std::size_t i = 0; i < found.size(); ++i)
            EXPECT_LE(std::abs(found[i] - expected[i]), 1e-14) << i;
    }
}

TEST(centred_spectrum, has_its_definition_and_a_way_back) {
    support::random_numbers random(73);
    for (const int n : {1, 2, 4, 8, 64, 256})
        for (const double weight : {engine::half, engine::whole}) {
            complex_signal decay(static_cast<std::size_t>(n));
            for (std::complex<double> &z : decay) z = {random.normal(), random.normal()};
            std::vector<exact> truth(decay.size());
            for (int j = 0; j < n; ++j)
                for (int k = 0; k < n; ++k)
                    truth[static_cast<std::size_t>(j)] +=
                        exact(decay[static_cast<std::size_t>(k)]) *
                        static_cast<long double>(k == 0 ? weight : 1.0) *
                        std::polar(1.0L, -2.0L * pi * (j - n / 2) * k / n) /
                        static_cast<long double>(n);
            const complex_signal spectrum = engine::spectrum_of_fid(decay, n, weight);
            expect_equal(spectrum, truth, 1e-15 * (4 + std::log2(n)));
            const complex_signal back = engine::fid_of_spectrum(spectrum, weight);
            expect_equal(back, {decay.begin(), decay.end()}, 1e-15 * (4 + 2 * std::log2(n)));
        }
}

TEST(centred_spectrum, cuts_and_fills) {
    const complex_signal decay = {{2.0, 0.0}, {1.0, 1.0}, {0.5, 0.0}};
    const complex_signal cut = {{2.0, 0.0}, {1.0, 1.0}};
    const complex_signal filled = {{2.0, 0.0}, {1.0, 1.0}, {0.5, 0.0}, 0.0};
    EXPECT_EQ(engine::spectrum_of_fid(decay, 2), engine::spectrum_of_fid(cut, 2));
    EXPECT_EQ(engine::spectrum_of_fid(decay, 4), engine::spectrum_of_fid(filled, 4));
}

TEST(centred_spectrum, refuses_other_numbers_of_points) {
    for (const int n : {0, -4, 3, 1000}) {
        EXPECT_THROW(engine::spectrum_of_fid({}, n), std::invalid_argument) << n;
        if (n < 0) continue;
        EXPECT_THROW(engine::fid_of_spectrum(complex_signal(static_cast<std::size_t>(n))),
                     std::invalid_argument)
            << n;
    }
}
