// SPDX-License-Identifier: BSD-3-Clause
// fuzz_peak_words.cpp -- a table of peaks, changed word by word, made into a start file where it is
// still one
//
// A start file that comes out is read back, and so is the table that is shown of it.
#include "edits.h"
#include "fuzz_reader.h"

#include "files/base/tool_error.h"
#include "files/start/make_start.h"
#include "files/start/read_start_file.h"
#include "files/start/show_start.h"

#include <complex>

using fuzz::edit_bytes;
using fuzz::expect;

// Every kind of row, cell and step.
static const char *const table =
    R"(name | type    | area           | frequency[Hz] | gauss | lorentz | phase   | lineshape
a    | gauss   | 1.5 [0.5, 3]   | -256          | 20 Hz | -       | fixed 0 | yes
b    | lorentz | =a*0.5         | =a + 16 Hz    | -     | 12      | =a      | no
c    | voigt   | ?              | fixed 0.5 ppm | 10    | 12      | ?       | no
interval: -400 to 400 Hz, 200 to 240 points
measured: 85 points
noise: 5 to 40 points
tolerance: 1e-6
follow: b
ignore: 2
lineshape: fitted 2
coefficients: 1 0 0.1 -0.1
verbose: 0
errors: no
format: none
points: 256
hz_per_point: 4
step: random areas frequencies iterations=20
step: gradient all align iterations=50 points=128 part=magnitude weighting=2 interval=50..99,150..199 times=3
)";

// 256 points with a line at each quarter, so that areas and phases can be estimated.
static tools::complex_signal test_spectrum() {
    tools::complex_signal spectrum(256);
    for (std::size_t i = 0; i < spectrum.size(); ++i)
        for (const double at : {64.0, 128.0, 192.0})
            spectrum[i] += 1.0 / std::complex<double>(2.0, static_cast<double>(i) - at);
    return spectrum;
}

static void check(const std::string &text) {
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
    support::write_file("start.par", made.text());
    const tools::start_file again = tools::read_start_file("start.par");
    expect(again.entries.size() == made.start.entries.size());
    std::vector<std::string> lost;
    tools::parse_peak_table(
        tools::table_text(again, tools::table_axis(facts, "start.par"), false, lost), "shown.txt");
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    if (size > 4096) return 0;
    fuzz::enter_folder();
    edit_bytes bytes(data, size);
    std::string text = table;
    const bool edited = bytes.more();
    for (int edits = 0; bytes.more() && edits < 8; ++edits) fuzz::edit_word(text, bytes);
    try {
        check(text);
    } catch (const tools::tool_error &error) {
        expect(edited && error.status() == tools::bad_input);
    }
    return 0;
}
