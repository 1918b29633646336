// SPDX-License-Identifier: BSD-3-Clause
// fit_method.h -- by what a spectrum is fitted, in the words of --method
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace tools {

// The fitter's search alone, the engine's optimum alone, or the search and then the optimum from
// its end and from the start values.
enum class fit_method { classic, exact, both };
const char *name_of(fit_method method);
// None for another word.
std::optional<fit_method> method_named(const std::string &name);
std::vector<std::string> method_names();

} // namespace tools
