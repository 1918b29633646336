// SPDX-License-Identifier: BSD-3-Clause
// fuzz_sage_header.cpp -- any bytes as a header; one that is accepted is written and accepted again
#include "data/sage_io.h"
#include "fuzz_reader.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    if (size > fuzz::largest_input) return 0;
    fuzz::enter_folder();
    fuzz::write_bytes("brain.shf", "", data, size);
    fuzz::with_fresh_state([] {
        static sage_header header;
        header = sage_header{};
        read_sageidl_header("brain.shf", &header);
        write_sageidl_header("again.shf", &header);
        const int status =
            support::end_status_of([] { read_sageidl_header("again.shf", &header); });
        if (status != support::no_end) std::abort();
        // every section's fields, whatever stands in the file
        std::FILE *file = std::fopen("brain.shf", "r");
        if (file == nullptr) return;
        read_sagekey_datafiles(file, &header);
        read_sagekey_patient(file, &header);
        read_sagekey_sequence(file, &header);
        read_sagekey_display(file, &header);
        read_sagekey_datainfo(file, &header);
        read_sagekey_processing(file, &header);
        read_sagekey_userinfo(file, &header);
        std::rewind(file);
        read_sagekey_dimension(file, &header);
        std::fclose(file);
    });
    return 0;
}
