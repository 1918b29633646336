// SPDX-License-Identifier: BSD-3-Clause
// simulated_model.cpp -- the model of a start file, as a fit compares it with its data
//
//   spectrum[i] = model[i] + sd (a_i + i b_i),  a_i, b_i normal deviates of the seed
//
// The model is that of the fits, so a simulated spectrum that is fitted gives its own start values
// back, but for the noise.
#include "varokel-simulate/simulated_model.h"

#include "files/base/ordered_json.h"
#include "files/base/tool_error.h"
#include "files/problem/exact_fit.h"
#include "files/start/read_start_file.h"
#include "varokel-simulate/gaussian_noise.h"

#include <cmath>
#include <filesystem>

namespace tools {

// The fitter reads reals in single precision; so does what simulates its data.
static start_file in_single_precision(start_file file) {
    file.phi_1 = as_single(file.phi_1);
    file.hz_per_point = as_single(file.hz_per_point);
    for (start_entry &entry : file.entries)
        for (start_parameter &p : entry.parameters) p.value = as_single(p.value);
    for (double &coefficient : file.lineshape) coefficient = as_single(coefficient);
    return file;
}

static void refuse_what_has_no_model(const start_file &file, const std::string &name) {
    const auto refuse = [&](const std::string &text) {
        throw tool_error(bad_input, name + ": " + text);
    };
    constexpr int most = kernel::transform_plan::most_points;
    if (file.noise_stop > most)
        refuse("noistp is " + std::to_string(file.noise_stop) + "; expected up to " +
               std::to_string(most));
    if (!kernel::transform_plan::exists_for(file.points))
        refuse("n_pnts is " + std::to_string(file.points) + "; expected a power of two");
    if (file.entries.empty()) refuse("no lines and no patterns; expected at least one");
    if (file.fit_mode == 2)
        refuse("fit_mo is 2, which needs a measured lineshape; expected 1 or 3 for a simulation");
}

// The spectrum of all entries, at the values of the file.
static complex_signal model_of(const start_file &file, const std::string &name) {
    problem_data data;
    data.spectrum.resize(static_cast<std::size_t>(file.points));
    data.patterns = patterns_of(file, {"."});
    engine::fit_problem problem = problem_of(file, std::move(data), freedom::by_links);
    // A measured signal has all its points: the truncation of the steps and the removal of the
    // first points belong to the fit, as do its intervals and its channel.
    problem.when.ignored = problem.when.kept = 0;
    problem.intervals.clear();
    problem.part = engine::channel::both;
    const auto model = engine::model::make(problem);
    if (!model) throw tool_error(bad_input, name + ": " + refusal_text(file, model.why()));
    engine::model_workspace workspace;
    workspace.prepare(*model);
    complex_signal spectrum = workspace.spectrum(*model, model->given());
    for (const std::complex<double> value : spectrum)
        if (!std::isfinite(value.real()) || !std::isfinite(value.imag()))
            throw tool_error(bad_input, name + ": the model is not finite");
    return spectrum;
}

simulated_model::simulated_model(const std::string &start) {
    std::error_code error;
    if (!std::filesystem::is_regular_file(start, error))
        throw tool_error(bad_input, start + ": no such file; expected a start value file");
    file_ = in_single_precision(read_start_file(start));
    refuse_what_has_no_model(file_, start);
    spectrum_ = model_of(file_, start);
}

double simulated_model::dwell_time() const {
    return 1.0 / (file_.hz_per_point * static_cast<double>(file_.points));
}

std::optional<double> simulated_model::begin_time() const {
    if (file_.phi_1 == 0.0) return std::nullopt;
    return file_.phi_1 / 360.0 * dwell_time();
}

std::vector<std::string> simulated_model::pattern_files() const {
    std::vector<std::string> files;
    for (const start_entry &entry : file_.entries)
        if (entry.type == pattern_entry) files.push_back(entry.pattern_file);
    return files;
}

complex_signal simulated_model::with_noise(const simulated_noise &noise, std::size_t points) const {
    gaussian_noise deviates(noise.seed);
    complex_signal spectrum(points);
    for (std::size_t i = 0; i < points; ++i) {
        const double re = noise.sd * deviates.next();
        const double im = noise.sd * deviates.next();
        const bool fitted = i < spectrum_.size();
        spectrum[i] = {fitted ? spectrum_[i].real() + re : re,
                       fitted ? spectrum_[i].imag() + im : im};
    }
    return spectrum;
}

std::string simulated_model::truth(const simulated_noise &noise, long long spectra) const {
    ordered_json truth;
    truth["points"] = file_.points;
    truth["hz_per_point"] = file_.hz_per_point;
    truth["phi_1_degrees"] = file_.phi_1;
    truth["noise_sd"] = noise.sd;
    truth["seed"] = noise.seed;
    if (spectra > 1) truth["spectra"] = spectra; // the seed rises by 1 from one to the next
    truth["entries"] = ordered_json::array();
    static const char *const type_names[] = {"?", "Gaussian", "Lorentzian", "Voigt", "pattern"};
    int number = 0;
    for (const start_entry &from : file_.entries) {
        const auto value = [&](int q) {
            return is_used(q, from.type) ? from.parameters[static_cast<std::size_t>(q)].value : 0.0;
        };
        ordered_json entry;
        entry["entry"] = ++number;
        entry["type"] = type_names[from.type];
        entry["area"] = value(area_of);
        entry["frequency_hz"] = value(frequency_of);
        entry[from.type == pattern_entry ? "width1_points" : "width1_hz"] =
            std::fabs(value(gauss_of));
        entry["phase_degrees"] = value(phase_of);
        // the width2 of a Lorentzian line and of a pattern is in points in every control file
        entry[from.type == voigt_entry ? "width2_hz" : "width2_points"] = value(lorentz_of);
        truth["entries"].push_back(entry);
    }
    return truth.dump(2) + "\n";
}

} // namespace tools
