// SPDX-License-Identifier: BSD-3-Clause
// print_entries.cpp -- the entries of a fit on the terminal
#include "varokel-fit/print_entries.h"

#include "files/results/amounts.h"
#include "files/results/derived_area.h"
#include "files/results/number_text.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iostream>

namespace tools {

std::string padded(const std::string &text, std::size_t width) {
    return text.size() < width ? text + std::string(width - text.size(), ' ') : text;
}

static std::string with_error(const fitted_parameter &parameter) {
    if (parameter.state == parameter_state::unused) return "-";
    const std::string value = with_digits_of(parameter.value, parameter.error_1sd());
    if (!(parameter.error_2sd > 0.0)) return value;
    return value + " +- " + short_number(parameter.error_1sd());
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
    std::vector<derived_area> all;
    for (const std::string &text : derive) all.push_back(derive_area(run, text));
    for (const derived_area &amount : amounts_of(run)) all.push_back(amount);
    if (all.empty()) return;
    std::vector<std::vector<std::string>> cells = {{"derived", "value", "%"}};
    for (const derived_area &d : all) {
        std::string value = with_digits_of(d.value, d.error_1sd);
        if (std::isfinite(d.error_1sd)) value += " +- " + short_number(d.error_1sd);
        char percent[40] = "n/a";
        if (std::isfinite(d.percent_1sd()))
            std::snprintf(percent, sizeof percent, "%.1f", d.percent_1sd());
        if (!d.unit.empty()) value += " " + d.unit;
        cells.push_back({d.name, value, percent});
    }
    print_columns(cells);
}

void print_entries(const run_result &run, const std::vector<std::string> &derive) {
    std::vector<std::vector<std::string>> cells = {
        {"entry", "area", "%", "ppm", "Gauss Hz", "Lorentz Hz", "phase"}};
    for (const fitted_entry &entry : run.entries) {
        char ppm[40] = "n/a", percent[40] = "n/a";
        if (std::isfinite(entry.ppm)) std::snprintf(ppm, sizeof ppm, "%.4f", entry.ppm);
        if (std::isfinite(entry.area.percent_1sd()))
            std::snprintf(percent, sizeof percent, "%.1f", entry.area.percent_1sd());
        cells.push_back({entry.name, with_error(entry.area), percent, ppm,
                         with_error(entry.gauss_width), with_error(entry.lorentz_width),
                         with_error(entry.phase)});
    }
    print_columns(cells);
    print_derived(run, derive);
    std::cout << "\nErrors are one standard deviation (Cramer-Rao bounds).\n";
}

} // namespace tools
