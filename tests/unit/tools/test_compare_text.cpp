// SPDX-License-Identifier: BSD-3-Clause
#include "varokel-compare/compare_text.h"

#include <gtest/gtest.h>

#include <string>

using tools::compare_text;
using tools::difference;
using tools::tolerance;

namespace {

bool same(const std::string &got, const std::string &wanted, const tolerance &allowed = {},
          const std::string &errors = {}) {
    return compare_text(got, wanted, allowed, errors).empty();
}

tolerance relative(double by) {
    tolerance allowed;
    allowed.relative = by;
    return allowed;
}

tolerance absolute(double by) {
    tolerance allowed;
    allowed.absolute = by;
    return allowed;
}

tolerance whole(long long by) {
    tolerance allowed;
    allowed.whole = by;
    return allowed;
}

} // namespace

TEST(compare_text, numbers_agree_on_their_tolerance_and_not_beyond) {
    EXPECT_TRUE(same("1.0", "1.25", absolute(0.25)));
    EXPECT_FALSE(same("1.0", "1.25", absolute(0.2499)));
    // of the larger magnitude
    EXPECT_TRUE(same("3.0", "-1.0", relative(4.0 / 3.0)));
    EXPECT_TRUE(same("4.0", "3.0", relative(0.25)));
    EXPECT_TRUE(same("3.0", "4.0", relative(0.25)));
    EXPECT_FALSE(same("3.0", "4.0", relative(0.2499)));
    EXPECT_TRUE(same("1.0", "1.00"));
    EXPECT_TRUE(same("0.0", "-0.0"));
}

TEST(compare_text, whole_numbers_have_a_tolerance_of_their_own) {
    EXPECT_TRUE(same("17", "19", whole(2)));
    EXPECT_FALSE(same("17", "20", whole(2)));
    EXPECT_FALSE(same("17", "18", relative(1.0)));
    EXPECT_TRUE(same("17", "18.0", relative(0.1))); // one of them is none
}

TEST(compare_text, no_number_agrees_with_no_number_and_infinities_by_their_sign) {
    EXPECT_TRUE(same("nan", "-nan"));
    EXPECT_FALSE(same("nan", "1.0", absolute(1e300)));
    EXPECT_TRUE(same("inf", "inf"));
    EXPECT_FALSE(same("inf", "-inf", absolute(1e300)));
    EXPECT_FALSE(same("inf", "1.0", relative(1e300)));
}

TEST(compare_text, errors_at_the_same_place_allow_their_fraction) {
    tolerance eighth; // whose numbers are exact
    eighth.fraction = 0.125;
    EXPECT_TRUE(same("a 1.0 b 5.0", "a 1.0625 b 5.0", eighth, "a 0.5 b 0.0"));
    EXPECT_FALSE(same("a 1.0 b 5.0", "a 1.0626 b 5.0", eighth, "a 0.5 b 0.0"));
    EXPECT_FALSE(same("a 1.0 b 5.0", "a 1.0 b 5.05", eighth, "a 0.5 b 0.0"));
    EXPECT_FALSE(same("1.0", "1.0625", eighth, "nan"));
    EXPECT_FALSE(same("1.0", "1.0625", eighth, ""));
    EXPECT_TRUE(same("1.0", "1.0625", eighth, "-0.5")); // its size counts
}

TEST(compare_text, what_letters_touch_is_a_word) {
    EXPECT_FALSE(same("version_3", "version_4", absolute(9.0)));
    EXPECT_FALSE(same("31P", "32P", absolute(9.0)));
    EXPECT_FALSE(same("file.1", "file.2", absolute(9.0)));
    EXPECT_TRUE(same("[3]", "[4]", whole(1)));
    EXPECT_TRUE(same("x=-1.5e3;", "x=-1.6E+3;", relative(0.1)));
    EXPECT_FALSE(same("1  2", "1 2")); // blanks count
}

TEST(compare_text, the_first_difference_of_a_line_is_named_with_its_place) {
    const auto found = compare_text("same\nab 1.5 cd 2.5\n", "same\nab 1.5 ce 3.5\n", {});
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].line, 2);
    EXPECT_EQ(found[0].column, 9);
    const auto number = compare_text("a 2.0\n", "a 4.0\n", {});
    ASSERT_EQ(number.size(), 1U);
    EXPECT_EQ(number[0].column, 3);
    EXPECT_EQ(number[0].text, "got 2.0, wanted 4.0, difference 2, relative 0.5");
}

TEST(compare_text, missing_and_additional_text_is_a_difference) {
    EXPECT_EQ(compare_text("a\nb\nc\n", "a\n", {}).front().text,
              "2 lines more than wanted, first \"b\"");
    EXPECT_EQ(compare_text("a\n", "a\nb\nc\n", {}).front().text, "2 lines missing, first \"b\"");
    EXPECT_EQ(compare_text("a", "a\n", {}).front().text, "line end missing");
    EXPECT_EQ(compare_text("a\n", "a", {}).front().text, "got a line end, wanted none");
    EXPECT_EQ(compare_text("a 1", "a 1 b", {}).front().text, "line ends, wanted \" b\"");
    EXPECT_EQ(compare_text("a 1 b", "a 1", {}).front().text,
              "got \" b\", wanted the end of the line");
    EXPECT_TRUE(same("", ""));
    EXPECT_FALSE(same("", "a"));
    EXPECT_EQ(compare_text("1\n2\n3\n", "2\n2\n4\n", {}).size(), 2U); // one of each line
}

TEST(compare_text, time_stamps_may_differ_but_must_be_some) {
    const std::string one = "File created at: 14:05:59 CET Monday March 04 2024\n",
                      other = "File created at: 09:00:00 UTC Sunday May 12 2019\n";
    EXPECT_TRUE(same(one, other));
    EXPECT_FALSE(same(one, "File created at: yesterday\n"));
    EXPECT_TRUE(tools::is_time_stamp("23:59:60 Saturday February 29 2020"));
    for (const char *none :
         {"24:00:00 UTC Monday March 04 2024", "14:60:00 UTC Monday March 04 2024",
          "14:05:59 UTC Funday March 04 2024", "14:05:59 UTC Monday March 32 2024",
          "14:05:59 UTC Monday March 04 1999", "14:05:59 UTC Monday March 00 2024", "",
          "14:05:59 UTC Monday March 04 2024 x"})
        EXPECT_FALSE(tools::is_time_stamp(none)) << none;
}
