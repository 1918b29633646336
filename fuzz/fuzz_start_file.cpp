// SPDX-License-Identifier: BSD-3-Clause
// fuzz_start_file.cpp -- any bytes as a start file of one of the three generations
//
// What a fit could take is written as version 3, read and written again: the two texts are the
// same. It is also written as a table; tables allow less than start files (no weighting type of 0),
// so that one may be refused, but not in another way.
#include "fuzz_reader.h"

#include "files/base/tool_error.h"
#include "files/start/peak_table.h"
#include "files/start/read_start_file.h"
#include "files/start/table_of_start.h"

#include <cstdlib>

static void check(const tools::start_file &start) {
    const std::string text = tools::version_3_text(start, {});
    support::write_file("again.par", text);
    try {
        const tools::start_file again = tools::read_start_file("again.par");
        if (tools::version_3_text(again, {}) != text) std::abort();
    } catch (const tools::tool_error &error) {
        std::fprintf(stderr, "%s\n", error.what());
        std::abort();
    }
    tools::spectrum_facts facts;
    facts.points = start.points;
    facts.hz_per_point = start.hz_per_point;
    std::vector<std::string> lost;
    tools::parse_peak_table(
        tools::table_text(start, tools::table_axis(facts, "start.par"), false, lost), "table.txt");
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    if (size > fuzz::largest_input) return 0;
    fuzz::enter_folder();
    fuzz::write_bytes("start.par", "", data, size);
    try {
        const tools::start_file start = tools::read_start_file("start.par");
        tools::refuse_what_fails(start, "start.par");
        check(start);
    } catch (const tools::tool_error &error) {
        if (error.status() != tools::bad_input) std::abort();
    }
    return 0;
}
