// SPDX-License-Identifier: BSD-3-Clause
// file_pile.cpp -- files of one folder by the thousand, which appear together
#include "files/base/file_pile.h"

#include "files/base/file_descriptor.h"
#include "files/base/own_folder.h"
#include "files/base/tool_error.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>

#include <fcntl.h>
#include <unistd.h>

namespace tools {

static const char *const pile_prefix = ".varokel-pile.", *const pile_purpose =
                                                             "files of one output";

struct file_pile::content {
    explicit content(const std::string &target)
        : folder(target), own(target, pile_prefix, pile_purpose),
          names(own.name() + "/names", std::ios::binary) {}
    std::string numbered(std::size_t file) const { return own.name() + "/" + std::to_string(file); }
    std::string folder;
    own_folder own;
    std::ofstream names; // each ends with a NUL
    std::size_t files = 0;
};

[[noreturn]] static void refuse_pile(const std::string &name) {
    refuse_output(name, std::string("cannot be written (") + std::strerror(errno) +
                            "); does the folder exist, is it yours, is the disk full?");
}

file_pile::file_pile(const std::string &folder) {
    remove_leftovers(folder, pile_prefix, pile_purpose);
    content_ = std::make_unique<content>(folder);
}

file_pile::~file_pile() = default;

void file_pile::add(part_file part) {
    part.move_to(content_->numbered(content_->files++));
    const std::string &name = part.name();
    content_->names.write(name.c_str(), static_cast<std::streamsize>(name.size() + 1));
    if (!content_->names) refuse_pile(content_->folder);
}

void file_pile::commit(const std::function<void(const std::string &)> &check) {
    content_->names.close();
    const file_descriptor folder(
        ::open(content_->folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    // one by one, thousands take minutes
    if (!content_->names || !folder.is_open() || syncfs(folder.number()) != 0)
        refuse_pile(content_->folder);
    std::ifstream names(content_->own.name() + "/names", std::ios::binary);
    std::string name;
    for (std::size_t file = 0; file < content_->files; ++file) {
        if (!std::getline(names, name, '\0')) refuse_pile(content_->folder);
        check(name);
        if (std::rename(content_->numbered(file).c_str(), name.c_str()) != 0) refuse_pile(name);
    }
    fsync(folder.number()); // the new names
}

} // namespace tools
