// SPDX-License-Identifier: BSD-3-Clause
#include "control/replaced_file.h"

#include <filesystem>
#include <system_error>

namespace files = std::filesystem;

static constexpr char beside_ending[] = ".varokel_new"; // of a killed run it may be left over

// A file that can be renamed over: a plain one that may be written, or none.
static bool can_be_replaced(const std::string &name) {
    std::error_code error;
    const files::file_status status = files::symlink_status(name, error);
    if (status.type() == files::file_type::not_found) return true;
    if (status.type() != files::file_type::regular) return false;
    std::FILE *file = std::fopen(name.c_str(), "r+t");
    if (file != nullptr) std::fclose(file);
    return file != nullptr;
}

replaced_file::replaced_file(const char *name) : name_(name), written_(name), stream_(nullptr) {
    if (can_be_replaced(name_)) {
        written_ = name_ + beside_ending;
        stream_ = std::fopen(written_.c_str(), "w+t");
        if (stream_ != nullptr) return;
        written_ = name_;
    }
    stream_ = std::fopen(written_.c_str(), "w+t");
}

replaced_file::~replaced_file() {
    if (stream_ == nullptr) return;
    std::fclose(stream_);
    if (written_ != name_) std::remove(written_.c_str());
}

int replaced_file::finish() {
    if (stream_ == nullptr) return EOF;
    bool whole = std::fflush(stream_) == 0 && std::ferror(stream_) == 0;
    whole = std::fclose(stream_) == 0 && whole; // a full disk may show only here
    stream_ = nullptr;
    if (whole && written_ != name_) {
        std::error_code error;
        const files::file_status old = files::status(name_, error);
        if (old.type() == files::file_type::regular)
            files::permissions(written_, old.permissions(), error);
        whole = std::rename(written_.c_str(), name_.c_str()) == 0;
    }
    if (whole) return 0;
    std::printf("error in writing file %s\n", name_.c_str());
    if (written_ != name_) std::remove(written_.c_str());
    return EOF;
}
