// SPDX-License-Identifier: BSD-3-Clause
// bids_names.h -- the measured files of a BIDS data set, and what results of them are called
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace tools {

// A measured file, by the parts of its name.
struct measured_name {
    std::string base, suffix; // sub-01_acq-csi, mrsi
    std::string derivative(const std::string &description, const std::string &extension) const {
        return base + "_desc-" + description + "_" + suffix + extension;
    }
};

measured_name parts_of(const std::filesystem::path &file);

// What the derivatives of a measured file are called after.
std::filesystem::path shared_name(const std::filesystem::path &file);

// sub-*/[ses-*/]mrs/*_svs.nii[.gz] and *_mrsi.nii[.gz], in the order of their names; of the labels
// and sessions named, with or without sub- and ses-, or all. Errors: bad_input when there are none,
// for a label that is not there, for a folder that is no data set, and for one that cannot be read.
std::vector<std::filesystem::path> measurements(const std::string &data_set,
                                                const std::vector<std::string> &labels,
                                                const std::vector<std::string> &sessions);

} // namespace tools
