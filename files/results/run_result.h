// SPDX-License-Identifier: BSD-3-Clause
// run_result.h -- everything that the files of one fitted spectrum say
#pragma once

#include "files/base/not_known.h"
#include "files/base/ordered_json.h"
#include "files/spectra/spectrum_axis.h"
#include "files/spectra/complex_signal.h"
#include "files/problem/exact_fit.h"
#include "files/results/rebuilt_model.h"
#include "files/results/fit_list.h"
#include "files/results/fit_log.h"
#include "files/results/findings.h"

#include <array>
#include <optional>
#include <string>
#include <vector>

namespace tools {

// Where a parameter's value comes from. unused: the line type has no such parameter.
enum class parameter_state { free, fixed, linked, unused };

struct fitted_parameter {
    parameter_state state = parameter_state::free;
    int source = 0;             // entry (1-based) that a linked one follows
    double link_constant = 0.0; // area: ratio to the source; else difference, shown unit
    double value = 0.0;         // shown unit; not a number when it is not known in that unit
    double error_2sd = 0.0;     // the program's figure; not a number when there is none, 0 at the
                                // edge of a window, where the bounds take it as known
    double error_1sd() const { return 0.5 * error_2sd; }
    // of the magnitude of the value, one standard deviation, 999 at most; not a number without
    // error, or with one of 0, which says nothing of how well the value is known
    double percent_1sd() const;
};

struct fitted_entry {
    int number = 0; // from 1
    int type = 0;   // line type code
    std::string name, pattern_file;
    fitted_parameter area;          // [signal]
    fitted_parameter frequency;     // [Hz] from the left edge; a shift for patterns
    fitted_parameter gauss_width;   // FWHM [Hz]
    fitted_parameter phase;         // [degrees]
    fitted_parameter lorentz_width; // FWHM [Hz]
    double hz_from_carrier = 0.0;   // of a line; the shift of a pattern
    double ppm = 0.0;               // of a line; the shift of a pattern; not a number if unknown
    double ppm_2sd = 0.0;
    double snr = 0.0; // highest magnitude of the component over the noise sd
    const fitted_parameter &of(int quantity) const; // as start files have them
};

struct provenance_item {
    std::string what, value;
};

struct run_result {
    std::string folder, name; // of the spectrum, without ending
    bool fitted = false;
    std::string why_not; // for a run without results
    std::vector<std::string> files_read;

    complex_signal data, fit, residual;
    std::vector<complex_signal> components;
    spectrum_axis axis;
    ordered_json sidecar = ordered_json::object(); // empty without one
    rebuilt_model control;                         // of the result
    rebuilt_model start;                   // of the start values; read is false without them
    std::optional<optimum_record> optimum; // of an exact fit, whose values all of this is about

    std::string command;
    // figures that no file states are not a number
    double quality = not_known, quality_before = not_known;
    double noise_re = not_known, noise_im = not_known;
    double chi_before = not_known, chi_after = not_known;
    int iterations = 0, free_parameters = 0;
    double snr = not_known;
    bool has_errors = false;
    // Errors of sums and ratios can be had: how the errors of the parameters hang together is
    // known.
    bool has_covariance() const { return has_errors && !control.covariance.empty(); }
    bool singular = false; // the matrix of the error bounds, as the log says

    std::vector<fitted_entry> entries;
    std::vector<step_log> log_steps;
    std::string log_file, program_version;
    std::vector<std::string> log_remarks;                   // lines of the log that warn
    std::vector<std::string> start_guesses, start_warnings; // remarks of the start file
    double display_phase = 0.0, display_phi_1 = 0.0;        // [degrees] taken off in the pictures
    fit_judgement judgement;
    std::vector<std::string> warnings; // its findings
    std::vector<std::string> notes;    // what to know of the numbers, but no cause for doubt
    std::string remark;                // what quality.tsv says behind the reason of the judgement
    std::vector<provenance_item> provenance;

    // Of the spectrum, which need not be here.
    long long points() const {
        return data.empty() ? axis.points : static_cast<long long>(data.size());
    }
    // Intervals of the last step that fits something, and the points from the first to the last of
    // them with a margin; all points when they are not known.
    std::vector<std::pair<long long, long long>> intervals() const;
    std::pair<long long, long long> view() const;
};

// Items of a sidecar whose "text" says what was done to the data before the fit.
inline constexpr const char *notes_of_import[] = {"lines_removed", "reference_peak"};
// Their texts, of the items that are there. Errors: bad_input for items of another kind.
std::vector<std::string> notes_of_sidecar(const metadata &sidecar);

struct result_options {
    std::string names_file, start_file, log_file; // empty: looked for in the folder
    bool quality_before = true;                   // evaluates the start values, too
    bool hashes = true;                           // of the files, for the provenance
    fit_lists *lists = nullptr; // of the spectra before this one, kept for those behind it
};

// Reads the files of spectrum `name` in `folder`. Errors: bad_input for files that are there and
// hold something else.
run_result read_run(const std::string &folder, const std::string &name,
                    const result_options &options);

} // namespace tools
