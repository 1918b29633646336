// SPDX-License-Identifier: BSD-3-Clause
#include "varokel-batch/plan_batch.h"

#include "files/base/output_file.h"
#include "files/base/own_files.h"
#include "files/base/plain_text.h"
#include "files/base/read_json.h"
#include "files/base/sha256.h"
#include "files/base/tool_error.h"
#include "files/batch/batch_plan.h"
#include "files/measured/open_source.h"
#include "files/measured/text_items.h"
#include "files/nifti/grid_maps.h"
#include "files/spectra/signal_file.h"

#include "varokel-batch/plan_folder.h"
#include "varokel-batch/spectrum_blocks.h"
#include "varokel-batch/start_choice.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <set>
#include <sstream>

#include <sys/stat.h>
#include <unistd.h>

namespace tools {

namespace fs = std::filesystem;

static void warn_of_plan(const std::string &text) {
    std::cerr << "varokel-batch: " << text << '\n';
}

// Everything that becomes the head of the manifest, and where the points come from.
struct planned_batch {
    std::vector<planned_spectrum> spectra;
    std::vector<plan_axis> axes;
    std::vector<std::string> inputs;
    nlohmann::ordered_json scale, source;
    long long points = 0;
    bool grid = false;
};

// A name that goes into tables, pages and the names of files.
static void refuse_name(const std::string &name, const std::string &file) {
    refuse_not_utf8(name, "the name of a spectrum,");
    if (!is_plain_name(name))
        throw tool_error(bad_input, file + ": \"" + name +
                                        "\" cannot be the name of a spectrum; expected up to 200 "
                                        "characters, none of them a control character, a / or a "
                                        "backslash, and neither . nor - in front. Rename the file");
}

static void add_spectrum(planned_spectrum &spectrum, const std::string &bytes, part_file &file) {
    sha256 hash;
    hash.add(bytes.data(), bytes.size());
    spectrum.sha256 = hash.digits();
    file.add(bytes);
}

// Numbers from 0 on: "0:99,200".
static std::set<long long> numbers_of(const std::string &text, long long count) {
    std::set<long long> numbers;
    std::istringstream words(text);
    for (std::string word; std::getline(words, word, ',');) {
        const std::size_t colon = word.find(':');
        const auto first = whole_number_of(word.substr(0, colon));
        const auto last = colon == word.npos ? first : whole_number_of(word.substr(colon + 1));
        if (!first || !last || *first < 0 || *last < *first || *last >= count)
            throw tool_error(wrong_usage,
                             "--select " + text +
                                 ": expected numbers and ranges FIRST:LAST from 0 to " +
                                 std::to_string(count - 1) + ", commas between");
        for (long long n = *first; n <= *last; ++n) numbers.insert(n);
    }
    if (numbers.empty()) throw tool_error(wrong_usage, "--select is empty");
    return numbers;
}

static void keep_selected(planned_batch &batch, std::vector<std::size_t> &origin,
                          const plan_options &options) {
    if (options.select.empty()) return;
    const std::set<long long> wanted =
        numbers_of(options.select, static_cast<long long>(batch.spectra.size()));
    std::vector<planned_spectrum> kept;
    std::vector<std::size_t> kept_origin;
    for (std::size_t s = 0; s < batch.spectra.size(); ++s)
        if (wanted.contains(static_cast<long long>(s))) {
            kept.push_back(std::move(batch.spectra[s]));
            kept_origin.push_back(origin[s]);
        }
    batch.spectra = std::move(kept);
    origin = std::move(kept_origin);
}

static void take_scale(planned_batch &batch, const nlohmann::ordered_json &sidecar) {
    for (const char *const item :
         {"hz_per_point", "dwell_time_s", "spectrometer_mhz", "ppm_at_carrier",
          "ppm_rises_with_points", "nucleus", "begin_time_s", "phi_1_degrees", "noise_window",
          "fit_interval_points", "resized", "measured_points"})
        if (sidecar.contains(item)) batch.scale[item] = sidecar[item];
    if (!batch.scale.contains("noise_window")) return;
    for (const char *const of_one_spectrum : {"sd_real", "sd_imaginary"})
        batch.scale["noise_window"].erase(of_one_spectrum);
}

// Reads the FIDs of a pass, means where they are wanted.
//
// Returns: not zero for those with points that are no finite numbers.
static std::vector<char> read_pass(spectrum_source &source,
                                   const std::vector<chosen_spectrum> &chosen,
                                   const std::vector<std::size_t> &origin, std::size_t first,
                                   std::size_t stop, std::vector<complex_signal> &fids,
                                   std::size_t points) {
    std::vector<signal_share> shares;
    for (std::size_t s = first; s < stop; ++s)
        for (const long long spectrum : chosen[origin[s]].spectra)
            shares.push_back({spectrum, s - first});
    std::sort(shares.begin(), shares.end(),
              [](const signal_share &a, const signal_share &b) { return a.spectrum < b.spectrum; });
    fids.assign(stop - first, complex_signal(points));
    std::set<long long> found;
    source.faulty = &found;
    source.add_to(shares, fids);
    source.faulty = nullptr;
    std::vector<char> faulty(stop - first, 0);
    for (const signal_share &share : shares)
        if (found.contains(share.spectrum)) faulty[share.sum] = 1;
    for (std::size_t s = first; s < stop; ++s)
        if (const std::size_t members = chosen[origin[s]].spectra.size(); members > 1)
            for (std::complex<double> &point : fids[s - first])
                point /= static_cast<double>(members);
    return faulty;
}

static void convert_input(const plan_options &options, const std::string &work,
                          planned_batch &batch) {
    input_options input = options.input;
    const std::unique_ptr<spectrum_source> source =
        open_source(input.input, input.format, input.json, input.points);
    // in a batch, what is not chosen is wanted as a whole
    choice chosen;
    {
        choice_options wanted = input.choice;
        for (std::size_t a = 0; a < source->axes.size(); ++a) {
            const source_axis &axis = source->axes[a];
            if (axis.spatial || axis.size == 1) continue;
            choice_options with_all = wanted;
            with_all.index.push_back(axis.name + "=all");
            const auto names_axis = [&](const std::string &text) {
                const std::string name = lower_case(text.substr(0, text.find('=')));
                const std::string own = lower_case(axis.name);
                return name == own || "dim_" + name == own ||
                       name == "dim_" + std::to_string(a + 2) || name == std::to_string(a + 2);
            };
            const bool given =
                std::any_of(wanted.average.begin(), wanted.average.end(), names_axis) ||
                std::any_of(wanted.index.begin(), wanted.index.end(), [&](const std::string &text) {
                    return text.find('=') == text.npos || names_axis(text);
                });
            if (!given) wanted = with_all;
        }
        chosen = choose_spectra(*source, wanted);
    }
    batch.inputs.push_back(source->file);
    for (const std::string &companion : source->companions) batch.inputs.push_back(companion);
    for (const source_axis &axis : source->axes)
        if (axis.spatial || axis.size > 1) // the column "spectrum" has the names
            batch.axes.push_back(
                {axis.name == "spectrum" ? "index" : axis.name, axis.size, axis.spatial});
    std::vector<long long> sizes;
    for (const plan_axis &axis : batch.axes)
        if (axis.spatial) sizes.push_back(axis.size);
    const bool has_voxels =
        std::any_of(sizes.begin(), sizes.end(), [](long long n) { return n > 1; });
    batch.grid = source->format == "NIfTI-MRS" && sizes.size() == 3 && has_voxels && has_images();
    if (!has_voxels) std::erase_if(batch.axes, [](const plan_axis &axis) { return axis.spatial; });

    std::vector<bool> inside;
    if (!options.mask.empty()) {
        if (sizes.size() != 3 || !has_voxels)
            throw tool_error(wrong_usage, "--mask " + options.mask + ": " + source->file +
                                              " has no grid of voxels");
        bool moved = false;
        inside = read_mask(options.mask, sizes, source->file, moved);
        if (moved)
            warn_of_plan(options.mask + ": lies elsewhere in space than " + source->file +
                         " as their headers say; voxels are taken by their number");
        batch.inputs.push_back(options.mask);
    }
    std::vector<std::size_t> origin;
    for (std::size_t c = 0; c < chosen.spectra.size(); ++c) {
        const chosen_spectrum &each = chosen.spectra[c];
        const std::vector<long long> at = source->position(each.spectra.front());
        planned_spectrum spectrum;
        long long voxel = 0, stride = 1;
        for (std::size_t a = 0; a < source->axes.size(); ++a) {
            const source_axis &axis = source->axes[a];
            if (axis.spatial) {
                voxel += at[a] * stride;
                stride *= axis.size;
            }
            if (axis.spatial ? has_voxels : axis.size > 1) spectrum.at.push_back(at[a]);
        }
        if (!inside.empty() && !inside[static_cast<std::size_t>(voxel)]) continue;
        spectrum.name = source->stem + each.suffix;
        refuse_name(spectrum.name, source->file);
        batch.spectra.push_back(std::move(spectrum));
        origin.push_back(c);
    }
    keep_selected(batch, origin, options);
    if (batch.spectra.empty())
        throw tool_error(bad_input, options.mask + ": no voxel above 0; expected some to fit");

    spectrum_conversion conversion(*source, chosen, input, options.spectrum);
    const std::size_t used = conversion.used();
    batch.points = conversion.points();
    const std::size_t step =
        std::max<std::size_t>(1, (static_cast<std::size_t>(options.spectrum.memory) << 20) /
                                     (used * sizeof(std::complex<double>)));
    conversion.share_noise_window(options.spectrum.memory);
    part_file file(work + "/spectra.f32");
    std::vector<complex_signal> fids;
    bool described = false;
    for (std::size_t first = 0; first < batch.spectra.size(); first += step) {
        const std::size_t stop = std::min(first + step, batch.spectra.size());
        const std::vector<char> faulty =
            read_pass(*source, chosen.spectra, origin, first, stop, fids, used);
        for (std::size_t s = first; s < stop; ++s) {
            planned_spectrum &spectrum = batch.spectra[s];
            spectrum.number = static_cast<long long>(s);
            complex_signal &fid = fids[s - first];
            const bool zero = std::all_of(fid.begin(), fid.end(), [](auto v) { return v == 0.0; });
            if (faulty[s - first] != 0) {
                spectrum.state = signal_state::not_finite;
            } else if (zero) {
                spectrum.state = signal_state::all_zero;
            }
            if (spectrum.state != signal_state::fit) {
                add_spectrum(spectrum,
                             std::string(static_cast<std::size_t>(8 * batch.points), '\0'), file);
                continue;
            }
            conversion.measured_of(fid);
            const complex_signal points = conversion.spectrum_of(std::move(fid), nullptr, nullptr);
            if (!described) { // window and axis hold for all
                nlohmann::ordered_json sidecar = conversion.items();
                conversion.describe(points, sidecar);
                described = true;
                take_scale(batch, sidecar);
                batch.source = sidecar.at("source");
                for (const char *const item : {"guessed", "warnings"})
                    if (sidecar.contains(item)) batch.source[item] = sidecar[item];
            }
            add_spectrum(spectrum, signal_bytes(points), file);
        }
        if (step < batch.spectra.size() && isatty(STDERR_FILENO) != 0)
            std::cerr << '\r' << stop << " of " << batch.spectra.size() << " spectra"
                      << (stop == batch.spectra.size() ? "\n" : "") << std::flush;
    }
    file.finish();
    if (!described)
        throw tool_error(bad_input, source->file + ": no spectrum with finite points that are not "
                                                   "all zero; expected measured points");
    if (conversion.measured() < batch.points)
        batch.scale["measured_points"] = conversion.measured();
    for (const std::string &text : conversion.remarks()) warn_of_plan(text);
}

// A place along an axis, from 0 on.
static bool is_place(const nlohmann::ordered_json &item) {
    static constexpr long long most = 1000000;
    return item.is_number_integer() && item.get<long long>() >= 0 && item.get<long long>() <= most;
}

// Whether all sidecars of a folder name one noise window, or that of the first was given by the
// user or the file. What is chosen for one spectrum may hold the lines of another.
static bool shares_window(const std::string &folder, const planned_batch &batch) {
    const auto window_of = [&](const planned_spectrum &spectrum) {
        std::ifstream stream(folder + "/" + spectrum.name + ".json");
        const nlohmann::json items = nlohmann::json::parse(stream, nullptr, false);
        const auto found = items.is_object() ? items.find("noise_window") : items.end();
        return found != items.end() && found->is_object() ? *found : nlohmann::json::object();
    };
    const auto item_of = [](const nlohmann::json &window, const char *name) {
        return window.contains(name) ? window[name] : nlohmann::json();
    };
    const nlohmann::json first = window_of(batch.spectra.front());
    if (item_of(first, "chosen_by") != "quietest stretch") return true;
    return std::all_of(batch.spectra.begin(), batch.spectra.end(), [&](const auto &spectrum) {
        const nlohmann::json own = window_of(spectrum);
        return item_of(own, "first") == item_of(first, "first") &&
               item_of(own, "stop") == item_of(first, "stop");
    });
}

static complex_signal complex_signal_of(const std::vector<float> &parts) {
    complex_signal signal(parts.size() / 2);
    for (std::size_t i = 0; i < signal.size(); ++i)
        signal[i] = {static_cast<double>(parts[2 * i]), static_cast<double>(parts[2 * i + 1])};
    return signal;
}

// The folder that varokel-import filled: NAME.bin with NAME.json.
static void take_folder(const plan_options &options, const std::string &work,
                        planned_batch &batch) {
    const std::string &folder = options.input.input;
    std::vector<std::string> names;
    std::error_code error;
    for (const fs::directory_entry &file : fs::directory_iterator(folder, error))
        if (file.path().extension() == ".bin" &&
            fs::exists(fs::path(file.path()).replace_extension(".json"), error))
            names.push_back(file.path().stem().string());
    if (names.empty())
        throw tool_error(bad_input, folder + ": no NAME.bin with NAME.json; expected the folder "
                                             "that varokel-import filled");
    // 2 before 10
    std::sort(names.begin(), names.end(), [](const std::string &a, const std::string &b) {
        return strverscmp(a.c_str(), b.c_str()) < 0;
    });
    std::vector<std::size_t> origin(names.size());
    bool all_voxels = true, all_indices = true;
    std::vector<std::vector<long long>> voxels, indices;
    for (std::size_t s = 0; s < names.size(); ++s) {
        origin[s] = s;
        refuse_name(names[s], folder + "/" + names[s] + ".bin");
        const metadata sidecar(folder + "/" + names[s] + ".json");
        const nlohmann::ordered_json items = json_of_file(sidecar.file());
        const nlohmann::ordered_json none = nlohmann::ordered_json::object();
        const nlohmann::ordered_json &from =
            items.contains("source") && items["source"].is_object() ? items["source"] : none;
        const auto n = sidecar.positive_integer("points");
        const auto hz = sidecar.positive_number("hz_per_point");
        if (!n || !hz)
            throw tool_error(bad_input, sidecar.file() + ": item points or hz_per_point is "
                                                         "missing; convert the signal again");
        if (s == 0) {
            batch.points = *n;
            axis_of_sidecar(sidecar); // items of the wrong kind are refused here
            take_scale(batch, items);
            batch.source = {{"folder", fs::path(folder).filename().string()}};
        }
        if (*n != batch.points || *hz != batch.scale["hz_per_point"].get<double>())
            throw tool_error(bad_input, sidecar.file() +
                                            ": another number of points or other "
                                            "hertz per point than " +
                                            names.front() +
                                            "; expected one kind of spectra in a "
                                            "batch. Fit them apart");
        all_voxels = all_voxels && from.contains("voxel") && from["voxel"].is_array() &&
                     from["voxel"].size() == 3 &&
                     std::all_of(from["voxel"].begin(), from["voxel"].end(), is_place);
        all_indices = all_indices && from.contains("index") && is_place(from["index"]);
        if (all_voxels) voxels.push_back(from["voxel"].get<std::vector<long long>>());
        if (all_indices) indices.push_back({from["index"].get<long long>()});
        planned_spectrum spectrum;
        spectrum.name = names[s];
        batch.spectra.push_back(spectrum);
        batch.inputs.push_back(folder + "/" + names[s] + ".bin");
    }
    const std::vector<std::vector<long long>> *places = nullptr;
    if (all_voxels) {
        batch.axes = {{"x", 1, true}, {"y", 1, true}, {"z", 1, true}};
        places = &voxels;
    } else if (all_indices) {
        batch.axes = {{"index", 1, false}};
        places = &indices;
    }
    for (std::size_t s = 0; places != nullptr && s < names.size(); ++s) {
        batch.spectra[s].at = (*places)[s];
        for (std::size_t a = 0; a < batch.axes.size(); ++a)
            batch.axes[a].size = std::max(batch.axes[a].size, (*places)[s][a] + 1);
    }
    keep_selected(batch, origin, options);
    const bool one_window = shares_window(folder, batch);
    engine::shared_stretch_search search;
    part_file file(work + "/spectra.f32");
    batch.inputs.clear();
    for (std::size_t s = 0; s < batch.spectra.size(); ++s) {
        planned_spectrum &spectrum = batch.spectra[s];
        const std::string name = folder + "/" + spectrum.name + ".bin";
        batch.inputs.push_back(name);
        spectrum.number = static_cast<long long>(s);
        if (count_points(name) != batch.points)
            throw tool_error(bad_input, name + ": holds " + std::to_string(count_points(name)) +
                                            " points; expected the " +
                                            std::to_string(batch.points) + " of its sidecar");
        std::string bytes(static_cast<std::size_t>(8 * batch.points), '\0');
        std::ifstream stream(name, std::ios::binary);
        if (!stream.read(bytes.data(), static_cast<std::streamsize>(bytes.size())))
            throw tool_error(bad_input, name + ": cannot be read; is it yours to read?");
        std::vector<float> parts(bytes.size() / sizeof(float));
        std::memcpy(parts.data(), bytes.data(), bytes.size());
        if (!std::all_of(parts.begin(), parts.end(), [](float v) { return std::isfinite(v); }))
            spectrum.state = signal_state::not_finite;
        else if (std::all_of(parts.begin(), parts.end(), [](float v) { return v == 0.0F; }))
            spectrum.state = signal_state::all_zero;
        if (spectrum.state != signal_state::fit)
            bytes.assign(bytes.size(), '\0');
        else if (!one_window)
            search.add(complex_signal_of(parts));
        add_spectrum(spectrum, bytes, file);
    }
    file.finish();
    if (one_window || search.spectra() == 0) return;
    const auto [first, stop] = search.stretch();
    batch.scale["noise_window"] = {{"first", first},
                                   {"stop", stop},
                                   {"chosen_by", "quietest stretch"},
                                   {"shared_by_spectra", search.spectra()}};
    warn_of_plan("the sidecars name different noise windows; took the quietest stretch of " +
                 std::to_string(search.spectra()) + " spectra together, points " +
                 std::to_string(first) + " to " + std::to_string(stop - 1) +
                 "; look at it before you trust the error bounds");
}

static long long fits_kept(const std::string &keep, long long spectra) {
    static constexpr long long all_up_to = 1000, worst_beyond = 100;
    if (keep.empty()) return spectra <= all_up_to ? spectra : worst_beyond;
    if (keep == "all") return spectra;
    if (keep == "none") return 0;
    const auto count = keep.starts_with("worst:") ? whole_number_of(keep.substr(6)) : std::nullopt;
    if (!count || *count < 1)
        throw tool_error(wrong_usage, "--keep " + keep + ": expected all, none or worst:N");
    return std::min(*count, spectra);
}

static void write_manifest(const plan_options &options, const planned_batch &batch,
                           const start_choice &start, long long blocks, const std::string &work) {
    std::vector<std::string> lines;
    std::size_t longest = 0;
    for (const planned_spectrum &spectrum : batch.spectra)
        longest = std::max(longest, line_of(spectrum).size());
    nlohmann::ordered_json head;
    head["format"] = batch_format;
    head["program"] = "varokel-batch " VAROKEL_VERSION;
    head["command"] = nlohmann::ordered_json::array();
    for (const std::string &word : options.command) head["command"].push_back(json_of_bytes(word));
    head["source"] = batch.source;
    head["scale"] = batch.scale;
    head["points"] = batch.points;
    head["axes"] = nlohmann::ordered_json::array();
    for (const plan_axis &axis : batch.axes)
        head["axes"].push_back(
            {{"name", axis.name}, {"size", axis.size}, {"spatial", axis.spatial}});
    head["grid"] = batch.grid;
    head["values"] = options.values;
    head["method"] = options.method;
    head["entries"] = start.names;
    head["windows"] = start.windows;
    head["start_sha256"] = sha256_of_file(work + "/start.par");
    if (!options.peaks.empty()) head["peaks_sha256"] = sha256_of_file(work + "/peaks.txt");
    head["names_sha256"] = sha256_of_file(work + "/names.txt");
    if (batch.grid) head["voxels_sha256"] = sha256_of_file(work + "/voxels.nii");
    head["sidecar_sha256"] = sha256_of_file(work + "/sidecar.json");
    head["guessed"] = start.guesses;
    head["patterns"] = nlohmann::ordered_json::array();
    for (const std::string &name : start.pattern_files)
        head["patterns"].push_back(
            {{"file", name}, {"sha256", sha256_of_file(work + "/patterns/" + name)}});
    head["inputs"] = nlohmann::ordered_json::array();
    std::vector<std::string> inputs = batch.inputs;
    for (const std::string &each : start.inputs) inputs.push_back(each);
    for (const std::string &each : inputs)
        head["inputs"].push_back(
            {{"file", json_of_bytes(fs::absolute(each).lexically_normal().string())},
             {"sha256", sha256_of_file(each)},
             {"stamp", stamp_of(each)}});
    head["keep"] = fits_kept(options.keep, static_cast<long long>(batch.spectra.size()));
    head["blocks"] = blocks;
    head["line_bytes"] = longest + 2;
    const std::string name = work + "/manifest.json";
    part_file file(name);
    head["count"] = batch.spectra.size();
    std::string text = json_text(head, 1, name);
    text.resize(text.rfind('\n')); // the closing brace comes behind the list
    text += ",\n";
    sha256 list;
    for (const planned_spectrum &spectrum : batch.spectra) {
        std::string line = line_of(spectrum);
        list.add(line.data(), line.size());
    }
    text += " \"list_sha256\": \"" + list.digits() + "\",\n";
    file.add(text + " \"spectra\": [\n");
    for (std::size_t s = 0; s < batch.spectra.size(); ++s) {
        std::string line = line_of(batch.spectra[s]);
        line += s + 1 < batch.spectra.size() ? "," : " ";
        line.resize(longest + 1, ' ');
        file.add(line + '\n');
    }
    file.add(" ]\n}\n");
    file.finish();
}

void plan_batch(const plan_options &options) {
    if (options.start.empty() == options.peaks.empty())
        throw tool_error(wrong_usage, "start values are needed: --start FILE or --peaks TABLE");
    if (options.folder.empty()) throw tool_error(wrong_usage, "-o FOLDER is needed");
    if (!options.spectrum.reference.empty() || options.spectrum.eddy)
        throw tool_error(wrong_usage, "reference lines are for varokel-import; plan its folder");
    plan_folder folder(options.folder, options.input.force);
    const std::string &work = folder.work();
    std::error_code error;

    planned_batch batch;
    if (fs::is_directory(options.input.input, error)) {
        if (!options.mask.empty())
            throw tool_error(wrong_usage, "--mask needs an input with a grid, not a folder");
        take_folder(options, work, batch);
    } else {
        convert_input(options, work, batch);
    }
    nlohmann::ordered_json sidecar = {{"points", batch.points}};
    sidecar.update(batch.scale);
    if (batch.source.contains("guessed")) sidecar["guessed"] = batch.source["guessed"];
    write_files({{work + "/sidecar.json", json_text(sidecar, 2, "sidecar.json") + "\n"}}, {},
                false);
    const start_choice start =
        choose_start(options, batch.scale, batch.points, work, batch.spectra);
    const long long blocks =
        arrange_blocks(batch.spectra, batch.axes, options.values == "neighbour");
    if (batch.grid) {
        std::vector<long long> sizes;
        std::size_t voxels = 1;
        for (const plan_axis &axis : batch.axes) {
            if (!axis.spatial) continue;
            sizes.push_back(axis.size);
            voxels *= static_cast<std::size_t>(axis.size);
        }
        std::vector<double> planned(voxels, 0.0);
        for (const planned_spectrum &each : batch.spectra)
            planned[static_cast<std::size_t>(each.at[0] +
                                             sizes[0] * (each.at[1] + sizes[1] * each.at[2]))] =
                each.state == signal_state::fit ? 1.0 : 0.0;
        write_map(work + "/voxels.nii", options.input.input, sizes, planned, "voxels to be fitted");
    }
    write_manifest(options, batch, start, blocks, work);

    folder.put_in_place();
    long long counts[3] = {};
    for (const planned_spectrum &each : batch.spectra) ++counts[static_cast<int>(each.state)];
    std::cout << options.folder + "/manifest.json" << '\n'
              << "spectra " << batch.spectra.size() << "\nto fit " << counts[0] << "\nall zero "
              << counts[1] << "\nnot finite " << counts[2] << "\nentries " << start.names.size()
              << "\nblocks " << blocks << '\n';
}

} // namespace tools
