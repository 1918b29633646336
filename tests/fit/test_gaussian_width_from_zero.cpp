// SPDX-License-Identifier: BSD-3-Clause
//
// Fits whose free Gaussian width starts at 0. The model depends on its square, so its slope is 0
// there and the first step of the search moves it by next to nothing: to widths 1e-9 and less of
// the Lorentzian one. The others must be fitted all the same.
#include "errors/error_bounds.h"
#include "minimize/frprmn.h"
#include "model/gradient.h"
#include "model/objective.h"
#include "oracle/definition.h"
#include "run/state.h"
#include "support/random_model.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

enum class width1 { is_free, is_fixed, is_tied };

static parameter_record &record(int k, int kind) { // k 1-based
    return fixpar[pars_per_entry * (k - 1) + kind];
}
static double &value(int k, int kind) {
    return par[pars_per_entry * (k - 1) + kind];
}

// Two Voigt lines (and a pattern) without Gaussian width in weak noise, all parameters a little
// off.
static void make_problem(std::uint64_t seed, int patterns, width1 how, double width2) {
    support::random_numbers random(seed);
    support::make_random_model(
        random,
        {.points = 256, .lines = 2, .patterns = patterns, .links = false, .separated = true});
    const int entries = nLines + n_patterns;
    amp_fit = freq_fit = width_fit = phase_fit = voigt_fit = 1;
    for (int k = 1; k <= entries; ++k) {
        value(k, area_par) = 1.0 + k;
        value(k, freq_par) = k <= nLines ? 70.0 + 60.0 * k : 3.0;
        value(k, width1_par) = 0.0;
        value(k, phase_par) = 5.0 * k;
        value(k, width2_par) = width2 + k;
        for (int kind = 0; kind < pars_per_entry; ++kind) {
            if (k <= nLines) record(k, kind).type = voigt_line;
            record(k, kind).fixed_to = 0;
            record(k, kind).value = value(k, kind);
        }
        const bool tied = how == width1::is_tied && k > 1;
        if (how == width1::is_fixed) record(k, width1_par).fixed_to = k;
        if (tied) record(k, width1_par).fixed_to = 1;
    }
    chi_square_of(par);
    for (int i = 0; i < ap; ++i) {
        xre[i] = yre[i] + 1e-4 * random.normal();
        xim[i] = yim[i] + 1e-4 * random.normal();
        wre[i] = wim[i] = 1.0;
    }
    sigma = sigma_im = 1e-4;
}

static double fit(std::uint64_t seed, int patterns, width1 how) {
    make_problem(seed, patterns, how, 3.0);
    for (int k = 1; k <= nLines + n_patterns; ++k) {
        value(k, area_par) *= 1.3;
        value(k, freq_par) += 0.4;
        value(k, width2_par) *= 1.2;
    }
    itmax = 200;
    brent_itmax = 100;
    ftol = 1e-10;
    frprmn(npar, par);
    return chi_square_of(par);
}

TEST(gaussian_width_from_zero, leaves_a_fit_as_good_as_without_it) {
    for (const std::uint64_t seed : {71U, 72U, 73U}) {
        for (const int patterns : {0, 1}) {
            const double fixed = fit(seed, patterns, width1::is_fixed);
            const std::vector<double> wanted(par, par + npar);
            // at the end of the fit the noise is left: 512 values, and at most 13 parameters
            EXPECT_NEAR(fixed / (2.0 * ap * sigma * sigma), 1.0, 0.3);
            for (const width1 how : {width1::is_free, width1::is_tied}) {
                const double chi = fit(seed, patterns, how);
                // some parameters more can only help; the searches take ways of their own
                EXPECT_LT(chi, 1.02 * fixed) << "patterns " << patterns << " seed " << seed;
                for (int k = 1; k <= nLines + n_patterns; ++k)
                    EXPECT_NEAR(value(k, area_par) /
                                    wanted[static_cast<std::size_t>(pars_per_entry * (k - 1))],
                                1.0, 0.02);
            }
        }
    }
}

// The slopes of broad lines, with a Gaussian width far below the Lorentzian one.
TEST(gaussian_width_from_zero, leaves_right_slopes_of_broad_lines) {
    for (const double broad : {3.0, 119.0, 121.0, 200.0, 250.0}) {
        for (const double ratio : {0.0, 1e-300, 1e-12, 1e-9, 1e-7, 1e-3}) {
            make_problem(74, 0, width1::is_free, broad);
            for (int k = 1; k <= nLines; ++k) {
                value(k, width1_par) = ratio * broad;
                value(k, area_par) *= 1.1;
            }
            std::vector<double> g(static_cast<std::size_t>(npar));
            dfnc(chi_square_of(par), par, g.data());
            const std::vector<definition::real> x = definition::widened(par, npar);
            const definition::signal y = definition::model(definition::linked(x));
            for (int i = 0; i < npar; ++i) {
                if (i % pars_per_entry == width1_par) continue; // next to 0
                const definition::signal d = definition::derivative(x, i);
                definition::real slope = 0.0L, size = 0.0L, curvature = 0.0L;
                for (std::size_t n = 0; n < y.size(); ++n) {
                    const definition::value r = y[n] - definition::value(xre[n], xim[n]);
                    slope += 2.0L * (r.real() * d[n].real() + r.imag() * d[n].imag());
                    size += std::abs(r) * std::abs(d[n]);
                    curvature += 2.0L * std::norm(d[n]);
                }
                // a one-sided difference with a step of h errs by h/2 of the second derivative,
                // and by the rounding of the model, 1e-16 of a line over h of it
                const double h = 1e-7 * std::fabs(par[i]);
                const double tolerance =
                    0.6 * h * static_cast<double>(curvature) + 1e-6 * static_cast<double>(size);
                EXPECT_NEAR(g[static_cast<std::size_t>(i)], static_cast<double>(slope), tolerance)
                    << "width " << broad << " ratio " << ratio << " parameter " << i;
            }
        }
    }
}

TEST(gaussian_width_from_zero, leaves_the_bounds_of_broad_lines) {
    for (const double broad : {3.0, 119.0, 121.0, 200.0}) {
        for (const double ratio : {0.0, 1e-300, 1e-12, 1e-9}) {
            make_problem(75, 0, width1::is_fixed, broad);
            for (int k = 1; k <= nLines; ++k)
                value(k, width1_par) = record(k, width1_par).value = ratio * broad;
            const auto covariance = definition::inverse(
                definition::fisher(definition::derivatives(definition::widened(par, npar))));
            ASSERT_FALSE(covariance.empty());
            support::stdout_of([] { compute_error_bounds(); });
            std::size_t q = 0;
            for (int i = 0; i < npar; ++i) {
                if (fixpar[i].fixed_to != 0) continue;
                const double wanted =
                    2.0 * sigma * std::sqrt(static_cast<double>(covariance[q][q]));
                EXPECT_NEAR(errpar[i] / wanted, 1.0, 1e-3) << broad << ' ' << ratio << ' ' << i;
                ++q;
            }
        }
    }
}
