// SPDX-License-Identifier: BSD-3-Clause
// read_water.cpp -- the water of the same voxels as some data, out of a file of its own
#include "files/measured/read_water.h"

#include "files/base/sha256.h"
#include "files/base/tool_error.h"
#include "files/measured/combined_source.h"
#include "files/measured/condition_fid.h"
#include "files/measured/left_in_mean.h"
#include "files/measured/reference_lines.h"
#include "files/measured/signal_items.h"
#include "files/measured/spectrum_conversion.h"
#include "files/measured/tail_noise.h"

#include <algorithm>
#include <cmath>
#include <numeric>
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
    std::set<long long> faulty;
    source.faulty = passed_over ? &faulty : nullptr;
    std::vector<complex_signal> fids =
        read_fids(source, chosen, outputs, static_cast<std::size_t>(source.points));
    source.faulty = nullptr;
    for (std::size_t s = 0; s < outputs.size() && !faulty.empty(); ++s)
        for (const long long spectrum : chosen.members(outputs[s]))
            if (faulty.contains(spectrum)) std::fill(fids[s].begin(), fids[s].end(), 0.0);
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

namespace {
struct water_and_data {
    std::unique_ptr<spectrum_source> water, data;
    choice of_water, of_data;
    std::string mean_said; // where another mean is taken of the water than of the data

    bool one_water() const { return of_water.spectra.size() == 1; }
    // Weights differ from spectrum to spectrum, so then does what one water gives.
    bool water_is_weighted() const { return water->notes.contains("coils_combined"); }
    double begin_time() const { // [s]
        return water->facts.begin_time.value_or(data->facts.begin_time.value_or(0.0));
    }
};
} // namespace

// What options take of an axis: "all", a place, "mean"; empty where they do not name it.
static std::string taken_of(const spectrum_source &source, std::size_t number,
                            const choice_options &options) {
    const auto is_axis = [&](const std::string &name) {
        return is_called(source.axes[number], number, name);
    };
    if (std::any_of(options.average.begin(), options.average.end(), is_axis)) return "mean";
    std::string taken;
    for (const std::string &text : options.index) {
        const std::size_t equals = text.find('=');
        if (equals == text.npos) // of the only axis with several
            taken = text;
        else if (is_axis(text.substr(0, equals)))
            taken = text.substr(equals + 1);
    }
    return taken;
}

// A water that was measured another number of times than the data is the mean of its own: it is not
// one of each of theirs.
static void choose_water(const choice_options &options, water_and_data &both) {
    const std::string repeated = "DIM_DYN";
    const std::vector<source_axis> &axes = both.water->axes;
    const auto axis = std::find_if(axes.begin(), axes.end(), [&](const source_axis &each) {
        return each.name == repeated && each.size > 1;
    });
    const auto number = static_cast<std::size_t>(axis - axes.begin());
    const std::string taken = axis == axes.end() ? "" : taken_of(*both.water, number, options);
    const std::size_t spectra = both.of_data.spectra.size();
    if (axis == axes.end() || !taken.empty())
        both.of_water = choose_spectra(*both.water, options, true);
    if (axis == axes.end() || !(taken.empty() || taken == "all")) return;
    if (taken == "all" && both.of_water.spectra.size() == spectra &&
        voxels_of(*both.water) == voxels_of(*both.data))
        return;
    choice_options mean = options;
    std::erase_if(mean.index, [&](const std::string &each) {
        const std::size_t equals = each.find('=');
        return equals == each.npos || is_called(*axis, number, each.substr(0, equals));
    });
    mean.average.push_back(repeated);
    both.of_water = choose_spectra(*both.water, mean, true);
    both.mean_said = "the mean of its " + std::to_string(axis->size) + " FIDs of " + repeated +
                     " is taken, since the data have " + std::to_string(spectra) +
                     (spectra == 1 ? " spectrum" : " spectra");
}

static water_and_data open_both(const std::string &file, const input_options &options,
                                const spectrum_options &own) {
    water_and_data both;
    both.water = open_combined(file, "", options, true);
    both.data = open_combined(options.input, options.json, options, false);
    spectrum_source &water = *both.water, &data = *both.data;
    settle_facts(data, own);
    if (!water.facts.dwell_time) water.facts.dwell_time = data.facts.dwell_time;
    const double dwell_time = *water.facts.dwell_time;
    if (std::abs(dwell_time / *data.facts.dwell_time - 1.0) > 1e-5)
        refuse_input(file, "dwell time " + shortest(dwell_time) + " s, but " + data.file + " has " +
                               shortest(*data.facts.dwell_time) +
                               " s; expected water that was measured alike");
    both.of_data = choose_spectra(data, options.choice);
    choose_water(options.choice, both);
    const std::size_t waters = both.of_water.spectra.size(), spectra = both.of_data.spectra.size();
    if (waters != 1 && waters != spectra)
        refuse_input(file, "gives " + std::to_string(waters) + " FIDs of water for " +
                               std::to_string(spectra) + " spectra; expected one, or one for each");
    if (waters != 1 && voxels_of(water) != voxels_of(data))
        refuse_input(file, "has another grid than " + data.file +
                               "; expected the water of the same voxels, or one FID");
    return both;
}

// All but the signals.
static water_file facts_of(const water_and_data &both, long long memory) {
    water_file read;
    read.file = file_name(both.water->file);
    read.sha256 = sha256_of_file(both.water->file);
    read.echo_time = both.water->facts.echo_time;
    read.repetition_time = both.water->facts.repetition_time;
    read.averages = both.water->facts.averages;
    read.data_averages = both.data->facts.averages;
    read.data_echo_time = both.data->facts.echo_time;
    read.data_repetition_time = both.data->facts.repetition_time;
    if (!both.mean_said.empty()) read.warnings.push_back(both.mean_said);
    const std::string cancelled = warning_of_means(*both.water, both.of_water.spectra, memory);
    if (!cancelled.empty()) read.warnings.push_back(cancelled);
    read.combined_alone = both.water_is_weighted() && !both.data->notes.contains("coils_combined");
    return read;
}

// The water of these spectra, in one pass over both files. Returns why the last of those that were
// passed over has none.
static std::string read_pass(const water_and_data &both, const std::vector<std::size_t> &pass,
                             bool passed_over, water_file &read) {
    std::string why_not;
    spectrum_source &water = *both.water;
    const std::vector<complex_signal> others =
        fids_of(*both.data, both.of_data.spectra, pass, passed_over);
    water.use_coil_weights(weights_of(*both.data, both.of_data.spectra.members(pass.front())));
    const std::vector<complex_signal> fids =
        fids_of(water, both.of_water.spectra, both.one_water() ? std::vector<std::size_t>{0} : pass,
                passed_over);
    for (std::size_t s = 0; s < pass.size(); ++s) {
        water_signal &signal = read.signals.emplace_back();
        const complex_signal &fid = fids[both.one_water() ? 0 : s];
        if (both.of_data.grid && power_of(others[s]) == 0.0)
            continue; // passed over by the import, too
        try {
            refuse_no_reference(fid, others[s], water.file, both.data->facts);
            signal = water_signal_of(fid, *water.facts.dwell_time, std::max(0.0, both.begin_time()),
                                     water.file);
        } catch (const tool_error &error) {
            if (!passed_over) throw;
            ++read.without_water;
            why_not = error.what();
            continue;
        }
        if (!read.noise && !read.combined_alone)
            read.noise = noise_of(others[s], fid, fids_in(*both.data, both.of_data),
                                  fids_in(water, both.of_water));
    }
    return why_not;
}

water_file read_water(const std::string &file, const input_options &options,
                      const spectrum_options &own,
                      const std::optional<std::vector<std::size_t>> &which) {
    const water_and_data both = open_both(file, options, own);
    water_file read = facts_of(both, own.memory);
    const bool weighted = both.water_is_weighted();
    std::vector<std::size_t> outputs;
    if (which) {
        outputs = *which;
    } else {
        outputs.resize(both.one_water() && !weighted ? 1 : both.of_data.spectra.size());
        std::iota(outputs.begin(), outputs.end(), 0);
    }
    std::string why_not;
    const auto points = static_cast<std::size_t>(std::max(both.data->points, both.water->points));
    const std::size_t step = weighted ? 1 : outputs_per_pass(own.memory, points);
    for (std::size_t first = 0; first < outputs.size(); first += step) {
        const std::size_t stop = std::min(first + step, outputs.size());
        const std::vector<std::size_t> pass(outputs.begin() + static_cast<std::ptrdiff_t>(first),
                                            outputs.begin() + static_cast<std::ptrdiff_t>(stop));
        const std::string text = read_pass(both, pass, which.has_value(), read);
        if (!text.empty()) why_not = text;
    }
    if (which && read.without_water == static_cast<long long>(read.signals.size()))
        throw tool_error(bad_input, why_not);
    return read;
}

} // namespace tools
