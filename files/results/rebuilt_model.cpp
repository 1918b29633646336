// SPDX-License-Identifier: BSD-3-Clause
// rebuilt_model.cpp -- the model of a control file, by the engine
#include "files/results/rebuilt_model.h"

#include "files/base/tool_error.h"
#include "files/problem/start_problem.h"
#include "files/spectra/signal_file.h"
#include "files/start/read_start_file.h"

#include "engine/covariance.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <limits>

namespace tools {

double rebuilt_model::covariance_of(std::size_t k, int q, std::size_t l, int r) const {
    const auto side = static_cast<std::size_t>(quantities) * entries.size();
    const auto place = [](std::size_t entry, int of) {
        return static_cast<std::size_t>(quantities) * entry + static_cast<std::size_t>(of);
    };
    return covariance[side * place(k, q) + place(l, r)];
}

// Where the model is evaluated: the columns of these values.
static std::vector<double> place_of(const engine::model &of, const rebuilt_from &from) {
    if (from.values.empty()) return of.given();
    std::vector<double> x = of.map().columns_of(from.values);
    const std::vector<double> all = of.given();
    x.insert(x.end(), all.begin() + of.map().columns(), all.end());
    return x;
}

static std::vector<signed char> held_columns(const engine::model &of, const rebuilt_from &from) {
    std::vector<signed char> held(static_cast<std::size_t>(of.columns()), 0);
    for (int c = 0; c < of.map().columns(); ++c) {
        const engine::column &column = of.map().at(c);
        const auto k = static_cast<std::size_t>(column.entry);
        if (k < from.held.size() && from.held[k][static_cast<std::size_t>(column.of)])
            held[static_cast<std::size_t>(c)] = 1;
    }
    return held;
}

static void take_covariance(rebuilt_model &model, const engine::entry_covariance &covariance,
                            const engine::model &of) {
    const int n = static_cast<int>(model.entries.size());
    for (const int c : covariance.dependent()) {
        if (c >= of.map().columns()) continue;
        const std::string number = std::to_string(of.map().at(c).entry + 1);
        if ((", " + model.dependent + ",").find(", " + number + ",") == std::string::npos)
            model.dependent += (model.dependent.empty() ? "" : ", ") + number;
    }
    for (int a = 0; a < quantities * n; ++a)
        for (int b = 0; b < quantities * n; ++b)
            model.covariance.push_back(
                covariance.of(a / quantities, static_cast<engine::quantity>(a % quantities),
                              b / quantities, static_cast<engine::quantity>(b % quantities)));
    for (int k = 0; k < n; ++k) {
        std::array<double, quantities> &errors = model.parameter_errors.emplace_back();
        for (int q = 0; q < quantities; ++q)
            errors[static_cast<std::size_t>(q)] =
                2.0 * covariance.error(k, quantity_of(q)) /
                points_of_unit(q, model.entries[static_cast<std::size_t>(k)].type,
                               model.hz_per_point);
    }
    model.has_covariance = true;
    if (!model.dependent.empty())
        model.why = "the parameters of entry " + model.dependent +
                    " cannot be told apart, or have no influence on the model";
}

// Points by which a first step that aligns moves all entries: the lag of the largest
// cross-correlation of the magnitudes of data and model over the step's intervals, within a
// sixteenth of the band.
static double aligned_points(const start_step &step, const complex_signal &data,
                             const complex_signal &fit) {
    const auto n = static_cast<long long>(data.size());
    std::vector<double> x(data.size(), 0.0), y(data.size(), 0.0);
    for (const auto &[first, last] : step.intervals)
        for (long long i = std::max(0, first); i <= std::min<long long>(n - 1, last); ++i) {
            x[static_cast<std::size_t>(i)] = std::abs(data[static_cast<std::size_t>(i)]);
            y[static_cast<std::size_t>(i)] = std::abs(fit[static_cast<std::size_t>(i)]);
        }
    double largest = -1.0;
    long long best = 0;
    for (long long lag = -n / 16; lag < n / 16; ++lag) {
        double sum = 0.0;
        for (long long i = std::max(0LL, -lag); i < std::min(n, n - lag); ++i)
            sum += x[static_cast<std::size_t>(i + lag)] * y[static_cast<std::size_t>(i)];
        if (sum > largest) {
            largest = sum;
            best = lag;
        }
    }
    return static_cast<double>(best);
}

static void take_curves(rebuilt_model &model, const rebuilt_from &from,
                        engine::fit_problem problem) {
    engine::model_workspace ws;
    const engine::channel part = problem.part;
    problem.part = engine::channel::both; // chi-square of the whole residual
    const engine::result<engine::model> whole = engine::model::make(problem);
    if (!whole) {
        model.why = whole.why().reason;
        if (whole.why().entry >= 0)
            model.why = "entry " + std::to_string(whole.why().entry + 1) + ": " + model.why;
        return;
    }
    const std::vector<double> x = place_of(*whole, from);
    ws.prepare(*whole);
    model.chi_in_intervals = ws.chi_square(*whole, x) * problem.noise_sd * problem.noise_sd;
    model.points_in_intervals = whole->rows() / 2;
    if (!model.steps.empty() && model.steps.front().switches[align] == 1)
        model.aligned_points =
            aligned_points(model.steps.front(), from.data, ws.spectrum(*whole, x));
    if (from.curves) {
        model.fit = ws.spectrum(*whole, x);
        for (int k = 0; k < static_cast<int>(model.entries.size()); ++k)
            model.components.push_back(ws.spectrum(*whole, x, k));
    }
    if (!(from.noise_sd > 0.0)) return;
    problem.part = part;
    const engine::result<engine::model> of = engine::model::make(problem);
    if (of->columns() == 0) {
        model.why = "no parameter is free";
        return;
    }
    ws.prepare(*of);
    if (!std::isfinite(ws.linearize(*of, x))) {
        model.why = "the model of the file is not finite";
        return;
    }
    const std::vector<signed char> held = held_columns(*of, from);
    take_covariance(model, engine::entry_covariance(*of, x, ws.products(), held), *of);
}

rebuilt_model rebuild_model(const std::string &folder, const std::string &file,
                            const rebuilt_from &from) {
    rebuilt_model model;
    model.chi_in_intervals = model.aligned_points = std::numeric_limits<double>::quiet_NaN();
    try {
        static_cast<start_file &>(model) =
            read_start_file((std::filesystem::path(folder) / file).string());
        model.read = true;
        if (from.data.size() != static_cast<std::size_t>(model.points)) return model;
        problem_data data;
        data.spectrum = from.data;
        if (from.noise_sd > 0.0) data.noise_sd = from.noise_sd;
        data.patterns = patterns_of(model, {folder});
        if (model.fit_mode == 2)
            data.measured_lineshape = read_points(from.reference, 0, model.points);
        engine::fit_problem problem = problem_of(
            model, std::move(data), from.by_strategy ? freedom::by_strategy : freedom::by_links);
        if (!from.lineshape.empty()) problem.lineshape = from.lineshape;
        take_curves(model, from, std::move(problem));
    } catch (const tool_error &error) {
        model.why = error.what();
    }
    return model;
}

} // namespace tools
