// SPDX-License-Identifier: BSD-3-Clause
// choose_spectra.cpp -- which FIDs of an input are converted, and which of them are averaged
#include "files/measured/choose_spectra.h"

#include "files/base/tool_error.h"
#include "files/measured/text_items.h"

#include <algorithm>

namespace tools {

bool is_called(const source_axis &axis, std::size_t number, const std::string &name) {
    std::string wanted = lower_case(name), own = lower_case(axis.name);
    if (wanted == own || wanted + "s" == own || wanted == own + "s") return true;
    if (own.starts_with("dim_") && wanted == own.substr(4)) return true;
    // x y z are dimensions 1 to 3 of such files, time is 4
    return number >= 3 &&
           (wanted == "dim_" + std::to_string(number + 2) || wanted == std::to_string(number + 2));
}

static std::optional<std::size_t> axis_named(const spectrum_source &source, const std::string &name,
                                             const char *option, bool pass_over_missing) {
    std::string names;
    for (std::size_t a = 0; a < source.axes.size(); ++a) {
        if (is_called(source.axes[a], a, name)) return a;
        if (source.axes[a].size > 1) names += (names.empty() ? "" : ", ") + source.axes[a].name;
    }
    if (pass_over_missing) return std::nullopt;
    refuse_usage(source.file,
                 std::string(option) + " " + name + ": no such dimension; " +
                     (names.empty() ? "the file holds one spectrum" : "the file has " + names));
}

static void take_voxel(const spectrum_source &source, const std::string &text,
                       std::vector<axis_choice> &choices) {
    const std::vector<std::string_view> words = words_of(text);
    std::size_t at = 0;
    for (std::size_t a = 0; a < source.axes.size(); ++a) {
        if (!source.axes[a].spatial) continue;
        const std::optional<long long> place =
            at < words.size() ? whole_number_of(words[at++]) : std::nullopt;
        if (!place || *place < 0 || *place >= source.axes[a].size)
            refuse_usage(source.file, "--voxel " + text + ": expected " + source.axes[a].name +
                                          " from 0 to " + std::to_string(source.axes[a].size - 1));
        choices[a] = {axis_choice::one, *place};
    }
    if (at == 0)
        refuse_usage(source.file,
                     "--voxel " + text + ": the file has no grid; --index chooses a spectrum");
    if (words.size() != 3) refuse_usage("--voxel " + text, "expected three numbers, X,Y,Z");
}

static std::vector<axis_choice> choices_of(const spectrum_source &source,
                                           const choice_options &options, bool pass_over_missing) {
    std::vector<axis_choice> choices(source.axes.size());
    if (!options.voxel.empty()) take_voxel(source, options.voxel, choices);
    for (const std::string &text : options.index) {
        const std::size_t equals = text.find('=');
        std::optional<std::size_t> axis;
        if (equals == text.npos) { // the only axis, or the only one with several spectra
            for (std::size_t a = 0; a < source.axes.size(); ++a) {
                if (source.axes[a].spatial) continue;
                if (source.axes[a].size > 1 && axis && source.axes[*axis].size > 1)
                    refuse_usage(source.file,
                                 "--index " + text +
                                     ": the file has several dimensions; name one, --index " +
                                     source.axes[a].name + "=" + text);
                if (!axis || source.axes[a].size > 1) axis = a;
            }
            if (!axis && text != "all" && text != "0" && !pass_over_missing)
                refuse_usage(source.file,
                             "--index " + text + ": the file holds one spectrum for each voxel");
        } else {
            axis = axis_named(source, text.substr(0, equals), "--index", pass_over_missing);
        }
        if (!axis) continue;
        const std::string value = equals == text.npos ? text : text.substr(equals + 1);
        if (value == "all") {
            choices[*axis] = {axis_choice::all, 0};
            continue;
        }
        const std::optional<long long> place = whole_number_of(value);
        if (!place || *place < 0)
            refuse_usage("--index " + text, "expected a number from 0 on, DIM=I, or all");
        if (pass_over_missing && source.axes[*axis].size == 1) continue;
        if (*place >= source.axes[*axis].size)
            refuse_usage(source.file, "--index " + text + ", but the last of its " +
                                          std::to_string(source.axes[*axis].size) +
                                          " spectra has index " +
                                          std::to_string(source.axes[*axis].size - 1));
        choices[*axis] = {axis_choice::one, *place};
    }
    for (const std::string &name : options.average)
        if (const auto axis = axis_named(source, name, "--average", pass_over_missing)) {
            if (choices[*axis].what != axis_choice::open)
                throw tool_error(wrong_usage, "--average " + name +
                                                  " and a choice of one in the same direction");
            choices[*axis] = {axis_choice::mean, 0};
        }
    return choices;
}

// What puts the FIDs of an axis together, where one does.
static std::string instead_of_mean(const std::string &axis) {
    return axis == "DIM_COIL"  ? ", or put them together with --combine-coils"
           : axis == "DIM_DYN" ? ", or align them before with --align-averages"
                               : "";
}

// Files with one axis and no grid keep the plain wording.
static void refuse_open_axis(const spectrum_source &source, const source_axis &axis) {
    const std::string last = std::to_string(axis.size - 1), count = std::to_string(axis.size);
    if (source.axes.size() == 1)
        refuse_usage(source.file, "holds " + count + " spectra; choose one with --index 0 to " +
                                      last + ", or --index all, or --average " + axis.name);
    refuse_usage(source.file, axis.name + " holds " + count + " spectra; choose one with --index " +
                                  axis.name + "=0 to " + last + ", all of them with --index " +
                                  axis.name + "=all, or their mean with --average " + axis.name +
                                  instead_of_mean(axis.name));
}

chosen_spectra::chosen_spectra(const spectrum_source &source, std::vector<axis_choice> choices,
                               bool has_grid)
    : axes_(source.axes), choices_(std::move(choices)), offsets_{0}, size_(1), has_grid_(has_grid) {
    long long stride = 1;
    for (std::size_t a = 0; a < axes_.size(); ++a) {
        if (choices_[a].what == axis_choice::all) size_ *= static_cast<std::size_t>(axes_[a].size);
        if (choices_[a].what == axis_choice::mean) {
            const std::size_t before = offsets_.size();
            for (long long i = 1; i < axes_[a].size; ++i)
                for (std::size_t m = 0; m < before; ++m)
                    offsets_.push_back(offsets_[m] + i * stride);
        }
        stride *= axes_[a].size;
    }
    std::sort(offsets_.begin(), offsets_.end());
}

chosen_spectra chosen_spectra::every(std::size_t n) const {
    chosen_spectra fewer = *this;
    fewer.step_ = step_ * n;
    fewer.size_ = (size_ + n - 1) / n;
    return fewer;
}

// Along an axis that stays. rest: number of the output among those that differ in this axis and
// the later ones only.
long long chosen_spectra::place(std::size_t axis, long long &rest) const {
    if (choices_[axis].what != axis_choice::all) return choices_[axis].place;
    const long long at = rest % axes_[axis].size;
    rest /= axes_[axis].size;
    return at;
}

std::vector<long long> chosen_spectra::members(std::size_t output) const {
    auto rest = static_cast<long long>(output * step_);
    long long first = 0, stride = 1;
    for (std::size_t a = 0; a < axes_.size(); ++a) {
        if (choices_[a].what != axis_choice::mean) first += place(a, rest) * stride;
        stride *= axes_[a].size;
    }
    std::vector<long long> all;
    all.reserve(offsets_.size());
    for (const long long offset : offsets_) all.push_back(first + offset);
    return all;
}

chosen_spectrum chosen_spectra::operator[](std::size_t output) const {
    chosen_spectrum spectrum;
    spectrum.place = ordered_json::object();
    spectrum.averaged = ordered_json::object();
    spectrum.spectra = members(output);
    auto rest = static_cast<long long>(output * step_);
    ordered_json voxel = ordered_json::array();
    std::string grid_suffix, suffix;
    for (std::size_t a = 0; a < axes_.size(); ++a) {
        const source_axis &axis = axes_[a];
        if (choices_[a].what == axis_choice::mean) {
            if (axis.size > 1) spectrum.averaged[axis.name] = axis.size;
            continue;
        }
        const long long at = place(a, rest);
        if (axis.spatial) {
            voxel.push_back(at);
            grid_suffix += "_" + std::to_string(at);
        } else if (axis.size > 1) {
            spectrum.place[axis.name] = at;
            std::string name = lower_case(axis.name);
            if (name.starts_with("dim_")) name.erase(0, 4);
            suffix += (axes_.size() == 1 ? "_" : "_" + name) + std::to_string(at);
        }
        if (axes_.size() == 1) spectrum.index = at;
    }
    if (has_grid_) {
        spectrum.place["voxel"] = voxel;
        suffix = grid_suffix + suffix;
    }
    spectrum.suffix = suffix;
    return spectrum;
}

choice choose_spectra(const spectrum_source &source, const choice_options &options,
                      bool pass_over_missing) {
    std::vector<axis_choice> choices = choices_of(source, options, pass_over_missing);
    choice chosen;
    bool has_grid = false;
    for (std::size_t a = 0; a < choices.size(); ++a) {
        const source_axis &axis = source.axes[a];
        has_grid = has_grid || (axis.spatial && axis.size > 1);
        if (choices[a].what != axis_choice::open) continue;
        if (axis.spatial) {
            choices[a].what = axis_choice::all;
            chosen.grid = chosen.grid || axis.size > 1;
        } else if (axis.size > 1) {
            refuse_open_axis(source, axis);
        } else {
            choices[a] = {axis_choice::one, 0};
        }
    }
    chosen.spectra = chosen_spectra(source, std::move(choices), has_grid);
    return chosen;
}

choice all_outputs(const spectrum_source &source, const choice_options &options) {
    choice_options averages;
    averages.average = options.average;
    std::vector<axis_choice> choices = choices_of(source, averages, false);
    bool has_grid = false;
    for (std::size_t a = 0; a < choices.size(); ++a) {
        has_grid = has_grid || (source.axes[a].spatial && source.axes[a].size > 1);
        if (choices[a].what == axis_choice::open) choices[a].what = axis_choice::all;
    }
    choice chosen;
    chosen.grid = has_grid;
    chosen.spectra = chosen_spectra(source, std::move(choices), has_grid);
    return chosen;
}

} // namespace tools
