// SPDX-License-Identifier: BSD-3-Clause
#include "files/base/natural_order.h"

#include "support/support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

using tools::in_natural_order;

TEST(natural_order, counts_where_names_have_numbers) {
    // equal numbers: zeros in front come first
    std::istringstream words(
        "0 00 01 1 2 10 a a1 a1b a02 a2 a2b3 a2b20 a10 a10b b b18446744073709551616 "
        "b18446744073709551617 c0x9 c0x10");
    std::vector<std::string> ordered{""};
    for (std::string word; words >> word;) ordered.push_back(word);
    ASSERT_EQ(ordered.size(), 21U);
    for (std::size_t i = 0; i < ordered.size(); ++i)
        for (std::size_t j = 0; j < ordered.size(); ++j)
            EXPECT_EQ(in_natural_order(ordered[i], ordered[j]), i < j)
                << ordered[i] << " " << ordered[j];
}

// What std::sort needs: of two names one comes first, of three none comes before what is before it.
TEST(natural_order, is_an_order_of_all_names) {
    support::random_numbers random(5);
    std::vector<std::string> names;
    for (int n = 0; n < 120; ++n) {
        std::string name;
        const int length = static_cast<int>(random.uniform(0.0, 6.0));
        for (int i = 0; i < length; ++i)
            name += "00129ab-"[static_cast<std::size_t>(random.uniform(0.0, 8.0))];
        names.push_back(name);
    }
    std::sort(names.begin(), names.end());
    names.erase(std::unique(names.begin(), names.end()), names.end());
    for (const std::string &a : names)
        for (const std::string &b : names) {
            EXPECT_EQ(in_natural_order(a, b) + in_natural_order(b, a), a != b) << a << " " << b;
            if (!in_natural_order(a, b)) continue;
            for (const std::string &c : names) {
                if (in_natural_order(b, c)) {
                    EXPECT_TRUE(in_natural_order(a, c)) << a << " " << b << " " << c;
                }
            }
        }
}
