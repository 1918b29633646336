// SPDX-License-Identifier: BSD-3-Clause
#include "files/results/number_text.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <limits>
#include <sstream>
#include <string>

using tools::percent_number;
using tools::quality_number;
using tools::value_with_error;
using tools::with_error;

static constexpr double inf = std::numeric_limits<double>::infinity();

// Digits of a number's text, without noughts before them, point, sign and power of ten.
static std::string digits_of(const std::string &text) {
    std::string digits;
    for (const char c : text.substr(0, text.find('e')))
        if ((c >= '0' && c <= '9') && !(digits.empty() && c == '0')) digits += c;
    return digits;
}

// Power of ten of the last digit that is shown.
static int last_place(const std::string &text) {
    const std::size_t e = text.find('e'), point = text.find('.');
    const int power = e == std::string::npos ? 0 : std::atoi(text.c_str() + e + 1);
    const std::size_t end = std::min(e, text.size());
    return power - (point == std::string::npos ? 0 : static_cast<int>(end - point - 1));
}

TEST(number_text, texts_as_a_reader_wants_them) {
    std::ifstream cases(VAROKEL_SOURCE_DIR "/tests/tools/data/number_texts.tsv");
    std::string line;
    int read = 0;
    while (std::getline(cases, line)) {
        if (line.empty() || line[0] == '#') continue;
        std::istringstream cells(line);
        std::string value, sd, shown, error;
        ASSERT_TRUE(cells >> value >> sd >> shown >> error) << line;
        const value_with_error found =
            with_error(std::strtod(value.c_str(), nullptr), std::strtod(sd.c_str(), nullptr));
        EXPECT_EQ(found.value, shown) << line;
        EXPECT_EQ(found.error, error) << line;
        ++read;
    }
    EXPECT_GE(read, 40);
}

// All sizes against all errors, just below and above each power of ten.
TEST(number_text, value_and_error_end_at_one_place_from_1e_minus_300_to_1e300) {
    for (int s = -300; s <= 300; s += 7)
        for (int v = -300; v <= 300; ++v)
            for (const double factor : {1.0, 9.94, 9.96, 9.996, 5.0, -1.2345678}) {
                const double sd = std::fabs(factor) * std::pow(10.0, s);
                const double value = factor * 0.987654321 * std::pow(10.0, v);
                const value_with_error text = with_error(value, sd);
                const std::string what = text.value + " +- " + text.error;
                const double shown = std::strtod(text.value.c_str(), nullptr);
                const double error = std::strtod(text.error.c_str(), nullptr);
                // at most half of the second digit off, of which there are 10 to 99
                ASSERT_LE(std::fabs(error - sd), 0.0501 * sd) << what;
                const int place = static_cast<int>(std::floor(std::log10(error) + 1e-9)) - 1;
                const double unit = std::pow(10.0, place);
                ASSERT_NEAR(error / unit, std::round(error / unit), 1e-9) << what;
                // a double has 15 digits
                ASSERT_LE(std::fabs(shown - value), 0.5000001 * unit + 1e-15 * std::fabs(value))
                    << what;
                ASSERT_NE(text.value, "-0") << what;
                ASSERT_LT(text.value.size() + text.error.size(), 35U) << what;
                if (place <= 0 && v - s < 14 && shown != 0.0) {
                    ASSERT_EQ(last_place(text.value), place) << what;
                    ASSERT_EQ(last_place(text.error), place) << what;
                    ASSERT_EQ(digits_of(text.error).size(), 2U) << what;
                }
            }
}

TEST(number_text, what_is_no_error_and_no_number) {
    for (const double none : {0.0, -1.0, inf, std::nan("")}) {
        EXPECT_EQ(with_error(1.23456789, none).value, "1.2346");
        EXPECT_EQ(with_error(1.23456789, none).error, "n/a");
    }
    for (const double none : {inf, -inf, std::nan("")}) {
        EXPECT_EQ(with_error(none, 0.1).value, "n/a");
        EXPECT_EQ(with_error(none, 0.1).error, "n/a");
    }
    EXPECT_EQ(with_error(-0.0, 0.12).value, "0.00");
    EXPECT_EQ(with_error(-1e-9, 0.12).value, "0.00");
    EXPECT_EQ(with_error(5e-324, 5e-324).error, "4.9e-324");
    EXPECT_EQ(percent_number(0.0), "0");
    EXPECT_EQ(percent_number(0.714), "0.71");
    EXPECT_EQ(percent_number(1.24e-9), "1.2e-09");
    EXPECT_EQ(percent_number(9.96), "10");
    EXPECT_EQ(percent_number(99.4), "99");
    EXPECT_EQ(percent_number(99.6), "100");
    EXPECT_EQ(percent_number(999.0), "999"); // what the tables are capped at
    EXPECT_EQ(percent_number(std::nan("")), "n/a");
}

TEST(quality_number, has_two_digits_behind_the_point_where_three_digits_are_no_more) {
    EXPECT_EQ(quality_number(1.1), "1.10");
    EXPECT_EQ(quality_number(1.0), "1.00");
    EXPECT_EQ(quality_number(0.1), "0.10");
    EXPECT_EQ(quality_number(0.0999), "0.0999");
    EXPECT_EQ(quality_number(1.2e-7), "1.2e-07"); // of data without noise, not 0.00
    EXPECT_EQ(quality_number(0.0), "0");
    EXPECT_EQ(quality_number(12.345), "12.35");
    EXPECT_EQ(quality_number(99.99), "99.99");
    EXPECT_EQ(quality_number(99.996), "100");
    EXPECT_EQ(quality_number(1e300), "1e+300");
    EXPECT_EQ(quality_number(inf), "n/a");
    EXPECT_EQ(quality_number(std::nan("")), "n/a");
}
