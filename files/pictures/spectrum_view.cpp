// SPDX-License-Identifier: BSD-3-Clause
// spectrum_view.cpp -- how the signals of a run are found and shown
#include "files/pictures/spectrum_view.h"

#include "files/base/tool_error.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <numbers>

namespace tools {

static bool exists(const std::string &file) {
    std::error_code error;
    return std::filesystem::exists(file, error);
}

std::string signal_of_run(const std::string &run, const char *ending) {
    const std::string plain = run + ending, with_header = plain + ".sdf";
    if (exists(plain)) return plain;
    if (exists(with_header)) return with_header;
    refuse_input(plain, "no such file; expected the signals of a fit, " + run +
                            ".org, .fit and .res, in one folder");
}

std::vector<double> real_part(const complex_signal &x, std::size_t first, std::size_t n,
                              double phi_0, double phi_1) {
    std::vector<double> re(n);
    for (std::size_t i = 0; i < n; ++i) {
        const double degrees = phi_0 + phi_1 * static_cast<double>(i) / static_cast<double>(n);
        const double angle = degrees * std::numbers::pi / 180.0;
        const std::complex<double> &point = x[first + i];
        re[i] = point.real() * std::cos(angle) + point.imag() * std::sin(angle);
    }
    return re;
}

double upright_phase(const complex_signal &x, double phi_1) {
    double most = 0.0;
    for (const std::complex<double> &point : x) most = std::max(most, std::abs(point));
    std::complex<double> sum = 0.0;
    for (std::size_t i = 0; i < x.size() && most > 0.0; ++i) {
        if (!(std::abs(x[i]) >= most / 3.0)) continue;
        const std::complex<double> scaled = x[i] / most; // no square leaves the range of numbers
        const double turn = -phi_1 * static_cast<double>(i) / static_cast<double>(x.size());
        sum += scaled * std::abs(scaled) * std::polar(1.0, turn * std::numbers::pi / 180.0);
    }
    return sum == 0.0 ? 0.0 : std::arg(sum) * 180.0 / std::numbers::pi;
}

plot_axis plot_axis_of(const spectrum_axis &items, const std::string &asked, long long n) {
    const bool has_ppm = items.hz_per_point && items.mhz && items.ppm_at_carrier;
    std::string kind = asked;
    if (kind.empty()) kind = has_ppm ? "ppm" : items.hz_per_point ? "hz" : "points";
    if (kind == "ppm" && !has_ppm)
        throw tool_error(bad_input,
                         "a ppm axis needs hz_per_point, spectrometer_mhz and ppm_at_carrier; give "
                         "them with --hz-per-point, --mhz and --ppm-at-carrier or in a sidecar");
    if (kind == "hz" && !items.hz_per_point)
        throw tool_error(bad_input, "an axis in Hz needs hz_per_point; give it with "
                                    "--hz-per-point or in a sidecar");
    if (kind == "points") return {"point", 0.0, 1.0, false};
    const long long carrier_point = n / 2;
    const double carrier = static_cast<double>(carrier_point);
    if (kind == "hz")
        return {"frequency from the carrier (Hz)", -carrier * *items.hz_per_point,
                *items.hz_per_point, false};
    const double step =
        *items.hz_per_point / *items.mhz * (items.ppm_rises_with_points ? 1.0 : -1.0);
    const std::string nucleus = items.nucleus.empty() ? "" : items.nucleus + " ";
    return {nucleus + "chemical shift (ppm)", *items.ppm_at_carrier - carrier * step, step, true};
}

} // namespace tools
