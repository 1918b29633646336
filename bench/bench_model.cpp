// SPDX-License-Identifier: BSD-3-Clause
// bench_model.cpp -- model, gradient, line-search evaluation and bounds, beside their plain forms
#include "errors/error_bounds.h"
#include "model/gradient.h"
#include "model/objective.h"
#include "oracle/plain_fit.h"
#include "problem.h"
#include "run/state.h"
#include "support/support.h"

#include <benchmark/benchmark.h>

#include <vector>

static void sizes(benchmark::internal::Benchmark *bench) {
    for (int entries : {5, 11, 20, 49})
        for (int points : {256, 512, 1024, 2048, 4096}) bench->Args({entries, points});
}

static void small_sizes(benchmark::internal::Benchmark *bench) {
    bench->Args({5, 1024})->Args({11, 1024});
}

template <class F>
static void run(benchmark::State &state, F &&f) {
    make_problem(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
    chi_square_of(par);
    for (auto _ : state) f();
    state.counters["free"] = free_parameters();
}

static void model(benchmark::State &state) {
    run(state, [] { benchmark::DoNotOptimize(chi_square_of(par)); });
}
static void plain_model(benchmark::State &state) {
    run(state, [] { benchmark::DoNotOptimize(plain::chi_square_of(par)); });
}
static void gradient(benchmark::State &state) {
    run(state, [f0 = 0.0, g = std::vector<double>()]() mutable {
        if (g.empty()) {
            g.resize(static_cast<std::size_t>(npar));
            f0 = chi_square_of(par);
        }
        dfnc(f0, par, g.data());
    });
}
static void plain_gradient(benchmark::State &state) {
    run(state, [f0 = 0.0, g = std::vector<double>()]() mutable {
        if (g.empty()) {
            g.resize(static_cast<std::size_t>(npar));
            f0 = plain::chi_square_of(par);
        }
        plain::dfnc(f0, par, g.data());
    });
}
static void line_search_evaluation(benchmark::State &state) {
    run(state, [x = 0.0]() mutable {
        ncom = npar;
        for (int i = 0; i < npar; ++i) pcom[i] = par[i];
        benchmark::DoNotOptimize(func(x));
    });
}
static void bounds(benchmark::State &state) {
    // the bounds announce themselves on standard output, which belongs to the benchmark
    support::stdout_of([&] { run(state, [] { compute_error_bounds(); }); });
}
static void plain_bounds(benchmark::State &state) {
    run(state, [errors = std::vector<double>()]() mutable {
        errors.resize(static_cast<std::size_t>(npar));
        plain::error_bounds(par, errors.data());
    });
}

BENCHMARK(model)->Apply(sizes)->Unit(benchmark::kMicrosecond);
BENCHMARK(plain_model)->Apply(sizes)->Unit(benchmark::kMicrosecond);
BENCHMARK(line_search_evaluation)->Apply(sizes)->Unit(benchmark::kMicrosecond);
BENCHMARK(gradient)->Apply(sizes)->Unit(benchmark::kMicrosecond);
BENCHMARK(plain_gradient)->Apply(sizes)->Unit(benchmark::kMicrosecond);
BENCHMARK(bounds)->Apply(sizes)->Unit(benchmark::kMicrosecond);
BENCHMARK(plain_bounds)->Apply(small_sizes)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
