// SPDX-License-Identifier: BSD-3-Clause
// exact_fit.h -- the engine's fit of a start file, and its record
#pragma once

#include "files/problem/begin_time.h"
#include "files/problem/start_problem.h"

#include "engine/optimum.h"

#include <optional>
#include <string>
#include <vector>

namespace tools {

// What is kept of an exact fit, beside its values as a start file (result.par).
struct optimum_record {
    struct cause {
        std::string what;         // a verdict
        double number = 0.0;      // its figure
        std::vector<int> entries; // from 1
        std::string text;
    };
    struct begin {
        std::string name;
        double above = 0.0;    // the lowest [noise_sd^2]
        double shift_hz = 0.0; // that was applied to all frequencies
        bool same = false;     // as the lowest
    };
    // What the table says of a parameter that is not fixed, in points as the values; an edge that
    // is none is infinite.
    struct window {
        int entry = 0, quantity = 0; // from 1; as a start file has them
        double low = 0.0, high = 0.0;
    };
    std::string method; // "exact", or "both": the search of the fitter came first
    std::string verdict;
    double noise_sd = 0.0;       // [signal]
    double sum_of_squares = 0.0; // of the residual [noise_sd^2]
    double expected_decrease = 0.0;
    double root_reduced_chi_square = 0.0;  // per degree of freedom: what misfit is judged by
    std::optional<double> search_distance; // of the end of the search, in bounds (one sd)
    std::vector<cause> reasons;
    std::vector<begin> starts;
    int linearizations = 0, evaluations = 0;
    std::vector<engine::values_of_entry> values; // in points
    std::vector<std::complex<double>> lineshape;
    std::vector<std::array<bool, 5>> held; // at the edge of a window
    std::vector<window> windows;
    std::optional<begin_time_hint> begin_time; // that would explain the misfit
};

struct exact_options {
    int starts = 0;                   // beside those that the verdict asks for
    std::optional<start_file> search; // the end of the fitter's search
    engine::search_watch watch;       // one that says no ends the fit by an error
    bool begin_time_unknown = false;  // fit_exactly looks for one that would explain a misfit
};

struct exact_result {
    start_file result; // the optimum as a start file
    optimum_record record;
};

// Errors: bad_input with the entry and the reason when the engine cannot fit this.
exact_result fit_exactly(const start_file &start, problem_data data,
                         engine::model_workspace &workspace, const exact_options &options);

// The same for a problem and its model that are made already; the engine's report is kept beside
// it. Errors: bad_input.
struct exact_find {
    engine::optimum found;
    optimum_record record;
};
exact_find find_exactly(const start_file &start, const engine::fit_problem &problem,
                        const engine::model &of, engine::model_workspace &workspace,
                        const exact_options &options);

// What the engine refuses, with the name of the entry.
std::string refusal_text(const start_file &start, const engine::failure &why);

// The record as JSON, and back.
std::string optimum_text(const optimum_record &record);
// Errors: bad_input, naming file and item, for anything that optimum_text does not write.
optimum_record read_optimum(const std::string &file);

// "misfit: the residual is not white (7.2)", with names for entries where they are known.
std::string cause_text(const optimum_record::cause &cause, const std::vector<std::string> &names);

} // namespace tools
