// SPDX-License-Identifier: BSD-3-Clause
// fuzz_pattern_text.cpp -- any bytes behind "start_pattern" as a text pattern
#include "data/patterns.h"
#include "fuzz_reader.h"
#include "model/fft.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    if (size > fuzz::largest_input) return 0;
    fuzz::enter_folder();
    fuzz::write_bytes("naa.pat", "start_pattern ", data, size);
    fuzz::with_fresh_state([] {
        ap = 64;
        n_patterns = 1;
        Hz_pp = 2.0;
        frscl = 1.0;
        verbose = 3;
        allocate_parameter_arrays(nLines, lsf_coefs, n_patterns);
        std::snprintf(pat_name[1], pattern_name_size, "naa.pat");
        fetch_patterns(n_patterns, ap, nLines, pat_name, pat, pattern_norm, frscl, Hz_pp, phi_1,
                       ignore, verbose);
    });
    return 0;
}
