// SPDX-License-Identifier: BSD-3-Clause
// fuzz_c_start.cpp -- problems of libvarokel from texts: a table of peaks, a start file, a sidecar
//
// The first byte says which of them the rest is, or changes word by word or item by item; the
// others are ordinary ones. What comes out is held against what varokel_start.h says: a call that
// fails leaves a sentence and no handle, and what it gives can be asked for, written, read again
// and fitted.
#include "library/varokel_start.h"

#include "edits.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

constexpr int points = 64;

constexpr const char *ordinary_sidecar =
    R"({"points": 64, "hz_per_point": 10.0, "spectrometer_mhz": 50.0, "ppm_at_carrier": 0.0,)"
    R"( "ppm_rises_with_points": false, "phi_1_degrees": 20.0, "measured_points": 60,)"
    R"( "dwell_time_s": 0.0015625, "noise_window": {"first": 2, "stop": 12},)"
    R"( "fit_interval_points": [3, 60], "resized": {"from": 60, "to": 64}})";
constexpr const char *ordinary_table =
    "name  type     area  frequency[ppm]  lorentz[Hz]  phase[deg]\nA  lorentz  ?  0.2  20  ?\n";

// Several kinds of rows and keys.
constexpr const char *table_to_edit =
    R"(name  type     area            frequency[ppm]  gauss[Hz]  lorentz[Hz]  phase[deg]
A     lorentz  ?               0.2             -          20           ?
B     gauss    =A*0.5          =A + 16 Hz      20         -            =A
C     voigt    1.5 [0.5, 3]    fixed -0.5 ppm  10         12           fixed 0
interval: -200 to 200 Hz
measured: 60 points
noise: 5 to 12 points
step: random areas frequencies iterations=2
step: gradient all iterations=2 part=magnitude interval=10..49
)";

std::string edited(const char *text, const std::uint8_t *data, std::size_t size) {
    fuzz::edit_bytes bytes(data, size);
    std::string out = text;
    for (int edits = 0; bytes.more() && edits < 8; ++edits) fuzz::edit_word(out, bytes);
    return out;
}

std::string edited_sidecar(const std::uint8_t *data, std::size_t size) {
    fuzz::edit_bytes bytes(data, size);
    tools::ordered_json items = tools::ordered_json::parse(ordinary_sidecar);
    for (int edits = 0; bytes.more() && edits < 8; ++edits) fuzz::edit_json(items, bytes);
    return items.dump_valid();
}

void demand(bool holds, const char *file = __builtin_FILE(), int line = __builtin_LINE()) {
    fuzz::expect(holds, file, line);
}

// A line and something like noise, without the C library's functions.
std::vector<double> ordinary_spectrum() {
    std::vector<double> out(2 * points);
    unsigned state = 1;
    for (int i = 0; i < points; ++i) {
        state = state * 1103515245U + 12345U;
        const double off = i - 33.0;
        out[2 * static_cast<std::size_t>(i)] = 5.0 / (1.0 + off * off) + (state >> 16) * 1e-7;
        out[2 * static_cast<std::size_t>(i) + 1] =
            -5.0 * off / (1.0 + off * off) + (state >> 20) * 1e-6;
    }
    return out;
}

void look_at(varokel_start *start, varokel_workspace *workspace) {
    for (int k = 0; k < varokel_start_entries(start); ++k) {
        const char *name = nullptr, *pattern = nullptr;
        int line = 0;
        demand(varokel_start_entry(start, k, &name, &line, &pattern) == VAROKEL_OK);
        demand(line >= VAROKEL_GAUSSIAN && line <= VAROKEL_PATTERN);
        demand((line == VAROKEL_PATTERN) == (pattern[0] != '\0'));
    }
    for (int i = 0; i < varokel_start_remarks(start); ++i) {
        int kind = -1;
        const char *text = nullptr;
        demand(varokel_start_remark(start, i, &kind, &text) == VAROKEL_OK);
        demand(kind >= VAROKEL_GUESS && kind <= VAROKEL_NOTE && text[0] != '\0');
    }
    const std::string text = varokel_start_text(start);
    varokel_start *again = nullptr;
    if (varokel_start_read(text.c_str(), nullptr, workspace, &again) == VAROKEL_OK)
        demand(varokel_start_entries(again) == varokel_start_entries(start));
    varokel_start_destroy(again);
}

void fit(const varokel_start *start, const std::vector<double> &spectrum,
         varokel_workspace *workspace) {
    // of patterns nothing is read: there is no folder
    varokel_problem *problem = nullptr;
    const int made = varokel_start_problem(start, spectrum.data(), points, 0.01, spectrum.data(),
                                           workspace, &problem);
    demand((made == VAROKEL_OK) == (problem != nullptr));
    demand(made == VAROKEL_OK || std::strlen(varokel_workspace_message(workspace)) > 0);
    if (problem == nullptr || varokel_start_entries(start) > 12) {
        varokel_problem_destroy(problem);
        return;
    }
    varokel_options *options = nullptr;
    varokel_fit *found = nullptr;
    demand(varokel_options_create(&options) == VAROKEL_OK);
    varokel_options_set_starts(options, 0, 1);
    varokel_options_set_most_linearizations(options, 1);
    const int status = varokel_fit_find(problem, options, workspace, &found);
    demand(status == VAROKEL_OK || status == VAROKEL_BAD_PROBLEM);
    demand((status == VAROKEL_OK) == (found != nullptr));
    std::vector<double> values(static_cast<std::size_t>(varokel_fit_entries(found)) * 5);
    if (found != nullptr)
        demand(varokel_fit_values(found, values.data(), values.size()) == VAROKEL_OK);
    for (const double value : values) demand(!std::isnan(value));
    varokel_fit_destroy(found);
    varokel_options_destroy(options);
    varokel_problem_destroy(problem);
}

// What the data are: a table, a start file or a sidecar.
enum class text_kind { table, start_file, sidecar };

// A start file that the library wrote itself of the table above.
const std::string &start_file_to_edit() {
    static const std::string text = [] {
        const std::vector<double> spectrum = ordinary_spectrum();
        varokel_workspace *workspace = nullptr;
        varokel_table *table = nullptr;
        varokel_start *start = nullptr;
        demand(varokel_workspace_create(&workspace) == VAROKEL_OK);
        demand(varokel_table_read(table_to_edit, "peaks.txt", workspace, &table) == VAROKEL_OK);
        demand(varokel_table_start(table, ordinary_sidecar, spectrum.data(), points, workspace,
                                   &start) == VAROKEL_OK);
        std::string written = varokel_start_text(start);
        varokel_start_destroy(start);
        varokel_table_destroy(table);
        varokel_workspace_destroy(workspace);
        return written;
    }();
    return text;
}

std::string text_of(const std::uint8_t *data, std::size_t size, text_kind kind, bool edits) {
    if (!edits) return std::string(reinterpret_cast<const char *>(data), size);
    switch (kind) {
    case text_kind::table:
        return edited(table_to_edit, data, size);
    case text_kind::start_file:
        return edited(start_file_to_edit().c_str(), data, size);
    default:
        return edited_sidecar(data, size);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    if (size == 0 || size > 4096) return 0;
    const auto kind = static_cast<text_kind>(data[0] % 3);
    const bool edits = data[0] % 6 >= 3;
    const std::string text = text_of(data + 1, size - 1, kind, edits);
    const std::vector<double> spectrum = ordinary_spectrum();
    varokel_workspace *workspace = nullptr;
    varokel_table *table = nullptr;
    varokel_start *start = nullptr;
    demand(varokel_workspace_create(&workspace) == VAROKEL_OK);
    int status = VAROKEL_OK;
    if (kind == text_kind::start_file) {
        status = varokel_start_read(text.c_str(), "start.par", workspace, &start);
    } else {
        const std::string peaks = kind == text_kind::table ? text : ordinary_table;
        const std::string sidecar = kind == text_kind::table ? ordinary_sidecar : text;
        status = varokel_table_read(peaks.c_str(), "peaks.txt", workspace, &table);
        demand((status == VAROKEL_OK) == (table != nullptr));
        if (table != nullptr)
            status = varokel_table_start(table, sidecar.c_str(), spectrum.data(), points, workspace,
                                         &start);
        double factor = 0.0;
        if (varokel_error_factor(sidecar.c_str(), workspace, &factor) == VAROKEL_OK)
            demand(factor >= 1.0 && std::isfinite(factor));
    }
    demand((status == VAROKEL_OK) == (start != nullptr));
    demand(status == VAROKEL_OK || status == VAROKEL_BAD_INPUT || status == VAROKEL_BAD_ARGUMENT);
    demand(status == VAROKEL_OK || std::strlen(varokel_workspace_message(workspace)) > 0);
    demand(status == VAROKEL_OK || !edits || size > 1); // as it is, each of them is read
    if (start != nullptr) {
        look_at(start, workspace);
        fit(start, spectrum, workspace);
    }
    varokel_start_destroy(start);
    varokel_table_destroy(table);
    varokel_workspace_destroy(workspace);
    return 0;
}
