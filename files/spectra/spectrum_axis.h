// SPDX-License-Identifier: BSD-3-Clause
// spectrum_axis.h -- points of a spectrum in hertz and in ppm
#pragma once

#include "files/spectra/metadata.h"

#include <optional>
#include <string>

namespace tools {

// How points of a spectrum translate into hertz from the carrier and into ppm.
struct spectrum_axis {
    std::optional<double> hz_per_point;   // [Hz]
    std::optional<double> mhz;            // spectrometer frequency [MHz]
    std::optional<double> ppm_at_carrier; // [ppm], carrier at point n/2
    bool ppm_rises_with_points = true;
    std::string nucleus; // such as "31P"; may be empty
    // complex points, and those of the FID that were measured: the others are zeros; 0: not known
    long long points = 0, measured = 0;

    // What turns an error bound of a fit into that of the measurement: sqrt(points / measured), 1
    // without zeros. The transform spreads the noise of m measured points over n, of which the fit
    // takes each for a measurement of its own; the curves are as long as the signal, so of their
    // information n / m times as much seems to be there.
    double error_factor() const;

    bool knows_ppm() const { return mhz && ppm_at_carrier; }
    // A frequency, Hz from the left edge, as it is shown: ppm, or Hz from the carrier where the
    // axis knows no ppm; of a shift (of a pattern), how far that is. And one Hz in that unit.
    double shown_frequency(double hz, bool is_shift) const;
    double shown_hertz() const;
};

// The axis items of a sidecar: points, measured_points (or resized.from), hz_per_point,
// spectrometer_mhz, ppm_at_carrier, ppm_rises_with_points, nucleus.
spectrum_axis axis_of_sidecar(const metadata &sidecar);

} // namespace tools
