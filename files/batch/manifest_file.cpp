// SPDX-License-Identifier: BSD-3-Clause
// manifest_file.cpp -- manifest.json of a batch, open and locked
#include "files/batch/manifest_file.h"

#include "files/base/tool_error.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tools {

manifest_file::manifest_file(const std::string &name)
    : name_(name), file_(open(name.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC)) {
    struct stat facts = {};
    if (!file_.is_open() || fstat(file_.number(), &facts) != 0 || !S_ISREG(facts.st_mode))
        refuse_input(
            name, "cannot be opened; expected the folder of a plan. varokel-batch plan makes one");
    if (flock(file_.number(), LOCK_SH | LOCK_NB) != 0 && errno == EWOULDBLOCK)
        refuse_output(name, "is being replaced by a new plan; wait for its end");
}

bool manifest_file::lock_alone() {
    return flock(file_.number(), LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK;
}

bool manifest_file::read(char *bytes, std::size_t count, long long at) const {
    while (count > 0) {
        const ssize_t got = pread(file_.number(), bytes, count, at);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) return false;
        bytes += got;
        count -= static_cast<std::size_t>(got);
        at += got;
    }
    return true;
}

long long manifest_file::size() const {
    struct stat facts = {};
    return fstat(file_.number(), &facts) == 0 ? facts.st_size : 0;
}

} // namespace tools
