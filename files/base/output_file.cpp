// SPDX-License-Identifier: BSD-3-Clause
// output_file.cpp -- result files: nothing lost, nothing half written
#include "files/base/output_file.h"

#include "files/base/file_pile.h"
#include "files/base/tool_error.h"

#include <filesystem>

#include <sys/stat.h>

namespace tools {

static constexpr std::size_t most_open = 256; // descriptors

output_batch::output_batch(const std::vector<std::string> &inputs, bool force) : force_(force) {
    add_inputs(inputs);
}

output_batch::~output_batch() = default;

void output_batch::add_inputs(const std::vector<std::string> &inputs) {
    for (const std::string &input : inputs)
        if (struct stat facts = {}; stat(input.c_str(), &facts) == 0)
            if (inputs_.emplace(std::pair(facts.st_dev, facts.st_ino), input).second)
                states_.emplace(input, file_state(input));
}

void output_batch::refuse_overwriting(const std::string &name) const {
    std::error_code error;
    if (!std::filesystem::exists(std::filesystem::symlink_status(name, error))) return;
    if (!std::filesystem::is_regular_file(name, error)) // a rename would replace a device
        refuse_output(name, "no plain file; expected the name of one");
    if (struct stat facts = {}; stat(name.c_str(), &facts) == 0)
        if (const auto input = inputs_.find({facts.st_dev, facts.st_ino}); input != inputs_.end())
            refuse_output(name, "would overwrite its own input " + input->second +
                                    "; choose another output");
    if (!force_) refuse_output(name, "exists; --force replaces it, or choose another output");
}

void output_batch::add(const output_file &file) {
    refuse_overwriting(file.name);
    part_file part(file.name);
    part.add(file.bytes);
    part.flush();
    if (parts_.size() < most_open) {
        parts_.push_back(std::move(part));
        return;
    }
    std::string folder = std::filesystem::path(file.name).parent_path().string();
    if (folder.empty()) folder = ".";
    std::unique_ptr<file_pile> &pile = piles_[folder];
    if (!pile) pile = std::make_unique<file_pile>(folder);
    pile->add(std::move(part));
}

void output_batch::commit() {
    for (const auto &[input, state] : states_)
        if (file_state(input) != state)
            refuse_input(input, "was changed while it was read; begin again");
    for (part_file &each : parts_)
        each.close(); // all are on the disk before the first has its name
    for (part_file &each : parts_) {
        refuse_overwriting(each.name()); // what is there now
        each.finish();
    }
    parts_.clear();
    for (auto &[folder, pile] : piles_)
        pile->commit([this](const std::string &name) { refuse_overwriting(name); });
    piles_.clear();
}

void write_files(const std::vector<output_file> &files, const std::vector<std::string> &inputs,
                 bool force) {
    output_batch batch(inputs, force);
    for (const output_file &file : files) batch.refuse_overwriting(file.name);
    for (const output_file &file : files) batch.add(file);
    batch.commit();
}

} // namespace tools
