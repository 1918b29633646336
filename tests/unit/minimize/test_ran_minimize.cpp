// SPDX-License-Identifier: BSD-3-Clause
#include "minimize/ran_minimize.h"

#include "model/objective.h"
#include "run/state.h"
#include "support/random_model.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

static void search(int samples, int levels) {
    Ran_ML_Minimize(samples, levels, ap, nLines, td_ap_trunc, npar, par, par_bu, par_copy, fixpar,
                    xre, xim, yre, yim, wre, wim, re_ref, im_ref, r_lsf, i_lsf, frscl, phi_1,
                    n_patterns, pat, spec, complex, weighting_type, single_line, lsf_coefs,
                    ref_line, fit_lsf, lookup, ignore, amp_fit, freq_fit, width_fit, phase_fit,
                    voigt_fit, lsf_fit_enable, par_ranges);
}

static void make_search() {
    support::random_numbers random(71);
    support::make_random_model(random,
                               {.points = 64, .lines = 2, .links = false, .separated = true});
    chi_square_of(par);
    for (int i = 0; i < ap; ++i) {
        xre[i] = yre[i];
        xim[i] = yim[i];
        wre[i] = wim[i] = 1.0;
    }
    for (int i = 0; i < npar; ++i) {
        fixpar[i].min = par[i] - 0.3 * std::fabs(par[i]) - 0.1;
        fixpar[i].max = par[i] + 0.5 * std::fabs(par[i]) + 0.1;
        if (fixpar[i].fixed_to == 0) par[i] += 0.2 * std::fabs(par[i]);
    }
    amp_fit = freq_fit = width_fit = phase_fit = voigt_fit = 1;
    par_ranges = 1;
}

TEST(ran_minimize, generator_is_a_known_sequence_on_every_platform) {
    // state = 214013 state + 2531011, bits 16 to 30; from state 1 by hand: 2745024 -> 41
    seed_random(1);
    EXPECT_EQ(random_15_bit(), 41);
    std::uint32_t state = 2745024U;
    for (int i = 0; i < 1000; ++i) {
        state = state * 214013U + 2531011U;
        const int value = random_15_bit();
        ASSERT_EQ(value, static_cast<int>((state >> 16) & 0x7fffU));
        ASSERT_GE(value, 0);
        ASSERT_LE(value, 32767);
    }
}

TEST(ran_minimize, lowers_the_chi_square_inside_the_ranges) {
    make_search();
    const double before = chi_square_of(par);
    support::stdout_of([] { search(60, 20); });
    EXPECT_LT(chi_square_of(par), 0.1 * before);
    for (int i = 0; i < npar; ++i) {
        if (fixpar[i].fixed_to != 0) continue;
        EXPECT_GT(par[i], fixpar[i].min);
        EXPECT_LT(par[i], fixpar[i].max);
    }
}

TEST(ran_minimize, two_runs_are_the_same_to_the_last_letter) {
    std::string said[2];
    std::vector<double> found[2];
    for (int run = 0; run < 2; ++run) {
        make_search();
        said[run] = support::stdout_of([] { search(30, 5); });
        found[run].assign(par, par + npar);
    }
    EXPECT_EQ(said[0], said[1]);
    EXPECT_EQ(found[0], found[1]);
    EXPECT_EQ(said[0].rfind("Success: Memory requested to store par_max[] and par_min[] in "
                            "Ran_ML_Minimize() is available!\nInitialize parameter ranges for "
                            "random fit...\nparameter[0] - minpar = ",
                            0),
              0U);
    for (const char *text :
         {"Check the parameter ranges ...\nAll initial parameters are O.K. \nCalling "
          "InitRandomSearch ...\nCalling copy vector\nVector copied! \nVector par equals:\n"
          "ShowVector \nShowVector npar      = 10 \nShowVector lsf_coefs = 0 \nPar[0] = ",
          "\n\nVector copied !\n\nInitRandomSearch npar      = 10 \nInitRandomSearch lsf_coefs = "
          "0 \nInitRandomSearch ap        = 64 \nInitRandomSearch nLines    = 2 \n"
          "InitRandomSearch N         = 30 \nInitial function value = ",
          "Vector containing minimizing parameters : \n", "Minimum function-value : ",
          "Calling Random_Minimize ...\n\n Current minimizing vector: \nShowVector \n",
          "Iteration end.. \n\nObtained minimum : \n\n  Vector containing minimizing parameters : "
          "\n",
          "  Minimum function-value : ",
          "Finished Random_Minimize ...\nRanges not changed ... ranges = 1 \n"})
        EXPECT_NE(said[0].find(text), std::string::npos) << text;
}

TEST(ran_minimize, with_everything_fixed_ends_after_exactly_k_passes) {
    make_search();
    for (int i = 0; i < npar; ++i) fixpar[i].fixed_to = i / 5 + 1;
    const std::string said = support::stdout_of([] { search(3, 7); });
    std::size_t passes = 0;
    for (std::size_t at = 0; (at = said.find("k-value  ", at)) != std::string::npos; ++at) ++passes;
    EXPECT_EQ(passes, 7U);
    EXPECT_NE(said.find("k-value  7  normal improvement 0.000000E+00 \n"), std::string::npos);
}

TEST(ran_minimize, switched_off_kinds_keep_their_values) {
    make_search();
    freq_fit = 0;
    const double f1 = par[1], f2 = par[6];
    support::stdout_of([] { search(30, 3); });
    EXPECT_EQ(par[1], f1);
    EXPECT_EQ(par[6], f2);
}

TEST(ran_minimize, start_outside_its_range_ends_the_run) {
    make_search();
    par[5] = fixpar[5].max + 1.0;
    int status = 0;
    const std::string said =
        support::stdout_of([&] { status = support::end_status_of([] { search(5, 2); }); });
    EXPECT_EQ(status, 1);
    char line[400];
    std::snprintf(line, sizeof line,
                  "i n d e p e n d e n t  parameter 5  not ok startvalue = %e  ; min-value =  %e "
                  "max-value = %e\n *** Corrupt initial parameter array : \n Initial parameter "
                  "values do not satisfy the parameter boundary conditions \n program terminates "
                  "...\n",
                  par[5], fixpar[5].min, fixpar[5].max);
    EXPECT_NE(said.find(line), std::string::npos) << said;
}

TEST(ran_minimize, dependent_value_is_wrong_only_in_an_inverted_range) {
    make_search();
    fixpar[6].fixed_to = 2;
    par[6] = fixpar[6].max + 1.0; // outside, accepted
    support::stdout_of(
        [] { EXPECT_EQ(support::end_status_of([] { search(2, 1); }), support::no_end); });
    make_search();
    fixpar[6].fixed_to = 2;
    fixpar[6].min = par[6] + 1.0;
    fixpar[6].max = par[6] - 1.0;
    int status = 0;
    const std::string said =
        support::stdout_of([&] { status = support::end_status_of([] { search(2, 1); }); });
    EXPECT_EQ(status, 1);
    EXPECT_NE(said.find("\nd e p e n d e n t  parameter 6  not ok"), std::string::npos);
}

TEST(ran_minimize, empty_range_keeps_the_value_and_says_so_once) {
    make_search();
    fixpar[1].min = fixpar[1].max = par[1];
    const double f1 = par[1];
    const std::string said = support::stdout_of([] { search(10, 3); });
    EXPECT_EQ(par[1], f1);
    const std::string text = "parameter 1 : no value inside its search range";
    const std::size_t at = said.find(text);
    ASSERT_NE(at, std::string::npos);
    EXPECT_EQ(said.find(text, at + 1), std::string::npos);
}

// The blind samples find a frequency nearly a width above its range, where no later sample goes:
// each of those is drawn until it lies inside, one in 30000 draws at level 20.
TEST(ran_minimize, samples_around_a_value_outside_its_range_are_drawn_until_one_is_inside) {
    make_search();
    amp_fit = width_fit = phase_fit = voigt_fit = 0;
    for (int k = 0; k < 2; ++k) {
        const double truth = par_copy[5 * k + 1];
        fixpar[5 * k + 1].min = truth - 3.8;
        fixpar[5 * k + 1].max = truth - 1.8;
        par[5 * k + 1] = truth - 2.0;
    }
    const double truth = par_copy[1];
    const std::string said = support::stdout_of([] { search(60, 20); });
    EXPECT_GT(par[1], fixpar[1].max);
    EXPECT_NEAR(par[1], truth, 0.2);
    EXPECT_NE(said.find("k-value  20  "), std::string::npos);
    EXPECT_EQ(said.find("no value inside"), std::string::npos);
}

// From an end of its range the first levels find values; from about 530 on all steps but the
// longest, which ends at the other end, are lost in rounding.
TEST(ran_minimize, value_at_an_end_of_its_range_is_kept_where_steps_are_lost_in_rounding) {
    make_search();
    amp_fit = width_fit = phase_fit = voigt_fit = 0;
    fixpar[1].min = par[1];
    fixpar[1].max = par[1] + 64.0;
    fixpar[6].fixed_to = 2;
    for (int i = 0; i < ap; ++i) wre[i] = wim[i] = 0.0; // level: nothing improves
    const std::string few = support::stdout_of([] { search(2, 20); });
    EXPECT_EQ(few.find("no value inside"), std::string::npos);
    const std::string many = support::stdout_of([] { search(2, 1000); });
    EXPECT_NE(many.find("no value inside"), std::string::npos);
}

TEST(ran_minimize, perfect_start_counts_as_no_improvement_and_ends) {
    make_search();
    chi_square_of(par);
    for (int i = 0; i < ap; ++i) {
        xre[i] = yre[i];
        xim[i] = yim[i];
    }
    const std::string said = support::stdout_of([] { search(5, 4); });
    EXPECT_NE(said.find("k-value  4  normal improvement 0.000000E+00 \n"), std::string::npos);
}

TEST(ran_minimize, ranges_of_dependent_parameters_move_in_mode_3) {
    make_search();
    par_ranges = 3;
    fixpar[8].fixed_to = 1; // phase of line 2; the half width is that of record 1
    fixpar[8].value = fixpar[3].value;
    const double half = std::fabs(fixpar[1].max - fixpar[1].min) / 2.0;
    const std::string said = support::stdout_of([] { search(20, 2); });
    EXPECT_NE(said.find("Changing ranges ...\n"), std::string::npos);
    EXPECT_DOUBLE_EQ(fixpar[8].min, par[8] - half);
    EXPECT_DOUBLE_EQ(fixpar[8].max, par[8] + half);
}

// What the blind samples start from and what they end with, with one free parameter.
static void blind_samples_of(int free, double &before, double &after) {
    make_search();
    for (int i = 0; i < npar; ++i) {
        fixpar[i].fixed_to = i == free ? 0 : i / pars_per_entry + 1;
        fixpar[i].type = 3;
    }
    const std::string said = support::stdout_of([] { search(200, 1); });
    const auto number_behind = [&](const std::string &label) {
        const std::size_t at = said.find(label);
        EXPECT_NE(at, std::string::npos) << label;
        return std::strtod(said.c_str() + at + label.size(), nullptr);
    };
    before = number_behind("Initial function value = ");
    after = number_behind("Minimum function-value : ");
}

TEST(ran_minimize, blind_samples_never_draw_the_last_line_parameter) {
    double before = 0.0, after = 0.0;
    blind_samples_of(8, before, after);
    EXPECT_LT(after, before);
    blind_samples_of(9, before, after);
    EXPECT_EQ(after, before);
}

// With one free parameter the blind samples are centre + (2 rand / 2^15 - 1/2) width, one draw
// each.
TEST(ran_minimize, blind_samples_reach_from_the_lower_end_to_a_width_beyond_the_upper_one) {
    double before = 0.0, after = 0.0;
    blind_samples_of(1, before, after);
    make_search();
    for (int i = 0; i < npar; ++i) {
        fixpar[i].fixed_to = i == 1 ? 0 : i / pars_per_entry + 1;
        fixpar[i].type = 3;
    }
    const double centre = (fixpar[1].min + fixpar[1].max) / 2.0;
    const double width = fixpar[1].max - fixpar[1].min;
    double lowest = chi_square_of(par);
    EXPECT_NEAR(before, lowest, 1e-6 * lowest); // printed with seven digits
    std::uint32_t state = static_cast<std::uint32_t>(nLines);
    for (int sample = 0; sample < 200; ++sample) {
        state = state * 214013U + 2531011U;
        const double u = 2.0 * ((state >> 16) & 0x7fffU) / 32768.0 - 0.5;
        par[1] = centre + u * width;
        lowest = std::min(lowest, chi_square_of(par));
    }
    EXPECT_NEAR(after, lowest, 1e-6 * lowest);
    EXPECT_LT(after, before);
}
