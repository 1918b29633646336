// SPDX-License-Identifier: BSD-3-Clause
// fuzz_import_rda.cpp -- any bytes as an RDA file
#include "import_reader.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    if (size > fuzz::largest_input) return 0;
    fuzz::enter_folder();
    fuzz::write_bytes("x.rda", ">>> Begin of header <<<\r\n", data, size);
    fuzz::import_file("x.rda", "rda");
    return 0;
}
