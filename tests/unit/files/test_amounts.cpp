// SPDX-License-Identifier: BSD-3-Clause
// test_amounts.cpp -- amounts by water against numbers worked out by hand
#include "files/results/amounts.h"

#include "files/results/run_result.h"
#include "files/start/peak_table.h"

#include "support/refusal.h"

#include <gtest/gtest.h>

#include <cmath>

using support::refusal_of;
using tools::amount_rows;
using tools::peak_table;

static peak_table table_with(const std::string &rows) {
    return tools::parse_peak_table("name  type  area  frequency[ppm]  lorentz[Hz]  phase\n"
                                   "NAA  lorentz  1  2.01  4  0\n" +
                                       rows,
                                   "t.txt");
}

static double per_area(const std::string &rows, const tools::water_measurement &water,
                       std::string *unit = nullptr) {
    peak_table table = table_with(rows + "amount: NAA, protons=3\n");
    const auto item = tools::amounts_item(table.amounts, water, {}, "t.txt");
    if (unit != nullptr) *unit = item["unit"].get<std::string>();
    return item["amounts"][0]["per_area"].get<double>();
}

TEST(amounts, relaxation_leaves_what_two_exponentials_say) {
    EXPECT_EQ(tools::relaxation_left({}, {}, 0.03, 2.0), 1.0);
    EXPECT_NEAR(tools::relaxation_left({}, 0.03, 0.03, 2.0), std::exp(-1.0), 1e-15);
    EXPECT_NEAR(tools::relaxation_left(2.0, {}, 0.03, 2.0), 1 - std::exp(-1.0), 1e-15);
    EXPECT_NEAR(tools::relaxation_left(1.4, 0.28, 0.03, 2.0),
                std::exp(-0.03 / 0.28) * (1 - std::exp(-2.0 / 1.4)), 1e-15);
}

// 55508 mmol/kg x 2/3 over an area of 1000
TEST(amounts, without_anything_given_they_are_per_kilogram_of_water) {
    std::string unit;
    EXPECT_NEAR(per_area("", {1000.0, 1.0, 1.0, {}, {}}, &unit), 37.0056, 1e-3);
    EXPECT_EQ(unit, "mmol/kg water");
    EXPECT_NEAR(per_area("", {1000.0, 1.0, 4.0, {}, {}}), 37.0056 / 4, 1e-3);
}

TEST(amounts, the_content_of_water_says_the_unit) {
    std::string unit;
    EXPECT_NEAR(per_area("water: tissue, content=0.78 kg/kg\n", {1000.0, 1.0, 1.0, {}, {}}, &unit),
                28.8644, 1e-3);
    EXPECT_EQ(unit, "mmol/kg wet weight");
    per_area("water: tissue, content=0.8 kg/L\n", {1000.0, 1.0, 1.0, {}, {}}, &unit);
    EXPECT_EQ(unit, "mmol/L");
}

TEST(amounts, compartments_add_up_and_only_tissue_holds_metabolites) {
    const std::string rows = "water: gray, fraction=0.5, content=0.8 kg/L, t2=100 ms\n"
                             "water: white, fraction=0.3, content=0.7 kg/L, t2=80 ms\n"
                             "water: csf, fraction=0.2, content=0.97 kg/L, metabolites=no\n";
    const double water = 0.5 * 0.8 * std::exp(-0.3) + 0.3 * 0.7 * std::exp(-0.375) + 0.2 * 0.97;
    EXPECT_NEAR(per_area(rows, {1000.0, 1.0, 1.0, 0.03, 2.0}) / 37.0056, water / 0.8, 1e-4);
}

// Relative variances of area and water add up; another area of the water scales both.
TEST(amounts, have_the_errors_of_their_area_and_of_the_water) {
    tools::run_result run;
    run.has_errors = true;
    run.axis.hz_per_point = run.control.hz_per_point = 2.0;
    run.entries.emplace_back().name = "NAA";
    run.entries[0].number = 1;
    run.entries[0].area.value = 4.0;
    run.control.entries.resize(1);
    run.control.covariance.assign(25, 0.0);
    run.control.covariance[0] = 0.04; // an error of 0.2
    const tools::ordered_json amount = {{"name", "x"}, {"expression", "NAA"}, {"per_area", 10.0}};
    const tools::ordered_json item = {
        {"area", 1000.0}, {"unit", "mmol/L"}, {"amounts", tools::ordered_json::array({amount})}};
    for (const double water : {1000.0, 500.0}) {
        const auto found = tools::amounts_of(run, item, water, 50.0);
        ASSERT_EQ(found.size(), 1U);
        EXPECT_EQ(found[0].name, "x");
        EXPECT_EQ(found[0].unit, "mmol/L");
        const double per_area = 10.0 * 1000.0 / water;
        EXPECT_NEAR(found[0].value, 4.0 * per_area, 1e-13);
        const double error = 4.0 * per_area * std::sqrt(0.05 * 0.05 + 50.0 * 50.0 / water / water);
        EXPECT_NEAR(found[0].error_1sd, error, 1e-13) << water;
    }
}

TEST(amounts, what_is_not_given_is_said) {
    const peak_table table = table_with("te: 30 ms\ntr: 2 s\nwater: tissue, t1=1.1 s\n"
                                        "amount: both = NAA + NAA, protons=6, t2=0.3 s\n");
    EXPECT_EQ(table.amounts.echo_time, 0.03);
    EXPECT_EQ(table.amounts.repetition_time, 2.0);
    const auto item =
        tools::amounts_item(table.amounts, {1.0, 0.01, 1.0, 0.03, 2.0}, {"known"}, "t.txt");
    EXPECT_EQ(item["assumed"].size(), 5U) << item["assumed"].dump();
    const std::string all = item["assumed"].dump();
    for (const char *const text : {"known", "no T2 of water in tissue", "no content of water",
                                   "no T1 of both", "90 degrees"})
        EXPECT_NE(all.find(text), all.npos) << text << " in " << all;
    EXPECT_NEAR(item["amounts"][0]["relaxation_left"].get<double>(), std::exp(-0.1), 1e-12);
}

TEST(amounts, a_time_that_is_needed_and_not_known_is_asked_for) {
    const peak_table table = table_with("amount: NAA, protons=3, t1=1.4 s\n");
    EXPECT_THROW(tools::amounts_item(table.amounts, {1.0, 0.0, 1.0, {}, {}}, {}, "t.txt"),
                 tools::tool_error);
    const peak_table water = table_with("water: tissue, t2=90 ms\namount: NAA, protons=3\n");
    EXPECT_THROW(tools::amounts_item(water.amounts, {1.0, 0.0, 1.0, {}, 2.0}, {}, "t.txt"),
                 tools::tool_error);
}

TEST(amounts, times_that_leave_nothing_are_refused) {
    const auto refused = [](const std::string &rows, const tools::water_measurement &water) {
        const std::string said =
            refusal_of(tools::bad_input, [&] { per_area("te: 30 ms\ntr: 2 s\n" + rows, water); });
        EXPECT_EQ(said.find("t.txt: by the times"), 0U) << rows << said;
    };
    const tools::water_measurement usual = {1000.0, 1.0, 1.0, 0.03, 2.0};
    // exp(-TE/T2) is above 0 up to TE/T2 = 745.13, 1 - exp(-TR/T1) from TR/T1 = 2^-54 on
    EXPECT_GT(per_area("te: 30 ms\nwater: a, t2=4.1e-5 s\n", usual), 0.0);
    refused("water: a, t2=4.0e-5 s\n", usual);
    EXPECT_GT(per_area("water: a, t1=1e16 s\n", usual), 0.0);
    refused("water: a, t1=1e17 s\n", usual);
    for (const char *const row :
         {"t2=1e-300 s", "t2=4.0e-5 s", "t1=1e300 s", "t1=1e17 s", "protons=1e-307"})
        refused("amount: x = NAA, protons=3, " + std::string(row) + "\n", usual);
    refused("", {1e300, 1.0, 1e300, {}, {}}); // inf
    refused("", {1e-300, 1.0, 1e-10, {}, {}});
    refused("", {1000.0, 1.0, 0.0, {}, {}});
    for (const double scale : {1e-300, 1e-45, 1e45, 1e300})
        EXPECT_NEAR(per_area("", {1000.0, 1.0, scale, {}, {}}) * scale, 37.0056, 1e-3);
}

TEST(amounts, a_name_stands_for_one_amount_or_derived_value) {
    for (const char *const rows :
         {"amount: NAA, protons=3\namount: NAA, protons=2\n", "derive: x = NAA\nderive: x=2*NAA\n",
          "derive: NAA = 2*NAA\namount: NAA, protons=3\n",
          "amount: x = NAA, protons=3\nderive: x\n", "derive: NAA\nderive: NAA\n"}) {
        const std::string said = refusal_of(tools::bad_input, [&] { table_with(rows); });
        EXPECT_EQ(said.find("t.txt:4:"), 0U) << rows << said;
    }
    EXPECT_EQ(table_with("derive: NAA = NAA\namount: naa = NAA, protons=3\n").derived.size(), 1U);
}

TEST(amounts, rows_that_say_nothing_clear_are_refused_with_their_place) {
    for (const char *const row :
         {"amount: NAA", "amount: NAA, protons=0", "amount: NAA, protons=three",
          "amount: NAA, protons=3, t1=1.4", "amount: NAA, protons=3, t3=1.4 s",
          "amount: , protons=3", "amount: NAA = , protons=3", "amount: NAA, protons=-3",
          "amount: NAA, protons=nan", "water: t1=1 s", "water:", "water: tissue, content=0.8",
          "water: tissue, content=78 kg/kg", "water: tissue, fraction=1.5", "water: tissue, t2=80",
          "water: tissue, metabolites=maybe", "te: 30", "tr: -2 s", "te: 30 minutes"}) {
        const std::string said =
            refusal_of(tools::bad_input, [&] { table_with(std::string(row) + "\n"); });
        EXPECT_EQ(said.find("t.txt:3:"), 0U) << row << said;
    }
    const auto odd = [](const char *rows) {
        EXPECT_THROW(tools::refuse_odd_water(table_with(rows)), tools::tool_error) << rows;
    };
    odd("water: a, fraction=0.5\nwater: b, fraction=0.4\n");
    odd("water: a, fraction=0.5\nwater: b\n");
    odd("water: a, fraction=0.5, content=0.8 kg/L\nwater: b, fraction=0.5, content=0.8 kg/kg\n");
    odd("water: a, fraction=0.5, content=0.8 kg/L\nwater: b, fraction=0.5\n");
    odd("water: a, metabolites=no\n");
    EXPECT_NO_THROW(tools::refuse_odd_water(table_with("")));
    EXPECT_NO_THROW(tools::refuse_odd_water(
        table_with("water: a, fraction=0.5\nwater: b, fraction=0.5, metabolites=no\n")));
}
