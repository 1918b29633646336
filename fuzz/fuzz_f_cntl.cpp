// SPDX-License-Identifier: BSD-3-Clause
// fuzz_f_cntl.cpp -- any bytes behind "version_3", read as a start file and checked
#include "check_start_values.h"
#include "fuzz_reader.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    fuzz::read_start_file("version_3 ", data, size, [] { fuzz::start_values_pass(); });
    return 0;
}
