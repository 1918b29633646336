// SPDX-License-Identifier: BSD-3-Clause
// fit_record.h -- what is kept of a fit: a record of fixed size, with a check sum
//
// A shard appends records to its journal as fits end. A process that is killed leaves at most one
// torn record at the end, which its check sum or its length gives away. At the end of the shard the
// records go into its part file, in the order of the manifest.
#pragma once

#include "files/base/not_known.h"
#include "files/batch/batch_plan.h"
#include "files/problem/exact_fit.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tools {

// withdrawn: in a journal only; the fit with this line that stands before it counts no more
enum class fit_state : std::int32_t { fitted = 1, failed = 2, not_tried = 3, withdrawn = 4 };

inline constexpr const char *remark_end = " | ";
// Beginnings of remarks: of both methods one failed, and why.
inline constexpr const char *no_exact_fit = "no exact fit, the search stands alone: ";
inline constexpr const char *no_search = "no search: ";
// Of two start values one failed, and why.
inline constexpr const char *no_other_start = "no fit from the other start values: ";

// Of a spectrum that is not tried because it holds nothing, such as a voxel outside of the body.
inline constexpr const char *reason_all_zero = "all its points are zero";

// What an exact fit adds to the figures of a search.
struct exact_facts {
    fit_method method = fit_method::exact; // both: the search came first
    engine::finding verdict = engine::finding::optimum;
    std::int32_t starts = 0;                    // that were tried
    double expected_decrease = not_known;       // of the sum of squares, still to be had [noise^2]
    double search_distance = not_known;         // of the search's end from the optimum, in bounds
    std::vector<optimum_record::cause> reasons; // of the verdict; most_causes at most
    static constexpr std::size_t most_causes = 8;
};

struct fit_record {
    long long line = 0; // of the manifest
    fit_state state = fit_state::failed;
    std::int32_t iterations = 0, weighting = 0, free_parameters = 0;
    std::int32_t gradients = 0; // of the last step, as the log has them; 0 when it is silent
    // quality, noise real, noise imaginary, chi before, chi after, chi unweighted, quality from the
    // unweighted sum; as the .exl has them
    std::array<double, 7> figures{};
    double quality_before = not_known; // residual of the start values over the noise
    double snr = not_known;            // highest magnitude of the model over the noise
    // why, of a fit that failed or was not tried; else what its log remarks, remark_end between
    std::string reason;
    std::optional<exact_facts> exact; // none for a search alone
    // per entry: area, frequency, Gaussian width, phase, Lorentzian width as .mat and .err have
    // them; not numbers for a fit that failed
    std::vector<double> values, errors;
    std::vector<double>
        entry_snr; // per entry: highest magnitude of its own spectrum over the noise
    // of the errors of the free parameters, as packed_correlations has them; empty where they are
    // not known
    std::vector<double> correlations;
};

// Fowler-Noll-Vo, 64 bits, variant 1a: it finds torn and changed bytes.
std::uint64_t check_sum(const char *bytes, std::size_t count);

// Bytes of a record of this shape.
std::size_t record_size(const record_shape &shape);
std::string record_bytes(const fit_record &record, const record_shape &shape);
// false when the bytes are torn or damaged, and when they hold what no fit has: another state, a
// count below 0, a method or a verdict that there is not, a correlation beyond 1. The line is not
// looked at. Texts are UTF-8 without control characters then.
bool read_record(const char *bytes, const record_shape &shape, fit_record &record);

// Failed, or of two methods or two start values one: what --again does once more.
bool has_failure(const fit_record &record);

// A record without results.
fit_record record_without_fit(long long line, fit_state state, const std::string &reason,
                              std::size_t entries);

} // namespace tools
