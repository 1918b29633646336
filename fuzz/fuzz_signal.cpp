// SPDX-License-Identifier: BSD-3-Clause
// fuzz_signal.cpp -- a byte that chooses among small runs, and any bytes as their signal;
// parameters that were numbers stay numbers. A search takes every step that is finite, so that an
// area near the end of the range may be infinite in the units of the signal.
#include "fuzz_reader.h"
#include "run/varokel.h"
#include "support/small_fit.h"

#include <cmath>
#include <cstdlib>

static void demand_numbers(const char *name) {
    std::FILE *file = std::fopen(name, "r");
    if (file == nullptr) return; // the run ended before
    double value = 0.0;
    while (std::fscanf(file, "%lf", &value) == 1)
        if (std::isnan(value)) std::abort();
    std::fclose(file);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    if (size == 0 || size > fuzz::largest_input) return 0;
    fuzz::enter_folder();
    const int choice = data[0];
    const bool lineshape = (choice & 3) == 1;
    const bool reference = (choice & 3) == 2;
    support::write_small_fit({.verbose = (choice & 4) != 0 ? 3 : 0,
                              .lineshape = lineshape,
                              .reference = reference,
                              .patterns = (choice & 8) != 0,
                              .random_step = (choice & 16) != 0,
                              .alignment = (choice & 32) != 0,
                              .iterations = (choice & 64) != 0 ? 3 : 1});
    // half of the bytes each, when the run reads a lineshape as well
    const std::size_t behind = reference ? (size - 1) / 2 : 0;
    fuzz::write_bytes("data.bin", "", data + 1, size - 1 - behind);
    if (reference) fuzz::write_bytes("data.bin.ref", "", data + size - behind, behind);
    std::remove("data.mat");
    fuzz::with_fresh_state([] { varokel("", "data.bin", "start.par"); });
    demand_numbers("data.mat");
    return 0;
}
