// SPDX-License-Identifier: BSD-3-Clause
// find_program.cpp -- where the programs that a program starts are
#include "common/find_program.h"

#include "files/base/tool_error.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>

#include <unistd.h>

namespace tools {

namespace fs = std::filesystem;

bool is_program(const std::string &file) {
    std::error_code error;
    return fs::is_regular_file(file, error) && access(file.c_str(), X_OK) == 0;
}

std::string find_program(const std::string &name) {
    std::error_code error;
    const fs::path own = fs::read_symlink("/proc/self/exe", error);
    if (!error && is_program(own.parent_path() / name)) return (own.parent_path() / name).string();
    const char *const variable = std::getenv("PATH");
    const std::string path = variable == nullptr ? "" : variable;
    for (std::size_t at = 0; at <= path.size();) {
        const std::size_t end = std::min(path.find(':', at), path.size());
        const fs::path folder = path.substr(at, end - at);
        if (!folder.empty() && is_program(folder / name))
            return fs::absolute(folder / name).string();
        at = end + 1;
    }
    return "";
}

std::string find_fitter(const std::string &given) {
    if (!given.empty()) {
        if (!is_program(given))
            throw tool_error(bad_input, given + ": no program that can be started; expected the "
                                                "fitter varokel");
        return fs::absolute(given).string();
    }
    const std::string found = find_program("varokel");
    if (found.empty())
        throw tool_error(bad_input, "the fitter varokel is neither beside this program nor in "
                                    "PATH; --varokel FILE names it");
    return found;
}

} // namespace tools
