// SPDX-License-Identifier: BSD-3-Clause
// import_calls.cpp -- measured files, as varokel-fit imports them
#include "web/binding/current_model.h"
#include "web/binding/module_calls.h"

#include "files/base/tool_error.h"
#include "files/measured/combined_source.h"
#include "files/measured/import_spectra.h"
#include "files/results/water_item.h"
#include "files/start/peak_table.h"
#include "files/start/table_keys.h"

#include <memory>

namespace web {

namespace {

// Options that the page leaves empty are not given.
class option_reader {
  public:
    explicit option_reader(const ordered_json &all) : all_(all) {}
    template <class value>
    void take(const char *name, value &to) const {
        if (given(name)) to = all_.at(name).get<value>();
    }
    template <class value>
    void take(const char *name, std::optional<value> &to) const {
        if (given(name)) to = all_.at(name).get<value>();
    }

  private:
    bool given(const char *name) const {
        const auto at = all_.find(name);
        return at != all_.end() && !at->is_null() && *at != "";
    }
    const ordered_json &all_;
};

// The line that sets the ppm axis, of a table that can be read; what is wrong with one is said
// where it is shown.
std::optional<tools::reference_peak> reference_of(const std::string &table) {
    try {
        return tools::parse_peak_table(table, table_name).reference;
    } catch (const tools::tool_error &) {
        return std::nullopt;
    }
}

// What says how a file is opened.
void take_source(const option_reader &options, tools::input_options &input) {
    options.take("input", input.input);
    options.take("format", input.format);
    options.take("json", input.json);
    options.take("points", input.points);
    options.take("dimensions", input.dimensions);
}

// The water of the same voxel, if any, for amounts.
tools::water_options water_of(const option_reader &options) {
    tools::water_options water;
    options.take("water", water.file);
    options.take("water_scale", water.scale);
    options.take("echo_time", water.echo_time);
    options.take("repetition_time", water.repetition_time);
    for (const auto &[word, number] :
         {std::pair("--water-scale", water.scale), std::pair("--echo-time", water.echo_time),
          std::pair("--repetition-time", water.repetition_time)})
        if (number && !(*number > 0.0)) tools::refuse_usage(word, "expected a number above 0");
    return water;
}

} // namespace

ordered_json list_dimensions(const ordered_json &asked) {
    tools::input_options input;
    take_source(option_reader(asked), input);
    ordered_json out = ordered_json::object();
    const std::unique_ptr<tools::spectrum_source> source =
        tools::open_combined(input.input, input.json, input, true);
    for (const tools::source_axis &axis : source->axes)
        if (!axis.spatial && axis.size > 1) out[axis.name] = axis.size;
    return out;
}

ordered_json import_files(const ordered_json &asked) {
    tools::input_options input;
    tools::spectrum_options spectrum;
    const option_reader options(asked);
    take_source(options, input);
    options.take("voxel", input.choice.voxel);
    options.take("index", input.choice.index);
    options.take("average", input.choice.average);
    input.resize = "fill"; // as varokel-fit: a fit needs a power of two, and filling loses nothing
    options.take("resize", input.resize);
    options.take("phase", input.phase);
    options.take("conjugate", input.conjugate);
    options.take("combine_coils", input.combine_coils);
    options.take("align_averages", input.align_averages);
    options.take("folder", spectrum.folder);
    options.take("dwell_time", spectrum.dwell_time);
    options.take("bandwidth", spectrum.bandwidth);
    options.take("mhz", spectrum.mhz);
    options.take("ppm_at_carrier", spectrum.ppm_at_carrier);
    options.take("begin_time", spectrum.begin_time);
    options.take("nucleus", spectrum.nucleus);
    options.take("axis", spectrum.axis);
    options.take("noise", spectrum.noise);
    options.take("reference", spectrum.reference);
    options.take("eddy", spectrum.eddy);
    options.take("remove_water", spectrum.remove_water);
    options.take("water_order", spectrum.water_order);
    options.take("reference_peak", spectrum.reference_text);
    const std::string table = asked.value("table", "");
    const tools::water_options water = water_of(options);
    if (!water.file.empty() || water.scale)
        tools::check_amounts(water, tools::parse_peak_table(table, table_name));
    input.coils_beside =
        tools::has_coils(water.file, input) || tools::has_coils(spectrum.reference, input);
    std::optional<tools::reference_peak> of_table;
    if (!table.empty()) of_table = reference_of(table);
    spectrum.reference_peak = tools::settled_reference(spectrum.reference_text, of_table);

    ordered_json out = {{"names", ordered_json::array()}, {"said", ordered_json::array()}};
    tools::import_listener listener;
    listener.made = [&](const tools::imported_spectrum &made) {
        out["names"].push_back(made.name);
    };
    for (const std::string &text : tools::import_spectra(input, spectrum, listener))
        out["said"].push_back(text);
    if (!water.file.empty())
        for (const std::string &text :
             tools::add_water(water, input, spectrum, tools::parse_peak_table(table, table_name),
                              spectrum.folder, out["names"].get<std::vector<std::string>>()))
            out["said"].push_back(text);
    return out;
}

} // namespace web
