// SPDX-License-Identifier: BSD-3-Clause
// c_problem.cpp -- spectra and problems of the C interface
#include "engine/c_handles.h"
#include "engine/centred_spectrum.h"
#include "engine/noise_window.h"
#include "engine/parameter_map.h"

#include "kernel/transform_plan.h"

#include <algorithm>
#include <cmath>
#include <memory>

using engine::guarded;
using engine::put;
using engine::refuse;

static engine::complex_signal signal_of(const double *pairs, int points) {
    engine::complex_signal out(static_cast<std::size_t>(points));
    for (std::size_t i = 0; i < out.size(); ++i) out[i] = {pairs[2 * i], pairs[2 * i + 1]};
    return out;
}

static bool is_length(int points) {
    return points >= 2 && kernel::transform_plan::exists_for(points);
}

int varokel_spectrum_of_fid(const double *fid, int fid_points, int points, double *spectrum) {
    if (fid == nullptr || spectrum == nullptr || fid_points < 1 || !is_length(points))
        return VAROKEL_BAD_ARGUMENT;
    return guarded(nullptr, [&] {
        const engine::complex_signal decay = signal_of(fid, std::min(fid_points, points));
        put(engine::spectrum_of_fid(decay, points), spectrum);
        return VAROKEL_OK;
    });
}

int varokel_fid_of_spectrum(const double *spectrum, int points, double *fid) {
    if (fid == nullptr || spectrum == nullptr || !is_length(points)) return VAROKEL_BAD_ARGUMENT;
    return guarded(nullptr, [&] {
        put(engine::fid_of_spectrum(signal_of(spectrum, points)), fid);
        return VAROKEL_OK;
    });
}

int varokel_noise_sd(const double *spectrum, int points, int first, int last, double *noise_sd) {
    if (spectrum == nullptr || noise_sd == nullptr || first < 0 || last < first || last >= points)
        return VAROKEL_BAD_ARGUMENT;
    return guarded(nullptr, [&] {
        const int length = last - first + 1;
        const engine::complex_signal stretch = signal_of(spectrum + 2 * first, length);
        *noise_sd = engine::noise_of_stretch(stretch, 0, length).sd_re;
        return VAROKEL_OK;
    });
}

int varokel_noise_window(const double *spectrum, int points, int *first, int *last) {
    if (spectrum == nullptr || first == nullptr || last == nullptr || points < 1)
        return VAROKEL_BAD_ARGUMENT;
    return guarded(nullptr, [&] {
        const engine::noise_window found = engine::noise_stretch(signal_of(spectrum, points));
        *first = static_cast<int>(found.first);
        *last = static_cast<int>(found.stop) - 1;
        return VAROKEL_OK;
    });
}

int varokel_problem_create(int points, double hz_per_point, varokel_problem **problem) {
    if (problem == nullptr || !is_length(points) || !(hz_per_point > 0.0) ||
        !std::isfinite(hz_per_point))
        return VAROKEL_BAD_ARGUMENT;
    return guarded(nullptr, [&] {
        auto made = std::make_unique<varokel_problem>();
        made->of.when.points = points;
        made->of.when.hz_per_point = hz_per_point;
        *problem = made.release();
        return VAROKEL_OK;
    });
}

int varokel_problem_copy(const varokel_problem *problem, varokel_problem **copy) {
    if (problem == nullptr || copy == nullptr) return VAROKEL_BAD_ARGUMENT;
    return guarded(nullptr, [&] {
        *copy = new varokel_problem(*problem);
        return VAROKEL_OK;
    });
}

void varokel_problem_destroy(varokel_problem *problem) {
    delete problem;
}

const char *varokel_problem_message(const varokel_problem *problem) {
    return problem == nullptr ? "" : problem->failed.message.c_str();
}

// A body that changes a problem, or refuses to.
template <class Body>
static int change(varokel_problem *problem, Body &&body) {
    if (problem == nullptr) return VAROKEL_BAD_ARGUMENT;
    return guarded(&problem->failed, [&] { return body(*problem); });
}

static int refuse_argument(varokel_problem &p, const std::string &text) {
    return refuse(p.failed, VAROKEL_BAD_ARGUMENT, text);
}

// Takes `points` pairs, which have to be as many as the problem has.
static int take_signal(varokel_problem &p, const double *pairs, int points, const char *what,
                       engine::complex_signal &to) {
    if (pairs == nullptr) return refuse_argument(p, std::string(what) + " is a null pointer");
    if (points != p.of.when.points)
        return refuse_argument(p, std::string(what) + " has " + std::to_string(points) +
                                      " points, not " + std::to_string(p.of.when.points));
    to = signal_of(pairs, points);
    return VAROKEL_OK;
}

int varokel_problem_set_spectrum(varokel_problem *problem, const double *spectrum, int points) {
    return change(problem, [&](varokel_problem &p) {
        return take_signal(p, spectrum, points, "the spectrum", p.of.spectrum);
    });
}

int varokel_problem_set_noise_sd(varokel_problem *problem, double noise_sd) {
    return change(problem, [&](varokel_problem &p) {
        if (!(noise_sd > 0.0) || !std::isfinite(noise_sd))
            return refuse_argument(p, "the noise standard deviation is no positive number");
        p.of.noise_sd = noise_sd;
        return int{VAROKEL_OK};
    });
}

int varokel_problem_set_first_order_phase(varokel_problem *problem, double degrees) {
    return change(problem, [&](varokel_problem &p) {
        if (!std::isfinite(degrees)) return refuse_argument(p, "the phase is not finite");
        p.of.when.first_order_phase = degrees;
        return int{VAROKEL_OK};
    });
}

int varokel_problem_set_truncation(varokel_problem *problem, int ignored, int kept) {
    return change(problem, [&](varokel_problem &p) {
        const int n = p.of.when.points;
        if (ignored < 0 || ignored >= n || kept < 0 || kept > n || (kept > 0 && kept <= ignored))
            return refuse_argument(p, "no points are left of the decay");
        p.of.when.ignored = ignored;
        p.of.when.kept = kept;
        return int{VAROKEL_OK};
    });
}

int varokel_problem_set_channel(varokel_problem *problem, int channel) {
    return change(problem, [&](varokel_problem &p) {
        if (channel < VAROKEL_ABSORPTION || channel > VAROKEL_BOTH)
            return refuse_argument(p, "there is no channel " + std::to_string(channel));
        p.of.part = static_cast<engine::channel>(channel);
        return int{VAROKEL_OK};
    });
}

int varokel_problem_add_interval(varokel_problem *problem, int first, int last) {
    return change(problem, [&](varokel_problem &p) {
        if (first < 0 || first > last || last >= p.of.when.points)
            return refuse_argument(p, "the interval from point " + std::to_string(first) + " to " +
                                          std::to_string(last) + " is not in the spectrum");
        p.of.intervals.push_back({first, last});
        return int{VAROKEL_OK};
    });
}

int varokel_problem_clear_intervals(varokel_problem *problem) {
    return change(problem, [&](varokel_problem &p) {
        p.of.intervals.clear();
        return int{VAROKEL_OK};
    });
}

int varokel_problem_add_pattern(varokel_problem *problem, const double *decay, int points,
                                int *index) {
    return change(problem, [&](varokel_problem &p) {
        engine::complex_signal taken;
        const int status = take_signal(p, decay, points, "the pattern", taken);
        if (status != VAROKEL_OK) return status;
        p.of.patterns.push_back(std::move(taken));
        if (index != nullptr) *index = static_cast<int>(p.of.patterns.size()) - 1;
        return int{VAROKEL_OK};
    });
}

int varokel_problem_set_measured_lineshape(varokel_problem *problem, const double *decay,
                                           int points) {
    return change(problem, [&](varokel_problem &p) {
        if (points != 0)
            return take_signal(p, decay, points, "the lineshape", p.of.measured_lineshape);
        p.of.measured_lineshape.clear();
        return int{VAROKEL_OK};
    });
}

int varokel_problem_set_fitted_lineshape(varokel_problem *problem, const double *coefficients,
                                         int count, int is_free) {
    return change(problem, [&](varokel_problem &p) {
        if (count < 0 || count > p.of.when.points || (count > 0 && coefficients == nullptr))
            return refuse_argument(p,
                                   "a lineshape has no " + std::to_string(count) + " coefficients");
        p.of.lineshape = signal_of(coefficients, count);
        p.of.lineshape_free = is_free != 0;
        return int{VAROKEL_OK};
    });
}

int varokel_problem_add_entry(varokel_problem *problem, const char *name, int line, int *index) {
    return change(problem, [&](varokel_problem &p) {
        if (line < VAROKEL_GAUSSIAN || line > VAROKEL_PATTERN)
            return refuse_argument(p, "there is no type of line " + std::to_string(line));
        engine::entry made;
        made.type = static_cast<engine::line_type>(line);
        p.names.resize(p.of.entries.size()); // a name whose entry found no memory goes
        p.names.emplace_back(name == nullptr ? "" : name);
        p.of.entries.push_back(made);
        if (index != nullptr) *index = static_cast<int>(p.of.entries.size()) - 1;
        return int{VAROKEL_OK};
    });
}

int varokel_problem_entries(const varokel_problem *problem) {
    return problem == nullptr ? 0 : static_cast<int>(problem->of.entries.size());
}

// A body that changes an entry.
template <class Body>
static int change_entry(varokel_problem *problem, int entry, Body &&body) {
    return change(problem, [&](varokel_problem &p) {
        if (entry < 0 || static_cast<std::size_t>(entry) >= p.of.entries.size())
            return refuse_argument(p, "there is no entry " + std::to_string(entry));
        return body(p, p.of.entries[static_cast<std::size_t>(entry)]);
    });
}

int varokel_problem_set_entry_pattern(varokel_problem *problem, int entry, int pattern) {
    return change_entry(problem, entry, [&](varokel_problem &p, engine::entry &e) {
        if (pattern < 0 || static_cast<std::size_t>(pattern) >= p.of.patterns.size())
            return refuse_argument(p, "there is no pattern " + std::to_string(pattern));
        e.pattern = pattern;
        return int{VAROKEL_OK};
    });
}

int varokel_problem_set_takes_lineshape(varokel_problem *problem, int entry, int takes) {
    return change_entry(problem, entry, [&](varokel_problem &, engine::entry &e) {
        e.takes_lineshape = takes != 0;
        return int{VAROKEL_OK};
    });
}

// A body that changes a parameter; unit: of the engine, in that of the interface.
template <class Body>
static int change_parameter(varokel_problem *problem, int entry, int quantity, Body &&body) {
    return change_entry(problem, entry, [&](varokel_problem &p, engine::entry &e) {
        if (quantity < 0 || quantity >= VAROKEL_QUANTITIES)
            return refuse_argument(p, "there is no quantity " + std::to_string(quantity));
        body(e.of[static_cast<std::size_t>(quantity)],
             engine::unit_of(quantity, p.of.when.hz_per_point));
        return int{VAROKEL_OK};
    });
}

int varokel_problem_set_free(varokel_problem *problem, int entry, int quantity, double start) {
    return change_parameter(problem, entry, quantity, [&](engine::parameter &of, double unit) {
        of.how = engine::link::free;
        of.start = start / unit;
    });
}

int varokel_problem_set_fixed(varokel_problem *problem, int entry, int quantity, double value) {
    return change_parameter(problem, entry, quantity, [&](engine::parameter &of, double unit) {
        of.how = engine::link::fixed;
        of.start = value / unit;
    });
}

int varokel_problem_set_tied(varokel_problem *problem, int entry, int quantity, int source,
                             double factor, double offset) {
    return change_parameter(problem, entry, quantity, [&](engine::parameter &of, double unit) {
        of.how = engine::link::tied;
        of.source = source;
        of.factor = factor;
        of.offset = offset / unit;
    });
}

int varokel_problem_set_window(varokel_problem *problem, int entry, int quantity, double lower,
                               double upper) {
    return change_parameter(problem, entry, quantity, [&](engine::parameter &of, double unit) {
        of.lower = lower / unit;
        of.upper = upper / unit;
    });
}
