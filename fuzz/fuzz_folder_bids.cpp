// SPDX-License-Identifier: BSD-3-Clause
// fuzz_folder_bids.cpp -- any tree of files, folders and links as a BIDS data set
//
// What is found lies in the data set by its name, is called as a measurement is, and the name of
// what is derived from it is a plain one. A folder that cannot be read as a data set is an error.
#include "edits.h"
#include "fuzz_reader.h"

#include "files/base/tool_error.h"
#include "varokel-batch/bids_names.h"

#include <algorithm>
#include <filesystem>
#include <set>

namespace fs = std::filesystem;
using fuzz::edit_bytes;
using fuzz::expect;

static std::string part_of(edit_bytes &bytes) {
    static const char *const parts[] = {"sub-01",
                                        "sub-02",
                                        "ses-1",
                                        "ses-",
                                        "mrs",
                                        "sub-",
                                        "sub-01_svs.nii.gz",
                                        "sub-01_ses-1_acq-csi_mrsi.nii",
                                        "_svs.nii.gz",
                                        "_mrsi.nii",
                                        "sub-01_svs.nii",
                                        "sub-\n_svs.nii",
                                        "-o_svs.nii",
                                        "$(x)_svs.nii.gz",
                                        "sub-01_svs.json",
                                        "sub-\xff",
                                        "dataset_description.json",
                                        "derivatives"};
    const std::size_t which = bytes.below(std::size(parts) + 1);
    if (which < std::size(parts)) return parts[which];
    std::string any = bytes.raw(20);
    std::erase_if(any, [](char c) { return c == '/' || c == '\0'; });
    return any == "." || any == ".." ? "" : any;
}

static fs::path place_of(edit_bytes &bytes) {
    static const char *const usual[] = {"sub-01/mrs", "sub-01/ses-1/mrs", "sub-02/mrs", ""};
    fs::path place(usual[bytes.below(std::size(usual))]);
    for (std::size_t depth = bytes.below(3); depth > 0; --depth)
        if (const std::string part = part_of(bytes); !part.empty()) place /= part;
    return place;
}

// The part of a path that is there leads nowhere but into the data set, whatever links it has.
static bool is_inside(const fs::path &place, const fs::path &top) {
    std::error_code error;
    const fs::path led = fs::weakly_canonical(place, error);
    return !error &&
           std::mismatch(top.begin(), top.end(), led.begin(), led.end()).first == top.end();
}

// A file, a folder or a link, with the folders above it. What is in the way stays.
static void make_entry(const fs::path &root, edit_bytes &bytes) {
    const fs::path place = root / place_of(bytes);
    const std::string name = part_of(bytes);
    static const fs::path top = fs::canonical(root);
    if (name.empty() || !is_inside(place, top)) return;
    std::error_code error;
    fs::create_directories(place, error);
    static const char *const targets[] = {"..", ".", "nowhere", "../../outside", "sub-01", "mrs"};
    switch (bytes.below(6)) {
    case 0:
        fs::create_directory(place / name, error);
        return;
    case 1:
        fs::create_symlink(targets[bytes.below(std::size(targets))], place / name, error);
        return;
    case 2:
        fs::create_symlink(name, place / name, error); // to itself
        return;
    default:
        if (!fs::is_directory(place, error) || fs::exists(fs::symlink_status(place / name, error)))
            return;
        if (std::FILE *file = std::fopen((place / name).c_str(), "wbx")) std::fclose(file);
    }
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    if (size > 4096) return 0;
    fuzz::enter_folder();
    const fs::path root("set");
    std::error_code error;
    fs::remove_all(root, error);
    fs::create_directories(root, error);
    edit_bytes bytes(data, size);
    const std::size_t how = bytes.next();
    if ((how & 1U) == 0) support::write_file("set/dataset_description.json", "{}");
    std::vector<std::string> labels, sessions;
    if ((how & 2U) != 0) labels = {"01", part_of(bytes)};
    if ((how & 4U) != 0) sessions = {"1"};
    for (int entries = 0; bytes.more() && entries < 12; ++entries) make_entry(root, bytes);
    try {
        const std::vector<fs::path> found = tools::measurements("set", labels, sessions);
        expect(!found.empty());
        std::set<fs::path> different;
        for (const fs::path &file : found) {
            expect(different.insert(file).second);
            const fs::path inside = file.lexically_relative(root);
            const auto depth = std::distance(inside.begin(), inside.end());
            expect(inside.lexically_normal() == inside && (depth == 3 || depth == 4));
            expect(inside.begin()->string().starts_with("sub-"));
            expect(file.parent_path().filename() == "mrs");
            const tools::measured_name parts = tools::parts_of(file);
            expect(parts.suffix == "svs" || parts.suffix == "mrsi");
            expect(parts.derivative("fit", ".tsv").find('/') == std::string::npos);
            expect(tools::shared_name(file).parent_path() == file.parent_path());
            if (!labels.empty())
                expect(std::any_of(labels.begin(), labels.end(), [&](const std::string &label) {
                    return inside.begin()->string() == "sub-" + label ||
                           inside.begin()->string() == label;
                }));
        }
    } catch (const tools::tool_error &fault) {
        expect(fault.status() == tools::bad_input);
    }
    return 0;
}
