// SPDX-License-Identifier: BSD-3-Clause
// fft_plan.h -- transform of a complex vector held as two arrays, the fast one of the model
#pragma once

// Factors of a transform of n points, made once per length and kept.
struct fft_plan;

// The plan for n points, a power of two. Null when n is none, or when memory is missing.
const fft_plan *fft_plan_of(int n);

// What a transform returns: where the result stands.
struct split_vector {
    double *re, *im;
};

// X[j] = factor sum_k x[k] exp(-2 pi i j k / n)
//
// Given:
//   re, im            double[n]  x, overwritten
//   work_re, work_im  double[n]  overwritten
//   centred           true: point j of the result is X[(j + n/2) mod n]
// Returned: the pair of arrays, of the two given, that holds the result
// Errors:   relative rms error about 1e-16 log2(n)
split_vector transform_split(const fft_plan &plan, double *re, double *im, double *work_re,
                             double *work_im, double factor, bool centred);

// Releases all plans.
void release_fft_plans();
