// SPDX-License-Identifier: BSD-3-Clause
// start_choice.cpp -- the start values of a batch, and of each of its fits
#include "varokel-batch/start_choice.h"

#include "files/base/input_file.h"
#include "files/base/output_file.h"
#include "files/base/pattern_name.h"
#include "files/base/plain_text.h"
#include "files/base/tool_error.h"
#include "files/results/judge_run.h"
#include "files/problem/start_problem.h"
#include "files/results/derived_area.h"
#include "files/results/fitted_entries.h"
#include "files/spectra/signal_file.h"
#include "files/start/read_start_file.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <iostream>

namespace tools {

namespace fs = std::filesystem;

static void copy_patterns(start_file &start, const std::string &beside, const std::string &work,
                          start_choice &chosen) {
    std::error_code error;
    pattern_names names("spectrum"); // as a fit has its data
    for (start_entry &entry : start.entries) {
        if (entry.type != pattern_entry) continue;
        const std::string found = find_pattern_file(beside, entry.pattern_file);
        entry.pattern_file = names.name_for(found);
        const auto known =
            std::find(chosen.pattern_files.begin(), chosen.pattern_files.end(), entry.pattern_file);
        if (known != chosen.pattern_files.end()) continue;
        fs::create_directory(work + "/patterns", error);
        const std::string target = work + "/patterns/" + entry.pattern_file;
        fs::copy_file(found, target, error);
        if (error) throw tool_error(bad_output, target + ": cannot be written");
        fs::permissions(target, fs::perms::owner_read | fs::perms::owner_write, error);
        chosen.pattern_files.push_back(entry.pattern_file);
        chosen.inputs.push_back(found);
    }
}

static void refuse_other_kind(const start_file &start, const std::string &source,
                              const ordered_json &scale, long long points) {
    if (start.points != points)
        throw tool_error(bad_input, source + ": n_pnts is " + std::to_string(start.points) +
                                        ", but the spectra have " + std::to_string(points) +
                                        " points");
    if (scale.contains("hz_per_point")) {
        const double hz = scale["hz_per_point"].get<double>();
        // the file is read in single precision
        if (std::fabs(start.hz_per_point / hz - 1.0) > 1e-5)
            throw tool_error(
                bad_input, source + ": Hz_p_p is " + std::to_string(start.hz_per_point) +
                               ", but the spectra have " + std::to_string(hz) + " hertz per point");
    }
    if (start.fit_mode == 2)
        throw tool_error(bad_input, source + ": fit_mo is 2, which needs a measured lineshape "
                                             "beside each spectrum; expected 1 or 3 in a batch");
}

// The spectrum with the largest sum of squares.
static complex_signal strongest(const std::string &file, long long points,
                                const std::vector<planned_spectrum> &spectra) {
    std::ifstream stream = open_input(file);
    std::string bytes(static_cast<std::size_t>(8 * points), '\0');
    complex_signal most;
    double largest = -1.0;
    for (const planned_spectrum &spectrum : spectra) {
        stream.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        if (!stream) break;
        if (spectrum.state != signal_state::fit) continue;
        const complex_signal signal = signal_of_bytes(bytes);
        double sum = 0.0;
        for (const std::complex<double> &point : signal) sum += std::norm(point);
        if (sum <= largest) continue;
        largest = sum;
        most = signal;
    }
    return most;
}

// Start file and names from a table of peaks.
static start_file start_of_table(const plan_options &options, long long points,
                                 const std::string &work,
                                 const std::vector<planned_spectrum> &spectra,
                                 start_choice &chosen) {
    const peak_table table = read_peak_table(options.peaks);
    chosen.derived = table.derived;
    for (const table_row &row : table.rows) // estimates of each spectrum find it by this name
        if (row.pattern_file.find('/') != row.pattern_file.npos)
            refuse_at(table, row.place,
                      row.name + ": pattern " + row.pattern_file +
                          " stands in another folder; put it beside the table for a batch");
    const std::string folder = fs::path(options.peaks).parent_path().string();
    start_maker maker(table, {folder.empty() ? "." : folder, "."}, *method_named(options.method));
    const spectrum_facts facts = facts_of_sidecar(metadata(work + "/sidecar.json"));
    const complex_signal signal = maker.estimates() || facts.guessed_sense
                                      ? strongest(work + "/spectra.f32", points, spectra)
                                      : complex_signal();
    const start_result made = maker.make(signal, facts);
    chosen.guesses = made.guesses;
    for (const std::string &guess : made.guesses)
        std::cerr << "varokel-batch: guessed " << guess << '\n';
    for (const std::string &warning : made.warnings)
        std::cerr << "varokel-batch: " << warning << '\n';
    for (const start_entry &entry : made.start.entries) chosen.names.push_back(entry.name);
    std::error_code error;
    fs::copy_file(options.peaks, work + "/peaks.txt", error);
    if (error) throw tool_error(bad_output, work + "/peaks.txt: cannot be written");
    return made.start;
}

static ordered_json windows_of(const start_file &start) {
    ordered_json list = ordered_json::array();
    for (std::size_t k = 0; k < start.entries.size(); ++k)
        for (std::size_t q = 0; q < quantities; ++q)
            if (const auto &window = start.entries[k].parameters[q].window)
                list.push_back({{"entry", k + 1},
                                {"parameter", q + 1},
                                {"from", window->first},
                                {"to", window->second}});
    return list;
}

start_choice choose_start(const plan_options &options, const ordered_json &scale, long long points,
                          const std::string &work, const std::vector<planned_spectrum> &spectra) {
    start_choice chosen;
    const bool with_table = !options.peaks.empty();
    if (options.values == "estimate" && !with_table)
        throw tool_error(wrong_usage, "--values estimate needs a table: --peaks TABLE");
    if (with_table && !options.names.empty())
        throw tool_error(wrong_usage, "--names: the table of --peaks has names already");
    const std::string &source = with_table ? options.peaks : options.start;
    start_file start = with_table ? start_of_table(options, points, work, spectra, chosen)
                                  : read_start_file(options.start);
    refuse_what_fails(start, source, *method_named(options.method));
    refuse_other_kind(start, source, scale, points);
    if (options.method != "classic")
        if (const std::string why = why_not_exact(start); !why.empty())
            throw tool_error(bad_input, source + ": " + why);
    chosen.inputs.push_back(source);
    chosen.windows = windows_of(start);
    copy_patterns(start, source, work, chosen);
    std::string names_file = options.names;
    std::error_code error;
    if (names_file.empty() && !with_table) {
        names_file = (fs::path(options.start).parent_path() / "names.txt").string();
        if (!fs::is_regular_file(names_file, error)) names_file.clear();
    }
    if (!names_file.empty()) {
        chosen.names = read_names(names_file);
        chosen.inputs.push_back(names_file);
        if (chosen.names.size() != start.entries.size())
            throw tool_error(bad_input, names_file + ": " + std::to_string(chosen.names.size()) +
                                            " names for " + std::to_string(start.entries.size()) +
                                            " entries; expected one a line");
    } else if (!with_table) {
        for (std::size_t k = 0; k < start.entries.size(); ++k) {
            const start_entry &entry = start.entries[k];
            std::string name = entry.name;
            if (name.empty() && entry.type == pattern_entry)
                name = fs::path(entry.pattern_file).stem().string();
            chosen.names.push_back(name.empty() ? "#" + std::to_string(k + 1) : name);
        }
    }
    std::string list;
    for (const std::string &name : chosen.names) {
        refuse_not_utf8(name, (names_file.empty() ? source : names_file) + ": name of an entry");
        if (!is_plain_text(name))
            throw tool_error(bad_input, (names_file.empty() ? source : names_file) +
                                            ": a name of an entry has control characters or is too "
                                            "long; expected a word");
        // a '#' would begin a remark
        list += (name[0] == '#' ? "entry" + name.substr(1) : name) + "\n";
    }
    write_files({{work + "/start.par", version_3_text(start, {})}, {work + "/names.txt", list}}, {},
                false);
    for (const std::string &text : chosen.derived)
        check_derived_area(chosen.names, source, text, source);
    for (const std::string &text : options.derive) check_derived_area(chosen.names, source, text);
    chosen.derived.insert(chosen.derived.end(), options.derive.begin(), options.derive.end());
    return chosen;
}

spectrum_starts::spectrum_starts(const batch_plan &plan)
    : maker_(read_peak_table(plan.file("peaks.txt")), {plan.file("patterns")}, plan.method),
      facts_(facts_of_sidecar(metadata(plan.file("sidecar.json")))) {}

start_file spectrum_starts::make(const std::string &bytes) {
    return maker_.make(signal_of_bytes(bytes), facts_).start;
}

// Of free areas, whether at least half are known better than the report's red mark. Without error
// bounds nothing speaks against them.
static bool knows_its_areas(const start_file &start, const fit_record &record) {
    std::size_t free = 0, known = 0;
    bool has_errors = false;
    for (const double error : record.errors) has_errors = has_errors || error != 0.0;
    for (std::size_t k = 0; k < start.entries.size(); ++k) {
        if (start.entries[k].parameters[area_of].link != 0) continue;
        const double area = std::fabs(record.values[5 * k]);
        const double error_1sd = 0.5 * record.errors[5 * k];
        ++free;
        known += 100.0 * error_1sd <= red_percent * area;
    }
    return !has_errors || 2 * known >= free;
}

bool is_good_neighbour(const start_file &start, const fit_record &record) {
    if (record.state != fit_state::fitted) return false;
    const double quality = record.figures[0];
    if (!(quality > 0.0 && quality <= 2.0)) return false;
    for (const double value : record.values)
        if (!std::isfinite(value)) return false;
    return knows_its_areas(start, record);
}

bool is_better(const fit_record &one, const fit_record &other) {
    if (one.state != fit_state::fitted || other.state != fit_state::fitted)
        return one.state == fit_state::fitted;
    return one.figures[0] < other.figures[0] || std::isnan(other.figures[0]);
}

start_file start_from(const start_file &start, const fit_record &neighbour) {
    start_file own = start;
    for (std::size_t k = 0; k < own.entries.size(); ++k)
        for (int q = 0; q < quantities; ++q) {
            start_parameter &parameter = own.entries[k].parameters[static_cast<std::size_t>(q)];
            const double value = neighbour.values[5 * k + static_cast<std::size_t>(q)];
            if (parameter.link == static_cast<int>(k) + 1) continue;
            if (q == area_of && value == 0.0) continue;
            parameter.value = value;
        }
    return own;
}

} // namespace tools
