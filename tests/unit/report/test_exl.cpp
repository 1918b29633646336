// SPDX-License-Identifier: BSD-3-Clause
#include "report/exl.h"

#include "unit/report/report_example.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <sstream>
#include <string>
#include <vector>

static std::vector<std::string> written_lines() {
    const support::temporary_folder folder;
    std::snprintf(path, sizeof path, "%s/", folder.name().c_str());
    write_spreadsheet(1.25, minimum);
    std::istringstream text(support::read_file(folder.file("brain.exl")));
    std::vector<std::string> lines;
    for (std::string line; std::getline(text, line);) lines.push_back(line);
    return lines;
}

static std::vector<std::string> cells(const std::string &line) {
    std::vector<std::string> found;
    std::istringstream text(line);
    for (std::string cell; std::getline(text, cell, '\t');) found.push_back(cell);
    return found;
}

static std::string e(double v) {
    char text[40];
    std::snprintf(text, sizeof text, "%e", v);
    return text;
}

TEST(exl, begins_with_command_mode_and_summary) {
    make_finished_fit();
    const std::vector<std::string> lines = written_lines();
    ASSERT_GE(lines.size(), 5u);
    EXPECT_EQ(lines[0], "varokel\t.\tbrain.bin\tstart.par\t");
    EXPECT_EQ(lines[1], "");
    EXPECT_EQ(lines[2], "absorption + dispersion mode fit");
    // the last figure: sqrt(2 / (2 x 4)) x 1 / 0.5
    EXPECT_EQ(lines[3], "1.250000e+00\t5.000000e-01\t2.500000e-01\t9.000000e+00\t4.000000e+00\t"
                        "2.000000e+00\t17\t1\t12\t1.000000e+00");
    EXPECT_EQ(lines[4], "");
}

TEST(exl, has_nineteen_cells_an_entry) {
    make_finished_fit();
    par[2] = -1.0; // the width is shown without its sign
    const std::vector<std::string> lines = written_lines();
    ASSERT_EQ(lines.size(), 11u); // four entries, two empty lines
    for (std::size_t k = 5; k < 9; ++k) EXPECT_EQ(cells(lines[k]).size(), 19u);
    EXPECT_EQ(lines[9] + lines[10], "");
    const std::vector<std::string> gaussian = cells(lines[5]);
    const std::vector<std::string> expected = {
        "1",    "  Gaussian", e(1.0),  e(0.1),   "0", e(0.0),
        e(0.0), "0",          e(3.34), e(0.334), "0", e(30),
        e(3.0), "1",          e(0.5),  e(0.05),  "0", e(3.34 * std::sqrt(std::numbers::pi)),
        e(0.1)};
    EXPECT_EQ(gaussian, expected);
}

// Last two cells: area x width x pi for a Lorentzian line, the dead-time corrected area and an
// error of area and Gaussian width together for the rest.
TEST(exl, ends_a_row_with_an_integral_by_type) {
    make_finished_fit();
    phi_1 = 720.0; // 0.125 s
    for (int k = 0; k < 4; ++k) par[5 * k + 3] = 0.0;
    const std::vector<std::string> lines = written_lines();
    const std::vector<std::string> lorentzian = cells(lines[6]), voigt = cells(lines[7]);
    EXPECT_EQ(lorentzian[1], " Lorentzian");
    EXPECT_EQ(lorentzian[17], e(2.0 * 2.0 * std::numbers::pi));
    EXPECT_EQ(lorentzian[18], e(0.2));
    EXPECT_EQ(voigt[1], "     Voigt");
    EXPECT_EQ(voigt[17], e(3.0 * std::exp(0.5 * 0.125)));
    EXPECT_EQ(voigt[18], e(std::hypot(0.3, 0.334)));
    EXPECT_EQ(cells(lines[8])[1], "   Pattern");
}

TEST(exl, names_every_mode) {
    make_finished_fit();
    const char *const names[] = {"absorption mode fit", "dispersion mode fit",
                                 "absorption + dispersion mode fit", "magnitude mode fit",
                                 "power mode fit"};
    for (complex = 0; complex < 5; ++complex) EXPECT_EQ(written_lines()[2], names[complex]);
}

TEST(exl, that_cannot_be_opened_is_reported_by_name) {
    make_finished_fit();
    std::snprintf(path, sizeof path, "/no/such/folder/");
    EXPECT_EQ(support::stdout_of([] { write_spreadsheet(1.0, minimum); }),
              " error in opening file /no/such/folder/brain.exl:\n ");
}
