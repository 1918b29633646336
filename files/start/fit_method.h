// SPDX-License-Identifier: BSD-3-Clause
// fit_method.h -- by what the spectra of a batch are fitted
#pragma once

#include <optional>
#include <string>

namespace tools {

// By what the spectra are fitted: the fitter's search alone, the engine's optimum alone, or the
// search and then the optimum from its end and from the start values.
enum class fit_method { classic, exact, both };
const char *name_of(fit_method method);
// None for another word.
std::optional<fit_method> method_named(const std::string &name);

} // namespace tools
