// SPDX-License-Identifier: BSD-3-Clause
// bench_engine.cpp -- Jacobian and normal matrix, and whole fits of the engine, beside FFTW
//
// FFTW is a yardstick in this program only; the product does not link it.
#include "engine/optimum.h"
#include "engine_problem.h"

#include <benchmark/benchmark.h>
#include <fftw3.h>

#include <cstdio>
#include <stdexcept>
#include <string>

// Both directions of placing the result; the faster one counts.
static void fftw_transform(benchmark::State &state) {
    const int n = 1024;
    const bool in_place = state.range(0) != 0;
    fftw_complex *a = fftw_alloc_complex(n), *b = fftw_alloc_complex(n);
    fftw_plan plan = fftw_plan_dft_1d(n, a, in_place ? a : b, FFTW_FORWARD, FFTW_MEASURE);
    for (int i = 0; i < n; ++i) a[i][0] = a[i][1] = 0.0;
    for (auto _ : state) fftw_execute(plan);
    fftw_destroy_plan(plan);
    fftw_free(a);
    fftw_free(b);
}

static void linearized(benchmark::State &state, const engine::fit_problem &problem,
                       bool curvature) {
    const auto model = engine::model::make(problem);
    if (!model) throw std::runtime_error(model.why().reason);
    engine::model_workspace workspace;
    workspace.prepare(*model);
    const std::vector<double> x = model->starts();
    std::vector<double> y = x; // by turns: where it is already, nothing is done
    y.front() *= 1.0 + 1e-12;  // an area
    workspace.linearize(*model, x);
    bool second = true;
    for (auto _ : state) {
        benchmark::DoNotOptimize(workspace.linearize(*model, second ? y : x, curvature));
        second = !second;
    }
    state.SetLabel(std::to_string(model->columns()) + " free");
}

// Model, Jacobian and J^T J of the 15 lines; the second also with second derivatives, the third of
// an interval that leaves out an eighth of the points.
static void linearize_fifteen(benchmark::State &state) {
    linearized(state, fifteen_lines(0), false);
}
static void linearize_fifteen_curved(benchmark::State &state) {
    linearized(state, fifteen_lines(0), true);
}

static void linearize_fifteen_interval(benchmark::State &state) {
    auto problem = fifteen_lines(0);
    problem.intervals = {{64, 959}};
    linearized(state, problem, false);
}

static void linearize(benchmark::State &state) {
    linearized(state,
               many_lines(static_cast<int>(state.range(0)), static_cast<int>(state.range(1))),
               false);
}

static void model(benchmark::State &state) {
    const auto problem =
        many_lines(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
    const auto made = engine::model::make(problem);
    engine::model_workspace workspace;
    workspace.prepare(*made);
    const std::vector<double> x = made->starts();
    std::vector<double> y = x; // by turns: where it is already, the curves are kept
    y.front() *= 1.0 + 1e-12;  // an area
    bool second = true;
    for (auto _ : state) {
        benchmark::DoNotOptimize(workspace.chi_square(*made, second ? y : x));
        second = !second;
    }
}

// From the bad starts to the optimum with covariance and verdict, the 20 spectra in turn.
static void optima_of_fifteen(benchmark::State &state, std::vector<engine::interval> intervals) {
    std::vector<engine::fit_problem> problems;
    for (int i = 0; i < 20; ++i) problems.push_back(fifteen_lines(i));
    for (engine::fit_problem &problem : problems) problem.intervals = intervals;
    engine::model_workspace workspace;
    long long linearizations = 0, searches = 0;
    for (auto _ : state)
        for (const engine::fit_problem &problem : problems) {
            const auto fit = engine::find_optimum(problem, workspace);
            if (!fit) throw std::runtime_error(fit.why().reason);
            linearizations += fit->linearizations;
            searches += static_cast<long long>(fit->starts.size());
        }
    const double fits = 20.0 * static_cast<double>(state.iterations());
    char text[60]; // a label: counters of some benchmarks alone are no table
    std::snprintf(text, sizeof text, "%.1f linearizations, %.1f searches",
                  static_cast<double>(linearizations) / fits, static_cast<double>(searches) / fits);
    state.SetLabel(text);
}

static void optimum_fifteen(benchmark::State &state) {
    optima_of_fifteen(state, {});
}
static void optimum_fifteen_interval(benchmark::State &state) {
    optima_of_fifteen(state, {{64, 959}});
}

BENCHMARK(fftw_transform)->Arg(0)->Arg(1);
BENCHMARK(linearize_fifteen);
BENCHMARK(linearize_fifteen_curved);
BENCHMARK(linearize_fifteen_interval);
BENCHMARK(linearize)->ArgsProduct({{5, 11, 20, 49}, {256, 512, 1024, 2048, 4096}});
BENCHMARK(model)->ArgsProduct({{5, 11, 20, 49}, {256, 512, 1024, 2048, 4096}});
BENCHMARK(optimum_fifteen)->Unit(benchmark::kMicrosecond);
BENCHMARK(optimum_fifteen_interval)->Unit(benchmark::kMicrosecond);

BENCHMARK_MAIN();
