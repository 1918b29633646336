// SPDX-License-Identifier: BSD-3-Clause
// model.cpp -- what a fit evaluates again and again, checked and sorted once
#include "engine/model.h"

#include "engine/centred_spectrum.h"

#include "kernel/elementary.h"
#include "kernel/line_width.h"

#include <algorithm>
#include <cmath>

namespace engine {

static std::string fault_of_axis(const fit_problem &p) {
    const int n = p.when.points;
    if (n < 2 || !kernel::transform_plan::exists_for(n))
        return "the number of points is no power of two between 2 and 2^24";
    if (p.spectrum.size() != static_cast<std::size_t>(n))
        return "the spectrum has " + std::to_string(p.spectrum.size()) + " points, not " +
               std::to_string(n);
    if (!(p.noise_sd > 0.0) || !std::isfinite(p.noise_sd))
        return "the noise standard deviation is " + std::to_string(p.noise_sd) +
               "; expected a positive number";
    if (p.when.ignored < 0 || p.when.kept < 0 || p.when.kept > n || p.when.ignored >= n)
        return "the decay has no points from " + std::to_string(p.when.ignored) + " to " +
               std::to_string(p.when.kept);
    if (!std::isfinite(p.when.first_order_phase)) return "the first-order phase is not finite";
    for (std::size_t i = 0; i < p.spectrum.size(); ++i)
        if (!std::isfinite(p.spectrum[i].real()) || !std::isfinite(p.spectrum[i].imag()))
            return "point " + std::to_string(i) + " of the spectrum is not finite";
    return "";
}

static bool all_finite(const complex_signal &signal) {
    return std::all_of(signal.begin(), signal.end(), [](std::complex<double> v) {
        return std::isfinite(v.real()) && std::isfinite(v.imag());
    });
}

static std::string fault_of_shapes(const fit_problem &p) {
    const std::size_t n = static_cast<std::size_t>(p.when.points);
    if (!all_finite(p.measured_lineshape)) return "the measured lineshape is not finite";
    for (const complex_signal &pattern : p.patterns)
        if (!all_finite(pattern)) return "a pattern is not finite";
    if (!p.measured_lineshape.empty() && p.measured_lineshape.size() != n)
        return "the measured lineshape has " + std::to_string(p.measured_lineshape.size()) +
               " points, not " + std::to_string(n);
    for (const complex_signal &pattern : p.patterns)
        if (pattern.size() != n)
            return "a pattern has " + std::to_string(pattern.size()) + " points, not " +
                   std::to_string(n);
    if (p.lineshape.empty()) return "";
    if (p.lineshape.size() > n) return "the lineshape has more coefficients than there are points";
    std::complex<double> sum = 0.0;
    for (const std::complex<double> c : p.lineshape) sum += c;
    const double size = kernel::hypot(sum.real(), sum.imag());
    if (!(size > 0.0) || !std::isfinite(size))
        return "the coefficients of the lineshape sum up to 0, so that it is nothing at time 0";
    return "";
}

// Intervals in order, those that touch or overlap as one.
static result<std::vector<interval>> merged(const fit_problem &p) {
    std::vector<interval> runs = p.intervals;
    if (runs.empty()) runs.push_back({0, p.when.points - 1});
    for (const interval &i : runs)
        if (i.first < 0 || i.first > i.last || i.last >= p.when.points)
            return failure{-1, "the interval from point " + std::to_string(i.first) + " to " +
                                   std::to_string(i.last) + " is not in the spectrum"};
    std::sort(runs.begin(), runs.end(),
              [](const interval &a, const interval &b) { return a.first < b.first; });
    std::vector<interval> out;
    for (const interval &i : runs) {
        if (!out.empty() && i.first <= out.back().last + 1)
            out.back().last = std::max(out.back().last, i.last);
        else
            out.push_back(i);
    }
    return out;
}

double model::fwhm(int entry, std::span<const double> x) const {
    return map_.value(entry, lorentz_width, x) +
           kernel::gauss_fwhm_per_width * map_.value(entry, gauss_width, x);
}

// Whether entries a and b differ by constants alone: one column of their transforms serves both.
bool model::together(const std::vector<entry> &entries, int a, int b) const {
    const entry &first = entries[static_cast<std::size_t>(a)];
    const entry &second = entries[static_cast<std::size_t>(b)];
    if (first.type == line_type::pattern || second.type == line_type::pattern) return false;
    if (first.takes_lineshape != second.takes_lineshape) return false;
    for (const quantity q : every_quantity) {
        const affine &x = map_.of(a, q), &y = map_.of(b, q);
        if (x.column != y.column) return false;
        if (q == area) {
            if (x.column >= 0 && (x.offset != 0.0 || y.offset != 0.0)) return false;
            if ((x.column >= 0 ? x.factor : x.offset) == 0.0) return false;
            continue;
        }
        if (x.column >= 0 && x.factor != y.factor) return false;
        if (q == gauss_width && x.column >= 0 && x.offset != y.offset) return false;
    }
    return true;
}

void model::make_groups(const std::vector<entry> &entries) {
    for (int k = 0; k < map_.entries(); ++k) {
        const entry &e = entries[static_cast<std::size_t>(k)];
        auto at = std::find_if(groups_.begin(), groups_.end(), [&](const group &g) {
            return together(entries, g.entries.front(), k);
        });
        if (at == groups_.end()) {
            at = groups_.insert(groups_.end(), group());
            if (e.type == line_type::pattern) at->pattern = e.pattern;
            at->takes_lineshape = e.takes_lineshape && !lineshape_.empty();
        }
        const affine &own = map_.of(k, area);
        const affine &first = map_.of(at->entries.empty() ? k : at->entries.front(), area);
        at->entries.push_back(k);
        at->ratios.push_back(&own == &first    ? 1.0
                             : own.column >= 0 ? own.factor / first.factor
                                               : own.offset / first.offset);
        const auto moves = [&](quantity q) { return map_.of(k, q).column >= 0; };
        at->moves[0] = at->moves[0] || moves(area) || moves(phase);
        at->moves[1] = at->moves[1] || moves(frequency) || moves(lorentz_width);
        at->moves[2] = at->moves[2] || moves(gauss_width);
    }
}

result<model> model::make(const fit_problem &problem) {
    for (const std::string &fault : {fault_of_axis(problem), fault_of_shapes(problem)})
        if (!fault.empty()) return failure{-1, fault};
    if (problem.entries.empty()) return failure{-1, "there are no entries"};
    for (std::size_t k = 0; k < problem.entries.size(); ++k) {
        const entry &e = problem.entries[k];
        const int type = static_cast<int>(e.type);
        if (type < 1 || type > 4) return failure{static_cast<int>(k), "is of no known line type"};
        if (e.type == line_type::pattern &&
            (e.pattern < 0 || static_cast<std::size_t>(e.pattern) >= problem.patterns.size()))
            return failure{static_cast<int>(k), "names a pattern that is not there"};
    }
    result<std::vector<interval>> runs = merged(problem);
    if (!runs) return runs.why();
    result<parameter_map> map = parameter_map::make(problem.entries);
    if (!map) return map.why();
    map->keep_frequencies_near(problem.when.points);

    model m;
    m.when_ = problem.when;
    if (m.when_.kept == 0) m.when_.kept = m.when_.points;
    m.when_.kept = std::max(m.when_.kept, 2);
    m.map_ = std::move(*map);
    m.runs_ = std::move(*runs);
    m.part_ = problem.part;
    m.noise_sd_ = problem.noise_sd;
    for (const entry &e : problem.entries) {
        m.types_.push_back(e.type);
        m.takes_lineshape_.push_back(e.takes_lineshape);
    }
    m.patterns_ = problem.patterns;
    m.measured_lineshape_ = problem.measured_lineshape;
    m.lineshape_ = problem.lineshape;
    if (problem.lineshape_free && !m.lineshape_.empty()) {
        const auto largest = std::max_element(m.lineshape_.begin(), m.lineshape_.end(),
                                              [](std::complex<double> a, std::complex<double> b) {
                                                  return std::norm(a) < std::norm(b);
                                              });
        m.held_coefficient_ = static_cast<int>(largest - m.lineshape_.begin());
        m.lineshape_columns_ = 2 * (static_cast<int>(m.lineshape_.size()) - 1);
    }
    m.make_groups(problem.entries);
    for (const interval &i : m.runs_) m.rows_ += i.last - i.first + 1;
    if (m.part_ == channel::both) m.rows_ *= 2;
    m.plan_ = std::make_shared<const kernel::transform_plan>(m.when_.points);
    m.take_data(problem.spectrum);
    return m;
}

// Root mean square of real and imaginary parts, of data of any size.
static double rms_of(const complex_signal &signal) {
    double largest = 0.0, sum = 0.0;
    for (const std::complex<double> v : signal)
        largest = std::max({largest, std::fabs(v.real()), std::fabs(v.imag())});
    if (largest == 0.0) return 0.0;
    for (const std::complex<double> v : signal) {
        const double re = v.real() / largest, im = v.imag() / largest;
        sum += re * re + im * im;
    }
    return largest * std::sqrt(sum / (2.0 * static_cast<double>(signal.size())));
}

// Behind `kept`, what is below 2^-20 of the root mean square is what zeros become in a spectrum of
// four bytes, rounded by 2^-25 of itself: no measured noise is that small.
static int points_measured(const complex_signal &decay, int kept) {
    const double least = 0x1p-20 * rms_of(decay);
    const auto is_zero = [&](const std::complex<double> &v) {
        return std::fabs(v.real()) <= least && std::fabs(v.imag()) <= least;
    };
    auto last = decay.end();
    while (last != decay.begin() + kept && is_zero(last[-1])) --last;
    return static_cast<int>(last - decay.begin());
}

void model::take_data(const complex_signal &spectrum) {
    data_rms_ = rms_of(spectrum);
    decay_of_data_ = fid_of_spectrum(*plan_, spectrum, whole);
    measured_ = points_measured(decay_of_data_, when_.kept);
    const auto begin = static_cast<std::ptrdiff_t>(when_.ignored);
    const auto end = static_cast<std::ptrdiff_t>(when_.kept);
    std::fill(decay_of_data_.begin(), decay_of_data_.begin() + begin, 0.0);
    std::fill(decay_of_data_.begin() + end, decay_of_data_.end(), 0.0);
    cut_ = begin > 0 || end < when_.points;
    spectrum_ = spectrum;
}

std::vector<std::complex<double>> model::lineshape_of(std::span<const double> x) const {
    std::vector<std::complex<double>> out = lineshape_;
    if (lineshape_columns_ == 0) return out;
    std::size_t next = static_cast<std::size_t>(map_.columns());
    for (std::size_t j = 0; j < out.size(); ++j) {
        if (static_cast<int>(j) == held_coefficient_) continue;
        out[j] = {x[next], x[next + 1]};
        next += 2;
    }
    return out;
}

void model::add_coefficients(std::vector<double> &x) const {
    for (int j = 0; j < static_cast<int>(lineshape_.size()) && lineshape_columns_ > 0; ++j) {
        if (j == held_coefficient_) continue;
        x.push_back(lineshape_[static_cast<std::size_t>(j)].real());
        x.push_back(lineshape_[static_cast<std::size_t>(j)].imag());
    }
}

std::vector<double> model::starts() const {
    std::vector<double> x = map_.starts();
    add_coefficients(x);
    return x;
}

std::vector<double> model::given() const {
    std::vector<double> x = map_.given();
    add_coefficients(x);
    return x;
}

} // namespace engine
