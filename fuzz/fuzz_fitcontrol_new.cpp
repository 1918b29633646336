// SPDX-License-Identifier: BSD-3-Clause
// fuzz_fitcontrol_new.cpp -- any bytes behind "varokel_begin_of_file", read as a start file and
// checked
#include "check_start_values.h"
#include "fuzz_reader.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    fuzz::read_start_file("varokel_begin_of_file ", data, size, [] { fuzz::start_values_pass(); });
    return 0;
}
