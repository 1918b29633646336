// SPDX-License-Identifier: BSD-3-Clause
// fuzz_import_float32.cpp -- any bytes as a JSON and, behind a NUL, the FIDs it is about
#include "import_reader.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    if (size > fuzz::largest_input) return 0;
    fuzz::enter_folder();
    fuzz::write_pair("x.json", "x.f32", data, size);
    fuzz::import_file("x.f32", "float32");
    return 0;
}
