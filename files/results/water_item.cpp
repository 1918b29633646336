// SPDX-License-Identifier: BSD-3-Clause
// water_item.cpp -- the water of a voxel for amounts: what is given for it, and what is said about
// it
#include "files/results/water_item.h"

#include "files/base/output_file.h"
#include "files/base/read_json.h"
#include "files/base/tool_error.h"
#include "files/results/number_text.h"

#include <algorithm>
#include <cmath>
#include <filesystem>

namespace tools {

void check_amounts(const water_options &options, const peak_table &table) {
    if (options.file.empty()) {
        if (options.scale)
            throw tool_error(wrong_usage, "--water-scale is of the file of --water; expected one");
        return;
    }
    if (table.amounts.amounts.empty())
        throw tool_error(wrong_usage, "--water: " + table.file +
                                          " has no row \"amount\"; expected one for each amount, "
                                          "as \"amount: NAA, protons=3\"");
    refuse_odd_water(table);
}

std::string missing_water(const water_options &options, const peak_table &table) {
    if (!options.file.empty() || table.amounts.amounts.empty()) return "";
    return table.file + ": " + std::to_string(table.amounts.amounts.size()) +
           " rows \"amount\" are passed over: there is no water to hold the areas against "
           "(--water FILE)";
}

// Who says a time: the option, the table, or the file; the first wins.
static std::optional<double> first_of(std::optional<double> option, std::optional<double> table,
                                      std::optional<double> of_file, const char *what,
                                      std::vector<std::string> &said) {
    const char *from = "the command line";
    std::optional<double> time = option;
    if (!time) {
        time = table;
        from = "the table";
    }
    if (!time && of_file) {
        time = of_file;
        from = "the file";
    }
    if (time)
        said.push_back(std::string(what) + " " + short_link_number(*time) + " s from " + from);
    return time;
}

// The noise of one FID rises with the gain of the receiver, and with the square root of the
// averages in a sum; it falls with that in a mean.
static std::string noise_said(const water_file &water) {
    const double alike = std::max(0.1, 3.0 * water.noise->relative_error);
    const double averages = water.averages.value_or(1.0) / water.data_averages.value_or(1.0);
    const double ratio = water.noise->data / water.noise->water / std::sqrt(averages);
    const auto is_about = [alike](double value, double wanted) {
        return std::fabs(value / wanted - 1.0) < alike;
    };
    const std::string noise = "the noise at the end of both files' FIDs ";
    if (is_about(ratio, 1.0))
        return noise + "agrees with one gain and means (" + short_number(ratio) +
               " times what these let expect)";
    if (averages != 1.0 && is_about(ratio * averages, 1.0))
        return noise + "is that of one gain and sums over the averages: try --water-scale " +
               short_link_number(1.0 / averages);
    return noise + "is " + short_number(ratio) +
           " times as high in the data as one gain and the averages that the files say let expect: "
           "where it is the gain, --water-scale " +
           short_number(ratio) + " holds, where the water is of " +
           short_number(ratio * ratio * averages) + " times as many averages as the data, none";
}

// What the files have in common, or are taken to have.
static std::vector<std::string> scale_said(const water_file &water, std::optional<double> scale) {
    std::vector<std::string> said;
    if (scale)
        said.push_back("the area of water is multiplied by " + short_link_number(*scale) +
                       " (--water-scale)");
    else
        said.push_back("receiver gain and unit of both files are taken as equal (else: "
                       "--water-scale)");
    if (!scale && water.combined_alone)
        said.push_back(
            "the coils of the water are combined here, those of the data were elsewhere, "
            "to a scale that nobody says: these amounts hold up to a factor. The data "
            "before their combination, with --combine-coils, need none");
    if (!scale && water.noise) said.push_back(noise_said(water));
    if (!scale && water.averages && water.data_averages && *water.averages != *water.data_averages)
        said.push_back("the data are of " + short_link_number(*water.data_averages) +
                       " averages and the water of " + short_link_number(*water.averages) +
                       ": both are taken as means; where the files hold sums, --water-scale " +
                       short_link_number(*water.data_averages / *water.averages));
    return said;
}

static std::string signal_text(const water_file &water, const water_signal &signal) {
    const double percent = 100.0 * signal.area_error / signal.area;
    return "water of " + water.file + ": area " + short_link_number(signal.area) + " +- " +
           short_number(percent) + " %, the magnitude of its points " +
           std::to_string(signal.first) + " to " +
           std::to_string(signal.first + signal.points - 1) +
           " taken back to time 0 as of one Voigt line (misfit " +
           short_number(100.0 * signal.misfit) + " %)";
}

ordered_json water_item(const water_options &options, const amount_rows &rows,
                        const water_file &water, const water_signal &signal,
                        const std::string &peaks) {
    // a line that is not Voigt by so much gives an area that is off by about as much
    static constexpr double doubtful_misfit = 0.02;
    std::vector<std::string> said = {signal_text(water, signal)};
    if (signal.misfit > doubtful_misfit)
        said.push_back("the water is no single Voigt line: its area may be off by more than "
                       "its error");
    for (const std::string &text : water.warnings) said.push_back(water.file + ": " + text);
    for (const std::string &text : scale_said(water, options.scale)) said.push_back(text);
    amount_rows own_rows = rows;
    own_rows.echo_time =
        first_of(options.echo_time, rows.echo_time, water.data_echo_time, "echo time", said);
    own_rows.repetition_time = first_of(options.repetition_time, rows.repetition_time,
                                        water.data_repetition_time, "repetition time", said);
    water_measurement measured = {signal.area, signal.area_error, options.scale.value_or(1.0),
                                  water.echo_time, water.repetition_time};
    const auto like_data = [&](std::optional<double> &of_water, std::optional<double> of_data,
                               const char *what) {
        if (!of_water && of_data)
            said.push_back(std::string(what) + " of the water is taken as that of the data");
        if (!of_water) of_water = of_data;
    };
    like_data(measured.echo_time, own_rows.echo_time, "echo time");
    like_data(measured.repetition_time, own_rows.repetition_time, "repetition time");
    ordered_json item = {{"file", water.file},
                         {"sha256", water.sha256},
                         {"first_point", signal.first},
                         {"points", signal.points},
                         {"lorentz_fwhm_hz", signal.lorentz_hz},
                         {"gauss_squared_hz2", signal.gauss_squared_hz2},
                         {"misfit", signal.misfit}};
    item.update(amounts_item(own_rows, measured, said, peaks));
    return item;
}

std::vector<std::string> add_water(const water_options &options, const input_options &input,
                                   const spectrum_options &spectrum, const peak_table &table,
                                   const std::string &folder,
                                   const std::vector<std::string> &names) {
    water_file water = read_water(options.file, input, spectrum);
    if (water.signals.size() > 1) // voxels without data have no name
        std::erase_if(water.signals, [](const water_signal &each) { return each.area == 0.0; });
    if (water.signals.size() != 1 && water.signals.size() != names.size())
        refuse_input(options.file, "gives " + std::to_string(water.signals.size()) +
                                       " FIDs of water for " + std::to_string(names.size()) +
                                       " spectra that are not all zero; expected one for each");
    std::vector<std::string> remarks;
    for (std::size_t s = 0; s < names.size(); ++s) {
        const std::string file = (std::filesystem::path(folder) / (names[s] + ".json")).string();
        ordered_json sidecar = json_of_file(file);
        ordered_json item =
            water_item(options, table.amounts, water,
                       water.signals[water.signals.size() == 1 ? 0 : s], table.file);
        if (s == 0)
            for (const auto &text : item["assumed"]) remarks.push_back(text.get<std::string>());
        sidecar["water_reference"] = std::move(item);
        write_files({{file, json_text(sidecar, 2, file) + "\n"}}, {}, true);
    }
    return remarks;
}

} // namespace tools
