// SPDX-License-Identifier: BSD-3-Clause
// bench_fit.cpp -- whole fits in process: three steps of conjugate gradients and the bounds
#include "errors/error_bounds.h"
#include "minimize/frprmn.h"
#include "model/objective.h"
#include "oracle/plain_fit.h"
#include "problem.h"
#include "run/state.h"
#include "support/support.h"

#include <benchmark/benchmark.h>

#include <vector>

static constexpr int steps = 3;
static constexpr int iterations = 20; // a step; a tolerance of 1e-12 is not reached in them

template <class F>
static void run(benchmark::State &state, F &&minimize) {
    make_problem(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
    itmax = iterations;
    for (auto _ : state) {
        restart_problem();
        for (int step = 0; step < steps; ++step) minimize(npar, par);
    }
    state.counters["chi"] = minimum;
    state.counters["iterations"] = niter;
}

static void fit(benchmark::State &state) {
    run(state, [](const int &n, double *p) { frprmn(n, p); });
}
static void plain_fit(benchmark::State &state) {
    run(state, [](const int &n, double *p) { plain::frprmn(n, p); });
}

static void sizes(benchmark::internal::Benchmark *bench) {
    for (int entries : {5, 11, 20, 49})
        for (int points : {512, 1024, 2048, 4096}) bench->Args({entries, points});
}
static void small_sizes(benchmark::internal::Benchmark *bench) {
    bench->Args({5, 1024})->Args({11, 1024});
}
BENCHMARK(fit)->Apply(sizes)->Unit(benchmark::kMillisecond);
BENCHMARK(plain_fit)->Apply(small_sizes)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
