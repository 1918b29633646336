// SPDX-License-Identifier: BSD-3-Clause
// batch_plan.h -- the manifest of a batch: which spectra, from where, fitted how
//
// run/manifest.json is one JSON document that is written so that it can be read by pieces: the head
// comes first, then one spectrum a line, all lines of one length. A shard reads its own lines only.
#pragma once

#include "files/spectra/metadata.h"
#include "files/start/start_file.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tools {

// By what the spectra are fitted: the fitter's search alone, the engine's optimum alone, or the
// search and then the optimum from its end and from the start values.
enum class fit_method { classic, exact, both };
const char *name_of(fit_method method);
// None for another word.
std::optional<fit_method> method_named(const std::string &name);

// What plan found in the points of a spectrum. Only those that are to be fitted are.
enum class signal_state { fit, all_zero, not_finite };

struct planned_spectrum {
    long long number = 0;      // place among the spectra of the batch, and in spectra.f32
    std::string name;          // of the output of varokel-import
    std::vector<long long> at; // along the axes of the plan
    signal_state state = signal_state::fit;
    long long block = 0; // neighbours are looked for within it
    int wave = 0;        // those of earlier waves of the block may be its neighbours
    std::string sha256;  // of its points in spectra.f32
};

struct plan_axis {
    std::string name; // "x", "DIM_DYN"
    long long size = 1;
    bool spatial = false;
};

// A file that a plan was made from.
struct planned_input {
    std::string file, sha256;
    nlohmann::ordered_json stamp; // as stamp_of has it
};

// manifest.json, open and locked: runs and merges share the lock, and a new plan in the same folder
// needs it alone. Lines are read from the file that was locked, whatever its name stands for later.
class manifest_file {
  public:
    // Errors: bad_input when there is none; bad_output when a new plan is being put in its place.
    explicit manifest_file(const std::string &name);
    manifest_file(const manifest_file &) = delete;
    manifest_file &operator=(const manifest_file &) = delete;
    ~manifest_file();
    // Waits for nothing. false when somebody works with the plan.
    bool lock_alone();
    // false when the file ends before.
    bool read(char *bytes, std::size_t count, long long at) const;
    long long size() const;
    const std::string &name() const { return name_; }

  private:
    std::string name_;
    int file_ = -1;
};

// A plan as its reader leaves it: every number within its bounds, every name a plain one, and every
// file of it with the digest that the manifest states.
struct batch_plan {
    std::string folder; // run/
    std::string id;     // sha256 of the head: parts of another plan are refused
    std::shared_ptr<manifest_file> file_read;
    nlohmann::ordered_json head;
    start_file start; // run/start.par, with the windows of the head
    long long spectra = 0, blocks = 0, points = 0;
    long long list_begin = 0, line_bytes = 0; // of the list of spectra
    std::string list_sha256;
    std::string values; // same, estimate or neighbour
    fit_method method = fit_method::exact;
    std::vector<plan_axis> axes;
    std::vector<std::string> entry_names;
    std::vector<std::string> pattern_files; // in run/patterns/
    std::vector<planned_input> inputs;
    spectrum_axis scale;
    bool grid = false;  // there is run/voxels.nii
    long long keep = 0; // fits kept for pictures: the worst so many; all when it is `spectra`

    std::string file(const std::string &name) const { return folder + "/" + name; }
    long long voxels() const; // product of the sizes of the axes
};

// The lines of the manifest, one at a time or by number.
class plan_lines {
  public:
    // Reads all of them once: each spectrum has a number and a name of its own and a place on the
    // axes, blocks follow one another, waves in them rise, and the digest of the list is that of
    // the head. Errors: bad_input.
    explicit plan_lines(const batch_plan &plan);
    // Errors: bad_input when the line is not as plan wrote it.
    planned_spectrum read(long long line) const;

  private:
    std::string text_of(long long line) const;
    planned_spectrum parse(const std::string &text, long long line) const;
    const batch_plan &plan_;
};

// A line of the manifest, without the comma and the blanks that fill it up.
std::string line_of(const planned_spectrum &spectrum);

// Reads head and start file, and finds out whether they and all other files of the plan are what
// plan wrote. Errors: bad_input, with what to do.
batch_plan read_plan(const std::string &folder);

// A plan that another is to replace, of this version or an earlier one; locked alone.
struct replaced_plan {
    // Errors: bad_output when the manifest is not one of ours, and when somebody works with it.
    explicit replaced_plan(const std::string &folder);
    std::shared_ptr<manifest_file> file;
    std::vector<std::string> entry_names, pattern_files; // only plain names
};

// 64 hexadecimal digits.
bool is_digest(const std::string &text);

// The version of the files of a batch that this program writes and reads.
static constexpr int batch_format = 3;

// The inputs that a plan was made from are compared with it: a file whose size or time differs is
// hashed. Errors: bad_input when one holds something else now. A file that is not there any more is
// no error: all that a fit needs is in the folder of the plan. Returns the names of those.
std::vector<std::string> check_inputs(const batch_plan &plan);

// Size and time of a file as the manifest has them; nothing when it is not there.
nlohmann::ordered_json stamp_of(const std::string &file);

// First line and line behind the last of shard i of n: whole blocks, as even as they come.
std::pair<long long, long long> lines_of_shard(const batch_plan &plan, const plan_lines &lines,
                                               long long shard, long long shards);

} // namespace tools
