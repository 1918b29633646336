// SPDX-License-Identifier: BSD-3-Clause
// plan_draft.h -- what a plan finds in its input, before the manifest is written
#pragma once

#include "files/base/file_identity.h"
#include "files/base/ordered_json.h"
#include "files/base/output_file.h"
#include "files/base/part_file.h"
#include "files/batch/plan_lines.h"

#include "varokel-batch/make_plan.h"

#include <map>
#include <string>
#include <vector>

namespace tools {

// On standard error, behind the program's name.
void warn_of_plan(const std::string &text);

// Everything that becomes the head of the manifest, and where the points come from.
struct plan_draft {
    std::vector<planned_spectrum> spectra;
    std::vector<plan_axis> axes;
    std::vector<std::string> inputs;
    std::map<std::string, std::string> states; // of inputs before they were read (file_state)
    ordered_json scale, source;
    ordered_json water; // as water_reference of a sidecar; null without it
    long long points = 0;
    bool grid = false;
};

// A name that goes into tables, pages and the names of files. Errors: bad_input for any other.
void refuse_name(const std::string &name, const std::string &file);

// The next spectrum of spectra.f32, with its fingerprint. bytes: complex float32. Errors:
// bad_output.
void add_spectrum(planned_spectrum &spectrum, const std::string &bytes, part_file &file);

// Only those of --select. origin: what each spectrum was among all, kept along. Errors:
// wrong_usage.
void keep_selected(plan_draft &batch, std::vector<std::size_t> &origin,
                   const plan_options &options);

// Times of so many places, the first at 0.
std::vector<double> seconds_of(long long places, double step);

// What --time-step says of an axis. Errors: wrong_usage when there is none that it can be.
void take_time_step(plan_draft &batch, const std::string &time_step);

// What all spectra share of a sidecar.
void take_scale(plan_draft &batch, const ordered_json &sidecar);

// The spectra of a file with FIDs, into spectra.f32 of the folder work. Errors: wrong_usage,
// bad_input, bad_output.
void plan_signals(const plan_options &options, const std::string &work, plan_draft &batch);

// Those of the folder that varokel-import filled: NAME.bin with NAME.json. Errors: as above.
void plan_imported(const plan_options &options, const std::string &work, plan_draft &batch);

} // namespace tools
