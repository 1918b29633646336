// SPDX-License-Identifier: BSD-3-Clause
// spectrum_conversion.h -- how the FIDs of a source become spectra, and what is known of all
#pragma once

#include "files/measured/condition_fid.h"
#include "files/measured/conversion_options.h"
#include "files/measured/spectrum_source.h"

#include "engine/noise_window.h"
#include "kernel/transform_plan.h"

#include <optional>
#include <span>
#include <string>
#include <vector>

namespace tools {

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
                               ordered_json *sidecar) const;
    // Points of an FID before the zeros at its end, if these are as many as were filled in.
    long long measured_of(const complex_signal &fid);
    // What holds for all spectra of the source that the averages leave, chosen or not: one noise
    // window and one ppm axis. Of many spectra it takes 1024, evenly. Errors: bad_input when a
    // reference peak is asked for and there is none.
    //   memory    for the FIDs of one pass over the file [MiB]
    void look_at_all(long long memory);
    // Sets the axis by the reference peak, which must be asked for, in a spectrum. Errors: as
    // above.
    void set_axis(const complex_signal &spectrum);
    // Noise window, fitted interval and warnings of a spectrum, into its sidecar.
    engine::noise_window describe(const complex_signal &spectrum, ordered_json &sidecar);
    // What a user should know about the conversion, a sentence each.
    std::vector<std::string> remarks() const;

    long long points() const { return points_; }         // of a spectrum
    long long measured() const { return measured_; }     // most of all FIDs so far
    std::size_t used() const { return used_; }           // points of an FID
    const ordered_json &items() const { return items_; } // of every sidecar

  private:
    bool shares_noise() const; // whether a window is looked for
    void take_lines_out(complex_signal &fid, ordered_json *sidecar) const;
    void take_axis(const reference_search &search);
    std::string other_axis() const; // what --axis would have to be for the other sense
    spectrum_source &source_;
    chosen_spectra chosen_;
    const input_options &options_;
    std::optional<reference_peak> reference_peak_;
    bool eddy_; // spectra are moved by the reference line, which look_at_all does not know
    bool conjugated_, rises_;
    long long points_;
    std::size_t used_;
    std::optional<kernel::transform_plan> plan_; // of points_ points
    point_stretch known_noise_, fit_points_, asked_noise_;
    point_stretch shared_noise_; // of shared_by_ spectra
    long long shared_by_ = 0;
    long long measured_ = 0, with_zeros_ = 0; // most of all FIDs; FIDs with zeros at the end
    ordered_json items_;
    std::optional<std::pair<double, double>> removed_; // stretch that is taken out [ppm]
    int water_order_ = 0;                              // that is asked for; 0: by what is left
    std::string removed_remark_;                       // of the first spectrum
    std::vector<std::string> axis_remarks_, axis_warnings_;
    long long mirrored_ = 0, unknown_noise_ = 0;
};

// The FIDs of these outputs, or of outputs first to stop - 1, which rise; each is the mean of its
// members: one pass over the file.
std::vector<complex_signal> read_fids(spectrum_source &source, const chosen_spectra &chosen,
                                      std::span<const std::size_t> outputs, std::size_t points);
std::vector<complex_signal> read_fids(spectrum_source &source, const chosen_spectra &chosen,
                                      std::size_t first, std::size_t stop, std::size_t points);

// Outputs per pass, so that their FIDs take up to so many MiB.
std::size_t outputs_per_pass(long long memory, std::size_t points);

// Turns by degrees, or by what makes the first point real ("auto"), and notes it; nothing for an
// empty text. Errors: wrong_usage for any other.
void apply_phase(complex_signal &fid, const std::string &phase, ordered_json *sidecar);

} // namespace tools
