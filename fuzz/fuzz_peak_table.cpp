// SPDX-License-Identifier: BSD-3-Clause
// fuzz_peak_table.cpp -- any bytes as a table of peaks, made into a start file where they are one
#include "table_to_start.h"

#include "files/base/tool_error.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    if (size > fuzz::largest_input) return 0;
    fuzz::enter_folder();
    try {
        fuzz::check_table(std::string(reinterpret_cast<const char *>(data), size));
    } catch (const tools::tool_error &error) {
        fuzz::expect(error.status() == tools::bad_input);
    }
    return 0;
}
