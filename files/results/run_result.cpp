// SPDX-License-Identifier: BSD-3-Clause
// run_result.cpp -- everything that the files of one fitted spectrum say
#include "files/results/run_result.h"

#include "files/base/not_known.h"
#include "files/base/sha256.h"
#include "files/base/tool_error.h"
#include "files/pictures/spectrum_view.h"
#include "files/spectra/search_limits.h"
#include "files/spectra/signal_file.h"
#include "files/results/exl_and_mat.h"
#include "files/results/fitted_entries.h"
#include "files/results/judge_run.h"
#include "files/results/number_text.h"
#include "files/results/run_control.h"
#include "files/results/run_files.h"
#include "files/results/fit_log.h"
#include "files/results/fit_list.h"

#include "engine/noise_window.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <numbers>
#include <set>

namespace tools {

namespace fs = std::filesystem;

static void read_signals(run_result &run, std::size_t components) {
    const std::string base = in_folder(run.folder, run.name);
    const std::string names[] = {signal_of_run(base, ".org"), signal_of_run(base, ".fit"),
                                 signal_of_run(base, ".res")};
    complex_signal *const signals[] = {&run.data, &run.fit, &run.residual};
    const long long n = points_of_spectrum(names[0]);
    if (n < 2) refuse_input(names[0], "one point; expected a spectrum");
    for (std::size_t i = 0; i < 3; ++i) {
        if (count_points(names[i]) != n)
            refuse_input(names[i], std::to_string(count_points(names[i])) + " points, but " +
                                       names[0] + " has " + std::to_string(n) +
                                       "; are they of one run?");
        *signals[i] = read_points(names[i], 0, n);
        run.files_read.push_back(names[i]);
    }
    if (!is_file(base + ".nln0") && !is_file(base + ".nln0.sdf")) {
        run.warnings.push_back("no " + run.name + ".nln0: the components are not shown");
        return;
    }
    const std::string file = signal_of_run(base, ".nln0");
    const long long points = count_points(file);
    const auto entries = static_cast<long long>(components);
    if (points != n * entries)
        refuse_input(file, std::to_string(points) + " points; expected " + std::to_string(entries) +
                               " components of " + std::to_string(n));
    for (long long k = 0; k < entries; ++k) run.components.push_back(read_points(file, k * n, n));
    run.files_read.push_back(file);
}

std::vector<std::string> notes_of_sidecar(const metadata &sidecar) {
    std::vector<std::string> notes;
    for (const char *const item : notes_of_import)
        if (const auto text = sidecar.inside(item).text("text")) notes.push_back(*text);
    return notes;
}

static void read_sidecar(run_result &run) {
    const std::string file = in_folder(run.folder, run.name + ".json");
    run.sidecar = ordered_json::object();
    if (!is_file(file)) return;
    const metadata sidecar(file);
    run.axis = axis_of_sidecar(sidecar);
    for (const char *const item : {"dwell_time_s", "begin_time_s", "echo_time_s"})
        static_cast<void>(sidecar.number(item)); // a word would be taken for an absent item later
    run.sidecar = sidecar.items();
    run.files_read.push_back(file);
    run.notes = notes_of_sidecar(sidecar);
}

// What the pre-alignment of the first step did.
static void note_alignment(run_result &run) {
    double points = run.start.read ? run.start.aligned_points : not_known;
    if (run.optimum && run.optimum->method == "exact") {
        points = 0.0; // that of the start which led to the optimum
        for (const optimum_record::begin &start : run.optimum->starts)
            if (start.same) points = start.shift_hz / run.control.hz_per_point;
    }
    if (!std::isfinite(points)) return;
    if (points == 0.0) {
        run.notes.push_back("aligned before the fit: no shift common to all entries was found");
        return;
    }
    const double hz = points * (run.start.read ? run.start.hz_per_point : run.control.hz_per_point);
    std::string text =
        "before the fit all entries were aligned with the spectrum by " + short_number(points) +
        (std::fabs(points) == 1.0 ? " point, " : " points, ") + short_number(hz) + " Hz";
    if (run.axis.mhz) {
        const double sense = run.axis.ppm_rises_with_points ? 1.0 : -1.0;
        text += ", " + short_number(sense * hz / *run.axis.mhz) + " ppm";
    }
    run.notes.push_back(text);
}

// Whether the fit diverged; says which entries did, by their values or else by their curves.
static bool ran_away(run_result &run, const std::vector<spreadsheet_row> &rows,
                     const std::vector<parameter_row> &values, const std::string &names_file) {
    const std::string base = in_folder(run.folder, run.name);
    const auto entries = static_cast<long long>(rows.size());
    const long long n = points_of_spectrum(signal_of_run(base, ".fit"));
    bool lost = !points_are_finite(signal_of_run(base, ".fit"), 0, n);
    for (std::size_t k = 0; k < rows.size(); ++k)
        lost = lost || !all_finite(rows[k].type, values[k]);
    if (!lost) return false;
    const bool with_curves = (is_file(base + ".nln0") || is_file(base + ".nln0.sdf")) &&
                             count_points(signal_of_run(base, ".nln0")) == n * entries;
    for (std::size_t k = 0; k < rows.size(); ++k) {
        fitted_entry entry;
        entry.number = static_cast<int>(k) + 1;
        entry.type = rows[k].type;
        run.entries.push_back(entry);
    }
    name_entries(run, names_file);
    std::string names;
    for (long long k = 0; k < entries; ++k) {
        const auto at = static_cast<std::size_t>(k);
        if (!all_finite(rows[at].type, values[at]) ||
            (with_curves && !points_are_finite(signal_of_run(base, ".nln0"), k * n, n)))
            names += (names.empty() ? "" : ", ") + run.entries[at].name;
    }
    run.entries.clear();
    run.why_not = "the fit ran away, its results are no finite numbers: " +
                  (names.empty() ? "the sum of all entries" : names) +
                  ". Better start values, fixed or tied widths, or fewer entries may hold it";
    return true;
}

static double highest(const complex_signal &x, long long first, long long last) {
    double most = 0.0;
    for (long long i = first; i <= last; ++i)
        most = std::max(most, std::abs(x[static_cast<std::size_t>(i)]));
    return most;
}

// Signal to noise, and the phase that turns most of the model into absorption: the mean of the
// entries' phases, weighted by the height of their components.
static void measure_signals(run_result &run) {
    const auto n = static_cast<long long>(run.data.size());
    run.snr = 0.0;
    std::vector<std::pair<long long, long long>> intervals = run.intervals();
    for (const auto &[first, last] : intervals)
        run.snr = std::max(run.snr, highest(run.fit, first, last) / run.noise_re);
    std::complex<double> sum = 0.0;
    for (std::size_t k = 0; k < run.entries.size(); ++k) {
        fitted_entry &entry = run.entries[k];
        double height = std::fabs(entry.area.value);
        entry.snr = not_known;
        if (!run.components.empty()) {
            height = highest(run.components[k], 0, n - 1);
            entry.snr = height / run.noise_re;
        }
        if (std::isfinite(height) && std::isfinite(entry.phase.value))
            sum += std::polar(height, entry.phase.value * std::numbers::pi / 180.0);
    }
    run.display_phase = sum == 0.0 ? 0.0 : std::arg(sum) * 180.0 / std::numbers::pi;
    run.display_phi_1 = run.control.read ? run.control.phi_1 : 0.0;
}

std::vector<std::pair<long long, long long>> run_result::intervals() const {
    return fitted_intervals(control.steps, points());
}

std::pair<long long, long long> run_result::view() const {
    const long long n = points();
    long long first = n - 1, last = 0;
    for (const auto &[a, b] : intervals()) {
        first = std::min(first, a);
        last = std::max(last, b);
    }
    const long long margin = std::max(1LL, (last - first) / 20);
    return {std::max(0LL, first - margin), std::min(n - 1, last + margin)};
}

// Values, errors and curves of the optimum in place of those of the search, if there was one.
static void take_optimum(run_result &run) {
    run.optimum = read_optimum(in_folder(run.folder, "optimum.json"));
    run.files_read.push_back(in_folder(run.folder, "optimum.json"));
    const std::string file = in_folder(run.folder, run.name + ".bin");
    if (run.data.empty()) run.data = read_points(file, 0, points_of_spectrum(file));
    rebuilt_from from;
    from.data = run.data;
    from.reference = fs::absolute(file + ".ref").string();
    from.noise_sd = run.noise_re = run.optimum->noise_sd;
    from.by_strategy = from.curves = true;
    from.values = run.optimum->values;
    from.lineshape = run.optimum->lineshape;
    from.held = run.optimum->held;
    run.control = rebuild_model(run.folder, "result.par", from);
    run.files_read.push_back(in_folder(run.folder, "result.par"));
    const std::size_t n = run.control.entries.size();
    if (!run.control.read || run.control.fit.size() != run.data.size() ||
        run.optimum->values.size() != n)
        refuse_input(in_folder(run.folder, "result.par"),
                     (run.control.why.empty()
                          ? "not of the same fit as optimum.json and " + run.name + ".bin"
                          : run.control.why));
    run.fitted = true;
    run.why_not.clear(); // of a search that ran away
    run.fit = run.control.fit;
    run.components = run.control.components;
    run.residual.resize(run.data.size());
    for (std::size_t i = 0; i < run.data.size(); ++i) run.residual[i] = run.data[i] - run.fit[i];
    if (!run.axis.hz_per_point) run.axis.hz_per_point = run.control.hz_per_point;
    if (run.control.noise_stop > run.control.noise_first)
        run.noise_im =
            engine::noise_of_stretch(run.data, run.control.noise_first, run.control.noise_stop)
                .sd_im;
    run.quality = std::sqrt(run.control.chi_in_intervals /
                            (2.0 * static_cast<double>(run.control.points_in_intervals))) /
                  run.noise_re;
    run.chi_after = run.control.chi_in_intervals;
    run.iterations = run.optimum->linearizations;
    std::vector<linked_entry> rows(n);
    std::vector<parameter_row> values(n), errors = run.control.parameter_errors;
    errors.resize(n);
    run.free_parameters = 0;
    for (std::size_t k = 0; k < n; ++k) {
        const start_entry &entry = run.control.entries[k];
        rows[k].type = entry.type;
        for (std::size_t j = 0; j < 5; ++j) {
            rows[k].link[j] = entry.parameters[j].link;
            values[k][j] =
                run.optimum->values[k][j] /
                points_of_unit(static_cast<int>(j), entry.type, run.control.hz_per_point);
            run.free_parameters += rows[k].link[j] == 0 ? 1 : 0;
        }
    }
    run.has_errors = has_any_error(errors);
    run.entries = shown_entries(rows, values, errors, run.axis);
}

// The optimum is of other files than those that are there now; what the search left is not.
static void refuse_optimum(run_result &run, const std::vector<std::string> &changed,
                           bool searched) {
    static constexpr std::size_t most_named = 3;
    std::string names;
    for (std::size_t i = 0; i < std::min(changed.size(), most_named); ++i)
        names += (i == 0 ? "" : ", ") + changed[i];
    if (changed.size() > most_named)
        names += " and " + std::to_string(changed.size() - most_named) + " more";
    if (searched)
        run.warnings.push_back("changed since the exact fit: " + names +
                               ". Its optimum (optimum.json) is not shown, but what the search "
                               "left; fit again for an optimum of these files");
    else
        run.why_not = "changed since the exact fit: " + names +
                      ". Its optimum (optimum.json) is not of these files; fit again";
}

// What the fitter's own files say. False when the search ran away; why_not says which entry.
static bool take_search(run_result &run, const result_options &options) {
    const std::string base = in_folder(run.folder, run.name);
    run.files_read.push_back(base + ".exl");
    const std::vector<spreadsheet_row> rows = read_spreadsheet(base + ".exl", run);
    std::vector<parameter_row> values, errors;
    for (const spreadsheet_row &row : rows) { // fewer digits than .mat and .err have
        values.push_back(row.value);
        errors.push_back(row.error);
    }
    if (is_file(base + ".mat") && is_file(base + ".err")) {
        values = matrix_of(base + ".mat", rows.size());
        errors = matrix_of(base + ".err", rows.size());
        run.files_read.push_back(base + ".mat");
        run.files_read.push_back(base + ".err");
    }
    if (ran_away(run, rows, values, options.names_file)) return false;
    run.fitted = true;
    read_signals(run, rows.size());
    run.has_errors = has_any_error(errors);
    read_control(run, values);
    run.entries = shown_entries({rows.begin(), rows.end()}, values, errors, run.axis);
    return true;
}

// Program, command, source and, when asked for, the digests of the files.
static void note_provenance(run_result &run, bool hashes) {
    const auto note = [&](const std::string &what, const std::string &value) {
        if (!value.empty()) run.provenance.push_back({what, value});
    };
    note("program", run.program_version);
    note("command", run.command);
    const ordered_json source = run.sidecar.value("source", ordered_json::object());
    if (source.is_object()) {
        for (const char *const item : {"file", "format", "sha256", "index"})
            if (source.contains(item) && !source[item].is_null())
                note(std::string("source ") + item, source[item].is_string()
                                                        ? source[item].get<std::string>()
                                                        : source[item].dump());
    }
    if (!hashes) return;
    std::vector<std::string> hashed = run.files_read;
    // data that were not read, because the search left a copy: of a size that they can have
    static constexpr std::uintmax_t largest = std::uintmax_t{8} * search_limits::points;
    std::error_code error;
    for (const char *const ending : {".bin", ".sdf", ".bin.ref"}) {
        const std::string file = in_folder(run.folder, run.name + ending);
        if (!is_file(file)) continue;
        if (fs::file_size(file, error) <= largest)
            hashed.insert(hashed.begin(), file);
        else
            note("sha256 of " + run.name + ending, "not taken, larger than any spectrum");
    }
    std::set<std::string> seen;
    for (const std::string &file : hashed)
        if (seen.insert(file).second)
            note("sha256 of " + fs::path(file).filename().string(), sha256_of_file(file));
}

run_result read_run(const std::string &folder, const std::string &name,
                    const result_options &options) {
    run_result run;
    run.folder = folder;
    run.name = name;
    read_sidecar(run);
    read_log(run, options.log_file);
    bool exact = is_file(in_folder(folder, "optimum.json"));
    bool searched = is_file(in_folder(folder, name + ".exl"));
    if (exact) {
        fit_lists own;
        const optimum_files beside =
            files_beside_optimum(folder, name, options.lists != nullptr ? *options.lists : own);
        exact = beside.changed.empty();
        if (!exact)
            refuse_optimum(run, beside.changed, searched);
        else if (beside.other_search)
            run.warnings.push_back(name + ".exl is not of the fit that left optimum.json, and is "
                                          "not shown");
        searched = searched && !(exact && beside.other_search);
    }
    if (!exact && !searched && run.why_not.empty()) run.why_not = reason_of_log(run);
    if ((!exact && !searched) || (searched && !take_search(run, options) && !exact)) {
        judge_run(run);
        note_provenance(run, options.hashes);
        return run;
    }
    if (exact) take_optimum(run);
    const double wider = run.axis.error_factor() * run.axis.error_factor();
    for (double &covariance : run.control.covariance) covariance *= wider;
    place_entries(run.entries, run.axis, static_cast<long long>(run.data.size()));
    name_entries(run, options.names_file);
    const std::string start = start_file_of(run, options.start_file);
    read_start_remarks(run, start);
    if (options.quality_before) read_start(run, start);
    note_alignment(run);
    choose_signs(run);
    measure_signals(run);
    judge_run(run);
    note_provenance(run, options.hashes);
    return run;
}

} // namespace tools
