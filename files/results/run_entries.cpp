// SPDX-License-Identifier: BSD-3-Clause
// run_entries.cpp -- entries of a run: names, values with errors and links, signs, places on the
// axes
#include "files/results/run_entries.h"

#include "files/base/line_text.h"
#include "files/base/not_known.h"
#include "files/base/tool_error.h"
#include "files/results/equivalent_signs.h"
#include "files/results/run_files.h"
#include "files/start/start_file.h"

#include <cmath>
#include <filesystem>
#include <set>

namespace tools {

namespace fs = std::filesystem;

void name_entries(run_result &run, const std::string &asked) {
    const std::string file = !asked.empty() ? asked : in_folder(run.folder, "names.txt");
    for (fitted_entry &entry : run.entries) {
        entry.name = "#" + std::to_string(entry.number);
        const int p = entry.number - run.control.lines;
        if (entry.type == pattern_entry && run.control.read && p >= 1 &&
            p <= static_cast<int>(run.control.pattern_files.size())) {
            entry.pattern_file = run.control.pattern_files[static_cast<std::size_t>(p - 1)];
            entry.name = fs::path(entry.pattern_file).stem().string();
        }
    }
    if (asked.empty() && !is_file(file)) return;
    std::vector<std::string> names;
    std::set<std::string> different;
    const std::vector<std::string> lines = lines_of(file);
    for (std::size_t l = 0; l < lines.size(); ++l) {
        const std::string text = trimmed(lines[l]);
        if (text.empty() || text[0] == '#') continue;
        const std::string name = text.substr(0, text.find_first_of(" \t,"));
        if (!different.insert(name).second)
            throw tool_error(bad_input, file + ", line " + std::to_string(l + 1) + ": name " +
                                            name + " stands there twice; expected different ones");
        names.push_back(name);
    }
    if (names.size() != run.entries.size())
        throw tool_error(bad_input, file + ": " + std::to_string(names.size()) + " names for " +
                                        std::to_string(run.entries.size()) +
                                        " entries; expected one a line, lines first, then "
                                        "patterns");
    for (std::size_t k = 0; k < names.size(); ++k) run.entries[k].name = names[k];
    run.files_read.push_back(file);
}

bool all_finite(int type, const parameter_row &row) {
    bool finite = true;
    for (std::size_t j = 0; j < row.size(); ++j)
        finite = finite && (!is_used(static_cast<int>(j), type) || std::isfinite(row[j]));
    return finite;
}

void fill_entries(run_result &run, const std::vector<spreadsheet_row> &rows,
                  const std::vector<parameter_row> &values,
                  const std::vector<parameter_row> &errors) {
    const double hz = run.axis.hz_per_point.value_or(not_known);
    run.has_errors = false;
    for (const parameter_row &row : errors)
        for (const double error : row) run.has_errors = run.has_errors || error != 0.0;
    for (std::size_t k = 0; k < rows.size(); ++k) {
        fitted_entry entry;
        entry.number = static_cast<int>(k) + 1;
        entry.type = rows[k].type;
        fitted_parameter *const parameters[] = {&entry.area, &entry.frequency, &entry.gauss_width,
                                                &entry.phase, &entry.lorentz_width};
        for (std::size_t j = 0; j < 5; ++j) {
            fitted_parameter &p = *parameters[j];
            const int link = rows[k].link[j];
            const int q = static_cast<int>(j);
            const double factor = width_unit(q, entry.type, hz);
            p.value = values[k][j] * factor;
            p.error_2sd =
                run.has_errors ? errors[k][j] * factor * run.axis.error_factor() : not_known;
            if (!is_used(q, entry.type)) {
                p.state = parameter_state::unused;
                p.value = p.error_2sd = not_known;
            } else if (link == entry.number) {
                p.state = parameter_state::fixed;
                p.error_2sd = not_known;
            } else if (link >= 1 && link <= static_cast<int>(rows.size())) {
                p.state = parameter_state::linked;
                p.source = link;
                const auto at = static_cast<std::size_t>(link - 1);
                const double other = values[at][j] * width_unit(q, rows[at].type, hz);
                p.link_constant = j == 0 ? p.value / other : p.value - other;
            }
        }
        run.entries.push_back(entry);
    }
}

// Of the two descriptions that every curve has, the one with positive areas; phases in (-180, 180].
// The covariance of areas follows.
void choose_signs(run_result &run) {
    std::vector<signed_entry> signs;
    const auto link_of = [](const fitted_entry &entry, const fitted_parameter &p) {
        return p.state == parameter_state::linked  ? p.source
               : p.state == parameter_state::fixed ? entry.number
                                                   : 0;
    };
    const bool know_start = run.start.read && run.start.entries.size() == run.entries.size();
    for (std::size_t k = 0; k < run.entries.size(); ++k) {
        const fitted_entry &entry = run.entries[k];
        signs.push_back({link_of(entry, entry.area), link_of(entry, entry.phase), entry.area.value,
                         know_start ? run.start.entries[k].value[0] : 0.0});
    }
    const std::vector<bool> turned = entries_to_turn(signs);
    std::string names;
    double sum = 0.0;
    for (std::size_t k = 0; k < run.entries.size(); ++k) {
        fitted_entry &entry = run.entries[k];
        if (turned[k]) {
            entry.area.value = -entry.area.value;
            entry.phase.value += 180.0;
            sum += entry.area.value;
            names += (names.empty() ? "" : ", ") + entry.name;
        }
        if (std::isfinite(entry.phase.value))
            entry.phase.value = principal_phase(entry.phase.value);
    }
    if (names.empty()) return;
    const std::size_t n = run.entries.size();
    if (run.control.area_covariance.size() == n * n)
        for (std::size_t k = 0; k < n; ++k)
            for (std::size_t l = 0; l < n; ++l)
                if (turned[k] != turned[l]) run.control.area_covariance[n * k + l] *= -1.0;
    run.notes.push_back(
        "shown with areas of the other sign and phases turned by 180 degrees, the "
        "same curve with " +
        std::string(sum > 0.0 ? "a positive sum of areas" : "the signs of the start values") +
        ": " + names);
}

// Places on the axes, from the points of the spectrum and what the sidecar knows.
void place_entries(run_result &run) {
    const std::size_t carrier_point = run.data.size() / 2;
    const double carrier_hz =
        static_cast<double>(carrier_point) * run.axis.hz_per_point.value_or(not_known);
    const double sense = run.axis.ppm_rises_with_points ? 1.0 : -1.0;
    const double mhz = run.axis.mhz.value_or(not_known);
    for (fitted_entry &entry : run.entries) {
        const double f = entry.frequency.value;
        const bool is_shift = entry.type == pattern_entry;
        entry.hz_from_carrier = is_shift ? f : f - carrier_hz;
        entry.ppm = sense * entry.hz_from_carrier / mhz +
                    (is_shift ? 0.0 : run.axis.ppm_at_carrier.value_or(not_known));
        entry.ppm_2sd = entry.frequency.error_2sd / mhz;
    }
}

} // namespace tools
