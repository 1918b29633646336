// SPDX-License-Identifier: BSD-3-Clause
// fuzz_import_basis.cpp -- any bytes as an LCModel basis set, put on a grid of its own and another
#include "import_reader.h"

#include "files/measured/import_basis.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    if (size > fuzz::largest_input) return 0;
    fuzz::enter_folder();
    fuzz::write_bytes("x.BASIS", "", data, size);
    try {
        tools::read_lcmodel_basis("x.BASIS", [](const tools::basis_header &header,
                                                const tools::basis_spectrum &metabolite) {
            if (static_cast<long long>(metabolite.spectrum.size()) != header.points ||
                !(header.mhz > 0.0) || !(header.dwell_time > 0.0) || metabolite.name.empty())
                std::abort();
            tools::fid_on_grid(metabolite.spectrum, header,
                               {header.points, header.dwell_time, header.mhz, 4.7, true});
            tools::fid_on_grid(metabolite.spectrum, header, {16, 0.0005, 123.2, 4.65, false});
        });
    } catch (const tools::tool_error &error) {
        if (error.status() != tools::bad_input) std::abort();
    }
    return 0;
}
