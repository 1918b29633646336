// SPDX-License-Identifier: BSD-3-Clause
// pattern_file.cpp -- stored decays of whole molecules, as text or binary
#include "files/start/pattern_file.h"

#include "files/base/input_file.h"
#include "files/base/tool_error.h"
#include "files/spectra/signal_file.h"

#include "engine/centred_spectrum.h"
#include "engine/curve.h"
#include "kernel/line_width.h"

#include <charconv>

namespace tools {

static constexpr int most_lines = 4096; // of a text pattern

static complex_signal read_binary_pattern(const std::string &file,
                                          const engine::acquisition &when) {
    if (count_points(file) < when.points)
        refuse_input(file, "pattern of " + std::to_string(count_points(file)) +
                               " points; expected the " + std::to_string(when.points) +
                               " of the spectrum");
    const complex_signal stored = read_points(file, 0, when.points);
    const std::size_t n = stored.size();
    complex_signal spectrum(n); // stored conjugated and reversed
    for (std::size_t j = 0; j < n; ++j) spectrum[(n - j) % n] = std::conj(stored[j]);
    return engine::fid_of_spectrum(spectrum, engine::whole);
}

static complex_signal read_text_pattern(const std::string &file, const engine::acquisition &when) {
    std::ifstream stream = open_input(file);
    if (!stream) refuse_input(file, "cannot be opened; expected a pattern file");
    const auto refuse = [&](const std::string &found, const std::string &expected) {
        refuse_input(file, "found " +
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
    if (!(lines >= 0.0 && lines <= most_lines))
        refuse(std::to_string(lines), "0 to " + std::to_string(most_lines) + " lines");
    for (int i = 0; i < 7; ++i) word();
    expect("lorentz_width");
    std::vector<double> re(static_cast<std::size_t>(when.points)), im(re.size());
    const double hz = when.hz_per_point;
    for (int line = 0; line < static_cast<int>(lines); ++line) {
        word(); // its name
        const std::string type = word();
        const bool voigt = type == "voigt", lorentz = type == "lorentz", gauss = type == "gauss";
        if (!voigt && !lorentz && !gauss) refuse(type, "voigt, lorentz or gauss");
        const double area = number("area"), frequency = number("frequency");
        const double g = lorentz ? 0.0 : number("gauss_width");
        const double phase = number("zero_phase");
        const double L = gauss ? 0.0 : number("lorentz_width");
        const engine::values_of_entry values = {
            area, frequency / hz, g / (hz * kernel::gauss_fwhm_per_width), phase, L / hz};
        kernel::add_decay(engine::decay_of(values, when, false, area), 0, when.points, re.data(),
                          im.data());
    }
    word();
    expect("end_of_pattern");
    complex_signal decay(re.size());
    for (std::size_t i = 0; i < decay.size(); ++i) decay[i] = {re[i], im[i]};
    return decay;
}

complex_signal read_pattern(const std::string &file, const engine::acquisition &when) {
    // with both endings in a name, the text is what counts
    complex_signal s = file.find(".pat") != std::string::npos ? read_text_pattern(file, when)
                                                              : read_binary_pattern(file, when);
    if (s.empty() || std::abs(s[0]) == 0.0)
        refuse_input(file, "the pattern's first point of time is 0, so it has no area; expected a "
                           "decay that begins at time 0");
    return s;
}

} // namespace tools
