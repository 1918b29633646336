// SPDX-License-Identifier: BSD-3-Clause
// fuzz_import_jmrui.cpp -- any bytes as a jMRUI text file
#include "import_reader.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    if (size > fuzz::largest_input) return 0;
    fuzz::enter_folder();
    fuzz::write_bytes("x.txt", "jMRUI Data Textfile\n", data, size);
    fuzz::import_file("x.txt", "jmrui");
    return 0;
}
