// SPDX-License-Identifier: BSD-3-Clause
#include "files/start/peak_table.h"

#include "support/refusal.h"

#include <gtest/gtest.h>

#include <string>

using support::expect_said;
using tools::cell_kind;
using tools::peak_table;
using tools::table_cell;
using tools::table_unit;

namespace {

const std::string heading = "name  type  area  frequency[ppm]  gauss[Hz]  lorentz  phase\n";

peak_table read(const std::string &text) {
    return tools::parse_peak_table(text, "peaks.txt");
}

// The cell that a Voigt line has in this column of a row that is otherwise plain.
table_cell cell_of(int quantity, const std::string &text) {
    std::string words[] = {"1", "2", "3", "4", "5"};
    words[quantity] = text;
    const peak_table table =
        read(heading + "A  voigt  1  2  3  4  5\n" + "B  voigt  " + words[0] + "  " + words[1] +
             "  " + words[2] + "  " + words[4] + "  " + words[3] + "\n");
    return table.rows.at(1).cells[static_cast<std::size_t>(quantity)];
}

std::string refusal(const std::string &text) {
    return support::refusal_of(tools::bad_input, [&] { read(text); });
}

std::string refused_cell(int quantity, const std::string &text) {
    return support::refusal_of(tools::bad_input, [&] { cell_of(quantity, text); });
}

using enum tools::quantity;

} // namespace

TEST(peak_table, cells_of_every_kind) {
    table_cell cell = cell_of(area_of, "1.5");
    EXPECT_EQ(cell.kind, cell_kind::number);
    EXPECT_EQ(cell.value, 1.5);
    EXPECT_FALSE(cell.fixed || cell.range);
    EXPECT_EQ(cell_of(area_of, "-1.5e-3").value, -1.5e-3);
    cell = cell_of(phase_of, "fixed 1.5");
    EXPECT_TRUE(cell.fixed);
    EXPECT_EQ(cell.value, 1.5);
    EXPECT_EQ(cell_of(area_of, "?").kind, cell_kind::estimate);
    EXPECT_TRUE(cell_of(phase_of, "fixed ?").fixed);
    EXPECT_EQ(cell_of(area_of, "-").kind, cell_kind::estimate); // as if it were not there
    cell = cell_of(area_of, "=A*0.5");
    EXPECT_EQ(cell.kind, cell_kind::link);
    EXPECT_EQ(cell.source, "A");
    EXPECT_EQ(cell.factor, 0.5);
    EXPECT_EQ(cell_of(area_of, "=A/4").factor, 0.25);
    EXPECT_EQ(cell_of(lorentz_of, "=A").value, 0.0);
    cell = cell_of(frequency_of, "=A + 16 Hz");
    EXPECT_EQ(cell.value, 16.0);
    EXPECT_EQ(cell.unit, table_unit::hz);
    cell = cell_of(frequency_of, "=A - 2");
    EXPECT_EQ(cell.value, -2.0);
    EXPECT_EQ(cell.unit, table_unit::ppm); // the heading's
}

TEST(peak_table, windows_of_every_form) {
    const auto window = [](int q, const std::string &text) { return *cell_of(q, text).range; };
    EXPECT_EQ(window(area_of, "1.5 [0.5, 3]"), std::make_pair(0.5, 3.0));
    EXPECT_EQ(window(lorentz_of, "15 > 5 < 30"), std::make_pair(5.0, 30.0));
    EXPECT_EQ(window(lorentz_of, "15 < 30 > 5"), std::make_pair(5.0, 30.0));
    const auto reach = window(frequency_of, "2 +- 0.25");
    EXPECT_EQ(reach, std::make_pair(1.75, 2.25));
    const auto above = window(area_of, "? > 0");
    EXPECT_EQ(above.first, 0.0);
    EXPECT_EQ(above.second, tools::no_edge);
    EXPECT_EQ(window(area_of, "1 < 7").first, -tools::no_edge);
    EXPECT_EQ(window(lorentz_of, "=A [10, 30]"), std::make_pair(10.0, 30.0));
    expect_said(refused_cell(area_of, "1 > 5 > 6"), "one lower and one upper edge");
    expect_said(refused_cell(area_of, "1 > 5 < 4"), "a window that is not empty");
    EXPECT_EQ(window(area_of, "5 > 5 < 5"), std::make_pair(5.0, 5.0)); // a point is a window
    expect_said(refused_cell(gauss_of, "1 [-3, -1]"), "reaches above 0");
    EXPECT_EQ(window(gauss_of, "1 [-3, 0]").second, 0.0);
}

TEST(peak_table, cells_that_are_refused_say_where_and_what_was_expected) {
    EXPECT_EQ(refused_cell(frequency_of, "?"),
              "peaks.txt:3:14: found \"?\"; areas and phases are estimated, frequencies and widths "
              "need a start value");
    expect_said(refused_cell(area_of, "=A/0"), "divides an area by 0");
    expect_said(refused_cell(area_of, "=A*0"), "an area of 0 times another one");
    expect_said(refused_cell(area_of, "1,5"), "a decimal point in place of the comma");
    expect_said(refused_cell(area_of, "much"), "\"?\" to estimate");
    EXPECT_NE(refused_cell(phase_of, "5 ppm"), "no error");
    expect_said(refused_cell(gauss_of, "-1"), "expected one above 0");
    EXPECT_EQ(refused_cell(gauss_of, "0"), "no error");
    expect_said(refused_cell(area_of, "=C"), "tied to C, but no row has that name");
}

TEST(peak_table, a_line_has_the_widths_of_its_type_and_no_other) {
    const auto row = [](const std::string &type, const std::string &widths) {
        return refusal("name  type  frequency[Hz]  gauss  lorentz\nA  " + type + "  5  " + widths);
    };
    EXPECT_EQ(row("gauss", "3  -"), "no error");
    EXPECT_EQ(row("gauss", "3  0"), "no error"); // written by programs
    EXPECT_EQ(row("lorentz", "-  3"), "no error");
    EXPECT_EQ(row("voigt", "3  3"), "no error");
    EXPECT_EQ(row("naa.pat", "-  -"), "no error");
    expect_said(row("gauss", "-  -"), "a gauss line needs a gauss width");
    expect_said(row("voigt", "3  -"), "needs a lorentz width");
    expect_said(row("lorentz", "3  3"), "a lorentz line has no gauss width");
    expect_said(row("sinc", "3  3"), "found the type \"sinc\"");
}

TEST(peak_table, types_and_names_of_rows) {
    const peak_table table = read(
        "name  type  frequency[Hz]  gauss  lorentz  lineshape\n"
        "A  Gaussian  1  2  -  no\nB'_.1  LORENTZ  1  -  2  yes\nC  pattern x.bin  0  -  -  yes\n");
    ASSERT_EQ(table.rows.size(), 3U);
    EXPECT_EQ(table.rows[0].type, tools::gauss_entry);
    EXPECT_FALSE(table.rows[0].takes_lineshape);
    EXPECT_EQ(table.rows[1].type, tools::lorentz_entry);
    EXPECT_EQ(table.rows[1].name, "B'_.1");
    EXPECT_TRUE(table.rows[1].takes_lineshape);
    EXPECT_EQ(table.rows[2].type, tools::pattern_entry);
    EXPECT_EQ(table.rows[2].pattern_file, "x.bin");
    // without a column they are estimated
    EXPECT_EQ(table.rows[0].cells[area_of].kind, cell_kind::estimate);
    EXPECT_EQ(table.rows[0].cells[phase_of].kind, cell_kind::estimate);
    const std::string two = "name  type  frequency[Hz]  gauss\n";
    expect_said(refusal(two + "A  gauss  1  2\nA  gauss  1  2\n"),
                "peaks.txt:3:1: the name A stands in line 2, too");
    EXPECT_EQ(refusal(two + std::string(40, 'x') + "  gauss  1  2\n"), "no error");
    expect_said(refusal(two + std::string(41, 'x') + "  gauss  1  2\n"), "more than 40");
    EXPECT_NE(refusal(two + "A  gauss  1\n").find("found 3 cells; expected 4"), std::string::npos);
    expect_said(refusal(two + "A  gauss  1  2  3\n"), "found 5 cells");
}

TEST(peak_table, cells_stand_apart_by_two_blanks_tabs_or_bars) {
    for (const char *text : {"name  type  frequency[Hz]  gauss\nA  gauss  =A + 1  2  # why\n",
                             "name\ttype\tfrequency[Hz]\tgauss\nA\tgauss\t=A + 1\t2\n",
                             "|name|type|frequency[Hz]|gauss|\n|----|----|----|----|\n"
                             "| A | gauss | =A + 1 | 2 |\n"}) {
        const peak_table table = read(text);
        ASSERT_EQ(table.rows.size(), 1U) << text;
        EXPECT_EQ(table.rows[0].cells[frequency_of].value, 1.0) << text;
    }
}

TEST(peak_table, keys_say_the_rest) {
    const std::string row = "name  type  frequency[ppm]  gauss\nA  gauss  1  2\n";
    const peak_table table =
        read(row + "interval: 1.9 to 2.1 ppm, 10 to 20 points\nnoise: 702 to 829 points\n"
                   "reference: A 2.01 ppm +- 0.5 ppm\nmeasured: 85 points\ntolerance: 1e-7\n"
                   "follow: A\nignore: 2\nverbose: 3\nerrors: no\nformat: sage_idl\nranges: 3\n"
                   "points: 1024\nhz_per_point: 9.5\nphi_1: 1080 deg\nderive: x = A/2\n"
                   "lineshape: fitted 3\n");
    ASSERT_EQ(table.intervals.size(), 2U);
    EXPECT_EQ(table.intervals[0].last, 2.1);
    EXPECT_EQ(table.intervals[1].unit, table_unit::points);
    EXPECT_EQ(table.noise->first, 702.0);
    EXPECT_EQ(table.reference->name, "A");
    EXPECT_EQ(table.reference->half_width, 0.5);
    EXPECT_EQ(table.measured, 85);
    EXPECT_EQ(table.tolerance, 1e-7);
    EXPECT_EQ(table.followed, "A");
    EXPECT_EQ(table.ignored, 2);
    EXPECT_EQ(table.verbose, 3);
    EXPECT_EQ(table.errors, false);
    EXPECT_EQ(table.data_format, "sage_idl");
    EXPECT_EQ(table.ranges, 3);
    EXPECT_EQ(table.points, 1024);
    EXPECT_EQ(table.hz_per_point, 9.5);
    EXPECT_EQ(table.phi_1, 1080.0);
    EXPECT_EQ(table.derived, std::vector<std::string>{"x = A/2"});
    EXPECT_EQ(table.fit_mode, 3);
    EXPECT_EQ(table.lineshape, (std::vector<double>{0, 0, 1, 0, 0, 0})); // an undistorted line
    for (const char *bad : {"verbose: 4",
                            "verbose: -1",
                            "ranges: 4",
                            "ignore: -1",
                            "points: 0",
                            "tolerance: 0",
                            "hz_per_point: 0",
                            "errors: maybe",
                            "format: dicom",
                            "follow: B",
                            "lineshape: fitted 171",
                            "lineshape: fitted 0",
                            "lineshape: bent",
                            "reference: A 2 ppm +- 0",
                            "interval: 1 to 2",
                            "interval: 1 ppm to 2 Hz",
                            "interval: 1 to 2 deg",
                            "strategy: slow",
                            "strategy: quick\nstrategy: quick",
                            "strategy: quick\nstep: gradient all",
                            "reference: A 2\nreference: A 2",
                            "lineshape: fitted 2\ncoefficients: 1 0 0",
                            "colour: red",
                            "measured: 85 points or so",
                            "derive:"})
        EXPECT_NE(refusal(row + bad + "\n"), "no error") << bad;
    for (const char *good : {"verbose: 0", "ranges: 0", "ignore: 0", "points: 1",
                             "lineshape: fitted 170", "lineshape: none", "lineshape: measured"})
        EXPECT_EQ(refusal(row + good + "\n"), "no error") << good;
}

TEST(peak_table, steps_of_its_own) {
    const std::string row = "name  type  frequency[ppm]  gauss\nA  gauss  1  2\n";
    const peak_table table =
        read(row + "step: random all iterations=20\n"
                   "step: gradient areas phases align points=512 part=magnitude weighting=7 "
                   "interval=266..635,700..720 times=3\n");
    ASSERT_EQ(table.steps.size(), 4U);
    using namespace tools;
    EXPECT_EQ(table.steps[0].step.algorithm, 1);
    for (const int q : {fit_areas, fit_frequencies, fit_gauss, fit_phases, fit_lorentz})
        EXPECT_EQ(table.steps[0].step.switches[static_cast<std::size_t>(q)], 1);
    EXPECT_EQ(table.steps[0].step.switches[fit_lineshape], 0);
    EXPECT_EQ(table.steps[0].step.switches[iterations], 20);
    const start_step &second = table.steps[3].step;
    EXPECT_EQ(second.algorithm, 2);
    EXPECT_EQ(second.switches[fit_areas] + second.switches[fit_phases], 2);
    EXPECT_EQ(second.switches[fit_frequencies], 0);
    EXPECT_EQ(second.switches[align], 1);
    EXPECT_EQ(second.points, 512);
    EXPECT_EQ(second.switches[part], 3);
    EXPECT_EQ(second.switches[weighting], 7);
    ASSERT_EQ(second.intervals.size(), 2U);
    EXPECT_EQ(second.intervals[1].first, 700);
    EXPECT_EQ(second.intervals[1].second, 720);
    for (const char *bad :
         {"step: areas", "step: gradient colours", "step: gradient all iterations=0",
          "step: gradient all weighting=8", "step: gradient all weighting=0",
          "step: gradient all times=20", "step: gradient all part=real",
          "step: gradient all interval=5", "step: gradient all points=0"})
        EXPECT_NE(refusal(row + bad + "\n"), "no error") << bad;
}

TEST(peak_table, what_is_no_table_is_refused) {
    EXPECT_NE(refusal(""), "no error");
    EXPECT_NE(refusal("# nothing\n").find("no rows; expected a heading"), std::string::npos);
    expect_said(refusal(std::string("name\0type", 9)), "not a text file");
    EXPECT_NE(refusal("type  frequency[Hz]  gauss\ngauss  1  2\n"), "no error");
    std::string rows = "name  type  frequency[Hz]  gauss\n";
    for (int i = 0; i < 4096; ++i) rows += "a" + std::to_string(i) + "  gauss  1  2\n";
    EXPECT_EQ(read(rows).rows.size(), 4096U);
    expect_said(refusal(rows + "more  gauss  1  2\n"), "more than 4096 rows");
}
