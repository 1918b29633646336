// SPDX-License-Identifier: BSD-3-Clause
#include "varokel-fit/water_amounts.h"

#include "files/base/output_file.h"
#include "files/base/read_json.h"
#include "files/base/tool_error.h"

#include <filesystem>

namespace tools {

std::vector<std::string> add_water(const fit_options &own, const amount_rows &rows,
                                   const std::string &folder,
                                   const std::vector<std::string> &names) {
    water_file water = read_water(own.water.file, own.input, own.spectrum);
    if (water.signals.size() > 1) // voxels without data have no name
        std::erase_if(water.signals, [](const water_signal &each) { return each.area == 0.0; });
    if (water.signals.size() != 1 && water.signals.size() != names.size())
        throw tool_error(bad_input, own.water.file + ": gives " +
                                        std::to_string(water.signals.size()) +
                                        " FIDs of water for " + std::to_string(names.size()) +
                                        " spectra that are not all zero; expected one for each");
    std::vector<std::string> remarks;
    for (std::size_t s = 0; s < names.size(); ++s) {
        const std::string file = (std::filesystem::path(folder) / (names[s] + ".json")).string();
        ordered_json sidecar = json_of_file(file);
        ordered_json item = water_item(own.water, rows, water,
                                       water.signals[water.signals.size() == 1 ? 0 : s], own.peaks);
        if (s == 0)
            for (const auto &text : item["assumed"]) remarks.push_back(text.get<std::string>());
        sidecar["water_reference"] = std::move(item);
        write_files({{file, json_text(sidecar, 2, file) + "\n"}}, {}, true);
    }
    return remarks;
}

} // namespace tools
