// SPDX-License-Identifier: BSD-3-Clause
// strategy_words.cpp -- the words of a table for what a step of the strategy does
#include "files/start/strategy_words.h"

#include <algorithm>
#include <iterator>

namespace tools {

static constexpr struct {
    int which;
    const char *word;
} switch_words[] = {{fit_areas, "areas"},     {fit_frequencies, "frequencies"},
                    {fit_gauss, "gauss"},     {fit_phases, "phases"},
                    {fit_lorentz, "lorentz"}, {fit_lineshape, "lineshape"},
                    {align, "align"}};
static constexpr const char *part_words[] = {"absorption", "dispersion", "complex", "magnitude",
                                             "power"};

bool take_switches(const std::string &word, start_step &step) {
    bool known = false;
    for (const auto &each : switch_words) {
        const bool of_all = word == "all" && each.which != fit_lineshape && each.which != align;
        if (!of_all && word != each.word) continue;
        step.switches[static_cast<std::size_t>(each.which)] = 1;
        known = true;
    }
    return known;
}

std::string switches_text(const start_step &step) {
    std::string text;
    for (const auto &each : switch_words)
        if (step.switches[static_cast<std::size_t>(each.which)] == 1)
            text += std::string(text.empty() ? "" : " ") + each.word;
    return text;
}

std::optional<int> part_named(const std::string &word) {
    const auto *const at = std::find(std::begin(part_words), std::end(part_words), word);
    if (at == std::end(part_words)) return std::nullopt;
    return static_cast<int>(at - std::begin(part_words));
}

std::string part_name(int value) {
    return value >= 0 && value < static_cast<int>(std::size(part_words)) ? part_words[value] : "?";
}

} // namespace tools
