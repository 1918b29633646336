// SPDX-License-Identifier: BSD-3-Clause
// fitted_entries.cpp -- entries in shown units, from the numbers of a fit: names, values, signs
#include "files/results/fitted_entries.h"

#include "files/base/line_text.h"
#include "files/base/not_known.h"
#include "files/base/plain_text.h"
#include "files/base/tool_error.h"
#include "files/start/start_file.h"
#include "files/results/run_files.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <numeric>
#include <set>

namespace tools {

double fitted_parameter::percent_1sd() const {
    if (!std::isfinite(error_2sd) || !std::isfinite(value) || !(error_2sd > 0.0)) return not_known;
    if (value == 0.0) return 999.0;
    return std::min(999.0, 100.0 * error_1sd() / std::fabs(value));
}

const fitted_parameter &fitted_entry::of(int quantity) const {
    const fitted_parameter *const all[] = {&area, &frequency, &gauss_width, &phase, &lorentz_width};
    return *all[quantity];
}

bool has_any_error(const std::vector<parameter_row> &errors) {
    bool any = false;
    for (const parameter_row &row : errors)
        for (const double error : row) any = any || error != 0.0;
    return any;
}

std::vector<fitted_entry> shown_entries(const std::vector<linked_entry> &rows,
                                        const std::vector<parameter_row> &values,
                                        const std::vector<parameter_row> &errors,
                                        const spectrum_axis &axis) {
    const double hz = axis.hz_per_point.value_or(not_known);
    const bool has_errors = has_any_error(errors);
    std::vector<fitted_entry> entries(rows.size());
    for (std::size_t k = 0; k < rows.size(); ++k) {
        fitted_entry &entry = entries[k];
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
            p.error_2sd = has_errors ? errors[k][j] * factor * axis.error_factor() : not_known;
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
    }
    return entries;
}

void place_entries(std::vector<fitted_entry> &entries, const spectrum_axis &axis,
                   long long points) {
    const double carrier_hz =
        static_cast<double>(points / 2) * axis.hz_per_point.value_or(not_known);
    const double sense = axis.ppm_rises_with_points ? 1.0 : -1.0;
    const double mhz = axis.mhz.value_or(not_known);
    for (fitted_entry &entry : entries) {
        const double f = entry.frequency.value;
        const bool is_shift = entry.type == pattern_entry;
        entry.hz_from_carrier = is_shift ? f : f - carrier_hz;
        entry.ppm = sense * entry.hz_from_carrier / mhz +
                    (is_shift ? 0.0 : axis.ppm_at_carrier.value_or(not_known));
        entry.ppm_2sd = entry.frequency.error_2sd / mhz;
    }
}

// The first entry of the group of k.
static std::size_t root_of(const std::vector<std::size_t> &parent, std::size_t k) {
    while (parent[k] != k) k = parent[k];
    return k;
}

std::vector<bool> entries_to_turn(const std::vector<signed_entry> &entries) {
    const std::size_t n = entries.size();
    std::vector<std::size_t> parent(n);
    std::iota(parent.begin(), parent.end(), std::size_t{0});
    for (std::size_t k = 0; k < n; ++k)
        for (const int link : {entries[k].area_link, entries[k].phase_link}) {
            if (link < 1 || static_cast<std::size_t>(link) > n) continue;
            const std::size_t a = root_of(parent, k),
                              b = root_of(parent, static_cast<std::size_t>(link) - 1);
            parent[a > b ? a : b] = a > b ? b : a;
        }
    std::vector<double> sum(n, 0.0), likeness(n, 0.0);
    std::vector<bool> held(n, false), given(n, false);
    for (std::size_t k = 0; k < n; ++k) {
        const std::size_t root = root_of(parent, k);
        const int own = static_cast<int>(k) + 1;
        sum[root] += entries[k].area;
        likeness[root] += entries[k].area * entries[k].start_area;
        given[root] = given[root] || entries[k].start_area < 0.0;
        if (entries[k].phase_link == own || (entries[k].area_link == own && entries[k].area != 0.0))
            held[root] = true;
    }
    std::vector<bool> turned(n, false);
    for (std::size_t k = 0; k < n; ++k) {
        const std::size_t root = root_of(parent, k);
        if (held[root] || !std::isfinite(sum[root])) continue;
        turned[k] = (given[root] ? likeness[root] : sum[root]) < 0.0;
    }
    return turned;
}

double principal_phase(double degrees) {
    const double phase = std::remainder(degrees, 360.0); // in [-180, 180], exact
    return phase == -180.0 ? 180.0 : phase;
}

std::vector<bool> choose_signs(std::vector<fitted_entry> &entries,
                               const std::vector<double> &start_areas) {
    std::vector<signed_entry> signs;
    const auto link_of = [](const fitted_entry &entry, const fitted_parameter &p) {
        return p.state == parameter_state::linked  ? p.source
               : p.state == parameter_state::fixed ? entry.number
                                                   : 0;
    };
    for (std::size_t k = 0; k < entries.size(); ++k) {
        const fitted_entry &entry = entries[k];
        signs.push_back({link_of(entry, entry.area), link_of(entry, entry.phase), entry.area.value,
                         start_areas[k]});
    }
    std::vector<bool> turned = entries_to_turn(signs);
    for (std::size_t k = 0; k < entries.size(); ++k) {
        fitted_entry &entry = entries[k];
        if (turned[k]) {
            entry.area.value = -entry.area.value;
            entry.phase.value += 180.0;
        }
        if (std::isfinite(entry.phase.value))
            entry.phase.value = principal_phase(entry.phase.value);
    }
    return turned;
}

namespace fs = std::filesystem;

std::vector<std::string> read_names(const std::string &file) {
    std::vector<std::string> names;
    std::set<std::string> different;
    const std::vector<std::string> lines = lines_of(file, "names of entries, one a line");
    for (std::size_t l = 0; l < lines.size(); ++l) {
        const std::string text(trimmed(lines[l]));
        if (text.empty() || text[0] == '#') continue;
        const std::string name = text.substr(0, text.find_first_of(" \t,"));
        refuse_not_utf8(name, file + ", line " + std::to_string(l + 1) + ": name");
        if (!different.insert(name).second)
            refuse_input(file + ", line " + std::to_string(l + 1),
                         "name " + name + " stands there twice; expected different ones");
        names.push_back(name);
    }
    return names;
}

void name_entries(run_result &run, const std::string &asked) {
    const std::string file = !asked.empty() ? asked : in_folder(run.folder, "names.txt");
    for (fitted_entry &entry : run.entries) {
        entry.name = "#" + std::to_string(entry.number);
        const auto k = static_cast<std::size_t>(entry.number - 1);
        if (entry.type != pattern_entry || k >= run.control.entries.size()) continue;
        entry.pattern_file = run.control.entries[k].pattern_file;
        if (!entry.pattern_file.empty()) entry.name = fs::path(entry.pattern_file).stem().string();
    }
    if (asked.empty() && !is_file(file)) {
        for (const fitted_entry &entry : run.entries) // a pattern's
            refuse_not_utf8(entry.name, in_folder(run.folder, run.name) + ": name of entry " +
                                            std::to_string(entry.number) + ",");
        return;
    }
    const std::vector<std::string> names = read_names(file);
    if (names.size() != run.entries.size())
        refuse_input(file, std::to_string(names.size()) + " names for " +
                               std::to_string(run.entries.size()) +
                               " entries; expected one a line, lines first, then patterns");
    for (std::size_t k = 0; k < names.size(); ++k) run.entries[k].name = names[k];
    run.files_read.push_back(file);
}

bool all_finite(int type, const parameter_row &row) {
    bool finite = true;
    for (std::size_t j = 0; j < row.size(); ++j)
        finite = finite && (!is_used(static_cast<int>(j), type) || std::isfinite(row[j]));
    return finite;
}

void turn_covariance(rebuilt_model &model, const std::vector<bool> &turned) {
    // of the five parameters of an entry the area comes first
    const std::size_t side = quantities * turned.size();
    if (model.covariance.size() != side * side) return;
    for (std::size_t a = 0; a < side; ++a)
        for (std::size_t b = 0; b < side; ++b) {
            const bool one = a % quantities == area_of && turned[a / quantities];
            const bool other = b % quantities == area_of && turned[b / quantities];
            if (one != other) model.covariance[side * a + b] *= -1.0;
        }
}

void choose_signs(run_result &run) {
    const std::size_t n = run.entries.size();
    std::vector<double> start_areas(n, 0.0);
    if (run.start.read && run.start.entries.size() == n)
        for (std::size_t k = 0; k < n; ++k)
            start_areas[k] = run.start.entries[k].parameters[area_of].value;
    const std::vector<bool> turned = choose_signs(run.entries, start_areas);
    std::string names;
    double sum = 0.0;
    for (std::size_t k = 0; k < n; ++k) {
        if (!turned[k]) continue;
        sum += run.entries[k].area.value;
        names += (names.empty() ? "" : ", ") + run.entries[k].name;
    }
    if (names.empty()) return;
    turn_covariance(run.control, turned);
    run.notes.push_back(
        "shown with areas of the other sign and phases turned by 180 degrees, the "
        "same curve with " +
        std::string(sum > 0.0 ? "a positive sum of areas" : "the signs of the start values") +
        ": " + names);
}

} // namespace tools
