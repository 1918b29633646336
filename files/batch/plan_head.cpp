// SPDX-License-Identifier: BSD-3-Clause
// plan_head.cpp -- the head of a manifest, each item within its bounds
#include "files/batch/plan_head.h"

#include "files/base/not_known.h"
#include "files/base/read_json.h"
#include "files/base/tool_error.h"
#include "files/spectra/number_range.h"

#include <algorithm>
#include <set>
#include <utility>

namespace tools {

static constexpr std::size_t longest_head = std::size_t{1} << 28; // a million inputs
static constexpr long long most_spectra = 100000000, most_points = 1 << 20, longest_line = 65536;
static constexpr long long most_voxels = 1LL << 31;
static constexpr std::size_t most_axes = 10;

void refuse_manifest(const std::string &name, const std::string &what) {
    refuse_input(name, what + "; expected the manifest as varokel-batch plan wrote it. Plan again");
}

std::string text_of_head(const manifest_file &file, long long &begin) {
    const std::string mark = std::string("\n") + spectra_begin;
    const auto size = static_cast<std::size_t>(file.size());
    std::string text;
    while (text.size() < std::min(size, longest_head)) {
        const std::size_t known = text.size();
        const std::size_t more = std::min<std::size_t>(1 << 16, size - known);
        text.resize(known + more);
        if (!file.read({text.data() + known, more}, static_cast<long long>(known))) break;
        const std::size_t at = text.find(mark, known < mark.size() ? 0 : known - mark.size());
        if (at == text.npos) continue;
        begin = static_cast<long long>(at + mark.size());
        text.resize(at + 1);
        return text;
    }
    refuse_manifest(file.name(), "holds no list of spectra");
}

static void read_seconds(plan_axis &axis, const head_items &items) {
    for (const auto &each : items.list("seconds")) {
        if (!each.is_number() || !std::isfinite(each.get<double>()))
            items.refuse("seconds", "no list of numbers");
        axis.seconds.push_back(each.get<double>());
    }
    if (static_cast<long long>(axis.seconds.size()) != axis.size)
        items.refuse("seconds", "no list with a number for each place");
}

// As plans call them: columns of tables have these names.
static bool is_axis_name(const std::string &name) {
    return !name.empty() &&
           name.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz_"
                                  "0123456789") == name.npos;
}

static void read_axes(batch_plan &plan, const head_items &items, const std::string &file) {
    long long voxels = 1;
    int spatial = 0;
    for (const auto &each : items.list("axes")) {
        const head_items axis(each, file);
        plan.axes.push_back(
            {axis.text("name"), axis.whole("size", 1, most_voxels), axis.truth("spatial")});
        if (!is_axis_name(plan.axes.back().name))
            axis.refuse("name", "no name of letters, digits and _");
        if (each.contains("seconds")) read_seconds(plan.axes.back(), axis);
        if (plan.axes.size() > most_axes || plan.axes.back().size > most_voxels / voxels)
            items.refuse("axes", "larger than any measurement");
        voxels *= plan.axes.back().size;
        if (plan.axes.back().spatial) ++spatial;
    }
    if (plan.grid && spatial != 3) items.refuse("grid", "true without three directions in space");
}

// What derive_batch takes from it.
static void check_water(const head_items &water, const std::string &file) {
    water.text("unit");
    if (!water.number("area", true)) water.refuse("area", "no number above 0");
    for (const auto &each : water.list("amounts")) {
        const head_items amount(each, file);
        amount.text("name");
        amount.text("expression");
        if (!amount.number("per_area", false)) amount.refuse("per_area", "no number");
    }
}

static void read_entries(batch_plan &plan, const head_items &items) {
    std::set<std::string> different;
    for (const auto &entry : items.list("entries")) {
        if (!entry.is_string() || !is_plain_text(entry.get<std::string>()))
            items.refuse("entries", "no list of names");
        if (!different.insert(entry.get<std::string>()).second)
            items.refuse("entries", "a list with a name twice");
        plan.entry_names.push_back(entry.get<std::string>());
    }
    for (const auto &each : items.list("derived")) {
        if (!each.is_string() || !is_plain_text(each.get<std::string>()))
            items.refuse("derived", "no list of expressions");
        plan.derived.push_back(each.get<std::string>());
    }
}

static void read_scale(batch_plan &plan, const head_items &scale, const std::string &file) {
    plan.scale.hz_per_point = scale.number("hz_per_point", true);
    plan.scale.mhz = scale.number("spectrometer_mhz", true);
    plan.scale.ppm_at_carrier = scale.number("ppm_at_carrier", false);
    for (const auto &[name, value] : {std::pair("hz_per_point", plan.scale.hz_per_point),
                                      std::pair("spectrometer_mhz", plan.scale.mhz)})
        if (value && !is_scale(*value)) scale.refuse(name, std::string("not ") + scale_expected);
    if (plan.scale.ppm_at_carrier && !is_in_range(*plan.scale.ppm_at_carrier))
        scale.refuse("ppm_at_carrier", std::string("not ") + number_expected);
    plan.scale.points = plan.points;
    if (scale.has("measured_points"))
        plan.scale.measured = scale.whole("measured_points", 1, plan.points);
    else if (scale.has("resized"))
        plan.scale.measured = std::min(
            plan.points, head_items(scale.item("resized"), file).whole("from", 1, 1LL << 40));
    plan.scale.ppm_rises_with_points =
        !scale.has("ppm_rises_with_points") || scale.truth("ppm_rises_with_points");
    if (scale.has("nucleus")) plan.scale.nucleus = scale.text("nucleus");
}

static void read_files(batch_plan &plan, const head_items &items, const std::string &file) {
    for (const auto &each : items.list("patterns")) {
        const std::string name = head_items(each, file).name("file");
        if (std::find(plan.pattern_files.begin(), plan.pattern_files.end(), name) !=
            plan.pattern_files.end())
            items.refuse("patterns", "a list with a name twice");
        plan.pattern_files.push_back(name);
    }
    for (const auto &each : items.list("inputs")) {
        const head_items input(each, file);
        plan.inputs.push_back(
            {bytes_of_json(input.item("file"), file), input.digest("sha256"), input.item("stamp")});
    }
}

void read_head(batch_plan &plan, const std::string &file) {
    const head_items items(plan.head, file);
    if (const long long format = items.whole("format", 0, 1000000); format != batch_format)
        refuse_input(file, "of format " + std::to_string(format) +
                               ", as another version of this program wrote it; this one reads " +
                               std::to_string(batch_format) +
                               ", which also holds how the errors of a fit hang together. That "
                               "version merges what it fitted; else plan and fit again");
    plan.spectra = items.whole("count", 1, most_spectra);
    plan.blocks = items.whole("blocks", 1, plan.spectra);
    plan.points = items.whole("points", 2, most_points);
    plan.keep = items.whole("keep", 0, plan.spectra);
    plan.line_bytes = items.whole("line_bytes", 2, longest_line);
    plan.list_sha256 = items.digest("list_sha256");
    plan.grid = items.truth("grid");
    plan.values = items.text("values");
    if (plan.values != "same" && plan.values != "estimate" && plan.values != "neighbour")
        items.refuse("values", "none of same, estimate and neighbour");
    const std::optional<fit_method> method = method_named(items.text("method"));
    if (!method) items.refuse("method", "none of classic, exact and both");
    plan.method = *method;
    read_axes(plan, items, file);
    read_entries(plan, items);
    if (items.has("source") && !items.item("source").is_object())
        items.refuse("source", "no description of a file");
    if (items.has("water")) check_water(head_items(items.item("water"), file), file);
    read_scale(plan, head_items(items.item("scale"), file), file);
    read_files(plan, items, file);
}

void read_windows(batch_plan &plan, const head_items &items, const std::string &file) {
    for (const auto &each : items.list("windows")) {
        const head_items window(each, file);
        const auto entry = static_cast<std::size_t>(
            window.whole("entry", 1, static_cast<long long>(plan.start.entries.size())));
        const auto parameter = static_cast<std::size_t>(window.whole("parameter", 1, quantities));
        const double from = window.number("from", false).value_or(not_known);
        const double to = window.number("to", false).value_or(not_known);
        if (!(from <= to)) items.refuse("windows", "no list of intervals");
        plan.start.entries[entry - 1].parameters[parameter - 1].window = {from, to};
    }
}

} // namespace tools
