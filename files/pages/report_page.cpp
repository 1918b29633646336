// SPDX-License-Identifier: BSD-3-Clause
// report_page.cpp -- the report of one or more fitted spectra as a page
#include "files/pages/report_page.h"

#include "files/pictures/markup.h"
#include "files/results/number_text.h"
#include "files/results/results_table.h"
#include "files/pages/page_frame.h"
#include "files/pages/page_texts.h"
#include "files/pages/report_curves.h"
#include "files/pages/report_details.h"
#include "files/pages/report_facts.h"

#include <cmath>

namespace tools {

static constexpr const char *plus_minus = "\u00b1"; // sign for errors

static std::string error_lines(double value, double value_2sd, const std::string &link) {
    std::string html;
    if (std::isfinite(value_2sd) && value_2sd > 0.0)
        html += "<small class=\"muted\">" +
                element("span", "", plus_minus + with_error(value, 0.5 * value_2sd).error) +
                element("span", "class=\"paper-none\"",
                        std::string(" \u00b7 ") + plus_minus + with_error(value, value_2sd).error) +
                "</small>";
    if (!link.empty() && link != "free")
        html += element("small", "class=\"muted paper-none\"", link);
    return html;
}

static std::string parameter_cell(const run_result &run, const fitted_parameter &p, bool is_area) {
    if (p.state == parameter_state::unused) return "<td class=\"muted\">\u2013</td>";
    const std::string link = link_text(run, p, is_area);
    return "<td>" + escaped_markup(with_digits_of(p.value, p.error_1sd())) +
           error_lines(p.value, p.error_2sd,
                       p.state == parameter_state::linked ? "= " + valid_text(link) : link) +
           "</td>";
}

static std::string percent_cell(double percent) {
    const char *style = "", *mark = "";
    if (percent > red_percent) {
        style = " class=\"red\"";
        mark = " !!";
    } else if (percent > amber_percent) {
        style = " class=\"amber\"";
        mark = " !";
    }
    std::string text = percent_number(percent);
    if (std::isfinite(percent)) text += " %" + std::string(mark);
    return "<td" + std::string(style) + ">" + text + "</td>";
}

static std::string ppm_cell(const fitted_entry &entry) {
    return "<td>" + with_digits_of(entry.ppm, 0.5 * entry.ppm_2sd) +
           error_lines(entry.ppm, entry.ppm_2sd, entry.type == 4 ? "shift of the pattern" : "") +
           "</td>";
}

static std::string entries_of(const run_result &run) {
    const bool has_names = [&] {
        for (const fitted_entry &e : run.entries)
            if (e.name != "#" + std::to_string(e.number)) return true;
        return false;
    }();
    const auto head = [](const char *what, const char *unit) {
        return "<th scope=\"col\">" + std::string(what) + "<small>" + unit + "</small></th>";
    };
    std::string html = "<h2>Results by entry</h2>\n<div class=\"wide\" tabindex=\"0\" "
                       "role=\"region\" aria-label=\"results by entry\"><table class=\"entries\">"
                       "\n<thead><tr><th scope=\"col\" class=\"name text\">Entry<small>type</small>"
                       "</th>";
    html += head("Area", "signal") + head("Area error", "1 SD, %") + head("Shift", "ppm") +
            head("Frequency", "Hz, left edge 0") + head("Gaussian width", "FWHM, Hz") +
            head("Lorentzian width", "FWHM, Hz") + head("Phase", "degrees") + head("SNR", "") +
            "</tr></thead>\n<tbody>\n";
    for (const fitted_entry &entry : run.entries) {
        const std::string number = std::to_string(entry.number);
        html += "<tr><th scope=\"row\" class=\"name\">" +
                escaped_markup(valid_text(has_names ? entry.name : "#" + number)) +
                element("small", "class=\"muted\"",
                        (has_names ? "#" + number + " " : "") + type_text(entry.type)) +
                "</th>";
        html += parameter_cell(run, entry.area, true);
        html += percent_cell(entry.area.percent_1sd());
        html += ppm_cell(entry);
        html += parameter_cell(run, entry.frequency, false);
        html += parameter_cell(run, entry.gauss_width, false);
        html += parameter_cell(run, entry.lorentz_width, false);
        html += parameter_cell(run, entry.phase, false);
        html += "<td>" + short_number(entry.snr) + "</td></tr>\n";
    }
    html += "</tbody></table></div>\n";
    html +=
        "<p class=\"muted paper-only\">Errors: \u00b1 one standard deviation, Cram\u00e9r-Rao "
        "bounds.</p>\n"
        "<p class=\"muted paper-none\">Below each value: \u00b1 one standard deviation (1 SD) "
        "\u00b7 \u00b1 "
        "two standard deviations (2 SD), then \u201cfixed\u201d or the entry that it follows. The "
        "errors are Cram\u00e9r-Rao bounds: what noise alone leaves uncertain when the model is "
        "right. The program\u2019s own files (.err, .exl, .fitres) hold the <strong>2 SD</strong> "
        "figures; percentages here are of <strong>1 SD</strong>, capped at 999, amber (!) above "
        "20, red (!!) above 50.</p>\n";
    return html;
}

// What the amounts of a water reference stand on.
static std::string assumed_of(const run_result &run) {
    const auto water = run.sidecar.find("water_reference");
    if (water == run.sidecar.end() || !water->contains("assumed")) return "";
    std::string html = "<p class=\"muted\">Amounts by water:</p>\n<ul class=\"muted\">\n";
    for (const auto &text : (*water)["assumed"])
        if (text.is_string()) html += element("li", "", text.get<std::string>()) + "\n";
    return html + "</ul>\n";
}

static std::string derived_of(const reported_run &reported) {
    if (reported.derived.empty()) return "";
    std::string html =
        "<h2>Derived values</h2>\n<div class=\"wide\"><table class=\"derived\">\n"
        "<thead><tr><th scope=\"col\" class=\"text\">Name</th><th scope=\"col\" "
        "class=\"text\">Expression</th><th scope=\"col\">Value</th><th scope=\"col\">"
        "1 SD</th><th scope=\"col\">2 SD</th><th scope=\"col\">1 SD, %</th></tr>"
        "</thead>\n<tbody>\n";
    for (const derived_area &d : reported.derived)
        html +=
            "<tr>" + element("th", "scope=\"row\"", d.name) +
            element("td", "class=\"text\"", d.expression) +
            element("td", "",
                    with_digits_of(d.value, d.error_1sd) + (d.unit.empty() ? "" : " " + d.unit)) +
            element("td", "", with_error(d.value, d.error_1sd).error) +
            element("td", "", with_error(d.value, 2.0 * d.error_1sd).error) +
            percent_cell(d.percent_1sd()) + "</tr>\n";
    html += "</tbody></table></div>\n" + assumed_of(reported.run);
    html +=
        reported.run.has_covariance()
            ? "<p class=\"muted\">With the covariance of all parameters; to first order.</p>\n"
            : "<p class=\"muted\">Without errors: there is no covariance of the parameters (see "
              "the warnings).</p>\n";
    return html;
}

static std::string picture_of(const reported_run &reported, const std::string &id, bool alone) {
    const run_result &run = reported.run;
    if (!has_picture(run)) return "";
    return "<figure data-spectrum=\"" + id + "-data\">\n<div class=\"picture\">" +
           (reported.picture.empty() ? report_picture(run) : reported.picture) +
           "</div>\n<div class=\"charts\"></div>\n" + element("figcaption", "", caption_of(run)) +
           "\n</figure>\n" + data_block(id + "-data", chart_of(run, alone));
}

static std::string section_of(const reported_run &reported, std::size_t number, bool alone) {
    const run_result &run = reported.run;
    const std::string id = "spectrum-" + std::to_string(number);
    static constexpr std::size_t many = 20; // entries, of which paper has smaller rows
    std::string html = "<section class=\"spectrum" +
                       std::string(run.entries.size() > many ? " many" : "") + "\" id=\"" + id +
                       "\">\n<h1>" + escaped_markup(valid_text(run.name)) + " " + badge_of(run) +
                       "</h1>\n";
    html += element("p", "class=\"sub\"", measurement_text(run.axis, run.sidecar)) + "\n";
    if (!run.fitted) {
        html += "<div class=\"verdict red\" role=\"note\"><h2>Not fitted</h2>" +
                element("p", "", run.why_not) + "</div>\n" + provenance_of(run) + "</section>\n";
        return html;
    }
    html += verdict_box(run) + picture_of(reported, id, alone) + method_of(run) + figures_of(run) +
            entries_of(run) + derived_of(reported) + windows_table(run) + correlations_table(run) +
            steps_of(run) + provenance_of(run);
    return html + "</section>\n";
}

void report_page::add(const reported_run &reported) {
    const run_result &run = reported.run;
    ++added_;
    title_ = "Fit of " + run.name;
    sections_ += section_of(reported, added_, spectra_ == 1);
    contents_ += "<tr><th scope=\"row\">" +
                 element("a", "href=\"#spectrum-" + std::to_string(added_) + "\"", run.name) +
                 "</th><td class=\"text\">" + badge_of(run) + "</td><td>" +
                 quality_number(run.quality) + "</td><td>" + short_number(run.snr) + "</td><td>" +
                 std::to_string(run.warnings.size()) + "</td></tr>\n";
}

std::string report_page::text() const {
    page_content page = chart_page();
    const std::string count = std::to_string(spectra_) + " spectra";
    page.title = spectra_ == 1 ? title_ : "Fits of " + count;
    page.scripts.emplace_back(report_script());
    page.body = "<main>\n";
    if (spectra_ > 1)
        page.body +=
            element("h1", "", count) +
            "\n<div class=\"wide\"><table class=\"contents\">\n<thead><tr><th scope=\"col\" "
            "class=\"text\">Spectrum</th><th scope=\"col\" class=\"text\">Status</th><th "
            "scope=\"col\">Fit quality</th><th scope=\"col\">SNR</th><th scope=\"col\">Warnings"
            "</th></tr></thead>\n<tbody>\n" +
            contents_ +
            "</tbody></table></div>\n<p class=\"muted\">Curves are kept over the fitted range with "
            "a margin. The page of a spectrum alone has all its points: varokel-report FOLDER "
            "--spectrum NAME -o OTHER.</p>\n";
    page.body += sections_ + "</main>\n";
    return html_page(page);
}

} // namespace tools
