// SPDX-License-Identifier: BSD-3-Clause
// fuzz_import_sdat.cpp -- any bytes as a .SPAR file and, behind a NUL, its .SDAT file
#include "import_reader.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    if (size > fuzz::largest_input) return 0;
    fuzz::enter_folder();
    fuzz::write_pair("x.SPAR", "x.SDAT", data, size);
    fuzz::import_file("x.SDAT", "sdat");
    return 0;
}
