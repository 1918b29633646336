// SPDX-License-Identifier: BSD-3-Clause
// read_jmrui.cpp -- jMRUI text files
#include "files/measured/measured_formats.h"

#include "files/base/tool_error.h"
#include "files/measured/text_items.h"

#include <cmath>

namespace tools {

// Header lines up to the first row of numbers, which is left in text.
static header_items jmrui_header_of(line_reader &text, const std::string &file) {
    header_items header{file, {}};
    bool in_signals = false;
    while (text.next()) {
        const std::string_view line = trimmed(text.line());
        if (line.empty()) continue;
        const std::vector<std::string_view> words = words_of(line);
        if (in_signals && !words.empty() && number_of(words.front())) return header;
        const std::string low = lower_case(line);
        if (low.starts_with("signal") || low.starts_with("sig("))
            in_signals = true;
        else if (!in_signals)
            header.take(line, text.number(), true);
    }
    text.refuse("ends before the first point; expected rows of numbers behind \"Signal and FFT\"");
}

static std::optional<double> header_number(const header_items &header, const char *name) {
    const std::optional<std::string> text = header.text(name);
    if (!text) return std::nullopt;
    const std::optional<double> value = number_of(*text);
    if (!value || !std::isfinite(*value))
        header.refuse(name, std::string(name) + " is no number; expected one, such as 5E-1");
    return value;
}

static void each_fid_row(const std::string &file, long long points, long long datasets,
                         const std::function<bool(std::complex<double>)> &take) {
    line_reader text(file);
    jmrui_header_of(text, file);
    long long in_signal = 0, signals = 0;
    do {
        const std::string_view line = trimmed(text.line());
        if (line.empty()) continue;
        const std::vector<std::string_view> words = words_of(line);
        std::optional<double> re, im;
        if (words.size() == 2 || words.size() == 4) {
            re = number_of(words[0]);
            im = number_of(words[1]);
        }
        if (!re || !im) {
            if (lower_case(line).starts_with("sig")) {
                if (in_signal != 0)
                    text.refuse("this signal ends after " + std::to_string(in_signal) +
                                " points; expected " + std::to_string(points) +
                                " (PointsInDataset). Is the file cut?");
                continue;
            }
            text.refuse("expected a row of 2 or 4 numbers, the first two a point of the FID");
        }
        if (signals == datasets)
            text.refuse("more points than PointsInDataset and DatasetsInFile say; is the header "
                        "right?");
        if (++in_signal == points) {
            in_signal = 0;
            ++signals;
        }
        if (!take({*re, *im})) return;
    } while (text.next());
    if (signals != datasets)
        text.refuse("the file ends after " + std::to_string(signals * points + in_signal) +
                    " points; expected " + std::to_string(points * datasets) +
                    " (PointsInDataset times DatasetsInFile). Is it cut?");
}

static std::optional<long long> count_item(const header_items &header, const char *name) {
    const std::optional<double> value = header_number(header, name);
    if (value && !(*value >= 1.0 && *value <= 1e9 && whole_number_of(std::to_string(*value))))
        refuse_input(header.file, std::string(name) + " is no whole number above 0");
    return value ? std::optional(static_cast<long long>(*value)) : std::nullopt;
}

static void take_header_facts(const header_items &header, spectrum_source &source) {
    const auto number = [&](const char *name) { return header_number(header, name); };
    signal_facts &facts = source.facts;
    if (const std::optional<double> interval = number("SamplingInterval")) {
        if (!(*interval > 0.0)) refuse_input(source.file, "SamplingInterval is not above 0 [ms]");
        facts.dwell_time = *interval / 1e3;
    }
    if (const std::optional<double> begin = number("BeginTime")) facts.begin_time = *begin / 1e3;
    if (const std::optional<double> frequency = number("TransmitterFrequency");
        frequency && *frequency > 0.0) {
        // no spectrometer works below 0.1 MHz, so a small number is in MHz
        const bool in_mhz = *frequency < 1e5;
        facts.mhz = in_mhz ? *frequency : *frequency / 1e6;
        if (in_mhz)
            source.guesses.push_back({"spectrometer_mhz", *facts.mhz,
                                      "TransmitterFrequency is too small for hertz, taken as MHz"});
    }
    if (const auto day = header.text("DateOfExperiment")) facts.date = date_of(*day);
    if (const auto named = header.text("TypeOfNucleus")) facts.nucleus = nucleus_of(*named);
    const std::optional<double> tesla = number("MagneticField");
    if (!facts.nucleus && facts.mhz && tesla && *tesla > 0.0) {
        facts.nucleus = nucleus_of_field(*facts.mhz, *tesla);
        if (facts.nucleus)
            source.guesses.push_back(
                {"nucleus", *facts.nucleus, "taken from TransmitterFrequency and MagneticField"});
    }
    if (const std::optional<double> phase = number("ZeroOrderPhase"); phase && *phase != 0.0)
        source.notes["zero_order_phase_of_the_header_degrees"] = *phase; // not applied
}

std::unique_ptr<spectrum_source> read_jmrui(const std::string &file) {
    size_of_input(file, "a jMRUI text file");
    line_reader text(file);
    const header_items header = jmrui_header_of(text, file);

    auto source = source_of<text_source>(file, "jMRUI text");
    source->opposite_sense = true;
    const std::optional<long long> points = count_item(header, "PointsInDataset");
    if (!points)
        refuse_input(file, "PointsInDataset is missing; expected the points of one signal. Is this "
                           "a jMRUI text file?");
    source->points = *points;
    const long long datasets = count_item(header, "DatasetsInFile").value_or(1);
    source->axes = {{"spectrum", datasets, false}};
    take_header_facts(header, *source);
    const long long n = *points;
    source->for_each_point = [file, n, datasets](const auto &take) {
        each_fid_row(file, n, datasets, take);
    };
    source->count_points_of_text(); // finds a mistake in any line now
    return source;
}

} // namespace tools
