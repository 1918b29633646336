// SPDX-License-Identifier: BSD-3-Clause
#include "report/parameter_table.h"

#include "unit/report/report_example.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

static const char value_head[] =
    "\n values \n    area        frequency    gausswidth       phase    lorentzwidth  \n"
    "    a.u             Hz           Hz          degrees         Hz  \n";

TEST(parameter_table, without_errors_ends_after_the_values) {
    make_finished_fit();
    nLines = 1;
    n_patterns = 0;
    frscl = 0.5; // scales what is shown of a frequency
    const double shown[5] = {1.5, 8.0, 2.0, -90.0, 0.25};
    EXPECT_EQ(support::stdout_of([&] { print_parameter_table(shown, shown); }),
              std::string(value_head) +
                  "1.500000E+00  4.000000E+00  2.000000E+00  -9.000000E+01  2.500000E-01  \n");
}

TEST(parameter_table, marks_areas_of_the_lineshape_function_and_no_errors) {
    make_finished_fit();
    nLines = 1;
    n_patterns = 0;
    error_calc = 1;
    lsf_coefs = 3;
    fit_lsf[1] = 1;
    lsf_area[1] = 7.0;
    const double shown[5] = {1.5, 8.0, 2.0, -90.0, 0.25};
    const double errors[5] = {0.1, 0.2, 0.3, 0.4, 0.5};
    EXPECT_EQ(support::stdout_of([&] { print_parameter_table(shown, errors); }),
              std::string(value_head) +
                  "lsf 7.000000E+00  8.000000E+00  2.000000E+00  -9.000000E+01  2.500000E-01  \n"
                  "\n error values \n"
                  "    Area        Frequency    Gaussian width    Phase     Lorentzian width  \n"
                  "    a.u            Hz              Hz         degrees          Hz  \n"
                  "1.000000E-01  2.000000E-01  3.000000E-01  4.000000E-01  5.000000E-01  \n");
    lsf_coefs = 0;
}

TEST(dead_time_report, is_silent_without_a_delay) {
    make_finished_fit();
    EXPECT_EQ(support::stdout_of([] { print_dead_time_report(); }), "");
}

// t = 720 / (8 x 2 Hz x 360) = 0.125 s; the fourth value, the phase, takes part: deliberate.
TEST(dead_time_report, corrects_areas_and_warns_of_a_decay_that_rises) {
    make_finished_fit();
    nLines = 2;
    n_patterns = 0;
    phi_1 = 720.0;
    par[3] = 4.0; // exp(0.0625) exp(0.25)
    par[8] = 0.0;
    par[9] = 0.0;
    char corrected[40];
    std::snprintf(corrected, sizeof corrected, "%E", std::exp(0.5 * 0.125) * std::exp(0.25));
    EXPECT_EQ(support::stdout_of([] { print_dead_time_report(); }),
              std::string("Dead_time corrected area[1] = ") + corrected +
                  "\nDead_time corrected area[2] = 2.000000E+00\n"
                  ">>> Caution !!! \n"
                  "Decay constant <= 0.0 !! =>Wrong correction  for this line !!! \n");
}
