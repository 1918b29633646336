// SPDX-License-Identifier: BSD-3-Clause
// ge_io.cpp -- complex signals in binary files
#include "data/ge_io.h"

#include "run/end_run.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>

static_assert(sizeof(float) == 4, "signal files hold 4-byte floats");

static constexpr long header_bytes = 1024;
static constexpr std::size_t block_floats = 4096; // 16 KiB a transfer

// Little-endian on every platform: on a big-endian one the bytes are turned.
static void to_or_from_file_order(float *values, std::size_t n) {
    if constexpr (std::endian::native == std::endian::big) {
        for (std::size_t i = 0; i < n; ++i) {
            std::uint32_t bits = 0;
            std::memcpy(&bits, values + i, 4);
            bits =
                (bits >> 24) | ((bits >> 8) & 0xff00U) | ((bits << 8) & 0xff0000U) | (bits << 24);
            std::memcpy(values + i, &bits, 4);
        }
    } else {
        (void)values;
        (void)n;
    }
}

// Reads through a block, so that the bytes of an incomplete last number stay out of the buffer.
static std::size_t read_floats(std::FILE *file, float *buffer, std::size_t n) {
    float block[block_floats];
    std::size_t at = 0;
    while (at < n) {
        const std::size_t part = std::min(n - at, block_floats);
        const std::size_t arrived = std::fread(block, 4, part, file);
        to_or_from_file_order(block, arrived);
        std::memcpy(buffer + at, block, 4 * arrived);
        at += arrived;
        if (arrived < part) break;
    }
    return at;
}

int readge_(const char *name, float *buffer, int *count, int header) {
    std::FILE *file = std::fopen(name, "r+b");
    if (file == nullptr) {
        std::printf("ERROR in filename '%s', can't open !\n", name);
        *count = 0;
        end_run(1);
    }
    if (header != 0) std::fseek(file, header_bytes, SEEK_SET);
    const std::size_t wanted = static_cast<std::size_t>(std::max(*count, 0));
    const std::size_t arrived = read_floats(file, buffer, wanted);
    std::fclose(file);
    if (arrived < wanted) {
        std::printf("... error reading data ... exit...");
        std::printf("cnt  %d %d \n", static_cast<int>(arrived), *count);
        return -1;
    }
    return 0;
}

// Writes through a block in file order, so that the caller's values stay as they are.
static bool write_floats(std::FILE *file, const float *buffer, std::size_t n) {
    if constexpr (std::endian::native != std::endian::big)
        return std::fwrite(buffer, 4, n, file) == n;
    float block[block_floats];
    for (std::size_t at = 0; at < n;) {
        const std::size_t part = std::min(n - at, block_floats);
        std::memcpy(block, buffer + at, 4 * part);
        to_or_from_file_order(block, part);
        if (std::fwrite(block, 4, part, file) != part) return false;
        at += part;
    }
    return true;
}

int writege_(const char *name, const float *buffer, int *count, int header) {
    std::FILE *file = std::fopen(name, "w+b");
    if (file == nullptr) {
        std::printf("ERROR in filename '%s' (zero length ?), using temp.con\n", name);
        file = std::fopen("temp.con", "w");
        if (file == nullptr) {
            std::printf("ERROR: can't open output file ... exiting\n"); // the run goes on
            return -1;
        }
    }
    if (header != 0) std::fseek(file, header_bytes, SEEK_SET);
    bool whole = write_floats(file, buffer, static_cast<std::size_t>(std::max(*count, 0)));
    whole = std::fflush(file) == 0 && whole;
    whole = std::fclose(file) == 0 && whole; // a full disk may show only here
    if (!whole) {
        std::printf("... error writing data ... exit...");
        return -1;
    }
    return 0;
}
