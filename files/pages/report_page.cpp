// SPDX-License-Identifier: BSD-3-Clause
#include "files/pages/report_page.h"

#include "files/pictures/draw_spectra.h"
#include "files/pictures/markup.h"
#include "files/pictures/spectrum_view.h"
#include "files/results/number_text.h"
#include "files/results/results_table.h"
#include "files/pages/curve_text.h"
#include "files/pages/page_frame.h"
#include "files/pages/page_texts.h"

#include <cmath>

namespace tools {

static constexpr const char *plus_minus = "\u00b1"; // sign for errors

std::vector<double> shown_curve(const run_result &run, const complex_signal &signal) {
    return real_part(signal, 0, signal.size(), run.display_phase, run.display_phi_1);
}

static bool has_picture(const run_result &run) {
    return run.data.size() >= 2 && run.fit.size() == run.data.size() &&
           run.residual.size() == run.data.size();
}

std::string report_picture(const run_result &run) {
    spectra_plot plot;
    plot.title = valid_text(run.name);
    plot.axis = plot_axis_of(run.axis, "", static_cast<long long>(run.data.size()));
    plot.data = shown_curve(run, run.data);
    plot.fit = shown_curve(run, run.fit);
    plot.residual = shown_curve(run, run.residual);
    for (const complex_signal &component : run.components)
        plot.components.push_back(shown_curve(run, component));
    plot.intervals = run.intervals();
    const auto [first, last] = run.view();
    plot.first = first;
    plot.last = last;
    return draw_spectra(plot);
}

static std::string chip_name(const fitted_entry &entry) {
    const std::string number = std::to_string(entry.number);
    return entry.name == "#" + number ? entry.name : number + " " + entry.name;
}

// Curves of the charts. An alone one can be zoomed at will: all points, each in single precision.
static ordered_json curves_of(const run_result &run, bool alone) {
    const auto points = static_cast<long long>(run.data.size());
    const plot_axis axis = plot_axis_of(run.axis, "", points);
    const auto [begin, end] = alone ? std::pair<long long, long long>(0, points - 1)
                                    : points_with_margin(run.intervals(), points);
    const long long from = begin, to = end;
    const auto text_of = [&](const complex_signal &signal) {
        const std::vector<double> curve = shown_curve(run, signal);
        return alone ? ordered_json(float_text(curve)) : short_curve(curve, from, to);
    };
    ordered_json data;
    data["axis"] = {{"label", axis.label},
                    {"unit", unit_of_axis(axis.label)},
                    {"zero", axis.at_zero + axis.per_point * static_cast<double>(from)},
                    {"step", axis.per_point},
                    {"falls", axis.falls_to_the_right}};
    const auto [first, last] = run.view();
    data["view"] = {first - from, last - from};
    data["intervals"] = ordered_json::array();
    for (const auto &[a, b] : run.intervals()) data["intervals"].push_back({a - from, b - from});
    data["data"] = text_of(run.data);
    data["fit"] = text_of(run.fit);
    data["residual"] = text_of(run.residual);
    data["components"] = ordered_json::array();
    for (std::size_t k = 0; k < run.components.size(); ++k)
        data["components"].push_back({{"number", std::to_string(run.entries[k].number)},
                                      {"name", chip_name(run.entries[k])},
                                      {"values", text_of(run.components[k])}});
    return data;
}

static std::string warnings_of(const run_result &run) {
    if (run.warnings.empty()) return "";
    std::string html = "<div class=\"warnings\" role=\"note\"><h2>Warnings</h2><ul>\n";
    for (const finding &each : run.judgement.findings)
        html += element("li", "class=\"" + std::string(level_text(each.level)) + "\"", each.text) +
                "\n";
    return html + "</ul></div>\n";
}

static std::string notes_of(const run_result &run) {
    std::string html;
    for (const std::string &text : run.notes)
        html += element("p", "class=\"note muted\"", text) + "\n";
    return html;
}

static std::string figure(const std::string &what, const std::string &value) {
    return "<div>" + element("dt", "", what) + element("dd", "", value) + "</div>\n";
}

static std::string figures_of(const run_result &run) {
    std::string html = "<dl class=\"figures\">\n";
    html += figure("fit quality (1: residual is noise)", short_number(run.quality));
    html += figure("with the start values", short_number(run.quality_before));
    html += figure("chi-square before", short_number(run.chi_before));
    html += figure("chi-square after", short_number(run.chi_after));
    html += figure("noise SD, real part", short_number(run.noise_re));
    html += figure("noise SD, imaginary part", short_number(run.noise_im));
    html += figure("SNR (highest point of the fit)", short_number(run.snr));
    html += figure("iterations of the last step", std::to_string(run.iterations));
    html += figure("free parameters", std::to_string(run.free_parameters));
    html += figure("points", std::to_string(run.data.size()));
    return html + "</dl>\n";
}

static std::string error_lines(double value_2sd, const std::string &link) {
    std::string html;
    if (std::isfinite(value_2sd) && value_2sd > 0.0)
        html += element("small", "class=\"muted\"",
                        std::string(plus_minus) + short_number(0.5 * value_2sd) + " \u00b7 " +
                            plus_minus + short_number(value_2sd));
    if (!link.empty() && link != "free") html += element("small", "class=\"muted\"", link);
    return html;
}

static std::string parameter_cell(const run_result &run, const fitted_parameter &p, bool is_area) {
    if (p.state == parameter_state::unused) return "<td class=\"muted\">\u2013</td>";
    const std::string link = link_text(run, p, is_area);
    return "<td>" + escaped_markup(with_digits_of(p.value, p.error_1sd())) +
           error_lines(p.error_2sd,
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
    std::string text = short_number(percent);
    if (std::isfinite(percent)) text += " %" + std::string(mark);
    return "<td" + std::string(style) + ">" + text + "</td>";
}

static std::string ppm_cell(const fitted_entry &entry) {
    return "<td>" + with_digits_of(entry.ppm, 0.5 * entry.ppm_2sd) +
           error_lines(entry.ppm_2sd, entry.type == 4 ? "shift of the pattern" : "") + "</td>";
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
        "<p class=\"muted\">Below each value: \u00b1 one standard deviation (1 SD) \u00b7 \u00b1 "
        "two standard deviations (2 SD), then \u201cfixed\u201d or the entry that it follows. The "
        "errors are Cram\u00e9r-Rao bounds: what noise alone leaves uncertain when the model is "
        "right. The program\u2019s own files (.err, .exl, .fitres) hold the <strong>2 SD</strong> "
        "figures; percentages here are of <strong>1 SD</strong>, capped at 999, amber (!) above "
        "20, red (!!) above 50.</p>\n";
    return html;
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
        html += "<tr>" + element("th", "scope=\"row\"", d.name) +
                element("td", "class=\"text\"", d.expression) +
                element("td", "", with_digits_of(d.value, d.error_1sd)) +
                element("td", "", short_number(d.error_1sd)) +
                element("td", "", short_number(2.0 * d.error_1sd)) + percent_cell(d.percent_1sd()) +
                "</tr>\n";
    html += "</tbody></table></div>\n";
    html +=
        reported.run.covariance_agrees
            ? "<p class=\"muted\">With the covariance of the areas, recomputed from the fitted "
              "model and checked against the program\u2019s errors; ratios to first order.</p>\n"
            : "<p class=\"muted\">Without errors: there is no covariance of the areas (see the "
              "warnings).</p>\n";
    return html;
}

static std::string steps_of(const run_result &run) {
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

static std::string provenance_of(const run_result &run) {
    if (run.provenance.empty()) return "";
    std::string html =
        "<details><summary>Where it comes from</summary>\n<div class=\"wide\"><table>"
        "\n<tbody>\n";
    for (const provenance_item &item : run.provenance)
        html += "<tr>" + element("th", "scope=\"row\"", item.what) + "<td class=\"wrap\">" +
                element("code", "", item.value) + "</td></tr>\n";
    return html + "</tbody></table></div></details>\n";
}

static std::string section_of(const reported_run &reported, std::size_t number, bool alone) {
    const run_result &run = reported.run;
    const std::string id = "spectrum-" + std::to_string(number);
    const fit_judgement &judgement = run.judgement;
    static const char *const words[] = {"converged", "at its limit", "fitted", "not fitted"};
    std::string html = "<section class=\"spectrum\" id=\"" + id + "\">\n";
    const char *const heading = "h1";
    html += "<" + std::string(heading) + ">" + escaped_markup(valid_text(run.name)) + " " +
            element("span", "class=\"badge " + std::string(level_text(judgement.level())) + "\"",
                    words[static_cast<int>(judgement.status)]) +
            "</" + heading + ">\n";
    std::string sub = run.axis.nucleus;
    if (run.axis.mhz) sub += (sub.empty() ? "" : ", ") + short_link_number(*run.axis.mhz) + " MHz";
    if (!run.mode.empty()) sub += (sub.empty() ? "" : ", ") + run.mode;
    if (alone || !sub.empty()) html += element("p", "class=\"sub\"", sub) + "\n";
    if (!run.fitted) {
        html += "<div class=\"warnings\" role=\"note\"><h2>Not fitted</h2>" +
                element("p", "", run.why_not) + "</div>\n" + provenance_of(run) + "</section>\n";
        return html;
    }
    html += warnings_of(run);
    if (has_picture(run)) {
        html += "<figure data-spectrum=\"" + id + "-data\">\n<div class=\"picture\">" +
                report_picture(run) +
                "</div>\n<figcaption>Real part, phases taken off; the fitted intervals are shaded. "
                "Numbers at the components are those of the entries.</figcaption>\n</figure>\n" +
                data_block(id + "-data", curves_of(run, alone));
    }
    html += figures_of(run) + notes_of(run) + entries_of(run) + derived_of(reported) +
            steps_of(run) + provenance_of(run);
    return html + "</section>\n";
}

void report_page::add(const reported_run &reported) {
    const run_result &run = reported.run;
    ++added_;
    title_ = "Fit of " + run.name;
    sections_ += section_of(reported, added_, spectra_ == 1);
    const char *const status = status_text(run.judgement.status);
    contents_ +=
        "<tr><th scope=\"row\">" +
        element("a", "href=\"#spectrum-" + std::to_string(added_) + "\"", run.name) +
        "</th><td class=\"text\">" +
        element("span", "class=\"badge " + std::string(level_text(run.judgement.level())) + "\"",
                status) +
        "</td><td>" + short_number(run.quality) + "</td><td>" + short_number(run.snr) +
        "</td><td>" + std::to_string(run.warnings.size()) + "</td></tr>\n";
}

std::string report_page::text() const {
    page_content page;
    const std::string count = std::to_string(spectra_) + " spectra";
    page.title = spectra_ == 1 ? title_ : "Fits of " + count;
    page.style = std::string(uplot_style()) + std::string(report_style());
    page.scripts = {std::string(uplot_script()), std::string(charts_script()),
                    std::string(report_script())};
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
