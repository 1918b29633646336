// SPDX-License-Identifier: BSD-3-Clause
// removed_signal.cpp -- the lines that the import took out of the FID, as a spectrum
#include "files/results/removed_signal.h"

#include "files/base/tool_error.h"
#include "files/measured/remove_lines.h"
#include "files/results/run_files.h"
#include "files/spectra/metadata.h"

#include "engine/centred_spectrum.h"

#include <algorithm>
#include <bit>
#include <numbers>
#include <optional>

namespace tools {

// Empty for a line without a place.
static std::optional<oscillation> line_of(const metadata &line, double dwell) {
    const std::optional<double> hz = line.number("hz_from_carrier"),
                                width = line.number("width_hz"),
                                amplitude = line.number("amplitude"),
                                phase = line.number("phase_degrees");
    if (!hz || !width || !amplitude || !phase) return std::nullopt;
    // what rounding lets grow would be far off at the end of many points
    return oscillation{*hz * dwell, std::max(0.0, *width * std::numbers::pi * dwell),
                       std::polar(1.0, *phase * std::numbers::pi / 180.0) * *amplitude};
}

complex_signal removed_signal(const run_result &run) {
    static constexpr std::size_t most_lines = 2048; // a quarter of the points that HSVD looks at
    const metadata sidecar(in_folder(run.folder, run.name + ".json"), run.sidecar);
    const metadata removed = sidecar.inside("lines_removed");
    const std::optional<long long> measured = removed.positive_integer("points");
    const std::optional<double> dwell = sidecar.positive_number("dwell_time_s");
    const std::size_t n = run.data.size();
    if (!measured || !dwell || !removed.items().contains("lines") || !std::has_single_bit(n))
        return {};
    const ordered_json &listed = removed.items()["lines"];
    if (!listed.is_array() || listed.size() > most_lines || *measured > static_cast<long long>(n))
        refuse_input(sidecar.file(), "lines_removed: expected a list of up to " +
                                         std::to_string(most_lines) + " lines and up to " +
                                         std::to_string(n) + " points");
    std::vector<oscillation> lines;
    for (const ordered_json &each : listed) {
        if (!each.is_object()) refuse_input(sidecar.file(), "lines_removed: expected objects");
        const std::optional<oscillation> line = line_of(metadata(removed.file(), each), *dwell);
        if (!line) return {};
        lines.push_back(*line);
    }
    if (lines.empty()) return {};
    complex_signal fid(static_cast<std::size_t>(*measured));
    subtract_lines(fid, fid.size(), lines);
    for (std::complex<double> &point : fid) point = -point;
    return engine::spectrum_of_fid(fid, static_cast<int>(n));
}

} // namespace tools
