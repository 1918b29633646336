// SPDX-License-Identifier: BSD-3-Clause
#include "varokel-import/convert_fid.h"

#include "common/metadata.h"
#include "common/signal_file.h"
#include "common/tool_error.h"

#include <cmath>
#include <filesystem>

namespace tools {

static constexpr long long most_points = 1LL << 24; // of a signal that a fit takes

static std::string without_ending(const std::string &name) {
    for (const char *ending : {".fid.f32", ".f32", ".fid"}) {
        const std::string_view end(ending);
        if (name.size() > end.size() && name.ends_with(end))
            return name.substr(0, name.size() - end.size());
    }
    const std::size_t dot = name.rfind('.');
    return dot == std::string::npos || dot == 0 ? name : name.substr(0, dot);
}

// The JSON beside a signal: x.json for x.fid.f32, x.f32, x.fid or x.anything.
static std::string json_beside(const std::string &input) {
    const std::filesystem::path path(input);
    const std::filesystem::path beside =
        path.parent_path() / (without_ending(path.filename().string()) + ".json");
    std::error_code error;
    return std::filesystem::exists(beside, error) ? beside.string() : std::string();
}

fid_description describe_fid(const import_options &options) {
    fid_description fid;
    fid.file = options.input;
    fid.stem = without_ending(std::filesystem::path(options.input).filename().string());
    const long long in_file = count_points(options.input);

    fid.json = options.json.empty() ? json_beside(options.input) : options.json;
    std::optional<long long> points = options.points;
    std::optional<long long> spectra;
    if (!fid.json.empty()) {
        const metadata about(fid.json);
        const std::optional<long long> stated = about.positive_integer("n_points");
        if (!points) {
            points = stated;
            spectra = about.positive_integer("n_spectra");
        }
        fid.dwell_time = about.positive_number("dwell_time_s");
        fid.mhz = about.positive_number("spectrometer_MHz");
        fid.ppm_at_carrier = about.number("ppm_at_carrier");
        fid.begin_time = about.number("begin_time_s");
        if (!fid.begin_time) fid.begin_time = about.number("dead_time_s");
        fid.nucleus = about.text("nucleus");
        fid.ppm_rises_with_points = about.truth("ppm_rises_with_points").value_or(true);
        const long long last = stated.value_or(in_file) - 1;
        if (!options.points || options.points == stated) { // else these are of another spectrum
            fid.noise_points = about.point_pair("noise_only_points", last);
            fid.fit_points = about.point_pair("metabolite_interval_points", last);
        }
    }
    fid.points = points.value_or(in_file);
    if (in_file % fid.points != 0)
        throw tool_error(bad_input, options.input + ": " + std::to_string(in_file) +
                                        " complex points are no whole number of spectra of " +
                                        std::to_string(fid.points) +
                                        " points; is --points or the JSON right?");
    fid.spectra = in_file / fid.points;
    if (spectra && *spectra != fid.spectra)
        throw tool_error(bad_input, options.input + ": holds " + std::to_string(fid.spectra) +
                                        " spectra of " + std::to_string(fid.points) +
                                        " points, but " + fid.json + " says n_spectra " +
                                        std::to_string(*spectra));
    return fid;
}

complex_signal chosen_fid(const fid_description &fid, const import_options &options) {
    if (!options.index && fid.spectra > 1)
        throw tool_error(wrong_usage, fid.file + ": holds " + std::to_string(fid.spectra) +
                                          " spectra; choose one with --index 0 to " +
                                          std::to_string(fid.spectra - 1));
    const long long index = options.index.value_or(0);
    if (index >= fid.spectra)
        throw tool_error(wrong_usage, fid.file + ": --index " + std::to_string(index) +
                                          ", but the last of its " + std::to_string(fid.spectra) +
                                          " spectra has index " + std::to_string(fid.spectra - 1));
    const long long length = options.resize.value_or(fid.points);
    if (!is_power_of_two(length)) {
        long long below = 1;
        while (2 * below < length) below *= 2;
        throw tool_error(options.resize ? wrong_usage : bad_input,
                         fid.file + ": " + std::to_string(length) +
                             " points, but a fit needs a power of two. --resize " +
                             std::to_string(2 * below) + " fills with zeros, --resize " +
                             std::to_string(below) + " cuts.");
    }
    if (length > most_points)
        throw tool_error(bad_input, fid.file + ": " + std::to_string(length) +
                                        " points; a fit takes up to " +
                                        std::to_string(most_points));
    complex_signal x = read_points(fid.file, index * fid.points, std::min(length, fid.points));
    x.resize(static_cast<std::size_t>(length));
    if (options.conjugate)
        for (std::complex<double> &point : x) point = std::conj(point);
    return x;
}

complex_signal binary_pattern(const complex_signal &fid) {
    const complex_signal spectrum = centred_spectrum(fid, 1.0);
    const std::size_t n = spectrum.size();
    complex_signal pattern(n);
    for (std::size_t j = 0; j < n; ++j) pattern[j] = std::conj(spectrum[(n - j) % n]);
    return pattern;
}

noise_window noise_of_stretch(const complex_signal &spectrum, long long first, long long stop) {
    const auto at = [&](long long i) { return spectrum[static_cast<std::size_t>(i)]; };
    const double count = static_cast<double>(stop - first);
    std::complex<double> mean = 0.0;
    for (long long i = first; i < stop; ++i) mean += at(i);
    mean /= count;
    double re = 0.0, im = 0.0;
    for (long long i = first; i < stop; ++i) {
        const std::complex<double> d = at(i) - mean;
        re += d.real() * d.real();
        im += d.imag() * d.imag();
    }
    return {first, stop, std::sqrt(re / count), std::sqrt(im / count)};
}

// Sum of squares, both channels, about the straight line of least squares.
static double spread_about_line(const complex_signal &spectrum, long long first, long long stop) {
    const double count = static_cast<double>(stop - first);
    const double middle = 0.5 * static_cast<double>(first + stop - 1);
    std::complex<double> mean = 0.0, slope = 0.0;
    double squares = 0.0, leverage = 0.0;
    for (long long i = first; i < stop; ++i) {
        const double u = static_cast<double>(i) - middle;
        const std::complex<double> v = spectrum[static_cast<std::size_t>(i)];
        mean += v;
        slope += u * v;
        leverage += u * u;
    }
    mean /= count;
    slope /= leverage;
    for (long long i = first; i < stop; ++i) {
        const double u = static_cast<double>(i) - middle;
        squares += std::norm(spectrum[static_cast<std::size_t>(i)] - mean - u * slope);
    }
    return squares;
}

noise_window quietest_stretch(const complex_signal &spectrum) {
    const auto n = static_cast<long long>(spectrum.size());
    const long long length = n / 8;
    if (length < 4) return noise_of_stretch(spectrum, 0, n); // no room for a choice
    long long best = 0;
    double least = spread_about_line(spectrum, 0, length);
    for (long long first = length / 2; first + length <= n; first += length / 2) {
        const double spread = spread_about_line(spectrum, first, first + length);
        if (spread < least) {
            least = spread;
            best = first;
        }
    }
    return noise_of_stretch(spectrum, best, best + length);
}

} // namespace tools
