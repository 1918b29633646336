// SPDX-License-Identifier: BSD-3-Clause
// shard_lock.cpp -- one process at a time works on a shard, and others can tell which
#include "files/batch/shard_lock.h"

#include "files/base/file_identity.h"
#include "files/base/own_folder.h"
#include "files/base/plain_text.h"
#include "files/base/read_json.h"
#include "files/base/tool_error.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <filesystem>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace tools {

namespace fs = std::filesystem;

static constexpr std::size_t longest_note = 1 << 16;
static constexpr int most_tries = 20; // of 50 ms

static std::optional<lock_note> note_of_text(const std::string &text, const std::string &file) {
    try {
        const ordered_json items = json_of_text(text, file);
        lock_note note;
        note.machine = bytes_of_json(items.at("machine"), file);
        note.shards = items.at("shards").get<std::string>();
        note.scratch = bytes_of_json(items.at("scratch"), file);
        for (long long lock_note::*const number : {&lock_note::process, &lock_note::started}) {
            const auto &item = items.at(number == &lock_note::process ? "process" : "started");
            if (!item.is_number_integer() || item.get<long long>() < 0) return std::nullopt;
            note.*number = item.get<long long>();
        }
        if (!is_plain_text(note.machine) || !is_plain_text(note.shards)) return std::nullopt;
        return note;
    } catch (const tool_error &) {
        return std::nullopt;
    } catch (const json_error &) {
        return std::nullopt;
    }
}

static std::string text_of(const file_descriptor &file) {
    std::string text(longest_note, '\0');
    const ssize_t count = pread(file.number(), text.data(), text.size(), 0);
    text.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    return text;
}

std::optional<lock_note> read_lock_note(const std::string &name) {
    const file_descriptor file(open(name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (!file.is_open()) return std::nullopt;
    return note_of_text(text_of(file), name);
}

static std::string time_text(long long seconds) {
    const auto time = static_cast<std::time_t>(seconds);
    std::tm parts = {};
    char text[40] = "";
    if (gmtime_r(&time, &parts) != nullptr)
        std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S UTC", &parts);
    return text;
}

[[noreturn]] static void refuse_lock(const std::string &name) {
    refuse_output(name, std::string("cannot be written (") + std::strerror(errno) +
                            "); is it yours, is the disk full?");
}

shard_lock::shard_lock(const std::string &stem)
    : name_(stem + ".lock"), shards_(identity_of(fs::path(stem).parent_path().string()).text()),
      shard_(fs::path(stem).filename().string()) {
    for (int tries = 0;;) {
        file_ = file_descriptor(
            open(name_.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0666));
        if (!file_.is_open()) refuse_lock(name_);
        // a process that was just killed, and a fit of it, may hold the lock for a moment
        if (flock(file_.number(), LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK) {
            if (identity_of(file_.number()) == identity_of(name_)) break; // not removed in between
        } else if (++tries == most_tries) {
            const std::optional<lock_note> other = note_of_text(text_of(file_), name_);
            refuse_output(name_,
                          "another process works on this shard" +
                              (other ? ": " + std::to_string(other->process) + " on " +
                                           other->machine + " since " + time_text(other->started)
                                     : "") +
                              "; wait for it, or end it first");
        } else {
            usleep(50000);
        }
    }
    before_ = note_of_text(text_of(file_), name_);
    write_note(before_is_ours() ? before_->scratch : ""); // until that is removed
}

std::string shard_lock::purpose() const {
    return shards_ + " " + shard_;
}

void shard_lock::write_note(const std::string &scratch) {
    const ordered_json note = {{"machine", json_of_bytes(machine_name())},
                               {"process", getpid()},
                               {"started", std::time(nullptr)},
                               {"shards", shards_},
                               {"scratch", json_of_bytes(scratch)}};
    // In one call over the note before, then what that had more: a process that is killed between
    // the two leaves a whole note, with blanks behind it.
    const std::string text = note.dump() + "\n";
    const std::size_t longer = text_of(file_).size();
    const std::string padded = text + std::string(std::max(longer, text.size()) - text.size(), ' ');
    if (pwrite(file_.number(), padded.data(), padded.size(), 0) ==
            static_cast<ssize_t>(padded.size()) &&
        ftruncate(file_.number(), static_cast<off_t>(text.size())) == 0)
        return;
    const int reason = errno;
    file_.close();
    errno = reason;
    refuse_lock(name_);
}

void shard_lock::note_scratch(const std::string &folder) {
    write_note(folder);
}

shard_lock::~shard_lock() {
    if (!file_.is_open()) return;
    if (identity_of(file_.number()) == identity_of(name_)) unlink(name_.c_str());
}

} // namespace tools
