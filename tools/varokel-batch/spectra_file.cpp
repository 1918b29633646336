// SPDX-License-Identifier: BSD-3-Clause
// spectra_file.cpp -- spectra.f32 of a plan, each spectrum compared with its fingerprint
#include "varokel-batch/spectra_file.h"

#include "files/base/sha256.h"
#include "files/base/tool_error.h"

#include <fcntl.h>
#include <unistd.h>

namespace tools {

spectra_file::spectra_file(const batch_plan &plan)
    : plan_(plan), file_(open(plan.file("spectra.f32").c_str(), O_RDONLY | O_CLOEXEC)) {
    if (!file_.is_open())
        throw tool_error(bad_input, plan.file("spectra.f32") + ": cannot be read");
}

void spectra_file::read(const planned_spectrum &spectrum, std::string &bytes) const {
    bytes.resize(static_cast<std::size_t>(8 * plan_.points));
    const ssize_t got =
        pread(file_.number(), bytes.data(), bytes.size(), spectrum.number * 8 * plan_.points);
    if (got != static_cast<ssize_t>(bytes.size()) || sha256_of(bytes) != spectrum.sha256)
        throw tool_error(bad_input, plan_.file("spectra.f32") + ": " + spectrum.name +
                                        " was changed since the plan was made; put the file "
                                        "of then back, or plan again. What is fitted stays");
}

} // namespace tools
