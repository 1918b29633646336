// SPDX-License-Identifier: BSD-3-Clause
// shard_journal.cpp -- the fits of a shard while it works
#include "files/batch/shard_journal.h"

#include "files/base/part_file.h"
#include "files/base/sha256.h"
#include "files/base/tool_error.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <map>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tools {

[[noreturn]] static void refuse_writing(const std::string &name) {
    refuse_output(name,
                  std::string("cannot be written (") + std::strerror(errno) +
                      "); is it yours, is the disk full? What is fitted stays, --resume goes on");
}

// All or nothing: what was written of a record that does not fit is cut off again.
static void append(const file_descriptor &file, long long &end, const std::string &bytes,
                   const std::string &name) {
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t count = pwrite(file.number(), bytes.data() + done, bytes.size() - done,
                                     end + static_cast<long long>(done));
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) {
            const int reason = errno;
            if (ftruncate(file.number(), end) != 0) errno = reason;
            errno = reason;
            refuse_writing(name);
        }
        done += static_cast<std::size_t>(count);
    }
    end += static_cast<long long>(bytes.size());
}

// A file of the shard that this process changes in place: a link would lead elsewhere.
static file_descriptor open_own(const std::string &name) {
    file_descriptor file(
        open(name.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0666));
    struct stat facts = {};
    if (file.is_open() && fstat(file.number(), &facts) == 0 && S_ISREG(facts.st_mode) &&
        facts.st_nlink == 1)
        return file;
    if (file.is_open()) errno = EMLINK;
    refuse_writing(name);
}

shard_journal::shard_journal(const batch_plan &plan, const std::string &stem, long long first,
                             long long stop)
    : plan_(plan), stem_(stem), first_(first), stop_(stop),
      offset_(static_cast<std::size_t>(stop - first), -1) {
    const std::string name = stem + ".journal";
    file_ = open_own(name);
    std::string head(shard_head_size, '\0');
    if (!file_.read_at(head, 0)) {
        if (ftruncate(file_.number(), 0) != 0) refuse_writing(name);
        append(file_, end_, plan.id, name);
    } else if (head == plan.id) {
        end_ = shard_head_size;
    } else {
        refuse_input(name, "belongs to another plan; remove it, or plan into a fresh folder");
    }
    std::string bytes(record_size(plan.records), '\0');
    fit_record record;
    while (file_.read_at(bytes, end_) && read_record(bytes.data(), plan.records, record) &&
           record.line >= first && record.line < stop) {
        const bool counts = record.state != fit_state::withdrawn;
        finished_ += static_cast<int>(counts) - static_cast<int>(has(record.line));
        offset_[at(record.line)] = counts ? end_ : -1;
        end_ += static_cast<long long>(bytes.size());
    }
    if (ftruncate(file_.number(), end_) != 0) refuse_writing(name); // a torn end
    take_curves();
    withdraw_without_curve();
}

void shard_journal::take_curves() {
    kept_.clear();
    if (plan_.keep == 0) return;
    const std::string name = stem_ + ".fitted";
    if (!curves_.is_open()) curves_ = open_own(name);
    const long long size = curve_size(plan_);
    const long long there = lseek(curves_.number(), 0, SEEK_END);
    // a fit that was withdrawn and done again has two curves: the later one is its own
    std::map<long long, kept_curve> last;
    std::string bytes(static_cast<std::size_t>(size), '\0');
    for (curves_end_ = 0; curves_end_ + size <= there; curves_end_ += size) {
        curve_head head{};
        if (!curves_.read_at(bytes, curves_end_) || !read_curve(plan_, bytes, head)) break;
        // a curve comes before its record: without one the fit is done again
        if (head.line < first_ || head.line >= stop_ || !has(head.line)) continue;
        last[head.line] = {head.quality, head.line, curves_end_};
    }
    for (const auto &[line, curve] : last) {
        if (read(line).figures[0] != curve.badness || !wants_curve(curve.badness)) continue;
        kept_.insert(curve);
        if (static_cast<long long>(kept_.size()) > plan_.keep) kept_.erase(kept_.begin());
    }
    if (ftruncate(curves_.number(), curves_end_) != 0) refuse_writing(name);
}

fit_record shard_journal::read(long long line) const {
    std::string bytes(record_size(plan_.records), '\0');
    fit_record record;
    if (!file_.read_at(bytes, offset_[at(line)]) ||
        !read_record(bytes.data(), plan_.records, record))
        refuse_input(stem_ + ".journal", "was changed while this program works on it");
    return record;
}

bool shard_journal::wants_curve(double quality) const {
    if (plan_.keep == 0 || std::isnan(quality)) return false;
    // of equal ones the first is worse, and may come later
    return static_cast<long long>(kept_.size()) < plan_.keep || quality >= kept_.begin()->badness;
}

void shard_journal::add(const fit_record &record, const std::string &curve) {
    if (!curve.empty() && wants_curve(record.figures[0])) {
        const curve_head head{record.line, record.figures[0],
                              check_sum(curve.data(), curve.size())};
        std::string bytes(reinterpret_cast<const char *>(&head), sizeof head);
        bytes += curve;
        const long long begin = curves_end_;
        append(curves_, curves_end_, bytes, stem_ + ".fitted");
        kept_.insert({head.quality, head.line, begin});
        if (static_cast<long long>(kept_.size()) > plan_.keep) kept_.erase(kept_.begin());
    }
    const long long begin = end_;
    append(file_, end_, record_bytes(record, plan_.records), stem_ + ".journal");
    if (!has(record.line)) ++finished_;
    offset_[at(record.line)] = begin;
}

void shard_journal::take_part(const finished_shard &done) {
    check_part(plan_, done);
    part_reader part(plan_, done);
    // of the same lines in the same order, for some of them
    file_descriptor curves;
    if (plan_.keep > 0)
        curves =
            file_descriptor(open((stem_ + ".curves").c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    long long next = 0;
    std::string bytes(static_cast<std::size_t>(curve_size(plan_)), '\0');
    curve_head head{};
    const auto next_curve = [&] {
        if (!curves.read_at(bytes, next) || !read_curve(plan_, bytes, head)) head.line = -1;
        next += static_cast<long long>(bytes.size());
    };
    next_curve();
    for (long long line = done.first; line < done.stop; ++line) {
        std::string curve;
        if (head.line == line) {
            curve = bytes.substr(sizeof head);
            next_curve();
        }
        if (!has(line)) add(part.read(line), curve);
    }
}

void shard_journal::withdraw(const std::vector<long long> &gone) {
    const std::size_t entries = plan_.start.entries.size();
    for (const long long line : gone) {
        if (!has(line)) continue;
        append(file_, end_,
               record_bytes(record_without_fit(line, fit_state::withdrawn, "", entries),
                            plan_.records),
               stem_ + ".journal");
        offset_[at(line)] = -1;
        --finished_;
    }
    if (gone.empty()) return;
    take_curves();
    withdraw_without_curve();
}

// Fits whose curve would be kept, but is not there: it was cut off, or was not good enough to be
// kept as long as one counted that is withdrawn now.
void shard_journal::withdraw_without_curve() {
    if (plan_.keep == 0) return;
    std::set<long long> there;
    for (const kept_curve &curve : kept_) there.insert(curve.line);
    std::vector<long long> lost;
    for (long long line = first_; line < stop_; ++line) {
        if (!has(line) || there.contains(line)) continue;
        const double quality = read(line).figures[0];
        if (std::isnan(quality)) continue;
        if (static_cast<long long>(kept_.size()) < plan_.keep || quality > kept_.begin()->badness)
            lost.push_back(line);
    }
    withdraw(lost);
}

// As the sha256 of a file that is written piece by piece.
class digested_part {
  public:
    explicit digested_part(const std::string &name)
        : file_(name, " What is fitted stays, --resume goes on") {}
    void add(const std::string &bytes) {
        hash_.add(bytes.data(), bytes.size());
        file_.add(bytes);
    }
    std::string finish() {
        file_.finish();
        return hash_.digits();
    }

  private:
    part_file file_;
    sha256 hash_;
};

void shard_journal::finish() {
    long long counts[5] = {};
    ordered_json marker;
    marker["plan"] = plan_.id;
    {
        digested_part part(stem_ + ".part");
        part.add(plan_.id);
        for (long long line = first_; line < stop_; ++line) {
            const fit_record record = read(line);
            ++counts[static_cast<int>(record.state)];
            part.add(record_bytes(record, plan_.records));
        }
        marker["part_sha256"] = part.finish();
    }
    if (plan_.keep > 0) {
        std::vector<kept_curve> curves(kept_.begin(), kept_.end());
        std::sort(curves.begin(), curves.end(),
                  [](const kept_curve &a, const kept_curve &b) { return a.line < b.line; });
        digested_part part(stem_ + ".curves");
        std::string bytes(static_cast<std::size_t>(curve_size(plan_)), '\0');
        for (const kept_curve &curve : curves) {
            curve_head head{};
            if (!curves_.read_at(bytes, curve.offset) || !read_curve(plan_, bytes, head) ||
                head.line != curve.line)
                refuse_input(stem_ + ".fitted", "was changed while this program works on it");
            part.add(bytes);
        }
        marker["curves_sha256"] = part.finish();
    }
    marker["first"] = first_;
    marker["stop"] = stop_;
    marker["fitted"] = counts[static_cast<int>(fit_state::fitted)];
    marker["failed"] = counts[static_cast<int>(fit_state::failed)];
    marker["not_tried"] = counts[static_cast<int>(fit_state::not_tried)];
    part_file done(stem_ + ".done", " What is fitted stays, --resume goes on");
    done.add(marker.dump() + "\n");
    done.finish();
    discard_journal(stem_);
}

} // namespace tools
