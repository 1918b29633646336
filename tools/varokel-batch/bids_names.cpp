// SPDX-License-Identifier: BSD-3-Clause
// bids_names.cpp -- the measured files of a BIDS data set, and what results of them are called
#include "varokel-batch/bids_names.h"

#include "files/base/tool_error.h"

#include <algorithm>
#include <set>

namespace tools {

namespace fs = std::filesystem;

// Ending of the measured file, or an empty text.
static std::string ending_of(const std::string &name) {
    for (const char *const ending : {"_svs.nii.gz", "_mrsi.nii.gz", "_svs.nii", "_mrsi.nii"})
        if (name.ends_with(ending)) return ending;
    return "";
}

// "sub-01" and "01" are both understood.
static std::string without(const std::string &label, const std::string &prefix) {
    return label.starts_with(prefix) ? label.substr(prefix.size()) : label;
}

// A folder that is there and cannot be listed is no empty one.
static void refuse_unreadable(const fs::path &place, const std::error_code &error) {
    if (!error || error == std::errc::no_such_file_or_directory ||
        error == std::errc::not_a_directory)
        return;
    throw tool_error(bad_input, place.string() + ": cannot be read (" + error.message() + ")");
}

static std::vector<fs::directory_entry> entries_of(const fs::path &place) {
    std::error_code error;
    std::vector<fs::directory_entry> entries;
    for (fs::directory_iterator at(place, error); !error && at != fs::directory_iterator();
         at.increment(error))
        entries.push_back(*at);
    refuse_unreadable(place, error);
    return entries;
}

static std::vector<fs::path> folders_in(const fs::path &place, const std::string &prefix) {
    std::vector<fs::path> found;
    std::error_code error;
    for (const fs::directory_entry &each : entries_of(place))
        if (each.path().filename().string().starts_with(prefix) && each.is_directory(error))
            found.push_back(each.path());
    std::sort(found.begin(), found.end());
    return found;
}

std::vector<fs::path> measurements(const std::string &data_set,
                                   const std::vector<std::string> &labels,
                                   const std::vector<std::string> &sessions_wanted) {
    std::error_code error;
    if (!fs::is_regular_file(fs::path(data_set) / "dataset_description.json", error))
        throw tool_error(bad_input, data_set + ": no dataset_description.json; expected the top "
                                               "folder of a BIDS data set");
    std::set<std::string> wanted, sessions, seen;
    for (const std::string &label : labels) wanted.insert(without(label, "sub-"));
    for (const std::string &label : sessions_wanted) sessions.insert(without(label, "ses-"));
    std::vector<fs::path> files;
    for (const fs::path &subject : folders_in(data_set, "sub-")) {
        const std::string label = without(subject.filename().string(), "sub-");
        if (!wanted.empty() && !wanted.contains(label)) continue;
        seen.insert(label);
        std::vector<fs::path> places;
        if (sessions.empty()) places.push_back(subject);
        for (const fs::path &session : folders_in(subject, "ses-"))
            if (sessions.empty() || sessions.contains(without(session.filename().string(), "ses-")))
                places.push_back(session);
        for (const fs::path &place : places) {
            std::vector<fs::path> here;
            for (const fs::directory_entry &file : entries_of(place / "mrs"))
                if (!ending_of(file.path().filename().string()).empty()) here.push_back(file);
            std::sort(here.begin(), here.end());
            files.insert(files.end(), here.begin(), here.end());
        }
    }
    for (const std::string &label : wanted)
        if (!seen.contains(label))
            throw tool_error(bad_input, data_set + ": no sub-" + label +
                                            "; expected a participant of the data set");
    if (files.empty())
        throw tool_error(bad_input, data_set + ": no sub-*/[ses-*/]mrs/*_svs.nii[.gz] or "
                                               "*_mrsi.nii[.gz]; expected NIfTI-MRS files");
    return files;
}

measured_name parts_of(const fs::path &file) {
    const std::string name = file.filename().string(), ending = ending_of(name);
    return {name.substr(0, name.size() - ending.size()),
            ending.starts_with("_svs") ? "svs" : "mrsi"};
}

fs::path shared_name(const fs::path &file) {
    return file.parent_path() / parts_of(file).derivative("fit", "");
}

} // namespace tools
