// SPDX-License-Identifier: BSD-3-Clause
// spectrum_axis.cpp -- points of a spectrum in hertz and in ppm
#include "files/spectra/spectrum_axis.h"

#include <algorithm>
#include <cmath>

namespace tools {

double spectrum_axis::error_factor() const {
    if (measured < 1 || measured >= points) return 1.0;
    return std::sqrt(static_cast<double>(points) / static_cast<double>(measured));
}

double spectrum_axis::shown_hertz() const {
    if (!knows_ppm()) return 1.0;
    return (ppm_rises_with_points ? 1.0 : -1.0) / *mhz;
}

double spectrum_axis::shown_frequency(double hz, bool is_shift) const {
    if (is_shift) return hz * shown_hertz();
    const double carrier = static_cast<double>(points / 2) * hz_per_point.value_or(0.0);
    return (hz - carrier) * shown_hertz() + (knows_ppm() ? *ppm_at_carrier : 0.0);
}

spectrum_axis axis_of_sidecar(const metadata &sidecar) {
    spectrum_axis axis;
    axis.hz_per_point = sidecar.positive_number("hz_per_point");
    axis.mhz = sidecar.positive_number("spectrometer_mhz");
    axis.ppm_at_carrier = sidecar.number("ppm_at_carrier");
    axis.ppm_rises_with_points = sidecar.truth("ppm_rises_with_points").value_or(true);
    axis.nucleus = sidecar.text("nucleus").value_or("");
    axis.points = sidecar.positive_integer("points").value_or(0);
    axis.measured = sidecar.positive_integer("measured_points").value_or(0);
    if (axis.measured == 0)
        axis.measured = sidecar.inside("resized").positive_integer("from").value_or(0);
    axis.measured = std::min(axis.measured, axis.points);
    return axis;
}

} // namespace tools
