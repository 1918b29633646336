// SPDX-License-Identifier: BSD-3-Clause
// import_reader.h -- what the targets of varokel-import's readers share
#pragma once

#include "fuzz_reader.h"

#include "files/base/tool_error.h"
#include "files/measured/choose_spectra.h"
#include "files/measured/open_source.h"

#include <cmath>
#include <cstdlib>
#include <string>

namespace fuzz {

// Bytes up to the first NUL as one file, those behind it as another: a text and its points.
inline void write_pair(const char *text, const char *points, const std::uint8_t *data,
                       std::size_t size) {
    std::size_t length = 0;
    while (length < size && data[length] != 0) ++length;
    write_bytes(text, "", data, length);
    const std::size_t behind = length < size ? length + 1 : size;
    write_bytes(points, "", data + behind, size - behind);
}

// Opens the file, chooses all its spectra, and reads the first and the last of them. An error is a
// tool_error with one line of text; points that come out are finite.
inline void import_file(const char *name, const char *format,
                        const std::optional<long long> &points = std::nullopt) {
    try {
        const std::unique_ptr<tools::spectrum_source> source =
            tools::open_source(name, format, "", points);
        if (source->points < 1 || source->spectra() < 1) std::abort();
        // no file of this size holds more
        if (source->points * source->spectra() > static_cast<long long>(largest_input))
            std::abort();
        tools::choice_options options;
        for (const tools::source_axis &axis : source->axes)
            if (!axis.spatial) options.average.push_back(axis.name);
        const tools::choice chosen = tools::choose_spectra(*source, options);
        std::vector<tools::complex_signal> sums(
            2, tools::complex_signal(static_cast<std::size_t>(source->points)));
        std::vector<tools::signal_share> shares = {{0, 0}};
        if (source->spectra() > 1) shares.push_back({source->spectra() - 1, 1});
        source->add_to(shares, sums);
        for (const tools::complex_signal &sum : sums)
            for (const std::complex<double> &value : sum)
                if (!std::isfinite(value.real()) || !std::isfinite(value.imag())) std::abort();
        if (chosen.spectra.empty()) std::abort();
    } catch (const tools::tool_error &error) {
        if (error.status() != tools::bad_input && error.status() != tools::wrong_usage)
            std::abort();
    }
}

} // namespace fuzz
