// SPDX-License-Identifier: BSD-3-Clause
// read_plain_fid.cpp -- FIDs as little-endian float32 pairs, and what a JSON says about them
#include "files/measured/read_plain_fid.h"

#include "files/base/tool_error.h"
#include "files/spectra/metadata.h"
#include "files/spectra/signal_file.h"
#include "files/measured/name_dimensions.h"
#include "files/measured/signal_items.h"
#include "files/measured/text_items.h"

#include <bit>
#include <cstdint>
#include <filesystem>

namespace tools {

static double float_at(const unsigned char *byte) {
    std::uint32_t bits = 0;
    for (int b = 0; b < 4; ++b) bits |= static_cast<std::uint32_t>(byte[b]) << (8 * b);
    return static_cast<double>(std::bit_cast<float>(bits));
}

static std::complex<double> float_pair(const unsigned char *byte) {
    return {float_at(byte), float_at(byte + 4)};
}

std::string json_beside(const std::string &file) {
    // x.json may be the sidecar of the spectrum made from x.fid.f32, in the folder of its FID
    std::filesystem::path whole(file);
    whole.replace_extension(".json");
    const std::filesystem::path beside =
        std::filesystem::path(file).parent_path() / (stem_of(file) + ".json");
    std::error_code error;
    for (const std::filesystem::path &name : {whole, beside})
        if (name != file && std::filesystem::exists(name, error)) return name.string();
    return "";
}

static std::optional<std::array<double, 3>> voxel_of(const metadata &about) {
    const auto found = about.items().find("voxel_mm");
    if (found == about.items().end() || found->is_null()) return std::nullopt;
    std::array<double, 3> mm{};
    bool three = found->is_array() && found->size() == 3;
    for (std::size_t i = 0; three && i < 3; ++i) {
        three = (*found)[i].is_number() && (*found)[i].get<double>() > 0.0;
        if (three) mm[i] = (*found)[i].get<double>();
    }
    if (!three)
        refuse_input(about.file(),
                     "item voxel_mm; expected three edges above 0, such as [20, 20, 25]");
    return mm;
}

json_facts read_json_facts(const std::string &json, long long points_in_file) {
    const metadata about(json);
    json_facts read;
    read.points = about.positive_integer("n_points");
    read.spectra = about.positive_integer("n_spectra");
    read.step_seconds = about.positive_number("time_step_s");
    read.dimensions = about.text("dimensions");
    signal_facts &facts = read.facts;
    facts.dwell_time = about.positive_number("dwell_time_s");
    facts.mhz = about.positive_number("spectrometer_MHz");
    if (!facts.mhz) facts.mhz = about.positive_number("spectrometer_mhz"); // as sidecars have it
    facts.ppm_at_carrier = about.number("ppm_at_carrier");
    facts.echo_time = about.number("echo_time_s");
    facts.repetition_time = about.positive_number("repetition_time_s");
    facts.voxel_mm = voxel_of(about);
    if (const auto date = about.text("date")) facts.date = date_of(*date);
    facts.begin_time = about.number("begin_time_s");
    if (!facts.begin_time) facts.begin_time = about.number("dead_time_s");
    if (!facts.echo_time)
        if (const auto time = about.positive_number("TE_ms")) facts.echo_time = *time / 1e3;
    if (!facts.repetition_time)
        if (const auto time = about.positive_number("TR_ms")) facts.repetition_time = *time / 1e3;
    facts.averages = about.positive_number("averages");
    facts.nucleus = about.text("nucleus");
    facts.ppm_rises_with_points = about.truth("ppm_rises_with_points").value_or(true);
    const long long last = read.points.value_or(points_in_file) - 1;
    facts.noise_points = about.point_pair("noise_only_points", last);
    facts.fit_points = about.point_pair("metabolite_interval_points", last);
    return read;
}

// Spectra and patterns that varokel-import made lie beside a JSON, as floats, too. That of a
// spectrum may lie beside its FID as well. The JSON of others may have these items for anything.
static void refuse_made_of_fids(const std::string &file, const std::string &json) {
    const metadata about(json);
    const auto text = [&](const char *item) {
        const auto found = about.items().find(item);
        return found != about.items().end() && found->is_string() ? found->get<std::string>() : "";
    };
    const std::string content = text("content");
    if (content.starts_with(spectrum_content) && text("signal") == file_name(file))
        refuse_input(file, "a centred spectrum, says " + json +
                               "; expected FIDs. It is imported already: open the file that was "
                               "measured (varokel-start, varokel and varokel-plot take the "
                               "spectrum, varokel-batch its folder)");
    if (content.starts_with(patterns_content))
        refuse_input(file, "patterns, says " + json + "; expected FIDs");
}

void apply_json(spectrum_source &source, const std::string &json, long long points_in_file,
                const std::optional<long long> &points) {
    if (json.empty()) {
        split_into_spectra(source, points_in_file, points);
        return;
    }
    refuse_made_of_fids(source.file, json);
    const json_facts about = read_json_facts(json, points_in_file);
    source.facts = about.facts;
    source.companions.push_back(json);
    if (points && points != about.points) { // the stretches are of another spectrum
        source.facts.noise_points.reset();
        source.facts.fit_points.reset();
    }
    split_into_spectra(source, points_in_file, points ? points : about.points);
    source.axes.front().step_seconds = about.step_seconds;
    if (about.dimensions && !points)
        name_dimensions(source, *about.dimensions, json + ": item dimensions");
    if (!points && about.spectra && *about.spectra != source.spectra())
        refuse_input(source.file, "holds " + std::to_string(source.spectra()) + " spectra of " +
                                      std::to_string(source.points) + " points, but " + json +
                                      " says n_spectra " + std::to_string(*about.spectra));
}

std::unique_ptr<spectrum_source> read_plain_fid(const std::string &file, const std::string &json,
                                                const std::optional<long long> &points) {
    auto source = source_of<contiguous_source>(file, "float32");
    source->decode = float_pair;
    source->facts.ppm_rises_with_points = true;
    const long long in_file = count_points(file);
    apply_json(*source, json, in_file, points);
    return source;
}

} // namespace tools
