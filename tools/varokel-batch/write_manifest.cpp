// SPDX-License-Identifier: BSD-3-Clause
// write_manifest.cpp -- manifest.json of a plan: the head, then a line of fixed length a spectrum
#include "varokel-batch/write_manifest.h"

#include "files/base/plain_text.h"
#include "files/base/read_json.h"
#include "files/base/sha256.h"
#include "files/base/tool_error.h"
#include "files/batch/plan_head.h"
#include "files/measured/text_items.h"

#include <algorithm>
#include <filesystem>

namespace tools {

namespace fs = std::filesystem;

static long long fits_kept(const std::string &keep, long long spectra) {
    static constexpr long long all_up_to = 1000, worst_beyond = 100;
    if (keep.empty()) return spectra <= all_up_to ? spectra : worst_beyond;
    if (keep == "all") return spectra;
    if (keep == "none") return 0;
    const auto count = keep.starts_with("worst:") ? whole_number_of(keep.substr(6)) : std::nullopt;
    if (!count || *count < 1)
        throw tool_error(wrong_usage, "--keep " + keep + ": expected all, none or worst:N");
    return std::min(*count, spectra);
}

static ordered_json head_of(const plan_options &options, const plan_draft &batch,
                            const start_choice &start, const std::string &work) {
    ordered_json head;
    head["format"] = batch_format;
    head["program"] = "varokel-batch " VAROKEL_VERSION;
    head["command"] = ordered_json::array();
    for (const std::string &word : options.command) head["command"].push_back(json_of_bytes(word));
    head["source"] = batch.source;
    head["scale"] = batch.scale;
    head["points"] = batch.points;
    head["axes"] = ordered_json::array();
    for (const plan_axis &axis : batch.axes) {
        ordered_json item = {{"name", axis.name}, {"size", axis.size}, {"spatial", axis.spatial}};
        if (!axis.seconds.empty()) item["seconds"] = axis.seconds;
        head["axes"].push_back(std::move(item));
    }
    head["grid"] = batch.grid;
    head["values"] = options.values;
    head["method"] = options.method;
    head["entries"] = start.names;
    head["windows"] = start.windows;
    head["derived"] = start.derived;
    head["start_sha256"] = sha256_of_file(work + "/start.par");
    if (!options.peaks.empty()) head["peaks_sha256"] = sha256_of_file(work + "/peaks.txt");
    head["names_sha256"] = sha256_of_file(work + "/names.txt");
    if (!batch.water.is_null()) {
        head["water"] = batch.water;
        head["water_sha256"] = sha256_of_file(work + "/water.f64");
    }
    if (batch.grid) head["voxels_sha256"] = sha256_of_file(work + "/voxels.nii");
    head["sidecar_sha256"] = sha256_of_file(work + "/sidecar.json");
    head["guessed"] = start.guesses;
    head["patterns"] = ordered_json::array();
    for (const std::string &name : start.pattern_files)
        head["patterns"].push_back(
            {{"file", name}, {"sha256", sha256_of_file(work + "/patterns/" + name)}});
    head["inputs"] = ordered_json::array();
    std::vector<std::string> inputs = batch.inputs;
    for (const std::string &each : start.inputs) inputs.push_back(each);
    for (const std::string &each : inputs) {
        head["inputs"].push_back(
            {{"file", json_of_bytes(fs::absolute(each).lexically_normal().string())},
             {"sha256", sha256_of_file(each)},
             {"stamp", stamp_of(each)}});
        const auto before = batch.states.find(each);
        if (before != batch.states.end() && before->second != file_state(each))
            throw tool_error(bad_input, each + ": was changed while it was read; plan again");
    }
    head["keep"] = fits_kept(options.keep, static_cast<long long>(batch.spectra.size()));
    return head;
}

void write_manifest(const plan_options &options, const plan_draft &batch, const start_choice &start,
                    long long blocks, const std::string &work) {
    std::size_t longest = 0;
    sha256 list;
    for (const planned_spectrum &spectrum : batch.spectra) {
        const std::string line = line_of(spectrum);
        longest = std::max(longest, line.size());
        list.add(line.data(), line.size());
    }
    ordered_json head = head_of(options, batch, start, work);
    head["blocks"] = blocks;
    head["line_bytes"] = longest + 2;
    head["count"] = batch.spectra.size();
    head["list_sha256"] = list.digits();
    const std::string name = work + "/manifest.json";
    part_file file(name);
    std::string text = json_text(head, 1, name);
    text.resize(text.rfind('\n')); // the closing brace comes behind the list
    file.add(text + ",\n" + spectra_begin);
    for (std::size_t s = 0; s < batch.spectra.size(); ++s) {
        std::string line = line_of(batch.spectra[s]);
        line += s + 1 < batch.spectra.size() ? "," : " ";
        line.resize(longest + 1, ' ');
        file.add(line + '\n');
    }
    file.add(spectra_end);
    file.finish();
}

} // namespace tools
