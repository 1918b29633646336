// SPDX-License-Identifier: BSD-3-Clause
// run_entries.cpp -- entries of a run: names, values with errors and links, signs
#include "files/results/run_entries.h"

#include "files/base/line_text.h"
#include "files/base/plain_text.h"
#include "files/base/tool_error.h"
#include "files/results/run_files.h"
#include "files/start/start_file.h"

#include <cmath>
#include <filesystem>
#include <set>

namespace tools {

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
