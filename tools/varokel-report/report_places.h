// SPDX-License-Identifier: BSD-3-Clause
// report_places.h -- which spectra a report is about, and what it calls them
#pragma once

#include <string>
#include <vector>

namespace tools {

struct report_place {
    std::string folder, name; // of the spectrum, without ending
    std::string shown;        // its name in the report; no other has it
};

// The spectra whose fits lie in a folder, else those in the folders in it, in the order in which
// people count; of these the chosen ones, or all. A name that several folders have is shown with
// its folder in front: monday.brain, tuesday.brain.
// Errors: bad_input when there is none, and when two would be shown by one name all the same.
std::vector<report_place> report_places(const std::string &folder,
                                        const std::vector<std::string> &chosen);

} // namespace tools
