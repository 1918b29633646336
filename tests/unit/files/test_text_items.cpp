// SPDX-License-Identifier: BSD-3-Clause
#include "files/measured/text_items.h"

#include <gtest/gtest.h>

TEST(text_items, a_day_is_read_with_and_without_signs_between) {
    for (const char *const text :
         {"20190131", "2019-01-31", "2019.01.31", "2019/01/31", "\"2019.01.31 12:05:59\"",
          "'20190131'", "  2019-01-31T10:00:00", "20190131.120559"})
        EXPECT_EQ(tools::date_of(text), "2019-01-31") << text;
}

TEST(text_items, what_is_no_day_stays_away) {
    for (const char *const text :
         {"", "\"", "Doe", "31.01.2019", "2019-13-01", "2019-00-10", "2019-01-00", "2019-01-32",
          "2019", "2019-01", "2019--01-31", "-2019-01-31", "2019-01.", "18991231", "2019 01 31",
          "00000000", "2019-1-31"})
        EXPECT_EQ(tools::date_of(text), std::nullopt) << text;
}
