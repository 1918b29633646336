// SPDX-License-Identifier: BSD-3-Clause
// table_to_start.h -- a text as a table of peaks, made into a start file where it is one
//
// A start file that comes out is read back, and so is the table that is shown of it: varokel-start
// must read what varokel-start writes.
#pragma once

#include "edits.h"
#include "fuzz_reader.h"

#include "files/start/make_start.h"
#include "files/start/read_start_file.h"
#include "files/start/table_of_start.h"

#include <complex>

namespace fuzz {

// 256 points with a line at each quarter, so that areas and phases can be estimated.
inline tools::complex_signal test_spectrum() {
    tools::complex_signal spectrum(256);
    for (std::size_t i = 0; i < spectrum.size(); ++i)
        for (const double at : {64.0, 128.0, 192.0})
            spectrum[i] += 1.0 / std::complex<double>(2.0, static_cast<double>(i) - at);
    return spectrum;
}

// Errors: tool_error of what is no table, or no start of a fit.
inline void check_table(const std::string &text) {
    tools::peak_table peaks = tools::parse_peak_table(text, "table.txt");
    for (const tools::table_row &row : peaks.rows) expect(!row.name.empty() && row.place.line >= 1);
    // what a table asks for in steps and points would be time, not another path
    if (peaks.rows.size() > 50 || peaks.points.value_or(0) > 4096) return;
    tools::spectrum_facts facts;
    facts.points = 256;
    facts.hz_per_point = 4.0;
    facts.mhz = 50.0;
    facts.ppm_at_carrier = 0.0;
    facts.ppm_rises_with_points = false;
    facts.noise = {{5, 40}};
    static const tools::complex_signal spectrum = test_spectrum();
    tools::start_maker maker(std::move(peaks));
    const tools::start_result made = maker.make(spectrum, facts);
    const tools::start_file again = tools::parse_start_file(made.text(), "start.par");
    expect(again.entries.size() == made.start.entries.size());
    std::vector<std::string> lost;
    tools::parse_peak_table(
        tools::table_text(again, tools::table_axis(facts, "start.par"), false, lost), "shown.txt");
}

} // namespace fuzz
