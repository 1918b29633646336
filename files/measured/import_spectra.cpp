// SPDX-License-Identifier: BSD-3-Clause
// import_spectra.cpp -- choice, mean, sense, correction, phase, length, transform, files: in this
// order, for every format
#include "files/measured/import_spectra.h"

#include "files/base/output_file.h"
#include "files/base/tool_error.h"
#include "files/spectra/complex_polar.h"
#include "files/spectra/search_limits.h"
#include "files/spectra/signal_file.h"
#include "files/measured/condition_fid.h"
#include "files/measured/combined_source.h"
#include "files/measured/reference_lines.h"
#include "files/measured/signal_items.h"
#include "files/measured/spectrum_conversion.h"

#include <algorithm>
#include <filesystem>
#include <numbers>

namespace tools {

void make_folder(const std::string &folder) {
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error) refuse_output(folder, "folder cannot be made (" + error.message() + ")");
}

// What an import holds while it runs.
class spectra_import {
  public:
    spectra_import(const input_options &options, const spectrum_options &own)
        : options_(settled(options, own)), own_(own),
          batch_({options.input, options.json, own.reference}, options.force), folder_(own.folder),
          source_(open_combined(options.input, options.json, options_, false)),
          chosen_(choose_spectra(*source_, options.choice)),
          conversion_(*source_, chosen_, options_, own) {}

    std::vector<std::string> run(const import_listener &listener);

  private:
    static input_options settled(const input_options &options, const spectrum_options &own);
    void open_reference();
    void look_at_all();
    void refuse_overwriting();
    void write(std::size_t output, complex_signal fid, const import_listener &listener);
    ordered_json sidecar_of(const chosen_spectrum &output, const std::string &name) const;
    complex_signal written_line(const measured_lineshape &line) const;

    const input_options options_;
    const spectrum_options &own_;
    output_batch batch_;
    const std::filesystem::path folder_;
    bool folder_was_there_ = false;
    const std::unique_ptr<spectrum_source> source_;
    const choice chosen_;
    spectrum_conversion conversion_;
    std::optional<reference_lines> reference_;
    bool wrote_ = false;
};

input_options spectra_import::settled(const input_options &options, const spectrum_options &own) {
    if (own.eddy && own.reference.empty())
        throw tool_error(wrong_usage, "--eddy needs the reference line: --reference FILE");
    input_options out = options;
    out.coils_beside = options.coils_beside || has_coils(own.reference, options);
    return out;
}

static std::vector<std::string> files_of(const spectrum_source &source) {
    std::vector<std::string> files = {source.file};
    files.insert(files.end(), source.companions.begin(), source.companions.end());
    return files;
}

void spectra_import::open_reference() {
    reference_.emplace(options_, own_, *source_, chosen_, conversion_.used());
    const std::string warning = reference_->warning(own_.memory);
    if (!warning.empty()) source_->warnings.push_back(warning);
}

void spectra_import::look_at_all() {
    conversion_.look_at_all(own_.memory);
    if (!own_.eddy || !own_.reference_peak) return;
    if (chosen_.spectra.size() != 1)
        throw tool_error(wrong_usage, "--reference-peak with --eddy: expected one spectrum at a "
                                      "time (--index)");
    complex_signal fid = read_fids(*source_, chosen_.spectra, 0, 1, conversion_.used()).front();
    const measured_lineshape line = reference_->only_line();
    conversion_.set_axis(conversion_.spectrum_of(std::move(fid), &line, nullptr));
}

// Before the long work.
void spectra_import::refuse_overwriting() {
    folder_was_there_ = std::filesystem::exists(folder_);
    if (folder_was_there_ && !std::filesystem::is_directory(folder_))
        refuse_output(own_.folder, "no folder; expected the name of one");
    for (std::size_t s = 0; s < chosen_.spectra.size(); ++s) {
        const std::string name = source_->stem + chosen_.spectra[s].suffix;
        batch_.refuse_overwriting((folder_ / (name + ".bin")).string());
        batch_.refuse_overwriting((folder_ / (name + ".json")).string());
        if (reference_) batch_.refuse_overwriting((folder_ / (name + ".bin.ref")).string());
    }
}

// What is known before the conversion.
ordered_json spectra_import::sidecar_of(const chosen_spectrum &output,
                                        const std::string &name) const {
    ordered_json sidecar;
    sidecar["signal"] = name + ".bin";
    sidecar.update(conversion_.items());
    ordered_json &from = sidecar["source"];
    if (output.index || !output.place.contains("voxel")) from["index"] = output.index.value_or(0);
    for (const auto &[item, value] : output.place.items()) from[item] = value;
    if (!output.averaged.empty()) from["averaged"] = output.averaged;
    const ordered_json own_notes = source_->notes_of(output.spectra.front());
    for (const auto &[item, value] : own_notes.items()) from[item].update(value);
    return sidecar;
}

// The reference line as the data are: with eddy currents taken out of both, or of none.
complex_signal spectra_import::written_line(const measured_lineshape &shape) const {
    complex_signal line = shape.line;
    if (own_.eddy)
        for (std::size_t k = 0; k < line.size(); ++k)
            line[k] *= turn_by(2.0 * std::numbers::pi * shape.frequency * static_cast<double>(k) -
                               shape.phase[k] + shape.phase[0]);
    line.resize(static_cast<std::size_t>(conversion_.points()));
    return line;
}

void spectra_import::write(std::size_t output, complex_signal fid,
                           const import_listener &listener) {
    const std::string name = source_->stem + chosen_.spectra[output].suffix;
    ordered_json sidecar = sidecar_of(chosen_.spectra[output], name);
    const measured_lineshape *shape = nullptr;
    if (reference_) {
        shape = &reference_->line_of(output);
        sidecar["reference"] = reference_->items(*shape, name + ".bin.ref");
    }
    if (const long long measured = conversion_.measured_of(fid); measured < conversion_.points())
        sidecar["measured_points"] = measured;
    const complex_signal spectrum =
        conversion_.spectrum_of(std::move(fid), own_.eddy ? shape : nullptr, &sidecar);
    const engine::noise_window noise = conversion_.describe(spectrum, sidecar);

    if (!folder_was_there_) make_folder(own_.folder);
    imported_spectrum made;
    made.name = name;
    made.signal = (folder_ / (name + ".bin")).string();
    made.sidecar = (folder_ / (name + ".json")).string();
    batch_.add({made.signal, signal_bytes(spectrum)});
    batch_.add({made.sidecar, sidecar.dump(2) + "\n"});
    if (shape != nullptr) {
        made.reference = made.signal + ".ref";
        batch_.add({made.reference, signal_bytes(written_line(*shape))});
    }
    made.points = conversion_.points();
    made.hz_per_point = conversion_.items()["hz_per_point"].get<double>();
    made.noise = noise;
    const signal_facts &facts = source_->facts;
    if (facts.begin_time) made.phi_1 = delay_phase(*facts.begin_time, *facts.dwell_time);
    listener.made(made);
    wrote_ = true;
}

std::vector<std::string> spectra_import::run(const import_listener &listener) {
    if (!own_.reference.empty()) open_reference();
    look_at_all();
    batch_.add_inputs(files_of(*source_));
    if (reference_) batch_.add_inputs(files_of(reference_->source()));
    refuse_overwriting();

    long long empty_voxels = 0;
    const std::size_t count = chosen_.spectra.size();
    const std::size_t step = outputs_per_pass(own_.memory, conversion_.used());
    for (std::size_t first = 0; first < count; first += step) {
        const std::size_t stop = std::min(first + step, count);
        std::vector<complex_signal> fids =
            read_fids(*source_, chosen_.spectra, first, stop, conversion_.used());
        if (reference_) reference_->read(first, stop, fids);
        for (std::size_t s = first; s < stop; ++s)
            if (chosen_.grid && is_all_zero(fids[s - first]))
                ++empty_voxels;
            else
                write(s, std::move(fids[s - first]), listener);
        if (listener.passed && count > step) listener.passed(stop, count);
    }
    if (!wrote_) refuse_input(source_->file, "all voxels are zero; expected measured points");
    batch_.commit();

    std::vector<std::string> remarks = conversion_.remarks();
    if (empty_voxels > 0)
        remarks.push_back("passed over " + std::to_string(empty_voxels) +
                          " voxels that are all zero");
    return remarks;
}

std::vector<std::string> import_spectra(const input_options &options, const spectrum_options &own,
                                        const import_listener &listener) {
    return spectra_import(options, own).run(listener);
}

void import_pattern(const input_options &options, const std::string &output) {
    const std::unique_ptr<spectrum_source> source =
        open_combined(options.input, options.json, options, false);
    const choice chosen = choose_spectra(*source, options.choice);
    if (chosen.spectra.size() != 1)
        refuse_usage(source->file, std::to_string(chosen.spectra.size()) +
                                       " spectra chosen; expected one for a pattern");
    const long long n = length_for_fit(source->file, source->points, options.resize);
    if (n > search_limits::pattern_points)
        refuse_input(source->file, std::to_string(n) + " points, but a pattern holds up to " +
                                       std::to_string(search_limits::pattern_points) +
                                       "; --resize " +
                                       std::to_string(search_limits::pattern_points) + " cuts");
    complex_signal fid = read_fids(*source, chosen.spectra, 0, 1,
                                   static_cast<std::size_t>(std::min(n, source->points)))
                             .front();
    if (source->opposite_sense != options.conjugate) conjugate(fid);
    apply_phase(fid, options.phase, nullptr);
    fid.resize(static_cast<std::size_t>(n));
    write_files({{output, signal_bytes(binary_pattern(fid))}}, files_of(*source), options.force);
}

converted_spectra spectra_of_file(const input_options &options, const spectrum_options &own,
                                  std::size_t most) {
    const std::unique_ptr<spectrum_source> source =
        open_combined(options.input, options.json, options, false);
    const choice chosen = choose_spectra(*source, options.choice);
    spectrum_conversion conversion(*source, chosen, options, own);
    conversion.look_at_all(own.memory);
    converted_spectra out;
    out.chosen = chosen.spectra.size();
    for (std::size_t s = 0; s < chosen.spectra.size() && out.spectra.size() < most; ++s) {
        complex_signal fid =
            std::move(read_fids(*source, chosen.spectra, s, s + 1, conversion.used()).front());
        if (is_all_zero(fid)) continue;
        converted_spectrum &one = out.spectra.emplace_back();
        one.name = source->stem + chosen.spectra[s].suffix;
        one.sidecar = conversion.items();
        if (const long long measured = conversion.measured_of(fid); measured < conversion.points())
            one.sidecar["measured_points"] = measured;
        one.points = conversion.spectrum_of(std::move(fid), nullptr, &one.sidecar);
        conversion.describe(one.points, one.sidecar);
    }
    if (out.spectra.empty())
        refuse_input(source->file, "all points are zero; expected measured points");
    out.remarks = conversion.remarks();
    return out;
}

} // namespace tools
