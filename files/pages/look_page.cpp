// SPDX-License-Identifier: BSD-3-Clause
// look_page.cpp -- spectra before they are fitted, with the peaks of a table where they would begin
#include "files/pages/look_page.h"

#include "files/pictures/markup.h"
#include "files/pictures/spectrum_view.h"
#include "files/results/number_text.h"
#include "files/pages/curve_text.h"
#include "files/pages/page_frame.h"
#include "files/pages/page_texts.h"
#include "files/pages/report_facts.h"

#include <cmath>

namespace tools {

// The points from the first to the last of the intervals and peaks, with a margin; else all.
static std::pair<long long, long long> seen_points(const looked_spectrum &spectrum) {
    const auto last = static_cast<long long>(spectrum.points.size()) - 1;
    if (spectrum.intervals.empty()) return {0, last};
    return points_with_margin(spectrum.intervals, last + 1);
}

// The spectrum alone as a picture: real part, noise window, points to fit, names of the peaks.
static spectra_plot plot_of(const looked_spectrum &spectrum) {
    spectra_plot plot;
    plot.title = valid_text(spectrum.name);
    const std::size_t n = spectrum.points.size();
    plot.axis = plot_axis_of(spectrum.axis, "", static_cast<long long>(n));
    plot.data = real_part(spectrum.points, 0, n, spectrum.phase, spectrum.phi_1);
    plot.intervals = spectrum.intervals;
    plot.noise = spectrum.noise;
    for (const looked_peak &peak : spectrum.peaks)
        if (peak.point) plot.marks.push_back({valid_text(peak.name), *peak.point});
    const auto [first, last] = seen_points(spectrum);
    plot.first = first;
    plot.last = last;
    return plot;
}

static ordered_json look_chart(const looked_spectrum &spectrum) {
    const std::size_t n = spectrum.points.size();
    ordered_json data;
    data["axis"] = axis_item(plot_axis_of(spectrum.axis, "", static_cast<long long>(n)), 0);
    const auto [first, last] = seen_points(spectrum);
    data["view"] = {first, last};
    data["intervals"] = ordered_json::array();
    for (const auto &[a, b] : spectrum.intervals) data["intervals"].push_back({a, b});
    if (spectrum.noise) data["noise"] = {spectrum.noise->first, spectrum.noise->second};
    data["marks"] = ordered_json::array();
    for (const looked_peak &peak : spectrum.peaks)
        if (peak.point) data["marks"].push_back({{"name", peak.name}, {"point", *peak.point}});
    data["data"] = float_text(real_part(spectrum.points, 0, n, spectrum.phase, spectrum.phi_1));
    data["imaginary"]["data"] =
        float_text(real_part(spectrum.points, 0, n, spectrum.phase + quarter_turn, spectrum.phi_1));
    data["components"] = ordered_json::array();
    return data;
}

static std::string peaks_table(const looked_spectrum &spectrum) {
    if (spectrum.peaks.empty()) return "";
    std::string html =
        "<h2>Where the fit would begin</h2>\n<div class=\"wide\"><table>\n<thead><tr>"
        "<th scope=\"col\" class=\"text\">Entry</th><th scope=\"col\" class=\"text\">Type</th>"
        "<th scope=\"col\">Shift<small>ppm</small></th><th scope=\"col\">From the carrier"
        "<small>Hz</small></th><th scope=\"col\">Width<small>FWHM, Hz</small></th>"
        "<th scope=\"col\">Area<small>signal</small></th><th scope=\"col\">Phase"
        "<small>degrees</small></th></tr></thead>\n<tbody>\n";
    const double sense = spectrum.axis.ppm_rises_with_points ? 1.0 : -1.0;
    for (const looked_peak &peak : spectrum.peaks) {
        double ppm = std::nan("");
        if (spectrum.axis.mhz && (!peak.point || spectrum.axis.ppm_at_carrier))
            ppm = sense * peak.hz / *spectrum.axis.mhz +
                  (peak.point ? *spectrum.axis.ppm_at_carrier : 0.0);
        html += "<tr>" + element("th", "scope=\"row\"", peak.name) +
                element("td", "class=\"text\"", peak.type) +
                element("td", "", std::isfinite(ppm) ? short_link_number(ppm) : "n/a") +
                element("td", "", short_link_number(peak.hz)) +
                element("td", "", short_number(peak.width_hz)) +
                element("td", "", short_number(peak.area)) +
                element("td", "", short_number(peak.phase)) + "</tr>\n";
    }
    return html + "</tbody></table></div>\n";
}

static std::string shaded_text(const looked_spectrum &spectrum) {
    std::string text = "Real part";
    if (spectrum.phase != 0.0 || spectrum.phi_1 != 0.0)
        text += ", a phase of " + short_number(spectrum.phase) + " degrees and " +
                short_number(spectrum.phi_1) + " along the band taken off";
    text += ".";
    const auto n = static_cast<long long>(spectrum.points.size());
    for (const auto &[first, last] : spectrum.intervals)
        text += " Blue: " + stretch_text(spectrum.axis, n, first, last) + ", to be fitted.";
    if (spectrum.noise)
        text += " Yellow: the noise window, " +
                stretch_text(spectrum.axis, n, spectrum.noise->first, spectrum.noise->second) +
                out_of_sight_text(*spectrum.noise, seen_points(spectrum)) + ".";
    return text;
}

static std::string look_section(const looked_spectrum &spectrum, std::size_t number) {
    const std::string id = "spectrum-" + std::to_string(number);
    std::string html =
        "<section class=\"spectrum\" id=\"" + id + "\">\n" + element("h1", "", spectrum.name) +
        "\n" + element("p", "class=\"sub\"", measurement_text(spectrum.axis, spectrum.sidecar)) +
        "\n";
    if (!spectrum.why_not.empty())
        html += "<div class=\"verdict red\" role=\"note\"><h2>The table does not fit</h2>" +
                element("p", "", spectrum.why_not) + "</div>\n";
    html += "<figure data-spectrum=\"" + id + "-data\">\n<div class=\"picture\">" +
            draw_spectra(plot_of(spectrum)) + "</div>\n<div class=\"charts\"></div>\n" +
            element("figcaption", "", shaded_text(spectrum)) + "\n</figure>\n" +
            data_block(id + "-data", look_chart(spectrum));
    html += list_below("Done before the fit", spectrum.notes) +
            list_below("Guessed", spectrum.guesses, "Nothing: all that was needed was stated.") +
            list_below("To look at", spectrum.warnings);
    return html + peaks_table(spectrum) + "</section>\n";
}

std::string look_page(const std::vector<looked_spectrum> &spectra, std::size_t of) {
    page_content page = chart_page();
    page.title =
        spectra.size() == 1 ? "Before the fit: " + spectra.front().name : "Before the fits";
    page.scripts.emplace_back(report_script());
    page.body = "<main>\n";
    if (of > spectra.size())
        page.body += element("p", "class=\"muted\"",
                             "The first " + std::to_string(spectra.size()) + " of " +
                                 std::to_string(of) + " spectra.") +
                     "\n";
    for (std::size_t k = 0; k < spectra.size(); ++k) page.body += look_section(spectra[k], k + 1);
    page.body += "<p class=\"muted\">Nothing was fitted. Drawn are the measured points as the fit "
                 "would take them, and the peaks where it would begin.</p>\n</main>\n";
    return html_page(page);
}

} // namespace tools
