// SPDX-License-Identifier: BSD-3-Clause
// fit_folder.cpp -- the exact fit of a spectrum whose files stand in a folder
#include "files/problem/fit_folder.h"

#include "files/base/pattern_name.h"
#include "files/base/tool_error.h"
#include "files/spectra/signal_file.h"
#include "files/start/show_start.h"

#include <filesystem>
#include <fstream>

namespace tools {

namespace fs = std::filesystem;

void write_text(const fs::path &file, const std::string &text) {
    std::ofstream stream(file, std::ios::binary);
    stream << text;
    stream.close();
    if (!stream) refuse_output(file.string(), "cannot be written; is the disk full?");
}

static std::string signal_of(const folder_of_fit &of) {
    return (fs::path(of.folder) / (of.name + ".bin")).string();
}

start_result prepare_fit(const folder_of_fit &of, start_maker &maker, const std::string &peaks) {
    const fs::path folder(of.folder);
    const spectrum_facts facts =
        facts_of_sidecar(metadata((folder / (of.name + ".json")).string()));
    start_result made = maker.make(read_points(signal_of(of), 0, facts.points), facts);
    pattern_names patterns(of.name);
    for (start_entry &entry : made.start.entries)
        if (!entry.pattern_file.empty())
            entry.pattern_file = patterns.name_for(find_pattern_file(peaks, entry.pattern_file));
    for (const auto &[name, source] : patterns.files()) {
        // the fit opens patterns from its working folder, for update
        fs::copy_file(source, folder / name);
        fs::permissions(folder / name, fs::perms::owner_read | fs::perms::owner_write);
    }
    write_text(folder / "start.par", made.text());
    write_text(folder / "names.txt", names_text(made.start));
    return made;
}

exact_result finish_fit(const folder_of_fit &of, const start_file &start,
                        const exact_options &options, engine::model_workspace &workspace) {
    const fs::path folder(of.folder);
    problem_data data;
    data.spectrum = read_points(signal_of(of), 0, start.points);
    data.noise_sd = noise_sd_of(start, data.spectrum);
    data.patterns = patterns_of(start, {of.folder});
    if (start.fit_mode == 2)
        data.measured_lineshape = read_points(signal_of(of) + ".ref", 0, start.points);
    exact_options how = options;
    how.begin_time_unknown =
        !metadata((folder / (of.name + ".json")).string()).number("begin_time_s").has_value();
    exact_result result = fit_exactly(start, std::move(data), workspace, how);
    std::vector<std::string> remarks;
    for (std::size_t k = 0; k < start.entries.size(); ++k)
        remarks.push_back("entry " + std::to_string(k + 1) + " " + start.entries[k].name);
    write_text(folder / "result.par", version_3_text(result.result, remarks));
    write_text(folder / "optimum.json", optimum_text(result.record));
    return result;
}

} // namespace tools
