// SPDX-License-Identifier: BSD-3-Clause
// begin_time.cpp -- the begin time that would explain a misfit
#include "files/problem/begin_time.h"

#include "files/base/format_text.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

namespace tools {

namespace {

constexpr double radians_per_degree = std::numbers::pi / 180.0;
constexpr std::size_t phase_at = engine::phase;

// How far a line, fitted with a phase of its own, is turned from the phase that it starts with.
struct turned_line {
    double hz;                 // from the left edge
    std::complex<double> turn; // weighted by what the phase is known to
};

// The problem with phases that hang on nothing.
engine::fit_problem with_own_phases(engine::fit_problem problem,
                                    const std::vector<engine::values_of_entry> &starts) {
    for (std::size_t k = 0; k < problem.entries.size(); ++k) {
        engine::parameter own;
        own.start = starts[k][phase_at];
        own.how = engine::link::free;
        problem.entries[k].of[phase_at] = own;
    }
    return problem;
}

std::vector<turned_line> turned_lines(const engine::fit_problem &problem,
                                      const engine::optimum &found,
                                      const std::vector<engine::values_of_entry> &starts) {
    static constexpr double known_to = 5.0; // degrees; a phase known better does not count for more
    std::vector<turned_line> lines;
    for (std::size_t k = 0; k < starts.size(); ++k) {
        if (problem.entries[k].type == engine::line_type::pattern) continue;
        const double error = found.covariance.error(static_cast<int>(k), engine::phase);
        const double variance = error * error + known_to * known_to;
        if (!std::isfinite(variance) || !(error > 0.0)) continue;
        double turn = found.values[k][phase_at] - starts[k][phase_at];
        if (found.values[k][engine::area] * starts[k][engine::area] < 0.0) turn += 180.0;
        lines.push_back({found.values[k][engine::frequency] * problem.when.hz_per_point,
                         std::polar(1.0 / variance, turn * radians_per_degree)});
    }
    return lines;
}

// What the lines' phases have in common after those of a begin time are taken off.
std::complex<double> common_turn(const std::vector<turned_line> &lines, double seconds) {
    std::complex<double> sum = 0.0;
    for (const turned_line &line : lines)
        sum += line.turn * std::polar(1.0, -2.0 * std::numbers::pi * line.hz * seconds);
    return sum;
}

// From the lowest to the highest frequency of the lines [Hz].
double span_of(const std::vector<turned_line> &lines) {
    const auto [low, high] =
        std::minmax_element(lines.begin(), lines.end(),
                            [](const turned_line &a, const turned_line &b) { return a.hz < b.hz; });
    return lines.empty() ? 0.0 : high->hz - low->hz;
}

// Begin times at which the phases agree best, the shortest first.
std::vector<double> agreeing_times(const std::vector<turned_line> &lines, double span) {
    static constexpr double agree = 0.8; // of the best
    static constexpr double most_steps = 1e5;
    static constexpr std::size_t most = 6;
    const double step = std::max(1.0 / (40.0 * span), longest_begin_time / most_steps);
    std::vector<double> height;
    for (int i = -1; i * step < longest_begin_time + 1.5 * step; ++i)
        height.push_back(std::abs(common_turn(lines, i * step)));
    std::vector<std::pair<double, double>> tops;
    for (std::size_t i = 1; i + 1 < height.size(); ++i)
        if (height[i] >= height[i - 1] && height[i] > height[i + 1])
            tops.emplace_back(-height[i], static_cast<double>(i - 1) * step);
    std::sort(tops.begin(), tops.end());
    std::vector<double> times;
    for (const auto &[lower, seconds] : tops)
        if (times.size() < most && lower < agree * tops.front().first) times.push_back(seconds);
    std::sort(times.begin(), times.end());
    return times;
}

// The fit with the links of the problem and a begin time, from values that are carried along.
class trial {
  public:
    trial(const engine::fit_problem &problem, std::vector<engine::values_of_entry> values,
          engine::model_workspace &workspace, const engine::search_watch &watch)
        : problem_(problem), values_(std::move(values)), workspace_(workspace) {
        search_.watch(watch);
    }

    // Sum of squares; infinite where there is none.
    double at(double seconds) {
        problem_.when.first_order_phase =
            360.0 * seconds * problem_.when.hz_per_point * problem_.when.points;
        const engine::result<engine::model> of = engine::model::make(problem_);
        if (!of) return std::numeric_limits<double>::infinity();
        workspace_.prepare(*of);
        if (x_.empty()) {
            const std::vector<double> given = of->starts();
            x_ = of->map().columns_of(values_);
            x_.insert(x_.end(), given.begin() + of->map().columns(), given.end());
        }
        const engine::minimum found = search_.run(*of, workspace_, x_, {});
        if (found.end == engine::search_end::not_finite || search_.stopped())
            return std::numeric_limits<double>::infinity();
        x_ = found.x;
        return found.sum_of_squares;
    }

  private:
    engine::fit_problem problem_;
    std::vector<engine::values_of_entry> values_;
    engine::model_workspace &workspace_;
    engine::searcher search_;
    std::vector<double> x_;
};

struct tried_time {
    double seconds, sum_of_squares;
};

// The lowest near a begin time, by parabolas through three of them.
tried_time refined(trial &fit, double seconds, double span) {
    tried_time best = {seconds, fit.at(seconds)};
    double h = 1.0 / (36.0 * span); // 10 degrees from one end to the other
    for (int round = 0; round < 4 && std::isfinite(best.sum_of_squares); ++round) {
        const double low = fit.at(best.seconds - h), high = fit.at(best.seconds + h);
        const double bend = low + high - 2.0 * best.sum_of_squares;
        if (!(bend > 0.0) || !std::isfinite(bend)) break;
        const double move = std::clamp(0.5 * (low - high) / bend, -2.0, 2.0) * h;
        const tried_time next = {best.seconds + move, fit.at(best.seconds + move)};
        if (next.sum_of_squares < best.sum_of_squares) best = next;
        if (std::fabs(move) < h) h *= 0.3;
    }
    return best;
}

} // namespace

// Values of the lines for the links of the problem: areas with the sign that they start with, and
// the phases that a begin time leaves.
static std::vector<engine::values_of_entry>
values_at(double seconds, const std::vector<turned_line> &lines,
          std::vector<engine::values_of_entry> values,
          const std::vector<engine::values_of_entry> &starts) {
    const double turn = std::arg(common_turn(lines, seconds)) / radians_per_degree;
    for (std::size_t k = 0; k < values.size(); ++k) {
        values[k][phase_at] = starts[k][phase_at] + turn;
        if (values[k][engine::area] * starts[k][engine::area] < 0.0)
            values[k][engine::area] = -values[k][engine::area];
    }
    return values;
}

static bool is_misfit(const engine::optimum &found) {
    const auto says_so = [](const engine::reason &r) { return r.what == engine::finding::misfit; };
    return found.quality > 1.0 && // the shape of a residual below the noise is not looked at
           std::any_of(found.judged.reasons.begin(), found.judged.reasons.end(), says_so);
}

// The shortest of those that are as good as the best.
static std::optional<begin_time_hint> choose(const std::vector<tried_time> &tried, double before,
                                             double noise) {
    static constexpr double least_share = 0.5;
    static constexpr double least_fall = 50.0; // 7 standard deviations of one parameter
    std::optional<begin_time_hint> chosen;
    double lowest = std::numeric_limits<double>::infinity();
    for (const tried_time &each : tried) lowest = std::min(lowest, each.sum_of_squares);
    if (!(before - lowest > least_fall)) return chosen;
    for (const tried_time &each : tried) {
        const double share = (before - each.sum_of_squares) / (before - noise);
        if (each.sum_of_squares - lowest > least_fall || !(share > least_share)) continue;
        if (each.seconds > 0.0 && each.seconds <= longest_begin_time && !chosen)
            chosen = begin_time_hint{each.seconds, std::min(1.0, share), false};
        else if (chosen)
            chosen->several = true;
    }
    return chosen;
}

std::optional<begin_time_hint> suggest_begin_time(const engine::fit_problem &problem,
                                                  const engine::optimum &without,
                                                  engine::model_workspace &workspace,
                                                  const engine::search_watch &watch) {
    if (!is_misfit(without)) return std::nullopt;
    const engine::result<engine::model> given = engine::model::make(problem);
    if (!given) return std::nullopt;
    const std::vector<double> x = given->starts();
    std::vector<engine::values_of_entry> starts;
    for (int k = 0; k < given->map().entries(); ++k) starts.push_back(given->map().values(k, x));
    engine::fit_options how;
    how.extra.push_back({"with links", without.values});
    how.watch = watch;
    const engine::result<engine::optimum> apart =
        engine::find_optimum(with_own_phases(problem, starts), workspace, how);
    if (!apart) return std::nullopt;
    const std::vector<turned_line> lines = turned_lines(problem, *apart, starts);
    const double span = span_of(lines);
    if (lines.size() < 2 || !(span > 0.0)) return std::nullopt;

    const auto trial_at = [&](double seconds) {
        return trial(problem, values_at(seconds, lines, apart->values, starts), workspace, watch);
    };
    // the same way without a begin time: better start values alone are no reason for one
    const double before = std::min(without.found.sum_of_squares, trial_at(0.0).at(0.0));
    const double noise = without.found.sum_of_squares / (without.quality * without.quality);
    if (!(before > noise)) return std::nullopt;
    std::vector<tried_time> tried;
    for (const double seconds : agreeing_times(lines, span)) {
        trial fit = trial_at(seconds);
        tried.push_back(refined(fit, seconds, span));
    }
    return choose(tried, before, noise);
}

begin_time_hint middle_of(std::vector<begin_time_hint> hints) {
    std::sort(hints.begin(), hints.end(), [](const begin_time_hint &a, const begin_time_hint &b) {
        return a.seconds < b.seconds;
    });
    return hints[hints.size() / 2];
}

std::string begin_time_text(const begin_time_hint &hint) {
    return format(
        "a begin time of %.3g ms would explain %.0f %% of the misfit%s: --begin-time %.3g",
        1e3 * hint.seconds, 100.0 * hint.explained, hint.several ? ", and longer ones as much" : "",
        hint.seconds);
}

} // namespace tools
