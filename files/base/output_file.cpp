// SPDX-License-Identifier: BSD-3-Clause
#include "files/base/output_file.h"

#include "files/base/tool_error.h"

#include <filesystem>
#include <fstream>

#include <unistd.h>

namespace tools {

output_batch::~output_batch() {
    std::error_code ignored;
    for (const part &each : parts_) std::filesystem::remove(each.written, ignored);
}

void output_batch::refuse_overwriting(const std::string &name) const {
    std::error_code error;
    if (!std::filesystem::exists(name, error)) return;
    if (!std::filesystem::is_regular_file(name, error)) // a rename would replace a device
        throw tool_error(bad_output, name + ": no plain file; expected the name of one");
    for (const std::string &input : inputs_)
        if (std::filesystem::equivalent(name, input, error))
            throw tool_error(bad_output, name + ": would overwrite its own input " + input +
                                             "; choose another output");
    if (!force_)
        throw tool_error(bad_output,
                         name + ": exists; --force replaces it, or choose another output");
}

void output_batch::add(const output_file &file) {
    refuse_overwriting(file.name);
    parts_.push_back({file.name + ".part" + std::to_string(getpid()), file.name});
    std::ofstream stream(parts_.back().written, std::ios::binary | std::ios::trunc);
    stream.write(file.bytes.data(), static_cast<std::streamsize>(file.bytes.size()));
    stream.close();
    if (!stream)
        throw tool_error(bad_output, file.name + ": cannot be written; does the folder exist, is "
                                                 "it yours, is the disk full?");
}

void output_batch::commit() {
    std::error_code error;
    for (const part &each : parts_) {
        std::filesystem::rename(each.written, each.name, error);
        if (error)
            throw tool_error(bad_output,
                             each.name + ": cannot be written (" + error.message() + ")");
    }
    parts_.clear();
}

void write_files(const std::vector<output_file> &files, const std::vector<std::string> &inputs,
                 bool force) {
    output_batch batch(inputs, force);
    for (const output_file &file : files) batch.refuse_overwriting(file.name);
    for (const output_file &file : files) batch.add(file);
    batch.commit();
}

} // namespace tools
