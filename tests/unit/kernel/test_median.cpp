// SPDX-License-Identifier: BSD-3-Clause
#include "kernel/median.h"

#include "support/support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

TEST(median, is_the_upper_one_of_two_in_the_middle) {
    EXPECT_EQ(kernel::upper_median({3.0}), 3.0);
    EXPECT_EQ(kernel::upper_median({3.0, -1.0}), 3.0);
    EXPECT_EQ(kernel::upper_median({3.0, -1.0, 2.0}), 2.0);
    EXPECT_EQ(kernel::upper_median({1e300, 1e-300, 0.0, -1e300}), 1e-300);
}

TEST(median, has_its_place_in_the_order_of_any_number_of_values) {
    support::random_numbers random(7);
    for (std::size_t n = 1; n < 40; ++n) {
        std::vector<double> values(n);
        for (double &value : values) value = random.normal();
        const double median = kernel::upper_median(values);
        std::sort(values.begin(), values.end());
        EXPECT_EQ(median, values[n / 2]) << n;
    }
}
