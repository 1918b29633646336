// SPDX-License-Identifier: BSD-3-Clause
#include "report/fit_quality.h"

#include "unit/report/report_example.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

// Residuals 3 (real) and 4 (imaginary) at one point with weight 2, 100 where the weight is 0.
static void make_residual() {
    make_finished_fit();
    for (int i = 0; i < ap; ++i) xre[i] = xim[i] = 100.0;
    wre[5] = wim[5] = 2.0;
    xre[5] = 3.0;
    xim[5] = 4.0;
}

static std::string quality_text(double &quality) {
    return support::stdout_of([&] { quality = print_fit_quality(complex, 4, sigma, scalefactor); });
}

TEST(fit_quality, is_the_root_mean_square_residual_over_the_noise) {
    make_residual();
    scalefactor = 5.0;
    double quality = 0.0;
    EXPECT_EQ(quality_text(quality), "");
    EXPECT_DOUBLE_EQ(quality, 5.0 * std::sqrt((2.0 * 9.0 + 2.0 * 16.0) / 8.0) / 0.5);
}

TEST(fit_quality, adds_its_number_from_verbose_2_and_its_channels_from_3) {
    make_residual();
    double quality = 0.0;
    verbose = 1;
    EXPECT_EQ(quality_text(quality), "sum ( absorption + dispersion ) mode fit\n");
    verbose = 2;
    EXPECT_EQ(quality_text(quality),
              "sum ( absorption + dispersion ) mode fit\n"
              "fit quality number                          : 5.000000E+00\n");
    verbose = 3;
    // the dispersion figure divides by the noise of the real part, too
    EXPECT_EQ(quality_text(quality), "sum ( absorption + dispersion ) mode fit\n"
                                     "fit quality number                          : 5.000000E+00\n"
                                     "fit quality number absorption              : 4.242641E+00\n"
                                     "fit quality number dispersion              : 5.656854E+00\n");
}

TEST(fit_quality, names_every_mode) {
    make_residual();
    verbose = 1;
    const char *const names[] = {"absorption mode fit\n",
                                 "dispersion mode fit\n",
                                 "sum ( absorption + dispersion ) mode fit\n",
                                 "magnitude spectrum  fit \n",
                                 "power spectrum fit \n",
                                 "illegal complex parameter value\n"};
    double quality = 0.0;
    for (complex = 0; complex < 6; ++complex) EXPECT_EQ(quality_text(quality), names[complex]);
}
