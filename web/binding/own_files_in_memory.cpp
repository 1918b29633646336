// SPDX-License-Identifier: BSD-3-Clause
// own_files_in_memory.cpp -- part files where nobody else writes and no signal comes
//
// The module's files are storage of its own, which ends with it; a file appears as a whole because
// nothing runs beside the call that writes it. Stands in for own_files.cpp, file_pile.cpp and
// held_text.cpp of files/base/.
#include "files/base/file_identity.h"
#include "files/base/file_pile.h"
#include "files/base/held_text.h"
#include "files/base/own_files.h"
#include "files/base/part_file.h"
#include "files/base/tool_error.h"
#include "web/binding/module_calls.h"

#include <fstream>
#include <ostream>
#include <utility>
#include <vector>

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
    refuse_output(name_, "cannot be written; is the storage full?" + what_now_);
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

std::string file_state(const std::string &) {
    return "";
}

struct file_pile::content {
    std::vector<part_file> files;
};
file_pile::file_pile(const std::string &) : content_(std::make_unique<content>()) {}
file_pile::~file_pile() = default;
void file_pile::add(part_file part) {
    content_->files.push_back(std::move(part));
}
void file_pile::commit(const std::function<void(const std::string &)> &check) {
    for (part_file &each : content_->files) {
        check(each.name());
        each.finish();
    }
}

void held_text::add(std::string_view text, const std::string &) {
    text_ += text;
}
void held_text::print(std::ostream &out) {
    out << text_;
}

} // namespace tools
