// SPDX-License-Identifier: BSD-3-Clause
// batch_plan.h -- the manifest of a batch: which spectra, from where, fitted how
//
// run/manifest.json is one JSON document that is written so that it can be read by pieces: the head
// comes first, then one spectrum a line, all lines of one length. A shard reads its own lines only.
#pragma once

#include "files/base/file_descriptor.h"
#include "files/base/ordered_json.h"
#include "files/batch/error_correlations.h"
#include "files/spectra/spectrum_axis.h"
#include "files/start/fit_method.h"
#include "files/start/start_file.h"

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace tools {

// manifest.json, open and locked: runs and merges share the lock, and a new plan in the same folder
// needs it alone. Lines are read from the file that was locked, whatever its name stands for later.
class manifest_file {
  public:
    // Errors: bad_input when there is none; bad_output when a new plan is being put in its place.
    explicit manifest_file(const std::string &name);
    // Waits for nothing. false when somebody works with the plan.
    bool lock_alone();
    // false when the file ends before.
    bool read(std::span<char> bytes, long long at) const { return file_.read_at(bytes, at); }
    long long size() const;
    const std::string &name() const { return name_; }

  private:
    std::string name_;
    file_descriptor file_;
};

struct plan_axis {
    std::string name; // "x", "DIM_DYN"
    long long size = 1;
    bool spatial = false;
    std::vector<double> seconds = {}; // of its places; empty where they are not known
};

// A file that a plan was made from.
struct planned_input {
    std::string file, sha256;
    ordered_json stamp; // as stamp_of has it
};

// A plan as its reader leaves it: every number within its bounds, every name a plain one, and every
// file of it with the digest that the manifest states.
struct batch_plan {
    std::string folder; // run/
    std::string id;     // sha256 of the head: parts of another plan are refused
    std::shared_ptr<manifest_file> file_read;
    ordered_json head;
    start_file start;     // run/start.par, with the windows of the head
    record_shape records; // of its fits
    long long spectra = 0, blocks = 0, points = 0;
    long long list_begin = 0, line_bytes = 0; // of the list of spectra
    std::string list_sha256;
    std::string values; // same, estimate or neighbour
    fit_method method = fit_method::exact;
    std::vector<plan_axis> axes;
    std::vector<std::string> entry_names;
    std::vector<std::string> derived; // of the table of peaks, as files/results/derived_area.h
    std::vector<std::string> pattern_files; // in run/patterns/
    std::vector<planned_input> inputs;
    spectrum_axis scale;
    bool grid = false;  // there is run/voxels.nii
    long long keep = 0; // fits kept for pictures: the worst so many; all when it is `spectra`

    std::string file(const std::string &name) const { return folder + "/" + name; }
    bool has_amounts() const { return head.contains("water"); } // by a water reference
};

// Reads head and start file, and finds out whether they and all other files of the plan are what
// plan wrote. Errors: bad_input, with what to do.
batch_plan read_plan(const std::string &folder);

// 64 hexadecimal digits.
bool is_digest(const std::string &text);

// The version of the files of a batch that this program writes and reads.
// 4: records hold the correlations of the errors, axes their coordinates, heads what to derive.
static constexpr int batch_format = 4;

// The inputs that a plan was made from are compared with it: a file whose size or time differs is
// hashed. Errors: bad_input when one holds something else now. A file that is not there any more is
// no error: all that a fit needs is in the folder of the plan. Returns the names of those.
std::vector<std::string> check_inputs(const batch_plan &plan);

// Size and time of a file as the manifest has them; nothing when it is not there.
ordered_json stamp_of(const std::string &file);

// A plan that another is to replace, of this version or an earlier one; locked alone.
struct replaced_plan {
    // Errors: bad_output when the manifest is not one of ours, and when somebody works with it.
    explicit replaced_plan(const std::string &folder);
    std::shared_ptr<manifest_file> file;
    std::vector<std::string> entry_names, pattern_files; // only plain names
};

} // namespace tools
