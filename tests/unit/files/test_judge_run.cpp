// SPDX-License-Identifier: BSD-3-Clause
#include "files/results/judge_run.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using tools::finding_kind;
using tools::finding_level;
using tools::fit_judgement;
using tools::fit_status;
using tools::run_result;

// A good fit of two entries.
static run_result good_run() {
    run_result run;
    run.fitted = true;
    run.control.steps.resize(2);
    run.control.steps[1].switches[tools::fit_areas] = 1; // and 100 iterations
    run.iterations = 17;
    run.noise_re = run.noise_im = 2.0;
    run.quality = 1.0;
    run.has_errors = true;
    run.axis.hz_per_point = run.axis.mhz = run.axis.ppm_at_carrier = 1.0;
    for (const char *const name : {"PCr", "GATP"}) {
        tools::fitted_entry &entry = run.entries.emplace_back();
        entry.number = static_cast<int>(run.entries.size());
        entry.name = name;
        entry.area.value = 100.0;
        entry.area.error_2sd = 6.0;
        entry.lorentz_width.value = 8.0;
    }
    return run;
}

static fit_judgement judge(run_result run) {
    tools::judge_run(run);
    return run.judgement;
}

TEST(judgement, a_good_fit_has_nothing_to_say) {
    const fit_judgement judged = judge(good_run());
    EXPECT_EQ(judged.status, fit_status::converged);
    EXPECT_EQ(judged.reason, "");
    EXPECT_EQ(judged.words(), "");
    EXPECT_EQ(judged.level(), finding_level::none);
}

// Of n free areas so many have an error above 100 %: more than the half of them.
TEST(judgement, a_fit_is_undetermined_when_more_than_half_of_its_free_areas_are) {
    for (std::size_t n = 1; n <= 5; ++n)
        for (std::size_t unknown = 0; unknown <= n; ++unknown) {
            run_result run = good_run();
            run.entries.assign(n + 3, run.entries[0]);
            for (std::size_t k = 0; k < run.entries.size(); ++k) {
                if (k >= n) run.entries[k].area.state = tools::parameter_state::linked;
                run.entries[k].area.error_2sd = k < unknown || k >= n ? 200.2 : 200.0;
            }
            EXPECT_EQ(judge(run).words().find("undetermined") != std::string::npos,
                      static_cast<double>(unknown) / static_cast<double>(n) > 0.5)
                << unknown << " of " << n;
        }
}

TEST(judgement, noise_of_the_two_parts_is_alike_within_a_quarter) {
    const auto unlike = [](double re, double im) {
        run_result run = good_run();
        run.noise_re = re;
        run.noise_im = im;
        return judge(run).words() == "noise_unlike";
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
    run_result run = good_run();
    run.has_errors = false;
    const auto said = [&] {
        std::string text;
        for (const auto &finding : judge(run).findings)
            if (finding.kind == finding_kind::no_bounds) text += finding.text;
        return text;
    };
    EXPECT_NE(said().find("not asked for"), std::string::npos);
    run.noise_re = 0.0;
    EXPECT_EQ(said().find("not asked for"), std::string::npos);
    EXPECT_NE(said().find("all alike"), std::string::npos);
}

TEST(judgement, the_quality_is_judged_on_both_sides_of_each_edge) {
    const auto level_at = [](double quality) {
        run_result run = good_run();
        run.quality = quality;
        return judge(run).level();
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
    run_result run = good_run();
    run.entries[1].lorentz_width.value = std::numeric_limits<double>::infinity();
    fit_judgement judged = judge(run);
    EXPECT_EQ(judged.status, fit_status::not_fitted);
    EXPECT_EQ(judged.reason, "not a finite number among the results of GATP (#2)");
    EXPECT_EQ(judged.level(), finding_level::red);
    for (const double quality :
         {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()}) {
        run = good_run();
        run.quality = quality;
        judged = judge(run);
        EXPECT_EQ(judged.status, fit_status::not_fitted) << quality;
        EXPECT_EQ(judged.level(), finding_level::red) << quality;
    }
    // without noise the quality is none, and says nothing of the fit
    run.noise_re = 0.0;
    judged = judge(run);
    EXPECT_EQ(judged.status, fit_status::converged);
    EXPECT_EQ(judged.words(), "noise_unknown");
    EXPECT_EQ(judged.level(), finding_level::red);
}

TEST(judgement, areas_without_bounds_are_red_and_named) {
    run_result run = good_run();
    run.entries[0].phase.error_2sd = std::numeric_limits<double>::quiet_NaN();
    const fit_judgement judged = judge(run);
    EXPECT_EQ(judged.level(), finding_level::red);
    EXPECT_EQ(judged.words_of(0), "no_bounds");
    EXPECT_EQ(judged.words_of(1), "");
}

TEST(judgement, weak_and_negative_areas_name_their_entries) {
    run_result run = good_run();
    run.entries[1].area.value = -4.0;
    run.entries[1].area.error_2sd = 4.0; // two standard deviations: 50 %
    EXPECT_EQ(judge(run).words_of(1), "negative_area");
    run.entries[1].area.error_2sd = std::nextafter(4.0, 5.0);
    EXPECT_EQ(judge(run).words_of(1), "weak_area,negative_area");
    EXPECT_EQ(judge(run).level(), finding_level::amber);
    run.entries[0].area.error_2sd = 200.2; // both of two
    run.entries[1].area.error_2sd = 8.008;
    EXPECT_EQ(judge(run).findings.front().kind, finding_kind::undetermined);
}

TEST(judgement, the_log_decides_at_the_limit_of_iterations) {
    run_result run = good_run();
    run.iterations = 100;
    EXPECT_EQ(judge(run).status, fit_status::at_limit);
    run.log_steps = {{100, 0.0}}; // and no further one: its tolerance came in the last iteration
    EXPECT_EQ(judge(run).status, fit_status::converged);
    run.log_steps = {{101, 0.0}};
    EXPECT_EQ(judge(run).status, fit_status::at_limit);
    EXPECT_EQ(judge(run).words(), "not_finished");
}

TEST(judgement, a_verdict_stands_in_place_of_what_is_found_here) {
    run_result run = good_run();
    run.iterations = 100; // of a search that the verdict knows better about
    run.quality = 2.0;
    run.optimum.emplace();
    run.optimum->reasons = {{"misfit", 4.7, {}, "signal is left"},
                            {"at_bound", 0.0, {2}, "the width is at its bound"}};
    fit_judgement judged = judge(run);
    EXPECT_EQ(judged.status, fit_status::converged);
    EXPECT_EQ(judged.words(), "misfit,at_bound");
    EXPECT_EQ(judged.findings.size(), 2U); // not said twice
    EXPECT_EQ(judged.findings[0].text, "misfit: signal is left (4.7)");
    EXPECT_EQ(judged.words_of(1), "at_bound");
    run.optimum->reasons = {{"not_finished", 500.0, {}, "no end within its evaluations"}};
    judged = judge(run);
    EXPECT_EQ(judged.status, fit_status::at_limit);
    EXPECT_EQ(judged.reason, "not_finished: no end within its evaluations (500)");
    EXPECT_EQ(judged.words(), "not_finished"); // of the residual it had nothing to say
}

TEST(judgement, a_line_is_outside_from_half_a_point_beside_the_fitted_intervals) {
    run_result run = good_run();
    run.control.read = true;
    run.control.hz_per_point = 2.0;
    run.control.steps[1].intervals = {{10, 20}, {40, 50}};
    run.axis.points = run.axis.measured = 64;
    run.entries[0].frequency.value = 30.0; // point 15
    const auto is_outside = [&](double point) {
        run.entries[1].frequency.value = 2.0 * point;
        EXPECT_EQ(judge(run).words_of(0), "");
        const std::string words = judge(run).words_of(1);
        EXPECT_TRUE(words.empty() || words == "outside") << words;
        return !words.empty();
    };
    for (const double point : {9.5, 20.5, 39.5, 50.5}) EXPECT_FALSE(is_outside(point)) << point;
    for (const double point : {0.0, 9.4, 20.6, 39.4, 50.6}) EXPECT_TRUE(is_outside(point)) << point;
    EXPECT_EQ(judge(run).level(), finding_level::red);
    run.entries[1].type = tools::pattern_entry; // whose frequency is a shift
    EXPECT_EQ(judge(run).words(), "");
}

TEST(judgement, zeros_that_were_filled_in_are_told_from_the_first_digit_that_they_move) {
    run_result run = good_run();
    run.axis.points = 1024;
    const auto said = [&](long long measured) {
        run.axis.measured = measured;
        const auto findings = judge(run).findings;
        return findings.empty() ? "" : findings[0].text;
    };
    for (const long long measured : {0, 1014, 1023, 1024}) EXPECT_EQ(said(measured), "");
    EXPECT_EQ(said(1013).find("1013 of 1024 points were measured"), 0U);
    EXPECT_NE(said(256).find("are 2 times those of the fit"), std::string::npos);
    EXPECT_EQ(judge(run).level(), finding_level::note);
}
