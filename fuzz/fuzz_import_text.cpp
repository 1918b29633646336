// SPDX-License-Identifier: BSD-3-Clause
// fuzz_import_text.cpp -- any bytes as columns of text
#include "import_reader.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    if (size > fuzz::largest_input) return 0;
    fuzz::enter_folder();
    fuzz::write_bytes("columns.txt", "", data, size);
    fuzz::import_file("columns.txt", "text");
    return 0;
}
