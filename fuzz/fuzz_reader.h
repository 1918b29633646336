// SPDX-License-Identifier: BSD-3-Clause
// fuzz_reader.h -- what the targets share: bytes become a file in a folder of their own, and a run
// that ends early comes back instead of ending the process
#pragma once

#include "control/start_value_file.h"
#include "run/state.h"
#include "run/storage.h"
#include "support/support.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

namespace fuzz {

static constexpr std::size_t largest_input = 1 << 16;

inline void write_bytes(const char *name, const std::string &before, const std::uint8_t *data,
                        std::size_t size) {
    std::FILE *file = std::fopen(name, "wb");
    if (file == nullptr) std::abort();
    std::fwrite(before.data(), 1, before.size(), file);
    if (size > 0) std::fwrite(data, 1, size, file);
    std::fclose(file);
}

// Patterns that a start file may name.
inline bool write_patterns() {
    support::write_file("naa.pat", "start_pattern number_of_lines 1 parameters name line_type area "
                                   "frequency gauss_width zero_phase lorentz_width\n"
                                   "a lorentz 1.0 100.0 0.0 3.0\ncomment end_of_pattern\n");
    support::write_signal("creatine.bin", std::vector<double>(64, 1.0),
                          std::vector<double>(64, 0.5));
    return true;
}

// The folder of this process, made current once. What the code under test says goes nowhere.
inline void enter_folder() {
    static const support::temporary_folder folder(true);
    static const bool silent = std::freopen("/dev/null", "w", stdout) != nullptr;
    static const bool has_patterns = write_patterns();
    (void)silent;
    (void)has_patterns;
}

// Calls f with a fresh state; the state is released whatever way f ends.
inline void with_fresh_state(const std::function<void()> &f) {
    support::reset_state();
    support::end_status_of(f);
    support::reset_state();
}

// Reads the bytes, behind `before`, as a start file, as a run does before anything else.
inline void read_start_file(const std::string &before, const std::uint8_t *data, std::size_t size,
                            const std::function<void()> &then) {
    if (size > largest_input) return;
    enter_folder();
    write_bytes("start.par", before, data, size);
    with_fresh_state([&] {
        std::snprintf(sage_idl, sizeof sage_idl, "sage_idl");
        std::snprintf(strtvalfnm, sizeof strtvalfnm, "start.par");
        Hz_pp = frscl = 1.0;
        verbose = 3;
        MakeInitValFile();
        then();
    });
}

} // namespace fuzz
