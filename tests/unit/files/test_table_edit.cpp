// SPDX-License-Identifier: BSD-3-Clause
#include "files/start/table_edit.h"

#include "files/base/tool_error.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

const std::string table = "# who\n"
                          "name   type     area  frequency[ppm]  lorentz  # heading\n"
                          "PCr    lorentz  ?     0               15 [10, 20]  # 100 %\n"
                          "GATP   lorentz  2     -2.46           fixed 39\n"
                          "GATP2  lorentz  =GATP  =GATP - 16 Hz  =GATP\n"
                          "\n"
                          "interval: -5 to 3 ppm  # wide\n"
                          "follow: GATP\n";

tools::spectrum_facts facts() {
    tools::spectrum_facts out;
    out.points = 1024;
    out.hz_per_point = 4.0;
    out.mhz = 100.0;
    out.ppm_at_carrier = 0.0;
    out.ppm_rises_with_points = false;
    return out;
}

std::string number(std::size_t row, int quantity, double value, const std::string &before) {
    static const tools::peak_table parsed = tools::parse_peak_table(table, "peaks.txt");
    return tools::number_cell(parsed, row, quantity, value, tools::table_axis(facts(), "a"), before,
                              tools::cell_digits::by_hand);
}

} // namespace

TEST(table_edit, a_cell_changes_and_nothing_else) {
    const std::string changed = tools::with_cell(table, 0, "lorentz", "12");
    EXPECT_NE(changed.find("PCr    lorentz  ?     0               12           # 100 %\n"),
              std::string::npos)
        << changed;
    std::string back = tools::with_cell(changed, 0, "lorentz", "15 [10, 20]");
    EXPECT_EQ(back, table);
}

TEST(table_edit, a_long_cell_pushes_the_others_two_blanks_away) {
    const std::string changed = tools::with_cell(table, 1, "area", "1234567.5");
    EXPECT_NE(changed.find("GATP   lorentz  1234567.5  -2.46           fixed 39\n"),
              std::string::npos)
        << changed;
    EXPECT_EQ(tools::cells_of_table(changed)[1].at("frequency"), "-2.46");
}

TEST(table_edit, a_column_that_is_not_there_is_added_to_every_row) {
    const std::string changed = tools::with_cell(table, 1, "phase", "30");
    const auto rows = tools::cells_of_table(changed);
    EXPECT_EQ(rows[0].at("phase"), "?");
    EXPECT_EQ(rows[1].at("phase"), "30");
    EXPECT_NE(changed.find("lorentz  phase  # heading"), std::string::npos) << changed;
    EXPECT_NE(changed.find("# 100 %"), std::string::npos);
}

TEST(table_edit, a_framed_table_stays_one) {
    const std::string framed = "| name | type | frequency[Hz] | lorentz |\n"
                               "|------|------|---------------|---------|\n"
                               "| A    | lorentz | 100 | 5 |\n";
    const std::string longer = tools::with_row(framed, {{"name", "B"},
                                                        {"type", "lorentz"},
                                                        {"frequency", "20"},
                                                        {"lorentz", "7"},
                                                        {"phase", "0"}});
    const tools::peak_table parsed = tools::parse_peak_table(longer, "peaks.txt");
    ASSERT_EQ(parsed.rows.size(), 2U) << longer;
    EXPECT_EQ(parsed.rows[1].name, "B");
    EXPECT_EQ(parsed.rows[1].cells[tools::lorentz_of].value, 7.0);
    EXPECT_EQ(parsed.rows[1].cells[tools::phase_of].kind, tools::cell_kind::number);
    EXPECT_EQ(parsed.rows[0].cells[tools::phase_of].kind, tools::cell_kind::estimate);
}

TEST(table_edit, a_row_stands_under_the_heading_and_goes_again) {
    const std::string longer = tools::with_row(
        table, {{"name", "B"}, {"type", "lorentz"}, {"frequency", "-16"}, {"lorentz", "50"}});
    const auto rows = tools::cells_of_table(longer);
    ASSERT_EQ(rows.size(), 4U);
    EXPECT_EQ(rows[3].at("area"), "?");
    EXPECT_NE(longer.find("\nB      lorentz  ?     -16             50\n"), std::string::npos)
        << longer;
    EXPECT_EQ(tools::without_row(longer, 3), table);
    EXPECT_THROW(tools::without_row(table, 3), std::out_of_range);
    // a table that ends without a line feed, and one without rows
    const std::string first =
        tools::with_row(tools::empty_table(true),
                        {{"name", "X"}, {"type", "lorentz"}, {"frequency", "1"}, {"lorentz", "9"}});
    EXPECT_EQ(tools::parse_peak_table(first, "peaks.txt").rows.size(), 1U);
}

TEST(table_edit, a_name_takes_its_links_along) {
    const std::string changed = tools::with_name(table, 1, "gamma");
    const auto rows = tools::cells_of_table(changed);
    EXPECT_EQ(rows[1].at("name"), "gamma");
    EXPECT_EQ(rows[2].at("lorentz"), "=gamma");
    EXPECT_NE(changed.find("=gamma - 16 Hz"), std::string::npos) << changed;
    EXPECT_NE(changed.find("follow: gamma"), std::string::npos) << changed;
    EXPECT_EQ(rows[2].at("name"), "GATP2"); // begins with the other name, and is none of it
}

TEST(table_edit, a_key_is_changed_added_and_taken_out) {
    EXPECT_NE(tools::with_key(table, "interval", "1 to 2 ppm").find("interval: 1 to 2 ppm  # wide"),
              std::string::npos);
    EXPECT_NE(tools::with_key(table, "strategy", "quick").find("follow: GATP\nstrategy: quick\n"),
              std::string::npos);
    EXPECT_EQ(tools::with_key(table, "interval", "").find("interval"), std::string::npos);
    const std::string twice = table + "interval: 5 to 6 ppm\n";
    EXPECT_EQ(tools::with_key(twice, "interval", "-5 to 3 ppm"), table);
}

TEST(table_edit, numbers_keep_what_stands_around_them) {
    const double carrier = 2048.0; // ppm falls with the points
    EXPECT_EQ(number(0, tools::frequency_of, carrier + 100.0, "0"), "-1.0000");
    EXPECT_EQ(number(0, tools::lorentz_of, 12.25, "15 [10, 20]"), "12.25 [10, 20]");
    EXPECT_EQ(number(1, tools::lorentz_of, 12.0, "fixed 39"), "fixed 12");
    EXPECT_EQ(number(1, tools::lorentz_of, 0.12, "fixed  39 Hz"), "fixed  0.12 Hz");
    EXPECT_EQ(number(0, tools::area_of, 123456.0, "?"), "123456");
    EXPECT_EQ(number(2, tools::frequency_of, carrier, "=GATP - 16 Hz"), "0.0000 ppm");
}

TEST(table_edit, all_digits_give_the_single_back) {
    const tools::peak_table parsed = tools::parse_peak_table(
        "name  type  area  frequency[Hz]  lorentz\nA  lorentz  1  0  10\n", "peaks.txt");
    const tools::table_axis axis(facts(), "a");
    unsigned state = 1;
    for (int i = 0; i < 2000; ++i) {
        state = state * 1664525U + 1013904223U;
        const double value = std::ldexp(static_cast<double>(state) - 2147483648.0, (i % 60) - 60);
        const std::string text = tools::number_cell(parsed, 0, tools::area_of, value, axis, "1",
                                                    tools::cell_digits::all);
        EXPECT_EQ(tools::as_single(std::strtod(text.c_str(), nullptr)), tools::as_single(value))
            << text;
        const tools::peak_table again = tools::parse_peak_table(
            tools::with_cell("name  type  area  frequency[Hz]  lorentz\nA  lorentz  1  0  10\n", 0,
                             "area", text),
            "peaks.txt");
        EXPECT_EQ(tools::as_single(again.rows[0].cells[tools::area_of].value),
                  tools::as_single(value));
    }
}
