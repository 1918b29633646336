// SPDX-License-Identifier: BSD-3-Clause
#include "minimize/ran_minimize.h"
#include "model/fft.h"
#include "run/state.h"
#include "run/storage.h"
#include "support/support.h"

#include <gtest/gtest.h>

#include <complex>
#include <cstdlib>
#include <string>

static double value_in(const std::string &said, int i) {
    const std::string vector =
        said.substr(said.find("Vector containing minimizing parameters : \nShowVector \n"));
    const std::string label = "Par[" + std::to_string(i) + "] = ";
    return std::strtod(vector.c_str() + vector.find(label) + label.size(), nullptr);
}

// One line whose area alone is free, two coefficients, one blind sample. For one line the
// generator gives 41, 18467, 6334, 26500: the area and three of the four coefficient values are
// drawn, the last one stays.
TEST(blind_samples, never_draw_the_last_coefficient) {
    support::reset_state();
    ap = td_ap_trunc = 16;
    nLines = 1;
    npar = 5;
    lsf_coefs = 2;
    frscl = 1.0;
    spec = weighting_type = amp_fit = lsf_fit_enable = par_ranges = fit_lsf[1] = 1;
    ::complex = 2;
    allocate_parameter_arrays(nLines, lsf_coefs, n_patterns);
    allocate_memory(ap);
    create_lookup(lookup, ap, 1);
    // far too large an area against a signal of zeros: the sample, near 1, is better
    const double start[9] = {900.0, 5.0, 0.0, 0.0, 2.0, 0.6, 0.0, 0.4, 0.0};
    for (int i = 0; i < 9; ++i) par[i] = start[i];
    for (int i = 0; i < 5; ++i) fixpar[i] = {2, 0, start[i], 1.0, 1000.0};
    for (int i = 0; i < ap; ++i) wre[i] = wim[i] = 1.0;
    fixpar[2].min = fixpar[3].min = 0.0;
    const std::string said = support::stdout_of([] {
        Ran_ML_Minimize(1, 1, ap, nLines, td_ap_trunc, npar, par, par_bu, par_copy, fixpar, xre,
                        xim, yre, yim, wre, wim, re_ref, im_ref, r_lsf, i_lsf, frscl, phi_1,
                        n_patterns, pat, spec, ::complex, weighting_type, single_line, lsf_coefs,
                        ref_line, fit_lsf, lookup, ignore, amp_fit, freq_fit, width_fit, phase_fit,
                        voigt_fit, lsf_fit_enable, par_ranges);
    });
    const auto deviate = [](int number) { return 2.0 * number / 32768.0 - 0.5; };
    // printed with 7 digits
    EXPECT_NEAR(value_in(said, 0), 500.5 + 999.0 * deviate(41), 1e-5);
    for (int i = 1; i < 5; ++i) EXPECT_EQ(value_in(said, i), start[i]);
    // coefficients from -2 to 2, then divided by their sum: the lineshape is 1 at time 0
    const std::complex<double> first(4.0 * deviate(18467), 4.0 * deviate(6334));
    const std::complex<double> second(4.0 * deviate(26500), 0.0);
    const std::complex<double> c0 = first / (first + second);
    const std::complex<double> c1 = second / (first + second);
    EXPECT_NEAR(value_in(said, 5), c0.real(), 1e-6);
    EXPECT_NEAR(value_in(said, 6), c0.imag(), 1e-6);
    EXPECT_NEAR(value_in(said, 7), c1.real(), 1e-6);
    EXPECT_NEAR(value_in(said, 8), c1.imag(), 1e-6);
}
