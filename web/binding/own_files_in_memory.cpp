// SPDX-License-Identifier: BSD-3-Clause
// own_files_in_memory.cpp -- part files where nobody else writes and no signal comes
//
// The module's files are storage of its own, which ends with it; a file appears as a whole because
// nothing runs beside the call that writes it. Stands in for files/base/own_files.cpp.
#include "files/base/own_files.h"

#include "files/base/tool_error.h"
#include "web/binding/module_calls.h"

#include <fstream>
#include <utility>

namespace tools {

owned_path::owned_path(owned_path &&other) noexcept : slot_(std::exchange(other.slot_, nullptr)) {}
owned_path &owned_path::operator=(owned_path &&other) noexcept {
    slot_ = std::exchange(other.slot_, nullptr);
    return *this;
}
void owned_path::remove() noexcept {}
void owned_path::release() noexcept {}

part_file::part_file(std::string name, std::string what_now)
    : name_(std::move(name)), what_now_(std::move(what_now)) {
    static double made = 0.0;
    if (name_.ends_with(".bin")) web::say_progress(++made, 0.0);
}

void part_file::refuse(int) const {
    throw tool_error(bad_output, name_ + ": cannot be written; is the storage full?" + what_now_);
}

void part_file::add(std::string_view bytes) {
    bytes_ += bytes;
}
void part_file::flush() {}
void part_file::close() {}

void part_file::finish() {
    std::ofstream stream(name_, std::ios::binary);
    stream << bytes_;
    stream.close();
    if (!stream) refuse(0);
    bytes_ = std::string();
}

} // namespace tools
