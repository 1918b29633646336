// SPDX-License-Identifier: BSD-3-Clause
// report_places.cpp -- which spectra a report is about, and what it calls them
#include "varokel-report/report_places.h"

#include "files/base/natural_order.h"
#include "files/base/tool_error.h"
#include "files/results/run_files.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <map>
#include <set>

namespace tools {

namespace fs = std::filesystem;

static std::vector<report_place> all_places(const std::string &folder) {
    std::error_code error;
    if (!fs::is_directory(folder, error))
        throw tool_error(bad_input, folder + ": no such folder; expected the folder of a fit");
    std::vector<report_place> places;
    for (const std::string &name : spectra_of_folder(folder))
        places.push_back({folder, name, name});
    if (!places.empty()) return places;
    std::vector<std::string> folders;
    for (const fs::directory_entry &entry : fs::directory_iterator(folder, error))
        if (entry.is_directory(error)) folders.push_back(entry.path().string());
    std::sort(folders.begin(), folders.end(), in_natural_order);
    for (const std::string &each : folders)
        for (const std::string &name : spectra_of_folder(each))
            places.push_back({each, name, name});
    return places;
}

static void show_folders_of_doubles(std::vector<report_place> &places) {
    std::map<std::string, int> named, shown;
    for (const report_place &place : places) ++named[place.name];
    for (report_place &place : places) {
        if (named[place.name] > 1)
            place.shown = fs::path(place.folder).filename().string() + "." + place.name;
        if (++shown[place.shown] > 1)
            throw tool_error(bad_input, place.folder + ": two spectra would be called " +
                                            place.shown +
                                            "; rename a folder, or choose others "
                                            "with --spectrum");
    }
}

[[noreturn]] static void refuse_spectrum(const std::string &name, const std::string &folder) {
    throw tool_error(bad_input, folder + ": no spectrum " + name + "; expected " + name + ".exl");
}

// In the order in which they were named.
static std::vector<report_place> chosen_places(const std::vector<report_place> &all,
                                               const std::vector<std::string> &chosen,
                                               const std::string &folder) {
    std::vector<report_place> places;
    std::set<std::string> seen;
    for (const std::string &name : chosen) {
        if (!seen.insert(name).second) continue;
        const std::size_t before = places.size();
        std::copy_if(all.begin(), all.end(), std::back_inserter(places),
                     [&](const report_place &place) { return place.name == name; });
        if (places.size() == before) refuse_spectrum(name, folder);
    }
    return places;
}

std::vector<report_place> report_places(const std::string &folder,
                                        const std::vector<std::string> &chosen) {
    std::vector<report_place> places = all_places(folder);
    if (places.empty() && chosen.empty())
        throw tool_error(bad_input, folder + ": no results in it; expected the files of a fit, "
                                             "NAME.exl, NAME.org, NAME.fit and NAME.res");
    if (!chosen.empty()) places = chosen_places(places, chosen, folder);
    show_folders_of_doubles(places);
    return places;
}

} // namespace tools
