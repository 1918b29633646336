// SPDX-License-Identifier: BSD-3-Clause
// run_result.cpp -- reads .exl, .mat, .err, signals, log, control files and sidecar of a spectrum
#include "files/results/run_result.h"

#include "files/base/line_text.h"
#include "files/base/not_known.h"
#include "files/base/sha256.h"
#include "files/base/tool_error.h"
#include "files/spectra/signal_file.h"
#include "files/pictures/spectrum_view.h"
#include "files/results/equivalent_signs.h"
#include "files/results/judge_run.h"
#include "files/results/number_text.h"
#include "files/start/start_file.h"

#include "engine/noise_window.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <limits>
#include <set>
#include <sstream>
#include <string_view>

namespace tools {

namespace fs = std::filesystem;

double fitted_parameter::percent_1sd() const {
    if (!std::isfinite(error_2sd) || !std::isfinite(value) || error_2sd < 0.0) return not_known;
    if (value == 0.0) return error_2sd == 0.0 ? not_known : 999.0;
    return std::min(999.0, 100.0 * error_1sd() / std::fabs(value));
}

static bool is_file(const std::string &file) {
    std::error_code error;
    return fs::is_regular_file(file, error);
}

static std::string in_folder(const std::string &folder, const std::string &file) {
    return (fs::path(folder) / file).string();
}

static std::vector<std::string> split(const std::string &line, char at) {
    std::vector<std::string> parts = {""};
    for (const char c : line) {
        if (c == at)
            parts.emplace_back();
        else
            parts.back() += c;
    }
    return parts;
}

static std::vector<std::string> lines_of(const std::string &file) {
    std::ifstream stream(file, std::ios::binary);
    if (!stream) throw tool_error(bad_input, file + ": cannot be opened; is it yours to read?");
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
}

// A number of a report: nan and inf stand there when a fit went wrong.
static double number_of(const std::string &file, std::size_t line, const std::string &word) {
    const std::string text = trimmed(word);
    char *end = nullptr;
    const double value = std::strtod(text.c_str(), &end);
    if (text.empty() || end != text.c_str() + text.size())
        throw tool_error(bad_input, file + ", line " + std::to_string(line + 1) + ": \"" + text +
                                        "\" where a number was expected; is it the result file of "
                                        "a fit?");
    return value;
}

static int count_of(const std::string &file, std::size_t line, const std::string &word) {
    const double value = number_of(file, line, word);
    if (!(std::fabs(value) < 1e9) || value != std::floor(value))
        throw tool_error(bad_input, file + ", line " + std::to_string(line + 1) + ": \"" +
                                        trimmed(word) + "\" where a whole number was expected");
    return static_cast<int>(value);
}

static int type_of(const std::string &file, std::size_t line, const std::string &word) {
    const std::string text = trimmed(word);
    if (text == "Gaussian") return gauss_entry;
    if (text == "Lorentzian") return lorentz_entry;
    if (text == "Voigt") return voigt_entry;
    if (text == "Pattern") return pattern_entry;
    throw tool_error(bad_input, file + ", line " + std::to_string(line + 1) + ": type \"" + text +
                                    "\"; expected Gaussian, Lorentzian, Voigt or Pattern");
}

typedef std::array<double, 5> parameter_row;

static std::vector<parameter_row> matrix_of(const std::string &file, std::size_t rows) {
    std::vector<parameter_row> matrix;
    const std::vector<std::string> lines = lines_of(file);
    for (std::size_t l = 0; l < lines.size(); ++l) {
        if (trimmed(lines[l]).empty()) continue;
        const std::vector<std::string> words = split(trimmed(lines[l]), '\t');
        if (words.size() != 5)
            throw tool_error(bad_input, file + ", line " + std::to_string(l + 1) + ": " +
                                            std::to_string(words.size()) +
                                            " columns; expected 5 numbers with tabs between");
        parameter_row row{};
        for (std::size_t j = 0; j < 5; ++j) row[j] = number_of(file, l, words[j]);
        matrix.push_back(row);
    }
    if (matrix.size() != rows)
        throw tool_error(bad_input, file + ": " + std::to_string(matrix.size()) +
                                        " rows, but the .exl has " + std::to_string(rows) +
                                        " entries; are they of one run?");
    return matrix;
}

struct spreadsheet_row {
    int type;
    std::array<int, 5> link;
    parameter_row value, error;
};

static std::vector<spreadsheet_row> read_spreadsheet(const std::string &file, run_result &run) {
    const std::vector<std::string> lines = lines_of(file);
    if (lines.size() < 4)
        throw tool_error(bad_input, file + ": " + std::to_string(lines.size()) +
                                        " lines; expected the spreadsheet of a fit");
    for (const std::string &word : split(lines[0], '\t'))
        if (!trimmed(word).empty()) run.command += (run.command.empty() ? "" : " ") + trimmed(word);
    run.mode = trimmed(lines[2]);
    const std::vector<std::string> summary = split(trimmed(lines[3]), '\t');
    if (summary.size() != 10)
        throw tool_error(bad_input, file + ", line 4: " + std::to_string(summary.size()) +
                                        " columns; expected the 10 figures of a fit");
    double *const figures[] = {&run.quality,    &run.noise_re,  &run.noise_im,
                               &run.chi_before, &run.chi_after, &run.chi_unweighted};
    for (std::size_t i = 0; i < 6; ++i) *figures[i] = number_of(file, 3, summary[i]);
    int *const counts[] = {&run.iterations, &run.weighting, &run.free_parameters};
    for (std::size_t i = 0; i < 3; ++i) *counts[i] = count_of(file, 3, summary[6 + i]);
    std::vector<spreadsheet_row> rows;
    for (std::size_t l = 4; l < lines.size(); ++l) {
        if (trimmed(lines[l]).empty()) continue;
        const std::vector<std::string> words = split(lines[l], '\t');
        if (words.size() < 19)
            throw tool_error(bad_input, file + ", line " + std::to_string(l + 1) + ": " +
                                            std::to_string(words.size()) +
                                            " columns; expected 19. Is the file cut?");
        spreadsheet_row row{};
        row.type = type_of(file, l, words[1]);
        for (std::size_t j = 0; j < 5; ++j) {
            row.value[j] = number_of(file, l, words[2 + 3 * j]);
            row.error[j] = number_of(file, l, words[3 + 3 * j]);
            row.link[j] = count_of(file, l, words[4 + 3 * j]);
        }
        rows.push_back(row);
    }
    if (rows.empty()) throw tool_error(bad_input, file + ": no entries; expected a row for each");
    return rows;
}

static void read_signals(run_result &run) {
    const std::string base = in_folder(run.folder, run.name);
    const std::string names[] = {signal_of_run(base, ".org"), signal_of_run(base, ".fit"),
                                 signal_of_run(base, ".res")};
    complex_signal *const signals[] = {&run.data, &run.fit, &run.residual};
    const long long n = count_points(names[0]);
    if (n < 2) throw tool_error(bad_input, names[0] + ": one point; expected a spectrum");
    for (std::size_t i = 0; i < 3; ++i) {
        if (count_points(names[i]) != n)
            throw tool_error(bad_input, names[i] + ": " + std::to_string(count_points(names[i])) +
                                            " points, but " + names[0] + " has " +
                                            std::to_string(n) + "; are they of one run?");
        *signals[i] = read_points(names[i], 0, n);
        run.files_read.push_back(names[i]);
    }
    if (!is_file(base + ".nln0") && !is_file(base + ".nln0.sdf")) {
        run.warnings.push_back("no " + run.name + ".nln0: the components are not shown");
        return;
    }
    const std::string file = signal_of_run(base, ".nln0");
    const long long points = count_points(file);
    const auto entries = static_cast<long long>(run.entries.size());
    if (points != n * entries)
        throw tool_error(bad_input, file + ": " + std::to_string(points) + " points; expected " +
                                        std::to_string(entries) + " components of " +
                                        std::to_string(n));
    for (long long k = 0; k < entries; ++k) run.components.push_back(read_points(file, k * n, n));
    run.files_read.push_back(file);
}

static void read_sidecar(run_result &run) {
    const std::string file = in_folder(run.folder, run.name + ".json");
    run.sidecar = nlohmann::json::object();
    if (!is_file(file)) return;
    run.axis = axis_of_sidecar(metadata(file));
    std::ifstream stream(file, std::ios::binary);
    run.sidecar = nlohmann::json::parse(stream, nullptr, false);
    run.files_read.push_back(file);
}

// Steps, version and remarks of what the program printed.
static void read_log(run_result &run, const std::string &asked) {
    for (const std::string &name :
         {asked, in_folder(run.folder, run.name + ".log"), in_folder(run.folder, "run.log")})
        if (run.log_file.empty() && !name.empty() && is_file(name)) run.log_file = name;
    if (run.log_file.empty()) {
        if (!asked.empty())
            throw tool_error(bad_input, asked + ": no such file; expected what the fit printed");
        return;
    }
    run.files_read.push_back(run.log_file);
    std::string text;
    for (const std::string &line : lines_of(run.log_file)) text += line + "\n";
    fit_log log = read_fit_log(text);
    run.program_version = log.version;
    run.log_steps = std::move(log.steps);
    run.singular = log.singular;
    run.log_remarks = std::move(log.remarks);
}

// Why a run has no results: what the checks of its start file refused, else what its log ends with.
static std::string reason_of_log(const run_result &run) {
    if (run.log_file.empty()) return "there are no results (no .exl), and no log says why";
    const std::vector<std::string> lines = lines_of(run.log_file);
    const auto join = [](std::string &list, const std::string &text, const char *between) {
        if (!text.empty()) list += (list.empty() ? "" : between) + text;
    };
    std::string refused;
    for (std::size_t l = 0; l < lines.size(); ++l) {
        if (!says(lines[l], "fatal error") && !says(lines[l], "implementation restriction"))
            continue;
        std::string text;
        for (std::size_t k = l + 1; k < lines.size() && k <= l + 3; ++k) {
            if (says(lines[k], "fit_check_message") || says(lines[k], "testing input")) break;
            join(text, trimmed(lines[k]), " ");
        }
        join(refused, text, "; ");
    }
    if (!refused.empty()) return "the start file was refused: " + refused;
    std::string reason;
    int taken = 0;
    for (auto line = lines.rbegin(); line != lines.rend() && taken < 6; ++line) {
        std::string text;
        for (const char c : *line)
            if (c != '*') text += c;
        text = trimmed(text);
        if (text.empty()) continue;
        if (!reason.empty()) text += " / ";
        reason.insert(0, text);
        ++taken;
    }
    return reason.empty() ? "the log is empty" : reason;
}

static void name_entries(run_result &run, const std::string &asked) {
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

static bool all_finite(int type, const parameter_row &row) {
    bool finite = true;
    for (std::size_t j = 0; j < row.size(); ++j)
        finite = finite && (!is_used(static_cast<int>(j), type) || std::isfinite(row[j]));
    return finite;
}

static void fill_entries(run_result &run, const std::vector<spreadsheet_row> &rows,
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
static void choose_signs(run_result &run) {
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
    std::string text = "before the fit all entries were aligned with the spectrum by " +
                       short_number(points) + " points, " + short_number(hz) + " Hz";
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
    const long long n = count_points(signal_of_run(base, ".fit"));
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

// Places on the axes, from the points of the spectrum and what the sidecar knows.
static void place_entries(run_result &run) {
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
            sum += std::polar(height, entry.phase.value * M_PI / 180.0);
    }
    run.display_phase = sum == 0.0 ? 0.0 : std::arg(sum) * 180.0 / M_PI;
    run.display_phi_1 = run.control.read ? run.control.phi_1 : 0.0;
}

// Whether the values of a control file are those of the results; single precision is what it is
// read with.
static bool same_values(const rebuilt_model &model, const std::vector<parameter_row> &values) {
    if (model.entries.size() != values.size()) return false;
    for (std::size_t k = 0; k < values.size(); ++k) {
        for (std::size_t j = 0; j < 5; ++j) {
            const double a = model.entries[k].value[j], b = values[k][j];
            const double difference = j == 2 ? std::fabs(a) - b : a - b; // its sign is free
            if (!(std::fabs(difference) <= 1e-6 * std::max(std::fabs(a), std::fabs(b))))
                return false;
        }
    }
    return true;
}

// The control file of the result: it must hold the values of this spectrum, since runs that share
// a working folder overwrite each other's.
static void read_control(run_result &run, const std::vector<parameter_row> &values) {
    const std::string file = in_folder(run.folder, "compact.par");
    if (!is_file(file)) {
        run.warnings.push_back(
            "no compact.par: intervals, steps and first-order phase are not known");
        return;
    }
    const std::string reference =
        fs::absolute(in_folder(run.folder, run.name + ".bin.ref")).string();
    run.control = rebuild_model(run.folder, "compact.par", {run.data, reference, run.noise_re});
    if (!run.control.read) {
        run.warnings.push_back("compact.par cannot be read (" + run.control.why +
                               "): intervals, steps and first-order phase are not known");
        return;
    }
    run.files_read.push_back(file);
    if (run.control.points != static_cast<int>(run.data.size()) ||
        !same_values(run.control, values)) {
        run.control = {};
        run.warnings.push_back("compact.par holds other values than the results: another fit in "
                               "the same folder replaced it. Intervals, steps and first-order "
                               "phase are not known");
        return;
    }
    if (!run.axis.hz_per_point) run.axis.hz_per_point = run.control.hz_per_point;
    if (std::fabs(*run.axis.hz_per_point / run.control.hz_per_point - 1.0) > 1e-5)
        run.warnings.push_back("the sidecar has other hertz per point than the control file; "
                               "shifts in ppm may be wrong");
    if (!run.control.has_covariance) {
        if (run.has_errors && !run.control.why.empty())
            run.warnings.push_back("no covariance: " + run.control.why);
        return;
    }
    run.covariance_agrees = run.has_errors;
}

// The start file of a run; empty when it is not there any more.
static std::string start_file_of(const run_result &run, const std::string &asked) {
    std::string file = asked;
    if (file.empty()) { // the last word of the command, as the run folder has it
        const std::size_t blank = run.command.rfind(' ');
        file = in_folder(run.folder,
                         blank == std::string::npos ? "start.par" : run.command.substr(blank + 1));
    }
    if (!is_file(file)) {
        if (!asked.empty())
            throw tool_error(bad_input, asked + ": no such file; expected the start file");
        return "";
    }
    std::error_code error; // replaced by the result
    return fs::equivalent(file, in_folder(run.folder, "compact.par"), error) ? "" : file;
}

// What its maker guessed and warned of stands behind the end of a start file.
static void read_start_remarks(run_result &run, const std::string &file) {
    if (file.empty()) return;
    static constexpr std::string_view guess = "# guessed: ", warning = "# warning: ";
    for (const std::string &line : lines_of(file)) {
        if (line.starts_with(guess))
            run.start_guesses.push_back("guessed at the start: " +
                                        trimmed(line.substr(guess.size())));
        if (line.starts_with(warning))
            run.start_warnings.push_back(trimmed(line.substr(warning.size())));
    }
}

// The start values, for the quality before the fit in the points of the fit.
static void read_start(run_result &run, const std::string &file) {
    if (file.empty()) return;
    run.files_read.push_back(file);
    const std::string reference =
        fs::absolute(in_folder(run.folder, run.name + ".bin.ref")).string();
    run.start = rebuild_model(run.folder, fs::absolute(file).string(), {run.data, reference, 0.0});
    if (!run.start.read || run.start.entries.size() != run.entries.size() ||
        !(run.start.chi_in_intervals >= 0.0) || run.start.steps.empty())
        return;
    long long width = 0; // as the fit quality counts points: last minus first, of the first step
    for (const auto &[first, last] : run.start.steps.front().intervals) width += last - first;
    if (width > 0 && run.noise_re > 0.0)
        run.quality_before =
            std::sqrt(run.start.chi_in_intervals / (2.0 * static_cast<double>(width))) /
            run.noise_re;
}

static void note_provenance(run_result &run, bool hashes) {
    const auto note = [&](const std::string &what, const std::string &value) {
        if (!value.empty()) run.provenance.push_back({what, value});
    };
    note("program", run.program_version);
    note("command", run.command);
    const nlohmann::json source = run.sidecar.value("source", nlohmann::json::object());
    if (source.is_object()) {
        for (const char *const item : {"file", "format", "sha256", "index"})
            if (source.contains(item) && !source[item].is_null())
                note(std::string("source ") + item, source[item].is_string()
                                                        ? source[item].get<std::string>()
                                                        : source[item].dump());
    }
    if (!hashes) return;
    std::vector<std::string> hashed = run.files_read;
    for (const char *const ending : {".bin", ".sdf", ".bin.ref"})
        if (is_file(in_folder(run.folder, run.name + ending)))
            hashed.insert(hashed.begin(), in_folder(run.folder, run.name + ending));
    std::set<std::string> seen;
    for (const std::string &file : hashed)
        if (seen.insert(file).second)
            note("sha256 of " + fs::path(file).filename().string(), sha256_of_file(file));
}

std::vector<std::pair<long long, long long>> run_result::intervals() const {
    const auto n = static_cast<long long>(data.size());
    std::vector<std::pair<long long, long long>> found;
    for (auto step = control.steps.rbegin(); step != control.steps.rend(); ++step) {
        if (!step->fits_something()) continue;
        for (const auto &[first, last] : step->intervals)
            if (first < n && last >= 0 && first <= last)
                found.emplace_back(std::max(0LL, first), std::min(n - 1, last));
        break;
    }
    if (found.empty() && n > 0) found.emplace_back(0, n - 1);
    return found;
}

std::pair<long long, long long> run_result::view() const {
    const auto n = static_cast<long long>(data.size());
    long long first = n - 1, last = 0;
    for (const auto &[a, b] : intervals()) {
        first = std::min(first, a);
        last = std::max(last, b);
    }
    const long long margin = std::max(1LL, (last - first) / 20);
    return {std::max(0LL, first - margin), std::min(n - 1, last + margin)};
}

bool in_natural_order(const std::string &a, const std::string &b) {
    const auto is_digit = [](char c) { return c >= '0' && c <= '9'; };
    std::size_t i = 0, j = 0;
    while (i < a.size() && j < b.size()) {
        if (!is_digit(a[i]) || !is_digit(b[j])) {
            if (a[i] != b[j]) return a[i] < b[j];
            ++i;
            ++j;
            continue;
        }
        const auto number_at = [&](const std::string &text, std::size_t &at) {
            const std::size_t begin = at;
            while (at < text.size() && is_digit(text[at])) ++at;
            const std::size_t first = std::min(text.find_first_not_of('0', begin), at);
            return text.substr(first, at - first);
        };
        const std::string m = number_at(a, i), n = number_at(b, j);
        if (m.size() != n.size()) return m.size() < n.size();
        if (m != n) return m < n;
    }
    if (a.size() - i != b.size() - j) return a.size() - i < b.size() - j;
    return a < b; // 01 and 1
}

std::vector<std::string> spectra_of_folder(const std::string &folder) {
    std::vector<std::string> with_results, signals;
    std::error_code error;
    for (const fs::directory_entry &file : fs::directory_iterator(folder, error)) {
        if (!file.is_regular_file(error)) continue;
        if (file.path().extension() == ".exl") with_results.push_back(file.path().stem().string());
        // a signal to be fitted has a sidecar or is one; patterns have neither
        if (file.path().extension() == ".bin" &&
            is_file((file.path().parent_path() / file.path().stem()).string() + ".json"))
            signals.push_back(file.path().stem().string());
    }
    if (error)
        throw tool_error(bad_input, folder + ": cannot be read (" + error.message() +
                                        "); expected the folder of a fit");
    std::vector<std::string> &found = with_results;
    for (const std::string &name : signals)
        if (std::find(found.begin(), found.end(), name) == found.end()) found.push_back(name);
    std::sort(found.begin(), found.end(), in_natural_order);
    return found;
}

// Values, errors and curves of the optimum in place of those of the search, if there was one.
static void take_optimum(run_result &run) {
    run.optimum = read_optimum(in_folder(run.folder, "optimum.json"));
    run.files_read.push_back(in_folder(run.folder, "optimum.json"));
    const std::string file = in_folder(run.folder, run.name + ".bin");
    if (run.data.empty()) run.data = read_points(file, 0, count_points(file));
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
        throw tool_error(bad_input,
                         in_folder(run.folder, "result.par") + ": " +
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
    run.weighting = 1;
    run.iterations = run.optimum->linearizations;
    std::vector<spreadsheet_row> rows(n);
    std::vector<parameter_row> values(n), errors(n);
    run.free_parameters = 0;
    for (std::size_t k = 0; k < n; ++k) {
        const control_entry &entry = run.control.entries[k];
        rows[k].type = entry.type;
        rows[k].link = entry.link;
        for (std::size_t j = 0; j < 5; ++j) {
            values[k][j] =
                run.optimum->values[k][j] /
                points_of_unit(static_cast<int>(j), entry.type, run.control.hz_per_point);
            errors[k][j] = entry.error[j];
            run.free_parameters += entry.link[j] == 0 ? 1 : 0;
        }
    }
    run.has_errors = run.covariance_agrees = run.control.has_covariance;
    run.entries.clear();
    fill_entries(run, rows, values, errors);
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
    run.entries.resize(rows.size());
    read_signals(run);
    run.entries.clear();
    for (const parameter_row &row : errors)
        for (const double error : row) run.has_errors = run.has_errors || error != 0.0;
    read_control(run, values);
    fill_entries(run, rows, values, errors);
    return true;
}

run_result read_run(const std::string &folder, const std::string &name,
                    const result_options &options) {
    run_result run;
    run.folder = folder;
    run.name = name;
    read_sidecar(run);
    read_log(run, options.log_file);
    const bool exact = is_file(in_folder(folder, "optimum.json"));
    if (!exact && !is_file(in_folder(folder, name + ".exl"))) {
        run.why_not = reason_of_log(run);
        judge_run(run);
        note_provenance(run, options.hashes);
        return run;
    }
    if (is_file(in_folder(folder, name + ".exl")) && !take_search(run, options) && !exact) {
        judge_run(run);
        note_provenance(run, options.hashes);
        return run;
    }
    if (exact) take_optimum(run);
    const double wider = run.axis.error_factor() * run.axis.error_factor();
    for (double &covariance : run.control.area_covariance) covariance *= wider;
    place_entries(run);
    name_entries(run, options.names_file);
    run.quality_before = not_known;
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
