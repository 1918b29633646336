// SPDX-License-Identifier: BSD-3-Clause
#include "files/start/make_start.h"

#include "files/base/tool_error.h"
#include "files/spectra/search_limits.h"
#include "files/start/fit_plan.h"
#include "files/start/linear_fit.h"
#include "files/start/mirrored_axis.h"
#include "files/start/pattern_file.h"
#include "files/start/values_in_points.h"

#include "engine/curve.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <unordered_map>

namespace tools {

// ---- what does not depend on the points of a spectrum ----

// Where a parameter comes from when every link is followed to its end.
struct origin {
    std::size_t entry = 0; // from 0
    double factor = 1.0;   // of an area
    double offset = 0.0;   // of any other, in the unit of the file
    bool unknown = false;  // to be estimated
};

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

start_maker::start_maker(peak_table table, std::vector<std::string> pattern_folders, fitted_by by)
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

static double value_in_file(const peak_table &table, const table_axis &axis, const table_row &row,
                            int q, double value, table_unit unit, double hz_per_point,
                            bool is_offset) {
    try {
        if (q == frequency_of) {
            if (!is_offset && row.type != pattern_entry) return axis.position_hz(value, unit);
            return axis.offset_hz(value, unit);
        }
        if (q == gauss_of || q == lorentz_of)
            return axis.width_hz(value, unit) / width_unit(q, row.type, hz_per_point);
        return value;
    } catch (const tool_error &error) {
        refuse_at(table, row.cells[static_cast<std::size_t>(q)].place, error.what());
    }
}

static std::string find_pattern(const peak_table &table, const table_row &row,
                                const std::vector<std::string> &folders) {
    for (const std::string &folder : folders) {
        const std::string file = (std::filesystem::path(folder) / row.pattern_file).string();
        std::error_code error;
        if (std::filesystem::is_regular_file(file, error)) return file;
    }
    std::string looked;
    for (const std::string &folder : folders) looked += (looked.empty() ? "" : ", ") + folder;
    refuse_at(table, row.place,
              row.name + ": no pattern file " + row.pattern_file + " in " + looked);
}

// A parameter of the file: value (or unknown), link, range.
static void resolve(const peak_table &table, const table_axis &axis, double hz_per_point,
                    const std::unordered_map<std::string_view, std::size_t> &row_named,
                    const std::vector<std::size_t> &entry_of_row, std::size_t r, int q,
                    start_parameter &own, origin &from) {
    const auto cell_of = [&](std::size_t row) -> const table_cell & {
        return table.rows[row].cells[static_cast<std::size_t>(q)];
    };
    const table_cell &cell = cell_of(r);
    const int number = static_cast<int>(entry_of_row[r]) + 1;
    double factor = 1.0, offset = 0.0;
    std::size_t end = r;
    for (std::size_t steps = 0; cell_of(end).kind == cell_kind::link; ++steps) {
        const table_cell &link = cell_of(end);
        const std::size_t source = row_named.at(link.source);
        if (source == r || steps > table.rows.size())
            refuse_at(table, cell.place,
                      table.rows[r].name + ", " + name_of(q) +
                          ": tied to itself in the end; give one of the rows a value");
        const bool own_pattern = table.rows[end].type == pattern_entry;
        const bool their_pattern = table.rows[source].type == pattern_entry;
        if (q == frequency_of && their_pattern && !own_pattern)
            refuse_at(table, link.place,
                      table.rows[end].name + ": a line tied to the shift of a pattern has no "
                                             "position of its own; tie the pattern to the line");
        if ((q == gauss_of || q == lorentz_of) && table.rows[end].type != table.rows[source].type)
            refuse_at(table, link.place,
                      table.rows[end].name + " is a " + type_name(table.rows[end].type) + ", " +
                          link.source + " a " + type_name(table.rows[source].type) +
                          "; tied widths need two of the same type");
        factor *= link.factor;
        offset += value_in_file(table, axis, table.rows[end], q, link.value, link.unit,
                                hz_per_point, true);
        // the shift of a pattern follows the movement of a line, not its place
        if (q == frequency_of && own_pattern && !their_pattern) {
            std::size_t place = source;
            double at = 0.0;
            while (cell_of(place).kind == cell_kind::link) {
                at += value_in_file(table, axis, table.rows[place], q, cell_of(place).value,
                                    cell_of(place).unit, hz_per_point, true);
                place = row_named.at(cell_of(place).source);
            }
            offset -= at + value_in_file(table, axis, table.rows[place], q, cell_of(place).value,
                                         cell_of(place).unit, hz_per_point, false);
        }
        end = source;
    }
    const table_cell &source = cell_of(end);
    from = {entry_of_row[end], factor, offset, source.kind == cell_kind::estimate};
    if (end != r) {
        own.link = static_cast<int>(entry_of_row[end]) + 1;
    } else if (cell.fixed || cell.kind == cell_kind::unused ||
               (cell.kind == cell_kind::number && !is_used(q, table.rows[r].type))) {
        own.link = number;
    }
    if (source.kind != cell_kind::estimate) {
        const double value = value_in_file(table, axis, table.rows[end], q, source.value,
                                           source.unit, hz_per_point, false);
        own.value = q == area_of ? value * factor : value + offset;
    }
    if (cell.range) {
        const double a = value_in_file(table, axis, table.rows[r], q, cell.range->first,
                                       cell.range_unit, hz_per_point, false);
        const double b = value_in_file(table, axis, table.rows[r], q, cell.range->second,
                                       cell.range_unit, hz_per_point, false);
        own.window = std::minmax({a, b});
        if (is_edge(a) && is_edge(b)) own.range = own.window;
    }
}

void start_maker::prepare(const spectrum_facts &facts) {
    auto made = std::make_unique<prepared>();
    made->facts = facts;
    spectrum_facts known = facts;
    const auto agree = [&](const char *what, double ours, double theirs) {
        if (std::fabs(ours - theirs) <= 1e-6 * std::fabs(theirs)) return;
        char text[160];
        std::snprintf(text, sizeof text, "%s is %.9g in the table, but %.9g for the spectrum", what,
                      ours, theirs);
        refuse_at(table_, {}, text);
    };
    if (table_.points) agree("points", *table_.points, facts.points);
    if (table_.hz_per_point) agree("hz_per_point", *table_.hz_per_point, facts.hz_per_point);
    if (table_.phi_1 && facts.phi_1 != 0.0) agree("phi_1", *table_.phi_1, facts.phi_1);
    if (table_.phi_1) known.phi_1 = *table_.phi_1;
    if (!(facts.hz_per_point > 0.0) || facts.points < 1)
        refuse_at(table_, {}, "points or hertz per point of the spectrum are not above 0");

    const table_axis axis(known, table_.file);
    start_result &base = made->base;
    if (table_.reference && facts.reference_ppm != table_.reference->ppm)
        base.warnings.push_back(
            "the ppm axis of the spectrum was not set by the reference of the table; import it "
            "with --reference-peak");
    start_file &start = base.start;
    start.points = facts.points;
    start.hz_per_point = facts.hz_per_point;
    start.phi_1 = known.phi_1;
    start.tolerance = tolerance_of(table_);
    start.fit_mode = table_.fit_mode;
    start.verbose = table_.verbose.value_or(1);
    start.errors = table_.errors.value_or(true) ? 1 : 0;
    start.data_format = table_.data_format.value_or("none");
    start.ignored = table_.ignored.value_or(0);
    start.lineshape = table_.lineshape;
    int measured = facts.measured > 0 ? facts.measured : facts.points;
    if (table_.measured) measured = *table_.measured;
    if (measured > facts.points)
        refuse_at(table_, {},
                  "measured: " + std::to_string(measured) + "; expected up to the " +
                      std::to_string(facts.points) + " points of the spectrum");
    if (table_.noise) {
        const auto [first, last] = interval_points(table_, axis, *table_.noise, known, "noise");
        made->noise = {first, last + 1};
    }

    std::vector<std::size_t> entry_of_row(table_.rows.size());
    std::unordered_map<std::string_view, std::size_t> row_named;
    for (std::size_t r = 0; r < table_.rows.size(); ++r) row_named.emplace(table_.rows[r].name, r);
    for (const bool patterns : {false, true})
        for (std::size_t r = 0; r < table_.rows.size(); ++r) {
            if ((table_.rows[r].type == pattern_entry) != patterns) continue;
            entry_of_row[r] = made->row_of.size();
            made->row_of.push_back(r);
            (patterns ? start.patterns : start.lines) += 1;
        }
    const peak_table table = with_gauss_widths(table_, axis, facts.hz_per_point, base.warnings);
    start.entries.resize(table_.rows.size());
    made->origins.resize(table_.rows.size());
    for (std::size_t k = 0; k < start.entries.size(); ++k) {
        const std::size_t r = made->row_of[k];
        start_entry &entry = start.entries[k];
        entry.name = table_.rows[r].name;
        entry.type = table_.rows[r].type;
        entry.pattern_file = table_.rows[r].pattern_file;
        entry.takes_lineshape = start.fit_mode == 3 && table_.rows[r].takes_lineshape ? 1 : 0;
        for (int q = 0; q < quantities; ++q)
            resolve(table, axis, facts.hz_per_point, row_named, entry_of_row, r, q,
                    entry.parameters[static_cast<std::size_t>(q)],
                    made->origins[k][static_cast<std::size_t>(q)]);
    }
    if (table_.followed)
        for (std::size_t k = 0; k < start.entries.size(); ++k)
            if (start.entries[k].name == *table_.followed) start.followed = static_cast<int>(k) + 1;

    const std::vector<std::pair<int, int>> intervals = intervals_of(table_, axis, known, base);
    start.steps = steps_of(table_, start, intervals, measured, base.notes);
    check_places(table_, axis, made->row_of, base);
    const bool searches = std::any_of(start.steps.begin(), start.steps.end(),
                                      [](const start_step &s) { return s.algorithm == 1; });
    bool has_ranges = false;
    for (const start_entry &entry : start.entries)
        for (const start_parameter &own : entry.parameters)
            has_ranges = has_ranges || own.range.has_value();
    start.ranges = table_.ranges.value_or(searches ? 1 : has_ranges ? 0 : 2);
    if (has_ranges && !searches && by_ == fitted_by::search)
        base.warnings.push_back("no step of the strategy is a random search: the search does not "
                                "use the ranges of the table; the exact fit holds them");

    // two points at least, or a curve would be nothing
    made->curves = {facts.points, facts.hz_per_point, known.phi_1, start.ignored,
                    std::min(facts.points, std::max(measured, 2))};
    std::vector<complex_signal> patterns(start.entries.size());
    if (kernel::transform_plan::exists_for(start.points) &&
        (start.points <= search_limits::pattern_points || by_ == fitted_by::engine))
        for (std::size_t k = 0; k < start.entries.size(); ++k)
            if (start.entries[k].type == pattern_entry)
                patterns[k] = read_pattern(
                    find_pattern(table_, table_.rows[made->row_of[k]], pattern_folders_),
                    made->curves);
    if (kernel::transform_plan::exists_for(start.points)) {
        std::vector<bool> inside(static_cast<std::size_t>(facts.points), false);
        for (const start_step &step : start.steps)
            for (const auto &[first, last] : step.intervals)
                for (int i = std::max(0, first); i <= std::min(last, facts.points - 1); ++i)
                    inside[static_cast<std::size_t>(i)] = true;
        for (std::size_t i = 0; i < inside.size(); ++i)
            if (inside[i]) made->points.push_back(i);
        for (std::size_t k = 0; k < start.entries.size(); ++k) {
            const complex_signal whole = engine::unit_curve(
                shape_in_points(start.entries[k], facts.hz_per_point), made->curves, patterns[k]);
            complex_signal part;
            part.reserve(made->points.size());
            for (const std::size_t i : made->points) part.push_back(whole[i]);
            made->unit.push_back(std::move(part));
        }
        made->products = inner_products(made->unit);
    }
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
        const auto value = [&](int q) {
            return result.start.entries[k].parameters[static_cast<std::size_t>(q)].value;
        };
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
    char text[200];
    std::snprintf(text, sizeof text,
                  "%s the start values explain %.0f %% of the signal on the mirrored axis, here "
                  "%.0f %%: try --axis %s",
                  p.facts.guessed_sense ? "the sense of the ppm axis is a guess, and"
                                        : "does the ppm axis run the other way?",
                  100.0 * advice->mirrored, 100.0 * advice->here,
                  p.facts.ppm_rises_with_points ? "falling" : "rising");
    result.warnings.emplace_back(text);
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

std::string start_result::text() const {
    std::vector<std::string> remarks;
    for (std::size_t k = 0; k < start.entries.size(); ++k)
        remarks.push_back("entry " + std::to_string(k + 1) + " " + start.entries[k].name);
    for (const std::string &guess : guesses) remarks.push_back("# guessed: " + guess);
    for (const std::string &warning : warnings) remarks.push_back("# warning: " + warning);
    for (const std::string &note : notes) remarks.push_back("# " + note);
    return version_3_text(start, remarks);
}

} // namespace tools
