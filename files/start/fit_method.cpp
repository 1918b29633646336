// SPDX-License-Identifier: BSD-3-Clause
// fit_method.cpp -- by what a spectrum is fitted, in the words of --method
#include "files/start/fit_method.h"

#include <iterator>

namespace tools {

static const char *const names_of_methods[] = {"classic", "exact", "both"};

const char *name_of(fit_method method) {
    return names_of_methods[static_cast<int>(method)];
}

std::optional<fit_method> method_named(const std::string &name) {
    for (const fit_method each : {fit_method::classic, fit_method::exact, fit_method::both})
        if (name == name_of(each)) return each;
    return std::nullopt;
}

std::vector<std::string> method_names() {
    return {std::begin(names_of_methods), std::end(names_of_methods)};
}

} // namespace tools
