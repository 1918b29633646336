// SPDX-License-Identifier: BSD-3-Clause
//
// Bias and scatter of whole fits against the Cramer-Rao bounds. The problem is a 31P-like spectrum
// of eleven signals: singlets, 1:1 doublets and a 1:2:1 triplet with a fixed splitting of 16 Hz,
// multiplets with one width, one phase for all. Bounds come from the analytic Fisher matrix of
// tests/oracle, not from the product.
//
// Each realisation is fitted beside the fit of first order in its noise, C J^T (data - model) with
// covariance C and derivatives J of the oracle. That one has the truth as its mean and the bound as
// its spread, exactly, so that chance is left in the difference of the two alone, which is of
// second order. With 40 realisations the mean of an area scatters by 0.014 of its bound at most,
// and its spread by 1.8 %; counted without the fit of first order, 600 realisations left 0.04
// and 2.9 %. The limits of 0.2 and 10 % are more than 5 of these scatters, which are held, too.
// Seeds were chosen before the first run.
#include "errors/error_bounds.h"
#include "model/fft.h"
#include "model/objective.h"
#include "model/step_weights.h"
#include "model/vector_lib.h"
#include "oracle/definition.h"
#include "run/fit_strategy.h"
#include "run/input_spectrum.h"
#include "run/state.h"
#include "run/storage.h"
#include "support/support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <vector>

static constexpr int points = 1024;
static constexpr double hz_per_point = 2.5;
static constexpr int realisations = 40;
static constexpr double splitting = 16.0 / hz_per_point; // points

struct signal_of_problem {
    double area, frequency; // [points]
    int follows;            // entry that shape and frequency are tied to, 0 = none
};

static const signal_of_problem signals[] = {
    {4.0, 512.0, 0}, // singlet at the carrier
    {1.5, 470.0, 0}, // doublet
    {1.5, 470.0 - splitting, 2},
    {1.4, 400.0, 0}, // doublet
    {1.4, 400.0 - splitting, 4},
    {1.6, 330.0, 0}, // triplet 1:2:1, middle first
    {0.8, 330.0 - splitting, 6},
    {0.8, 330.0 + splitting, 6},
    {2.0, 560.0, 0},
    {1.2, 600.0, 0},
    {2.2, 640.0, 0},
};
static constexpr int n_signals = 11;

struct problem {
    int type = lorentzian_line;
    double delay = 0.0; // phi_1, degrees
    int ignored = 0;
    int mode = 2;
    bool truncated_first = false; // a first step with half of the points
    double offset = 0.0;          // start this far off, with pre-alignment [points]
};

// The noise sd per channel for which the weakest singlet stands 20 times above it.
static double noise_of(const double *re, const double *im) {
    const int weakest = 600;
    double height = 0.0;
    for (int i = weakest - 3; i <= weakest + 3; ++i)
        height = std::max(height, std::hypot(re[i], im[i]));
    return height / 20.0;
}

static void make_problem(const problem &choice) {
    support::reset_state();
    ap = noise_stop = points;
    nLines = n_signals;
    frscl = 1.0;
    Hz_pp = hz_per_point;
    T_acq = 1.0 / Hz_pp;
    deriv_p = 1e7;
    brent_itmax = 100;
    ftol = 1e-9;
    spec = 1;
    scalefactor = 1.0;
    phi_1 = choice.delay;
    ignore = choice.ignored;
    td_ap_trunc = points;
    complex = choice.mode;
    weighting_type = 1;
    npar = pars_per_entry * nLines;
    allocate_parameter_arrays(nLines, lsf_coefs, n_patterns);
    allocate_memory(ap);
    create_lookup(lookup, ap, 1);
    for (int k = 1; k <= n_signals; ++k) {
        const signal_of_problem &s = signals[k - 1];
        const bool gauss = choice.type != lorentzian_line;
        const bool lorentz = choice.type != gaussian_line;
        const double value[5] = {s.area, s.frequency, gauss ? 2.4 : 0.0, 20.0, lorentz ? 3.0 : 0.0};
        const int link[5] = {s.follows, s.follows, !gauss ? k : s.follows, k == 1 ? 0 : 1,
                             !lorentz ? k : s.follows};
        for (int j = 0; j < 5; ++j) {
            par[5 * (k - 1) + j] = value[j];
            fixpar[5 * (k - 1) + j] = {choice.type, link[j], value[j], 0.0, 0.0};
        }
    }
    n_intervals[1] = n_intervals[2] = 1;
    hxmin[1][1] = hxmin[2][1] = 280;
    hxmax[1][1] = hxmax[2][1] = 700;
    hrange[1] = hrange[2] = h_cur_range = 420;
    Create_Weighting_Function(ap, 1, wre, wim);
}

static std::vector<int> free_areas() {
    std::vector<int> result;
    for (int i = 0; i < npar; i += 5)
        if (fixpar[i].fixed_to == 0) result.push_back(i);
    return result;
}

// Position of parameter i among the free ones.
static std::size_t place_of(int i) {
    std::size_t q = 0;
    for (int j = 0; j < i; ++j) q += fixpar[j].fixed_to == 0 ? 1U : 0U;
    return q;
}

struct outcome {
    std::vector<std::vector<double>> estimates; // realisation by free parameter
    std::vector<std::vector<double>> linear;    // those of the fit of first order in the noise
    std::vector<double> truth, bound;           // per free parameter; bound is one sigma
    std::vector<double> printed;                // mean of the printed error, 2 sigma
};

// The fit of first order in the noise: C J^T (data - model), with the derivatives J at the truth.
class linear_fit {
  public:
    explicit linear_fit(const std::vector<double> &truth) {
        const auto x = definition::widened(truth.data(), npar);
        model_ = definition::model(definition::linked(x));
        derivatives_ = definition::derivatives(x);
        covariance_ = definition::inverse(definition::fisher(derivatives_));
    }
    double bound(std::size_t q) const {
        return sigma * std::sqrt(static_cast<double>(covariance_.at(q).at(q))); // none: it throws
    }
    std::vector<double> estimate(const std::vector<double> &truth) const {
        std::vector<definition::real> slopes(truth.size());
        for (int k = 0; k < ap; ++k) {
            if (wre[k] + wim[k] == 0.0) continue;
            const auto i = static_cast<std::size_t>(k);
            const definition::value off = definition::value(xre[k], xim[k]) - model_[i];
            for (std::size_t q = 0; q < slopes.size(); ++q) {
                const definition::value j = derivatives_[q][i];
                if (complex != 1) slopes[q] += j.real() * off.real();
                if (complex == 1 || complex == 2) slopes[q] += j.imag() * off.imag();
            }
        }
        std::vector<double> result = truth;
        for (std::size_t q = 0; q < slopes.size(); ++q)
            for (std::size_t p = 0; p < slopes.size(); ++p)
                result[q] += static_cast<double>(covariance_[q][p] * slopes[p]);
        return result;
    }

  private:
    std::vector<std::vector<definition::real>> covariance_;
    definition::signal model_;
    std::vector<definition::signal> derivatives_;
};

// The bounds in the time domain: with ignored points the data are filtered, white noise in the
// time domain stays white on the points that are kept. In the frequency domain the sum over an
// interval is what the fit uses, so the bound is that of the fit's own sum.
static outcome realise(const problem &choice, int count, std::uint64_t seed,
                       bool printed_errors = false) {
    make_problem(choice);
    outcome result;
    // the clean signal has all its points; the ignored ones are taken out of signal and model
    const int ignored = ignore;
    ignore = 0;
    chi_square_of(par);
    const std::vector<double> clean_re(yre, yre + ap), clean_im(yim, yim + ap);
    ignore = ignored;
    sigma = noise_of(clean_re.data(), clean_im.data());
    const std::vector<double> truth(par, par + npar);
    const linear_fit linear(truth);
    for (int i = 0; i < npar; ++i) {
        if (fixpar[i].fixed_to != 0) continue;
        result.bound.push_back(linear.bound(result.truth.size()));
        result.truth.push_back(truth[static_cast<std::size_t>(i)]);
    }
    result.printed.assign(result.truth.size(), 0.0);
    support::random_numbers random(seed);
    const int none = 0, one = 1, two = 2, iterations = 120, half = points / 2;
    const int gauss = choice.type != lorentzian_line ? 1 : 0;
    const int lorentz = choice.type != gaussian_line ? 1 : 0;
    for (int r = 0; r < count; ++r) {
        for (int i = 0; i < ap; ++i) {
            xre[i] = clean_re[static_cast<std::size_t>(i)] + sigma * random.normal();
            xim[i] = clean_im[static_cast<std::size_t>(i)] + sigma * random.normal();
        }
        if (ignore > 0) update_spectrum(ap, ignore, xre, xim, lookup);
        result.linear.push_back(linear.estimate(result.truth));
        Copy_Vector(ap, xre, xre_copy);
        Copy_Vector(ap, xim, xim_copy);
        std::copy(truth.begin(), truth.end(), par);
        // a start that is off in every parameter, by more than the bounds
        for (int i = 0; i < npar; ++i) {
            if (fixpar[i].fixed_to != 0) continue;
            const int kind = i % 5;
            if (kind == area_par) par[i] *= 0.9;
            if (kind == freq_par) par[i] += 0.3;
            if (kind == width1_par || kind == width2_par) par[i] *= 1.15;
            if (kind == phase_par) par[i] -= 5.0;
        }
        for (int k = 0; k < nLines; ++k) par[5 * k + freq_par] += choice.offset;
        chi_square_of(par);
        if (choice.offset != 0.0)
            Fit_Strategy_Step(two, ap, one, none, none, none, none, none, none, one, one,
                              iterations, complex);
        if (choice.truncated_first) {
            Truncate_Spectrum(ap, half, xre, xim, lookup);
            Fit_Strategy_Step(two, half, one, one, one, none, one, none, none, one, none,
                              iterations, choice.mode);
            Copy_Vector(ap, xre_copy, xre);
            Copy_Vector(ap, xim_copy, xim);
        }
        Fit_Strategy_Step(two, ap, two, one, one, gauss, one, lorentz, none, one, none, iterations,
                          choice.mode);
        chi_square_of(par);
        std::vector<double> estimate;
        for (int i = 0; i < npar; ++i)
            if (fixpar[i].fixed_to == 0) estimate.push_back(par[i]);
        result.estimates.push_back(estimate);
        if (printed_errors) {
            support::stdout_of([] { compute_error_bounds(); });
            std::size_t q = 0;
            for (int i = 0; i < npar; ++i)
                if (fixpar[i].fixed_to == 0) result.printed[q++] += errpar[i] / count;
        }
    }
    return result;
}

struct moment {
    double value, scatter; // what chance leaves of it, one sigma
};

static moment mean_of(const std::vector<double> &x) {
    const auto n = static_cast<double>(x.size());
    const double mean = std::accumulate(x.begin(), x.end(), 0.0) / n;
    double sum = 0.0;
    for (double each : x) sum += (each - mean) * (each - mean);
    return {mean, std::sqrt(sum / (n - 1.0) / n)};
}

// How far the fit is from the one of first order, per realisation.
static std::vector<double> beyond_linear(const outcome &o, std::size_t q) {
    std::vector<double> off;
    for (std::size_t r = 0; r < o.estimates.size(); ++r)
        off.push_back(o.estimates[r][q] - o.linear[r][q]);
    return off;
}

static moment bias_of(const outcome &o, std::size_t q) {
    return mean_of(beyond_linear(o, q));
}

static moment spread_of(const outcome &o, std::size_t q) {
    std::vector<double> off = beyond_linear(o, q);
    const double mean = mean_of(off).value;
    for (std::size_t r = 0; r < off.size(); ++r) {
        const double d = off[r] - mean;
        off[r] = 2.0 * (o.linear[r][q] - o.truth[q]) * d + d * d;
    }
    const moment more = mean_of(off);
    const double bound = o.bound[q];
    return {std::sqrt(std::max(0.0, bound * bound + more.value)), more.scatter / (2.0 * bound)};
}

static void expect_areas_at_their_bounds(const problem &choice, std::uint64_t seed) {
    const outcome o = realise(choice, realisations, seed);
    for (int i : free_areas()) {
        const std::size_t q = place_of(i);
        const double bound = o.bound[q];
        const moment bias = bias_of(o, q), spread = spread_of(o, q);
        EXPECT_NEAR(bias.value, 0.0, 0.2 * bound) << "area " << i / 5 + 1;
        EXPECT_LT(bias.scatter, 0.04 * bound) << "area " << i / 5 + 1;
        EXPECT_NEAR(spread.value, bound, 0.1 * bound) << "area " << i / 5 + 1;
        EXPECT_LT(spread.scatter, 0.029 * bound) << "area " << i / 5 + 1;
    }
}

static const struct {
    const char *what;
    problem choice;
    std::uint64_t seed;
} problems[] = {
    {"Lorentzian signals", {}, 101},
    {"Gaussian signals", {.type = gaussian_line}, 102},
    {"Voigt signals", {.type = voigt_line}, 103},
    {"an acquisition delay", {.delay = 720.0}, 104},
    {"the first four points ignored", {.ignored = 4}, 105},
    {"a truncated step before", {.truncated_first = true}, 106},
    {"a start six points off, with pre-alignment", {.offset = 6.0}, 107},
    {"absorption mode", {.mode = 0}, 108},
    {"dispersion mode", {.mode = 1}, 109},
};

TEST(recovery, has_areas_at_their_bounds) {
    for (const auto &[what, choice, seed] : problems) {
        SCOPED_TRACE(what);
        expect_areas_at_their_bounds(choice, seed);
    }
}

// The magnitude of a spectrum is no linear function of the signal and has Rice noise, which lifts
// the foot of every line; there is no bound of this kind for it. At a signal-to-noise ratio of 20
// areas come back within 10 %, biased upwards.
TEST(recovery, in_magnitude_mode_is_close) {
    problem choice;
    choice.mode = 3;
    const outcome o = realise(choice, 20, 110);
    for (int i : free_areas()) {
        const std::size_t q = place_of(i);
        double sum = 0.0;
        for (const auto &e : o.estimates) sum += e[q];
        EXPECT_NEAR(sum / 20.0, o.truth[q], 0.1 * o.truth[q]) << "area " << i / 5 + 1;
    }
}

TEST(printed_errors, are_twice_the_spread_of_every_free_parameter) {
    const outcome o = realise({}, realisations, 111, true);
    for (std::size_t q = 0; q < o.truth.size(); ++q) {
        const moment spread = spread_of(o, q);
        EXPECT_NEAR(2.0 * spread.value, o.printed[q], 0.1 * o.printed[q]) << "free parameter " << q;
        EXPECT_LT(spread.scatter, 0.024 * o.bound[q]) << "free parameter " << q;
    }
}
