// SPDX-License-Identifier: BSD-3-Clause
// unit_curves.cpp -- equations (1) to (6) of docs/model.md for area 1 and phase 0
#include "files/start/unit_curves.h"

#include "files/base/tool_error.h"
#include "files/spectra/signal_file.h"

#include "kernel/line_width.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <fstream>
#include <iterator>

namespace tools {

// FID of a line whose frequency [points] is counted from the left edge, 1 at time 0 but for the
// phase of the delay; widths in points, the Gaussian one divided by 1.67.
static complex_signal decay(double f, double g, double L, double degrees,
                            const curve_settings &settings) {
    const double n = settings.points, d = settings.phi_1 / 360.0;
    const double turns = (f + std::floor(n / 2.0)) / n; // of a point
    const double psi =
        2.0 * M_PI * turns * d + M_PI * degrees / 180.0 - M_PI * settings.phi_1 / 360.0;
    const int kept = std::min(settings.points, std::max(settings.kept, 2));
    complex_signal s(static_cast<std::size_t>(settings.points));
    // the rotation by a recurrence, set right every 64 points
    const std::complex<double> step =
        std::polar(std::exp(-M_PI * L / n), 2.0 * M_PI * std::remainder(turns, 1.0));
    std::complex<double> z;
    const double c = M_PI * M_PI * g * g / (n * n);
    for (int k = 0; k < kept; ++k) {
        if (k % 64 == 0)
            z = std::polar(std::exp(-M_PI * L * (k + d) / n),
                           2.0 * M_PI * std::remainder(turns * k, 1.0) + psi);
        else
            z = {z.real() * step.real() - z.imag() * step.imag(),
                 z.real() * step.imag() + z.imag() * step.real()};
        s[static_cast<std::size_t>(k)] = g == 0.0 ? z : z * std::exp(-c * (k + d) * (k + d));
    }
    return s;
}

static void remove_leading(complex_signal &s, int ignored) {
    for (int k = 0; k < ignored && k < static_cast<int>(s.size()); ++k)
        s[static_cast<std::size_t>(k)] = 0.0;
}

complex_signal unit_curve(const start_entry &entry, const complex_signal &pattern,
                          const curve_settings &settings) {
    const double hz = settings.hz_per_point;
    const double gauss = std::fabs(entry.parameters[gauss_of].value) *
                         width_unit(gauss_of, entry.type, hz) / (hz * kernel::gauss_fwhm_per_width);
    const double lorentz =
        entry.parameters[lorentz_of].value * width_unit(lorentz_of, entry.type, hz) / hz;
    const double f = entry.parameters[frequency_of].value / hz;
    complex_signal s = decay(f, is_used(gauss_of, entry.type) ? gauss : 0.0,
                             is_used(lorentz_of, entry.type) ? lorentz : 0.0, 0.0, settings);
    if (entry.type == pattern_entry)
        for (std::size_t k = 0; k < s.size(); ++k) s[k] *= pattern[k];
    remove_leading(s, settings.ignored);
    // A decay holds half the band already: its spectrum needs no rotation.
    s[0] *= 0.5;
    forward_transform(s);
    for (std::complex<double> &point : s) point /= static_cast<double>(settings.points);
    if (entry.type != pattern_entry)
        std::rotate(s.begin(), s.begin() + static_cast<std::ptrdiff_t>(s.size() / 2), s.end());
    return s;
}

// x[k] = sum_j X[j] exp(+2 pi i j k / n), by the forward transform of the conjugate
static void backward_transform(complex_signal &x) {
    for (std::complex<double> &point : x) point = std::conj(point);
    forward_transform(x);
    for (std::complex<double> &point : x) point = std::conj(point);
}

complex_signal without_missing_points(const complex_signal &spectrum,
                                      const curve_settings &settings) {
    complex_signal s = spectrum;
    if (settings.kept >= settings.points && settings.ignored <= 0) return s;
    const auto half = static_cast<std::ptrdiff_t>(s.size() / 2);
    std::rotate(s.begin(), s.begin() + half, s.end());
    backward_transform(s);
    remove_leading(s, settings.ignored);
    for (std::size_t k = static_cast<std::size_t>(std::max(settings.kept, 2)); k < s.size(); ++k)
        s[k] = 0.0;
    forward_transform(s);
    for (std::complex<double> &point : s) point /= static_cast<double>(s.size());
    std::rotate(s.begin(), s.begin() + half, s.end());
    return s;
}

static complex_signal read_binary_pattern(const std::string &file, const curve_settings &settings) {
    if (count_points(file) < settings.points)
        throw tool_error(bad_input, file + ": pattern of " + std::to_string(count_points(file)) +
                                        " points; expected the " + std::to_string(settings.points) +
                                        " of the spectrum");
    const complex_signal stored = read_points(file, 0, settings.points);
    const std::size_t n = stored.size();
    complex_signal s(n); // spectrum with the carrier at point 0
    for (std::size_t j = 0; j < n; ++j) s[(n - j + n / 2) % n] = std::conj(stored[j]);
    backward_transform(s);
    return s;
}

static complex_signal read_text_pattern(const std::string &file, const curve_settings &settings) {
    std::ifstream stream(file, std::ios::binary);
    if (!stream) throw tool_error(bad_input, file + ": cannot be opened; expected a pattern file");
    const auto refuse = [&](const std::string &found, const std::string &expected) {
        throw tool_error(bad_input,
                         file + ": found " +
                             (found.empty() ? "the end" : "\"" + found.substr(0, 40) + "\"") +
                             "; expected " + expected);
    };
    const auto word = [&] {
        std::string text;
        stream >> text;
        return text;
    };
    const auto expect = [&](const char *wanted) {
        const std::string found = word();
        if (found != wanted) refuse(found, std::string("the word ") + wanted);
    };
    const auto number = [&](const char *what) {
        const std::string found = word();
        float value = 0.0F; // as the fit reads it
        const char *const begin = found.data() + (found.starts_with('+') ? 1 : 0);
        const auto end = std::from_chars(begin, found.data() + found.size(), value);
        if (end.ec != std::errc() || end.ptr != found.data() + found.size())
            refuse(found, std::string("a number: ") + what);
        return static_cast<double>(value);
    };
    expect("start_pattern");
    expect("number_of_lines");
    const double lines = number("the number of lines");
    if (!(lines >= 0.0 && lines <= 4096.0)) refuse(std::to_string(lines), "0 to 4096 lines");
    for (int i = 0; i < 7; ++i) word();
    expect("lorentz_width");
    complex_signal sum(static_cast<std::size_t>(settings.points));
    curve_settings whole = settings;
    whole.kept = settings.points;
    const double hz = settings.hz_per_point;
    for (int line = 0; line < static_cast<int>(lines); ++line) {
        word(); // its name
        const std::string type = word();
        const bool voigt = type == "voigt", lorentz = type == "lorentz", gauss = type == "gauss";
        if (!voigt && !lorentz && !gauss) refuse(type, "voigt, lorentz or gauss");
        const double area = number("area"), frequency = number("frequency");
        const double g = lorentz ? 0.0 : number("gauss_width");
        const double phase = number("zero_phase");
        const double L = gauss ? 0.0 : number("lorentz_width");
        const complex_signal s =
            decay(frequency / hz, g / (hz * kernel::gauss_fwhm_per_width), L / hz, phase, whole);
        for (std::size_t k = 0; k < sum.size(); ++k) sum[k] += area * s[k];
    }
    word();
    expect("end_of_pattern");
    return sum;
}

complex_signal read_pattern(const std::string &file, const curve_settings &settings) {
    // with both endings in a name, the text is what counts
    complex_signal s = file.find(".pat") != std::string::npos ? read_text_pattern(file, settings)
                                                              : read_binary_pattern(file, settings);
    if (s.empty() || std::abs(s[0]) == 0.0)
        throw tool_error(bad_input, file + ": the pattern's first point of time is 0, so it has no "
                                           "area; expected a decay that begins at time 0");
    return s;
}

} // namespace tools
