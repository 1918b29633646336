// SPDX-License-Identifier: BSD-3-Clause
// report_facts.cpp -- what the page of a fit says before its tables: verdict, measurement, method
#include "files/pages/report_facts.h"

#include "files/pictures/spectrum_view.h"
#include "files/results/number_text.h"
#include "files/pages/curve_text.h"
#include "files/pages/page_frame.h"

#include <algorithm>
#include <cmath>

namespace tools {

std::string badge_of(const run_result &run) {
    const std::string level = level_text(run.judgement.level());
    return element("span", "class=\"badge " + level + "\"",
                   badge_text(status_text(run.judgement.status), level));
}

static std::string list_of(const run_result &run, finding_level from, finding_level to,
                           bool guesses) {
    std::string items;
    for (auto level = static_cast<int>(to); level >= static_cast<int>(from); --level)
        for (const finding &each : run.judgement.findings)
            if (static_cast<int>(each.level) == level &&
                (each.kind == finding_kind::guessed) == guesses)
                items += element("li", "class=\"" + std::string(level_text(each.level)) + "\"",
                                 each.text) +
                         "\n";
    return items.empty() ? "" : "<ul>\n" + items + "</ul>";
}

std::string verdict_box(const run_result &run) {
    const finding_level level = run.judgement.level();
    std::string heading;
    if (!run.optimum) {
        heading =
            std::string("Verdict: none, the search alone: ") + status_meaning(run.judgement.status);
    } else {
        const std::optional<finding_kind> kind = finding_of_text(run.optimum->verdict);
        heading =
            "Verdict: " + run.optimum->verdict + ": " +
            (kind ? finding_meaning(*kind) : "the fit ended at the lowest minimum that was found");
    }
    return "<div class=\"verdict " + std::string(level_text(level)) + "\" role=\"note\">" +
           element("h2", "", heading) +
           list_of(run, finding_level::amber, finding_level::red, false) + "</div>\n";
}

std::string measurement_text(const spectrum_axis &axis, const ordered_json &sidecar) {
    std::string text = axis.nucleus;
    const auto add = [&](const std::string &what) { text += (text.empty() ? "" : ", ") + what; };
    const auto number = [&](const char *item) {
        const auto found = sidecar.find(item);
        return found != sidecar.end() && found->is_number() ? found->get<double>() : std::nan("");
    };
    if (axis.mhz) add(short_link_number(*axis.mhz) + " MHz");
    if (const double te = number("echo_time_s"); std::isfinite(te))
        add("TE " + short_link_number(1e3 * te) + " ms");
    if (const double tr = number("repetition_time_s"); std::isfinite(tr))
        add("TR " + short_link_number(tr) + " s");
    if (const auto edges = sidecar.find("voxel_mm");
        edges != sidecar.end() && edges->is_array() && edges->size() == 3 &&
        std::all_of(edges->begin(), edges->end(), [](const auto &e) { return e.is_number(); })) {
        double volume = 1e-3; // mm^3 to mL
        std::string sizes;
        for (const auto &edge : *edges) {
            volume *= edge.template get<double>();
            sizes +=
                (sizes.empty() ? "" : " \u00d7 ") + short_link_number(edge.template get<double>());
        }
        add("voxel " + sizes + " mm (" + short_number(volume) + " mL)");
    }
    const auto date = sidecar.find("date");
    if (date != sidecar.end() && date->is_string()) add("measured " + date->get<std::string>());
    return text;
}

std::string stretch_text(const spectrum_axis &items, long long points, long long first,
                         long long last) {
    std::string text = "points " + std::to_string(first) + " to " + std::to_string(last);
    const plot_axis axis = plot_axis_of(items, "", points);
    const std::string unit = unit_of_axis(axis.label);
    if (unit == "(point)") return text;
    const double a = axis.at_zero + axis.per_point * static_cast<double>(first);
    const double b = axis.at_zero + axis.per_point * static_cast<double>(last);
    return text + ", " + short_number(std::min(a, b)) + " to " + short_number(std::max(a, b)) +
           " " + unit;
}

std::string out_of_sight_text(std::pair<long long, long long> points,
                              std::pair<long long, long long> in_sight) {
    if (points.first > in_sight.second || points.second < in_sight.first) return out_of_sight;
    const bool all = points.first >= in_sight.first && points.second <= in_sight.second;
    return all ? "" : ", in part outside of this picture";
}

std::string chosen_noise(const ordered_json &window, long long first, long long stop) {
    if (!window.is_object()) return "";
    const auto is = [&](const char *item, long long value) {
        const auto at = window.find(item);
        return at != window.end() && at->is_number_integer() && *at == value;
    };
    const auto how = window.find("chosen_by"), among = window.find("shared_by_spectra");
    if (how == window.end() || !how->is_string() || !is("first", first) || !is("stop", stop))
        return "";
    const std::string text = how->get<std::string>();
    return among != window.end() && among->is_number_integer() && among->get<long long>() > 1
               ? text + " of " + among->dump() + " spectra"
               : text;
}

static std::string noise_text(const run_result &run) {
    const rebuilt_model &control = run.control;
    if (!control.read || control.noise_stop - control.noise_first < 2) return "";
    const std::string chosen =
        chosen_noise(run.sidecar.value("noise_window", ordered_json::object()), control.noise_first,
                     control.noise_stop);
    return "noise window: " +
           stretch_text(run.axis, run.points(), control.noise_first, control.noise_stop - 1) +
           (chosen.empty() ? "" : " (" + chosen + ")");
}

std::string caption_of(const run_result &run) {
    std::string text = "Phases taken off. Blue: the fitted points";
    for (const auto &[first, last] : run.intervals())
        text +=
            (text.back() == 's' ? ", " : "; ") + stretch_text(run.axis, run.points(), first, last);
    const std::string noise = noise_text(run);
    if (!noise.empty()) {
        text +=
            ". Yellow: the " + noise +
            out_of_sight_text({run.control.noise_first, run.control.noise_stop - 1}, run.view());
    }
    text += ". Numbers at the components are those of the entries.";
    if (run.optimum && !run.optimum->windows.empty())
        text += " Bars above the components: windows of the table, red where the fit presses "
                "against an edge.";
    return text;
}

std::string method_of(const run_result &run) {
    std::string how;
    if (!run.optimum)
        how = "classic: the search alone";
    else if (run.optimum->method == "both")
        how = "both: the search, then the exact fit from its end and from the table";
    else
        how = run.optimum->method + ": the exact fit from the table";
    if (run.optimum) how += ", " + std::to_string(run.optimum->starts.size()) + " starts in all";
    std::string html = element("p", "class=\"note\"", "Method: " + how + ".") + "\n";
    for (const std::string &text : run.notes)
        html += element("p", "class=\"note muted\"", text) + "\n";
    const std::string notes = list_of(run, finding_level::note, finding_level::note, false);
    if (!notes.empty()) html += "<div class=\"notes\">" + notes + "</div>\n";
    const std::string guesses = list_of(run, finding_level::none, finding_level::red, true);
    html += "<div class=\"guesses\"><h2>Guessed</h2>" +
            (guesses.empty() ? "<p class=\"muted\">Nothing: all that was needed was stated.</p>"
                             : guesses) +
            "</div>\n";
    return html;
}

static std::string figure(const std::string &what, const std::string &value) {
    return "<div>" + element("dt", "", what) + element("dd", "", value) + "</div>\n";
}

std::string figures_of(const run_result &run) {
    std::string html = "<dl class=\"figures\">\n";
    html += figure("fit quality (1: residual is noise)", quality_number(run.quality));
    html += figure("with the start values", quality_number(run.quality_before));
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

} // namespace tools
