// SPDX-License-Identifier: BSD-3-Clause
// fuzz_import_raw.cpp -- any bytes as an LCModel .RAW file, with and without a number of points
#include "import_reader.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    if (size > fuzz::largest_input) return 0;
    fuzz::enter_folder();
    fuzz::write_bytes("x.RAW", "", data, size);
    fuzz::import_file("x.RAW", "raw");
    fuzz::import_file("x.RAW", "raw", 4);
    return 0;
}
