// SPDX-License-Identifier: BSD-3-Clause
#include "files/measured/read_water.h"

#include "files/base/sha256.h"
#include "files/base/tool_error.h"
#include "files/measured/combined_source.h"
#include "files/measured/left_in_mean.h"
#include "files/measured/reference_check.h"
#include "files/measured/signal_items.h"
#include "files/measured/spectrum_conversion.h"

#include <algorithm>
#include <cmath>

namespace tools {

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
    for (std::size_t s = 0; s < chosen.spectra.size(); ++s) {
        const complex_signal fid =
            read_fids(*water, chosen.spectra, s, s + 1, static_cast<std::size_t>(water->points))
                .front();
        const complex_signal other =
            read_fids(*data, wanted.spectra, s, s + 1, static_cast<std::size_t>(data->points))
                .front();
        refuse_no_reference(fid, other, water->file, data->facts);
        read.signals.push_back(
            water_signal_of(fid, dwell_time, std::max(0.0, begin_time), water->file));
    }
    return read;
}

} // namespace tools
