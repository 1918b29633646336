// SPDX-License-Identifier: BSD-3-Clause
#include "files/spectra/search_limits.h"

#include "run/capacity.h"

#include <gtest/gtest.h>

// Companions refuse what the search would refuse, and nothing else.
TEST(search_limits, are_those_of_the_fitter) {
    namespace limits = tools::search_limits;
    EXPECT_EQ(limits::points, max_points);
    EXPECT_EQ(limits::pattern_points, max_pattern_points);
    EXPECT_EQ(limits::entries, max_fitted_entries);
    EXPECT_EQ(limits::parameters, max_fitted_parameters);
    EXPECT_EQ(limits::steps, max_steps);
    EXPECT_EQ(limits::intervals, max_intervals);
    EXPECT_EQ(limits::stored_patterns, max_patterns);
    EXPECT_EQ(limits::stored_coefficients, max_lsf_coefs);
    EXPECT_EQ(limits::pattern_name, pattern_name_size - 1);
}
