// SPDX-License-Identifier: BSD-3-Clause
// merge_batch.cpp -- the parts of all shards become tables, maps and the store of curves
#include "varokel-batch/merge_batch.h"

#include "files/base/output_file.h"
#include "files/base/part_file.h"
#include "files/base/plain_text.h"
#include "files/base/sha256.h"
#include "files/base/tool_error.h"
#include "files/batch/derived_batch.h"
#include "files/nifti/grid_maps.h"
#include "files/results/number_text.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <limits>
#include <map>
#include <memory>
#include <set>

#include <unistd.h>

namespace tools {

namespace fs = std::filesystem;

static const char merge_again[] = " Merge again then";

static void fill_tables(const batch_plan &plan, const plan_lines &lines, all_parts &parts,
                        const std::vector<long long> &line_of_number, part_file &results,
                        part_file &quality, long long &failed) {
    const batch_table table(plan);
    std::map<finding_kind, long long> found;
    long long fitted = 0;
    results.add(results_header(table_shape_of(plan)));
    quality.add(quality_header(table_shape_of(plan)));
    for (long long number = 0; number < plan.spectra; ++number) {
        const long long line = line_of_number[static_cast<std::size_t>(number)];
        const planned_spectrum spectrum = lines.read(line);
        const fit_record &record = parts.read(line);
        if (record.state == fit_state::failed) ++failed;
        const batch_rows rows = table.rows_of(spectrum, record);
        results.add(rows.results);
        quality.add(rows.quality);
        if (record.state != fit_state::fitted) continue;
        ++fitted;
        std::set<finding_kind> kinds; // one that names several entries counts once
        for (const finding &each : rows.judgement.findings)
            if (each.level >= finding_level::amber) kinds.insert(each.kind);
        for (const finding_kind kind : kinds) ++found[kind];
    }
    if (!found.empty())
        std::cerr << "varokel-batch: warnings, of which a fit may have several (the verdicts that "
                     "run counts are one a fit):\n";
    for (const auto &[kind, count] : found)
        std::cerr << "varokel-batch: warning " << finding_text(kind) << ", " << count << " of "
                  << fitted << " fits: " << finding_meaning(kind) << '\n';
}

// A name of an entry as part of a file name.
static std::string safe_name(const std::string &name) {
    std::string safe;
    for (const char c : name)
        safe += std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '-' || c == '+' ? c : '_';
    return safe;
}

// Beginning of the names of an entry's maps, different for each.
static std::vector<std::string> stems_of(const std::vector<std::string> &entry_names) {
    std::vector<std::string> stems;
    for (std::size_t k = 0; k < entry_names.size(); ++k) {
        std::string stem = safe_name(entry_names[k]);
        while (std::count(stems.begin(), stems.end(), stem) > 0)
            stem += "_" + std::to_string(k + 1);
        stems.push_back(stem);
    }
    return stems;
}

std::vector<std::string> map_files_of(const std::vector<std::string> &entry_names) {
    std::vector<std::string> stems = stems_of(entry_names), files;
    stems.emplace_back("fit");
    for (const std::string &stem : stems)
        for (const map_quantity &each : every_map())
            files.push_back(stem + "_" + each.name + ".nii.gz");
    return files;
}

// Sizes of the images, and where each spectrum is in them.
struct map_shape {
    explicit map_shape(const batch_plan &plan) {
        for (const plan_axis &axis : plan.axes) {
            stride.push_back(voxels);
            if (axis.spatial || axis.size > 1) sizes.push_back(axis.size);
            voxels *= axis.size;
        }
    }
    std::size_t place_of(const planned_spectrum &spectrum) const {
        long long place = 0;
        for (std::size_t a = 0; a < stride.size(); ++a) place += spectrum.at[a] * stride[a];
        return static_cast<std::size_t>(place);
    }
    std::vector<long long> sizes, stride;
    long long voxels = 1;
};

static void make_map_folder(const batch_plan &plan) {
    std::error_code error;
    fs::create_directory(plan.file("maps"), error);
    if (fs::symlink_status(plan.file("maps"), error).type() != fs::file_type::directory)
        throw tool_error(bad_output, plan.file("maps") + ": cannot be made, or is no folder but a "
                                                         "link; is the folder yours?");
}

// With a point, which names of entries become none of.
static constexpr const char *derived_prefix = "derived.";

bool is_derived_map(const std::string &file_name) {
    return file_name.starts_with(derived_prefix) && file_name.ends_with(".nii.gz");
}

// What an earlier merge derived.
static void remove_derived(const batch_plan &plan) {
    unlink(plan.file("derived.tsv").c_str());
    unlink(plan.file("derived.json").c_str());
    std::error_code error;
    std::vector<fs::path> gone;
    if (fs::symlink_status(plan.file("maps"), error).type() != fs::file_type::directory) return;
    for (const fs::directory_entry &file : fs::directory_iterator(plan.file("maps"), error))
        if (is_derived_map(file.path().filename().string())) gone.push_back(file.path());
    for (const fs::path &file : gone) unlink(file.c_str());
}

// derived.tsv, and two maps for each expression of a grid: value and error.
static void write_derived(const batch_plan &plan, const plan_lines &lines, all_parts &parts,
                          const std::vector<std::string> &expressions,
                          std::vector<std::string> &names) {
    const std::vector<derived_column> columns = derive_batch(plan, lines, parts, expressions);
    write_files({{plan.file("derived.tsv"), derived_table(plan, lines, columns)},
                 {plan.file("derived.json"), derived_dictionary(table_shape_of(plan))}},
                {}, true);
    if (!plan.grid) return;
    make_map_folder(plan);
    const map_shape shape(plan);
    std::vector<std::string> titles;
    static constexpr std::size_t longest = 100; // file systems have an end
    for (const derived_column &column : columns) titles.push_back(column.name.substr(0, longest));
    const std::vector<std::string> stems = stems_of(titles);
    for (std::size_t c = 0; c < columns.size(); ++c)
        for (const bool error : {false, true}) {
            const std::vector<double> &from = error ? columns[c].errors : columns[c].values;
            std::vector<double> map(static_cast<std::size_t>(shape.voxels),
                                    std::numeric_limits<double>::quiet_NaN());
            for (long long line = 0; line < plan.spectra; ++line) {
                const planned_spectrum spectrum = lines.read(line);
                map[shape.place_of(spectrum)] = from[static_cast<std::size_t>(spectrum.number)];
            }
            const std::string name = plan.file("maps/") + derived_prefix + stems[c] +
                                     (error ? ".error_1sd" : "") + ".nii.gz";
            write_map(name, plan.file("voxels.nii"), shape.sizes, map,
                      columns[c].name + (error ? " error 1sd" : "") +
                          (columns[c].unit.empty() ? "" : " " + columns[c].unit));
            names.push_back(name);
        }
}

// One map after the other: storage for one entry's maps only.
static void write_maps(const batch_plan &plan, const plan_lines &lines, all_parts &parts,
                       std::vector<std::string> &names) {
    const std::vector<std::string> stems = stems_of(plan.entry_names);
    const map_shape shape(plan);
    make_map_folder(plan);
    const double none = std::numeric_limits<double>::quiet_NaN();
    const batch_table table(plan);
    const auto write_group = [&](const std::vector<map_quantity> &group, std::size_t entry,
                                 const std::string &stem, const std::string &title) {
        std::vector<std::vector<double>> maps(
            group.size(), std::vector<double>(static_cast<std::size_t>(shape.voxels), none));
        for (long long line = 0; line < plan.spectra; ++line) {
            const planned_spectrum spectrum = lines.read(line);
            const fit_record &record = parts.read(line);
            if (record.state != fit_state::fitted) continue;
            const fitted_entry own = table.entries_of(record)[entry];
            for (std::size_t m = 0; m < group.size(); ++m)
                maps[m][shape.place_of(spectrum)] = group[m].value(record, own);
        }
        for (std::size_t m = 0; m < group.size(); ++m) {
            const std::string name = plan.file("maps/") + stem + group[m].name + ".nii.gz";
            write_map(name, plan.file("voxels.nii"), shape.sizes, maps[m],
                      title + group[m].name + " " + group[m].unit);
            names.push_back(name);
        }
    };
    for (std::size_t k = 0; k < plan.entry_names.size(); ++k) {
        write_group(table.entry_maps(k), k, stems[k] + "_", plan.entry_names[k] + " ");
    }
    write_group(table.fit_maps(), 0, "fit_", "fit ");
}

// Curves of the fits that are kept: of all shards' worst the worst.
static void write_curves(const batch_plan &plan, const plan_lines &lines,
                         const std::vector<finished_shard> &shards) {
    struct kept {
        curve_head head;
        std::size_t shard;
        long long offset;
    };
    std::vector<kept> all;
    const long long size = curve_size(plan);
    std::string bytes(static_cast<std::size_t>(size), '\0');
    std::unique_ptr<std::FILE, int (*)(std::FILE *)> file(nullptr, std::fclose);
    std::size_t opened = shards.size(); // one at a time: there may be more than descriptors
    long long reached = 0;
    const auto read = [&](std::size_t s, long long at, curve_head &head) {
        if (s != opened) file.reset(std::fopen((shards[s].stem + ".curves").c_str(), "rbe"));
        opened = s;
        if (file && pread(fileno(file.get()), bytes.data(), bytes.size(), at) == size &&
            read_curve(plan, bytes, head) && head.line >= shards[s].first &&
            head.line < shards[s].stop)
            return;
        throw tool_error(bad_input, shards[s].stem + ".curves: is damaged; remove " +
                                        shards[s].stem + ".done and run the shard again");
    };
    for (std::size_t s = 0; s < shards.size(); ++s) {
        const auto end = static_cast<long long>(fs::file_size(shards[s].stem + ".curves"));
        curve_head head{};
        for (long long at = 0; at < end; at += size) {
            read(s, at, head);
            if (head.line >= reached) all.push_back({head, s, at});
        }
        reached = shards[s].stop;
    }
    std::sort(all.begin(), all.end(), [](const kept &a, const kept &b) {
        return a.head.quality != b.head.quality ? a.head.quality > b.head.quality
                                                : a.head.line < b.head.line;
    });
    if (static_cast<long long>(all.size()) > plan.keep)
        all.resize(static_cast<std::size_t>(plan.keep));
    part_file curves(plan.file("pictures.f32"), merge_again);
    std::string list = "row\tnumber\tspectrum\tfit_quality\tsha256\n";
    std::size_t row = 0;
    for (const kept &each : all) {
        curve_head head{};
        read(each.shard, each.offset, head);
        const auto curve = std::string_view(bytes).substr(sizeof head);
        curves.add(curve);
        const planned_spectrum spectrum = lines.read(head.line);
        list += std::to_string(row++) + "\t" + std::to_string(spectrum.number) + "\t" +
                text_cell(spectrum.name) + "\t" + table_number(head.quality) + "\t" +
                sha256_of(curve) + "\n";
    }
    write_files({{plan.file("pictures.tsv"), list}}, {}, true);
    curves.finish();
}

int merge_batch(const merge_options &options) {
    const batch_plan plan = read_plan(options.folder);
    const std::vector<std::string> expressions =
        expressions_of(plan, {{plan.file("manifest.json"), plan.derived}, {"", options.derive}});
    std::vector<std::string> names = {plan.file("results.tsv"), plan.file("results.json"),
                                      plan.file("quality.tsv"), plan.file("quality.json")};
    if (plan.keep > 0) {
        names.push_back(plan.file("pictures.f32"));
        names.push_back(plan.file("pictures.tsv"));
    }
    if (!expressions.empty() || plan.has_amounts())
        names.insert(names.end(), {plan.file("derived.tsv"), plan.file("derived.json")});
    const output_batch check({}, options.force);
    for (const std::string &name : names) check.refuse_overwriting(name);
    const plan_lines lines(plan);
    all_parts parts(plan, lines);
    const std::vector<long long> line_of_number = lines_by_number(plan, lines);
    long long failed = 0;
    part_file results(plan.file("results.tsv"), merge_again),
        quality(plan.file("quality.tsv"), merge_again);
    fill_tables(plan, lines, parts, line_of_number, results, quality, failed);
    // results.tsv says that all is there and of one merge: the first to go and the last to come
    std::error_code error;
    fs::remove(plan.file("results.tsv"), error);
    const table_shape shape = table_shape_of(plan);
    write_files({{plan.file("results.json"), results_dictionary(shape)},
                 {plan.file("quality.json"), quality_dictionary(shape)}},
                {}, true);
    std::vector<std::string> maps; // there may be hundreds: their folder is named, not each
    if (plan.grid) write_maps(plan, lines, parts, maps);
    if (options.force) remove_derived(plan);
    if (!expressions.empty() || plan.has_amounts())
        write_derived(plan, lines, parts, expressions, maps);
    if (plan.keep > 0) write_curves(plan, lines, parts.shards());
    quality.finish();
    results.finish();
    for (const std::string &name : names) std::cout << name << '\n';
    if (!maps.empty()) std::cout << plan.file("maps/") << " (" << maps.size() << " maps)\n";
    if (failed > 0)
        std::cerr << "varokel-batch: " << failed << " fits failed; quality.tsv says why\n";
    return failed > 0 ? different : all_right;
}

} // namespace tools
