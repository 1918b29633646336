// SPDX-License-Identifier: BSD-3-Clause
// plan_draft.cpp -- what a plan finds in its input: names, fingerprints, selection, scale
#include "varokel-batch/plan_draft.h"

#include "files/base/plain_text.h"
#include "files/base/sha256.h"
#include "files/base/tool_error.h"
#include "files/measured/text_items.h"

#include <cmath>
#include <iostream>
#include <set>
#include <sstream>

namespace tools {

void warn_of_plan(const std::string &text) {
    std::cerr << "varokel-batch: " << text << '\n';
}

void refuse_name(const std::string &name, const std::string &file) {
    refuse_not_utf8(name, "the name of a spectrum,");
    if (!is_plain_name(name))
        throw tool_error(bad_input, file + ": \"" + name +
                                        "\" cannot be the name of a spectrum; expected up to 200 "
                                        "characters, none of them a control character, a / or a "
                                        "backslash, and neither . nor - in front. Rename the file");
}

void add_spectrum(planned_spectrum &spectrum, const std::string &bytes, part_file &file) {
    spectrum.sha256 = sha256_of(bytes);
    file.add(bytes);
}

// Numbers from 0 on: "0:99,200".
static std::set<long long> numbers_of(const std::string &text, long long count) {
    std::set<long long> numbers;
    std::istringstream words(text);
    for (std::string word; std::getline(words, word, ',');) {
        const std::size_t colon = word.find(':');
        const auto first = whole_number_of(word.substr(0, colon));
        const auto last = colon == word.npos ? first : whole_number_of(word.substr(colon + 1));
        if (!first || !last || *first < 0 || *last < *first || *last >= count)
            throw tool_error(wrong_usage,
                             "--select " + text +
                                 ": expected numbers and ranges FIRST:LAST from 0 to " +
                                 std::to_string(count - 1) + ", commas between");
        for (long long n = *first; n <= *last; ++n) numbers.insert(n);
    }
    if (numbers.empty()) throw tool_error(wrong_usage, "--select is empty");
    return numbers;
}

void keep_selected(plan_draft &batch, std::vector<std::size_t> &origin,
                   const plan_options &options) {
    if (options.select.empty()) return;
    const std::set<long long> wanted =
        numbers_of(options.select, static_cast<long long>(batch.spectra.size()));
    std::vector<planned_spectrum> kept;
    std::vector<std::size_t> kept_origin;
    for (std::size_t s = 0; s < batch.spectra.size(); ++s)
        if (wanted.contains(static_cast<long long>(s))) {
            kept.push_back(std::move(batch.spectra[s]));
            kept_origin.push_back(origin[s]);
        }
    batch.spectra = std::move(kept);
    origin = std::move(kept_origin);
}

std::vector<double> seconds_of(long long places, double step) {
    std::vector<double> seconds;
    for (long long i = 0; i < places; ++i) seconds.push_back(step * static_cast<double>(i));
    return seconds;
}

void take_time_step(plan_draft &batch, const std::string &time_step) {
    const std::size_t equals = time_step.find('=');
    const std::string name = equals == std::string::npos ? "" : time_step.substr(0, equals);
    const std::optional<double> step =
        number_of(equals == std::string::npos ? time_step : time_step.substr(equals + 1));
    const auto refuse = [&](const std::string &what) {
        throw tool_error(wrong_usage, "--time-step " + time_step + ": " + what);
    };
    if (!step || !(*step > 0.0) || !std::isfinite(*step))
        refuse("expected seconds above 0, as 3, or DIM_DYN=3");
    plan_axis *found = nullptr;
    for (plan_axis &axis : batch.axes) {
        if (axis.spatial || axis.size < 2 || (!name.empty() && axis.name != name)) continue;
        if (found != nullptr)
            refuse("there are several dimensions; expected one of them, as " + found->name + "=3");
        found = &axis;
    }
    if (found == nullptr) refuse("there is no series" + (name.empty() ? "" : " " + name));
    found->seconds = seconds_of(found->size, *step);
}

void take_scale(plan_draft &batch, const ordered_json &sidecar) {
    for (const char *const item :
         {"hz_per_point", "dwell_time_s", "spectrometer_mhz", "ppm_at_carrier",
          "ppm_rises_with_points", "nucleus", "begin_time_s", "phi_1_degrees", "noise_window",
          "reference_peak", "fit_interval_points", "resized", "measured_points"})
        if (sidecar.contains(item)) batch.scale[item] = sidecar[item];
    if (!batch.scale.contains("noise_window")) return;
    for (const char *const of_one_spectrum : {"sd_real", "sd_imaginary"})
        batch.scale["noise_window"].erase(of_one_spectrum);
}

} // namespace tools
