// SPDX-License-Identifier: BSD-3-Clause
// start_file.cpp -- the contents of a start value / fit control file, of any generation
#include "files/start/start_file.h"

#include "files/base/format_text.h"
#include "files/base/tool_error.h"
#include "files/spectra/search_limits.h"

#include "kernel/line_width.h"

#include <algorithm>
#include <cmath>
#include <functional>

namespace tools {

const char *name_of(int quantity) {
    static const char *const names[] = {"area", "frequency", "gauss", "phase", "lorentz"};
    return names[quantity];
}

const char *type_name(int type) {
    static const char *const names[] = {"?", "gauss", "lorentz", "voigt", "pattern"};
    return names[type >= gauss_entry && type <= pattern_entry ? type : 0];
}

double width_unit(int quantity, int type, double hz_per_point) {
    if (quantity == gauss_of)
        return type == pattern_entry ? hz_per_point * kernel::gauss_fwhm_per_width : 1.0;
    if (quantity == lorentz_of) return type == voigt_entry ? 1.0 : hz_per_point;
    return 1.0;
}

bool fits_something(const start_step &step) {
    return std::any_of(step.switches.begin() + fit_areas, step.switches.begin() + fit_lineshape + 1,
                       [](int on) { return on != 0; });
}

const start_step *last_fitting_step(const std::vector<start_step> &steps) {
    const auto last = std::find_if(steps.rbegin(), steps.rend(), fits_something);
    return last == steps.rend() ? nullptr : &*last;
}

std::vector<std::pair<long long, long long>> fitted_intervals(const std::vector<start_step> &steps,
                                                              long long points) {
    std::vector<std::pair<long long, long long>> found;
    if (const start_step *const step = last_fitting_step(steps))
        for (const auto &[first, last] : step->intervals)
            if (first <= last && last >= 0 && first < points)
                found.emplace_back(std::max(0, first), std::min<long long>(points - 1, last));
    if (found.empty() && points > 0) found.emplace_back(0, points - 1);
    return found;
}

bool is_used(int quantity, int type) {
    if (quantity == gauss_of) return type != lorentz_entry;
    if (quantity == lorentz_of) return type != gauss_entry;
    return true;
}

double as_single(double value) {
    return static_cast<double>(static_cast<float>(value));
}

std::string entry_label(const start_file &start, std::size_t k) {
    const std::string &name = start.entries[k].name;
    return "entry " + std::to_string(k + 1) + (name.empty() ? "" : " (" + name + ")");
}

static void check_strategy(const start_file &start, const auto &refuse) {
    if (start.steps.empty()) refuse("no strategy step; give \"strategy: standard\" or a step");
    if (start.steps.size() > search_limits::steps)
        refuse(std::to_string(start.steps.size()) + " strategy steps; expected up to " +
               std::to_string(search_limits::steps));
    bool after_gradients = false;
    for (std::size_t s = 0; s < start.steps.size(); ++s) {
        const start_step &step = start.steps[s];
        const std::string which = "step " + std::to_string(s + 1) + ": ";
        if (step.algorithm != 1 && step.algorithm != 2)
            refuse(which + "algorithm " + std::to_string(step.algorithm) +
                   "; expected 1 (random search) or 2 (gradients)");
        if (step.points < 1 || step.points > start.points)
            refuse(which + std::to_string(step.points) + " time-domain points; expected 1 to " +
                   std::to_string(start.points));
        if (step.switches[iterations] < 1) refuse(which + "no iterations; expected at least 1");
        if (step.switches[part] < 0 || step.switches[part] > 4)
            refuse(which + "unknown part of the spectrum; expected 0 to 4");
        if (step.switches[align] < 0 || step.switches[align] > 1)
            refuse(which + "align is " + std::to_string(step.switches[align]) +
                   "; expected 0 or 1");
        if (step.intervals.size() > search_limits::intervals)
            refuse(which + std::to_string(step.intervals.size()) + " intervals; expected up to " +
                   std::to_string(search_limits::intervals));
        long long sum = 0;
        for (const auto &[first, last] : step.intervals) {
            if (first > last || first < 0 || last >= start.points)
                refuse(which + "interval of points " + std::to_string(first) + " to " +
                       std::to_string(last) + "; expected 0 to " +
                       std::to_string(start.points - 1));
            sum += last - first;
        }
        if (sum < 1 || sum > start.points)
            refuse(which + "the intervals hold " + std::to_string(sum) + " points; expected 1 to " +
                   std::to_string(start.points));
        if (step.algorithm == 1 && after_gradients)
            refuse(which + "a random search behind a gradient step ends the run where a "
                           "gradient left a search range; put it first");
        after_gradients = after_gradients || step.algorithm == 2;
        if (step.algorithm == 1 && start.ranges != 1 && start.ranges != 3)
            refuse(which + "a random search needs search ranges (ranges 1)");
    }
}

static void check_links(const start_file &start, const auto &refuse) {
    const int count = static_cast<int>(start.entries.size());
    for (int k = 0; k < count; ++k) {
        const auto at = static_cast<std::size_t>(k);
        for (int q = 0; q < quantities; ++q) {
            const start_parameter &own = start.entries[at].of(q);
            const std::string which = entry_label(start, at) + ", " + name_of(q) + ": ";
            if (!std::isfinite(own.value))
                refuse(which + "no finite number; expected one within single precision");
            if (own.link == 0 || own.link == k + 1) continue;
            if (own.link < 0 || own.link > count)
                refuse(which + "tied to entry " + std::to_string(own.link) +
                       ", which does not exist");
            const start_entry &other = start.entries[static_cast<std::size_t>(own.link - 1)];
            const start_parameter &source = other.of(q);
            if (q == area_of && source.value == 0.0)
                refuse(which + "tied to an area of 0, which gives no ratio; give that one a value");
            if (is_width(q) && other.type != start.entries[at].type)
                refuse(which + "tied to a " + type_name(other.type) +
                       " line; tied widths need two of the same type");
            if (q == gauss_of && own.value < source.value)
                refuse(which + "starts smaller than the one it follows; tie the broader line to "
                               "the narrower one");
            if (source.link != 0 && source.link != own.link)
                refuse(which + "tied to one that is itself tied; tie both to the same entry");
        }
    }
}

using refusal = std::function<void(const std::string &)>;
static refusal refusal_of(const std::string &source) {
    return [&source](const std::string &text) { refuse_input(source, text); };
}

void refuse_counts(const start_file &start, const std::string &source, fit_method by) {
    const refusal refuse = refusal_of(source);
    const std::size_t count = start.entries.size();
    if (count < 1) refuse("no lines and no patterns; expected at least one");
    const bool searched = by != fit_method::exact;
    if (searched && count > search_limits::entries)
        refuse(std::to_string(count) + " lines and patterns; expected up to " +
               std::to_string(search_limits::entries) + " (the exact fit takes more)");
    if (searched && quantities * count + start.lineshape.size() > search_limits::parameters)
        refuse("more than " + std::to_string(search_limits::parameters) +
               " parameters; use fewer lines or lineshape coefficients (the exact fit "
               "takes more)");
    if (!kernel::transform_plan::exists_for(start.points))
        refuse(std::to_string(start.points) + " points; expected a power of two up to 2^24");
    if (searched && start.patterns > 0 && start.points > search_limits::pattern_points)
        refuse(std::to_string(start.points) + " points; with patterns at most " +
               std::to_string(search_limits::pattern_points) + " (the exact fit takes more)");
}

void refuse_what_fails(const start_file &start, const std::string &source, fit_method by) {
    const refusal refuse = refusal_of(source);
    refuse_counts(start, source, by);
    const int count = static_cast<int>(start.entries.size());
    if (start.hz_per_point <= 0.0) refuse("Hz per point not above 0");
    if (start.noise_first < 0 || start.noise_first > start.noise_stop)
        refuse("noise window " + std::to_string(start.noise_first) + " to " +
               std::to_string(start.noise_stop) + "; expected two points, first below last");
    check_strategy(start, refuse);
    for (std::size_t k = 0; k < start.entries.size(); ++k) {
        const start_entry &entry = start.entries[k];
        const bool is_pattern = static_cast<int>(k) >= start.lines;
        if (entry.type < gauss_entry || entry.type > pattern_entry ||
            (entry.type == pattern_entry) != is_pattern)
            refuse(entry_label(start, k) + ": type " + std::to_string(entry.type) +
                   "; expected 1 to 3 for a line, 4 for a pattern");
        if (!is_pattern) continue;
        const std::string &file = entry.pattern_file;
        if (file.size() > search_limits::pattern_name ||
            file.find_first_of(" \t\n") != std::string::npos)
            refuse("pattern " + file + ": expected a name of up to 199 characters without blanks");
        if (file.find(".bin") == std::string::npos && file.find(".pat") == std::string::npos)
            refuse("pattern " + file + ": expected a name with .bin or .pat");
    }
    check_links(start, refuse);
    if (start.ranges == 1 || start.ranges == 3)
        for (std::size_t k = 0; k < start.entries.size(); ++k)
            for (int q = 0; q < quantities; ++q) {
                const start_parameter &own = start.entries[k].of(q);
                if (own.link != 0 || !own.range) continue;
                if (!(own.range->first <= own.value && own.value <= own.range->second))
                    refuse(entry_label(start, k) + ", " + name_of(q) +
                           ": starts outside of its search range, which ends the run");
            }
    if (start.followed < 1 || start.followed > count)
        refuse("followed entry " + std::to_string(start.followed) + "; expected 1 to " +
               std::to_string(count));
}

std::string version_3_text(const start_file &start, const std::vector<std::string> &remarks) {
    std::string text = "version_3\n";
    text += format("n_pnts %d\nnoistr %d\nnoistp %d\nnLines %d\nlsfcfs %d\n", start.points,
                   start.noise_first, start.noise_stop, start.lines,
                   static_cast<int>(start.lineshape.size() / 2));
    text += format("phi__1 %.8E\nHz_p_p %.10E\nf__tol %.4E\nfit_mo %d\nverbos %d\n", start.phi_1,
                   start.hz_per_point, start.tolerance, start.fit_mode, start.verbose);
    text += format("showli %d\nclcerr %d\nsg_idl %.60s\nranges %d\nignore %d\npattrn %d\n",
                   start.followed, start.errors, start.data_format.c_str(), start.ranges,
                   start.ignored, start.patterns);
    for (const start_entry &entry : start.entries)
        if (entry.type == pattern_entry) text += entry.pattern_file + "\n";
    text += "   algor trunc  ampli  frequ  width  phase  voigt  lsfft  wtype  convo  niter  cmplx "
            "  n_int   min   max\n";
    for (const start_step &step : start.steps) {
        text += format("@ %4d %6d", step.algorithm, step.points);
        for (const int value : step.switches) text += format(" %6d", value);
        text += format(" %6d", static_cast<int>(step.intervals.size()));
        for (const auto &[first, last] : step.intervals) text += format(" %6d %6d", first, last);
        text += "\n";
    }
    text += "number       area          frequency      gausswidth        phase        "
            "lorentzwidth\n";
    for (std::size_t k = 0; k < start.entries.size(); ++k) {
        text += std::to_string(k + 1);
        for (const start_parameter &own : start.entries[k].parameters)
            text += format("\t%.8E", own.value);
        text += "\n";
    }
    for (std::size_t k = 0; k < start.entries.size(); ++k) {
        const start_entry &entry = start.entries[k];
        text += format("#%d\nlsffit %d\n", static_cast<int>(k + 1), entry.takes_lineshape);
        for (const start_parameter &own : entry.parameters) {
            text += format("%d\t%d\t%.8E", entry.type, own.link, own.value);
            if (start.ranges != 2) {
                const auto range = own.range.value_or(std::pair(own.value, own.value));
                text += format("\t%.8E\t%.8E", range.first, range.second);
            }
            text += "\n";
        }
    }
    text += "lsf_coefs\n";
    for (std::size_t i = 0; i + 1 < start.lineshape.size(); i += 2)
        text += format("%.8E %.8E\n", start.lineshape[i], start.lineshape[i + 1]);
    text += "end_of_lsf\n\n";
    for (const std::string &remark : remarks) text += remark + "\n";
    return text;
}

} // namespace tools
