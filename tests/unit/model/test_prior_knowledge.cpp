// SPDX-License-Identifier: BSD-3-Clause
#include "model/prior_knowledge.h"

#include "model/objective.h"
#include "run/state.h"
#include "support/random_model.h"

#include <gtest/gtest.h>

#include <cmath>

// Two entries; the second is tied to the first in the kinds that `links` names.
struct pair_of_entries {
    double x[10] = {4.0, 50.0, 1.0, 10.0, 2.0, 0.0, 0.0, 0.0, 0.0, 0.0};
    parameter_record record[10];
    explicit pair_of_entries(int link) {
        const double start[10] = {2.0, 40.0, 0.5, 0.0, 1.0, 1.0, 30.0, 0.8, 90.0, 0.5};
        for (int i = 0; i < 10; ++i) record[i] = {3, i < 5 ? 0 : link, start[i], 0.0, 0.0};
    }
};

TEST(prior_knowledge, areas_keep_their_ratio_the_others_their_difference) {
    pair_of_entries p(1);
    EXPECT_EQ(apply_prior_knowledge(2, 2, p.x, p.record), 0);
    EXPECT_DOUBLE_EQ(p.x[5], 2.0);  // 4 * 1 / 2
    EXPECT_DOUBLE_EQ(p.x[6], 40.0); // 50 + 30 - 40
    EXPECT_DOUBLE_EQ(p.x[7], 1.3);  // 1 + 0.3
    EXPECT_DOUBLE_EQ(p.x[8], 100.0);
    EXPECT_DOUBLE_EQ(p.x[9], 1.5);
}

TEST(prior_knowledge, dependent_gaussian_width_carries_the_sign_of_the_free_one) {
    pair_of_entries p(1);
    p.x[2] = -1.0;
    EXPECT_EQ(apply_prior_knowledge(2, 2, p.x, p.record), 0);
    EXPECT_DOUBLE_EQ(p.x[7], -1.3); // as broad as with the other sign
}

TEST(prior_knowledge, narrower_dependent_width_is_inconsistent_and_so_is_no_number) {
    pair_of_entries p(1);
    p.record[7].value = 0.4;
    EXPECT_EQ(apply_prior_knowledge(2, 2, p.x, p.record), 1);
    p.record[7].value = std::nan("");
    EXPECT_EQ(apply_prior_knowledge(2, 2, p.x, p.record), 1);
    p.record[7].value = 0.5;
    EXPECT_EQ(apply_prior_knowledge(2, 2, p.x, p.record), 0);
}

TEST(prior_knowledge, link_to_itself_leaves_the_value_even_of_a_zero_area) {
    pair_of_entries p(2);
    for (int i = 5; i < 10; ++i) {
        p.x[i] = i;
        p.record[i].value = 0.0;
    }
    EXPECT_EQ(apply_prior_knowledge(2, 2, p.x, p.record), 0);
    for (int i = 5; i < 10; ++i) EXPECT_EQ(p.x[i], i);
    EXPECT_FALSE(entry_is_free(2, 2, p.record));
    EXPECT_TRUE(entry_is_free(1, 2, p.record));
}

TEST(prior_knowledge, fixed_gaussian_width_that_is_not_finite_is_inconsistent_with_itself) {
    for (const double width : {HUGE_VAL, -HUGE_VAL, std::nan("")}) {
        pair_of_entries p(2);
        p.record[7].value = width;
        EXPECT_EQ(apply_prior_knowledge(2, 2, p.x, p.record), 2);
        p.record[7].value = 0.8;
        p.record[9].value = width; // the rule is that of Gaussian widths alone
        EXPECT_EQ(apply_prior_knowledge(2, 2, p.x, p.record), 0);
    }
}

TEST(prior_knowledge, link_outside_the_entries_counts_as_free) {
    for (int link : {3, -1, 2147483647}) {
        pair_of_entries p(link);
        p.x[5] = 7.0;
        EXPECT_TRUE(entry_is_free(2, 2, p.record));
        EXPECT_EQ(apply_prior_knowledge(2, 2, p.x, p.record), 0);
        EXPECT_EQ(p.x[5], 7.0);
    }
}

static const char inconsistency[] =
    "program terminated due to prior knowledge inconsistency : \n"
    "gaussian linewidth of : \n"
    "fixed line 2 < than linewidth 1 \n "
    "it depends on. Because this  M A Y  cause prior knowledge\n"
    "violation during minimization the fit is terminated.\n\n\n"
    "How to fix: \n Interchange dependent and free line prior knowledge \n";

static void make_inconsistent_pair() {
    support::random_numbers random(3);
    support::make_random_model(random, {.points = 16, .lines = 2, .links = false});
    for (int i = 0; i < 10; ++i) fixpar[i].type = 1;
    fixpar[7].fixed_to = 1;
    fixpar[7].value = fixpar[2].value - 0.1;
}

TEST(prior_knowledge, inconsistency_ends_the_run_with_its_message) {
    make_inconsistent_pair();
    int status = 0;
    const std::string said =
        support::stdout_of([&] { status = support::end_status_of([] { chi_square_of(par); }); });
    EXPECT_EQ(status, 1);
    EXPECT_EQ(said, std::string(inconsistency) + "\nGood luck ... \n");
}

TEST(prior_knowledge, inconsistency_in_an_incremental_model_has_a_shorter_message) {
    make_inconsistent_pair();
    std::copy(par, par + 10, par_copy);
    par[2] += 0.1;
    single_line = 1;
    int status = 0;
    const std::string said =
        support::stdout_of([&] { status = support::end_status_of([] { chi_square_of(par); }); });
    EXPECT_EQ(status, 1);
    EXPECT_EQ(said, inconsistency);
}
