// SPDX-License-Identifier: BSD-3-Clause
#include "files/results/derived_area.h"

#include "files/base/tool_error.h"
#include "support/refusal.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

using tools::derive_area;
using tools::derived_area;

namespace {

// Two lines and a pattern with areas, places and widths; parameters do not hang together.
tools::run_result three_entries() {
    tools::run_result run;
    run.name = "brain";
    run.has_errors = true;
    run.axis.hz_per_point = run.control.hz_per_point = 2.0;
    run.axis.mhz = 50.0;
    run.axis.ppm_at_carrier = 4.7;
    const char *const names[] = {"PCr", "gATP1", "gATP2"};
    for (int k = 0; k < 3; ++k) {
        tools::fitted_entry &entry = run.entries.emplace_back();
        entry.number = k + 1;
        entry.name = names[k];
        entry.area.value = 4.0 - k;
        entry.ppm = 1.0 + k;
        entry.hz_from_carrier = -100.0 * k;
        entry.gauss_width.value = 10.0 + k;
        entry.phase.value = 20.0;
        entry.lorentz_width.value = 7.0;
    }
    return run;
}

// Covariances in the units of the fit, points: areas with this variance, two of them hang together,
// all other parameters vary by half a point.
void give_covariance(tools::run_result &run, double of_area, double of_two_areas) {
    run.control.entries.resize(3);
    run.control.covariance.assign(15U * 15U, 0.0);
    const auto at = [&](std::size_t i, std::size_t j) -> double & {
        return run.control.covariance[15 * i + j];
    };
    for (std::size_t i = 0; i < 15; ++i) at(i, i) = i % 5 == 0 ? of_area : 0.25;
    at(0, 5) = at(5, 0) = of_two_areas;
}

std::string refusal(const tools::run_result &run, const std::string &text,
                    const std::string &file = "") {
    return support::refusal_of(file.empty() ? tools::wrong_usage : tools::bad_input,
                               [&] { derive_area(run, text, file); });
}

} // namespace

TEST(derived_area, a_sum_has_the_covariance_of_its_terms) {
    tools::run_result run = three_entries();
    give_covariance(run, 0.04, -0.03);
    const derived_area sum = derive_area(run, " total = PCr + gATP1 ");
    EXPECT_EQ(sum.name, "total");
    EXPECT_EQ(sum.expression, "PCr + gATP1");
    EXPECT_EQ(sum.value, 7.0);
    EXPECT_NEAR(sum.error_1sd, std::sqrt(0.04 + 0.04 - 2.0 * 0.03), 1e-15);
    EXPECT_NEAR(derive_area(run, "PCr-gATP1").error_1sd, std::sqrt(0.08 + 0.06), 1e-15);
    EXPECT_NEAR(sum.percent_1sd(), 100.0 * sum.error_1sd / 7.0, 1e-13);
}

// var(a/b) = var(a)/b^2 + a^2 var(b)/b^4 - 2 a cov/b^3
TEST(derived_area, a_ratio_to_first_order) {
    tools::run_result run = three_entries();
    give_covariance(run, 0.04, 0.01);
    const derived_area ratio = derive_area(run, "PCr/gATP1");
    EXPECT_EQ(ratio.name, "PCr/gATP1");
    EXPECT_NEAR(ratio.value, 4.0 / 3.0, 1e-15);
    EXPECT_NEAR(ratio.error_1sd,
                std::sqrt(0.04 / 9.0 + 16.0 * 0.04 / 81.0 - 2.0 * 4.0 * 0.01 / 27.0), 1e-15);
}

// Half a point is 1 Hz here, 0.02 ppm at 50 MHz; a Gaussian width in points is its FWHM over 1.67.
TEST(derived_area, errors_are_in_the_shown_units) {
    tools::run_result run = three_entries();
    give_covariance(run, 0.04, 0.0);
    const auto error = [&](const char *text) { return derive_area(run, text).error_1sd; };
    EXPECT_NEAR(error("frequency(gATP2)"), 0.02, 1e-15);
    EXPECT_NEAR(error("frequency(gATP2) - frequency(PCr)"), std::sqrt(2.0) * 0.02, 1e-15);
    EXPECT_NEAR(error("gauss_width(PCr)"), 1.67, 1e-15);
    EXPECT_NEAR(error("lorentz_width(PCr)"), 1.0, 1e-15);
    EXPECT_NEAR(error("phase(PCr)"), 0.5, 1e-15);
    run.control.covariance[15 * 1 + 2] = run.control.covariance[15 * 2 + 1] = 0.1; // points^2
    EXPECT_NEAR(error("frequency(PCr) + gauss_width(PCr)"),
                std::sqrt(0.02 * 0.02 + 1.67 * 1.67 + 2.0 * 0.1 * 0.04 * (2.0 * 1.67)), 1e-15);
    EXPECT_EQ(derive_area(run, "frequency(gATP2)").value, 3.0);
    EXPECT_EQ(derive_area(run, "gauss_width(gATP1) + lorentz_width(PCr) + phase(PCr)").value, 38.0);
    run.axis.ppm_at_carrier.reset(); // Hz from the carrier
    EXPECT_EQ(derive_area(run, "frequency(gATP2)").value, -200.0);
    EXPECT_NEAR(error("frequency(gATP2)"), 1.0, 1e-15);
}

TEST(derived_area, without_a_covariance_there_is_a_value_but_no_error) {
    tools::run_result run = three_entries();
    EXPECT_EQ(derive_area(run, "gATP").value, 5.0); // gATP1 + gATP2
    EXPECT_TRUE(std::isnan(derive_area(run, "gATP").error_1sd));
    give_covariance(run, 0.04, 0.0);
    run.has_errors = false;
    EXPECT_TRUE(std::isnan(derive_area(run, "gATP").error_1sd));
}

TEST(derived_area, a_divisor_of_zero_gives_no_number) {
    tools::run_result run = three_entries();
    give_covariance(run, 0.04, 0.0);
    const derived_area none = derive_area(run, "PCr/(gATP1-3)");
    EXPECT_FALSE(std::isfinite(none.value));
    EXPECT_TRUE(std::isnan(none.error_1sd));
}

TEST(derived_area, refusals_name_the_expression_and_the_place) {
    const tools::run_result run = three_entries();
    EXPECT_EQ(refusal(run, "=PCr"), "--derive \"=PCr\": no name before the \"=\"");
    EXPECT_NE(refusal(run, "x=PCr+").find("--derive \"PCr+\", character 5: "), std::string::npos);
    EXPECT_NE(refusal(run, "x=Pi").find("brain"), std::string::npos);
    EXPECT_EQ(refusal(run, "=PCr", "a.json"),
              "a.json: what is to be derived, \"=PCr\": no name before the \"=\"");
    EXPECT_TRUE(refusal(run, "x=PCr+", "a.json")
                    .starts_with("a.json: what is to be derived, \"PCr+\", character 5: "));
    // before there are areas, a ratio of any names is an expression, though areas are unknown
    EXPECT_NO_THROW(tools::check_derived_area({"PCr", "Pi"}, "peaks.txt", "x=PCr/Pi"));
    EXPECT_THROW(tools::check_derived_area({"PCr"}, "peaks.txt", "x=PCr/Pi"), tools::tool_error);
}

TEST(derived_area, rows_have_as_many_cells_as_the_heading) {
    tools::run_result run = three_entries();
    give_covariance(run, 0.04, 0.0);
    tools::table_shape shape;
    shape.places = {{"x", "first direction"}, {"y", "second direction"}};
    EXPECT_EQ(tools::derived_header(shape),
              "spectrum\tx\ty\tname\texpression\tvalue\terror_1sd\terror_2sd\t"
              "error_percent_1sd\tunit\n");
    EXPECT_EQ(tools::derived_row("brain", derive_area(run, "r=PCr"), {"3", "7"}),
              "brain\t3\t7\tr\tPCr\t4\t0.2\t0.4\t5\tn/a\n");
    EXPECT_EQ(tools::derived_row("brain", derive_area(three_entries(), "r=PCr")),
              "brain\tr\tPCr\t4\tn/a\tn/a\tn/a\tn/a\n");
    const std::string described = tools::derived_dictionary(shape);
    for (const char *column : {"spectrum", "x", "y", "name", "expression", "value", "error_1sd",
                               "error_2sd", "error_percent_1sd", "unit"})
        EXPECT_NE(described.find("\"" + std::string(column) + "\": {"), std::string::npos)
            << column;
}
