// SPDX-License-Identifier: BSD-3-Clause
// make_start.cpp -- from a table of peaks and a spectrum to the contents of a start file
#include "files/start/make_start.h"

#include "files/base/format_text.h"
#include "files/base/input_file.h"
#include "files/base/tool_error.h"
#include "files/spectra/search_limits.h"
#include "files/start/table_strategy.h"
#include "files/start/linear_fit.h"
#include "files/start/linked_value.h"
#include "files/start/mirrored_axis.h"
#include "files/start/pattern_file.h"
#include "files/start/values_in_points.h"

#include "engine/curve.h"

#include <algorithm>
#include <cmath>

namespace tools {

// ---- what does not depend on the points of a spectrum ----

struct start_maker::prepared {
    spectrum_facts facts; // without the noise window, which may change with every spectrum
    std::optional<std::pair<int, int>> noise; // of the table
    std::vector<std::size_t> row_of;          // of an entry
    start_result base;
    std::vector<std::array<origin, quantities>> origins;
    engine::acquisition curves;
    std::vector<complex_signal> unit;           // over the points below, one an entry
    std::vector<std::size_t> points;            // of the intervals
    std::vector<std::complex<double>> products; // of the unit curves, entries x entries
    int ranges = 2;
};

start_maker::start_maker(peak_table table, std::vector<std::string> pattern_folders, fit_method by)
    : table_(std::move(table)), pattern_folders_(std::move(pattern_folders)), by_(by) {}
start_maker::~start_maker() = default;

void start_maker::look_for_patterns_in(std::vector<std::string> folders) {
    pattern_folders_ = std::move(folders);
    prepared_.reset();
}

bool start_maker::estimates() const {
    for (const table_row &row : table_.rows)
        for (const table_cell &cell : row.cells)
            if (cell.kind == cell_kind::estimate) return true;
    return false;
}

static std::string find_pattern(const peak_table &table, const table_row &row,
                                const std::vector<std::string> &folders) {
    for (const std::string &folder : folders) {
        const std::string file = in_folder(folder, row.pattern_file);
        if (is_file(file)) return file;
    }
    std::string looked;
    for (const std::string &folder : folders) looked += (looked.empty() ? "" : ", ") + folder;
    refuse_at(table, row.place,
              row.name + ": no pattern file " + row.pattern_file + " in " + looked);
}

// Points, width of a point and delay are the table's and the spectrum's.
static void refuse_other_acquisition(const peak_table &table, const spectrum_facts &facts) {
    const auto agree = [&](const char *what, double ours, double theirs) {
        if (std::fabs(ours - theirs) <= 1e-6 * std::fabs(theirs)) return;
        refuse_at(table, {},
                  format("%s is %.9g in the table, but %.9g for the spectrum", what, ours, theirs));
    };
    if (table.points) agree("points", *table.points, facts.points);
    if (table.hz_per_point) agree("hz_per_point", *table.hz_per_point, facts.hz_per_point);
    if (table.phi_1 && facts.phi_1 != 0.0) agree("phi_1", *table.phi_1, facts.phi_1);
    if (!(facts.hz_per_point > 0.0) || facts.points < 1)
        refuse_at(table, {}, "points or hertz per point of the spectrum are not above 0");
}

// What the head of the table says, over what the spectrum has.
static void take_head(const peak_table &table, const spectrum_facts &known, start_file &start) {
    start.points = known.points;
    start.hz_per_point = known.hz_per_point;
    start.phi_1 = known.phi_1;
    start.tolerance = tolerance_of(table);
    start.fit_mode = table.fit_mode;
    start.verbose = table.verbose.value_or(1);
    start.errors = table.errors.value_or(true) ? 1 : 0;
    start.data_format = table.data_format.value_or("none");
    start.ignored = table.ignored.value_or(0);
    start.lineshape = table.lineshape;
}

static int measured_points(const peak_table &table, const spectrum_facts &facts) {
    int measured = facts.measured > 0 ? facts.measured : facts.points;
    if (table.measured) measured = *table.measured;
    if (measured > facts.points)
        refuse_at(table, {},
                  "measured: " + std::to_string(measured) + "; expected up to the " +
                      std::to_string(facts.points) + " points of the spectrum");
    return measured;
}

std::vector<std::size_t> rows_of_entries(const peak_table &table) {
    std::vector<std::size_t> rows;
    for (const bool patterns : {false, true})
        for (std::size_t r = 0; r < table.rows.size(); ++r)
            if ((table.rows[r].type == pattern_entry) == patterns) rows.push_back(r);
    return rows;
}

void start_maker::make_entries(const table_axis &axis, prepared &made) const {
    start_file &start = made.base.start;
    made.row_of = rows_of_entries(table_);
    std::vector<std::size_t> entry_of_row(table_.rows.size());
    for (std::size_t k = 0; k < made.row_of.size(); ++k) entry_of_row[made.row_of[k]] = k;
    for (const table_row &row : table_.rows)
        (row.type == pattern_entry ? start.patterns : start.lines) += 1;
    const peak_table table =
        with_gauss_widths(table_, axis, start.hz_per_point, made.base.warnings);
    const linked_values values(table, axis, start.hz_per_point, entry_of_row);
    start.entries.resize(table_.rows.size());
    made.origins.resize(table_.rows.size());
    for (std::size_t k = 0; k < start.entries.size(); ++k) {
        const std::size_t r = made.row_of[k];
        start_entry &entry = start.entries[k];
        entry.name = table_.rows[r].name;
        entry.type = table_.rows[r].type;
        entry.pattern_file = table_.rows[r].pattern_file;
        entry.takes_lineshape = start.fit_mode == 3 && table_.rows[r].takes_lineshape ? 1 : 0;
        for (int q = 0; q < quantities; ++q) {
            const auto at = static_cast<std::size_t>(q);
            made.origins[k][at] = values.resolve(r, q, entry.parameters[at]);
        }
    }
    if (table_.followed)
        for (std::size_t k = 0; k < start.entries.size(); ++k)
            if (start.entries[k].name == *table_.followed) start.followed = static_cast<int>(k) + 1;
}

// Which limits the search holds: 0 the written ones, 1 for a random search, 2 none.
void start_maker::settle_ranges(start_result &base) const {
    start_file &start = base.start;
    const bool searches = std::any_of(start.steps.begin(), start.steps.end(),
                                      [](const start_step &s) { return s.algorithm == 1; });
    bool has_ranges = false;
    for (const start_entry &entry : start.entries)
        for (const start_parameter &own : entry.parameters)
            has_ranges = has_ranges || own.range.has_value();
    start.ranges = table_.ranges.value_or(searches ? 1 : has_ranges ? 0 : 2);
    if (has_ranges && !searches && by_ == fit_method::classic)
        base.warnings.push_back("no step of the strategy is a random search: the search does not "
                                "use the ranges of the table; the exact fit holds them");
}

static std::vector<std::size_t> fitted_points(const start_file &start) {
    std::vector<bool> inside(static_cast<std::size_t>(start.points), false);
    for (const start_step &step : start.steps)
        for (const auto &[first, last] : step.intervals)
            for (int i = std::max(0, first); i <= std::min(last, start.points - 1); ++i)
                inside[static_cast<std::size_t>(i)] = true;
    std::vector<std::size_t> points;
    for (std::size_t i = 0; i < inside.size(); ++i)
        if (inside[i]) points.push_back(i);
    return points;
}

// The curve of every entry with area 1 over the fitted points.
void start_maker::make_unit_curves(prepared &made) const {
    const start_file &start = made.base.start;
    if (!kernel::transform_plan::exists_for(start.points)) return;
    std::vector<complex_signal> patterns(start.entries.size());
    if (start.points <= search_limits::pattern_points || by_ == fit_method::exact)
        for (std::size_t k = 0; k < start.entries.size(); ++k)
            if (start.entries[k].type == pattern_entry)
                patterns[k] = read_pattern(
                    find_pattern(table_, table_.rows[made.row_of[k]], pattern_folders_),
                    made.curves);
    made.points = fitted_points(start);
    for (std::size_t k = 0; k < start.entries.size(); ++k) {
        const complex_signal whole = engine::unit_curve(
            shape_in_points(start.entries[k], start.hz_per_point), made.curves, patterns[k]);
        complex_signal part;
        part.reserve(made.points.size());
        for (const std::size_t i : made.points) part.push_back(whole[i]);
        made.unit.push_back(std::move(part));
    }
    made.products = inner_products(made.unit);
}

void start_maker::prepare(const spectrum_facts &facts) {
    refuse_other_acquisition(table_, facts);
    auto made = std::make_unique<prepared>();
    made->facts = facts;
    spectrum_facts known = facts;
    if (table_.phi_1) known.phi_1 = *table_.phi_1;
    const table_axis axis(known, table_.file);
    start_result &base = made->base;
    if (table_.reference && facts.reference_ppm != table_.reference->ppm)
        base.warnings.push_back(
            "the ppm axis of the spectrum was not set by the reference of the table; import it "
            "with --reference-peak");
    start_file &start = base.start;
    take_head(table_, known, start);
    const int measured = measured_points(table_, facts);
    if (table_.noise) {
        const auto [first, last] = interval_points(table_, axis, *table_.noise, known, "noise");
        made->noise = {first, last + 1};
    }
    make_entries(axis, *made);
    // before the estimates, whose cost grows with the square of the entries
    refuse_counts(start, table_.file, by_);

    const std::vector<std::pair<int, int>> intervals = intervals_of(table_, axis, known, base);
    start.steps = steps_of(table_, start, intervals, measured, base.notes);
    check_places(table_, axis, made->row_of, base);
    settle_ranges(base);
    // two points at least, or a curve would be nothing
    made->curves = {facts.points, facts.hz_per_point, known.phi_1, start.ignored,
                    std::min(facts.points, std::max(measured, 2))};
    make_unit_curves(*made);
    prepared_ = std::move(made);
}

void start_maker::estimate(const complex_signal &spectrum, start_result &result) {
    const prepared &p = *prepared_;
    const std::size_t n = p.unit.size();
    complex_signal changed;
    const complex_signal *data = &spectrum;
    if (p.curves.kept < p.curves.points || p.curves.ignored > 0) {
        changed = engine::cut_as_curves(spectrum, p.curves);
        data = &changed;
    }
    complex_signal overlap(n); // of each unit curve with the data
    double energy = 0.0;
    for (const std::size_t i : p.points) energy += std::norm((*data)[i]);
    for (std::size_t k = 0; k < n; ++k) {
        double re = 0.0, im = 0.0;
        for (std::size_t i = 0; i < p.points.size(); ++i) {
            const std::complex<double> u = p.unit[k][i], s = (*data)[p.points[i]];
            re += u.real() * s.real() + u.imag() * s.imag();
            im += u.real() * s.imag() - u.imag() * s.real();
        }
        overlap[k] = {re, im};
    }
    if (!(energy > 0.0))
        refuse_at(table_, {}, "areas cannot be estimated: the spectrum is 0 in the intervals");

    std::vector<estimated_entry> entries(n);
    for (std::size_t k = 0; k < n; ++k) {
        const origin &area = p.origins[k][area_of], &phase = p.origins[k][phase_of];
        const auto value = [&](int q) { return result.start.entries[k].of(q).value; };
        entries[k] = {area.entry,  area.factor,  !area.unknown,  value(area_of),
                      phase.entry, phase.offset, !phase.unknown, value(phase_of)};
    }
    const std::vector<std::size_t> faint = estimate_areas(p.products, overlap, entries);
    std::string areas, phases, weak;
    const auto add = [&](std::string &list, std::size_t k) {
        list += (list.empty() ? "" : ", ") + result.start.entries[k].name;
    };
    for (std::size_t k = 0; k < n; ++k) {
        start_entry &entry = result.start.entries[k];
        if (p.origins[k][area_of].unknown) entry.parameters[area_of].value = entries[k].area;
        if (p.origins[k][phase_of].unknown) entry.parameters[phase_of].value = entries[k].phase;
        if (p.origins[k][area_of].unknown && p.origins[k][area_of].entry == k) add(areas, k);
        if (p.origins[k][phase_of].unknown && p.origins[k][phase_of].entry == k) add(phases, k);
    }
    for (const std::size_t k : faint) add(weak, k);
    static const char how[] = " (linear least squares of unit curves over the fitted points)";
    if (!areas.empty()) result.notes.push_back("areas estimated from the spectrum: " + areas + how);
    if (!phases.empty())
        result.notes.push_back("phases estimated from the spectrum: " + phases + how);
    if (!weak.empty())
        result.guesses.push_back("no positive area found where they are expected, they start at 1 "
                                 "% of the largest: " +
                                 weak);
}

// Both senses of the axis are held against the spectrum: files and users state the wrong one, too.
void start_maker::look_at_mirror(const complex_signal &spectrum, start_result &result) const {
    const prepared &p = *prepared_;
    const auto first = static_cast<std::size_t>(std::max(0, result.start.noise_first));
    const auto stop =
        std::min(spectrum.size(), static_cast<std::size_t>(std::max(0, result.start.noise_stop)));
    if (p.unit.empty() || spectrum.empty() || stop < first + 2) return;
    std::complex<double> mean = 0.0;
    for (std::size_t i = first; i < stop; ++i) mean += spectrum[i];
    mean /= static_cast<double>(stop - first);
    double variance = 0.0; // of one channel
    for (std::size_t i = first; i < stop; ++i) variance += 0.5 * std::norm(spectrum[i] - mean);
    variance /= static_cast<double>(stop - first);
    const auto advice = advise_mirrored(p.unit, p.products, p.points, spectrum, variance);
    if (!advice) return;
    result.warnings.push_back(
        format("%s the start values explain %.0f %% of the signal on the mirrored axis, here "
               "%.0f %%: try --axis %s",
               p.facts.guessed_sense ? "the sense of the ppm axis is a guess, and"
                                     : "does the ppm axis run the other way?",
               100.0 * advice->mirrored, 100.0 * advice->here,
               p.facts.ppm_rises_with_points ? "falling" : "rising"));
}

start_result start_maker::make(const complex_signal &spectrum, const spectrum_facts &facts) {
    spectrum_facts lasting = facts;
    lasting.noise.reset();
    if (!prepared_ || !(prepared_->facts == lasting)) prepare(lasting);
    start_result result = prepared_->base;
    const std::optional<std::pair<int, int>> noise =
        prepared_->noise ? prepared_->noise : facts.noise;
    if (!noise)
        refuse_at(table_, {},
                  "no noise window known; expected \"noise: A to B points\", or one in the "
                  "spectrum's JSON");
    result.start.noise_first = noise->first;
    result.start.noise_stop = noise->second;
    if (estimates()) {
        if (spectrum.size() != static_cast<std::size_t>(facts.points))
            refuse_at(table_, {},
                      spectrum.empty()
                          ? "areas or phases shall be estimated, but no spectrum is given (-d)"
                          : "the spectrum has " + std::to_string(spectrum.size()) +
                                " points; expected " + std::to_string(facts.points));
        if (!prepared_->unit.empty()) estimate(spectrum, result);
    }
    if (spectrum.size() == static_cast<std::size_t>(facts.points)) look_at_mirror(spectrum, result);
    if (result.start.ranges != 2) add_default_ranges(result.start);
    refuse_what_fails(result.start, table_.file, by_);
    return result;
}

std::string start_result::left_out() const {
    std::string of;
    for (const start_entry &entry : start.entries)
        for (int q = 0; q < quantities; ++q)
            if (entry.of(q).window) of += (of.empty() ? "" : ", ") + entry.name + " " + name_of(q);
    if (of.empty()) return of;
    return "windows that a start file has no place for: " + of +
           "; exact fits of the table itself hold them";
}

std::string start_result::text() const {
    std::vector<std::string> remarks;
    for (std::size_t k = 0; k < start.entries.size(); ++k)
        remarks.push_back("entry " + std::to_string(k + 1) + " " + start.entries[k].name);
    for (const std::string &guess : guesses) remarks.push_back("# guessed: " + guess);
    for (const std::string &warning : warnings) remarks.push_back("# warning: " + warning);
    for (const std::string &note : notes) remarks.push_back("# " + note);
    if (const std::string windows = left_out(); !windows.empty()) remarks.push_back("# " + windows);
    return version_3_text(start, remarks);
}

} // namespace tools
