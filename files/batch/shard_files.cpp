// SPDX-License-Identifier: BSD-3-Clause
#include "files/batch/shard_files.h"

#include "files/base/tool_error.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <limits>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace tools {

namespace fs = std::filesystem;

static constexpr std::size_t head_size = 64; // the id of the plan

std::string shard_stem(const batch_plan &plan, long long shard, long long shards) {
    char text[64];
    std::snprintf(text, sizeof text, "/shards/%04lld_of_%04lld", shard, shards);
    return plan.folder + text;
}

[[noreturn]] static void refuse_writing(const std::string &name) {
    throw tool_error(bad_output, name + ": cannot be written (" + std::strerror(errno) +
                                     "); is it yours, is the disk full? What is fitted stays, "
                                     "--resume goes on");
}

// All or nothing: what was written of a record that does not fit is cut off again.
static void append(int file, long long &end, const std::string &bytes, const std::string &name) {
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t count = pwrite(file, bytes.data() + done, bytes.size() - done,
                                     end + static_cast<long long>(done));
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) {
            const int reason = errno;
            if (ftruncate(file, end) != 0) errno = reason;
            errno = reason;
            refuse_writing(name);
        }
        done += static_cast<std::size_t>(count);
    }
    end += static_cast<long long>(bytes.size());
}

// A process that was just killed, and a fit of it that has not begun, may hold the lock for a
// moment.
static bool has_lock(int file) {
    static constexpr int tries = 20;
    for (int i = 0; i < tries; ++i) {
        if (flock(file, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK) return true;
        usleep(50000);
    }
    return false;
}

static void lock_or_refuse(int file, const std::string &name) {
    if (has_lock(file)) return;
    close(file);
    throw tool_error(bad_output, name + ": another process works on this shard; wait for it, or "
                                        "end it first");
}

void discard_shard(const std::string &stem) {
    const std::string name = stem + ".journal";
    const int file = open(name.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
    if (file < 0) refuse_writing(name);
    lock_or_refuse(file, name);
    for (const char *const ending : {".done", ".part", ".curves", ".fitted", ".journal"})
        unlink((stem + ending).c_str());
    close(file);
}

shard_journal::shard_journal(const batch_plan &plan, const std::string &stem, long long first,
                             long long stop)
    : plan_(plan), stem_(stem), first_(first), stop_(stop),
      offset_(static_cast<std::size_t>(stop - first), -1) {
    const std::string name = stem + ".journal";
    file_ = open(name.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
    if (file_ < 0) refuse_writing(name);
    lock_or_refuse(file_, name);
    const std::size_t size = record_size(plan.start.entries.size());
    char head[head_size];
    const ssize_t got = pread(file_, head, head_size, 0);
    if (got == static_cast<ssize_t>(head_size) && std::string(head, head_size) != plan.id) {
        close(file_);
        throw tool_error(bad_input, name + ": belongs to another plan; remove it, or plan into a "
                                           "fresh folder");
    }
    if (got < static_cast<ssize_t>(head_size)) {
        if (ftruncate(file_, 0) != 0) refuse_writing(name);
        append(file_, end_, plan.id, name);
    } else {
        end_ = head_size;
    }
    std::string bytes(size, '\0');
    fit_record record;
    while (pread(file_, bytes.data(), size, end_) == static_cast<ssize_t>(size) &&
           read_record(bytes.data(), plan.start.entries.size(), record) && record.line >= first &&
           record.line < stop) {
        if (offset_[at(record.line)] < 0) ++finished_;
        offset_[at(record.line)] = end_;
        end_ += static_cast<long long>(size);
    }
    if (ftruncate(file_, end_) != 0) refuse_writing(name); // a torn end
    take_curves();
}

void shard_journal::take_curves() {
    if (plan_.keep == 0) return;
    const std::string name = stem_ + ".fitted";
    curves_ = open(name.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
    if (curves_ < 0) refuse_writing(name);
    const long long size = static_cast<long long>(sizeof(curve_head)) + 8 * plan_.points;
    const long long there = lseek(curves_, 0, SEEK_END);
    std::vector<char> seen(offset_.size(), 0);
    for (; curves_end_ + size <= there; curves_end_ += size) {
        curve_head head{};
        if (pread(curves_, &head, sizeof head, curves_end_) != sizeof head) break;
        // a curve comes before its record: without one the fit is done again
        if (head.line < first_ || head.line >= stop_ || !has(head.line) || seen[at(head.line)])
            continue;
        if (!wants_curve(head.quality)) continue;
        seen[at(head.line)] = 1;
        kept_.insert({head.quality, head.line, curves_end_});
        if (static_cast<long long>(kept_.size()) > plan_.keep) kept_.erase(kept_.begin());
    }
    if (ftruncate(curves_, curves_end_) != 0) refuse_writing(name);
}

shard_journal::~shard_journal() {
    if (file_ >= 0) close(file_);
    if (curves_ >= 0) close(curves_);
}

fit_record shard_journal::read(long long line) const {
    const std::size_t entries = plan_.start.entries.size(), size = record_size(entries);
    std::string bytes(size, '\0');
    fit_record record;
    if (pread(file_, bytes.data(), size, offset_[at(line)]) != static_cast<ssize_t>(size) ||
        !read_record(bytes.data(), entries, record))
        throw tool_error(bad_input, stem_ + ".journal: was changed while this program works on it");
    return record;
}

bool shard_journal::wants_curve(double quality) const {
    if (plan_.keep == 0 || std::isnan(quality)) return false;
    // of equal ones the first is worse, and may come later
    return static_cast<long long>(kept_.size()) < plan_.keep || quality >= kept_.begin()->badness;
}

void shard_journal::add(const fit_record &record, const std::string &curve) {
    if (!curve.empty() && wants_curve(record.figures[0])) {
        const curve_head head{record.line, record.figures[0]};
        std::string bytes(reinterpret_cast<const char *>(&head), sizeof head);
        bytes += curve;
        const long long begin = curves_end_;
        append(curves_, curves_end_, bytes, stem_ + ".fitted");
        kept_.insert({head.quality, head.line, begin});
        if (static_cast<long long>(kept_.size()) > plan_.keep) kept_.erase(kept_.begin());
    }
    const long long begin = end_;
    append(file_, end_, record_bytes(record, plan_.start.entries.size()), stem_ + ".journal");
    if (!has(record.line)) ++finished_;
    offset_[at(record.line)] = begin;
}

void shard_journal::take_part(const finished_shard &done) {
    part_reader part(plan_, done);
    // of the same lines in the same order, for some of them
    std::FILE *const curves = std::fopen((stem_ + ".curves").c_str(), "rb");
    curve_head head{};
    const auto next_head = [&] {
        if (curves == nullptr || std::fread(&head, sizeof head, 1, curves) != 1) head.line = -1;
    };
    next_head();
    std::string curve;
    for (long long line = done.first; line < done.stop; ++line) {
        curve.clear();
        if (head.line == line) {
            curve.resize(static_cast<std::size_t>(8 * plan_.points));
            if (std::fread(curve.data(), 1, curve.size(), curves) != curve.size()) curve.clear();
            next_head();
        }
        if (!has(line)) add(part.read(line), curve);
    }
    if (curves != nullptr) std::fclose(curves);
}

void shard_journal::drop_failed() {
    for (long long line = first_; line < stop_; ++line)
        if (has(line) && read(line).state == fit_state::failed) {
            offset_[at(line)] = -1;
            --finished_;
        }
}

// A file that appears as a whole, on the disk before its name is.
class part_file {
  public:
    explicit part_file(const std::string &name)
        : name_(name), written_(name + ".part" + std::to_string(getpid())),
          file_(std::fopen(written_.c_str(), "wb")) {
        if (file_ == nullptr) refuse_writing(name_);
    }
    part_file(const part_file &) = delete;
    part_file &operator=(const part_file &) = delete;
    ~part_file() {
        if (file_ != nullptr) std::fclose(file_);
        if (!done_) unlink(written_.c_str());
    }
    void add(const std::string &bytes) {
        if (std::fwrite(bytes.data(), 1, bytes.size(), file_) != bytes.size())
            refuse_writing(name_);
    }
    void finish() {
        if (std::fflush(file_) != 0 || fsync(fileno(file_)) != 0) refuse_writing(name_);
        std::FILE *const file = file_;
        file_ = nullptr;
        if (std::fclose(file) != 0 || std::rename(written_.c_str(), name_.c_str()) != 0)
            refuse_writing(name_);
        done_ = true;
        const std::string folder = fs::path(name_).parent_path().string();
        const int opened = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (opened >= 0) {
            fsync(opened); // the new name
            close(opened);
        }
    }

  private:
    std::string name_, written_;
    std::FILE *file_;
    bool done_ = false;
};

void shard_journal::finish() {
    const std::size_t entries = plan_.start.entries.size();
    long long counts[4] = {};
    {
        part_file part(stem_ + ".part");
        part.add(plan_.id);
        for (long long line = first_; line < stop_; ++line) {
            const fit_record record = read(line);
            ++counts[static_cast<int>(record.state)];
            part.add(record_bytes(record, entries));
        }
        part.finish();
    }
    if (plan_.keep > 0) {
        std::vector<kept_curve> curves(kept_.begin(), kept_.end());
        std::sort(curves.begin(), curves.end(),
                  [](const kept_curve &a, const kept_curve &b) { return a.line < b.line; });
        part_file part(stem_ + ".curves");
        std::string bytes(sizeof(curve_head) + static_cast<std::size_t>(8 * plan_.points), '\0');
        for (const kept_curve &curve : curves) {
            if (pread(curves_, bytes.data(), bytes.size(), curve.offset) !=
                static_cast<ssize_t>(bytes.size()))
                throw tool_error(bad_input, stem_ + ".fitted: was changed while this program works "
                                                    "on it");
            part.add(bytes);
        }
        part.finish();
    }
    nlohmann::ordered_json marker;
    marker["plan"] = plan_.id;
    marker["first"] = first_;
    marker["stop"] = stop_;
    marker["fitted"] = counts[static_cast<int>(fit_state::fitted)];
    marker["failed"] = counts[static_cast<int>(fit_state::failed)];
    marker["not_tried"] = counts[static_cast<int>(fit_state::not_tried)];
    part_file done(stem_ + ".done");
    done.add(marker.dump() + "\n");
    done.finish();
    unlink((stem_ + ".journal").c_str());
    unlink((stem_ + ".fitted").c_str());
}

std::vector<finished_shard> finished_shards(const batch_plan &plan) {
    std::vector<finished_shard> found;
    std::error_code error;
    for (const fs::directory_entry &file : fs::directory_iterator(plan.file("shards"), error)) {
        if (file.path().extension() != ".done") continue;
        finished_shard shard;
        const std::string name = file.path().string();
        shard.stem = name.substr(0, name.size() - 5);
        const metadata marker(name);
        if (std::sscanf(file.path().stem().c_str(), "%lld_of_%lld", &shard.shard, &shard.shards) !=
                2 ||
            marker.text("plan").value_or("") != plan.id)
            throw tool_error(bad_input, name + ": the marker of another plan; remove the files of "
                                               "this shard, or plan into a fresh folder");
        const auto count = [&](const char *item) {
            return static_cast<long long>(marker.number(item).value_or(0.0));
        };
        shard.first = count("first");
        shard.stop = count("stop");
        shard.fitted = count("fitted");
        shard.failed = count("failed");
        shard.not_tried = count("not_tried");
        found.push_back(shard);
    }
    std::sort(found.begin(), found.end(), [](const finished_shard &a, const finished_shard &b) {
        return a.first != b.first ? a.first < b.first
               : a.stop != b.stop ? a.stop > b.stop
                                  : a.shards < b.shards;
    });
    return found;
}

part_reader::part_reader(const batch_plan &plan, const finished_shard &shard)
    : plan_(plan), shard_(shard), file_(std::fopen((shard.stem + ".part").c_str(), "rb")),
      bytes_(record_size(plan.start.entries.size()), '\0') {
    char head[head_size];
    if (file_ == nullptr || std::fread(head, 1, head_size, file_) != head_size ||
        std::string(head, head_size) != plan.id) {
        if (file_ != nullptr) std::fclose(file_);
        throw tool_error(bad_input, shard.stem +
                                        ".part: missing or of another plan, though its "
                                        "marker is there; remove " +
                                        shard.stem + ".done and run the shard again");
    }
}

part_reader::~part_reader() {
    std::fclose(file_);
}

const fit_record &part_reader::read(long long line) {
    const long long place = line - shard_.first;
    const long at =
        static_cast<long>(head_size) + static_cast<long>(place) * static_cast<long>(bytes_.size());
    // a seek throws away what is read ahead
    if ((place != next_ && std::fseek(file_, at, SEEK_SET) != 0) ||
        std::fread(bytes_.data(), 1, bytes_.size(), file_) != bytes_.size() ||
        !read_record(bytes_.data(), plan_.start.entries.size(), record_) || record_.line != line)
        throw tool_error(bad_input, shard_.stem + ".part: damaged; remove " + shard_.stem +
                                        ".done and run the shard again");
    next_ = place + 1;
    return record_;
}

} // namespace tools
