// SPDX-License-Identifier: BSD-3-Clause
//
// Routines that no run calls, and models, say what storage they miss, and leave their input alone.
#include "model/fft.h"
#include "model/l_shapes.h"
#include "model/model_sum.h"
#include "model/objective.h"
#include "model/vector_lib.h"
#include "run/state.h"
#include "run/storage.h"
#include "support/random_model.h"
#include "support/support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

typedef std::vector<double> vector;

static std::string said_without(long long request, const std::function<void()> &f) {
    fail_storage_request(request);
    const std::string said = support::stdout_of(f);
    fail_storage_request(0);
    return said;
}

TEST(missing_storage, of_transforms_is_named_and_changes_nothing) {
    double table[64];
    create_lookup(table, 8, 1);
    const vector re_before = {1, 2, 3, 4, 5, 6, 7, 8}, im_before(8, 0.5);
    vector re = re_before, im = im_before;
    EXPECT_EQ(said_without(1, [&] { fft(8, re.data(), im.data(), table, 1, 1); }),
              " Memory requested to store fourier[] in fft() is not available\n");
    EXPECT_EQ(said_without(1, [&] { Calculate_Spectrum(8, re.data(), im.data(), table); }),
              " Memory requested to store signal[] in Calculate_Spectrum() not available");
    EXPECT_EQ(re, re_before);
    EXPECT_EQ(im, im_before);
}

TEST(missing_storage, of_both_curve_generators_has_one_name) {
    const int flags[2] = {0, 0};
    double table[64];
    create_lookup(table, 8, 1);
    vector re(8), im(8), slots(2 * 8192, 1.0);
    const char *const text =
        " Memory requested to store signal[] in Calculate_ifft_VoigtCurve() is not available\n";
    EXPECT_EQ(said_without(1,
                           [&] {
                               Calculate_ifft_VoigtCurve(1, 8, 8, 0, flags, 0, 1.0, 2.0, 0.0, 0.0,
                                                         1.0, 0.0, re.data(), im.data(), nullptr,
                                                         nullptr, nullptr, nullptr, 1.0, table, 0);
                           }),
              text);
    EXPECT_EQ(said_without(1,
                           [&] {
                               Calculate_FD_Pattern(1, 0, 8, 8, 0, flags, 0, slots.data(), 1.0, 2.0,
                                                    0.0, 0.0, 1.0, 0.0, re.data(), im.data(),
                                                    nullptr, nullptr, nullptr, nullptr, 1.0, table,
                                                    0);
                           }),
              text);
}

TEST(missing_storage, of_whole_and_incremental_models_is_named_and_changes_nothing) {
    support::random_numbers random(9);
    support::make_random_model(random, {.points = 16, .lines = 2});
    chi_square_of(par);
    const vector model(yre, yre + ap);
    double changed[10];
    std::copy(par, par + 10, changed);
    changed[0] += 1.0;
    model_sum::release_storage();
    EXPECT_EQ(said_without(1, [&] { chi_square_of(changed); }),
              " Memory requested to store dummy_re[] in spec_fnc() not available\n"
              "Memory requested to store dummy_im[] in spec_fnc() not available\n"
              "Memory requested to store t_yre[] in spec_fnc() not available\n"
              "Memory requested to store t_yim[] in spec_fnc() not available\n");
    single_line = 1;
    EXPECT_EQ(said_without(1, [&] { chi_square_of(changed); }),
              " Memory requested to store array xre : not available"
              " Memory requested to store array xre : not available");
    EXPECT_EQ(vector(yre, yre + ap), model);
}
