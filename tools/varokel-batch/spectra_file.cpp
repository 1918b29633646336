// SPDX-License-Identifier: BSD-3-Clause
#include "varokel-batch/spectra_file.h"

#include "files/base/sha256.h"
#include "files/base/tool_error.h"

#include <unistd.h>

namespace tools {

spectra_file::spectra_file(const batch_plan &plan)
    : plan_(plan), file_(std::fopen(plan.file("spectra.f32").c_str(), "rbe")) {
    if (file_ == nullptr)
        throw tool_error(bad_input, plan.file("spectra.f32") + ": cannot be read");
}

spectra_file::~spectra_file() {
    std::fclose(file_);
}

void spectra_file::read(const planned_spectrum &spectrum, std::string &bytes) const {
    bytes.resize(static_cast<std::size_t>(8 * plan_.points));
    const ssize_t got =
        pread(fileno(file_), bytes.data(), bytes.size(), spectrum.number * 8 * plan_.points);
    sha256 hash;
    hash.add(bytes.data(), bytes.size());
    if (got != static_cast<ssize_t>(bytes.size()) || hash.digits() != spectrum.sha256)
        throw tool_error(bad_input, plan_.file("spectra.f32") + ": " + spectrum.name +
                                        " was changed since the plan was made; put the file "
                                        "of then back, or plan again. What is fitted stays");
}

} // namespace tools
