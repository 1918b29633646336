// SPDX-License-Identifier: BSD-3-Clause
#include "model/chi_square.h"
#include "model/objective.h"
#include "oracle/definition.h"
#include "run/state.h"
#include "support/random_model.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

using definition::real;

static real largest(const definition::signal &y) {
    real result = 0.0L;
    for (const definition::value &point : y) result = std::max(result, std::abs(point));
    return result;
}

static real distance(const definition::signal &wanted, const double *re, const double *im) {
    real result = 0.0L;
    for (std::size_t i = 0; i < wanted.size(); ++i)
        result = std::max(result, std::abs(wanted[i] - definition::value(re[i], im[i])));
    return result;
}

// Curve and transform round in the last place, a few of them over 2^7 points; values are measured
// against the largest point of the spectrum, which is 1/n of the largest time-domain point for a
// narrow line: hence 1e-12, the promise of docs/numerics.md, and not 1e-15.
static constexpr real model_tolerance = 1e-12L;

TEST(model, equals_its_definition_for_every_kind_of_entry_and_setting) {
    support::random_numbers random(11);
    for (int trial = 0; trial < 120; ++trial) {
        support::make_random_model(random, support::random_choice(random));
        const auto p = definition::linked(definition::widened(par, npar + 2 * lsf_coefs));
        const definition::signal wanted = definition::model(p);
        chi_square_of(par);
        EXPECT_LE(distance(wanted, yre, yim), model_tolerance * largest(wanted))
            << "trial " << trial << " points " << ap << " lines " << nLines << " patterns "
            << n_patterns << " phi_1 " << phi_1 << " truncation " << td_ap_trunc;
    }
}

TEST(model, chi_square_equals_its_definition_in_every_mode_and_weighting) {
    support::random_numbers random(12);
    for (int trial = 0; trial < 120; ++trial) {
        support::make_random_model(random, support::random_choice(random));
        const auto p = definition::linked(definition::widened(par, npar + 2 * lsf_coefs));
        const real wanted = definition::chi_square(definition::model(p));
        // weighting 2 has weights of both signs: the sum may cancel, its terms do not
        const real size = std::max(std::fabs(wanted), weighting_type == 2 ? 1.0L * ap : 0.0L);
        EXPECT_LE(std::fabs(wanted - static_cast<real>(chi_square_of(par))), 1e-12L * size)
            << "trial " << trial << " complex " << complex << " weighting " << weighting_type;
    }
}

TEST(model, dependent_parameters_follow_the_free_ones) {
    support::random_numbers random(13);
    for (int trial = 0; trial < 60; ++trial) {
        support::make_random_model(random, support::random_choice(random));
        const auto p = definition::linked(definition::widened(par, npar + 2 * lsf_coefs));
        chi_square_of(par);
        for (int i = 0; i < npar; ++i)
            // two sums of values up to 180 (degrees), which round by 3e-14 each
            EXPECT_NEAR(static_cast<double>(p[static_cast<std::size_t>(i)]), par[i], 6e-14)
                << "trial " << trial << " parameter " << i;
        EXPECT_TRUE(std::equal(par, par + npar, par_copy));
    }
}

TEST(model, is_the_sum_of_its_components) {
    support::random_numbers random(14);
    for (int trial = 0; trial < 40; ++trial) {
        support::make_random_model(random, support::random_choice(random));
        chi_square_of(par);
        std::vector<double> re(static_cast<std::size_t>(ap)), im(re), sum_re(re), sum_im(re);
        for (int k = 1; k <= nLines + n_patterns; ++k) {
            component_of(par, k, ignore, re.data(), im.data());
            for (std::size_t i = 0; i < re.size(); ++i) {
                sum_re[i] += re[i];
                sum_im[i] += im[i];
            }
        }
        ParToSignal(par, re.data(), im.data());
        for (std::size_t i = 0; i < re.size(); ++i) {
            // rounding of a sum of at most 8 curves of size 3
            EXPECT_NEAR(sum_re[i], yre[i], 1e-13);
            EXPECT_NEAR(sum_im[i], yim[i], 1e-13);
            EXPECT_NEAR(sum_re[i], re[i], 1e-13);
            EXPECT_NEAR(sum_im[i], im[i], 1e-13);
        }
    }
}

TEST(model, updated_for_one_entry_equals_the_model_made_anew) {
    support::random_numbers random(15);
    for (int trial = 0; trial < 80; ++trial) {
        support::make_random_model(random, support::random_choice(random));
        if (weighting_type == 2) weighting_type = 1;
        chi_square_of(par);
        const int s = random.integer(1, nLines + n_patterns);
        const int kind = random.integer(0, 4);
        const int i = 5 * (s - 1) + kind;
        if (fixpar[i].fixed_to != 0) continue;
        par[i] += 0.01 * (1.0 + std::fabs(par[i]));
        single_line = s;
        const double updated = chi_square_of(par);
        const std::vector<double> re(yre, yre + ap), im(yim, yim + ap);
        single_line = 0;
        const double anew = chi_square_of(par);
        EXPECT_NEAR(updated, anew, 1e-12 * std::fabs(anew)) << "trial " << trial;
        for (std::size_t n = 0; n < re.size(); ++n) {
            EXPECT_NEAR(re[n], yre[n], 1e-13);
            EXPECT_NEAR(im[n], yim[n], 1e-13);
        }
    }
}
