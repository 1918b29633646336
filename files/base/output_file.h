// SPDX-License-Identifier: BSD-3-Clause
// output_file.h -- result files: nothing lost, nothing half written
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace tools {

struct output_file {
    std::string name;
    std::string bytes;
};

// Several result files that appear together: each is written under another name beside its place,
// and all are renamed at the end, so that a reader never meets half of one.
class output_batch {
  public:
    // inputs: files that were read; none of them is ever overwritten. force: existing files are
    // replaced.
    output_batch(std::vector<std::string> inputs, bool force)
        : inputs_(std::move(inputs)), force_(force) {}
    output_batch(const output_batch &) = delete;
    output_batch &operator=(const output_batch &) = delete;
    ~output_batch(); // what was not committed is removed

    // Errors: bad_output when the file exists and force is false, when it is one of the inputs,
    // or is no plain file.
    void refuse_overwriting(const std::string &name) const;
    // Errors: as refuse_overwriting, and when the file cannot be written.
    void add(const output_file &file);
    // Errors: bad_output when one cannot be renamed; those before it are in place.
    void commit();

  private:
    struct part {
        std::string written, name;
    };
    std::vector<std::string> inputs_;
    bool force_;
    std::vector<part> parts_;
};

// All files as one batch; nothing is written before all names were found free.
void write_files(const std::vector<output_file> &files, const std::vector<std::string> &inputs,
                 bool force);

} // namespace tools
