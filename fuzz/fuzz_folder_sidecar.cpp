// SPDX-License-Identifier: BSD-3-Clause
// fuzz_folder_sidecar.cpp -- the JSON beside a signal, changed item by item
//
// Once as the sidecar of a spectrum, as varokel-import leaves it, and once as what stands beside an
// FID that is to be imported. What comes out is within its bounds.
#include "edits.h"
#include "import_reader.h"

#include "files/spectra/spectrum_axis.h"
#include "files/start/spectrum_facts.h"

using fuzz::edit_bytes;
using fuzz::expect;
using tools::ordered_json;

static ordered_json whole_sidecar() {
    return {{"signal", "a.bin"},
            {"points", 64},
            {"hz_per_point", 2.0},
            {"dwell_time_s", 0.0078125},
            {"spectrometer_mhz", 51.7},
            {"ppm_at_carrier", 4.7},
            {"ppm_rises_with_points", false},
            {"nucleus", "31P"},
            {"begin_time_s", 0.001},
            {"phi_1_degrees", 46.0},
            {"measured_points", 60},
            {"resized", {{"from", 60}, {"to", 64}}},
            {"noise_window", {{"first", 2}, {"stop", 12}, {"chosen_by", "option"}}},
            {"fit_interval_points", {3, 60}},
            {"reference_peak", {{"ppm", 2.0}, {"text", "found"}}},
            {"source", {{"file", "a.nii"}, {"voxel", {1, 2, 3}}, {"index", 4}}},
            {"guessed", {{{"item", "ppm_at_carrier"}, {"value", 4.7}, {"reason", "none"}}}},
            {"warnings", {"one", "two"}}};
}

static ordered_json whole_metadata() {
    return {{"n_points", 16},
            {"n_spectra", 2},
            {"dwell_time_s", 0.001},
            {"dead_time_s", 0.001},
            {"spectrometer_MHz", 51.7},
            {"ppm_at_carrier", 0.0},
            {"ppm_rises_with_points", true},
            {"begin_time_s", 0.001},
            {"metabolite_interval_points", {2, 14}},
            {"nucleus", "31P"},
            {"noise_only_points", {1, 4}},
            {"fit_interval_points", {0, 15}}};
}

static void check_sidecar(const std::string &text) {
    const tools::metadata sidecar = tools::metadata::of_text(text, "signal.json");
    const tools::spectrum_facts facts = tools::facts_of_sidecar(sidecar);
    expect(facts.points >= 1 && facts.points <= 1 << 24);
    expect(facts.hz_per_point > 0.0 && std::isfinite(facts.hz_per_point));
    expect(!facts.mhz || (*facts.mhz > 0.0 && std::isfinite(*facts.mhz)));
    expect(std::isfinite(facts.phi_1));
    if (facts.noise) expect(facts.noise->first >= 0 && facts.noise->first <= facts.noise->second);
    const tools::spectrum_axis axis = tools::axis_of_sidecar(sidecar);
    expect(!axis.mhz || *axis.mhz > 0.0);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    if (size < 1 || size > 4096) return 0;
    fuzz::enter_folder();
    edit_bytes bytes(data, size);
    const bool as_metadata = bytes.below(2) == 1;
    ordered_json items = as_metadata ? whole_metadata() : whole_sidecar();
    const bool edited = bytes.more();
    for (int edits = 0; bytes.more() && edits < 8; ++edits) fuzz::edit_json(items, bytes);
    const std::string text = items.dump();
    if (as_metadata) {
        static const bool has_signal = [] {
            support::write_signal("fid.f32", std::vector<double>(32, 1.0),
                                  std::vector<double>(32, 0.5));
            return true;
        }();
        expect(has_signal);
        support::write_file("fid.json", text);
        fuzz::import_file("fid.f32", "float32");
        return 0;
    }
    try {
        check_sidecar(text);
    } catch (const tools::tool_error &error) {
        expect(edited && error.status() == tools::bad_input);
    }
    return 0;
}
