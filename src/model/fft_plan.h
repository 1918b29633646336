// SPDX-License-Identifier: BSD-3-Clause
// fft_plan.h -- the plans of the model's transform, one per length, kept for the run
#pragma once

#include "kernel/transform_plan.h"

// The plan for n points, a power of two. Null when n is none, or when memory is missing.
const kernel::transform_plan *fft_plan_of(int n);

// Releases all plans.
void release_fft_plans();
