// SPDX-License-Identifier: BSD-3-Clause
// strategy_words.cpp -- the words of a table for strategies, and for what their steps do
#include "files/start/strategy_words.h"

#include <algorithm>
#include <initializer_list>
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

static table_step gradient_step(int limit, std::initializer_list<int> groups) {
    table_step step;
    step.step.switches[iterations] = limit;
    for (const int group : groups) step.step.switches[static_cast<std::size_t>(group)] = 1;
    return step;
}

// Areas and phases first, while the lines stay where they are; then frequencies; widths last.
// A search over everything ends early: gradients are differences to one side, whose bias (step
// times second derivative) is largest for frequencies, so that the directions they lead to no
// longer go down. Steps without frequencies go on from there, and turn the place from which all are
// taken again. A search that is at its end stops at once.
std::vector<table_step> preset_steps(const std::string &preset) {
    const table_step heights = gradient_step(20, {fit_areas, fit_phases});
    const table_step places = gradient_step(50, {fit_areas, fit_frequencies, fit_phases});
    const auto all = [](int limit) {
        return gradient_step(
            limit, {fit_areas, fit_frequencies, fit_gauss, fit_phases, fit_lorentz, fit_lineshape});
    };
    const table_step in_place =
        gradient_step(100, {fit_areas, fit_gauss, fit_phases, fit_lorentz, fit_lineshape});
    const table_step turns = gradient_step(30, {fit_frequencies, fit_phases});
    std::vector<table_step> steps = {heights,  places,   all(200), all(200), in_place,
                                     all(100), in_place, turns,    all(200)};
    if (preset == "standard") return steps;
    if (preset == "quick") return {heights, all(100)};
    if (preset != "random-then-gradient") return {};
    steps.front() = all(20); // the search stops there anyway
    steps.front().step.algorithm = 1;
    return steps;
}

double preset_tolerance(const std::string &preset) {
    return preset == "quick" ? 1e-7 : 1e-9;
}

} // namespace tools
