// SPDX-License-Identifier: BSD-3-Clause
// plan_signals.cpp -- the spectra of a batch from a file with FIDs, by passes
#include "varokel-batch/plan_draft.h"

#include "files/base/tool_error.h"
#include "files/batch/water_areas.h"
#include "files/measured/combined_source.h"
#include "files/measured/text_items.h"
#include "files/nifti/grid_maps.h"
#include "files/nifti/write_nifti_mrs.h"
#include "files/spectra/signal_file.h"
#include "files/start/table_keys.h"
#include "common/import_options.h"

#include <algorithm>
#include <cstdio>
#include <limits>
#include <memory>
#include <set>

namespace tools {

// Reads the FIDs of a pass, means where they are wanted.
//
// Returns: not zero for those with points that are no finite numbers.
static std::vector<char> read_pass(spectrum_source &source, const chosen_spectra &chosen,
                                   const std::vector<std::size_t> &origin, std::size_t first,
                                   std::size_t stop, std::vector<complex_signal> &fids,
                                   std::size_t points) {
    std::vector<signal_share> shares;
    for (std::size_t s = first; s < stop; ++s)
        for (const long long spectrum : chosen.members(origin[s]))
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
    if (const std::size_t members = chosen.members_each(); members > 1)
        for (complex_signal &fid : fids)
            for (std::complex<double> &point : fid) point /= static_cast<double>(members);
    return faulty;
}

// In a batch, what is not chosen is wanted as a whole.
static choice_options with_whole_axes(const spectrum_source &source, choice_options wanted) {
    for (std::size_t a = 0; a < source.axes.size(); ++a) {
        const source_axis &axis = source.axes[a];
        if (axis.spatial || axis.size == 1) continue;
        const auto names_axis = [&](const std::string &text) {
            const std::string name = lower_case(text.substr(0, text.find('=')));
            const std::string own = lower_case(axis.name);
            return name == own || "dim_" + name == own || name == "dim_" + std::to_string(a + 2) ||
                   name == std::to_string(a + 2);
        };
        const bool given =
            std::any_of(wanted.average.begin(), wanted.average.end(), names_axis) ||
            std::any_of(wanted.index.begin(), wanted.index.end(), [&](const std::string &text) {
                return text.find('=') == text.npos || names_axis(text);
            });
        if (!given) wanted.index.push_back(axis.name + "=all");
    }
    return wanted;
}

// Axes and inputs of the batch. Returns whether the source has more than one voxel.
static bool take_axes(const spectrum_source &source, plan_draft &batch) {
    batch.inputs.push_back(source.file);
    for (const std::string &companion : source.companions) batch.inputs.push_back(companion);
    long long voxels = 1, directions = 0;
    for (const source_axis &axis : source.axes) {
        if (axis.spatial || axis.size > 1) // the column "spectrum" has the names
            batch.axes.push_back(
                {axis.name == "spectrum" ? "index" : axis.name, axis.size, axis.spatial});
        if (!batch.axes.empty() && axis.step_seconds && !axis.spatial && axis.size > 1)
            batch.axes.back().seconds = seconds_of(axis.size, *axis.step_seconds);
        if (!axis.spatial) continue;
        ++directions;
        voxels = std::max(voxels, axis.size);
    }
    const bool has_voxels = voxels > 1;
    batch.grid = source.format == "NIfTI-MRS" && directions == 3 && has_voxels && can_write_nifti();
    if (!has_voxels) std::erase_if(batch.axes, [](const plan_axis &axis) { return axis.spatial; });
    return has_voxels;
}

// For each voxel whether it is to be fitted; empty without a mask.
static std::vector<bool> inside_of_mask(const plan_options &options, const spectrum_source &source,
                                        plan_draft &batch) {
    if (options.mask.empty()) return {};
    std::vector<long long> sizes;
    for (const plan_axis &axis : batch.axes)
        if (axis.spatial) sizes.push_back(axis.size);
    if (sizes.size() != 3)
        throw tool_error(wrong_usage,
                         "--mask " + options.mask + ": " + source.file + " has no grid of voxels");
    bool moved = false;
    std::vector<bool> inside = read_mask(options.mask, sizes, source.file, moved);
    if (moved)
        warn_of_plan(options.mask + ": lies elsewhere in space than " + source.file +
                     " as their headers say; voxels are taken by their number");
    batch.inputs.push_back(options.mask);
    return inside;
}

// The spectra to be planned, with their places. Returns which of the chosen each is.
static std::vector<std::size_t> list_spectra(const plan_options &options,
                                             const spectrum_source &source,
                                             const chosen_spectra &chosen, plan_draft &batch) {
    const bool has_voxels = take_axes(source, batch);
    const std::vector<bool> inside = inside_of_mask(options, source, batch);
    std::vector<std::size_t> origin;
    for (std::size_t c = 0; c < chosen.size(); ++c) {
        const std::vector<long long> at = source.position(chosen.members(c).front());
        planned_spectrum spectrum;
        long long voxel = 0, stride = 1;
        for (std::size_t a = 0; a < source.axes.size(); ++a) {
            const source_axis &axis = source.axes[a];
            if (axis.spatial) {
                voxel += at[a] * stride;
                stride *= axis.size;
            }
            if (axis.spatial ? has_voxels : axis.size > 1) spectrum.at.push_back(at[a]);
        }
        if (!inside.empty() && !inside[static_cast<std::size_t>(voxel)]) continue;
        spectrum.name = source.stem + chosen[c].suffix;
        refuse_name(spectrum.name, source.file);
        batch.spectra.push_back(std::move(spectrum));
        origin.push_back(c);
    }
    keep_selected(batch, origin, options);
    if (batch.spectra.empty())
        throw tool_error(bad_input, options.mask + ": no voxel above 0; expected some to fit");
    return origin;
}

namespace {

// What --remove-water took out of the spectra.
class removed_from_all {
  public:
    void add(const ordered_json &of_one) {
        if (spectra_++ == 0) first_ = of_one;
        const double power = of_one["power_percent"].get<double>();
        least_ = std::min(least_, power);
        most_ = std::max(most_, power);
        left_ = std::max(left_, of_one["left_over_noise"].get<double>());
        if (of_one["lines"].empty()) ++untouched_;
    }
    // As of a single spectrum, but for its lines.
    void finish(ordered_json &scale) const {
        if (spectra_ == 0) return;
        char text[300];
        std::snprintf(text, sizeof text,
                      "lines from %.4g to %.4g ppm were taken out of the FIDs of %lld of %lld "
                      "spectra: %.3g to %.3g %% of their power; %.3g times the noise is left there "
                      "at most",
                      first_["from_ppm"].get<double>(), first_["to_ppm"].get<double>(),
                      spectra_ - untouched_, spectra_, least_, most_, left_);
        scale["lines_removed"] = {{"from_ppm", first_["from_ppm"]},   {"to_ppm", first_["to_ppm"]},
                                  {"spectra", spectra_ - untouched_}, {"of", spectra_},
                                  {"least_power_percent", least_},    {"most_power_percent", most_},
                                  {"most_left_over_noise", left_},    {"text", text}};
        warn_of_plan(text);
    }

  private:
    ordered_json first_;
    long long spectra_ = 0, untouched_ = 0;
    double least_ = std::numeric_limits<double>::infinity(), most_ = 0.0, left_ = 0.0;
};

// The points of one FID after the other, into spectra.f32.
class signal_writer {
  public:
    signal_writer(spectrum_conversion &conversion, plan_draft &batch, const std::string &work)
        : conversion_(conversion), batch_(batch), file_(work + "/spectra.f32") {}

    void add(planned_spectrum &spectrum, complex_signal fid, bool faulty) {
        if (faulty)
            spectrum.state = signal_state::not_finite;
        else if (std::all_of(fid.begin(), fid.end(), [](auto v) { return v == 0.0; }))
            spectrum.state = signal_state::all_zero;
        if (spectrum.state != signal_state::fit) {
            add_spectrum(spectrum, std::string(static_cast<std::size_t>(8 * batch_.points), '\0'),
                         file_);
            return;
        }
        conversion_.measured_of(fid);
        ordered_json said;
        const complex_signal points = conversion_.spectrum_of(std::move(fid), nullptr, &said);
        if (said.contains("lines_removed")) removed_.add(said["lines_removed"]);
        if (!described_) describe(points);
        add_spectrum(spectrum, signal_bytes(points), file_);
    }
    // false when there was none to fit.
    bool finish() {
        file_.finish();
        removed_.finish(batch_.scale);
        return described_;
    }

  private:
    // Window and axis of the first hold for all.
    void describe(const complex_signal &points) {
        ordered_json sidecar = conversion_.items();
        conversion_.describe(points, sidecar);
        described_ = true;
        take_scale(batch_, sidecar);
        batch_.source = sidecar.at("source");
        for (const char *const item : {"guessed", "warnings"})
            if (sidecar.contains(item)) batch_.source[item] = sidecar[item];
    }
    spectrum_conversion &conversion_;
    plan_draft &batch_;
    removed_from_all removed_;
    part_file file_;
    bool described_ = false;
};

} // namespace

// Reads the water of --water and writes its areas to water.f64 of the folder work, in the order of
// the spectra's numbers; what holds for all goes into batch.water. input: as the spectra were
// chosen; origin: which of the chosen each spectrum of the batch is.
static void plan_water(const plan_options &options, const input_options &input,
                       const std::vector<std::size_t> &origin, const std::string &work,
                       plan_draft &batch) {
    const peak_table table = read_peak_table(options.peaks);
    std::vector<std::size_t> which;
    for (std::size_t s = 0; s < batch.spectra.size(); ++s)
        if (batch.spectra[s].state == signal_state::fit) which.push_back(origin[s]);
    const water_file water = read_water(options.water.file, input, options.spectrum, which);
    const double none = std::numeric_limits<double>::quiet_NaN();
    std::vector<water_area> areas(batch.spectra.size(), {none, none});
    const water_signal *first = nullptr;
    std::size_t at = 0;
    for (std::size_t s = 0; s < batch.spectra.size(); ++s) {
        if (batch.spectra[s].state != signal_state::fit) continue;
        const water_signal &signal = water.signals[at++];
        if (!(signal.area > 0.0)) continue;
        areas[static_cast<std::size_t>(batch.spectra[s].number)] = {signal.area, signal.area_error};
        if (first == nullptr) first = &signal;
    }
    batch.inputs.push_back(options.water.file);
    write_water_areas(work + "/water.f64", areas);
    batch.water = water_item(options.water, table.amounts, water, *first, options.peaks);
    if (water.without_water > 0)
        batch.water["assumed"].push_back(
            std::to_string(water.without_water) +
            " spectra have no water to hold their areas against: they have no amounts");
    if (batch.spectra.size() > 1)
        batch.water["assumed"].push_back(
            "what is said of the area of water is that of the first spectrum that has one");
    for (const auto &text : batch.water["assumed"]) warn_of_plan(text.get<std::string>());
}

void plan_signals(const plan_options &options, const std::string &work, plan_draft &batch) {
    input_options input = options.input;
    input.coils_beside = has_coils(options.water.file, input);
    const std::unique_ptr<spectrum_source> source =
        open_combined(input.input, input.json, input, false);
    const choice_options wanted = with_whole_axes(*source, input.choice);
    const choice chosen = choose_spectra(*source, wanted);
    const std::vector<std::size_t> origin = list_spectra(options, *source, chosen.spectra, batch);
    spectrum_options settled = options.spectrum;
    settled.reference_peak = settled_reference(
        settled.reference_text,
        options.peaks.empty() ? std::nullopt : read_peak_table(options.peaks).reference);
    spectrum_conversion conversion(*source, chosen, input, settled);
    const std::size_t used = conversion.used();
    batch.points = conversion.points();
    conversion.look_at_all(options.spectrum.memory);
    const std::size_t step =
        std::max<std::size_t>(1, (static_cast<std::size_t>(options.spectrum.memory) << 20) /
                                     (used * sizeof(std::complex<double>)));
    signal_writer writer(conversion, batch, work);
    std::vector<complex_signal> fids;
    for (std::size_t first = 0; first < batch.spectra.size(); first += step) {
        const std::size_t stop = std::min(first + step, batch.spectra.size());
        const std::vector<char> faulty =
            read_pass(*source, chosen.spectra, origin, first, stop, fids, used);
        for (std::size_t s = first; s < stop; ++s) {
            batch.spectra[s].number = static_cast<long long>(s);
            writer.add(batch.spectra[s], std::move(fids[s - first]), faulty[s - first] != 0);
        }
        if (step < batch.spectra.size()) show_passed(stop, batch.spectra.size());
    }
    if (!writer.finish())
        throw tool_error(bad_input, source->file + ": no spectrum with finite points that are not "
                                                   "all zero; expected measured points");
    if (conversion.measured() < batch.points)
        batch.scale["measured_points"] = conversion.measured();
    for (const std::string &text : conversion.remarks()) warn_of_plan(text);
    if (options.water.file.empty()) return;
    input.choice = wanted;
    plan_water(options, input, origin, work, batch);
}

} // namespace tools
