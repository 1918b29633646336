// SPDX-License-Identifier: BSD-3-Clause
// plan_imported.cpp -- the spectra of a batch from the folder that varokel-import filled
#include "varokel-batch/planned_batch.h"

#include "files/base/read_json.h"
#include "files/base/tool_error.h"
#include "files/spectra/signal_file.h"

#include "engine/noise_window.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>

namespace tools {

namespace fs = std::filesystem;

// A place along an axis, from 0 on.
static bool is_place(const nlohmann::ordered_json &item) {
    static constexpr long long most = 1000000;
    return item.is_number_integer() && item.get<long long>() >= 0 && item.get<long long>() <= most;
}

// Whether all sidecars of a folder name one noise window, or that of the first was given by the
// user or the file. What is chosen for one spectrum may hold the lines of another.
static bool shares_window(const std::string &folder, const planned_batch &batch) {
    const auto window_of = [&](const planned_spectrum &spectrum) {
        std::ifstream stream(folder + "/" + spectrum.name + ".json");
        const nlohmann::json items = nlohmann::json::parse(stream, nullptr, false);
        const auto found = items.is_object() ? items.find("noise_window") : items.end();
        return found != items.end() && found->is_object() ? *found : nlohmann::json::object();
    };
    const auto item_of = [](const nlohmann::json &window, const char *name) {
        return window.contains(name) ? window[name] : nlohmann::json();
    };
    const nlohmann::json first = window_of(batch.spectra.front());
    if (item_of(first, "chosen_by") != "quietest stretch") return true;
    return std::all_of(batch.spectra.begin(), batch.spectra.end(), [&](const auto &spectrum) {
        const nlohmann::json own = window_of(spectrum);
        return item_of(own, "first") == item_of(first, "first") &&
               item_of(own, "stop") == item_of(first, "stop");
    });
}

static complex_signal complex_signal_of(const std::vector<float> &parts) {
    complex_signal signal(parts.size() / 2);
    for (std::size_t i = 0; i < signal.size(); ++i)
        signal[i] = {static_cast<double>(parts[2 * i]), static_cast<double>(parts[2 * i + 1])};
    return signal;
}

void plan_imported(const plan_options &options, const std::string &work, planned_batch &batch) {
    const std::string &folder = options.input.input;
    std::vector<std::string> names;
    std::error_code error;
    for (const fs::directory_entry &file : fs::directory_iterator(folder, error))
        if (file.path().extension() == ".bin" &&
            fs::exists(fs::path(file.path()).replace_extension(".json"), error))
            names.push_back(file.path().stem().string());
    if (names.empty())
        throw tool_error(bad_input, folder + ": no NAME.bin with NAME.json; expected the folder "
                                             "that varokel-import filled");
    // 2 before 10
    std::sort(names.begin(), names.end(), [](const std::string &a, const std::string &b) {
        return strverscmp(a.c_str(), b.c_str()) < 0;
    });
    std::vector<std::size_t> origin(names.size());
    bool all_voxels = true, all_indices = true;
    std::vector<std::vector<long long>> voxels, indices;
    for (std::size_t s = 0; s < names.size(); ++s) {
        origin[s] = s;
        refuse_name(names[s], folder + "/" + names[s] + ".bin");
        const metadata sidecar(folder + "/" + names[s] + ".json");
        const nlohmann::ordered_json items = json_of_file(sidecar.file());
        const nlohmann::ordered_json none = nlohmann::ordered_json::object();
        const nlohmann::ordered_json &from =
            items.contains("source") && items["source"].is_object() ? items["source"] : none;
        const auto n = sidecar.positive_integer("points");
        const auto hz = sidecar.positive_number("hz_per_point");
        if (!n || !hz)
            throw tool_error(bad_input, sidecar.file() + ": item points or hz_per_point is "
                                                         "missing; convert the signal again");
        if (s == 0) {
            batch.points = *n;
            axis_of_sidecar(sidecar); // items of the wrong kind are refused here
            take_scale(batch, items);
            batch.source = {{"folder", fs::path(folder).filename().string()}};
        }
        if (*n != batch.points || *hz != batch.scale["hz_per_point"].get<double>())
            throw tool_error(bad_input, sidecar.file() +
                                            ": another number of points or other "
                                            "hertz per point than " +
                                            names.front() +
                                            "; expected one kind of spectra in a "
                                            "batch. Fit them apart");
        all_voxels = all_voxels && from.contains("voxel") && from["voxel"].is_array() &&
                     from["voxel"].size() == 3 &&
                     std::all_of(from["voxel"].begin(), from["voxel"].end(), is_place);
        all_indices = all_indices && from.contains("index") && is_place(from["index"]);
        if (all_voxels) voxels.push_back(from["voxel"].get<std::vector<long long>>());
        if (all_indices) indices.push_back({from["index"].get<long long>()});
        planned_spectrum spectrum;
        spectrum.name = names[s];
        batch.spectra.push_back(spectrum);
        batch.inputs.push_back(folder + "/" + names[s] + ".bin");
    }
    const std::vector<std::vector<long long>> *places = nullptr;
    if (all_voxels) {
        batch.axes = {{"x", 1, true}, {"y", 1, true}, {"z", 1, true}};
        places = &voxels;
    } else if (all_indices) {
        batch.axes = {{"index", 1, false}};
        places = &indices;
    }
    for (std::size_t s = 0; places != nullptr && s < names.size(); ++s) {
        batch.spectra[s].at = (*places)[s];
        for (std::size_t a = 0; a < batch.axes.size(); ++a)
            batch.axes[a].size = std::max(batch.axes[a].size, (*places)[s][a] + 1);
    }
    keep_selected(batch, origin, options);
    const bool one_window = shares_window(folder, batch);
    engine::shared_stretch_search search;
    part_file file(work + "/spectra.f32");
    batch.inputs.clear();
    for (std::size_t s = 0; s < batch.spectra.size(); ++s) {
        planned_spectrum &spectrum = batch.spectra[s];
        const std::string name = folder + "/" + spectrum.name + ".bin";
        batch.inputs.push_back(name);
        spectrum.number = static_cast<long long>(s);
        if (count_points(name) != batch.points)
            throw tool_error(bad_input, name + ": holds " + std::to_string(count_points(name)) +
                                            " points; expected the " +
                                            std::to_string(batch.points) + " of its sidecar");
        std::string bytes(static_cast<std::size_t>(8 * batch.points), '\0');
        std::ifstream stream(name, std::ios::binary);
        if (!stream.read(bytes.data(), static_cast<std::streamsize>(bytes.size())))
            throw tool_error(bad_input, name + ": cannot be read; is it yours to read?");
        std::vector<float> parts(bytes.size() / sizeof(float));
        std::memcpy(parts.data(), bytes.data(), bytes.size());
        if (!std::all_of(parts.begin(), parts.end(), [](float v) { return std::isfinite(v); }))
            spectrum.state = signal_state::not_finite;
        else if (std::all_of(parts.begin(), parts.end(), [](float v) { return v == 0.0F; }))
            spectrum.state = signal_state::all_zero;
        if (spectrum.state != signal_state::fit)
            bytes.assign(bytes.size(), '\0');
        else if (!one_window)
            search.add(complex_signal_of(parts));
        add_spectrum(spectrum, bytes, file);
    }
    file.finish();
    if (one_window || search.spectra() == 0) return;
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

} // namespace tools
