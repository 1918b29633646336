// SPDX-License-Identifier: BSD-3-Clause
#include "files/base/text_pattern.h"
#include "files/measured/lcmodel_namelist.h"

#include <gtest/gtest.h>

TEST(text_pattern, groups_are_what_stands_in_brackets) {
    const tools::text_pattern form("^([0-9]+)(x)?([a-z]*)$");
    const auto parts = form.groups_of("12ab");
    ASSERT_TRUE(parts);
    EXPECT_EQ((*parts)[0], "12ab");
    EXPECT_EQ((*parts)[1], "12");
    EXPECT_EQ((*parts)[2], ""); // takes no part
    EXPECT_EQ((*parts)[3], "ab");
    EXPECT_FALSE(form.matches("ab"));
    EXPECT_FALSE(form.matches(std::string("12ab\0!", 6))); // the C library would stop at the zero
    EXPECT_THROW(tools::text_pattern("("), std::invalid_argument);
}

TEST(text_pattern, width_of_a_fortran_format) {
    EXPECT_EQ(tools::field_width("(2E15.6)"), 15u);
    EXPECT_EQ(tools::field_width(" ( 1P , 6e13.5)"), 13u);
    EXPECT_EQ(tools::field_width("(1P2D24.16,X)"), 24u);
    EXPECT_EQ(tools::field_width("(G999.1)"), 999u);
    for (const char *none :
         {"", "2E15.6", "(2I5)", "(E0.1)", "(E1000.1)", "(E15)", "(E15.)", "x(2E15.6)"})
        EXPECT_FALSE(tools::field_width(none)) << none;
    EXPECT_TRUE(tools::field_width(std::string(93, ' ') + "(E15.6)"));
    EXPECT_FALSE(tools::field_width(std::string(94, ' ') + "(E15.6)")); // above 100 letters
}
