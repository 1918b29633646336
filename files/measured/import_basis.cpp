// SPDX-License-Identifier: BSD-3-Clause
// import_basis.cpp -- a basis set becomes binary patterns that match a measurement
#include "files/measured/import_basis.h"

#include "files/base/output_file.h"
#include "files/base/sha256.h"
#include "files/base/tool_error.h"
#include "files/spectra/metadata.h"
#include "files/spectra/spectrum_axis.h"
#include "files/spectra/search_limits.h"
#include "files/spectra/signal_file.h"
#include "files/measured/condition_fid.h"
#include "files/measured/import_spectra.h"
#include "files/measured/signal_items.h"
#include "files/measured/text_items.h"

#include "engine/centred_spectrum.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <numbers>
#include <set>

namespace tools {

static constexpr double basis_ppm = 4.65; // of point 0, by the format

// FID of a spectrum in transform order. The format's transforms are scaled by 1/sqrt(n).
static complex_signal fid_of_basis(const complex_signal &spectrum) {
    complex_signal centred = spectrum;
    std::rotate(centred.begin(), centred.end() - static_cast<std::ptrdiff_t>(centred.size() / 2),
                centred.end());
    complex_signal fid = engine::fid_of_spectrum(centred, engine::whole);
    const double scale = 1.0 / std::sqrt(static_cast<double>(fid.size()));
    for (std::complex<double> &point : fid) point *= scale;
    return fid;
}

// sum_k x[k] exp(-2 pi i cycles k). The oscillation is taken up anew every 64 points, which keeps
// its rounding at some 1e-14.
static std::complex<double> sum_at(const complex_signal &x, double cycles) {
    const std::complex<double> step = std::polar(1.0, -2.0 * std::numbers::pi * cycles);
    std::complex<double> sum = 0.0, turn = 1.0;
    for (std::size_t k = 0; k < x.size(); ++k) {
        if (k % 64 == 0)
            turn = std::polar(1.0, -2.0 * std::numbers::pi *
                                       std::fmod(cycles * static_cast<double>(k), 1.0));
        sum += std::complex<double>(x[k].real() * turn.real() - x[k].imag() * turn.imag(),
                                    x[k].real() * turn.imag() + x[k].imag() * turn.real());
        turn = {turn.real() * step.real() - turn.imag() * step.imag(),
                turn.real() * step.imag() + turn.imag() * step.real()};
    }
    return sum;
}

complex_signal fid_on_grid(const complex_signal &spectrum, const basis_header &header,
                           const pattern_grid &grid) {
    complex_signal fid = fid_of_basis(spectrum);
    const auto n = static_cast<std::size_t>(grid.points);
    const double ratio = grid.mhz / header.mhz;
    // the carrier of the grid lies at another ppm than that of the basis
    const double offset = (grid.ppm_at_carrier - basis_ppm) * grid.mhz; // [Hz]
    const bool same_dwell = std::abs(grid.dwell_time / header.dwell_time - 1.0) < 1e-6;
    if (same_dwell && std::abs(ratio - 1.0) < 1e-9) {
        fid.resize(n);
        for (std::size_t k = 0; k < n; ++k)
            fid[k] *= std::polar(1.0, 2.0 * std::numbers::pi * offset * grid.dwell_time *
                                          static_cast<double>(k));
    } else {
        // Points behind the end of the measurement would wrap around to its begin.
        const double end = static_cast<double>(n) * grid.dwell_time * ratio / header.dwell_time;
        std::complex<double> at_end = 0.0; // as it lies on the grid
        if (end < static_cast<double>(fid.size()) - 1.0) {
            fid.resize(static_cast<std::size_t>(std::llround(end)) + 1);
            at_end = fid.back() * std::polar(1.0, 2.0 * std::numbers::pi * offset *
                                                      grid.dwell_time * static_cast<double>(n));
            fid.back() *= 0.5;
        }
        // Halved points at both ends: then the sum times the dwell time is the integral over the
        // signal, which does not depend on how it was sampled.
        fid.front() *= 0.5;
        const double weight = header.dwell_time / grid.dwell_time / ratio;
        complex_signal on_grid(n);
        for (std::size_t i = 0; i < n; ++i) {
            const double index = static_cast<double>(i) - static_cast<double>(n / 2);
            const double hz = index / (grid.dwell_time * static_cast<double>(n));
            const double cycles = (hz - offset) / ratio * header.dwell_time;
            if (std::abs(cycles) <= 0.5) on_grid[i] = weight * sum_at(fid, cycles);
        }
        on_grid = engine::fid_of_spectrum(on_grid, engine::whole);
        for (std::complex<double> &point : on_grid) point /= static_cast<double>(n);
        // the mean of both sides of the jump from the end to the begin
        on_grid.front() = 2.0 * on_grid.front() - at_end;
        fid = std::move(on_grid);
    }
    if (grid.ppm_rises_with_points) conjugate(fid);
    return fid;
}

static pattern_grid grid_of(const basis_options &options, const basis_header &header,
                            std::vector<std::string> &warnings) {
    if (options.dwell_time && options.bandwidth)
        throw tool_error(wrong_usage, "--dwell and --bandwidth say the same; give one of them");
    std::optional<long long> points = options.points;
    std::optional<double> dwell = options.dwell_time, mhz = options.mhz,
                          ppm = options.ppm_at_carrier;
    if (options.bandwidth) dwell = 1.0 / *options.bandwidth;
    pattern_grid grid;
    if (!options.like.empty()) {
        const metadata sidecar(options.like);
        const spectrum_axis axis = axis_of_sidecar(sidecar);
        if (!points) points = sidecar.positive_integer("points");
        if (!dwell) dwell = sidecar.positive_number("dwell_time_s");
        if (!mhz) mhz = axis.mhz;
        if (!ppm) ppm = axis.ppm_at_carrier;
        grid.ppm_rises_with_points = axis.ppm_rises_with_points;
    }
    if (!points || !dwell)
        throw tool_error(wrong_usage, "points and dwell time of the data are not known; expected "
                                      "--like SIDECAR.json of the spectrum, or --points and "
                                      "--dwell (or --bandwidth)");
    if (!mhz) {
        mhz = header.mhz;
        warnings.emplace_back("guessed spectrometer frequency of the data: that of the basis; "
                              "--frequency sets another");
    }
    if (!ppm) {
        ppm = basis_ppm;
        warnings.emplace_back(
            "guessed ppm at the carrier of the data: 4.65; --ppm-at-carrier sets another");
    }
    if (!kernel::transform_plan::exists_for(*points) || *points > search_limits::pattern_points)
        throw tool_error(bad_input, (options.like.empty() ? "--points " : options.like + ": ") +
                                        std::to_string(*points) +
                                        " points; expected a power of two up to " +
                                        std::to_string(search_limits::pattern_points) +
                                        " for "
                                        "patterns. Import the spectrum with --resize " +
                                        std::to_string(search_limits::pattern_points));
    grid.points = *points;
    grid.dwell_time = *dwell;
    grid.mhz = *mhz;
    grid.ppm_at_carrier = *ppm;
    const double difference = std::abs(grid.mhz / header.mhz - 1.0);
    if (difference > (options.rescale ? 0.05 : 0.005)) {
        const std::string fields = options.input + ": made for " + std::to_string(header.mhz) +
                                   " MHz, but the data have " + std::to_string(grid.mhz) + " MHz; ";
        throw tool_error(bad_input, fields + (options.rescale || difference > 0.05
                                                  ? "expected a difference of at most 5 %. Make a "
                                                    "basis for this field"
                                                  : "expected a difference of at most 0.5 %. Make "
                                                    "a basis for this field, or see --rescale"));
    }
    return grid;
}

// Name of the pattern file. The fit tells patterns by their ending and ends a name at a blank.
static std::string file_name_of(const std::string &metabolite, std::set<std::string> &taken) {
    std::string name;
    for (const char c : metabolite.substr(0, 100))
        name += (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
                        c == '-' || c == '+' || c == '_'
                    ? c
                    : '_';
    std::string free = name;
    for (int k = 2; !taken.insert(lower_case(free)).second; ++k)
        free = name + "_" + std::to_string(k);
    return free + ".bin";
}

static std::string basis_sidecar(const basis_options &options, const basis_header &header,
                                 const pattern_grid &grid, const ordered_json &patterns) {
    ordered_json sidecar;
    sidecar["content"] = std::string(patterns_content) + ": spectra, conjugated and reversed";
    sidecar["points"] = grid.points;
    sidecar["dwell_time_s"] = grid.dwell_time;
    sidecar["hz_per_point"] = 1.0 / (grid.dwell_time * static_cast<double>(grid.points));
    sidecar["spectrometer_mhz"] = grid.mhz;
    sidecar["ppm_at_carrier"] = grid.ppm_at_carrier;
    sidecar["ppm_rises_with_points"] = grid.ppm_rises_with_points;
    sidecar["patterns"] = patterns;
    sidecar["source"] = {
        {"file", file_name(options.input)}, {"sha256", sha256_of_file(options.input)},
        {"points", header.points},          {"dwell_time_s", header.dwell_time},
        {"spectrometer_mhz", header.mhz},   {"field_ratio_applied", grid.mhz / header.mhz}};
    if (header.echo_time) sidecar["source"]["echo_time_s"] = *header.echo_time;
    return sidecar.dump(2) + "\n";
}

imported_basis import_basis(const basis_options &options) {
    imported_basis made;
    std::optional<pattern_grid> grid;
    std::set<std::string> taken, missing(options.only.begin(), options.only.end());
    ordered_json list = ordered_json::array();
    std::vector<std::string> inputs = {options.input};
    if (!options.like.empty()) inputs.push_back(options.like);
    output_batch batch(inputs, options.force);
    const std::filesystem::path folder(options.folder);
    std::vector<std::string> &files = made.patterns;
    const basis_header header = read_lcmodel_basis(
        options.input, [&](const basis_header &known, basis_spectrum metabolite) {
            if (!grid) grid = grid_of(options, known, made.warnings);
            if (!options.only.empty() && std::find(options.only.begin(), options.only.end(),
                                                   metabolite.name) == options.only.end())
                return;
            missing.erase(metabolite.name);
            const complex_signal fid = fid_on_grid(metabolite.spectrum, known, *grid);
            if (fid.front() == 0.0)
                refuse_input(options.input + ", line " + std::to_string(metabolite.line),
                             "the FID of " + metabolite.name +
                                 " begins with 0; a pattern is scaled by its first point, so "
                                 "expected another. Leave it out with --only");
            const std::string file = file_name_of(metabolite.name, taken);
            make_folder(options.folder);
            files.push_back((folder / file).string());
            batch.add({files.back(), signal_bytes(binary_pattern(fid))});
            list.push_back({{"metabolite", metabolite.name},
                            {"file", file},
                            {"area_of_the_first_point", std::abs(fid.front())}});
        });
    if (!missing.empty())
        refuse_usage(options.input, "holds no " + *missing.begin() +
                                        "; expected names of its metabolites behind --only");
    if (files.size() > search_limits::entries)
        refuse_input(options.input,
                     std::to_string(files.size()) + " metabolites, but a fit takes up to " +
                         std::to_string(search_limits::entries) + "; choose with --only");
    made.sidecar = (folder / "patterns.json").string();
    batch.add({made.sidecar, basis_sidecar(options, header, *grid, list)});
    batch.commit();
    return made;
}

} // namespace tools
