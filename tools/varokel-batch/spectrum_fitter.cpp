// SPDX-License-Identifier: BSD-3-Clause
// spectrum_fitter.cpp -- the fit of one spectrum, by the method and from the start values of its
// plan
#include "varokel-batch/spectrum_fitter.h"

#include "files/base/input_file.h"
#include "files/base/tool_error.h"

namespace tools {

fit_common::fit_common(const batch_plan &from, fit_setting own_setting, std::string place,
                       double own_limit)
    : plan(from), setting(std::move(own_setting)), scratch(std::move(place)), limit(own_limit),
      start_text(read_text_file(from.file("start.par"), "a start value file")), spectra(from) {
    if (plan.method != fit_method::classic)
        patterns = patterns_of(plan.start, {plan.file("patterns")});
}

spectrum_fitter::spectrum_fitter(const fit_common &common, const stop_switch &stop)
    : common_(common), stop_(stop), exact_(common.plan, common.setting.measure, common.patterns) {
    if (common.plan.values == "estimate") starts_ = std::make_unique<spectrum_starts>(common.plan);
}

std::string spectrum_fitter::text_of(const start_file &start) const {
    return common_.plan.method == fit_method::exact ? "" : version_3_text(start, {});
}

harvest spectrum_fitter::without_start(long long line, std::string reason) const {
    // without the folder, which may be called otherwise on another machine
    if (const std::size_t at = reason.find(common_.plan.folder + "/"); at != reason.npos)
        reason.erase(at, common_.plan.folder.size() + 1);
    harvest found;
    found.record = record_without_fit(line, fit_state::failed, "no start values: " + reason,
                                      common_.plan.start.entries.size());
    return found;
}

// By the method of the plan; text: the start file of a search.
std::optional<harvest> spectrum_fitter::fit_from(long long line, const start_file &start,
                                                 const std::string &text) {
    const fit_method method = common_.plan.method;
    if (method == fit_method::exact) return exact_.fit(line, bytes_, start, std::nullopt);
    search_options options;
    options.limit = common_.limit;
    options.with_fit = common_.plan.keep > 0;
    options.with_end = method == fit_method::both;
    std::optional<search_result> searched =
        run_search(common_.setting, common_.scratch + "/" + std::to_string(line), line, bytes_,
                   text, options, stop_);
    if (!searched) return std::nullopt;
    const fit_record &search = searched->found.record;
    if (method == fit_method::classic) return std::move(searched->found);
    harvest exact = exact_.fit(line, bytes_, start, searched->end);
    if (exact.record.state != fit_state::fitted) {
        if (search.state == fit_state::fitted)
            searched->found.record.reason = no_exact_fit + exact.record.reason +
                                            (search.reason.empty() ? "" : remark_end) +
                                            search.reason;
        return std::move(searched->found);
    }
    if (search.state == fit_state::fitted) {
        exact.record.figures[3] = search.figures[3]; // chi-square before
        exact.record.reason = search.reason;         // what its log remarks
    } else {
        exact.record.reason = no_search + search.reason;
    }
    return exact;
}

std::optional<harvest> spectrum_fitter::fit(const fit_task &task) {
    const long long line = task.line();
    common_.spectra.read(task.spectrum(), bytes_);
    if (starts_) {
        start_file start;
        try {
            start = starts_->make(bytes_);
        } catch (const tool_error &error) { // of this spectrum only: the table was good for another
            return without_start(line, error.what());
        }
        return fit_from(line, start, text_of(start));
    }
    const auto from_common = [&] { return fit_from(line, common_.plan.start, common_.start_text); };
    if (task.neighbour == nullptr) return from_common();
    const start_file start = start_from(common_.plan.start, *task.neighbour);
    std::optional<harvest> found = fit_from(line, start, text_of(start));
    // A neighbour may lead into a wrong place, and neither residual nor verdict tell it for sure:
    // the common values are always tried, too, so that no fit is worse than from them.
    if (!found) return found;
    std::optional<harvest> again = from_common();
    if (!again) return again;
    if (is_better(again->record, found->record)) std::swap(found, again);
    // One that died might have been the better one, from which later waves would begin.
    if (found->record.state == fit_state::fitted && has_failure(again->record))
        found->record.reason = no_other_start + again->record.reason +
                               (found->record.reason.empty() ? "" : remark_end) +
                               found->record.reason;
    return found;
}

} // namespace tools
