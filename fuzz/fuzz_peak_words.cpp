// SPDX-License-Identifier: BSD-3-Clause
// fuzz_peak_words.cpp -- a table of peaks, changed word by word, made into a start file where it is
// still one
#include "table_to_start.h"

#include "files/base/tool_error.h"

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

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    if (size > 4096) return 0;
    fuzz::enter_folder();
    edit_bytes bytes(data, size);
    std::string text = table;
    const bool edited = bytes.more();
    for (int edits = 0; bytes.more() && edits < 8; ++edits) fuzz::edit_word(text, bytes);
    try {
        fuzz::check_table(text);
    } catch (const tools::tool_error &error) {
        expect(edited && error.status() == tools::bad_input);
    }
    return 0;
}
