// SPDX-License-Identifier: BSD-3-Clause
// convert_spectra.h -- from the FIDs of a file to what a fit reads
#pragma once

#include "files/measured/choose_spectra.h"
#include "files/measured/condition_fid.h"

#include "engine/noise_window.h"

#include "kernel/transform_plan.h"

#include <optional>
#include <string>
#include <vector>

namespace tools {

// Options that both conversions take.
struct input_options {
    std::string input, format;
    std::string json;                // empty: the one beside input, if any
    std::optional<long long> points; // of one FID
    choice_options choice;
    std::string resize; // empty, "fill", "cut" or a number
    std::string phase;  // empty, "auto" or degrees
    bool conjugate = false;
    bool force = false;
};

// Options of a spectrum; what is given wins over what the file says.
struct spectrum_options {
    std::string folder;
    std::optional<double> dwell_time, bandwidth, mhz, ppm_at_carrier, begin_time;
    std::optional<std::string> nucleus, axis;
    std::string noise;     // empty or "first:last"
    std::string reference; // file of the FID of a single strong line
    bool eddy = false;
    long long memory = 128; // for the FIDs of one pass over the file [MiB]
};

// How the FIDs of a source become spectra, and what is known about all of them.
class spectrum_conversion {
  public:
    // Settles what options and source say. Guesses and warnings are added to those of the source,
    // which must outlive this. Errors: bad_input, wrong_usage.
    spectrum_conversion(spectrum_source &source, const choice &chosen, const input_options &options,
                        const spectrum_options &own);

    // Sense, correction, phase, length, transform of an FID as the source hands it out.
    //
    // Given:
    //   fid       complex[used()]
    //   eddy      line of a reference that takes eddy currents out; may be null
    //   sidecar   gets the phase that was applied; may be null
    complex_signal spectrum_of(complex_signal fid, const measured_lineshape *eddy,
                               nlohmann::ordered_json *sidecar) const;
    // Points of an FID before the zeros at its end, if these are as many as were filled in.
    long long measured_of(const complex_signal &fid);
    // Looks for one noise window for all spectra of the source that the averages leave, chosen or
    // not: a spectrum then has the same errors in a batch as alone. Nothing to do when the window
    // is asked for or known, or there is one spectrum. Of many spectra it takes 1024, evenly.
    //   memory    for the FIDs of one pass over the file [MiB]
    void share_noise_window(long long memory);
    // Noise window, fitted interval and warnings of a spectrum, into its sidecar.
    engine::noise_window describe(const complex_signal &spectrum, nlohmann::ordered_json &sidecar);
    // What a user should know about the conversion, a sentence each.
    std::vector<std::string> remarks() const;

    long long points() const { return points_; }                   // of a spectrum
    long long measured() const { return measured_; }               // most of all FIDs so far
    std::size_t used() const { return used_; }                     // points of an FID
    const nlohmann::ordered_json &items() const { return items_; } // of every sidecar

  private:
    std::string other_axis() const; // what --axis would have to be for the other sense
    spectrum_source &source_;
    const input_options &options_;
    bool conjugated_, rises_;
    long long points_;
    std::size_t used_;
    std::optional<kernel::transform_plan> plan_; // of points_ points
    point_stretch known_noise_, fit_points_, asked_noise_;
    point_stretch shared_noise_; // of shared_by_ spectra
    long long shared_by_ = 0;
    long long measured_ = 0, with_zeros_ = 0; // most of all FIDs; FIDs with zeros at the end
    nlohmann::ordered_json items_;
    long long mirrored_ = 0, unknown_noise_ = 0;
};

// Writes a spectrum and its sidecar for each FID that is chosen, prints their names and the control
// file's keywords for them, and warns of what was guessed. All files appear together at the end.
// Errors: as the readers; wrong_usage; bad_output.
void import_spectra(const input_options &options, const spectrum_options &own);

// Writes the pattern of one FID. Errors: as above.
void import_pattern(const input_options &options, const std::string &output);

// Warnings go to standard error behind the program's name.
void warn(const std::string &text);

// Makes a folder with those above it. Errors: bad_output.
void make_folder(const std::string &folder);

} // namespace tools
