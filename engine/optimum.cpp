// SPDX-License-Identifier: BSD-3-Clause
// optimum.cpp -- the fit of a problem: its optimum, errors and verdict
#include "engine/optimum.h"

#include "engine/starts.h"

#include <algorithm>
#include <cmath>

namespace engine {

namespace {

// One call of find_optimum: what was tried, and the lowest of it.
class trial_series {
  public:
    trial_series(const model &of, model_workspace &ws, const fit_options &options)
        : of_(of), ws_(ws), options_(options), given_(of.starts()), pairs_(interchangeable(of)) {
        search_.watch(options.watch);
    }

    void run(const std::string &name, const std::vector<double> &start, double shift = 0.0);
    void run_broadened(const std::vector<double> &start, double shift);
    // From the lowest with lines whose areas changed their sign beside their neighbours, as long as
    // that finds a lower one.
    void run_split(std::span<const double> given);
    // From the lowest with one line somewhere else, as long as that finds a lower one.
    void relocate(std::span<const double> given);
    // What the lowest is worth; linearizes there.
    verdict judge_lowest(std::span<const double> given);
    bool stopped() const { return search_.stopped(); }
    bool any() const { return !ends_.empty(); }
    const minimum &lowest() const { return ends_[lowest_]; }
    optimum report(std::span<const double> given);

  private:
    const model &of_;
    model_workspace &ws_;
    const fit_options &options_;
    std::vector<double> given_;
    std::vector<std::pair<int, int>> pairs_; // of lines that may change places
    searcher search_;
    std::vector<minimum> ends_;
    std::vector<start_report> reports_;
    std::size_t lowest_ = 0;
    entry_covariance covariance_;
    int linearizations_ = 0, evaluations_ = 0;
};

void trial_series::run(const std::string &name, const std::vector<double> &start, double shift) {
    minimum found = search_.run(of_, ws_, start, options_.search);
    linearizations_ += found.linearizations;
    evaluations_ += found.evaluations;
    if (found.end == search_end::not_finite) return;
    restore_order(of_, pairs_, given_, found);
    reports_.push_back({name, found.sum_of_squares, shift, false});
    ends_.push_back(std::move(found));
    // a later one has to be lower by more than what the searches leave
    const double margin = 2.0 * options_.search.expected_decrease;
    if (ends_.back().sum_of_squares < ends_[lowest_].sum_of_squares - margin)
        lowest_ = ends_.size() - 1;
}

void trial_series::run_broadened(const std::vector<double> &start, double shift) {
    const std::vector<double> x =
        through_broad_lines(of_, ws_, search_, start, linearizations_, evaluations_);
    run("broadened", x, shift);
}

void trial_series::run_split(std::span<const double> given) {
    static constexpr int most_rounds = 3;
    for (int round = 0; round < most_rounds; ++round) {
        const std::vector<double> x = split(of_, lowest().x, given);
        if (x.empty()) return;
        const std::size_t before = lowest_;
        run("split", x);
        if (lowest_ == before || stopped()) return;
    }
}

void trial_series::relocate(std::span<const double> given) {
    static constexpr std::size_t most_moves = 4; // from one minimum
    static constexpr int most_rounds = 8;
    for (int round = 0; round < most_rounds; ++round) {
        ws_.linearize(of_, lowest().x);
        const double same_good = verdict_limits::same_good / told_by(of_, 1.0);
        std::vector<relocation> moves = relocations(of_, ws_, lowest().x, given, -same_good);
        if (moves.size() > most_moves) moves.resize(most_moves);
        const std::size_t before = lowest_;
        for (const relocation &move : moves) {
            std::vector<double> x = lowest().x;
            x[static_cast<std::size_t>(move.column)] = move.to;
            run("relocated " + std::to_string(of_.map().at(move.column).entry + 1), x);
            if (lowest_ != before || stopped()) break;
        }
        if (lowest_ == before || stopped()) return;
    }
}

verdict trial_series::judge_lowest(std::span<const double> given) {
    ws_.linearize(of_, lowest().x);
    covariance_ = entry_covariance(of_, lowest().x, ws_.products(), lowest().at_bound);
    return judge(of_, lowest(), covariance_, ws_.residual(of_), given);
}

optimum trial_series::report(std::span<const double> given) {
    optimum out;
    out.judged = judge_lowest(given);
    const minimum &best = lowest();
    for (std::size_t i = 0; i < ends_.size(); ++i) {
        double farthest = 0.0;
        std::vector<int> other_areas;
        for (int c = 0; c < of_.map().columns(); ++c) {
            const double variance = covariance_.of_columns(c, c);
            const double slope = of_.map().slope(c, best.x);
            const std::size_t at = static_cast<std::size_t>(c);
            const double off = std::fabs(ends_[i].x[at] - best.x[at]) * slope;
            if (!(variance > 0.0) || !std::isfinite(variance)) continue;
            farthest = std::max(farthest, off / std::sqrt(variance));
            if (of_.map().at(c).of == area && told_by(of_, off * off) > variance)
                other_areas.push_back(of_.map().at(c).entry);
        }
        reports_[i].same = farthest * std::sqrt(told_by(of_, 1.0)) < 0.1;
        const double difference = told_by(of_, ends_[i].sum_of_squares - best.sum_of_squares);
        if (difference < verdict_limits::same_good && !other_areas.empty())
            add_minimum(out.judged, difference, other_areas);
    }
    for (int k = 0; k < of_.map().entries(); ++k) out.values.push_back(of_.map().values(k, best.x));
    out.at_bound.resize(out.values.size());
    for (int c = 0; c < of_.map().columns(); ++c)
        out.at_bound[static_cast<std::size_t>(of_.map().at(c).entry)]
                    [static_cast<std::size_t>(of_.map().at(c).of)] =
            best.at_bound[static_cast<std::size_t>(c)];
    out.lineshape = of_.lineshape_of(best.x);
    out.covariance = covariance_;
    out.found = best;
    out.starts = reports_;
    out.quality = quality_of(of_, best.sum_of_squares);
    out.linearizations = linearizations_;
    out.evaluations = evaluations_;
    return out;
}

// Whether a verdict says that the search may have ended in the wrong place.
bool asks_for_more(const model &of, const verdict &judged, const minimum &found,
                   std::span<const double> given) {
    if (judged.what < finding::noise_wrong || judged.what == finding::at_bound) return true;
    for (int c = 0; c < of.map().columns(); ++c) {
        const std::size_t at = static_cast<std::size_t>(c);
        if (of.map().at(c).of == area && given[at] * found.x[at] < 0.0) return true;
    }
    return false;
}

} // namespace

result<optimum> find_optimum(const fit_problem &problem, model_workspace &ws,
                             const fit_options &options) {
    const result<model> made = model::make(problem);
    if (!made) return made.why();
    return find_optimum(*made, ws, options);
}

result<optimum> find_optimum(const model &of, model_workspace &ws, const fit_options &options) {
    if (of.columns() > of.rows())
        return failure{-1, "more free parameters (" + std::to_string(of.columns()) +
                               ") than fitted values (" + std::to_string(of.rows()) + ")"};
    ws.prepare(of);
    const std::vector<double> given = of.starts();
    trial_series trials(of, ws, options);
    // a common shift is found before any line has moved to where it does not belong
    const double shift = common_shift(of, ws, given);
    const std::vector<double> aligned = shifted(of, given, shift);
    const bool moved = ws.chi_square(of, aligned) < ws.chi_square(of, given);
    const std::vector<double> &first = moved ? aligned : given;
    trials.run(moved ? "aligned" : "given", first, moved ? shift : 0.0);
    for (const extra_start &extra : options.extra) {
        std::vector<double> x = of.map().columns_of(extra.values);
        x.insert(x.end(), given.begin() + of.map().columns(), given.end());
        trials.run(extra.name, x);
    }
    if (trials.any()) trials.run_split(first);
    for (int made_up = 0; made_up < std::max(options.starts, options.most_starts); ++made_up) {
        if (trials.stopped()) break;
        if (made_up >= options.starts && trials.any() &&
            !asks_for_more(of, trials.judge_lowest(first), trials.lowest(), first))
            break;
        if (made_up == 0) {
            if (shift == 0.0) continue;
            trials.run(moved ? "given" : "aligned", moved ? given : aligned, moved ? 0.0 : shift);
        } else if (made_up == 1) {
            trials.run_broadened(first, moved ? shift : 0.0);
        } else {
            const unsigned number = static_cast<unsigned>(made_up - 1);
            const std::vector<double> from =
                number % 2 == 1 && trials.any() ? trials.lowest().x : first;
            trials.run("perturbed " + std::to_string(number), perturbed(of, from, number));
        }
    }
    if (trials.any() && !trials.stopped()) trials.relocate(first);
    if (trials.stopped()) return failure{-1, "the fit was stopped", true};
    if (!trials.any()) return failure{-1, "the model is not finite where the fit begins"};
    return trials.report(first);
}

} // namespace engine
