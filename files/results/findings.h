// SPDX-License-Identifier: BSD-3-Clause
// findings.h -- what a reader of a fit should know before its numbers: findings and their words
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace tools {

// Percentages are of one standard deviation, as the field's rule of thumb has them: above 20 % a
// value is uncertain, above 50 % it is hardly there.
static constexpr double amber_percent = 20.0, red_percent = 50.0;
// Root mean square of the residual over the noise. The spread of the noise itself is known to some
// per cent, so a factor of 1.5 says that signal is left; 3 that the model is another one.
static constexpr double least_quality = 0.7, amber_quality = 1.5, red_quality = 3.0;
static constexpr double high_correlation = 0.9;

enum class fit_status {
    converged,
    at_limit, // of its iterations, or a random search
    fitted,   // how the last step ended is not known
    not_fitted
};
const char *status_text(fit_status status);
const char *status_meaning(fit_status status);

// note: where numbers come from; amber: look before you use them; red: do not use them as they are.
enum class finding_level { none, note, amber, red };
const char *level_text(finding_level level); // "none", "note", "amber", "red"

// What a badge says, so that one colour has one word: "converged", "converged: look first",
// "converged: do not use as it is", "not fitted". status and level are words of the tables.
std::string badge_text(const std::string &status, const std::string &level);

// In the order in which they are said. The words of finding_text are those of the tables.
enum class finding_kind {
    undetermined,   // most areas are smaller than their errors
    files,          // what of the run could not be read
    not_finished,   // the search stopped before its end
    several_minima, // of a verdict: other starts end elsewhere
    moved,          // of a verdict: a line stands elsewhere; or the search had ended far away
    noise_unknown,
    noise_unlike, // real and imaginary part differ
    misfit,
    noise_wrong, // the residual is smaller than the noise
    at_bound,    // of a verdict: a window is active
    no_bounds,
    weak_area,
    negative_area,
    negative_width,
    outside,    // of the fitted intervals
    degenerate, // some parameters cannot be told apart
    correlated, // areas
    remark,     // of the fit itself
    filled,     // with zeros
    guessed,
    no_ppm
};
const char *finding_text(finding_kind kind);
const char *finding_meaning(finding_kind kind);
std::optional<finding_kind> finding_of_text(const std::string &word); // nothing for another word
std::vector<finding_kind> all_findings();

struct finding {
    finding_kind kind;
    finding_level level;
    std::string text;                      // a sentence
    std::vector<std::size_t> entries = {}; // that it is about, from 0; empty: the whole fit
};

struct fit_judgement {
    fit_status status = fit_status::not_fitted;
    std::string reason; // empty for converged
    std::vector<finding> findings;

    finding_level level() const; // the highest; red without results
    // "misfit,weak_area"; empty without findings. Of an entry: those that name it.
    std::string words() const;
    std::string words_of(std::size_t entry) const;
};

} // namespace tools
