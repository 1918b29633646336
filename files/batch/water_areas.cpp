// SPDX-License-Identifier: BSD-3-Clause
// water_areas.cpp -- water.f64 of a batch: the area of the water of each spectrum, by its number
#include "files/batch/water_areas.h"

#include "files/base/input_file.h"
#include "files/base/output_file.h"
#include "files/base/tool_error.h"

#include <filesystem>

namespace tools {

void write_water_areas(const std::string &file, const std::vector<water_area> &areas) {
    write_files({{file, std::string(reinterpret_cast<const char *>(areas.data()),
                                    areas.size() * sizeof(water_area))}},
                {}, false);
}

std::vector<water_area> read_water_areas(const batch_plan &plan) {
    if (!plan.has_amounts()) return {};
    const std::string file = plan.file("water.f64");
    const auto size = static_cast<std::size_t>(plan.spectra) * sizeof(water_area);
    std::error_code error;
    std::vector<water_area> areas(static_cast<std::size_t>(plan.spectra));
    std::ifstream stream = open_input(file);
    if (std::filesystem::file_size(file, error) != size || error ||
        !stream.read(reinterpret_cast<char *>(areas.data()), static_cast<std::streamsize>(size)))
        refuse_input(file, "holds no area of water for each spectrum; plan again");
    return areas;
}

} // namespace tools
