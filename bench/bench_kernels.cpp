// SPDX-License-Identifier: BSD-3-Clause
// bench_kernels.cpp -- the kernels of a model evaluation, the transform beside FFTW
//
// FFTW is a yardstick in this program only; the product does not link it.
#include "kernel/transform_plan.h"
#include "model/fft.h"
#include "model/l_shapes.h"
#include "model/objective.h"
#include "model/vector_lib.h"
#include "oracle/plain_fit.h"
#include "problem.h"
#include "run/state.h"

#include <benchmark/benchmark.h>
#include <fftw3.h>

#include <cmath>
#include <new>
#include <vector>

// Storage that begins on a cache line, as the run's own arrays and FFTW's do.
template <class T>
struct line_allocator {
    using value_type = T;
    T *allocate(std::size_t n) {
        return static_cast<T *>(::operator new(n * sizeof(T), std::align_val_t(64)));
    }
    void deallocate(T *p, std::size_t) { ::operator delete(p, std::align_val_t(64)); }
    bool operator==(const line_allocator &) const { return true; }
};
typedef std::vector<double, line_allocator<double>> vector;

static void lengths(benchmark::internal::Benchmark *bench) {
    for (int n : {256, 512, 1024, 2048, 4096}) bench->Arg(n);
}

static void transform(benchmark::State &state) {
    const int n = static_cast<int>(state.range(0));
    vector re(static_cast<std::size_t>(n)), im(re), work_re(re), work_im(re);
    const kernel::transform_plan plan(n);
    for (auto _ : state)
        benchmark::DoNotOptimize(
            plan.transform(re.data(), im.data(), work_re.data(), work_im.data(), 1.0 / n, true));
}

// Both directions of placing the result; the faster one counts.
static void fftw_transform(benchmark::State &state) {
    const int n = static_cast<int>(state.range(0));
    const bool in_place = state.range(1) != 0;
    fftw_complex *a = fftw_alloc_complex(static_cast<std::size_t>(n));
    fftw_complex *b = fftw_alloc_complex(static_cast<std::size_t>(n));
    fftw_plan plan = fftw_plan_dft_1d(n, a, in_place ? a : b, FFTW_FORWARD, FFTW_MEASURE);
    for (int i = 0; i < n; ++i) a[i][0] = a[i][1] = 0.0;
    for (auto _ : state) fftw_execute(plan);
    fftw_destroy_plan(plan);
    fftw_free(a);
    fftw_free(b);
}

static void plain_transform(benchmark::State &state) {
    const int n = static_cast<int>(state.range(0));
    vector data(2 * static_cast<std::size_t>(n)), table(256);
    create_lookup(table.data(), n, 1);
    for (auto _ : state) four2(data.data(), table.data(), n, 1);
}

template <class F>
static void curve_with(benchmark::State &state, F generate) {
    const int n = static_cast<int>(state.range(0));
    vector re(static_cast<std::size_t>(n)), im(re);
    const int flags[2] = {0, 0};
    for (auto _ : state) {
        generate(1, n, n, 0, flags, 0, 1.5, 0.3 * n + 0.2, 1.2, 20.0, 2.0, 0.0, re.data(),
                 im.data(), nullptr, nullptr, nullptr, nullptr, 1.0, nullptr, 0);
        benchmark::DoNotOptimize(re.data());
    }
}
static void curve(benchmark::State &state) {
    curve_with(state, Calculate_td_VoigtCurve);
}
static void plain_curve(benchmark::State &state) {
    const int n = static_cast<int>(state.range(0));
    const double line[] = {1.5, 0.3 * n + 0.2, 1.2, 20.0, 2.0};
    for (auto _ : state) benchmark::DoNotOptimize(plain::decay(line, n, n));
}

static void chi_square_sum(benchmark::State &state) {
    make_problem(5, static_cast<int>(state.range(0)));
    spec = 0; // the sum alone
    for (auto _ : state) benchmark::DoNotOptimize(chi_square_of(par));
}

static void rotate(benchmark::State &state) {
    const int n = static_cast<int>(state.range(0));
    vector v(static_cast<std::size_t>(n));
    int half = n / 2;
    for (auto _ : state) Rotate_Vector(n, half, v.data());
}

static void truncate(benchmark::State &state) {
    const int n = static_cast<int>(state.range(0));
    vector re(static_cast<std::size_t>(n)), im(re), table(256);
    create_lookup(table.data(), n, 1);
    for (auto _ : state) Truncate_Spectrum(n, n / 2, re.data(), im.data(), table.data());
}

static void cross_correlation(benchmark::State &state) {
    const int n = static_cast<int>(state.range(0));
    vector a(static_cast<std::size_t>(n), 1.0), b(a), out(a);
    for (auto _ : state) Convolution(n, -n / 16, n / 16 - 1, a.data(), b.data(), out.data());
}

BENCHMARK(transform)->Apply(lengths);
BENCHMARK(fftw_transform)->ArgsProduct({{256, 512, 1024, 2048, 4096}, {0, 1}});
BENCHMARK(plain_transform)->Apply(lengths);
BENCHMARK(curve)->Apply(lengths);
BENCHMARK(plain_curve)->Apply(lengths);
BENCHMARK(chi_square_sum)->Apply(lengths);
BENCHMARK(rotate)->Apply(lengths);
BENCHMARK(truncate)->Apply(lengths);
BENCHMARK(cross_correlation)->Apply(lengths);

BENCHMARK_MAIN();
