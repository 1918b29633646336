// SPDX-License-Identifier: BSD-3-Clause
// search.h -- from a start to the minimum of its basin
#pragma once

#include "engine/model.h"

#include "kernel/ranked_cholesky.h"

#include <functional>
#include <optional>
#include <span>
#include <vector>

namespace engine {

struct search_options {
    int most_linearizations = 200;
    double expected_decrease = 1e-6; // of the sum of squares [noise_sd^2], at which a search ends
};

enum class search_end {
    at_minimum,  // no step is expected to gain more than that
    at_rounding, // steps are too small for the numbers of a double to move
    limit,       // of linearizations
    stopped,     // by what watches
    not_finite   // the model is not, where the search began
};

// Where a fit is, before each step of its searches.
struct search_progress {
    int searches = 0;            // begun, this one among them
    int linearizations = 0;      // of all of them
    double sum_of_squares = 0.0; // of the residual, of this one [noise_sd^2]
};
// Sees that and says whether the fit goes on. It changes nothing of one that does.
typedef std::function<bool(const search_progress &)> search_watch;

struct minimum {
    search_end end = search_end::not_finite;
    std::vector<double> x;          // columns
    double sum_of_squares = 0.0;    // of the residual [noise_sd^2]
    double expected_decrease = 0.0; // still to be had, g^T H^-1 g [noise_sd^2]
    int linearizations = 0, evaluations = 0;
    std::vector<signed char>
        at_bound; // of a column: -1 lower, 1 upper edge, where the fit presses on
};

// Levenberg-Marquardt with Marquardt's scaling of the damping and an active set of the windows.
// Leaves the workspace linearized at the minimum.
//
// Given:
//   start  double[columns], moved into the windows
// Notes:
//   1. Columns that cannot be told apart get no step; the search ends all the same.
//   2. The sum of squares of the end is never above that of the start.
// Source: D. W. Marquardt, J. Soc. Indust. Appl. Math. 11 (1963) 431-441; J. J. More, Lecture Notes
//   in Mathematics 630 (1978) 105-116; J. Nocedal, S. J. Wright, Numerical Optimization, Springer
//   2006, sections 10.3 and 16.7; the change of the damping: H. B. Nielsen, IMM-REP-1999-05.
class searcher {
  public:
    minimum run(const model &of, model_workspace &ws, std::vector<double> start,
                const search_options &options);
    // Of all runs from now on; empty: nobody watches. Once it says no, later runs end at once, too.
    void watch(search_watch by) { watch_ = std::move(by); }
    bool stopped() const { return stopped_; }

  private:
    bool goes_on(double sum_of_squares);
    struct step_result {
        double predicted; // decrease of the sum of squares by the step
        bool positive;    // whether the matrix was positive definite
    };
    struct descent {
        minimum out; // x is where the search is
        std::vector<double> trial;
        std::span<const double> curvature; // at x; empty: not known, or of no use there
        double damping = 0.0, growth = 2.0;
        bool refused = false; // whether a step from x was
        bool curved = false;  // whether second derivatives are asked for at the next place
    };
    void hold_pressed(const model &of, std::span<const double> x, std::span<const double> products);
    step_result bounded_step(const model &of, std::span<const double> x,
                             std::span<const double> products, std::span<const double> curvature,
                             double damping);
    std::optional<double> promising_step(const model &of, std::span<const double> products,
                                         descent &at_x, const search_options &options,
                                         search_end &end);
    bool move_trial(const model &of, descent &at_x) const;
    std::optional<search_end> step_down(const model &of, model_workspace &ws,
                                        const search_options &options, descent &at_x);

    kernel::ranked_cholesky cholesky_;
    std::vector<double> damped_, undamped_, scale_, right_, solved_, step_;
    std::vector<int> chosen_;
    std::vector<signed char> pressed_; // columns held at an edge by the gradient
    std::vector<signed char> reached_; // columns that the step would carry over an edge
    search_watch watch_;
    search_progress done_;
    bool stopped_ = false;
};

} // namespace engine
