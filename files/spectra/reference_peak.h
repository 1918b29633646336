// SPDX-License-Identifier: BSD-3-Clause
// reference_peak.h -- a line of known chemical shift sets the ppm axis
//
// What a file says the carrier has is a habit or the scanner's belief: water stands at 4.65 ppm at
// 37 degrees, but at 4.8 in a phantom at room temperature (0.01 ppm per degree), and an
// off-resonance of the shim moves all lines alike. A line of known shift tells where the axis is.
#pragma once

#include "files/spectra/complex_signal.h"
#include "files/spectra/spectrum_axis.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tools {

struct reference_peak {
    std::string name; // of the line, for those who read it; may be empty
    double ppm = 0.0;
    std::optional<double> half_width; // of the stretch where it is looked for [ppm]

    bool operator==(const reference_peak &) const = default;
};

struct found_reference {
    double ppm = 0.0;                // on the axis as it was; not a number when that had no ppm
    double point = 0.0;              // of the spectrum, with a fraction
    double ppm_at_carrier = 0.0;     // that the axis gets
    std::optional<double> shift;     // by which all ppm change; nothing when there were none before
    double half_width = 0.0;         // [ppm] of the stretch; 0: all of the spectrum
    bool guessed_width = false;      // not given
    std::optional<double> other_ppm; // of a second peak more than half as high, on the new axis
    double other_height = 0.0;       // of it, over the height of the first
    long long spectra = 0;           // that were looked at
    long long own = 0;               // of these, that have a peak of their own above the noise
    long long away = 0;              // of those, that have it more than its width away
    double farthest_ppm = 0.0;       // of these
};

// Looks for the peak in all spectra together: in the root mean square of their magnitudes, which
// knows no phase, so that a series has one axis. Afterwards each one's own peak is held against it.
//
// Notes:
//   1. The peak is the local maximum that stands highest above the higher one of its two feet
//      within the stretch (its prominence). The wing of a strong line outside is taken off before,
//      as a straight line between what is beyond the two ends of the stretch. The peak must rise
//      above the noise of the magnitudes by seven times its standard deviation; noise alone does so
//      once in a thousand.
//   2. Its place is that of a Lorentzian line of any phase on a straight background over seven
//      points, one place for all spectra; where noise would move that by more than a tenth of a
//      point, over as many points as the line is wide (line_place.h).
//   3. Without a half width it is 0.3 ppm for 1H and 2H (more than the shift of water over 25
//      degrees), 1 ppm for 31P, 3 ppm for others; without ppm at the carrier, all of the spectrum.
class reference_search {
  public:
    // Errors: bad_input when the axis lacks hertz per point or the spectrometer frequency, or the
    // stretch lies outside of the spectrum.
    reference_search(reference_peak wanted, const spectrum_axis &axis);
    void add(const complex_signal &spectrum);
    // Errors: bad_input when there is no peak.
    found_reference found() const;

  private:
    struct peak {
        double point = 0.0, height = 0.0, prominence = 0.0, width = 0.0; // points; magnitudes
    };
    std::vector<peak> peaks_of(const std::vector<double> &power) const;
    std::vector<double> power_of(const complex_signal &spectrum) const;
    double place_of(double near) const;
    long long kept_from() const;
    long long kept_stop() const;
    double ppm_of(double point) const;

    reference_peak wanted_;
    spectrum_axis axis_;
    double half_width_ = 0.0;
    long long first_ = 0, last_ = 0;             // of the stretch, inclusive
    std::vector<complex_signal> kept_;           // the stretch of each, with a few points around
    std::vector<double> power_;                  // sum over the spectra
    std::vector<std::pair<double, double>> own_; // place, and height over the noise
    double noise_power_ = 0.0;                   // sum of the variances of a channel
    long long spectra_ = 0;
};

// Into a sidecar: ppm_at_carrier, which is then no guess, and an item "reference_peak".
void set_reference_items(ordered_json &items, const reference_peak &wanted,
                         const found_reference &found);

// "reference_peak.within_ppm 0.3: ..." for a stretch that nobody gave.
std::string reference_width_text(const found_reference &found);

// What was done, for a user: "NAA, known at 2.01 ppm, was found at 1.80 ppm: all ppm rise by 0.21".
std::string text_of(const reference_peak &wanted, const found_reference &found);
// What a user should look at: another peak, spectra that differ. Empty when there is nothing.
std::vector<std::string> warnings_of(const reference_peak &wanted, const found_reference &found);

} // namespace tools
