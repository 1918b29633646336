// SPDX-License-Identifier: BSD-3-Clause
// A table of peaks and what is known of a spectrum, as the values of a start file.
#include "files/start/make_start.h"

#include "support/refusal.h"

#include <gtest/gtest.h>

#include <cmath>

using support::expect_said;
using tools::spectrum_facts;
using tools::start_file;
using tools::start_parameter;
using tools::start_result;

namespace {

// 1024 points of 2 Hz at 50 MHz, 4.7 ppm at the carrier: points rise with the ppm.
spectrum_facts facts() {
    spectrum_facts of;
    of.points = 1024;
    of.hz_per_point = 2.0;
    of.mhz = 50.0;
    of.ppm_at_carrier = 4.7;
    return of;
}

start_result result_of(const std::string &text, const spectrum_facts &of = facts()) {
    tools::start_maker maker(tools::parse_peak_table(text, "peaks.txt"), {"."},
                             tools::fit_method::exact);
    return maker.make({}, of);
}

start_file start_of(const std::string &text, const spectrum_facts &of = facts()) {
    return result_of(text, of).start;
}

std::string refusal(const std::string &text, const spectrum_facts &of = facts()) {
    return support::refusal_of(tools::bad_input, [&] { result_of(text, of); });
}

const std::string voigt = "name  type  area  frequency[ppm]  gauss  lorentz  phase\n";
const std::string noise = "noise: 700 to 800 points\n";

using enum tools::quantity;

} // namespace

TEST(make_start, frequencies_count_from_the_left_edge_whatever_their_unit) {
    const start_file start = start_of("name  type  area  frequency  lorentz  phase\n"
                                      "A  lorentz  1  5.7 ppm  8  0\n"
                                      "B  lorentz  1  50 Hz  0.16 ppm  0\n"
                                      "C  lorentz  1  537 points  8  0\n" +
                                      noise);
    for (const tools::start_entry &entry : start.entries) {
        // the carrier at point 512, and 1 ppm
        EXPECT_NEAR(entry.parameters[frequency_of].value, 1024.0 + 50.0, 1e-9) << entry.name;
        EXPECT_NEAR(entry.parameters[lorentz_of].value, 4.0, 1e-12) << entry.name; // points
    }
    spectrum_facts falling = facts();
    falling.ppm_rises_with_points = false;
    const start_file other = start_of("name  type  area  frequency  lorentz  phase\n"
                                      "A  lorentz  1  5.7 ppm  8  0\nB  lorentz  1  50 Hz  8  0\n" +
                                          noise,
                                      falling);
    for (const tools::start_entry &entry : other.entries)
        EXPECT_NEAR(entry.parameters[frequency_of].value, 1024.0 - 50.0, 1e-9) << entry.name;
}

TEST(make_start, links_over_several_rows_lead_to_the_first) {
    const start_file start = start_of(voigt +
                                      "A  voigt  8     5.0           6      4      10\n"
                                      "B  voigt  =A/2  =A + 20 Hz    =A     =A     =A\n"
                                      "C  voigt  =B*3  =B - 0.2      =B     =B     =B + 30\n" +
                                      noise);
    const auto &a = start.entries[0].parameters, &b = start.entries[1].parameters,
               &c = start.entries[2].parameters;
    for (const int q : {area_of, frequency_of, gauss_of, phase_of, lorentz_of}) {
        EXPECT_EQ(a[static_cast<std::size_t>(q)].link, 0) << q;
        EXPECT_EQ(b[static_cast<std::size_t>(q)].link, 1) << q;
        EXPECT_EQ(c[static_cast<std::size_t>(q)].link, 1) << q;
    }
    EXPECT_EQ(b[area_of].value, 4.0);
    EXPECT_EQ(c[area_of].value, 12.0);
    EXPECT_NEAR(b[frequency_of].value - a[frequency_of].value, 20.0, 1e-9);
    EXPECT_NEAR(c[frequency_of].value - a[frequency_of].value, 10.0, 1e-9);
    EXPECT_EQ(c[phase_of].value, 40.0);
    EXPECT_EQ(c[gauss_of].value, 6.0);
}

TEST(make_start, a_window_is_in_order_where_the_axis_runs_the_other_way) {
    const std::string table = voigt + "A  voigt  1 > 0  5 [4.5, 5.5]  6 < 9  4  fixed 0\n" + noise;
    for (const bool rises : {true, false}) {
        spectrum_facts of = facts();
        of.ppm_rises_with_points = rises;
        const start_file start = start_of(table, of);
        const start_parameter &f = start.entries[0].parameters[frequency_of];
        ASSERT_TRUE(f.window);
        const double middle = 1024.0 + (rises ? 15.0 : -15.0);
        EXPECT_NEAR(f.window->first, middle - 25.0, 1e-9);
        EXPECT_NEAR(f.window->second, middle + 25.0, 1e-9);
        EXPECT_TRUE(f.range); // of a random search, too
    }
    const auto &p = start_of(table).entries[0].parameters;
    EXPECT_EQ(p[area_of].window->first, 0.0);
    EXPECT_FALSE(tools::is_edge(p[area_of].window->second));
    EXPECT_EQ(p[phase_of].link, 1); // fixed
}

TEST(make_start, links_that_have_no_end_or_no_sense_are_refused) {
    const auto two = [](const std::string &a, const std::string &b) {
        return refusal(voigt + "A  " + a + "\nB  " + b + "\n" + noise);
    };
    expect_said(two("voigt  1  =B  6  4  0", "voigt  1  =A  6  4  0"), "tied to itself");
    expect_said(two("voigt  1  =A  6  4  0", "voigt  1  5  6  4  0"), "tied to itself");
    expect_said(two("voigt  1  5  6  4  0", "lorentz  1  5  -  =A  0"), "two of the same type");
}

TEST(make_start, lines_and_intervals_lie_within_the_spectrum) {
    const auto at = [](const std::string &place) {
        return refusal("name  type  area  frequency  lorentz  phase\nA  lorentz  1  " + place +
                       "  8  0\n" + noise);
    };
    EXPECT_EQ(at("0 points"), "no error");
    EXPECT_EQ(at("1023 points"), "no error");
    expect_said(at("-0.01 points"), "is outside of the spectrum");
    expect_said(at("1023.01 points"), "is outside of the spectrum");
    expect_said(at("3e38 Hz"), "is outside of the spectrum");
    const auto over = [](const std::string &interval) {
        return refusal("name  type  area  frequency  lorentz  phase\nA  lorentz  1  5 ppm  8  0\n"
                       "interval: " +
                       interval + "\n" + noise);
    };
    EXPECT_EQ(over("0 to 1023 points"), "no error");
    EXPECT_EQ(over("1023 to 0 points"), "no error"); // in any order
    expect_said(over("-1 to 1023 points"), "expected within the points 0 to 1023");
    expect_said(over("0 to 1024 points"), "expected within the points 0 to 1023");
    // beyond the integers, where a point wrapped around would lie in the spectrum again
    for (const char *far :
         {"0 to 4294967396 points", "4294967296 to 4294967396 points", "0 to 3e38 points",
          "-3e38 to 1000 points", "0 to 3e38 ppm", "0 to 18446744073709552000 points"})
        EXPECT_NE(over(far).find("expected within the points 0 to 1023"), std::string::npos)
            << far << ": " << over(far);
}

TEST(make_start, without_an_interval_all_lines_get_a_margin_and_it_is_said) {
    const std::string table =
        "name  type  area  frequency  lorentz  phase\nA  lorentz  1  500 points  8  0\n" + noise;
    const start_result made = result_of(table);
    // eight widths of 4 points to both sides
    ASSERT_FALSE(made.start.steps.empty());
    EXPECT_EQ(made.start.steps.front().intervals,
              (std::vector<std::pair<int, int>>{{500 - 32, 500 + 32}}));
    ASSERT_FALSE(made.guesses.empty());
    EXPECT_NE(made.guesses.front().find("interval points 468 to 532"), std::string::npos)
        << made.guesses.front();
    spectrum_facts named = facts();
    named.fit_points = {100, 900};
    EXPECT_EQ(result_of(table, named).start.steps.front().intervals,
              (std::vector<std::pair<int, int>>{{100, 900}}));
}

TEST(make_start, a_free_gaussian_width_does_not_start_at_0) {
    const auto width = [](const std::string &gauss, const std::string &lorentz) {
        return start_of(voigt + "A  voigt  1  5  " + gauss + "  " + lorentz + "  0\n" + noise)
            .entries[0]
            .parameters[gauss_of]
            .value;
    };
    EXPECT_EQ(width("0", "10"), 5.0); // half the Lorentzian one
    EXPECT_EQ(width("0", "1"), 2.0);  // a point at least
    EXPECT_EQ(width("fixed 0", "10"), 0.0);
    EXPECT_EQ(width("0.1", "10"), 0.1);
}

TEST(make_start, steps_free_what_the_model_has) {
    const start_file start =
        start_of("name  type  area  frequency[ppm]  lorentz  phase\nA  lorentz  1  5  8  fixed 0\n"
                 "strategy: standard\n" +
                 noise);
    ASSERT_FALSE(start.steps.empty());
    EXPECT_EQ(start.steps.front().switches[tools::align], 1);
    for (const tools::start_step &step : start.steps) {
        EXPECT_EQ(step.switches[tools::fit_gauss], 0);
        EXPECT_EQ(step.switches[tools::fit_phases], 0);
        EXPECT_EQ(step.switches[tools::fit_lineshape], 0);
        EXPECT_TRUE(tools::fits_something(step));
        EXPECT_EQ(step.points, 1024);
    }
    // alignment would move a line whose frequency is fixed
    const start_result fixed = result_of(
        "name  type  area  frequency[ppm]  lorentz  phase\nA  lorentz  1  fixed 5  8  0\n" + noise);
    EXPECT_EQ(fixed.start.steps.front().switches[tools::align], 0);
    ASSERT_FALSE(fixed.notes.empty());
    expect_said(fixed.notes.front(), "no alignment before the fit");
}

TEST(make_start, estimates_need_a_spectrum) {
    EXPECT_NE(refusal(voigt + "A  voigt  ?  5  6  4  0\n" + noise), "no error");
}

// Areas 0.2 to 3 times the start value, half a width or two points around a frequency, widths 0.5
// to 2 times, phases 60 degrees to either side; a window that the table gives cuts them.
TEST(make_start, a_random_search_gets_ranges_around_the_start_values) {
    const start_file start = start_of(voigt +
                                      "A  voigt  -4            5  10  20  100\n"
                                      "B  voigt  4 [1, 6]      4  1   2   -30 > -50\n"
                                      "C  voigt  =A  =A + 5 Hz  =A  =A  =A\n"
                                      "strategy: random-then-gradient\n" +
                                      noise);
    const auto range = [&](std::size_t k, int q) {
        return start.entries[k].parameters[static_cast<std::size_t>(q)].range.value_or(
            std::make_pair(0.0, 0.0));
    };
    const double f = 1024.0 + 15.0, g = 1024.0 - 35.0;
    EXPECT_NEAR(range(0, area_of).first, -12.0, 1e-12); // in order
    EXPECT_NEAR(range(0, area_of).second, -0.8, 1e-12);
    EXPECT_NEAR(range(0, frequency_of).first, f - 15.0, 1e-9); // half of 10 + 20 Hz
    EXPECT_NEAR(range(0, frequency_of).second, f + 15.0, 1e-9);
    EXPECT_EQ(range(0, gauss_of), std::make_pair(5.0, 20.0));
    EXPECT_EQ(range(0, lorentz_of), std::make_pair(10.0, 40.0));
    EXPECT_EQ(range(0, phase_of), std::make_pair(40.0, 160.0));
    EXPECT_EQ(range(1, area_of), std::make_pair(1.0, 6.0));
    EXPECT_NEAR(range(1, frequency_of).first, g - 4.0, 1e-9); // two points
    EXPECT_EQ(range(1, phase_of), std::make_pair(-50.0, 30.0));
    for (const int q : {area_of, frequency_of, gauss_of, phase_of, lorentz_of})
        EXPECT_FALSE(start.entries[2].parameters[static_cast<std::size_t>(q)].range) << q;
}
