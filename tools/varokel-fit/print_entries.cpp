// SPDX-License-Identifier: BSD-3-Clause
// print_entries.cpp -- the entries of a fit on the terminal
#include "varokel-fit/print_entries.h"

#include "files/results/amounts.h"
#include "files/results/derived_area.h"
#include "files/results/number_text.h"

#include <algorithm>
#include <iostream>

namespace tools {

std::string padded(const std::string &text, std::size_t width) {
    return text.size() < width ? text + std::string(width - text.size(), ' ') : text;
}

static std::string with_error_text(double value, double sd) {
    const value_with_error text = with_error(value, sd);
    return sd > 0.0 ? text.value + " +- " + text.error : text.value;
}

static std::string parameter_text(const fitted_parameter &parameter) {
    if (parameter.state == parameter_state::unused) return "-";
    return with_error_text(parameter.value, parameter.error_1sd());
}

static void print_columns(const std::vector<std::vector<std::string>> &cells) {
    std::vector<std::size_t> widths(cells.front().size());
    for (const auto &row : cells)
        for (std::size_t c = 0; c < row.size(); ++c) widths[c] = std::max(widths[c], row[c].size());
    std::cout << '\n';
    for (const auto &row : cells) {
        std::string line;
        for (std::size_t c = 0; c < row.size(); ++c) line += padded(row[c], widths[c] + 2);
        line.erase(line.find_last_not_of(' ') + 1);
        std::cout << line << '\n';
    }
}

static void print_derived(const run_result &run, const std::vector<std::string> &derive) {
    const std::vector<derived_area> all = derived_of(run, derive);
    if (all.empty()) return;
    std::vector<std::vector<std::string>> cells = {{"derived", "value", "%"}};
    for (const derived_area &d : all) {
        std::string value = with_error_text(d.value, d.error_1sd);
        if (!d.unit.empty()) value += " " + d.unit;
        cells.push_back({d.name, value, percent_number(d.percent_1sd())});
    }
    print_columns(cells);
}

void print_entries(const run_result &run, const std::vector<std::string> &derive) {
    std::vector<std::vector<std::string>> cells = {
        {"entry", "area", "%", "ppm", "Gauss Hz", "Lorentz Hz", "phase"}};
    for (const fitted_entry &entry : run.entries) {
        cells.push_back(
            {entry.name, parameter_text(entry.area), percent_number(entry.area.percent_1sd()),
             with_digits_of(entry.ppm, 0.5 * entry.ppm_2sd), parameter_text(entry.gauss_width),
             parameter_text(entry.lorentz_width), parameter_text(entry.phase)});
    }
    print_columns(cells);
    print_derived(run, derive);
    std::cout << "\nErrors are one standard deviation (Cramer-Rao bounds).\n";
}

} // namespace tools
