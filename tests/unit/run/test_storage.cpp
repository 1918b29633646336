// SPDX-License-Identifier: BSD-3-Clause
#include "run/storage.h"

#include "run/state.h"
#include "support/support.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

// What is printed when the k-th request fails, for k = 1 to `requests`.
static std::vector<std::string> texts_of(long long requests, const std::function<void()> &f) {
    std::vector<std::string> texts;
    for (long long k = 1; k <= requests; ++k) {
        fail_storage_request(k);
        texts.push_back(support::stdout_of(f));
        fail_storage_request(0);
        EXPECT_FALSE(storage_complete()) << k;
    }
    return texts;
}

TEST(signal_arrays, are_named_in_their_order_when_they_cannot_be_had) {
    support::reset_state();
    const std::vector<std::string> wanted = {
        " Memory requested to store xre[] is not available",
        " Memory requested to store xim[] is not available",
        " Memory requested to store shifted_xre[] is not available",
        " Memory requested to store shifted_xim[] is not available",
        " Memory requested to store yre[] is not available",
        " Memory requested to store yim[] is not available",
        " Memory requested to store w_bre is not available",
        " Memory requested to store xas[] is not available",
        " Memory requested to store w_bim[] is not available",
        " Memory requested to store wre[] is not available",
        " Memory requested to store re_ref[] is not available",
        " Memory requested to store im_ref[] is not available",
        " Memory requested to store wim[] is not available",
        " Memory requested to store r_lsf[] is not available",
        " Memory requested to store i_lsf[] is not available",
        " Memory requested to store xre_copy[] is not available",
        " Memory requested to store xim_copy[] is not available"};
    allocate_parameter_arrays(1, 0, 0);
    const long long before = storage_requests();
    allocate_memory(8);
    EXPECT_EQ(storage_requests() - before, static_cast<long long>(wanted.size()));
    EXPECT_EQ(texts_of(static_cast<long long>(wanted.size()), [] { allocate_memory(8); }), wanted);
}

static std::vector<std::string> parameter_texts(const char *pattern_text) {
    return {" Memory requested to store wpar[] is not available\n",
            " Memory requested to store errpar[] is not available\n",
            " Memory requested to store par[] is not available\n",
            " Memory requested to store par_bu[] is not available\n",
            " Memory requested to store par_copy[] is not available\n",
            " Memory requested to store pcom[] is not available\n",
            " Memory requested to store xicom[] is not available\n",
            " Memory requested to store fixpar[]-struct is not available\n",
            pattern_text,
            pattern_text,
            " Memory requested to store pattern_norm[]-struct is not available\n",
            " Memory requested to store idl[]-struct is not available\n"};
}

TEST(parameter_arrays, are_named_in_their_order_when_they_cannot_be_had) {
    support::reset_state();
    allocate_memory(8);
    const long long before = storage_requests();
    allocate_parameter_arrays(2, 1, 1);
    EXPECT_EQ(storage_requests() - before, 12);
    EXPECT_EQ(texts_of(12, [] { allocate_parameter_arrays(2, 1, 1); }),
              parameter_texts(" Memory requested to store par_name[]-struct is not available\n"));
}

TEST(parameter_arrays, of_patterns_are_not_named_when_there_are_none) {
    support::reset_state();
    allocate_memory(8);
    EXPECT_EQ(texts_of(12, [] { allocate_parameter_arrays(2, 0, 0); }), parameter_texts(""));
}

TEST(arrays, are_zero_and_large_enough_for_a_noise_window_behind_the_signal) {
    support::reset_state();
    noise_stop = 20;
    allocate_parameter_arrays(2, 3, 0);
    allocate_memory(8);
    ASSERT_TRUE(storage_complete());
    for (int i = 0; i < 20; ++i) EXPECT_EQ(xre[i] + xim_copy[i] + wim[i], 0.0);
    for (int i = 0; i < 5 * 2 + 2 * 3; ++i) EXPECT_EQ(par[i] + errpar[i] + xicom[i], 0.0);
    for (int i = 0; i < 10; ++i) EXPECT_EQ(fixpar[i].fixed_to, 0);
    // one element of each pattern array stands there even so
    EXPECT_EQ(pat_name[0][0], '\0');
    EXPECT_EQ(pat[pattern_slot - 1], 0.0);
    EXPECT_EQ(pattern_norm[0], 0.0);
    EXPECT_EQ(entry_capacity, 2);
    EXPECT_EQ(lsf_capacity, 3);
    EXPECT_EQ(pattern_capacity, 0);
}

TEST(arrays, are_released_together_and_again_without_harm) {
    support::reset_state();
    allocate_parameter_arrays(1, 1, 1);
    allocate_memory(8);
    free_memory(8);
    EXPECT_FALSE(storage_complete());
    for (const double *array :
         {xre,  xim,    shifted_xre, shifted_xim, yre,    yim,   w_bre,    xas,         w_bim,
          wre,  wim,    re_ref,      im_ref,      r_lsf,  i_lsf, xre_copy, xim_copy,    par,
          wpar, errpar, par_copy,    pcom,        par_bu, xicom, pat,      pattern_norm})
        EXPECT_EQ(array, nullptr);
    EXPECT_EQ(fixpar, nullptr);
    EXPECT_EQ(idl, nullptr);
    EXPECT_EQ(pat_name, nullptr);
    free_memory(8);
    EXPECT_EQ(entry_capacity, 0);
}

TEST(storage, takes_a_negative_count_as_none_and_refuses_what_no_memory_holds) {
    double *none = new_doubles(-5, "said\n");
    ASSERT_NE(none, nullptr);
    EXPECT_EQ(none[0], 0.0);
    release(none);
    void *huge = &none;
    EXPECT_EQ(support::stdout_of([&] { huge = new_zeroed(1LL << 62, 8, "not available\n"); }),
              "not available\n");
    EXPECT_EQ(huge, nullptr);
}
