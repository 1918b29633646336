// SPDX-License-Identifier: BSD-3-Clause
// findings.cpp -- the words of status, level and findings, as tables and pages have them
#include "files/results/findings.h"

#include "files/base/line_text.h"

#include <algorithm>
#include <iterator>

namespace tools {

const char *status_text(fit_status status) {
    static const char *const texts[] = {"converged", "at_limit", "fitted", "not_fitted"};
    return texts[static_cast<int>(status)];
}

const char *status_meaning(fit_status status) {
    static const char *const texts[] = {
        "the last step ended at its tolerance",
        "the last step ended at its number of iterations, or was a random search",
        "there are results, but nothing that tells how the last step ended",
        "there are no results, or they are not finite numbers"};
    return texts[static_cast<int>(status)];
}

const char *level_text(finding_level level) {
    static const char *const texts[] = {"none", "note", "amber", "red"};
    return texts[static_cast<int>(level)];
}

std::string badge_text(const std::string &status, const std::string &level) {
    std::string text = status;
    std::replace(text.begin(), text.end(), '_', ' ');
    if (status == status_text(fit_status::not_fitted)) return text;
    if (level == level_text(finding_level::amber)) return text + ": look first";
    if (level == level_text(finding_level::red)) return text + ": do not use as it is";
    return text;
}

struct finding_words {
    const char *word, *meaning;
};

// In the order of finding_kind.
static const finding_words words_of_kind[] = {
    {"undetermined", "most areas are smaller than their errors: these data do not determine this "
                     "model, whatever the fit's end"},
    {"files", "something of the run could not be read, or does not belong to it"},
    {"not_finished", "the search stopped before its end"},
    {"several_minima", "other starts end in another minimum"},
    {"moved", "a line ended away from where it began or where the search had left it, or in the "
              "place of another"},
    {"noise_unknown", "the noise is 0 or not known: quality and error bounds mean nothing"},
    {"noise_unlike", "the noise of the real and of the imaginary part differ"},
    {"misfit",
     "the residual is not noise alone: the model leaves signal over, and the error bounds, "
     "which know of noise only, are too small"},
    {"noise_wrong", "the residual is smaller than the noise: the noise window holds signal, or "
                    "there are too many parameters"},
    {"at_bound", "a parameter ended at the bound of its window"},
    {"no_bounds", "there are no error bounds"},
    {"weak_area", "area known to no better than 50 % (one standard deviation)"},
    {"negative_area", "negative area"},
    {"negative_width", "negative Lorentzian width: the line grows in time"},
    {"outside", "frequency outside the fitted intervals"},
    {"degenerate", "the matrix of the error bounds is singular: some parameters cannot be told "
                   "apart, and their errors mean nothing"},
    {"correlated", "areas with a correlation above 0.9, whose sum is better known than each"},
    {"remark", "the program that fitted warns of something"},
    {"filled", "the spectrum was filled with zeros, and error bounds are widened for it"},
    {"guessed", "something was guessed at import"},
    {"no_ppm", "there are no ppm"}};

const char *finding_text(finding_kind kind) {
    return words_of_kind[static_cast<std::size_t>(kind)].word;
}

const char *finding_meaning(finding_kind kind) {
    return words_of_kind[static_cast<std::size_t>(kind)].meaning;
}

std::optional<finding_kind> finding_of_text(const std::string &word) {
    for (const finding_kind kind : all_findings())
        if (word == finding_text(kind)) return kind;
    return std::nullopt;
}

std::vector<finding_kind> all_findings() {
    std::vector<finding_kind> all;
    for (std::size_t k = 0; k < std::size(words_of_kind); ++k)
        all.push_back(static_cast<finding_kind>(k));
    return all;
}

finding_level fit_judgement::level() const {
    finding_level highest =
        status == fit_status::not_fitted ? finding_level::red : finding_level::none;
    for (const finding &each : findings) highest = std::max(highest, each.level);
    return highest;
}

static void add_word(std::string &list, finding_kind kind) {
    const std::string word = finding_text(kind);
    if (!has_word(list, word)) list += (list.empty() ? "" : ",") + word;
}

std::string fit_judgement::words() const {
    std::string list;
    for (const finding &each : findings) add_word(list, each.kind);
    return list;
}

std::string fit_judgement::words_of(std::size_t entry) const {
    std::string list;
    for (const finding &each : findings)
        if (std::find(each.entries.begin(), each.entries.end(), entry) != each.entries.end())
            add_word(list, each.kind);
    return list;
}

} // namespace tools
