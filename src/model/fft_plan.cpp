// SPDX-License-Identifier: BSD-3-Clause
// fft_plan.cpp -- the plans of the model's transform, one per length, kept for the run
#include "model/fft_plan.h"

#include "run/capacity.h"
#include "run/storage.h"

#include <optional>

static constexpr int most_lengths = 25; // 2^0 ... 2^24
static_assert(1 << (most_lengths - 1) == kernel::transform_plan::most_points);
static_assert(max_points == kernel::transform_plan::most_points);

struct kept_plan {
    double *factors = nullptr;
    std::optional<kernel::transform_plan> plan;
};

static kept_plan plans[most_lengths];

const kernel::transform_plan *fft_plan_of(int n) {
    if (!kernel::transform_plan::exists_for(n)) return nullptr;
    int bits = 0;
    while ((1 << bits) < n) ++bits;
    kept_plan &kept = plans[bits];
    if (kept.factors == nullptr) {
        kept.factors = new_doubles(kernel::transform_plan::factor_count(n),
                                   " Memory requested to store the factors of a transform is "
                                   "not available\n");
        if (kept.factors == nullptr) return nullptr;
        kept.plan.emplace(n, kept.factors);
    }
    return &*kept.plan;
}

void release_fft_plans() {
    for (kept_plan &kept : plans) {
        kept.plan.reset();
        release(kept.factors);
        kept.factors = nullptr;
    }
}
