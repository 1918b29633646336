// SPDX-License-Identifier: BSD-3-Clause
#include "files/results/judgement.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using tools::finding_kind;
using tools::finding_level;
using tools::fit_facts;
using tools::fit_judgement;
using tools::fit_status;

// A good fit of two entries.
static fit_facts good_facts() {
    fit_facts facts;
    facts.fitted = true;
    facts.step = {false, 2, 100};
    facts.iterations = 17;
    facts.noise_re = facts.noise_im = 2.0;
    facts.quality = 1.0;
    facts.has_errors = true;
    for (const char *const name : {"PCr (#1)", "GATP (#2)"}) {
        tools::judged_entry entry;
        entry.name = name;
        entry.free_area = true;
        entry.area = 100.0;
        entry.area_percent = 3.0;
        entry.lorentz_width = 8.0;
        facts.entries.push_back(entry);
    }
    return facts;
}

TEST(judgement, a_good_fit_has_nothing_to_say) {
    const fit_judgement judged = tools::judge(good_facts());
    EXPECT_EQ(judged.status, fit_status::converged);
    EXPECT_EQ(judged.reason, "");
    EXPECT_EQ(judged.words(), "");
    EXPECT_EQ(judged.level(), finding_level::none);
}

// Of n free areas so many have an error above 100 %: more than the half of them.
TEST(judgement, a_fit_is_undetermined_when_more_than_half_of_its_free_areas_are) {
    for (std::size_t n = 1; n <= 5; ++n)
        for (std::size_t unknown = 0; unknown <= n; ++unknown) {
            fit_facts facts = good_facts();
            facts.entries.assign(n + 3, facts.entries[0]);
            for (std::size_t k = 0; k < facts.entries.size(); ++k) {
                facts.entries[k].free_area = k < n; // the others are tied
                facts.entries[k].area_percent = k < unknown || k >= n ? 100.1 : 100.0;
            }
            EXPECT_EQ(tools::judge(facts).words().find("undetermined") != std::string::npos,
                      static_cast<double>(unknown) / static_cast<double>(n) > 0.5)
                << unknown << " of " << n;
        }
}

TEST(judgement, noise_of_the_two_parts_is_alike_within_a_quarter) {
    const auto unlike = [](double re, double im) {
        fit_facts facts = good_facts();
        facts.noise_re = re;
        facts.noise_im = im;
        return tools::judge(facts).words() == "noise_unlike";
    };
    for (const double ratio : {0.801, 1.0, 1.249}) EXPECT_FALSE(unlike(2.0, 2.0 * ratio)) << ratio;
    for (const double ratio : {0.0, 0.1, 0.799, 1.251, 1e300})
        EXPECT_TRUE(unlike(2.0, 2.0 * ratio)) << ratio;
    EXPECT_TRUE(unlike(2.0, std::numeric_limits<double>::quiet_NaN()));
}

TEST(judgement, every_finding_has_a_word_of_its_own_and_a_meaning) {
    std::string seen = ",";
    for (const finding_kind kind : tools::all_findings()) {
        const std::string word = tools::finding_text(kind);
        EXPECT_EQ(seen.find("," + word + ","), std::string::npos) << word;
        EXPECT_EQ(word.find_first_not_of("abcdefghijklmnopqrstuvwxyz_"), std::string::npos) << word;
        EXPECT_GT(std::string(tools::finding_meaning(kind)).size(), 10U) << word;
        EXPECT_EQ(tools::finding_of_text(word), kind);
        seen += word + ",";
    }
    EXPECT_STREQ(tools::finding_text(finding_kind::no_ppm), "no_ppm"); // the table is as long
}

TEST(judgement, missing_bounds_are_explained_by_a_noise_of_0_where_it_is) {
    fit_facts facts = good_facts();
    facts.has_errors = false;
    const auto said = [&] {
        std::string text;
        for (const auto &finding : tools::judge(facts).findings)
            if (finding.kind == finding_kind::no_bounds) text += finding.text;
        return text;
    };
    EXPECT_NE(said().find("not asked for"), std::string::npos);
    facts.noise_re = 0.0;
    EXPECT_EQ(said().find("not asked for"), std::string::npos);
    EXPECT_NE(said().find("all alike"), std::string::npos);
}

TEST(judgement, the_quality_is_judged_on_both_sides_of_each_edge) {
    const auto level_at = [](double quality) {
        fit_facts facts = good_facts();
        facts.quality = quality;
        return tools::judge(facts).level();
    };
    EXPECT_EQ(level_at(std::nextafter(0.7, 0.0)), finding_level::red);
    EXPECT_EQ(level_at(0.7), finding_level::none);
    EXPECT_EQ(level_at(1.5), finding_level::none);
    EXPECT_EQ(level_at(std::nextafter(1.5, 2.0)), finding_level::amber);
    EXPECT_EQ(level_at(3.0), finding_level::amber);
    EXPECT_EQ(level_at(std::nextafter(3.0, 4.0)), finding_level::red);
    EXPECT_EQ(level_at(119.0), finding_level::red);
    EXPECT_EQ(level_at(1e300), finding_level::red);
    EXPECT_EQ(level_at(1e-300), finding_level::red);
}

TEST(judgement, what_is_no_finite_number_is_never_fitted) {
    fit_facts facts = good_facts();
    facts.entries[1].finite = false;
    fit_judgement judged = tools::judge(facts);
    EXPECT_EQ(judged.status, fit_status::not_fitted);
    EXPECT_EQ(judged.reason, "not a finite number among the results of GATP (#2)");
    EXPECT_EQ(judged.level(), finding_level::red);
    for (const double quality :
         {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()}) {
        facts = good_facts();
        facts.quality = quality;
        judged = tools::judge(facts);
        EXPECT_EQ(judged.status, fit_status::not_fitted) << quality;
        EXPECT_EQ(judged.level(), finding_level::red) << quality;
    }
    // without noise the quality is none, and says nothing of the fit
    facts.noise_re = 0.0;
    judged = tools::judge(facts);
    EXPECT_EQ(judged.status, fit_status::converged);
    EXPECT_EQ(judged.words(), "noise_unknown");
    EXPECT_EQ(judged.level(), finding_level::red);
}

TEST(judgement, areas_without_bounds_are_red_and_named) {
    fit_facts facts = good_facts();
    facts.entries[0].bounded = false;
    const fit_judgement judged = tools::judge(facts);
    EXPECT_EQ(judged.level(), finding_level::red);
    EXPECT_EQ(judged.words_of(0), "no_bounds");
    EXPECT_EQ(judged.words_of(1), "");
}

TEST(judgement, weak_and_negative_areas_name_their_entries) {
    fit_facts facts = good_facts();
    facts.entries[1].area = -4.0;
    facts.entries[1].area_percent = 50.0;
    EXPECT_EQ(tools::judge(facts).words_of(1), "negative_area");
    facts.entries[1].area_percent = std::nextafter(50.0, 51.0);
    EXPECT_EQ(tools::judge(facts).words_of(1), "weak_area,negative_area");
    EXPECT_EQ(tools::judge(facts).level(), finding_level::amber);
    facts.entries[0].area_percent = facts.entries[1].area_percent = 100.1; // both of two
    EXPECT_EQ(tools::judge(facts).findings.front().kind, finding_kind::undetermined);
}

TEST(judgement, the_log_decides_at_the_limit_of_iterations) {
    fit_facts facts = good_facts();
    facts.iterations = 100;
    EXPECT_EQ(tools::judge(facts).status, fit_status::at_limit);
    facts.gradients = 100; // and no further one: its tolerance came in the last iteration
    EXPECT_EQ(tools::judge(facts).status, fit_status::converged);
    facts.gradients = 101;
    EXPECT_EQ(tools::judge(facts).status, fit_status::at_limit);
    EXPECT_EQ(tools::judge(facts).words(), "not_finished");
}

TEST(judgement, a_verdict_stands_in_place_of_what_is_found_here) {
    fit_facts facts = good_facts();
    facts.iterations = 100; // of a search that the verdict knows better about
    facts.quality = 2.0;
    facts.verdict.emplace();
    facts.verdict->reasons.push_back(
        {finding_kind::misfit, finding_level::amber, "signal is left at 4.7 ppm", {}});
    facts.verdict->reasons.push_back(
        {finding_kind::at_bound, finding_level::amber, "the width of GATP is at its bound", {1}});
    fit_judgement judged = tools::judge(facts);
    EXPECT_EQ(judged.status, fit_status::converged);
    EXPECT_EQ(judged.words(), "misfit,at_bound");
    EXPECT_EQ(judged.findings.size(), 2U); // not said twice
    EXPECT_EQ(judged.findings[0].text, "signal is left at 4.7 ppm");
    EXPECT_EQ(judged.words_of(1), "at_bound");
    facts.verdict->reasons = {
        {finding_kind::not_finished, finding_level::amber, "no end within 500 evaluations", {}}};
    judged = tools::judge(facts);
    EXPECT_EQ(judged.status, fit_status::at_limit);
    EXPECT_EQ(judged.reason, "no end within 500 evaluations");
    EXPECT_EQ(judged.words(), "not_finished"); // of the residual it had nothing to say
}
