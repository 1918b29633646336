// SPDX-License-Identifier: BSD-3-Clause
#include "common/output_file.h"

#include "common/tool_error.h"

#include <filesystem>
#include <fstream>

#include <unistd.h>

namespace tools {

static void refuse_overwriting(const output_file &file, const std::vector<std::string> &inputs,
                               bool force) {
    std::error_code error;
    if (!std::filesystem::exists(file.name, error)) return;
    if (!std::filesystem::is_regular_file(file.name, error)) // a rename would replace a device
        throw tool_error(bad_output, file.name + ": no plain file; expected the name of one");
    for (const std::string &input : inputs)
        if (std::filesystem::equivalent(file.name, input, error))
            throw tool_error(bad_output, file.name + ": would overwrite its own input " + input +
                                             "; choose another output");
    if (!force)
        throw tool_error(bad_output, file.name + ": exists; --force replaces it, or choose another "
                                                 "output");
}

void write_files(const std::vector<output_file> &files, const std::vector<std::string> &inputs,
                 bool force) {
    for (const output_file &file : files) refuse_overwriting(file, inputs, force);

    std::vector<std::string> parts; // written, not yet renamed
    const auto remove_parts = [&] {
        std::error_code ignored;
        for (const std::string &part : parts) std::filesystem::remove(part, ignored);
    };
    for (const output_file &file : files) {
        parts.push_back(file.name + ".part" + std::to_string(getpid()));
        std::ofstream stream(parts.back(), std::ios::binary | std::ios::trunc);
        stream.write(file.bytes.data(), static_cast<std::streamsize>(file.bytes.size()));
        stream.close();
        if (!stream) {
            remove_parts();
            throw tool_error(bad_output, file.name + ": cannot be written; does the folder exist, "
                                                     "is it yours, is the disk full?");
        }
    }
    for (std::size_t i = 0; i < files.size(); ++i) {
        std::error_code error;
        std::filesystem::rename(parts[i], files[i].name, error);
        if (error) {
            remove_parts();
            throw tool_error(bad_output,
                             files[i].name + ": cannot be written (" + error.message() + ")");
        }
    }
}

} // namespace tools
