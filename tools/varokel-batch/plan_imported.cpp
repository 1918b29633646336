// SPDX-License-Identifier: BSD-3-Clause
// plan_imported.cpp -- the spectra of a batch from the folder that varokel-import filled
#include "varokel-batch/plan_draft.h"

#include "files/base/input_file.h"
#include "files/base/natural_order.h"
#include "files/base/read_json.h"
#include "files/base/tool_error.h"
#include "files/spectra/signal_file.h"

#include "engine/noise_window.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <numeric>

namespace tools {

namespace fs = std::filesystem;

// A place along an axis, from 0 on.
static bool is_place(const ordered_json &item) {
    static constexpr long long most = 1000000;
    return item.is_number_integer() && item.get<long long>() >= 0 && item.get<long long>() <= most;
}

// What the sidecar of a signal says of it alone.
struct imported_signal {
    std::string name;
    std::vector<long long> voxel, index; // places; empty when they are not known
    // of the noise window: two whole numbers, or null; whether it was chosen for this spectrum
    ordered_json first, stop;
    bool chosen = false;
};

static std::vector<std::string> names_in(const std::string &folder) {
    std::vector<std::string> names;
    std::error_code error;
    for (const fs::directory_entry &file : fs::directory_iterator(folder, error))
        if (file.path().extension() == ".bin" &&
            fs::exists(fs::path(file.path()).replace_extension(".json"), error))
            names.push_back(file.path().stem().string());
    if (names.empty())
        throw tool_error(bad_input, folder + ": no NAME.bin with NAME.json; expected the folder "
                                             "that varokel-import filled");
    std::sort(names.begin(), names.end(), in_natural_order);
    return names;
}

static imported_signal facts_of(const std::string &name, const ordered_json &items) {
    imported_signal own;
    own.name = name;
    const auto nothing = ordered_json::object();
    const auto object = [&](const char *item) {
        const auto found = items.find(item);
        return found != items.end() && found->is_object() ? *found : nothing;
    };
    const ordered_json from = object("source"), window = object("noise_window");
    if (from.contains("voxel") && from["voxel"].is_array() && from["voxel"].size() == 3 &&
        std::all_of(from["voxel"].begin(), from["voxel"].end(), is_place))
        own.voxel = from["voxel"].get<std::vector<long long>>();
    if (from.contains("index") && is_place(from["index"]))
        own.index = {from["index"].get<long long>()};
    own.first = window.value("first", ordered_json());
    own.stop = window.value("stop", ordered_json());
    own.chosen = window.value("chosen_by", ordered_json()) == "quietest stretch";
    return own;
}

// Reads all sidecars. The scale of the batch is that of the first.
static std::vector<imported_signal> read_sidecars(const std::string &folder, plan_draft &batch) {
    std::vector<imported_signal> found;
    for (const std::string &name : names_in(folder)) {
        refuse_name(name, folder + "/" + name + ".bin");
        const metadata sidecar(folder + "/" + name + ".json");
        const auto n = sidecar.positive_integer("points");
        const auto hz = sidecar.positive_number("hz_per_point");
        if (!n || !hz)
            throw tool_error(bad_input, sidecar.file() + ": item points or hz_per_point is "
                                                         "missing; convert the signal again");
        const ordered_json items = json_of_file(sidecar.file());
        if (found.empty()) {
            batch.points = *n;
            axis_of_sidecar(sidecar); // items of the wrong kind are refused here
            take_scale(batch, items);
            batch.source = {{"folder", fs::path(folder).filename().string()}};
        }
        if (*n != batch.points || *hz != batch.scale["hz_per_point"].get<double>())
            throw tool_error(bad_input, sidecar.file() +
                                            ": another number of points or other "
                                            "hertz per point than " +
                                            found.front().name +
                                            "; expected one kind of spectra in a "
                                            "batch. Fit them apart");
        found.push_back(facts_of(name, items));
    }
    return found;
}

// Axes where all spectra have a place along them.
static void take_places(const std::vector<imported_signal> &found, plan_draft &batch) {
    const auto all_have = [&](std::vector<long long> imported_signal::*place) {
        return std::none_of(found.begin(), found.end(),
                            [&](const imported_signal &each) { return (each.*place).empty(); });
    };
    std::vector<long long> imported_signal::*place = nullptr;
    if (all_have(&imported_signal::voxel)) {
        batch.axes = {{"x", 1, true}, {"y", 1, true}, {"z", 1, true}};
        place = &imported_signal::voxel;
    } else if (all_have(&imported_signal::index)) {
        batch.axes = {{"index", 1, false}};
        place = &imported_signal::index;
    }
    for (const imported_signal &each : found) {
        planned_spectrum &spectrum = batch.spectra.emplace_back();
        spectrum.name = each.name;
        if (place == nullptr) continue;
        spectrum.at = each.*place;
        for (std::size_t a = 0; a < batch.axes.size(); ++a)
            batch.axes[a].size = std::max(batch.axes[a].size, spectrum.at[a] + 1);
    }
}

// Whether the sidecars of all spectra name one noise window, or that of the first was given by the
// user or the file. What is chosen for one spectrum may hold the lines of another.
static bool shares_window(const std::vector<imported_signal> &found,
                          const std::vector<std::size_t> &origin) {
    const imported_signal &first = found[origin.front()];
    return !first.chosen || std::all_of(origin.begin(), origin.end(), [&](std::size_t each) {
        return found[each].first == first.first && found[each].stop == first.stop;
    });
}

// The points of a spectrum, in place of faulty ones zeros. Sets its state.
static std::vector<float> read_signal(const std::string &name, long long count,
                                      planned_spectrum &spectrum) {
    if (count_points(name) != count)
        throw tool_error(bad_input, name + ": holds " + std::to_string(count_points(name)) +
                                        " points; expected the " + std::to_string(count) +
                                        " of its sidecar");
    std::vector<float> parts(static_cast<std::size_t>(2 * count));
    std::ifstream stream = open_input(name);
    if (!stream.read(reinterpret_cast<char *>(parts.data()), 8 * count))
        throw tool_error(bad_input, name + ": cannot be read; is it yours to read?");
    if (!std::all_of(parts.begin(), parts.end(), [](float v) { return std::isfinite(v); }))
        spectrum.state = signal_state::not_finite;
    else if (std::all_of(parts.begin(), parts.end(), [](float v) { return v == 0.0F; }))
        spectrum.state = signal_state::all_zero;
    if (spectrum.state != signal_state::fit) parts.assign(parts.size(), 0.0F);
    return parts;
}

static void take_shared_window(const engine::shared_stretch_search &search, plan_draft &batch) {
    const auto [first, stop] = search.stretch();
    batch.scale["noise_window"] = {{"first", first},
                                   {"stop", stop},
                                   {"chosen_by", "quietest stretch"},
                                   {"shared_by_spectra", search.spectra()}};
    warn_of_plan("the sidecars name different noise windows; took the quietest stretch of " +
                 std::to_string(search.spectra()) + " spectra together, points " +
                 std::to_string(first) + " to " + std::to_string(stop - 1) +
                 "; look at it before you trust the error bounds");
}

void plan_imported(const plan_options &options, const std::string &work, plan_draft &batch) {
    const std::string &folder = options.input.input;
    const std::vector<imported_signal> found = read_sidecars(folder, batch);
    take_places(found, batch);
    std::vector<std::size_t> origin(found.size());
    std::iota(origin.begin(), origin.end(), std::size_t{0});
    keep_selected(batch, origin, options);
    const bool one_window = shares_window(found, origin);
    engine::shared_stretch_search search;
    part_file file(work + "/spectra.f32");
    for (std::size_t s = 0; s < batch.spectra.size(); ++s) {
        planned_spectrum &spectrum = batch.spectra[s];
        const std::string name = folder + "/" + spectrum.name + ".bin";
        batch.inputs.push_back(name);
        batch.states[name] = file_state(name);
        spectrum.number = static_cast<long long>(s);
        const std::vector<float> parts = read_signal(name, batch.points, spectrum);
        const std::string bytes(reinterpret_cast<const char *>(parts.data()),
                                parts.size() * sizeof(float));
        if (spectrum.state == signal_state::fit && !one_window) search.add(signal_of_bytes(bytes));
        add_spectrum(spectrum, bytes, file);
    }
    file.finish();
    if (!one_window && search.spectra() > 0) take_shared_window(search, batch);
}

} // namespace tools
