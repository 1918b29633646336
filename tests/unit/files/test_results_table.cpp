// SPDX-License-Identifier: BSD-3-Clause
// Every column of the tables has its own number.
#include "files/results/results_table.h"

#include "files/base/ordered_json.h"

#include <gtest/gtest.h>

#include <limits>
#include <map>
#include <string>
#include <vector>

using tools::fitted_entry;
using tools::fitted_parameter;
using tools::parameter_state;
using tools::run_result;

namespace {

std::vector<std::string> cells_of(const std::string &line) {
    std::vector<std::string> cells(1);
    for (const char c : line)
        if (c == '\t')
            cells.emplace_back();
        else if (c != '\n')
            cells.back() += c;
    return cells;
}

std::map<std::string, std::string> named(const std::string &heading, const std::string &row) {
    const auto names = cells_of(heading), cells = cells_of(row);
    EXPECT_EQ(names.size(), cells.size()) << row;
    std::map<std::string, std::string> all;
    for (std::size_t i = 0; i < std::min(names.size(), cells.size()); ++i) {
        EXPECT_TRUE(all.emplace(names[i], cells[i]).second) << names[i] << " stands twice";
    }
    return all;
}

fitted_parameter known(double value, double error_2sd) {
    fitted_parameter p;
    p.value = value;
    p.error_2sd = error_2sd;
    return p;
}

// One Voigt line, all of whose numbers differ, and what its fit says of itself.
run_result one_line() {
    run_result run;
    run.name = "brain";
    run.fitted = true;
    run.quality = 1.25;
    run.quality_before = 9.5;
    run.noise_re = 0.75;
    run.noise_im = 0.7;
    run.chi_before = 1000.0;
    run.chi_after = 100.0;
    run.snr = 33.0;
    run.iterations = 17;
    run.free_parameters = 5;
    run.judgement.status = tools::fit_status::converged;
    fitted_entry entry;
    entry.number = 1;
    entry.type = 3;
    entry.name = "PCr";
    entry.area = known(8.0, 4.0);
    entry.frequency = known(101.0, 0.6);
    entry.gauss_width = known(12.0, 1.4);
    entry.phase = known(-30.0, 5.0);
    entry.lorentz_width = known(6.5, 0.9);
    entry.hz_from_carrier = -411.0;
    entry.ppm = 2.25;
    entry.ppm_2sd = 0.5;
    entry.snr = 44.0;
    run.entries = {entry};
    return run;
}

} // namespace

TEST(results_table, each_column_has_its_own_number) {
    const run_result run = one_line();
    auto row = named(tools::results_header(), tools::results_rows(run));
    const std::map<std::string, std::string> wanted = {{"spectrum", "brain"},
                                                       {"status", "converged"},
                                                       {"entry", "1"},
                                                       {"name", "PCr"},
                                                       {"type", "voigt"},
                                                       {"area", "8"},
                                                       {"area_error_1sd", "2"},
                                                       {"area_error_2sd", "4"},
                                                       {"area_error_percent_1sd", "25"},
                                                       {"area_link", "free"},
                                                       {"frequency_hz", "101"},
                                                       {"frequency_error_1sd_hz", "0.3"},
                                                       {"frequency_error_2sd_hz", "0.6"},
                                                       {"frequency_link", "free"},
                                                       {"frequency_from_carrier_hz", "-411"},
                                                       {"shift_ppm", "2.25"},
                                                       {"shift_error_1sd_ppm", "0.25"},
                                                       {"shift_error_2sd_ppm", "0.5"},
                                                       {"gauss_fwhm_hz", "12"},
                                                       {"gauss_fwhm_error_1sd_hz", "0.7"},
                                                       {"gauss_fwhm_error_2sd_hz", "1.4"},
                                                       {"gauss_fwhm_link", "free"},
                                                       {"lorentz_fwhm_hz", "6.5"},
                                                       {"lorentz_fwhm_error_1sd_hz", "0.45"},
                                                       {"lorentz_fwhm_error_2sd_hz", "0.9"},
                                                       {"lorentz_fwhm_link", "free"},
                                                       {"phase_degrees", "-30"},
                                                       {"phase_error_1sd_degrees", "2.5"},
                                                       {"phase_error_2sd_degrees", "5"},
                                                       {"phase_link", "free"},
                                                       {"snr", "44"},
                                                       {"warnings", "n/a"}};
    EXPECT_EQ(row, wanted);
}

TEST(results_table, the_row_of_a_spectrum_has_its_figures) {
    run_result run = one_line();
    auto row = named(tools::quality_header(), tools::quality_row(run));
    EXPECT_EQ(row["entries"], "1");
    EXPECT_EQ(row["free_parameters"], "5");
    EXPECT_EQ(row["fit_quality"], "1.25");
    EXPECT_EQ(row["fit_quality_before"], "9.5");
    EXPECT_EQ(row["chi_square_before"], "1000");
    EXPECT_EQ(row["chi_square_after"], "100");
    EXPECT_EQ(row["noise_sd_real"], "0.75");
    EXPECT_EQ(row["noise_sd_imaginary"], "0.7");
    EXPECT_EQ(row["snr"], "33");
    EXPECT_EQ(row["last_step_iterations"], "17");
    EXPECT_EQ(row["method"], "classic");
    EXPECT_EQ(row["verdict"], "n/a");
    EXPECT_EQ(row["level"], "none");
    run.optimum.emplace();
    run.optimum->method = "both";
    run.optimum->verdict = "misfit";
    run.optimum->expected_decrease = 1e-7;
    run.optimum->search_distance = 2.5;
    run.optimum->starts.resize(4);
    run.optimum->reasons = {{"misfit", 1.25, {1}, "the residual is larger than the noise"}};
    run.judgement.reason = "why";
    run.remark = "besides";
    row = named(tools::quality_header(), tools::quality_row(run));
    EXPECT_EQ(row["method"], "both");
    EXPECT_EQ(row["verdict"], "misfit");
    EXPECT_EQ(row["expected_decrease"], "1e-07");
    EXPECT_EQ(row["search_distance"], "2.5");
    EXPECT_EQ(row["starts"], "4");
    EXPECT_NE(row["reasons"].find("PCr"), std::string::npos) << row["reasons"];
    EXPECT_EQ(row["reason"], "why; besides");
}

TEST(results_table, a_spectrum_without_a_fit_has_a_row_of_as_many_cells) {
    run_result run;
    run.name = "voxel\t7"; // no name may break a row
    tools::table_shape shape;
    shape.places = {{"x", "first direction"}};
    auto row = named(tools::results_header(shape), tools::results_rows(run, {"3"}));
    EXPECT_EQ(row["x"], "3");
    EXPECT_EQ(row["status"], "not_fitted");
    EXPECT_EQ(row["area"], "n/a");
    row = named(tools::quality_header(shape), tools::quality_row(run, {"3"}));
    EXPECT_EQ(row["x"], "3");
    for (const char *column :
         {"entries", "free_parameters", "last_step_iterations", "method", "fit_quality", "snr"})
        EXPECT_EQ(row[column], "n/a") << column;
}

TEST(results_table, links_are_said_with_ratio_or_distance) {
    run_result run = one_line();
    fitted_parameter tied = known(4.0, 1.0);
    const auto text = [&](parameter_state state, double constant, bool is_area) {
        tied.state = state;
        tied.source = 1;
        tied.link_constant = constant;
        return tools::link_text(run, tied, is_area);
    };
    EXPECT_EQ(text(parameter_state::linked, 0.5, true), "PCr * 0.5");
    EXPECT_EQ(text(parameter_state::linked, 1.0, true), "PCr");
    EXPECT_EQ(text(parameter_state::linked, 15.0, false), "PCr + 15");
    EXPECT_EQ(text(parameter_state::linked, -15.0, false), "PCr - 15");
    EXPECT_EQ(text(parameter_state::linked, 0.0, false), "PCr");
    EXPECT_EQ(text(parameter_state::linked, std::numeric_limits<double>::infinity(), true), "PCr");
    EXPECT_EQ(text(parameter_state::fixed, 0.0, true), "fixed");
    EXPECT_EQ(text(parameter_state::unused, 0.0, true), "unused");
}

TEST(results_table, the_dictionary_describes_every_column_and_no_other) {
    tools::table_shape shape;
    shape.places = {{"x", "first direction"}};
    for (const bool of_entries : {true, false}) {
        const auto all = tools::ordered_json::parse(of_entries ? tools::results_dictionary(shape)
                                                               : tools::quality_dictionary(shape));
        const auto names =
            cells_of(of_entries ? tools::results_header(shape) : tools::quality_header(shape));
        EXPECT_EQ(all.size(), names.size());
        for (const std::string &name : names) {
            ASSERT_TRUE(all.contains(name)) << name;
            EXPECT_FALSE(all.at(name).at("Description").get<std::string>().empty()) << name;
        }
        EXPECT_EQ(all.at("status").at("Levels").size(), 4U);
    }
    EXPECT_STREQ(tools::type_text(0), "unknown");
    EXPECT_STREQ(tools::type_text(5), "unknown");
    EXPECT_STREQ(tools::type_text(4), "pattern");
}
