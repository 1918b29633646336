// SPDX-License-Identifier: BSD-3-Clause
// convert_spectra.cpp -- choice, mean, sense, correction, phase, length, transform, files: in this
// order, for every format
#include "files/measured/convert_spectra.h"

#include "files/base/held_text.h"
#include "files/base/output_file.h"
#include "files/base/sha256.h"
#include "files/base/tool_error.h"
#include "files/spectra/complex_polar.h"
#include "files/spectra/search_limits.h"
#include "files/spectra/signal_file.h"
#include "files/measured/condition_fid.h"
#include "files/measured/combined_source.h"
#include "files/measured/left_in_mean.h"
#include "files/measured/reference_check.h"
#include "files/measured/signal_items.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <iostream>
#include <map>
#include <numbers>

#include <unistd.h>

namespace tools {

void warn(const std::string &text) {
    std::cerr << "varokel-import: " << text << '\n';
}

void make_folder(const std::string &folder) {
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error)
        throw tool_error(bad_output, folder + ": folder cannot be made (" + error.message() + ")");
}

// The reference line of each output, or one for all.
struct reference_lines {
    std::unique_ptr<spectrum_source> source;
    std::string hash;
    choice chosen;

    std::size_t of_output(std::size_t output) const {
        return chosen.spectra.size() == 1 ? 0 : output;
    }
};

static reference_lines open_reference(const input_options &options, const spectrum_options &own,
                                      const spectrum_source &source, const choice &outputs,
                                      std::size_t points) {
    reference_lines lines;
    lines.source = open_combined(own.reference, "", options, true);
    const spectrum_source &reference = *lines.source;
    lines.chosen = choose_spectra(reference, options.choice, true);
    if (lines.chosen.spectra.size() != 1 && lines.chosen.spectra.size() != outputs.spectra.size())
        throw tool_error(bad_input,
                         reference.file + ": gives " + std::to_string(lines.chosen.spectra.size()) +
                             " reference spectra for " + std::to_string(outputs.spectra.size()) +
                             "; expected one, or one for each");
    if (reference.points < static_cast<long long>(points))
        throw tool_error(bad_input, reference.file + ": holds " + std::to_string(reference.points) +
                                        " points; expected at least the " + std::to_string(points) +
                                        " that are used of " + source.file);
    if (reference.facts.dwell_time &&
        std::abs(*reference.facts.dwell_time / *source.facts.dwell_time - 1.0) > 1e-5)
        throw tool_error(bad_input, reference.file + ": dwell time " +
                                        shortest(*reference.facts.dwell_time) + " s, but " +
                                        source.file + " has " + shortest(*source.facts.dwell_time) +
                                        " s; expected a reference with the same");
    lines.hash = sha256_of_file(reference.file);
    return lines;
}

// The one spectrum of an import that takes eddy currents out.
static complex_signal corrected_spectrum(const spectrum_conversion &conversion,
                                         spectrum_source &source, const choice &chosen,
                                         const reference_lines &lines,
                                         const input_options &options) {
    if (chosen.spectra.size() != 1)
        throw tool_error(wrong_usage, "--reference-peak with --eddy: expected one spectrum at a "
                                      "time (--index)");
    complex_signal fid = read_fids(source, chosen.spectra, 0, 1, conversion.used()).front();
    complex_signal water =
        read_fids(*lines.source, lines.chosen.spectra, 0, 1, conversion.used()).front();
    if (lines.source->opposite_sense != options.conjugate) conjugate(water);
    const measured_lineshape shape = lineshape_of(water, lines.source->file);
    return conversion.spectrum_of(std::move(fid), &shape, nullptr);
}

void import_spectra(const input_options &options, const spectrum_options &own) {
    if (own.eddy && own.reference.empty())
        throw tool_error(wrong_usage, "--eddy needs the reference line: --reference FILE");
    output_batch batch({options.input, options.json, own.reference}, options.force);
    input_options settled = options;
    settled.coils_beside = options.coils_beside || has_coils(own.reference, options);
    const std::unique_ptr<spectrum_source> source =
        open_combined(options.input, options.json, settled, false);
    const choice chosen = choose_spectra(*source, options.choice);
    spectrum_conversion conversion(*source, chosen, options, own);
    const signal_facts &facts = source->facts;
    const long long n = conversion.points();
    const std::size_t used = conversion.used();

    std::vector<std::string> inputs = {source->file};
    inputs.insert(inputs.end(), source->companions.begin(), source->companions.end());
    reference_lines lines;
    if (!own.reference.empty()) {
        lines = open_reference(options, own, *source, chosen, used);
        inputs.push_back(lines.source->file);
        inputs.insert(inputs.end(), lines.source->companions.begin(),
                      lines.source->companions.end());
        const std::string cancelled =
            warning_of_means(*lines.source, lines.chosen.spectra, own.memory);
        if (!cancelled.empty())
            source->warnings.push_back(file_name(lines.source->file) + ": " + cancelled);
    }

    conversion.look_at_all(own.memory);
    if (own.eddy && own.reference_peak)
        conversion.set_axis({corrected_spectrum(conversion, *source, chosen, lines, options)});
    const std::filesystem::path folder(own.folder);
    batch.add_inputs(inputs);
    const bool folder_was_there = std::filesystem::exists(folder);
    if (folder_was_there && !std::filesystem::is_directory(folder))
        throw tool_error(bad_output, own.folder + ": no folder; expected the name of one");
    for (std::size_t s = 0; s < chosen.spectra.size(); ++s) { // before the long work
        const std::string name = source->stem + chosen.spectra[s].suffix;
        batch.refuse_overwriting((folder / (name + ".bin")).string());
        batch.refuse_overwriting((folder / (name + ".json")).string());
        if (lines.source) batch.refuse_overwriting((folder / (name + ".bin.ref")).string());
    }

    held_text report;
    long long empty_voxels = 0;
    const std::size_t step = outputs_per_pass(own.memory, used);
    const bool shows_progress = chosen.spectra.size() > step && isatty(STDERR_FILENO) != 0;
    std::map<std::size_t, measured_lineshape> shapes; // of this pass
    for (std::size_t first = 0; first < chosen.spectra.size(); first += step) {
        const std::size_t stop = std::min(first + step, chosen.spectra.size());
        std::vector<complex_signal> fids = read_fids(*source, chosen.spectra, first, stop, used);
        if (lines.source) {
            const std::size_t begin = lines.of_output(first), end = lines.of_output(stop - 1) + 1;
            if (chosen.spectra.size() == 1 || shapes.empty() || lines.chosen.spectra.size() > 1) {
                shapes.clear();
                std::vector<complex_signal> waters =
                    read_fids(*lines.source, lines.chosen.spectra, begin, end, used);
                for (std::size_t w = begin; w < end; ++w) {
                    complex_signal &water = waters[w - begin];
                    if (chosen.grid &&
                        std::all_of(water.begin(), water.end(), [](auto v) { return v == 0.0; }))
                        continue; // such voxels hold no data either
                    refuse_no_reference(water, fids[std::min(w - begin, fids.size() - 1)],
                                        lines.source->file, facts);
                    if (lines.source->opposite_sense != options.conjugate) conjugate(water);
                    shapes.emplace(w, lineshape_of(water, lines.source->file));
                }
            }
        }
        for (std::size_t s = first; s < stop; ++s) {
            complex_signal &fid = fids[s - first];
            if (chosen.grid &&
                std::all_of(fid.begin(), fid.end(), [](auto v) { return v == 0.0; })) {
                ++empty_voxels;
                continue;
            }
            const chosen_spectrum output = chosen.spectra[s];
            const std::string name = source->stem + output.suffix;
            ordered_json sidecar;
            sidecar["signal"] = name + ".bin";
            sidecar.update(conversion.items());
            ordered_json &from = sidecar["source"];
            if (output.index || !output.place.contains("voxel"))
                from["index"] = output.index.value_or(0);
            for (const auto &[item, value] : output.place.items()) from[item] = value;
            if (!output.averaged.empty()) from["averaged"] = output.averaged;
            const ordered_json own_notes = source->notes_of(output.spectra.front());
            for (const auto &[item, value] : own_notes.items()) from[item].update(value);

            const measured_lineshape *shape = nullptr;
            if (lines.source) {
                const auto at = shapes.find(lines.of_output(s));
                if (at == shapes.end())
                    throw tool_error(bad_input, lines.source->file + ": the reference of " +
                                                    source->label(output.spectra.front()) +
                                                    " is all zeros; expected the FID of a line");
                shape = &at->second;
                sidecar["reference"] = {{"signal", name + ".bin.ref"},
                                        {"file", file_name(lines.source->file)},
                                        {"sha256", lines.hash},
                                        {"line_at_hz", shape->frequency / *facts.dwell_time},
                                        {"points_above_the_noise", shape->reliable},
                                        {"eddy_currents_corrected", own.eddy}};
            }
            if (const long long measured = conversion.measured_of(fid); measured < n)
                sidecar["measured_points"] = measured;
            const complex_signal spectrum =
                conversion.spectrum_of(std::move(fid), own.eddy ? shape : nullptr, &sidecar);
            const engine::noise_window noise = conversion.describe(spectrum, sidecar);

            if (!folder_was_there) make_folder(own.folder);
            const std::string signal_name = (folder / (name + ".bin")).string();
            const std::string sidecar_name = (folder / (name + ".json")).string();
            batch.add({signal_name, signal_bytes(spectrum)});
            batch.add({sidecar_name, sidecar.dump(2) + "\n"});
            std::string lines_of_one = signal_name + "\n" + sidecar_name + "\n";
            if (shape != nullptr) {
                complex_signal line = shape->line;
                if (own.eddy)
                    for (std::size_t k = 0; k < line.size(); ++k)
                        line[k] *= turn_by(2.0 * std::numbers::pi * shape->frequency *
                                               static_cast<double>(k) -
                                           shape->phase[k] + shape->phase[0]);
                line.resize(static_cast<std::size_t>(n));
                batch.add({signal_name + ".ref", signal_bytes(line)});
                lines_of_one += signal_name + ".ref\n";
            }
            // as the keywords of a control file have them
            lines_of_one += "n_pnts " + std::to_string(n) + "\nHz_p_p " +
                            shortest(conversion.items()["hz_per_point"].get<double>()) +
                            "\nnoistr " + std::to_string(noise.first) + "\nnoistp " +
                            std::to_string(noise.stop) + "\n";
            if (facts.begin_time)
                lines_of_one +=
                    "phi__1 " + shortest(delay_phase(*facts.begin_time, *facts.dwell_time)) + "\n";
            report.add(lines_of_one, own.folder);
        }
        if (shows_progress)
            std::cerr << '\r' << stop << " of " << chosen.spectra.size() << " spectra"
                      << (stop == chosen.spectra.size() ? "\n" : "") << std::flush;
    }
    if (report.empty())
        throw tool_error(bad_input,
                         source->file + ": all voxels are zero; expected measured points");
    batch.commit();

    // Not before: a file that cannot be used has one message, why.
    for (const std::string &text : conversion.remarks()) warn(text);
    if (empty_voxels > 0)
        warn("passed over " + std::to_string(empty_voxels) + " voxels that are all zero");
    report.print(std::cout);
}

void import_pattern(const input_options &options, const std::string &output) {
    const std::unique_ptr<spectrum_source> source =
        open_combined(options.input, options.json, options, false);
    const choice chosen = choose_spectra(*source, options.choice);
    if (chosen.spectra.size() != 1)
        throw tool_error(wrong_usage, source->file + ": " + std::to_string(chosen.spectra.size()) +
                                          " spectra chosen; expected one for a pattern");
    const long long n = length_for_fit(source->file, source->points, options.resize);
    if (n > search_limits::pattern_points)
        throw tool_error(bad_input, source->file + ": " + std::to_string(n) +
                                        " points, but a pattern holds up to " +
                                        std::to_string(search_limits::pattern_points) +
                                        "; --resize " +
                                        std::to_string(search_limits::pattern_points) + " cuts");
    complex_signal fid = read_fids(*source, chosen.spectra, 0, 1,
                                   static_cast<std::size_t>(std::min(n, source->points)))
                             .front();
    if (source->opposite_sense != options.conjugate) conjugate(fid);
    apply_phase(fid, options.phase, nullptr);
    fid.resize(static_cast<std::size_t>(n));
    std::vector<std::string> inputs = {source->file};
    inputs.insert(inputs.end(), source->companions.begin(), source->companions.end());
    write_files({{output, signal_bytes(binary_pattern(fid))}}, inputs, options.force);
    std::cout << output << '\n';
}

} // namespace tools
