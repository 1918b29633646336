// SPDX-License-Identifier: BSD-3-Clause
// verdict.cpp -- what may be said of a fit, and why
#include "engine/verdict.h"

#include "kernel/median.h"

#include <algorithm>
#include <cmath>

namespace engine {

const char *name_of(finding what) {
    static const char *const names[] = {"not_finished", "degenerate",  "several_minima", "moved",
                                        "misfit",       "noise_wrong", "at_bound",       "optimum"};
    return names[static_cast<int>(what)];
}

// Spectral points per independent one: a decay that was cut interpolates between them.
static int spacing(const model &of) {
    const int measured = of.when().kept - of.when().ignored;
    return std::max(1, (of.points() + measured - 1) / measured);
}

namespace {
struct run_counter {
    long long positive = 0, negative = 0, runs = 0, pairs = 0;
    double products = 0.0, squares = 0.0, last = 0.0;
    void begin() { last = 0.0; }
    void add(double r) {
        (r > 0.0 ? positive : negative) += 1;
        if (last == 0.0 || (r > 0.0) != (last > 0.0)) ++runs;
        squares += r * r;
        if (last != 0.0) {
            products += r * last;
            ++pairs;
        }
        last = r;
    }
};
} // namespace

whiteness whiteness_of(const model &of, std::span<const double> residual) {
    run_counter count;
    long long stretches = 0; // each begins a run of its own
    const int channels = of.part() == channel::both ? 2 : 1;
    const int step = spacing(of);
    std::size_t at = 0;
    for (int c = 0; c < channels; ++c) {
        for (const interval &run : of.intervals()) {
            count.begin();
            ++stretches;
            for (int p = run.first; p <= run.last; ++p, ++at)
                if ((p - run.first) % step == 0 && residual[at] != 0.0) count.add(residual[at]);
        }
    }
    const double a = static_cast<double>(count.positive), b = static_cast<double>(count.negative);
    const double n = a + b;
    whiteness out = {0.0, 0.0};
    if (n < 20.0 || count.squares == 0.0) return out;
    // of two neighbours in a stretch, 2 a b / (n (n - 1)) differ in sign
    const double neighbours = n - static_cast<double>(stretches);
    const double expected =
        static_cast<double>(stretches) + neighbours * 2.0 * a * b / (n * (n - 1.0));
    const double variance =
        2.0 * a * b * (2.0 * a * b - n) / (n * n * (n - 1.0)) * neighbours / (n - 1.0);
    if (variance > 0.0)
        out.runs = (expected - static_cast<double>(count.runs)) / std::sqrt(variance);
    const double pairs = static_cast<double>(count.pairs);
    if (pairs > 0.0) out.lag_1 = count.products / count.squares * n / std::sqrt(pairs);
    return out;
}

// Noise of m points that zeros fill up to n is 1/n^2 of the sum of m variances at each of n points,
// of which m tell: squares over all of them are n/m of those of the measurement.
double told_by(const model &of, double squares) {
    return squares * (static_cast<double>(of.measured()) / of.points());
}

double quality_of(const model &of, double sum_of_squares) {
    const double part = static_cast<double>(of.when().kept - of.when().ignored) / of.points();
    const double degrees = std::max(1.0, part * of.rows() - of.columns());
    return std::sqrt(told_by(of, sum_of_squares) / degrees);
}

// Whether there is a residual at all besides what search and rounding leave.
static bool is_seen(const model &of, double sum_of_squares) {
    const double rms = std::sqrt(sum_of_squares / of.rows()) * of.noise_sd();
    return told_by(of, sum_of_squares) > verdict_limits::seen &&
           rms > verdict_limits::stored * of.data_rms();
}

static void add(verdict &to, finding what, double number, std::vector<int> entries,
                std::string text) {
    to.reasons.push_back({what, number, std::move(entries), std::move(text)});
    to.what = std::min(to.what, what);
}

static std::vector<int> entries_of(const model &of, const std::vector<int> &columns) {
    std::vector<int> out;
    for (const int c : columns)
        if (c < of.map().columns()) out.push_back(of.map().at(c).entry);
    std::sort(out.begin(), out.end());
    out.erase(std::unique(out.begin(), out.end()), out.end());
    return out;
}

static std::vector<int> pressed(const minimum &found) {
    std::vector<int> out;
    for (std::size_t c = 0; c < found.at_bound.size(); ++c)
        if (found.at_bound[c] != 0) out.push_back(static_cast<int>(c));
    return out;
}

// Pairs of lines whose order along the axis turned around, by more than their errors.
static std::vector<int> exchanged(const model &of, const minimum &found,
                                  const entry_covariance &covariance,
                                  std::span<const double> start) {
    std::vector<int> columns;
    const parameter_map &map = of.map();
    for (int a = 0; a < map.columns(); ++a) {
        if (map.at(a).of != frequency || of.is_pattern(map.at(a).entry)) continue;
        for (int b = a + 1; b < map.columns(); ++b) {
            if (map.at(b).of != frequency || of.is_pattern(map.at(b).entry)) continue;
            const std::size_t i = static_cast<std::size_t>(a), j = static_cast<std::size_t>(b);
            const double before = start[i] - start[j], after = found.x[i] - found.x[j];
            if (before * after >= 0.0) continue;
            const double variance = covariance.of_columns(a, a) + covariance.of_columns(b, b) -
                                    2.0 * covariance.of_columns(a, b);
            if (told_by(of, after * after) > 4.0 * variance) columns.insert(columns.end(), {a, b});
        }
    }
    return columns;
}

// Lines that ended at the place that was given to another one, with their order kept or not: a line
// whose signal was taken takes the next one's. What all lines moved by, their median, is a shift of
// the spectrum and nobody's place. Places within two widths of each other, and lines that follow
// each other, are one.
static std::vector<int> at_place_of_others(const model &of, const minimum &found,
                                           std::span<const double> start) {
    const parameter_map &map = of.map();
    std::vector<int> free;
    std::vector<double> moves;
    for (int c = 0; c < map.columns(); ++c) {
        if (map.at(c).of != frequency || of.is_pattern(map.at(c).entry)) continue;
        free.push_back(c);
        moves.push_back(found.x[static_cast<std::size_t>(c)] - start[static_cast<std::size_t>(c)]);
    }
    if (moves.empty()) return {};
    const double common = kernel::upper_median(std::move(moves));
    std::vector<int> columns;
    for (const int c : free) {
        const int line = map.at(c).entry;
        const double end = found.x[static_cast<std::size_t>(c)] - common;
        const double own = start[static_cast<std::size_t>(c)];
        for (int k = 0; k < map.entries(); ++k) {
            if (of.is_pattern(k) || map.of(k, frequency).column == c) continue;
            const double place = map.value(k, frequency, start);
            const double apart =
                verdict_limits::places_apart * std::max(of.fwhm(line, start), of.fwhm(k, start));
            if (std::fabs(place - own) > apart &&
                std::fabs(end - place) < verdict_limits::at_place * std::fabs(end - own))
                columns.push_back(c);
        }
    }
    return columns;
}

// Lines that stand where nothing is fitted, by more than their width.
static std::vector<int> outside(const model &of, std::span<const double> x) {
    std::vector<int> columns;
    for (int c = 0; c < of.map().columns(); ++c) {
        const column &col = of.map().at(c);
        if (col.of != frequency || of.is_pattern(col.entry)) continue;
        const double f = x[static_cast<std::size_t>(c)];
        const double width = of.fwhm(col.entry, x);
        bool near_any = false;
        for (const interval &run : of.intervals())
            near_any = near_any || (f >= run.first - width && f <= run.last + width);
        if (!near_any) columns.push_back(c);
    }
    return columns;
}

verdict judge(const model &of, const minimum &found, const entry_covariance &covariance,
              std::span<const double> residual, std::span<const double> start) {
    verdict out;
    // below the rounding of the sum itself there is nothing to be had
    const double left = told_by(of, found.expected_decrease);
    const double allowed =
        found.end == search_end::at_rounding
            ? std::max(verdict_limits::expected_decrease, 1e-11 * told_by(of, found.sum_of_squares))
            : verdict_limits::expected_decrease;
    if (!(left <= allowed))
        add(out, finding::not_finished, left, {}, "the search ended before the minimum");
    const auto add_entries = [&](finding what, const std::vector<int> &columns, const char *text) {
        const std::vector<int> entries = entries_of(of, columns);
        if (!entries.empty()) add(out, what, static_cast<double>(entries.size()), entries, text);
    };
    if (!covariance.dependent().empty()) { // maybe of the lineshape alone
        const std::vector<int> entries = entries_of(of, covariance.dependent());
        add(out, finding::degenerate, static_cast<double>(entries.size()), entries,
            "parameters that cannot be told apart, or of lines without area");
    }
    add_entries(finding::moved, exchanged(of, found, covariance, start),
                "lines that changed places");
    add_entries(finding::moved, at_place_of_others(of, found, start),
                "lines that stand where another was given");
    add_entries(finding::moved, outside(of, found.x), "lines that left the fitted points");
    const double quality = quality_of(of, found.sum_of_squares);
    whiteness white = {0.0, 0.0};
    if (is_seen(of, found.sum_of_squares)) white = whiteness_of(of, residual);
    if (!(quality <= verdict_limits::misfit_quality))
        add(out, finding::misfit, quality, {}, "the residual is larger than the noise");
    else if (std::max(white.runs, white.lag_1) > verdict_limits::whiteness)
        add(out, finding::misfit, std::max(white.runs, white.lag_1), {},
            "the residual is not white");
    if (quality < verdict_limits::noise_quality)
        add(out, finding::noise_wrong, quality, {},
            "the residual is smaller than the noise that was given");
    add_entries(finding::at_bound, pressed(found), "parameters at the edge of their window");
    return out;
}

void add_minimum(verdict &to, double difference, std::vector<int> entries) {
    for (reason &known : to.reasons) {
        if (known.what != finding::several_minima) continue;
        known.number = std::min(known.number, difference);
        known.entries.insert(known.entries.end(), entries.begin(), entries.end());
        std::sort(known.entries.begin(), known.entries.end());
        known.entries.erase(std::unique(known.entries.begin(), known.entries.end()),
                            known.entries.end());
        return;
    }
    add(to, finding::several_minima, difference, std::move(entries),
        "another minimum is as good, with other areas");
}

} // namespace engine
