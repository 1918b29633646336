// SPDX-License-Identifier: BSD-3-Clause
// written_files.h -- the files of a case in the current folder, of which only those are written
// that the case before left otherwise
#pragma once

#include "support/support.h"

#include "files/base/sha256.h"

#include <filesystem>
#include <map>
#include <string>

namespace fuzz {

typedef std::map<std::string, std::string> folder_files; // contents by name
// What lies in the current folder, by name, so that only what a case changes is written.
inline folder_files &files_there() {
    static folder_files there;
    return there;
}

inline void write_changed(const folder_files &wanted) {
    folder_files &there = files_there();
    std::error_code error;
    for (auto file = there.begin(); file != there.end();) {
        if (!wanted.contains(file->first)) {
            std::filesystem::remove(file->first, error);
            file = there.erase(file);
        } else {
            ++file;
        }
    }
    for (const auto &[name, text] : wanted) {
        const auto known = there.find(name);
        if (known != there.end() && known->second == text) continue;
        support::write_file(name, text);
        there[name] = text;
    }
}

} // namespace fuzz
