// SPDX-License-Identifier: BSD-3-Clause
//
// What the reports change before they show it: frequencies by their scale, areas by a lineshape
// fit, the sign of Gaussian widths; and what headers count.
#include "report/exl.h"
#include "report/fitres.h"
#include "report/output_signals.h"
#include "unit/report/report_example.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

static std::string written(void (*write)(const double &), const char *ending) {
    const support::temporary_folder folder;
    std::snprintf(path, sizeof path, "%s/", folder.name().c_str());
    write(1.0);
    return support::read_file(folder.file(std::string("brain") + ending));
}

// The cells of entry k of the spreadsheet.
static std::vector<std::string> row_of(int k) {
    std::istringstream text(
        written([](const double &quality) { write_spreadsheet(quality, minimum); }, ".exl"));
    std::string line;
    for (int i = 0; i < 5 + k; ++i) std::getline(text, line);
    std::vector<std::string> cells;
    std::istringstream row(line);
    for (std::string cell; std::getline(row, cell, '\t');) cells.push_back(cell);
    return cells;
}

TEST(exl, scales_frequency_and_error_and_takes_the_sign_off_width_and_error) {
    make_finished_fit();
    frscl = 0.5;
    par[5 + 2] = -1.0; // Lorentzian line, 2 Hz a point
    errpar[5 + 2] = -0.25;
    const std::vector<std::string> row = row_of(2);
    EXPECT_EQ(row.at(5), "2.000000e+00"); // point 2, 2 Hz a point, 0.5
    EXPECT_EQ(row.at(6), "2.000000e-01");
    EXPECT_EQ(row.at(8), "2.000000e+00");
    EXPECT_EQ(row.at(9), "5.000000e-01");
}

TEST(exl, shows_the_area_of_a_lineshape_fit_where_there_is_one) {
    make_finished_fit();
    fit_lsf[2] = 1;
    lsf_area[2] = 20.0;
    EXPECT_EQ(row_of(2).at(2), "2.000000e+00"); // no coefficients, no lineshape
    lsf_coefs = 2;
    EXPECT_EQ(row_of(2).at(2), "2.000000e+01");
    EXPECT_EQ(row_of(3).at(2), "3.000000e+00");
    lsf_coefs = 0;
}

TEST(fitres, scales_frequency_and_error) {
    make_finished_fit();
    frscl = 0.5;
    EXPECT_NE(written(write_fit_result, ".fitres").find("|   3\t| 4.000000e+00\t| 4.000000e-01\t|"),
              std::string::npos);
}

TEST(headers, name_themselves_and_their_data_and_count_the_components) {
    const support::temporary_folder folder(true);
    make_finished_fit();
    sageidl = 1;
    idl->n_data_files = 1;
    output_name names[n_output_signals];
    name_output_signals(names);
    write_output_headers(names);
    for (const char *kind : {"org", "cororg", "fit", "res", "fit0", "nln0"}) {
        const std::string name = std::string("brain.") + kind;
        const char *count = name == "brain.nln0" ? "4" : "1"; // three lines and a pattern
        const std::string rows = "\n" + name + ".shf\n" + count + "\n" + name + ".sdf\n";
        EXPECT_NE(support::read_file(name + ".shf").find(rows), std::string::npos) << rows;
    }
}
