// SPDX-License-Identifier: BSD-3-Clause
// read_text_columns.cpp -- FIDs as text, real and imaginary part of a point on a line
#include "files/measured/measured_formats.h"

#include "files/measured/read_plain_fid.h"
#include "files/measured/text_items.h"

#include "files/spectra/metadata.h"

namespace tools {

static void each_text_row(const std::string &file,
                          const std::function<bool(std::complex<double>)> &take) {
    line_reader text(file);
    bool heading_allowed = true;
    while (text.next()) {
        const std::string_view line = trimmed(text.line());
        if (line.empty() || line[0] == '#' || line[0] == '%' || line[0] == '!') continue;
        const std::vector<std::string_view> words = words_of(line);
        const std::optional<double> first = words.empty() ? std::nullopt : number_of(words.front());
        if (heading_allowed && !first) {
            heading_allowed = false;
            continue;
        }
        heading_allowed = false;
        const std::optional<double> second =
            words.size() == 2 ? number_of(words.back()) : std::nullopt;
        if (!first || !second)
            text.refuse("expected two numbers, the real and the imaginary part of a point; found " +
                        std::to_string(words.size()) + (words.size() == 1 ? " word" : " words") +
                        (words.size() == 2 ? " that are no two numbers" : "") +
                        ". Write one point on a line, with decimal points");
        if (!take({*first, *second})) return;
    }
}

std::unique_ptr<spectrum_source> read_text_columns(const std::string &file, const std::string &json,
                                                   const std::optional<long long> &points) {
    size_of_input(file, "two columns of numbers");
    auto source = source_of<text_source>(file, "text columns");
    source->for_each_point = [file](const std::function<bool(std::complex<double>)> &take) {
        each_text_row(file, take);
    };
    source->facts.ppm_rises_with_points = true;
    const long long in_file = source->count_points_of_text();
    apply_json(*source, json, in_file, points);
    if (json.empty() || !metadata(json).truth("ppm_rises_with_points"))
        source->guesses.push_back({"ppm_rises_with_points", true,
                                   "a text says nothing of the sense of its points; --axis falling "
                                   "sets the other one, a JSON with this item either"});
    return source;
}

} // namespace tools
