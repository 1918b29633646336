// SPDX-License-Identifier: BSD-3-Clause
// report_details.cpp -- tables of the page of a fit that are unfolded when they are asked for
#include "files/pages/report_details.h"

#include "files/base/format_text.h"
#include "files/pictures/markup.h"
#include "files/results/fit_windows.h"
#include "files/results/judge_run.h"
#include "files/results/number_text.h"
#include "files/pages/page_frame.h"

#include <cmath>
#include <map>
#include <vector>

namespace tools {

static std::string name_of(const run_result &run, int entry) {
    return valid_text(run.entries[static_cast<std::size_t>(entry - 1)].name);
}

static std::string edge_text(double value) {
    return std::isfinite(value) ? short_link_number(value) : "none";
}

std::string windows_table(const run_result &run) {
    const std::vector<shown_window> windows = shown_windows(run);
    if (windows.empty()) return "";
    std::string html =
        "<h2>Windows of the table</h2>\n<div class=\"wide\"><table class=\"windows\">\n<thead>"
        "<tr><th scope=\"col\" class=\"text\">Entry</th><th scope=\"col\" class=\"text\">Parameter"
        "</th><th scope=\"col\">From</th><th scope=\"col\">To</th><th scope=\"col\">Fitted</th>"
        "<th scope=\"col\" class=\"text\"></th></tr></thead>\n<tbody>\n";
    for (const shown_window &each : windows) {
        const std::string unit = *each.unit == '\0' ? "" : ", " + std::string(each.unit);
        html += "<tr>" + element("th", "scope=\"row\"", name_of(run, each.entry)) +
                element("td", "class=\"text\"", each.parameter + unit) +
                element("td", "", edge_text(each.low)) + element("td", "", edge_text(each.high)) +
                element("td", "", with_digits_of(each.value, each.sd)) +
                (each.active ? "<td class=\"text amber\">active: the fit presses against its edge"
                             : "<td class=\"text\">inside") +
                "</td></tr>\n";
    }
    return html + "</tbody></table></div>\n";
}

// Areas that follow another one have its correlations; they are named, not repeated.
static std::string tied_areas(const run_result &run) {
    std::string tied, fixed;
    for (const fitted_entry &entry : run.entries) {
        if (entry.area.state == parameter_state::linked)
            tied += (tied.empty() ? "" : ", ") + name_of(run, entry.number) + " follows " +
                    name_of(run, entry.area.source);
        if (entry.area.state == parameter_state::fixed)
            fixed += (fixed.empty() ? "" : ", ") + name_of(run, entry.number);
    }
    std::string text = "Below the diagonal; above 0.9 in size only the sum (or the difference) of "
                       "two areas is well known.";
    if (!tied.empty()) text += " Left out, since they are tied: " + tied + ".";
    if (!fixed.empty()) text += " Fixed: " + fixed + ".";
    return element("p", "class=\"muted\"", text);
}

std::string correlations_table(const run_result &run) {
    const std::vector<correlated_pair> pairs = correlations_of(run);
    if (pairs.empty()) return "";
    std::map<std::pair<std::size_t, std::size_t>, double> at;
    std::vector<std::size_t> free;
    for (const correlated_pair &pair : pairs) at[{pair.second, pair.first}] = pair.coefficient;
    for (std::size_t k = 0; k < run.entries.size(); ++k)
        if (run.entries[k].area.state == parameter_state::free) free.push_back(k);
    std::string html = "<details class=\"correlations\"><summary>Correlations of the areas"
                       "</summary>\n<div class=\"wide\"><table class=\"matrix\">\n<thead><tr>"
                       "<td></td>";
    for (const std::size_t k : free)
        html += element("th", "scope=\"col\"", name_of(run, static_cast<int>(k) + 1));
    html += "</tr></thead>\n<tbody>\n";
    for (std::size_t i = 0; i < free.size(); ++i) {
        html += "<tr>" + element("th", "scope=\"row\" class=\"name\"",
                                 name_of(run, static_cast<int>(free[i]) + 1));
        for (std::size_t j = 0; j < free.size(); ++j) {
            if (j >= i) {
                html += j == i ? "<td class=\"muted\">1</td>" : "<td></td>";
                continue;
            }
            const double r = at[{free[i], free[j]}];
            const double size = std::fabs(r);
            // a class for each fifth, for the colour
            const int fifth = std::isfinite(r) ? std::min(4, static_cast<int>(5.0 * size)) : 0;
            html +=
                element("td",
                        "class=\"" + std::string(r < 0.0 ? "minus" : "plus") +
                            std::to_string(fifth) + (size > high_correlation ? " high" : "") + "\"",
                        std::isfinite(r) ? format("%.2f", r) : "n/a");
        }
        html += "</tr>\n";
    }
    return html + "</tbody></table></div>\n" + tied_areas(run) + "</details>\n";
}

std::string steps_of(const run_result &run) {
    if (run.control.steps.empty()) return "";
    const bool with_log = !run.log_steps.empty();
    std::string html =
        "<details><summary>Steps of the fit</summary>\n<div class=\"wide\"><table>\n"
        "<thead><tr><th scope=\"col\">Step</th><th scope=\"col\" class=\"text\">Method"
        "</th><th scope=\"col\" class=\"text\">Fits</th><th scope=\"col\" "
        "class=\"text\">Points</th><th scope=\"col\">Iterations, most</th>";
    if (with_log) html += "<th scope=\"col\">done</th><th scope=\"col\">scaled chi-square</th>";
    html += "</tr></thead>\n<tbody>\n";
    std::size_t logged = 0;
    for (std::size_t s = 0; s < run.control.steps.size(); ++s) {
        const start_step &step = run.control.steps[s];
        static const char *const what[] = {"areas",  "frequencies",       "Gaussian widths",
                                           "phases", "Lorentzian widths", "lineshape"};
        std::string fits, points;
        for (std::size_t j = fit_areas; j <= fit_lineshape; ++j)
            if (step.switches[j] != 0) fits += (fits.empty() ? "" : ", ") + std::string(what[j]);
        for (const auto &[first, last] : step.intervals)
            points += (points.empty() ? "" : ", ") + std::to_string(first) + " to " +
                      std::to_string(last);
        const char *method = step.algorithm == 1 ? "random search" : "conjugate gradients";
        if (!fits_something(step)) method = step.switches[align] != 0 ? "alignment" : "nothing";
        html += "<tr><td>" + std::to_string(s + 1) + "</td>" +
                element("td", "class=\"wrap\"", method) +
                element("td", "class=\"wrap\"", fits.empty() ? "\u2013" : fits) +
                element("td", "class=\"wrap\"", points) + "<td>" +
                std::to_string(step.switches[iterations]) + "</td>";
        if (with_log) {
            const bool there = fits_something(step) && logged < run.log_steps.size();
            if (there && run.log_steps[logged].gradients > 0)
                html += "<td>" +
                        std::to_string(
                            std::min(run.log_steps[logged].gradients, step.switches[iterations])) +
                        "</td><td>" + short_number(run.log_steps[logged].scaled_chi) + "</td>";
            else
                html += "<td>\u2013</td><td>\u2013</td>";
            logged += there ? 1U : 0U;
        }
        html += "</tr>\n";
    }
    return html + "</tbody></table></div></details>\n";
}

std::string provenance_of(const run_result &run) {
    if (run.provenance.empty()) return "";
    std::string html =
        "<details><summary>Where it comes from</summary>\n<div class=\"wide\"><table>"
        "\n<tbody>\n";
    for (const provenance_item &item : run.provenance)
        html += "<tr>" + element("th", "scope=\"row\"", item.what) + "<td class=\"wrap\">" +
                element("code", "", item.value) + "</td></tr>\n";
    return html + "</tbody></table></div></details>\n";
}

} // namespace tools
