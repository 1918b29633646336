// SPDX-License-Identifier: BSD-3-Clause
#include "files/measured/read_water.h"

#include "files/base/sha256.h"
#include "files/base/tool_error.h"
#include "files/measured/combined_source.h"
#include "files/measured/condition_fid.h"
#include "files/measured/left_in_mean.h"
#include "files/measured/reference_check.h"
#include "files/measured/signal_items.h"
#include "files/measured/spectrum_conversion.h"
#include "files/measured/tail_noise.h"

#include <algorithm>
#include <cmath>
#include <set>

namespace tools {

// Of the FIDs of a mean, the mean of the weights: what the mean of their combinations has.
static std::vector<std::complex<double>> weights_of(const spectrum_source &data,
                                                    const std::vector<long long> &members) {
    std::vector<std::complex<double>> mean;
    for (const long long member : members) {
        const std::vector<std::complex<double>> own = data.coil_weights(member);
        mean.resize(own.size());
        for (std::size_t c = 0; c < own.size(); ++c)
            mean[c] += own[c] / static_cast<double>(members.size());
    }
    return mean;
}

// FIDs of a file that one of its outputs is the mean of.
static double fids_in(const spectrum_source &source, const choice &chosen) {
    return static_cast<double>(chosen.spectra.members_each()) *
           static_cast<double>(source.averaged_each());
}

// FIDs of these outputs, which rise, in one pass over the file; zeros for those with points that
// are no numbers.
static std::vector<complex_signal> fids_of(spectrum_source &source, const chosen_spectra &chosen,
                                           const std::vector<std::size_t> &outputs,
                                           bool passed_over) {
    std::vector<signal_share> shares;
    for (std::size_t s = 0; s < outputs.size(); ++s)
        for (const long long spectrum : chosen.members(outputs[s])) shares.push_back({spectrum, s});
    std::sort(shares.begin(), shares.end(),
              [](const signal_share &a, const signal_share &b) { return a.spectrum < b.spectrum; });
    std::vector<complex_signal> fids(outputs.size(),
                                     complex_signal(static_cast<std::size_t>(source.points)));
    std::set<long long> faulty;
    source.faulty = passed_over ? &faulty : nullptr;
    source.add_to(shares, fids);
    source.faulty = nullptr;
    for (const signal_share &share : shares)
        if (faulty.contains(share.spectrum))
            std::fill(fids[share.sum].begin(), fids[share.sum].end(), 0.0);
    for (complex_signal &fid : fids)
        for (std::complex<double> &point : fid) point /= static_cast<double>(chosen.members_each());
    return fids;
}

// Sizes of the grid.
static std::vector<long long> voxels_of(const spectrum_source &source) {
    std::vector<long long> sizes;
    for (const source_axis &axis : source.axes)
        if (axis.spatial) sizes.push_back(axis.size);
    return sizes;
}

static std::optional<noise_of_both> noise_of(const complex_signal &data,
                                             const complex_signal &water, double fids_of_data,
                                             double fids_of_water) {
    const auto of_data = tail_noise(data), of_water = tail_noise(water);
    if (!of_data || !of_water) return std::nullopt;
    return noise_of_both{of_data->sd * std::sqrt(fids_of_data),
                         of_water->sd * std::sqrt(fids_of_water),
                         std::hypot(of_data->relative_error, of_water->relative_error)};
}

water_file read_water(const std::string &file, const input_options &options,
                      const spectrum_options &own,
                      const std::optional<std::vector<std::size_t>> &which) {
    const std::unique_ptr<spectrum_source> water = open_combined(file, "", options, true);
    const std::unique_ptr<spectrum_source> data =
        open_combined(options.input, options.json, options, false);
    settle_facts(*data, own);
    if (!water->facts.dwell_time) water->facts.dwell_time = data->facts.dwell_time;
    const double dwell_time = *water->facts.dwell_time;
    if (std::abs(dwell_time / *data->facts.dwell_time - 1.0) > 1e-5)
        throw tool_error(bad_input, file + ": dwell time " + shortest(dwell_time) + " s, but " +
                                        data->file + " has " + shortest(*data->facts.dwell_time) +
                                        " s; expected water that was measured alike");
    const choice wanted = choose_spectra(*data, options.choice);
    const choice chosen = choose_spectra(*water, options.choice, true);
    if (chosen.spectra.size() != 1 && chosen.spectra.size() != wanted.spectra.size())
        throw tool_error(bad_input, file + ": gives " + std::to_string(chosen.spectra.size()) +
                                        " FIDs of water for " +
                                        std::to_string(wanted.spectra.size()) +
                                        " spectra; expected one, or one for each");
    if (chosen.spectra.size() != 1 && voxels_of(*water) != voxels_of(*data))
        throw tool_error(bad_input, file + ": has another grid than " + data->file +
                                        "; expected the water of the same voxels, or one FID");
    water_file read;
    read.file = file_name(water->file);
    read.sha256 = sha256_of_file(water->file);
    read.echo_time = water->facts.echo_time;
    read.repetition_time = water->facts.repetition_time;
    read.averages = water->facts.averages;
    read.data_averages = data->facts.averages;
    read.data_echo_time = data->facts.echo_time;
    read.data_repetition_time = data->facts.repetition_time;
    const std::string cancelled = warning_of_means(*water, chosen.spectra, own.memory);
    if (!cancelled.empty()) read.warnings.push_back(cancelled);
    const double begin_time =
        water->facts.begin_time.value_or(data->facts.begin_time.value_or(0.0));
    read.combined_alone =
        water->notes.contains("coils_combined") && !data->notes.contains("coils_combined");
    // weights differ from spectrum to spectrum, so then does what one water gives
    const bool one = chosen.spectra.size() == 1;
    const bool weighted = water->notes.contains("coils_combined");
    std::vector<std::size_t> outputs;
    if (which)
        outputs = *which;
    else
        for (std::size_t s = 0; s < (one && !weighted ? 1 : wanted.spectra.size()); ++s)
            outputs.push_back(s);
    std::string why_not;
    const std::size_t step =
        weighted ? 1
                 : outputs_per_pass(
                       own.memory, static_cast<std::size_t>(std::max(data->points, water->points)));
    for (std::size_t first = 0; first < outputs.size(); first += step) {
        const std::size_t stop = std::min(first + step, outputs.size());
        const std::vector<std::size_t> pass(outputs.begin() + static_cast<std::ptrdiff_t>(first),
                                            outputs.begin() + static_cast<std::ptrdiff_t>(stop));
        const std::vector<complex_signal> others =
            fids_of(*data, wanted.spectra, pass, which.has_value());
        water->use_coil_weights(weights_of(*data, wanted.spectra.members(pass.front())));
        const std::vector<complex_signal> fids = fids_of(
            *water, chosen.spectra, one ? std::vector<std::size_t>{0} : pass, which.has_value());
        for (std::size_t s = 0; s < pass.size(); ++s) {
            water_signal &signal = read.signals.emplace_back();
            const complex_signal &fid = fids[one ? 0 : s];
            if (wanted.grid && power_of(others[s]) == 0.0)
                continue; // passed over by the import, too
            try {
                refuse_no_reference(fid, others[s], water->file, data->facts);
                signal = water_signal_of(fid, dwell_time, std::max(0.0, begin_time), water->file);
            } catch (const tool_error &error) {
                if (!which) throw;
                ++read.without_water;
                why_not = error.what();
                continue;
            }
            if (!read.noise && !read.combined_alone)
                read.noise =
                    noise_of(others[s], fid, fids_in(*data, wanted), fids_in(*water, chosen));
        }
    }
    if (which && read.without_water == static_cast<long long>(read.signals.size()))
        throw tool_error(bad_input, why_not);
    return read;
}

} // namespace tools
