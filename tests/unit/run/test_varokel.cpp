// SPDX-License-Identifier: BSD-3-Clause
//
// The preparation of a run from inside: the file is compiled here once more, so that its own
// functions can be called.
#include "run/varokel.cpp" // NOLINT(bugprone-suspicious-include)

#include "support/support.h"

#include <gtest/gtest.h>

#include <complex>
#include <functional>
#include <numbers>
#include <regex>
#include <string>
#include <vector>

TEST(settings, begin_with_their_defaults) {
    support::reset_state();
    set_defaults();
    EXPECT_STREQ(sage_idl, "sage_idl");
    EXPECT_EQ(verbose, 2);
    EXPECT_EQ(show_line, 1);
    EXPECT_EQ(sageidl, 1);
    EXPECT_EQ(T_acq, 0.5);
    EXPECT_EQ(Hz_pp, 1.0);
    EXPECT_EQ(frscl, 1.0);
    EXPECT_EQ(ftol, 1e-7);
    EXPECT_EQ(deriv_p, 1e7);
    EXPECT_EQ(itmax, 100);
    EXPECT_EQ(brent_itmax, 100);
    EXPECT_EQ(td_ap_trunc, 1024);
    EXPECT_EQ(::complex, 2);
    EXPECT_EQ(weighting_type, 1);
}

TEST(settings, of_an_earlier_run_are_gone) {
    support::reset_state();
    int *const zero[] = {&convolute,      &error_calc,   &ref_line, &single_line, &spec,
                         &pattern_enable, &file_corrupt, &ap,       &nLines,      &n_patterns,
                         &npar,           &ap_noise,     &niter,    &nfitted};
    for (int *value : zero) *value = 7;
    for (int i = 0; i < 20; ++i) hxmin[i][9] = hxmax[i][0] = hrange[i] = fit_lsf[i] = 7;
    fit_lsf[max_entries] = 7;
    set_defaults();
    for (std::size_t i = 0; i < std::size(zero); ++i) EXPECT_EQ(*zero[i], 0) << i;
    for (int i = 0; i < 20; ++i) EXPECT_EQ(hxmin[i][9] + hxmax[i][0] + hrange[i] + fit_lsf[i], 0);
    EXPECT_EQ(fit_lsf[max_entries], 0);
}

// Two lines, Voigt and Gaussian, on 32 points; the signal is something else.
static void make_two_lines() {
    support::reset_state();
    set_defaults();
    ap = td_ap_trunc = 32;
    nLines = 2;
    npar = 10;
    allocate_parameter_arrays(nLines, lsf_coefs, n_patterns);
    allocate_memory(ap);
    create_lookup(lookup, ap, 1);
    const double values[10] = {3.0, 9.0, 1.5, 25.0, 2.0, -4.0, 20.3, 0.7, 110.0, 0.125};
    for (int i = 0; i < 10; ++i) {
        par[i] = values[i];
        fixpar[i] = {i < 5 ? 3 : 1, 0, 0.0, 0.0, 0.0};
    }
    for (int i = 0; i < ap; ++i) {
        xre[i] = 1.0 + i;
        xim[i] = -2.0 * i;
        wre[i] = wim[i] = 0.0;
    }
}

// Spectrum of one line by its definition: first point halved, sum over the time points, 1/n.
static std::complex<double> line_at(int j, double area, double f, double g, double phase,
                                    double L) {
    using std::numbers::pi;
    std::complex<double> sum;
    for (int k = 0; k < ap; ++k) {
        const double t = static_cast<double>(k) / ap;
        const double size = area * std::exp(-pi * pi * g * g * t * t - pi * L * t);
        sum += (k == 0 ? 0.5 : 1.0) * size * std::polar(1.0, 2.0 * pi * (f - j) * t);
    }
    return sum * std::polar(1.0 / ap, pi * phase / 180.0);
}

// The Gaussian line of the second entry has no Lorentzian width: types 5 and 6 take that width as
// Gaussian width for every entry, so they use it all the same.
static std::complex<double> weight_model_at(int j, double area_1, double area_2) {
    return line_at(j, area_1, 9.0, 2.0, 0.0, 0.0) + line_at(j, area_2, 20.3, 0.125, 0.0, 0.0);
}

static void expect_weights(const std::function<std::complex<double>(int)> &wanted) {
    first_weights();
    for (int j = 0; j < ap; ++j) {
        // 32 terms of magnitude up to 8, summed in another order
        EXPECT_NEAR(wre[j], wanted(j).real(), 1e-13) << j;
        EXPECT_NEAR(wim[j], wanted(j).imag(), 1e-13) << j;
    }
}

TEST(first_weights, of_types_1_and_7_are_1) {
    for (const int type : {1, 7}) {
        make_two_lines();
        weighting_type = type;
        expect_weights([](int) { return std::complex<double>(1.0, 1.0); });
    }
}

TEST(first_weights, of_type_2_are_the_signal) {
    make_two_lines();
    weighting_type = 2;
    expect_weights([](int j) { return std::complex<double>(xre[j], xim[j]); });
}

TEST(first_weights, of_types_3_and_4_are_the_model) {
    for (const int type : {3, 4}) {
        make_two_lines();
        weighting_type = type;
        expect_weights([](int j) {
            return line_at(j, 3.0, 9.0, 1.5, 25.0, 2.0) + line_at(j, -4.0, 20.3, 0.7, 110.0, 0.0);
        });
    }
}

TEST(first_weights, of_type_5_are_lines_of_area_1_without_sign_in_the_imaginary_part_alone) {
    make_two_lines();
    weighting_type = 5;
    bool negative_real = false, negative_imaginary = false;
    expect_weights([&](int j) {
        const std::complex<double> z = weight_model_at(j, 1.0, 1.0);
        negative_real = negative_real || z.real() < -1e-4;
        negative_imaginary = negative_imaginary || z.imag() < -1e-4;
        return std::complex<double>(z.real(), std::fabs(z.imag()));
    });
    EXPECT_TRUE(negative_imaginary);
    EXPECT_TRUE(negative_real); // the sign of these stays
    // the vector of the weight model; the parameters themselves stand
    const double scratch_vector[10] = {1.0, 9.0, 2.0, 0.0, 0.0, 1.0, 20.3, 0.125, 0.0, 0.0};
    for (int i = 0; i < 10; ++i) EXPECT_EQ(wpar[i], scratch_vector[i]) << i;
    EXPECT_EQ(par[2], 1.5);
}

TEST(first_weights, of_type_6_are_lines_of_area_one_over_width) {
    make_two_lines();
    weighting_type = 6;
    expect_weights([](int j) {
        const std::complex<double> z = weight_model_at(j, 0.5, 8.0);
        return std::complex<double>(z.real(), std::fabs(z.imag()));
    });
}

TEST(first_weights, of_any_other_type_stay_zero) {
    for (const int type : {0, 8, -1}) {
        make_two_lines();
        weighting_type = type;
        expect_weights([](int) { return std::complex<double>(); });
    }
}

TEST(command_words, end_with_a_tab_each_and_at_the_end_of_their_room) {
    support::reset_state();
    append_command_word("varokel");
    append_command_word("a b");
    EXPECT_STREQ(command, "varokel\ta b\t");
    const std::string word(1500, 'w');
    for (int i = 0; i < 3; ++i) append_command_word(word.c_str());
    EXPECT_EQ(std::strlen(command), sizeof command - 1);
}

TEST(banner, has_76_characters_a_line) {
    for (std::size_t i = 0; i + 1 < std::size(banner_lines); ++i)
        EXPECT_EQ(std::strlen(banner_lines[i]), 77u) << banner_lines[i];
    EXPECT_STREQ(banner_lines[std::size(banner_lines) - 1], "\n");
    EXPECT_STREQ(banner_lines[8],
                 "***                 Windows version  2.4  - 27-06-2024                   ***\n");
}

TEST(time_stamp, says_time_zone_day_and_year_when_asked) {
    support::reset_state();
    EXPECT_EQ(support::stdout_of(print_time_stamp), "");
    verbose = 1;
    const std::string said = support::stdout_of(print_time_stamp);
    EXPECT_TRUE(std::regex_match(
        said, std::regex("[0-2][0-9]:[0-5][0-9]:[0-6][0-9] [-+A-Za-z0-9]+ [A-Z][a-z]+day "
                         "[A-Z][a-z]+ [0-3][0-9] 20[0-9][0-9]\\n")))
        << said;
}
