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
                      const spectrum_options &own) {
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
    water_file read;
    read.file = file_name(water->file);
    read.sha256 = sha256_of_file(water->file);
    read.echo_time = water->facts.echo_time;
    read.repetition_time = water->facts.repetition_time;
    read.averages = water->facts.averages;
    read.data_averages = data->facts.averages;
    const std::string cancelled = warning_of_means(*water, chosen.spectra, own.memory);
    if (!cancelled.empty()) read.warnings.push_back(cancelled);
    const double begin_time =
        water->facts.begin_time.value_or(data->facts.begin_time.value_or(0.0));
    read.combined_alone =
        water->notes.contains("coils_combined") && !data->notes.contains("coils_combined");
    // weights differ from spectrum to spectrum, so then does what one water gives
    const bool one = chosen.spectra.size() == 1;
    const bool each = !one || water->notes.contains("coils_combined");
    for (std::size_t s = 0; s < (each ? wanted.spectra.size() : 1); ++s) {
        const complex_signal other =
            read_fids(*data, wanted.spectra, s, s + 1, static_cast<std::size_t>(data->points))
                .front();
        if (wanted.grid && power_of(other) == 0.0) { // passed over by the import, too
            read.signals.emplace_back();
            continue;
        }
        water->use_coil_weights(weights_of(*data, wanted.spectra.members(s)));
        const std::size_t w = one ? 0 : s;
        const complex_signal fid =
            read_fids(*water, chosen.spectra, w, w + 1, static_cast<std::size_t>(water->points))
                .front();
        refuse_no_reference(fid, other, water->file, data->facts);
        read.signals.push_back(
            water_signal_of(fid, dwell_time, std::max(0.0, begin_time), water->file));
        if (!read.noise && !read.combined_alone)
            read.noise = noise_of(other, fid, fids_in(*data, wanted), fids_in(*water, chosen));
    }
    return read;
}

} // namespace tools
