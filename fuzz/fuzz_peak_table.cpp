// SPDX-License-Identifier: BSD-3-Clause
// fuzz_peak_table.cpp -- any bytes as a table of peaks, made into a start file where they are one
//
// A start file that comes out is read back: varokel-start must read what varokel-start writes.
#include "fuzz_reader.h"

#include "files/base/tool_error.h"
#include "files/start/make_start.h"
#include "files/start/read_start_file.h"

#include <complex>
#include <cstdlib>

// 256 points with a line at each quarter, so that areas and phases can be estimated.
static tools::complex_signal test_spectrum() {
    tools::complex_signal spectrum(256);
    for (std::size_t i = 0; i < spectrum.size(); ++i)
        for (const double at : {64.0, 128.0, 192.0})
            spectrum[i] += 1.0 / std::complex<double>(2.0, static_cast<double>(i) - at);
    return spectrum;
}

static void check(const std::string &table) {
    tools::peak_table peaks = tools::parse_peak_table(table, "table.txt");
    for (const tools::table_row &row : peaks.rows)
        if (row.name.empty() || row.place.line < 1) std::abort();
    // what a table asks for in steps and points would be time, not another path
    if (peaks.rows.size() > 50 || peaks.points.value_or(0) > 4096) return;
    tools::spectrum_facts facts;
    facts.points = 256;
    facts.hz_per_point = 4.0;
    facts.mhz = 50.0;
    facts.ppm_at_carrier = 0.0;
    facts.ppm_rises_with_points = false;
    facts.noise = {{5, 40}};
    tools::start_maker maker(std::move(peaks));
    const tools::start_result made = maker.make(test_spectrum(), facts);
    support::write_file("start.par", made.text());
    const tools::start_file again = tools::read_start_file("start.par");
    if (again.entries.size() != made.start.entries.size()) std::abort();
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    if (size > fuzz::largest_input) return 0;
    fuzz::enter_folder();
    try {
        check(std::string(reinterpret_cast<const char *>(data), size));
    } catch (const tools::tool_error &error) {
        if (error.status() != tools::bad_input) std::abort();
    }
    return 0;
}
