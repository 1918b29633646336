// SPDX-License-Identifier: BSD-3-Clause
// finish_fits.cpp -- the exact fit of spectra whose folders are prepared
#include "varokel-fit/finish_fits.h"

#include "files/base/tool_error.h"
#include "files/problem/fit_folder.h"
#include "files/start/read_start_file.h"
#include "common/each_on_threads.h"

#include <filesystem>
#include <fstream>

namespace tools {

namespace fs = std::filesystem;

static void finish(const prepared_fit &fit, bool searched, int starts,
                   engine::model_workspace &workspace) {
    exact_options options;
    options.starts = starts;
    const fs::path search = fs::path(fit.planned.folder) / "compact.par";
    if (searched && fs::is_regular_file(search)) options.search = read_start_file(search.string());
    finish_fit({fit.planned.folder, fit.planned.name}, *fit.start, options, workspace);
}

// The last line that a search without result left.
static std::string last_words(const fs::path &log) {
    std::string last;
    std::ifstream stream(log);
    for (std::string line; std::getline(stream, line);)
        if (line.find_first_not_of(" \t\r*") != std::string::npos) last = line;
    return last.empty() ? "it said nothing" : last;
}

void finish_fits(std::vector<prepared_fit> &fits, bool searched, int starts, int jobs) {
    const std::size_t threads = static_cast<std::size_t>(jobs);
    std::vector<engine::model_workspace> workspaces(threads);
    each_on_threads(fits.size(), threads, [&](std::size_t i, std::size_t thread) {
        if (!fits[i].start) return;
        const fs::path folder(fits[i].planned.folder);
        if (searched && !fs::is_regular_file(folder / "compact.par"))
            fits[i].search_failed = last_words(folder / "run.log");
        try {
            finish(fits[i], searched, starts, workspaces[thread]);
        } catch (const tool_error &error) {
            if (error.status() == bad_output) throw;
            fits[i].not_exact = error.what();
            if (!searched) fits[i].planned.why_not = error.what();
        }
    });
}

} // namespace tools
