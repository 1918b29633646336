// SPDX-License-Identifier: BSD-3-Clause
// plan_signals.cpp -- the spectra of a batch from a file with FIDs, by passes
#include "varokel-batch/planned_batch.h"

#include "files/base/tool_error.h"
#include "files/measured/open_source.h"
#include "files/measured/text_items.h"
#include "files/nifti/grid_maps.h"
#include "files/spectra/signal_file.h"
#include "files/start/peak_table.h"
#include "common/import_options.h"

#include <algorithm>
#include <cmath>
#include <iostream>
#include <memory>
#include <set>

#include <unistd.h>

namespace tools {

// Reads the FIDs of a pass, means where they are wanted.
//
// Returns: not zero for those with points that are no finite numbers.
static std::vector<char> read_pass(spectrum_source &source,
                                   const std::vector<chosen_spectrum> &chosen,
                                   const std::vector<std::size_t> &origin, std::size_t first,
                                   std::size_t stop, std::vector<complex_signal> &fids,
                                   std::size_t points) {
    std::vector<signal_share> shares;
    for (std::size_t s = first; s < stop; ++s)
        for (const long long spectrum : chosen[origin[s]].spectra)
            shares.push_back({spectrum, s - first});
    std::sort(shares.begin(), shares.end(),
              [](const signal_share &a, const signal_share &b) { return a.spectrum < b.spectrum; });
    fids.assign(stop - first, complex_signal(points));
    std::set<long long> found;
    source.faulty = &found;
    source.add_to(shares, fids);
    source.faulty = nullptr;
    std::vector<char> faulty(stop - first, 0);
    for (const signal_share &share : shares)
        if (found.contains(share.spectrum)) faulty[share.sum] = 1;
    for (std::size_t s = first; s < stop; ++s)
        if (const std::size_t members = chosen[origin[s]].spectra.size(); members > 1)
            for (std::complex<double> &point : fids[s - first])
                point /= static_cast<double>(members);
    return faulty;
}

void plan_signals(const plan_options &options, const std::string &work, planned_batch &batch) {
    input_options input = options.input;
    const std::unique_ptr<spectrum_source> source =
        open_source(input.input, input.format, input.json, input.points);
    // in a batch, what is not chosen is wanted as a whole
    choice chosen;
    {
        choice_options wanted = input.choice;
        for (std::size_t a = 0; a < source->axes.size(); ++a) {
            const source_axis &axis = source->axes[a];
            if (axis.spatial || axis.size == 1) continue;
            choice_options with_all = wanted;
            with_all.index.push_back(axis.name + "=all");
            const auto names_axis = [&](const std::string &text) {
                const std::string name = lower_case(text.substr(0, text.find('=')));
                const std::string own = lower_case(axis.name);
                return name == own || "dim_" + name == own ||
                       name == "dim_" + std::to_string(a + 2) || name == std::to_string(a + 2);
            };
            const bool given =
                std::any_of(wanted.average.begin(), wanted.average.end(), names_axis) ||
                std::any_of(wanted.index.begin(), wanted.index.end(), [&](const std::string &text) {
                    return text.find('=') == text.npos || names_axis(text);
                });
            if (!given) wanted = with_all;
        }
        chosen = choose_spectra(*source, wanted);
    }
    batch.inputs.push_back(source->file);
    for (const std::string &companion : source->companions) batch.inputs.push_back(companion);
    for (const source_axis &axis : source->axes)
        if (axis.spatial || axis.size > 1) // the column "spectrum" has the names
            batch.axes.push_back(
                {axis.name == "spectrum" ? "index" : axis.name, axis.size, axis.spatial});
    std::vector<long long> sizes;
    for (const plan_axis &axis : batch.axes)
        if (axis.spatial) sizes.push_back(axis.size);
    const bool has_voxels =
        std::any_of(sizes.begin(), sizes.end(), [](long long n) { return n > 1; });
    batch.grid = source->format == "NIfTI-MRS" && sizes.size() == 3 && has_voxels && has_images();
    if (!has_voxels) std::erase_if(batch.axes, [](const plan_axis &axis) { return axis.spatial; });

    std::vector<bool> inside;
    if (!options.mask.empty()) {
        if (sizes.size() != 3 || !has_voxels)
            throw tool_error(wrong_usage, "--mask " + options.mask + ": " + source->file +
                                              " has no grid of voxels");
        bool moved = false;
        inside = read_mask(options.mask, sizes, source->file, moved);
        if (moved)
            warn_of_plan(options.mask + ": lies elsewhere in space than " + source->file +
                         " as their headers say; voxels are taken by their number");
        batch.inputs.push_back(options.mask);
    }
    std::vector<std::size_t> origin;
    for (std::size_t c = 0; c < chosen.spectra.size(); ++c) {
        const chosen_spectrum &each = chosen.spectra[c];
        const std::vector<long long> at = source->position(each.spectra.front());
        planned_spectrum spectrum;
        long long voxel = 0, stride = 1;
        for (std::size_t a = 0; a < source->axes.size(); ++a) {
            const source_axis &axis = source->axes[a];
            if (axis.spatial) {
                voxel += at[a] * stride;
                stride *= axis.size;
            }
            if (axis.spatial ? has_voxels : axis.size > 1) spectrum.at.push_back(at[a]);
        }
        if (!inside.empty() && !inside[static_cast<std::size_t>(voxel)]) continue;
        spectrum.name = source->stem + each.suffix;
        refuse_name(spectrum.name, source->file);
        batch.spectra.push_back(std::move(spectrum));
        origin.push_back(c);
    }
    keep_selected(batch, origin, options);
    if (batch.spectra.empty())
        throw tool_error(bad_input, options.mask + ": no voxel above 0; expected some to fit");

    spectrum_options settled = options.spectrum;
    settle_reference(settled, options.peaks.empty() ? std::nullopt
                                                    : read_peak_table(options.peaks).reference);
    spectrum_conversion conversion(*source, chosen, input, settled);
    const std::size_t used = conversion.used();
    batch.points = conversion.points();
    const std::size_t step =
        std::max<std::size_t>(1, (static_cast<std::size_t>(options.spectrum.memory) << 20) /
                                     (used * sizeof(std::complex<double>)));
    conversion.look_at_all(options.spectrum.memory);
    part_file file(work + "/spectra.f32");
    std::vector<complex_signal> fids;
    bool described = false;
    for (std::size_t first = 0; first < batch.spectra.size(); first += step) {
        const std::size_t stop = std::min(first + step, batch.spectra.size());
        const std::vector<char> faulty =
            read_pass(*source, chosen.spectra, origin, first, stop, fids, used);
        for (std::size_t s = first; s < stop; ++s) {
            planned_spectrum &spectrum = batch.spectra[s];
            spectrum.number = static_cast<long long>(s);
            complex_signal &fid = fids[s - first];
            const bool zero = std::all_of(fid.begin(), fid.end(), [](auto v) { return v == 0.0; });
            if (faulty[s - first] != 0) {
                spectrum.state = signal_state::not_finite;
            } else if (zero) {
                spectrum.state = signal_state::all_zero;
            }
            if (spectrum.state != signal_state::fit) {
                add_spectrum(spectrum,
                             std::string(static_cast<std::size_t>(8 * batch.points), '\0'), file);
                continue;
            }
            conversion.measured_of(fid);
            const complex_signal points = conversion.spectrum_of(std::move(fid), nullptr, nullptr);
            if (!described) { // window and axis hold for all
                nlohmann::ordered_json sidecar = conversion.items();
                conversion.describe(points, sidecar);
                described = true;
                take_scale(batch, sidecar);
                batch.source = sidecar.at("source");
                for (const char *const item : {"guessed", "warnings"})
                    if (sidecar.contains(item)) batch.source[item] = sidecar[item];
            }
            add_spectrum(spectrum, signal_bytes(points), file);
        }
        if (step < batch.spectra.size() && isatty(STDERR_FILENO) != 0)
            std::cerr << '\r' << stop << " of " << batch.spectra.size() << " spectra"
                      << (stop == batch.spectra.size() ? "\n" : "") << std::flush;
    }
    file.finish();
    if (!described)
        throw tool_error(bad_input, source->file + ": no spectrum with finite points that are not "
                                                   "all zero; expected measured points");
    if (conversion.measured() < batch.points)
        batch.scale["measured_points"] = conversion.measured();
    for (const std::string &text : conversion.remarks()) warn_of_plan(text);
}

} // namespace tools
