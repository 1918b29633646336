// SPDX-License-Identifier: BSD-3-Clause
// fuzz_signal.cpp -- any bytes as the signal of a whole run of two lines
#include "fuzz_reader.h"
#include "run/varokel.h"
#include "support/small_fit.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    if (size > fuzz::largest_input) return 0;
    fuzz::enter_folder();
    support::write_small_fit({.iterations = 1});
    fuzz::write_bytes("data.bin", "", data, size);
    fuzz::with_fresh_state([] { varokel("", "data.bin", "start.par"); });
    return 0;
}
