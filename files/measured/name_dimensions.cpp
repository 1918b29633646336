// SPDX-License-Identifier: BSD-3-Clause
// name_dimensions.cpp -- what the FIDs of a file without named dimensions are
#include "files/measured/name_dimensions.h"

#include "files/base/tool_error.h"
#include "files/measured/text_items.h"

#include <algorithm>
#include <set>

namespace tools {

[[noreturn]] static void refuse_at(std::string_view word, const std::string &text,
                                   const std::string &from) {
    refuse_usage(from + " " + text,
                 "at \"" + std::string(word) +
                     "\"; expected names and numbers of FIDs, such as DIM_COIL=8,DIM_DYN=16");
}

// The dimensions of a text; size 0 where it has no number.
static std::vector<source_axis> dimensions_of(const std::string &text, const std::string &from) {
    static constexpr long long most = 1000000;
    std::vector<source_axis> axes;
    std::set<std::string> names;
    for (const std::string_view word : words_of(text)) {
        const std::size_t equals = word.find('=');
        source_axis axis{std::string(word.substr(0, equals)), 0};
        const bool is_name = !axis.name.empty() &&
                             axis.name.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ_0123456789") ==
                                 std::string::npos;
        const auto size = equals == word.npos ? std::optional<long long>(0)
                                              : whole_number_of(word.substr(equals + 1));
        if (!is_name || !size || *size > most || (*size < 1 && equals != word.npos) ||
            !names.insert(axis.name).second)
            refuse_at(word, text, from);
        axis.size = *size;
        axes.push_back(axis);
    }
    const auto open = std::count_if(axes.begin(), axes.end(),
                                    [](const source_axis &axis) { return axis.size == 0; });
    if (axes.empty() || open > 1)
        refuse_usage(
            from + " " + text,
            "expected names and numbers of FIDs, one of them without, such as DIM_COIL=8,DIM_DYN");
    return axes;
}

void name_dimensions(spectrum_source &source, const std::string &text, const std::string &from) {
    std::vector<source_axis> axes = dimensions_of(text, from);
    if (std::any_of(source.axes.begin(), source.axes.end(),
                    [](const source_axis &axis) { return axis.spatial; }))
        refuse_usage(from + " " + text, source.file + " names its dimensions itself");
    long long known = 1;
    bool fits = true;
    for (const source_axis &axis : axes)
        if (axis.size > 0 && fits) {
            fits = known <= source.spectra() / axis.size;
            known *= axis.size;
        }
    fits = fits && source.spectra() % known == 0;
    bool complete = true;
    for (source_axis &axis : axes)
        if (fits && axis.size == 0) {
            axis.size = source.spectra() / known;
            complete = false;
        }
    if (!fits || (complete && known != source.spectra()))
        refuse_usage(
            from + " " + text,
            source.file + " holds " + std::to_string(source.spectra()) +
                " FIDs; expected numbers whose product that is, or the last name without a number");
    std::optional<double> step;
    for (const source_axis &axis : source.axes)
        if (axis.step_seconds) step = axis.step_seconds;
    for (std::size_t a = axes.size(); a-- > 0 && step;)
        if (axes[a].name != "DIM_COIL") {
            axes[a].step_seconds = step;
            step.reset();
        }
    source.axes = std::move(axes);
}

} // namespace tools
