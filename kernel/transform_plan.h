// SPDX-License-Identifier: BSD-3-Clause
// transform_plan.h -- transform of a complex vector of 2^k points held as two arrays
#pragma once

#include <memory>

namespace kernel {

// What a transform returns: where the result stands.
struct split_vector {
    double *re, *im;
};

// The factors of a transform of n points. Made once, constant from then on: many threads may
// transform with one plan at a time, each with arrays of its own.
class transform_plan {
  public:
    static constexpr int most_points = 1 << 24;
    static constexpr int factors_per_butterfly = 6; // w, w^2, w^3: real and imaginary parts

    // Whether there is a plan for n points: n = 1, 2, 4 ... most_points.
    static bool exists_for(long long n);
    // Doubles that the factors for n points take.
    static long long factor_count(int n);

    // A plan with its factors in storage of its own.
    // Errors: std::invalid_argument when there is none for n points, std::bad_alloc.
    explicit transform_plan(int n);
    // The same in storage of the caller: factor_count(n) doubles that outlive the plan.
    // Errors: std::invalid_argument when there is none for n points.
    transform_plan(int n, double *factors);

    int points() const { return n_; }

    // X[j] = factor sum_k x[k] exp(-2 pi i j k / n)
    //
    // Given:
    //   re, im            double[n]  x, overwritten
    //   work_re, work_im  double[n]  overwritten
    //   centred           true: point j of the result is X[(j + n/2) mod n]
    // Returned: the pair of arrays, of the two given, that holds the result
    // Errors:   relative rms error about 1e-16 log2(n)
    split_vector transform(double *re, double *im, double *work_re, double *work_im, double factor,
                           bool centred) const;

  private:
    static constexpr int most_passes = 12;
    struct release_factors {
        void operator()(double *factors) const;
    };

    void fill(double *factors);
    void transform_short(double *&xr, double *&xi, double *&yr, double *&yi, double factor,
                         bool centred) const;

    int n_ = 1;
    int passes_ = 0;                       // of radix 4, before the last one
    int last_radix_ = 1;                   // 1, 2, 4 or 8: of the last pass
    const double *factors_[most_passes]{}; // per pass; the first one in six rows of n/4
    std::unique_ptr<double, release_factors> own_;
};

} // namespace kernel
