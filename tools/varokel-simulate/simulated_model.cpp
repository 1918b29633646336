// SPDX-License-Identifier: BSD-3-Clause
// simulated_model.cpp -- the model of a start file, as a fit compares it with its data
//
//   spectrum[i] = model[i] + sd (a_i + i b_i),  a_i, b_i normal deviates of the seed
//
// The model is the fitter's own, so a simulated spectrum that is fitted gives its own start values
// back, but for the noise.
#include "varokel-simulate/simulated_model.h"

#include "run/end_run.h"
#include "run/state.h"
#include "run/storage.h"
#include "model/fft.h"
#include "model/objective.h"
#include "model/units.h"
#include "control/start_value_file.h"

#include "files/base/file_descriptor.h"
#include "files/base/tool_error.h"
#include "varokel-simulate/gaussian_noise.h"

#include <nlohmann/json.hpp>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <iostream>

#include <unistd.h>

namespace tools {

namespace {
struct core_ended {
    int status;
};
} // namespace

// Runs f, which may print and may end the run. What it prints is no result of this program: it is
// kept apart from standard output, and returned. An end of the run comes back as ended.
static std::string messages_of(const std::function<void()> &f, bool &ended) {
    std::FILE *const kept = std::tmpfile();
    const file_descriptor output(dup(STDOUT_FILENO));
    if (kept == nullptr || !output.is_open())
        throw tool_error(bad_output, "no temporary file for the messages of the reader");
    std::fflush(stdout);
    dup2(fileno(kept), STDOUT_FILENO);
    replace_end_run([](int status) { throw core_ended{status}; });
    ended = false;
    try {
        f();
    } catch (const core_ended &) {
        ended = true;
    }
    replace_end_run(nullptr);
    std::fflush(stdout);
    dup2(output.number(), STDOUT_FILENO);
    std::string text;
    std::rewind(kept);
    for (int c; (c = std::fgetc(kept)) != EOF;) text += static_cast<char>(c);
    std::fclose(kept);
    return text;
}

// What the model needs of the settings that every run starts with; the file overwrites the rest.
static void set_model_defaults() {
    std::snprintf(sage_idl, sizeof sage_idl, "sage_idl");
    Hz_pp = 1.0;
    frscl = 1.0;
    complex = 2;
    weighting_type = 1;
}

// A stored pattern is divided by its norm, so its area in the model is that of the file times the
// norm. Multiplies the areas of the patterns, and what their links go by.
static void scale_pattern_areas() {
    for (int p = 1; p <= n_patterns; ++p) {
        const int area = pars_per_entry * (nLines + p - 1) + area_par;
        par[area] *= pattern_norm[p];
        fixpar[area].value *= pattern_norm[p];
    }
}

// Reads the file and leaves its model in yre/yim and its parameters, links applied, in par.
static void build_model(const std::string &start) {
    set_model_defaults();
    std::snprintf(strtvalfnm, sizeof strtvalfnm, "%s", start.c_str());
    MakeInitValFile();
    if (file_corrupt == 1 || !is_power_of_two(ap) || nLines + n_patterns < 1 || ref_line == 1 ||
        noise_stop > max_points)
        return;
    allocate_memory(ap);
    create_lookup(lookup, ap, 1);
    // A measured signal has all its points: the truncation of the steps and the removal of the
    // first points belong to the fit.
    td_ap_trunc = ap;
    ignore = 0;
    spec = 1;
    scale_pattern_areas();
    // A fit never takes the value of a dependent parameter from the file: it derives it from the
    // entry it is tied to, whenever it evaluates the model. So an evaluation is what fills the
    // dependent values into par here, and it leaves the model of all entries in yre and yim. The
    // weights are zero: no point counts, the chi-square is 0, and no data are needed.
    chi_square_of(par);
}

static void refuse_start_file(const std::string &start, bool ended) {
    const auto refuse = [&](const std::string &text) {
        throw tool_error(bad_input, start + ": " + text);
    };
    if (ended || file_corrupt == 1) refuse("no valid start value file, see the messages above");
    if (noise_stop > max_points)
        refuse("noistp is " + std::to_string(noise_stop) + "; expected up to " +
               std::to_string(max_points));
    if (!is_power_of_two(ap))
        refuse("n_pnts is " + std::to_string(ap) + "; expected a power of two");
    if (nLines + n_patterns < 1) refuse("no lines and no patterns; expected at least one");
    if (ref_line == 1)
        refuse("fit_mo is 2, which needs a measured lineshape; expected 1 or 3 for a simulation");
    if (!storage_complete()) refuse("not enough memory for " + std::to_string(ap) + " points");
    for (int i = 0; i < npar; ++i)
        if (!std::isfinite(par[i]))
            refuse("parameter " + std::to_string(i % pars_per_entry + 1) + " of entry " +
                   std::to_string(i / pars_per_entry + 1) +
                   " is not a finite number once its link is followed; is the area it is tied to "
                   "0?");
}

simulated_model::simulated_model(const std::string &start) {
    std::error_code error;
    if (!std::filesystem::is_regular_file(start, error))
        throw tool_error(bad_input, start + ": no such file; expected a start value file");
    if (start.size() >= sizeof strtvalfnm)
        throw tool_error(bad_input, "name of the start value file too long");
    bool ended = false;
    const std::string messages = messages_of([&] { build_model(start); }, ended);
    try {
        refuse_start_file(start, ended);
    } catch (const tool_error &) {
        std::cerr << messages;
        throw;
    }
}

simulated_model::~simulated_model() {
    free_memory(ap);
}

int simulated_model::points() const {
    return ap;
}

double simulated_model::dwell_time() const {
    return 1.0 / (Hz_pp * static_cast<double>(ap));
}

std::optional<double> simulated_model::begin_time() const {
    if (phi_1 == 0.0) return std::nullopt;
    return phi_1 / 360.0 * dwell_time();
}

int simulated_model::noise_first() const {
    return noise_strt;
}

int simulated_model::noise_stop() const {
    return ::noise_stop;
}

std::vector<std::string> simulated_model::pattern_files() const {
    std::vector<std::string> files;
    for (int p = 1; p <= n_patterns; ++p) files.emplace_back(pat_name[p]);
    return files;
}

complex_signal simulated_model::with_noise(const simulated_noise &noise, std::size_t points) const {
    gaussian_noise deviates(noise.seed);
    complex_signal spectrum(points);
    for (std::size_t i = 0; i < points; ++i) {
        const double re = noise.sd * deviates.next();
        const double im = noise.sd * deviates.next();
        const bool fitted = i < static_cast<std::size_t>(ap);
        spectrum[i] = {fitted ? yre[i] + re : re, fitted ? yim[i] + im : im};
    }
    return spectrum;
}

std::string simulated_model::truth(const simulated_noise &noise, long long spectra) const {
    const auto count = static_cast<std::size_t>(npar);
    std::vector<double> o_par(count), none(count), o_none(count);
    std::vector<parameter_record> o_fixpar(count);
    Natural_Frequency(nLines, n_patterns, par, fixpar, none.data(), o_par.data(), o_fixpar.data(),
                      o_none.data(), 1.0 / Hz_pp, Hz_pp);
    nlohmann::ordered_json truth;
    truth["points"] = ap;
    truth["hz_per_point"] = Hz_pp;
    truth["phi_1_degrees"] = phi_1;
    truth["noise_sd"] = noise.sd;
    truth["seed"] = noise.seed;
    if (spectra > 1) truth["spectra"] = spectra; // the seed rises by 1 from one to the next
    truth["entries"] = nlohmann::ordered_json::array();
    static const char *const type_names[] = {"?", "Gaussian", "Lorentzian", "Voigt", "pattern"};
    for (int k = 1; k <= nLines + n_patterns; ++k) {
        const double *const p = o_par.data() + pars_per_entry * (k - 1);
        const int type = fixpar[pars_per_entry * (k - 1)].type;
        nlohmann::ordered_json entry;
        entry["entry"] = k;
        entry["type"] = type_names[type >= gaussian_line && type <= pattern_line ? type : 0];
        entry["area"] = type == pattern_line ? p[area_par] / pattern_norm[k - nLines] : p[area_par];
        entry["frequency_hz"] = p[freq_par] * frscl;
        entry[type == pattern_line ? "width1_points" : "width1_hz"] = std::fabs(p[width1_par]);
        entry["phase_degrees"] = p[phase_par];
        // the width2 of a Lorentzian line and of a pattern is in points in every control file
        entry[type == voigt_line ? "width2_hz" : "width2_points"] = p[width2_par];
        truth["entries"].push_back(entry);
    }
    return truth.dump(2) + "\n";
}

} // namespace tools
