// SPDX-License-Identifier: BSD-3-Clause
// search.cpp -- from a start to the minimum of its basin
//
// With residual r and Jacobian J of the model, H = J^T J, g = J^T r: a step s changes the sum of
// squares by -2 g.s + s.H s to second order, most for H s = g, by g^T H^-1 g.
#include "engine/search.h"

#include <algorithm>
#include <cmath>

namespace engine {

static constexpr double first_damping = 1e-3;
static constexpr double least_gain = 1e-4; // of the predicted one, for a step to be taken
// A step that is expected to gain less [noise_sd^2] is near enough to the minimum for the second
// derivatives of the model to be of use: with them the search ends in a few steps, where J^T J
// alone goes on by a constant factor a step as long as the residual is not small.
static constexpr double curved_gain = 1e3;
// Below this part of the sum of squares a difference of two sums is rounding.
static constexpr double rounding = 1e-12;

static std::size_t at(int i) {
    return static_cast<std::size_t>(i);
}

void searcher::hold_pressed(const model &of, std::span<const double> x,
                            std::span<const double> products) {
    const int n = of.columns();
    const double *const g = products.data() + n * (n + 1);
    pressed_.assign(at(n), 0);
    for (int c = 0; c < of.map().columns(); ++c) {
        const column &col = of.map().at(c);
        if (x[at(c)] <= col.lower && g[c] <= 0.0) pressed_[at(c)] = -1;
        if (x[at(c)] >= col.upper && g[c] >= 0.0) pressed_[at(c)] = 1;
    }
}

// The damped step of the columns that are free; one that would leave its window goes to the edge,
// and the others are solved for again, as often as one more does.
searcher::step_result searcher::bounded_step(const model &of, std::span<const double> x,
                                             std::span<const double> products,
                                             std::span<const double> curvature, double damping) {
    const int n = of.columns(), m = of.map().columns();
    const std::size_t stride = at(n + 1);
    const double *const g = products.data() + at(n) * stride;
    step_.assign(at(n), 0.0);
    reached_ = pressed_;
    damped_.assign(products.begin(), products.end());
    if (!curvature.empty())
        for (int c = 0; c < n; ++c)
            for (int b = 0; b < n; ++b) damped_[at(c) * stride + at(b)] -= curvature[at(c * n + b)];
    undamped_ = damped_;
    for (int c = 0; c < n; ++c) damped_[at(c) * stride + at(c)] += damping * scale_[at(c)];
    bool positive = true;
    for (int pass = 0; pass <= n; ++pass) {
        chosen_.clear();
        for (int c = 0; c < n; ++c)
            if (reached_[at(c)] == 0) chosen_.push_back(c);
        if (chosen_.empty()) break;
        right_.resize(chosen_.size());
        solved_.resize(chosen_.size());
        for (std::size_t i = 0; i < chosen_.size(); ++i) {
            const int c = chosen_[i];
            double sum = g[c];
            for (int b = 0; b < m; ++b)
                if (reached_[at(b)] != 0) sum -= damped_[at(c) * stride + at(b)] * step_[at(b)];
            right_[i] = sum;
        }
        cholesky_.factor(damped_, n + 1, chosen_);
        cholesky_.solve(right_, solved_);
        positive = cholesky_.rank() == static_cast<int>(chosen_.size());
        bool all_inside = true;
        for (std::size_t i = 0; i < chosen_.size(); ++i) {
            const int c = chosen_[i];
            step_[at(c)] = solved_[i];
            if (c >= m) continue;
            const column &col = of.map().at(c);
            const double to = x[at(c)] + solved_[i];
            if (to >= col.lower && to <= col.upper) continue;
            reached_[at(c)] = to < col.lower ? -1 : 1;
            step_[at(c)] = (to < col.lower ? col.lower : col.upper) - x[at(c)];
            all_inside = false;
        }
        if (all_inside) break;
    }
    double gain = 0.0;
    for (int c = 0; c < n; ++c) {
        double along = 0.0;
        for (int b = 0; b < n; ++b) along += undamped_[at(c) * stride + at(b)] * step_[at(b)];
        gain += step_[at(c)] * (2.0 * g[c] - along);
    }
    return {gain, positive};
}

bool searcher::goes_on(double sum_of_squares) {
    done_.sum_of_squares = sum_of_squares;
    if (!stopped_ && watch_) stopped_ = !watch_(done_);
    return !stopped_;
}

// Makes the damped step from x and returns how far the sum of squares is expected to fall; nothing
// when that is not worth a step: the search ends then, as `end` says.
std::optional<double> searcher::promising_step(const model &of, std::span<const double> products,
                                               descent &at_x, const search_options &options,
                                               search_end &end) {
    const std::vector<double> &x = at_x.out.x;
    step_result step = bounded_step(of, x, products, at_x.curvature, at_x.damping);
    if (!at_x.curvature.empty() && !step.positive) {
        at_x.curvature = {};
        step = bounded_step(of, x, products, {}, at_x.damping);
    }
    end = search_end::at_rounding;
    if (!(step.predicted > options.expected_decrease)) {
        // what the undamped step would gain decides
        const double damped = at_x.damping;
        step = bounded_step(of, x, products, at_x.curvature, at_x.damping = 0.0);
        if (!(step.predicted > options.expected_decrease)) {
            end = search_end::at_minimum;
            return std::nullopt;
        }
        if (at_x.refused) { // smaller steps are too small, larger ones go wrong
            at_x.damping = damped;
            return std::nullopt;
        }
    }
    if (step.predicted < rounding * at_x.out.sum_of_squares) return std::nullopt;
    return step.predicted;
}

// x and the step, inside the windows. Returns whether that is another place.
bool searcher::move_trial(const model &of, descent &at_x) const {
    bool moves = false;
    for (int c = 0; c < of.columns(); ++c) {
        double &to = at_x.trial[at(c)];
        to = at_x.out.x[at(c)] + step_[at(c)];
        if (c < of.map().columns()) to = of.map().inside(c, to);
        moves = moves || to != at_x.out.x[at(c)];
    }
    return moves;
}

// Looks for a place below x with ever more damping. Returns why there is none; nothing when trial
// is one.
std::optional<search_end> searcher::step_down(const model &of, model_workspace &ws,
                                              const search_options &options, descent &at_x) {
    const std::span<const double> products = ws.products();
    minimum &out = at_x.out;
    at_x.refused = false;
    for (;;) {
        search_end end = search_end::at_minimum;
        const std::optional<double> predicted = promising_step(of, products, at_x, options, end);
        if (!predicted) return end;
        if (!move_trial(of, at_x) || at_x.damping > 1e30) return search_end::at_rounding;
        if (out.evaluations >= 2 * options.most_linearizations ||
            out.linearizations >= options.most_linearizations)
            return search_end::limit;
        const double there = ws.chi_square(of, at_x.trial);
        ++out.evaluations;
        const double gain = out.sum_of_squares - there;
        if (std::isfinite(there) && gain > least_gain * *predicted) {
            const double q = 2.0 * gain / *predicted - 1.0;
            at_x.damping *= std::max(0.1, 1.0 - q * q * q);
            at_x.growth = 2.0;
            at_x.curved = of.lineshape_columns() == 0 && *predicted < curved_gain;
            return std::nullopt;
        }
        at_x.refused = true;
        at_x.curvature = {};
        at_x.damping = std::max(at_x.damping, 1e-12) * at_x.growth;
        at_x.growth *= 2.0;
    }
}

minimum searcher::run(const model &of, model_workspace &ws, std::vector<double> start,
                      const search_options &options) {
    const int n = of.columns();
    const std::size_t stride = at(n + 1);
    descent at_x;
    minimum &out = at_x.out;
    for (int c = 0; c < of.map().columns(); ++c) start[at(c)] = of.map().inside(c, start[at(c)]);
    out.x = std::move(start);
    out.at_bound.assign(at(n), 0);
    at_x.trial.resize(at(n));
    at_x.damping = first_damping;
    out.sum_of_squares = ws.linearize(of, out.x);
    out.linearizations = 1;
    ++done_.searches;
    ++done_.linearizations;
    if (!std::isfinite(out.sum_of_squares)) return out;
    scale_.assign(at(n), 0.0);
    for (;;) {
        const std::span<const double> products = ws.products();
        at_x.curvature = at_x.curved ? ws.curvature() : std::span<const double>();
        // A scale keeps half of what it was: a column that fades for a moment does not run away.
        for (int c = 0; c < n; ++c)
            scale_[at(c)] = std::max(products[at(c) * stride + at(c)], 0.5 * scale_[at(c)]);
        hold_pressed(of, out.x, products);
        std::optional<search_end> end = search_end::stopped;
        if (goes_on(out.sum_of_squares)) end = step_down(of, ws, options, at_x);
        if (end) {
            const double left = bounded_step(of, out.x, ws.products(), {}, 0.0).predicted;
            out.expected_decrease = std::max(left, 0.0);
            out.end = *end;
            out.at_bound = pressed_;
            return out;
        }
        out.x = at_x.trial;
        out.sum_of_squares = ws.linearize(of, out.x, at_x.curved);
        ++out.linearizations;
        ++done_.linearizations;
    }
}

} // namespace engine
