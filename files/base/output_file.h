// SPDX-License-Identifier: BSD-3-Clause
// output_file.h -- result files: nothing lost, nothing half written
#pragma once

#include "files/base/part_file.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace tools {

struct output_file {
    std::string name;
    std::string bytes;
};

class file_pile;

// Several result files that appear together: each is written under another name beside its place,
// and all are renamed at the end, so that a reader never meets half of one. What is held does not
// grow with their number: those beyond the first few hundred lie in a hidden folder beside their
// place.
class output_batch {
  public:
    // inputs: files that are going to be read; none of them is ever overwritten, and none may have
    // changed by the time of commit. force: existing files are replaced.
    output_batch(const std::vector<std::string> &inputs, bool force);
    output_batch(const output_batch &) = delete;
    output_batch &operator=(const output_batch &) = delete;
    ~output_batch(); // what was not committed is removed

    // Files that were read, too. What is not there is left out.
    void add_inputs(const std::vector<std::string> &inputs);
    // Errors: bad_output when the file exists and force is false, when it is one of the inputs,
    // or is no plain file.
    void refuse_overwriting(const std::string &name) const;
    // Errors: as refuse_overwriting, and when the file cannot be written.
    void add(const output_file &file);
    // Errors: bad_input when an input is not what it was; bad_output when a file cannot be renamed:
    // those before it are in place.
    void commit();

  private:
    std::map<std::pair<std::uint64_t, std::uint64_t>, std::string> inputs_; // by device and inode
    std::map<std::string, std::string> states_;                             // of inputs
    bool force_;
    std::vector<part_file> parts_;
    std::map<std::string, std::unique_ptr<file_pile>> piles_; // by folder
};

// All files as one batch; nothing is written before all names were found free.
void write_files(const std::vector<output_file> &files, const std::vector<std::string> &inputs,
                 bool force);

} // namespace tools
