// SPDX-License-Identifier: BSD-3-Clause
// table_keys.cpp -- the rows "key: value" of a table of peaks
#include "files/start/table_keys.h"

#include "files/base/tool_error.h"
#include "files/spectra/number_range.h"
#include "files/spectra/search_limits.h"
#include "files/start/strategy_words.h"

namespace tools {

// "a to b unit"
static table_interval read_interval(table_scanner &scan) {
    table_interval interval;
    interval.place = scan.place();
    interval.first = scan.number("the first end of the interval");
    table_unit unit = scan.unit();
    if (!scan.take_word("to")) scan.refuse("\"to\" and the other end of the interval");
    interval.last = scan.number("the other end of the interval");
    interval.unit = scan.unit();
    if (interval.unit == table_unit::none) interval.unit = unit;
    if (unit == table_unit::none) unit = interval.unit;
    if (unit != interval.unit || unit == table_unit::none || unit == table_unit::degrees)
        scan.refuse("ppm, Hz or points behind the interval, for example \"-20 to 10 ppm\"");
    return interval;
}

static int read_part(table_scanner &scan) {
    table_scanner behind = scan;
    const std::optional<int> named = part_named(lower_case(behind.word()));
    if (!named) scan.refuse("absorption, dispersion, complex, magnitude or power");
    scan = behind;
    return *named;
}

// What stands behind "word=".
static void read_step_option(const std::string &word, table_scanner &scan, start_step &step,
                             int &times) {
    static constexpr int most = search_limits::points;
    if (word == "iterations") {
        step.switches[iterations] = scan.integer("iterations from 1 up", 1, 1000000);
    } else if (word == "points") {
        step.points = scan.integer("time-domain points from 1 up", 1, most);
    } else if (word == "weighting") {
        step.switches[weighting] = scan.integer("a weighting type from 1 to 7", 1, 7);
    } else if (word == "times") {
        times = scan.integer("1 to 19 times", 1, search_limits::steps);
    } else if (word == "part") {
        step.switches[part] = read_part(scan);
    } else if (word == "interval") {
        do {
            const int first = scan.integer("the first point of the interval", 0, most);
            if (!scan.take("..")) scan.refuse("\"..\" between two points, as 266..635");
            step.intervals.emplace_back(first,
                                        scan.integer("the last point of the interval", 0, most));
        } while (scan.take(','));
    } else {
        scan.refuse("iterations, points, part, weighting, interval or times before \"=\"");
    }
}

static table_step read_step(table_scanner &scan, int &times) {
    table_step step;
    step.place = scan.place();
    if (scan.take_word("random"))
        step.step.algorithm = 1;
    else if (scan.take_word("gradient"))
        step.step.algorithm = 2;
    else
        scan.refuse("\"gradient\" or \"random\"");
    times = 1;
    while (!scan.at_end()) {
        table_scanner ahead = scan;
        const std::string word = lower_case(ahead.word());
        if (take_switches(word, step.step)) {
            scan = ahead;
            continue;
        }
        if (!ahead.take('='))
            scan.refuse("areas, frequencies, gauss, lorentz, phases, lineshape, all, align, or "
                        "iterations=N, points=N, part=NAME, weighting=N, interval=A..B, times=N");
        scan = ahead;
        read_step_option(word, scan, step.step, times);
    }
    return step;
}

static int yes_or_no(table_scanner &scan) {
    if (scan.take_word("yes")) return 1;
    if (scan.take_word("no")) return 0;
    scan.refuse("yes or no");
}

static void read_lineshape(table_scanner &scan, peak_table &table, int &coefficients) {
    if (scan.take_word("none")) {
        table.fit_mode = 1;
    } else if (scan.take_word("measured")) {
        table.fit_mode = 2;
    } else if (scan.take_word("fitted")) {
        table.fit_mode = 3;
        coefficients = scan.integer("1 to 170 coefficients behind \"fitted\"", 1, 170);
    } else {
        scan.refuse("none, measured, or fitted and a number of coefficients");
    }
}

// "[NAME] PPM [ppm] [+- WIDTH [ppm]]"
static reference_peak read_reference(table_scanner &scan) {
    reference_peak peak;
    if (!scan.number_follows()) {
        peak.name = scan.name("the name of the reference peak, or its chemical shift");
        scan.skip_blanks();
    }
    peak.ppm = scan.number("the chemical shift of the reference peak, such as 2.01 ppm");
    scan.take_word("ppm");
    if (scan.take("+-") || scan.take("\xc2\xb1")) {
        const double width = scan.number("how far to both sides it is looked for, in ppm");
        if (!(width > 0.0)) scan.refuse("a number above 0 behind +-");
        peak.half_width = width;
        scan.take_word("ppm");
    }
    scan.expect_end("the end of the reference: NAME 2.01 ppm, or NAME 2.01 ppm +- 0.3 ppm");
    return peak;
}

std::optional<reference_peak> settled_reference(const std::string &option,
                                                const std::optional<reference_peak> &of_table) {
    if (option.empty()) return of_table;
    peak_table none; // for the scanner's messages
    none.file = "--reference-peak " + option;
    table_scanner scan(none, option, 0, 1);
    std::optional<reference_peak> peak;
    try {
        peak = read_reference(scan);
    } catch (const tool_error &error) {
        throw tool_error(wrong_usage, error.what());
    }
    if (of_table && *of_table != *peak)
        refuse_usage(none.file,
                     "the table of peaks has another \"reference\"; expected one of them");
    return peak;
}

static void read_strategy(peak_table &table, table_scanner &scan, const table_place &place) {
    table.strategy_place = place;
    if (!table.preset.empty()) refuse_at(table, place, "found a second \"strategy\"");
    table.preset = lower_case(scan.until(""));
    if (preset_steps(table.preset).empty())
        refuse_at(table, place,
                  "found the strategy \"" + table.preset +
                      "\"; expected quick, standard or random-then-gradient, or rows \"step:\"");
}

// What is fitted, where, and what follows from it. False for another key.
static bool read_plan_key(peak_table &table, const std::string &word, table_scanner &scan,
                          const table_place &place) {
    if (word == "strategy") {
        read_strategy(table, scan, place);
    } else if (word == "step") {
        int times = 1;
        const table_step step = read_step(scan, times);
        for (int i = 0; i < times; ++i) table.steps.push_back(step);
    } else if (word == "interval") {
        do {
            table.intervals.push_back(read_interval(scan));
        } while (scan.take(','));
    } else if (word == "noise") {
        table.noise = read_interval(scan);
    } else if (word == "reference") {
        if (table.reference) refuse_at(table, place, "found a second \"reference\"");
        table.reference = read_reference(scan);
    } else if (word == "derive") {
        const std::string row = scan.rest();
        if (row.empty()) scan.refuse("NAME = EXPRESSION, such as PCr/GATP");
        refuse_derived_twice(table, derived_name(row), place);
        table.derived.push_back(row);
    } else if (word == "water") {
        table.amounts.water.push_back(read_water_row(table, scan.rest(), place));
    } else if (word == "amount") {
        const amount_row row = read_amount_row(table, scan.rest(), place);
        refuse_derived_twice(table, row.name, place);
        table.amounts.amounts.push_back(row);
    } else if (word == "te") {
        table.amounts.echo_time = read_time(table, scan.rest(), place);
    } else if (word == "tr") {
        table.amounts.repetition_time = read_time(table, scan.rest(), place);
    } else {
        return false;
    }
    return true;
}

// The spectrum and the run. False for another key.
static bool read_setting_key(peak_table &table, const std::string &word, table_scanner &scan,
                             int &coefficients, const table_place &place) {
    static constexpr int most = search_limits::points;
    if (word == "points") {
        table.points = scan.integer("points, a power of two up to 2^24", 1, most);
    } else if (word == "measured") {
        table.measured = scan.integer("measured points, from 1 up", 1, most);
        scan.take_word("points");
    } else if (word == "hz_per_point") {
        table.hz_per_point = scan.number("Hz per point");
        if (!(*table.hz_per_point > 0.0)) refuse_at(table, place, "expected a number above 0");
        if (!is_scale(*table.hz_per_point))
            refuse_at(table, place, std::string("expected ") + scale_expected);
    } else if (word == "phi_1") {
        table.phi_1 = scan.number("degrees over the whole band");
        scan.take_word("deg");
    } else if (word == "tolerance") {
        table.tolerance = scan.number("a number above 0, such as 1e-7");
        if (!(*table.tolerance > 0.0)) refuse_at(table, place, "expected a number above 0");
    } else if (word == "follow") {
        table.followed = scan.name("the name of a row");
    } else if (word == "ignore") {
        table.ignored = scan.integer("leading points, from 0 up", 0, most);
        scan.take_word("points");
    } else if (word == "verbose") {
        table.verbose = scan.integer("0 to 3", 0, 3);
    } else if (word == "errors") {
        table.errors = yes_or_no(scan) == 1;
    } else if (word == "format") {
        table.data_format = scan.until("");
        if (*table.data_format != "none" && *table.data_format != "sage" &&
            *table.data_format != "sage_idl")
            refuse_at(table, place, "expected none, sage or sage_idl");
    } else if (word == "ranges") {
        table.ranges = scan.integer("0 to 3", 0, 3);
    } else if (word == "lineshape") {
        read_lineshape(scan, table, coefficients);
    } else if (word == "coefficients") {
        while (!scan.at_end())
            table.lineshape.push_back(scan.number("real and imaginary part of a coefficient"));
    } else {
        return false;
    }
    return true;
}

void read_key(peak_table &table, std::string_view key, table_scanner &scan, int &coefficients,
              const table_place &place) {
    const std::string word = lower_case(key);
    if (!read_plan_key(table, word, scan, place) &&
        !read_setting_key(table, word, scan, coefficients, place))
        refuse_at(table, place,
                  "found the key \"" + std::string(key) +
                      "\"; expected strategy, step, interval, noise, reference, derive, water, "
                      "amount, te, tr, tolerance, follow, measured, "
                      "ignore, lineshape, coefficients, points, hz_per_point, phi_1, ranges, "
                      "verbose, errors or format before the colon");
    scan.expect_end("the end of the line");
}

} // namespace tools
