// SPDX-License-Identifier: BSD-3-Clause
#include "files/results/fitted_entries.h"

#include "files/start/start_file.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using tools::fitted_entry;
using tools::fitted_parameter;
using tools::linked_entry;
using tools::parameter_row;
using tools::parameter_state;
using tools::signed_entry;
using tools::spectrum_axis;

namespace {

constexpr double no_number = std::numeric_limits<double>::quiet_NaN();

fitted_parameter known(double value, double error_2sd) {
    fitted_parameter p;
    p.value = value;
    p.error_2sd = error_2sd;
    return p;
}

spectrum_axis some_axis() {
    spectrum_axis axis;
    axis.hz_per_point = 2.0;
    axis.mhz = 50.0;
    axis.ppm_at_carrier = 4.7;
    axis.points = axis.measured = 1024;
    return axis;
}

} // namespace

TEST(fitted_entries, an_error_in_percent_is_of_the_magnitude_and_999_at_most) {
    EXPECT_EQ(known(-8.0, 4.0).percent_1sd(), 25.0);
    EXPECT_EQ(known(1e-300, 1.0).percent_1sd(), 999.0);
    EXPECT_EQ(known(1.0, 2.0 * 9.99).percent_1sd(), 999.0);
    EXPECT_NEAR(known(1.0, 2.0 * 9.98).percent_1sd(), 998.0, 1e-10);
    EXPECT_EQ(known(0.0, 1.0).percent_1sd(), 999.0);
    EXPECT_EQ(known(1e300, 1e-300).percent_1sd(), 0.0);
    EXPECT_TRUE(std::isnan(known(2.0, 0.0).percent_1sd())) << "fixed, or at the edge of a window";
    EXPECT_TRUE(std::isnan(known(0.0, 0.0).percent_1sd()));
    for (const double bad : {no_number, std::numeric_limits<double>::infinity(), -1.0})
        EXPECT_TRUE(std::isnan(known(1.0, bad).percent_1sd())) << bad;
    EXPECT_TRUE(std::isnan(known(no_number, 1.0).percent_1sd()));
}

// Hz; Lorentzian widths of Lorentzian lines and both of patterns are in points in a file, the
// Gaussian one of a pattern over 1.67.
TEST(fitted_entries, are_shown_in_hertz_with_their_links) {
    const std::vector<linked_entry> rows = {{tools::voigt_entry, {0, 0, 0, 0, 0}},
                                            {tools::lorentz_entry, {1, 1, 2, 1, 0}},
                                            {tools::pattern_entry, {0, 3, 0, 99, 0}}};
    const std::vector<parameter_row> values = {
        {4.0, 100.0, 6.0, 10.0, 8.0}, {2.0, 130.0, 0.0, 15.0, 3.0}, {1.0, 5.0, 2.0, 0.0, 3.0}};
    const std::vector<parameter_row> errors(3, parameter_row{0.5, 0.4, 0.3, 0.2, 0.1});
    const auto entries = tools::shown_entries(rows, values, errors, some_axis());
    ASSERT_EQ(entries.size(), 3U);
    EXPECT_EQ(entries[0].number, 1);
    EXPECT_EQ(entries[0].gauss_width.value, 6.0);
    EXPECT_EQ(entries[0].lorentz_width.value, 8.0);
    EXPECT_EQ(entries[0].frequency.error_2sd, 0.4);
    EXPECT_EQ(entries[1].area.state, parameter_state::linked);
    EXPECT_EQ(entries[1].area.source, 1);
    EXPECT_EQ(entries[1].area.link_constant, 0.5);       // a ratio
    EXPECT_EQ(entries[1].frequency.link_constant, 30.0); // a difference
    EXPECT_EQ(entries[1].gauss_width.state, parameter_state::unused);
    EXPECT_TRUE(std::isnan(entries[1].gauss_width.value));
    EXPECT_EQ(entries[1].lorentz_width.value, 6.0);
    EXPECT_EQ(entries[1].lorentz_width.error_2sd, 0.2);
    EXPECT_EQ(entries[2].frequency.state, parameter_state::fixed);
    EXPECT_TRUE(std::isnan(entries[2].frequency.error_2sd));
    EXPECT_NEAR(entries[2].gauss_width.value, 2.0 * 1.67 * 2.0, 1e-14);
    EXPECT_EQ(entries[2].lorentz_width.value, 6.0);
    EXPECT_EQ(entries[2].phase.state, parameter_state::free); // there is no entry 99
}

TEST(fitted_entries, errors_that_are_all_zero_are_none) {
    const std::vector<linked_entry> rows = {{tools::voigt_entry, {0, 0, 0, 0, 0}}};
    const std::vector<parameter_row> values = {{4.0, 100.0, 6.0, 10.0, 8.0}};
    EXPECT_TRUE(std::isnan(
        tools::shown_entries(rows, values, {parameter_row{}}, some_axis())[0].area.error_2sd));
    const parameter_row one = {0.0, 0.0, 0.0, 0.0, 1e-300};
    EXPECT_EQ(tools::shown_entries(rows, values, {one}, some_axis())[0].area.error_2sd, 0.0);
}

// Of 1024 points 256 were measured: zeros that were filled in halve the error of the fit.
TEST(fitted_entries, errors_count_measured_points_only) {
    spectrum_axis axis = some_axis();
    const auto error = [&] {
        return tools::shown_entries({{tools::voigt_entry, {}}}, {parameter_row{1, 1, 1, 1, 1}},
                                    {parameter_row{0.5, 1, 1, 1, 1}}, axis)[0]
            .area.error_2sd;
    };
    axis.measured = 256;
    EXPECT_EQ(error(), 1.0);
    axis.measured = 1;
    EXPECT_EQ(error(), 16.0);
    for (const long long whole : {0LL, 1024LL, 2000LL}) {
        axis.measured = whole;
        EXPECT_EQ(error(), 0.5) << whole;
    }
}

TEST(fitted_entries, stand_at_hertz_from_the_carrier_and_ppm) {
    std::vector<fitted_entry> entries(2);
    entries[0].type = tools::voigt_entry;
    entries[0].frequency = known(1124.0, 5.0);
    entries[1].type = tools::pattern_entry; // its shift
    entries[1].frequency = known(-10.0, 5.0);
    spectrum_axis axis = some_axis();
    tools::place_entries(entries, axis, 1024);
    EXPECT_EQ(entries[0].hz_from_carrier, 100.0);
    EXPECT_EQ(entries[0].ppm, 4.7 + 2.0);
    EXPECT_EQ(entries[0].ppm_2sd, 0.1);
    EXPECT_EQ(entries[1].hz_from_carrier, -10.0);
    EXPECT_EQ(entries[1].ppm, -0.2);
    axis.ppm_rises_with_points = false;
    tools::place_entries(entries, axis, 1024);
    EXPECT_EQ(entries[0].ppm, 4.7 - 2.0);
    EXPECT_EQ(entries[1].ppm, 0.2);
    axis.ppm_at_carrier.reset();
    tools::place_entries(entries, axis, 1024);
    EXPECT_TRUE(std::isnan(entries[0].ppm));
    EXPECT_EQ(entries[1].ppm, 0.2); // a shift needs no carrier
}

TEST(spectrum_axis, shows_ppm_where_it_knows_them_else_hertz_from_the_carrier) {
    spectrum_axis axis = some_axis();
    EXPECT_EQ(axis.shown_frequency(1124.0, false), 4.7 + 2.0);
    EXPECT_EQ(axis.shown_frequency(-10.0, true), -0.2);
    EXPECT_EQ(axis.shown_hertz(), 0.02);
    axis.ppm_rises_with_points = false;
    EXPECT_EQ(axis.shown_frequency(1124.0, false), 4.7 - 2.0);
    EXPECT_EQ(axis.shown_hertz(), -0.02);
    axis.mhz.reset();
    EXPECT_EQ(axis.shown_frequency(1124.0, false), 100.0);
    EXPECT_EQ(axis.shown_frequency(-10.0, true), -10.0);
    EXPECT_EQ(axis.shown_hertz(), 1.0);
}

TEST(equivalent_signs, a_free_group_has_a_positive_sum) {
    EXPECT_EQ(tools::entries_to_turn({{0, 0, -2.0, 0.0}, {0, 0, 3.0, 0.0}}),
              (std::vector<bool>{true, false}));
    // tied by phase they turn together, by the sum
    EXPECT_EQ(tools::entries_to_turn({{0, 0, -2.0, 0.0}, {0, 1, 1.0, 0.0}}),
              (std::vector<bool>{true, true}));
    EXPECT_EQ(tools::entries_to_turn({{0, 2, -2.0, 0.0}, {0, 0, 3.0, 0.0}}),
              (std::vector<bool>{false, false}));
    EXPECT_EQ(tools::entries_to_turn({{0, 0, 0.0, 0.0}}), std::vector<bool>{false});
}

TEST(equivalent_signs, start_values_below_0_ask_for_inverted_lines) {
    EXPECT_EQ(tools::entries_to_turn({{0, 0, 2.0, -1.0}}), std::vector<bool>{true});
    EXPECT_EQ(tools::entries_to_turn({{0, 0, -2.0, -1.0}}), std::vector<bool>{false});
    // those above 0 ask for nothing: the sum decides
    EXPECT_EQ(tools::entries_to_turn({{0, 0, 3.0, 1.0}, {0, 1, -1.0, 10.0}}),
              (std::vector<bool>{false, false}));
}

TEST(equivalent_signs, nothing_turns_where_a_phase_or_an_area_is_fixed) {
    EXPECT_EQ(tools::entries_to_turn({{0, 1, -2.0, 0.0}}), std::vector<bool>{false});
    EXPECT_EQ(tools::entries_to_turn({{1, 0, -2.0, 0.0}}), std::vector<bool>{false});
    // an area fixed at 0 has no sign
    EXPECT_EQ(tools::entries_to_turn({{0, 0, -2.0, 0.0}, {2, 1, 0.0, 0.0}}),
              (std::vector<bool>{true, true}));
    for (const double bad : {no_number, -std::numeric_limits<double>::infinity()})
        EXPECT_EQ(tools::entries_to_turn({{0, 0, bad, 0.0}}), std::vector<bool>{false}) << bad;
    // links to entries that are not there tie nothing
    EXPECT_EQ(tools::entries_to_turn({{-1, 7, -2.0, 0.0}}), std::vector<bool>{true});
}

TEST(equivalent_signs, phases_lie_above_minus_180_up_to_180) {
    EXPECT_EQ(tools::principal_phase(180.0), 180.0);
    EXPECT_EQ(tools::principal_phase(-180.0), 180.0);
    EXPECT_EQ(tools::principal_phase(540.0), 180.0);
    EXPECT_EQ(tools::principal_phase(190.0), -170.0);
    EXPECT_EQ(tools::principal_phase(-725.0), -5.0);
    EXPECT_EQ(tools::principal_phase(0.0), 0.0);
    for (const double large : {1e17, -1e300, 1e300})
        EXPECT_LE(std::fabs(tools::principal_phase(large)), 180.0) << large;
}

TEST(fitted_entries, turning_a_curve_leaves_it_the_same) {
    std::vector<fitted_entry> entries(2);
    entries[0].number = 1;
    entries[0].area = known(-3.0, 1.0);
    entries[0].phase = known(100.0, 1.0);
    entries[1].number = 2;
    entries[1].area = known(2.0, 1.0);
    entries[1].phase = known(-190.0, 1.0);
    EXPECT_EQ(tools::choose_signs(entries, {0.0, 0.0}), (std::vector<bool>{true, false}));
    EXPECT_EQ(entries[0].area.value, 3.0);
    EXPECT_EQ(entries[0].phase.value, -80.0);
    EXPECT_EQ(entries[1].area.value, 2.0);
    EXPECT_EQ(entries[1].phase.value, 170.0);
}
