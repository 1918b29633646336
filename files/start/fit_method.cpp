// SPDX-License-Identifier: BSD-3-Clause
// fit_method.cpp -- by what the spectra of a batch are fitted
#include "files/start/fit_method.h"

namespace tools {

static const char *const method_names[] = {"classic", "exact", "both"};

const char *name_of(fit_method method) {
    return method_names[static_cast<int>(method)];
}

std::optional<fit_method> method_named(const std::string &name) {
    for (const fit_method each : {fit_method::classic, fit_method::exact, fit_method::both})
        if (name == name_of(each)) return each;
    return std::nullopt;
}

} // namespace tools
