// SPDX-License-Identifier: BSD-3-Clause
// run_provenance.cpp -- where the data and the numbers of a run come from
#include "files/results/run_provenance.h"

#include "files/base/sha256.h"
#include "files/results/run_files.h"
#include "files/spectra/search_limits.h"

#include <filesystem>
#include <set>

namespace tools {

namespace fs = std::filesystem;

void note_provenance(run_result &run, bool hashes) {
    const auto note = [&](const std::string &what, const std::string &value) {
        if (!value.empty()) run.provenance.push_back({what, value});
    };
    note("program", run.program_version);
    note("command", run.command);
    const ordered_json source = run.sidecar.value("source", ordered_json::object());
    if (source.is_object()) {
        for (const char *const item : {"file", "format", "sha256", "index"})
            if (source.contains(item) && !source[item].is_null())
                note(std::string("source ") + item, source[item].is_string()
                                                        ? source[item].get<std::string>()
                                                        : source[item].dump());
    }
    if (!hashes) return;
    std::vector<std::string> hashed = run.files_read;
    // data that were not read, because the search left a copy: of a size that they can have
    static constexpr std::uintmax_t largest = std::uintmax_t{8} * search_limits::points;
    std::error_code error;
    for (const char *const ending : {".bin", ".sdf", ".bin.ref"}) {
        const std::string file = in_folder(run.folder, run.name + ending);
        if (!is_file(file)) continue;
        if (fs::file_size(file, error) <= largest)
            hashed.insert(hashed.begin(), file);
        else
            note("sha256 of " + run.name + ending, "not taken, larger than any spectrum");
    }
    std::set<std::string> seen;
    for (const std::string &file : hashed)
        if (seen.insert(file).second)
            note("sha256 of " + fs::path(file).filename().string(), sha256_of_file(file));
}

} // namespace tools
